// Real kernels: N numbers as half as many complex ones, and what makes of their transform the lower half of the spectrum.
#include <tnk/dft_compute.h>

#include "kernel/dft/compact/compact.h"
#include "kernel/dft/compact/pairs.h"
#include "kernel/signal/fft/recombine.h"
#include "kernel/signal/fft/small.h"

namespace tnk::dft::compact {
namespace {

// The layout of a spectrum, as the node's format names it. Its pairs, of frequencies 1 to N/2 - 1, begin behind the first
// number, or behind the first and another one.
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

template <int N, class R, bool Inverse> inline TNK_INLINED void half_transform(const R *from, R *to) {
  if constexpr (N == 2)
    to[0] = from[0], to[1] = from[1];
  else if constexpr (N <= 8)
    transform_pairs<N / 2, R, Inverse>(from, to);
  else
    signal::small_transform<N / 2, R, false>(signal::pairs<const R *, Inverse>{from},
                                             signal::pairs<R *, Inverse>{to}, R(1));
}

template <int N, class R> inline tnk_int forward(void *source, void *destination, const DftiNode *node) {
  alignas(32) R z[N];
  half_transform<N, R, false>(static_cast<const R *>(source), z);
  const R *const constants = signal::constant_recombination<R, N>.value;
  const R first = z[0] + z[1], middle = z[0] - z[1];
  R *const to = static_cast<R *>(destination);
  const Layout layout = layout_of(node);
  if (layout == Layout::pack) {
    signal::recombine_pairs<R, false>(z, z, N / 2, constants);
    std::memcpy(to + 1, z + 2, (N - 2) * sizeof(R));
    to[0] = first, to[N - 1] = middle;
  } else {
    signal::recombine_pairs<R, false>(z, to, N / 2, constants);
    const bool ccs = layout == Layout::ccs;
    to[0] = first, to[1] = ccs ? R(0) : middle;
    if (ccs) to[N] = middle, to[N + 1] = 0;
  }
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
  alignas(32) R z[N];
  const R *from = static_cast<const R *>(source);
  const Layout layout = read_layout_of(node);
  const R first = from[0], middle = from[layout == Layout::ccs ? N : layout == Layout::pack ? N - 1 : 1];
  if (layout == Layout::pack) {
    std::memcpy(z + 2, from + 1, (N - 2) * sizeof(R));
    from = z;
  }
  signal::recombine_pairs<R, true>(from, z, N / 2, signal::constant_recombination<R, N>.value);
  z[0] = first + middle, z[1] = first - middle;
  R *const to = static_cast<R *>(destination);
  half_transform<N, R, true>(z, to);
  // What is left of the last pair, behind the result.
  if (node->packed_format == DftiFormatCcs && node->placement == DftiInPlace) to[N] = 0;
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
