// Sines and cosines at whole steps, kinds 0 and 1. A row is folded at its middle with sines and cosines between, so that the
// spectrum of the folded row has even terms of the result in its one part and differences of odd ones in the other; sums put
// these together. Both ways are the same sums.
//
// The order of each sum is fixed: from the first term on, one after another. Only the products are formed side by side.
#include "kernel/pde/trig/lanes.h"
#include "kernel/pde/trig/report.h"

namespace tnk::pde {
namespace {

// ---- Kind 0 ---------------------------------------------------------------------------------------------------------

// f[j], f[n - j] := 2 s (a + b) + (a - b), 2 s (a + b) - (a - b), with s = sin(j h)
template <class T> void fold_sine(T *f, tnk_int n, const T *sines) {
  using V = vec<T>;
  f[0] = 0;
  tnk_int j = 1;
  for (; 2 * (j + width<T> - 1) < n; j += width<T>) {
    T *const high = f + n - j - width<T> + 1;
    const V a = loadu<V>(f + j), b = reversed(loadu<V>(high));
    const V d = a - b, t = T(2) * loadu<V>(sines + j - 1) * (a + b);
    storeu(f + j, t + d);
    storeu(high, reversed(t - d));
  }
  for (; j <= n / 2; ++j) {
    const T a = f[j], b = f[n - j], d = a - b, t = 2 * sines[j - 1] * (a + b);
    f[j] = t + d;
    f[n - j] = t - d;
  }
}

// Real parts are sums of neighbouring odd terms, imaginary parts are even terms.
template <class T> void sum_sine(T *f, tnk_int n) {
  T c = f[0] / 2, carried = f[1];
  f[0] = 0;
  f[1] = c;
  if (n % 2 == 0) {
    for (tnk_int p = 2; p < n; p += 2) {
      c += f[p];
      f[p] = -f[p + 1];
      f[p + 1] = c;
    }
  } else { // the spectrum stands one place lower
    for (tnk_int p = 2; p < n - 1; p += 2) {
      c += carried;
      carried = f[p + 1];
      f[p] = -f[p];
      f[p + 1] = c;
    }
    f[n - 1] = -f[n - 1];
  }
}

template <class T> tnk_int sine(const Row<T> &row) {
  if (row.n() < shortest) return TNK_PDETT_DONE;
  fold_sine(row.f, row.n(), row.tables);
  if (const tnk_int status = row.forward()) return status;
  sum_sine(row.f, row.n());
  return TNK_PDETT_DONE;
}

// ---- Kind 1 ---------------------------------------------------------------------------------------------------------

// f[j], f[n - j] := (a + b) -+ 2 s (a - b), with s = sin(j h); j = 0: f[0] + f[n]. The first odd term is the result.
template <class T> T fold_cosine(T *f, tnk_int n, const T *pairs) {
  using V = vec<T>;
  T first = f[0] - f[n];
  f[0] += f[n];
  const auto step = [&](tnk_int j) {
    const T a = f[j], b = f[n - j], e = a + b, g = 2 * (a - b);
    first += g * pairs[2 * j - 2];
    f[j] = e - g * pairs[2 * j - 1];
    f[n - j] = e + g * pairs[2 * j - 1];
  };
  tnk_int j = n / 2;
  if (j > 0 && n % 2 == 0) step(j--); // the middle, folded with itself
  for (; j >= width<T>; j -= width<T>) {
    T *const low = f + j - width<T> + 1, *const high = f + n - j;
    V cosines, sines;
    load_apart(pairs + 2 * (j - width<T>), cosines, sines);
    const V a = loadu<V>(low), b = reversed(loadu<V>(high)), e = a + b, g = T(2) * (a - b);
    const V products = g * cosines;
    for (int lane = static_cast<int>(width<T>); lane-- > 0;) first += products[lane];
    storeu(low, e - g * sines);
    storeu(high, reversed(e + g * sines));
  }
  for (; j > 0; --j) step(j);
  return first;
}

// Real parts are even terms, imaginary parts differences of odd ones.
template <class T> void sum_cosine(T *f, tnk_int n, T c) {
  if (n % 2 == 0) {
    f[n] = f[1];
    f[1] = c;
    for (tnk_int p = 3; p < n; p += 2) f[p] = c -= f[p];
  } else { // the spectrum stands one place lower
    T carried = f[1];
    f[1] = c;
    for (tnk_int p = 2; p < n; p += 2) {
      c -= f[p];
      f[p] = carried;
      carried = f[p + 1];
      f[p + 1] = c;
    }
  }
}

template <class T> tnk_int cosine(const Row<T> &row) {
  if (row.n() < shortest) return TNK_PDETT_DONE;
  const T first = fold_cosine(row.f, row.n(), row.tables);
  if (const tnk_int status = row.forward()) return status;
  sum_cosine(row.f, row.n(), first);
  return TNK_PDETT_DONE;
}

} // namespace
} // namespace tnk::pde

#define TNK_PDETT_WHOLE(p, T)                                                                                \
  void tnk_pdett_##p##ptk_dft_sin(T *f, DftiHandle *handle, tnk_int *ipar, T *tables, tnk_int *stat) {       \
    *stat = tnk::pde::sine<T>({f, handle, ipar, tables});                                                    \
  }                                                                                                          \
  void tnk_pdett_##p##ptk_dft_cos(T *f, DftiHandle *handle, tnk_int *ipar, T *tables, tnk_int *stat) {       \
    *stat = tnk::pde::cosine<T>({f, handle, ipar, tables});                                                  \
  }
TNK_PDETT_WHOLE(d, double)
TNK_PDETT_WHOLE(s, float)
