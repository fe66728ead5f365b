"""Fourier transforms, under the names of `numpy.fft`, and a backend for `scipy.fft`.

Arguments mean what they mean in `scipy.fft`: `n`, `s`, `axis`, `axes`, `norm`, `overwrite_x`, `workers`. Single precision
stays single, half precision becomes single, integers become double; extended precision is refused. ::

    import scipy.fft, tnk.fft
    scipy.fft.set_global_backend(tnk.fft)

sends a program's transforms here. What is not covered goes back to SciPy.
"""

from __future__ import annotations

import contextlib
import ctypes
import inspect
import sys
from functools import lru_cache
from math import sqrt
from typing import Any, Callable, Iterator, Optional, Sequence

import numpy as np
from numpy.fft import fftfreq, fftshift, ifftshift, rfftfreq
from numpy.typing import ArrayLike

from ._docstrings import like
from ._fourier import c2c, c2r, chosen_workers, floating, one, r2c, threads_of
from ._trig import dct, dctn, dst, dstn, idct, idctn, idst, idstn

__all__ = [
    "fft", "ifft", "rfft", "irfft", "hfft", "ihfft", "fft2", "ifft2", "rfft2", "irfft2", "fftn", "ifftn", "rfftn",
    "irfftn", "dct", "idct", "dctn", "idctn", "dst", "idst", "dstn", "idstn", "fftfreq", "rfftfreq", "fftshift", "ifftshift", "set_workers", "get_workers",
]  # fmt: skip

# ---- Threads ---------------------------------------------------------------------------------------------------------


@contextlib.contextmanager
def set_workers(workers: int) -> Iterator[None]:
    """Context in which transforms use so many threads unless they are told a number.

    Parameters
    ----------
    workers : int
        The number; a negative one counts from behind the processors, -1 being all.

    Raises
    ------
    ValueError
        If it is 0, or below minus the number of processors.

    Examples
    --------
    >>> import tnk.fft
    >>> with tnk.fft.set_workers(2):
    ...     tnk.fft.get_workers()
    2
    """
    token = chosen_workers.set(threads_of(workers))
    try:
        yield
    finally:
        chosen_workers.reset(token)


def get_workers() -> int:
    """Return the number of threads of transforms that are not told one.

    Returns
    -------
    int
        1 outside of `set_workers`.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.get_workers()
    1
    """
    return chosen_workers.get()


_SWAPPED = {None: "forward", "backward": "forward", "forward": "backward"}

# ---- One dimension ------------------------------------------------------------------------------------------------------


def fft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
        overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the discrete Fourier transform along an axis.

    Parameters
    ----------
    x : array_like
        Real or complex numbers, of any strides.
    n : int, optional
        Length of the transform: `x` is cut to the numbers that it takes along the axis, or filled up with zeros. By default
        it takes those that are there.
    axis : int, optional
        The axis, the last one by default.
    norm : {"backward", "ortho", "forward"}, optional
        What is divided by n: the inverse transform (default), both by its root, the direct one.
    overwrite_x : bool, optional
        Whether the memory of `x` may take the result.
    workers : int, optional
        Threads at most; negative numbers count from behind the processors. See `set_workers`.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with n along the axis.

    Raises
    ------
    ValueError
        If n is below 1, or too long, there is no such axis, or `norm` or `workers` are none.
    TypeError
        If `x` holds no numbers, or such of extended precision.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.fft([1.0, 0.0, 0.0, 0.0])
    array([1.+0.j, 1.+0.j, 1.+0.j, 1.+0.j])
    """
    return c2c(x, one(n), [axis], norm, overwrite_x, workers, False)


@like(fft)
def ifft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `fft`, divided by n unless `norm` says otherwise.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with n along the axis.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.ifft([4.0, 0.0, 0.0, 0.0])
    array([1.+0.j, 1.+0.j, 1.+0.j, 1.+0.j])
    """
    return c2c(x, one(n), [axis], norm, overwrite_x, workers, True)


