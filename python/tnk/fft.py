"""Fourier transforms, under the names of `numpy.fft`, and a backend for `scipy.fft`.

Arguments mean what they mean in `scipy.fft`: `n`, `s`, `axis`, `axes`, `norm`, `overwrite_x`, `workers`. Single precision
stays single, half precision becomes single, integers become double; extended precision is refused. ::

    import scipy.fft, tnk.fft
    scipy.fft.set_global_backend(tnk.fft)

sends a program's transforms here. What is not covered goes back to SciPy.
"""

from __future__ import annotations

import contextlib
import contextvars
import ctypes
import inspect
import operator
import os
import sys
from functools import lru_cache
from math import prod, sqrt
from typing import Any, Callable, Iterator, Optional, Sequence, Union

import numpy as np
from numpy.fft import fftfreq, fftshift, ifftshift, rfftfreq
from numpy.typing import ArrayLike

from ._layout import along_one_axis, transform
from . import _trig

__all__ = [
    "fft", "ifft", "rfft", "irfft", "hfft", "ihfft", "fft2", "ifft2", "rfft2", "irfft2", "fftn", "ifftn", "rfftn",
    "irfftn", "dct", "idct", "dctn", "idctn", "dst", "idst", "dstn", "idstn", "fftfreq", "rfftfreq", "fftshift", "ifftshift", "set_workers", "get_workers",
]  # fmt: skip

# ---- Arguments ------------------------------------------------------------------------------------------------------

_AxisError = getattr(np, "exceptions", np).AxisError  # where NumPy 2 has it

_workers: contextvars.ContextVar[int] = contextvars.ContextVar("tnk.fft workers", default=1)


@contextlib.contextmanager
def set_workers(workers: int) -> Iterator[None]:
    """Context in which transforms use so many threads unless they are told a number.

    Parameters
    ----------
    workers : int
        The number; a negative one counts from behind the processors, -1 being all.
    """
    token = _workers.set(_threads(workers))
    try:
        yield
    finally:
        _workers.reset(token)


def get_workers() -> int:
    """Return the number of threads of transforms that are not told one.

    Returns
    -------
    int
        1 outside of `set_workers`.
    """
    return _workers.get()


def _threads(workers: Optional[int]) -> int:
    if workers is None:
        return _workers.get()
    workers = operator.index(workers)
    processors = os.cpu_count() or 1
    if workers < 0 and workers >= -processors:
        workers += processors + 1
    if workers < 1:
        raise ValueError(f"workers value out of range; got {workers}, must not be less than {-processors} or 0")
    return workers


def _scale(norm: Optional[str], backward: bool, count: int) -> float:
    if norm == "ortho":
        return 1 / sqrt(count)
    if norm in (None, "backward", "forward"):
        return 1 / count if backward == (norm != "forward") else 1.0
    raise ValueError(f'norm is {norm!r}, expected "backward", "ortho" or "forward"')


def _floating(x: ArrayLike, name: str = "x") -> np.ndarray:
    """The array in a type of floating point that there are transforms of."""
    array = np.asarray(x)
    if array.dtype.char in "fdFD":
        return array if array.dtype.isnative else array.astype(array.dtype.newbyteorder("="))
    if array.dtype.char == "e":
        return array.astype(np.float32)
    if array.dtype.kind in "biu":
        return array.astype(np.float64)
    if array.dtype.char in "gG":
        raise TypeError(f"{name} is of extended precision, which has no transforms here")
    raise TypeError(f"{name} is of dtype {array.dtype}, expected numbers")


def _complex(array: np.ndarray) -> np.ndarray:
    return array if array.dtype.kind == "c" else array.astype(_complex_type(array.dtype))


def _complex_type(dtype: np.dtype) -> type:
    return np.complex64 if dtype.char in "fF" else np.complex128


def _real_type(dtype: np.dtype) -> type:
    return np.float32 if dtype.char in "fF" else np.float64


def _points(n: Any) -> int:
    n = operator.index(n)
    if n < 1:
        raise ValueError(f"invalid number of data points ({n}) specified")
    return n


