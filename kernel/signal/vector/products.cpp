// Conjugates, products by element, and scaling.
#include "kernel/signal/vector/walk.h"

namespace tnk::signal {
namespace {

template <class R> R *parts(complex<R> *v) {
  return reinterpret_cast<R *>(v);
}
template <class R> const R *parts(const complex<R> *v) {
  return reinterpret_cast<const R *>(v);
}

// 1 for real parts, -1 for imaginary ones.
template <class V> inline V alternating() {
  V v{};
  for (unsigned i = 0; i < sizeof v / sizeof v[0]; ++i) v[i] = i % 2 == 0 ? 1 : -1;
  return v;
}

// destination := a b, or conj(a) b, of n complex numbers, given as 2 n values.
template <class R, bool Conj = false> void multiply(const R *a, const R *b, R *destination, tnk_int n) {
  along<R, true>(2 * n, [=](tnk_int i, auto width) {
    using V = decltype(width);
    using C = complex<R>;
    if constexpr (std::is_same_v<V, R>) {
      const C x = get(reinterpret_cast<const C *>(a + i)), y = get(reinterpret_cast<const C *>(b + i));
      put(reinterpret_cast<C *>(destination + i),
          C{Conj ? x.re * y.re + x.im * y.im : x.re * y.re - x.im * y.im,
            Conj ? x.re * y.im - x.im * y.re : x.re * y.im + x.im * y.re});
    } else {
      storeu(destination + i, times<C, Conj>(loadu<V>(a + i), loadu<V>(b + i)));
    }
  });
}

template <class R> int32_t conj(const complex<R> *source, complex<R> *destination, int32_t length) {
  if (const int32_t status = checked(length, source, destination)) return status;
  const R *const from = parts<R>(source);
  R *const to = parts<R>(destination);
  along<R, true>(2 * tnk_int{length}, [=](tnk_int i, auto width) {
    using V = decltype(width);
    if constexpr (std::is_same_v<V, R>) {
      const R re = from[i], im = from[i + 1];
      to[i] = re, to[i + 1] = -im;
    } else {
      storeu(to + i, alternating<V>() * loadu<V>(from + i));
    }
  });
  return TNK_SIGNAL_OK;
}

template <class R>
int32_t product(const complex<R> *a, const complex<R> *b, complex<R> *destination, int32_t length) {
  if (const int32_t status = checked(length, a, b, destination)) return status;
  multiply(parts<R>(a), parts<R>(b), parts<R>(destination), length);
  return TNK_SIGNAL_OK;
}

template <class R> int32_t scale(R value, R *result, int32_t length) {
  if (const int32_t status = checked(length, result)) return status;
  if (value == 1) return TNK_SIGNAL_OK;
  along<R>(length, [=](tnk_int i, auto width) {
    using V = decltype(width);
    storeu(result + i, value == 0 ? V{} : value * loadu<V>(result + i));
  });
  return TNK_SIGNAL_OK;
}

// Spectra of `length` real values, where `from` values stand ahead of the complex pairs. What is no pair is real.
template <class R, bool Conj> int32_t spectra(const R *source, R *result, int32_t length, int32_t from) {
  if (const int32_t status = checked(length, source, result)) return status;
  const int32_t pairs = (length - 1) / 2, after = from + 2 * pairs;
  for (int32_t i = 0; i < std::min(from, length); ++i) result[i] = source[i] * result[i];
  multiply<R, Conj>(source + from, result + from, result + from, pairs);
  for (int32_t i = after; i < length; ++i) result[i] = source[i] * result[i];
  return TNK_SIGNAL_OK;
}

} // namespace
} // namespace tnk::signal

int32_t e9_vpksConj_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t length) {
  return tnk::signal::conj<float>(source, destination, length);
}
int32_t e9_vpksConj_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t length) {
  return tnk::signal::conj<double>(source, destination, length);
}
int32_t e9_vpksMul_32fc(const tnk_complex8 *a, const tnk_complex8 *b, tnk_complex8 *destination,
                        int32_t length) {
  return tnk::signal::product<float>(a, b, destination, length);
}
int32_t e9_vpksMul_64fc(const tnk_complex16 *a, const tnk_complex16 *b, tnk_complex16 *destination,
                        int32_t length) {
  return tnk::signal::product<double>(a, b, destination, length);
}
int32_t e9_vpksMul_32fc_I(const tnk_complex8 *a, tnk_complex8 *result, int32_t length) {
  return tnk::signal::product<float>(a, result, result, length);
}
int32_t e9_vpksMul_64fc_I(const tnk_complex16 *a, tnk_complex16 *result, int32_t length) {
  return tnk::signal::product<double>(a, result, result, length);
}
void e9_ownsMul_64fc(const tnk_complex16 *a, const tnk_complex16 *b, tnk_complex16 *destination,
                     int32_t length) {
  tnk::signal::multiply(&a->re, &b->re, &destination->re, length);
}
int32_t e9_vpksMulC_32f_I(float value, float *result, int32_t length) {
  return tnk::signal::scale(value, result, length);
}
int32_t e9_vpksMulC_64f_I(double value, double *result, int32_t length) {
  return tnk::signal::scale(value, result, length);
}
int32_t e9_vpksMulPerm_64f_I(const double *source, double *result, int32_t length) {
  return tnk::signal::spectra<double, false>(source, result, length, length % 2 == 0 ? 2 : 1);
}
int32_t e9_vpksMulPackConj_32f_I(const float *source, float *result, int32_t length) {
  return tnk::signal::spectra<float, true>(source, result, length, 1);
}
