// The record of a transform of any length, and what fills it.
#pragma once

#include "kernel/signal/arrays.h"
#include <tnk/signal_vector.h>

namespace tnk::signal {

// Kinds of data, as transforms check them.
enum DftTag : int32_t {
  dft_packed_single = 13,
  dft_parts_single = 14,
  dft_real_single = 15,
  dft_packed_double = 16,
  dft_parts_double = 17,
  dft_real_double = 18,
  dft_any_order_single = 0x434D414A,
  dft_any_order_double = 0x434D414B
};

constexpr int32_t largest_straight = 16;       // straight-line transforms
constexpr int32_t largest_direct = 90;         // sums by definition; also the largest odd factor
constexpr int32_t largest_even_cofactor = 150; // what may be left of an even length
constexpr int32_t largest_length = 0x3FFFFFF;  // but for powers of two
constexpr int32_t largest_convolved = 0x1FFFFFF;
constexpr int32_t largest_straight_factor = 13; // odd factors above it are summed by definition
constexpr int32_t first_left_unordered = 5001;  // shorter ones have their factors arranged, and run in order
constexpr int32_t first_depth_first = 501;      // shorter ones stay in the first-level cache

// A factor f of the length N, where `before` is the product of those ahead of it: it combines f transforms of
// `remaining` = N / (before f) numbers, `before` times. The last entry is the cofactor, whose transforms come first; it has
// no twiddles.
template <class R> struct DftFactor {
  int32_t factor, remaining, before, blocks;
  R *direct, *twiddles;
};

constexpr int32_t most_factors = 32; // threes in 2^26, a two, a cofactor

template <class R> struct DftSpec {
  int32_t tag, length;
  int32_t forward_scaled, inverse_scaled;
  R scale;
  int32_t hint, buffer_size;
  int32_t is_power_of_two, is_any_order;
  int32_t convolution_length;
  R *direct;
  R *forward_recombination, *inverse_recombination;
  complex<R> *chirp, *spectrum;
  void *fft;
  DftSpec *convolution;
  int32_t has_factors, last_factor;
  int32_t *order;
  DftFactor<R> factors[most_factors];
};

// ---- Memory -------------------------------------------------------------------------------------------------------

// `count` elements, or null; also where the bytes do not fit 32 bits.
template <class T> T *new_table(std::int64_t count) {
  const std::int64_t bytes = count * static_cast<std::int64_t>(sizeof(T));
  return bytes > std::numeric_limits<int32_t>::max()
             ? nullptr
             : reinterpret_cast<T *>(e9_vpksMalloc_8u(static_cast<int32_t>(bytes)));
}

// A block that goes back at the end of the scope.
template <class T> struct Scoped {
  T *p;
  ~Scoped() { e9_vpksFree(p); }
};

constexpr int32_t boundary = 32;

template <int32_t Bytes = boundary, class T> inline T *aligned_up(T *p) {
  char *const bytes = reinterpret_cast<char *>(p);
  return reinterpret_cast<T *>(bytes + (0 - address(p)) % Bytes);
}

// ---- Tables ---------------------------------------------------------------------------------------------------------
// What they return is null, and what they fill is TNK_SIGNAL_NO_MEMORY, where there is none.

// exp(-2 pi i k / n), k from 0 to n - 1.
template <class R> complex<R> *new_base_table(int32_t n);

// Of an odd transform summed by definition, f = 2 h + 1: row by row from 1 to h, register by register, the cosines and
// then the sines of 2 pi row column / f for columns from 1 to h, padded with zeros to whole registers.
template <class R> constexpr int32_t direct_row(int32_t f) {
  return (f / 2 + per_vector<R> - 1) / per_vector<R> * 2 * per_vector<R>;
}
template <class R> R *new_direct_table(int32_t f, const complex<R> *base, int32_t n);

// Factors `length` into the list; whether the factors are small enough to serve.
template <class R> bool find_factors(DftSpec<R> &spec, int32_t length);
// Arranges the factors and makes their tables, from a base table of n values, n a multiple of length.
template <class R> int32_t init_factors(DftSpec<R> &spec, int32_t length, const complex<R> *base, int32_t n);
template <class R>
int32_t init_convolution(DftSpec<R> &spec, int32_t length, const complex<R> *base, int32_t n);

} // namespace tnk::signal
