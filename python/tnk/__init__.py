"""tnk: numerical kernels for AVX processors, from Python.

Modules: `fft` (Fourier, cosine and sine transforms, also as a backend of `scipy.fft`), `sparse` (products and triangular
solves for SciPy's sparse matrices), `signal` (convolution and correlation), `pde` (Poisson and Helmholtz equations), `exact`
(dot products and residuals in more precision). `transpose` works in place, `show` tells what runs here, `set_num_threads`
limits threads.
"""

from ._library import LibraryError, get_max_threads, set_num_threads, show
from ._transpose import transpose
from . import exact, fft, pde, signal

__version__ = "0.1.0"

__all__ = ["LibraryError", "exact", "fft", "get_max_threads", "pde", "set_num_threads", "show", "signal", "sparse", "transpose"]


def __getattr__(name: str):
    # Needs SciPy, which is not needed otherwise.
    if name == "sparse":
        from importlib import import_module

        return import_module(".sparse", __name__)
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
