// From which order on primitives leave their work to public routines: this program's own definitions come before the
// host's, count, and pass on.
#include "reference/arithmetic.h"
#include "support/named.h"
#include <tnk/blas.h>
#include <tnk/lapack_ps.h>
#include <vector>

namespace {

int products, updates;
template <class... A> void pass_on(int &count, const char *name, A... arguments) {
  ++count;
  reinterpret_cast<void (*)(A...)>(dlsym(RTLD_NEXT, name))(arguments...);
}

} // namespace

#define COUNTED(name, T)                                                                                     \
  void name(const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,               \
            const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y, const tnk_int *incy) { \
    pass_on(products, #name, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                            \
  }
COUNTED(tnk_blas_sgemv, float)
COUNTED(tnk_blas_dgemv, double)
COUNTED(tnk_blas_cgemv, tnk_complex8)
COUNTED(tnk_blas_zgemv, tnk_complex16)

void tnk_blas_ssyr(const char *uplo, const tnk_int *n, const float *alpha, const float *x,
                   const tnk_int *incx, float *a, const tnk_int *lda) {
  pass_on(updates, "tnk_blas_ssyr", uplo, n, alpha, x, incx, a, lda);
}

namespace tnk::test {
namespace {

// The order from which on the Cholesky factorization of the identity calls the product; 0 if none does up to 60.
template <class T> tnk_int first_order_that_calls(const char *name) {
  for (tnk_int n = 1; n <= 60; ++n) {
    std::vector<T> a(static_cast<std::size_t>(n * n));
    for (tnk_int i = 0; i < n; ++i) a[static_cast<std::size_t>(i * (n + 1))] = reference::number<T>(1);
    tnk_int info = 0;
    products = 0;
    const char *const no_letter = nullptr;
    Named<T>(std::string(name))(no_letter, &n, a.data(), &n, &info);
    if (products > 0) return n;
  }
  return 0;
}

TEST(PublicRoutines, ProductsInCholesky) {
  const char *const u = "tnk_lapack_ps_?potrf_u_small", *const l = "tnk_lapack_ps_?potrf_l_small";
  EXPECT_EQ(first_order_that_calls<float>(u), 0);
  EXPECT_EQ(first_order_that_calls<float>(l), 0);
  EXPECT_EQ(first_order_that_calls<double>(u), 50);
  EXPECT_EQ(first_order_that_calls<double>(l), 40);
  EXPECT_EQ(first_order_that_calls<tnk_complex8>(u), 50);
  EXPECT_EQ(first_order_that_calls<tnk_complex8>(l), 50);
  EXPECT_EQ(first_order_that_calls<tnk_complex16>(u), 40);
  EXPECT_EQ(first_order_that_calls<tnk_complex16>(l), 40);
}

template <class T> int products_of_reflector(const char *side, tnk_int order) {
  std::vector<T> c(static_cast<std::size_t>(order * order)), v(c), work(c);
  const T tau = reference::number<T>(1);
  products = 0;
  Named<T>("tnk_lapack_ps_?larfx")(side, &order, &order, v.data(), &tau, c.data(), &order, work.data());
  return products;
}

TEST(PublicRoutines, ProductsInReflectors) {
  for (tnk_int order = 1; order <= 12; ++order) {
    EXPECT_EQ(products_of_reflector<double>("L", order), order > 8);
    EXPECT_EQ(products_of_reflector<double>("R", order), order > 10);
    EXPECT_EQ(products_of_reflector<tnk_complex8>("L", order), order > 8);
    EXPECT_EQ(products_of_reflector<tnk_complex8>("R", order), order > 10);
  }
}

// Of the symmetric factorizations only the lower one in single precision calls the update.
TEST(PublicRoutines, UpdatesInSymmetricFactorizations) {
  const auto calls = [](auto factorize, auto element) {
    std::vector<decltype(element)> a{1, 0, 0, 1};
    std::vector<tnk_int> ipiv(2);
    tnk_int n = 2, info = 0;
    updates = 0;
    factorize(nullptr, &n, a.data(), &n, ipiv.data(), &info);
    return updates > 0;
  };
  EXPECT_TRUE(calls(tnk_lapack_ps_ssytrf_l_small, 0.0f));
  EXPECT_FALSE(calls(tnk_lapack_ps_ssytrf_u_small, 0.0f));
}

} // namespace
} // namespace tnk::test
