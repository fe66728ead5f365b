/* Extended-precision BLAS: vector and matrix routines with operands of mixed types, whose sums are carried in single or
   double precision or in pairs of doubles, as an argument says. C and C++ alike.

   A name is  <t><op>[_<a>[_<x>]][_x] :  t the type of the result, of alpha and of beta, a and x the types of the operands,
   s float, d double, c and z complex of these; without them operands have the result's type. `ddot_s_d` has a single
   precision x and a double precision y. Names that end in _x take a last argument prec, the others compute as with
   TNK_XBLAS_DOUBLE.

     op           operands          types of the operands besides the result's own, which is for _x alone
     dot          x, y              c: c_s s_c s_s    d: d_s s_d s_s    z: c_c c_z z_c d_d d_z z_d, all plain and _x
     waxpby       x, y              the same
     gemv gbmv symv sbmv spmv       A, x   the same; ge_sum_mv: A and B have the first type
     gemv2 gbmv2 symv2              A, head_x and tail_x   the same
     gemm symm    A, B              the same
     hemv hbmv hpmv hemv2 hemm      c: c_s    z: c_c c_z z_c z_d, plain and _x
     axpby        x                 d: s    c: s    z: c d, plain and _x
     trmv tpmv trsv tbsv  T         the same
     sum          x                 none

   First what they compute, then the checked routines for applications, then what the kernel library exports.

   ---- What is computed -----------------------------------------------------------------------------------------------

     dot          r := alpha sum x_i y_i + beta r, conj(x_i) with TNK_XBLAS_CONJ
     sum          sum := sum x_i
     axpby        y := alpha x + beta y
     waxpby       w := alpha x + beta y
     gemv gbmv    y := alpha op(A) x + beta y, A of m by n, gbmv with kl diagonals below the main one and ku above it
     gemv2 gbmv2  y := alpha op(A) (head_x + tail_x) + beta y
     ge_sum_mv    y := alpha A x + beta B x
     symv hemv    y := alpha A x + beta y, A symmetric, Hermitian; sbmv hbmv with k diagonals on either side, spmv hpmv packed
     symv2 hemv2  y := alpha A (head_x + tail_x) + beta y
     trmv tpmv    x := alpha op(T) x, T triangular, packed
     trsv tbsv    x := alpha op(T)^-1 x, T triangular, of k diagonals beside the main one
     gemm         C := alpha op(A) op(B) + beta C, C of m by n
     symm hemm    C := alpha A B + beta C on the left, alpha B A + beta C on the right

   prec         sums         with                                                                         error at most
   SINGLE       float        every step rounded to float, where the result is s or c; else as DOUBLE      (n + 2) 2^-24
   DOUBLE       double       all operands widened first, the result rounded once                          (n + 2) 2^-53
   INDIGENOUS   as DOUBLE
   EXTRA        a pair       exact products, sums of pairs                                                (3 n + 8) 2^-106

   each times |alpha| sum |x_i y_i| + |beta r|, twice that for complex elements, and one rounding to the result's type. Sums
   run over ascending indices, one term after the other, so that a result has the same bits on every path through the
   library. At EXTRA a sum whose terms cancel keeps what is left: 1e30, 1, -1e30 gives 1. Numbers of 2^997 or more, and all
   infinities, give NaN there; below 2^-969 products are no longer exact. Rounding must be to nearest.

   What is read, and when. dot returns for n = 0 with beta = 1, and for alpha = 0 with beta = 1; otherwise all of it is
   read and computed, r too, whatever the factors: 0 times a NaN is one. waxpby computes always, axpby returns for alpha = 0
   with beta = 1. A matrix routine does for each element of its result:

     alpha = 0, beta = 0   0; nothing is read
     alpha = 0             beta y, without pairs; matrix and vector are not read
     beta = 0              alpha sum, or the sum itself where alpha = 1; y is not read
     otherwise             alpha sum + beta y, also for factors of 1

   so that an empty sum (gemv with n = 0) still gives beta y. A zero factor of ge_sum_mv leaves its matrix unread, and with
   alpha = 0 triangular routines store zeros. The other triangle, the diagonal of a unit triangle, imaginary parts on a
   Hermitian diagonal, the corners of bands and the gaps of leading dimensions are never read.

   trsv and tbsv take alpha x_i, subtract T's products over ascending indices, and divide, x_i rounded to its own type before
   others take it; at EXTRA the solution is carried in pairs and rounded at the end. A quotient of pairs is right to
   12 2^-106, a complex one, by the conjugate of the divisor, to 24 2^-106. */
