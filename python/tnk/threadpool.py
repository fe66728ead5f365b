"""A controller for `threadpoolctl`, so that its limits hold here too.

``tnk.threadpool.register()`` makes it known, to threadpoolctl 3.3 or later, which takes controllers of others.
"""

from __future__ import annotations

from typing import Optional

from ._library import get_max_threads, set_num_threads

__all__ = ["register"]

_known = False


def register() -> bool:
    """Make the library known to `threadpoolctl`.

    Returns
    -------
    bool
        Whether it is known now: False without threadpoolctl or where its version takes no controllers.
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
            return get_max_threads()

        def set_num_threads(self, num_threads: Optional[int]) -> None:
            set_num_threads(num_threads or 0)

        def get_version(self) -> str:
            from . import __version__

            return __version__

        def set_additional_attributes(self) -> None:
            pass

    threadpoolctl.register(Controller)
    _known = True
    return True
