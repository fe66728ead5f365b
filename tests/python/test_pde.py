"""Solutions that are known; second order; what is refused."""

import itertools

import numpy as np
import pytest
import tnk.pde


@pytest.mark.parametrize("shape, extents", [((6, 9), [(0, 1), (-1, 2)]), ((5, 4, 7), [(0, 1), (0, 2), (1, 2)])])
def test_quadratic_functions_are_solutions(shape, extents):
    """Differences of second order, and slopes out of the region, are those of the function itself."""
    axes = range(len(shape))
    x = np.meshgrid(*(np.linspace(a, b, n) for (a, b), n in zip(extents, shape)), indexing="ij")
    u = sum((a + 1) * x[a] ** 2 + x[a] * x[a - 1] * (a + 2) for a in axes)
    slopes = [2 * (a + 1) * x[a] + (a + 2) * x[a - 1] + ((a + 1) % len(shape) + 2) * x[(a + 1) % len(shape)] for a in axes]
    f = 0.5 * u - sum(2 * (a + 1) for a in axes)
    for pairs in itertools.product(["DD", "DN", "ND", "NN"], repeat=len(shape)):
        boundary = [[np.take(u if pairs[a][end] == "D" else slopes[a] * (2 * end - 1), -end, a) for end in range(2)] for a in axes]
        assert np.allclose(tnk.pde.solve(f, extents, sides=pairs, boundary=boundary, q=0.5), u, rtol=0, atol=1e-11)


def test_second_order_and_precisions():
    def error(n, dtype):
        x, y = np.meshgrid(np.linspace(0, 1, n + 1), np.linspace(0, 2, 2 * n + 1), indexing="ij")
        exact = np.sin(np.pi * x) * np.cos(y)
        u = tnk.pde.solve(((np.pi**2 + 1) * exact).astype(dtype), [(0, 1), (0, 2)],
                          boundary=[(exact[0], exact[-1]), (exact[:, 0], exact[:, -1])])  # fmt: skip
        assert u.dtype == dtype
        return np.abs(u - exact).max()

    assert 3.9 < error(16, np.float64) / error(32, np.float64) < 4.1
    assert error(64, np.float32) < 1e-3
    assert tnk.pde.solve(np.zeros((4, 4), ">f4"), [(0, 1), (0, 1)]).dtype == np.float32
    with pytest.raises(TypeError, match="f is of dtype complex128"):
        tnk.pde.Solver((4, 4), [(0, 1), (0, 1)]).solve(1j)


def test_singular_problems():
    solver = tnk.pde.Solver((9, 9), [(0, 1), (0, 1)], sides=["NN", "NN"])
    x = np.linspace(0, 1, 9)[:, None] + np.zeros((1, 9))
    u = solver.solve(np.cos(np.pi * x))
    assert abs(solver.off) < 1e-12 and np.ptp(u) > 0.1
    with pytest.warns(RuntimeWarning, match="no solution; 1 was taken off"):
        solver.solve(1.0)


@pytest.mark.parametrize(
    "call, text",
    [
        (lambda: tnk.pde.solve(np.zeros(5), [(0, 1)]), "two or three axes"),
        (lambda: tnk.pde.solve(np.zeros((5, 5)), [(0, 1)]), r"extents have shape \(1, 2\), expected \(2, 2\)"),
        (lambda: tnk.pde.solve(np.zeros((5, 5)), [(0, 1), (1, 0)]), "high"),
        (lambda: tnk.pde.solve(np.zeros((5, 2)), [(0, 1), (0, 1)]), r"shape is \(5, 2\), expected 3 points"),
        (lambda: tnk.pde.solve(np.zeros((5, 5)), [(0, 1), (0, 1)], sides=["DX", "DD"]), "sides"),
        (lambda: tnk.pde.solve(np.zeros((5, 5)), [(0, 1), (0, 1)], sides=["D", "DD"]), "two letters"),
        (lambda: tnk.pde.solve(np.zeros((5, 6)), [(0, 1), (0, 1)], boundary=[(np.ones(5), 0), (0, 0)]), r"\(5,\), expected \(6,\)"),
        (lambda: tnk.pde.solve(np.zeros((5, 5)), [(0, 1), (0, 1)], boundary=[1.0, None]), "no pair of sides for each of 2 axes"),
        (lambda: tnk.pde.Solver((4, 4), [(0, 1), (0, 1)]).solve(np.ones((4, 5))), r"f has shape \(4, 5\), expected \(4, 4\)"),
    ],
)  # fmt: skip
def test_refusals(call, text):
    with pytest.raises(ValueError, match=text):
        call()
