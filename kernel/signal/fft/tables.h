// The tables of a power-of-two transform.
#pragma once

#include "kernel/signal/fft/passes.h"
#include <tnk/signal_fft.h>

namespace tnk::signal {

// A quarter of a wave: sines of 2 pi i / 2^order, i from 0 to 2^order / 4.
template <class R> struct QuarterWave {
  const R *sine;
  int order;

  // exp(-2 pi i k / 2^o), o at most the order.
  cvec<R> root(tnk_int k, int o) const {
    const tnk_int quarter = tnk_int(1) << order >> 2, i = k << (order - o) & (4 * quarter - 1);
    const tnk_int rest = i & (quarter - 1);
    const R s = sine[rest], c = sine[quarter - rest];
    switch (i / quarter) {
    case 0:
      return {c, -s};
    case 1:
      return {-s, -c};
    case 2:
      return {-c, s};
    default:
      return {s, c};
    }
  }
};

// The order of the fixed tables, which serve all smaller ones.
constexpr int fixed_order = 10;
template <class R> inline const R *fixed_table() {
  if constexpr (std::is_same_v<R, float>)
    return fft_fix_twiddle_table_32f;
  else
    return fft_fix_twiddle_table_64f;
}

template <class R> void fill_quarter_wave(R *table, int order);

// reversal[i] := 2 rev(i) in order - 2 bits, then a zero. Returns the 32-byte boundary behind.
std::int32_t *fill_reversal(std::int32_t *table, int order);
// Pairs (4 i, 4 rev(i)) with i below rev(i) and a zero; 4 i of those that are their own reversal, but for 0, from the
// back, and a zero before them: 2^order + 1 entries.
void fill_swaps(std::int32_t *table, int order);
// Of the reversal by blocks of 2^k rows by 2^k columns: 32 rev(i) for 2^(order - 2 k) rows, then the swaps within a block.
std::int32_t *fill_block_reversal(std::int32_t *table, int order, int k);

// Twiddles of one pass that combines F = 2^log2_f parts into 2^order numbers, for the numbers first ... first + count - 1
// of the parts. Returns the end.
template <class R>
R *fill_pass(R *table, int log2_f, int order, tnk_int first, tnk_int count, const QuarterWave<R> &wave,
             bool by_part) {
  using V = vec<R>;
  for (tnk_int k = first; k < first + count; k += lanes<V>)
    for (int j = 1; j < 1 << log2_f; ++j, table += 2 * lanes<V>)
      for (int lane = 0; lane < lanes<V>; ++lane) {
        const cvec<R> w = wave.root(j * (k + (by_part ? lane : packed_order<V>[lane])), order);
        table[lane] = w.re, table[lane + lanes<V>] = w.im;
      }
  return table;
}

// Twiddles of all passes of an in-cache transform of that order.
template <class R> R *fill_passes(R *table, int order, const QuarterWave<R> &wave, bool by_part) {
  const Passes passes(order);
  for (int i = 1; i < passes.count; ++i)
    table = fill_pass(table, passes.log2_of_factor(i), log2_of(static_cast<int>(passes.length[i])), 0,
                      passes.length[i - 1], wave, by_part);
  return table;
}

} // namespace tnk::signal
