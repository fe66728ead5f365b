// Real kernels: N numbers as half as many complex ones, and what makes of their transform the lower half of the spectrum.
#include <tnk/dft_compute.h>

#include "kernel/dft/compact/compact.h"
#include "kernel/signal/numbers.h"

namespace tnk::dft::compact {
namespace {

// Of floats in the lower half of its vector.
template <class R, bool Inverse> using Number = signal::numbers<half<R>, Inverse>;

// The layout of a spectrum, as the node's format names it: frequency 0, that of the middle, and between the two, or behind
// both, the pairs of the others. CCS has a zero beside either of the two.
enum class Layout { ccs, pack, perm };

Layout layout_of(const DftiNode *node) {
  if (node->conjugate_even_storage == DftiComplexComplex) return Layout::ccs;
  switch (node->packed_format) {
  case DftiFormatPack:
    return Layout::pack;
  case DftiFormatPerm:
    return Layout::perm;
  default:
    return Layout::ccs;
  }
}

template <int N> inline int place_of_middle(Layout layout) {
  return layout == Layout::ccs ? N : layout == Layout::pack ? N - 1 : 1;
}

// Z, the transform of N/2 complex numbers, and X, the spectrum of N real ones, go over into one another by pairs of
// frequencies: with g = 1/2 + i exp(-2 pi i k / N) / 2,
//   X[k] = Z[k] - g (Z[k] - conj Z[N/2-k]),  conj X[N/2-k] = conj Z[N/2-k] + g (Z[k] - conj Z[N/2-k]),
// and back with conj g in the place of g. All of it stays in registers, or on the stack.
template <int N, class R, bool Inverse> inline TNK_INLINED void recombine(Number<R, Inverse> (&z)[N / 2]) {
  using X = Number<R, Inverse>;
  constexpr int M = N / 2;
  const auto doubled = [](X x) TNK_INLINED { return Inverse ? x + x : x; };
  unrolled<(M > 1 ? M / 2 - 1 : 0)>([&](auto i) TNK_INLINED {
    constexpr int k = i + 1;
    constexpr auto w = signal::root<R>(k, N);
    constexpr R half = Inverse ? R(1) : R(0.5); // backward gives 2 Z
    constexpr R re = half * (1 - w.im), im = (Inverse ? -half : half) * w.re;
    const X y = conjugate(z[M - k]), difference = z[k] - y;
    const X t{addsub(re * difference.v, im * swap_neighbours(difference.v))};
    z[k] = doubled(z[k]) - t;
    z[M - k] = conjugate(doubled(y) + t);
  });
  if constexpr (M > 1) z[M / 2] = doubled(conjugate(z[M / 2]));
}

template <int N, class R> inline tnk_int forward(void *source, void *destination, const DftiNode *node) {
  constexpr int M = N / 2;
  const R *const from = static_cast<const R *>(source);
  R *const to = static_cast<R *>(destination);
  const Layout layout = layout_of(node);
  Number<R, false> z[M];
  unrolled<M>([&](auto k) TNK_INLINED { z[k].v = load_pair(from + 2 * k); });
  transform_in_place(z);
  recombine<N, R, false>(z);

  R *const pairs = to + (layout == Layout::pack ? -1 : 0);
  unrolled<M - 1>([&](auto k) TNK_INLINED { store_pair(pairs + 2 * (k + 1), z[k + 1].v); });
  const R first = z[0].v[0] + z[0].v[1], middle = z[0].v[0] - z[0].v[1];
  put(to, first);
  put(to + place_of_middle<N>(layout), middle);
  if (layout == Layout::ccs) put(to + 1, R(0)), put(to + N + 1, R(0));
  apply_factor<R, false>(to, N + (layout == Layout::ccs), node);
  return DftiNoError;
}

// Rows of two and three dimensions come out of place where they fit a row of the result, in Perm, unless the node says that
// they stand in CCS.
Layout read_layout_of(const DftiNode *node) {
  const Layout layout = layout_of(node);
  const bool fitted = (node->committed_rank == 2 || node->committed_rank == 3) &&
                      node->placement == DftiNotInPlace && layout == Layout::ccs && node->real_layout == 0;
  return fitted ? Layout::perm : layout;
}

template <int N, class R> inline tnk_int backward(void *source, void *destination, const DftiNode *node) {
  constexpr int M = N / 2;
  const R *const from = static_cast<const R *>(source);
  R *const to = static_cast<R *>(destination);
  const Layout layout = read_layout_of(node);
  const R *const pairs = from + (layout == Layout::pack ? -1 : 0);
  Number<R, true> z[M];
  unrolled<M - 1>([&](auto k) TNK_INLINED { z[k + 1].v = load_pair(pairs + 2 * (k + 1)); });
  const R first = get(from), middle = get(from + place_of_middle<N>(layout));
  z[0].v = half<R>{first + middle, first - middle};
  recombine<N, R, true>(z);
  transform_in_place(z);
  unrolled<M>([&](auto k) TNK_INLINED { store_pair(to + 2 * k, z[k].v); });
  // What is left of the last pair, behind the result.
  if (node->packed_format == DftiFormatCcs && node->placement == DftiInPlace) put(to + N, R(0));
  apply_factor<R, true>(to, N, node);
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft::compact

using namespace tnk::dft::compact;

#define TNK_KERNELS(d, R, N)                                                                                 \
  tnk_int tnk_dft_x##d##_f##N##_1df(void *source, void *destination, DftiNode *node, void *) {               \
    return forward<N, R>(source, destination, node);                                                         \
  }                                                                                                          \
  tnk_int tnk_dft_x##d##_f##N##_1db(void *source, void *destination, DftiNode *node, void *) {               \
    return backward<N, R>(source, destination, node);                                                        \
  }
#define TNK_LENGTHS(d, R)                                                                                    \
  TNK_KERNELS(d, R, 2)                                                                                       \
  TNK_KERNELS(d, R, 4)                                                                                       \
  TNK_KERNELS(d, R, 8)                                                                                       \
  TNK_KERNELS(d, R, 16)                                                                                      \
  TNK_KERNELS(d, R, 32)                                                                                      \
  TNK_KERNELS(d, R, 64)
TNK_LENGTHS(s, float)
TNK_LENGTHS(d, double)
#undef TNK_LENGTHS
#undef TNK_KERNELS
