"""Sums of products in more precision than their operands have: dot products, products with matrices, residuals.

With `precision` "extra" products are exact and sums are carried in pairs of doubles, some 106 bits, and rounded once at the
end: what is left when large terms cancel is right.
"""

from __future__ import annotations

import ctypes
from typing import Any

import numpy as np
from numpy.typing import ArrayLike

from ._library import Complex64, Complex128, c_int, call, declared

__all__ = ["dot", "matvec", "residual", "sum"]

_PRECISIONS = {"single": 211, "double": 212, "indigenous": 213, "extra": 214}
_LETTERS = {"f": "s", "d": "d", "F": "c", "D": "z"}
_FACTORS = {"s": ctypes.c_float, "d": ctypes.c_double, "c": Complex64, "z": Complex128}
_WHOLE = 2**53  # all integers up to it are doubles
_CONJUGATED, _AS_THEY_ARE, _BY_ROWS, _NOT_TRANSPOSED = 191, 192, 101, 111


def _precision(name: str) -> int:
    if name not in _PRECISIONS:
        raise ValueError(f"precision is {name!r}, expected one of {', '.join(_PRECISIONS)}")
    return _PRECISIONS[name]


def _common(*arrays: np.ndarray) -> np.dtype:
    dtype = np.result_type(*arrays)
    if dtype.kind in "biu":
        dtype = np.dtype(np.float64)
    elif dtype.char == "e":
        dtype = np.dtype(np.float32)
    if dtype.char not in _LETTERS:
        raise TypeError(f"operands have the dtype {dtype}, expected numbers up to double precision")
    for x in arrays:
        if x.dtype.kind in "iu" and x.itemsize == 8 and x.size and max(int(x.max()), -int(x.min())) > _WHOLE:
            raise ValueError(f"operands hold integers beyond {_WHOLE}, which double precision would round")
    return dtype.newbyteorder("=")


def _vector(x: np.ndarray, dtype: np.dtype) -> tuple[np.ndarray, int]:
    """In that type, and its increment."""
    x = np.asarray(x, dtype)
    step = x.strides[0] // x.itemsize if x.size > 1 else 1
    if not x.flags.aligned or step == 0 or (x.size > 1 and x.strides[0] % x.itemsize):
        x, step = np.ascontiguousarray(x), 1
    return x, step


def _address(x: np.ndarray, step: int) -> int:
    """Of its lowest element, which a negative increment begins with."""
    return x.ctypes.data + min(0, (x.size - 1) * step) * x.itemsize


def _factor(letter: str, value: float) -> Any:
    return _FACTORS[letter](value) if letter in "sd" else ctypes.byref(_FACTORS[letter](value, 0))


def _routine(name: str) -> Any:
    return declared("tnk_xblas_" + name, None)


def dot(x: ArrayLike, y: ArrayLike, *, precision: str = "extra", conjugate: bool = False) -> np.number:
    """Compute the dot product of two vectors.

    Parameters
    ----------
    x, y : array_like, shape (n,)
        Of any stride.
    precision : {"single", "double", "indigenous", "extra"}, optional
        How the sum is carried; "indigenous" is "double".
    conjugate : bool, optional
        Take the conjugate of x.

    Returns
    -------
    scalar
        In the operands' common type.

    Raises
    ------
    ValueError
        If shapes differ, `precision` is none, or integers are too large to be exact in double precision.
    TypeError
        If the operands are no numbers, or of extended precision.

    Examples
    --------
    >>> import tnk.exact
    >>> float(tnk.exact.dot([1e30, 1.0, -1e30], [1.0, 1.0, 1.0]))
    1.0
    """
    x, y = np.asarray(x), np.asarray(y)
    if x.ndim != 1 or x.shape != y.shape:
        raise ValueError(f"x has shape {x.shape} and y {y.shape}, expected vectors of one length")
    how = _precision(precision)
    dtype = _common(x, y)
    letter = _LETTERS[dtype.char]
    (x, incx), (y, incy) = _vector(x, dtype), _vector(y, dtype)
    result = np.zeros(1, dtype)
    call(
        _routine(f"{letter}dot_x"), ctypes.c_int32(_CONJUGATED if conjugate else _AS_THEY_ARE), c_int(x.size),
        _factor(letter, 1), ctypes.c_void_p(_address(x, incx)), c_int(incx), _factor(letter, 0),
        ctypes.c_void_p(_address(y, incy)), c_int(incy), ctypes.c_void_p(result.ctypes.data), ctypes.c_int32(how),
    )  # fmt: skip
    return result[0]


