// Matrix times vector, by the entries, the public routines and the inner kernels, against the definition; and bit for
// bit, that an element of y depends on its row alone.
#include "reference/sums.h"
#include "support/error_recorder.h"
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <functional>
#include <tnk/blas.h>
#include <tnk/blas_level2.h>

namespace tnk::test {
namespace {

using reference::Real, reference::Sum;
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
template <class T> class Gemv : public testing::Test {};
TYPED_TEST_SUITE(Gemv, Types, );

// A problem in guarded memory, with rows below each column of A that must not be read.
template <class T> struct Problem {
  char trans;
  tnk_int m, n, lda, incx, incy;
  Guarded<T> a;
  Strided<T> x, y;
  T alpha, beta;

  Problem(char letter, tnk_int rows, tnk_int columns, tnk_int gap, tnk_int step_x, tnk_int step_y,
          const std::size_t (&shift)[3], Random &random)
      : trans(letter), m(rows), n(columns), lda(std::max<tnk_int>(m + gap, 1)), incx(step_x), incy(step_y),
        a(static_cast<std::size_t>(m > 0 && n > 0 ? (n - 1) * lda + m : 0), shift[0]),
        x(plain() ? n : m, incx, shift[1]), y(plain() ? m : n, incy, shift[2]), alpha(random.number<T>()),
        beta(random.number<T>()) {
    for (tnk_int j = 0; m > 0 && j < n; ++j)
      for (tnk_int i = 0; i < m; ++i) a.put(place(i, j), random.number<T>());
    for (tnk_int i = 0; i < x.n(); ++i) x.put(i, random.number<T>());
    for (tnk_int i = 0; i < y.n(); ++i) y.put(i, random.number<T>());
  }
  bool plain() const { return trans == 'N' || trans == 'n'; }
  std::size_t place(tnk_int i, tnk_int j) const { return static_cast<std::size_t>(i + j * lda); }

  Sum expected(tnk_int i) const {
    Sum sum;
    const bool conjugates = !plain() && trans != 'T' && trans != 't';
    for (tnk_int l = 0; l < x.n(); ++l)
      reference::add_product(sum, a.get(plain() ? place(i, l) : place(l, i)), x.get(l), conjugates);
    // A beta of 1 multiplies nothing, and without columns or rows nothing happens.
    const bool stays = m == 0 || n == 0 || is_one(beta);
    Sum e = reference::updated(m == 0 || n == 0 ? T{} : alpha, sum, stays ? T{} : beta, y.get(i), x.n() + 2);
    if (stays) {
      e.re += reference::re(y.get(i)), e.im += reference::im(y.get(i));
      e.size += reference::magnitude(y.get(i)) * std::numeric_limits<Real<T>>::epsilon();
    }
    return e;
  }
  // Infinities and NaN of complex numbers come out in different parts in another order of products.
  static bool agrees(const Sum &wanted, T got) {
    const auto is_finite = [](long double re, long double im) {
      return std::isfinite(re) && std::isfinite(im);
    };
    if (reference::is_pair<T> && !is_finite(wanted.re, wanted.im))
      return !is_finite(reference::re(got), reference::im(got));
    return reference::holds(wanted, got);
  }
  // run(x, y) against what y should become; nothing else may change.
  template <class Run> testing::AssertionResult becomes_right(Run run) {
    std::vector<Sum> wanted;
    for (tnk_int i = 0; i < y.n(); ++i) wanted.push_back(expected(i));
    run();
    for (tnk_int i = 0; i < y.n(); ++i)
      if (!agrees(wanted[static_cast<std::size_t>(i)], y.get(i)))
        return testing::AssertionFailure() << "element " << i << " of " << *this;
    if (!y.intact()) return testing::AssertionFailure() << "wrote outside of y: " << *this;
    return testing::AssertionSuccess();
  }
  void call(const char *name) {
    Named<T>{name}(static_cast<const char *>(&trans), static_cast<const tnk_int *>(&m),
                   static_cast<const tnk_int *>(&n), static_cast<const T *>(&alpha),
                   static_cast<const T *>(a.data()), static_cast<const tnk_int *>(&lda),
                   static_cast<const T *>(x.data()), static_cast<const tnk_int *>(&incx),
                   static_cast<const T *>(&beta), y.data(), static_cast<const tnk_int *>(&incy));
  }
  friend std::ostream &operator<<(std::ostream &out, const Problem &p) {
    return out << p.trans << ' ' << p.m << " by " << p.n << " lda " << p.lda << " incx " << p.incx << " incy "
               << p.incy;
  }
};

constexpr std::size_t none[3] = {0, 0, 0};

TYPED_TEST(Gemv, EveryShape) {
  using T = TypeParam;
  Random random;
  for (const char trans : {'N', 'T', 'C'})
    for (tnk_int m = 1; m <= 40; ++m)
      for (tnk_int n = 1; n <= 9; ++n)
        for (const tnk_int gap : {0, 1}) {
          const std::size_t shift[3] = {page_end, page_end, page_end};
          Problem<T> p(trans, m, n, gap, 1, 1, shift, random);
          ASSERT_TRUE(p.becomes_right([&] { p.call("tnk_blas_x?gemv"); }));
        }
}

TYPED_TEST(Gemv, LettersAddressesAndIncrements) {
  using T = TypeParam;
  Random random;
  const tnk_int shapes[][2] = {{7, 5}, {33, 6}, {127, 3}, {129, 130}, {5, 128}, {0, 3}, {3, 0}, {260, 9}};
  const std::size_t shifts[] = {0, sizeof(Real<T>), sizeof(T), 24, 1};
  int turn = 0;
  for (const char trans : std::string("NnTtCcX"))
    for (const auto &shape : shapes)
      for (const tnk_int incx : {1, 2, -1, -3, 0})
        for (const tnk_int incy : {1, 2, -1, -3}) {
          ++turn;
          const std::size_t shift[3] = {shifts[turn % 5], shifts[turn / 5 % 5], shifts[turn / 25 % 5]};
          Problem<T> p(trans, shape[0], shape[1], turn % 3, incx, incy, shift, random);
          ASSERT_TRUE(p.becomes_right([&] { p.call("tnk_blas_x?gemv"); }));
        }
}

TYPED_TEST(Gemv, ScalarsAndWhatIsNotRead) {
  using T = TypeParam;
  Random random;
  const Real<T> nan = std::numeric_limits<Real<T>>::quiet_NaN(),
                inf = std::numeric_limits<Real<T>>::infinity();
  const T scalars[] = {T{}, reference::number<T>(1), reference::number<T>(-1), reference::number<T>(nan),
                       reference::number<T>(0.5f, 2)};
  for (const char trans : {'N', 'T', 'C'})
    for (const tnk_int inc : {1, -2})
      for (const T &alpha : scalars)
        for (const T &beta : scalars)
          for (const Real<T> bad : {Real<T>(1), inf, nan}) {
            Problem<T> p(trans, 9, 7, 1, inc, inc, none, random);
            p.alpha = alpha, p.beta = beta;
            p.a.put(p.place(4, 2), reference::number<T>(bad));
            p.x.put(3, reference::number<T>(0)); // hides no infinity
            p.y.put(1, reference::number<T>(bad));
            ASSERT_TRUE(p.becomes_right([&] { p.call("tnk_blas_x?gemv"); }));
          }
  // A zero alpha reads neither A nor x; with a dimension of 0 nothing happens; with a negative one only y is scaled.
  const T zero{}, half = reference::number<T>(0.5f), four = reference::number<T>(4);
  const tnk_int m = 3, n = 2, inc = 1, negative = -1, nothing = 0;
  const T *const unread = nullptr;
  std::vector<T> y(3, four);
  const Named<T> gemv("tnk_blas_x?gemv");
  const auto run = [&](const tnk_int *rows, const tnk_int *columns, const T *alpha) {
    gemv("N", rows, columns, alpha, unread, &m, unread, &inc, &half, y.data(), &inc);
    return reference::re(y[2]);
  };
  EXPECT_EQ(run(&m, &nothing, &half), 4);
  EXPECT_EQ(run(&m, &n, &zero), 2);
  EXPECT_EQ(run(&m, &negative, &half), 1);
}

// In the plain form an element of y has the same bits at any increment and alignment, in any slice of rows; in the
// transposed ones in any slice of columns that begins at a multiple of four.
TYPED_TEST(Gemv, BitsFollowTheRowAlone) {
  using T = TypeParam;
  Random random;
  for (const char trans : {'N', 'T', 'C'}) {
    Problem<T> whole(trans, trans == 'N' ? 45 : 133, trans == 'N' ? 133 : 45, 3, 1, 1, none, random);
    Random again = random;
    std::vector<T> before(whole.y.data(), whole.y.data() + whole.y.n());
    whole.call("tnk_blas_x?gemv");
    const auto same_as_whole = [&](tnk_int i, T value) { return reference::same(value, whole.y.get(i)); };
    for (tnk_int first = 0; first < whole.y.n(); first += trans == 'N' ? 1 : 4)
      for (const tnk_int size : {1, 2, 3, 5, 16}) {
        if (first + size > whole.y.n() || (trans != 'N' && size % 4 != 0 && first + size != whole.y.n()))
          continue;
        Guarded<T> y(std::vector<T>(before.begin() + first, before.begin() + first + size));
        const tnk_int m = trans == 'N' ? size : whole.m, n = trans == 'N' ? whole.n : size;
        const T *const part = whole.a.data() + (trans == 'N' ? first : first * whole.lda);
        Named<T>{"tnk_blas_x?gemv"}(
            static_cast<const char *>(&trans), &m, &n, static_cast<const T *>(&whole.alpha), part,
            static_cast<const tnk_int *>(&whole.lda), static_cast<const T *>(whole.x.data()),
            static_cast<const tnk_int *>(&whole.incx), static_cast<const T *>(&whole.beta), y.data(),
            static_cast<const tnk_int *>(&whole.incy));
        for (tnk_int i = 0; i < size; ++i)
          ASSERT_TRUE(same_as_whole(first + i, y.get(static_cast<std::size_t>(i))))
              << trans << first << ' ' << size;
      }
    if (trans != 'N') continue;
    for (const tnk_int incx : {2, -1, -3})
      for (const tnk_int incy : {1, 3, -2}) {
        const std::size_t shift[3] = {0, sizeof(Real<T>), sizeof(T)};
        Problem<T> strided(trans, whole.m, whole.n, 3, incx, incy, shift, again);
        for (std::size_t k = 0; k < whole.a.size(); ++k) strided.a.put(k, whole.a.get(k));
        for (tnk_int i = 0; i < whole.x.n(); ++i) strided.x.put(i, whole.x.get(i));
        for (tnk_int i = 0; i < whole.y.n(); ++i) strided.y.put(i, before[static_cast<std::size_t>(i)]);
        strided.alpha = whole.alpha, strided.beta = whole.beta;
        strided.call("tnk_blas_x?gemv");
        for (tnk_int i = 0; i < whole.y.n(); ++i)
          ASSERT_TRUE(same_as_whole(i, strided.y.get(i))) << incx << incy;
      }
  }
}

TYPED_TEST(Gemv, InnerKernels) {
  using T = TypeParam;
  Random random;
  const bool has_parity = !std::is_same_v<T, tnk_complex16>;
  for (const char trans : {'N', 'T', 'C'})
    for (const char *parity : {"_even", "_odd"}) {
      if (trans == 'C' && !reference::is_pair<T>) continue;
      for (tnk_int m = 1; m <= 35; m += 3)
        for (tnk_int n = 1; n <= 7; ++n) {
          Problem<T> p(trans, m, n, (parity[1] == 'e') == (m % 2 == 0) ? 0 : 1, 1, 1, none, random);
          p.beta = reference::number<T>(1);
          const std::string form(1, static_cast<char>(std::tolower(trans)));
          const Named<T> kernel("tnk_blas_?gemv_" + form + (has_parity ? parity : ""));
          ASSERT_TRUE(p.becomes_right([&] {
            kernel(&p.m, &p.n, static_cast<const T *>(p.a.data()), &p.lda, static_cast<const T *>(p.x.data()),
                   p.y.data(), &p.alpha);
          }));
        }
    }
}

// ---- Public routines ------------------------------------------------------------------------------------------------

TYPED_TEST(Gemv, PublicRoutinesComputeAndRefuse) {
  using T = TypeParam;
  Random random;
  for (const char trans : {'N', 't', 'C'}) {
    Problem<T> p(trans, 9, 7, 1, -2, 3, none, random);
    ASSERT_TRUE(p.becomes_right([&] { p.call("tnk_blas_?gemv"); }));
  }
  ErrorRecorder errors;
  const struct {
    const char *argument;
    std::function<void(Problem<T> &)> spoil;
  } faults[] = {
      {"trans", [](auto &p) { p.trans = 'Q'; }},
      {"m", [](auto &p) { p.m = -1; }},
      {"n", [](auto &p) { p.n = -1; }},
      {"lda", [](auto &p) { p.lda = 8; }},
      {"incx", [](auto &p) { p.incx = 0; }},
      {"incy", [](auto &p) { p.incy = 0; }},
      {"incx", [](auto &p) { p.incx = tnk_int{1} << 61; }},
      {"lda", [](auto &p) { p.lda = tnk_int{1} << 61; }},
  };
  for (const auto &fault : faults) {
    Problem<T> p('N', 9, 7, 1, 1, 1, none, random);
    std::vector<T> before(p.y.data(), p.y.data() + 9);
    fault.spoil(p);
    p.call("tnk_blas_?gemv");
    EXPECT_EQ(errors.last().argument, fault.argument);
    EXPECT_NE(errors.bad_argument().find("tnk_blas_"), std::string::npos);
    EXPECT_EQ(std::memcmp(before.data(), p.y.data(), 9 * sizeof(T)), 0) << fault.argument;
  }
}

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
  ErrorRecorder errors;
  const tnk_int n = 3, zero = 0, one = 1, small = 2;
  const T alpha = 1;
  T x[3] = {}, a[9] = {};
  const Named<T> syr("tnk_blas_?syr");
  const auto refuses = [&](const char *argument) { return errors.take().argument == argument; };
  syr("Q", &n, &alpha, static_cast<const T *>(x), &one, static_cast<T *>(a), &n);
  EXPECT_TRUE(refuses("uplo"));
  syr("U", &n, &alpha, static_cast<const T *>(x), &zero, static_cast<T *>(a), &n);
  EXPECT_TRUE(refuses("incx"));
  syr("U", &n, &alpha, static_cast<const T *>(x), &one, static_cast<T *>(a), &small);
  EXPECT_TRUE(refuses("lda"));
}

} // namespace
} // namespace tnk::test
