// Solving with a packed triangle, in place: the kernels of the triangular solve in all types.
//
// Vectors run along right-hand sides, so rows of M are solved one after another with a multiplication by a stored
// reciprocal each. A tile of 4 rows by two vectors stays in registers: it takes away the products with all rows solved
// before, step by step, and then is solved itself. On the right vectors lie in columns of B as they are; on the left
// they are transposed on their way. Solved rows are kept in a panel, a few KB, from which later rows read them.
//
// A complex row is kept with its multiple by i, (-im, re): so re(a) x + im(a) (i x) is two real steps, and no parts are
// exchanged inside the loop.
//
// Each element is formed alike, whatever stands beside it: b - M(i,0) x(0) - M(i,1) x(1) ..., from left to right, then
// times the reciprocal.
#include "kernel/blas/level3/trsm.h"
#include "kernel/frame/transpose.h"
#include "kernel/frame/unroll.h"
#include <algorithm>
#include <cmath>

namespace tnk::level3 {
namespace {

template <class T> constexpr int parts = is_complex<T> ? 2 : 1;
template <class T> constexpr int width = per_vector<T>;

// ---- Packing ------------------------------------------------------------------------------------------------------

// 1 / a. Of a complex number the larger part is divided by first, so that no square overflows.
template <class T> T reciprocal(T a) {
  if constexpr (is_complex<T>) {
    const bool real = std::fabs(a.re) >= std::fabs(a.im);
    const auto large = real ? a.re : a.im, small = real ? a.im : a.re;
    const auto ratio = small / large, one_part = 1 / (large + small * ratio);
    return real ? T{one_part, 0 - ratio * one_part} : T{ratio * one_part, 0 - one_part};
  } else {
    return 1 / a;
  }
}

// Element (i, l) of M at a + i * row + l * column, rows and columns in the order of the solution.
template <class T> struct Source {
  const T *a;
  tnk_int row, column;
  bool conjugated, unit;

  Source(bool left, const Triangle<T> &t, tnk_int order)
      : a(t.a), conjugated(t.op == conjugate_transposed), unit(t.unit) {
    const bool plain = (t.op == as_it_is) == left;
    row = plain ? 1 : t.lda, column = plain ? t.lda : 1;
    if (from_the_end(left, t)) a += (order - 1) * (t.lda + 1), row = -row, column = -column;
  }
  T get(tnk_int i, tnk_int l) const {
    const T x = tnk::get(a + i * row + l * column);
    return conjugated ? conjugate(x) : x;
  }
  T inverse(tnk_int i) const { return unit ? one<T> : reciprocal(get(i, i)); }
};

} // namespace

template <class T> void pack_triangle(bool left, const Triangle<T> &t, tnk_int order, T *packed) {
  const Source<T> m(left, t, order);
  for (tnk_int first = 0; first < order; first += rows_of_group) {
    const tnk_int rows = std::min<tnk_int>(rows_of_group, order - first);
    // Of one column the rows from `top` on, and zeros for those that a last group lacks.
    const auto pack_column = [&](tnk_int l, tnk_int top) {
      tnk_int r = top;
      for (; r < rows; ++r) put(packed + r, m.get(first + r, l));
      for (; r < rows_of_group; ++r) put(packed + r, T{});
    };
    for (tnk_int l = 0; l < first; ++l, packed += rows_of_group) pack_column(l, 0);
    for (tnk_int l = 0; l < rows_of_group; ++l, packed += rows_of_group) {
      put(packed + l, l < rows ? m.inverse(first + l) : T{});
      pack_column(first + l, l + 1);
    }
  }
}

namespace {

// ---- Right-hand sides in registers --------------------------------------------------------------------------------
// load and store: `rows` rows of M from row i on, four or what a last group has, of `count` right-hand sides from `first`
// on, V vectors a row. With one vector some right-hand sides may be missing. Missing ones of either kind are loaded as
// zeros.

template <class T> using Rows = vec_of<T>[rows_of_group];
template <class T, int V> using Group = vec_of<T>[rows_of_group][V];

// Four elements along each of per_vector columns, to be turned into rows; and back.
template <class T> TNK_INLINE void load_four_rows(Rows<T> &x, const T *b, tnk_int ldb) {
  using V = vec_of<T>;
  if constexpr (sizeof(T) == 4) {
    unrolled<4>([&](auto j) TNK_INLINED {
      x[j] = joined(loadu<half<T>>(b + j * ldb), loadu<half<T>>(b + (j + 4) * ldb));
    });
    transpose_halves(x[0], x[1], x[2], x[3]);
  } else if constexpr (sizeof(T) == 8) {
    f64x4 column[4];
    unrolled<4>([&](auto j) TNK_INLINED { column[j] = loadu<f64x4>(b + j * ldb); });
    transpose(column[0], column[1], column[2], column[3]);
    unrolled<4>([&](auto j) TNK_INLINED { x[j] = reinterpret_cast<V>(column[j]); });
  } else {
    unrolled<2>([&](auto pair) TNK_INLINED {
      const V c0 = loadu<V>(b + 2 * pair), c1 = loadu<V>(b + 2 * pair + ldb);
      x[2 * pair] = low_halves(c0, c1), x[2 * pair + 1] = high_halves(c0, c1);
    });
  }
}
template <class T> TNK_INLINE void store_four_rows(T *b, tnk_int ldb, Rows<T> &x) {
  if constexpr (sizeof(T) == 4) {
    transpose_halves(x[0], x[1], x[2], x[3]);
    unrolled<4>([&](auto j) TNK_INLINED {
      storeu(b + j * ldb, low_half(x[j]));
      storeu(b + (j + 4) * ldb, high_half(x[j]));
    });
  } else if constexpr (sizeof(T) == 8) {
    f64x4 column[4];
    unrolled<4>([&](auto j) TNK_INLINED { column[j] = reinterpret_cast<f64x4>(x[j]); });
    transpose(column[0], column[1], column[2], column[3]);
    unrolled<4>([&](auto j) TNK_INLINED { storeu(b + j * ldb, column[j]); });
  } else {
    unrolled<2>([&](auto pair) TNK_INLINED {
      storeu(b + 2 * pair, low_halves(x[2 * pair], x[2 * pair + 1]));
      storeu(b + 2 * pair + ldb, high_halves(x[2 * pair], x[2 * pair + 1]));
    });
  }
}

// Columns of B. Rows of M follow one another upwards when they are solved from the end.
template <class T, bool from_end> struct Columns {
  T *b; // the row that is solved first
  tnk_int ldb;

  T *element(tnk_int i, tnk_int column) const { return b + (from_end ? -i : i) + column * ldb; }
  T *corner(tnk_int i, tnk_int column) const { return element(from_end ? i + rows_of_group - 1 : i, column); }
  static constexpr int turned(int r) { return from_end ? rows_of_group - 1 - r : r; }

  template <int V>
  TNK_INLINE void load(Group<T, V> &s, tnk_int i, tnk_int rows, tnk_int first, tnk_int count) const {
    if (rows == rows_of_group && count == V * width<T>) {
      unrolled<V>([&](auto v) TNK_INLINED {
        Rows<T> x;
        load_four_rows(x, corner(i, first + v * width<T>), ldb);
        unrolled<rows_of_group>([&](auto r) TNK_INLINED { s[r][v] = x[turned(r)]; });
      });
    } else {
      T lane[rows_of_group][V * width<T>] = {};
      for (tnk_int r = 0; r < rows; ++r)
        for (tnk_int j = 0; j < count; ++j) lane[r][j] = get(element(i + r, first + j));
      std::memcpy(s, lane, sizeof s);
    }
  }
  template <int V>
  TNK_INLINE void store(const Group<T, V> &s, tnk_int i, tnk_int rows, tnk_int first, tnk_int count) const {
    if (rows == rows_of_group && count == V * width<T>) {
      unrolled<V>([&](auto v) TNK_INLINED {
        Rows<T> x;
        unrolled<rows_of_group>([&](auto r) TNK_INLINED { x[turned(r)] = s[r][v]; });
        store_four_rows(corner(i, first + v * width<T>), ldb, x);
      });
    } else {
      T lane[rows_of_group][V * width<T>];
      std::memcpy(lane, s, sizeof s);
      for (tnk_int r = 0; r < rows; ++r)
        for (tnk_int j = 0; j < count; ++j) put(element(i + r, first + j), lane[r][j]);
    }
  }
};

// Rows of B.
template <class T> struct RowsOfB {
  T *b;          // the column that is solved first
  tnk_int along; // from it to the next one

  template <int V>
  TNK_INLINE void load(Group<T, V> &s, tnk_int i, tnk_int rows, tnk_int first, tnk_int count) const {
    const T *from = b + i * along + first;
    if (rows == rows_of_group && count == V * width<T>) {
      unrolled<rows_of_group>([&](auto r) TNK_INLINED {
        unrolled<V>([&](auto v) TNK_INLINED { s[r][v] = loadu<vec_of<T>>(from + v * width<T>); });
        from += along;
      });
    } else {
      T lane[rows_of_group][V * width<T>] = {};
      for (tnk_int r = 0; r < rows; ++r, from += along)
        std::memcpy(lane[r], from, static_cast<std::size_t>(count) * sizeof(T));
      std::memcpy(s, lane, sizeof s);
    }
  }
  template <int V>
  TNK_INLINE void store(const Group<T, V> &s, tnk_int i, tnk_int rows, tnk_int first, tnk_int count) const {
    T *to = b + i * along + first;
    if (rows == rows_of_group && count == V * width<T>) {
      unrolled<rows_of_group>([&](auto r) TNK_INLINED {
        unrolled<V>([&](auto v) TNK_INLINED { storeu(to + v * width<T>, s[r][v]); });
        to += along;
      });
    } else {
      T lane[rows_of_group][V * width<T>];
      std::memcpy(lane, s, sizeof s);
      for (tnk_int r = 0; r < rows; ++r, to += along)
        std::memcpy(to, lane[r], static_cast<std::size_t>(count) * sizeof(T));
    }
  }
};

// ---- The solution -------------------------------------------------------------------------------------------------

// i x.
template <class V> TNK_INLINE V turned_by_i(V x) {
  return addsub(V{}, swap_neighbours(x));
}

// s := s - a x, where x has its multiples by i behind it.
template <class T, int V, class X> TNK_INLINE void take_away(vec_of<T> (&s)[V], const T *a, const X &x) {
  unrolled<parts<T>>([&](auto q) TNK_INLINED {
    const auto factor = splat<vec_of<T>>(get(reinterpret_cast<const real_of<T> *>(a) + q));
    unrolled<V>([&](auto v) TNK_INLINED { s[v] = in_register(s[v] - factor * x[q * V + v]); });
  });
}

// Rows i ... i+rows of V vectors of right-hand sides, those before in the panel. a: their group.
template <int V, class T, class Sides>
TNK_INLINE void solve_group(tnk_int i, tnk_int rows, const T *a, T *panel, const Sides &b, tnk_int first,
                            tnk_int count) {
  using vector = vec_of<T>;
  constexpr int held = parts<T> * V, step = V * width<T> * parts<T>;
  Group<T, V> s;
  b.load(s, i, rows, first, count);
  const T *x_at = panel;
  for (tnk_int l = 0; l < i; ++l, x_at += step, a += rows_of_group) {
    vector x[held];
    unrolled<held>([&](auto h) TNK_INLINED { x[h] = load<vector>(x_at + h * width<T>); });
    unrolled<rows_of_group>([&](auto r) TNK_INLINED { take_away<T, V>(s[r], a + r, x); });
  }
  T *to = panel + i * step;
  unrolled<rows_of_group>([&](auto l) TNK_INLINED {
    const T inverse = get(a + l);
    vector x[held];
    unrolled<V>([&](auto v) TNK_INLINED {
      x[v] = s[l][v] = in_register(scaled(inverse, s[l][v]));
      if constexpr (is_complex<T>) x[V + v] = in_register(turned_by_i(x[v]));
    });
    unrolled<held>([&](auto h) TNK_INLINED { store(to + h * width<T>, x[h]); });
    unrolled<rows_of_group - l - 1>(
        [&](auto below) TNK_INLINED { take_away<T, V>(s[l + 1 + below], a + l + 1 + below, x); });
    a += rows_of_group, to += step;
  });
  b.store(s, i, rows, first, count);
}

template <int V, class T, class Sides>
void solve_panel(tnk_int order, const T *packed, T *panel, const Sides &b, tnk_int first, tnk_int count) {
  for (tnk_int i = 0; i < order; packed += rows_of_group * (i + rows_of_group), i += rows_of_group)
    solve_group<V>(i, std::min<tnk_int>(rows_of_group, order - i), packed, panel, b, first, count);
}

template <class T, class Sides>
void solve_sides(tnk_int order, tnk_int count, const T *packed, T *panel, const Sides &b) {
  tnk_int first = 0;
  for (; first + 2 * width<T> <= count; first += 2 * width<T>)
    solve_panel<2>(order, packed, panel, b, first, 2 * width<T>);
  for (; first < count; first += width<T>)
    solve_panel<1>(order, packed, panel, b, first, std::min<tnk_int>(width<T>, count - first));
}

} // namespace

template <class T>
void solve_packed(bool left, bool from_end, tnk_int order, tnk_int count, const T *packed, T *panel, T *b,
                  tnk_int ldb) {
  const tnk_int last = order - 1;
  if (!left)
    solve_sides(order, count, packed, panel,
                from_end ? RowsOfB<T>{b + last * ldb, -ldb} : RowsOfB<T>{b, ldb});
  else if (from_end)
    solve_sides(order, count, packed, panel, Columns<T, true>{b + last, ldb});
  else
    solve_sides(order, count, packed, panel, Columns<T, false>{b, ldb});
}

#define INSTANCES(T)                                                                                         \
  template void pack_triangle(bool, const Triangle<T> &, tnk_int, T *);                                      \
  template void solve_packed(bool, bool, tnk_int, tnk_int, const T *, T *, T *, tnk_int);
INSTANCES(float)
INSTANCES(double)
INSTANCES(tnk_complex8)
INSTANCES(tnk_complex16)

} // namespace tnk::level3
