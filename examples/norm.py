"""Dot product, norm and largest element of a vector, from Python and without a package.

python3 norm.py [PATH_OF_LIBTNK]
"""

import ctypes
import sys

library = ctypes.CDLL(sys.argv[1] if len(sys.argv) > 1 else "libtnk.so")

integer = ctypes.POINTER(ctypes.c_int64)
vector = ctypes.POINTER(ctypes.c_double)


def routine(name, result, *arguments):
    function = library[name]
    function.restype, function.argtypes = result, arguments
    return function


ddot = routine("tnk_blas_ddot", ctypes.c_double, integer, vector, integer, vector, integer)
dnrm2 = routine("tnk_blas_dnrm2", ctypes.c_double, integer, vector, integer)
idamax = routine("tnk_blas_idamax", ctypes.c_int64, integer, vector, integer)

x = (ctypes.c_double * 4)(2, -10, 4, 9)
n, one = ctypes.c_int64(len(x)), ctypes.c_int64(1)  # ctypes passes their addresses

print("dot", ddot(n, x, one, x, one))
print("norm", round(dnrm2(n, x, one), 4))
print("largest", x[idamax(n, x, one) - 1])  # counted from one
