"""Threads for jobs that the library leaves on one: the interpreter's lock is free while a kernel runs."""

from __future__ import annotations

import ctypes
import os
import threading
from collections import deque
from concurrent.futures import ThreadPoolExecutor, wait
from typing import Callable, Optional, Sequence

LEAST_SHARE = 1 << 15  # numbers of rows to be transformed that a thread is worth
_pool: Optional[ThreadPoolExecutor] = None
_lock = threading.Lock()
_here = ctypes.CDLL(None).sched_getcpu
_own = threading.local()


def _move(processors: set[int]) -> None:
    """Keep this thread off its caller's processor: systems were seen to leave both there while others were idle."""
    if processors and getattr(_own, "processors", None) != processors:
        try:
            os.sched_setaffinity(0, processors)
        except OSError:  # not allowed any longer
            return
        _own.processors = processors


def spread(pieces: Sequence[Callable[[], object]], threads: Optional[int] = None) -> None:
    """Run all, on a thread for each or on so many, of which this is one. A thread takes the piece that is next.

    The first error is raised once all have ended, and an interrupt is, too. Should another one come in between, others may
    still run: pieces refer to the arrays that they work on, so that these live as long.
    """
    global _pool
    left = deque(pieces)

    def work() -> None:
        while True:
            try:
                piece = left.popleft()
            except IndexError:
                return
            piece()

    others = min(threads or len(pieces), len(pieces)) - 1
    if others == 0 or not threading.main_thread().is_alive():  # no pool takes more once that thread has ended
        return work()
    with _lock:
        if _pool is None:
            _pool = ThreadPoolExecutor(thread_name_prefix="tnk")
    elsewhere = os.sched_getaffinity(0) - {_here()}

    def work_elsewhere() -> None:
        _move(elsewhere)
        work()

    jobs = [_pool.submit(work_elsewhere) for _ in range(others)]
    try:
        work()
    finally:
        interrupt: Optional[BaseException] = None
        begun = [job for job in jobs if not job.cancel()]  # who comes late is not missed
        for job in begun:
            while not job.done():
                try:
                    wait((job,))
                except BaseException as error:
                    interrupt = error
    for failure in (interrupt, *(job.exception() for job in begun)):
        if failure is not None:
            raise failure


def _after_fork() -> None:
    global _pool, _lock
    _pool, _lock = None, threading.Lock()


os.register_at_fork(after_in_child=_after_fork)
