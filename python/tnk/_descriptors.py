"""Transforms as descriptors describe them, and the committed descriptors that are kept for the next ones."""

from __future__ import annotations

import ctypes
from typing import Any, NamedTuple

from ._library import c_int, call, get_max_threads, kernel, threads_limited

_COMPLEX, _REAL = 32, 33
_FORWARD_SCALE, _BACKWARD_SCALE, _NUMBER, _CONJUGATE_EVEN, _PLACEMENT = 4, 5, 7, 10, 11
_INPUT_STRIDES, _OUTPUT_STRIDES, _INPUT_DISTANCE, _OUTPUT_DISTANCE, _USERS = 12, 13, 14, 15, 26
_COMPLEX_COMPLEX, _NOT_IN_PLACE = 39, 44
_DECLINED = 100

_handle = ctypes.c_void_p
_by_address = ctypes.POINTER(_handle)
_lengths = ctypes.POINTER(c_int)

# Entries, the result of each and its arguments; the last one's further arguments carry their types.
_SIGNATURES = {
    "DftiCreateDescriptor_s_1d": (c_int, _by_address, ctypes.c_int32, c_int),
    "DftiCreateDescriptor_d_1d": (c_int, _by_address, ctypes.c_int32, c_int),
    "DftiCreateDescriptor_s_md": (c_int, _by_address, ctypes.c_int32, c_int, _lengths),
    "DftiCreateDescriptor_d_md": (c_int, _by_address, ctypes.c_int32, c_int, _lengths),
    "DftiCommitDescriptor": (c_int, _handle),
    "DftiComputeForward": (c_int, _handle, ctypes.c_void_p, ctypes.c_void_p),
    "DftiComputeBackward": (c_int, _handle, ctypes.c_void_p, ctypes.c_void_p),
    "DftiErrorMessage": (ctypes.c_char_p, c_int),
    "DftiFreeDescriptor": (c_int, _by_address),
    "DftiSetValue": (c_int,),
}


def _entry(name: str) -> Any:
    return kernel(name, *_SIGNATURES[name])


def _free(handle: ctypes.c_void_p) -> None:
    _entry("DftiFreeDescriptor")(ctypes.byref(handle))


class Declined(ValueError):
    """No method takes such a transform."""


class Plan(NamedTuple):
    """A transform: what there is to be known of it, in elements of either side. Lengths in C's order."""

    double: bool
    real: bool  # one side is real, the other one half of its spectrum
    backward: bool
    lengths: tuple[int, ...]
    input_strides: tuple[int, ...]
    output_strides: tuple[int, ...]
    transforms: int
    input_distance: int
    output_distance: int
    in_place: bool
    scale: float
    threads: int


def _strides(strides: tuple[int, ...]) -> ctypes.Array:
    return (c_int * (len(strides) + 1))(0, *strides)


def _make(plan: Plan) -> ctypes.c_void_p:
    domain = _REAL if plan.real else _COMPLEX
    rank = len(plan.lengths)
    handle = _handle()
    create = f"DftiCreateDescriptor_{'d' if plan.double else 's'}_"
    if rank == 1:
        status = _entry(create + "1d")(ctypes.byref(handle), domain, plan.lengths[0])
    else:
        status = _entry(create + "md")(ctypes.byref(handle), domain, rank, (c_int * rank)(*plan.lengths))
    if status:
        raise _failure(status, plan)
    values = [
        (_BACKWARD_SCALE if plan.backward else _FORWARD_SCALE, ctypes.c_double(plan.scale)),
        (_NUMBER, c_int(plan.transforms)),
        (_INPUT_STRIDES, _strides(plan.input_strides)),
        (_OUTPUT_STRIDES, _strides(plan.output_strides)),
        (_INPUT_DISTANCE, c_int(plan.input_distance)),
        (_OUTPUT_DISTANCE, c_int(plan.output_distance)),
        # Two callers, whom one thread each serves, where one thread is wanted.
        (_USERS, c_int(2 if plan.threads == 1 else 1)),
    ]
    if plan.real:
        values.append((_CONJUGATE_EVEN, ctypes.c_int32(_COMPLEX_COMPLEX)))
    if not plan.in_place:
        values.append((_PLACEMENT, ctypes.c_int32(_NOT_IN_PLACE)))
    try:
        set_value = _entry("DftiSetValue")
        for parameter, value in values:
            if status := set_value(handle, ctypes.c_int32(parameter), value):
                raise _failure(status, plan)
        limit = plan.threads if 1 < plan.threads < get_max_threads() else None
        with threads_limited(limit):
            status = call(_entry("DftiCommitDescriptor"), handle)
        if status:
            raise _failure(status, plan)
    except BaseException:
        _free(handle)
        raise
    return handle


def _failure(status: int, plan: Plan) -> Exception:
    text = _entry("DftiErrorMessage")(status).decode()
    if status == 1:
        return MemoryError(text)
    if status == _DECLINED:
        lengths = " by ".join(map(str, plan.lengths))
        return Declined(f"no transform of {lengths} numbers in this layout: too long, or no memory for it")
    return RuntimeError(f"Fourier transform: {text}")


class Transform:
    """What computes by a plan. Idle descriptors are kept; threads share this, since who computes has taken one out."""

    __slots__ = ("plan", "_idle", "_compute")

    def __init__(self, plan: Plan) -> None:
        self.plan = plan
        self._idle: list[ctypes.c_void_p] = []  # whose append and pop are atomic
        self._compute = _entry("DftiComputeBackward" if plan.backward else "DftiComputeForward")

    def run(self, source: int, destination: int, offsets: tuple[tuple[int, int], ...]) -> None:
        """Compute at addresses, once for each pair of offsets in bytes."""
        try:
            handle = self._idle.pop()
        except IndexError:
            handle = _make(self.plan)
        try:
            for read, written in offsets:
                if status := self._compute(handle, source + read, destination + written):
                    raise _failure(status, self.plan)
        finally:
            self._idle.append(handle)

    def __del__(self) -> None:
        for handle in self._idle:
            _free(handle)
