// The names of the drop-in that the tests call, as a program would declare them.
#pragma once

#include <cstddef>
#include <cstdint>

#ifdef TNK_DROPIN_WIDE
using Int = std::int64_t;
#else
using Int = std::int32_t;
#endif
using complex8 = __complex__ float;
using complex16 = __complex__ double;

extern "C" {
extern int CBLAS_CallFromC, RowMajorStrg;

void dcopy_(const Int *n, const double *x, const Int *incx, double *y, const Int *incy);
void dgemv_(const char *, const Int *, const Int *, const double *, const double *, const Int *,
            const double *, const Int *, const double *, double *, const Int *);
void dgbmv_(const char *, const Int *, const Int *, const Int *, const Int *, const double *, const double *,
            const Int *, const double *, const Int *, const double *, double *, const Int *);
#define TNK_TYPE(t, T)                                                                                       \
  void t##gemm_(const char *, const char *, const Int *, const Int *, const Int *, const T *, const T *,     \
                const Int *, const T *, const Int *, const T *, T *, const Int *);                           \
  void t##trsm_(const char *, const char *, const char *, const char *, const Int *, const Int *, const T *, \
                const T *, const Int *, T *, const Int *);
TNK_TYPE(s, float)
TNK_TYPE(d, double)
#undef TNK_TYPE
void cblas_dgemm(int, int, int, Int, Int, Int, double, const double *, Int, const double *, Int, double,
                 double *, Int);
void cblas_zgemv(int, int, Int, Int, const complex16 *, const complex16 *, Int, const complex16 *, Int,
                 const complex16 *, complex16 *, Int);

#define TNK_SUMS(name, R, T) R name(const Int *n, const T *x, const Int *incx);
TNK_SUMS(dasum_, double, double)
TNK_SUMS(scasum_, float, complex8)
TNK_SUMS(idamax_, Int, double)
TNK_SUMS(icamax_, Int, complex8)
#undef TNK_SUMS
double ddot_(const Int *n, const double *x, const Int *incx, const double *y, const Int *incy);
complex8 cdotc_(const Int *n, const complex8 *x, const Int *incx, const complex8 *y, const Int *incy);
complex16 zdotu_(const Int *n, const complex16 *x, const Int *incx, const complex16 *y, const Int *incy);
void idamaxsub_(const Int *n, const double *x, const Int *incx, Int *result);
std::size_t cblas_idamax(Int n, const double *x, Int incx);

void dger_(const Int *, const Int *, const double *, const double *, const Int *, const double *, const Int *,
           double *, const Int *);
void cblas_zgerc(int, Int, Int, const complex16 *, const complex16 *, Int, const complex16 *, Int,
                 complex16 *, Int);
void cblas_dtrsm(int, int, int, int, int, Int, Int, double, const double *, Int, double *, Int);
void cblas_zher2(int, int, Int, const complex16 *, const complex16 *, Int, const complex16 *, Int,
                 complex16 *, Int);
void csyrk_(const char *, const char *, const Int *, const Int *, const complex8 *, const complex8 *,
            const Int *, const complex8 *, complex8 *, const Int *);
Int lsame_(const char *, const char *);
void xerbla_array_(const char *, const Int *, const Int *);
}
