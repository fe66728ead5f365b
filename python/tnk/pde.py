"""Poisson's and Helmholtz' equation on rectangles and boxes, by fast transforms."""

from __future__ import annotations

import ctypes
import operator
import threading
import warnings
from math import prod
from typing import Any, Optional, Sequence

import numpy as np
from numpy.typing import ArrayLike

from ._library import c_int, call, declared

__all__ = ["Solver", "solve"]


class _Problem(ctypes.Structure):
    _fields_ = [
        ("dims", ctypes.c_int32),
        ("numbers", ctypes.c_int32),
        ("cells", c_int * 3),
        ("low", ctypes.c_double * 3),
        ("high", ctypes.c_double * 3),
        ("sides", ctypes.c_char * 7),
        ("q", ctypes.c_double),
    ]


_pointer = ctypes.c_void_p
_make = declared("tnk_poisson_plan_make", ctypes.c_int, ctypes.POINTER(_pointer), ctypes.POINTER(_Problem))
_solve = declared(
    "tnk_poisson_plan_solve", ctypes.c_int, _pointer, _pointer, ctypes.POINTER(_pointer), ctypes.POINTER(ctypes.c_double)
)
_free = declared("tnk_poisson_plan_free", None, _pointer)

_SINGULAR = 4


def _real(values: ArrayLike, name: str, dtype: np.dtype) -> np.ndarray:
    array = np.asarray(values)
    if array.dtype.kind not in "fiub" or array.itemsize > 8:
        raise TypeError(f"{name} is of dtype {array.dtype}, expected real numbers up to double precision")
    return array.astype(dtype, copy=False)


