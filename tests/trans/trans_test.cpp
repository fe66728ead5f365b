// Copies, sums and changes in place against their definitions: every letter, every type, gaps and guards.
#include "support/named.h"
#include "tests/trans/matrix.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <pthread.h>
#include <tnk/trans.h>

namespace {

using namespace tnk::test;
using tnk::reference::operator*, tnk::reference::operator+;
using tnk::reference::is_pair, tnk::reference::number, tnk::reference::same;

Size least(char ordering, char letter, Size rows, Size cols) {
  return std::max<Size>((ordering == 'R') == transposes(letter) ? rows : cols, 1);
}

template <class T> struct Transposition : testing::Test {
  Random random;

  // Half of the letters in either case.
  char cased(char letter) { return static_cast<char>(random.integer(0, 1) ? letter | 32 : letter); }
  // The fourth one misaligns all but s.
  std::size_t shift() {
    constexpr std::size_t shifts[] = {0, 8, 16, 4, page_end};
    return shifts[random.integer(0, 4)];
  }
  // None in half of the cases.
  Size gap() { return static_cast<Size>(std::max<tnk_int>(random.integer(-3, 3), 0)); }

  template <class... Call>
  static void expect_same(const Guarded<T> &found, const std::vector<T> &expected, Call... call) {
    EXPECT_TRUE(same_elements(found, expected)) << testing::PrintToString(std::tuple(call...));
  }

  void expect_copy(char ordering, char trans, Size rows, Size cols, T alpha, Size lda, Size stridea, Size ldb,
                   Size strideb) {
    const bool dense = stridea == 1 && strideb == 1;
    const Layout a = stored(ordering, rows, cols, lda, stridea), from = seen(trans, a),
                 to = stored(ordering, from.rows, from.cols, ldb, strideb);
    const Guarded<T> source(filled<T>(a.extent(), random), shift());
    const T *const first = source.data();
    std::vector<T> expected = filled<T>(to.extent(), random);
    Guarded<T> found(expected, shift());
    const bool moved =
        transposes(trans) && !(is_pair<T> && conjugates(trans)) && same(alpha, factor<T>(0)) && dense;
    for (Size i = 0; i < to.rows; ++i)
      for (Size j = 0; j < to.cols; ++j) {
        const T x = source.get(from.at(i, j));
        expected[to.at(i, j)] = moved ? x : alpha * taken(trans, x);
      }
    if (dense)
      Named<T>("tnk_trans_tnk_?omatcopy")(ordering, trans, rows, cols, alpha, first, lda, found, ldb);
    else
      Named<T>("tnk_trans_tnk_?omatcopy2")(ordering, trans, rows, cols, alpha, first, lda, stridea, found,
                                           ldb, strideb);
    expect_same(found, expected, ordering, trans, rows, cols, lda, stridea, ldb, strideb);
  }

  // in_place: 'A' or 'B' has the place of C. A plain transpose added to one row or column in place is added up as both
  // arrays lie in memory, whatever their leading dimensions.
  void expect_sum(char ordering, char transa, char transb, Size rows, Size cols, Size lda, Size ldb, Size ldc,
                  char in_place) {
    const auto operand = [&](char trans, Size ld) {
      return transposes(trans) ? stored(ordering, cols, rows, ld) : stored(ordering, rows, cols, ld);
    };
    const Layout a = operand(transa, lda), b = operand(transb, ldb), c = stored(ordering, rows, cols, ldc);
    const T alpha = factor<T>(random.integer(0, 2)), beta = number<T>(-0.5f, 2);
    std::vector<T> expected = filled<T>(c.extent(), random);
    Guarded<T> found(expected, shift()), first(filled<T>(a.extent(), random), shift()),
        second(filled<T>(b.extent(), random), shift());
    const Guarded<T> &left = in_place == 'A' ? found : first, &right = in_place == 'B' ? found : second;
    const bool flat = in_place && (rows == 1 || cols == 1) && transposes(transa) != transposes(transb) &&
                      !(is_pair<T> && (conjugates(transa) || conjugates(transb)));
    for (Size i = 0; i < rows; ++i)
      for (Size j = 0; j < cols; ++j) {
        const T x = left.get(flat ? i + j : seen(transa, a).at(i, j)),
                y = right.get(flat ? i + j : seen(transb, b).at(i, j));
        expected[flat ? i + j : c.at(i, j)] = alpha * taken(transa, x) + beta * taken(transb, y);
      }
    Named<T>("tnk_trans_tnk_?omatadd")(ordering, transa, transb, rows, cols, alpha, left, lda, beta, right,
                                       ldb, found, ldc);
    expect_same(found, expected, ordering, transa, transb, rows, cols, lda, ldb, ldc, in_place);
  }

  // All that is not an element of the result stays as it was, padding of the input included.
  void expect_change(char ordering, char trans, Size rows, Size cols, Size lda, Size ldb) {
    const Layout a = stored(ordering, rows, cols, lda), from = seen(trans, a),
                 to = stored(ordering, from.rows, from.cols, ldb);
    const T alpha = factor<T>(random.integer(0, 2));
    const std::vector<T> before = filled<T>(std::max(a.extent(), to.extent()), random);
    std::vector<T> expected = before;
    Guarded<T> found(before, shift());
    for (Size i = 0; i < to.rows; ++i)
      for (Size j = 0; j < to.cols; ++j) expected[to.at(i, j)] = alpha * taken(trans, before[from.at(i, j)]);
    Named<T>("tnk_trans_tnk_?imatcopy")(ordering, trans, rows, cols, alpha, found, lda, ldb);
    expect_same(found, expected, ordering, trans, rows, cols, lda, ldb);
  }
};
TYPED_TEST_SUITE(Transposition, Types);

constexpr char orderings[] = {'R', 'C'}, operations[] = {'N', 'T', 'R', 'C'};

TYPED_TEST(Transposition, CopiesEverySmallShape) {
  for (Size rows = 0; rows <= 40; ++rows)
    for (Size cols = 0; cols <= 40; ++cols)
      for (const char trans : operations) {
        const char ordering = orderings[this->random.integer(0, 1)];
        const Size stridea = 1 + this->gap(), strideb = 1 + this->gap();
        const auto alpha = factor<TypeParam>(std::max<tnk_int>(this->random.integer(-2, 2), 0));
        this->expect_copy(this->cased(ordering), this->cased(trans), rows, cols, alpha,
                          least(ordering, 'N', rows, cols) * stridea + this->gap(), stridea,
                          least(ordering, trans, rows, cols) * strideb + this->gap(), strideb);
      }
}

// Leading dimensions around a page and its rows, and those whose rows compete in the cache; more rows than a chunk has.
TYPED_TEST(Transposition, TakesRowsByChunks) {
  constexpr Size e = sizeof(TypeParam), cache = 32768 / e;
  const auto one = factor<TypeParam>(0);
  std::vector<Size> around = {64 / e, 1024 / e, 4088 / e, 4096 / e, (4096 + e) / e, 4104 / e};
  for (const Size add : {0, 1, 8, 9, 120, 121})
    around.push_back(cache + add), around.push_back(2 * cache + add);
  for (const Size lda : around)
    for (const Size ldb : {Size{200}, 4096 / e, 4096 / e + 1, cache}) {
      const Size rows = 131, cols = std::min<Size>(lda, 37);
      if (ldb < rows) continue;
      this->expect_copy('R', 'T', rows, cols, one, lda, 1, ldb, 1);
      this->expect_sum('R', 'N', 'T', cols, rows, ldb, lda, ldb, 'A');
    }
  this->expect_copy('C', 'T', 40, 10000, one, 40, 1, 10000, 1); // chunks of thousands of short rows
}

TYPED_TEST(Transposition, AddsEveryPairOfLetters) {
  for (const char ordering : orderings)
    for (const char transa : operations)
      for (const char transb : operations)
        for (Size rows = 0; rows <= 21; ++rows)
          for (const Size cols : {0, 1, 2, 3, 4, 5, 8, 11, 17, 40}) {
            const auto ld = [&](char trans) { return least(ordering, trans, rows, cols) + this->gap(); };
            const Size lda = ld(transa), ldb = ld(transb), ldc = ld('N');
            const auto sum = [&](Size a, Size b, char in_place) {
              this->expect_sum(this->cased(ordering), this->cased(transa), this->cased(transb), rows, cols, a,
                               b, ldc, in_place);
            };
            sum(lda, ldb, 0);
            if (!transposes(transa)) sum(ldc, ldb, 'A');
            if (!transposes(transb)) sum(lda, ldc, 'B');
          }
}

TYPED_TEST(Transposition, ChangesEverySmallShapeInPlace) {
  const auto change = [&](char ordering, char trans, Size rows, Size cols, Size lda, Size ldb) {
    this->expect_change(this->cased(ordering), this->cased(trans), rows, cols, lda, ldb);
  };
  for (const char trans : operations) {
    for (const char ordering : orderings)
      for (Size rows = 0; rows <= 30; ++rows)
        for (Size cols = 0; cols <= 30; ++cols) {
          const Size in = least(ordering, 'N', rows, cols), out = least(ordering, trans, rows, cols);
          change(ordering, trans, rows, cols, in, out);
          change(ordering, trans, rows, cols, in + static_cast<Size>(this->random.integer(0, 5)),
                 out + static_cast<Size>(this->random.integer(0, 5)));
        }
    for (const Size n : {33, 63, 64, 65, 130}) change('R', trans, n, n, n, n);
    change('C', trans, 101, 96, 101, transposes(trans) ? 97 : 103);
    this->expect_change('X', trans, 19, 19, 19, 19); // a square in any ordering
  }
}

TYPED_TEST(Transposition, UnknownLettersAndEmptyMatricesTouchNothing) {
  using T = TypeParam;
  const Named<T> copy("tnk_trans_tnk_?omatcopy"), add("tnk_trans_tnk_?omatadd"),
      change("tnk_trans_tnk_?imatcopy");
  const Guarded<T> a(filled<T>(36, this->random));
  const std::vector<T> before = filled<T>(36, this->random);
  Guarded<T> b(before);
  const T alpha = factor<T>(2), *const in_place = b.data();
  const Size n = 5, ld = 6, huge = Size{1} << 60, none = 0;
  const auto all = [&](char ordering, char trans, Size rows, Size cols, Size lda) {
    copy(ordering, trans, rows, cols, alpha, a.data(), lda, b.data(), lda);
    copy(ordering, trans, rows, cols, factor<T>(0), a.data(), lda, b.data(), lda);
    change(ordering, trans, rows, cols, alpha, b.data(), lda, lda);
  };
  for (const char letter : {'X', 'S', 'B', '\0', '*'}) {
    all('R', letter, n, n, ld);
    all(letter, 'N', n, n, ld), all(letter, 'T', n, n, ld), all(letter, 'C', n, n, ld);
    add('R', letter, 'N', n, n, alpha, a.data(), ld, alpha, a.data(), ld, b.data(), ld);
    add('C', 'T', letter, n, n, alpha, a.data(), ld, alpha, a.data(), ld, b.data(), ld);
    this->expect_sum(letter, 'T', 'N', 3, 4, 5, 6, 7, 0); // any other ordering is that by rows
  }
  for (const char ordering : orderings)
    for (const char trans : operations) {
      all(ordering, trans, huge, none, none), all(ordering, trans, none, huge, none);
      add(ordering, trans, 'N', huge, none, alpha, a.data(), none, alpha, in_place, none, b.data(), none);
      add(ordering, 'N', trans, none, huge, alpha, in_place, none, alpha, a.data(), none, b.data(), none);
    }
  EXPECT_TRUE(same_elements(b, before));
}

// The depth to which a stack of its own is used by a change in place.
template <class T> std::size_t stack_used(Size its_rows, Size its_cols) {
  alignas(4096) static unsigned char stack[1 << 18];
  static Size rows, cols;
  static std::vector<T> ab;
  rows = its_rows, cols = its_cols, ab.resize(rows * cols);
  std::fill(std::begin(stack), std::end(stack), 0xA5);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, stack, sizeof stack);
  const auto run = [](void *) -> void * {
    Named<T>("tnk_trans_tnk_?imatcopy")('R', 'T', rows, cols, factor<T>(0), ab, cols, rows);
    return nullptr;
  };
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, &attributes, run, nullptr), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const auto used = [](unsigned char c) { return c != 0xA5; };
  return static_cast<std::size_t>(std::end(stack) - std::find_if(std::begin(stack), std::end(stack), used));
}

