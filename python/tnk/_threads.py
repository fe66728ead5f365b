"""Threads for jobs that the library leaves on one: the interpreter's lock is free while a kernel runs."""

from __future__ import annotations

import ctypes
import os
import threading
from collections import deque
from concurrent.futures import ThreadPoolExecutor, wait
from typing import Callable, Optional, Sequence

LEAST_SHARE = 1 << 15  # numbers of rows to be transformed that a thread is worth
PIECES_A_THREAD = 4  # so that a thread that is held up leaves work to the others
_pool: Optional[ThreadPoolExecutor] = None
_lock = threading.Lock()
_here = ctypes.CDLL(None).sched_getcpu
_PATIENCE = 1e-3  # seconds for which a caller waits before it lends its processor
_bound: dict[int, set[int]] = {}  # threads, and the processors that they were left


def _bind(thread: int, processors: set[int]) -> None:
    if processors and _bound.get(thread) != processors:
        _bound[thread] = processors
        try:
            os.sched_setaffinity(thread, processors)
        except OSError:  # not allowed any longer
            pass


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
    # Systems were seen to leave all threads on the caller's processor while others were idle.
    allowed = os.sched_getaffinity(0)
    elsewhere = allowed - {_here()}
    threads_begun: list[int] = []

    def work_elsewhere() -> None:
        thread = threading.get_native_id()
        threads_begun.append(thread)
        _bind(thread, elsewhere)
        work()

    jobs = [_pool.submit(work_elsewhere) for _ in range(others)]
    try:
        work()
    finally:
        interrupt: Optional[BaseException] = None
        begun = [job for job in jobs if not job.cancel()]  # who comes late is not missed
        patience: Optional[float] = _PATIENCE
        for job in begun:
            while not job.done():
                try:
                    if wait((job,), patience).not_done and patience is not None:
                        patience = None
                        for thread in threads_begun:  # another program may keep one from going on
                            _bind(thread, allowed)
                except BaseException as error:
                    interrupt = error
    for failure in (interrupt, *(job.exception() for job in begun)):
        if failure is not None:
            raise failure


def _after_fork() -> None:
    global _pool, _lock
    _pool, _lock = None, threading.Lock()
    _bound.clear()


os.register_at_fork(after_in_child=_after_fork)
