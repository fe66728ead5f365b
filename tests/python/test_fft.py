"""Transforms against NumPy, over types, strides, lengths, axes and norms."""

import ctypes
import itertools
import os
import signal
import subprocess
import sys
import threading
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
import tnk
import tnk.fft as fft
from tnk import _descriptors, _layout, _library

NORMS = [None, "backward", "ortho", "forward"]
DTYPES = ["f4", "f8", "c8", "c16", "f2", "i4", "?", ">f8", ">c8", ">f2"]


def numbers(rng, shape, dtype):
    x = rng.standard_normal(shape) * 3
    dtype = np.dtype(dtype)
    return (x + 1j * rng.standard_normal(shape) if dtype.kind == "c" else x).astype(dtype)


def close(result, expected, single):
    kind = "complex" if np.iscomplexobj(expected) else "float"
    assert result.dtype == np.dtype(f"{kind}{(64 if kind == 'complex' else 32) if single else expected.dtype.itemsize * 8}")
    assert result.shape == expected.shape
    scale = np.linalg.norm(expected.ravel()) + 1e-30
    assert np.linalg.norm((result - expected).ravel()) <= (2e-6 if single else 4e-15) * scale


def laid_out(rng, shape, dtype, way):
    """Numbers of a shape in one of several layouts."""
    if way == 1:
        return numbers(rng, shape[::-1], dtype).T
    if way == 2:
        return numbers(rng, [2 * n for n in shape], dtype)[(slice(1, None, 2),) * len(shape)]
    if way == 3:
        return numbers(rng, shape, dtype)[(slice(None, None, -1),) * len(shape)]
    if way == 4:
        return np.moveaxis(numbers(rng, (*shape[1:], shape[0]), dtype), -1, 0)
    if way == 5:
        return np.broadcast_to(numbers(rng, (1, *shape[1:]), dtype), shape)
    return numbers(rng, shape, dtype)


@pytest.mark.parametrize("workers", [1, 2])
@pytest.mark.parametrize("dtype", DTYPES)
def test_one_axis_and_several(dtype, workers):
    rng = np.random.default_rng(1)
    single = dtype in ("f4", "c8", "f2", ">c8", ">f2")
    for _ in range(60):
        x = laid_out(rng, tuple(rng.integers(1, 9, rng.integers(1, 5))), dtype, rng.integers(0, 6))
        kept, real = x.copy(), x.dtype.kind != "c"
        wide = x.astype("f8" if real else "c16")
        count, norm = int(rng.integers(1, x.ndim + 1)), NORMS[rng.integers(0, 4)]
        axes = [int(a) for a in rng.permutation(x.ndim)[:count] - x.ndim * rng.integers(0, 2)]
        s = None if rng.integers(0, 2) else [int(n) for n in rng.integers(1, 14, count)]
        if s is None and x.shape[axes[-1]] == 1:
            s = [x.shape[a] for a in axes[:-1]] + [2]  # of one number there is none to give back
        for name in ["fftn", "ifftn", "irfftn"] + ["rfftn"] * real:
            close(getattr(fft, name)(x, s, axes, norm, workers=workers), getattr(np.fft, name)(wide, s, axes, norm), single)
        n, axis = s and s[-1], axes[-1]
        for name in ["fft", "ifft", "hfft", "irfft"] + ["rfft", "ihfft"] * real:
            close(getattr(fft, name)(x, n, axis, norm), getattr(np.fft, name)(wide, n, axis, norm), single)
        assert np.array_equal(x, kept)


@pytest.mark.parametrize("dtype", ["f4", "f8", "c16"])
def test_cosines_and_sines(dtype):
    other = pytest.importorskip("scipy.fft")
    rng = np.random.default_rng(5)
    for n in (1, 2, 3, 4, 9, 50):
        x = numbers(rng, (3, n, 2), dtype)
        for name in ("dct", "idct", "dst", "idst"):
            for kind in (1, 2, 3, 4):
                for norm in NORMS:
                    for orthogonalize in (None,) if dtype == "c16" else (None, True, False):
                        ends = norm == "ortho" if orthogonalize is None else orthogonalize
                        if (n, kind, name[-2]) == (1, 1, "c") or "dst" in name and kind in (2, 3) and ends:
                            continue  # the latter differ between versions
                        options = {"axis": 1, "norm": norm, "orthogonalize": orthogonalize}
                        expected = getattr(other, name)(x, kind, **options)
                        result = getattr(fft, name)(x, kind, **options)
                        assert result.dtype == expected.dtype
                        assert np.allclose(result, expected, rtol=0, atol=1e-4 if dtype == "f4" else 1e-11)
    y = numbers(rng, (5, 6, 7), dtype)
    for name in ("dctn", "idctn", "dstn", "idstn"):
        for s, axes in [(None, None), (None, (0, 2)), ((6, 4), (0, 2)), ((3, 4), None)]:
            result = getattr(fft, name)(y, s=s, axes=axes)
            assert np.allclose(result, getattr(other, name)(y, s=s, axes=axes), rtol=0, atol=1e-3 if dtype == "f4" else 1e-10)
    z = numbers(rng, 30000, "f4")
    for name, kind in itertools.product(("dct", "dst"), (1, 2, 3, 4)):
        assert np.allclose(getattr(fft, name)(z, kind), getattr(other, name)(z.astype("f8"), kind), rtol=1e-6, atol=1e-3)
        matrix = getattr(fft, name)(np.eye(6), kind, norm="ortho")
        assert np.allclose(matrix @ matrix.T, np.eye(6))
    with pytest.raises(ValueError, match="type is 5"):
        fft.dct(y, 5)


