// The team by itself: slices, callers, processes and processors.
#include <atomic>
#include <cerrno>
#include <cfenv>
#include <chrono>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xmmintrin.h>

#include "host/threading/team.h"

namespace {

using tnk::host::in_slice;
using tnk::host::spread;

// Whether it comes true within the time that a loaded machine may need.
bool comes_true(const std::function<bool()> &condition) {
  for (int i = 0; i < 20000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

// Whether so many slices meet, as they can only if each has a thread of its own.
bool threads_meet(int count) {
  std::atomic<int> there{0}, met{0};
  spread(count, count, [&](int) {
    ++there;
    met += comes_true([&] { return there == count; });
  });
  return met == count;
}

TEST(Team, RunsEachSliceOnceForSeveralCallersAtATime) {
  std::atomic<int> wrong{0};
  const auto use = [&](int shift) {
    for (int round = 0; round < 3000; ++round) {
      const int slices = (round + shift) % 11, threads = round % 500 == 499 ? INT32_MAX : round / 11 % 5;
      std::vector<int> runs(static_cast<std::size_t>(slices)); // no atomics: the caller sees what was done
      errno = 77;
      spread(slices, threads, [&](int i) {
        const auto self = std::this_thread::get_id();
        wrong += !in_slice();
        spread(3, 3, [&](int) {
          wrong += std::this_thread::get_id() != self;
          ++runs[static_cast<std::size_t>(i)];
        });
        wrong += !in_slice();
      });
      for (const int n : runs) wrong += n != 3;
      wrong += errno != 77 || in_slice();
    }
  };
  std::thread second(use, 3), third(use, 7);
  use(0);
  second.join();
  third.join();
  EXPECT_EQ(wrong, 0);
}

TEST(Team, HasAsManyThreadsAsAskedForAndNoMore) {
  EXPECT_TRUE(threads_meet(2) && threads_meet(5)); // more than before
  for (int round = 0; round < 200; ++round) {
    spread(4, 4, [](int) {}); // after which the others are awake for a while
    std::thread::id by[16];
    spread(16, 2, [&](int i) {
      by[i] = std::this_thread::get_id();
      std::this_thread::sleep_for(std::chrono::microseconds(50)); // in which one more would come
    });
    ASSERT_LE(std::set<std::thread::id>(std::begin(by), std::end(by)).size(), 2u);
  }
}

// With a default size of stacks that no system grants, each new thread is refused; more are asked for than there is room.
TEST(Team, DoesWithoutThreadsThatTheSystemRefuses) {
  pthread_attr_t before, vast;
  pthread_getattr_default_np(&before);
  pthread_attr_init(&vast);
  pthread_attr_setstacksize(&vast, std::size_t{1} << 52);
  ASSERT_EQ(pthread_setattr_default_np(&vast), 0);
  std::atomic<int> runs{0};
  spread(400, 400, [&](int) { ++runs; });
  pthread_setattr_default_np(&before);
  EXPECT_EQ(runs, 400);
  // Asked again after a hundred jobs, which are short here.
  for (int job = 0; job < 100; ++job) spread(2, 2, [](int) {});
  EXPECT_TRUE(threads_meet(12)); // more than in other tests
}

// A second caller does not wait for the first.
TEST(Team, LeavesNoCallerWaitingForAnother) {
  std::atomic<bool> begun{false}, released{false};
  std::thread first([&] {
    spread(2, 2, [&](int) {
      begun = true;
      EXPECT_TRUE(comes_true([&] { return released.load(); }));
    });
  });
  ASSERT_TRUE(comes_true([&] { return begun.load(); }));
  int runs = 0;
  spread(8, 8, [&](int) { ++runs; });
  released = true;
  first.join();
  EXPECT_EQ(runs, 8);
}

struct FloatingPoint : testing::TestWithParam<int> {};

TEST_P(FloatingPoint, ControlAndExceptionsAreTheCallers) {
  ASSERT_TRUE(threads_meet(2)); // the team is there before the mode is set
  std::feclearexcept(FE_ALL_EXCEPT);
  std::fenv_t before;
  std::fegetenv(&before);
  const unsigned flush = 0x8040; // results and operands
  std::fesetround(GetParam());
  _mm_setcsr(_mm_getcsr() | flush);
  std::atomic<int> right{0}, there{0};
  const auto caller = std::this_thread::get_id();
  spread(2, 2, [&](int) {
    ++there;
    comes_true([&] { return there == 2; });
    unsigned short x87;
    asm volatile("fnstcw %0" : "=m"(x87));
    right +=
        std::fegetround() == GetParam() && (x87 & 0xC00) == GetParam() && (_mm_getcsr() & flush) == flush;
    if (std::this_thread::get_id() != caller) std::feraiseexcept(FE_DIVBYZERO);
  });
  const int raised = std::fetestexcept(FE_DIVBYZERO | FE_INVALID);
  std::fesetenv(&before);
  EXPECT_TRUE(right == 2 && raised == FE_DIVBYZERO) << right << ' ' << raised;
  // Nothing of it stays.
  std::atomic<int> plain{0};
  spread(8, 2, [&](int) { plain += std::fegetround() == FE_TONEAREST && !(_mm_getcsr() & flush); });
  EXPECT_TRUE(plain == 8 && !std::fetestexcept(FE_DIVBYZERO)) << plain;
}

INSTANTIATE_TEST_SUITE_P(, FloatingPoint, testing::Values(FE_TONEAREST, FE_UPWARD, FE_TOWARDZERO));

// A thread that has a slice and does not run, here because it sleeps, comes to the processor of the waiting caller.
TEST(Team, LendsTheCallersProcessor) {
  ASSERT_TRUE(threads_meet(2));
  cpu_set_t before;
  ASSERT_EQ(pthread_getaffinity_np(pthread_self(), sizeof before, &before), 0);
  if (CPU_COUNT(&before) < 2) GTEST_SKIP() << "one processor";
  cpu_set_t own;
  CPU_ZERO(&own);
  CPU_SET(sched_getcpu(), &own);
  pthread_setaffinity_np(pthread_self(), sizeof own, &own); // stays where it is
  const auto caller = std::this_thread::get_id();
  std::atomic<int> there{0};
  std::atomic<bool> lent{false};
  errno = 77; // which timed waiting changes
  spread(2, 2, [&](int) {
    ++there;
    comes_true([&] { return there == 2; });
    if (std::this_thread::get_id() == caller) return;
    lent = comes_true([&] {
      cpu_set_t now;
      return pthread_getaffinity_np(pthread_self(), sizeof now, &now) == 0 && CPU_EQUAL(&now, &own);
    });
  });
  EXPECT_TRUE(lent && errno == 77) << lent << ' ' << errno;
  pthread_setaffinity_np(pthread_self(), sizeof before, &before);
  // And leaves it for the next job; on a busy machine it may be lent it again at once.
  std::atomic<bool> elsewhere{false};
  for (int round = 0; round < 100 && !elsewhere; ++round) {
    there = 0;
    const int callers = sched_getcpu();
    spread(2, 2, [&](int) {
      ++there;
      comes_true([&] { return there == 2; });
      cpu_set_t now;
      if (std::this_thread::get_id() != caller)
        elsewhere =
            pthread_getaffinity_np(pthread_self(), sizeof now, &now) == 0 && !CPU_ISSET(callers, &now);
    });
  }
  EXPECT_TRUE(elsewhere);
}

// One that the caller does not take waits for it, whoever else is there.
TEST(Team, TakesNoSignalsOfTheProgram) {
  ASSERT_TRUE(threads_meet(3));
  static std::atomic<bool> taken;
  taken = false;
  const auto before = std::signal(SIGUSR1, [](int) { taken = true; });
  sigset_t blocked, mask, pending;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &blocked, &mask);
  kill(getpid(), SIGUSR1);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  sigpending(&pending);
  EXPECT_TRUE(sigismember(&pending, SIGUSR1) && !taken);
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  EXPECT_TRUE(taken);
  std::signal(SIGUSR1, before);
}

#ifndef __SANITIZE_THREAD__ // which starts no threads in a child
TEST(Team, IsMadeAnewInAChildOfForkEvenWhileItIsUsed) {
  std::atomic<bool> begun{false}, released{false};
  std::thread user([&] {
    spread(2, 2, [&](int) {
      begun = true;
      comes_true([&] { return released.load(); });
    });
  });
  ASSERT_TRUE(comes_true([&] { return begun.load(); }));
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    _exit(threads_meet(2) && threads_meet(3) ? 0 : 1);
  }
  int status = -1;
  EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0) << status;
  released = true;
  user.join();
  EXPECT_TRUE(threads_meet(2));
}
#endif

} // namespace
