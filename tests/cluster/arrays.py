"""Arrays in pieces on two worker processes: Fourier transforms by tnk, and a matrix product in blocks by the drop-in BLAS,
whose folder is in LD_LIBRARY_PATH."""
# needs: numpy dask.array distributed

import logging

import dask.array as da
import numpy as np
from dask.array.fft import fft_wrap
from distributed import Client, LocalCluster

import tnk.fft


def multiplies_here():
    return any("/tnk-blas/" in line for line in open("/proc/self/maps"))


def main():
    logging.getLogger("distributed").setLevel(logging.ERROR)
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster:
        with Client(cluster) as client:
            rng = np.random.default_rng(3)
            whole = rng.standard_normal((64, 1000))
            rows = da.from_array(whole, chunks=(16, 1000))
            spectrum = fft_wrap(tnk.fft.rfft)(rows, axis=1).compute()
            expected = np.fft.rfft(whole, axis=1)
            error = np.abs(spectrum - expected).max() / np.abs(expected).max() / 1e-14
            plane = fft_wrap(tnk.fft.fft2)(da.from_array(whole, chunks=whole.shape)).compute()
            error = max(error, np.abs(plane - np.fft.fft2(whole)).max() / np.abs(plane).max() / 1e-14)
            a, b = rng.standard_normal((400, 300)), rng.standard_normal((300, 500))
            product = (da.from_array(a, chunks=(200, 150)) @ da.from_array(b, chunks=(150, 250))).compute()
            error = max(error, np.abs(product - a @ b).max() / 1e-11)
            here = client.run(multiplies_here).values()
    print(f"2 transforms and a product, {error:.2f} of the bound")
    if error > 1 or not all(here):
        raise SystemExit("wrong, or numpy's products are not the drop-in's")


if __name__ == "__main__":
    main()
