"""The package itself: where libraries are, errors, threads, documentation; convolutions and transposition."""

import ctypes
import ctypes.util
import doctest
import fractions
import importlib
import inspect
import io
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import pytest
import tnk
import tnk.exact
import tnk.signal
from tnk import _library, _threads


MODULES = ["tnk._library", "tnk._transpose", "tnk._trig", "tnk.fft", "tnk.signal", "tnk.pde", "tnk.exact", "tnk.sparse", "tnk.threadpool"]


@pytest.mark.parametrize("name", MODULES)
def test_examples(name):
    if name == "tnk.sparse":
        pytest.importorskip("scipy.sparse")
    module = importlib.import_module(name)
    outcome = doctest.testmod(module, globs={"np": np, "tnk": tnk})
    assert outcome.attempted > 0 and outcome.failed == 0


@pytest.mark.parametrize("name", ["tnk", "tnk.fft", "tnk.signal", "tnk.pde", "tnk.exact", "tnk.sparse", "tnk.threadpool"])
def test_whatever_is_public_is_documented(name):
    if name == "tnk.sparse":
        pytest.importorskip("scipy.sparse")
    module = importlib.import_module(name)
    public = [getattr(module, own) for own in module.__all__]
    public = [own for own in public if inspect.isroutine(own) and own.__module__.startswith("tnk")] + [tnk.pde.Solver, tnk.pde.Solver.solve]
    for function in public:
        words, signature = inspect.getdoc(function), inspect.signature(function)
        parameters = [parameter for parameter in signature.parameters.values() if parameter.name != "self"]
        wanted = {"Examples"} | ({"Parameters"} if parameters else set())
        wanted |= {"Raises"} if parameters and function is not tnk.show else set()
        wanted |= {"Returns"} if signature.return_annotation in ("np.ndarray", "np.number", "int", "bool", "LinearOperator") else set()
        assert not [title for title in wanted if f"\n{title}\n---" not in words], function.__qualname__
        for parameter in parameters:
            assert parameter.annotation is not parameter.empty and re.search(rf"\b{parameter.name}\b.*\n", words), (function.__qualname__, parameter)


def test_show():
    out = io.StringIO()
    tnk.show(out)
    assert "libtnk_avx.so (loaded)" in out.getvalue() and "threads" in out.getvalue()


def start(program, folder=None, **environment):
    environment = {**os.environ, **environment}
    return subprocess.run([sys.executable, "-c", program], env=environment, capture_output=True, text=True, cwd=folder)


def test_versions_agree():
    version = ctypes.create_string_buffer(200)
    _library.declared("tnk_serv_getversionstring_c", None, ctypes.c_char_p, ctypes.c_int32)(version, 199)
    project = (pathlib.Path(tnk.__file__).parents[1] / "pyproject.toml").read_text()
    assert f"tnk {tnk.__version__}," in version.value.decode() and f'version = "{tnk.__version__}"' in project


def test_what_is_missing_is_said(tmp_path):
    outcome = start("import tnk", TNK_LIBRARY_PATH=str(tmp_path))
    assert outcome.returncode == 1 and "libtnk_host.so was not found" in outcome.stderr and str(tmp_path) in outcome.stderr
    assert "dynamic linker" not in outcome.stderr, "which is not asked then"
    if not ctypes.util.find_library("tnk_host"):  # none is installed for all
        shutil.copytree(os.path.dirname(tnk.__file__), tmp_path / "copy" / "tnk")
        outcome = start("import tnk", tmp_path / "copy", TNK_LIBRARY_PATH="", PYTHONPATH="")
        assert outcome.returncode == 1 and "was not found. Looked in the dynamic linker's folders" in outcome.stderr
    host = tmp_path / "libtnk_host.so"
    host.touch()
    outcome = start("import tnk", TNK_LIBRARY_PATH=str(tmp_path))
    assert outcome.returncode == 1 and f"ImportError: tnk: libtnk_host.so cannot be loaded: {host}" in outcome.stderr
    host.unlink()
    host.symlink_to(np.linalg._umath_linalg.__file__)
    outcome = start("import tnk", TNK_LIBRARY_PATH=str(tmp_path))
    assert outcome.returncode == 1 and f"ImportError: tnk: {host} has no tnk_set_error_handler" in outcome.stderr
    outcome = start("import tnk; tnk.show(); tnk.fft.fft([1.0])", TNK_KERNEL_PATH="/no/such/library.so")
    assert outcome.returncode == 1 and "/no/such/library.so" in outcome.stdout and "LibraryError" in outcome.stderr


