#include "kernel/dft/small/many.h"
#include "kernel/dft/small/transform.h"
#include <tnk/dft_compute.h>

namespace tnk::dft {
namespace {

constexpr int longest_row = 16, longest_column = 32;
constexpr tnk_int one = sizeof(tnk_complex16);

// ---- Rows -------------------------------------------------------------------------------------------------------------------

// a and b to p and q.
template <int N, bool Inverse>
TNK_INLINE void two_rows(const double *a, const double *b, double *p, double *q, f64x4 factor) {
  numbers<f64x4, Inverse> x[N];
  unrolled<N>([&](auto k) TNK_INLINED { x[k].v = load_pairs(a + 2 * k, b + 2 * k); });
  tnk::dft::dft(x);
  unrolled<N>([&](auto k) TNK_INLINED {
    const numbers<f64x4, Inverse> y = factor * x[k];
    leave(p, k, lower(y)), leave(q, k, upper(y));
  });
}

// Odd lengths leave a part of their vectors empty when they are alone.
template <int N, bool Inverse>
void rows(const char *source, tnk_int source_distance, char *destination, tnk_int destination_distance,
          tnk_int count, const DftiNode *node) {
  const f64x4 factor = splat<f64x4>(factor_of<double, Inverse>(node));
  const auto from = [&](int i) { return reinterpret_cast<const double *>(source + i * source_distance); };
  const auto to = [&](int i) { return reinterpret_cast<double *>(destination + i * destination_distance); };
  if constexpr (N % 2 == 0) {
    const auto finish = [=](auto x) TNK_INLINED {
      if constexpr (sizeof x.v == sizeof factor)
        return factor * x;
      else
        return low_half(factor) * x;
    };
    for (; count > 0; --count, source += source_distance, destination += destination_distance)
      transform<N, Inverse>(from(0), to(0), finish);
  } else {
    double zeros[2 * N] = {}, ignored[2 * N];
    for (; count > 0; count -= 2, source += 2 * source_distance, destination += 2 * destination_distance)
      two_rows<N, Inverse>(from(0), count > 1 ? from(1) : zeros, to(0), count > 1 ? to(1) : ignored, factor);
  }
}

// ---- Columns ----------------------------------------------------------------------------------------------------------------

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
  constexpr tnk_int two = 2 * one;
  const f64x4 factor = splat<f64x4>(factor_of<double, Inverse>(node));
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
constexpr bool has_columns(int n) {
  constexpr int largest_prime = 13;
  for (int p = 2; p <= largest_prime; ++p)
    while (n % p == 0) n /= p;
  return n == 1;
}

// Eight lines of the cache that are 4096 bytes apart are all that a cache of this class has places for, and more of them
// the less they have in common.
bool fits_cache(tnk_int length, tnk_int stride) {
  constexpr tnk_int line = 64, sets = 64, ways = 8;
  if (stride % line != 0) return true;
  const tnk_int lines = stride / line, apart = lines & -lines;
  return length <= (apart == 0 || apart >= sets ? ways : ways * sets / apart);
}

// ---- By kernel ----------------------------------------------------------------------------------------------------------------

struct Pair {
  Many *forward, *inverse;
};
template <int... N> Pair rows_by_length(tnk_int length, std::integer_sequence<int, N...>) {
  static constexpr Pair pairs[] = {{rows<N + 2, false>, rows<N + 2, true>}...};
  return pairs[length - 2];
}
template <int N> constexpr Pair columns_pair() {
  if constexpr (has_columns(N))
    return {columns<N, false>, columns<N, true>};
  else
    return {nullptr, nullptr};
}
template <int... N> Pair columns_by_length(tnk_int length, std::integer_sequence<int, N...>) {
  static constexpr Pair pairs[] = {columns_pair<N + 2>()...};
  return pairs[length - 2];
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

// That one of the two which goes the kernel's direction.
Many *of_kernel(Pair pair, DftiKernel *kernel, tnk_int length) {
  const DftiKernelPair compact = compact_kernels(length);
  if (kernel == tnk_dft_zsmallradix_forward[length - 2] || kernel == compact.forward) return pair.forward;
  if (kernel == tnk_dft_zsmallradix_inverse[length - 2] || kernel == compact.inverse) return pair.inverse;
  return nullptr;
}

} // namespace

Many *rows_of(DftiKernel *kernel, tnk_int length) {
  if (length < 2 || length > longest_row) return nullptr;
  return of_kernel(rows_by_length(length, std::make_integer_sequence<int, longest_row - 1>()), kernel,
                   length);
}

Many *columns_of(DftiKernel *kernel, tnk_int length, tnk_int source_stride, tnk_int destination_stride) {
  if (length < 2 || length > longest_column || !fits_cache(length, source_stride) ||
      !fits_cache(length, destination_stride))
    return nullptr;
  return of_kernel(columns_by_length(length, std::make_integer_sequence<int, longest_column - 1>()), kernel,
                   length);
}

} // namespace tnk::dft
