// Matrices in arrays, and what is to come of them, from the definition.
#pragma once

#include "reference/arithmetic.h"
#include "support/guarded.h"
#include "support/random.h"
#include <cstdint>
#include <vector>

namespace tnk::test {

using Size = std::uint64_t;

struct Layout {
  Size rows, cols, by_row, by_col;
  Size at(Size i, Size j) const { return i * by_row + j * by_col; }
  Size extent() const { return rows && cols ? at(rows - 1, cols - 1) + 1 : 0; }
};
inline Layout stored(char ordering, Size rows, Size cols, Size ld, Size stride = 1) {
  return (ordering | 32) == 'c' ? Layout{rows, cols, stride, ld} : Layout{rows, cols, ld, stride};
}

inline bool transposes(char letter) {
  return (letter | 32) == 't' || (letter | 32) == 'c';
}
inline bool conjugates(char letter) {
  return (letter | 32) == 'r' || (letter | 32) == 'c';
}
inline Layout seen(char letter, const Layout &a) {
  return transposes(letter) ? Layout{a.cols, a.rows, a.by_col, a.by_row} : a;
}
template <class T> T taken(char letter, T x) {
  return conjugates(letter) ? reference::conj(x) : x;
}

// Numbers all over, gaps included, with now and then what arithmetic treats in a way of its own.
template <class T> std::vector<T> filled(Size count, Random &random) {
  static const std::vector<T> pool = [] {
    Random numbers;
    const reference::Real<T> special[] = {0, -0.0f, INFINITY, NAN};
    const auto part = [&] {
      return numbers.integer(0, 39) == 0 ? special[numbers.integer(0, 3)]
                                         : numbers.real<reference::Real<T>>();
    };
    std::vector<T> x(4093);
    for (T &element : x) element = reference::number<T>(part(), part());
    return x;
  }();
  std::vector<T> x(count);
  auto next = static_cast<std::size_t>(random.integer(0, 4092));
  for (T &element : x) element = pool[next++ % pool.size()];
  return x;
}

template <class T> bool same_elements(const Guarded<T> &found, const std::vector<T> &expected) {
  if (!found.intact()) return false;
  const std::size_t n = expected.size();
  if (n == 0 || std::memcmp(found.data(), expected.data(), n * sizeof(T)) == 0) return true;
  for (std::size_t i = 0; i < n; ++i)
    if (!reference::same(found.get(i), expected[i])) return false;
  return true;
}

template <class T> T factor(tnk_int choice) {
  return choice < 2 ? reference::number<T>(static_cast<reference::Real<T>>(1 - choice))
                    : reference::number<T>(1.25f, -0.75f);
}

} // namespace tnk::test
