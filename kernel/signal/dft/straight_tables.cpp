// Straight-line transforms of up to 16 numbers, and their tables. An inverse transform is the forward one with its results
// in reverse but for the first.
#include "kernel/signal/dft/straight_tables.h"
#include "kernel/signal/dft/straight.h"
#include "kernel/signal/fft/small.h"
#include <tnk/signal_dft_stages.h>

namespace tnk::signal {
namespace {

constexpr bool is_power_of_two(int n) {
  return (n & (n - 1)) == 0;
}
// Where frequency k of a transform of N numbers goes.
template <int N, bool Inverse> constexpr int place(int k) {
  return Inverse ? (N - k) % N : k;
}

template <class R> using pair_vector = half<R>; // one pair of doubles; of floats the upper half stays empty

template <int N, bool Inverse, bool Scaled, class R>
void packed(R factor, const complex<R> *source, complex<R> *target) {
  const auto *const from = reinterpret_cast<const R *>(source);
  auto *const to = reinterpret_cast<R *>(target);
  if constexpr (is_power_of_two(N)) {
    small_transform<N, R, Scaled>(pairs<const R *, Inverse>{from}, pairs<R *, Inverse>{to}, factor);
  } else {
    pair_of<pair_vector<R>> x[N];
    unrolled<N>([&](auto j) TNK_INLINED { x[j] = {load_pair(from + 2 * j)}; });
    dft(x);
    unrolled<N>([&](auto k) TNK_INLINED {
      store_pair(to + 2 * place<N, Inverse>(k), Scaled ? (factor * x[k]).v : x[k].v);
    });
  }
}

template <int N, class R>
__attribute__((noinline)) void by_part(R factor, const R *re, const R *im, R *target_re, R *target_im) {
  const parts<const R *> source{re, im};
  const parts<R *> target{target_re, target_im};
  if constexpr (is_power_of_two(N)) {
    small_transform<N, R, true>(source, target, factor);
  } else {
    cvec<R> x[N];
    unrolled<N>([&](auto j) TNK_INLINED { x[j] = source.template load<R>(j); });
    dft(x);
    unrolled<N>([&](auto k) TNK_INLINED { target.template store<R>(k, factor * x[k]); });
  }
}

// Where the parts of frequency k stand in the Perm layout.
template <int N> constexpr int place_of_re(int k) {
  return k == 0 ? 0 : 2 * k == N ? 1 : 2 * k - N % 2;
}

template <int N, class R> __attribute__((noinline)) void real_forward(R factor, const R *source, R *target) {
  cvec<R> x[N];
  unrolled<N>([&](auto j) TNK_INLINED { x[j] = {source[j], 0}; });
  dft(x);
  unrolled<N / 2 + 1>([&](auto k) TNK_INLINED {
    const cvec<R> y = factor * x[k];
    target[place_of_re<N>(k)] = y.re;
    if constexpr (k > 0 && 2 * k < N) target[place_of_re<N>(k) + 1] = y.im;
  });
}
template <int N, class R> __attribute__((noinline)) void real_inverse(R factor, const R *source, R *target) {
  cvec<R> x[N];
  unrolled<N / 2 + 1>([&](auto k) TNK_INLINED {
    const R *const re = source + place_of_re<N>(k);
    if constexpr (k > 0 && 2 * k < N)
      x[k] = {re[0], re[1]}, x[N - k] = {re[0], -re[1]};
    else
      x[k] = {re[0], 0};
  });
  dft(x);
  unrolled<N>([&](auto j) TNK_INLINED { target[place<N, true>(j)] = factor * x[j].re; });
}

template <class R, bool Inverse, int N> constexpr StraightPacked<R> packed_forms() {
  return {[](const complex<R> *s, complex<R> *t) { packed<N, Inverse, false>(R(1), s, t); },
          packed<N, Inverse, true, R>};
}
// A factor of 1 costs a product and changes nothing.
template <class R, int N> constexpr StraightParts<R> parts_forms() {
  return {[](const R *re, const R *im, R *t_re, R *t_im) { by_part<N>(R(1), re, im, t_re, t_im); },
          by_part<N, R>};
}
template <class R, bool Inverse, int N> constexpr StraightReal<R> real_forms() {
  if constexpr (Inverse)
    return {[](const R *s, R *t) { real_inverse<N>(R(1), s, t); }, real_inverse<N, R>};
  else
    return {[](const R *s, R *t) { real_forward<N>(R(1), s, t); }, real_forward<N, R>};
}

} // namespace

// forms(1), forms(2), ... forms(16).
#define TNK_EACH(forms)                                                                                      \
  forms(1), forms(2), forms(3), forms(4), forms(5), forms(6), forms(7), forms(8), forms(9), forms(10),       \
      forms(11), forms(12), forms(13), forms(14), forms(15), forms(16)
#define TNK_FORWARD(n) packed_forms<R, false, n>()
#define TNK_INVERSE(n) packed_forms<R, true, n>()
#define TNK_PARTS(n) parts_forms<R, n>()
#define TNK_REAL_FORWARD(n) real_forms<R, false, n>()
#define TNK_REAL_INVERSE(n) real_forms<R, true, n>()
template <class R>
const StraightPacked<R> StraightTables<R>::packed[2][largest_straight] = {{TNK_EACH(TNK_FORWARD)},
                                                                          {TNK_EACH(TNK_INVERSE)}};
template <class R> const StraightParts<R> StraightTables<R>::parts[largest_straight] = {TNK_EACH(TNK_PARTS)};
template <class R>
const StraightReal<R> StraightTables<R>::real[2][largest_straight] = {{TNK_EACH(TNK_REAL_FORWARD)},
                                                                      {TNK_EACH(TNK_REAL_INVERSE)}};
template struct StraightTables<float>;
template struct StraightTables<double>;

} // namespace tnk::signal

#define TNK_STRAIGHT(direction, kind, n, C, R, inverse)                                                      \
  void e9_vpks_cDFT##direction##_##n##_##kind(const C *source, C *destination) {                             \
    tnk::signal::packed<n, inverse, false>(R(1), source, destination);                                       \
  }
#define TNK_STRAIGHT_OF(direction, kind, C, R, inverse)                                                      \
  TNK_STRAIGHT(direction, kind, 3, C, R, inverse)                                                            \
  TNK_STRAIGHT(direction, kind, 5, C, R, inverse)                                                            \
  TNK_STRAIGHT(direction, kind, 6, C, R, inverse)                                                            \
  TNK_STRAIGHT(direction, kind, 7, C, R, inverse)                                                            \
  TNK_STRAIGHT(direction, kind, 9, C, R, inverse)                                                            \
  TNK_STRAIGHT(direction, kind, 10, C, R, inverse)                                                           \
  TNK_STRAIGHT(direction, kind, 11, C, R, inverse)                                                           \
  TNK_STRAIGHT(direction, kind, 12, C, R, inverse)                                                           \
  TNK_STRAIGHT(direction, kind, 13, C, R, inverse)                                                           \
  TNK_STRAIGHT(direction, kind, 14, C, R, inverse)                                                           \
  TNK_STRAIGHT(direction, kind, 15, C, R, inverse)
TNK_STRAIGHT_OF(fwd, 64fc, tnk_complex16, double, false)
TNK_STRAIGHT_OF(inv, 64fc, tnk_complex16, double, true)
TNK_STRAIGHT_OF(fwd, 32fc, tnk_complex8, float, false)
TNK_STRAIGHT_OF(inv, 32fc, tnk_complex8, float, true)
