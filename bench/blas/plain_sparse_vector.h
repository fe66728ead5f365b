// The sparse-vector routines as a user would write them, for the same compiler flags as the kernels.
#pragma once

#include <tnk/types.h>

#include <complex>

namespace tnk::bench::plain {

// T is float, double, or std::complex of these.
template <class T> void axpyi(tnk_int nz, T alpha, const T *x, const tnk_int *indx, T *y);
template <class T> T doti(tnk_int nz, const T *x, const tnk_int *indx, const T *y);
template <class T> T dotci(tnk_int nz, const T *x, const tnk_int *indx, const T *y);
template <class T> void gthr(tnk_int nz, const T *y, T *x, const tnk_int *indx);
template <class T> void gthrz(tnk_int nz, T *y, T *x, const tnk_int *indx);
template <class T> void sctr(tnk_int nz, const T *x, const tnk_int *indx, T *y);
template <class T> void roti(tnk_int nz, T *x, const tnk_int *indx, T *y, T c, T s);

} // namespace tnk::bench::plain
