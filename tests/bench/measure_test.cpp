// Times taken by a clock that moves as the contenders say.
#include "bench/frame/measure.h"
#include "bench/frame/median.h"
#include <cstdlib>
#include <gtest/gtest.h>
#include <stdexcept>
#include <tnk/blas.h>
#include <tnk/host.h>

namespace {

using namespace tnk::bench;

TEST(Median, IsTheMiddleOrTheMeanOfTheTwoMiddleOnes) {
  EXPECT_EQ(median({}), 0);
  EXPECT_EQ(median({7}), 7);
  EXPECT_EQ(median({9, 1}), 5);
  EXPECT_EQ(median({9, 1, 2}), 2);
  EXPECT_EQ(median({4, 100, 1, 2}), 3);
  EXPECT_EQ(median({5, 5, 5, 1}), 5);
}

class Measure : public testing::Test {
protected:
  // A contender that takes so many seconds a call and leaves a number behind.
  tnk::bench::Run taking(double seconds, double value = 2) {
    return [this, seconds, value](long count) {
      now += seconds * static_cast<double>(count);
      result_ = value;
    };
  }

  void SetUp() override {
    contest.reset = [this] { result_ = 1; };
    contest.results = {result(&result_, 1)};
    contest.ours = taking(1e-6), contest.peer = taking(1e-6);
    contest.work = 500;
    row.prepare = [this](tnk_int) { return contest; };
  }

  Measurement measured(int rounds = 5) {
    return measure(row, 10, rounds, [this] { return now; });
  }

