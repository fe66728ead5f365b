// Public plans of sine and cosine transforms: against their definitions, with every number of threads, and what is refused.
#include "host/routines/services.h"
#include "reference/trigonometric.h"
#include "support/error_recorder.h"
#include "support/guarded.h"
#include "support/random.h"
#include "tools/tnk/support/threads.h"
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/trig.hpp>

namespace tnk::test {
namespace {

template <class T> class TrigPlans : public testing::Test {};
using Reals = testing::Types<double, float>;
TYPED_TEST_SUITE(TrigPlans, Reals);

constexpr tnk_trig_kind kinds[] = {
    TNK_TRIG_SINE,           TNK_TRIG_COSINE,         TNK_TRIG_STAGGERED_COSINE,
    TNK_TRIG_STAGGERED_SINE, TNK_TRIG_QUARTER_COSINE, TNK_TRIG_QUARTER_SINE};

// Rows with gaps, in both directions; what lies between and at ends stays. Single numbers of kinds that are transformed in
// double are right to a last place.
TYPED_TEST(TrigPlans, TransformRowsAndNothingElse) {
  using T = TypeParam;
  const long double eps = std::numeric_limits<T>::epsilon();
  for (const tnk_trig_kind kind : kinds)
    for (const tnk_int n : {2, 3, 40, 101, 600}) {
      // At quarter steps an even length, and so the longest one, loses no more digits than its Fourier transform does.
      if (n == 600 && kind < TNK_TRIG_QUARTER_COSINE) continue;
      SCOPED_TRACE(testing::Message() << "kind " << kind << ", n " << n);
      const Trig<T> plan(kind, n);
      const reference::Trigonometric definition(kind, n);
      constexpr tnk_int rows = 3;
      const tnk_int row = plan.row(), distance = row + 2;
      EXPECT_EQ(row, TNK_TRIG_ROW(kind, n));
      Guarded<T> f(static_cast<std::size_t>((rows - 1) * distance + row), page_end); // filled with NaN
      Random random(static_cast<unsigned>(n));
      for (tnk_int r = 0; r < rows; ++r)
        for (tnk_int k = definition.first(); k <= definition.last(); ++k)
          f.data()[r * distance + k] = random.real<T>();
      for (const bool forward : {true, false}) {
        const std::vector<T> given(f.data(), f.data() + f.size());
        forward ? plan.forward(f.data(), rows, distance) : plan.backward(f.data(), rows, distance);
        for (tnk_int i = 0; i < static_cast<tnk_int>(f.size()); ++i) {
          const tnk_int k = i % distance;
          const T *const source = given.data() + i - k;
          if (k < definition.first() || k > definition.last()) {
            ASSERT_EQ(std::memcmp(f.data() + i, given.data() + i, sizeof(T)), 0) << "element " << k;
            continue;
          }
          const long double wanted = forward ? definition.forward(source, k) : definition.backward(source, k);
          const bool rounded_once = std::is_same_v<T, float> && kind >= TNK_TRIG_STAGGERED_COSINE;
          const long double bound = rounded_once ? eps * (std::abs(wanted) / 2 + 1e-3L) : 60 * eps;
          ASSERT_TRUE(std::abs(wanted - f.data()[i]) <= bound) << "element " << k << ", forward " << forward;
        }
      }
      EXPECT_TRUE(f.intact());
    }
}

TYPED_TEST(TrigPlans, SameBitsForAnyNumberOfThreads) {
  using T = TypeParam;
  for (const tnk_trig_kind kind : {TNK_TRIG_COSINE, TNK_TRIG_QUARTER_SINE}) {
    const Trig<T> plan(kind, 1000);
    constexpr tnk_int rows = 101;
    std::vector<T> given(static_cast<std::size_t>(rows * plan.row())), first;
    Random random;
    for (T &x : given) x = random.real<T>();
    for (const int threads : {1, 2, 3, 4}) {
      const tool::Threads use(threads);
      std::vector<T> f = given;
      plan.forward(f);
      if (first.empty()) first = f;
      ASSERT_EQ(f, first) << threads;
    }
  }
}

TEST(TrigPlan, RefusesAndReports) {
  ErrorRecorder recorder;
  tnk_trig_dplan *plan = nullptr;
  ASSERT_EQ(tnk_trig_dmake(&plan, TNK_TRIG_SINE, 8), TNK_TRIG_DONE);
  tnk_trig_dplan *const made = plan;
  double f[30] = {1, 2};
  const struct {
    std::function<tnk_trig_result()> call;
    const char *says;
  } table[] = {
      {[&] { return tnk_trig_dmake(nullptr, 0, 8); }, "tnk_trig_dmake: argument 1 (plan)"},
      {[&] { return tnk_trig_dmake(&plan, 6, 8); },
       "tnk_trig_dmake: argument 2 (kind) is 6, expected 0 to 5"},
      {[&] { return tnk_trig_dmake(&plan, -1, 8); }, "tnk_trig_dmake: argument 2 (kind)"},
      {[&] { return tnk_trig_dmake(&plan, 0, 1); }, "tnk_trig_dmake: argument 3 (n) is 1, expected 2 to"},
      {[&] { return tnk_trig_dforward(nullptr, 1, f, 9); }, "tnk_trig_dforward: argument 1 (plan)"},
      {[&] { return tnk_trig_dforward(made, -1, f, 9); }, "tnk_trig_dforward: argument 2 (rows) is -1"},
      {[&] { return tnk_trig_dbackward(made, 1, nullptr, 9); }, "tnk_trig_dbackward: argument 3 (f)"},
      {[&] { return tnk_trig_dbackward(made, 2, f, 8); },
       "tnk_trig_dbackward: argument 4 (distance) is 8, expected 9"},
      {[&] { return tnk_trig_dforward(made, 2, f, tnk_int{1} << 60); },
       "tnk_trig_dforward: argument 4 (distance)"},
  };
  for (const auto &[call, says] : table) {
    EXPECT_EQ(call(), TNK_TRIG_BAD_ARGUMENT);
    EXPECT_EQ(recorder.bad_argument().substr(0, std::strlen(says)), says);
  }
  EXPECT_TRUE(plan == made && f[0] == 1 && f[1] == 2);
  EXPECT_EQ(tnk_trig_dforward(made, 0, nullptr, 0), TNK_TRIG_DONE);
  EXPECT_EQ(tnk_trig_dforward(made, 1, f, 0), TNK_TRIG_DONE);
  EXPECT_EQ(recorder.last().count, 0);
  tnk_trig_dfree(made);
  tnk_trig_dfree(nullptr);
}

// No memory for a plan's tables, for its Fourier transform, and for a row of doubles.
TEST(TrigPlan, FailsWithoutMemory) {
  ErrorRecorder recorder;
  tnk_trig_splan *plan = nullptr;
  const auto expect_refusal = [&](tnk_int n) {
    EXPECT_EQ(tnk_trig_smake(&plan, TNK_TRIG_SINE, n), TNK_TRIG_OUT_OF_MEMORY);
    EXPECT_EQ(recorder.take().kind, TNK_ERROR_MEMORY);
    EXPECT_EQ(plan, nullptr);
  };
  expect_refusal(tnk_int{1} << 42);
  const auto given = i_malloc;
  i_malloc = [](std::size_t) -> void * { return nullptr; };
  expect_refusal(1000);
  i_malloc = given;
  ASSERT_EQ(tnk_trig_smake(&plan, TNK_TRIG_QUARTER_SINE, 8), TNK_TRIG_DONE);
  float f[8] = {};
  allocations.refuse = 1;
  EXPECT_EQ(tnk_trig_sforward(plan, 1, f, 8), TNK_TRIG_OUT_OF_MEMORY);
  EXPECT_EQ(recorder.take().routine, "tnk_trig_sforward");
  tnk_trig_sfree(plan);
}

TEST(TrigPlan, ThrowsWhatTheCallsReport) {
  const ErrorRecorder recorder;
  EXPECT_THROW(Trig<float>(TNK_TRIG_SINE, 1), TrigError);
  const Trig<float> plan(TNK_TRIG_SINE, 8);
  std::vector<float> f(10);
  EXPECT_THROW(plan.forward(f), std::invalid_argument);
  EXPECT_THROW(plan.backward(nullptr, 1, 9), TrigError);
}

} // namespace
} // namespace tnk::test