def _places(array: np.ndarray, s: Optional[Sequence[int]], axes: Any, halved: bool) -> tuple[list[int], list[int]]:
    """Axes from 0, and the lengths along them; with `halved` the last length is that of the real side."""
    if type(axes) is list and len(axes) == 1 and s is None and -array.ndim <= axes[0] < array.ndim:  # the usual case
        axis = axes[0] % array.ndim
        n = array.shape[axis]
        return [axis], [_points(2 * (n - 1) if halved else n)]
    if s is not None:
        s = [operator.index(n) for n in (s if isinstance(s, (Sequence, np.ndarray)) else [s])]
    if axes is None:
        if s is not None and len(s) > array.ndim:
            raise ValueError(f"shape {tuple(s)} has more lengths than an array of shape {array.shape} has axes")
        axes = range(array.ndim) if s is None else range(array.ndim - len(s), array.ndim)
    elif not isinstance(axes, (Sequence, np.ndarray, range)):
        axes = [axes]
    places = []
    for axis in axes:
        axis = operator.index(axis)
        if not -array.ndim <= axis < array.ndim:
            raise _AxisError(axis, array.ndim)
        places.append(axis % array.ndim)
    if s is None:
        s = [array.shape[axis] for axis in places]
        if halved and s:
            s[-1] = 2 * (s[-1] - 1)
    if len(s) != len(places):
        raise ValueError(f"shape {tuple(s)} and axes {tuple(axes)} have different lengths")
    return places, [_points(n) for n in s]


def _falls(array: np.ndarray) -> bool:
    """Whether strides fall: dimensions are run in their order, and the last bits depend on it."""
    return all(a >= b for a, b in zip(array.strides, array.strides[1:]))


def _resized(array: np.ndarray, axes: Sequence[int], lengths: Sequence[int]) -> np.ndarray:
    """Cut, or with zeros appended, to the lengths."""
    for axis, n in zip(axes, lengths):
        if array.shape[axis] != n:
            break
    else:
        return array
    shape, part = list(array.shape), [slice(None)] * array.ndim
    for axis, n in zip(axes, lengths):
        part[axis] = slice(min(n, shape[axis]))
        shape[axis] = n
    cut = array[tuple(part)]
    if list(cut.shape) == shape:
        return cut
    padded = np.zeros(shape, array.dtype)
    padded[tuple(part)] = cut
    return padded


# ---- Kinds ------------------------------------------------------------------------------------------------------------


def _c2c(x: ArrayLike, s: Any, axes: Any, norm: Optional[str], overwrite: bool, workers: Optional[int],
         backward: bool) -> np.ndarray:  # fmt: skip
    # The usual case, without the looks that others need.
    as_it_stands = type(x) is np.ndarray and x.dtype.char in "FD" and s is None and norm is None and not overwrite
    if as_it_stands and type(axes) is list and len(axes) == 1:
        usual = along_one_axis(x.shape, x.strides, x.dtype, axes[0], backward, _threads(workers))
        if usual is not None and x.flags.aligned:
            result = np.empty(x.shape, x.dtype)
            usual[0].run(x.ctypes.data, result.ctypes.data, usual[1])
            return result
    given = _floating(x)
    array = _complex(given)
    places, lengths = _places(array, s, axes, False)
    threads = _threads(workers)
    if len(set(places)) < len(places):  # one after another, the last one first
        for place, n in list(zip(places, lengths))[::-1]:
            array = _c2c(array, [n], [place], norm, False, threads, backward)
        return array
    scale = _scale(norm, backward, prod(lengths))
    array = _resized(array, places, lengths)
    if not places:
        return array if overwrite else array.copy()
    if len(places) > 1 and not _falls(array):
        array = array.copy("C")
    if (array.base is None if array is not given else overwrite and array is x) and array.flags.carray:
        result = array
    else:
        result = np.empty(array.shape, array.dtype)
    transform(array, result, tuple(places), tuple(lengths), real=False, backward=backward, scale=scale, threads=threads)
    return result


def _r2c(x: ArrayLike, s: Any, axes: Any, norm: Optional[str], workers: Optional[int]) -> np.ndarray:
    array = _floating(x)
    if array.dtype.kind == "c":
        raise TypeError("x must be a real sequence")
    places, lengths = _places(array, s, axes, False)
    if not places:
        raise ValueError("at least 1 axis must be transformed")
    threads = _threads(workers)
    if len(set(places)) < len(places):
        half = _r2c(array, lengths[-1:], places[-1:], norm, threads)
        return _c2c(half, lengths[:-1], places[:-1], norm, True, threads, False)
    array = _resized(array, places, lengths)
    if len(places) > 1 and not _falls(array):
        array = array.copy("C")
    shape = list(array.shape)
    shape[places[-1]] = lengths[-1] // 2 + 1
    result = np.empty(shape, _complex_type(array.dtype))
    scale = _scale(norm, False, prod(lengths))
    transform(array, result, tuple(places), tuple(lengths), real=True, backward=False, scale=scale, threads=threads)
    return result


