// The passes of a transform by factors, decimation in time. The first one takes the numbers of each transform of the
// cofactor from where they stand apart in the source, a transform in each lane, and leaves the results side by side; each
// later one combines neighbouring transforms, with the lanes along them. All are forward: accessors of an inverse transform
// exchange the parts of what they load and store.
//
// Where a part of a transform is no multiple of a register, registers of half the size come last, and of the very last
// one perhaps only some lanes count.
#pragma once

#include "kernel/signal/dft/lanes.h"

namespace tnk::signal {

// ---- Left-overs -----------------------------------------------------------------------------------------------------

// A block of `size` numbers in memory that is given for it, for a pass to read or to write.
template <class R, bool Inverse> pairs<R *, Inverse> block_like(pairs<R *, Inverse>, R *memory, tnk_int) {
  return {memory};
}
template <class R> parts<R *> block_like(parts<R *>, R *memory, tnk_int size) {
  return {memory, memory + size};
}

template <class P, bool Inverse> inline pairs<const P *, Inverse> as_source(pairs<P *, Inverse> a) {
  return {a.p};
}
template <class P> inline parts<const P *> as_source(parts<P *> a) {
  return {a.re, a.im};
}

// Whether two arrays are one, if only by halves.
template <class P, bool Inverse, class Q, bool Other> bool are_one(pairs<P, Inverse> a, pairs<Q, Other> b) {
  return a.p == b.p;
}
template <class P, class Q> bool are_one(parts<P> a, parts<Q> b) {
  return a.re == b.re || a.im == b.im || a.re == b.im || a.im == b.re;
}

// `count` numbers from the begin of one array to place `to` of the other.
template <class R, bool Inverse>
inline void copy_numbers(pairs<const R *, Inverse> source, pairs<R *, Inverse> target, tnk_int to,
                         tnk_int count) {
  for (tnk_int k = 0; k < count; ++k) store_pair(target.p + 2 * (to + k), load_pair(source.p + 2 * k));
}
template <class R>
inline void copy_numbers(parts<const R *> source, parts<R *> target, tnk_int to, tnk_int count) {
  for (tnk_int k = 0; k < count; ++k)
    put(target.re + to + k, get(source.re + k)), put(target.im + to + k, get(source.im + k));
}

// ---- Sums by definition ---------------------------------------------------------------------------------------------

// A transform of f = 2 h + 1 numbers in each lane: sums and differences of opposite numbers go to scratch, 2 h registers
// of two parts, then each pair of results takes two rows of products. load(j) gives number j, store(q, z) takes result q;
// nothing is stored before everything is loaded.
template <class V, class R, class Load, class Store>
inline TNK_INLINED void direct(int32_t f, const R *table, R *scratch, const Load &load_number,
                               const Store &store) {
  const int32_t h = f / 2, row = direct_row<R>(f);
  auto *const opposites = reinterpret_cast<cvec<V> *>(scratch);
  const cvec<V> first = load_number(0);
  cvec<V> total = first;
  for (int32_t j = 1; j <= h; ++j) {
    const cvec<V> a = load_number(j), b = load_number(f - j), sum = a + b;
    opposites[2 * j - 2] = sum, opposites[2 * j - 1] = a - b;
    total = total + sum;
  }
  store(0, total);
  for (int32_t q = 1; q <= h; ++q, table += row) {
    cvec<V> even = first, odd{};
    for (int32_t j = 0; j < h; ++j) {
      const R *const w = table + j / per_vector<R> * 2 * per_vector<R> + j % per_vector<R>;
      even = even + w[0] * opposites[2 * j];
      odd = odd + w[per_vector<R>] * opposites[2 * j + 1];
    }
    store(q, minus_i(even, odd));
    store(f - q, plus_i(even, odd));
  }
}

// ---- Registers of transforms ----------------------------------------------------------------------------------------
// C and F are the length of a transform if it is known when compiled, and 0 for an odd one that is summed.

// `registers` registers of transforms of the cofactor: transform b takes the numbers order[b] + t apart and leaves them at
// at + c b + q.
template <int C, class R, class Source, class Target>
__attribute__((noinline)) void cofactor_registers(int32_t c, Source source, Target target, tnk_int at,
                                                  const int32_t *order, tnk_int apart, tnk_int registers,
                                                  const R *table, R *scratch) {
  using V = vec<R>;
  for (; registers > 0; --registers, order += lanes<V>, at += c * lanes<V>) {
    const auto number = [&](tnk_int t) TNK_INLINED { return gather<V>(source, order, t * apart); };
    const auto result = [&](tnk_int q, cvec<V> z)
                            TNK_INLINED { scatter<V>(target, at + q, C == 0 ? c : C, z); };
    if constexpr (C == 0) {
      direct<V>(c, table, scratch, number, result);
    } else {
      cvec<V> x[C];
      unrolled<C>([&](auto t) TNK_INLINED { x[t] = number(t); });
      dft(x);
      unrolled<C>([&](auto q) TNK_INLINED { result(q, x[q]); });
    }
  }
}

// Joining: f transforms become one, their numbers turned on the way in. Splitting undoes that, in an inverse transform, or
// is the first step of a transform by decimation in frequency: numbers are turned on the way out.
enum Direction { joining, splitting };

// `registers` registers of numbers of a part, from number `at` on, in each of `blocks` blocks.
template <int F, Direction D, class V, class R, class Source, class Target>
__attribute__((noinline)) void factor_registers(int32_t f, Source source, Target target, tnk_int at,
                                                tnk_int part, tnk_int registers, tnk_int blocks,
                                                const R *twiddles, const R *table, R *scratch) {
  const tnk_int factor = F == 0 ? f : F;
  for (; blocks > 0; --blocks, at += factor * part) {
    const R *w = twiddles;
    for (tnk_int k = at; k < at + registers * lanes<V>; k += lanes<V>) {
      const auto turned_if = [&](bool yes, tnk_int j, cvec<V> x) TNK_INLINED {
        if (!yes || j == 0) return x;
        const R *const own = w + (j - 1) * 2 * lanes<V>;
        return load_parts<V>(own, own + lanes<V>) * x;
      };
      const auto number = [&](tnk_int j) TNK_INLINED {
        return turned_if(D == joining, j, source.template load<V>(k + j * part));
      };
      const auto result = [&](tnk_int q, cvec<V> z) TNK_INLINED {
        target.template store<V>(k + q * part, turned_if(D == splitting, q, z));
      };
      if constexpr (F == 0) {
        direct<V>(f, table, scratch, number, result);
      } else {
        cvec<V> x[F];
        unrolled<F>([&](auto j) TNK_INLINED { x[j] = number(j); });
        dft(x);
        unrolled<F>([&](auto q) TNK_INLINED { result(q, x[q]); });
      }
      w += (factor - 1) * 2 * lanes<V>;
    }
  }
}

// ---- Passes -------------------------------------------------------------------------------------------------------
// scratch, for sums: f registers of numbers for the opposites, and as many for what is left over.

// `count` transforms of the cofactor, with the results from 0 on.
template <int C, class R, class Source, class Target>
void cofactor_pass(int32_t c, Source source, Target target, const int32_t *order, tnk_int apart,
                   tnk_int count, const R *table, R *scratch) {
  constexpr int width = per_vector<R>;
  const tnk_int whole = count / width, left = count % width, at = whole * width * c;
  cofactor_registers<C, R>(c, source, target, 0, order, apart, whole, table, scratch);
  if (left == 0) return;
  if (whole > 0 && !are_one(source, target)) { // some once more
    const tnk_int first = count - width;
    return cofactor_registers<C, R>(c, source, target, first * c, order + first, apart, 1, table, scratch);
  }
  // The last transform fills the lanes that are left.
  alignas(32) R own[C == 0 ? 1 : 2 * C * width];
  int32_t last[width];
  for (tnk_int i = 0; i < width; ++i) last[i] = order[whole * width + std::min(i, left - 1)];
  const Target block = block_like(target, C == 0 ? scratch + 2 * c * width : own, c * width);
  cofactor_registers<C, R>(c, source, block, 0, last, apart, 1, table, scratch);
  copy_numbers(as_source(block), target, at, left * c);
}

// `blocks` times: combines f neighbouring transforms of `part` numbers each, or splits them. Source and target may be the
// same array.
template <int F, Direction D, class R, class Source, class Target>
void factor_pass(int32_t f, Source source, Target target, tnk_int part, tnk_int blocks, const R *twiddles,
                 const R *table, R *scratch) {
  constexpr int width = per_vector<R>, narrow = width / 2;
  const tnk_int whole = part / width, left = part % narrow;
  const auto from = [=](tnk_int k) { return twiddles + k * (f - 1) * 2; };
  if (whole > 0)
    factor_registers<F, D, vec<R>>(f, source, target, 0, part, whole, blocks, twiddles, table, scratch);
  if (part % width >= narrow)
    factor_registers<F, D, half<R>>(f, source, target, whole * width, part, 1, blocks, from(whole * width),
                                    table, scratch);
  if (left > 0)
    factor_registers<F, D, half<R>>(f, few_of<Source>{source, left}, few_of<Target>{target, left},
                                    part - left, part, 1, blocks, from(part - left), table, scratch);
}

// ---- By entry -----------------------------------------------------------------------------------------------------

template <class R, class Source, class Target>
void pass_of_cofactor(const DftFactor<R> &entry, Source source, Target target, const int32_t *order,
                      tnk_int count, R *scratch);
template <Direction D = joining, class R, class Source, class Target>
void pass_of_factor(const DftFactor<R> &entry, Source source, Target target, tnk_int blocks, R *scratch);

// ---- All levels ---------------------------------------------------------------------------------------------------

// `array` from number `at` on.
template <class P, bool Inverse> pairs<P, Inverse> from(pairs<P, Inverse> array, tnk_int at) {
  return {array.p + 2 * at};
}
template <class P> parts<P> from(parts<P> array, tnk_int at) {
  return {array.re + at, array.im + at};
}

// The transform of block `block` of a level: of factor * remaining numbers, which in the target stand side by side. Long
// ones come from those of the next level one by one, each of which is finished while it is in the caches; short ones run
// all levels over all of their numbers. `between` holds the results of all passes but the level's own.
template <class R, class Source, class Target>
void transform_block(const DftSpec<R> &spec, int32_t level, tnk_int block, Source source, Target between,
                     Target target, R *scratch) {
  const DftFactor<R> &entry = spec.factors[level], &cofactor = spec.factors[spec.last_factor + 1];
  const tnk_int length = tnk_int{entry.factor} * entry.remaining, at = block * length;
  const Target own = from(between, at);
  if (level < spec.last_factor && length >= first_depth_first) {
    for (tnk_int i = 0; i < entry.factor; ++i)
      transform_block(spec, level + 1, block * entry.factor + i, source, between, between, scratch);
  } else {
    const tnk_int count = length / cofactor.factor;
    pass_of_cofactor(cofactor, source, own, spec.order + block * count, count, scratch);
    for (int32_t deeper = spec.last_factor; deeper > level; --deeper)
      pass_of_factor(spec.factors[deeper], as_source(own), own, spec.factors[deeper].before / entry.before,
                     scratch);
  }
  pass_of_factor(entry, as_source(own), from(target, at), 1, scratch);
}

} // namespace tnk::signal
