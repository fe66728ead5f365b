// axpy, axpby, copy, swap and scale in the four types against their definitions, bit for bit.
#include "reference/level1_streams.h"
#include "support/guarded.h"
#include "support/random.h"
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <sanitizer/asan_interface.h>
#include <tnk/blas_level1.h>

namespace tnk::test {
namespace {

using reference::Elements;

template <class T> struct Kernels;
#define KERNELS(T, R, t, always, rt)                                                                         \
  template <> struct Kernels<T> {                                                                            \
    using Real = R;                                                                                          \
    static constexpr auto axpy = tnk_blas_x##t##axpy, axpy_always = tnk_blas_x##t##always;                   \
    static constexpr auto axpby = tnk_blas_##t##axpby;                                                       \
    static constexpr auto copy = tnk_blas_x##t##copy;                                                        \
    static constexpr auto swap = tnk_blas_x##t##swap;                                                        \
    static constexpr auto scale = tnk_blas_##t##scal;                                                        \
    static constexpr auto scale_by_real = tnk_blas_##rt##scal;                                               \
  };
KERNELS(float, float, s, axpy, s)
KERNELS(double, double, d, axpy, d)
KERNELS(tnk_complex8, float, c, axpy_a, cs)
KERNELS(tnk_complex16, double, z, axpy_a, zd)
#undef KERNELS

template <class T> constexpr bool is_complex = !std::is_floating_point_v<T>;

// The same bits, but any NaN for a NaN.
template <class T> bool same(T a, T b) {
  if constexpr (is_complex<T>)
    return same(a.re, b.re) && same(a.im, b.im);
  else
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}
template <class T> bool is_zero(T a) {
  if constexpr (is_complex<T>)
    return a.re == 0 && a.im == 0;
  else
    return a == 0;
}

// Numbers of the two kinds that the tests use.
template <class T> T ordinary(Random &random) {
  return random.number<T>();
}
template <class T> T extreme(Random &random) {
  if constexpr (is_complex<T>) {
    using R = decltype(T::re);
    return T{extreme<R>(random), extreme<R>(random)};
  } else {
    using Limits = std::numeric_limits<T>;
    const T table[] = {0,
                       -T(0),
                       1,
                       -1,
                       Limits::infinity(),
                       -Limits::infinity(),
                       Limits::quiet_NaN(),
                       Limits::max(),
                       Limits::denorm_min()};
    return table[random.integer(0, 8)];
  }
}

// One vector: its guarded memory and what its elements should be.
template <class T> struct Operand {
  Strided<T> memory;
  Elements<T> expected;

  Operand(tnk_int n, tnk_int inc, std::size_t shift, T (*number)(Random &), Random &random)
      : memory(n, inc, shift) {
    expected.all_one = inc == 0;
    for (tnk_int i = 0; i < n; ++i) memory.put(i, number(random));
    for (tnk_int i = 0; i < n; ++i) expected.value.push_back(memory.get(i));
  }
  // Index of the first element that is not as expected, -1 when all are and nothing else has changed, -2 when
  // something else has.
  tnk_int first_fault() {
    for (tnk_int i = 0; i < memory.n(); ++i)
      if (!same(memory.get(i), expected[i])) return i;
    return memory.intact() ? -1 : -2;
  }
};

struct Shape {
  tnk_int n, incx, incy;
  std::size_t shift_x, shift_y;
};

// Runs every operation on vectors of that shape.
template <class T> class Streams {
public:
  using Real = typename Kernels<T>::Real;
  explicit Streams(T (*number)(Random &), Real (*real_number)(Random &))
      : number_(number), real_number_(real_number) {}

  void check(Shape s) {
    const T alpha = number_(random_), beta = number_(random_), zero{};
    const tnk_int n = s.n;
    two("axpy", s, [&](auto &x, auto &y) {
      Kernels<T>::axpy(&n, &alpha, x.memory.data(), &s.incx, y.memory.data(), &s.incy);
      if (!is_zero(alpha)) reference::axpy(n, alpha, x.expected, y.expected);
    });
    two("axpy, alpha 0", s, [&](auto &x, auto &y) {
      Kernels<T>::axpy(&n, &zero, x.memory.data(), &s.incx, y.memory.data(), &s.incy);
    });
    if constexpr (is_complex<T>)
      for (T a : {alpha, zero})
        two("axpy_a", s, [&](auto &x, auto &y) {
          Kernels<T>::axpy_always(&n, &a, x.memory.data(), &s.incx, y.memory.data(), &s.incy);
          reference::axpy(n, a, x.expected, y.expected);
        });
    two("axpby", s, [&](auto &x, auto &y) {
      Kernels<T>::axpby(&n, &alpha, x.memory.data(), &s.incx, &beta, y.memory.data(), &s.incy);
      reference::axpby(n, alpha, x.expected, beta, y.expected);
    });
    two("copy", s, [&](auto &x, auto &y) {
      Kernels<T>::copy(&n, x.memory.data(), &s.incx, y.memory.data(), &s.incy);
      reference::copy(n, x.expected, y.expected);
    });
    two("swap", s, [&](auto &x, auto &y) {
      Kernels<T>::swap(&n, x.memory.data(), &s.incx, y.memory.data(), &s.incy);
      reference::swap(n, x.expected, y.expected);
    });
    for (T a : {alpha, zero})
      two("scale", s, [&](auto &x, auto &) {
        Kernels<T>::scale(&n, &a, x.memory.data(), &s.incx);
        reference::scale(n, a, x.expected);
      });
    if constexpr (is_complex<T>)
      for (Real a : {real_number_(random_), Real(0)})
        two("scale by real", s, [&](auto &x, auto &) {
          Kernels<T>::scale_by_real(&n, &a, x.memory.data(), &s.incx);
          reference::scale_by_real(n, a, x.expected);
        });
  }

private:
  template <class Run> void two(const char *operation, const Shape &s, Run run) {
    Operand<T> x(s.n, s.incx, s.shift_x, number_, random_), y(s.n, s.incy, s.shift_y, number_, random_);
    run(x, y);
    const tnk_int fault_x = x.first_fault(), fault_y = y.first_fault();
    if (fault_x != -1 || fault_y != -1)
      ADD_FAILURE() << operation << " n " << s.n << " incx " << s.incx << " incy " << s.incy << " shifts "
                    << s.shift_x << ' ' << s.shift_y << ": x " << fault_x << ", y " << fault_y;
  }
  T (*number_)(Random &);
  Real (*real_number_)(Random &);
  Random random_;
};

// Every residue modulo 32 of an element-aligned address, then addresses that are not element-aligned.
template <class T> std::vector<std::size_t> shifts() {
  std::vector<std::size_t> list;
  for (std::size_t s = 0; s < 32; s += sizeof(typename Kernels<T>::Real)) list.push_back(s);
  list.push_back(1);
  if (sizeof(typename Kernels<T>::Real) > 4) list.push_back(4);
  return list;
}

template <class T> class Level1Streams : public testing::Test {};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(Level1Streams, Types);

TYPED_TEST(Level1Streams, EachLengthAndAlignment) {
  Streams<TypeParam> streams(ordinary, ordinary);
  for (std::size_t shift_x : shifts<TypeParam>())
    for (std::size_t shift_y : shifts<TypeParam>()) {
      // Past two passes of the longest unroll, 64 elements; the longer ones with a co-prime step.
      for (tnk_int n = 0; n <= 140; n += n < 48 ? 1 : 3) streams.check({n, 1, 1, shift_x, shift_y});
      // From 2048 doubles on the aligned path is left.
      if (shift_y % 16 == 0)
        for (tnk_int n : {2043, 2047, 2048, 2049, 2054}) streams.check({n, 1, 1, shift_x, shift_y});
    }
}

TYPED_TEST(Level1Streams, EachPairOfIncrements) {
  Streams<TypeParam> streams(ordinary, ordinary);
  for (tnk_int incx : {-3, -1, 0, 1, 2})
    for (tnk_int incy : {-3, -1, 0, 1, 2})
      for (std::size_t shift : {0, 1, 4, 8})
        for (tnk_int n : {-1, 0, 1, 2, 3, 4, 5, 7, 8, 9, 33, 70}) streams.check({n, incx, incy, shift, 0});
}

TYPED_TEST(Level1Streams, NansInfinitiesAndZeros) {
  Streams<TypeParam> streams(extreme, extreme);
  for (int round = 0; round < 40; ++round)
    for (tnk_int n : {3, 37, 70})
      for (tnk_int inc : {1, 2}) streams.check({n, inc, 1, 0, 8});
}

// Makes the bytes around an array errors to read, where the address sanitizer is in; nothing elsewhere.
class Surroundings {
public:
  Surroundings(const void *first, std::size_t bytes)
      : first_(static_cast<const char *>(first)), bytes_(bytes) {
    ASAN_POISON_MEMORY_REGION(first_ - zone, zone);
    ASAN_POISON_MEMORY_REGION(first_ + bytes_, zone);
  }
  ~Surroundings() { ASAN_UNPOISON_MEMORY_REGION(first_ - zone, bytes_ + 2 * zone); }

private:
  static constexpr std::size_t zone = 64;
  const char *first_;
  std::size_t bytes_;
};

// One vector ends, or starts, where a page begins that cannot be read; the other stands at each alignment.
TYPED_TEST(Level1Streams, NothingOutsideTheVectorsIsRead) {
  using T = TypeParam;
  using K = Kernels<T>;
  const tnk_int one = 1;
  T alpha{};
  reinterpret_cast<typename K::Real &>(alpha) = 2;
  for (bool at_start : {false, true})
    for (tnk_int n = 1; n <= 70; ++n) {
      const std::size_t count = static_cast<std::size_t>(n);
      PageEdge<T> edge(count, at_start);
      std::fill_n(edge.data(), count, T{});
      for (std::size_t shift = 0; shift < 32; shift += sizeof(typename K::Real)) {
        Guarded<T> other(count, shift);
        for (std::size_t i = 0; i < count; ++i) other.put(i, T{});
        {
          Surroundings surroundings(other.data(), count * sizeof(T));
          for (auto [x, y] : {std::pair{edge.data(), other.data()}, std::pair{other.data(), edge.data()}}) {
            K::axpy(&n, &alpha, x, &one, y, &one);
            K::axpby(&n, &alpha, x, &one, &alpha, y, &one);
            K::copy(&n, x, &one, y, &one);
            K::swap(&n, x, &one, y, &one);
            K::scale(&n, &alpha, x, &one);
          }
        }
        ASSERT_TRUE(other.intact()) << n << ' ' << shift;
      }
    }
}

TYPED_TEST(Level1Streams, InPlace) {
  using T = TypeParam;
  using K = Kernels<T>;
  Random random;
  const tnk_int one = 1;
  for (tnk_int n : {1, 5, 32, 99, 2500}) {
    const T alpha = random.number<T>(), beta = random.number<T>();
    Operand<T> v(n, 1, 8, ordinary, random);
    T *p = v.memory.data();
    K::axpy(&n, &alpha, p, &one, p, &one);
    reference::axpy(n, alpha, v.expected, v.expected);
    K::axpby(&n, &alpha, p, &one, &beta, p, &one);
    reference::axpby(n, alpha, v.expected, beta, v.expected);
    K::copy(&n, p, &one, p, &one);
    K::swap(&n, p, &one, p, &one);
    EXPECT_EQ(v.first_fault(), -1) << n;
  }
}

// A signalling NaN shows whether a number went through a multiplication, which makes it quiet.
std::uint64_t bits(double x) {
  std::uint64_t b;
  std::memcpy(&b, &x, sizeof b);
  return b;
}
constexpr std::uint64_t signalling = 0x7FF0000000000001, quiet = 0x7FF8000000000001;

TEST(Level1Scale, AlphaOfOneLeavesDoublesUntouched) {
  const double one = 1;
  for (tnk_int inc : {1, 2, 0, -1, -2}) {
    std::vector<std::uint64_t> x(9, signalling);
    const tnk_int n = 5;
    tnk_blas_dscal(&n, &one, reinterpret_cast<double *>(x.data()), &inc);
    EXPECT_EQ(x, std::vector<std::uint64_t>(9, signalling)) << inc;
  }
  // zdscal is dscal at unit stride only; its own loop multiplies, and so does zscal.
  const tnk_int n = 3;
  const auto scaled = [&](tnk_int inc, bool by_complex) {
    std::uint64_t parts[12];
    for (auto &p : parts) p = signalling;
    double x[12];
    std::memcpy(x, parts, sizeof x);
    const tnk_complex16 alpha = {1, 0};
    if (by_complex)
      tnk_blas_zscal(&n, &alpha, reinterpret_cast<tnk_complex16 *>(x), &inc);
    else
      tnk_blas_zdscal(&n, &one, reinterpret_cast<tnk_complex16 *>(x), &inc);
    return bits(x[0]);
  };
  EXPECT_EQ(scaled(1, false), signalling);
  EXPECT_EQ(scaled(2, false), quiet);
  EXPECT_EQ(scaled(-1, false), quiet);
  EXPECT_EQ(scaled(1, true), quiet);
}

} // namespace
} // namespace tnk::test
