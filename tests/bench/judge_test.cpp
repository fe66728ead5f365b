// The judge before rows that were made for it.
#include "bench/frame/judge.h"
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace tnk::bench;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Contenders that leave one number each behind, in the second of two elements; operands are 1 and 1 at first.
template <class T> struct Made {
  T operands[2] = {};
  Case contest;

  Run leaving(T value) {
    return [this, value](long) { operands[1] = value; };
  }
  Made(T ours, T peer, const Tolerance &tolerance = equal) {
    contest.reset = [this] { operands[0] = operands[1] = 1; };
    contest.ours = leaving(ours), contest.peer = leaving(peer);
    contest.results = {result(operands, 2, tolerance)};
  }
  Made(const Made &) = delete;
  Made &operator=(const Made &) = delete;
};

TEST(Judge, ComparesEachNumberWithinTheToleranceOfTheRow) {
  const struct {
    double ours, peer;
    Tolerance tolerance;
    bool right;
  } cases[] = {{2, 2, equal, true},
               {2, 2 + 0x1p-22, equal, false},
               {2, -2, equal, false},
               {2, 2.125, {0.125, 0, 0}, true},
               {2, 2.25, {0.125, 0, 0}, false},
               {7, 8, {0, 0.125, 0}, true},
               {9.5, 8, {0, 0.125, 0}, false},
               {0.5, 0, {0, 1, 0}, false},
               {0.5, 0, {0, 0, 0.5}, true}, // the largest is the 1 before it
               {0.75, 0, {0, 0, 0.5}, false},
               {nan, 2, {1, 1, 1}, false},
               {2, nan, {1, 1, 1}, false},
               {std::numeric_limits<double>::infinity(), 2, {1, 1, 1}, false}};
  for (const auto &c : cases) {
    Made<double> row(c.ours, c.peer, c.tolerance);
    EXPECT_EQ(judge(row.contest).error.empty(), c.right) << c.ours << " " << c.peer;
    Made<float> single(static_cast<float>(c.ours), static_cast<float>(c.peer), c.tolerance);
    EXPECT_EQ(judge(single.contest).error.empty(), c.right) << c.ours << " " << c.peer << " float";
  }
  Made<long> same(5, 5, {9, 9, 9}), other(5, 6, {9, 9, 9}); // bytes know no tolerance
  EXPECT_EQ(judge(same.contest).error, "");
  EXPECT_NE(judge(other.contest).error, "");
}

TEST(Judge, FindsTheFirstAndTheLastNumberOfEachResult) {
  for (const std::size_t wrong : {std::size_t{0}, std::size_t{4}, std::size_t{5}, std::size_t{9}}) {
    std::vector<double> x(5), y(5);
    const auto leave = [&](std::size_t spoilt) {
      return [&, spoilt](long) {
        for (std::size_t i = 0; i < 10; ++i) (i < 5 ? x : y)[i % 5] = i == spoilt ? 3 : 2;
      };
    };
    Case contest;
    contest.results = {result(x.data(), 5), result(y.data(), 5)};
    contest.ours = leave(wrong), contest.peer = leave(99);
    EXPECT_NE(judge(contest).error, "") << wrong;
  }
}

TEST(Judge, GivesEveryContenderFreshOperands) {
  Made<double> row(0, 0);
  row.contest.ours = row.contest.peer = [&](long count) { row.operands[1] += static_cast<double>(count); };
  EXPECT_EQ(judge(row.contest).error, "");
  EXPECT_EQ(row.operands[1], 2);
}

TEST(Judge, WhatTheReferenceSaysDecidesWhichOfTwoIsWrong) {
  Made<double> wrong(2, 3), peer_wrong(3, 2), alone(2, 0);
  wrong.contest.reference = wrong.leaving(3);
  peer_wrong.contest.reference = peer_wrong.leaving(3);
  alone.contest.reference = alone.leaving(3), alone.contest.peer = {};
  EXPECT_NE(judge(wrong.contest).error, "");
  EXPECT_NE(judge(alone.contest).error, "");
  const Verdict verdict = judge(peer_wrong.contest);
  EXPECT_TRUE(verdict.error.empty() && verdict.peer_wrong) << verdict.error;
  Made<double> without(2, 0);
  without.contest.peer = {};
  EXPECT_TRUE(judge(without.contest).error.empty() && !judge(without.contest).peer_wrong);
}

TEST(Judge, AnErrorOfItsOwnIsHeldAgainstWhatIsAllowed) {
  const struct {
    double ours, peer;
    bool right, peer_wrong;
  } cases[] = {{3, 2.5, true, false},
               {3, 2, true, true},
               {2, 3, false, false},
               {nan, 3, false, false},
               {3, nan, true, true}};
  for (const auto &c : cases) {
    Made<double> row(c.ours, c.peer);
    row.contest.error = [&] { return std::fabs(row.operands[1] - 3); };
    row.contest.allowed = 0.5;
    const Verdict verdict = judge(row.contest);
    EXPECT_EQ(verdict.error.empty(), c.right) << c.ours << " " << c.peer;
    EXPECT_EQ(verdict.peer_wrong, c.peer_wrong) << c.ours << " " << c.peer;
  }
}

TEST(Judge, RefusesRowsThatCouldNotFail) {
  Made<double> idle(1, 1), unjudged(2, 2), missing(2, 2);
  unjudged.contest.results.clear();
  missing.contest.ours = {};
  EXPECT_NE(judge(idle.contest).error, "") << "both left their operands alone";
  EXPECT_NE(judge(unjudged.contest).error, "");
  EXPECT_NE(judge(missing.contest).error, "");
}

} // namespace
