// x := alpha op(T)^-1 x.
#include "kernel/xblas/calls.h"
#include "kernel/xblas/numbers.h"

namespace tnk::xblas {
namespace {

// ---- Quotients ----------------------------------------------------------------------------------------------------------

inline float divisor(float d) {
  return d;
}
inline double divisor(double d) {
  return d;
}
inline Pair<double> divisor(Split<double> d) {
  return {d.value, 0};
}
template <class E, class D> inline E quotient(E a, D d) {
  return a / divisor(d);
}
template <class E, class D> inline Complex<E> quotient(Complex<E> a, D d) {
  return {quotient(a.re, d), quotient(a.im, d)};
}
// By the conjugate. On pairs the relative error of the whole is at most 24 u^2: 7.1 from the numerator, 3 from the
// denominator, 12 from the quotients.
template <class E, class D> inline Complex<E> quotient(Complex<E> a, Complex<D> d) {
  const E modulus = d.re * d.re + d.im * d.im;
  const Complex<E> numerator = {a.re * d.re + a.im * d.im, a.im * d.re + -(a.re * d.im)};
  return {numerator.re / modulus, numerator.im / modulus};
}

// ---- The solution as far as it is known -----------------------------------------------------------------------------------

// In x itself, rounded to its type.
template <Path P, class T> struct Solution {
  Vector<T> x;
  void begin(tnk_int) {}
  auto at(tnk_int i) const { return operand_at<P, Width::mixed>(x.at(i)); }
  template <class S> void set(tnk_int i, S value) { store_result(x.at(i), value); }
  void end(tnk_int) {}
};

// In pairs, which a block of heads and a block of tails hold; x takes the heads at the end. A block that was refused is
// reported, and written all the same.
template <class T> struct Solution<Path::extra, T> {
  static constexpr tnk_int parts = is_complex<T> ? 2 : 1;
  Vector<T> x;
  double *heads = nullptr, *tails = nullptr;

  void begin(tnk_int n) {
    const std::size_t bytes = static_cast<std::size_t>(n * parts) * sizeof(double);
    heads = static_cast<double *>(tnk_xblas_blas_malloc(bytes));
    tails = static_cast<double *>(tnk_xblas_blas_malloc(bytes));
    if (!heads || !tails) tnk_xblas_BLAS_error("blas_malloc", 0, 0, "malloc failed.\n");
  }
  Pair<double> part(tnk_int p) const { return {heads[p], tails[p]}; }
  auto at(tnk_int i) const {
    if constexpr (is_complex<T>)
      return Complex<Pair<double>>{part(2 * i), part(2 * i + 1)};
    else
      return part(i);
  }
  void set(tnk_int i, Pair<double> value) { heads[i] = value.head, tails[i] = value.tail; }
  void set(tnk_int i, Complex<Pair<double>> value) {
    heads[2 * i] = value.re.head, tails[2 * i] = value.re.tail;
    heads[2 * i + 1] = value.im.head, tails[2 * i + 1] = value.im.tail;
  }
  void end(tnk_int n) {
    for (tnk_int i = 0; i < n; ++i) store_result(x.at(i), at(i));
    tnk_xblas_blas_free(tails);
    tnk_xblas_blas_free(heads);
  }
};

// ---- The solve ------------------------------------------------------------------------------------------------------------

template <Path P, class T, class A>
void solve(const Rows &matrix, T alpha_given, const A *t, const Vector<T> &x) {
  const tnk_int n = matrix.rows;
  const auto alpha = operand_at<P, width_of<T, T>>(&alpha_given);
  const bool upwards = matrix.above > 0;
  Solution<P, T> solution{x};
  solution.begin(n);
  for (tnk_int done = 0; done < n; ++done) {
    const tnk_int i = upwards ? n - 1 - done : done;
    auto sum = operand_at<P, width_of<T, T>>(x.at(i)) * alpha;
    const tnk_int begin = upwards ? i + 1 : matrix.begin(i), end = upwards ? matrix.end(i) : i;
    const Places &places = upwards ? matrix.after : matrix.before;
    const bool conjugated = upwards ? matrix.conjugate_after : matrix.conjugate_before;
    const A *element = t + places.of(i, begin);
    tnk_int step = places.step(begin);
    for (tnk_int k = begin; k < end; ++k) {
      sum = sum + -(solution.at(k) * operand_at<P, Width::mixed>(element, conjugated));
      element += step, step += places.half_column;
    }
    if (matrix.diagonal != Diagonal::unit)
      sum = quotient(sum, operand_at<P, Width::mixed>(t + matrix.after.of(i, i), matrix.conjugate_after));
    solution.set(i, sum);
  }
  solution.end(n);
}

// ---- Calls ------------------------------------------------------------------------------------------------------------------

// "BLAS_dtrsv_s": what stands before _x.
struct Name {
  char text[16];
};
template <class T>
constexpr char letter = is_complex<T> ? (is_single<T> ? 'c' : 'z') : (is_single<T> ? 's' : 'd');
template <class T, class A> constexpr Name name_without_x(const char (&op)[5]) {
  Name name = {{'B', 'L', 'A', 'S', '_', letter<T>, op[0], op[1], op[2], op[3]}};
  if (!std::is_same_v<T, A>) name.text[10] = '_', name.text[11] = letter<A>;
  return name;
}

void report_enumerations(const Name &name, int32_t order, int32_t uplo, int32_t trans, int32_t diag) {
  const auto report = [&](int32_t value, int32_t first, int32_t last) {
    if (value < first || value > last) tnk_xblas_BLAS_error(name.text, 0, value, nullptr);
  };
  report(order, TNK_XBLAS_ROWMAJOR, TNK_XBLAS_COLMAJOR);
  report(uplo, TNK_XBLAS_UPPER, TNK_XBLAS_LOWER);
  report(trans, TNK_XBLAS_NO_TRANS, TNK_XBLAS_CONJ_TRANS);
  report(diag, TNK_XBLAS_NON_UNIT, TNK_XBLAS_UNIT);
}

// With alpha 0 neither matrix nor vector is read.
template <class T, class A>
void solve_by_path(int32_t prec, const Rows &matrix, factor<T> alpha, const A *t, T *x, tnk_int incx) {
  const tnk_int n = matrix.rows;
  if (n < 1) return;
  const Vector<T> to = vector(x, n, incx);
  if (is_zero(value_of(alpha))) {
    for (tnk_int i = 0; i < n; ++i) *to.at(i) = T{};
    return;
  }
  by_path<T>(prec, [&](auto path) { solve<path, T, A>(matrix, value_of(alpha), t, to); });
}

template <class T, class A, class>
void trsv(const char *routine, int32_t prec, int32_t order, int32_t uplo, int32_t trans, int32_t diag,
          tnk_int n, factor<T> alpha, const A *t, tnk_int ldt, T *x, tnk_int incx) {
  if (!is_precision(prec)) return;
  static constexpr Name name = name_without_x<T, A>("trsv");
  report_enumerations(name, order, uplo, trans, diag);
  const Reports reports(routine);
  reports.size(5, n);
  reports.increment(10, incx);
  reports.leading(8, ldt, order, n, n);
  const Rows stored = triangular(n, n, is_upper(uplo), is_unit(diag), full_places(order, ldt));
  solve_by_path(prec, under(trans, stored), alpha, t, x, incx);
}

template <class T, class A, class>
void tbsv(const char *routine, int32_t prec, int32_t order, int32_t uplo, int32_t trans, int32_t diag,
          tnk_int n, tnk_int k, factor<T> alpha, const A *t, tnk_int ldt, T *x, tnk_int incx) {
  if (!is_precision(prec)) return;
  static constexpr Name name = name_without_x<T, A>("tbsv");
  report_enumerations(name, order, uplo, trans, diag);
  const Reports reports(routine);
  reports.size(5, n);
  reports.size(6, k);
  reports.increment(11, incx);
  reports.leading(9, ldt, order, k + 1, k + 1);
  const bool upper = is_upper(uplo);
  const Places places = band_places(order, upper ? 0 : k, upper ? k : 0, ldt);
  solve_by_path(prec, under(trans, triangular(n, k, upper, is_unit(diag), places)), alpha, t, x, incx);
}

} // namespace
} // namespace tnk::xblas

TNK_XBLAS_EACH_ALONE(TNK_XBLAS_ENTRY, trsv)
TNK_XBLAS_EACH_ALONE(TNK_XBLAS_ENTRY, tbsv)