@like(fft)
def rfft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the lower half of the spectrum of real numbers.

    `x` must be real.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with n // 2 + 1 along the axis.

    Examples
    --------
    >>> import tnk.fft
    >>> abs(tnk.fft.rfft([1.0, 2.0, 1.0, 2.0]))
    array([6., 0., 2.])
    """
    return r2c(x, one(n), [axis], norm, workers)


@like(fft)
def irfft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
          overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the real numbers of which `x` is the lower half of the spectrum.

    n is the length of the result, 2 (m - 1) by default for m numbers along the axis. For an odd length it has to be said.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64; of the shape of `x`, with n along the axis.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.irfft([6.0, 0.0, -2.0])
    array([1., 2., 1., 2.])
    """
    return c2r(x, one(n), [axis], norm, workers)


@like(fft)
def hfft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the real spectrum of numbers of which `x` is the first half, the others being their conjugates.

    n is the length of the result, 2 (m - 1) by default for m numbers along the axis.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64; of the shape of `x`, with n along the axis.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.hfft([1.0, 2.0, 3.0], n=4)
    array([ 8., -2.,  0., -2.])
    """
    return c2r(np.conjugate(floating(x)), one(n), [axis], _SWAPPED.get(norm, norm), workers)


@like(fft)
def ihfft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
          overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `hfft`: half of what the real spectrum `x` belongs to.

    `x` must be real.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with n // 2 + 1 along the axis.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.ihfft([8.0, -2.0, 0.0, -2.0]).real
    array([1., 2., 3.])
    """
    result = r2c(x, one(n), [axis], _SWAPPED.get(norm, norm), workers)
    return np.conjugate(result, out=result)


# ---- Several dimensions ---------------------------------------------------------------------------------------------------