def test_workers_of_cosines_and_sines():
    x = numbers(np.random.default_rng(6), (1100, 129), "f8")
    for name, kind in itertools.product(("dct", "dst"), (1, 2, 4)):
        along = getattr(fft, name)
        for axis in (0, 1):
            alone = along(x, kind, axis=axis)
            assert np.array_equal(alone, along(x, kind, axis=axis, workers=3))
            assert np.array_equal(alone.take(5, 1 - axis), along(x.take(5, 1 - axis), kind))
    program = """
import os, numpy, tnk, tnk.fft
tnk.set_num_threads(3)
def threads(): return len(os.listdir("/proc/self/task"))
before, x = threads(), numpy.ones((2000, 129))
tnk.fft.dst(x, 1), tnk.fft.dct(x, 1), tnk.fft.dct(x, axis=0)
assert threads() == before
with tnk.fft.set_workers(2): tnk.fft.dct(x)
assert threads() == before + 1
"""
    subprocess.run([sys.executable, "-c", program], check=True)


@pytest.mark.parametrize("dtype", ["f4", "f8", "c8", "c16"])
def test_lines_of_large_arrays(dtype):
    other = pytest.importorskip("scipy.fft")
    rng = np.random.default_rng(7)
    single = dtype in ("f4", "c8")
    shapes = [(70, 90), (3, 2500), (2500, 3), (300, 301), (9, 3, 400), (400, 9, 2), (41, 1, 43, 5), (2, 3, 5, 2, 3, 5, 7), (40000,)]
    for shape, way in itertools.product(shapes, range(5)):
        x = laid_out(rng, shape, dtype, way)
        kind, name = int(rng.integers(1, 5)), ("dctn", "idctn", "dstn", "idstn")[rng.integers(0, 4)]
        axes = [int(a) for a in rng.permutation(x.ndim)[: rng.integers(1, x.ndim + 1)]]
        if min(shape[a] for a in axes) < 2:
            axes = [0]
        wide = x.astype("c16" if x.dtype.kind == "c" else "f8")
        close(fft.fft(x, axis=axes[0]), np.fft.fft(wide, axis=axes[0]), single)
        close(fft.fftn(x, axes=axes), np.fft.fftn(wide, axes=axes), single)
        result = getattr(fft, name)(x, kind, axes=axes)
        expected = getattr(other, name)(wide, kind, axes=axes)
        allowed = 2e-6 if single else 1e-15 * sum(4 + np.sqrt(shape[a]) for a in axes)  # which the library's method loses
        assert result.dtype == x.dtype and np.linalg.norm((result - expected).ravel()) <= allowed * np.linalg.norm(expected.ravel())
        assert np.array_equal(result, getattr(fft, name)(x, kind, axes=axes, workers=3))
        assert np.array_equal(result, getattr(fft, name)(x.copy(), kind, axes=axes))


def test_lengths_batches_and_a_repeated_axis():
    rng = np.random.default_rng(3)
    for shape, axis in [((2**16,), 0), ((9973,), 0), ((300, 400), 0), ((400, 300), 1), ((3, 50, 70), 1), ((40, 30, 2, 20), 1)]:
        x = numbers(rng, shape, "c16")
        close(fft.fft(x, axis=axis, workers=-1), np.fft.fft(x, axis=axis), False)
        mine = x.copy()
        result = fft.fft(mine, axis=axis, overwrite_x=True)
        close(result, np.fft.fft(x, axis=axis), False)
        assert result is mine
    y = numbers(rng, (6, 5), "f8")
    close(fft.fftn(y, axes=(0, 1, 0)), np.fft.fftn(y, axes=(0, 1, 0)), False)
    close(fft.rfftn(y, axes=(0, 1, 1)), np.fft.rfftn(y, axes=(0, 1, 1)), False)
    close(fft.fft2(y, (4, 7)), np.fft.fft2(y, (4, 7)), False)
    close(fft.irfft2(y, (3, 7)), np.fft.irfft2(y, (3, 7)), False)
    deep = numbers(rng, (2, 1, 3, 2, 1, 2, 2, 1, 2, 2), "f8")
    close(fft.fftn(deep), np.fft.fftn(deep), False)
    close(fft.irfftn(fft.rfftn(deep)), deep, False)
    assert fft.fft(np.empty((0, 4))).shape == (0, 4) and fft.rfft(np.empty((0, 4))).shape == (0, 3)