#ifndef TNK_XBLAS_H
#define TNK_XBLAS_H

#include <stddef.h>
#include <tnk/types.h>

enum tnk_xblas_order { TNK_XBLAS_ROWMAJOR = 101, TNK_XBLAS_COLMAJOR = 102 };
enum tnk_xblas_trans { TNK_XBLAS_NO_TRANS = 111, TNK_XBLAS_TRANS = 112, TNK_XBLAS_CONJ_TRANS = 113 };
enum tnk_xblas_uplo { TNK_XBLAS_UPPER = 121, TNK_XBLAS_LOWER = 122 };
enum tnk_xblas_diag { TNK_XBLAS_NON_UNIT = 131, TNK_XBLAS_UNIT = 132 };
enum tnk_xblas_side { TNK_XBLAS_LEFT = 141, TNK_XBLAS_RIGHT = 142 };
enum tnk_xblas_conj { TNK_XBLAS_CONJ = 191, TNK_XBLAS_NO_CONJ = 192 }; /* anything but CONJ is NO_CONJ */
enum tnk_xblas_prec {
  TNK_XBLAS_SINGLE = 211,
  TNK_XBLAS_DOUBLE = 212,
  TNK_XBLAS_INDIGENOUS = 213,
  TNK_XBLAS_EXTRA = 214
};
/* What fpinfo_x can be asked. */
enum tnk_xblas_cmd {
  TNK_XBLAS_BASE = 151,
  TNK_XBLAS_DIGITS = 152,
  TNK_XBLAS_ROUNDING = 153, /* 1 where sums are rounded to nearest, 0 at EXTRA */
  TNK_XBLAS_IEEE = 154,     /* 1 where sums are IEEE numbers, 0 at EXTRA */
  TNK_XBLAS_LEAST_EXPONENT = 155,
  TNK_XBLAS_LARGEST_EXPONENT = 156
};

/* ---- The list -------------------------------------------------------------------------------------------------

   Each argument list once, in order: D an ordering, E another enumeration, N an integer, S a factor of the result's type T,
   R an array that is read, W one that is written. A and X are the letters of the operands' types.

   Full matrices and bands by columns (TNK_XBLAS_COLMAJOR), element (i, j) from 0:
     a                A(i, j) at a[i + j * lda], lda at least the number of rows
     a, kl, ku        A(i, j) at a[ku + i - j + j * lda], lda at least kl + ku + 1
     a, k             upper: a[k + i - j + j * lda], lower: a[i - j + j * lda], lda at least k + 1
     ap               the columns of the triangle one after another
   By rows the same with i and j, rows and columns, kl and ku, upper and lower exchanged. Element i of a vector stands at
   x[i * incx], or for a negative increment at x[(i + 1 - n) * incx]. */
#define TNK_XBLAS_ARGS_dot(D, E, N, S, R, W, T, A, X)                                                        \
  E(conj), N(n), S(T, alpha), R(A, x), N(incx), S(T, beta), R(X, y), N(incy), W(T, r)
#define TNK_XBLAS_ARGS_sum(D, E, N, S, R, W, T, A, X) N(n), R(A, x), N(incx), W(T, sum)
#define TNK_XBLAS_ARGS_axpby(D, E, N, S, R, W, T, A, X)                                                      \
  N(n), S(T, alpha), R(A, x), N(incx), S(T, beta), W(T, y), N(incy)
#define TNK_XBLAS_ARGS_waxpby(D, E, N, S, R, W, T, A, X)                                                     \
  N(n), S(T, alpha), R(A, x), N(incx), S(T, beta), R(X, y), N(incy), W(T, w), N(incw)
#define TNK_XBLAS_ARGS_gemv(D, E, N, S, R, W, T, A, X)                                                       \
  D(order) E(trans), N(m), N(n), S(T, alpha), R(A, a), N(lda), R(X, x), N(incx), S(T, beta), W(T, y), N(incy)
