"""Threads for jobs that the library leaves on one: the interpreter's lock is free while a kernel runs."""

from __future__ import annotations

import os
import threading
from concurrent.futures import ThreadPoolExecutor, wait
from typing import Callable, Optional, Sequence

LEAST_SHARE = 1 << 15  # numbers of rows to be transformed that a thread is worth
_pool: Optional[ThreadPoolExecutor] = None
_lock = threading.Lock()


def spread(pieces: Sequence[Callable[[], None]]) -> None:
    """Run all, the last one on this thread; the first error is raised once all have ended.

    An interrupt is raised then, too. Should another one come in between, others may still run: pieces refer to the arrays
    that they work on, so that these live as long.
    """
    global _pool
    if len(pieces) == 1 or not threading.main_thread().is_alive():  # no pool takes more once that thread has ended
        for alone in pieces:
            alone()
        return
    with _lock:
        if _pool is None:
            _pool = ThreadPoolExecutor(thread_name_prefix="tnk")
    waiting = [_pool.submit(piece) for piece in pieces[:-1]]
    try:
        pieces[-1]()
    finally:
        interrupt: Optional[BaseException] = None
        for piece in waiting:
            while not piece.done():
                try:
                    wait((piece,))
                except BaseException as error:
                    interrupt = error
    for failure in (interrupt, *(piece.exception() for piece in waiting)):
        if failure is not None:
            raise failure


def _after_fork() -> None:
    global _pool, _lock
    _pool, _lock = None, threading.Lock()


os.register_at_fork(after_in_child=_after_fork)
