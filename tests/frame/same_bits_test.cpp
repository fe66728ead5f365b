// What docs/numerics.md promises of kernels that work element by element: no bit depends on the alignment,
// the length or the increments, and so none on which path a kernel takes.
#include "support/guarded.h"
#include "support/random.h"
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <tnk/blas_level1.h>

namespace tnk::test {
namespace {

template <class T> using Call = std::function<void(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy)>;

// x and y of a call with logical element i standing at i * inc, shift bytes past a boundary; then both
// results in logical order.
template <class T>
std::vector<T> results(const Call<T> &call, const std::vector<T> &x, const std::vector<T> &y,
                       std::size_t shift_x, tnk_int incx, std::size_t shift_y, tnk_int incy) {
  const std::size_t n = x.size(), stride_x = static_cast<std::size_t>(incx),
                    stride_y = static_cast<std::size_t>(incy);
  Guarded<T> gx(n * stride_x, shift_x), gy(n * stride_y, shift_y);
  for (std::size_t i = 0; i < n; ++i) {
    gx.put(i * stride_x, x[i]);
    gy.put(i * stride_y, y[i]);
  }
  call(static_cast<tnk_int>(n), gx.data(), incx, gy.data(), incy);
  EXPECT_TRUE(gx.intact() && gy.intact());
  std::vector<T> out;
  for (std::size_t i = 0; i < n; ++i) out.push_back(gx.get(i * stride_x));
  for (std::size_t i = 0; i < n; ++i) out.push_back(gy.get(i * stride_y));
  return out;
}

template <class T> void expect_same_bits(const char *name, const Call<T> &call) {
  Random random(7);
  for (std::size_t n : {1, 3, 4, 5, 17, 64, 71, 131, 2050}) {
    std::vector<T> x, y;
    for (std::size_t i = 0; i < n; ++i) {
      x.push_back(random.number<T>());
      y.push_back(random.number<T>());
    }
    const auto strided = results(call, x, y, 0, 2, 0, 3);
    for (std::size_t shift_x = 0; shift_x < 32; shift_x += 4)
      for (std::size_t shift_y = 0; shift_y < 32; shift_y += 4) {
        const auto found = results(call, x, y, shift_x, 1, shift_y, 1);
        ASSERT_EQ(0, std::memcmp(found.data(), strided.data(), n * 2 * sizeof(T)))
            << name << ", n " << n << ", x " << shift_x << " and y " << shift_y << " bytes past a boundary";
      }
  }
}

template <class T> const T scalar[2] = {T(0.7f), T(-1.3f)};
template <> const tnk_complex8 scalar<tnk_complex8>[2] = {{0.7f, 0.3f}, {-1.3f, 0.1f}};
template <> const tnk_complex16 scalar<tnk_complex16>[2] = {{0.7, 0.3}, {-1.3, 0.1}};

TEST(SameBits, Streams) {
#define AXPY(f, T)                                                                                           \
  expect_same_bits<T>(#f, [](tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy) {                            \
    f(&n, &scalar<T>[0], x, &incx, y, &incy);                                                                \
  })
#define AXPBY(f, T)                                                                                          \
  expect_same_bits<T>(#f, [](tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy) {                            \
    f(&n, &scalar<T>[0], x, &incx, &scalar<T>[1], y, &incy);                                                 \
  })
#define SCAL(f, T, A)                                                                                        \
  expect_same_bits<T>(#f, [](tnk_int n, T *x, tnk_int incx, T *, tnk_int) { f(&n, &scalar<A>[1], x, &incx); })
  AXPY(tnk_blas_xsaxpy, float);
  AXPY(tnk_blas_xdaxpy, double);
  AXPY(tnk_blas_xcaxpy, tnk_complex8);
  AXPY(tnk_blas_xzaxpy, tnk_complex16);
  AXPBY(tnk_blas_saxpby, float);
  AXPBY(tnk_blas_daxpby, double);
  AXPBY(tnk_blas_caxpby, tnk_complex8);
  AXPBY(tnk_blas_zaxpby, tnk_complex16);
  SCAL(tnk_blas_sscal, float, float);
  SCAL(tnk_blas_dscal, double, double);
  SCAL(tnk_blas_cscal, tnk_complex8, tnk_complex8);
  SCAL(tnk_blas_zscal, tnk_complex16, tnk_complex16);
  SCAL(tnk_blas_csscal, tnk_complex8, float);
  SCAL(tnk_blas_zdscal, tnk_complex16, double);
}

TEST(SameBits, Rotations) {
#define ROT(f, T, R, S)                                                                                      \
  expect_same_bits<T>(#f, [](tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy) {                            \
    f(&n, x, &incx, y, &incy, &scalar<R>[0], &scalar<S>[1]);                                                 \
  })
#define ROTM(f, T)                                                                                           \
  for (T flag : {T(-1), T(0), T(1)})                                                                         \
  expect_same_bits<T>(#f, [flag](tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy) {                        \
    const T param[5] = {flag, T(0.3), T(1.7), T(-0.9), T(0.6)};                                              \
    f(&n, x, &incx, y, &incy, param);                                                                        \
  })
  ROT(tnk_blas_xsrot, float, float, float);
  ROT(tnk_blas_xdrot, double, double, double);
  ROT(tnk_blas_xcrot, tnk_complex8, float, tnk_complex8);
  ROT(tnk_blas_xzrot, tnk_complex16, double, tnk_complex16);
  ROT(tnk_blas_xcsrot, tnk_complex8, float, float);
  ROT(tnk_blas_xzdrot, tnk_complex16, double, double);
  ROTM(tnk_blas_srotm, float);
  ROTM(tnk_blas_drotm, double);
}

} // namespace
} // namespace tnk::test
