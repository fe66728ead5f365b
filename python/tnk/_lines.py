"""Lines of an array along one axis: some of them are moved side by side into a buffer, computed there, and put back.

So lines that lie across memory are read by whole lines of the cache, and what computes finds its numbers nearby.
"""

from __future__ import annotations

import ctypes
from functools import partial
from typing import Any, Callable, NamedTuple, Optional

import numpy as np

from ._layout import element_strides, merged
from ._library import Complex64, Complex128, c_int, kernel
from ._threads import LEAST_SHARE, spread

_ON_ONE_THREAD = (1 << 15) - 1  # numbers in lines that the library leaves on the caller's thread
_LEAST_LINES = 8  # across memory: as many numbers as a line of the cache has
_LEAST_MOVED = 512  # numbers that are worth a call
_FEW = 1 << 12  # numbers that NumPy moves, since to find a way takes longer
_SCALARS = {
    "f": ("s", ctypes.c_float),
    "d": ("d", ctypes.c_double),
    "F": ("c", Complex64),
    "D": ("z", Complex128),
}
_Piece = tuple[int, int, int]  # where the first line begins in the source and in the target, in numbers, and how many


class Buffer(NamedTuple):
    """Where lines are computed, in their own type or in double: one begins `pitch` numbers behind the other. Their numbers
    stand from `first` on, between zeros."""

    dtype: np.dtype
    pitch: int
    first: int


class _Way(NamedTuple):
    """How lines lie in an array: the steps from one to the next, and along each."""

    step: int
    along: int


def _walk(source: np.ndarray, target: np.ndarray, axis: int) -> Optional[tuple[_Way, _Way, list[_Piece]]]:
    """None where there are steps that cannot be taken, or too many of them."""
    shape = source.shape
    read = element_strides(shape, source.strides, source.itemsize)
    written = element_strides(shape, target.strides, target.itemsize)
    if read is None or written is None or not source.flags.aligned:
        return None
    loops = merged([(shape[d], read[d], written[d]) for d in range(len(shape)) if d != axis])
    # Pieces are lines of one loop: that of neighbours, unless it is short.
    inner = min(loops, key=lambda loop: (loop[0] < _LEAST_LINES, loop[2])) if loops else (1, 1, 1)
    if len(loops) > 1 and inner[0] * shape[axis] < _LEAST_MOVED:
        return None
    starts = [(0, 0)]
    for length, in_step, out_step in loops[::-1]:
        if (length, in_step, out_step) != inner:
            starts = [(a + i * in_step, b + i * out_step) for a, b in starts for i in range(length)]
    return _Way(inner[1], read[axis]), _Way(inner[2], written[axis]), [(a, b, inner[0]) for a, b in starts]


def _chunks(pieces: list[_Piece], read: _Way, written: _Way, most: int) -> list[list[_Piece]]:
    """Pieces cut, or put together, so that each chunk has at most so many lines."""
    chunks: list[list[_Piece]] = []
    room = 0
    for source, target, count in pieces:
        for begin in range(0, count, most):
            some = min(most, count - begin)
            if some > room:
                room = most
                chunks.append([])
            chunks[-1].append((source + begin * read.step, target + begin * written.step, some))
            room -= some
    return chunks


def _mover(dtype: np.dtype, across: bool) -> Any:
    letter, scalar = _SCALARS[dtype.char]
    size, address = ctypes.c_uint64, ctypes.c_void_p
    matrix = address, size, size
    return kernel(f"tnk_trans_tnk_{letter}omatcopy2_rec_{'t' if across else 'n'}", None, size, size, *matrix, *matrix, scalar)


