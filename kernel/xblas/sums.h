// Sums of products along rows. Every sum is one chain over ascending columns from zero; four rows go side by side in the
// lanes of vectors where all of them have elements, and each one by itself at ragged ends and on the diagonal. A lane has
// the bits that its row has alone.
#pragma once

#include "kernel/xblas/products.h"

namespace tnk::xblas {

constexpr int lanes = 4; // rows side by side

// ---- Operands of one row, or of four ------------------------------------------------------------------------------------

// Real number `place` of each row.
template <class V, class R> inline V gathered(const R *const *rows, tnk_int place) {
  if constexpr (std::is_floating_point_v<V>)
    return static_cast<V>(rows[0][place]);
  else if constexpr (sizeof(V) == lanes * sizeof(R))
    return V{rows[0][place], rows[1][place], rows[2][place], rows[3][place]};
  else
    return widen(f32x4{rows[0][place], rows[1][place], rows[2][place], rows[3][place]});
}

// Element `place` of each row, of type T; sign is -1 where the conjugate is meant.
template <Path P, Width W, class V, class T>
inline auto row_operand(const real_of<T> *const *rows, tnk_int place, work<P> sign) {
  if constexpr (is_complex<T>) {
    const auto re = operand<P, W>(gathered<V>(rows, 2 * place));
    return Complex<std::remove_const_t<decltype(re)>>{
        re, operand<P, W>(static_cast<V>(sign * gathered<V>(rows, 2 * place + 1)))};
  } else {
    return operand<P, W>(gathered<V>(rows, place));
  }
}

// The same number in all lanes.
template <class V, class R> inline V everywhere(R a) {
  if constexpr (std::is_same_v<V, R>)
    return a;
  else
    return splat<V>(a);
}
template <Path P, Width W, class V, class T> inline auto common_operand(const T *x, work<P> sign) {
  using R = work<P>;
  if constexpr (is_complex<T>) {
    const auto re = operand<P, W>(everywhere<V>(static_cast<R>(x->re)));
    return Complex<std::remove_const_t<decltype(re)>>{
        re, operand<P, W>(everywhere<V>(sign * static_cast<R>(x->im)))};
  } else {
    return operand<P, W>(everywhere<V>(static_cast<R>(*x)));
  }
}

// ---- Lanes of a sum -----------------------------------------------------------------------------------------------------

template <class V> inline auto lane(V v, int l) {
  return v[l];
}
template <class V> inline Pair<double> lane(Pair<V> v, int l) {
  return {v.head[l], v.tail[l]};
}
template <class E> inline auto lane(const Complex<E> &v, int l) {
  return Complex<decltype(lane(v.re, l))>{lane(v.re, l), lane(v.im, l)};
}
template <class V, class R> inline void set_lane(V &v, int l, R a) {
  v[l] = a;
}
template <class V> inline void set_lane(Pair<V> &v, int l, Pair<double> a) {
  v.head[l] = a.head, v.tail[l] = a.tail;
}
template <class E, class F> inline void set_lane(Complex<E> &v, int l, Complex<F> a) {
  set_lane(v.re, l, a.re), set_lane(v.im, l, a.im);
}

// ---- Chains -------------------------------------------------------------------------------------------------------------

// Elements of neighbouring columns: the first one's place in each row, the way to the second one, and by how much the way
// grows from step to step. Rows are addresses of one row, or of four.
struct Walk {
  tnk_int count, place, step, change = 0;
  bool conjugated = false;
};

// sum + a_0 x_0 + a_1 x_1 + ..., one after the other. The rows of A side by side in the lanes of V, or one of them.
template <Path P, class A, class X, class V>
[[gnu::noinline]] void go_on(sum_of<P, A, X, V> &total, const real_of<A> *const *rows, Walk walk, const X *x,
                             tnk_int incx, bool conjugate_x) {
  constexpr Width W = width_of<A, X>;
  const work<P> sign_a = walk.conjugated ? -1 : 1, sign_x = conjugate_x ? -1 : 1;
  sum_of<P, A, X, V> sum = total;
  for (; walk.count > 0; --walk.count) {
    sum = sum + row_operand<P, W, V, A>(rows, walk.place, sign_a) * common_operand<P, W, V>(x, sign_x);
    walk.place += walk.step, walk.step += walk.change, x += incx;
  }
  total = sum;
}

template <Path P, class A, class X> using sum_of_one = sum_of<P, A, X, work<P>>;
template <Path P, class A, class X> using sums_of_rows = sum_of<P, A, X, quad<work<P>>>;

// Goes on by the element on the diagonal of row i. The imaginary part of a real one is not read, nor is one that is 1.
template <Path P, class S, class A, class X>
inline void pass_diagonal(S &sum, const Rows &matrix, const A *a, tnk_int i, const Vector<const X> &x) {
  constexpr Width W = width_of<A, X>;
  const A *const element = a + matrix.after.of(i, i);
  if (matrix.diagonal == Diagonal::stored) {
    sum = sum + operand_at<P, W>(element, matrix.conjugate_after) * operand_at<P, W>(x.at(i), x.conjugated);
  } else if (matrix.diagonal == Diagonal::real) {
    const auto product = operand_at<P, W>(reals(element)) * operand_at<P, W>(x.at(i), x.conjugated);
    if constexpr (is_complex<A> && !is_complex<X>)
      sum.re = sum.re + product;
    else
      sum = sum + product;
  } else if constexpr (is_complex<A> <= is_complex<X>) {
    sum = sum + term_at<P>(x.at(i));
  }
}

// The sums of rows `first` to first + count - 1, at most four, with x.
template <Path P, class A, class X>
sums_of_rows<P, A, X> row_sums(const Rows &matrix, const A *a, tnk_int first, int count,
                               const Vector<const X> &x) {
  using One = work<P>;
  const bool split_rows = matrix.diagonal != Diagonal::none;
  const tnk_int last = first + count - 1;
  sums_of_rows<P, A, X> sums{};

  // Columns begin <= k < end of `n` rows from row i on, in the storage of one part.
  const auto walk = [&](auto lane_type, auto &total, const Places &places, bool conjugated, tnk_int i, int n,
                        tnk_int begin, tnk_int end) {
    if (end <= begin) return;
    const real_of<A> *rows[lanes];
    for (int l = 0; l < lanes; ++l) rows[l] = reals(a + places.of(i + (l < n ? l : n - 1), begin));
    go_on<P, A, X, decltype(lane_type)>(total, rows,
                                        {end - begin, 0, places.step(begin), places.half_column, conjugated},
                                        x.at(begin), x.inc, x.conjugated);
  };
  const auto before = [&](auto lane_type, auto &total, tnk_int i, int n, tnk_int begin, tnk_int end) {
    walk(lane_type, total, matrix.before, matrix.conjugate_before, i, n, begin, end);
  };
  const auto after = [&](auto lane_type, auto &total, tnk_int i, int n, tnk_int begin, tnk_int end) {
    walk(lane_type, total, matrix.after, matrix.conjugate_after, i, n, begin, end);
  };

  // What all rows have before the diagonal, and behind it.
  const tnk_int begin = matrix.begin(last), end = matrix.end(first);
  const bool together = count > 1;
  const tnk_int to_first = split_rows ? std::min(first, end) : end;
  const bool common_before = together && begin < to_first;
  const bool common_after = together && split_rows && last + 1 < end;

  const auto alone = [&](int l, auto &&part) {
    auto total = lane(sums, l);
    part(total, first + l);
    set_lane(sums, l, total);
  };
  if (common_before) {
    for (int l = 0; l < count; ++l)
      alone(l, [&](auto &total, tnk_int i) { before(One(), total, i, 1, matrix.begin(i), begin); });
    before(quad<One>(), sums, first, count, begin, to_first);
  }
  for (int l = 0; l < count; ++l)
    alone(l, [&](auto &total, tnk_int i) {
      const tnk_int own_end = matrix.end(i);
      before(One(), total, i, 1, common_before ? to_first : matrix.begin(i),
             split_rows ? std::min(i, own_end) : own_end);
      if (!split_rows) return;
      pass_diagonal<P>(total, matrix, a, i, x);
      after(One(), total, i, 1, i + 1, common_after ? last + 1 : own_end);
    });
  if (common_after) {
    after(quad<One>(), sums, first, count, last + 1, end);
    for (int l = 0; l < count; ++l)
      alone(l, [&](auto &total, tnk_int i) { after(One(), total, i, 1, end, matrix.end(i)); });
  }
  return sums;
}

} // namespace tnk::xblas
