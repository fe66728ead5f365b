"""Cosine and sine transforms of types 1 to 4."""

from __future__ import annotations

import ctypes
from functools import lru_cache
from math import sqrt
from typing import Any, Optional, Sequence

import numpy as np
from numpy.typing import ArrayLike

from ._library import c_int, call, declared
from ._threads import LEAST_SHARE, spread

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
_ON_ONE_THREAD = (1 << 15) - 1  # numbers in rows that the library leaves on the caller's thread


class _Plan:
    """Made once for a kind, length and precision; several threads may use it."""

    def __init__(self, kind: int, n: int, letter: str) -> None:
        pointer = ctypes.c_void_p
        make = declared(f"tnk_trig_{letter}make", ctypes.c_int, ctypes.POINTER(pointer), ctypes.c_int32, c_int)
        self._free = declared(f"tnk_trig_{letter}free", None, pointer)
        signature = ctypes.c_int, pointer, c_int, pointer, c_int
        self.run = {back: declared(f"tnk_trig_{letter}{name}", *signature)
                    for back, name in ((False, "forward"), (True, "backward"))}  # fmt: skip
        self.row = n + (kind < _QUARTER_COSINE)
        self.handle = pointer()
        call(make, ctypes.byref(self.handle), kind, n)

    def __del__(self) -> None:
        self._free(self.handle)


_plan = lru_cache(maxsize=64)(_Plan)


def _summed(rows: np.ndarray, family: str, kind: int) -> np.ndarray:
    """By definition."""
    n = rows.shape[-1]
    k, i = np.arange(n)[:, None], np.arange(n)[None, :]
    function = np.cos if family == "c" else np.sin
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


def _unscaled(rows: np.ndarray, family: str, kind: int) -> np.ndarray:
    """The sums of a type, of rows."""
    n = rows.shape[-1]
    if n < _LEAST:
        return _summed(rows, family, kind)
    which, backward, first, more = _TYPES[family, kind]
    period = n + more
    plan = _plan(which, period, "s" if rows.dtype == np.float32 else "d")
    # Forward has the sums over the period, backward half of them.
    factor = 2 if backward else period
    work = np.zeros((len(rows), plan.row), rows.dtype)
    part = work[:, first : first + n]
    np.multiply(rows, factor, out=part)
    call(plan.run[backward], plan.handle, len(work), work.ctypes.data, plan.row)
    return part


def _transform_rows(rows: np.ndarray, result: np.ndarray, family: str, kind: int, ends: bool, divisor: float) -> None:
    """The transforms of rows over a divisor, on this thread, some rows at a time."""
    n = rows.shape[-1]
    heads = [0, -1] if kind == 1 else [0] if family == "c" else [-1]  # whose rows of the matrix are longer
    before = ends and (kind == 3 or (family, kind) == ("c", 1))
    behind = ends and (kind == 2 or (family, kind) == ("c", 1))
    step = max(1, _ON_ONE_THREAD // (n + 1)) if n >= _LEAST else len(rows)
    for begin in range(0, len(rows), max(1, step)):
        some = rows[begin : begin + step]
        if before:
            some = some.copy()
            some[:, heads] *= sqrt(2)
        sums = _unscaled(some, family, kind)
        if behind:
            sums[:, heads] /= sqrt(2)
        np.divide(sums, divisor, out=result[begin : begin + step])


def transform(x: ArrayLike, family: str, inverse: bool, kind: int, shape: Optional[Sequence[int]], axes: Any,
              norm: Optional[str], orthogonalize: Optional[bool], threads: int, prepare: Any) -> np.ndarray:  # fmt: skip
    """Along axes, one after another. `prepare` gives the array in floating point, the axes, and the lengths along them."""
    if kind not in _INVERSE:
        raise ValueError(f"type is {kind!r}, expected 1, 2, 3 or 4")
    if norm not in (None, "backward", "ortho", "forward"):
        raise ValueError(f'norm is {norm!r}, expected "backward", "ortho" or "forward"')
    array, places = prepare(x, shape, axes)
    if array.dtype.kind == "c":
        arguments = family, inverse, kind, None, places, norm, orthogonalize, threads, prepare
        return transform(array.real, *arguments) + 1j * transform(array.imag, *arguments)
    own = _INVERSE[kind] if inverse else kind
    ends = norm == "ortho" if orthogonalize is None else orthogonalize
    for place in places:
        n = array.shape[place]
        if (family, kind) == ("c", 1) and n < 2:
            raise ValueError("a cosine transform of type 1 has 2 numbers or more")
        moved = np.moveaxis(array, place, -1)
        rows = np.ascontiguousarray(moved).reshape(-1, n)
        result = np.empty(rows.shape, array.dtype)
        period = 2 * (n + _TYPES[family, own][3])
        divisor = sqrt(period) if norm == "ortho" else period if inverse == (norm != "forward") else 1
        shares = max(1, min(threads, len(rows), rows.size // LEAST_SHARE)) if n >= _LEAST else 1
        cuts = [len(rows) * i // shares for i in range(shares + 1)]
        spread([
            lambda of=slice(*cuts[i : i + 2]): _transform_rows(rows[of], result[of], family, own, ends, divisor)
            for i in range(shares)
        ])  # fmt: skip
        array = np.ascontiguousarray(np.moveaxis(result.reshape(moved.shape), -1, place))
    return array
