// Operations held against what they mean: an operation on records beside a function of the same arguments on the
// reference's integers, run for values and ways of sharing records that a source of choices gives.
#pragma once

#include "reference/integer.h"
#include "support/random.h"

#include <cfloat>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tnk::test {

// For arguments that an operation is not made for.
struct NotDefined {};
inline void require(bool condition) {
  if (!condition) throw NotDefined();
}
// Where values come from: all of a list one after another, or at random.
class Choices {
public:
  Choices() = default;
  explicit Choices(Random &random, int longest = 14) : random_(&random), longest_(longest) {}

  // 0 to n - 1. The first run takes the first of everything; next() moves on until all has been had.
  int pick(int n) {
    if (random_) return static_cast<int>(random_->integer(0, n - 1));
    if (at_ == path_.size()) path_.push_back({0, n});
    return path_[at_++].first;
  }
  bool next() {
    at_ = 0;
    while (!path_.empty() && ++path_.back().first == path_.back().second) path_.pop_back();
    return !path_.empty();
  }
  void begin() { at_ = 0; }

  // `fewer`: where small ones will do.
  reference::Integer integer(bool fewer) {
    using reference::Integer;
    static const Integer w = Integer::power_of_two(64), least = INT64_MIN, most = INT64_MAX,
                         odd = (w * w - w) * w + Integer(int64_t{0x123456789ABCDEF});
    static const std::vector<Integer> edges = {0,  1,  -1,    3,     1 - w, w,    -w * w,        odd,
                                               -6, -w, w - 1, w + 1, least, most, w * w * w - w, -odd};
    if (!random_ || pick(3) == 0)
      return edges[static_cast<std::size_t>(pick(fewer ? 8 : static_cast<int>(edges.size())))];
    // Runs of ones and zeros, or random bits, in a few limbs more or less.
    const int count = fewer ? pick(4) : pick(4) > 0 ? pick(6) : longest_ / 2 + pick(longest_ / 2);
    std::vector<tnk_gmp_limb> limbs(static_cast<std::size_t>(count));
    const int kind = pick(3);
    for (auto &part : limbs)
      part = kind == 0 ? word() : pick(2) == 0 ? 0 : kind == 1 ? ~uint64_t{0} : ~uint64_t{0} << pick(64);
    return Integer(limbs.data(), static_cast<int64_t>(limbs.size()), pick(2) == 0);
  }
  uint64_t scalar(uint64_t) {
    if (random_ && pick(2) == 0) return pick(2) == 0 ? word() : word() >> pick(64);
    const uint64_t edges[] = {0, 1, 2, 3, 5, 16, 63, 64, 65, 127, 128, 193, UINT64_MAX, uint64_t{1} << 63, 6};
    return edges[pick(15)];
  }
  int64_t scalar(int64_t) {
    if (random_ && pick(2) == 0) return static_cast<int64_t>(word()) >> pick(64);
    const int64_t edges[] = {0, 1, -1, 2, -2, 3, INT64_MAX, INT64_MIN, -7};
    return edges[pick(9)];
  }
  double scalar(double) {
    if (random_ && pick(2) == 0) return std::ldexp(random_->real<double>(), pick(300) - 10);
    const double edges[] = {0,      0.5,     -0.5, 1,       -1.5,     0x1p63,
                            0x1p64, -0x1p64, 3,    1e-300,  -0x1p192, 0x1.fffffffffffffp63,
                            64,     0x1p128, 1e38, DBL_MAX, HUGE_VAL, -HUGE_VAL};
    return edges[pick(18)];
  }

private:
  uint64_t word() { return static_cast<uint64_t>(random_->integer(INT64_MIN, INT64_MAX)); }

  Random *random_ = nullptr;
  int longest_ = 0; // in limbs
  std::size_t at_ = 0;
  std::vector<std::pair<int, int>> path_;
};

// An integer of the kernel that is made and cleared here.
struct Z {
  tnk_gmp_integer record;
  Z() { tnk_gmp___gmpz_init(&record); }
  explicit Z(int64_t value) { tnk_gmp___gmpz_init_set_si(&record, value); }
  explicit Z(const reference::Integer &value) : Z() {
    const auto limbs = value.limbs();
    if (limbs.empty()) return;
    const auto n = static_cast<int32_t>(limbs.size());
    tnk_gmp___gmpz_realloc(&record, n); // just as much as it needs
    std::copy(limbs.begin(), limbs.end(), record.d);
    record.size = value.sign() < 0 ? -n : n;
  }
  Z(const Z &other) { tnk_gmp___gmpz_init_set(&record, &other.record); }
  Z &operator=(const Z &) = delete;
  ~Z() { tnk_gmp___gmpz_clear(&record); }
  operator tnk_gmp_integer *() { return &record; }
  operator const tnk_gmp_integer *() const { return &record; }
  // Of a record that is as it should be.
  reference::Integer value() const {
    const int32_t n = std::abs(record.size);
    EXPECT_LE(n, record.alloc);
    EXPECT_TRUE(n == 0 || record.d[n - 1] != 0) << "a highest limb of 0";
    return reference::Integer(record.d, n, record.size < 0);
  }
};

struct Operation {
  std::string name;
  bool short_list;                    // few enough arguments to try all of them
  std::function<bool(Choices &)> run; // whether the arguments were such that it is defined
};

