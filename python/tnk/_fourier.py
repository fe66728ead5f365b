"""Arguments of transforms, and the three kinds of Fourier transforms that all functions of `tnk.fft` are."""

from __future__ import annotations

import contextvars
import operator
import os
from math import prod, sqrt
from typing import Any, Optional, Sequence

import numpy as np
from numpy.typing import ArrayLike

from ._layout import along_one_axis, run, transform
from ._lines import copied

# ---- Arguments ------------------------------------------------------------------------------------------------------

_AxisError = getattr(np, "exceptions", np).AxisError  # where NumPy 2 has it

chosen_workers: contextvars.ContextVar[int] = contextvars.ContextVar("tnk.fft workers", default=1)


def threads_of(workers: Optional[int]) -> int:
    if workers is None:
        return chosen_workers.get()
    workers = operator.index(workers)
    if workers > 0:
        return workers
    processors = os.cpu_count() or 1  # which asks the system
    if workers == 0 or workers < -processors:
        raise ValueError(f"workers value out of range; got {workers}, must not be less than {-processors} or 0")
    return workers + processors + 1


def _scale(norm: Optional[str], backward: bool, count: int) -> float:
    if norm == "ortho":
        return 1 / sqrt(count)
    if norm in (None, "backward", "forward"):
        return 1 / count if backward == (norm != "forward") else 1.0
    raise ValueError(f'norm is {norm!r}, expected "backward", "ortho" or "forward"')


def floating(x: ArrayLike, name: str = "x") -> np.ndarray:
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


def _places(array: np.ndarray, s: Any, axes: Any, halved: bool) -> tuple[list[int], list[int]]:
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


def _apart(places: list[int]) -> bool:
    """Whether no descriptor has these axes: one is there twice, or they are too many."""
    return len(set(places)) < len(places) or len(places) > 7


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


def prepared(x: ArrayLike, s: Any, axes: Any) -> tuple[np.ndarray, list[int]]:
    """In floating point and of the lengths, and the axes."""
    array = floating(x)
    places, lengths = _places(array, s, axes, False)
    return _resized(array, places, lengths), places


def one(n: Optional[int]) -> Optional[list[int]]:
    return None if n is None else [n]


# ---- Kinds ------------------------------------------------------------------------------------------------------------


def c2c(x: Any, s: Any, axes: Any, norm: Optional[str], overwrite: bool, workers: Optional[int],
        backward: bool) -> np.ndarray:  # fmt: skip
    # The usual case, without the looks that others need.
    as_it_stands = type(x) is np.ndarray and x.dtype.char in "FD" and s is None and norm is None and not overwrite
    if as_it_stands and type(axes) is list and len(axes) == 1:
        threads = threads_of(workers)
        usual = along_one_axis(x.shape, x.strides, x.dtype, axes[0], backward, threads)
        if usual is not None and x.flags.aligned:
            result = np.empty(x.shape, x.dtype)
            run(usual, x, result, threads)
            return result
    given = floating(x)
    array = _complex(given)
    places, lengths = _places(array, s, axes, False)
    threads = threads_of(workers)
    if _apart(places):  # one after another, the last one first
        for place, n in list(zip(places, lengths))[::-1]:
            array = c2c(array, [n], [place], norm, False, threads, backward)
        return array
    scale = _scale(norm, backward, prod(lengths))
    array = _resized(array, places, lengths)
    if not places:
        return array if overwrite else array.copy()
    if len(places) > 1 and not _falls(array):
        array = copied(array)
    if (array.base is None if array is not given else overwrite and array is x) and array.flags.carray:
        result = array
    else:
        result = np.empty(array.shape, array.dtype)
    transform(array, result, tuple(places), tuple(lengths), real=False, backward=backward, scale=scale, threads=threads)
    return result


def r2c(x: ArrayLike, s: Any, axes: Any, norm: Optional[str], workers: Optional[int]) -> np.ndarray:
    array = floating(x)
    if array.dtype.kind == "c":
        raise TypeError("x must be a real sequence")
    places, lengths = _places(array, s, axes, False)
    if not places:
        raise ValueError("at least 1 axis must be transformed")
    threads = threads_of(workers)
    if _apart(places):
        half = r2c(array, lengths[-1:], places[-1:], norm, threads)
        return c2c(half, lengths[:-1], places[:-1], norm, True, threads, False)
    array = _resized(array, places, lengths)
    if len(places) > 1 and not _falls(array):
        array = copied(array)
    shape = list(array.shape)
    shape[places[-1]] = lengths[-1] // 2 + 1
    result: np.ndarray = np.empty(shape, _complex_type(array.dtype))
    scale = _scale(norm, False, prod(lengths))
    transform(array, result, tuple(places), tuple(lengths), real=True, backward=False, scale=scale, threads=threads)
    return result


def c2r(x: ArrayLike, s: Any, axes: Any, norm: Optional[str], workers: Optional[int]) -> np.ndarray:
    array = _complex(floating(x))
    places, lengths = _places(array, s, axes, True)
    if not places:
        raise ValueError("at least 1 axis must be transformed")
    threads = threads_of(workers)
    if len(places) > 1:
        # Axis by axis, so that numbers which are no half of a spectrum have the result that they have in NumPy: the
        # imaginary parts that do not count are those before the last axis, after the others.
        most = c2c(array, lengths[:-1], places[:-1], norm, False, threads, True)
        return c2r(most, lengths[-1:], places[-1:], norm, threads)
    half = lengths[-1] // 2 + 1
    array = _resized(array, places, [*lengths[:-1], half])
    shape = list(array.shape)
    shape[places[-1]] = lengths[-1]
    result: np.ndarray = np.empty(shape, _real_type(array.dtype))
    scale = _scale(norm, True, prod(lengths))
    transform(array, result, tuple(places), tuple(lengths), real=True, backward=True, scale=scale, threads=threads)
    return result
