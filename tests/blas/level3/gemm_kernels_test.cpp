// Packing and block kernels of the matrix product: panels element for element, products from packed panels.
#include "reference/gemm_panels.h"
#include "reference/sums.h"
#include "support/guarded.h"
#include "support/random.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/blas_level3.h>
#include <vector>

namespace tnk::test {
namespace {

using reference::cell;
using reference::padded;
using reference::parts;
using reference::Place;

// One option of an operand: its copy, and how the source is read.
struct Copy {
  tnk_gemm_copy *copy;
  bool transposed, conjugated;
};

template <class T> struct Entries;
#define KERNELS(t)                                                                                           \
  static constexpr tnk_gemm_kernel *ker0 = tnk_blas_##t##gemm_ker0, *kernel_0 = tnk_blas_##t##gemm_kernel_0, \
                                   *kernel_0_b0 = tnk_blas_##t##gemm_kernel_0_b0,                            \
                                   *ker0_pst = tnk_blas_##t##gemm_ker0_pst;
#define EXTENDED(t, o, letter)                                                                               \
  [](const tnk_int *p, const tnk_int *q, const void *source, const tnk_int *ld, void *buffer,                \
     const tnk_gemm_panels *panels, const void *alpha) {                                                     \
    tnk_blas_##t##gemm_copy##o##_ext(letter, p, q, source, ld, buffer, panels, alpha);                       \
  }
#define REAL(T, t)                                                                                           \
  template <> struct Entries<T> {                                                                            \
    static inline const std::vector<Copy> a = {{tnk_blas_##t##gemm_copyan, false, false},                    \
                                               {tnk_blas_##t##gemm_copyat, true, false},                     \
                                               {EXTENDED(t, a, "n"), false, false},                          \
                                               {EXTENDED(t, a, "C"), true, false}},                          \
                                          b = {{tnk_blas_##t##gemm_copybn, false, false},                    \
                                               {tnk_blas_##t##gemm_copybt, true, false},                     \
                                               {EXTENDED(t, b, "N"), false, false},                          \
                                               {EXTENDED(t, b, "t"), true, false}};                          \
    KERNELS(t)                                                                                               \
  };
#define COMPLEX(T, t)                                                                                        \
  template <> struct Entries<T> {                                                                            \
    static inline const std::vector<Copy> a = {{tnk_blas_##t##gemm_copyan, false, false},                    \
                                               {tnk_blas_##t##gemm_copyat, true, false},                     \
                                               {tnk_blas_##t##gemm_copyac, true, true}},                     \
                                          b = {{tnk_blas_##t##gemm_copybn, false, false},                    \
                                               {tnk_blas_##t##gemm_copybt, true, false},                     \
                                               {tnk_blas_##t##gemm_copybc, true, true}};                     \
    KERNELS(t)                                                                                               \
  };
REAL(float, s)
REAL(double, d)
COMPLEX(tnk_complex8, c)
COMPLEX(tnk_complex16, z)
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;

template <class T> class GemmKernels : public testing::Test {};
TYPED_TEST_SUITE(GemmKernels, Types, );

template <class T> T one() {
  if constexpr (is_complex<T>)
    return {1, 0};
  else
    return 1;
}
// In complex with a zero for its real part.
template <class T> T not_zero() {
  if constexpr (is_complex<T>)
    return {0, 2};
  else
    return 2;
}
template <class T> T not_a_number() {
  T x;
  std::memset(&x, 0xFF, sizeof x); // what guarded memory holds as well
  return x;
}

// Writes an element into expected panels.
template <class T> void put_element(std::vector<real_of<T>> &packed, Place place, tnk_int step, T x) {
  real_of<T> values[2] = {};
  std::memcpy(values, &x, sizeof x);
  for (int part = 0; part < parts<T>; ++part)
    packed[place.first + cell<T>(place.lanes, step, place.lane, part)] = values[part];
}

// Packs lanes by steps of a random source, into panels that stand further apart than they need to, and
// compares all of the buffer: what no layout names keeps the pattern of guarded memory.
template <class T>
void check_copy(const Copy &option, bool of_a, tnk_int lanes, tnk_int steps, std::size_t shift) {
  SCOPED_TRACE(testing::Message() << (of_a ? "A" : "B") << " transposed " << option.transposed
                                  << " conjugated " << option.conjugated << " lanes " << lanes << " steps "
                                  << steps);
  using R = real_of<T>;
  const int width = of_a ? gemm_tile<T>::mr : gemm_tile<T>::nr;
  const bool lanes_are_neighbours = of_a != option.transposed;
  const tnk_int inner = lanes_are_neighbours ? lanes : steps, ld = inner + 3;
  Random random(static_cast<unsigned>(lanes * 64 + steps));
  Guarded<T> source(ld * (lanes_are_neighbours ? steps : lanes), shift);
  const T alpha = random.number<T>();
  const tnk_int stride = width * (padded(steps) + 8);
  Guarded<R> buffer((lanes / width + 1) * stride * parts<T>);
  std::vector<R> expected(buffer.size(), not_a_number<R>());

  const auto place = [=](tnk_int lane) {
    return of_a ? reference::place_in_a<T>(lane, stride)
                : reference::place_in_b<T>(lane, lanes, steps, stride);
  };
  for (tnk_int r = 0; r < lanes; ++r)
    for (tnk_int l = 0; l < steps; ++l) {
      T x = random.number<T>();
      if constexpr (is_complex<T>)
        if ((r + l) % 5 == 0) x.im = 0; // whose conjugate has +0 as well
      source.put(lanes_are_neighbours ? r + l * ld : l + r * ld, x);
      if (option.conjugated) x = conjugate(x);
      put_element(expected, place(r), l, of_a ? alpha * x : x);
    }
  // Zeros: pad steps in every lane of A and B, and all steps of B's lanes without a column.
  for (tnk_int r = 0; r < lanes && steps > 0; ++r) {
    Place zeros = place(r);
    const bool last = r == lanes - 1;
    for (const int end = last ? zeros.lanes : zeros.lane + 1; zeros.lane < end; ++zeros.lane)
      for (tnk_int l = zeros.lane == place(r).lane || of_a ? steps : 0; l < padded(steps); ++l)
        put_element(expected, zeros, l, T{});
  }

  const tnk_gemm_panels panels = {buffer.data(), stride, 0, 12};
  option.copy(of_a ? &lanes : &steps, of_a ? &steps : &lanes, source.data(), &ld, buffer.data(), &panels,
              of_a ? &alpha : nullptr);
  EXPECT_TRUE(buffer.intact());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const R x = buffer.get(i);
    ASSERT_EQ(std::memcmp(&x, &expected[i], sizeof x), 0)
        << "at " << i << ": " << x << ", not " << expected[i];
  }
}

TYPED_TEST(GemmKernels, CopiesFillPanels) {
  using T = TypeParam;
  for (const bool of_a : {true, false})
    for (const Copy &option : of_a ? Entries<T>::a : Entries<T>::b)
      for (const std::size_t shift : {std::size_t{0}, sizeof(real_of<T>), std::size_t{1}})
        for (tnk_int lanes = -1; lanes <= 37; lanes += lanes < 20 ? 1 : 3)
          for (const tnk_int steps : {-1, 0, 1, 2, 3, 4, 5, 7, 8, 9, 14, 20}) {
            check_copy<T>(option, of_a, std::max<tnk_int>(lanes, 0), std::max<tnk_int>(steps, 0), shift);
            if (this->HasFatalFailure()) return;
          }
}

// What an element of A B is to the bit, wherever it stands in a tile: a sum with the steps in order, in complex one of each
// product of parts.
template <class T> class InOrder {
public:
  void add(T x, T y) {
    if constexpr (is_complex<T>) {
      rere += x.re * y.re;
      reim += x.re * y.im;
      imre += x.im * y.re;
      imim += x.im * y.im;
    } else {
      rere += x * y;
    }
  }
  T sum() const {
    if constexpr (is_complex<T>)
      return {rere - imim, reim + imre};
    else
      return rere;
  }

private:
  real_of<T> rere = 0, reim = 0, imre = 0, imim = 0;
};

// C := C + A B from random panels, by one of the kernels.
template <class T>
void check_kernel(tnk_gemm_kernel *kernel, tnk_int m, tnk_int n, tnk_int k, const T *beta, bool adds) {
  SCOPED_TRACE(testing::Message() << "m " << m << " n " << n << " k " << k << " adds " << adds);
  using R = real_of<T>;
  constexpr int mr = gemm_tile<T>::mr, nr = gemm_tile<T>::nr;
  Random random(static_cast<unsigned>(m * 1024 + n * 32 + k));
  const tnk_int a_stride = mr * (k + 4), b_stride = nr * (k + 8), ldc = m + 3;
  // Everything that is no element of A is NaN, the lanes above the last row among it; B's idle lanes are
  // zero.
  Guarded<R> a((m / mr + 1) * a_stride * parts<T>), b((n / nr + 1) * b_stride * parts<T>);
  for (std::size_t i = 0; i < b.size(); ++i) b.put(i, 0);
  const auto fill = [&](Guarded<R> &to, Place place) {
    for (tnk_int l = 0; l < k; ++l)
      for (int part = 0; part < parts<T>; ++part)
        to.put(place.first + cell<T>(place.lanes, l, place.lane, part), random.number<R>());
  };
  for (tnk_int i = 0; i < m; ++i) fill(a, reference::place_in_a<T>(i, a_stride));
  for (tnk_int j = 0; j < n; ++j) fill(b, reference::place_in_b<T>(j, n, k, b_stride));
  Guarded<T> c(ldc * n, sizeof(R)), before(ldc * n); // NaN, both
  for (tnk_int j = 0; j < n; ++j)
    for (tnk_int i = 0; i < m && adds; ++i) before.put(i + j * ldc, random.number<T>());
  std::memcpy(c.data(), before.data(), c.size() * sizeof(T));

  const tnk_gemm_panels a_panels = {a.data(), a_stride, 0, 12}, b_panels = {b.data(), b_stride, 0, 12};
  kernel(nullptr, nullptr, &m, &n, &k, nullptr, a.data(), &a_panels, b.data(), &b_panels, beta, c.data(),
         &ldc, nullptr, 2 + static_cast<int32_t>(n % 2));

  EXPECT_TRUE(c.intact());
  const R eps = std::numeric_limits<R>::epsilon();
  for (tnk_int j = 0; j < n; ++j)
    for (tnk_int i = 0; i < ldc; ++i) {
      const T value = c.get(i + j * ldc), old = before.get(i + j * ldc);
      if (i >= m) {
        ASSERT_EQ(std::memcmp(&value, &old, sizeof value), 0) << "written at " << i << ", " << j;
        continue;
      }
      reference::Sum sum;
      InOrder<T> ordered;
      for (tnk_int l = 0; l < k; ++l) {
        const T x = reference::element<T>(a.data(), reference::place_in_a<T>(i, a_stride), l);
        const T y = reference::element<T>(b.data(), reference::place_in_b<T>(j, n, k, b_stride), l);
        reference::add_product(sum, x, y, false);
        ordered.add(x, y);
      }
      if (adds) reference::add_product(sum, old, one<T>(), false);
      const long double bound = (is_complex<T> ? 2 * (k + 2) : k + 1) * eps * sum.size;
      ASSERT_TRUE(std::abs(reference::re(value) - sum.re) <= bound &&
                  std::abs(reference::im(value) - sum.im) <= bound)
          << "at " << i << ", " << j;
      const T exact = adds ? old + ordered.sum() : ordered.sum();
      ASSERT_TRUE(reference::re(value) == reference::re(exact) &&
                  reference::im(value) == reference::im(exact))
          << "at " << i << ", " << j;
    }
}

TYPED_TEST(GemmKernels, ProductsOfPanels) {
  using T = TypeParam;
  using E = Entries<T>;
  const T zero{}, minus_zero = -1 * zero, other = not_zero<T>(), nan = not_a_number<T>();
  for (const tnk_int k : {4, 8, 12, 16, 256, 268})
    for (tnk_int m = 1; m <= 17; m += k >= 256 ? 4 : 1)
      for (tnk_int n = 1; n <= 21; n += k >= 256 ? 5 : 1) {
        check_kernel(E::ker0, m, n, k, &zero, false);
        check_kernel(E::ker0, m, n, k, m % 2 == 0 ? &other : &nan, true); // anything but zero acts as one
        if (m < gemm_tile<T>::mr) {
          check_kernel(E::ker0_pst, m, n, k, &minus_zero, false);
          check_kernel(E::ker0_pst, m, n, k, &nan, true);
        }
        if (m % gemm_tile<T>::mr == 0) { // these do not read beta
          check_kernel<T>(E::kernel_0_b0, m, n, k, nullptr, false);
          check_kernel<T>(E::kernel_0, m, n, k, nullptr, true);
        }
        if (this->HasFatalFailure()) return;
      }
}

template <class T> class ComplexGemmKernels : public testing::Test {};
using ComplexTypes = testing::Types<tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(ComplexGemmKernels, ComplexTypes, );

// A B from the transposes of both, packed by the given copies.
template <class T>
std::vector<T> product(const Copy &copy_a, const Copy &copy_b, const std::vector<T> &a,
                       const std::vector<T> &b, tnk_int m, tnk_int n, tnk_int k) {
  const tnk_int padded_k = reference::padded(k);
  const T alpha{1.5, 0}, zero{};
  std::vector<T> packed_a((m + 3) * padded_k), packed_b((n + 3) * padded_k), c(m * n);
  const tnk_gemm_panels a_panels = {packed_a.data(), gemm_tile<T>::mr * padded_k, 0, 12};
  const tnk_gemm_panels b_panels = {packed_b.data(), gemm_tile<T>::nr * padded_k, 0, 12};
  copy_a.copy(&m, &k, a.data(), &k, packed_a.data(), &a_panels, &alpha);
  copy_b.copy(&k, &n, b.data(), &n, packed_b.data(), &b_panels, nullptr);
  Entries<T>::ker0(nullptr, nullptr, &m, &n, &padded_k, nullptr, packed_a.data(), &a_panels, packed_b.data(),
                   &b_panels, &zero, c.data(), &m, nullptr, 2);
  return c;
}

TYPED_TEST(ComplexGemmKernels, ConjugatesOfBothGiveTheConjugate) {
  using T = TypeParam;
  const auto &a = Entries<T>::a, &b = Entries<T>::b;
  const tnk_int m = 7, n = 11, k = 13;
  Random random(7);
  std::vector<T> x(m * k), y(k * n);
  for (T &element : x) element = random.number<T>();
  for (T &element : y) element = random.number<T>();
  const std::vector<T> plain = product(a[1], b[1], x, y, m, n, k), both = product(a[2], b[2], x, y, m, n, k);
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const T expected = {plain[i].re, -plain[i].im};
    ASSERT_EQ(std::memcmp(&both[i], &expected, sizeof expected), 0) << "at " << i;
  }
}

} // namespace
} // namespace tnk::test