namespace detail {

struct Argument {
  bool is_record = false;
  int place = -1;                   // of a record: which one
  reference::Integer before, after; // of an output `after` is what the meaning makes of it
  uint64_t number = 0;
  int64_t signed_number = 0;
  double real = 0;

  uint64_t &scalar(uint64_t) { return number; }
  int64_t &scalar(int64_t) { return signed_number; }
  double &scalar(double) { return real; }
};

template <class T> constexpr bool is_output = std::is_same_v<T, tnk_gmp_integer *>;
template <class T> constexpr bool is_input = std::is_same_v<T, const tnk_gmp_integer *>;

template <class T> void choose(Argument &a, int &inputs, std::vector<Argument *> &list, Choices &choices) {
  if constexpr (is_input<T>) {
    a.is_record = true;
    const bool shared = inputs > 0 && choices.pick(2) == 0;
    a.place = shared ? list[0]->place : inputs;
    a.before = shared ? list[0]->before : choices.integer(false);
    list.push_back(&a), ++inputs;
  } else if constexpr (!is_output<T>) {
    a.scalar(T()) = choices.scalar(T());
  }
}
template <class T>
void share(Argument &a, int &places, std::vector<int> &taken, const std::vector<Argument *> &inputs,
           Choices &choices) {
  if constexpr (is_output<T>) {
    a.is_record = true;
    const int with = choices.pick(static_cast<int>(inputs.size()) + 1);
    const bool alone = with == 0 || std::count(taken.begin(), taken.end(), inputs[with - 1]->place) != 0;
    a.place = alone ? places++ : inputs[with - 1]->place;
    a.before = alone ? (taken.empty() ? choices.integer(true) : 5) : inputs[with - 1]->before;
    a.after = a.before;
    taken.push_back(a.place);
  }
}
template <class T> decltype(auto) to_meaning(Argument &a) {
  if constexpr (is_output<T>)
    return (a.after);
  else if constexpr (is_input<T>)
    return std::as_const(a.before);
  else
    return T(a.scalar(T()));
}
template <class T, class Records> T to_function(Argument &a, Records &records) {
  if constexpr (is_output<T> || is_input<T>)
    return *records[static_cast<std::size_t>(a.place)];
  else
    return a.scalar(T());
}

// Calls a function on records with these values, and compares what they hold afterwards.
template <class R, class... A, std::size_t... I>
R call(R (*function)(A...), std::vector<Argument> &arguments, std::index_sequence<I...>) {
  std::vector<std::unique_ptr<Z>> records(arguments.size() * 2);
  for (const Argument &a : arguments)
    if (a.is_record && !records[static_cast<std::size_t>(a.place)])
      records[static_cast<std::size_t>(a.place)] = std::make_unique<Z>(a.before);
  const auto compare = [&] {
    std::vector<bool> written(records.size());
    const auto look = [&](const Argument &a, bool output) {
      if (!a.is_record || (!output && written[static_cast<std::size_t>(a.place)])) return;
      const auto found = records[static_cast<std::size_t>(a.place)]->value();
      EXPECT_EQ(found.text(16), (output ? a.after : a.before).text(16));
      written[static_cast<std::size_t>(a.place)] = true;
    };
    ((is_output<A> ? look(arguments[I], true) : void()), ...);
    ((is_input<A> ? look(arguments[I], false) : void()), ...);
  };
  if constexpr (std::is_void_v<R>) {
    function(to_function<A>(arguments[I], records)...);
    compare();
  } else {
    const R result = function(to_function<A>(arguments[I], records)...);
    compare();
    return result;
  }
}

inline std::string text(const std::vector<Argument> &arguments) {
  std::string result;
  for (const Argument &a : arguments)
    result += a.is_record ? " #" + std::to_string(a.place) + "=" + a.before.text(16)
                          : " " + std::to_string(a.number) + "/" + std::to_string(a.signed_number) + "/" +
                                std::to_string(a.real);
  return result;
}

template <class Meaning, class R, class... A, std::size_t... I>
bool run(const char *name, R (*function)(A...), const Meaning &meaning, Choices &choices,
         std::index_sequence<I...> indices) {
  std::vector<Argument> arguments(sizeof...(A));
  std::vector<Argument *> inputs;
  std::vector<int> taken;
  int places = 0;
  (choose<A>(arguments[I], places, inputs, choices), ...);
  (share<A>(arguments[I], places, taken, inputs, choices), ...);
  SCOPED_TRACE(name + text(arguments));
  try {
    if constexpr (std::is_void_v<R>) {
      meaning(to_meaning<A>(arguments[I])...);
      call(function, arguments, indices);
    } else {
      const R expected = static_cast<R>(meaning(to_meaning<A>(arguments[I])...));
      EXPECT_EQ(call(function, arguments, indices), expected);
    }
  } catch (NotDefined) {
    return false;
  }
  return true;
}

} // namespace detail

template <class R, class... A, class Meaning>
Operation operation(const char *name, R (*function)(A...), Meaning meaning) {
  return {name, (0 + ... + detail::is_input<A>) < 3 && sizeof...(A) < 5, [=](Choices &choices) {
            return detail::run(name, function, meaning, choices, std::index_sequence_for<A...>());
          }};
}

} // namespace tnk::test
