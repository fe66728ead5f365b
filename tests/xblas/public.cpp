// The checked routines: what they refuse, and that a good call is its kernel's, on any number of threads.
#include "support/allocations.h"
#include "support/error_recorder.h"
#include "tests/xblas/problem.h"
#include <sstream>
#include <tnk/xblas.hpp>

namespace {

using namespace tnk::test;

constexpr char public_prefix[] = "tnk_xblas_";

int32_t best(const Routine &r) {
  return r.has_prec ? 214 : 212;
}
std::vector<unsigned char> result_of(const Problem &p, const char *prefix) {
  Array &y = *p.arguments.arrays.at('y');
  const auto before = y.bytes();
  call(prefix, p.r, p.arguments, best(p.r));
  const auto after = y.bytes();
  y.restore(before);
  return after;
}

// The arguments' names, as the header has them.
const std::map<std::string, std::string> names = {
    {"dot", "conj n alpha x incx beta y incy r prec"},
    {"waxpby", "n alpha x incx beta y incy w incw prec"},
    {"gbmv2", "order trans m n kl ku alpha a lda head_x tail_x incx beta y incy prec"},
    {"ge_sum_mv", "order m n alpha a lda x incx beta b ldb y incy prec"},
    {"hpmv", "order uplo n alpha ap x incx beta y incy prec"},
    {"tbsv", "order uplo trans diag n k alpha t ldt x incx prec"},
    {"gemm", "order transa transb m n k alpha a lda b ldb beta c ldc prec"},
    {"hemm", "order side uplo m n alpha a lda b ldb beta c ldc prec"}};

TEST(XblasPublic, RunsTheKernelsOnAnyNumberOfThreads) {
  Maker small(10), vectors(11, {397, 401}, false), matrices(12, {66, 95}, false);
  for (const Routine &r : routines()) {
    const Problem p = small.make(r, Data::random, 101);
    EXPECT_TRUE(result_of(p, public_prefix) == result_of(p, value_prefix)) << r.name;
  }
  for (const char *const name : {"dgemv_x", "zgemv2_c_z_x", "dgbmv_d_s_x", "zgbmv2_x", "dge_sum_mv_x",
                                 "dgemm_x", "zgemm_z_c_x", "csymm_x", "zhemm_x", "dsymv_x"})
    for (int round = 0; round < 12; ++round) {
      const Routine r = decoded(name);
      Maker &maker = r.has('C') ? matrices : vectors;
      const Problem p = maker.make(r, Data::random, round % 2 ? 101 : 102);
      const auto expected = result_of(p, value_prefix);
      for (const int threads : {1, 2, 5}) {
        tnk_set_num_threads(threads);
        ASSERT_TRUE(result_of(p, public_prefix) == expected) << name << " on " << threads;
      }
      tnk_set_num_threads(0);
    }
}

TEST(XblasPublic, RefusesEachBadArgumentByItsName) {
  Maker maker(13, {3, 4, 7});
  ErrorRecorder recorder;
  for (const Routine &r : routines()) {
    for (const bool known :
         {false, true}) { // calls that find their kernel at hand are checked in another way
      Problem p = maker.make(r, Data::random, known ? 101 : 102);
      p.arguments.alpha = 2, p.arguments.beta = 3;
      if (known) result_of(p, public_prefix);
      const Array &y = *p.arguments.arrays.at('y');
      const auto refused = [&](const Arguments &arguments, char letter, int32_t prec, tnk_int value) {
        SCOPED_TRACE(r.name + ' ' + letter + ' ' + std::to_string(value));
        const auto before = y.bytes();
        call(public_prefix, r, arguments, prec);
        const auto seen = recorder.last();
        EXPECT_EQ(recorder.bad_argument().substr(0, 10), "tnk_xblas_");
        EXPECT_EQ(seen.routine, public_prefix + r.name);
        const int position = letter == 'p' ? static_cast<int>(r.list().size()) + 1 : r.position(letter);
        EXPECT_EQ(seen.position, position);
        if (const auto of_op = names.find(r.op); of_op != names.end()) {
          std::istringstream all(of_op->second);
          std::string name;
          for (int i = 0; i < position; ++i) all >> name;
          EXPECT_EQ(seen.argument, name);
        }
        EXPECT_TRUE(y.bytes() == before);
      };
      for (const char letter : r.list()) {
        if (std::string("ABq").find(letter) != std::string::npos) continue;
        Arguments bad = p.arguments;
        const auto refused_as = [&](tnk_int value) {
          bad[letter] = value;
          refused(bad, letter, best(r), value);
        };
        const tnk_int good = bad[letter];
        if (bad.arrays.count(letter)) {
          bad.arrays.erase(letter);
          refused_as(0);
        } else if (std::string("otTuds").find(letter) != std::string::npos) {
          for (const tnk_int other : {good / 10 * 10, good / 10 * 10 + (good / 10 == 11 ? 4 : 3)})
            refused_as(other);
        } else if (const auto ld = p.least.find(letter); ld != p.least.end()) {
          refused_as(ld->second - 1);
        } else {
          refused_as(std::string("mnklv").find(letter) != std::string::npos ? -1 : 0);
        }
        if (std::string("ijeLMC").find(letter) != std::string::npos) // no memory has such an array
          refused_as(tnk_int{1} << 60);
      }
      if (r.has_prec)
        for (const int32_t prec : {210, 215}) refused(p.arguments, 'p', prec, prec);
    }
  }
  tnk_complex16 r = {};
  tnk_xblas_zdot_x(0, 0, nullptr, &r, 1, &r, &r, 1, &r, 214);
  EXPECT_EQ(recorder.take().argument, "alpha");
}

TEST(XblasPublic, SolvesWithoutMemoryReportAndLeaveX) {
  ErrorRecorder recorder;
  const tnk_complex16 t[] = {{2, 0}, {1, 1}, {0, 0}, {3, 1}}, alpha = {1, 0};
  for (const int refuse : {0, 1, 2}) {
    tnk_complex16 x[] = {{4, 0}, {5, 0}};
    allocations.reset();
    allocations.refuse = refuse;
    tnk_xblas_ztrsv_x(102, 122, 111, 131, 2, &alpha, t, 2, x, 1, 214);
    const auto seen = recorder.take();
    EXPECT_EQ(allocations.live, 0);
    EXPECT_EQ(seen.count, refuse > 0);
    if (refuse == 0) continue;
    EXPECT_EQ(seen.kind, TNK_ERROR_MEMORY);
    EXPECT_EQ(seen.routine, "tnk_xblas_ztrsv_x");
    EXPECT_EQ(x[0].re + x[1].re, 9);
  }
}

// Pairs of types have an overload where the list has a routine.
template <class T, class X, class Y>
auto has_dot(int)
    -> decltype(tnk::xblas::dot(tnk::xblas::conjugation::none, 1, T(), static_cast<const X *>(nullptr), 1,
                                T(), static_cast<const Y *>(nullptr), 1, static_cast<T *>(nullptr)),
                std::true_type());
template <class, class, class> std::false_type has_dot(...);
static_assert(decltype(has_dot<double, float, double>(0))::value &&
              decltype(has_dot<Number, Number, double>(0))::value);
static_assert(!decltype(has_dot<float, double, float>(0))::value &&
              !decltype(has_dot<Number, float, Number>(0))::value &&
              !decltype(has_dot<double, double, double>(0))::value); // its own types: with a precision alone

TEST(XblasPublic, OverloadsPassArgumentsOn) {
  using namespace tnk::xblas;
  const Number a[] = {{1, 2}, {0, 0}, {3, -1}, {2, 0}};
  const std::complex<float> x[] = {{1, 1}, {0, 2}};
  Number y[] = {{5, 0}, {0, 5}};
  gemv(ordering::by_columns, operation::conjugate_transposed, 2, 2, Number(0, 1), a, 2, x, 1, Number(2, 0), y,
       1, precision::extra);
  // conj(a_0) x_0 = 3 - i; conj(a_2) x_0 + conj(a_3) x_1 = 2 + 8i
  EXPECT_EQ(y[0], Number(10 + 1, 3));
  EXPECT_EQ(y[1], Number(-8, 10 + 2));
}

} // namespace
