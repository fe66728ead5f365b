// The core of several dimensions: sums of u over windows of v, one for each output.
//
// Dimension by dimension an output's window is what one dimension's range is (line.h). Groups of four outputs are
// neighbours along dimension 1, so their windows differ in the rows that they reach, and have a range of rows in common;
// rows that only some of them reach are added output by output. Along dimension 0, where every output of the group sees
// the whole of u and v is dense, neighbouring groups become the lanes of vectors: 4 rows of lanes share each element of
// u. What is left of the dimensions, from 2 on, is walked position by position.
#pragma once

#include "kernel/conv/sums.h"

namespace tnk::conv {

template <class A, class U, class V, class D> struct Grid {
  const Array<const U> &u;
  const Array<const V> &v;
  const Array<D> &z;
  const Vector &off, &dec;

  struct Range {
    int64_t p, lo, hi;
    bool empty() const { return lo > hi; }
    int64_t count() const { return hi - lo + 1; }
  };
  Range range(int k, int64_t t) const {
    const int64_t p = off[k] + t * dec[k];
    return {p, std::max<int64_t>(-p, 0), std::min(v.shape[k] - p, u.shape[k]) - 1};
  }

  // Where u and v stand for one position of dimensions 2 and up: addresses of their planes' elements (0, 0) and (p, p).
  struct Plane {
    const U *a;
    const V *b;
  };

  // f(plane) for each position of dimensions 2 and up that the outputs at `counter` reach.
  template <class F> void each_plane(const Vector &counter, const F &f) const {
    if (u.dims == 2) {
      f(Plane{u.base, v.base});
      return;
    }
    Vector p = {}, lo = {}, hi = {}, i = {};
    for (int k = 2; k < u.dims; ++k) {
      const Range r = range(k, counter[k]);
      if (r.empty()) return;
      p[k] = r.p, i[k] = lo[k] = r.lo, hi[k] = r.hi;
    }
    do {
      int64_t in_u = 0, in_v = 0;
      for (int k = 2; k < u.dims; ++k) in_u += i[k] * u.stride[k], in_v += (p[k] + i[k]) * v.stride[k];
      f(Plane{u.base + in_u, v.base + in_v});
    } while (next(i, 2, u.dims, lo, hi));
  }

  // The sum over columns r and over rows lo to hi of one output, which meets row 0 of u with row `p` of v.
  A rows_of(const Plane &plane, const Range &r, int64_t p, int64_t lo, int64_t hi) const {
    const int64_t ends[] = {r.hi - r.lo, hi - lo};
    if (r.empty()) return {};
    return correlation_simple<A>(plane.a + r.lo * u.stride[0] + lo * u.stride[1], u.stride,
                                 plane.b + (r.p + r.lo) * v.stride[0] + (p + lo) * v.stride[1], v.stride,
                                 ends);
  }

  void single(D *out, const Vector &counter, int64_t t0, const Range &rows) const {
    const Range columns = range(0, t0);
    A sum = {};
    each_plane(counter,
               [&](const Plane &plane) { sum += rows_of(plane, columns, rows.p, rows.lo, rows.hi); });
    put(out, narrowed<D>(sum));
  }

  // The rows of a group's outputs, and those that they have in common.
  struct Group {
    Range rows[4];
    int64_t lo, hi, step; // step: in v, from one output to the next
    bool alike;           // whether all rows are common
  };

  // Onto sum k, for each of a group's outputs, what it alone has before the common rows, or after them.
  template <int N>
  void own_rows(Sums<A, N> &sums, int at, int distance, const Plane &plane, const Group &group,
                const Range &columns, bool before) const {
    for (int k = 0; k < 4; ++k) {
      const Range &r = group.rows[k];
      const int64_t lo = before ? r.lo : group.hi + 1, hi = before ? group.lo - 1 : r.hi;
      if (lo <= hi) add_value(sums, at + k * distance, rows_of(plane, columns, r.p, lo, hi));
    }
  }

  // One group by itself, at t0 in dimension 0.
  void group_alone(D *out, const Vector &counter, int64_t t0, const Group &group) const {
    const Range columns = range(0, t0);
    Sums<A, 4> sums;
    if (!columns.empty())
      each_plane(counter, [&](const Plane &plane) {
        own_rows(sums, 0, 1, plane, group, columns, true);
        const V *const b = plane.b + (columns.p + columns.lo) * v.stride[0];
        for (int64_t j = group.lo; j <= group.hi; ++j)
          four_rows(sums, plane.a + columns.lo * u.stride[0] + j * u.stride[1], u.stride[0],
                    b + (group.rows[0].p + j) * v.stride[1], v.stride[0], group.step, columns.count());
        own_rows(sums, 0, 1, plane, group, columns, false);
      });
    for (int k = 0; k < 4; ++k) put(out + k * z.stride[1], narrowed<D>(sums.value(k)));
  }

  // Groups at t0 and its next neighbours in dimension 0, each of whose outputs sees all columns of u.
  template <int Columns>
  void groups_in_lanes(D *out, const Vector &counter, int64_t t0, const Group &group) const {
    constexpr int across = Columns * per_vector<A>;
    const int64_t p = off[0] + t0;
    Sums<A, 4 * across> sums;
    each_plane(counter, [&](const Plane &plane) {
      const auto own = [&](bool before) {
        if (group.alike) return;
        for (int c = 0; c < across; ++c)
          own_rows(sums, c, across, plane, group, {p + c, 0, u.shape[0] - 1}, before);
      };
      own(true);
      lanes<vec_of<A>, 4, Columns>(
          sums, 0, Window<const U>{plane.a + group.lo * u.stride[1], u.stride[0], u.stride[1]},
          Window<const V>{plane.b + p + (group.rows[0].p + group.lo) * v.stride[1], 1, v.stride[1]},
          group.step, u.shape[0], group.hi - group.lo + 1);
      own(false);
    });
    for (int k = 0; k < 4; ++k)
      if (std::is_same_v<A, D> && !is_complex<A> && z.stride[0] == 1)
        std::memcpy(out + k * z.stride[1], &sums.half[0][k * across], across * sizeof(D));
      else
        for (int c = 0; c < across; ++c)
          put(out + k * z.stride[1] + c * z.stride[0], narrowed<D>(sums.value(k * across + c)));
  }

  // Four rows of outputs from counter[1] on; `out` is the first one of dimension 0.
  void group_row(D *out, const Vector &counter, const Group &group) const {
    // Outputs from `inner` to before `outer` see all columns.
    int64_t inner = 0, outer = 0;
    if (dec[0] == 1 && v.stride[0] == 1) {
      inner = std::min(std::max<int64_t>(-off[0], 0), z.shape[0]);
      outer = std::min(v.shape[0] - u.shape[0] - off[0] + 1, z.shape[0]);
    }
    constexpr int wide = is_complex<A> ? 1 : 2, across = per_vector<A>;
    for (int64_t t = 0; t < z.shape[0];) {
      D *const first = out + t * z.stride[0];
      if (t >= inner && t + wide * across <= outer) {
        groups_in_lanes<wide>(first, counter, t, group);
        t += wide * across;
      } else if (wide > 1 && t >= inner && t + across <= outer) {
        groups_in_lanes<1>(first, counter, t, group);
        t += across;
      } else {
        group_alone(first, counter, t, group);
        ++t;
      }
    }
  }

  void run() const {
    Vector counter = {}, last = {}, none = {};
    for (int k = 0; k < z.dims; ++k) last[k] = z.shape[k] - 1;
    do {
      D *plane = z.base;
      for (int k = 2; k < z.dims; ++k) plane += counter[k] * z.stride[k];
      for (int64_t t = 0; t < z.shape[1];) {
        D *const out = plane + t * z.stride[1];
        if (t + 3 < z.shape[1]) {
          Group group{{range(1, t), range(1, t + 1), range(1, t + 2), range(1, t + 3)},
                      0,
                      0,
                      dec[1] * v.stride[1],
                      false};
          group.lo = group.rows[0].lo, group.hi = group.rows[3].hi;
          group.alike = group.lo == group.rows[3].lo && group.hi == group.rows[0].hi;
          if (group.lo <= group.hi) {
            group_row(out, counter, group);
            t += 4;
            continue;
          }
        }
        const Range rows = range(1, t);
        for (int64_t t0 = 0; t0 < z.shape[0]; ++t0) single(out + t0 * z.stride[0], counter, t0, rows);
        ++t;
      }
    } while (next(counter, 2, z.dims, none, last));
  }
};

// 0. off and dec have an element for each dimension.
template <class A, class U, class V, class D>
int32_t correlation_core(const Array<const U> &u, const Array<const V> &v, const Array<D> &z,
                         const Vector &off, const Vector &dec) {
  Grid<A, U, V, D>{u, v, z, off, dec}.run();
  return TNK_CONV_OK;
}

} // namespace tnk::conv
