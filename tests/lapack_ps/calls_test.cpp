// From which order on primitives leave their work to public routines: this program's own definitions come before the
// host's, count, and pass on.
#include "reference/arithmetic.h"
#include "support/named.h"
#include <tnk/blas.h>
#include <tnk/lapack_ps.h>
#include <vector>

namespace {

int calls;
template <class... A> void pass_on(const char *name, A... arguments) {
  ++calls;
  reinterpret_cast<void (*)(A...)>(dlsym(RTLD_NEXT, name))(arguments...);
}

} // namespace

#define COUNTED(name, T)                                                                                     \
  void name(const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,               \
            const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y, const tnk_int *incy) { \
    pass_on(#name, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                                      \
  }
COUNTED(tnk_blas_sgemv, float)
COUNTED(tnk_blas_dgemv, double)
COUNTED(tnk_blas_cgemv, tnk_complex8)
COUNTED(tnk_blas_zgemv, tnk_complex16)

void tnk_blas_ssyr(const char *uplo, const tnk_int *n, const float *alpha, const float *x,
                   const tnk_int *incx, float *a, const tnk_int *lda) {
  pass_on("tnk_blas_ssyr", uplo, n, alpha, x, incx, a, lda);
}

namespace tnk::test {
namespace {

// The first order at which the work on an identity calls; 0 if none does up to 60.
template <class T, class Work> tnk_int first_order(Work work) {
  for (tnk_int n = 1; n <= 60; ++n) {
    const auto order = static_cast<std::size_t>(n);
    std::vector<T> a(order * order), vectors(2 * order);
    for (std::size_t i = 0; i < order; ++i) a[i * (order + 1)] = reference::number<T>(1);
    calls = 0;
    work(&n, a.data(), vectors.data());
    if (calls > 0) return n;
  }
  return 0;
}
const char *const no_letter = nullptr;

template <class T> std::vector<tnk_int> cholesky() {
  std::vector<tnk_int> orders;
  for (const char *name : {"tnk_lapack_ps_?potrf_u_small", "tnk_lapack_ps_?potrf_l_small"})
    orders.push_back(first_order<T>([&](const tnk_int *n, T *a, T *) {
      tnk_int info = 0;
      Named<T>{name}(no_letter, n, a, n, &info);
    }));
  return orders;
}
template <class T> std::vector<tnk_int> reflector() {
  std::vector<tnk_int> orders;
  for (const char *side : {"L", "R"})
    orders.push_back(first_order<T>([&](const tnk_int *n, T *c, T *v) {
      const T tau = reference::number<T>(1);
      Named<T>("tnk_lapack_ps_?larfx")(side, n, n, v, &tau, c, n, v + *n);
    }));
  return orders;
}
tnk_int symmetric(decltype(tnk_lapack_ps_ssytrf_l_small) &factorize) {
  return first_order<float>([&](const tnk_int *n, float *a, float *) {
    tnk_int info = 0, ipiv[60];
    factorize(no_letter, n, a, n, ipiv, &info);
  });
}

TEST(PublicRoutines, AreCalledFromAnOrderOn) {
  using Orders = std::vector<tnk_int>;
  EXPECT_EQ(cholesky<float>(), (Orders{0, 0}));
  EXPECT_EQ(cholesky<double>(), (Orders{50, 40}));
  EXPECT_EQ(cholesky<tnk_complex8>(), (Orders{50, 50}));
  EXPECT_EQ(cholesky<tnk_complex16>(), (Orders{40, 40}));
  EXPECT_EQ(reflector<double>(), (Orders{9, 11}));
  EXPECT_EQ(reflector<tnk_complex8>(), (Orders{9, 11}));
  EXPECT_GT(symmetric(tnk_lapack_ps_ssytrf_l_small), 0);
  EXPECT_EQ(symmetric(tnk_lapack_ps_ssytrf_u_small), 0);
}

} // namespace
} // namespace tnk::test
