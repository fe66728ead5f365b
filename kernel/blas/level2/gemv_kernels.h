// Inner kernels of the matrix-vector product: unit strides, A read once.
//
// Without a transpose an element of y is formed by one expression, wherever its row stands: the columns are added by
// fours from the first on, and the ends of columns are masked vectors. So rows may be cut anywhere. Transposed, a column
// is summed alike in every group that begins at a multiple of four: there columns may be cut.
#pragma once

#include "kernel/frame/mask.h"
#include "kernel/frame/unroll.h"

namespace tnk::level2 {

// ---- Walks --------------------------------------------------------------------------------------------------------

// Columns that pass at once, a stream of loads each. Eight halve the traffic of the vectors; the factors of as many
// complex ones would not stay in registers.
template <class T> constexpr int most_columns = is_complex<T> ? 4 : 8;

// body(j, columns) with a constant number of columns: the greatest as often as it fits, then each half of it once.
template <int Columns, class Body> TNK_INLINE void over_columns(tnk_int n, Body body, tnk_int j = 0) {
  for (; j + Columns <= n; j += Columns) body(j, std::integral_constant<int, Columns>());
  if constexpr (Columns > 1) over_columns<Columns / 2>(n, body, j);
}

// Rows 0 ... m - 1: line(i) before each two vectors of elements, which are a cache line of a column, whole(i, k) for a
// vector, the k-th of its line, and end(i, start) for what is left. Longer passes were no faster.
template <class T, class Line, class Whole, class End>
TNK_INLINE void over_rows(tnk_int m, Line line, Whole whole, End end) {
  constexpr tnk_int e = per_vector<T>;
  tnk_int i = 0;
  for (; i + 2 * e <= m; i += 2 * e) {
    line(i);
    for (int k = 0; k < 2; ++k) whole(i + k * e, k);
  }
  if (i + e <= m) {
    whole(i, 0);
    i += e;
  }
  if (i < m) end(i, start_of<T>(m - i));
}

// From this size on a matrix is taken to come from memory, and its lines are asked for before they are read. Medians of
// doubles on Zen 4: 1.0 times as fast at 8 MB, 1.04 at 12 MB, 1.1 from 25 MB on (complex 1.2), 0.9 below 4 MB, where the
// outer caches have them. Distances of 256 to 448 bytes are alike, half and twice as far bring nothing.
constexpr tnk_int far_bytes = 10 << 20;
constexpr tnk_int bytes_ahead = 384;

template <class T> inline bool is_far(tnk_int m, tnk_int n) {
  return m * n >= far_bytes / static_cast<tnk_int>(sizeof(T));
}

template <bool Ahead, int Columns, class T> inline void ask_for_line(const T *a, tnk_int lda) {
  if constexpr (Ahead)
    for (int j = 0; j < Columns; ++j)
      __builtin_prefetch(reinterpret_cast<const char *>(a + j * lda) + bytes_ahead);
}

// The next vector of each of Columns columns.
template <int Columns, class T> struct Slice {
  vec_of<T> column[Columns];

  template <class Load> Slice(const T *a, tnk_int lda, Load load) {
    for (int j = 0; j < Columns; ++j) column[j] = load(a + j * lda);
  }
};

// ---- y := y + alpha A x -------------------------------------------------------------------------------------------

// The last rows of y, when they fill no vector of the processor. They are held while the groups of columns pass: what is
// stored in pieces cannot be forwarded to the load of the next group.
template <class T> class LastRows {
public:
  vec_of<T> held{};

  LastRows(tnk_int m, T *y) : y_(y + m / per_vector<T> * per_vector<T>), rows_(m % per_vector<T>) {
    if (rows_ > 0) held = load_first<vec_of<T>>(y_, start_of<T>(rows_));
  }
  void put_back() const {
    if (rows_ > 0) store_first(y_, held, start_of<T>(rows_));
  }

private:
  T *y_;
  tnk_int rows_;
};

// The factors alpha x[j] of Columns columns, each part of them in all lanes.
template <int Columns, class T> struct Factors {
  vec_of<T> re[Columns], im[Columns];

  Factors(T alpha, const T *x) {
    for (int j = 0; j < Columns; ++j) {
      const T factor = alpha * x[j];
      if constexpr (is_complex<T>) {
        re[j] = splat<vec_of<T>>(factor.re);
        im[j] = splat<vec_of<T>>(factor.im);
      } else {
        re[j] = splat<vec_of<T>>(factor);
      }
    }
  }
};

template <int Count, class V> inline V pairwise_sum(const V *term) {
  if constexpr (Count == 1)
    return *term;
  else
    return pairwise_sum<Count / 2>(term) + pairwise_sum<Count / 2>(term + Count / 2);
}

// A vector of y with Columns columns added, by fours. Complex: the real factors' products, and of the imaginary ones' the
// sum with its parts exchanged once.
template <int Columns, class T>
inline vec_of<T> with_columns(vec_of<T> y, const Factors<Columns, T> &factor, const Slice<Columns, T> &a) {
  constexpr int group = std::min(Columns, 4);
  for (int first = 0; first < Columns; first += group) {
    vec_of<T> term[group];
    for (int j = 0; j < group; ++j) term[j] = factor.re[first + j] * a.column[first + j];
    y = y + pairwise_sum<group>(term);
    if constexpr (is_complex<T>) {
      for (int j = 0; j < group; ++j) term[j] = factor.im[first + j] * a.column[first + j];
      y = addsub(y, swap_neighbours(pairwise_sum<group>(term)));
    }
  }
  return y;
}

template <bool Ahead, int Columns, class T>
TNK_INLINE void add_columns(tnk_int m, const T *a, tnk_int lda, const T *x, T *y, LastRows<T> &last,
                            T alpha) {
  using V = vec_of<T>;
  const Factors<Columns, T> factor(alpha, x);
  over_rows<T>(
      m, [&](tnk_int i) { ask_for_line<Ahead, Columns>(a + i, lda); },
      [&](tnk_int i, int) {
        storeu(y + i, with_columns(loadu<V>(y + i), factor, Slice<Columns, T>(a + i, lda, loadu<V, T>)));
      },
      [&](tnk_int i, const vector_start &some) {
        const auto load = [&](const T *p) { return load_first<V>(p, some); };
        last.held = with_columns(last.held, factor, Slice<Columns, T>(a + i, lda, load));
      });
}

template <bool Ahead, class T>
void add_all(tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  LastRows<T> last(m, y);
  // By value, as all that these loops take: what they refer to they would load again after each store.
  over_columns<most_columns<T>>(n, [=, &last](tnk_int j, auto columns) {
    add_columns<Ahead, columns>(m, a + j * lda, lda, x + j, y, last, alpha);
  });
  last.put_back();
}

template <class T> void gemv_n(tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  if (m < 1) return;
  const auto add = is_far<T>(m, n) ? add_all<true, T> : add_all<false, T>;
  add(m, n, a, lda, x, y, alpha);
}

// ---- y := y + alpha op(A) x, transposed ---------------------------------------------------------------------------

// A vector of x, of complex ones the real and the imaginary parts apart.
template <class T> struct Multiplier {
  static constexpr int parts = is_complex<T> ? 2 : 1;
  vec_of<T> part[parts];

  explicit Multiplier(vec_of<T> x) {
    if constexpr (is_complex<T>)
      part[0] = even_lanes_twice(x), part[1] = odd_lanes_twice(x);
    else
      part[0] = x;
  }
};

// The sums of the lanes of four vectors, each as hsum forms it.
inline f64x4 four_sums(const f64x4 *v) {
  const f64x4 even = low_halves(v[0], v[2]) + high_halves(v[0], v[2]),
              odd = low_halves(v[1], v[3]) + high_halves(v[1], v[3]);
  return blended<0xA>(even, even_lanes_twice(odd)) + blended<0xA>(odd_lanes_twice(even), odd);
}
inline f32x4 four_sums(const f32x8 *v) {
  const f32x8 even = low_halves(v[0], v[2]) + high_halves(v[0], v[2]),
              odd = low_halves(v[1], v[3]) + high_halves(v[1], v[3]);
  const f32x8 pairs = blended<0xCC>(even, odd) + swap_pairs(blended<0x33>(even, odd));
  const f32x8 sums = pairs + swap_neighbours(pairs);
  return f32x4{sums[0], sums[2], sums[4], sums[6]};
}

// Lane by lane, the products of Columns columns with x. Where they are few there are two sums a column, taken in turn, so
// that no addition waits for the one before it.
template <int Columns, class T> class Sums {
public:
  void add(int k, const Slice<Columns, T> &a, const Multiplier<T> &x) {
    for (int part = 0; part < parts; ++part)
      for (int j = 0; j < Columns; ++j) sum_[k % turns][part][j] += a.column[j] * x.part[part];
  }
  // One sum a column, all up to date and in registers.
  TNK_INLINE void end_row() {
    static_assert(turns == 1);
    unrolled<parts * Columns>([this](auto i) TNK_INLINED { end_step(sum_[0][i / Columns][i % Columns]); });
  }
  // y := y + alpha times the sums.
  void add_to(T *y, T alpha, bool conjugated) {
    if constexpr (turns == 2)
      for (int part = 0; part < parts; ++part)
        for (int j = 0; j < Columns; ++j) sum_[0][part][j] += sum_[1][part][j];
    if constexpr (!is_complex<T> && Columns % 4 == 0) {
      using Four = quad<T>;
      for (int j = 0; j < Columns; j += 4)
        storeu(y + j, loadu<Four>(y + j) + splat<Four>(alpha) * four_sums(sum_[0][0] + j));
    } else {
      for (int j = 0; j < Columns; ++j) y[j] = y[j] + alpha * total(j, conjugated);
    }
  }

  static constexpr int parts = Multiplier<T>::parts, turns = Columns * parts < 4 ? 2 : 1;

private:
  T total(int j, bool conjugated) const {
    const T with_re = sum_of_elements<T>(sum_[0][0][j]);
    if constexpr (is_complex<T>) {
      const T with_im = sum_of_elements<T>(sum_[0][1][j]);
      if (conjugated) return {with_re.re + with_im.im, with_im.re - with_re.im};
      return {with_re.re - with_im.im, with_re.im + with_im.re};
    } else {
      return with_re;
    }
  }

  vec_of<T> sum_[turns][parts][Columns] = {};
};

template <bool Ahead, int Columns, class T>
TNK_INLINE void multiply_columns(tnk_int m, const T *a, tnk_int lda, const T *x, T *y, T alpha,
                                 bool conjugated) {
  using V = vec_of<T>;
  Sums<Columns, T> sums;
  const auto add = [&](tnk_int i, int k, auto load) {
    sums.add(k, Slice<Columns, T>(a + i, lda, load), Multiplier<T>(in_register(load(x + i))));
  };
  over_rows<T>(
      m, [&](tnk_int i) { ask_for_line<Ahead, Columns>(a + i, lda); },
      [&](tnk_int i, int k) { add(i, k, loadu<V, T>); },
      [&](tnk_int i, const vector_start &some) {
        add(i, 1, [&](const T *p) { return load_first<V>(p, some); });
      });
  sums.add_to(y, alpha, conjugated);
}

template <bool Ahead, class T>
void multiply_all(bool conjugated, tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  over_columns<most_columns<T>>(n, [=](tnk_int j, auto columns) {
    multiply_columns<Ahead, columns>(m, a + j * lda, lda, x, y + j, alpha, conjugated);
  });
}

template <class T>
void gemv_t(Operation op, tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  const auto multiply = is_far<T>(m, n) ? multiply_all<true, T> : multiply_all<false, T>;
  multiply(op == conjugate_transposed, m, n, a, lda, x, y, alpha);
}

} // namespace tnk::level2