def sum(x: ArrayLike, *, precision: str = "extra") -> np.number:
    """Sum a vector.

    Parameters
    ----------
    x : array_like, shape (n,)
    precision : str, optional
        As in `dot`.

    Returns
    -------
    scalar
        In the type of `x`; float64 for integers.

    Raises
    ------
    ValueError
        If `x` is no vector, `precision` is none, or integers are too large to be exact in double precision.
    TypeError
        If `x` holds no numbers, or such of extended precision.

    Examples
    --------
    >>> import tnk.exact
    >>> float(tnk.exact.sum([1e30, 1.0, -1e30]))
    1.0
    """
    x = np.asarray(x)
    if x.ndim != 1:
        raise ValueError(f"x has shape {x.shape}, expected a vector")
    how = _precision(precision)
    dtype = _common(x)
    x, incx = _vector(x, dtype)
    result = np.zeros(1, dtype)
    call(
        _routine(f"{_LETTERS[dtype.char]}sum_x"), c_int(x.size), ctypes.c_void_p(_address(x, incx)), c_int(incx),
        ctypes.c_void_p(result.ctypes.data), ctypes.c_int32(how),
    )  # fmt: skip
    return result[0]


def _gemv(a: ArrayLike, x: ArrayLike, y: Any, alpha: float, beta: float, precision: str) -> np.ndarray:
    a, x = np.asarray(a), np.asarray(x)
    given = [a, x] if y is None else [a, x, np.asarray(y)]
    if a.ndim != 2 or x.shape != a.shape[1:]:
        raise ValueError(f"a has shape {a.shape} and x {x.shape}, expected (m, n) and (n,)")
    if y is not None and given[2].shape != a.shape[:1]:
        raise ValueError(f"a has shape {a.shape} and b {given[2].shape}, expected (m, n) and (m,)")
    how = _precision(precision)
    dtype = _common(*given)
    letter = _LETTERS[dtype.char]
    m, n = a.shape
    a = np.ascontiguousarray(a, dtype)
    x, incx = _vector(x, dtype)
    result = np.zeros(m, dtype) if y is None else np.array(given[2], dtype, order="C")
    call(
        _routine(f"{letter}gemv_x"), ctypes.c_int32(_BY_ROWS), ctypes.c_int32(_NOT_TRANSPOSED), c_int(m), c_int(n),
        _factor(letter, alpha), ctypes.c_void_p(a.ctypes.data), c_int(max(n, 1)),
        ctypes.c_void_p(_address(x, incx)), c_int(incx), _factor(letter, beta),
        ctypes.c_void_p(result.ctypes.data), c_int(1), ctypes.c_int32(how),
    )  # fmt: skip
    return result


def matvec(a: ArrayLike, x: ArrayLike, *, precision: str = "extra") -> np.ndarray:
    """Compute A x, each element rounded once.

    Parameters
    ----------
    a : array_like, shape (m, n)
    x : array_like, shape (n,)
    precision : str, optional
        As in `dot`.

    Returns
    -------
    ndarray, shape (m,)
        In the operands' common type.

    Raises
    ------
    ValueError
        If shapes do not fit, `precision` is none, or integers are too large to be exact in double precision.
    TypeError
        If the operands are no numbers, or of extended precision.

    Examples
    --------
    >>> import tnk.exact
    >>> tnk.exact.matvec([[1e30, 1.0, -1e30], [1.0, 2.0, 3.0]], [1.0, 1.0, 1.0])
    array([1., 6.])
    """
    return _gemv(a, x, None, 1, 0, precision)


def residual(a: ArrayLike, x: ArrayLike, b: ArrayLike, *, precision: str = "extra") -> np.ndarray:
    """Compute b - A x, each element rounded once: what a solution of A x = b is off by, as refinement wants it.

    Parameters
    ----------
    a : array_like, shape (m, n)
    x : array_like, shape (n,)
    b : array_like, shape (m,)
    precision : str, optional
        As in `dot`.

    Returns
    -------
    ndarray, shape (m,)
        In the operands' common type.

    Raises
    ------
    ValueError, TypeError
        As `matvec` has them.

    Examples
    --------
    >>> import tnk.exact
    >>> tnk.exact.residual([[3.0]], [1 / 3], [1.0])
    array([5.55111512e-17])
    """
    return _gemv(a, x, b, -1, 1, precision)
