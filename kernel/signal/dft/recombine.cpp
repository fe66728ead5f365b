// Real spectra from complex ones, and back.
#include "kernel/signal/dft/recombine.h"

namespace tnk::signal {
namespace {

// u of each frequency: `scale` times (im, -re) or its conjugate.
template <class R> R *new_factors(int32_t length, const complex<R> *base, int32_t n, R scale, R sign) {
  const int32_t h = length / 2, step = n / length;
  R *const table = new_table<R>(h + 2), *p = table;
  if (!table) return nullptr;
  by_opposites<R>(
      h,
      [&](int32_t k) {
        for (int32_t lane = 0; lane < per_vector<R>; ++lane) {
          const complex<R> w = base[(k + packed_order<vec<R>>[lane]) * step];
          p[lane] = scale * w.im, p[per_vector<R> + lane] = -sign * scale * w.re;
        }
        p += 2 * per_vector<R>;
      },
      [&](int32_t k) {
        p[0] = scale * base[k * step].im, p[1] = -sign * scale * base[k * step].re;
        p += 2;
      });
  return table;
}

inline f64x4 reversed(f64x4 v) {
  return swap_halves(swap_neighbours(v));
}
inline f32x8 reversed(f32x8 v) {
  return swap_halves(f32x8(_mm256_permute_ps(v, _MM_SHUFFLE(0, 1, 2, 3))));
}
inline float reversed(float x) {
  return x;
}
inline double reversed(double x) {
  return x;
}
template <class V> inline cvec<V> opposite(cvec<V> z) {
  return {reversed(z.re), V{} - reversed(z.im)};
}

// The order of the lanes in which pairs are loaded is its own mirror image, so reversing a register is reversing lanes.
template <bool Forward, class V, class R>
inline void recombine(pairs<R *, false> z, int32_t h, int32_t k, const R *u) {
  const int32_t other = h - k - lanes<V> + 1;
  const cvec<V> a = z.template load<V>(k), b = opposite(z.template load<V>(other)), sum = a + b,
                turn = load_parts<V>(u, u + lanes<V>) * (a - b);
  const cvec<V> middle = Forward ? R(0.5) * sum : sum;
  z.template store<V>(k, middle + turn);
  z.template store<V>(other, opposite(middle - turn));
}

template <bool Forward, class R> void recombine_all(R *data, int32_t length, const R *factors) {
  const int32_t h = length / 2;
  const pairs<R *, false> z{data};
  const R a = data[0], b = data[1];
  data[0] = a + b, data[1] = a - b;
  by_opposites<R>(
      h,
      [&](int32_t k) {
        recombine<Forward, vec<R>>(z, h, k, factors);
        factors += 2 * per_vector<R>;
      },
      [&](int32_t k) {
        recombine<Forward, R>(z, h, k, factors);
        factors += 2;
      });
}

} // namespace

template <class R> R *new_forward_recombination(int32_t length, const complex<R> *base, int32_t n) {
  return new_factors(length, base, n, R(0.5), R(1));
}
template <class R> R *new_inverse_recombination(int32_t length, const complex<R> *base, int32_t n) {
  return new_factors(length, base, n, R(1), R(-1));
}
template <class R> void recombine_forward(R *data, int32_t length, const R *factors) {
  recombine_all<true>(data, length, factors);
}
template <class R> void recombine_inverse(R *data, int32_t length, const R *factors) {
  recombine_all<false>(data, length, factors);
}

#define TNK_INSTANCES(R)                                                                                     \
  template R *new_forward_recombination(int32_t, const complex<R> *, int32_t);                               \
  template R *new_inverse_recombination(int32_t, const complex<R> *, int32_t);                               \
  template void recombine_forward(R *, int32_t, const R *);                                                  \
  template void recombine_inverse(R *, int32_t, const R *);
TNK_INSTANCES(float)
TNK_INSTANCES(double)

} // namespace tnk::signal
