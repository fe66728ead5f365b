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

template <class T> struct Transposition : testing::Test {
  Random random;

  // Half of the letters in either case.
  char cased(char letter) { return static_cast<char>(random.integer(0, 1) ? letter | 32 : letter); }
  // The fourth one misaligns all but s.
  std::size_t shift() {
    constexpr std::size_t shifts[] = {0, 8, 16, 4, page_end};
    return shifts[random.integer(0, 4)];
  }

  void expect_copy(char ordering, char trans, Size rows, Size cols, T alpha, Size lda, Size stridea, Size ldb,
                   Size strideb) {
    const bool by_columns = (ordering | 32) == 'c', dense = stridea == 1 && strideb == 1;
    const Layout a = stored(by_columns, rows, cols, lda, stridea), from = seen(trans, a),
                 to = stored(by_columns, from.rows, from.cols, ldb, strideb);
    const Guarded<T> source(filled<T>(a.extent(), random), shift());
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
      Named<T>("tnk_trans_tnk_?omatcopy")(ordering, trans, rows, cols, alpha,
                                          static_cast<const T *>(source.data()), lda, found.data(), ldb);
    else
      Named<T>("tnk_trans_tnk_?omatcopy2")(ordering, trans, rows, cols, alpha,
                                           static_cast<const T *>(source.data()), lda, stridea, found.data(),
                                           ldb, strideb);
    EXPECT_TRUE(same_elements(found, expected)) << ordering << trans << ' ' << rows << " by " << cols << ", "
                                                << lda << '/' << stridea << " to " << ldb << '/' << strideb;
  }

  // in_place: 'A' or 'B' has the place of C.
  void expect_sum(char ordering, char transa, char transb, Size rows, Size cols, Size lda, Size ldb, Size ldc,
                  char in_place) {
    const bool by_columns = (ordering | 32) == 'c';
    const auto operand = [&](char trans, Size ld) {
      return transposes(trans) ? stored(by_columns, cols, rows, ld) : stored(by_columns, rows, cols, ld);
    };
    const Layout a = operand(transa, lda), b = operand(transb, ldb), c = stored(by_columns, rows, cols, ldc);
    const T alpha = factor<T>(random.integer(0, 2)), beta = number<T>(-0.5f, 2);
    std::vector<T> expected = filled<T>(c.extent(), random);
    Guarded<T> found(expected, shift()), first(filled<T>(a.extent(), random), shift()),
        second(filled<T>(b.extent(), random), shift());
    const T *const left = in_place == 'A' ? found.data() : first.data(), *const right = in_place == 'B'
                                                                                            ? found.data()
                                                                                            : second.data();
    for (Size i = 0; i < rows; ++i)
      for (Size j = 0; j < cols; ++j) {
        const T x = (in_place == 'A' ? found : first).get(seen(transa, a).at(i, j)),
                y = (in_place == 'B' ? found : second).get(seen(transb, b).at(i, j));
        expected[c.at(i, j)] = alpha * taken(transa, x) + beta * taken(transb, y);
      }
    Named<T>("tnk_trans_tnk_?omatadd")(ordering, transa, transb, rows, cols, alpha, left, lda, beta, right,
                                       ldb, found.data(), ldc);
    EXPECT_TRUE(same_elements(found, expected))
        << ordering << transa << transb << ' ' << rows << " by " << cols << ", " << lda << ' ' << ldb << ' '
        << ldc << (in_place ? " in place of " : "") << in_place;
  }

  // All that is not an element of the result stays as it was, padding of the input included.
  void expect_change(char ordering, char trans, Size rows, Size cols, Size lda, Size ldb) {
    const bool by_columns = (ordering | 32) == 'c';
    const Layout a = stored(by_columns, rows, cols, lda), from = seen(trans, a),
                 to = stored(by_columns, from.rows, from.cols, ldb);
    const T alpha = factor<T>(random.integer(0, 2));
    const std::vector<T> before = filled<T>(std::max(a.extent(), to.extent()), random);
    std::vector<T> expected = before;
    Guarded<T> found(before, shift());
    for (Size i = 0; i < to.rows; ++i)
      for (Size j = 0; j < to.cols; ++j) expected[to.at(i, j)] = alpha * taken(trans, before[from.at(i, j)]);
    Named<T>("tnk_trans_tnk_?imatcopy")(ordering, trans, rows, cols, alpha, found.data(), lda, ldb);
    EXPECT_TRUE(same_elements(found, expected))
        << ordering << trans << ' ' << rows << " by " << cols << ", " << lda << " to " << ldb;
  }
};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(Transposition, Types);

