// The public sparse products against the definition, for each kind of matrix with each triangle, diagonal, op, storage,
// base and type: small, and in one type each, drawn with a fixed seed, so large that threads share the work. Threads, a
// beta of zero and another, and memory that is refused take turns. What lacks a kernel is put into rows first.
#include "reference/sums.h"
#include "sparse/stored.h"
#include "support/lasting_allocator.h"
#include "support/named.h"
#include <tnk/host.h>
#include <tnk/sparse.h>

namespace {

using namespace tnk::test;
using namespace tnk::test::reference;

template <class T> class SparseProducts : public testing::Test {};
TYPED_TEST_SUITE(SparseProducts, Types);
template <class T>
constexpr int number_of = 2 * !std::is_floating_point_v<T> + std::is_same_v<tnk::reference::Real<T>, double>;

TYPED_TEST(SparseProducts, AreTheDefinition) {
  using T = TypeParam;
  Random random;
  const T alpha = random.number<T>(), some = random.number<T>(), zero{};
  const Named<T, tnk_sparse_status> mv("tnk_sparse_?mv"), mm("tnk_sparse_?mm");
  std::vector<Stored<T, tnk_int>> stored; // for one right-hand side, and for many
  Random draw(2);                         // alike in all types
  bool large = false;
  for (int variant = 0; variant < 6 * 2 * 2 * 2 * 5 * 3; ++variant) {
    const auto kind = static_cast<tnk_sparse_kind>(variant / 120);
    const tnk_sparse_descriptor d{kind, static_cast<tnk_sparse_triangle>(variant / 60 % 2),
                                  static_cast<tnk_sparse_diagonal>(variant / 30 % 2), variant / 15 % 2, 1};
    const auto storage = static_cast<tnk_sparse_storage>(variant / 3 % 5);
    const char op = "NTC"[variant % 3];
    const bool hermitian = kind == TNK_SPARSE_HERMITIAN, general = kind == TNK_SPARSE_GENERAL;
    const bool triples = storage == TNK_SPARSE_COO, rows = storage == TNK_SPARSE_CSR,
               blocks = storage == TNK_SPARSE_BSR, skyline = storage == TNK_SPARSE_SKY;
    if (op == 'N')
      large = draw.integer(hermitian ? 2 : 0, 3) == number_of<T> && (rows || triples || (blocks && general));
    if (hermitian && std::is_floating_point_v<T>) continue;
    if (skyline && (general || kind == TNK_SPARSE_DIAGONAL)) continue;
    const int threads = 2 + (variant + variant / 3) % 2;
    const bool overwrites = (variant + variant / 15) % 2, columns = d.base == 1;
    const T beta = overwrites ? zero : some;
    SCOPED_TRACE(testing::Message() << "kind " << kind << (d.triangle ? " upper" : " lower")
                                    << (d.diagonal ? " unit" : "") << ", base " << d.base << ", storage "
                                    << storage << ", " << op << ", threads " << threads);
    for (const tnk_int nrhs : {1, large ? 70 : 5}) {
      const bool vector = nrhs == 1;
      if (!vector && general && storage == TNK_SPARSE_DIA && !columns) continue; // not square
      // A Hermitian matrix is its own conjugate transpose, the transpose of a skew one its negative.
      GridName name = matrix_named(op == 'T'                ? 't'
                                   : op == 'N' || hermitian ? 'n'
                                                            : 'c',
                                   "gshtda"[kind], "lu"[d.triangle], "nu"[d.diagonal]);
      name.storage = triples ? "coo" : "csr", name.layout = columns ? 'f' : 'c',
      name.operation = vector ? "mv" : "mm", name.base = columns ? '1' : '0';
      const wide factor = kind == TNK_SPARSE_SKEW && !triples && op != 'N' ? -widened(alpha) : widened(alpha);
      if (op == 'N') {
        const auto number = [&random, hermitian](bool on_diagonal) {
          const T v = random.number<T>();
          return tnk::reference::number<T>(tnk::reference::re(v),
                                           on_diagonal && hermitian ? 0 : tnk::reference::im(v));
        };
        if (vector) stored.clear();
        // With the entries that three threads take as their due, or few.
        const tnk_int m = blocks ? large ? 150 : 5 : large ? 900 : 40;
        const bool full = large && vector;
        const tnk_int n = !general ? m : d.triangle && !large && !blocks ? 1 : m * 7 / 9;
        stored.push_back({name, random, number, m, n, blocks ? 3 : 1});
        Stored<T, tnk_int> &made = stored.back();
        // Whole blocks, for which there are kernels, or not.
        if (blocks && !large && (number_of<T> + vector + columns) % 2)
          made.spare_rows = 2, made.spare_columns = general ? 1 : 2;
        if (!rows && !triples) made.all_are_numbers = true; // rows may add them and take them away
        if (triples)
          made.list_triples(full ? 220 : 9, full ? 370 : 14);
        else if (skyline)
          made.store_skyline(9);
        else if (storage == TNK_SPARSE_DIA)
          made.store_diagonals();
        else
          // One after the other, or behind the first one in any order, where the pieces for threads are less even.
          made.compress(7, random.integer(0, 1) == 0, full ? blocks ? 90 : 180 : 0,
                        full ? blocks ? 150 : 370 : 20);
      }
      const Stored<T, tnk_int> &a = stored[!vector];
      tnk_sparse_matrix matrix{};
      matrix.storage = storage, matrix.m = a.m * a.block - a.spare_rows,
      matrix.n = a.n * a.block - a.spare_columns, matrix.nnz = static_cast<tnk_int>(a.columns.size());
      matrix.values = a.values.data(), matrix.col_index = a.columns.data();
      matrix.row_index = matrix.row_start = matrix.diag_distance = a.rows.data();
      matrix.row_end = a.row_end.data(), matrix.block_size = a.block;
      matrix.diag_stride = a.stride, matrix.diag_count = a.count;
      const GridMatrix meant(name, matrix.m, matrix.n, a.entries);
      Sides<T> b(meant.columns, nrhs, !vector && !columns, vector ? 0 : 2);
      Sides<T> c(meant.rows, nrhs, !vector && !columns, vector ? 0 : 3);
      b.fill([&] { return random.number<T>(); });
      c.fill([&] { return overwrites ? junk<T>() : random.number<T>(); });
      const Sides<T> before = c;
      const auto run = [&](Sides<T> &out, int on) {
        tnk_set_num_threads(on);
        return vector ? mv(op, &alpha, &matrix, &d, b.data(), &beta, out.data())
                      : mm(op, &alpha, &matrix, &d, nrhs, b.data(), b.ld(), &beta, out.data(), out.ld());
      };
      // Pieces of kernels that scatter take one block for vectors of their own, and do without if there is none. Small
      // jobs are not cut.
      const bool scatters = triples ? general || (name.mirrors() && name.diagonal != 'u')
                                    : name.mirrors() || (general && op != 'N');
      const bool refused = (!rows && !triples) || variant % 5 == 0;
      allocations.reset();
      allocations.refuse = refused;
      const tnk_sparse_status first = run(c, threads);
      if (rows || triples) {
        EXPECT_EQ(first, TNK_SPARSE_OK);
        EXPECT_EQ(allocations.made, large && vector && scatters && !refused);
      } else if (first != TNK_SPARSE_OK) { // without memory for rows
        EXPECT_TRUE(first == TNK_SPARSE_NO_MEMORY && allocations.refuse == 0 && c.same_as(before));
        allocations.reset();
        EXPECT_EQ(run(c, threads), TNK_SPARSE_OK);
      }
      EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
      for (tnk_int j = 0; j < nrhs; j += large ? 13 : 2) {
        const auto old = overwrites ? std::vector<wide>(meant.rows) : scaled(widened(beta), before.side(j));
        ASSERT_EQ(wrong_row<T>(meant.times(b.side(j)), c.side(j), factor, old), "") << "column " << j;
      }
      // Where each element is made by one thread, their number moves no bit.
      if (large && (!vector || (rows && kind == TNK_SPARSE_TRIANGULAR) ||
                    ((rows || blocks) && general && op == 'N'))) {
        Sides<T> alone = before;
        EXPECT_EQ(run(alone, 1), TNK_SPARSE_OK);
        EXPECT_TRUE(alone.same_as(c));
      }
      EXPECT_TRUE(c.intact());
    }
  }
  tnk_set_num_threads(0);
}

} // namespace
