// Public copies, sums and changes in place of matrices: what they refuse, and that they do what the kernels do.
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <tnk/host.h>
#include <tnk/trans.h>

#include "tests/support/error_recorder.h"
#include "tests/support/named.h"
#include "tests/trans/matrix.h"

namespace {

using namespace tnk::test;
using tnk::reference::operator*, tnk::reference::operator+;
using tnk::reference::is_pair, tnk::reference::number, tnk::reference::same;

// As the routines take factors.
template <class T> auto passed(const T &factor) {
  if constexpr (is_pair<T>)
    return &factor;
  else
    return factor;
}

// ---- Refusals -------------------------------------------------------------------------------------------------------

constexpr tnk_int beyond = tnk_int{1} << 62;
tnk_complex16 memory[3][64], factor_given = {2, 1};

// A good call of any routine: rows 3, cols 4.
struct Call {
  char ordering = 'R', trans = 'N', transb = 'N';
  tnk_int rows = 3, cols = 4, lda = 5, stridea = 1, ldb = 6, strideb = 1, ldc = 7;
  tnk_complex16 *alpha = &factor_given, *beta = &factor_given, *a = memory[0], *b = memory[1], *c = memory[2];

  void copy() const { tnk_trans_zomatcopy(ordering, trans, rows, cols, alpha, a, lda, b, ldb); }
  void copy2() const {
    tnk_trans_zomatcopy2(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb);
  }
  void add() const {
    tnk_trans_zomatadd(ordering, trans, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
  }
  void change() const { tnk_trans_zimatcopy(ordering, trans, rows, cols, alpha, a, lda, ldb); }
  void change_through() const {
    tnk_trans_zimatcopy_work(ordering, trans, rows, cols, alpha, a, lda, ldb, b);
  }
};

TEST(PublicTransposition, RefusesBadArgumentsAndTouchesNothing) {
  constexpr auto copy = &Call::copy, copy2 = &Call::copy2, add = &Call::add, change = &Call::change,
                 through = &Call::change_through;
  const struct {
    void (Call::*routine)() const;
    std::function<void(Call &)> spoil;
    const char *message;
  } cases[] = {
      {copy, [](Call &x) { x.ordering = 'N'; },
       "zomatcopy: argument 1 (ordering) is 'N', expected one of R, C"},
      {copy, [](Call &x) { x.trans = 'S'; }, "2 (trans) is 'S', expected one of N, T, R, C"},
      {copy, [](Call &x) { x.rows = -1; }, "3 (rows) is -1, expected 0 or more"},
      {copy, [](Call &x) { x.cols = beyond; }, "4 (cols) is"},
      {copy, [](Call &x) { x.alpha = nullptr; }, "5 (alpha) is a null address"},
      {copy, [](Call &x) { x.a = nullptr; }, "6 (a) is a null address"},
      {copy, [](Call &x) { x.lda = 3; }, "7 (lda) is 3, expected 4 or more"},
      {copy, [](Call &x) { x.ordering = 'c', x.lda = 2; }, "7 (lda) is 2, expected 3 or more"},
      {copy, [](Call &x) { x.lda = beyond; }, "7 (lda) is"},
      {copy, [](Call &x) { x.b = nullptr; }, "8 (b) is a null address"},
      {copy, [](Call &x) { x.trans = 't', x.ldb = 2; }, "9 (ldb) is 2, expected 3 or more"},
      {copy, [](Call &x) { x.b = x.a + 8; },
       "8 (b) is an array that overlaps a, expected one apart from it, or its"},
      {copy, [](Call &x) { x.b = x.a, x.trans = 'T', x.ldb = 5; }, "expected one apart from it"},
      {copy2, [](Call &x) { x.stridea = 0; }, "zomatcopy2: argument 8 (stridea) is 0, expected 1 or more"},
      {copy2, [](Call &x) { x.lda = -5; }, "7 (lda) is -5, expected 1 or more"},
      {copy2, [](Call &x) { x.stridea = 2; }, "7 (lda) is 5, expected a place for each element"},
      {copy2, [](Call &x) { x.b = nullptr; }, "9 (b) is a null address"},
      {copy2, [](Call &x) { x.strideb = beyond; }, "10 (ldb) is 6, expected a matrix that fits into memory"},
      {copy2, [](Call &x) { x.strideb = -1; }, "11 (strideb) is -1, expected 1 or more"},
      {copy2, [](Call &x) { x.b = x.a + 1; }, "9 (b) is an array that overlaps a"},
      {add, [](Call &x) { x.ordering = '\0'; }, "zomatadd: argument 1 (ordering) is the byte 0"},
      {add, [](Call &x) { x.trans = 'X'; }, "2 (transa) is 'X'"},
      {add, [](Call &x) { x.transb = 'X'; }, "3 (transb) is 'X'"},
      {add, [](Call &x) { x.cols = -4; }, "5 (cols) is -4"},
      {add, [](Call &x) { x.alpha = nullptr; }, "6 (alpha) is a null address"},
      {add, [](Call &x) { x.lda = 3; }, "8 (lda) is 3, expected 4 or more"},
      {add, [](Call &x) { x.beta = nullptr; }, "9 (beta) is a null address"},
      {add, [](Call &x) { x.transb = 'C', x.ldb = 2; }, "11 (ldb) is 2, expected 3 or more"},
      {add, [](Call &x) { x.c = nullptr; }, "12 (c) is a null address"},
      {add, [](Call &x) { x.ldc = 3; }, "13 (ldc) is 3, expected 4 or more"},
      {add, [](Call &x) { x.c = x.a; },
       "12 (c) is an array that overlaps a, expected one apart from it, or its"},
      {add, [](Call &x) { x.c = x.b, x.ldc = x.ldb, x.transb = 'T'; },
       "an array that overlaps b, expected one apart"},
      {change, [](Call &x) { x.a = nullptr; }, "zimatcopy: argument 6 (ab) is a null address"},
      {change, [](Call &x) { x.lda = 3; }, "7 (lda) is 3, expected 4 or more"},
      {change, [](Call &x) { x.trans = 'T', x.ldb = 2; }, "8 (ldb) is 2, expected 3 or more"},
      {change, [](Call &x) { x.trans = 'T', x.rows = 1, x.cols = 1, x.lda = x.ldb = beyond; }, "8 (ldb) is"},
      {through, [](Call &x) { x.trans = 'T', x.b = nullptr; },
       "zimatcopy_work: argument 9 (work) is a null address"},
      {through, [](Call &x) { x.trans = 'T', x.b = x.a + 13; }, "9 (work) is an array that overlaps ab"},
  };
  ErrorRecorder errors;
  const auto fill = [] {
    for (auto &array : memory) std::fill(std::begin(array), std::end(array), tnk_complex16{7, 8});
  };
  const auto is_filled = [] {
    return std::all_of(memory[0], memory[0] + 3 * 64, [](const auto &x) { return x.re == 7 && x.im == 8; });
  };
  for (const auto &c : cases) {
    fill();
    Call call;
    (call.*c.routine)();
    EXPECT_TRUE(errors.last().count == 0 && !is_filled()) << errors.take().message;
    fill();
    c.spoil(call);
    (call.*c.routine)();
    EXPECT_NE(errors.bad_argument().find(c.message), std::string::npos) << c.message << "\n"
                                                                        << errors.take().message;
    EXPECT_TRUE(is_filled()) << c.message;
  }
  // What is empty needs no arrays.
  Call empty;
  empty.rows = 0, empty.a = empty.b = empty.c = nullptr;
  empty.copy(), empty.copy2(), empty.add(), empty.change(), empty.change_through();
  EXPECT_EQ(errors.last().message, "");
}

// Two matrices in one array: what shares an element is refused, unless it is all in one place; else copied, if strides agree.
TEST(PublicTransposition, TellsWhichMatricesOverlap) {
  Random random;
  ErrorRecorder errors;
  int apart = 0, refused = 0;
  for (int turn = 0; turn < 30000; ++turn) {
    const auto size = [&](tnk_int low, tnk_int high) { return static_cast<Size>(random.integer(low, high)); };
    const char trans = random.integer(0, 1) ? 'T' : 'N';
    const Size rows = size(1, 4), cols = size(1, 4);
    const auto any = [&](Size r, Size c, Size stride) {
      Layout m{r, c, stride * (c - 1) + 1 + size(0, 20), stride};
      if (random.integer(0, 2) == 0) m = {r, c, stride, stride * (r - 1) + 1 + size(0, 20)};
      return m;
    };
    const Layout a = any(rows, cols, size(1, 3)), from = seen(trans, a),
                 b = any(from.rows, from.cols,
                         random.integer(0, 3) ? std::min(a.by_row, a.by_col) : size(1, 3));
    const Size first = size(0, 40), second = size(0, 40);
    std::vector<double> array(200);
    for (std::size_t i = 0; i < array.size(); ++i) array[i] = static_cast<double>(i);
    std::vector<double> expected = array;
    std::vector<bool> read(array.size());
    for (Size i = 0; i < a.rows; ++i)
      for (Size j = 0; j < a.cols; ++j) read[first + a.at(i, j)] = true;
    bool shared = false;
    for (Size i = 0; i < b.rows; ++i)
      for (Size j = 0; j < b.cols; ++j) {
        shared |= read[second + b.at(i, j)];
        expected[second + b.at(i, j)] = 2 * array[first + from.at(i, j)];
      }
    const bool in_place = trans == 'N' && first == second && (a.by_row == b.by_row || rows == 1) &&
                          (a.by_col == b.by_col || cols == 1);
    tnk_trans_domatcopy2('R', trans, static_cast<tnk_int>(rows), static_cast<tnk_int>(cols), 2, &array[first],
                         static_cast<tnk_int>(a.by_row), static_cast<tnk_int>(a.by_col), &array[second],
                         static_cast<tnk_int>(b.by_row), static_cast<tnk_int>(b.by_col));
    const bool accepted = errors.take().count == 0;
    if (accepted) {
      EXPECT_TRUE(in_place || !shared);
      EXPECT_EQ(array, expected);
    } else {
      EXPECT_TRUE(shared || std::min(a.by_row, a.by_col) != std::min(b.by_row, b.by_col))
          << trans << ' ' << rows << " by " << cols << ": " << first << " + " << a.by_row << ", " << a.by_col
          << "; " << second << " + " << b.by_row << ", " << b.by_col;
    }
    (accepted ? apart : refused) += 1;
  }
  EXPECT_TRUE(apart > 5000 && refused > 5000) << apart << ' ' << refused;
}

// ---- Results --------------------------------------------------------------------------------------------------------

template <class T> struct PublicTranspositionOf : testing::Test {
  ~PublicTranspositionOf() override {
    tnk_set_num_threads(0);
    EXPECT_EQ(errors.last().message, "");
  }
  // The same array by the kernel, and by the public routine with several numbers of threads.
  void expect_same(const char *what, const std::vector<T> &before, const std::function<void(T *)> &kernel,
                   const std::function<void(T *)> &routine) {
    std::vector<T> expected = before;
    kernel(expected.data());
    for (const int threads : {1, 2, 3, 4}) {
      tnk_set_num_threads(threads);
      Guarded<T> found(before, 64);
      routine(found.data());
      EXPECT_TRUE(same_elements(found, expected)) << what << ' ' << at << ", threads: " << threads;
    }
  }
  std::string at;
  ErrorRecorder errors;
  Random random;
};
TYPED_TEST_SUITE(PublicTranspositionOf, Types);

// Long and short sides, odd, and large enough for threads.
constexpr tnk_int shapes[][2] = {{515, 521}, {3, 90001}, {90001, 3}};

TYPED_TEST(PublicTranspositionOf, HasTheKernelsBitsForEveryNumberOfThreads) {
  using T = TypeParam;
  const Named<T> copy{"tnk_trans_?omatcopy"}, copy2{"tnk_trans_?omatcopy2"}, add{"tnk_trans_?omatadd"},
      change{"tnk_trans_?imatcopy"}, change_through{"tnk_trans_?imatcopy_work"},
      copy_kernel{"tnk_trans_tnk_?omatcopy2"}, add_kernel{"tnk_trans_tnk_?omatadd"},
      change_kernel{"tnk_trans_tnk_?imatcopy"};
  for (const auto &[rows, cols] : shapes)
    for (const char trans : {'N', 't', 'R', 'C'}) {
      const char order = trans == 'N' || trans == 'C' ? 'R' : 'c';
      const bool by_rows = order == 'R', turned = transposes(trans);
      const tnk_int inner = by_rows ? cols : rows, outer = by_rows ? rows : cols, lda = inner + 3, one = 1,
                    ldb = (turned ? outer : inner) + 1, lines = turned ? inner : outer, m = rows, n = cols,
                    rows_c = turned ? n : m, cols_c = turned ? m : n;
      const char back = turned ? 'C' : 'R';
      const T alpha = factor<T>(this->random.integer(0, 2)), beta = number<T>(-0.5f, 2);
      const auto by = passed(alpha), old = passed(beta);
      const auto a = filled<T>(static_cast<Size>(2 * outer * lda), this->random),
                 b = filled<T>(static_cast<Size>(2 * lines * ldb), this->random);
      const T *const from = a.data();
      this->at = std::string{order, trans} + ' ' + std::to_string(rows);
      this->expect_same(
          "copy", b, [&](T *to) { copy_kernel(order, trans, m, n, alpha, from, lda, one, to, ldb, one); },
          [&](T *to) { copy(order, trans, m, n, by, from, lda, to, ldb); });
      this->expect_same(
          "copy2", b,
          [&](T *to) { copy_kernel(order, trans, m, n, alpha, from, 2 * lda, 2 * one, to, one, lines); },
          [&](T *to) { copy2(order, trans, m, n, by, from, 2 * lda, 2 * one, to, one, lines); });
      this->expect_same(
          "add", b,
          [&](T *c) { add_kernel(order, back, 'N', rows_c, cols_c, alpha, from, lda, beta, c, ldb, c, ldb); },
          [&](T *c) { add(order, back, 'N', rows_c, cols_c, by, from, lda, old, c, ldb, c, ldb); });
      for (const tnk_int ld : {lda, lda - 1})
        if (!turned)
          this->expect_same(
              "change", a, [&](T *ab) { change_kernel(order, trans, m, n, alpha, ab, lda, ld); },
              [&](T *ab) { change(order, trans, m, n, by, ab, lda, ld); });
      // Through a workspace: what a copy out of place leaves.
      std::vector<T> work(static_cast<Size>(rows * cols)), array = a;
      array.resize(std::max(a.size(), b.size()));
      this->expect_same(
          "change through", array,
          [&](T *ab) { copy_kernel(order, trans, m, n, alpha, from, lda, one, ab, ldb, one); },
          [&](T *ab) { change_through(order, trans, m, n, by, ab, lda, ldb, work.data()); });
    }
}

// The kernel would walk the arrays as they lie in memory.
TYPED_TEST(PublicTranspositionOf, AddsOneRowOrColumnInPlaceByTheDefinition) {
  using T = TypeParam;
  const Named<T> add{"tnk_trans_?omatadd"};
  for (const tnk_int count : {1, 5, 40, 70001})
    for (const bool row : {false, true})
      for (const char trans : {'T', 'C'})
        for (const bool first : {false, true}) {
          const tnk_int ldb = row ? 3 : count + 1, ldc = row ? count + 2 : 2, stepb = row ? ldb : 1,
                        stepc = row ? 1 : ldc;
          const T alpha = factor<T>(2), beta = number<T>(-0.5f, 2);
          const auto b = filled<T>(static_cast<Size>(3 * count + 4), this->random),
                     c = filled<T>(static_cast<Size>(2 * count + 4), this->random);
          const tnk_int rows = row ? 1 : count, cols = row ? count : 1;
          this->at = std::to_string(count);
          this->expect_same(
              row ? "row" : "column", c,
              [&](T *sum) {
                for (tnk_int k = 0; k < count; ++k)
                  sum[k * stepc] =
                      alpha * sum[k * stepc] + beta * taken(trans, b[static_cast<Size>(k * stepb)]);
              },
              [&](T *sum) {
                const auto by = passed(alpha), old = passed(beta);
                if (first)
                  add('R', 'N', trans, rows, cols, by, sum, ldc, old, b.data(), ldb, sum, ldc);
                else
                  add('R', trans, 'N', rows, cols, old, b.data(), ldb, by, sum, ldc, sum, ldc);
              });
        }
}

} // namespace