constexpr char orderings[] = {'R', 'C'}, operations[] = {'N', 'T', 'R', 'C'};

// The least leading dimension of a matrix.
Size least(char ordering, Size rows, Size cols) {
  return std::max<Size>(ordering == 'R' ? cols : rows, 1);
}

// ---- Out of place ---------------------------------------------------------------------------------------------------

TYPED_TEST(Transposition, CopiesEverySmallShape) {
  const auto gap = [&] { return static_cast<Size>(std::max<tnk_int>(this->random.integer(-3, 3), 0)); };
  for (Size rows = 0; rows <= 40; ++rows)
    for (Size cols = 0; cols <= 40; ++cols)
      for (const char trans : operations) {
        const char ordering = orderings[this->random.integer(0, 1)];
        const Size stridea = 1 + gap(), strideb = 1 + gap(),
                   other = transposes(trans) ? least(ordering, cols, rows) : least(ordering, rows, cols);
        const auto alpha = factor<TypeParam>(std::max<tnk_int>(this->random.integer(-2, 2), 0));
        this->expect_copy(this->cased(ordering), this->cased(trans), rows, cols, alpha,
                          least(ordering, rows, cols) * stridea + gap(), stridea, other * strideb + gap(),
                          strideb);
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
            const auto ld = [&](char trans) {
              const Size gap = static_cast<Size>(std::max<tnk_int>(this->random.integer(-2, 3), 0));
              return (transposes(trans) ? least(ordering, cols, rows) : least(ordering, rows, cols)) + gap;
            };
            const Size lda = ld(transa), ldb = ld(transb), ldc = ld('N');
            const auto sum = [&](Size a, Size b, char in_place) {
              this->expect_sum(this->cased(ordering), this->cased(transa), this->cased(transb), rows, cols, a,
                               b, ldc, in_place);
            };
            sum(lda, ldb, 0);
            // With one row or column the flat rule holds, for which there is a test of its own.
            const bool flat = rows == 1 || cols == 1;
            if (!transposes(transa) && !(flat && transposes(transb))) sum(ldc, ldb, 'A');
            if (!transposes(transb) && !(flat && transposes(transa))) sum(lda, ldc, 'B');
          }
}

TYPED_TEST(Transposition, AddsOneRowOrColumnInPlaceAsFlatArrays) {
  using T = TypeParam;
  for (const Size count : {1, 2, 15, 16, 17, 33, 70})
    for (const Size ld : {1, 3, 80})
      for (const bool row : {false, true}) {
        Guarded<T> c(filled<T>(count, this->random), this->shift());
        const Guarded<T> b(filled<T>(count, this->random), this->shift());
        const T alpha = factor<T>(2), beta = number<T>(-0.5f, 2);
        std::vector<T> expected;
        for (std::size_t k = 0; k < count; ++k) expected.push_back(alpha * c.get(k) + beta * b.get(k));
        Named<T>("tnk_trans_tnk_?omatadd_nt")(row ? Size{1} : count, row ? count : Size{1},
                                              static_cast<const T *>(c.data()), ld, b.data(), Size{1},
                                              c.data(), ld, alpha, beta);
        EXPECT_TRUE(same_elements(c, expected)) << count << ", leading dimension " << ld;
      }
}

// ---- In place -------------------------------------------------------------------------------------------------------

TYPED_TEST(Transposition, ChangesEverySmallShapeInPlace) {
  const auto change = [&](char ordering, char trans, Size rows, Size cols, Size lda, Size ldb) {
    this->expect_change(this->cased(ordering), this->cased(trans), rows, cols, lda, ldb);
  };
  for (Size rows = 0; rows <= 30; ++rows)
    for (Size cols = 0; cols <= 30; ++cols)
      for (const char trans : operations)
        for (const char ordering : orderings) {
          const Size in = least(ordering, rows, cols),
                     out = transposes(trans) ? least(ordering, cols, rows) : in;
          change(ordering, trans, rows, cols, in, out);
          change(ordering, trans, rows, cols, in + static_cast<Size>(this->random.integer(0, 5)),
                 out + static_cast<Size>(this->random.integer(0, 5)));
        }
  for (const char trans : operations) {
    for (const Size n : {33, 63, 64, 65, 130}) change('R', trans, n, n, n, n);
    change('C', trans, 101, 96, 101, transposes(trans) ? 97 : 103);
    this->expect_change('X', trans, 19, 19, 19, 19); // a square in any ordering
  }
}

