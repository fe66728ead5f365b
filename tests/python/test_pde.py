"""Solutions put into the equations; second order; what is refused."""

import itertools

import numpy as np
import pytest
import tnk.pde


def residual(u, f, extents, sides, boundary, q):
    """Of the equations at points that are unknown; a point beyond a side with slopes mirrors the inner one."""
    dims, steps = u.ndim, [(b - a) / (n - 1) for (a, b), n in zip(extents, u.shape)]
    inside = np.ones(u.shape, bool)
    total = q * u - f
    for axis in range(dims):
        padded = np.pad(u, [(1, 1) if d == axis else (0, 0) for d in range(dims)])
        front = np.moveaxis(padded, axis, 0)
        for end in range(2):
            edge, beyond = (1, 0) if end == 0 else (-2, -1)
            inner = 2 if end == 0 else -3
            if sides[axis][end] == "N":
                front[beyond] = front[inner] + 2 * steps[axis] * boundary[axis][end]
            else:
                assert np.array_equal(front[edge][tuple(s for s in [slice(1, -1)] * (dims - 1))],
                                      boundary[axis][end][tuple([slice(1, -1)] * (dims - 1))])  # fmt: skip
                np.moveaxis(inside, axis, 0)[0 if end == 0 else -1] = False
        total = total - np.moveaxis(front[2:] - 2 * front[1:-1] + front[:-2], 0, axis) / steps[axis] ** 2
    return np.abs(total[inside]).max()


@pytest.mark.parametrize("shape, extents", [((6, 9), [(0, 1), (-1, 2)]), ((5, 4, 7), [(0, 1), (0, 2), (1, 2)])])
def test_solutions_solve_the_equations(shape, extents):
    rng = np.random.default_rng(1)
    for pairs in itertools.product(["DD", "DN", "ND", "NN"], repeat=len(shape)):
        f = rng.standard_normal(shape)
        boundary = [[rng.standard_normal(shape[:a] + shape[a + 1 :]) for _ in range(2)] for a in range(len(shape))]
        u = tnk.pde.solve(f, extents, sides=pairs, boundary=boundary, q=0.5)
        assert residual(u, f, extents, pairs, boundary, 0.5) < 1e-9


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
