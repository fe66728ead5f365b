"""From arrays of any strides to transforms that a descriptor describes."""

from __future__ import annotations

from functools import lru_cache, partial
from math import prod
from typing import Any, Optional

import numpy as np

from ._descriptors import Plan, Transform
from ._threads import LEAST_SHARE, PIECES_A_THREAD, spread

_Loop = tuple[int, int, int]  # length, stride of the side that is read, stride of the one that is written
_Shape = tuple[int, ...]
_Offsets = tuple[tuple[int, int], ...]
_Found = list[tuple[Transform, _Offsets]]  # with the offsets in bytes at which each is run

KEPT = 64  # layouts of which the descriptors are kept
_ENOUGH = 1 << 11  # numbers of a call that takes longer than to be called


def element_strides(shape: _Shape, strides: _Shape, size: int) -> Optional[_Shape]:
    """Strides in elements; None where a descriptor cannot have them."""
    if any(n > 1 and (s <= 0 or s % size) for s, n in zip(strides, shape)):
        return None
    return tuple(s // size if n > 1 else 1 for s, n in zip(strides, shape))


def _closest(shape: _Shape, steps: _Shape) -> int:
    return min((step for n, step in zip(shape, steps) if n > 1), default=1)


def merged(loops: list[_Loop]) -> list[_Loop]:
    """The same walk in fewer loops, the closest one first."""
    result: list[_Loop] = []
    for length, read, written in sorted((loop for loop in loops if loop[0] > 1), key=lambda loop: loop[2]):
        if result and result[-1][0] * result[-1][1] == read and result[-1][0] * result[-1][2] == written:
            result[-1] = (result[-1][0] * length, *result[-1][1:])
        else:
            result.append((length, read, written))
    return result


@lru_cache(maxsize=KEPT)
def _found(shape: _Shape, strides: _Shape, written_shape: _Shape, written_strides: _Shape, sizes: tuple[int, int],
           axes: _Shape, lengths: _Shape, real: bool, backward: bool, in_place: bool, scale: float, threads: int,
           ) -> Optional[_Found]:  # fmt: skip
    """Transforms for threads; None where a dense copy is cheaper, or needed."""
    steps = element_strides(shape, strides, sizes[0]), element_strides(written_shape, written_strides, sizes[1])
    if steps[0] is None or steps[1] is None:
        return None
    read: _Shape = steps[0]
    written: _Shape = steps[1]
    loops = merged([(shape[d], read[d], written[d]) for d in range(len(shape)) if d not in axes])
    # One loop is the descriptor's: the closest one that gives a call enough to do, since it shares lines of the cache. The
    # others are walked here; where these are many, and each call has little to do, a copy in which all are one loop is cheaper.
    enough = max(_ENOUGH // prod(lengths), 4 * threads)
    inner = max(loops, key=lambda loop: (min(loop[0], enough), -min(loop[1:]), -loop[2])) if loops else (1, 0, 0)
    outer = [loop for loop in loops[::-1] if loop is not inner]
    calls = prod(length for length, _, _ in outer)
    if calls > 16 and calls * 512 > prod(shape) or 1 < inner[1] == _closest(shape, read):
        return None
    count, input_distance, output_distance = inner
    single = sizes[1] == (4 if real and backward else 8)

    def piece(transforms: int, on: int) -> Transform:
        return Transform(Plan(
            not single, real, backward, lengths, tuple(read[d] for d in axes), tuple(written[d] for d in axes),
            transforms, input_distance, output_distance, in_place, scale, on,
        ))  # fmt: skip

    offsets = [(0, 0)]
    for length, in_step, out_step in outer:
        in_bytes, out_bytes = in_step * sizes[0], out_step * sizes[1]
        offsets = [(a + i * in_bytes, b + i * out_bytes) for a, b in offsets for i in range(length)]

    # One transform is the library's to divide. Batches are cut here: the library leaves those that fit the largest cache
    # on one thread, whatever it is asked for.
    shares = min(threads * PIECES_A_THREAD, count, prod(shape) // LEAST_SHARE)
    if threads == 1 or shares < 2:
        return [(piece(count, threads if count == 1 else 1), tuple(offsets))]
    jobs, made = [], {}
    for i in range(shares):
        first, past = count * i // shares, count * (i + 1) // shares
        if past - first not in made:
            made[past - first] = piece(past - first, 1)
        begin = first * input_distance * sizes[0], first * output_distance * sizes[1]
        jobs.append((made[past - first], tuple((a + begin[0], b + begin[1]) for a, b in offsets)))
    return jobs


@lru_cache(maxsize=KEPT)
def along_one_axis(shape: _Shape, strides: _Shape, dtype: np.dtype, axis: int, backward: bool, threads: int,
                   ) -> Optional[_Found]:  # fmt: skip
    """The transforms of a complex array as it stands, unscaled forward and divided by the length backward, to a new one; None
    where that takes a copy."""
    dims, size = len(shape), dtype.itemsize
    if not dtype.isnative or not -dims <= axis < dims or not prod(shape):
        return None
    dense = tuple(size * prod(shape[d + 1 :]) for d in range(dims))
    n = shape[axis]
    return _found(shape, strides, shape, dense, (size, size), (axis % dims,), (n,), False, backward, False,
                  1 / n if backward else 1.0, threads)  # fmt: skip


def run(found: _Found, source: np.ndarray, destination: np.ndarray, threads: int) -> None:
    """Compute what was found for these shapes and strides."""
    addresses = source.ctypes.data, destination.ctypes.data
    if len(found) == 1:
        return found[0][0].run(*addresses, found[0][1])

    def piece(how: Transform, offsets: _Offsets, _: Any = (source, destination)) -> None:  # which live as long as it runs
        how.run(*addresses, offsets)

    return spread([partial(piece, *one) for one in found], threads)


def forget() -> None:
    """Free the descriptors that are kept."""
    along_one_axis.cache_clear()
    _found.cache_clear()


def transform(source: np.ndarray, destination: np.ndarray, axes: _Shape, lengths: _Shape, *, real: bool,
              backward: bool, scale: float, threads: int) -> None:  # fmt: skip
    """Transform along `axes`, which differ from one another; of real data the last one is halved on the complex side.

    `source` may be `destination`, of complex data. Otherwise the source is only read.
    """
    if destination.size == 0:
        return
    steps = element_strides(source.shape, source.strides, source.itemsize) if source.flags.aligned else None
    found = None if steps is None else _found(
        source.shape, source.strides, destination.shape, destination.strides, (source.itemsize, destination.itemsize),
        axes, lengths, real, backward, source is destination, scale, threads,
    )  # fmt: skip
    if found is not None:
        return run(found, source, destination, threads)

    if steps is None or _closest(source.shape, steps) > 1:  # negative steps, or gaps between all numbers
        dense = source.copy("K")
        return transform(dense, destination, axes, lengths, real=real, backward=backward, scale=scale, threads=threads)
    moved = tuple(range(-len(axes), 0))
    dense = np.ascontiguousarray(np.moveaxis(source, axes, moved))
    shape = np.moveaxis(destination, axes, moved).shape
    result = dense if source is destination else np.empty(shape, destination.dtype)
    last = tuple(dense.ndim + d for d in moved)
    transform(dense, result, last, lengths, real=real, backward=backward, scale=scale, threads=threads)
    destination[...] = np.moveaxis(result, moved, axes)
