"""Cosine and sine transforms of types 1 to 4."""

from __future__ import annotations

import ctypes
from functools import lru_cache
from math import sqrt
from typing import Any, Optional, Sequence

import numpy as np
from numpy.typing import ArrayLike

from ._docstrings import like
from ._fourier import one, prepared, threads_of
from ._library import c_int, call, declared
from ._lines import Buffer, by_lines

# How a type is computed from the rows of the library: kind, forward or backward, the factor of its scaled sums, where the
# first number stands in a row, and the logical length by numbers. The last two are of the sums' period, which scales.
_SINE, _COSINE, _STAGGERED_COSINE, _STAGGERED_SINE, _QUARTER_COSINE, _QUARTER_SINE = range(6)
_TYPES = {
    ("c", 1): (_COSINE, True, 0, -1),
    ("c", 2): (_STAGGERED_COSINE, True, 0, 0),
    ("c", 3): (_STAGGERED_COSINE, False, 0, 0),
    ("c", 4): (_QUARTER_COSINE, True, 0, 0),
    ("s", 1): (_SINE, True, 1, 1),
    ("s", 2): (_STAGGERED_SINE, True, 1, 0),
    ("s", 3): (_STAGGERED_SINE, False, 1, 0),
    ("s", 4): (_QUARTER_SINE, True, 0, 0),
}
_INVERSE = {1: 1, 2: 3, 3: 2, 4: 4}
_LEAST = 4  # shorter ones are summed
_DOUBLE = np.dtype(np.float64)


class _Plan:
    """Made once for a kind and length; several threads may use it. In double, since single precision would lose digits."""

    def __init__(self, kind: int, n: int) -> None:
        pointer = ctypes.c_void_p
        make = declared("tnk_trig_dmake", ctypes.c_int, ctypes.POINTER(pointer), ctypes.c_int32, c_int)
        self._free = declared("tnk_trig_dfree", None, pointer)
        signature = ctypes.c_int, pointer, c_int, pointer, c_int
        self.run = {back: declared(f"tnk_trig_d{name}", *signature)
                    for back, name in ((False, "forward"), (True, "backward"))}  # fmt: skip
        self.pitch = (n + (kind < _QUARTER_COSINE)) | 1  # odd: lines at powers of two would share places in the cache
        self.handle = pointer()
        call(make, ctypes.byref(self.handle), kind, n)

    def __del__(self) -> None:
        self._free(self.handle)


_plan = lru_cache(maxsize=64)(_Plan)


def _summed(rows: np.ndarray, family: str, kind: int) -> np.ndarray:
    """By definition."""
    n = rows.shape[-1]
    k, i = np.arange(n)[:, None], np.arange(n)[None, :]
    function: Any = np.cos if family == "c" else np.sin
    shift = 0 if family == "c" else 1
    period = n + {("c", 1): -1, ("s", 1): 1}.get((family, kind), 0)
    angle = {
        1: (k + shift) * (i + shift) / max(period, 1),
        2: (k + shift) * (2 * i + 1) / (2 * n),
        3: (2 * k + 1) * (i + shift) / (2 * n),
        4: (2 * k + 1) * (2 * i + 1) / (4 * n),
    }[kind]
    matrix = 2 * function(np.pi * angle)
    if (family, kind) == ("c", 1):
        matrix[:, [0, -1]] /= 2
    if kind == 3:
        matrix[:, 0 if family == "c" else -1] /= 2
    return (rows @ matrix.T).astype(rows.dtype)


