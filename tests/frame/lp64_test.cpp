// The 32-bit surface. The public routines that its axpy, copy and dot call are defined here, in the place of
// the host's, and record what arrives.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <tnk/blas.h>
#include <tnk/blas_level1.h>
#include <tnk/blas_lp64.h>
#include <utility>
#include <vector>

namespace {

struct Arrival {
  std::string routine;
  std::vector<const void *> arrays; // alpha included: passed on by its own address
  std::vector<tnk_int> integers;

  bool operator==(const Arrival &other) const {
    return routine == other.routine && arrays == other.arrays && integers == other.integers;
  }
};
std::vector<Arrival> arrivals;

template <class... Pointers>
void record(const char *routine, const tnk_int *n, const tnk_int *incx, const tnk_int *incy,
            Pointers... arrays) {
  arrivals.push_back({routine, {arrays...}, {*n, *incx, *incy}});
}

} // namespace

#define TNK_RECORD(t, T)                                                                                     \
  void tnk_blas_##t##axpy(const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx, T *y,           \
                          const tnk_int *incy) {                                                             \
    record(#t "axpy", n, incx, incy, alpha, x, y);                                                           \
  }                                                                                                          \
  void tnk_blas_##t##copy(const tnk_int *n, const T *x, const tnk_int *incx, T *y, const tnk_int *incy) {    \
    record(#t "copy", n, incx, incy, x, y);                                                                  \
  }
TNK_RECORD(s, float)
TNK_RECORD(d, double)
TNK_RECORD(c, tnk_complex8)
TNK_RECORD(z, tnk_complex16)
#undef TNK_RECORD

float tnk_blas_sdot(const tnk_int *n, const float *x, const tnk_int *incx, const float *y,
                    const tnk_int *incy) {
  record("sdot", n, incx, incy, x, y);
  return 1.5f;
}
double tnk_blas_ddot(const tnk_int *n, const double *x, const tnk_int *incx, const double *y,
                     const tnk_int *incy) {
  record("ddot", n, incx, incy, x, y);
  return 2.5;
}

namespace {

// An argument between other values, so that reading 64 bits where 32 are given would show.
struct Narrow {
  int32_t before = 0x7E7E7E7E, value, after = 0x7E7E7E7E;
  explicit Narrow(int32_t v) : value(v) {}
};

const int32_t widths[][3] = {{5, 1, 1},    {5, -1, -3},          {0, 0, 0},
                             {-7, 2, -1},  {INT32_MAX, 1, 1},    {1, INT32_MIN, INT32_MAX},
                             {-1, -1, -1}, {INT32_MIN, -2, 1000}};

template <class T, class Axpy, class Copy>
void expect_forwarded(const std::string &letter, Axpy axpy, Copy copy) {
  T alpha{}, x[1]{}, y[1]{};
  for (const auto &w : widths) {
    const Narrow n(w[0]), incx(w[1]), incy(w[2]);
    arrivals.clear();
    axpy(&n.value, &alpha, x, &incx.value, y, &incy.value);
    copy(&n.value, x, &incx.value, y, &incy.value);
    const std::vector<tnk_int> wide = {w[0], w[1], w[2]};
    const std::vector<Arrival> expected = {{letter + "axpy", {&alpha, x, y}, wide},
                                           {letter + "copy", {x, y}, wide}};
    EXPECT_TRUE(arrivals == expected) << letter << ' ' << w[0] << ' ' << w[1] << ' ' << w[2];
  }
}

TEST(Lp64, AxpyAndCopyReachThePublicRoutines) {
  expect_forwarded<float>("s", tnk_blas_lp64_saxpy, tnk_blas_lp64_scopy);
  expect_forwarded<double>("d", tnk_blas_lp64_daxpy, tnk_blas_lp64_dcopy);
  expect_forwarded<tnk_complex8>("c", tnk_blas_lp64_caxpy, tnk_blas_lp64_ccopy);
  expect_forwarded<tnk_complex16>("z", tnk_blas_lp64_zaxpy, tnk_blas_lp64_zcopy);
}

template <class T, class Dot> void expect_dot_forwarded(const std::string &routine, Dot dot, T result) {
  T x[1]{}, y[1]{};
  for (const auto &w : widths) {
    const Narrow n(w[0]), incx(w[1]), incy(w[2]);
    arrivals.clear();
    EXPECT_EQ(dot(&n.value, x, &incx.value, y, &incy.value), result);
    const std::vector<Arrival> expected = {{routine, {x, y}, {w[0], w[1], w[2]}}};
    EXPECT_TRUE(arrivals == expected) << routine << ' ' << w[0] << ' ' << w[1] << ' ' << w[2];
  }
}

TEST(Lp64, DotReachesThePublicRoutineAndPassesItsResultOn) {
  expect_dot_forwarded<float>("sdot", tnk_blas_lp64_sdot, 1.5f);
  expect_dot_forwarded<double>("ddot", tnk_blas_lp64_ddot, 2.5);
}

// dotu and scal stay in the kernel library, so the results show what arrived.

template <class T, class Dotu> void expect_dotu(Dotu dotu) {
  const T x[] = {{1, 1}, {9, 9}, {0, 2}, {9, 9}, {3, 0}}, y[] = {{1, 0}, {1, 1}, {0, 1}};
  struct {
    int32_t n, incx, incy;
    T expected;
  } const cases[] = {
      {3, 2, 1, {-1, 6}}, {3, 2, -1, {0, 3}}, // (1+i) + 2i (1+i) + 3i, and i (1+i) + 2i (1+i) + 3
      {3, -2, 1, {0, 3}}, {3, -2, -1, {-1, 6}}, {0, 1, 1, {0, 0}}, {-3, 1, 1, {0, 0}},
  };
  for (const auto &c : cases) {
    const Narrow n(c.n), incx(c.incx), incy(c.incy);
    T result{77, 77};
    dotu(&result, &n.value, x, &incx.value, y, &incy.value);
    EXPECT_EQ(result.re, c.expected.re) << c.n << ' ' << c.incx << ' ' << c.incy;
    EXPECT_EQ(result.im, c.expected.im) << c.n << ' ' << c.incx << ' ' << c.incy;
  }
}

TEST(Lp64, ComplexDotPutsItsResultFirst) {
  expect_dotu<tnk_complex8>(tnk_blas_lp64_cdotu);
  expect_dotu<tnk_complex16>(tnk_blas_lp64_zdotu);
}

template <class T, class Real, class Thunk, class Wide> void expect_scal(Thunk thunk, Wide wide, T alpha) {
  const std::pair<int32_t, int32_t> cases[] = {{3, 1}, {3, 2}, {3, -1}, {3, -2},
                                               {2, 0}, {0, 1}, {-3, 1}, {1, INT32_MIN}};
  for (const auto &[length, step] : cases) {
    Real scaled[12], expected[12];
    for (int i = 0; i < 12; ++i) scaled[i] = expected[i] = static_cast<Real>(i + 1);
    const Narrow n(length), inc(step);
    const tnk_int n64 = length, inc64 = step;
    thunk(&n.value, &alpha, reinterpret_cast<T *>(scaled), &inc.value);
    wide(&n64, &alpha, reinterpret_cast<T *>(expected), &inc64);
    for (int i = 0; i < 12; ++i) EXPECT_EQ(scaled[i], expected[i]) << length << ' ' << step << ' ' << i;
    if (length == 3) {
      EXPECT_NE(scaled[0], 1) << "nothing was scaled";
    }
  }
}

TEST(Lp64, ScalDoesWhatThe64BitRoutineDoes) {
  expect_scal<float, float>(tnk_blas_lp64_sscal, tnk_blas_sscal, 2.0f);
  expect_scal<double, double>(tnk_blas_lp64_dscal, tnk_blas_dscal, 2.0);
  expect_scal<tnk_complex8, float>(tnk_blas_lp64_cscal, tnk_blas_cscal, tnk_complex8{2, 3});
  expect_scal<tnk_complex16, double>(tnk_blas_lp64_zscal, tnk_blas_zscal, tnk_complex16{2, 3});
}

} // namespace