def _c2r(x: ArrayLike, s: Any, axes: Any, norm: Optional[str], workers: Optional[int]) -> np.ndarray:
    array = _complex(_floating(x))
    places, lengths = _places(array, s, axes, True)
    if not places:
        raise ValueError("at least 1 axis must be transformed")
    threads = _threads(workers)
    if len(places) > 1:
        # Axis by axis, so that numbers which are no half of a spectrum have the result that they have in NumPy: the
        # imaginary parts that do not count are those before the last axis, after the others.
        most = _c2c(array, lengths[:-1], places[:-1], norm, False, threads, True)
        return _c2r(most, lengths[-1:], places[-1:], norm, threads)
    half = lengths[-1] // 2 + 1
    array = _resized(array, places, [*lengths[:-1], half])
    shape = list(array.shape)
    shape[places[-1]] = lengths[-1]
    result = np.empty(shape, _real_type(array.dtype))
    scale = _scale(norm, True, prod(lengths))
    transform(array, result, tuple(places), tuple(lengths), real=True, backward=True, scale=scale, threads=threads)
    return result


def _one(n: Optional[int]) -> Optional[list[int]]:
    return None if n is None else [n]


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
        Length of the transform: the axis is cut to it, or filled up with zeros. Its own length by default.
    axis : int, optional
        The axis, the last one by default.
    norm : {"backward", "ortho", "forward"}, optional
        Which direction is divided by n: the inverse one (default), both by its root, this one.
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
        If n is below 1, or too long, or `norm` or `workers` are none.
    TypeError
        If `x` holds no numbers, or such of extended precision.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.fft([1.0, 0.0, 0.0, 0.0])
    array([1.+0.j, 1.+0.j, 1.+0.j, 1.+0.j])
    """
    return _c2c(x, _one(n), [axis], norm, overwrite_x, workers, False)


def ifft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `fft`, whose parameters these are; divided by n unless `norm` says otherwise."""
    return _c2c(x, _one(n), [axis], norm, overwrite_x, workers, True)


def rfft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the lower half of the spectrum of real numbers: n // 2 + 1 along the axis.

    Parameters are those of `fft`; `x` must be real.

    Examples
    --------
    >>> import tnk.fft
    >>> abs(tnk.fft.rfft([1.0, 2.0, 1.0, 2.0]))
    array([6., 0., 2.])
    """
    return _r2c(x, _one(n), [axis], norm, workers)


def irfft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
          overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the real numbers of which `x` is the lower half of the spectrum.

    Parameters are those of `fft`; n is the length of the result, 2 (m - 1) by default for m numbers along the axis. For an
    odd length it has to be said.
    """
    return _c2r(x, _one(n), [axis], norm, workers)


def hfft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the real spectrum of numbers of which `x` is the first half, the others being their conjugates."""
    return _c2r(np.conjugate(_floating(x)), _one(n), [axis], _SWAPPED.get(norm, norm), workers)


def ihfft(x: ArrayLike, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
          overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `hfft`: half of what the real spectrum `x` belongs to."""
    result = _r2c(x, _one(n), [axis], _SWAPPED.get(norm, norm), workers)
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
        Lengths along the axes, cut or filled up with zeros to them.
    axes : sequence of int, optional
        The axes: by default the last ones, as many as `s` has lengths, or all. One that is there twice is transformed
        twice.
    norm, overwrite_x, workers
        As in `fft`, n being the product of the lengths.

    Returns
    -------
    ndarray
        The spectrum.
    """
    return _c2c(x, s, axes, norm, overwrite_x, workers, False)


def ifftn(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `fftn`, whose parameters these are."""
    return _c2c(x, s, axes, norm, overwrite_x, workers, True)


