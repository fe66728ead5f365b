// Sine and cosine transforms of the kernel library: against their definitions, and what they refuse and say.
#include "reference/trigonometric.h"
#include "support/guarded.h"
#include "support/random.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <tnk/pde_trig.h>

namespace tnk::test {
namespace {

template <class T> struct Entries;
#define TNK_TRIG_ENTRIES(p, T)                                                                               \
  template <> struct Entries<T> {                                                                            \
    static constexpr auto init = tnk_pdett__##p##_init_trig_transform;                                       \
    static constexpr auto commit = tnk_pdett__##p##_commit_trig_transform;                                   \
    static constexpr auto forward = tnk_pdett__##p##_forward_trig_transform;                                 \
    static constexpr auto backward = tnk_pdett__##p##_backward_trig_transform;                               \
    static constexpr auto print = tnk_pdett_##p##_print_diagnostics_c;                                       \
  };
TNK_TRIG_ENTRIES(d, double)
TNK_TRIG_ENTRIES(s, float)

// A transform with arrays of exactly the told sizes. Silent, unless told otherwise.
template <class T> class Transform {
public:
  Transform(tnk_int kind, tnk_int n, std::size_t shift = page_end)
      : f(static_cast<std::size_t>(kind < 4 ? n + 1 : n), shift), ipar(TNK_PDETT_IPAR),
        dpar(static_cast<std::size_t>(TNK_PDETT_DPAR(n, kind))) {
    Entries<T>::init(&n, &kind, ipar.data(), dpar.data(), &stat);
    ipar.data()[TNK_PDETT_ERRORS] = ipar.data()[TNK_PDETT_WARNINGS] = 0;
    Random random(static_cast<unsigned>(n));
    for (std::size_t i = 0; i < f.size(); ++i) f.put(i, random.real<T>());
    if (kind == 0) f.put(0, 0);
    if (kind == 3) f.put(0, 0);
    if (kind == 0 || kind == 2) f.put(f.size() - 1, 0);
  }
  ~Transform() {
    if (handle) tnk_pdett__free_trig_transform(&handle, ipar.data(), &stat);
    EXPECT_EQ(handle, nullptr);
    EXPECT_TRUE(f.intact() && ipar.intact() && dpar.intact());
    for (const std::size_t i : {3, 4}) EXPECT_EQ(ipar.get(i), -1) << "not for these calls";
    T unset;
    std::memset(&unset, 0xFF, sizeof unset);
    const T second = dpar.get(1);
    EXPECT_EQ(std::memcmp(&second, &unset, sizeof unset), 0);
  }
  tnk_int commit() {
    Entries<T>::commit(f.data(), &handle, ipar.data(), dpar.data(), &stat);
    EXPECT_EQ(stat, ipar.get(TNK_PDETT_STATUS));
    return stat;
  }
  tnk_int run(bool forward) {
    (forward ? Entries<T>::forward : Entries<T>::backward)(f.data(), &handle, ipar.data(), dpar.data(),
                                                           &stat);
    EXPECT_EQ(stat, ipar.get(TNK_PDETT_STATUS));
    return stat;
  }
  std::vector<T> values() const { return {f.data(), f.data() + f.size()}; }

  Guarded<T> f;
  Guarded<tnk_int> ipar;
  Guarded<T> dpar;
  DftiHandle handle = nullptr;
  tnk_int stat = -1;
};

template <class T> class Trig : public testing::Test {};
using Reals = testing::Types<double, float>;
TYPED_TEST_SUITE(Trig, Reals);

// ---- Results ----------------------------------------------------------------------------------------------------------

// How far element k may be off, in eps of the result's root mean square. The Fourier transform is within a few; sums carry
// what they meet along the row; divisions enlarge by the sines that they divide by.
long double allowed(tnk_int kind, bool forward, tnk_int n, tnk_int k) {
  const long double h = std::acos(-1.0L) / static_cast<long double>(n), length = static_cast<long double>(n);
  if (kind < 2) return 2 + 4 * std::sqrt(length);
  if (!forward) return kind < 4 ? 2 + 4 * std::sqrt(length) : 3 + 1.5L * length * std::sqrt(length);
  const long double place = static_cast<long double>(kind == 3 ? k - 1 : k) + 0.5L;
  const long double by_half = 5 * (1 + 1 / (4 * std::sin(place * h)));
  // Differences are up to twice as large as what they are of.
  return kind < 4 ? by_half : by_half * (1 + 1 / std::sin(place * h / 2));
}

// Lengths of either parity around every block of the passes, and a few large ones of which only some elements are looked at.
std::vector<tnk_int> lengths() {
  std::vector<tnk_int> all(69);
  std::iota(all.begin(), all.end(), 2);
  all.insert(all.end(), {127, 128, 1000, 1001, 4096});
  return all;
}

TYPED_TEST(Trig, MeetDefinitions) {
  using T = TypeParam;
  const long double eps = std::numeric_limits<T>::epsilon();
  for (tnk_int kind = 0; kind < 6; ++kind)
    for (const tnk_int n : lengths()) {
      const reference::Trigonometric definition(kind, n);
      const auto first = definition.first(), last = definition.last();
      for (const int form : {0, 1, 2, 3}) {
        const bool forward = form % 2 == 0, raw = form > 1;
        if (raw && n > 70) continue;
        SCOPED_TRACE(testing::Message() << "kind " << kind << ", n " << n
                                        << (forward ? " forward" : " backward") << (raw ? ", raw" : ""));
        Transform<T> t(kind, n, n % 3 == 0 ? sizeof(T) : page_end);
        t.ipar.put(TNK_PDETT_RAW, raw);
        ASSERT_EQ(t.commit(), 0);
        const std::vector<T> given = t.values();
        // What counts as 0 may be anything.
        const T nan = std::numeric_limits<T>::quiet_NaN();
        if (kind == 0 || (kind == 3 && !raw)) t.f.put(0, nan);
        if (kind == 0 || kind == 2) t.f.put(static_cast<std::size_t>(n), nan);
        if (kind == 3 && raw) // element k at k - 1
          for (tnk_int k = 1; k <= n; ++k)
            t.f.put(static_cast<std::size_t>(k - 1), given[static_cast<std::size_t>(k)]);
        ASSERT_EQ(t.run(forward), 0);
        const long double scale = !raw ? 1 : forward ? static_cast<long double>(n) : 2;
        const tnk_int shift = kind == 3 && raw ? 1 : 0;
        EXPECT_TRUE(kind != 0 || t.f.get(0) == 0);
        std::vector<std::pair<tnk_int, long double>> wanted;
        long double squares = 0;
        for (tnk_int k = first; k <= last; ++k) {
          if (n > 500 && k > 20 && k < n - 20 && k % 37 != 0) continue;
          wanted.emplace_back(k, scale * (forward ? definition.forward(given.data(), k)
                                                  : definition.backward(given.data(), k)));
          squares += wanted.back().second * wanted.back().second;
        }
        const long double size = std::sqrt(squares / static_cast<long double>(wanted.size()));
        for (const auto &[k, value] : wanted) {
          const long double error = std::abs(value - t.f.get(static_cast<std::size_t>(k - shift)));
          ASSERT_TRUE(error <= allowed(kind, forward, n, k) * eps * size)
              << "element " << k << ": " << error / eps / size << " eps, not "
              << allowed(kind, forward, n, k);
        }
      }
    }
}

} // namespace
} // namespace tnk::test
