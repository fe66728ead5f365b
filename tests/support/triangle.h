// A product with a triangle and its operands, for routines that take all their arguments by address.
#pragma once

#include "support/product.h"

namespace tnk::test {

// The letters of a form. Unknown letters act as right, lower, non-unit, and transpose (conjugate where there are parts).
struct Form {
  char side, uplo, trans, diag;

  bool left() const { return side == 'L' || side == 'l'; }
  bool upper() const { return uplo == 'U' || uplo == 'u'; }
  bool unit() const { return diag == 'U' || diag == 'u'; }
  bool as_it_is() const { return trans == 'N' || trans == 'n'; }
  // Side, triangle and operation as the names of a family have them.
  std::string suffix() const {
    std::string text;
    for (const char letter : {side, uplo, trans}) text += static_cast<char>(letter + ('a' - 'A'));
    return text;
  }
  bool conjugates() const { return !as_it_is() && trans != 'T' && trans != 't'; }
};
template <class T> std::vector<Form> all_forms() {
  std::vector<Form> forms;
  for (const char side : std::string("LR"))
    for (const char uplo : std::string("LU"))
      for (const char trans : std::string(is_complex<T> ? "NTC" : "NT"))
        for (const char diag : std::string("NU")) forms.push_back({side, uplo, trans, diag});
  return forms;
}

// B := alpha op(A) B or B := alpha B op(A). What must not be read of A is NaN. exact: of integers so small that every
// sum is exact, in any order.
template <class T> struct TriangleProduct {
  TriangleProduct(Form letters, tnk_int rows, tnk_int columns, T by = one<T>, bool exact_sums = false)
      : form(letters), m(rows), n(columns), alpha(by), exact(exact_sums), order(form.left() ? m : n),
        lda(order + 3), ldb(m + 2), a(static_cast<std::size_t>(lda * order)),
        b(static_cast<std::size_t>(ldb * n)) {
    Random random;
    const auto part = [&] {
      return static_cast<double>(exact ? random.integer(-2, 2) : random.real(-1.0, 1.0));
    };
    const auto number = [&] {
      const double re = part();
      return scalar<T>(re, is_complex<T> ? part() : 0);
    };
    for (tnk_int j = 0; j < order; ++j)
      for (tnk_int i = 0; i < lda; ++i) {
        const bool read = i < order && (i == j ? !form.unit() : (i < j) == form.upper());
        a.put(static_cast<std::size_t>(i + j * lda), read ? number() : scalar<T>(nan, nan));
      }
    for (tnk_int i = 0; i < ldb * n; ++i) {
      before.push_back(i % ldb < m ? number() : scalar<T>(nan, nan));
      b.put(static_cast<std::size_t>(i), before.back());
    }
  }

  // Element (i, j) of op(A).
  T element(tnk_int i, tnk_int j) const {
    if (!form.as_it_is()) std::swap(i, j);
    if (i == j && form.unit()) return one<T>;
    if (i != j && (i < j) != form.upper()) return T{};
    const T x = a.get(static_cast<std::size_t>(i + j * lda));
    return form.conjugates() ? conjugate(x) : x;
  }
  T old(tnk_int i, tnk_int j) const { return before[static_cast<std::size_t>(i + j * ldb)]; }
  T result(tnk_int i, tnk_int j) const { return b.get(static_cast<std::size_t>(i + j * ldb)); }

  // routine(form, m, n, alpha, a, lda, b, ldb)
  template <class Routine> void call(Routine routine) {
    routine(&form.side, &form.uplo, &form.trans, &form.diag, &m, &n, &alpha, a.data(), &lda, b.data(), &ldb);
  }

  std::string name() const {
    std::ostringstream text;
    text << form.side << form.uplo << form.trans << form.diag << " m " << m << " n " << n << " alpha "
         << reference::re(alpha) << (exact ? " exact" : "");
    return text.str();
  }
  // What is wrong with B, if anything.
  std::string fault() const {
    const std::string gaps = gap_fault();
    return !gaps.empty() ? gaps : exact ? row_fault() : element_fault();
  }
  // What is wrong beside the elements of B.
  std::string gap_fault() const {
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = m; i < ldb; ++i) {
        const T got = result(i, j), was = old(i, j);
        if (!same_bits(&got, &was)) return "gap of column " + std::to_string(j);
      }
    return a.intact() && b.intact() ? "" : "written outside";
  }
  bool untouched() const { return same_bits(b.data(), before.data(), before.size()) && b.intact(); }

private:
  // Each element as its sum.
  std::string element_fault() const {
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < m; ++i) {
        reference::Sum sum;
        for (tnk_int l = 0; l < order; ++l) {
          const T x = form.left() ? element(i, l) : element(l, j);
          if (!is_zero(x)) reference::add_product(sum, x, form.left() ? old(l, j) : old(i, l), false);
        }
        if (!reference::holds(reference::updated(alpha, sum, T{}, T{}, order + 1), result(i, j)))
          return "at " + std::to_string(i) + ", " + std::to_string(j) + ": " +
                 std::to_string(reference::re(result(i, j)));
      }
    return "";
  }
  // Each row times a vector of large integers: that of the old B takes only one product of a matrix and a vector, and a
  // wrong element would have to be made up for by others of its row.
  std::string row_fault() const {
    using reference::wide;
    struct Pair {
      wide re = 0, im = 0;
      void add(T x, Pair y) {
        const wide re_x = reference::re(x), im_x = reference::im(x);
        re += re_x * y.re - im_x * y.im, im += re_x * y.im + im_x * y.re;
      }
    };
    Random random(7);
    std::vector<Pair> weights(static_cast<std::size_t>(n)), inner(static_cast<std::size_t>(order));
    for (Pair &w : weights) w.re = static_cast<wide>(random.integer(-1000, 1000));
    const auto at = [](const std::vector<Pair> &v, tnk_int i) { return v[static_cast<std::size_t>(i)]; };
    for (tnk_int l = 0; l < order; ++l)
      for (tnk_int j = 0; j < n; ++j)
        inner[static_cast<std::size_t>(l)].add(form.left() ? old(l, j) : element(l, j), at(weights, j));
    for (tnk_int i = 0; i < m; ++i) {
      Pair sum, wanted, got;
      for (tnk_int l = 0; l < order; ++l) sum.add(form.left() ? element(i, l) : old(i, l), at(inner, l));
      wanted.add(alpha, sum);
      for (tnk_int j = 0; j < n; ++j) got.add(result(i, j), at(weights, j));
      if (!(got.re == wanted.re && got.im == wanted.im)) return "row " + std::to_string(i);
    }
    return "";
  }

public:
  Form form;
  tnk_int m, n;
  T alpha;
  bool exact;
  tnk_int order, lda, ldb;
  Guarded<T> a, b;
  std::vector<T> before;
};

} // namespace tnk::test
