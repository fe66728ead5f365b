"""Transposition in place."""

from __future__ import annotations

import ctypes
from typing import Any

import numpy as np

from ._library import Complex64, Complex128, c_int, call, declared

_LETTERS = {"f": "s", "d": "d", "F": "c", "D": "z"}
_ONE: dict[str, Any] = {"s": 1.0, "d": 1.0, "c": Complex64(1, 0), "z": Complex128(1, 0)}
_FACTOR = {
    "s": ctypes.c_float,
    "d": ctypes.c_double,
    "c": ctypes.POINTER(Complex64),
    "z": ctypes.POINTER(Complex128),
}


def transpose(a: np.ndarray, *, conjugate: bool = False) -> np.ndarray:
    """Transpose a matrix in its own memory.

    Parameters
    ----------
    a : ndarray, shape (m, n)
        Of dtype float32, float64, complex64 or complex128, C-contiguous, writeable. Its memory holds the transpose
        afterwards, so `a` itself must not be used any more unless m is n.
    conjugate : bool, optional
        Take the conjugates, too.

    Returns
    -------
    ndarray, shape (n, m)
        The transpose, C-contiguous, in the memory of `a`.

    Raises
    ------
    TypeError
        If `a` is no array or of another type.
    ValueError
        If `a` is not two-dimensional, not contiguous, not in the machine's byte order or not writeable.

    Notes
    -----
    Follows cycles without any memory. Square matrices go fast; others take several times as long as a copy.

    Examples
    --------
    >>> import numpy as np, tnk
    >>> tnk.transpose(np.arange(6.0).reshape(2, 3))
    array([[0., 3.],
           [1., 4.],
           [2., 5.]])
    """
    if not isinstance(a, np.ndarray):
        raise TypeError(f"a is {type(a).__name__}, expected an array, which is changed in place")
    letter = _LETTERS.get(a.dtype.char)
    if letter is None:
        raise TypeError(f"a is of dtype {a.dtype}, expected float32, float64, complex64 or complex128")
    if a.ndim != 2:
        raise ValueError(f"a has shape {a.shape}, expected two dimensions")
    if not (a.flags.c_contiguous and a.flags.writeable and a.dtype.isnative):
        raise ValueError("a is not a C-contiguous, writeable array in the machine's byte order")
    rows, columns = a.shape
    if a.size:
        one = _ONE[letter]
        routine = declared(
            f"tnk_trans_{letter}imatcopy", None, ctypes.c_char, ctypes.c_char, c_int, c_int,
            _FACTOR[letter], ctypes.c_void_p, c_int, c_int,
        )  # fmt: skip
        factor = one if letter in "sd" else ctypes.byref(one)
        call(routine, b"R", b"C" if conjugate else b"T", rows, columns, factor, a.ctypes.data, columns, rows)
    return a.reshape(columns, rows)
