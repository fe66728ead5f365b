// The lengths, places and increments at which every vector kernel is tried.
#pragma once

#include "reference/arithmetic.h"
#include "support/guarded.h"
#include "support/random.h"
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace tnk::test {

using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;

struct Shape {
  tnk_int n, incx, incy;
  std::size_t shift_x, shift_y;

  friend std::ostream &operator<<(std::ostream &out, const Shape &s) {
    return out << "n " << s.n << " incx " << s.incx << " incy " << s.incy << " shifts " << s.shift_x << ' '
               << s.shift_y;
  }
};

// Every residue modulo 32 of an element-aligned address, then addresses that are not element-aligned, then the ends
// of a page.
template <class T> std::vector<std::size_t> shifts() {
  std::vector<std::size_t> list = {1, sizeof(reference::Real<T>) / 2, page_end, page_start};
  for (std::size_t s = 0; s < 32; s += sizeof(reference::Real<T>)) list.push_back(s);
  return list;
}

// Each address of x with each of y, and either with each length; all three together in one case of three. Ends with the
// first failure: what follows would say the same.
template <class T, class Check> void for_each_shape(Check check_one) {
  const auto check = [&](const Shape &shape) {
    if (!testing::Test::HasFailure()) check_one(shape);
  };
  // Past two passes of the longest unroll, 64 elements; the longer ones with a co-prime step.
  std::vector<tnk_int> lengths;
  for (tnk_int n = -1; n <= 140; n += n < 48 ? 1 : 3) lengths.push_back(n);
  const auto places = shifts<T>();
  for (std::size_t i = 0; i < places.size(); ++i)
    for (std::size_t j = 0; j < places.size(); ++j)
      for (std::size_t l = (i + j) % 3; l < lengths.size(); l += 3)
        check(Shape{lengths[l], 1, 1, places[i], places[j]});
  // From 2048 doubles on two vectors outgrow a first-level cache, and paths change.
  Random random;
  const auto last = static_cast<tnk_int>(places.size()) - 1;
  for (const tnk_int n : {2043, 2047, 2048, 2049, 2054})
    for (const std::size_t place : places) {
      const std::size_t other = places[static_cast<std::size_t>(random.integer(0, last))];
      check(Shape{n, 1, 1, place, other}), check(Shape{n, 1, 1, other, place});
    }
  // No address is formed from an increment that would overflow it.
  constexpr tnk_int least = std::numeric_limits<tnk_int>::min();
  check(Shape{1, least, least, 0, 0}), check(Shape{least, -1, -2, 0, 0});
  for (const tnk_int incx : {-3, -1, 0, 1, 2})
    for (const tnk_int incy : {-3, -1, 0, 1, 2})
      for (const std::size_t shift : {std::size_t{0}, std::size_t{1}, std::size_t{8}, page_end})
        for (const tnk_int n : {-1, 0, 1, 2, 3, 4, 5, 7, 8, 9, 33, 70}) check(Shape{n, incx, incy, shift, 4});
}

// A scalar at an address that is no multiple of its size.
template <class T> struct Askew {
  Askew(T value) { std::memcpy(bytes + 1, &value, sizeof value); }
  const T *at() const { return reinterpret_cast<const T *>(bytes + 1); }
  alignas(16) unsigned char bytes[1 + sizeof(T)];
};

template <class T> T ordinary(Random &random) {
  return random.number<T>();
}

} // namespace tnk::test
