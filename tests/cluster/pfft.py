"""A distributed Fourier transform, whose local transforms are tnk's, against one process."""
# needs: numpy scipy.fft mpi4py mpi4py_fft

import numpy as np
import scipy.fft
import scipy.fftpack
import tnk.fft
from mpi4py import MPI
from mpi4py_fft import PFFT, newDistArray

world = MPI.COMM_WORLD
counts = {"here": 0}
plain = tnk.fft.__ua_function__


def counted(method, args, kwargs):
    counts["here"] += 1
    return plain(method, args, kwargs)


tnk.fft.__ua_function__ = counted
scipy.fft.set_global_backend(tnk.fft)


def modern(function):
    return lambda x, shape=None, axes=None, overwrite_x=False: function(x, shape, axes, overwrite_x=overwrite_x)


# Its local transforms are those of scipy.fftpack, which knows no backends.
scipy.fftpack.fftn, scipy.fftpack.ifftn = modern(scipy.fft.fftn), modern(scipy.fft.ifftn)
worst = 0.0
for shape, dtype in [((48, 36, 40), "D"), ((64, 64, 30), "D"), ((30, 27, 25), "F")]:
    rng = np.random.default_rng(7)
    whole = rng.standard_normal(shape) + 1j * rng.standard_normal(shape)
    whole = whole.astype(dtype)
    transform = PFFT(world, shape, dtype=dtype, backend="scipy")
    u = newDistArray(transform, False)
    u[:] = whole[u.local_slice()]
    spectrum, back = newDistArray(transform, True), newDistArray(transform, False)
    transform.forward(u.copy(), spectrum, normalize=False)
    expected = np.fft.fftn(whole)
    eps = 1e-6 if dtype == "F" else 1e-14
    error = np.abs(spectrum - expected[spectrum.local_slice()]).max() / np.abs(expected).max() / eps
    transform.backward(spectrum, back, normalize=True)
    error = max(error, np.abs(back - u).max() / eps / 10)
    worst = max(worst, world.allreduce(error, MPI.MAX))
calls = world.allreduce(counts["here"], MPI.MIN)
if world.rank == 0:
    print(f"3 transforms there and back, {worst:.2f} of the bound")
if worst > 1 or calls == 0:
    raise SystemExit("wrong, or not computed here")
