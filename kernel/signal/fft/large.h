// Transforms from order 18 on. The numbers are brought into bit-reversed order by blocks of 32 stripes of 32, so that
// memory is read and written by the stripe. Then parts that fit the caches are transformed one by one, and columns of all
// parts are gathered into the buffer, combined there by several passes, and scattered.
#pragma once

#include "kernel/signal/fft/passes.h"
#include "kernel/signal/fft/spec.h"
#include "kernel/signal/fft/tables.h"
#include <tnk/signal_vector.h>

namespace tnk::signal {

// ---- How orders are cut, from order 9 on ------------------------------------------------------------------------
// tbl_blk_order: 2^b parts, 0 below order 18. tbl_buf_order: 2^u numbers in the buffer. A buffer of single precision has
// twice the numbers, the same bytes.

constexpr std::int32_t tbl_blk_order[22] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 5, 7, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8};
template <class R>
constexpr std::int32_t tbl_buf_order[22] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  10, 11,
                                            13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13};
template <>
inline constexpr std::int32_t tbl_buf_order<float>[22] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  11, 12,
                                                          14, 14, 14, 14, 14, 14, 14, 14, 14, 14, 14};
inline int block_order(int order) {
  return tbl_blk_order[order - 9];
}
template <class R> inline int buffer_order(int order) {
  return tbl_buf_order<R>[order - 9];
}

// The next pass while that many bits of the parts are to be combined: of four parts or of eight.
inline int log2_of_pass(int bits) {
  return bits == 2 || bits == 4 ? 2 : 3;
}

// Adds the bytes of the tables of an order from 18 on: those of its parts, then a number for each twiddle of the combining
// step; and takes the work that it needs. spec is that of the whole transform.
template <class R> void add_large_sizes(int order, tnk_int &spec, tnk_int &work);
// Fills those tables and that of the reversal, and notes in the record where they are. Returns the end.
template <class R>
R *fill_large_tables(fft_spec<R> &spec, std::int32_t *memory, int order, const QuarterWave<R> &wave,
                     bool by_part);

// ---- Stripes --------------------------------------------------------------------------------------------------

// `rows` stripes of `length` elements, each a row of `stride` elements further, to one another; and back. What is behind each
// stripe will be merged next, and is asked for: there are more stripes than the processor follows by itself.
template <class E>
void merge_stripes(const E *source, tnk_int stride, tnk_int rows, tnk_int length, E *buffer) {
  const tnk_int bytes = length * static_cast<tnk_int>(sizeof(E));
  for (; rows > 0; --rows, source += stride, buffer += length) {
    std::memcpy(buffer, source, static_cast<std::size_t>(bytes));
    const char *const behind = reinterpret_cast<const char *>(source + length);
    for (tnk_int i = 0; i < bytes; i += 64) __builtin_prefetch(behind + i);
  }
}
template <class E>
void split_stripes(const E *buffer, tnk_int rows, tnk_int length, E *destination, tnk_int stride) {
  for (; rows > 0; --rows, destination += stride, buffer += length)
    std::memcpy(destination, buffer, static_cast<std::size_t>(length) * sizeof(E));
}

// Elements change places by a list of pairs of offsets, 4 to the element.
template <class E> inline void swap_by_list(E *elements, const std::int32_t *swaps) {
  for (; swaps[0] != 0; swaps += 2) std::swap(elements[swaps[0] / 4], elements[swaps[1] / 4]);
}

// ---- Bit reversal -----------------------------------------------------------------------------------------------
// An index is 5 bits, a row, and 5 bits. What a row of blocks holds comes out reversed in the row of the reversed number.

constexpr int stripe_order = 5;
constexpr tnk_int stripe = 1 << stripe_order, block_elements = stripe * stripe;

// A block to its stripes in the destination: number 32 i + j goes to stripe rev(j), place rev(i).
template <class E> void split_reversed(const E *block, E *destination, tnk_int stride) {
  for (int row = 0; row < stripe; ++row, destination += stride) {
    const E *const column = block + reversed(row, stripe_order);
    unrolled<stripe>([&](auto i)
                         TNK_INLINED { destination[i] = column[reversed(i, stripe_order) * stripe]; });
  }
}

// table: that of fill_block_reversal. The buffer holds two blocks.
template <class E>
void reverse_by_blocks(const E *source, E *destination, int order, const std::int32_t *table, E *buffer) {
  const tnk_int rows = tnk_int(1) << (order - 2 * stripe_order), stride = rows * stripe;
  E *const other = buffer + block_elements;
  for (tnk_int row = 0; row < rows; ++row) {
    const tnk_int at = row * stripe, to = table[row];
    if (source == destination && at > to) continue; // has changed places with its partner
    merge_stripes(source + at, stride, stripe, stripe, buffer);
    if (source == destination && at < to) {
      merge_stripes(source + to, stride, stripe, stripe, other);
      split_reversed(other, destination + at, stride);
    }
    split_reversed(buffer, destination + to, stride);
  }
}

// ---- Arrays as a whole: what is done to pairs once is done to each part ---------------------------------------------