def fftn(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
         norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the discrete Fourier transform along several axes.

    Parameters
    ----------
    x : array_like
        Real or complex numbers.
    s : sequence of int, optional
        Lengths of the transform along the axes: `x` is cut to the numbers that it takes, or filled up with zeros.
    axes : sequence of int, optional
        The axes: by default the last ones, as many as `s` has lengths, or all, or two where the name has a 2. One that is
        there twice is transformed twice.
    norm : {"backward", "ortho", "forward"}, optional
        As in `fft`, n being the product of the lengths.
    overwrite_x : bool, optional
        Whether the memory of `x` may take the result.
    workers : int, optional
        As in `fft`.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with the lengths along the axes.

    Raises
    ------
    ValueError
        If a length is below 1, or too long, there are no such axes, or more or fewer than lengths, or `norm` or `workers`
        are none.
    TypeError
        If `x` holds no numbers, or such of extended precision.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.fftn([[1.0, 1.0], [1.0, 1.0]])
    array([[4.+0.j, 0.+0.j],
           [0.+0.j, 0.+0.j]])
    """
    return c2c(x, s, axes, norm, overwrite_x, workers, False)


@like(fftn)
def ifftn(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `fftn`.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with the lengths along the axes.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.ifftn([[4.0, 0.0], [0.0, 0.0]]).real
    array([[1., 1.],
           [1., 1.]])
    """
    return c2c(x, s, axes, norm, overwrite_x, workers, True)


@like(fftn)
def rfftn(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the spectrum of real numbers along several axes, of the last of these the lower half.

    `x` must be real.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with the lengths along the axes, of
        the last one n // 2 + 1.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.rfftn([[1.0, 2.0, 1.0, 2.0], [1.0, 2.0, 1.0, 2.0]]).real
    array([[12.,  0., -4.],
           [ 0.,  0.,  0.]])
    """
    return r2c(x, s, axes, norm, workers)


@like(fftn)
def irfftn(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
           norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `rfftn`.

    `s` has lengths of the result, of which the last one may be odd; by default it is 2 (m - 1) for m numbers.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64; of the shape of `x`, with the lengths along the axes.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.irfftn([[6.0, 0.0, -2.0]])
    array([[1., 2., 1., 2.]])
    """
    return c2r(x, s, axes, norm, workers)


@like(fftn)
def fft2(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Sequence[int] = (-2, -1),
         norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute `fftn` along two axes, the last ones by default.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with the lengths along the axes.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.fft2([[1.0, 1.0], [1.0, 1.0]]).real
    array([[4., 0.],
           [0., 0.]])
    """
    return c2c(x, s, axes, norm, overwrite_x, workers, False)


@like(fftn)
def ifft2(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Sequence[int] = (-2, -1),
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `fft2`.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with the lengths along the axes.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.ifft2([[4.0, 0.0], [0.0, 0.0]]).real
    array([[1., 1.],
           [1., 1.]])
    """
    return c2c(x, s, axes, norm, overwrite_x, workers, True)


@like(fftn)
def rfft2(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Sequence[int] = (-2, -1),
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the spectrum of real numbers along two axes, of the last of these the lower half.

    `x` must be real.

    Returns
    -------
    ndarray
        complex64 for single precision, otherwise complex128; of the shape of `x`, with the lengths along the axes, of
        the last one n // 2 + 1.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.rfft2([[1.0, 2.0, 1.0, 2.0], [1.0, 2.0, 1.0, 2.0]]).real
    array([[12.,  0., -4.],
           [ 0.,  0.,  0.]])
    """
    return r2c(x, s, axes, norm, workers)


@like(fftn)
def irfft2(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Sequence[int] = (-2, -1),
           norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `rfft2`.

    `s` has lengths of the result, of which the last one may be odd; by default it is 2 (m - 1) for m numbers.

    Returns
    -------
    ndarray
        float32 for single precision, otherwise float64; of the shape of `x`, with the lengths along the axes.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.irfft2([[6.0, 0.0, -2.0]])
    array([[1., 2., 1., 2.]])
    """
    return c2r(x, s, axes, norm, workers)


# ---- A backend of scipy.fft --------------------------------------------------------------------------------------------------

_DOMAIN = "numpy.scipy.fft"
COVERED = ("fft", "ifft", "rfft", "irfft", "hfft", "ihfft", "fft2", "ifft2", "rfft2", "irfft2", "fftn", "ifftn",
           "rfftn", "irfftn", "dct", "idct", "dctn", "idctn", "dst", "idst", "dstn", "idstn")  # fmt: skip


_signatures = {name: inspect.signature(globals()[name]) for name in COVERED}


def __getattr__(name: str) -> Any:
    # Asked for when this becomes a backend. SciPy's own functions are no backend any more where another one is the global
    # one; so that they get what is not covered here, they stand behind it.
    if name != "__ua_domain__":
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
    sys.modules["scipy.fft"].register_backend("scipy")
    # The table of backends is taken down after the interpreter; a last reference given back then would crash.
    ctypes.pythonapi.Py_IncRef(ctypes.py_object(sys.modules[__name__]))
    globals()[name] = _DOMAIN
    return _DOMAIN


@lru_cache(maxsize=1)
def _sines_are_orthogonal() -> bool:
    """Whether SciPy's orthogonal sine transforms are: older versions scale the first number instead of the last one."""
    other = sys.modules["scipy.fft"]
    with other.set_backend("scipy", only=True):
        return bool(abs(other.dst([1.0, 1.0], norm="ortho")[0] - sqrt(2)) < 1e-3)


def __ua_function__(method: Callable, args: tuple, kwargs: dict) -> Any:
    """What `scipy.fft` calls. Whatever is not covered here, bad arguments included, is left to SciPy."""
    name, kwargs = method.__name__, dict(kwargs)
    if name not in COVERED or kwargs.pop("plan", None) is not None:
        return NotImplemented
    try:
        given = _signatures[name].bind(*args, **kwargs).arguments
        axes = given.get("axes")
        if axes is not None and np.ndim(axes) == 1 and len({a % max(np.ndim(given["x"]), 1) for a in axes}) < len(axes):
            return NotImplemented  # an error there
        ends = given.get("orthogonalize")
        if ends is not None and np.iscomplexobj(given["x"]):
            return NotImplemented  # it forgets this of complex numbers
        if "dst" in name and (given.get("norm") == "ortho" if ends is None else ends) and not _sines_are_orthogonal():
            return NotImplemented
        if given.get("workers") is None:
            given["workers"] = sys.modules["scipy.fft"].get_workers()
        return globals()[name](**given)
    except (ValueError, TypeError, IndexError):
        return NotImplemented
