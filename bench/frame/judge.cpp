#include "bench/frame/judge.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace tnk::bench {
namespace {

std::size_t bytes_of(const Result &result) {
  const std::size_t each = result.kind == Result::float32 ? 4 : result.kind == Result::float64 ? 8 : 1;
  return result.count * each;
}

// What a contender left behind.
using Copies = std::vector<std::vector<unsigned char>>;

Copies copies(const std::vector<Result> &results) {
  Copies kept;
  for (const Result &result : results) {
    const auto *first = static_cast<const unsigned char *>(result.data);
    kept.emplace_back(first, first + bytes_of(result));
  }
  return kept;
}

// Tells contents apart without a second copy of them.
std::uint64_t digest(const std::vector<Result> &results) {
  std::uint64_t sum = 0;
  for (const Result &result : results) {
    const auto *first = static_cast<const unsigned char *>(result.data);
    const std::size_t size = bytes_of(result);
    for (std::size_t i = 0; i < size; i += sizeof sum) {
      std::uint64_t word = 0;
      std::memcpy(&word, first + i, std::min(sizeof word, size - i));
      sum = (sum ^ word) * 0x9e3779b97f4a7c15u;
      sum ^= sum >> 29;
    }
  }
  return sum;
}

template <class T> bool within(const void *found_data, const Result &right_result) {
  const T *found = static_cast<const T *>(found_data), *right = static_cast<const T *>(right_result.data);
  const Tolerance &tolerance = right_result.tolerance;
  double largest = 0;
  if (tolerance.of_largest > 0)
    for (std::size_t i = 0; i < right_result.count; ++i)
      largest = std::max(largest, std::abs(static_cast<double>(right[i])));
  const double common = tolerance.absolute + tolerance.of_largest * largest;
  for (std::size_t i = 0; i < right_result.count; ++i) {
    const double expected = right[i], error = std::abs(static_cast<double>(found[i]) - expected);
    if (!(error <= common + tolerance.relative * std::abs(expected))) return false;
  }
  return true;
}

// Whether what was found agrees with what lies in the results now.
bool agrees(const Copies &found, const std::vector<Result> &right) {
  for (std::size_t i = 0; i < right.size(); ++i) {
    const void *const data = found[i].data();
    const bool same = right[i].kind == Result::float32   ? within<float>(data, right[i])
                      : right[i].kind == Result::float64 ? within<double>(data, right[i])
                                                         : !std::memcmp(data, right[i].data, right[i].count);
    if (!same) return false;
  }
  return true;
}

void run_afresh(const Case &contest, const Run &contender) {
  if (contest.reset) contest.reset();
  contender(1);
}

Verdict judge_by_error(const Case &contest) {
  run_afresh(contest, contest.ours);
  const double ours = contest.error();
  if (!(ours <= contest.allowed)) {
    char text[80];
    std::snprintf(text, sizeof text, "its error %.2e is over what is allowed, %.2e", ours, contest.allowed);
    return {text};
  }
  if (!contest.peer) return {};
  run_afresh(contest, contest.peer);
  return {"", !(contest.error() <= contest.allowed)};
}

} // namespace

Verdict judge(const Case &contest) {
  if (!contest.ours) return {"the library has no such routine"};
  if (contest.error) return judge_by_error(contest);
  if (contest.results.empty()) return {"the row has nothing to be judged by"};

  if (contest.reset) contest.reset();
  const std::uint64_t before = digest(contest.results);
  contest.ours(1);
  // Two routines that both did nothing would agree.
  if (digest(contest.results) == before) return {"it left its operands as they were"};
  const Copies found = copies(contest.results);
  const auto agrees_with = [&](const Run &other) {
    run_afresh(contest, other);
    return agrees(found, contest.results);
  };
  if (contest.peer && agrees_with(contest.peer)) return {};
  if (contest.reference) {
    if (!agrees_with(contest.reference)) return {"the result differs from the reference's"};
    return {"", static_cast<bool>(contest.peer)};
  }
  return {contest.peer ? "the result differs from the peer's" : ""};
}

} // namespace tnk::bench