def _along(source: np.ndarray, target: np.ndarray, axis: int, family: str, kind: int, ends: bool, factor: float,
           threads: int) -> None:  # fmt: skip
    """The sums of a type along an axis, times a factor; target may be source."""
    n = source.shape[axis]
    heads = [0, -1] if kind == 1 else [0] if family == "c" else [-1]  # whose rows of the matrix are longer
    before = ends and (kind == 3 or (family, kind) == ("c", 1))
    behind = ends and (kind == 2 or (family, kind) == ("c", 1))
    if n < _LEAST:
        moved = np.array(np.moveaxis(source, axis, -1), order="C")
        lines = moved.reshape(-1, n)
        if before:
            lines[:, heads] *= sqrt(2)
        sums = _summed(lines, family, kind)
        if behind:
            sums[:, heads] /= sqrt(2)
        np.multiply(sums.reshape(moved.shape), factor, out=np.moveaxis(target, axis, -1))
        return
    which, backward, first, more = _TYPES[family, kind]
    period = n + more
    plan = _plan(which, period)
    run = plan.run[backward]
    # Forward has the sums over the period, backward half of them.
    factor *= 2 if backward else period

    def compute(lines: np.ndarray, address: int) -> None:
        if before:
            lines[:, heads] *= sqrt(2)
        call(run, plan.handle, len(lines), address, plan.pitch)
        if behind:
            lines[:, heads] /= sqrt(2)

    by_lines(source, target, axis, compute, Buffer(_DOUBLE, plan.pitch, first), factor, threads)


def _transform(x: ArrayLike, family: str, inverse: bool, kind: int, shape: Optional[Sequence[int]], axes: Any,
               norm: Optional[str], orthogonalize: Optional[bool], threads: int) -> np.ndarray:  # fmt: skip
    """Along axes, one after another."""
    if kind not in _INVERSE:
        raise ValueError(f"type is {kind!r}, expected 1, 2, 3 or 4")
    if norm not in (None, "backward", "ortho", "forward"):
        raise ValueError(f'norm is {norm!r}, expected "backward", "ortho" or "forward"')
    array, places = prepared(x, shape, axes)
    own = _INVERSE[kind] if inverse else kind
    if (family, kind) == ("c", 1) and any(array.shape[place] < 2 for place in places):
        raise ValueError("a cosine transform of type 1 has 2 numbers or more")
    if not places:
        return array.copy()
    result = np.empty(array.shape, array.dtype)
    if not array.size:
        return result
    ends = norm == "ortho" if orthogonalize is None else orthogonalize
    parts = [(array, result)] if array.dtype.kind == "f" else [(array.real, result.real), (array.imag, result.imag)]
    for source, target in parts:
        for place in places:
            period = 2 * (array.shape[place] + _TYPES[family, own][3])
            divisor = sqrt(period) if norm == "ortho" else period if inverse == (norm != "forward") else 1
            _along(source, target, place, family, own, ends, 1 / divisor, threads)
            source = target
    return result


# ---- Cosines and sines ------------------------------------------------------------------------------------------------------


def dct(x: ArrayLike, type: int = 2, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
        overwrite_x: bool = False, workers: Optional[int] = None, orthogonalize: Optional[bool] = None,
        ) -> np.ndarray:  # fmt: skip
    """Compute the discrete cosine transform along an axis.

    Parameters
    ----------
    x : array_like
        Real numbers; of complex ones both parts are transformed.
    type : {1, 2, 3, 4}, optional
        Type of the transform, as SciPy defines them.
    n : int, optional
        Length of the transform: the axis is cut to it, or filled up with zeros.
    axis : int, optional
        The axis, the last one by default.
    norm : {"backward", "ortho", "forward"}, optional
        As in `fft`; what is not divided is a sum without a factor, twice the published one.
    overwrite_x : bool, optional
        Accepted; `x` is left alone.
    workers : int, optional
        As in `fft`.
    orthogonalize : bool, optional
        Whether numbers are scaled so that the matrix is orthogonal up to a factor: of types 2 and 3 the first one of
        cosines, the last one of sines, of cosines of type 1 both. By default where `norm` is "ortho".

    Returns
    -------
    ndarray
        Of the shape of `x`, with n along the axis.

    Raises
    ------
    ValueError
        If `type`, `norm`, n or `workers` are none, or there is no such axis.
    TypeError
        If `x` holds no numbers, or such of extended precision.

    Notes
    -----
    Single precision is computed in double. Rounding errors of double precision grow as the root of n, but of type 4 with an
    even n: some 1e-14 of the result at 10 000 numbers, 2e-13 at 500 000.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.dct([1.0, 1.0, 1.0, 1.0, 1.0], type=1)
    array([8., 0., 0., 0., 0.])
    """
    return _transform(x, "c", False, type, one(n), [axis], norm, orthogonalize, threads_of(workers))