// ---- What does nothing ----------------------------------------------------------------------------------------------

TYPED_TEST(Transposition, UnknownLettersAndEmptyMatricesTouchNothing) {
  using T = TypeParam;
  const Named<T> copy("tnk_trans_tnk_?omatcopy"), add("tnk_trans_tnk_?omatadd"),
      change("tnk_trans_tnk_?imatcopy");
  const Guarded<T> a(filled<T>(36, this->random));
  const std::vector<T> before = filled<T>(36, this->random);
  Guarded<T> b(before);
  const T alpha = factor<T>(2);
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
      const T *const in_place = b.data();
      all(ordering, trans, huge, none, none), all(ordering, trans, none, huge, none);
      add(ordering, trans, 'N', huge, none, alpha, a.data(), none, alpha, in_place, none, b.data(), none);
      add(ordering, 'N', trans, none, huge, alpha, in_place, none, alpha, a.data(), none, b.data(), none);
    }
  EXPECT_TRUE(same_elements(b, before));
}

// The depth to which a stack of its own is used by a change in place.
template <class T> std::size_t stack_used(Size rows, Size cols) {
  constexpr std::size_t size = 1 << 18;
  static_assert(size % 4096 == 0);
  struct Job {
    std::vector<T> ab;
    Size rows, cols;
  } job{std::vector<T>(rows * cols), rows, cols};
  alignas(4096) static unsigned char stack[size];
  std::fill(std::begin(stack), std::end(stack), 0xA5);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, stack, size);
  pthread_t thread;
  const auto run = [](void *data) -> void * {
    auto &j = *static_cast<Job *>(data);
    Named<T>("tnk_trans_tnk_?imatcopy")('R', 'T', j.rows, j.cols, factor<T>(0), j.ab.data(), j.cols, j.rows);
    return nullptr;
  };
  EXPECT_EQ(pthread_create(&thread, &attributes, run, &job), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const auto deepest =
      std::find_if(std::begin(stack), std::end(stack), [](unsigned char c) { return c != 0xA5; });
  return static_cast<std::size_t>(std::end(stack) - deepest);
}

// That there is no other memory either, the list of imports says.
TYPED_TEST(Transposition, InPlaceTakesNoMoreStackForALargerMatrix) {
  stack_used<TypeParam>(2, 3);
  EXPECT_LE(stack_used<TypeParam>(97, 330), stack_used<TypeParam>(2, 3) + 64);
}

// ---- Beside the matrices --------------------------------------------------------------------------------------------

TEST(TranspositionChunks, FollowTheLeadingDimensions) {
  const struct {
    Size lda, ldb;
    std::uint32_t group;
    Size chunk;
  } table[] = {
      {1, 1, 1, 4096},        {7, 600, 1, 54 * 74},     {512, 512, 1, 8},        {512, 513, 1, 54},
      {511, 512, 1, 16},      {511, 513, 1, 108},       {4096, 512, 1, 8},       {4096, 513, 1, 8},
      {12288, 100000, 1, 8},  {4096 + 4, 513, 1, 54},   {4096 + 60, 513, 1, 54}, {4096 + 8, 513, 1, 54},
      {4096 - 8, 513, 1, 54}, {Size{1} << 40, 1, 1, 8}, {0, 0, 1, 8 * 4096},
  };
  for (const auto &t : table) {
    std::uint32_t group = 0;
    Size chunk = 0;
    dense_matrix_chunk_setup(9, 9, t.lda, t.ldb, &group, &chunk);
    EXPECT_TRUE(group == t.group && chunk == t.chunk)
        << t.lda << ' ' << t.ldb << ": " << group << ' ' << chunk;
  }
}

TEST(TranspositionParts, ConjugateAndKnowFalseCycles) {
  for (const double im : {0.0, -0.0, 2.5, -1.0 * INFINITY}) {
    const auto c = tnk_cconj({-1.5f, static_cast<float>(im)});
    const auto z = tnk_zconj({-1.5, im});
    EXPECT_TRUE(same<double>(z.im, 0 - im) && z.re == -1.5 && same(c.im, 0 - static_cast<float>(im)) &&
                c.re == -1.5f);
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
