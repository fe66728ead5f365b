#include "kernel/dft/small/columns.h"
#include "kernel/dft/small/straight.h"
#include <tnk/dft_compute.h>

namespace tnk::dft {
namespace {

constexpr int longest = 32;

template <int N, bool Inverse>
__attribute__((noinline)) void two_columns(const char *source, tnk_int source_stride, char *destination,
                                           tnk_int destination_stride, f64x4 factor) {
  numbers<f64x4, Inverse> x[N];
  unrolled<N>([&](auto k) TNK_INLINED { x[k].v = loadu<f64x4>(source + k * source_stride); });
  tnk::dft::dft(x);
  unrolled<N>([&](auto k) TNK_INLINED { storeu(destination + k * destination_stride, factor * x[k].v); });
}

template <int N, bool Inverse>
void columns(const char *source, tnk_int source_stride, char *destination, tnk_int destination_stride,
             tnk_int count, const DftiNode *node) {
  constexpr tnk_int one = sizeof(tnk_complex16), two = 2 * one;
  const f64x4 factor = splat<f64x4>(Inverse ? node->backward_factor : node->forward_factor);
  for (; count >= 2; count -= 2, source += two, destination += two)
    two_columns<N, Inverse>(source, source_stride, destination, destination_stride, factor);
  if (count == 0) return;
  f64x4 alone[N] = {}; // beside zeros
  char *const room = reinterpret_cast<char *>(alone);
  for (int k = 0; k < N; ++k) std::memcpy(room + k * two, source + k * source_stride, one);
  two_columns<N, Inverse>(room, two, room, two, factor);
  for (int k = 0; k < N; ++k) std::memcpy(destination + k * destination_stride, room + k * two, one);
}

// Sums of large primes take so long that a copy does not count.
constexpr int largest_prime = 13;
constexpr bool is_served(int n) {
  for (int p = 2; p <= largest_prime; ++p)
    while (n % p == 0) n /= p;
  return n == 1;
}

struct Pair {
  Columns *forward, *inverse;
};
template <int N> constexpr Pair pair() {
  if constexpr (is_served(N))
    return {columns<N, false>, columns<N, true>};
  else
    return {nullptr, nullptr};
}
template <int... N> Pair pair_of(tnk_int length, std::integer_sequence<int, N...>) {
  static constexpr Pair pairs[] = {pair<N + 2>()...};
  return pairs[length - 2];
}

// Eight lines of the cache that are 4096 bytes apart are all that a cache of this class has places for, and more of them
// the less they have in common.
bool fits_cache(tnk_int length, tnk_int stride) {
  constexpr tnk_int line = 64, sets = 64, ways = 8;
  if (stride % line != 0) return true;
  const tnk_int lines = stride / line, apart = lines & -lines;
  return length <= (apart == 0 || apart >= sets ? ways : ways * sets / apart);
}

// Of the compact kernels that threading layers put into nodes, those that are the same transform in straight lines.
DftiKernelPair compact_kernels(tnk_int length) {
  switch (length) {
  case 2:
    return {tnk_dft_xz_f2_1df, tnk_dft_xz_f2_1db};
  case 4:
    return {tnk_dft_xz_f4_1df, tnk_dft_xz_f4_1db};
  case 8:
    return {tnk_dft_xz_f8_1df, tnk_dft_xz_f8_1db};
  case 32:
    return {tnk_dft_xz_f32_1df, tnk_dft_xz_f32_1db};
  default:
    return {nullptr, nullptr};
  }
}

} // namespace

Columns *columns_of(DftiKernel *kernel, tnk_int length, tnk_int source_stride, tnk_int destination_stride) {
  if (length < 2 || length > longest || !fits_cache(length, source_stride) ||
      !fits_cache(length, destination_stride))
    return nullptr;
  const Pair pair = pair_of(length, std::make_integer_sequence<int, longest - 1>());
  const DftiKernelPair compact = compact_kernels(length);
  if (kernel == tnk_dft_zsmallradix_forward[length - 2] || kernel == compact.forward) return pair.forward;
  if (kernel == tnk_dft_zsmallradix_inverse[length - 2] || kernel == compact.inverse) return pair.inverse;
  return nullptr;
}

} // namespace tnk::dft
