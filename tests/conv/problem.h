// A convolution or correlation with its arrays, at any strides, and what is wrong with a result.
#pragma once

#include "reference/convolution.h"
#include "support/guarded.h"
#include "support/random.h"
#include <gtest/gtest.h>
#include <string>

namespace tnk::test {

using reference::Conv;
using reference::each_index;
using reference::Shape;
using reference::wide;

// An array of any strides at its lowest address, between guards. A stride of 0 holds one element along its dimension.
template <class T> struct StridedArray {
  Shape shape, strides;
  Guarded<T> memory;

  StridedArray(const Shape &its_shape, const Shape &its_strides, std::size_t shift)
      : shape(its_shape), strides(its_strides), memory(last() + 1, shift) {}
  T get(const Shape &index) const { return memory.get(place(index)); }
  T *data() { return memory.data(); }
  const int32_t *stride() const { return strides.data(); }
  template <class F> void fill(const F &number) {
    each_index(shape, [&](const Shape &i) { memory.put(place(i), number()); });
  }
  bool untouched() const {
    const std::vector<unsigned char> bytes(memory.size() * sizeof(T), 0xFF);
    return memory.intact() && std::memcmp(memory.data(), bytes.data(), bytes.size()) == 0;
  }
  // Whether nothing but the elements, which this overwrites, has changed.
  bool intact() {
    T junk;
    std::memset(&junk, 0xFF, sizeof junk);
    fill([&] { return junk; });
    return untouched();
  }

private:
  std::size_t last() const {
    std::size_t at = 0;
    for (std::size_t k = 0; k < shape.size(); ++k)
      at += static_cast<std::size_t>(std::abs(strides[k]) * (shape[k] - 1));
    return at;
  }
  std::size_t place(const Shape &index) const {
    int64_t at = 0;
    for (std::size_t k = 0; k < shape.size(); ++k)
      at += strides[k] >= 0 ? strides[k] * index[k] : -strides[k] * (shape[k] - 1 - index[k]);
    return static_cast<std::size_t>(at);
  }
};

// Strides of an array without overlap: dimension k has signs[k] times a gap, of the dense one.
inline Shape strides_of(const Shape &shape, const Shape &factors) {
  Shape stride(shape.size());
  int32_t dense = 1;
  for (std::size_t k = 0; k < shape.size(); ++k) {
    stride[k] = dense * factors[k];
    dense *= shape[k] * std::max(1, std::abs(factors[k]));
  }
  return stride;
}

template <class T> struct Problem {
  Problem(const Conv &what, const Shape &xfactors, const Shape &yfactors, const Shape &zfactors,
          bool integers, std::size_t shift = 0)
      : conv(what), x(conv.xshape, strides_of(conv.xshape, xfactors), shift),
        y(conv.yshape, strides_of(conv.yshape, yfactors), shift),
        z(conv.zshape, strides_of(conv.zshape, zfactors), shift) {
    Random random(static_cast<unsigned>(conv.xshape[0] + 100 * conv.yshape[0]));
    const auto part = [&] {
      return integers ? static_cast<double>(random.integer(-9, 9)) : random.real(-1.0, 1.0);
    };
    const auto number = [&] {
      const double re = part();
      return reference::number<T>(static_cast<reference::Real<T>>(re),
                                  static_cast<reference::Real<T>>(reference::is_pair<T> ? part() : 0));
    };
    x.fill(number), y.fill(number);
  }

  // kernel: one of the two argument lists.
  template <class Kernel1d, class KernelAll> int32_t run(Kernel1d one, KernelAll all) {
    const Conv &c = conv;
    if (c.dims() == 1)
      return one(x.data(), *x.stride(), y.data(), *y.stride(), z.data(), *z.stride(), c.xshape[0],
                 c.yshape[0], c.start[0], c.zshape[0], c.decimation[0]);
    return all(static_cast<int32_t>(c.dims()), x.data(), c.xshape.data(), x.stride(), y.data(),
               c.yshape.data(), y.stride(), z.data(), c.zshape.data(), z.stride(), c.start.data(),
               c.decimation.data());
  }

  // What is wrong with z, if anything: every element may be off by `relative` times the sum of its terms' magnitudes,
  // or by `absolute`.
  std::string fault(wide relative, wide absolute = 0) {
    std::string wrong;
    each_index(conv.zshape, [&](const Shape &t) {
      if (!wrong.empty()) return;
      reference::Sum expected = conv.output(
          t, [&](const Shape &i) { return x.get(i); }, [&](const Shape &i) { return y.get(i); });
      expected.size = expected.size * relative + absolute;
      const T got = z.get(t);
      if (reference::holds(expected, got)) return;
      wrong = "at";
      for (const int32_t i : t) wrong += " " + std::to_string(i);
      wrong += ": " + std::to_string(reference::re(got)) + ", not " + std::to_string(expected.re);
    });
    return !wrong.empty() ? wrong : z.intact() && x.intact() && y.intact() ? "" : "written outside";
  }

  std::string name() const {
    const Shape *const lists[] = {&conv.xshape, &x.strides, &conv.yshape, &y.strides,
                                  &conv.zshape, &z.strides, &conv.start,  &conv.decimation};
    std::string text = conv.correlates ? "correlation" : "convolution";
    for (const Shape *list : lists) text += ' ' + testing::PrintToString(*list);
    return text + ": x, y, z with strides, start, decimation";
  }

  Conv conv;
  StridedArray<T> x, y, z;
};

// A problem of these lengths somewhere in the full result, with random strides.
template <class T>
Problem<T> random_problem(Random &random, bool correlates, const Shape &xshape, const Shape &yshape,
                          bool integers, std::size_t shift = 0) {
  Conv c{correlates, xshape, yshape, {}, {}, {}};
  const int32_t factors[] = {1, 1, 1, 2, -1, -3, 0};
  Shape xf, yf, zf;
  const bool dense = random.integer(0, 1) == 0; // dense in dimension 0 at least
  for (std::size_t k = 0; k < c.dims(); ++k) {
    const int32_t full = xshape[k] + yshape[k] - 1;
    const auto in = [&](int32_t lo, int32_t hi) { return static_cast<int32_t>(random.integer(lo, hi)); };
    const int32_t first = random.integer(0, 2) ? in(0, full - 1) : 0;
    const int32_t dec = random.integer(0, 2) ? 1 : in(1, 4);
    const int32_t most = (full - 1 - first) / dec + 1;
    c.start.push_back(correlates ? first + 1 - xshape[k] : first);
    c.decimation.push_back(dec);
    c.zshape.push_back(random.integer(0, 2) ? most : in(1, most));
    const bool plain = dense && k == 0;
    xf.push_back(plain ? 1 : factors[in(0, 6)]), yf.push_back(plain ? 1 : factors[in(0, 6)]);
    zf.push_back(factors[in(0, 5)]);
  }
  return Problem<T>(c, xf, yf, zf, integers, shift);
}

} // namespace tnk::test
