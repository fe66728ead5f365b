"""Products and solves against dense matrices, for each format, width of indices, op and kind."""

import numpy as np
import pytest

sparse = pytest.importorskip("scipy.sparse")
import tnk  # noqa: E402
import tnk.sparse  # noqa: E402


def numbers(rng, shape, dtype):
    x = rng.standard_normal(shape)
    return (x + 1j * rng.standard_normal(shape) if np.dtype(dtype).kind == "c" else x).astype(dtype)


def applied(dense, op):
    return {"N": dense, "T": dense.T, "C": dense.conj().T}[op]


def with_indices(a, dtype):
    for name in ("indices", "indptr", "row", "col"):
        if hasattr(a, name):
            setattr(a, name, getattr(a, name).astype(dtype))
    return a


def close(result, expected, dtype):
    assert result.dtype == np.dtype(dtype) and result.shape == expected.shape
    assert np.all(np.abs(result - expected) <= (1e-4 if np.dtype(dtype).char in "fF" else 1e-12) * (1 + np.abs(expected).max(initial=0)))


@pytest.mark.parametrize("dtype", ["f4", "f8", "c8", "c16"])
@pytest.mark.parametrize("width", [np.int32, np.int64])
def test_products_of_every_format(dtype, width):
    rng = np.random.default_rng(1)
    for m, n in [(7, 7), (8, 12), (1, 5), (6, 1), (3, 0)]:
        dense = numbers(rng, (m, n), dtype) * (rng.random((m, n)) < 0.5)
        for form in ["csr", "csc", "coo", "dia", "bsr"]:
            a = sparse.csr_matrix(dense).asformat(form)
            if form == "bsr" and m % 2 == 0 and n % 2 == 0 and n:
                a = sparse.bsr_matrix(dense, blocksize=(2, 2))
            a = with_indices(a, width)
            for op in "NTC":
                for k in [(), (3,)]:
                    x = numbers(rng, (applied(dense, op).shape[1], *k), dtype)
                    close(tnk.sparse.matmul(a, x, op=op), applied(dense, op) @ x, dtype)


@pytest.mark.parametrize("dtype", ["f8", "c8", "c16"])
@pytest.mark.parametrize("lower", [True, False])
@pytest.mark.parametrize("unit", [True, False])
def test_kinds_and_solves(dtype, lower, unit):
    rng = np.random.default_rng(2)
    n = 9
    stored = numbers(rng, (n, n), dtype) * (rng.random((n, n)) < 0.6) + np.eye(n, dtype=dtype) * 4
    for kind in ["symmetric", "hermitian", "triangular", "diagonal"]:
        if kind == "hermitian":
            np.fill_diagonal(stored, stored.diagonal().real)
        own = np.tril(stored, -1) if lower else np.triu(stored, 1)
        diagonal = np.eye(n, dtype=dtype) if unit else np.diag(stored.diagonal())
        other = {"symmetric": own.T, "hermitian": own.conj().T}.get(kind, 0)
        meant = diagonal + (0 if kind == "diagonal" else own + other)
        for form in ["csr", "csc"]:
            a = sparse.csr_matrix(stored).asformat(form)
            for op in "NTC":
                for k in [(), (3,)]:
                    x = numbers(rng, (n, *k), dtype)
                    kept = x.copy()
                    options = {"op": op, "lower": lower, "unit_diagonal": unit}
                    close(tnk.sparse.matmul(a, x, kind=kind, **options), applied(meant, op) @ x, dtype)
                    if kind == "triangular":
                        solution = tnk.sparse.solve_triangular(a, x, **options)
                        assert np.allclose(applied(meant, op) @ solution, x, rtol=1e-3 if dtype == "c8" else 1e-9)
                    assert np.array_equal(x, kept)