@pytest.mark.parametrize(
    "call, error, text",
    [
        (lambda x: fft.fft(x, 0), ValueError, r"invalid number of data points \(0\)"),
        (lambda x: fft.fft(x[:, :0]), ValueError, r"data points \(0\)"),
        (lambda x: fft.fft(np.float64(1)), IndexError, "out of bounds"),
        (lambda x: fft.fft(x, axis=2), IndexError, "axis 2 is out of bounds"),
        (lambda x: fft.fft(x, norm="both"), ValueError, "norm is 'both'"),
        (lambda x: fft.fft(x, workers=0), ValueError, "workers"),
        (lambda x: fft.rfft(x + 1j), TypeError, "real"),
        (lambda x: fft.fftn(x, (2, 3, 4), (0, 1)), ValueError, "different lengths"),
        (lambda x: fft.fftn(x, (2, 3, 4)), ValueError, r"\(2, 3, 4\) has more lengths.*\(3, 4\)"),
        (lambda x: fft.fft(x.astype("g")), TypeError, "extended precision"),
        (lambda x: fft.fft(["a"]), TypeError, "expected numbers"),
        (lambda x: fft.irfft(x[:, :1]), ValueError, r"data points \(0\)"),
    ],
)
def test_refusals(call, error, text):
    with pytest.raises(error, match=text):
        call(np.ones((3, 4)))


@pytest.mark.parametrize(
    "call",
    [
        lambda other, x: other.fftn(5.0, axes=[0]),
        lambda other, x: other.fftn(x, (2, 3, 4)),
        lambda other, x: other.fft(x, norm="both"),
        lambda other, x: other.fft2(x, axes=(1, 1)),
        lambda other, x: other.fft(x.astype("g")),
        lambda other, x: other.hfft2(x),
        lambda other, x: other.dst(x, norm="ortho"),
        lambda other, x: other.idst(x, 3, orthogonalize=True),
        lambda other, x: other.dct(x + 1j, orthogonalize=True),
    ],
)
def test_what_is_left_to_scipy(call):
    other = pytest.importorskip("scipy.fft")

    def outcome():
        try:
            return call(other, np.arange(12.0).reshape(3, 4))
        except (ValueError, RuntimeError) as error:
            return repr(error)

    expected = outcome()
    with other.set_backend(fft):
        result = outcome()
    assert type(result) is type(expected)
    assert result == expected if isinstance(expected, str) else np.allclose(result, expected, rtol=1e-12)


def test_descriptors_are_shared_bounded_and_freed():
    rng = np.random.default_rng(4)
    lengths = [int(n) for n in rng.integers(2, 400, 100)]
    data = [numbers(rng, (n,), "c16") for n in lengths]
    expected = [np.fft.fft(x) for x in data]
    start = threading.Barrier(4)

    def work(_):
        start.wait()
        return all(np.allclose(fft.fft(x), y, rtol=1e-9) for _ in range(5) for x, y in zip(data, expected))

    with ThreadPoolExecutor(4) as pool:
        assert all(pool.map(work, range(4)))

    freed = []
    plain = _descriptors._free
    _descriptors._free = lambda handle: (freed.append(1), plain(handle))
    try:
        _layout.forget()
        assert len(freed) >= _layout.KEPT  # more where threads had one at the same time
        freed.clear()
        for n in range(2, 80):
            fft.fft(np.ones(n))
        assert len(freed) == 78 - _layout.KEPT
    finally:
        _descriptors._free = plain


def test_memory_of_descriptors_is_given_back():
    libc = ctypes.CDLL(None)
    libc.malloc.restype, libc.malloc.argtypes, libc.free.argtypes = ctypes.c_void_p, [ctypes.c_size_t], [ctypes.c_void_p]
    live = []

    @ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_size_t)
    def take(size):
        live.append(libc.malloc(size))
        return live[-1]

    @ctypes.CFUNCTYPE(None, ctypes.c_void_p)
    def give(block):
        if block in live:
            live.remove(block)
        libc.free(block)

    hooks = [ctypes.c_void_p.in_dll(_library.host, name) for name in ("i_malloc", "i_free")]
    before = [hook.value for hook in hooks]
    _layout.forget()
    try:
        for hook, function in zip(hooks, (take, give)):
            hook.value = ctypes.cast(function, ctypes.c_void_p).value
        for n in (16, 1000, 9973):
            fft.fft(np.ones(n)), fft.rfft(np.ones((3, n))), fft.fft2(np.ones((n, 5)))
        assert live
        _layout.forget()
        assert not live
    finally:
        for hook, value in zip(hooks, before):
            hook.value = value


def test_a_child_computes():
    fft.fft(np.ones(64))
    holds, ends = threading.Event(), threading.Event()

    def hold():
        with _library.threads_limited(3):
            holds.set()
            ends.wait()

    holder = threading.Thread(target=hold)
    holder.start()
    holds.wait()
    child = os.fork()
    if child == 0:
        one = tnk.get_max_threads() == 1
        signal.alarm(20)
        with _library.threads_limited(1):
            os._exit(0 if one and np.allclose(fft.fft(np.ones(4)), [4, 0, 0, 0]) else 1)
    ends.set()
    holder.join()
    assert os.waitpid(child, 0)[1] == 0
