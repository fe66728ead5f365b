// Matrix times vector, by the entries and the inner kernels, against the definition; and bit for bit, that an element of y
// depends on its row alone.
#include "family.h"
#include <tnk/blas_level2.h>

namespace tnk::test {
namespace {

template <class T> class Gemv : public testing::Test {};
TYPED_TEST_SUITE(Gemv, Types, );

constexpr char entry[] = "tnk_blas_x?gemv";
constexpr std::size_t none[3] = {0, 0, 0};

// Shapes around all blocks, with letters, addresses and increments that meet two by two.
TYPED_TEST(Gemv, ShapesLettersAddressesAndIncrements) {
  using T = TypeParam;
  constexpr std::size_t real = sizeof(Real<T>);
  const std::size_t shifts[] = {page_end, real,     2 * real, 3 * real, page_start, 4 * real,
                                5 * real, 6 * real, 7 * real, 1,        page_end};
  const tnk_int steps[] = {1, 1, 2, -1, 1, -3, 0};
  const std::string letters = "NTCntcX";
  Random random;
  std::size_t turn = 0;
  for (tnk_int m = 0; m <= 43; ++m)
    for (tnk_int n = 0; n <= 12; ++n)
      for (int transposed = 0; transposed < 3; ++transposed, ++turn) {
        const std::size_t shift[3] = {shifts[turn % 11], shifts[turn / 11 % 11], shifts[turn / 3 % 11]};
        Problem<T> p(letters[turn % 7], m > 40 ? m + 86 : m, n > 9 ? n + 117 : n,
                     static_cast<tnk_int>(turn % 3), steps[turn / 7 % 7], steps[turn / 5 % 6], shift, random);
        ASSERT_TRUE(p.holds(entry));
      }
}

TYPED_TEST(Gemv, ScalarsAndWhatIsNotRead) {
  using T = TypeParam;
  Random random;
  using R = Real<T>;
  const R nan = std::numeric_limits<R>::quiet_NaN(), inf = std::numeric_limits<R>::infinity();
  const T scalars[] = {T{}, reference::number<T>(1), reference::number<T>(-1), reference::number<T>(nan),
                       reference::number<T>(0.5f, 2)};
  for (const char trans : {'N', 'T', 'C'})
    for (const tnk_int inc : {1, -2})
      for (const T &alpha : scalars)
        for (const T &beta : scalars)
          for (const R bad : {R(1), inf, nan}) {
            Problem<T> p(trans, 9, 7, 1, inc, inc, none, random);
            p.alpha = alpha, p.beta = beta;
            p.a.put(4, 2, reference::number<T>(bad));
            p.x.put(3, reference::number<T>(0)); // hides no infinity
            p.y.put(1, reference::number<T>(bad));
            ASSERT_TRUE(p.holds(entry));
          }
  // A zero alpha reads neither A nor x; with a dimension of 0 nothing happens; with a negative one only y is scaled. An
  // increment of 0 for y adds all rows up.
  const T zero{}, half = reference::number<T>(0.5f), four = reference::number<T>(4);
  const tnk_int m = 3, n = 2, inc = 1, negative = -1, nothing = 0;
  const T *const unread = nullptr;
  const std::vector<T> ones(6, reference::number<T>(1));
  std::vector<T> y(3, four);
  const Named<T> gemv(entry);
  const auto run = [&](const tnk_int *rows, const tnk_int *columns, const T *alpha) {
    gemv("N", rows, columns, alpha, unread, &m, unread, &inc, &half, y.data(), &inc);
    return reference::re(y[2]);
  };
  EXPECT_EQ(run(&m, &nothing, &half), 4);
  EXPECT_EQ(run(&nothing, &n, &half), 4);
  EXPECT_EQ(run(&m, &n, &zero), 2);
  EXPECT_EQ(run(&m, &negative, &half), 1);
  gemv("N", &m, &n, &half, ones.data(), &m, ones.data(), &inc, &half, y.data(), &nothing);
  EXPECT_EQ(reference::re(y[0]), R(0.125) + 3);
}

// In the plain form an element of y has the same bits at any increment and alignment, in any slice of rows; in the
// transposed ones in any slice of columns that begins at a multiple of four.
TYPED_TEST(Gemv, BitsFollowTheRowAlone) {
  using T = TypeParam;
  Random random;
  for (const char trans : {'N', 'T', 'C'}) {
    const bool plain = trans == 'N';
    Problem<T> whole(trans, plain ? 45 : 133, plain ? 133 : 45, 3, 1, 1, none, random);
    const std::vector<T> before(whole.y.data(), whole.y.data() + 45);
    whole.call(entry, 0, 45, whole.y.data());
    for (tnk_int first = 0; first < 45; first += plain ? 1 : 4)
      for (const tnk_int size : {1, 2, 3, 4, 8, 20, 44}) {
        if (first + size > 45 || (!plain && size % 4 != 0 && first + size != 45)) continue;
        Guarded<T> y(std::vector<T>(before.begin() + first, before.begin() + first + size));
        whole.call(entry, first, size, y.data());
        for (tnk_int i = 0; i < size; ++i)
          ASSERT_TRUE(reference::same(y.get(static_cast<std::size_t>(i)), whole.y.get(first + i)))
              << trans << first << ' ' << size;
      }
    if (!plain) continue;
    for (const tnk_int incx : {2, -1, -3})
      for (const tnk_int incy : {1, 3, -2}) {
        const std::size_t shift[3] = {0, sizeof(Real<T>), sizeof(T)};
        Random again; // the same numbers
        Problem<T> strided(trans, 45, 133, 3, incx, incy, shift, again);
        strided.call(entry, 0, 45, strided.y.data());
        for (tnk_int i = 0; i < 45; ++i)
          ASSERT_TRUE(reference::same(strided.y.get(i), whole.y.get(i))) << incx << ' ' << incy;
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
      const char form[] = {static_cast<char>(std::tolower(trans)), '\0'};
      const Named<T> kernel(std::string("tnk_blas_?gemv_") + form + (has_parity ? parity : ""));
      for (tnk_int m = 0; m <= 35; m += 5)
        for (tnk_int n = 0; n <= 7; ++n) {
          Problem<T> p(trans, m, n, (parity[1] == 'e') == (m % 2 == 0) ? 0 : 1, 1, 1, none, random);
          const std::vector<Sum> wanted = product(trans, p.alpha, p.a, p.x, reference::number<T>(1), p.y);
          kernel(&m, &n, p.a.data(), &p.a.lda, static_cast<const T *>(p.x.data()), p.y.data(), &p.alpha);
          ASSERT_TRUE(is_right(wanted, p.y)) << trans << m << ' ' << n;
        }
    }
}

} // namespace
} // namespace tnk::test
