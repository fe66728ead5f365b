"""A controller for `threadpoolctl`, so that its limits hold here too.

``tnk.threadpool.register()`` makes it known, to threadpoolctl 3.3 or later, which takes controllers of others.
"""

from __future__ import annotations

from typing import Optional

from . import _library

__all__ = ["register"]

_known = False
_unlimited: Optional[tuple[int, int]] = None  # threads before a limit, and what the program had set


def _limit(threads: int) -> None:
    """Set a limit. Back at the number of before, what the program had set holds again: that may be the default, which
    follows an OpenMP runtime and the processors."""
    global _unlimited
    before = _library.get_max_threads(), _library.asked_threads()
    if _unlimited is not None and threads == _unlimited[0]:
        threads, _unlimited = _unlimited[1], None
    elif _unlimited is None:
        _unlimited = before
    _library.set_num_threads(threads)


def register() -> bool:
    """Make the library known to `threadpoolctl`.

    Returns
    -------
    bool
        Whether it is known now: False without threadpoolctl or where its version takes no controllers.

    Examples
    --------
    >>> import tnk.threadpool
    >>> known = tnk.threadpool.register()
    """
    global _known
    if _known:
        return True
    try:
        import threadpoolctl
    except ImportError:
        return False
    if not hasattr(threadpoolctl, "register"):
        return False

    class Controller(threadpoolctl.LibController):
        user_api = "blas"
        internal_api = "tnk"
        filename_prefixes = ("libtnk_host",)

        def get_num_threads(self) -> int:
            return _library.get_max_threads()

        def set_num_threads(self, num_threads: Optional[int]) -> None:
            _limit(num_threads or 0)

        def get_version(self) -> str:
            from . import __version__

            return __version__

        def set_additional_attributes(self) -> None:
            pass

    threadpoolctl.register(Controller)
    _known = True
    return True
