// How long one call takes.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>

namespace tnk::tool {

// Seconds a call of f takes: the median of nine rounds, each of as many calls as fill 4 ms. The first calls,
// which fault pages in and raise the clock, only settle that number. A call that takes longer is timed one a
// round.
template <class F> double seconds_per_call(F &&f) {
  using Clock = std::chrono::steady_clock;
  const auto round = [&](std::int64_t calls) {
    const auto start = Clock::now();
    for (std::int64_t i = 0; i < calls; ++i) f();
    return std::chrono::duration<double>(Clock::now() - start).count();
  };
  constexpr double enough = 4e-3;
  std::int64_t calls = 1;
  while (round(calls) < enough && calls < (std::int64_t{1} << 30)) calls *= 2;
  std::array<double, 9> seconds;
  for (double &s : seconds) s = round(calls) / static_cast<double>(calls);
  std::nth_element(seconds.begin(), seconds.begin() + seconds.size() / 2, seconds.end());
  return seconds[seconds.size() / 2];
}

// Takes a result that is only timed, so that the call cannot be left out.
template <class T> void keep(const T &value) {
  asm volatile("" : : "g"(&value) : "memory");
}

} // namespace tnk::tool
