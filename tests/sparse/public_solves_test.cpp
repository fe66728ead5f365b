// The public sparse solves: that op(A) x is alpha b again, in each type, storage, kind, triangle, diagonal, op and base,
// with one right-hand side and several, in place and apart, on one thread and on more; and what they do without memory.
#include "reference/sums.h"
#include "sparse/aux_form.h"
#include "sparse/triangle.h"
#include "support/allocations.h"
#include "support/error_recorder.h"
#include "support/named.h"
#include <cmath>
#include <tnk/host.h>
#include <tnk/sparse.h>

namespace {

using namespace tnk::test;
using namespace tnk::test::reference;

// A matrix of that storage as its descriptor tells, with the names of it that kernels and callers have.
template <class T> struct Square : Triangle<T, tnk_int> {
  Square(tnk_sparse_storage storage, const tnk_sparse_descriptor &of, tnk_int order, tnk_int most,
         Random &numbers)
      : Triangle<T, tnk_int>(name_of(storage, of), order, most, numbers, false), d(of) {
    matrix.storage = storage, matrix.m = matrix.n = order;
    matrix.nnz = static_cast<tnk_int>(this->columns.size());
    matrix.values = this->values.data(), matrix.col_index = this->columns.data();
    matrix.row_index = matrix.row_start = matrix.diag_distance = this->rows.data();
    matrix.row_end = matrix.row_start + 1;
    matrix.diag_stride = this->stride, matrix.diag_count = static_cast<tnk_int>(this->rows.size());
  }
  Square(const Square &) = delete;
  Square &operator=(const Square &) = delete;

  static GridName name_of(tnk_sparse_storage storage, const tnk_sparse_descriptor &d) {
    constexpr const char *names[] = {"csr", "coo", "dia", "sky"};
    GridName name = matrix_named('n', "gshtda"[d.kind], "lu"[d.triangle], "nu"[d.diagonal]);
    name.storage = names[storage], name.base = static_cast<char>('0' + d.base);
    return name;
  }
  tnk_sparse_descriptor d;
  tnk_sparse_matrix matrix{};
};

template <class T> class PublicSolves : public testing::Test {
public:
  // That op(A) x is alpha b but for rounding.
  static void holds(const Square<T> &a, char op, T alpha, const Sides<T> &b, const Sides<T> &x) {
    GridName name = a.name;
    name.storage = "coo"; // the definition passes over what is NaN
    name.op = op == 'N' ? 'n' : op == 'T' ? 't' : 'c';
    const GridMatrix<T> meant(name, a.m, a.m, a.entries);
    for (tnk_int j = 0; j < x.count(); j += 4) {
      ASSERT_EQ(
          wrong_row<T>(meant.times(x.side(j)), std::vector<wide>(a.m), 1, scaled(-widened(alpha), b.side(j))),
          "")
          << "side " << j;
    }
  }
};
TYPED_TEST_SUITE(PublicSolves, Types);

TYPED_TEST(PublicSolves, UndoProducts) {
  using T = TypeParam;
  Random random;
  const Named<T, tnk_sparse_status> sv("tnk_sparse_?sv"), sm("tnk_sparse_?sm");
  for (int variant = 0; variant < 4 * 2 * 2 * 2 * 2 * 3; ++variant) {
    const auto storage = static_cast<tnk_sparse_storage>(variant / 48);
    const tnk_sparse_descriptor d{variant / 24 % 2 ? TNK_SPARSE_DIAGONAL : TNK_SPARSE_TRIANGULAR,
                                  static_cast<tnk_sparse_triangle>(variant / 12 % 2),
                                  static_cast<tnk_sparse_diagonal>(variant / 6 % 2), variant / 3 % 2,
                                  variant % 2 ? TNK_SPARSE_INDICES : TNK_SPARSE_TRUSTED};
    const char op = "NTC"[variant % 3];
    const bool rows = storage == TNK_SPARSE_CSR || storage == TNK_SPARSE_COO;
    if (storage == TNK_SPARSE_SKY && d.kind == TNK_SPARSE_DIAGONAL) continue;
    SCOPED_TRACE(testing::Message() << "storage " << storage << ", kind " << d.kind
                                    << (d.triangle ? " upper" : " lower") << (d.diagonal ? " unit" : "")
                                    << ", base " << d.base << ", " << op);
    const bool threaded = variant % 5 == 0;
    const Square<T> a(storage, d, threaded ? 700 : 19, threaded ? 17 : 6, random);
    for (const tnk_int nrhs : {1, threaded ? 27 : 9}) {
      const bool vector = nrhs == 1, by_rows = !vector && d.base == 0;
      if (by_rows && !rows) continue;
      const T alpha = variant % 4 ? random.number<T>() : narrow<T>(1);
      Sides<T> b(a.m, nrhs, by_rows, vector ? 0 : 2), x(a.m, nrhs, by_rows, vector ? 0 : 2),
          there(a.m, nrhs, by_rows,
                vector ? 0 : 2); // aligned alike, as the bits of long dot products ask for
      b.fill([&] { return random.number<T>(); });
      const auto run = [&](const Sides<T> &from, Sides<T> &to, int threads) {
        tnk_set_num_threads(threads);
        return vector ? sv(op, &alpha, &a.matrix, &d, from.data(), to.data())
                      : sm(op, &alpha, &a.matrix, &d, nrhs, from.data(), from.ld(), to.data(), to.ld());
      };
      x.fill(junk<T>);
      allocations.reset();
      ASSERT_EQ(run(b, x, 1), TNK_SPARSE_OK);
      EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
      this->holds(a, op, alpha, b, x);
      there = b; // in place, on other threads
      ASSERT_EQ(run(there, there, threaded ? 2 + variant % 2 : 2), TNK_SPARSE_OK);
      EXPECT_TRUE(there.same_as(x));
      EXPECT_TRUE(x.intact());
    }
  }
  tnk_set_num_threads(0);
}

// Cut by rounds of a kernel and solved apart, or by one thread where there is no memory for that: the same bits.
TYPED_TEST(PublicSolves, OfSidesByRowsAreTheSameOnAnyNumberOfThreads) {
  using T = TypeParam;
  Random random;
  const Named<T, tnk_sparse_status> sm("tnk_sparse_?sm");
  for (const char op : {'N', 'T'})
    for (const auto triangle : {TNK_SPARSE_LOWER, TNK_SPARSE_UPPER}) {
      const Square<T> a(TNK_SPARSE_CSR, {TNK_SPARSE_TRIANGULAR, triangle, TNK_SPARSE_NONUNIT, 0, 0}, 300, 90,
                        random);
      const T alpha = random.number<T>();
      Sides<T> b(a.m, 75, true, 3), x = b;
      b.fill([&] { return random.number<T>(); });
      const struct { int threads, refused; } runs[] = {{1, 0}, {2, 0}, {4, 0}, {4, 1}};
      for (const auto &run : runs) {
        SCOPED_TRACE(testing::Message() << op << triangle << ", " << run.threads << " threads");
        Sides<T> there = b;
        tnk_set_num_threads(run.threads);
        allocations.reset(), allocations.refuse = run.refused;
        ASSERT_EQ(
            sm(op, &alpha, &a.matrix, &a.d, b.count(), there.data(), there.ld(), there.data(), there.ld()),
            TNK_SPARSE_OK);
        EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
        const auto apart = static_cast<std::int64_t>(sizeof(T)) * a.m * b.count();
        EXPECT_EQ(allocations.largest >= apart, run.threads > 1 && !run.refused);
        if (run.threads == 1) x = there;
        EXPECT_TRUE(there.same_as(x));
        EXPECT_TRUE(there.intact());
      }
      this->holds(a, op, alpha, b, x);
    }
  tnk_set_num_threads(0);
}

// Whichever request is refused: without rows there is no solution, and none is pretended; without sums there is.
TYPED_TEST(PublicSolves, WithoutMemoryForTriplesNothingIsTouched) {
  using T = TypeParam;
  Random random;
  ErrorRecorder errors;
  const Named<T, tnk_sparse_status> sv("tnk_sparse_?sv"), sm("tnk_sparse_?sm");
  for (const auto diagonal : {TNK_SPARSE_NONUNIT, TNK_SPARSE_UNIT}) {
    const Square<T> a(TNK_SPARSE_COO, {TNK_SPARSE_TRIANGULAR, TNK_SPARSE_LOWER, diagonal, 1, 0}, 30, 5,
                      random);
    const T alpha = random.number<T>();
    for (const tnk_int nrhs : {1, 5}) {
      Sides<T> b(a.m, nrhs, false, 0);
      b.fill([&] { return random.number<T>(); });
      const auto run = [&](Sides<T> &x) {
        return nrhs == 1 ? sv('N', &alpha, &a.matrix, &a.d, x.data(), x.data())
                         : sm('N', &alpha, &a.matrix, &a.d, nrhs, x.data(), x.ld(), x.data(), x.ld());
      };
      for (int refused = 1; refused <= 5; ++refused) {
        Sides<T> x = b;
        allocations.reset(), allocations.refuse = refused;
        const bool fatal = refused < 5;
        EXPECT_EQ(run(x), fatal ? TNK_SPARSE_NO_MEMORY : TNK_SPARSE_OK) << refused;
        EXPECT_EQ(allocations.live, 0);
        EXPECT_EQ(errors.take().kind == TNK_ERROR_MEMORY, fatal);
        if (fatal)
          EXPECT_TRUE(x.same_as(b)) << refused;
        else
          this->holds(a, 'N', alpha, b, x);
      }
    }
  }
}

} // namespace
