"""Products and triangular solves for SciPy's sparse matrices.

CSR, CSC, COO, DIA and BSR matrices in the four element types, with 32-bit or 64-bit indices, are used where they lie.
`kind` says what the stored entries mean: only one triangle of a symmetric matrix needs to be there.
"""

from __future__ import annotations

import ctypes
import weakref
from functools import partial
from typing import Any, Callable

import numpy as np
import scipy.sparse
from numpy.typing import ArrayLike
from scipy.sparse.linalg import LinearOperator

from ._library import Complex64, Complex128, get_max_threads, kernel
from ._threads import PIECES_A_THREAD, spread

__all__ = ["aslinearoperator", "matmul", "solve_triangular"]

_KINDS = {"general": "g", "symmetric": "s", "hermitian": "h", "triangular": "t", "diagonal": "d"}
_LETTERS = {"f": "s", "d": "d", "F": "c", "D": "z"}
_SCALARS = {"s": ctypes.c_float, "d": ctypes.c_double, "c": Complex64, "z": Complex128}
_LEAST_WORK = 1 << 16  # entries times right-hand sides that a thread is worth
_ROWS_AT_ONCE = 1 << 15  # of which a part of the result stays in the cache while its rows are added to it
_pointer = ctypes.c_void_p


# ---- Arguments --------------------------------------------------------------------------------------------------------


def _typed(a: Any, x: np.ndarray) -> tuple[Any, np.ndarray, str]:
    """Matrix and operand in their common type, of which there are kernels."""
    common = np.result_type(a.dtype, x.dtype)
    if common.kind in "biu":
        common = np.dtype(np.float64)
    elif common.char == "e":
        common = np.dtype(np.float32)
    if common.char not in _LETTERS:
        raise TypeError(f"a matrix of {a.dtype} and an operand of {x.dtype} have no common type up to double precision")
    if a.dtype != common or not (a.data.flags.c_contiguous and a.data.flags.aligned):
        a = a.copy().astype(common)  # of a copy: SciPy adds up entries of one place where they lie before it converts
    return a, np.asarray(x, common), _LETTERS[common.char]


def _letters(kind: str, lower: bool, unit_diagonal: bool) -> str:
    if kind not in _KINDS:
        raise ValueError(f"kind is {kind!r}, expected one of {', '.join(_KINDS)}")
    letter = _KINDS[kind]
    triangle = "_" if letter in "gd" else "l" if lower else "u"
    diagonal = "_" if letter == "g" else "u" if unit_diagonal else "n"
    return letter + triangle + diagonal


def _operation(op: str, conjugates: bool) -> str:
    if op not in ("N", "T", "C"):
        raise ValueError(f"op is {op!r}, expected 'N', 'T' or 'C'")
    return "T" if op == "C" and not conjugates else op


def _indices(a: Any, *arrays: np.ndarray) -> tuple[list[np.ndarray], Any, str]:
    """Index arrays of one type, and how kernels name it."""
    wide = any(i.dtype.itemsize == 8 for i in arrays)
    dtype = np.int64 if wide else np.int32
    return [np.ascontiguousarray(i, dtype) for i in arrays], dtype, "" if wide else "lp64_"


_looked_at: dict[int, tuple[Any, int]] = {}  # arrays of indices, by identity, and the limit that they keep


def _inside(indices: np.ndarray, limit: int, what: str, ascending: bool = False) -> None:
    """Looks at an array once in its life: to look in each product would take as long as the product."""
    key = id(indices)
    known = _looked_at.get(key)
    if known is not None and known[0]() is indices and known[1] <= limit:
        return
    if indices.size and (indices.min() < 0 or indices.max() >= limit):
        raise ValueError(f"{what} of the matrix lie outside of 0 to {limit - 1}")
    if ascending and (indices[1:] < indices[:-1]).any():
        raise ValueError(f"{what} of the matrix descend")
    _looked_at[key] = weakref.ref(indices, lambda _: _looked_at.pop(key, None)), limit


def _compressed(a: Any, rows: int, limit: int, what: str) -> tuple[np.ndarray, np.ndarray, Any, str]:
    """Columns and row pointers of a matrix stored by rows, or by rows of blocks, that stay inside of its arrays."""
    (columns, pointer), dtype, width = _indices(a, a.indices, a.indptr)
    if pointer.size != rows + 1:
        raise ValueError(f"the matrix of shape {a.shape} has {pointer.size} row pointers, expected {rows + 1}")
    _inside(pointer, min(columns.size, len(a.data)) + 1, "row pointers", ascending=True)
    used = int(pointer[-1])
    _inside(columns if columns.size == used else columns[:used], limit, what)
    return columns, pointer, dtype, width