def test_threads():
    before = tnk.get_max_threads()
    tnk.set_num_threads(1)
    assert tnk.get_max_threads() == 1
    tnk.set_num_threads(0)
    assert tnk.get_max_threads() == before
    for wrong in (-1, 2**32 + 1):
        with pytest.raises(ValueError, match="threads"):
            tnk.set_num_threads(wrong)
    with pytest.raises(TypeError):
        tnk.set_num_threads(0.5)


def test_threads_go_on_when_the_main_one_has_ended():
    program = """if True:
        import threading, time, numpy, tnk.fft

        def late():
            threading.main_thread().join()
            print(tnk.fft.fft(numpy.ones((64, 4096)), workers=2)[-1, 0])

        threading.Thread(target=late).start()
    """
    assert "4096" in start(program).stdout


def test_an_interrupt_waits_for_threads():
    def interrupt(*_):
        raise KeyboardInterrupt

    def piece():
        if threading.current_thread() is threading.main_thread():
            begun.wait()
            return
        begun.set()
        time.sleep(0.1)
        signal.pthread_kill(threading.main_thread().ident, signal.SIGALRM)
        time.sleep(0.2)
        ended.append(1)

    ended, begun = [], threading.Event()
    before = signal.signal(signal.SIGALRM, interrupt)
    try:
        with pytest.raises(KeyboardInterrupt):
            _threads.spread([piece, piece])
    finally:
        signal.signal(signal.SIGALRM, before)
    assert ended


def test_thread_pools_are_limited():
    threadpoolctl = pytest.importorskip("threadpoolctl")
    if not hasattr(threadpoolctl, "register"):
        pytest.skip(f"threadpoolctl {threadpoolctl.__version__} takes no controllers of others, 3.3 does")
    outcome = start("""
import os, tnk, tnk.threadpool, threadpoolctl
assert tnk.threadpool.register() and tnk.threadpool.register()
own = [pool for pool in threadpoolctl.threadpool_info() if pool["internal_api"] == "tnk"]
assert [(pool["num_threads"], pool["version"]) for pool in own] == [(tnk.get_max_threads(), tnk.__version__)]
tnk.set_num_threads(4)
with threadpoolctl.threadpool_limits(2, user_api="blas"):
    assert tnk.get_max_threads() == 2
    with threadpoolctl.threadpool_limits({"libtnk_host": 1}):
        assert tnk.get_max_threads() == 1
    assert tnk.get_max_threads() == 2
assert tnk.get_max_threads() == 4
tnk.set_num_threads(0)
with threadpoolctl.threadpool_limits(7):
    assert tnk.get_max_threads() == 7
os.sched_setaffinity(0, list(os.sched_getaffinity(0))[:1])
assert tnk.get_max_threads() == 1, "the default follows the processors"
""", OMP_NUM_THREADS="", OPENBLAS_NUM_THREADS="1")
    assert outcome.returncode == 0, outcome.stderr


@pytest.mark.parametrize("dtype", ["f4", "f8", "c8", "c16"])
def test_transposition(dtype):
    for m, n in [(1, 1), (5, 5), (3, 8), (40, 17), (0, 3)]:
        a = np.arange(m * n).reshape(m, n).astype(dtype)
        a = a + 1j * a if a.dtype.kind == "c" else a
        kept = a.copy()
        result = tnk.transpose(a, conjugate=m == 3)
        assert np.array_equal(result, kept.conj().T if m == 3 else kept.T) and result.base is not None
    for bad in [np.ones((2, 3))[:, ::2], np.ones(3), np.ones((2, 2), ">f8")]:
        with pytest.raises(ValueError):
            tnk.transpose(bad)
    with pytest.raises(TypeError, match="int64"):
        tnk.transpose(np.ones((2, 2), "i8"))


