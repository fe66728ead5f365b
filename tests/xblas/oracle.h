// What a routine has to give, written from the definitions: each result is a list of products, in order, and what becomes
// of their sum. The list is then evaluated by the very operations of a precision, in wider arithmetic, or in magnitudes.
#pragma once

#include "tests/xblas/call.h"
#include <cmath>

namespace tnk::test {

__extension__ using Wide = __float128;

// Complex numbers of 113 bits.
struct Value {
  Wide re = 0, im = 0;
  Value(Wide r = 0, Wide i = 0) : re(r), im(i) {}
  Value(Number x) : re(static_cast<Wide>(x.real())), im(static_cast<Wide>(x.imag())) {}
};

struct Product {
  Number a, x;
  bool real_a, real_x;
};
struct Result {
  tnk_int place;                       // in y
  std::vector<Product> products, more; // more: those of the tail, or of the second matrix
  Number before;                       // y
};
enum class Rule { dot, matrix, two_matrices, combined, alone }; // what becomes of sums

template <class R> struct Plain {
  R value = 0;
  static Plain product(double a, double b, bool) { return {static_cast<R>(a) * static_cast<R>(b)}; }
  static Plain of(double a) { return {static_cast<R>(a)}; }
  Plain plus(Plain b) const { return {value + b.value}; }
  Plain minus() const { return {-value}; }
  Plain times(double b) const { return {value * static_cast<R>(b)}; }
  Wide rounded() const { return static_cast<Wide>(value); }
};

// What bounds are a multiple of.
struct Magnitude {
  double value = 0;
  static Magnitude product(double a, double b, bool) { return {std::abs(a * b)}; }
  static Magnitude of(double a) { return {std::abs(a)}; }
  Magnitude plus(Magnitude b) const { return {value + b.value}; }
  Magnitude minus() const { return *this; }
  Magnitude times(double b) const { return {value * std::abs(b)}; }
  Wide rounded() const { return value; }
};

struct Twofold {
  double head = 0, tail = 0;
  // The error by wider arithmetic: there is but one.
  static Twofold product(double a, double b, bool both_single) {
    const double p = a * b;
    return {p, both_single ? 0.0 : static_cast<double>(static_cast<Wide>(a) * b - p)};
  }
  static Twofold of(double a) { return {a, 0}; }
  Twofold plus(Twofold b) const {
    const double s1 = head + b.head, sv = s1 - head, t1 = tail + b.tail, tv = t1 - tail;
    double s2 = (b.head - sv) + (head - (s1 - sv));
    const double t2 = (b.tail - tv) + (tail - (t1 - tv));
    s2 = s2 + t1;
    const double t = s1 + s2;
    s2 = s2 - (t - s1);
    s2 = s2 + t2;
    const double h = t + s2;
    return {h, s2 - (h - t)};
  }
  Twofold minus() const { return {-head, -tail}; }
  Twofold times(double b) const {
    const Twofold p = product(head, b, false);
    const double u = tail * b, s = p.head + u, e = (u - (s - p.head)) + p.tail, h = s + e;
    return {h, e - (h - s)};
  }
  Wide rounded() const { return head; }
};

// A sum of type E, complex or not, and what becomes of it in a result of the type of a letter.
template <class E> struct Chain {
  E re, im;
  bool single = false; // both operands

  void add(const Product &p) {
    const auto product = [&](double a, double b) { return E::product(a, b, single); };
    const double ar = p.a.real(), ai = p.a.imag(), xr = p.x.real(), xi = p.x.imag();
    if (!p.real_a && !p.real_x) {
      re = re.plus(product(ar, xr).plus(product(ai, xi).minus()));
      im = im.plus(product(ai, xr).plus(product(ar, xi)));
    } else {
      re = re.plus(product(ar, xr));
      if (!p.real_x) im = im.plus(product(ar, xi));
      if (!p.real_a) im = im.plus(product(ai, xr));
    }
  }
  Chain plus(const Chain &b) const { return {re.plus(b.re), im.plus(b.im), single}; }
  // of_pair: whether this sum has an imaginary part at all.
  Chain times(Number f, bool complex_factor, bool of_pair) const {
    if (!complex_factor) return {re.times(f.real()), im.times(f.real()), single};
    if (!of_pair) return {re.times(f.real()), re.times(f.imag()), single};
    return {re.times(f.real()).plus(im.times(f.imag()).minus()), im.times(f.real()).plus(re.times(f.imag())),
            single};
  }
  Value rounded() const { return {re.rounded(), im.rounded()}; }
};

template <class E>
Value evaluated(const Routine &r, Rule rule, const Result &result, Number alpha, Number beta) {
  const bool complex = is_pair(r.result), of_pair = is_pair(r.a) || is_pair(r.x);
  const auto sum_of = [&](const std::vector<Product> &products) {
    Chain<E> sum{{}, {}, is_short(r.a) && is_short(r.x)};
    for (const Product &p : products) sum.add(p);
    return sum;
  };
  const auto factor_times = [&](Number f, Number y, bool real_y) {
    Chain<E> product{{}, {}, is_short(r.result)};
    product.add({y, f, real_y, !complex});
    return product;
  };
  if (rule == Rule::alone) {
    Chain<E> sum{{}, {}};
    for (const Product &p : result.products) sum = sum.plus({E::of(p.a.real()), E::of(p.a.imag())});
    return sum.rounded();
  }
  if (rule == Rule::combined) {
    const Product &x = result.products[0], &y = result.more[0];
    return factor_times(alpha, x.a, x.real_a).plus(factor_times(beta, y.a, y.real_a)).rounded();
  }
  const auto scaled = [&](const Chain<E> &sum, Number f) { return sum.times(f, complex, of_pair); };
  if (rule == Rule::two_matrices) {
    if (alpha == 0.0 && beta == 0.0) return {};
    const Chain<E> a = sum_of(result.products), b = sum_of(result.more);
    if (beta == 0.0) return (alpha == 1.0 ? a : scaled(a, alpha)).rounded();
    if (alpha == 0.0) return (beta == 1.0 ? b : scaled(b, beta)).rounded();
    return scaled(a, alpha).plus(scaled(b, beta)).rounded();
  }
  if (rule == Rule::matrix && alpha == 0.0) {
    if (beta == 0.0) return {};
    if (std::is_same_v<E, Twofold>) return evaluated<Plain<double>>(r, rule, result, alpha, beta);
    return factor_times(beta, result.before, !complex).rounded();
  }
  Chain<E> sum = sum_of(result.products);
  if (!result.more.empty()) sum = sum.plus(sum_of(result.more));
  if (rule == Rule::matrix && beta == 0.0) return (alpha == 1.0 ? sum : scaled(sum, alpha)).rounded();
  return scaled(sum, alpha).plus(factor_times(beta, result.before, !complex)).rounded();
}

} // namespace tnk::test
