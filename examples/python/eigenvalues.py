"""The softest modes of a structure: smallest eigenvalues of its stiffness matrix, by Lanczos' method on products and
solves of tnk.

python3 eigenvalues.py bcsstk13.mtx [picture.png]
"""

import sys

import numpy as np
import scipy.io
import scipy.sparse
import tnk.sparse
from scipy.sparse.linalg import LinearOperator, eigsh, splu

if len(sys.argv) < 2:
    sys.exit(__doc__)

lower = scipy.sparse.tril(scipy.io.mmread(sys.argv[1])).tocsr()  # the file has one triangle
n = lower.shape[0]
stiffness = tnk.sparse.aslinearoperator(lower, kind="symmetric")

# The largest ones come by products alone; the smallest ones with an inverse, whose triangles are solved here.
largest = eigsh(stiffness, k=3, which="LA", return_eigenvectors=False)
whole = (lower + scipy.sparse.tril(lower, -1).T).tocsc()
factors = splu(whole)
left, right = factors.L.tocsr(), factors.U.tocsr()
left.sort_indices(), right.sort_indices()


def inverse(b):
    y = tnk.sparse.solve_triangular(left, np.ravel(b)[np.argsort(factors.perm_r)], lower=True, unit_diagonal=True)
    return tnk.sparse.solve_triangular(right, y, lower=False)[factors.perm_c]


smallest, modes = eigsh(stiffness, k=6, sigma=0, OPinv=LinearOperator((n, n), matvec=inverse, dtype=float))
residuals = [np.linalg.norm(stiffness @ modes[:, i] - smallest[i] * modes[:, i]) for i in range(6)]

print(f"{n} unknowns, {whole.nnz} entries")
print("largest ", " ".join(f"{value:.6e}" for value in largest[::-1]))
print("smallest", " ".join(f"{value:.6e}" for value in smallest))
print(f"residuals below {max(residuals) / largest.max():.0e} of the largest")

if len(sys.argv) > 2:
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    figure, rows = pyplot.subplots(6, 1, figsize=(8, 8), sharex=True, layout="constrained")
    for axes, value, mode in zip(rows, smallest, modes.T):
        axes.plot(mode, linewidth=0.5)
        axes.text(0.01, 0.82, f"{value:.1f}", transform=axes.transAxes)
    rows[0].set_title("The six smallest eigenvalues and their modes")
    rows[-1].set_xlabel("unknown")
    figure.savefig(sys.argv[2], dpi=120)
