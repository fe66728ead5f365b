#include "kernel/signal/fft/tables.h"

#include "kernel/signal/fft/spec.h"

namespace tnk::signal {
namespace {

// What follows i when bits are counted from the other end.
std::uint32_t next_reversed(std::uint32_t i, int bits) {
  std::uint32_t bit = 1u << bits >> 1;
  while (i & bit) i ^= bit, bit >>= 1;
  return i | bit;
}

} // namespace

template <class R> void fill_quarter_wave(R *table, int order) {
  const tnk_int quarter = tnk_int(1) << order >> 2, eighth = quarter / 2;
  const double step = static_cast<double>(pi) / static_cast<double>(2 * quarter);
  // The sine of small angles has the smaller error; beyond an eighth it is the cosine of what is left to a quarter.
  for (tnk_int i = 0; i <= quarter; ++i)
    table[i] = static_cast<R>(i <= eighth ? std::sin(step * static_cast<double>(i))
                                          : std::cos(step * static_cast<double>(quarter - i)));
}
template void fill_quarter_wave(float *, int);
template void fill_quarter_wave(double *, int);

std::int32_t *fill_reversal(std::int32_t *table, int order) {
  const std::int32_t count = std::int32_t(1) << order >> 2;
  std::uint32_t reversed = 0;
  for (std::int32_t i = 0; i < count; ++i, reversed = next_reversed(reversed, order - 2))
    table[i] = static_cast<std::int32_t>(2 * reversed);
  table[count] = 0;
  return aligned_to_32(table + count + 1);
}

void fill_swaps(std::int32_t *table, int order) {
  const std::uint32_t count = 1u << order;
  std::int32_t *own = table + count; // the last entry
  std::uint32_t reversed = 0;
  for (std::uint32_t i = 0; i < count; ++i, reversed = next_reversed(reversed, order)) {
    if (i < reversed) {
      *table++ = static_cast<std::int32_t>(4 * i);
      *table++ = static_cast<std::int32_t>(4 * reversed);
    } else if (i == reversed && i > 0) {
      *own-- = static_cast<std::int32_t>(4 * i);
    }
  }
  *table = *own = 0;
}

std::int32_t *fill_block_reversal(std::int32_t *table, int order, int k) {
  const int bits = order - 2 * k;
  std::uint32_t reversed = 0;
  for (std::int32_t i = 0; i < 1 << bits; ++i, reversed = next_reversed(reversed, bits))
    *table++ = static_cast<std::int32_t>(reversed << k);
  fill_swaps(table, 2 * k);
  return aligned_to_32(table + (1 << 2 * k) + 1);
}

} // namespace tnk::signal