#define TNK_XBLAS_ARGS_gemv2(D, E, N, S, R, W, T, A, X)                                                      \
  D(order)                                                                                                   \
  E(trans), N(m), N(n), S(T, alpha), R(A, a), N(lda), R(X, head_x), R(X, tail_x), N(incx), S(T, beta),       \
      W(T, y), N(incy)
#define TNK_XBLAS_ARGS_gbmv(D, E, N, S, R, W, T, A, X)                                                       \
  D(order)                                                                                                   \
  E(trans), N(m), N(n), N(kl), N(ku), S(T, alpha), R(A, a), N(lda), R(X, x), N(incx), S(T, beta), W(T, y),   \
      N(incy)
#define TNK_XBLAS_ARGS_gbmv2(D, E, N, S, R, W, T, A, X)                                                      \
  D(order)                                                                                                   \
  E(trans), N(m), N(n), N(kl), N(ku), S(T, alpha), R(A, a), N(lda), R(X, head_x), R(X, tail_x), N(incx),     \
      S(T, beta), W(T, y), N(incy)
#define TNK_XBLAS_ARGS_ge_sum_mv(D, E, N, S, R, W, T, A, X)                                                  \
  D(order)                                                                                                   \
  N(m), N(n), S(T, alpha), R(A, a), N(lda), R(X, x), N(incx), S(T, beta), R(A, b), N(ldb), W(T, y), N(incy)
#define TNK_XBLAS_ARGS_symv(D, E, N, S, R, W, T, A, X)                                                       \
  D(order) E(uplo), N(n), S(T, alpha), R(A, a), N(lda), R(X, x), N(incx), S(T, beta), W(T, y), N(incy)
#define TNK_XBLAS_ARGS_symv2(D, E, N, S, R, W, T, A, X)                                                      \
  D(order)                                                                                                   \
  E(uplo), N(n), S(T, alpha), R(A, a), N(lda), R(X, head_x), R(X, tail_x), N(incx), S(T, beta), W(T, y),     \
      N(incy)
#define TNK_XBLAS_ARGS_sbmv(D, E, N, S, R, W, T, A, X)                                                       \
  D(order) E(uplo), N(n), N(k), S(T, alpha), R(A, a), N(lda), R(X, x), N(incx), S(T, beta), W(T, y), N(incy)
#define TNK_XBLAS_ARGS_spmv(D, E, N, S, R, W, T, A, X)                                                       \
  D(order) E(uplo), N(n), S(T, alpha), R(A, ap), R(X, x), N(incx), S(T, beta), W(T, y), N(incy)
#define TNK_XBLAS_ARGS_hemv TNK_XBLAS_ARGS_symv
#define TNK_XBLAS_ARGS_hemv2 TNK_XBLAS_ARGS_symv2
#define TNK_XBLAS_ARGS_hbmv TNK_XBLAS_ARGS_sbmv
#define TNK_XBLAS_ARGS_hpmv TNK_XBLAS_ARGS_spmv
#define TNK_XBLAS_ARGS_trmv(D, E, N, S, R, W, T, A, X)                                                       \
  D(order) E(uplo), E(trans), E(diag), N(n), S(T, alpha), R(A, t), N(ldt), W(T, x), N(incx)
#define TNK_XBLAS_ARGS_trsv TNK_XBLAS_ARGS_trmv
#define TNK_XBLAS_ARGS_tbsv(D, E, N, S, R, W, T, A, X)                                                       \
  D(order) E(uplo), E(trans), E(diag), N(n), N(k), S(T, alpha), R(A, t), N(ldt), W(T, x), N(incx)
#define TNK_XBLAS_ARGS_tpmv(D, E, N, S, R, W, T, A, X)                                                       \
  D(order) E(uplo), E(trans), E(diag), N(n), S(T, alpha), R(A, tp), W(T, x), N(incx)
#define TNK_XBLAS_ARGS_gemm(D, E, N, S, R, W, T, A, X)                                                       \
  D(order)                                                                                                   \
  E(transa), E(transb), N(m), N(n), N(k), S(T, alpha), R(A, a), N(lda), R(X, b), N(ldb), S(T, beta),         \
      W(T, c), N(ldc)
