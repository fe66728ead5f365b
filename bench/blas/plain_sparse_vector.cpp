#include "bench/blas/plain_sparse_vector.h"

namespace tnk::bench::plain {
namespace {

// By the four products, as a loop in C would: the library's operator also mends infinities.
template <class T> T product(T a, T b) {
  return a * b;
}

template <class T> std::complex<T> product(std::complex<T> a, std::complex<T> b) {
  return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

} // namespace

template <class T> void axpyi(tnk_int nz, T alpha, const T *x, const tnk_int *indx, T *y) {
  for (tnk_int i = 0; i < nz; ++i) y[indx[i] - 1] += product(alpha, x[i]);
}

template <class T> T doti(tnk_int nz, const T *x, const tnk_int *indx, const T *y) {
  T sum = 0;
  for (tnk_int i = 0; i < nz; ++i) sum += product(x[i], y[indx[i] - 1]);
  return sum;
}

template <class T> T dotci(tnk_int nz, const T *x, const tnk_int *indx, const T *y) {
  T sum = 0;
  for (tnk_int i = 0; i < nz; ++i) sum += product(std::conj(x[i]), y[indx[i] - 1]);
  return sum;
}

template <class T> void gthr(tnk_int nz, const T *y, T *x, const tnk_int *indx) {
  for (tnk_int i = 0; i < nz; ++i) x[i] = y[indx[i] - 1];
}

template <class T> void gthrz(tnk_int nz, T *y, T *x, const tnk_int *indx) {
  for (tnk_int i = 0; i < nz; ++i) {
    x[i] = y[indx[i] - 1];
    y[indx[i] - 1] = 0;
  }
}

template <class T> void sctr(tnk_int nz, const T *x, const tnk_int *indx, T *y) {
  for (tnk_int i = 0; i < nz; ++i) y[indx[i] - 1] = x[i];
}

template <class T> void roti(tnk_int nz, T *x, const tnk_int *indx, T *y, T c, T s) {
  for (tnk_int i = 0; i < nz; ++i) {
    T &b = y[indx[i] - 1];
    const T a = x[i];
    x[i] = c * a + s * b;
    b = c * b - s * a;
  }
}

#define INSTANTIATE(T)                                                                                       \
  template void axpyi(tnk_int, T, const T *, const tnk_int *, T *);                                          \
  template T doti(tnk_int, const T *, const tnk_int *, const T *);                                           \
  template void gthr(tnk_int, const T *, T *, const tnk_int *);                                              \
  template void gthrz(tnk_int, T *, T *, const tnk_int *);                                                   \
  template void sctr(tnk_int, const T *, const tnk_int *, T *);

INSTANTIATE(float)
INSTANTIATE(double)
INSTANTIATE(std::complex<float>)
INSTANTIATE(std::complex<double>)

template std::complex<float> dotci(tnk_int, const std::complex<float> *, const tnk_int *,
                                   const std::complex<float> *);
template std::complex<double> dotci(tnk_int, const std::complex<double> *, const tnk_int *,
                                    const std::complex<double> *);
template void roti(tnk_int, float *, const tnk_int *, float *, float, float);
template void roti(tnk_int, double *, const tnk_int *, double *, double, double);

} // namespace tnk::bench::plain
