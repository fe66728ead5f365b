// A matrix product with its operands, for routines that take all their arguments by address.
#pragma once

#include "reference/sums.h"
#include "support/guarded.h"
#include "support/random.h"
#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace tnk::test {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
template <class T> T scalar(double re, double im = 0) {
  return reference::number<T>(static_cast<real_of<T>>(re), static_cast<real_of<T>>(im));
}
template <class T> bool same_bits(const T *x, const T *y, std::size_t count = 1) {
  return count == 0 || std::memcmp(x, y, count * sizeof(T)) == 0;
}

// An operand as it stands in memory; rows beyond its own are NaN and the whole is guarded.
template <class T> struct Operand {
  Operand(char trans, tnk_int rows, tnk_int columns, tnk_int gap, std::size_t shift)
      : letter(trans), transposed(trans != 'N' && trans != 'n'), ld((transposed ? columns : rows) + gap),
        memory(static_cast<std::size_t>(std::max<tnk_int>(0, ld * (transposed ? rows : columns))), shift) {}
  void fill(Random &random, tnk_int rows) {
    for (std::size_t i = 0; i < memory.size(); ++i)
      memory.put(i, tnk_int(i) % ld < rows ? random.number<T>() : scalar<T>(nan, nan));
  }
  // Element (i, j) of op(X).
  T get(tnk_int i, tnk_int j) const {
    const T x = memory.get(static_cast<std::size_t>(transposed ? j + i * ld : i + j * ld));
    return transposed && letter != 'T' && letter != 't' ? conjugate(x) : x;
  }
  char letter;
  bool transposed;
  tnk_int ld;
  Guarded<T> memory;
};

// beta = 0 meets a C of NaN.
template <class T> struct Product {
  Product(const char *letters, tnk_int rows, tnk_int columns, tnk_int steps, T by = one<T>, T old = one<T>,
          std::size_t shift = 0)
      : m(rows), n(columns), k(steps), alpha(by), beta(old), a(letters[0], m, k, 3, shift),
        b(letters[1], k, n, 1, shift), c('N', m, n, 2, shift) {
    Random random;
    a.fill(random, a.ld - 3);
    b.fill(random, b.ld - 1);
    c.fill(random, is_zero(beta) ? 0 : m);
    for (std::size_t i = 0; i < c.memory.size(); ++i) before.push_back(c.memory.get(i));
  }

  template <class Gemm, class... More> auto call(Gemm gemm, T *result, More... more) const {
    return gemm(&a.letter, &b.letter, &m, &n, &k, &alpha, a.memory.data(), &a.ld, b.memory.data(), &b.ld,
                &beta, result, &c.ld, more...);
  }
  template <class Gemm> std::vector<T> result(Gemm gemm) const {
    std::vector<T> copy = before;
    call(gemm, copy.data());
    return copy;
  }
  std::string name() const {
    std::ostringstream text;
    text << a.letter << b.letter << " m " << m << " n " << n << " k " << k << " alpha "
         << reference::re(alpha) << " beta " << reference::re(beta);
    return text.str();
  }

  // What is wrong with C, if anything. Its gaps must have the bits they had.
  std::string fault(bool with_sum = true) const {
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < c.ld; ++i) {
        const T got = c.get(i, j), &old = before[static_cast<std::size_t>(i + j * c.ld)];
        reference::Sum sum;
        for (tnk_int l = 0; l < k && i < m && with_sum; ++l)
          reference::add_product(sum, a.get(i, l), b.get(l, j), false);
        if (i < m ? !reference::holds(reference::updated(alpha, sum, beta, old, with_sum ? k : 0), got)
                  : !same_bits(&got, &old))
          return "at " + std::to_string(i) + ", " + std::to_string(j) + ": " +
                 std::to_string(reference::re(got));
      }
    return a.memory.intact() && b.memory.intact() && c.memory.intact() ? "" : "written outside";
  }

  tnk_int m, n, k;
  T alpha, beta;
  Operand<T> a, b, c;
  std::vector<T> before;
};

} // namespace tnk::test
