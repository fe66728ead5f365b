// How a convolution is cut for transforms: which length they have, and how many outputs each of them yields.
//
// One dimension, an operand of m elements against one of n, of which the outputs first ... last are wanted. A transform of
// length L serves those outputs a ... b for which
//
//   max(0, a - m + 1)   is the first element of the longer operand that they meet, and becomes number 0,
//   L >= b + 1 - that   keeps what is wanted from running around the end,
//   L >= hi + m - a     keeps what runs around it away from what is wanted, hi being the last element that they meet,
//
// so n + m - 1 for all outputs, and b - a + m in the middle of a long operand. In several dimensions each has its own
// length, and blocks form a grid.
#pragma once

#include "kernel/conv/operands.h"

namespace tnk::conv {

// More elements than this have no place in a transform: the shorter operand then goes piece by piece as well. Far below
// the limits of the transforms, it keeps a block within a few hundred megabytes.
constexpr int64_t most_elements = int64_t{1} << 25;

struct Axis {
  int64_t m, n, first, step, outputs; // operands, and outputs first, first + step, ...
  int64_t piece;                      // elements of the shorter operand at a time
  int64_t length;                     // of the transform
  int64_t block, blocks;              // outputs of one transform, and how many it takes

  int64_t pieces() const { return (m + piece - 1) / piece; }
  // What becomes number 0 of the longer operand, for outputs from `position` on and a piece that begins at `offset`.
  // Pieces, whose products are added up, have to have it at the same place, inside the operand or not.
  int64_t origin(int64_t position, int64_t offset) const {
    const int64_t origin = position - offset - piece + 1;
    return pieces() > 1 ? origin : std::max<int64_t>(origin, 0);
  }
  // The shortest length that serves all outputs.
  int64_t whole() const {
    const int64_t last = first + (outputs - 1) * step;
    if (pieces() > 1) return last - first + piece;
    return std::max({last + 1 - origin(first, 0), std::min(n - 1, last) + m - first, m});
  }
  void use(int64_t transform) {
    length = transform;
    block = length >= whole() ? outputs : std::min(outputs, (length - piece) / step + 1);
    blocks = (outputs + block - 1) / block;
  }
};

struct Blocks {
  int dims;
  Axis axis[TNK_CONV_MOST_DIMS];

  int64_t transform() const {
    return product([](const Axis &a) { return a.length; });
  }
  int64_t blocks() const {
    return product([](const Axis &a) { return a.blocks; });
  }
  int64_t pieces() const {
    return product([](const Axis &a) { return a.pieces(); });
  }

private:
  template <class F> int64_t product(const F &of) const {
    int64_t result = 1;
    for (int k = 0; k < dims; ++k) result *= of(axis[k]);
    return result;
  }
};

// Lengths that transforms do fast, powers of two and small odd multiples of them: f(length) for those from `least` up to
// the power of two that is not below `enough`, which comes last.
template <class F> void each_fast_length(int64_t least, int64_t enough, const F &f) {
  int64_t top = 2;
  while (top < enough) top *= 2;
  for (const int factor : {15, 9, 5, 3, 1})
    for (int64_t length = factor; length <= top; length *= 2)
      if (length >= std::max<int64_t>(least, 2)) f(length);
}

// What a convolution in these blocks costs, in nanoseconds of one core as measured with transforms of doubles: relative
// numbers are all that counts. A transform is set up for each convolution, which costs as much as several of it; a long
// one touches memory that the process does not have yet, which costs more than the arithmetic.
inline double cost_of(const Blocks &blocks) {
  constexpr double power = 0.10, other = 0.14, other_long = 0.20; // a point and doubling of the length
  constexpr double setup_power = 5, setup_other = 12, setup_long = 30, passes = 2; // a point
  constexpr int64_t is_long = 40000, beyond_cache = 1 << 17;
  double setup = 0, transform = 0, count = 1, size = 1;
  for (int k = 0; k < blocks.dims; ++k) {
    const int64_t length = blocks.axis[k].length;
    const bool is_power = (length & (length - 1)) == 0;
    const int exponent = 63 - __builtin_clzll(static_cast<unsigned long long>(length));
    const double points = static_cast<double>(length),
                 logarithm = exponent + points / static_cast<double>(int64_t{1} << exponent) - 1;
    setup += (is_power ? setup_power : setup_other) * points;
    transform += (is_power ? power : length < is_long ? other : other_long) * logarithm;
    count *= static_cast<double>(blocks.axis[k].blocks);
    size *= points;
  }
  transform *= size;
  if (size > is_long) setup += setup_long * size;
  if (blocks.dims > 1 && size > beyond_cache) transform *= 2;
  const double too_long = size > static_cast<double>(most_elements) ? 1e3 : 1;
  return too_long * (setup + transform + count * (2 * transform + passes * size));
}

// Fills in pieces, lengths and blocks.
inline void choose_blocks(Blocks &blocks) {
  const auto pieces_fit = [&] {
    double size = 1;
    for (int k = 0; k < blocks.dims; ++k) size *= 2 * static_cast<double>(blocks.axis[k].piece);
    return size <= static_cast<double>(most_elements);
  };
  Axis *const axis = blocks.axis, *const end = axis + blocks.dims;
  for (Axis *a = axis; a != end; ++a) a->piece = a->m;
  while (!pieces_fit()) {
    Axis *longest =
        std::max_element(axis, end, [](const Axis &a, const Axis &b) { return a.piece < b.piece; });
    longest->piece = (longest->piece + 1) / 2;
  }
  for (Axis *a = axis; a != end; ++a) {
    const int64_t whole = a->whole();
    each_fast_length(whole, whole, [&](int64_t length) { a->use(length); });
  }
  // One dimension after the other, twice, since the best length of one depends on the others'.
  double best = cost_of(blocks);
  for (int sweep = 0; sweep < (blocks.dims > 1 ? 2 : 1); ++sweep)
    for (Axis *a = axis; a != end; ++a) {
      int64_t chosen = a->length;
      each_fast_length(a->piece, a->whole(), [&](int64_t length) {
        a->use(length);
        const double cost = cost_of(blocks);
        if (cost < best) best = cost, chosen = length;
      });
      a->use(chosen);
    }
}

} // namespace tnk::conv