class Solver:
    """The solver of -Laplace u + q u = f on one grid, for any number of right-hand sides.

    Points are equidistant, edges included; the equations are the five-point or seven-point ones, of second order in the
    steps, and are solved directly.

    Parameters
    ----------
    shape : sequence of int
        Points along each axis of the arrays, two or three axes, each 3 points or more.
    extents : sequence of (float, float)
        The ends of each axis.
    sides : sequence of str, optional
        For each axis two letters, of its lower and its upper side: "D" where u is given, "N" where its derivative along the
        outward normal is. "D" everywhere by default.
    q : float, optional
        The coefficient of u. Below 0 it may meet an eigenvalue, where there is no solution, and nothing tells when it does.
    dtype : {float64, float32}, optional
        Precision of the solution and of the arithmetic.

    Attributes
    ----------
    off : float
        With "N" everywhere and no q, the constant that had to be taken off the last right-hand side: beyond rounding the
        problem as given had no solution. Otherwise 0.

    Raises
    ------
    ValueError
        If shapes, ends or letters are wrong.

    Notes
    -----
    One solve at a time; other threads wait.

    Examples
    --------
    >>> import tnk.pde
    >>> solver = tnk.pde.Solver((5, 4), [(0, 1), (0, 1)], sides=["DD", "NN"])
    >>> solver.solve(0.0, [(1.0, 1.0), (None, None)]).round(12)[:, 0]
    array([1., 1., 1., 1., 1.])
    """

    def __init__(self, shape: Sequence[int], extents: Sequence[Sequence[float]], *, sides: Optional[Sequence[str]] = None,
                 q: float = 0.0, dtype: Any = np.float64) -> None:  # fmt: skip
        self._plan = _pointer()
        self.shape = tuple(operator.index(n) for n in shape)
        self.dtype = np.dtype(dtype)
        self.off = 0.0
        self._lock = threading.Lock()
        dims = len(self.shape)
        if dims not in (2, 3):
            raise ValueError(f"shape is {self.shape}, expected two or three axes")
        if min(self.shape) < 3:
            raise ValueError(f"shape is {self.shape}, expected 3 points or more along each axis")
        if self.dtype not in (np.float32, np.float64):
            raise ValueError(f"dtype is {self.dtype}, expected float32 or float64")
        ends = np.asarray(extents, float)
        if ends.shape != (dims, 2):
            raise ValueError(f"extents have shape {ends.shape}, expected ({dims}, 2) for a grid of shape {self.shape}")
        letters = ["DD"] * dims if sides is None else list(sides)
        if len(letters) != dims or any(len(pair) != 2 for pair in letters):
            raise ValueError(f"sides are {letters}, expected two letters for each of {dims} axes")
        # The library's first axis is the fastest one.
        problem = _Problem(dims, int(self.dtype == np.float32))
        for axis in range(dims):
            own = dims - 1 - axis
            problem.cells[own] = self.shape[axis] - 1
            problem.low[own], problem.high[own] = ends[axis]
        problem.sides = "".join(reversed(letters)).encode("ascii", "replace")
        problem.q = q
        call(_make, ctypes.byref(self._plan), ctypes.byref(problem))

    def __del__(self) -> None:
        _free(self._plan)

    def _boundary(self, boundary: Any) -> list[Optional[np.ndarray]]:
        """For each side in the library's order its numbers, or none."""
        dims = len(self.shape)
        arrays: list[Optional[np.ndarray]] = [None] * (2 * dims)
        if boundary is None:
            return arrays
        pairs = hasattr(boundary, "__len__") and all(hasattr(pair, "__len__") for pair in boundary)
        if not pairs or len(boundary) != dims or any(len(pair) != 2 for pair in boundary):
            raise ValueError(f"boundary has no pair of sides for each of {dims} axes")
        for axis, pair in enumerate(boundary):
            expected = self.shape[:axis] + self.shape[axis + 1 :]
            for end, given in enumerate(pair):
                if given is None:
                    continue
                values = _real(given, f"the boundary of axis {axis}, side {end},", self.dtype)
                if values.ndim and values.shape != expected:
                    raise ValueError(f"the boundary of axis {axis}, side {end}, has shape {values.shape}, expected {expected}")
                arrays[2 * (dims - 1 - axis) + end] = np.ascontiguousarray(np.broadcast_to(values, expected))
        return arrays

    def solve(self, f: ArrayLike, boundary: Optional[Sequence[Sequence[Any]]] = None) -> np.ndarray:
        """Solve for one right-hand side.

        Parameters
        ----------
        f : array_like
            The right-hand side at all points, of the grid's shape or a number. Where u is given it does not count.
        boundary : sequence of pairs, optional
            For each axis what is given on its lower and upper side: a number, an array of the points there (the shape
            without that axis), or None for zeros.

        Returns
        -------
        ndarray
            u at all points.

        Raises
        ------
        ValueError
            If a shape does not fit.
        TypeError
            If numbers are complex, or of extended precision.

        Warns
        -----
        RuntimeWarning
            If the problem has no solution as given, see `off`.

        Examples
        --------
        A sheet held at 0 all around, of which each point is pushed:

        >>> import tnk.pde
        >>> tnk.pde.Solver((3, 3), [(0, 1), (0, 1)]).solve(16.0)
        array([[0., 0., 0.],
               [0., 1., 0.],
               [0., 0., 0.]])
        """
        values = _real(f, "f", self.dtype)
        if values.ndim and values.shape != self.shape:
            raise ValueError(f"f has shape {values.shape}, expected {self.shape}")
        u = np.array(np.broadcast_to(values, self.shape), order="C")
        zeros = None
        addresses = (_pointer * 6)()
        arrays = self._boundary(boundary)
        for k, array in enumerate(arrays):
            if array is None:
                if zeros is None:
                    zeros = np.zeros(prod(self.shape) // min(self.shape), self.dtype)
                array = zeros
            addresses[k] = array.ctypes.data
        off = ctypes.c_double()
        with self._lock:
            status = call(_solve, self._plan, u.ctypes.data, addresses, ctypes.byref(off))
            self.off = off.value
        size = max((float(np.abs(a).max()) for a in arrays if a is not None), default=0.0)
        size += float(np.abs(values).max(initial=0.0))
        if status == _SINGULAR and abs(off.value) > 1e3 * np.finfo(self.dtype).eps * size:
            warnings.warn(f"the problem has no solution; {off.value:g} was taken off the right-hand side", RuntimeWarning, 2)
        return u


def solve(f: ArrayLike, extents: Sequence[Sequence[float]], *, sides: Optional[Sequence[str]] = None,
          boundary: Optional[Sequence[Sequence[Any]]] = None, q: float = 0.0) -> np.ndarray:  # fmt: skip
    """Solve -Laplace u + q u = f on a rectangle or a box.

    Parameters
    ----------
    f : array_like
        The right-hand side at equidistant points, edges included: two or three axes of 3 points or more. Single precision
        stays single.
    extents, sides
        As in `Solver`.
    boundary
        As in `Solver.solve`.
    q
        As in `Solver`.

    Returns
    -------
    ndarray
        u, of the shape of `f`.

    Raises
    ------
    ValueError, TypeError
        As `Solver` and `Solver.solve` have them.

    Warns
    -----
    RuntimeWarning
        If the problem has no solution as given.

    Examples
    --------
    A plate without sources, at 1 on one side and at 0 on the opposite one, insulated elsewhere:

    >>> import numpy as np, tnk.pde
    >>> u = tnk.pde.solve(np.zeros((5, 4)), [(0, 1), (0, 1)], sides=["DD", "NN"], boundary=[(1.0, None), (None, None)])
    >>> np.round(u[:, 0], 12)
    array([1.  , 0.75, 0.5 , 0.25, 0.  ])
    """
    values = np.asarray(f)
    dtype = np.float32 if values.dtype.char in "ef" else np.float64
    return Solver(values.shape, extents, sides=sides, q=q, dtype=dtype).solve(values, boundary)
