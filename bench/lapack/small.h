// Small problems that a routine solves in place: many of them side by side, so that a call is long beside the clock and
// all of them stay in the first cache.
#pragma once

#include "bench/frame/probe.h"
#include "bench/frame/row.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

namespace tnk::bench {

template <class T> constexpr bool is_complex = std::is_class_v<T>;
template <class T>
using Real = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, tnk_complex8>, float, double>;
template <class T>
constexpr char letter = std::is_same_v<T, float>          ? 's'
                        : std::is_same_v<T, double>       ? 'd'
                        : std::is_same_v<T, tnk_complex8> ? 'c'
                                                          : 'z';

// Numbers with parts in [-1, 1), the same in every run.
class Numbers {
public:
  template <class T> T next(double re_added = 0) {
    if constexpr (is_complex<T>)
      return {static_cast<Real<T>>(uniform() + re_added), static_cast<Real<T>>(uniform())};
    else
      return static_cast<T>(uniform() + re_added);
  }
  bool coin() { return uniform() < 0; }

private:
  double uniform() {
    state ^= state << 13, state ^= state >> 7, state ^= state << 17;
    return static_cast<double>(state >> 11) * 0x1p-52 - 1;
  }
  std::uint64_t state = 0x9e3779b97f4a7c15u;
};

// One problem at a time, on its operands. Empty when the routine is not there.
template <class T> using Solve = std::function<void(T *operands)>;

// The first `judged` operands are what both must leave alike, to within `digits` times the unit of T.
template <class T>
Case side_by_side(const std::vector<T> &operands, std::size_t judged, double digits, double flops,
                  const Solve<T> &ours, const Solve<T> &peer) {
  constexpr std::size_t line = 64, first_cache = 24576;
  const std::size_t bytes = (operands.size() * sizeof(T) + line - 1) / line * line, each = bytes / sizeof(T),
                    many = std::max<std::size_t>(1, first_cache / bytes);
  struct Data {
    std::vector<T> original, room;
    T *first;
  };
  const auto data = std::make_shared<Data>();
  data->original.resize(each * many);
  data->room.resize(each * many + line / sizeof(T));
  const std::size_t past = reinterpret_cast<std::uintptr_t>(data->room.data()) % line;
  data->first = data->room.data() + (past ? (line - past) / sizeof(T) : 0);
  for (std::size_t k = 0; k < many; ++k)
    std::copy(operands.begin(), operands.end(),
              data->original.begin() + static_cast<std::ptrdiff_t>(k * each));

  Case made;
  made.reset = made.before_each = [=] {
    std::memcpy(data->first, data->original.data(), data->original.size() * sizeof(T));
  };
  const auto all = [=](const Solve<T> &solve) -> Run {
    if (!solve) return {};
    return [=](long count) {
      for (; count > 0; --count)
        for (std::size_t k = 0; k < many; ++k) solve(data->first + k * each);
    };
  };
  made.ours = all(ours);
  made.peer = all(peer);
  constexpr double eps = std::numeric_limits<Real<T>>::epsilon();
  for (std::size_t k = 0; k < many; ++k)
    made.results.push_back(result(data->first + k * each, judged, Tolerance{0, 0, digits * eps}));
  made.work = flops * static_cast<double>(many);
  made.limits = {flops_limit(flop_probe(sizeof(Real<T>), 32), made.work)};
  return made;
}

} // namespace tnk::bench
