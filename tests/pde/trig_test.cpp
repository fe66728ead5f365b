// Sine and cosine transforms of the kernel library: against their definitions, and what they refuse and say.
#include "pde/said.h"
#include "reference/trigonometric.h"
#include "support/allocations.h"
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <functional>
#include <numeric>
#include <tnk/pde_trig.h>
#include <tnk/services.h>

namespace tnk::test {
namespace {

// A transform with arrays of exactly the told sizes. Silent, unless told otherwise.
template <class T> class Transform {
public:
  Transform(tnk_int kind, tnk_int n, std::size_t shift = page_end)
      : f(static_cast<std::size_t>(kind < 4 ? n + 1 : n), shift), ipar(TNK_PDETT_IPAR),
        dpar(static_cast<std::size_t>(TNK_PDETT_DPAR(n, kind))) {
    Named<T>("tnk_pdett__?_init_trig_transform")(&n, &kind, ipar.data(), dpar.data(), &stat);
    ipar.data()[TNK_PDETT_ERRORS] = ipar.data()[TNK_PDETT_WARNINGS] = 0;
    Random random(static_cast<unsigned>(n));
    for (std::size_t i = 0; i < f.size(); ++i) f.put(i, random.real<T>());
    if (kind == 0 || kind == 3) f.put(0, 0);
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
  tnk_int commit() { return call("commit"); }
  tnk_int run(bool forward) { return call(forward ? "forward" : "backward"); }
  std::vector<T> values() const { return {f.data(), f.data() + f.size()}; }

  Guarded<T> f;
  Guarded<tnk_int> ipar;
  Guarded<T> dpar;
  DftiHandle handle = nullptr;
  tnk_int stat = -1;

private:
  tnk_int call(const std::string &what) {
    Named<T>("tnk_pdett__?_" + what + "_trig_transform")(f.data(), &handle, ipar.data(), dpar.data(), &stat);
    EXPECT_EQ(stat, ipar.get(TNK_PDETT_STATUS));
    return stat;
  }
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
        Transform<T> t(kind, n, n % 3 == 0 ? sizeof(T) : n % 3 == 1 ? page_start : page_end);
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

// ---- Statuses and messages ------------------------------------------------------------------------------------------

constexpr tnk_int length = 19; // longer than a few vectors
constexpr int commit_call = 0, forward_call = 1, backward_call = 2;
template <class T> struct Misuse {
  int call;
  tnk_int kind;
  std::function<void(Transform<T> &)> edit; // before the call
  tnk_int status;
  std::vector<std::string> says; // pieces of what is printed; none: nothing is
};

template <class T> std::vector<Misuse<T>> misuses() {
  using Edit = std::function<void(Transform<T> &)>;
  const auto entry = [](std::size_t i, tnk_int value) -> Edit {
    return [=](Transform<T> &t) { t.ipar.put(i, value); };
  };
  const auto element = [](std::size_t i, T value) -> Edit {
    return [=](Transform<T> &t) { t.f.put(i, value); };
  };
  const auto number = [](std::size_t i, T value) -> Edit {
    return [=](Transform<T> &t) { t.dpar.put(i, value); };
  };
  const auto both = [](const Edit &a, const Edit &b) -> Edit { return [=](Transform<T> &t) { a(t), b(t); }; };
  std::vector<Misuse<T>> all = {
      {commit_call, 1, entry(6, 7), -10000, {"commit was not begun", "ipar[6], the status, is 7"}},
      {commit_call, 1, entry(0, 1), -100, {"n is too small", "is 1\n"}},
      {commit_call, 1, entry(5, 6), -100, {"no such transform", "is 6\n"}},
      {commit_call, 1, entry(5, -1), -100, {"no such transform", "is -1\n"}},
      {commit_call, 0, number(0, -1), 10, {"tolerance for ends of f is negative", "is -1\n"}},
      {commit_call, 1, number(0, -1), 0, {}},
      {commit_call, 0, element(0, 2), 1, {"takes the first", "f[0] is 2.000000e+00"}},
      {commit_call, 0, element(length, -2), 1, {"sine transform takes the last", "f[n] is -2.0000"}},
      {commit_call, 2, element(length, 2), 1, {"staggered cosine transform takes", "f[n] is 2.0000"}},
      {commit_call, 3, element(0, 2), 1, {"staggered sine transform takes", "f[0] is 2.0000"}},
      {commit_call, 0, both(element(0, T(0.25)), number(0, T(0.25))), 0, {}},
      {commit_call, 0, both(element(0, 2), entry(10, 1)), 0, {}},
      {commit_call, 1, both(element(0, 2), element(length, 2)), 0, {}},
      {commit_call, 0, both(element(0, 2), element(length, 3)), 1, {"f[0] is 2.0", "f[n] is 3.0"}},
      {commit_call, 4, entry(9, -3), 10, {"number of threads", "is -3\n"}},
      {commit_call, 2, both(element(length, 2), entry(9, -3)), 11, {"f[n] is 2.0", "is -3\n"}},
      {forward_call, 1, entry(6, 1), -10000, {"transform was not begun", "is 1\n"}},
      {backward_call, 1, entry(6, -100), -10000, {"transform was not begun", "is -100\n"}},
      {forward_call, 1, entry(5, 9), -100, {"no such transform", "is 9\n"}},
  };
  for (tnk_int kind = 0; kind < 6; ++kind) { // f is left alone
    all.push_back({forward_call, kind, entry(0, 0), -10000, {"scaled by 1/n", "is 0\n"}});
    all.push_back({backward_call, kind, entry(0, 0), 0, {}});
  }
  for (tnk_int kind = 2; kind < 6; ++kind) // sines of the unfolding, and of the division behind it
    for (std::size_t at = length + 2; at < static_cast<std::size_t>(TNK_PDETT_DPAR(length, kind)); ++at)
      all.push_back({forward_call, kind, number(at, 0), -200, {"a table has a sine of 0"}});
  return all;
}

TYPED_TEST(Trig, AnswerMisuse) {
  using T = TypeParam;
  for (const auto &misuse : misuses<T>()) {
    const std::string first = misuse.says.empty() ? "nothing" : misuse.says.back();
    SCOPED_TRACE(testing::Message() << "kind " << misuse.kind << ", call " << misuse.call << ", " << first);
    for (const tnk_int shown : {0, 1}) {
      Transform<T> t(misuse.kind, length);
      EXPECT_TRUE(misuse.call == commit_call || t.commit() == 0);
      misuse.edit(t);
      t.ipar.put(TNK_PDETT_ERRORS, shown);
      t.ipar.put(TNK_PDETT_WARNINGS, shown);
      const std::string text = said([&] {
        EXPECT_EQ(misuse.call == commit_call ? t.commit() : t.run(misuse.call == forward_call),
                  misuse.status);
      });
      EXPECT_EQ(text.empty(), misuse.says.empty() || !shown) << text;
      for (std::size_t i = 0; shown && i < misuse.says.size(); ++i)
        EXPECT_NE(text.find(misuse.says[i]), std::string::npos) << text;
      EXPECT_EQ(t.handle == nullptr, misuse.call == commit_call && misuse.status < 0);
      if (misuse.status >= 10) { // what was corrected
        EXPECT_EQ(t.ipar.get(TNK_PDETT_USERS), 1);
        EXPECT_EQ(t.dpar.get(0), static_cast<T>(length * 1e-12));
      }
    }
  }
}

// Without making anything a commit leaves tables and handle alone; with the handle of another the transform is the same.
TYPED_TEST(Trig, MakeNothingUnasked) {
  Transform<TypeParam> made(5, 30), other(5, 30);
  other.ipar.put(TNK_PDETT_MAKE, 0);
  ASSERT_EQ(made.commit(), 0);
  ASSERT_EQ(other.commit(), 0);
  EXPECT_EQ(other.handle, nullptr);
  for (std::size_t i = 2; i < other.dpar.size(); ++i) {
    EXPECT_TRUE(std::isnan(other.dpar.get(i)));
    other.dpar.put(i, made.dpar.get(i));
  }
  std::swap(made.handle, other.handle);
  const std::vector<TypeParam> given = other.values();
  ASSERT_EQ(other.run(true), 0);
  std::swap(made.handle, other.handle);
  ASSERT_EQ(made.run(true), 0);
  EXPECT_EQ(made.values(), other.values());
}

// Every allocation of a commit in turn: the status, its words, and nothing that stays behind.
TYPED_TEST(Trig, FailWithoutMemory) {
  const int before = allocations.live;
  std::string text;
  const auto run = [&] {
    Transform<TypeParam> t(2, 1000);
    t.ipar.put(TNK_PDETT_ERRORS, 1);
    text = said([&] { t.commit(); });
    EXPECT_EQ(t.handle == nullptr, t.stat != 0);
    EXPECT_EQ(allocations.live == before, t.stat != 0);
    return t.stat;
  };
  const int refusals = refuse_in_turn(run, [&](tnk_int status, bool refused) {
    ASSERT_EQ(status, refused ? -1000 : 0);
    EXPECT_EQ(text.find("it says: ") != text.npos, refused) << text;
    EXPECT_EQ(text.find(" \n"), text.npos) << "padding";
  });
  EXPECT_GT(refusals, 1);
  EXPECT_EQ(allocations.live, before);

  Transform<TypeParam> t(2, 1000); // without a handle, a transform and a release
  EXPECT_EQ(t.run(true), -1000);
  tnk_pdett_free_trig_transform(&t.handle, t.ipar.data(), &t.stat);
  EXPECT_EQ(t.stat, -1000);
  EXPECT_EQ(t.ipar.get(TNK_PDETT_STATUS), -1000);
}

// Each identifier's lines in either language, in the frame. Values stand in the second one.
TEST(TrigMessages, AreThreeLinesInAFrame) {
  const tnk_int ids[] = {0, 1, 3, 4, 5, 6, 300, 302, 303, 307, 308, 309, 1001};
  const tnk_int ipar[TNK_PDETT_IPAR] = {10, 1, 1, 0, 0, 13, 16, 0, 0, 19, 0};
  const double dpar[] = {0.5};
  const auto line = [](int32_t number) { return tnk_serv_tnk_get_msg(number, 0) + std::string("\n"); };
  for (int32_t i = 0; i < 13; ++i)
    for (const auto &[print, first] : {std::pair(tnk_pdett_d_print_diagnostics_f, 410 + 3 * i),
                                       {tnk_pdett_d_print_diagnostics_c, 449 + 3 * i}}) {
      const std::string text = said([&, print = print] { print(ids + i, ipar, dpar, "TEXT"); }),
                        begin = "\n" + line(396) + line(first) + line(first + 1).substr(0, 4),
                        end = line(first + 2) + line(397) + line(398);
      EXPECT_EQ(text.substr(0, begin.size()), begin);
      EXPECT_EQ(text.substr(std::max(text.size(), end.size()) - end.size()), end);
      EXPECT_EQ(text.find('?'), text.npos) << "a value is missing: " << text;
    }
}

TEST(TrigMessages, GoToTheLogFileOrTellThatTheyCannot) {
  const char *const log = "TNK_Trig_Transforms_Log.txt";
  const auto commit = [](tnk_int shown) {
    Transform<double> t(1, 8);
    t.ipar.put(5, 7);
    t.ipar.put(TNK_PDETT_ERRORS, shown);
    EXPECT_EQ(t.commit(), -100);
  };
  const std::string text = said([&] { commit(1); });
  EXPECT_EQ(said([&] { commit(-1), commit(-1); }), "log:" + text + text);
  std::string lost = tnk_serv_tnk_get_msg(408, 1, log) + std::string("\n");
  lost += tnk_serv_tnk_get_msg(409, 0) + std::string("\n");
  EXPECT_EQ(said([&] { std::filesystem::create_directory(log), commit(-1); }), lost);
}

} // namespace
} // namespace tnk::test
