"""The host library: where it is, how it is called, and what its errors become."""

from __future__ import annotations

import ctypes
import operator
import os
import sys
import threading
from pathlib import Path
from typing import Any, Optional

HOST = "libtnk_host.so"

c_int = ctypes.c_int64  # the library's integer


class Complex64(ctypes.Structure):
    """A complex number of two floats, as arguments have it."""

    _fields_ = [("re", ctypes.c_float), ("im", ctypes.c_float)]


class Complex128(ctypes.Structure):
    """A complex number of two doubles, as arguments have it."""

    _fields_ = [("re", ctypes.c_double), ("im", ctypes.c_double)]


class _Error(ctypes.Structure):
    _fields_ = [
        ("kind", ctypes.c_int),
        ("routine", ctypes.c_char_p),
        ("position", ctypes.c_int),
        ("argument", ctypes.c_char_p),
        ("value", ctypes.c_char_p),
        ("expected", ctypes.c_char_p),
        ("message", ctypes.c_char_p),
    ]


_ARGUMENT, _MEMORY, _KERNEL = 1, 2, 3


class LibraryError(RuntimeError):
    """The kernel library is missing, or is none for this processor.

    Examples
    --------
    >>> import numpy as np, tnk
    >>> try:
    ...     spectrum = tnk.fft.fft(np.ones(4))
    ... except tnk.LibraryError:  # NumPy has it, too
    ...     spectrum = np.fft.fft(np.ones(4))
    >>> spectrum
    array([4.+0.j, 0.+0.j, 0.+0.j, 0.+0.j])
    """


def _places() -> list[Path]:
    """Files that may be the host library, the likeliest first."""
    given = os.environ.get("TNK_LIBRARY_PATH")
    if given:
        return [Path(given) / HOST]
    here = Path(__file__).resolve().parent
    places = [build / "lib" / HOST for build in sorted(here.parents[1].glob("build/*"), key=_preference)]
    # Under an installation prefix the libraries are some folders above the package.
    for folder in here.parents:
        if folder.name.startswith("lib"):
            places += [folder / HOST, *sorted(folder.glob(f"*-linux-gnu/{HOST}"))]
    return places


def _preference(build: Path) -> tuple[bool, str]:
    return build.name != "release", build.name


def _load() -> ctypes.CDLL:
    places = _places()
    for place in places:
        if place.is_file():
            try:
                return ctypes.CDLL(str(place))
            except OSError as error:
                raise ImportError(f"tnk: {HOST} cannot be loaded: {error}") from None
    looked = "".join(f"\n  {place}" for place in places)
    if os.environ.get("TNK_LIBRARY_PATH"):
        raise ImportError(f"tnk: {HOST} was not found. TNK_LIBRARY_PATH names its folder; looked for:{looked}")
    try:
        return ctypes.CDLL(HOST)  # where the dynamic linker looks
    except OSError:
        pass
    where = f"Looked for:{looked}\nand in" if looked else "Looked in"
    raise ImportError(
        f"tnk: {HOST} was not found. {where} the dynamic linker's folders. "
        "Build or install the library, or set TNK_LIBRARY_PATH to the folder that holds it."
    )


host = _load()


def declared(name: str, result: Any, *arguments: Any) -> Any:
    """A function of the host by its name."""
    function = getattr(host, name, None)
    if function is None:
        raise ImportError(f"tnk: {host._name} has no {name}; it is of another version than this package")
    function.restype, function.argtypes = result, arguments
    return function


# ---- Errors -------------------------------------------------------------------------------------------------------


class _Calls(threading.local):
    """Whether this thread is inside a call from here, and the first error of it."""

    depth = 0
    error: Optional[tuple[int, str]] = None


_calls = _Calls()
_Handler = ctypes.CFUNCTYPE(None, ctypes.POINTER(_Error))


def _on_error(error: Any) -> None:
    if _calls.depth == 0:
        _before(error)
    elif _calls.error is None:
        _calls.error = (error.contents.kind, error.contents.message.decode("utf-8", "replace"))


_handler = _Handler(_on_error)
_set_handler = declared("tnk_set_error_handler", ctypes.c_void_p, ctypes.c_void_p)
_before = _Handler(_set_handler(ctypes.cast(_handler, ctypes.c_void_p)))