#define TNK_XBLAS_ARGS_symm(D, E, N, S, R, W, T, A, X)                                                       \
  D(order)                                                                                                   \
  E(side), E(uplo), N(m), N(n), S(T, alpha), R(A, a), N(lda), R(X, b), N(ldb), S(T, beta), W(T, c), N(ldc)
#define TNK_XBLAS_ARGS_hemm TNK_XBLAS_ARGS_symm

/* The members of a family: X(op, t, u, v, name, form) with the letters of the types and the name without its prefix; form
   is `extra` where there is an argument prec, else `plain`. */
#define TNK_XBLAS_OWN(X, op, t) X(op, t, t, t, t##op##_x, extra)
#define TNK_XBLAS_PAIR(X, op, t, u, v)                                                                       \
  X(op, t, u, v, t##op##_##u##_##v, plain) X(op, t, u, v, t##op##_##u##_##v##_x, extra)
#define TNK_XBLAS_ALONE(X, op, t, u) X(op, t, u, u, t##op##_##u, plain) X(op, t, u, u, t##op##_##u##_x, extra)
/* clang-format off */
#define TNK_XBLAS_EACH_OWN(X, op)                                                                            \
  TNK_XBLAS_OWN(X, op, s) TNK_XBLAS_OWN(X, op, d) TNK_XBLAS_OWN(X, op, c) TNK_XBLAS_OWN(X, op, z)
/* Two operands. */
#define TNK_XBLAS_EACH_PAIR(X, op)                                                                           \
  TNK_XBLAS_EACH_OWN(X, op)                                                                                  \
  TNK_XBLAS_PAIR(X, op, c, c, s) TNK_XBLAS_PAIR(X, op, c, s, c) TNK_XBLAS_PAIR(X, op, c, s, s)               \
  TNK_XBLAS_PAIR(X, op, d, d, s) TNK_XBLAS_PAIR(X, op, d, s, d) TNK_XBLAS_PAIR(X, op, d, s, s)               \
  TNK_XBLAS_PAIR(X, op, z, c, c) TNK_XBLAS_PAIR(X, op, z, c, z) TNK_XBLAS_PAIR(X, op, z, z, c)               \
  TNK_XBLAS_PAIR(X, op, z, d, d) TNK_XBLAS_PAIR(X, op, z, d, z) TNK_XBLAS_PAIR(X, op, z, z, d)
/* Two operands, the first one Hermitian. */
#define TNK_XBLAS_EACH_HERMITIAN(X, op)                                                                      \
  TNK_XBLAS_OWN(X, op, c) TNK_XBLAS_OWN(X, op, z)                                                            \
  TNK_XBLAS_PAIR(X, op, c, c, s) TNK_XBLAS_PAIR(X, op, z, c, c) TNK_XBLAS_PAIR(X, op, z, c, z)               \
  TNK_XBLAS_PAIR(X, op, z, z, c) TNK_XBLAS_PAIR(X, op, z, z, d)
/* One operand beside the result. */
#define TNK_XBLAS_EACH_ALONE(X, op)                                                                          \
  TNK_XBLAS_EACH_OWN(X, op)                                                                                  \
  TNK_XBLAS_ALONE(X, op, d, s) TNK_XBLAS_ALONE(X, op, c, s)                                                  \
  TNK_XBLAS_ALONE(X, op, z, c) TNK_XBLAS_ALONE(X, op, z, d)
/* All 488. */
#define TNK_XBLAS_EACH(X)                                                                                    \
  TNK_XBLAS_EACH_PAIR(X, dot) TNK_XBLAS_EACH_PAIR(X, waxpby) TNK_XBLAS_EACH_PAIR(X, gemv)                    \
  TNK_XBLAS_EACH_PAIR(X, ge_sum_mv) TNK_XBLAS_EACH_PAIR(X, gbmv) TNK_XBLAS_EACH_PAIR(X, symv)                \
  TNK_XBLAS_EACH_PAIR(X, spmv) TNK_XBLAS_EACH_PAIR(X, sbmv) TNK_XBLAS_EACH_PAIR(X, gemm)                     \
  TNK_XBLAS_EACH_PAIR(X, symm) TNK_XBLAS_EACH_PAIR(X, gemv2) TNK_XBLAS_EACH_PAIR(X, gbmv2)                   \
  TNK_XBLAS_EACH_PAIR(X, symv2)                                                                              \
  TNK_XBLAS_EACH_HERMITIAN(X, hemv) TNK_XBLAS_EACH_HERMITIAN(X, hpmv) TNK_XBLAS_EACH_HERMITIAN(X, hbmv)      \
  TNK_XBLAS_EACH_HERMITIAN(X, hemm) TNK_XBLAS_EACH_HERMITIAN(X, hemv2)                                       \
  TNK_XBLAS_EACH_ALONE(X, axpby) TNK_XBLAS_EACH_ALONE(X, trmv) TNK_XBLAS_EACH_ALONE(X, tpmv)                 \
  TNK_XBLAS_EACH_ALONE(X, trsv) TNK_XBLAS_EACH_ALONE(X, tbsv)                                                \
  TNK_XBLAS_EACH_OWN(X, sum)
/* clang-format on */

/* The types by letter; factors travel by value where they are real and by address where they are complex. */
#define TNK_XBLAS_TYPE_s float
#define TNK_XBLAS_TYPE_d double
#define TNK_XBLAS_TYPE_c tnk_complex8
#define TNK_XBLAS_TYPE_z tnk_complex16
#define TNK_XBLAS_FACTOR_s float
#define TNK_XBLAS_FACTOR_d double
#define TNK_XBLAS_FACTOR_c const tnk_complex8 *
#define TNK_XBLAS_FACTOR_z const tnk_complex16 *

/* An argument list by value, and one by address, without the ordering. */
#define TNK_XBLAS_D_VALUE(name) int32_t name,
#define TNK_XBLAS_E_VALUE(name) int32_t name
#define TNK_XBLAS_N_VALUE(name) tnk_int name
#define TNK_XBLAS_S_VALUE(t, name) TNK_XBLAS_FACTOR_##t name
#define TNK_XBLAS_R(t, name) const TNK_XBLAS_TYPE_##t *name
#define TNK_XBLAS_W(t, name) TNK_XBLAS_TYPE_##t *name
#define TNK_XBLAS_D_ADDRESS(name)
#define TNK_XBLAS_E_ADDRESS(name) const int32_t *name
#define TNK_XBLAS_N_ADDRESS(name) const tnk_int *name
#define TNK_XBLAS_S_ADDRESS(t, name) const TNK_XBLAS_TYPE_##t *name
#define TNK_XBLAS_VALUES(op, t, u, v)                                                                        \
  TNK_XBLAS_ARGS_##op(TNK_XBLAS_D_VALUE, TNK_XBLAS_E_VALUE, TNK_XBLAS_N_VALUE, TNK_XBLAS_S_VALUE,            \
                      TNK_XBLAS_R, TNK_XBLAS_W, t, u, v)