@pytest.mark.parametrize("dtype", ["f4", "f8", "c8", "c16", "i4"])
def test_sums_in_more_precision(dtype):
    rng = np.random.default_rng(2)
    eps = np.finfo(np.float32 if dtype in ("f4", "c8") else np.float64).eps

    def drawn(*shape):
        x = rng.integers(-99, 99, shape) if dtype == "i4" else rng.standard_normal(shape) * 10.0 ** rng.integers(-9, 9, shape)
        return (x + 1j * x[::-1] if np.dtype(dtype).kind == "c" else x).astype(dtype)

    def exactly(values):  # sums of fractions, part by part
        return complex(*(float(sum(map(fractions.Fraction, (float(p) for p in part)))) for part in (values.real, values.imag)))

    for n in (0, 1, 7, 40):
        x, a = drawn(2 * n)[::-2], drawn(5, 2 * n)[:, ::2]
        total = tnk.exact.sum(x)
        assert abs(total - exactly(x)) <= eps * abs(total)
        for conjugate in (False, True):
            u, v = (z.astype(object) for z in (x.conj() if conjugate else x, a[0]))
            parts = [(fractions.Fraction(float(p.real)), fractions.Fraction(float(p.imag))) for p in u]
            other = [(fractions.Fraction(float(p.real)), fractions.Fraction(float(p.imag))) for p in v]
            real = float(sum(p[0] * q[0] - p[1] * q[1] for p, q in zip(parts, other)))
            imaginary = float(sum(p[0] * q[1] + p[1] * q[0] for p, q in zip(parts, other)))
            result = tnk.exact.dot(x, a[0], conjugate=conjugate)
            assert abs(result - complex(real, imaginary)) <= 2 * eps * abs(result)
        product = tnk.exact.matvec(a, x)
        assert all(abs(product[i] - tnk.exact.dot(a[i], x)) <= eps * abs(product[i]) for i in range(5))
        rest = tnk.exact.residual(a, x, product)
        assert np.all(np.abs(rest) <= eps * np.abs(product))
        assert np.allclose(tnk.exact.matvec(a, x, precision="double"), product, atol=1e-2 * np.abs(product).max(initial=1))
    for call, text in [
        (lambda: tnk.exact.dot([1.0], [1.0, 2.0]), r"\(1,\) and y \(2,\)"),
        (lambda: tnk.exact.dot([1.0], [1.0], precision="more"), "precision is 'more'"),
        (lambda: tnk.exact.sum([2**60 + 1, -(2**60)]), "integers beyond"),
        (lambda: tnk.exact.matvec([[1.0, 2.0]], [1.0]), r"\(1, 2\) and x \(1,\)"),
        (lambda: tnk.exact.residual([[1.0]], [1.0], [1.0, 2.0]), r"\(1, 1\) and b \(2,\)"),
    ]:
        with pytest.raises(ValueError, match=text):
            call()


def test_convolutions():
    signal = pytest.importorskip("scipy.signal")
    rng = np.random.default_rng(1)
    for first, second in [((7,), (3,)), ((3,), (7,)), ((5, 6), (2, 3)), ((4, 5, 6), (4, 2, 3)), ((300,), (170,))]:
        for dtype in ["f4", "f8", "c8", "c16", "i4"]:
            a, b = (rng.standard_normal(s) * 9 for s in (first, second))
            if np.dtype(dtype).kind == "c":
                a, b = a + 1j, b - 1j * b
            a, b = a.astype(dtype), b.astype(dtype)
            for mode in ["full", "same", "valid"]:
                for name in ["convolve", "correlate"]:
                    for method in ["auto", "direct", "fft"]:
                        expected = getattr(signal, name)(a, b, mode, "direct")
                        result = getattr(tnk.signal, name)(a, b, mode, method)
                        assert result.dtype == expected.dtype and result.shape == expected.shape
                        assert np.allclose(result, expected, atol=1e-3 if dtype in ("f4", "c8") else 1e-9)
    for n, size in [(2**14, 2**15), (2**12, 2**20)]:  # by transforms, and by sums
        ramp = np.arange(1, n + 1) * size**2
        numbers = np.full(n, size)
        assert np.array_equal(tnk.signal.convolve(numbers, numbers, method="fft"), np.concatenate([ramp, ramp[-2::-1]]))
    assert tnk.signal.convolve(np.eye(9, dtype=bool)[3], np.eye(5, dtype=bool)[1], method="fft").sum() == 1
    for arguments, text in [
        (([1], [[1]]), r"\(1,\) and in2 of shape \(1, 1\)"),
        (([1], [1], "all"), "mode is 'all'"),
        (([1], [1], "full", "none"), "method is 'none'"),
        ((np.ones((2, 3)), np.ones((3, 2)), "valid"), r"\(2, 3\) and \(3, 2\)"),
        (([2**40], [2**40]), "exact"),
    ]:
        with pytest.raises(ValueError, match=text):
            tnk.signal.convolve(*arguments)
