// The public routines of symmetric and Hermitian matrices with matrix operands, all from one table of names.
#include <gtest/gtest.h>
#include <tnk/host.h>

#include "tests/host/routines/services.h"
#include "tests/support/error_recorder.h"
#include "tests/support/named.h"
#include "tests/support/product.h"
#include "tools/tnk/support/threads.h"

namespace tnk::test {
namespace {

using reference::Sum;
using tool::Threads;

// hemm, herk and her2k are those of Hermitian matrices. letters: what the second letter may be.
struct Name {
  const char *name;
  char type;
  enum Kind { product, rank_k, rank_2k } kind;
  bool hermitian;
  const char *letters;
};
const Name names[] = {
    {"ssymm", 's', Name::product, false, "UL"},   {"dsymm", 'd', Name::product, false, "UL"},
    {"csymm", 'c', Name::product, false, "UL"},   {"zsymm", 'z', Name::product, false, "UL"},
    {"chemm", 'c', Name::product, true, "UL"},    {"zhemm", 'z', Name::product, true, "UL"},
    {"ssyrk", 's', Name::rank_k, false, "NTC"},   {"dsyrk", 'd', Name::rank_k, false, "NTC"},
    {"csyrk", 'c', Name::rank_k, false, "NT"},    {"zsyrk", 'z', Name::rank_k, false, "NT"},
    {"cherk", 'c', Name::rank_k, true, "NC"},     {"zherk", 'z', Name::rank_k, true, "NC"},
    {"ssyr2k", 's', Name::rank_2k, false, "NTC"}, {"dsyr2k", 'd', Name::rank_2k, false, "NTC"},
    {"csyr2k", 'c', Name::rank_2k, false, "NT"},  {"zsyr2k", 'z', Name::rank_2k, false, "NT"},
    {"cher2k", 'c', Name::rank_2k, true, "NC"},   {"zher2k", 'z', Name::rank_2k, true, "NC"}};

void call(const Name &name, const std::vector<const void *> &a) {
  call_at("tnk_blas_" + std::string(name.name), a);
}

// One call: letters as the list has them, size1 and size2 m and n, or n and k. What must not be read is NaN.
template <class T> struct Call {
  Call(const Name &of, const std::string &options, tnk_int first, tnk_int second, double by, double old)
      : name(of), letters(options), size1(first), size2(second),
        alpha(scalar<T>(by, real_alpha() || by == 0 || by == 1 ? 0 : -0.5)),
        beta(scalar<T>(old, real_beta() || old == 0 || old == 1 ? 0 : 0.25)), m(size1),
        n(is_product() ? size2 : size1), lda(rows_of_a() + 3), ldb((is_product() ? m : rows_of_a()) + 1),
        ldc(m + 2), a(count(lda, is_product() ? order() : size1 + size2 - rows_of_a())),
        b(count(ldb, is_product() ? n : size1 + size2 - rows_of_a())), c(count(ldc, n)) {
    Random random;
    const bool reads = by != 0 && size2 != 0;
    const auto fill = [&](auto &x, tnk_int ld, tnk_int rows, bool triangle, bool used) {
      for (tnk_int i = 0; i < static_cast<tnk_int>(x.size()); ++i) {
        T value = random.number<T>();
        const tnk_int row = i % ld, column = i / ld;
        if (row >= rows || !used || (triangle && row != column && (row < column) != upper()))
          value = scalar<T>(nan, nan);
        else if (triangle && row == column && name.hermitian)
          value = scalar<T>(static_cast<double>(reference::re(value)), nan);
        x.put(static_cast<std::size_t>(i), value);
      }
    };
    fill(a, lda, rows_of_a(), is_product(), reads);
    fill(b, ldb, ldb - 1, false, reads);
    fill(c, ldc, m, !is_product(), old != 0);
    before.assign(c.data(), c.data() + c.size());
  }
  bool is_product() const { return name.kind == Name::product; }
  bool real_alpha() const { return name.hermitian && name.kind == Name::rank_k; }
  bool real_beta() const { return name.hermitian && !is_product(); }
  char letter(std::size_t i) const { return static_cast<char>(letters[i] & ~32); }
  bool on_left() const { return letter(0) == 'L'; }
  bool upper() const { return letter(is_product() ? 1 : 0) == 'U'; }
  bool plain() const { return letter(1) == 'N'; }
  tnk_int order() const { return on_left() ? size1 : size2; }
  tnk_int rows_of_a() const { return is_product() ? order() : plain() ? size1 : size2; }
  static std::size_t count(tnk_int ld, tnk_int columns) { return static_cast<std::size_t>(ld * columns); }
  std::string text() const {
    return std::string(name.name) + ' ' + letters + ' ' + std::to_string(size1) + ' ' +
           std::to_string(size2) + " alpha " + std::to_string(static_cast<double>(reference::re(alpha))) +
           " beta " + std::to_string(static_cast<double>(reference::re(beta)));
  }

  std::vector<const void *> arguments() {
    std::vector<const void *> list{&letters[0], &letters[1], &size1, &size2, &alpha, a.data(), &lda};
    if (name.kind != Name::rank_k) list.insert(list.end(), {b.data(), &ldb});
    list.insert(list.end(), {&beta, c.data(), &ldc});
    return list;
  }
  Call &run() {
    for (std::size_t i = 0; i < c.size(); ++i) c.put(i, before[i]);
    call(name, arguments());
    return *this;
  }
  std::vector<T> result() const { return {c.data(), c.data() + c.size()}; }
  bool untouched() const { return same_bits(c.data(), before.data(), c.size()) && c.intact(); }

  // Element (i, j) of the matrix whose triangle counts.
  T mirrored(const Guarded<T> &x, tnk_int ld, tnk_int i, tnk_int j) const {
    const bool stored = i == j || (i < j) == upper();
    T value = x.get(static_cast<std::size_t>(stored ? i + j * ld : j + i * ld));
    if (!name.hermitian) return value;
    if (i == j) return scalar<T>(static_cast<double>(reference::re(value)));
    return stored ? value : reference::conj(value);
  }
  // Element (i, l) of op(X) in an update.
  T operand(const Guarded<T> &x, tnk_int ld, tnk_int i, tnk_int l) const {
    const T value = x.get(static_cast<std::size_t>(plain() ? i + l * ld : l + i * ld));
    return name.hermitian && !plain() ? reference::conj(value) : value;
  }
  // What (i, j) of C should be, and its bound.
  Sum expected(tnk_int i, tnk_int j) const {
    const auto at = static_cast<std::size_t>(i + j * ldc);
    T old = before[at];
    if (is_product()) {
      Sum sum;
      for (tnk_int l = 0; l < order(); ++l)
        if (on_left())
          add_product(sum, mirrored(a, lda, i, l), b.get(static_cast<std::size_t>(l + j * ldb)), false);
        else
          add_product(sum, b.get(static_cast<std::size_t>(i + l * ldb)), mirrored(a, lda, l, j), false);
      return reference::updated(alpha, sum, beta, old, order());
    }
    if (name.hermitian && i == j) old = scalar<T>(static_cast<double>(reference::re(old)));
    const bool two = name.kind == Name::rank_2k;
    Sum first, second;
    for (tnk_int l = 0; l < size2; ++l) {
      const T x = operand(a, lda, i, l), y = operand(a, lda, j, l);
      const auto conjugate = [this](T z) { return name.hermitian ? reference::conj(z) : z; };
      if (two) {
        add_product(first, x, conjugate(operand(b, ldb, j, l)), false);
        add_product(second, operand(b, ldb, i, l), conjugate(y), false);
      } else {
        add_product(first, x, conjugate(y), false);
      }
    }
    Sum wanted = reference::updated(alpha, first, beta, old, size2 * (two ? 2 : 1));
    const Sum more =
        reference::updated(name.hermitian ? reference::conj(alpha) : alpha, second, T{}, T{}, 2 * size2);
    wanted.re += more.re, wanted.im += more.im, wanted.size += more.size;
    if (name.hermitian && i == j) wanted.im = 0;
    return wanted;
  }
  // What is wrong with C, if anything. Above row `all_from` only some elements are looked at.
  std::string fault(tnk_int all_from = 0) const {
    for (tnk_int at = 0; at < ldc * n; ++at) {
      const tnk_int i = at % ldc, j = at / ldc;
      const T got = c.get(static_cast<std::size_t>(at)), &old = before[static_cast<std::size_t>(at)];
      const bool counts = i < m && (is_product() || i == j || (i < j) == upper());
      const bool real = name.hermitian && !is_product() && i == j;
      if (counts ? (i >= all_from || at % 997 == 0) &&
                       (!holds(expected(i, j), got) || (real && reference::im(got) != 0))
                 : !same_bits(&got, &old))
        return "at " + std::to_string(i) + ", " + std::to_string(j) + ": " +
               std::to_string(reference::re(got));
    }
    return a.intact() && b.intact() && c.intact() ? "" : "written outside";
  }

  const Name &name;
  std::string letters;
  tnk_int size1, size2;
  T alpha, beta; // real ones lie in their first part
  tnk_int m, n, lda, ldb, ldc;
  Guarded<T> a, b, c;
  std::vector<T> before;
};

// body(a number of the type, name, letters) for every routine and all that its letters may be, in both cases.
template <class Body> void with_each(Body body) {
  for (const Name &name : names)
    for (const char first : std::string(name.kind == Name::product ? "LR" : "UL"))
      for (const char *second = name.letters; *second; ++second) {
        std::string letters{first, *second};
        if (first == 'L')
          for (char &letter : letters) letter = static_cast<char>(letter | 32);
        if (name.type == 's') body(float{}, name, letters);
        if (name.type == 'd') body(double{}, name, letters);
        if (name.type == 'c') body(tnk_complex8{}, name, letters);
        if (name.type == 'z') body(tnk_complex16{}, name, letters);
      }
}

// Sizes around tiles, the squares on diagonals, blocks of rows (with a small cache) and along k.
TEST(PublicSymmetric, MeetsItsDefinition) {
  ErrorRecorder errors;
  block_cache = 6 * 256 * 24 * 8; // 24 rows of double
  with_each([](auto zero, const Name &name, const std::string &letters) {
    using T = decltype(zero);
    const std::pair<int, int> sizes[] = {{1, 1},   {2, 9},   {7, 4},   {8, 8},    {17, 13},
                                         {33, 40}, {65, 37}, {41, 99}, {131, 11}, {29, 261}};
    const std::pair<double, double> scalars[] = {{1, 0}, {0.75, 0.5}, {-1, 1}};
    std::size_t turn = 0;
    for (const auto &[first, second] : sizes) {
      const auto &[alpha, beta] = scalars[turn++ % 3];
      EXPECT_EQ(Call<T>(name, letters, first, second, alpha, beta).run().fault(), "")
          << Call<T>(name, letters, first, second, alpha, beta).text();
    }
    // What has nothing to add; k of 0 is that too.
    for (const double beta : {0.0, 0.5}) {
      EXPECT_EQ(Call<T>(name, letters, 19, 6, 0, beta).run().fault(), "") << name.name << ' ' << letters;
      if (name.kind != Name::product) {
        EXPECT_EQ(Call<T>(name, letters, 19, 0, 1, beta).run().fault(), "") << name.name << ' ' << letters;
      }
    }
    EXPECT_TRUE(Call<T>(name, letters, 9, 6, 0, 1).run().untouched()) << name.name << ' ' << letters;
    // What is not touched may be null.
    const tnk_int none = 0;
    Call<T> some(name, letters, 6, 7, 1, 1);
    std::vector<const void *> empty = some.arguments();
    empty[2] = &none, empty[5] = empty[empty.size() - 2] = nullptr;
    call(name, empty);
  });
  block_cache = 0;
  EXPECT_EQ(errors.last().message, "");
}

// Beyond the widest block of columns.
TEST(PublicSymmetric, TakesMoreColumnsThanABlock) {
  const Threads one(1);
  for (const char *letters : {"UN", "LT"})
    EXPECT_EQ(Call<float>(names[6], letters, 5005, 3, 0.5, 1).run().fault(4980), "") << letters;
  EXPECT_EQ(Call<double>(names[1], "LU", 5, 5003, 0.5, 0).run().fault(), "");
}

// A NaN in A shows in all that it meets, though B be zero.
TEST(PublicSymmetric, ZerosHideNoNaN) {
  with_each([](auto zero, const Name &name, const std::string &letters) {
    using T = decltype(zero);
    Call<T> call(name, letters, 12, 12, 1, 0);
    for (std::size_t i = 0; i < call.a.size(); ++i) call.a.put(i, T{});
    for (std::size_t i = 0; i < call.b.size(); ++i) call.b.put(i, T{});
    call.a.put(static_cast<std::size_t>(5 + 5 * call.lda), scalar<T>(nan));
    EXPECT_EQ(call.run().fault(), "") << call.text();
    EXPECT_TRUE(std::isnan(reference::re(call.c.get(static_cast<std::size_t>(5 + 5 * call.ldc)))));
  });
}

TEST(PublicSymmetric, HasTheSameBitsForEveryNumberOfThreads) {
  ErrorRecorder errors;
  with_each([](auto zero, const Name &name, const std::string &letters) {
    using T = decltype(zero);
    for (const auto &[first, second] : {std::pair{150, 333}, {277, 181}}) {
      Call<T> call(name, letters, first, second, 0.75, 0.5);
      std::vector<T> alone;
      int64_t memory = 0;
      for (const int threads : {1, 2, 3, 4}) {
        const Threads set(threads);
        allocations.reset();
        const std::vector<T> result = call.run().result();
        if (threads == 1) alone = result, memory = allocations.largest;
        EXPECT_TRUE(same_bits(result.data(), alone.data(), alone.size())) << call.text() << ' ' << threads;
        EXPECT_TRUE(threads == 1 || allocations.largest > memory) << call.text(); // and it was cut
      }
    }
  });
  EXPECT_EQ(errors.last().message, "");
}

// The first elements of an update are an update of their own, whatever path its size takes.
TEST(PublicSymmetric, PartsHaveTheBitsOfTheWhole) {
  with_each([](auto zero, const Name &name, const std::string &letters) {
    using T = decltype(zero);
    if (name.kind == Name::product) return;
    for (const tnk_int steps : {1, 3, 170}) {
      Call<T> call(name, letters, 90, steps, 0.75, 0.5);
      const std::vector<T> whole = call.run().result();
      for (call.size1 = 40; call.size1 > 0; call.size1 /= 2) {
        const std::vector<T> part = call.run().result();
        for (tnk_int i = 0; i < call.size1 * call.size1; ++i) {
          const auto at = static_cast<std::size_t>(i % call.size1 + i / call.size1 * call.ldc);
          EXPECT_TRUE(same_bits(&part[at], &whole[at])) << call.text() << " at " << i;
        }
      }
    }
  });
}

// Without memory C stays as it was; with memory for one slice alone the slices take turns.
TEST(PublicSymmetric, MemoryRefused) {
  with_each([](auto zero, const Name &name, const std::string &letters) {
    using T = decltype(zero);
    Call<T> call(name, letters, 190, 180, 0.75, 0.5);
    const std::vector<T> right = call.run().result();
    for (const int threads : {1, 2}) {
      const Threads set(threads);
      ErrorRecorder errors;
      const auto undone = *tnk_undone_calls();
      allocations.refuse = 1;
      call.run();
      EXPECT_EQ(*tnk_undone_calls() - undone, threads == 1);
      if (threads == 1) {
        EXPECT_EQ(errors.last().kind, TNK_ERROR_MEMORY) << name.name;
        EXPECT_EQ(errors.last().routine, "tnk_blas_" + std::string(name.name));
        EXPECT_TRUE(call.untouched()) << call.text();
      } else {
        EXPECT_EQ(errors.last().count, 0) << name.name;
        EXPECT_TRUE(same_bits(call.c.data(), right.data(), right.size())) << call.text();
      }
    }
  });
}

} // namespace
} // namespace tnk::test
