// From elements in memory to the numbers that a path works on, and back.
#pragma once

#include "kernel/frame/vector.h"
#include "kernel/xblas/steps.h"
#include <tnk/xblas.h>

namespace tnk::xblas {

// ---- Paths ------------------------------------------------------------------------------------------------------------

// The arithmetic of a call: sums in single precision, in double precision, in pairs.
enum class Path { single, plain, extra };

// What `prec` asks for, where the result is of type T: single sums are there for single results alone.
template <class T> constexpr bool is_single = std::is_same_v<real_of<T>, float>;
inline bool is_precision(int32_t prec) {
  return prec >= TNK_XBLAS_SINGLE && prec <= TNK_XBLAS_EXTRA;
}
template <Path P> using path_constant = std::integral_constant<Path, P>;
template <class T, class F> inline void by_path(int32_t prec, F f) {
  if (prec == TNK_XBLAS_EXTRA) return f(path_constant<Path::extra>());
  if constexpr (is_single<T>)
    if (prec == TNK_XBLAS_SINGLE) return f(path_constant<Path::single>());
  f(path_constant<Path::plain>());
}

// The real type that a path computes in, and what its sums are made of; V is that type or a vector of it.
template <Path P> using work = std::conditional_t<P == Path::single, float, double>;
template <Path P, class V> using term = std::conditional_t<P == Path::extra, Pair<V>, V>;

// A sum of products of the types A and X.
template <Path P, class A, class X, class V>
using sum_of = std::conditional_t<is_complex<A> || is_complex<X>, Complex<term<P, V>>, term<P, V>>;

// ---- Operands ---------------------------------------------------------------------------------------------------------

// What stands in products: on the path of pairs cut into halves, unless both factors are single.
enum class Width { single, mixed };
template <class A, class X>
constexpr Width width_of = is_single<A> &&is_single<X> ? Width::single : Width::mixed;

template <Path P, Width W, class V> inline auto operand(V a) {
  if constexpr (P != Path::extra)
    return a;
  else if constexpr (W == Width::single)
    return Narrow<V>{a};
  else
    return split(a);
}

// The parts of elements, one after another.
template <class T> inline const real_of<T> *reals(const T *p) {
  return reinterpret_cast<const real_of<T> *>(p);
}

// One element as an operand. The conjugate has its imaginary part negated.
template <Path P, Width W, class T> inline auto operand_at(const T *p, bool conjugated = false) {
  using R = work<P>;
  if constexpr (is_complex<T>) {
    const R im = static_cast<R>(p->im);
    const auto re = operand<P, W>(static_cast<R>(p->re));
    return Complex<decltype(operand<P, W>(im))>{re, operand<P, W>(conjugated ? -im : im)};
  } else {
    return operand<P, W>(static_cast<R>(*p));
  }
}

// A factor of the result's type, which travels by value where it is real.
inline float value_of(float factor) {
  return factor;
}
inline double value_of(double factor) {
  return factor;
}
template <class T> inline T value_of(const T *factor) {
  return *factor;
}

// ---- Results ----------------------------------------------------------------------------------------------------------

template <class V> inline V rounded(V a) {
  return a;
}
template <class V> inline V rounded(Pair<V> a) {
  return a.head;
}

// Of a sum only the heads are stored, rounded to the result's type; a real one has no imaginary part.
template <class T, class S> inline void store_result(T *y, S sum) {
  using R = real_of<T>;
  if constexpr (!is_complex<T>)
    *y = static_cast<R>(rounded(sum));
  else if constexpr (std::is_same_v<S, Pair<double>> || std::is_floating_point_v<S>)
    *y = {static_cast<R>(rounded(sum)), 0};
  else
    *y = {static_cast<R>(rounded(sum.re)), static_cast<R>(rounded(sum.im))};
}

// alpha and beta of a call, cut once. Products with alpha take pairs, so that it is always cut; beta meets elements.
template <Path P, class T> struct Factors {
  Factors(T a, T b) : alpha(operand_at<P, Width::mixed>(&a)), beta(operand_at<P, width_of<T, T>>(&b)) {}
  decltype(operand_at<P, Width::mixed>(static_cast<T *>(nullptr))) alpha;
  decltype(operand_at<P, width_of<T, T>>(static_cast<T *>(nullptr))) beta;
};

// y := alpha sum + beta y.
template <Path P, class T, class S> inline void update(T *y, S sum, const Factors<P, T> &factors) {
  store_result(y, sum * factors.alpha + operand_at<P, width_of<T, T>>(y) * factors.beta);
}

// A number as a term of a sum.
template <Path P, class V> inline term<P, V> as_term(V a) {
  if constexpr (P == Path::extra)
    return {a, V{}};
  else
    return a;
}
template <Path P, class T> inline auto term_at(const T *p) {
  using R = work<P>;
  if constexpr (is_complex<T>)
    return Complex<term<P, R>>{as_term<P>(static_cast<R>(p->re)), as_term<P>(static_cast<R>(p->im))};
  else
    return as_term<P>(static_cast<R>(*p));
}

} // namespace tnk::xblas
