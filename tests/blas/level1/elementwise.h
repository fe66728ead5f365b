// The operations that rewrite two vectors pair by pair, each with its definition.
#pragma once

#include "blas/level1/shapes.h"
#include "support/named.h"
#include <functional>
#include <limits>
#include <tuple>

namespace tnk::test {

template <class T> using Step = std::function<void(T &x, T &y)>;

template <class T> Step<T> nothing() {
  return [](T &, T &) {};
}
template <class T> Step<T> add_scaled(T alpha) {
  using reference::operator+, reference::operator*;
  return [=](T &x, T &y) { y = y + alpha * x; };
}
template <class T, class S> Step<T> rotation(reference::Real<T> c, S s) {
  using reference::operator+, reference::operator-, reference::operator*;
  return [=](T &x, T &y) { std::tie(x, y) = std::pair(c * x + s * y, c * y - reference::conj(s) * x); };
}
template <class T, class A> Step<T> multiply(A alpha) {
  using reference::operator*;
  return [=](T &x, T &) { x = alpha * x; };
}

// One vector: its guarded memory and what its elements should be. With an increment of 0 they are all the same one,
// which each pair finds as the pair before it left it.
template <class T> struct Operand {
  Strided<T> memory;
  std::vector<T> expected;

  Operand(tnk_int n, tnk_int inc, std::size_t shift, T (*number)(Random &), Random &random)
      : memory(n, inc, shift) {
    for (tnk_int i = 0; i < n; ++i) memory.put(i, number(random));
    for (tnk_int i = 0; i < n; ++i) expected.push_back(memory.get(i));
  }
  T &at(tnk_int i) { return expected[memory.inc() == 0 ? 0 : static_cast<std::size_t>(i)]; }
  bool as_expected() {
    for (tnk_int i = 0; i < memory.n(); ++i)
      if (!reference::same(memory.get(i), at(i))) return false;
    return memory.intact();
  }
};

} // namespace tnk::test