// That there is no other memory either, the list of imports says.
TYPED_TEST(Transposition, InPlaceTakesNoMoreStackForALargerMatrix) {
  stack_used<TypeParam>(2, 3);
  EXPECT_LE(stack_used<TypeParam>(97, 330), stack_used<TypeParam>(2, 3) + 64);
}

TEST(TranspositionChunks, FollowTheLeadingDimensions) {
  const struct {
    Size lda, ldb, chunk;
  } table[] = {
      {1, 1, 4096},        {7, 600, 54 * 74},     {512, 512, 8},        {512, 513, 54},
      {511, 512, 16},      {511, 513, 108},       {4096, 512, 8},       {4096, 513, 8},
      {12288, 100000, 8},  {4096 + 4, 513, 54},   {4096 + 60, 513, 54}, {4096 + 8, 513, 54},
      {4096 - 8, 513, 54}, {Size{1} << 40, 1, 8}, {0, 0, 8 * 4096},
  };
  for (const auto &t : table) {
    std::uint32_t group = 0; // of eight bytes none goes through scratch memory
    Size chunk = 0;
    dense_matrix_chunk_setup(9, 9, t.lda, t.ldb, &group, &chunk);
    EXPECT_TRUE(group == 1 && chunk == t.chunk) << t.lda << ' ' << t.ldb << ": " << group << ' ' << chunk;
  }
}

TEST(TranspositionParts, ConjugateAndKnowFalseCycles) {
  for (const double im : {0.0, -0.0, 2.5, -1.0 * INFINITY}) {
    EXPECT_TRUE(same(tnk_zconj({-1.5, im}), tnk_complex16{-1.5, 0 - im})) << im;
    EXPECT_TRUE(same(tnk_cconj({-1.5f, float(im)}), tnk_complex8{-1.5f, 0 - float(im)})) << im;
  }
  std::uint64_t map[3] = {}, expected[3] = {};
  for (const Size p : {0, 63, 64, 130}) {
    EXPECT_EQ(tnk_trans_is_known_false_cycle(map, p), 0);
    tnk_trans_know_false_cycle(map, p);
    EXPECT_EQ(tnk_trans_is_known_false_cycle(map, p), 1);
    expected[p / 64] |= Size{1} << p % 64;
  }
  EXPECT_TRUE(std::equal(map, map + 3, expected));
}

} // namespace
