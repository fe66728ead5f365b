// The public triangular solves and multiplies: threads change nothing, not even when one of them gets no memory.
#include <gtest/gtest.h>
#include <tnk/host.h>

#include "tests/blas/level3/triangle.h"
#include "tests/host/routines/services.h"
#include "tools/tnk/support/threads.h"

namespace {

using namespace tnk::test;
using tnk::reference::operator-;
using tnk::tool::Threads;

// One call of either operation.
template <class T> struct Call : TriangleSolve<T> {
  Call(const std::string &options, tnk_int rows, tnk_int columns)
      : TriangleSolve<T>({options[0], options[1], options[2], options[3]}, rows, columns,
                         scalar<T>(0.75, -0.5)) {}
  std::vector<T> result(const std::string &routine) const {
    std::vector<T> x = this->before;
    call_at("tnk_blas_" + routine,
            {&this->form.side, &this->form.uplo, &this->form.trans, &this->form.diag, &this->m, &this->n,
             &this->alpha, this->a.data(), &this->lda, x.data(), &this->ldb});
    return x;
  }
};

// Both operations in every type, as f(a number of the type, name).
template <class F> void with_each(F f) {
  for (const std::string name : {"trsm", "trmm"}) {
    f(float{}, 's' + name), f(double{}, 'd' + name);
    f(tnk_complex8{}, 'c' + name), f(tnk_complex16{}, 'z' + name);
  }
}

const std::string every_option[] = {"LUNN", "LLNU", "LUTN", "LLCN", "RUNU", "RLNN", "RUTN", "RLCU"};

// Shapes that are cut on both sides, with each kind of rest: of groups of four, of columns beyond 1000, of rows beyond 512;
// and small ones, which are not cut, with the letters in both cases.
const struct {
  int m, n;
  bool cut = true;
} shapes[] = {{130, 2003},   {257, 1001},     {300, 203},    {1027, 130},     {2052, 133},    {517, 259},
              {5, 3, false}, {64, 65, false}, {1, 1, false}, {31, 33, false}, {37, 30, false}};

TEST(PublicTriangular, HasTheKernelsBitsForEveryNumberOfThreads) {
  ErrorRecorder errors;
  with_each([](auto zero, const std::string &name) {
    using T = decltype(zero);
    std::size_t turn = 0;
    for (const auto &[m, n, cut] : shapes) {
      ++turn;
      for (std::size_t option = 0; option < 8; ++option) {
        if (cut && option % 4 != turn % 4) continue; // one on each side
        const std::string &options = every_option[option];
        if ((options[0] == 'L' ? m : n) > 1100) continue; // cut as lower orders are
        Call<T> call(options, m, n);
        const std::vector<T> expected = call.result('x' + name);
        EXPECT_FALSE(same_bits(expected.data(), call.before.data(), expected.size()));
        for (const int threads : {1, 2, 5}) {
          const Threads set(threads);
          allocations.made = 0;
          EXPECT_TRUE(same_bits(call.result(name).data(), expected.data(), expected.size()))
              << name << ' ' << call.name() << ' ' << threads;
          EXPECT_TRUE(!cut || threads == 1 || allocations.made >= 2)
              << name << ' ' << call.name(); // and it was cut
          for (char *letter : {&call.form.side, &call.form.uplo, &call.form.trans, &call.form.diag})
            *letter = static_cast<char>(*letter | 32);
        }
      }
    }
  });
  EXPECT_EQ(errors.last().message, "");
}

// Below 8 columns on the right the kernel of double calls the public vector update, from the slices as well.
TEST(PublicTriangular, KernelsMayCallBackFromASlice) {
  const Call<double> call("RUNN", 130003, 7);
  std::vector<std::vector<double>> results;
  for (const int threads : {1, 3}) {
    const Threads set(threads);
    allocations.made = 0;
    results.push_back(call.result("dtrmm"));
    EXPECT_EQ(allocations.made, threads);
  }
  EXPECT_TRUE(same_bits(results[0].data(), results[1].data(), results[0].size()));
}

// One slice gets no memory: it is finished without, and the refusal reported. Alone a call leaves B as it was.
TEST(PublicTriangular, FinishesWhatOtherThreadsHaveBegun) {
  with_each([](auto zero, const std::string &name) {
    using T = decltype(zero);
    for (const std::string &options : every_option) {
      const Call<T> call(options, 180, 195);
      const std::vector<T> right = call.result(name);
      for (const int threads : {1, 2}) {
        const Threads set(threads);
        ErrorRecorder errors;
        const auto undone = *tnk_undone_calls();
        allocations.refuse = 1;
        const std::vector<T> x = call.result(name);
        EXPECT_EQ(*tnk_undone_calls() - undone, threads == 1);
        EXPECT_EQ(errors.last().kind, TNK_ERROR_MEMORY) << name;
        EXPECT_EQ(errors.last().routine, "x" + name.substr(1)) << name;
        if (threads == 1) {
          EXPECT_TRUE(same_bits(x.data(), call.before.data(), x.size())) << name;
          continue;
        }
        const double bound = 100 * std::numeric_limits<tnk::real_of<T>>::epsilon(); // all values are near 1
        tnk::reference::wide error = 0;
        for (std::size_t i = 0; i < x.size(); ++i)
          if (static_cast<tnk_int>(i) % call.ldb < call.m)
            error = std::max(error, tnk::reference::magnitude(x[i] - right[i]));
        EXPECT_LE(error, bound) << name << ' ' << call.name();
      }
    }
  });
}

} // namespace
