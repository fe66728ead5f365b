// Public routines of half a square matrix and vectors: one table of names, each run in every type and storage against its
// definition in wider arithmetic. What a routine must not read is NaN, what it must not write is watched.
#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <tnk/blas.h>
#include <tnk/host.h>

#include "support/allocations.h"
#include "support/error_recorder.h"
#include "support/named.h"
#include "support/product.h"
#include "tools/tnk/support/threads.h"

namespace {

using namespace tnk;
using namespace tnk::test;
using reference::Real, reference::Sum, reference::is_pair;

enum Kind { product, multiply, solve, update, update_by_two };
struct Routine {
  const char *real, *complex; // names behind the letter of the type
  Kind kind;
  const char *arguments;
};
const Routine routines[] = {
    {"symv", "hemv", product, "uplo n alpha a lda x incx beta y incy"},
    {"spmv", "hpmv", product, "uplo n alpha ap x incx beta y incy"},
    {"sbmv", "hbmv", product, "uplo n k alpha a lda x incx beta y incy"},
    {"trmv", "trmv", multiply, "uplo trans diag n a lda x incx"},
    {"tpmv", "tpmv", multiply, "uplo trans diag n ap x incx"},
    {"tbmv", "tbmv", multiply, "uplo trans diag n k a lda x incx"},
    {"trsv", "trsv", solve, "uplo trans diag n a lda x incx"},
    {"tpsv", "tpsv", solve, "uplo trans diag n ap x incx"},
    {"tbsv", "tbsv", solve, "uplo trans diag n k a lda x incx"},
    {"syr", "her", update, "uplo n alpha x incx a lda"},
    {"spr", "hpr", update, "uplo n alpha x incx ap"},
    {"syr2", "her2", update_by_two, "uplo n alpha x incx y incy a lda"},
    {"spr2", "hpr2", update_by_two, "uplo n alpha x incx y incy ap"},
};

struct Setting {
  char uplo = 'U', trans = 'N', diag = 'N';
  tnk_int n = 5, k = 2, gap = 1, incx = 1, incy = 1;
  double alpha = 0.75, beta = -0.5;
};

template <class T> struct Call : Setting {
  using R = Real<T>;

  Call(const Routine &r, const Setting &setting)
      : Setting(setting), routine(r), upper(uplo == 'U' || uplo == 'u'), banded(has("k")), packed(has("ap")),
        lda((banded ? k + 1 : std::max<tnk_int>(n, 1)) + gap), by(scalar<T>(alpha, alpha == 0 ? 0 : 0.25)),
        real_by(static_cast<R>(alpha)), beta_(scalar<T>(beta, beta == 0 || beta == 1 ? 0 : 0.5)),
        a(static_cast<std::size_t>(packed ? n * (n + 1) / 2 : lda * n)), x(n, incx), y(n, incy) {
    Random random;
    const T junk = scalar<T>(test::nan, test::nan);
    for (std::size_t i = 0; i < a.size(); ++i) a.put(i, junk);
    for (tnk_int j = 0; j < n; ++j) {
      for (tnk_int i = 0; i < n; ++i)
        if (is_stored(i, j)) a.put(index(i, j), stored_number(random, i, j));
      x.put(j, random.number<T>());
      y.put(j, is_zero(beta_) && routine.kind == product ? junk : random.number<T>());
    }
    remember();
  }

  // Of an argument, from 0; past the last one if there is none of that name.
  std::size_t position(const std::string &name) const {
    std::istringstream words(routine.arguments);
    std::size_t at = 0;
    for (std::string word; words >> word && word != name;) ++at;
    return at;
  }
  std::size_t count() const { return position(""); }
  bool has(const std::string &name) const { return position(name) < count(); }
  std::string name() const { return letter() + std::string(is_pair<T> ? routine.complex : routine.real); }
  std::string text() const {
    std::ostringstream s;
    s << name() << ' ' << uplo << trans << diag << " n " << n << " k " << k << " gap " << gap << " inc "
      << incx << ' ' << incy << " alpha " << alpha << " beta " << beta;
    return s.str();
  }

  std::vector<void *> addresses() {
    void *const factor = is_pair<T> && routine.kind == update ? static_cast<void *>(&real_by) : &by;
    const std::map<std::string, void *> all = {
        {"uplo", &uplo},   {"trans", &trans}, {"diag", &diag}, {"n", &n},        {"k", &k},
        {"alpha", factor}, {"beta", &beta_},  {"a", a.data()}, {"ap", a.data()}, {"lda", &lda},
        {"x", x.data()},   {"incx", &incx},   {"y", y.data()}, {"incy", &incy}};
    std::vector<void *> list;
    std::istringstream words(routine.arguments);
    for (std::string word; words >> word;) list.push_back(all.at(word));
    return list;
  }
  void run(const std::vector<void *> &list) const {
    call_at("tnk_blas_" + name(), {list.begin(), list.end()});
  }
  void run() { run(addresses()); }

  bool is_stored(tnk_int i, tnk_int j) const {
    return (upper ? i <= j : i >= j) && (!banded || std::abs(i - j) <= k);
  }
  std::size_t index(tnk_int i, tnk_int j) const {
    if (packed) return static_cast<std::size_t>(upper ? i + j * (j + 1) / 2 : i + j * (2 * n - j - 1) / 2);
    return static_cast<std::size_t>((banded ? (upper ? k : 0) + i - j : i) + j * lda);
  }
  bool is_triangular() const { return routine.kind == multiply || routine.kind == solve; }
  // Of a triangle to be solved, so that solutions do not grow.
  T stored_number(Random &random, tnk_int i, tnk_int j) const {
    T value = random.number<T>();
    if (i == j && is_triangular())
      return diag == 'N' || diag == 'n' ? scalar<T>(1.5, 0.5) : scalar<T>(test::nan, 0);
    if (i == j && is_pair<T>) return scalar<T>(static_cast<double>(reference::re(value)), test::nan);
    if (routine.kind == solve) value = static_cast<R>(1. / static_cast<double>(n)) * value;
    return value;
  }
  T element(tnk_int i, tnk_int j) const {
    const bool reflected = !is_stored(i, j);
    if (reflected && (is_triangular() || !is_stored(j, i))) return T{};
    if (i == j && is_triangular() && (diag == 'U' || diag == 'u')) return scalar<T>(1);
    const T value = before_a[reflected ? index(j, i) : index(i, j)];
    if (i == j && !is_triangular()) return scalar<T>(static_cast<double>(reference::re(value)));
    return reflected ? reference::conj(value) : value;
  }
  T of_operation(tnk_int i, tnk_int j) const {
    if (trans == 'N' || trans == 'n') return element(i, j);
    const T value = element(j, i);
    return trans == 'C' || trans == 'c' ? reference::conj(value) : value;
  }

  void remember() {
    before_a.clear(), before_x.clear(), before_y.clear();
    for (std::size_t i = 0; i < a.size(); ++i) before_a.push_back(a.get(i));
    for (tnk_int i = 0; i < n; ++i) before_x.push_back(x.get(i)), before_y.push_back(y.get(i));
  }
  static bool equals(const Strided<T> &v, const std::vector<T> &expected) {
    for (tnk_int i = 0; i < v.n(); ++i) {
      const T value = v.get(i);
      if (!same_bits(&value, &expected[static_cast<std::size_t>(i)])) return false;
    }
    return v.intact();
  }
  bool untouched(bool with_matrix = true, bool with_x = true, bool with_y = true) const {
    return a.intact() && x.intact() && y.intact() &&
           (!with_matrix || same_bits(a.data(), before_a.data(), a.size())) &&
           (!with_x || equals(x, before_x)) && (!with_y || equals(y, before_y));
  }
  std::string fault() const {
    const bool changes_x = is_triangular(), changes_y = routine.kind == product;
    const bool updates = !changes_x && !changes_y && alpha != 0;
    if (!untouched(!updates, !changes_x, !changes_y)) return "touched what is not its own";
    std::vector<bool> idle(a.size(), true);
    for (tnk_int i = 0; i < n; ++i) {
      if (!(changes_y ? right_product(i) : changes_x ? right_triangular(i) : !updates || right_column(i)))
        return "wrong at " + std::to_string(i);
      for (tnk_int j = 0; j < n; ++j)
        if (is_stored(i, j)) idle[index(i, j)] = false;
    }
    for (std::size_t i = 0; i < idle.size(); ++i)
      if (idle[i] && !same_bits(&before_a[i], a.data() + i)) return "touched a gap";
    return "";
  }

  Routine routine;
  bool upper, banded, packed;
  tnk_int lda;
  T by;
  R real_by;
  T beta_;
  Guarded<T> a;
  Strided<T> x, y;
  std::vector<T> before_a, before_x, before_y;

private:
  static constexpr long double eps = std::numeric_limits<R>::epsilon();
  static std::string letter() {
    return std::is_same_v<T, float> ? "s" : std::is_same_v<T, double> ? "d" : sizeof(T) == 8 ? "c" : "z";
  }
  static T at(const std::vector<T> &v, tnk_int i) { return v[static_cast<std::size_t>(i)]; }

  bool right_product(tnk_int i) const {
    Sum sum;
    for (tnk_int j = 0; j < n; ++j) reference::add_product(sum, element(i, j), at(before_x, j), false);
    return reference::holds(reference::updated(by, sum, beta_, at(before_y, i), n), y.get(i));
  }
  // The product of op(A) with what x was, or with the solution that it became, against the other one of the two.
  bool right_triangular(tnk_int i) const {
    Sum sum;
    for (tnk_int j = 0; j < n; ++j)
      reference::add_product(sum, of_operation(i, j), routine.kind == solve ? x.get(j) : at(before_x, j),
                             false);
    sum.size *= static_cast<long double>(n + 8) * eps;
    return reference::holds(sum, routine.kind == solve ? at(before_x, i) : x.get(i));
  }
  bool right_column(tnk_int j) const {
    for (tnk_int i = 0; i < n; ++i) {
      if (!is_stored(i, j)) continue;
      if constexpr (!is_pair<T>)
        if (routine.kind == update && !packed) { // one expression, to the bit
          const T factor = real_by * at(before_x, j), wanted = element(i, j) + factor * at(before_x, i);
          if (!same_bits(&wanted, a.data() + index(i, j))) return false;
          continue;
        }
      Sum sum;
      const auto add = [&](T factor, T p, T q) { // factor p conj(q)
        Sum pair;
        reference::add_product(pair, p, reference::conj(q), false);
        sum.re += reference::re(factor) * pair.re - reference::im(factor) * pair.im;
        sum.im += reference::re(factor) * pair.im + reference::im(factor) * pair.re;
        sum.size += reference::magnitude(factor) * pair.size;
      };
      if (routine.kind == update) {
        add(reference::number<T>(real_by), at(before_x, i), at(before_x, j));
      } else {
        add(by, at(before_x, i), at(before_y, j));
        add(reference::conj(by), at(before_y, i), at(before_x, j));
      }
      const T was = element(i, j), got = a.get(index(i, j));
      sum.re += reference::re(was);
      sum.im = i == j ? 0 : sum.im + reference::im(was);
      sum.size = 8 * eps * (sum.size + reference::magnitude(was));
      if (!reference::holds(sum, got) || (i == j && reference::im(got) != 0)) return false;
    }
    return true;
  }
};

template <class F> void with_each(F f) {
  for (const Routine &routine : routines)
    f(float{}, routine), f(double{}, routine), f(tnk_complex8{}, routine), f(tnk_complex16{}, routine);
}
// Every letter in either case, increments of both signs, orders around the groups and blocks of columns, bands narrower
// and wider than these, factors that are special.
TEST(HalfMatrix, AgreesWithTheDefinition) {
  ErrorRecorder errors;
  with_each([](auto zero, const Routine &routine) {
    using T = decltype(zero);
    const auto expect_right = [&](const Setting &setting) {
      Call<T> call(routine, setting);
      call.run();
      EXPECT_EQ(call.fault(), "") << call.text();
    };
    const bool triangular = routine.kind == multiply || routine.kind == solve;
    const bool banded = Call<T>(routine, {}).banded;
    unsigned turn = 0;
    for (const tnk_int n : {0, 1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 18, 31, 33, 64, 67, 130, 137})
      for (const char uplo : {'U', 'l'})
        for (const char *letters : {"NN", "TN", "CN", "nu", "tU", "cU"}) {
          if (!triangular && letters[0] != 'N' && letters[1] != 'N') continue;
          const tnk_int increments[] = {1, -1, 3, -2};
          Setting s{uplo, letters[0], letters[1], n};
          s.incx = increments[turn % 4], s.incy = increments[turn / 4 % 4], s.gap = turn % 3;
          for (const tnk_int k : {0, 1, 2, 3, 5, 8, 20, 70, 200}) {
            if (k > n + 1 || (k > 0 && !banded)) break;
            s.k = k;
            expect_right(s);
          }
          ++turn;
        }
    for (const double alpha : {0., 1., -2.})
      for (const double beta : {0., 1., 0.5}) {
        Setting s;
        s.alpha = alpha, s.beta = beta;
        for (const char uplo : {'u', 'L'})
          for (const tnk_int n : {5, 70}) s.uplo = uplo, s.n = n, s.incy = n - 3, expect_right(s);
      }
  });
  EXPECT_EQ(errors.last().message, "");
}

// Arrays that a call does not touch may have any address: all of an empty one, and what a factor of zero makes idle. Without
// memory for a vector whose elements are apart nothing is touched.
TEST(HalfMatrix, TouchesOnlyWhatItMust) {
  with_each([](auto zero, const Routine &routine) {
    using T = decltype(zero);
    const bool triangular = routine.kind == multiply || routine.kind == solve;
    for (const tnk_int n : {0, 5}) {
      if (n > 0 && triangular) continue;
      ErrorRecorder errors;
      Setting setting;
      setting.n = n;
      if (n > 0) setting.alpha = 0, setting.beta = routine.kind == product ? 0 : 1;
      Call<T> call(routine, setting);
      std::vector<void *> given = call.addresses();
      for (const char *array : {"a", "ap", "x", "y"})
        if (call.has(array) && !(n > 0 && routine.kind == product && *array == 'y'))
          given[call.position(array)] = nullptr;
      call.run(given);
      EXPECT_EQ(call.fault(), "") << call.text();
      EXPECT_EQ(errors.last().message, "");
    }
    const auto expect_refusal_of_memory = [&](const Setting &setting, int request) {
      ErrorRecorder errors;
      Call<T> call(routine, setting);
      allocations.reset(), allocations.refuse = request;
      call.run();
      const bool refused = allocations.refuse == 0;
      allocations.refuse = 0;
      if (!refused) return false;
      EXPECT_EQ(errors.last().kind, TNK_ERROR_MEMORY) << call.text();
      EXPECT_EQ(errors.last().routine, "tnk_blas_" + call.name());
      EXPECT_TRUE(call.untouched()) << call.text();
      EXPECT_EQ(allocations.live, 0);
      return true;
    };
    Setting apart, large;
    apart.incx = 2, apart.incy = -3, large.n = 812;
    EXPECT_TRUE(expect_refusal_of_memory(apart, 1));
    EXPECT_EQ(expect_refusal_of_memory(apart, 2), routine.kind == product);
    if (std::is_same_v<T, double> && (routine.kind == product || routine.kind == multiply)) { // in slices
      EXPECT_EQ(expect_refusal_of_memory(large, 1), !Call<T>(routine, {}).banded);
    }
  });
}

// A vector of zeros hides no NaN of the matrix, wherever it stands, and one outside what is stored harms none.
TEST(HalfMatrix, NoZeroHidesANaN) {
  with_each([](auto zero, const Routine &routine) {
    using T = decltype(zero);
    if (routine.kind != product && routine.kind != multiply) return;
    for (const auto &[i, j] : {std::pair{0, 0}, {1, 3}, {8, 9}, {4, 69}, {69, 69}}) {
      Setting setting;
      setting.n = 70, setting.k = 66;
      Call<T> call(routine, setting);
      for (tnk_int l = 0; l < setting.n; ++l) call.x.put(l, T{}), call.y.put(l, T{});
      call.a.put(call.index(i, j), scalar<T>(test::nan));
      call.run();
      const T result = (routine.kind == product ? call.y : call.x).get(i);
      EXPECT_TRUE(std::isnan(reference::re(result))) << call.text() << ' ' << i << ' ' << j;
    }
  });
}

// A column of an update with zeros for its factors stays, although an infinity stands in one of its rows.
TEST(HalfMatrix, ColumnsWithoutFactorsStay) {
  with_each([](auto zero, const Routine &routine) {
    using T = decltype(zero);
    if (routine.kind != update && routine.kind != update_by_two) return;
    Setting setting;
    setting.n = 9;
    Call<T> call(routine, setting);
    for (tnk_int i = 0; i < call.n; ++i)
      call.y.put(i, T{}), call.x.put(i, i == 1 ? scalar<T>(INFINITY) : T{});
    call.run();
    for (tnk_int j = 0; j < call.n; ++j)
      for (tnk_int i = 0; i <= j && j != 1; ++i) {
        const T got = call.a.get(call.index(i, j)), was = call.element(i, j);
        EXPECT_TRUE(reference::same(got, was)) << call.text() << ' ' << i << ' ' << j;
      }
  });
}

template <class T> void expect_same_results(const Call<T> &one, const Call<T> &other) {
  const auto expect_same = [&](T x, T y, tnk_int i, tnk_int j) {
    EXPECT_TRUE(same_bits(&x, &y)) << one.text() << " and " << other.text() << ' ' << i << ' ' << j;
  };
  for (tnk_int j = 0; j < one.n; ++j) {
    expect_same(one.x.get(j), other.x.get(j), j, -1), expect_same(one.y.get(j), other.y.get(j), j, -2);
    for (tnk_int i = 0; i < one.n; ++i)
      if (one.is_stored(i, j)) expect_same(one.a.get(one.index(i, j)), other.a.get(other.index(i, j)), i, j);
  }
}

// Increments and leading dimensions show in no bit. An element of an updated matrix is one expression besides, whatever
// stores it and whichever kernel forms it.
TEST(HalfMatrix, BitsDependOnTheNumbersAlone) {
  with_each([](auto zero, const Routine &routine) {
    using T = decltype(zero);
    for (const char uplo : {'U', 'L'})
      for (const char trans : {'N', 'T'}) {
        Setting setting;
        setting.uplo = uplo, setting.trans = trans, setting.n = 67, setting.k = 20;
        Setting apart = setting;
        apart.gap = 4, apart.incx = 3, apart.incy = -2;
        Call<T> call(routine, setting), strided(routine, apart);
        call.run(), strided.run();
        expect_same_results(call, strided);
        if (!call.packed || (routine.kind != update && routine.kind != update_by_two)) continue;
        Call<T> full(*(&routine - 1), setting);
        full.run();
        expect_same_results(call, full);
      }
  });
}

// Orders that are cut, halved, and summed in slices, in one type against the definition as well.
TEST(HalfMatrix, HasTheSameBitsForEveryNumberOfThreads) {
  unsigned turn = 0;
  with_each([&](auto zero, const Routine &routine) {
    using T = decltype(zero);
    if (Call<T>(routine, {}).banded) return; // never cut
    const tnk_int n = static_cast<tnk_int>(std::sqrt((5 << 20) / sizeof(T))) + 3;
    for (const char uplo : {'U', 'L'}) {
      Setting setting{uplo, "NCT"[turn % 3], "NU"[turn / 2 % 2], n};
      setting.incx = turn++ % 4 ? 1 : -2;
      std::vector<T> alone;
      for (const int threads : {1, 2, 3}) {
        const tool::Threads set(threads);
        Call<T> call(routine, setting);
        call.run();
        std::vector<T> result(call.a.data(), call.a.data() + call.a.size());
        for (tnk_int i = 0; i < n; ++i) result.push_back(call.x.get(i)), result.push_back(call.y.get(i));
        if (threads == 1) alone = result;
        if (threads == 1 && std::is_same_v<T, double>) {
          EXPECT_EQ(call.fault(), "") << call.text();
        }
        EXPECT_TRUE(same_bits(result.data(), alone.data(), result.size())) << call.text() << ' ' << threads;
      }
    }
  });
}

} // namespace