class _Integers:
    """Integers by address, in the width of a matrix."""

    def __init__(self, dtype: Any) -> None:
        self._type = ctypes.c_int64 if dtype == np.int64 else ctypes.c_int32

    def __call__(self, value: int) -> Any:
        return ctypes.byref(self._type(value))


def _addresses(*arguments: Any) -> list[Any]:
    return [a.ctypes.data_as(_pointer) if isinstance(a, np.ndarray) else a for a in arguments]


def _call(name: str, *arguments: Any) -> None:
    kernel(name, None)(*_addresses(*arguments))


def _one(letter: str) -> Any:
    return ctypes.byref(_SCALARS[letter](1) if letter in "sd" else _SCALARS[letter](1, 0))


# ---- Threads ------------------------------------------------------------------------------------------------------------

def _spread_rows(rows: Callable[[int, int], None], pointer: np.ndarray, work: int) -> None:
    """rows(first, past) for all, in pieces of about as many entries each."""
    threads = max(1, min(get_max_threads(), work // _LEAST_WORK))
    if threads == 1:
        return rows(0, pointer.size - 1)
    count = threads * PIECES_A_THREAD
    shares = pointer[0] + (pointer[-1] - pointer[0]) * np.arange(1, count) // count
    cuts = [0, *np.searchsorted(pointer, shares.astype(pointer.dtype)).tolist(), pointer.size - 1]
    spread([partial(rows, *cuts[i : i + 2]) for i in range(count)], threads)


# ---- Products --------------------------------------------------------------------------------------------------------------


def _rows_product(a: Any, x: np.ndarray, y: np.ndarray, letter: str, meaning: str, op: str) -> None:
    """y = op(A) x of a CSR matrix; x and y of one or two dimensions, by rows."""
    columns, pointer, dtype, width = _compressed(a, a.shape[0], a.shape[1], "column numbers")
    integer = _Integers(dtype)
    kind = meaning[0]
    own = {"N": "n", "T": "t", "C": "c"}[op]
    if kind == "s":
        own = "c" if op == "C" else "n"
    elif kind == "h":
        own = "t" if op == "T" else "n"
    elif kind == "d":
        own = "c" if op == "C" else "n"
    several = x.ndim == 2
    name = f"tnk_spblas_{width}{letter}csr0{own}{meaning}c__"
    m, ends = a.shape[0], pointer[1:]
    start = integer(m), _one(letter), a.data, columns, pointer, ends
    if not several and own == "n" and kind in "gt":
        if meaning == "g__" and letter == "d":  # which has a kernel that stores; it counts columns from 1
            stored = kernel(f"tnk_spblas_{width}dcsr1ng__f__gemvout_par", None)
            arguments = _addresses(integer(m), None, a.data, columns, pointer, None, _pointer(x.ctypes.data + x.itemsize), y)

            def rows(first: int, past: int) -> None:
                stored(integer(first + 1), integer(past), *arguments)
        else:
            added, arguments = kernel(name + "mvout_par", None), _addresses(*start, x, y)

            def rows(first: int, past: int) -> None:
                for begin in range(first, past, _ROWS_AT_ONCE):
                    end = min(begin + _ROWS_AT_ONCE, past)
                    y[begin:end] = 0
                    added(integer(begin + 1), integer(end), *arguments)

        return _spread_rows(rows, pointer, columns.size)
    if several and meaning == "g__" and own == "n":
        sides = integer(x.shape[1])

        def rows(first: int, past: int) -> None:
            step = max(4 * _ROWS_AT_ONCE // x.shape[1], 1)
            for begin in range(first, past, step):
                end = min(begin + step, past)
                y[begin:end] = 0
                at = int(pointer[begin]) - int(pointer[0])
                _call(name + "mmout_par", integer(1), sides, integer(end - begin), sides, _one(letter), a.data[at:],
                      columns[at:], pointer[begin:], ends[begin:], x, sides, y[begin:], sides)  # fmt: skip

        return _spread_rows(rows, pointer, int(columns.size) * x.shape[1])
    y.fill(0)
    if several:
        width_of = x.shape[1]
        tail = x, integer(x.shape[1]), y, integer(y.shape[1])
        if kind == "d":
            return _call(name + "mmout_seq", integer(m), integer(width_of), *start[1:], *tail)
        pieces = max(1, min(get_max_threads(), width_of // 16, int(columns.size) * width_of // _LEAST_WORK))
        cuts = [width_of * i // pieces for i in range(pieces + 1)]
        spread([
            partial(_call, name + "mmout_par", integer(cuts[i] + 1), integer(cuts[i + 1]), integer(m),
                    integer(width_of), *start[1:], *tail)
            for i in range(pieces)
        ])  # fmt: skip
        return None
    if kind == "d" or (kind == "t" and own != "n"):
        return _call(name + "mvout_seq", *start, x, y)
    return _call(name + "mvout_par", integer(1), integer(m), *start, x, y)


def _triples_product(a: Any, x: np.ndarray, y: np.ndarray, letter: str, op: str) -> None:
    """y += op(A) x of a general COO matrix."""
    (rows, columns), dtype, width = _indices(a, a.row, a.col)
    _inside(rows, a.shape[0], "row numbers")
    _inside(columns, a.shape[1], "column numbers")
    m, n = a.shape
    if op != "N":
        rows, columns, m, n = columns, rows, n, m
    integer = _Integers(dtype)
    count = int(rows.size)
    if count == 0:
        return
    name = f"tnk_spblas_{width}{letter}coo0{'s' if op == 'C' else 'n'}g__c__"
    body = integer(m), integer(n), _one(letter), a.data, rows, columns, integer(count), x
    if x.ndim == 1:
        _call(name + "mvout_par", integer(1), integer(count), *body, y)
    else:
        _call(name + "mmout_par", integer(1), integer(x.shape[1]), *body, integer(x.shape[1]), y, integer(y.shape[1]))


def _diagonals_product(a: Any, x: np.ndarray, y: np.ndarray, letter: str, op: str) -> None:
    """The same of a DIA matrix and vectors. Its diagonals go by columns, so it is the transpose that has them by rows."""
    integer = _Integers(np.int64)
    offsets = np.ascontiguousarray(-a.offsets, np.int64)
    data = np.ascontiguousarray(a.data)
    stride = data.shape[1]
    n = min(stride, a.shape[1])  # columns that have something
    name = f"tnk_spblas_{letter}dia1{'t' if op == 'N' else 'n'}g__f__mvout_par"
    _call(name, integer(1), integer(1), integer(n), integer(a.shape[0]), _one(letter), data, integer(stride), offsets,
          integer(offsets.size), x, y)  # fmt: skip


def _blocks_product(a: Any, x: np.ndarray, y: np.ndarray, letter: str, transposed: bool) -> None:
    """The same of a BSR matrix of square blocks."""
    size = a.blocksize[0]
    columns, pointer, dtype, width = _compressed(a, a.shape[0] // size, a.shape[1] // size, "block columns")
    integer = _Integers(dtype)
    side = 1 if x.ndim == 1 else x.shape[1]
    _call(f"tnk_spblas_{width}cspblas_{letter}bsrmmgen", integer(int(transposed)), integer(a.shape[0] // size),
          integer(side), integer(size), _one(letter), np.ascontiguousarray(a.data), columns, pointer, pointer[1:], x,
          integer(side), y, integer(side))  # fmt: skip


def _usable(a: Any) -> None:
    if not scipy.sparse.issparse(a) or a.format not in ("csr", "csc", "coo", "dia", "bsr"):
        what = f"of format {a.format!r}" if scipy.sparse.issparse(a) else type(a).__name__
        raise TypeError(f"a is {what}, expected a sparse matrix in CSR, CSC, COO, DIA or BSR")
    if len(a.shape) != 2:
        raise ValueError(f"a has shape {a.shape}, expected two dimensions")


def matmul(a: Any, x: ArrayLike, *, op: str = "N", kind: str = "general", lower: bool = True,
           unit_diagonal: bool = False) -> np.ndarray:  # fmt: skip
    """Multiply a sparse matrix by a vector or by the columns of a matrix.

    Parameters
    ----------
    a : sparse matrix or array, shape (m, n)
        CSR, CSC, COO, DIA or BSR, of numbers up to double precision. Entries of one place add up.
    x : array_like, shape (n,) or (n, k)
        With another `op` than "N" of m rows.
    op : {"N", "T", "C"}, optional
        The matrix, its transpose, its conjugate transpose.
    kind : {"general", "symmetric", "hermitian", "triangular", "diagonal"}, optional
        What the stored entries are; but for the first and the last of the triangle that `lower` names, those of the other
        one do not count. Other kinds than the first one are for CSR and CSC.
    lower : bool, optional
        The lower triangle, or the upper one.
    unit_diagonal : bool, optional
        Whether the diagonal is ones, whatever is stored.

    Returns
    -------
    ndarray, shape (m,) or (m, k)
        op(A) x, in the common type.

    Raises
    ------
    ValueError
        If shapes do not fit, indices lie outside of the matrix, or an option is none.
    TypeError
        If `a` is no sparse matrix of these formats, or there is no common type.

    Notes
    -----
    An array of indices is looked at by the first product that it comes to. Who writes other numbers into it afterwards has
    to keep them inside of the matrix.

    Examples
    --------
    >>> import numpy as np, scipy.sparse, tnk.sparse
    >>> tnk.sparse.matmul(scipy.sparse.csr_matrix([[1.0, 2.0], [0.0, 3.0]]), np.array([1.0, 1.0]))
    array([3., 3.])
    """
    _usable(a)
    meaning = _letters(kind, lower, unit_diagonal)
    x = np.asarray(x)
    a, x, letter = _typed(a, x)
    if kind == "hermitian" and letter in "sd":
        kind, meaning = "symmetric", "s" + meaning[1:]
    op = _operation(op, letter in "cz")
    m, n = a.shape if op == "N" else a.shape[::-1]
    if x.ndim not in (1, 2) or x.shape[0] != n:
        raise ValueError(f"x has shape {x.shape}, expected ({n},) or ({n}, k) for a matrix of shape {a.shape} and op {op}")
    if kind != "general" and (m != n or a.format not in ("csr", "csc")):
        raise ValueError(f"a is {a.format.upper()} of shape {a.shape}, expected a square CSR or CSC matrix of kind {kind!r}")
    x = np.ascontiguousarray(x)
    if meaning == "d_u":
        return x.copy()
    y = np.empty((m, *x.shape[1:]), x.dtype)  # zeroed below, rows by the thread that adds to them
    if y.size == 0 or x.size == 0 or a.data.size == 0 and meaning[2] != "u":
        y.fill(0)
        return y
    if a.format == "csc":
        # The rows of its transpose, with the other triangle.
        a = a.T
        if op == "C":  # A^H x is the conjugate of the transpose's rows with the conjugate of x
            return matmul(a, x.conj(), op="N", kind=kind, lower=not lower, unit_diagonal=unit_diagonal).conj()
        op = "T" if op == "N" else "N"
        meaning = _letters(kind, not lower, unit_diagonal)
        if kind == "hermitian":
            op = "T" if op == "T" else "N"
    square_blocks = a.format == "bsr" and a.blocksize[0] == a.blocksize[1]
    conjugated = op == "C" and (a.format == "dia" or square_blocks)
    if conjugated:
        x, op = x.conj(), "T"
    diagonals = a.format == "dia" and x.ndim == 1
    if a.format != "coo" and not square_blocks and not diagonals:
        _rows_product(a.tocsr(), x, y, letter, meaning, op)
        return y.conj() if conjugated else y
    y.fill(0)
    if diagonals:
        _diagonals_product(a, x, y, letter, op)
    elif square_blocks:
        _blocks_product(a, x, y, letter, op != "N")
    else:
        _triples_product(a, x, y, letter, op)
    return y.conj() if conjugated else y


# ---- Solves ----------------------------------------------------------------------------------------------------------------


def _diagonal_is_there(a: Any, lower: bool, unit: bool) -> None:
    """Every row must hold its diagonal, unless it is ones: kernels find it by its place."""
    if not unit:
        held = np.zeros(a.shape[0], bool)
        rows = np.repeat(np.arange(a.shape[0]), np.diff(a.indptr))
        held[rows[a.indices == rows]] = True
        if not held.all():
            raise np.linalg.LinAlgError(f"row {int(np.argmin(held))} has no diagonal entry")
    if (a.diagonal() == 0).any() and not unit:
        raise np.linalg.LinAlgError(f"the diagonal is zero in row {int(np.argmax(a.diagonal() == 0))}")


def solve_triangular(a: Any, b: ArrayLike, *, op: str = "N", lower: bool = True,
                     unit_diagonal: bool = False) -> np.ndarray:  # fmt: skip
    """Solve op(A) x = b with a sparse triangle.

    Parameters
    ----------
    a : sparse matrix or array, shape (n, n)
        CSR, CSC or any other format, which is then put into CSR. Entries outside of the triangle do not count. Columns of a
        row that do not ascend, or repeat, are put in order in a copy.
    b : array_like, shape (n,) or (n, k)
        Right-hand sides.
    op : {"N", "T", "C"}, optional
        Solve with the matrix, its transpose, its conjugate transpose.
    lower : bool, optional
        Which triangle of `a` it is.
    unit_diagonal : bool, optional
        Whether the diagonal is ones, whatever is stored.

    Returns
    -------
    ndarray, shape (n,) or (n, k)
        The solution, in the common type.

    Raises
    ------
    ValueError
        If shapes do not fit, indices lie outside of the matrix, or `op` is none.
    numpy.linalg.LinAlgError
        If a diagonal entry is missing or zero.
    TypeError
        If `a` is not sparse, or there is no common type.

    Examples
    --------
    >>> import numpy as np, scipy.sparse, tnk.sparse
    >>> tnk.sparse.solve_triangular(scipy.sparse.csr_matrix([[2.0, 0.0], [1.0, 4.0]]), np.array([2.0, 9.0]))
    array([1., 2.])
    """
    if not scipy.sparse.issparse(a):
        raise TypeError(f"a is {type(a).__name__}, expected a sparse matrix")
    b = np.asarray(b)
    a, b, letter = _typed(a, b)
    op = _operation(op, letter in "cz")
    n = a.shape[0]
    if a.shape[1] != n or b.ndim not in (1, 2) or b.shape[0] != n:
        raise ValueError(f"a has shape {a.shape} and b {b.shape}, expected ({n}, {n}) and ({n},) or ({n}, k)")
    x = np.array(b, order="C")
    if x.size == 0:
        return x
    if a.format == "csc" and op == "C":
        return solve_triangular(a.T, x.conj(), op="N", lower=not lower, unit_diagonal=unit_diagonal).conj()
    if a.format == "csc":
        a, op, lower = a.T, "T" if op == "N" else "N", not lower
    if a.format != "csr":
        a = a.tocsr()
    if not a.has_canonical_format:
        a = a.copy()
        a.sum_duplicates()
    _diagonal_is_there(a, lower, unit_diagonal)
    if unit_diagonal and op != "N":
        # There the search for the diagonal has to end in the first row and the last one.
        a = scipy.sparse.csr_matrix(a - scipy.sparse.diags(a.diagonal()) + scipy.sparse.eye(n, dtype=a.dtype))
        a.sort_indices()
        a = a.astype(x.dtype)
    columns, pointer, dtype, width = _compressed(a, n, n, "column numbers")
    integer = _Integers(dtype)
    meaning = "t" + ("l" if lower else "u") + ("u" if unit_diagonal else "n")
    name = f"tnk_spblas_{width}{letter}csr0{op.lower()}{meaning}c__"
    tail = _one(letter), a.data, columns, pointer, pointer[1:], x
    if x.ndim == 1:
        _call(name + "svout_seq", integer(n), *tail)
        return x
    sides = integer(x.shape[1])
    _call(name + "smout_par", integer(1), sides, integer(n), sides, *tail, sides)
    return x


def aslinearoperator(a: Any, *, kind: str = "general", lower: bool = True, unit_diagonal: bool = False) -> LinearOperator:
    """Wrap a sparse matrix for SciPy's iterative solvers, which then multiply here.

    Parameters
    ----------
    a : sparse matrix or array, shape (m, n)
    kind, lower, unit_diagonal
        As in `matmul`.

    Returns
    -------
    scipy.sparse.linalg.LinearOperator
        With products by the matrix and by its conjugate transpose.

    Raises
    ------
    ValueError, TypeError
        As `matmul` has them.

    Examples
    --------
    >>> import numpy as np, scipy.sparse, tnk.sparse
    >>> tnk.sparse.aslinearoperator(scipy.sparse.eye(2, format="csr")) @ np.array([3.0, 4.0])
    array([3., 4.])
    """
    _usable(a)
    _letters(kind, lower, unit_diagonal)

    def times(op: str) -> Callable[[np.ndarray], np.ndarray]:
        return lambda x: matmul(a, x, op=op, kind=kind, lower=lower, unit_diagonal=unit_diagonal)

    return LinearOperator(a.shape, matvec=lambda x: times("N")(np.ravel(x)), rmatvec=lambda x: times("C")(np.ravel(x)),
                          matmat=times("N"), rmatmat=times("C"), dtype=a.dtype)  # fmt: skip