#define TNK_XBLAS_ADDRESSES(op, t, u, v)                                                                     \
  TNK_XBLAS_ARGS_##op(TNK_XBLAS_D_ADDRESS, TNK_XBLAS_E_ADDRESS, TNK_XBLAS_N_ADDRESS, TNK_XBLAS_S_ADDRESS,    \
                      TNK_XBLAS_R, TNK_XBLAS_W, t, u, v)
/* The names alone. */
#define TNK_XBLAS_D_NAME(name) name,
#define TNK_XBLAS_N_NAME(name) name
#define TNK_XBLAS_T_NAME(t, name) name
#define TNK_XBLAS_NAMES(op, t, u, v)                                                                         \
  TNK_XBLAS_ARGS_##op(TNK_XBLAS_D_NAME, TNK_XBLAS_N_NAME, TNK_XBLAS_N_NAME, TNK_XBLAS_T_NAME,                \
                      TNK_XBLAS_T_NAME, TNK_XBLAS_T_NAME, t, u, v)
#define TNK_XBLAS_PREC_NAME_plain
#define TNK_XBLAS_PREC_NAME_extra , prec
#define TNK_XBLAS_PREC_VALUE_plain
#define TNK_XBLAS_PREC_VALUE_extra , int32_t prec
#define TNK_XBLAS_PREC_ADDRESS_plain
#define TNK_XBLAS_PREC_ADDRESS_extra , const int32_t *prec

