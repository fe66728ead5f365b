// Symmetric rank-one updates by the public routines, which have no kernel of their own.
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <cstring>
#include <tnk/blas.h>
#include <vector>

namespace tnk::test {
namespace {

template <class T> class Syr : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(Syr, Reals, );

// Bit for bit, a column at a time, and the other triangle untouched.
TYPED_TEST(Syr, AddsToOneTriangle) {
  using T = TypeParam;
  Random random;
  for (tnk_int n = 0; n <= 19; ++n)
    for (const char uplo : {'U', 'l'})
      for (const tnk_int inc : {1, -1, 3, -2})
        for (const T alpha : {T(0.7), T(0)}) {
          const tnk_int lda = n + 2;
          Guarded<T> a(static_cast<std::size_t>(n * lda));
          Strided<T> x(n, inc);
          for (tnk_int i = 0; i < n; ++i) x.put(i, random.number<T>());
          const auto at = [&](tnk_int i, tnk_int j) { return static_cast<std::size_t>(i + j * lda); };
          std::vector<T> expected(a.data(), a.data() + a.size());
          for (tnk_int j = 0; j < n; ++j)
            for (tnk_int i = uplo == 'U' ? 0 : j; i < (uplo == 'U' ? j + 1 : n); ++i) {
              a.put(at(i, j), random.number<T>());
              const T factor = alpha * x.get(j);
              expected[at(i, j)] = alpha == 0 ? a.get(at(i, j)) : a.get(at(i, j)) + factor * x.get(i);
            }
          Named<T>{"tnk_blas_?syr"}(&uplo, &n, &alpha, static_cast<const T *>(x.data()), &inc, a.data(),
                                    &lda);
          ASSERT_TRUE(a.size() == 0 || std::memcmp(a.data(), expected.data(), a.size() * sizeof(T)) == 0)
              << n << uplo << inc;
        }
}

} // namespace
} // namespace tnk::test