def rfftn(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the spectrum of real numbers along several axes, of the last of these the lower half."""
    return _r2c(x, s, axes, norm, workers)


def irfftn(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
           norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `rfftn`; `s` has lengths of the result, of which the last one may be odd."""
    return _c2r(x, s, axes, norm, workers)


def fft2(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Sequence[int] = (-2, -1),
         norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute `fftn` along two axes, the last ones by default."""
    return _c2c(x, s, axes, norm, overwrite_x, workers, False)


def ifft2(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Sequence[int] = (-2, -1),
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `fft2`."""
    return _c2c(x, s, axes, norm, overwrite_x, workers, True)


def rfft2(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Sequence[int] = (-2, -1),
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute `rfftn` along two axes, the last ones by default."""
    return _r2c(x, s, axes, norm, workers)


def irfft2(x: ArrayLike, s: Optional[Sequence[int]] = None, axes: Sequence[int] = (-2, -1),
           norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `rfft2`."""
    return _c2r(x, s, axes, norm, workers)


# ---- Cosines and sines ------------------------------------------------------------------------------------------------------


def _prepared(x: ArrayLike, s: Any, axes: Any) -> tuple[np.ndarray, list[int]]:
    array = _floating(x)
    places, lengths = _places(array, s, axes, False)
    return _resized(array, places, lengths), places


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
    n, axis, norm
        As in `fft`, the transform of "backward" being a sum without a factor, twice the published one.
    overwrite_x
        Accepted; `x` is left alone.
    workers
        As in `fft`.
    orthogonalize : bool, optional
        Whether the first number, of type 1 the last one too, is scaled so that the matrix is orthogonal up to a factor;
        by default where `norm` is "ortho".

    Returns
    -------
    ndarray
        Of the shape of `x`, with n along the axis.

    Raises
    ------
    ValueError
        If `type`, `norm` or n are none.

    Examples
    --------
    >>> import tnk.fft
    >>> tnk.fft.dct([1.0, 1.0, 1.0, 1.0, 1.0], type=1)
    array([8., 0., 0., 0., 0.])
    """
    return _trig.transform(x, "c", False, type, _one(n), [axis], norm, orthogonalize, _threads(workers), _prepared)


def idct(x: ArrayLike, type: int = 2, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None, orthogonalize: Optional[bool] = None,
         ) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `dct`, whose parameters these are."""
    return _trig.transform(x, "c", True, type, _one(n), [axis], norm, orthogonalize, _threads(workers), _prepared)


def dst(x: ArrayLike, type: int = 2, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
        overwrite_x: bool = False, workers: Optional[int] = None, orthogonalize: Optional[bool] = None,
        ) -> np.ndarray:  # fmt: skip
    """Compute the discrete sine transform along an axis; parameters are those of `dct`."""
    return _trig.transform(x, "s", False, type, _one(n), [axis], norm, orthogonalize, _threads(workers), _prepared)


def idst(x: ArrayLike, type: int = 2, n: Optional[int] = None, axis: int = -1, norm: Optional[str] = None,
         overwrite_x: bool = False, workers: Optional[int] = None, orthogonalize: Optional[bool] = None,
         ) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `dst`."""
    return _trig.transform(x, "s", True, type, _one(n), [axis], norm, orthogonalize, _threads(workers), _prepared)


def dctn(x: ArrayLike, type: int = 2, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
         norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None, *,
         orthogonalize: Optional[bool] = None) -> np.ndarray:  # fmt: skip
    """Compute `dct` along several axes, all by default; `s` has the lengths along them."""
    return _trig.transform(x, "c", False, type, s, axes, norm, orthogonalize, _threads(workers), _prepared)


def idctn(x: ArrayLike, type: int = 2, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None, *,
          orthogonalize: Optional[bool] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `dctn`."""
    return _trig.transform(x, "c", True, type, s, axes, norm, orthogonalize, _threads(workers), _prepared)


def dstn(x: ArrayLike, type: int = 2, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
         norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None, *,
         orthogonalize: Optional[bool] = None) -> np.ndarray:  # fmt: skip
    """Compute `dst` along several axes."""
    return _trig.transform(x, "s", False, type, s, axes, norm, orthogonalize, _threads(workers), _prepared)


def idstn(x: ArrayLike, type: int = 2, s: Optional[Sequence[int]] = None, axes: Optional[Sequence[int]] = None,
          norm: Optional[str] = None, overwrite_x: bool = False, workers: Optional[int] = None, *,
          orthogonalize: Optional[bool] = None) -> np.ndarray:  # fmt: skip
    """Compute the inverse of `dstn`."""
    return _trig.transform(x, "s", True, type, s, axes, norm, orthogonalize, _threads(workers), _prepared)


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


def __ua_function__(method: Callable, args: tuple, kwargs: dict) -> Union[np.ndarray, type(NotImplemented)]:
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
