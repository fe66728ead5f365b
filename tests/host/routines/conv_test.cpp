// Public convolution and correlation: against the definition, with every number of threads, and what is refused.
#include "conv/problem.h"
#include "host/routines/services.h"
#include "support/error_recorder.h"
#include "support/named.h"
#include "tools/tnk/support/threads.h"
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <tnk/conv.h>
#include <tnk/host.h>

namespace tnk::test {
namespace {

using Ints = std::vector<tnk_int>;

// A description with arrays of its own.
struct Description {
  tnk_conv_description d{};
  Ints xshape, yshape, zshape, xstride, ystride, zstride, start, decimation;

  template <class T> Description(Problem<T> &p, int32_t method) {
    const Conv &c = p.conv;
    const auto wide = [&](const int32_t *v) { return Ints(v, v + c.dims()); };
    d.job = c.correlates ? TNK_CONV_CORRELATION : TNK_CONV_CONVOLUTION;
    d.method = method;
    d.numbers = sizeof(T) == 4              ? TNK_CONV_FLOAT
                : sizeof(T) == 16           ? TNK_CONV_COMPLEX16
                : std::is_same_v<T, double> ? TNK_CONV_DOUBLE
                                            : TNK_CONV_COMPLEX8;
    d.dims = static_cast<tnk_int>(c.dims());
    d.xshape = (xshape = wide(c.xshape.data())).data(), d.xstride = (xstride = wide(p.x.stride())).data();
    d.yshape = (yshape = wide(c.yshape.data())).data(), d.ystride = (ystride = wide(p.y.stride())).data();
    d.zshape = (zshape = wide(c.zshape.data())).data(), d.zstride = (zstride = wide(p.z.stride())).data();
    d.start = (start = wide(c.start.data())).data();
    d.decimation = (decimation = wide(c.decimation.data())).data();
  }
};
struct Free {
  void operator()(tnk_conv_plan *plan) const { tnk_conv_plan_free(plan); }
};
using Plan = std::unique_ptr<tnk_conv_plan, Free>;
Plan plan_of(const tnk_conv_description &d) {
  tnk_conv_plan *plan = nullptr;
  EXPECT_EQ(tnk_conv_plan_make(&plan, &d), TNK_CONV_DONE);
  return Plan(plan);
}

template <class T> class ConvPlans : public testing::Test {};
TYPED_TEST_SUITE(ConvPlans, Types);

// Sizes that are cut, of odd lengths: the same bits, within what roundings of sums or of transforms can do.
TYPED_TEST(ConvPlans, SameBitsForAnyNumberOfThreads) {
  using T = TypeParam;
  constexpr wide eps = std::numeric_limits<reference::Real<T>>::epsilon();
  const Conv jobs[] = {{false, {5}, {140001}, {140001}, {2}, {1}},
                       {false, {203}, {4001}, {4001}, {100}, {1}},
                       {true, {203}, {9001}, {999}, {-202}, {3}},
                       {true, {501}, {301}, {800}, {-500}, {1}},
                       {false, {9, 7}, {131, 203}, {130, 201}, {4, 3}, {1, 1}},
                       {true, {5, 3, 6}, {40, 9, 41}, {40, 3, 20}, {-2, -1, -3}, {1, 3, 2}}};
  for (const Conv &job : jobs)
    for (const bool strided : {false, true})
      for (const int32_t method : {TNK_CONV_DIRECT, TNK_CONV_BY_FFT, TNK_CONV_AUTOMATIC}) {
        const Shape factors(job.dims(), strided ? -2 : 1);
        Problem<T> p(job, factors, factors, factors, false);
        const Description description(p, method);
        const Plan plan = plan_of(description.d);
        std::vector<T> first;
        for (const int threads : {1, 2, 3, 4}) {
          const tool::Threads use(threads);
          ASSERT_EQ(tnk_conv_plan_run(plan.get(), p.x.data(), p.y.data(), p.z.data()), TNK_CONV_DONE);
          std::vector<T> z;
          each_index(job.zshape, [&](const Shape &t) { z.push_back(p.z.get(t)); });
          if (first.empty()) first = z;
          ASSERT_EQ(std::memcmp(z.data(), first.data(), z.size() * sizeof(T)), 0) << threads << p.name();
        }
        ASSERT_EQ(p.fault(500 * eps, method == TNK_CONV_DIRECT ? 0 : 3000 * eps), "") << p.name();
      }
}

// Full, same and valid against the definition.
TYPED_TEST(ConvPlans, CallsWithoutGaps) {
  using T = TypeParam;
  for (const bool correlates : {false, true})
    for (const char part : std::string("FSVfsv"))
      for (const Shape &m : {Shape{1}, Shape{4}, Shape{5}, Shape{1, 1}, Shape{3, 4}, Shape{4, 5}}) {
        const Shape n = m.size() == 1 ? Shape{11} : Shape{9, 6};
        Conv c{correlates, m, n, {}, {}, Shape(m.size(), 1)};
        for (std::size_t k = 0; k < m.size(); ++k) {
          const char upper = static_cast<char>(part & ~32);
          c.zshape.push_back(upper == 'F' ? m[k] + n[k] - 1 : upper == 'S' ? n[k] : n[k] - m[k] + 1);
          // In the middle of the full result.
          c.start.push_back((correlates ? 1 - m[k] : 0) + (m[k] + n[k] - 1 - c.zshape[k]) / 2);
        }
        const Shape ones(m.size(), 1);
        Problem<T> p(c, ones, ones, ones, true);
        const Ints nx(m.begin(), m.end()), ny(n.begin(), n.end());
        const std::string name = correlates ? "tnk_conv_?correlate" : "tnk_conv_?convolve";
        const T *const x = p.x.data(), *const y = p.y.data();
        const auto done =
            m.size() == 1
                ? Named<T, tnk_conv_result>(name)(part, nx[0], x, ny[0], y, p.z.data())
                : Named<T, tnk_conv_result>(name + '2')(part, nx.data(), x, ny.data(), y, p.z.data());
        ASSERT_EQ(done, TNK_CONV_DONE);
        ASSERT_EQ(p.fault(0, 1e4L * std::numeric_limits<reference::Real<T>>::epsilon()), "")
            << part << p.name();
      }
}

TEST(ConvPlan, FillsInWhatIsNotGiven) {
  const float x[] = {1, 2, 3}, y[] = {4, 5, 6, 7};
  float z[6];
  const tnk_int nx = 3, ny = 4, start = -1, two = 2;
  tnk_conv_description d{};
  d.job = TNK_CONV_CORRELATION, d.dims = 1, d.xshape = &nx, d.yshape = &ny, d.in_double = 1;
  ASSERT_EQ(tnk_conv_plan_run(plan_of(d).get(), x, y, z), TNK_CONV_DONE);
  EXPECT_EQ(std::vector<float>(z, z + 6), (std::vector<float>{12, 23, 32, 38, 20, 7}));
  d.start = &start, d.decimation = &two;
  ASSERT_EQ(tnk_conv_plan_run(plan_of(d).get(), x, y, z), TNK_CONV_DONE);
  EXPECT_EQ(std::vector<float>(z, z + 3), (std::vector<float>{23, 38, 7}));
  d.method = TNK_CONV_BY_FFT;
  EXPECT_EQ(tnk_conv_plan_method(plan_of(d).get()), TNK_CONV_BY_FFT);
}

TEST(ConvPlan, ReportsALackOfMemory) {
  Problem<double> p({true, {40, 3}, {50, 6}, {89, 8}, {-39, -2}, {1, 1}}, {2, 1}, {-1, 2}, {1, 1}, true);
  for (const int32_t method : {TNK_CONV_DIRECT, TNK_CONV_BY_FFT}) {
    const Plan plan = plan_of(Description(p, method).d);
    ErrorRecorder errors;
    const int refusals = refuse_in_turn(
        [&] { return tnk_conv_plan_run(plan.get(), p.x.data(), p.y.data(), p.z.data()); },
        [&](tnk_conv_result result, bool refused) {
          EXPECT_EQ(result, refused ? TNK_CONV_OUT_OF_MEMORY : TNK_CONV_DONE);
          const auto seen = errors.take();
          EXPECT_EQ(seen.kind, refused ? TNK_ERROR_MEMORY : 0);
          EXPECT_EQ(seen.message, refused ? "tnk_conv_plan_run: no memory for a work array" : "");
        });
    EXPECT_GE(refusals, 2);
  }
}

TEST(ConvPlan, ReportsArguments) {
  constexpr tnk_int huge = INT32_MAX;
  const std::string null = " is a null address, expected the address of a value";
  const struct {
    std::function<void(Description &)> spoil;
    std::string message;
  } cases[] = {
      {[](Description &s) { s.d.job = 3; }, "job) is 3, expected 1 to 2"},
      {[](Description &s) { s.d.method = -1; }, "method) is -1, expected 0 to 2"},
      {[](Description &s) { s.d.numbers = 4; }, "numbers) is 4, expected 0 to 3"},
      {[](Description &s) { s.d.in_double = 2; }, "in_double) is 2, expected 0 to 1"},
      {[](Description &s) { s.d.dims = 0; }, "dims) is 0, expected 1 to 7"},
      {[](Description &s) { s.d.dims = 8; }, "dims) is 8, expected 1 to 7"},
      {[](Description &s) { s.d.xshape = nullptr; }, "xshape)" + null},
      {[](Description &s) { s.d.yshape = nullptr; }, "yshape)" + null},
      {[](Description &s) { s.xshape[1] = 0; }, "xshape[1]) is 0, expected 1 to 1073741823"},
      {[](Description &s) { s.yshape[1] = huge; }, "yshape[1]) is 2147483647, expected 1 to 715827882"},
      {[](Description &s) { s.yshape[0] = huge, s.yshape[1] = 1; },
       "yshape[0]) is 2147483647, expected 1 to 2147483646"},
      {[](Description &s) { s.start[0] = 4; }, "start[0]) is 4, expected 0 to 3"},
      {[](Description &s) { s.start[1] = -1; }, "start[1]) is -1, expected 0 to 3"},
      {[](Description &s) { s.decimation[1] = 0; }, "decimation[1]) is 0, expected 1 to 2147483647"},
      {[](Description &s) { s.zshape[1] = 5; }, "zshape[1]) is 5, expected 1 to 4"},
      {[](Description &s) { s.zshape[0] = 0; }, "zshape[0]) is 0, expected 1 to 4"},
      {[](Description &s) { s.xstride[1] = huge; },
       "xstride[1]) is 2147483647, expected -2147483645 to 2147483645"},
      {[](Description &s) { s.ystride[0] = -huge; },
       "ystride[0]) is -2147483647, expected -1073741823 to 1073741823"},
      {[](Description &s) { s.zstride[0] = 0; }, "zstride[0]) is 0, expected 1 to "},
  };
  ErrorRecorder errors;
  Problem<double> p({false, {2, 2}, {3, 3}, {4, 4}, {0, 0}, {1, 1}}, {1, 1}, {1, 1}, {1, 1}, true);
  for (const auto &c : cases) {
    Description d(p, TNK_CONV_DIRECT);
    c.spoil(d);
    tnk_conv_plan *plan = nullptr;
    EXPECT_EQ(tnk_conv_plan_make(&plan, &d.d), TNK_CONV_BAD_ARGUMENT);
    EXPECT_EQ(plan, nullptr);
    const std::string start = "tnk_conv_plan_make: argument 2 (description->" + c.message;
    EXPECT_EQ(errors.bad_argument().substr(0, start.size()), start);
  }
  // z has 16 elements, x 4, y 9.
  const Description good(p, TNK_CONV_DIRECT);
  const Plan plan = plan_of(good.d);
  double *const x = p.x.data(), *const y = p.y.data(), *const z = p.z.data(), room[64] = {};
  const auto run = tnk_conv_plan_run;
  const tnk_int n[] = {2, 0};
  tnk_conv_plan *none = nullptr;
  const std::string over = ") is an array over ", apart = ", expected one apart from x and y";
  const struct {
    std::function<tnk_conv_result()> call;
    std::string message;
  } calls[] = {
      {[&] { return tnk_conv_plan_make(nullptr, &good.d); }, "plan_make: argument 1 (plan)" + null},
      {[&] { return tnk_conv_plan_make(&none, nullptr); }, "plan_make: argument 2 (description)" + null},
      {[&] { return run(nullptr, x, y, z); }, "plan_run: argument 1 (plan)" + null},
      {[&] { return run(plan.get(), nullptr, y, z); }, "plan_run: argument 2 (x)" + null},
      {[&] { return run(plan.get(), x, nullptr, z); }, "plan_run: argument 3 (y)" + null},
      {[&] { return run(plan.get(), x, y, nullptr); }, "plan_run: argument 4 (z)" + null},
      {[&] { return run(plan.get(), room + 20, y, room + 5); },
       "plan_run: argument 4 (z" + over + "x" + apart},
      {[&] { return run(plan.get(), x, room + 20, room + 28); },
       "plan_run: argument 4 (z" + over + "y" + apart},
      {[&] { return tnk_conv_dconvolve('x', 2, x, 3, y, z); },
       "dconvolve: argument 1 (part) is 'x', expected one of F, S, V"},
      {[&] { return tnk_conv_dcorrelate('V', 4, x, 3, y, z); },
       "dcorrelate: argument 4 (ny) is 3, expected 4 to 2147483644"},
      {[&] { return tnk_conv_dconvolve2('F', n, x, n, y, z); },
       "dconvolve2: argument 2 (nx[1]) is 0, expected 1 to 1073741823"},
      {[&] { return tnk_conv_dconvolve2('F', n, x, nullptr, y, z); }, "dconvolve2: argument 4 (ny)" + null},
      {[&] { return tnk_conv_dconvolve('F', 2, x, 2, y, x); },
       "dconvolve: argument 6 (z" + over + "x" + apart},
  };
  for (const auto &c : calls) {
    EXPECT_EQ(c.call(), TNK_CONV_BAD_ARGUMENT);
    EXPECT_EQ(errors.bad_argument(), "tnk_conv_" + c.message);
  }
  for (const int place : {0, 25})
    EXPECT_EQ(run(plan.get(), room + 16, room + 16, room + place), TNK_CONV_DONE);
}

} // namespace
} // namespace tnk::test