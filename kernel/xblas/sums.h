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

// The sums of rows `first` to first + count - 1, at most four, with x.
template <Path P, class A, class X> class RowSums {
public:
  using One = work<P>;
  sum_of<P, A, X, quad<One>> sums{};

  RowSums(const Rows &matrix, const A *a, tnk_int first, int count, const Vector<const X> &x)
      : matrix_(matrix), a_(a), first_(first), count_(count), x_(x) {
    const tnk_int last = first + count - 1;
    // What all rows have before the diagonal, and behind it.
    const bool parted = matrix.diagonal != Diagonal::none;
    const tnk_int begin = matrix.begin(last), end = matrix.end(first);
    if (!parted && matrix.begin(first) == begin && matrix.end(last) == end) { // as in a full matrix
      together(before(), begin, end);
      return;
    }
    const tnk_int begin_end = std::max(begin, parted ? std::min(first, end) : end);
    for (int l = 0; l < count; ++l)
      alone(l, before(), matrix.begin(first + l), std::min(begin, own_end(l, parted)));
    together(before(), begin, begin_end);
    for (int l = 0; l < count; ++l)
      alone(l, before(), std::max(begin_end, matrix.begin(first + l)), own_end(l, parted));
    if (!parted) return;
    for (int l = 0; l < count; ++l) {
      diagonal(l);
      alone(l, after(), first + l + 1, std::min(last + 1, matrix.end(first + l)));
    }
    together(after(), last + 1, end);
    for (int l = 0; l < count; ++l) alone(l, after(), std::max(end, last + 1), matrix.end(first + l));
  }

private:
  // One part of the rows.
  struct Part {
    const Places &places;
    bool conjugated;
  };
  Part before() const { return {matrix_.before, matrix_.conjugate_before}; }
  Part after() const { return {matrix_.after, matrix_.conjugate_after}; }
  // Where the first part of row l ends.
  tnk_int own_end(int l, bool parted) const {
    const tnk_int end = matrix_.end(first_ + l);
    return parted ? std::min(first_ + l, end) : end;
  }

  // Columns begin <= k < end of all rows, and of one row.
  void together(const Part &part, tnk_int begin, tnk_int end) {
    if (end <= begin) return;
    const real_of<A> *rows[lanes];
    for (int l = 0; l < lanes; ++l) rows[l] = row(part, l < count_ ? l : count_ - 1, begin);
    go_on<P, A, X, quad<One>>(sums, rows, walk(part, begin, end), x_.at(begin), x_.inc, x_.conjugated);
  }
  void alone(int l, const Part &part, tnk_int begin, tnk_int end) {
    if (end <= begin) return;
    const real_of<A> *const only = row(part, l, begin);
    auto sum = lane(sums, l);
    go_on<P, A, X, One>(sum, &only, walk(part, begin, end), x_.at(begin), x_.inc, x_.conjugated);
    set_lane(sums, l, sum);
  }
  const real_of<A> *row(const Part &part, int l, tnk_int begin) const {
    return reals(a_ + part.places.of(first_ + l, begin));
  }
  static Walk walk(const Part &part, tnk_int begin, tnk_int end) {
    return {end - begin, 0, part.places.step(begin), part.places.half_column, part.conjugated};
  }

  // The imaginary part of a real element is not read, nor is one that is 1.
  void diagonal(int l) {
    constexpr Width W = width_of<A, X>;
    const tnk_int i = first_ + l;
    const A *const element = a_ + matrix_.after.of(i, i);
    auto sum = lane(sums, l);
    if (matrix_.diagonal == Diagonal::stored) {
      sum = sum +
            operand_at<P, W>(element, matrix_.conjugate_after) * operand_at<P, W>(x_.at(i), x_.conjugated);
    } else if (matrix_.diagonal == Diagonal::real) {
      const auto product = operand_at<P, W>(reals(element)) * operand_at<P, W>(x_.at(i), x_.conjugated);
      if constexpr (is_complex<A> && !is_complex<X>)
        sum.re = sum.re + product;
      else
        sum = sum + product;
    } else if constexpr (is_complex<A> <= is_complex<X>) {
      sum = sum + term_at<P>(x_.at(i));
    }
    set_lane(sums, l, sum);
  }

  const Rows &matrix_;
  const A *a_;
  tnk_int first_;
  int count_;
  const Vector<const X> &x_;
};

} // namespace tnk::xblas
