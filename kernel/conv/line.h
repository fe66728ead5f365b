// The core of one dimension: sums of u along v, one for each output.
//
//   z[t] = sum over i from lo to hi of u[i] v[p + i],   p = off + t dec,   lo = max(-p, 0),   hi = min(vlen - p, ulen) - 1
//
// Outputs come in groups of four. Both ends of an output's range fall as t grows, so the range that a group has in
// common goes from the first output's lo to the last one's hi. Each output first adds its own terms before that, then runs
// through it side by side with the others, then adds its own terms after it:
//
//   output 0           lo ============------- hi        = common, in lanes
//   output 1        lo ---============---- hi           - its own
//   output 2     lo ------============- hi
//   output 3  lo ---------============ hi
//
// With dec 1 and a dense v the four sums are neighbouring lanes, each added up in the order of its terms; and so a block
// of several groups is run likewise, from one reading of u, since that moves no bit.
#pragma once

#include "kernel/conv/sums.h"

namespace tnk::conv {

template <class A, class U, class V, class D, class Dec> struct Line {
  const U *u;
  int64_t ulen, ustride;
  const V *v;
  int64_t vlen, vstride;
  D *z;
  int64_t zlen, zstride, off;
  Dec dec;

  struct Range {
    int64_t p, lo, hi;
  };
  Range range(int64_t t) const {
    const int64_t p = off + t * dec;
    return {p, std::max<int64_t>(-p, 0), std::min(vlen - p, ulen) - 1};
  }
  const V *at(int64_t index) const { return v + index * vstride; }
  void put_output(int64_t t, A sum) const { put(z + t * zstride, narrowed<D>(sum)); }

  void single(int64_t t) const {
    const Range r = range(t);
    const int64_t count = r.hi - r.lo + 1;
    put_output(t, count > 0 ? row_sum<A>(u + r.lo * ustride, ustride, at(r.p + r.lo), vstride, count) : A{});
  }

  // Terms i of output t, from `from` to `to` - 1, onto sum k.
  template <int N> void own(Sums<A, N> &sums, int k, int64_t p, int64_t from, int64_t to) const {
    for (int64_t i = from; i < to; ++i)
      sums.add(k, widened<A>(get(u + i * ustride)), widened<A>(get(at(p + i))));
  }
  // The same for neighbours from the output at p on.
  template <class W, int Columns, int N>
  void common(Sums<A, N> &sums, int k, int64_t p, int64_t from, int64_t to) const {
    if (from < to)
      lanes<W, 1, Columns>(sums, k, Window<const U>{u + from * ustride, ustride, 0},
                           Window<const V>{v + p + from, 1, 0}, 0, to - from, 1);
  }

  // Four outputs from t on.
  void group(int64_t t) const {
    const Range first = range(t), last = range(t + 3);
    if (first.lo > last.hi) {
      for (int k = 0; k < 4; ++k) single(t + k);
      return;
    }
    Sums<A, 4> sums;
    for (int k = 0; k < 4; ++k) own(sums, k, range(t + k).p, range(t + k).lo, first.lo);
    if (dec == 1 && vstride == 1)
      common<four<A>, 4 / elements<A, four<A>>>(sums, 0, first.p, first.lo, last.hi + 1);
    else
      four_rows(sums, u + first.lo * ustride, ustride, at(first.p + first.lo), vstride, dec * vstride,
                last.hi + 1 - first.lo);
    for (int k = 0; k < 4; ++k) own(sums, k, range(t + k).p, last.hi + 1, range(t + k).hi + 1);
    for (int k = 0; k < 4; ++k) put_output(t + k, sums.value(k));
  }

  // The outputs from t on of `Columns` vectors, which are whole groups, if so many are left. dec and v's stride are 1.
  template <int Columns> bool block(int64_t t) const {
    constexpr int outputs = Columns * per_vector<A>;
    if (t + outputs > zlen) return false;
    const Range first = range(t), last = range(t + outputs - 1);
    if (first.lo > last.hi) return false;
    constexpr int columns_of_four = 4 / elements<A, four<A>>;
    Sums<A, outputs> sums;
    if (first.lo > 0)
      for (int g = 0; g < outputs; g += 4) {
        const Range head = range(t + g);
        for (int k = g; k < g + 4; ++k) own(sums, k, range(t + k).p, range(t + k).lo, head.lo);
        common<four<A>, columns_of_four>(sums, g, head.p, head.lo, first.lo);
      }
    common<vec_of<A>, Columns>(sums, 0, first.p, first.lo, last.hi + 1);
    if (last.hi < ulen - 1)
      for (int g = 0; g < outputs; g += 4) {
        const int64_t p = range(t + g).p, end = range(t + g + 3).hi + 1;
        common<four<A>, columns_of_four>(sums, g, p, last.hi + 1, end);
        for (int k = g; k < g + 4; ++k) own(sums, k, p + (k - g), end, range(t + k).hi + 1);
      }
    if (std::is_same_v<A, D> && !is_complex<A> && zstride == 1)
      std::memcpy(z + t, sums.half[0], outputs * sizeof(D));
    else
      for (int k = 0; k < outputs; ++k) put_output(t + k, sums.value(k));
    return true;
  }

  void run() const {
    // Eight sums in flight hide the latency of an addition; complex vectors have two each.
    constexpr int wide = is_complex<A> ? 4 : 8;
    int64_t t = 0;
    while (t + 4 <= zlen) {
      if (dec == 1 && vstride == 1) {
        if (block<wide>(t)) {
          t += wide * per_vector<A>;
          continue;
        }
        if (block<2>(t)) {
          t += 2 * per_vector<A>;
          continue;
        }
      }
      group(t);
      t += 4;
    }
    for (; t < zlen; ++t) single(t);
  }
};

// 0, also where there is nothing to do. The strides are those from logical element 0 at each address.
template <class A, class U, class V, class D, class Dec>
int32_t correlation_core_unrolled_by_4(const U *u, int64_t ulen, int64_t ustride, const V *v, int64_t vlen,
                                       int64_t vstride, D *z, int64_t zlen, int64_t zstride, int64_t off,
                                       Dec dec) {
  Line<A, U, V, D, Dec>{u, ulen, ustride, v, vlen, vstride, z, zlen, zstride, off, dec}.run();
  return TNK_CONV_OK;
}

} // namespace tnk::conv
