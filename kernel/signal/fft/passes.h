// The passes of a power-of-two transform of up to 2^17 numbers: decimation in time. The first one takes eight numbers an
// eighth of the length apart, and leaves their transforms side by side where bit reversal puts them; each later one
// combines eight or four neighbouring transforms into one of so many times the length.
//
// Between passes numbers stand in blocks (arrays.h). All passes work on whole registers: the first on columns, one
// transform a lane, turned into rows by transposes; the later ones along the transforms, where each lane meets a twiddle
// of its own. Twiddles are laid out as they are read: for each register of a combined transform, those of all its
// inputs but the first, a block each.
#pragma once

#include "kernel/signal/arrays.h"

namespace tnk::signal {

// y[0 ... F-1]: lanes are transforms. Stores them as rows: transform of lane l at position(l), its numbers in the order
// of the target.
template <int F, class V, class Source, class Position>
inline TNK_INLINED void store_rows(blocks<lane_of<V>> work, const cvec<V> (&y)[F], const Position &position) {
  constexpr int W = lanes<V>;
  unrolled<F / W>([&](auto q) TNK_INLINED {
    transposed<V>([&](auto l) TNK_INLINED { return y[q * W + Source::template element<V>(l)]; },
                  [&](auto j, cvec<V> z) TNK_INLINED { work.store(position(j) + q * W, z); });
  });
}

// Source in natural order, 2^order numbers. reversal[i] is twice the reversal of i in order - 2 bits.
template <int F, class V, class Source>
void first_pass(Source source, blocks<lane_of<V>> work, int order, const std::int32_t *reversal) {
  constexpr int W = lanes<V>;
  const tnk_int n = tnk_int(1) << order, columns = n / F;
  for (tnk_int c = 0; c < columns; c += W) {
    cvec<V> y[F];
    transform<F, V>([&](auto a) TNK_INLINED { return source.template load<V>(c + a * columns); },
                    [&](auto k, cvec<V> z) TNK_INLINED { y[k] = z; });
    const tnk_int group = reversal[c * F / 4] * tnk_int(F / 2);
    store_rows<F, V, Source>(work, y, [&](auto lane) TNK_INLINED {
      return group + reversed(Source::template element<V>(lane), log2_of(W)) * (n / W);
    });
  }
}

// The same of numbers that are in bit-reversed order already; work may be where they stand.
template <int F, class V, class Source>
void first_pass_in_place(Source source, blocks<lane_of<V>> work, tnk_int n) {
  constexpr int W = lanes<V>;
  for (tnk_int g = 0; g < n; g += W * F) {
    cvec<V> x[F], y[F];
    unrolled<F / W>([&](auto q) TNK_INLINED {
      transposed<V>([&](auto l) TNK_INLINED { return source.template load<V>(g + l * F + q * W); },
                    [&](auto j, cvec<V> z)
                        TNK_INLINED { x[reversed(q * W + Source::template element<V>(j), log2_of(F))] = z; });
    });
    transform<F, V>([&](auto a) TNK_INLINED { return x[a]; },
                    [&](auto k, cvec<V> z) TNK_INLINED { y[k] = z; });
    store_rows<F, V, Source>(work, y, [&](auto lane) TNK_INLINED { return g + lane * F; });
  }
}

// Combines F transforms of `part` numbers each, which stand one after the other from `at` on.
template <int F, class V, class Source, class Target>
inline TNK_INLINED void combine(Source source, Target target, tnk_int at, tnk_int part,
                                const lane_of<V> *twiddles) {
  constexpr int W = lanes<V>;
  for (tnk_int k = at; k < at + part; k += W, twiddles += 2 * W * (F - 1)) {
    const blocks<const lane_of<V>> w{twiddles};
    transform<F, V>(
        [&](auto j) TNK_INLINED {
          const cvec<V> z = source.template load<V>(k + reversed(j, log2_of(F)) * part);
          if constexpr (j == 0)
            return z;
          else
            return w.template load<V>((j - 1) * W) * z;
        },
        [&](auto m, cvec<V> z) TNK_INLINED { target.store(k + m * part, z); });
  }
}

template <class V, class Source, class Target>
void combine(int log2_f, Source source, Target target, tnk_int at, tnk_int part, const lane_of<V> *twiddles) {
  if (log2_f == 3)
    combine<8, V>(source, target, at, part, twiddles);
  else
    combine<4, V>(source, target, at, part, twiddles);
}

// How an order is cut into passes: eights first, then one or two fours where it is no multiple of three. Both keep their
// numbers in registers; passes of sixteen wait for the stack.
struct Passes {
  int count;
  tnk_int length[7]; // of the transforms after each pass, the first one's first

  explicit constexpr Passes(int order) : count((order + 2) / 3), length() {
    const int fours = (3 - order % 3) % 3;
    for (int i = 0, reached = 0; i < count; ++i) {
      reached += i < count - fours ? 3 : 2;
      length[i] = tnk_int(1) << reached;
    }
  }
  constexpr int log2_of_factor(int i) const { return length[i] == 8 * length[i - 1] ? 3 : 2; }
};

// All passes after the first, but for the last one: what lies in the first cache is combined as far as it goes before
// the next part is touched.
constexpr int cached_order = 10;

// twiddles: of each pass.
template <class R>
void middle_passes(const Passes &passes, int last, blocks<R> work, tnk_int at, const R *const *twiddles) {
  if (last == 0) return;
  const tnk_int whole = passes.length[last], part = passes.length[last - 1];
  if (whole > tnk_int(1) << cached_order) {
    for (tnk_int s = 0; s < whole; s += part) middle_passes(passes, last - 1, work, at + s, twiddles);
    combine<vec<R>>(passes.log2_of_factor(last), work, work, at, part, twiddles[last]);
    return;
  }
  for (int i = 1; i <= last; ++i)
    for (tnk_int s = 0; s < whole; s += passes.length[i])
      combine<vec<R>>(passes.log2_of_factor(i), work, work, at + s, passes.length[i - 1], twiddles[i]);
}

// The passes after the first.
template <class R, class Target> void later_passes(int order, blocks<R> work, Target target, const R *table) {
  const Passes passes(order);
  const R *twiddles[7] = {};
  for (int i = 1; i < passes.count; ++i) {
    twiddles[i] = table;
    table += 2 * (passes.length[i] - passes.length[i - 1]);
  }
  const int last = passes.count - 1;
  const tnk_int n = passes.length[last], part = passes.length[last - 1];
  for (tnk_int s = 0; s < n; s += part) middle_passes(passes, last - 1, work, s, twiddles);
  combine<vec<R>>(passes.log2_of_factor(last), work, target, 0, part, twiddles[last]);
}

// Source in natural order to target; work is neither the source nor overlaps with it. It may be where the target is.
template <class R, class Source, class Target>
void transform_through(Source source, Target target, blocks<R> work, int order, const R *table,
                       const std::int32_t *reversal) {
  first_pass<8, vec<R>>(source, work, order, reversal);
  later_passes(order, work, target, table);
}

// Numbers in bit-reversed order, in place; work holds as many blocks, and is where they are or elsewhere.
template <class R, class Array>
void transform_reversed(Array data, blocks<R> work, int order, const R *table) {
  first_pass_in_place<8, vec<R>>(data, work, tnk_int(1) << order);
  later_passes(order, work, data, table);
}

} // namespace tnk::signal