TNK_BEGIN_DECLS

/* ---- Public routines ------------------------------------------------------------------------------------------

   tnk_xblas_ddot_x and so on: the arguments of tnk_xblas_BLAS_ddot_x, checked. The first bad one of the list is reported
   through the error handler (tnk/host.h) and nothing is touched: an enumeration outside its table (any conj passes),
   negative sizes and bandwidths, increments of 0, leading dimensions that are too small, null addresses of what is
   touched, and vectors and matrices that no memory could hold. That arrays
   which are written share no element with others is the caller's affair; w of waxpby may be x or y. errno stays as it was.

   trsv and tbsv at EXTRA have their memory before x is touched: where it is refused, that is reported and x stays as it was.
   gemv, gemv2, gbmv, gbmv2, ge_sum_mv, gemm, symm and hemm are cut for threads by elements of the result, as many as
   tnk/host.h says, with the same bits for every number of them; the rest runs on the calling thread. */
#define TNK_XBLAS_DECLARE(op, t, u, v, name, form)                                                           \
  void tnk_xblas_##name(TNK_XBLAS_VALUES(op, t, u, v) TNK_XBLAS_PREC_VALUE_##form);
TNK_XBLAS_EACH(TNK_XBLAS_DECLARE)
#undef TNK_XBLAS_DECLARE

/* ---- Kernels --------------------------------------------------------------------------------------------------

   Link with -ltnk. tnk_xblas_BLAS_ddot_x takes integers, enumerations and real factors by value, complex factors by
   address; its twin tnk_xblas_blas_ddot_x everything by address, and has no `order`: its matrices stand by columns. So
   Fortran calls it.

   Nothing is refused. A prec that is none returns at once. Otherwise a bad argument is reported to tnk_xblas_BLAS_error, and
   the routine goes on with it: an increment of 0 meets the same element every time, an unknown uplo is lower, diag
   non-unit, side right, order by rows. (gemv and gemv2 take an unknown order as rows of op(A) side by side, lda apart, for
   every trans.) trans of NO_TRANS and CONJ_TRANS are what they say, any other is TRANS. Reported in turn, by position and
   value: sizes below 0 and bandwidths below 0, except that gemv and gemv2 report n below 1; increments of 0; leading
   dimensions that are too small, none for an unknown order. Before these trsv and tbsv report, with position 0 and under
   their name without _x, enumerations that are none. sum stores 0 for n below 1, triangular routines do nothing then.

   trsv and tbsv with _x take two blocks of memory at EXTRA, for the heads and the tails of x. Where one is refused they
   report it ("blas_malloc", position 0, "malloc failed.\n") and go on with it all the same, through a null address: call
   the checked routine instead. The rest of the family uses no memory. */
#define TNK_XBLAS_DECLARE(op, t, u, v, name, form)                                                           \
  void tnk_xblas_BLAS_##name(TNK_XBLAS_VALUES(op, t, u, v) TNK_XBLAS_PREC_VALUE_##form);                     \
  void tnk_xblas_blas_##name(TNK_XBLAS_ADDRESSES(op, t, u, v) TNK_XBLAS_PREC_ADDRESS_##form);
TNK_XBLAS_EACH(TNK_XBLAS_DECLARE)
#undef TNK_XBLAS_DECLARE

/* Where bad arguments are reported: does nothing. A program that defines this function has it called instead: the routine's
   name ("BLAS_ddot_x"), the position of the argument from 1, negated, its value, and a message, a printf format for what
   may follow, or null. */
void tnk_xblas_BLAS_error(const char *routine_name, int32_t position, tnk_int value, const char *message,
                          ...);

/* What a precision is; 0 for a cmd or a prec that is none. */
int32_t tnk_xblas_BLAS_fpinfo_x(int32_t cmd, int32_t prec);
int32_t tnk_xblas_blas_fpinfo_x(const int32_t *cmd, const int32_t *prec);

/* Scratch memory (tnk_serv_allocate), aligned to 128 bytes; by value both. */
void *tnk_xblas_blas_malloc(size_t size);
void tnk_xblas_blas_free(void *pointer);

TNK_END_DECLS

#endif