template <class R, bool Inverse>
void reverse_into(pairs<const R *, Inverse> source, pairs<R *, Inverse> destination, int order,
                  const std::int32_t *table, R *buffer) {
  using E = complex<R>;
  reverse_by_blocks(reinterpret_cast<const E *>(source.p), reinterpret_cast<E *>(destination.p), order, table,
                    reinterpret_cast<E *>(buffer));
}
template <class R>
void reverse_into(parts<const R *> source, parts<R *> destination, int order, const std::int32_t *table,
                  R *buffer) {
  reverse_by_blocks(source.re, destination.re, order, table, buffer);
  reverse_by_blocks(source.im, destination.im, order, table, buffer);
}

template <class R, bool Inverse>
void merge(pairs<R *, Inverse> data, tnk_int stride, tnk_int rows, tnk_int length,
           pairs<R *, Inverse> buffer) {
  merge_stripes(data.p, 2 * stride, rows, 2 * length, buffer.p);
}
template <class R>
void merge(parts<R *> data, tnk_int stride, tnk_int rows, tnk_int length, parts<R *> buffer) {
  merge_stripes(data.re, stride, rows, length, buffer.re);
  merge_stripes(data.im, stride, rows, length, buffer.im);
}
template <class R, bool Inverse>
void split(pairs<R *, Inverse> buffer, tnk_int rows, tnk_int length, pairs<R *, Inverse> data,
           tnk_int stride) {
  split_stripes(buffer.p, rows, 2 * length, data.p, 2 * stride);
}
template <class R>
void split(parts<R *> buffer, tnk_int rows, tnk_int length, parts<R *> data, tnk_int stride) {
  split_stripes(buffer.re, rows, length, data.re, stride);
  split_stripes(buffer.im, rows, length, data.im, stride);
}

inline void scale_numbers(double scale, double *data, tnk_int n) {
  e9_vpksMulC_64f_I(scale, data, static_cast<std::int32_t>(n));
}
inline void scale_numbers(float scale, float *data, tnk_int n) {
  e9_vpksMulC_32f_I(scale, data, static_cast<std::int32_t>(n));
}
template <class R, bool Inverse> void scale_array(R scale, pairs<R *, Inverse> data, tnk_int n) {
  scale_numbers(scale, data.p, 2 * n);
}
template <class R> void scale_array(R scale, parts<R *> data, tnk_int n) {
  scale_numbers(scale, data.re, n);
  scale_numbers(scale, data.im, n);
}

// An array of n numbers at that address.
template <class R, bool Inverse> pairs<R *, Inverse> array_at(R *p, tnk_int, pairs<R *, Inverse>) {
  return {p};
}
template <class R> parts<R *> array_at(R *p, tnk_int n, parts<R *>) {
  return {p, p + n};
}

// ---- Combining ----------------------------------------------------------------------------------------------------

// Combines each F = 2^log2_f neighbours of `part` numbers within n numbers. All groups meet the same twiddles.
template <class R, class Array>
void combine_all(int log2_f, Array data, tnk_int n, tnk_int part, const R *twiddles) {
  for (tnk_int at = 0; at < n; at += part << log2_f) combine<vec<R>>(log2_f, data, data, at, part, twiddles);
}

// Combines 2^b transforms into one of 2^order numbers, columns of all of them at a time.
template <class R, class Array> void combine_by_columns(Array data, int order, const R *twiddles, R *buffer) {
  const int b = block_order(order), u = buffer_order<R>(order);
  const tnk_int rows = tnk_int(1) << b, stride = tnk_int(1) << (order - b), columns = tnk_int(1) << (u - b);
  const Array inside = array_at(buffer, rows * columns, data);
  for (tnk_int c = 0; c < stride; c += columns) {
    merge(data.at(c), stride, rows, columns, inside);
    tnk_int part = columns;
    for (int bits = b; bits > 0;) {
      const int f = log2_of_pass(bits);
      combine_all(f, inside, rows * columns, part, twiddles);
      twiddles += 2 * (part << f) - 2 * part;
      part <<= f, bits -= f;
    }
    split(inside, rows, columns, data.at(c), stride);
  }
}

// A transform of 2^order numbers that are in bit-reversed order, in place. Step counts the combining steps above: order 27
// less its block order, twice, is an order below 18.
template <int Step, class R, class Array>
void block_step(Array data, int order, const fft_spec<R> &spec, bool scaled, R *buffer) {
  const int m = order - block_order(order);
  const tnk_int part = tnk_int(1) << m;
  for (tnk_int at = 0; at < tnk_int(1) << order; at += part) {
    if constexpr (Step == 0)
      if (m >= large_order) {
        block_step<1>(data.at(at), m, spec, scaled, buffer);
        continue;
      }
    transform_reversed(data.at(at), blocks<R>{buffer}, m, spec.twiddles);
    if (scaled) scale_array(spec.scale, data.at(at), part);
  }
  combine_by_columns(data, order, spec.blocks[Step], buffer);
}

template <class R, class Source, class Array>
void large_transform(Source source, Array destination, int order, const fft_spec<R> &spec, bool scaled,
                     R *buffer) {
  reverse_into(source, destination, order, spec.reversal, buffer);
  block_step<0>(destination, order, spec, scaled, buffer);
}

} // namespace tnk::signal
