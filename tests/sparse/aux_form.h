// The functions beside the sparse grid, called by their names in each of their eight forms.
#pragma once

#include "reference/sparse_grid.h"
#include "support/named.h"
#include "support/random.h"
#include <gtest/gtest.h>
#include <limits>
#include <tnk/spblas_aux.h>
#include <tuple>

namespace tnk::test {

using reference::wide, reference::widened;
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

template <class T> T narrow(wide v) {
  if constexpr (std::is_floating_point_v<T>)
    return static_cast<T>(v.real());
  else
    return {static_cast<decltype(T::re)>(v.real()), static_cast<decltype(T::re)>(v.imag())};
}

// The fixture of a family over element types and integer widths; its tests name the two T and I.
template <class Form> struct InEachForm : testing::Test {
  using Number = typename Form::first_type;
  using Index = typename Form::second_type;
  static constexpr bool real = std::is_floating_point_v<Number>, single = sizeof(Number) == (real ? 4 : 8);
  static constexpr double eps = single ? 0x1p-24 : 0x1p-53;
  Random random;

  // Calls a function by its name, in which ? stands for the type. A matrix stands for its arrays.
  template <class... A> static void call(const std::string &name, A &&...arguments) {
    std::apply(Named<Number>{(sizeof(Index) == 4 ? "tnk_spblas_lp64_" : "tnk_spblas_") + name},
               std::tuple_cat(passed(arguments, 0)...));
  }
  template <class A> static auto passed(A &a, int) -> decltype(a.arrays()) { return a.arrays(); }
  template <class A> static std::tuple<A &> passed(A &a, long) { return {a}; }
  // An integer, or a pair of them where numbers are pairs.
  static wide pair(long double re, long double im) { return real ? re : wide{re, im}; }
  wide small() {
    const tnk_int re = random.integer(-3, 3), im = random.integer(-3, 3);
    return pair(re, im);
  }
  std::vector<Number> smalls(Index n) {
    std::vector<Number> v(static_cast<std::size_t>(n));
    for (Number &x : v) x = narrow<Number>(small());
    return v;
  }
  std::vector<Number> numbers(Index n) {
    std::vector<Number> v(static_cast<std::size_t>(n));
    for (Number &x : v) x = random.template number<Number>();
    return v;
  }
};
template <class T> using Wide = std::pair<T, tnk_int>;
template <class T> using Narrow = std::pair<T, std::int32_t>;
using Forms = testing::Types<Wide<float>, Wide<double>, Wide<tnk_complex8>, Wide<tnk_complex16>,
                             Narrow<float>, Narrow<double>, Narrow<tnk_complex8>, Narrow<tnk_complex16>>;
#define USE_FORM                                                                                             \
  using T [[maybe_unused]] = typename TypeParam::first_type;                                                 \
  using I = typename TypeParam::second_type

} // namespace tnk::test