def test_threads_share_large_products():
    rng = np.random.default_rng(3)
    n = 70000  # more than one thread takes at once, of uneven lengths
    pointer = np.append(0, np.cumsum(rng.integers(0, 12, n) * (np.arange(n) % 30000 < 29000))).astype(np.int32)
    entries = int(pointer[-1])
    a = sparse.csr_matrix((rng.standard_normal(entries), rng.integers(0, n, entries).astype(np.int32), pointer), (n, n))
    x, many = rng.standard_normal(n), rng.standard_normal((n, 40))
    try:
        tnk.set_num_threads(1)
        used = np.full(n, np.nan)
        del used  # its memory comes back
        alone = tnk.sparse.matmul(a, x), tnk.sparse.matmul(a, many)
        tnk.set_num_threads(3)
        shared = tnk.sparse.matmul(a, x), tnk.sparse.matmul(a, many)
    finally:
        tnk.set_num_threads(0)
    jumping = sparse.csr_matrix((a.data, rng.integers(0, 4 * n, entries), pointer), (n, 4 * n))
    y = rng.standard_normal(4 * n)
    assert np.allclose(tnk.sparse.matmul(jumping, y), jumping @ y)
    assert np.array_equal(alone[0], shared[0]) and np.array_equal(alone[1], shared[1])
    assert np.allclose(shared[0], a @ x) and np.allclose(shared[1], a @ many)


def test_operator():
    linalg = pytest.importorskip("scipy.sparse.linalg")
    a = sparse.diags([np.full(50, 4.0), np.full(49, -1.0), np.full(49, -1.0)], [0, -1, 1]).tocsr()
    operator = tnk.sparse.aslinearoperator(sparse.tril(a).tocsr(), kind="symmetric")
    x, status = linalg.cg(operator, np.ones(50), atol=0.0)
    assert status == 0 and np.allclose(a @ x, 1, atol=1e-3)
    assert np.allclose(operator.T @ x, a @ x)


@pytest.mark.parametrize(
    "call, error, text",
    [
        (lambda a: tnk.sparse.matmul(a, np.ones(3)), ValueError, r"x has shape \(3,\), expected \(2,\).*\(2, 2\)"),
        (lambda a: tnk.sparse.matmul(a.toarray(), np.ones(2)), TypeError, "a is ndarray"),
        (lambda a: tnk.sparse.aslinearoperator(a.tolil()), TypeError, "format 'lil'"),
        (lambda a: tnk.sparse.matmul(a, np.ones(2), op="H"), ValueError, "op is 'H'"),
        (lambda a: tnk.sparse.matmul(a, np.ones(2), kind="banded"), ValueError, "kind is 'banded'"),
        (lambda a: tnk.sparse.matmul(a.tocoo(), np.ones(2), kind="symmetric"), ValueError, "CSR or CSC"),
        (lambda a: tnk.sparse.matmul(a.astype("g"), np.ones(2)), TypeError, "up to double"),
        (lambda a: tnk.sparse.solve_triangular(a, np.ones(3)), ValueError, r"b \(3,\)"),
        (lambda a: tnk.sparse.solve_triangular(a - sparse.diags([0.0, 4.0]), np.ones(2)), np.linalg.LinAlgError, "row 1"),
    ],
)
def test_refusals(call, error, text):
    with pytest.raises(error, match=text):
        call(sparse.csr_matrix([[3.0, 0.0], [1.0, 4.0]]))


def test_diagonals_outside_and_operands_that_stay():
    a = sparse.dia_matrix(([[1.0], [5.0], [9.0]], [1, 0, 2]), shape=(1, 1))  # SciPy counts no entries here
    assert tnk.sparse.matmul(a, [2.0]) == [10.0]
    twice = sparse.coo_matrix(([1, 2], ([0, 0], [1, 1])), shape=(2, 2))
    assert np.array_equal(tnk.sparse.matmul(twice, [0.0, 1.0]), [3.0, 0.0]) and twice.data.size == 2


@pytest.mark.parametrize(
    "part, place, value, text",
    [("indices", 1, 7, "column numbers"), ("indptr", 2, 9, "row pointers"), ("indptr", 1, -5, "row pointers"),
     ("indptr", 0, 2, "row pointers of the matrix descend")],
)  # fmt: skip
def test_wrong_indices_are_refused(part, place, value, text):
    a = sparse.csr_matrix([[3.0, 0.0], [1.0, 4.0]])
    getattr(a, part)[place] = value
    with pytest.raises(ValueError, match=text):
        tnk.sparse.matmul(a, np.ones(2))