def call(function: Any, *arguments: Any) -> Any:
    """The function's result; what the library reports meanwhile is raised."""
    _calls.depth += 1
    try:
        result = function(*arguments)
    finally:
        _calls.depth -= 1
        error, _calls.error = _calls.error, None
    if error is None:
        return result
    kind, message = error
    if kind == _MEMORY:
        raise MemoryError(message)
    raise (ValueError if kind == _ARGUMENT else LibraryError)(message)


_entry = declared("tnk_kernel_entry", ctypes.c_void_p, ctypes.c_char_p)
_entries: dict[str, Any] = {}


def kernel(name: str, result: Any, *arguments: Any) -> Any:
    """A function of the kernel library, which checks no argument. An entry has one signature."""
    function = _entries.get(name)
    if function is None:
        address = call(_entry, name.encode())
        if not address:
            raise LibraryError(f"tnk: the kernel library has no entry {name}")
        function = _entries[name] = ctypes.CFUNCTYPE(result, *arguments)(address)
    return function


# ---- Threads --------------------------------------------------------------------------------------------------------

_set_threads = declared("tnk_set_num_threads", None, ctypes.c_int)
_get_threads = declared("tnk_get_max_threads", ctypes.c_int)
_MOST = 2**31 - 1
_asked = 0  # what set_num_threads was called with last


def set_num_threads(threads: int) -> None:
    """Set how many threads the library may use for one call.

    Parameters
    ----------
    threads : int
        The number, for all threads of the process; 0 restores the default, which is that of an OpenMP runtime, of
        ``OMP_NUM_THREADS``, or all processors.

    Raises
    ------
    ValueError
        If `threads` is negative, or too large for an integer of 32 bits.

    Examples
    --------
    >>> import tnk
    >>> tnk.set_num_threads(1)
    >>> tnk.get_max_threads()
    1
    >>> tnk.set_num_threads(0)
    """
    global _asked
    threads = operator.index(threads)
    if threads > _MOST:
        raise ValueError(f"threads is {threads}, expected {_MOST} at most")
    call(_set_threads, threads)
    _asked = threads


def asked_threads() -> int:
    """What `set_num_threads` was called with last; 0 is the default."""
    return _asked


def get_max_threads() -> int:
    """Return how many threads a call from this thread uses at most.

    Returns
    -------
    int
        At least 1.

    Examples
    --------
    >>> import tnk
    >>> tnk.get_max_threads() >= 1
    True
    """
    return _get_threads()


class threads_limited:
    """Context in which the library uses so many threads; None leaves the number alone."""

    _lock = threading.RLock()

    def __init__(self, threads: Optional[int]) -> None:
        self._threads = threads

    def __enter__(self) -> None:
        if self._threads is not None:
            self._lock.acquire()
            call(_set_threads, self._threads)

    def __exit__(self, *_: Any) -> None:
        if self._threads is not None:
            call(_set_threads, _asked)
            self._lock.release()

    @classmethod
    def after_fork(cls) -> None:
        """In a child no thread is left that would give the lock back."""
        cls._lock = threading.RLock()


os.register_at_fork(after_in_child=threads_limited.after_fork)


# ---- What this is ---------------------------------------------------------------------------------------------------


def show(file: Any = None) -> None:
    """Print the version, the processor and its class, the libraries and the number of threads.

    Parameters
    ----------
    file : file-like, optional
        Where to; standard output by default.

    Examples
    --------
    >>> import io, tnk
    >>> out = io.StringIO()
    >>> tnk.show(out)
    >>> [line.split()[0] for line in out.getvalue().splitlines()]
    ['version', 'processor', 'class', 'host', 'kernel', 'threads']
    """
    out = sys.stdout if file is None else file
    load = declared("tnk_kernel_load", ctypes.c_int)
    path = declared("tnk_kernel_path", ctypes.c_char_p)
    detect = declared("tnk_serv_cpu_detect", ctypes.c_int32)
    try:
        state = "loaded" if call(load) == 0 else "refused"
    except LibraryError as error:
        state = str(error)
    from . import __version__

    rows = {
        "version": __version__,
        "processor": _processor(),
        "class": "AVX" if detect() == 4 else f"{detect()}, without AVX",
        "host library": host._name,
        "kernel library": f"{path().decode()} ({state})",
        "threads": str(get_max_threads()),
    }
    for what, value in rows.items():
        print(f"{what:<16}{value}", file=out)


def _processor() -> str:
    try:
        for line in Path("/proc/cpuinfo").read_text().splitlines():
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return "not known"