@like(dct)
def idct(x: ArrayLike, type: int = 2, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None, orthogonalize: Optional[bool] = None,
         ) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `dct`.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64, or complex; of the shape of `x`, with n along the axis.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.idct([8.0, 0.0, 0.0, 0.0, 0.0], type=1)
    array([1., 1., 1., 1., 1.])
    """
    return _transform(x, "c", True, type, one(n), [axis], norm, orthogonalize, threads_of(workers))


@like(dct)
def dst(x: ArrayLike, type: int = 2, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
        overwrite_x: bool = False, workers: Optional[int] = None, orthogonalize: Optional[bool] = None,
        ) -> np.ndarray:  # fmt: skip
    """Compute the discrete sine transform along an axis.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64, or complex; of the shape of `x`, with n along the axis.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.dst([1.0, -1.0, 1.0, -1.0]).round(12)
    array([0., 0., 0., 8.])
    """
    return _transform(x, "s", False, type, one(n), [axis], norm, orthogonalize, threads_of(workers))


@like(dct)
def idst(x: ArrayLike, type: int = 2, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None, orthogonalize: Optional[bool] = None,
         ) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `dst`.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64, or complex; of the shape of `x`, with n along the axis.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.idst([0.0, 0.0, 0.0, 8.0]).round(12)
    array([ 1., -1.,  1., -1.])
    """
    return _transform(x, "s", True, type, one(n), [axis], norm, orthogonalize, threads_of(workers))


def dctn(x: ArrayLike, type: int = 2, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
         norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None, *,
         orthogonalize: Optional[bool] = None) -> np.ndarray:  # fmt: skip
    """Compute `dct` along several axes.

    Parameters
    ----------
    x : array_like
        Real numbers; of complex ones both parts are transformed.
    type : {1, 2, 3, 4}, optional
        As in `dct`.
    s : sequence of int, optional
        Lengths along the axes, which are cut to them, or filled up with zeros.
    axes : sequence of int, optional
        The axes: by default the last ones, as many as `s` has lengths, or all.
    norm, overwrite_x, workers, orthogonalize
        As in `dct`.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64, or complex; of the shape of `x`, with the lengths along the axes.

    Raises
    ------
    ValueError
        If `type`, `norm`, a length or `workers` are none, there are no such axes, or more or fewer than lengths.
    TypeError
        If `x` holds no numbers, or such of extended precision.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.dctn([[1.0, 1.0], [1.0, 1.0]]).round(12)
    array([[16.,  0.],
           [ 0.,  0.]])
    """
    return _transform(x, "c", False, type, s, axes, norm, orthogonalize, threads_of(workers))


@like(dctn)
def idctn(x: ArrayLike, type: int = 2, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None, *,
          orthogonalize: Optional[bool] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `dctn`.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64, or complex; of the shape of `x`, with the lengths along the axes.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.idctn([[16.0, 0.0], [0.0, 0.0]]).round(12)
    array([[1., 1.],
           [1., 1.]])
    """
    return _transform(x, "c", True, type, s, axes, norm, orthogonalize, threads_of(workers))


@like(dctn)
def dstn(x: ArrayLike, type: int = 2, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
         norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None, *,
         orthogonalize: Optional[bool] = None) -> np.ndarray:  # fmt: skip
    """Compute `dst` along several axes.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64, or complex; of the shape of `x`, with the lengths along the axes.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.dstn([[1.0, -1.0], [-1.0, 1.0]]).round()[1, 1:]
    array([16.])
    """
    return _transform(x, "s", False, type, s, axes, norm, orthogonalize, threads_of(workers))


@like(dctn)
def idstn(x: ArrayLike, type: int = 2, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None, *,
          orthogonalize: Optional[bool] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `dstn`.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64, or complex; of the shape of `x`, with the lengths along the axes.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.idstn([[0.0, 0.0], [0.0, 16.0]]).round(12)
    array([[ 1., -1.],
           [-1.,  1.]])
    """
    return _transform(x, "s", True, type, s, axes, norm, orthogonalize, threads_of(workers))
