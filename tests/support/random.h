// Numbers for tests, the same in every run.
#pragma once

#include <random>
#include <tnk/types.h>
#include <type_traits>

namespace tnk::test {

class Random {
public:
  explicit Random(unsigned seed = 1) : engine_(seed) {}

  // Uniform in [low, high).
  template <class R> R real(R low = -1, R high = 1) {
    return std::uniform_real_distribution<R>(low, high)(engine_);
  }
  // Uniform in low ... high, both included.
  tnk_int integer(tnk_int low, tnk_int high) {
    return std::uniform_int_distribution<tnk_int>(low, high)(engine_);
  }
  // A number, or a pair of them, in [-1, 1).
  template <class T> T number() {
    if constexpr (std::is_floating_point_v<T>)
      return real<T>();
    else
      return T{real<decltype(T::re)>(), real<decltype(T::re)>()};
  }

private:
  std::mt19937_64 engine_;
};

} // namespace tnk::test