def copied(array: np.ndarray) -> np.ndarray:
    """In C's order. Where other numbers than those of a line are neighbours, NumPy's copy would go across memory."""
    shape, last = array.shape, array.ndim - 1
    steps = element_strides(shape, array.strides, array.itemsize) if array.flags.aligned else None
    near = [d for d in range(last) if shape[d] > 1 and steps is not None and steps[d] == 1]
    if steps is None or not near or shape[near[0]] * shape[last] < _FEW or array.dtype.char not in _SCALARS:
        return array.copy("C")
    axis = near[0]
    result = np.empty(shape, array.dtype)
    move, one = _mover(array.dtype, True), _SCALARS[array.dtype.char][1](1)
    others = [d for d in range(last) if d != axis]
    for place in np.ndindex(*(shape[d] for d in others)):
        move(shape[last], shape[axis], array.ctypes.data + sum(i * array.strides[d] for i, d in zip(place, others)),
             steps[last], 1, result.ctypes.data + sum(i * result.strides[d] for i, d in zip(place, others)),
             result.strides[axis] // result.itemsize, 1, one)  # fmt: skip
    return result


def by_lines(source: np.ndarray, target: np.ndarray, axis: int, compute: Callable[[np.ndarray, int], None],
             buffer: Buffer, factor: float, threads: int) -> None:  # fmt: skip
    """Compute on the lines of the source along an axis; the target, which may be the source, has the results times a factor.

    compute(lines, address) works in place: on some lines of a buffer, the first of which begins `first` numbers behind the
    address. Several threads call it, with few lines, or a single one.
    """
    n = source.shape[axis]
    here = slice(buffer.first, buffer.first + n)
    lines = source.size // n
    if source.size <= _FEW:
        work = np.zeros((lines, buffer.pitch), buffer.dtype)
        middle = work[:, here]
        moved = source.swapaxes(axis, -1)
        middle[...] = moved.reshape(lines, n)
        compute(middle, work.ctypes.data)
        np.multiply(middle.reshape(moved.shape), factor, out=target.swapaxes(axis, -1), casting="same_kind")
        return
    walk = _walk(source, target, axis)
    if walk is None:
        rows = np.array(source.swapaxes(axis, -1), order="C")
        by_lines(rows, rows, rows.ndim - 1, compute, buffer, factor, threads)
        target.swapaxes(axis, -1)[...] = rows
        return
    read, written, pieces = walk
    shares = max(1, min(threads, lines, source.size // LEAST_SHARE))
    at_once = max(1, _ON_ONE_THREAD // buffer.pitch)  # that are computed
    most = max(at_once, _LEAST_LINES) if max(read.along, written.along) > 1 else at_once
    most = min(most, -(-lines // shares))
    chunks = _chunks(pieces, read, written, most)
    get, put = _mover(source.dtype, read.along > 1), _mover(source.dtype, written.along > 1)
    source_address, target_address = source.ctypes.data, target.ctypes.data
    size, wide = source.itemsize, buffer.dtype != source.dtype
    # Numbers of more digits are multiplied before they lose them; both at once takes NumPy three times as long.
    last = 1.0 if wide else factor
    by_address = ctypes.POINTER(c_int), ctypes.POINTER(ctypes.c_double), ctypes.c_void_p, ctypes.POINTER(c_int)
    scale, factor_address = kernel("tnk_blas_dscal", None, *by_address), ctypes.c_double(factor)

    def share(own: list[list[_Piece]], held: Any = (source, target)) -> None:  # which live as long as it runs
        work = np.empty((most, buffer.pitch), buffer.dtype)
        work[:, : here.start] = work[:, here.stop :] = 0
        middle = work[:, here]
        moved = np.empty((most, n), source.dtype) if wide else middle
        work_address, moved_address, pitch = work.ctypes.data, moved.ctypes.data, moved.strides[0] // size
        for chunk in own:
            count = 0
            for begin, _, some in chunk:
                a, b = source_address + begin * size, moved_address + count * pitch * size
                if read.along > 1:
                    get(n, some, a, read.along, read.step, b, pitch, 1, 1.0)
                else:
                    get(some, n, a, read.step, 1, b, pitch, 1, 1.0)
                count += some
            if wide:
                middle[:count] = moved[:count]
            for begin in range(0, count, at_once):
                compute(middle[begin : min(begin + at_once, count)], work_address + begin * work.strides[0])
            if wide:
                scale(c_int(count * buffer.pitch), factor_address, work_address, c_int(1))
                moved[:count] = middle[:count]
            count = 0
            for _, begin, some in chunk:
                a, b = moved_address + count * pitch * size, target_address + begin * size
                if written.along > 1:
                    put(some, n, a, pitch, 1, b, written.along, written.step, last)
                else:
                    put(some, n, a, pitch, 1, b, written.step, 1, last)
                count += some

    cuts = [len(chunks) * i // shares for i in range(shares + 1)]
    spread([partial(share, chunks[cuts[i] : cuts[i + 1]]) for i in range(shares)])