  double now = 0;
  Case contest;
  Row row;

private:
  double result_ = 0;
};

TEST_F(Measure, TwiceAsFastIsARatioOfTwoAndTwiceAsSlowOneOfAHalf) {
  contest.peer = taking(2e-6);
  const Measurement fast = measured();
  EXPECT_EQ(fast.error, "");
  EXPECT_NEAR(fast.ratio, 2, 1e-9);
  EXPECT_NEAR(fast.seconds, 1e-6, 1e-12);
  EXPECT_NEAR(fast.peer_seconds, 2e-6, 1e-12);
  EXPECT_NEAR(fast.rate, 5e8, 1);
  contest.ours = taking(4e-6);
  EXPECT_NEAR(measured().ratio, 0.5, 1e-9);
}

TEST_F(Measure, WrongResultsAreAnErrorAndGetNoTimes) {
  contest.ours = taking(1e-6, 3);
  const Measurement m = measured();
  EXPECT_NE(m.error, "");
  EXPECT_TRUE(m.seconds == 0 && m.ratio == 0 && m.rate == 0);
}

TEST_F(Measure, APeerThatIsWrongIsLeftOut) {
  contest.peer = taking(1e-6, 3), contest.reference = taking(1, 2);
  const Measurement m = measured();
  EXPECT_EQ(m.error, "");
  EXPECT_EQ(m.note, "the peer is wrong");
  EXPECT_TRUE(m.seconds > 0 && m.ratio == 0 && m.peer_seconds == 0);
  contest.peer = {};
  EXPECT_EQ(measured().note, "the peer has no such routine");
}

// A machine that slows down between rounds: sides are compared within a round, and the odd one out does not count.
TEST_F(Measure, RatiosAreTakenWithinARound) {
  contest.ours = [&](long count) {
    now += 1e-3 * static_cast<double>(count);
    taking(0)(1);
  };
  contest.peer = [&](long count) {
    now += (now > 0.02 ? 9e-3 : 3e-3) * static_cast<double>(count);
    taking(0)(1);
  };
  const Measurement m = measured(9);
  EXPECT_NEAR(m.ratio, 9, 1e-9);
  EXPECT_NEAR(m.seconds, 1e-3, 1e-9);
}

TEST_F(Measure, TheLimitThatTakesLongestIsTheOne) {
  contest.limits = {{"bytes", taking(1e-7), 2}, {"flops", taking(2e-7), 4}};
  Measurement m = measured(4); // as many rounds forward as backward
  EXPECT_EQ(m.limited_by, "flops");
  EXPECT_NEAR(m.fraction, 0.8, 1e-9);
  EXPECT_NEAR(m.ratio, 1, 1e-9);
  contest.limits[1].times = 0.5, contest.peer = {};
  m = measured();
  EXPECT_EQ(m.limited_by, "bytes");
  EXPECT_NEAR(m.fraction, 0.2, 1e-9);
}

TEST_F(Measure, WhatComesBeforeEachCallIsNotTimed) {
  long made_ready = 0, calls = 0;
  contest.before_each = [&] { now += 1, ++made_ready; };
  contest.ours = [&](long count) {
    calls += count;
    taking(1e-6)(count);
  };
  contest.peer = {};
  EXPECT_NEAR(measured().seconds, 1e-6, 1e-9);
  EXPECT_EQ(calls, made_ready + 1) << "the one that was judged";
}

TEST_F(Measure, LongCallsGetFewerRoundsAndNoneOnlyAVerdict) {
  long calls = 0;
  const auto count_calls = [&](double seconds, int rounds) {
    contest.ours = [&, seconds](long count) {
      calls += count;
      taking(seconds)(count);
    };
    contest.peer = {};
    calls = 0;
    EXPECT_EQ(measured(rounds).error, "");
    return calls - 1; // one was judged
  };
  EXPECT_EQ(count_calls(10, 15), 1 + 3); // one call to find out
  EXPECT_EQ(count_calls(0.25, 15), 1 + 6);
  EXPECT_EQ(count_calls(0.01, 15), 1 + 15);
  EXPECT_EQ(count_calls(10, 2), 1 + 2);
  EXPECT_EQ(count_calls(10, 0), 0);
}

TEST_F(Measure, EachSideRunsOnItsThreadsAndErrorsOfTheHostAreTheRows) {
  int ours = 0, peer = 0;
  contest.ours = [&](long) { ours = tnk_get_max_threads(), taking(1e-3)(1); };
  contest.peer = [&](long) { peer = tnk_get_max_threads(), taking(1e-3)(1); };
  row.threads = 3, row.peer_threads = 2;
  EXPECT_EQ(measured(0).error, ""); // judged
  EXPECT_TRUE(ours == 3 && peer == 2) << ours << " " << peer;
  ours = peer = 0;
  EXPECT_EQ(measured().error, ""); // timed
  EXPECT_TRUE(ours == 3 && peer == 2) << ours << " " << peer;

  contest.ours = [&](long) {
    const tnk_int n = -1;
    tnk_blas_daxpy(&n, nullptr, nullptr, nullptr, nullptr, nullptr);
    taking(1e-3)(1);
  };
  EXPECT_NE(measured().error.find("daxpy"), std::string::npos) << measured().error;
  row.prepare = [](tnk_int) -> Case { throw std::runtime_error("no plan"); };
  EXPECT_EQ(measured().error, "no plan");
  contest.skip = "needs 6 GB";
  row.prepare = [&](tnk_int) { return contest; };
  EXPECT_TRUE(measured().skipped == "needs 6 GB" && measured().error.empty() && measured().seconds == 0);
}

// Any library does for one that has cores; it says that it runs what the environment asks for, or another one.
std::string obedient(const Library &) {
  const char *core = std::getenv("TNK_TEST_CORE");
  return core ? core : "its own";
}
std::string stubborn(const Library &) {
  return "other";
}

TEST(Peer, RunsTheCoreThatWasChosenAndSaysWhatIsMissing) {
  const Library::Traits traits = {"Sums", "libm.so.6", "libc6", "TNK_TEST_CORE", "fair", nullptr, obedient};
  Library same(traits), best(traits);
  choose_core(Core::same);
  auto *const root = same.routine<double(double)>("sqrt");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root(9), 3);
  EXPECT_EQ(same.core(), "fair");
  EXPECT_EQ(same.routine<void()>("no_such_routine"), nullptr);
  EXPECT_EQ(same.absence(), "");

  Library::Traits unwilling = traits;
  unwilling.core = stubborn;
  Library wrong_core(unwilling);
  for (int i = 0; i < 2; ++i) EXPECT_THROW(wrong_core.routine<void()>("sqrt"), std::runtime_error);
  choose_core(Core::best);
  EXPECT_NE(best.routine<void()>("sqrt"), nullptr);
  EXPECT_EQ(best.core(), "its own");

  Library nowhere({"Sums", "libtnk_no_such_library.so", "sums-package", nullptr, nullptr, nullptr, nullptr});
  EXPECT_EQ(nowhere.routine<void()>("sqrt"), nullptr);
  EXPECT_NE(nowhere.absence().find("sums-package"), std::string::npos) << nowhere.absence();
  EXPECT_FALSE(nowhere.has_cores());
}

} // namespace
