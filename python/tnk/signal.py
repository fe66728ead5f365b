"""Convolution and correlation in the manner of `scipy.signal`."""

from __future__ import annotations

import ctypes
from math import sqrt
from typing import Any

import numpy as np
from numpy.typing import ArrayLike

from ._docstrings import like
from ._library import c_int, call, declared

__all__ = ["convolve", "correlate"]

_indices = ctypes.POINTER(c_int)


class _Description(ctypes.Structure):
    _fields_ = [
        ("job", ctypes.c_int32),
        ("method", ctypes.c_int32),
        ("numbers", ctypes.c_int32),
        ("in_double", ctypes.c_int32),
        ("dims", c_int),
        ("xshape", _indices),
        ("yshape", _indices),
        ("zshape", _indices),
        ("xstride", _indices),
        ("ystride", _indices),
        ("zstride", _indices),
        ("start", _indices),
        ("decimation", _indices),
    ]


_make = declared(
    "tnk_conv_plan_make", ctypes.c_int, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(_Description)
)
_run = declared(
    "tnk_conv_plan_run", ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p
)
_free = declared("tnk_conv_plan_free", None, ctypes.c_void_p)

_CONVOLUTION = 1
_METHODS = {"auto": 0, "direct": 1, "fft": 2}
_NUMBERS = {"f": 0, "d": 1, "F": 2, "D": 3}
_EXACT = 2.0**53
_ROUNDED = 2.0**45


def _array(values: Any) -> Any:
    return (c_int * len(values))(*values)


def _common(x: np.ndarray, y: np.ndarray) -> np.dtype:
    common = np.result_type(x, y)
    if common.kind in "biu":
        return np.dtype(np.float64)
    if common.char == "e":
        return np.dtype(np.float32)
    if common.char not in "fdFD":
        raise TypeError(f"operands are of dtypes {x.dtype} and {y.dtype}, expected numbers up to double precision")
    return common


def _plan(method: str, x: np.ndarray, y: np.ndarray, shape: list[int], start: list[int]) -> np.ndarray:
    """The part of the full convolution that begins at `start` and has that shape."""
    result = np.empty(shape, x.dtype)
    steps = [[s // a.itemsize for s in a.strides] for a in (x, y, result)]
    # The arrays live until the plan is made.
    fields = [_array(v) for v in (x.shape, y.shape, shape, *steps, start)]
    pointers = [ctypes.cast(f, _indices) for f in fields]
    description = _Description(_CONVOLUTION, _METHODS[method], _NUMBERS[x.dtype.char], 0, x.ndim, *pointers[:6], pointers[6], None)
    plan = ctypes.c_void_p()
    call(_make, ctypes.byref(plan), ctypes.byref(description))
    try:
        call(_run, plan, x.ctypes.data, y.ctypes.data, result.ctypes.data)
    finally:
        _free(plan)
    return result


def _compute(in1: ArrayLike, in2: ArrayLike, mode: str, method: str, correlation: bool) -> np.ndarray:
    x, y = np.asarray(in1), np.asarray(in2)
    if x.ndim != y.ndim:
        raise ValueError(f"in1 of shape {x.shape} and in2 of shape {y.shape} should have the same dimensionality")
    if mode not in ("full", "same", "valid"):
        raise ValueError(f'mode is {mode!r}, expected "full", "same" or "valid"')
    if method not in _METHODS:
        raise ValueError(f'method is {method!r}, expected "auto", "direct" or "fft"')
    if x.ndim > 7:
        raise ValueError(f"arrays have {x.ndim} dimensions, expected 7 at most")
    kept = np.result_type(x, y)
    common = _common(x, y)
    if kept.kind in "biu" and x.size and y.size:
        # Sums of integers are exact in double up to a size. Transforms are off by less than 64 eps of the operands' norms, to
        # be rounded off.
        most = float(np.abs(x.astype(float)).max()) * float(np.abs(y.astype(float)).max())
        if most * min(x.size, y.size) >= _EXACT:
            raise ValueError("sums of such integers may leave the range that is exact here; give them as floats")
        if most * sqrt(x.size * y.size) > _ROUNDED:
            method = "direct"
    if x.size == 0 or y.size == 0:
        return np.array([], dtype=kept)
    if x.ndim == 0:
        return (x * (y.conj() if correlation else y))[()]
    x, y = np.ascontiguousarray(x, common), np.ascontiguousarray(y, common)
    swapped = mode == "valid" and not all(a >= b for a, b in zip(x.shape, y.shape))
    if swapped and not all(b >= a for a, b in zip(x.shape, y.shape)):
        raise ValueError(f'with mode "valid" one of shapes {x.shape} and {y.shape} must contain the other')

    # A correlation is the convolution with the other operand reversed and conjugated.
    if correlation:
        y = np.ascontiguousarray(y[(slice(None, None, -1),) * y.ndim].conj())
    full = [a + b - 1 for a, b in zip(x.shape, y.shape)]
    if mode == "full":
        shape, start = full, [0] * x.ndim
    elif mode == "same":
        shape, start = list(x.shape), [(b - 1) // 2 for b in y.shape]
    else:
        shape = [abs(a - b) + 1 for a, b in zip(x.shape, y.shape)]
        start = [min(a, b) - 1 for a, b in zip(x.shape, y.shape)]
    result = _plan(method, y, x, shape, start)
    return np.rint(result).astype(kept) if kept.kind in "biu" else result.astype(kept, copy=False)


def convolve(in1: ArrayLike, in2: ArrayLike, mode: str = "full", method: str = "auto") -> np.ndarray:
    """Convolve two arrays.

    Parameters
    ----------
    in1, in2 : array_like
        Of the same number of dimensions, 7 at most.
    mode : {"full", "same", "valid"}, optional
        All of the result; its middle, of the shape of `in1`; or what does not depend on numbers beyond the edges, for which
        one operand must be at least as large as the other in every dimension.
    method : {"auto", "direct", "fft"}, optional
        Sums, transforms, or the faster of them. Results of integers are exact: large ones are summed in any case.

    Returns
    -------
    ndarray
        In the operands' common type.

    Raises
    ------
    ValueError
        If the dimensions, `mode` or `method` are wrong, or integer sums could be inexact.
    TypeError
        If the operands are no numbers, or of extended precision.

    Examples
    --------
    >>> import tnk.signal
    >>> tnk.signal.convolve([1, 2, 3], [1, 1])
    array([1, 3, 5, 3])
    """
    return _compute(in1, in2, mode, method, False)


@like(convolve)
def correlate(in1: ArrayLike, in2: ArrayLike, mode: str = "full", method: str = "auto") -> np.ndarray:
    """Correlate two arrays, the second one being conjugated.

    The zero lag of a full result is at index ``len(in2) - 1``.

    Returns
    -------
    ndarray
        In the operands' common type.

    Examples
    --------
    >>> import tnk.signal
    >>> tnk.signal.correlate([1, 2, 3], [0, 1, 0.5])
    array([0.5, 2. , 3.5, 3. , 0. ])
    """
    return _compute(in1, in2, mode, method, True)
