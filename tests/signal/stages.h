// The stages of transforms, which have the same names in both precisions but for the width of their numbers.
#pragma once

#include "tests/signal/forms.h"

#include <dlfcn.h>
#include <stdexcept>
#include <string>

namespace tnk::test {

// A stage by the parts of its name, so that none can hide behind another one.
template <class R, class Result = void, class... Arguments>
Result stage(const std::string &begin, const char *end, Arguments... arguments) {
  const std::string name = "e9_vpks" + begin + (sizeof(R) == 4 ? "_32" : "_64") + end;
  auto *const entry = reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_DEFAULT, name.c_str()));
  if (!entry) throw std::logic_error("there is no " + name);
  return entry(arguments...);
}

template <class R> using complex_of = std::conditional_t<sizeof(R) == 4, tnk_complex8, tnk_complex16>;
template <class R> std::vector<complex_of<R>> numbers(int32_t n) {
  Random random(static_cast<unsigned>(n));
  std::vector<complex_of<R>> x(static_cast<std::size_t>(n));
  for (auto &z : x) z = random.number<complex_of<R>>();
  return x;
}

// n of them from the first one on, every step-th.
template <class C> Numbers wide(const C *x, int32_t n, int32_t step = 1) {
  Numbers y;
  for (int32_t i = 0; i < n; ++i) y.emplace_back(x[i * step].re, x[i * step].im);
  return y;
}

} // namespace tnk::test
