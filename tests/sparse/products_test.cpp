// The public sparse products against the definition, for each kind of matrix with each triangle, diagonal, op, storage,
// base and type; 1, 2 and 3 threads, a beta of zero and another, and memory that is refused take turns.
#include "reference/arithmetic.h"
#include "support/fault_allocator.h"
#include "support/named.h"
#include "support/random.h"
#include "support/sides.h"
#include <limits>
#include <tnk/host.h>
#include <tnk/sparse.h>

namespace {

using namespace tnk::test;
using namespace tnk::test::reference;

// Entries in no order with places that come twice, some rows empty, as triples and as compressed rows.
template <class T> struct Stored {
  Stored(tnk_int m, tnk_int n, bool hermitian, tnk_int per_row, tnk_int base, Random &random)
      : rows(m), columns(n) {
    for (tnk_int i = 0; i < m; ++i) {
      start.push_back(7 + static_cast<tnk_int>(values.size()));
      const tnk_int count = i % 5 == 3 ? 0 : random.integer(per_row / 2, per_row);
      for (tnk_int p = 0; p < count; ++p) {
        const tnk_int j = p == 0 && m == n ? i : random.integer(0, n - 1);
        values.push_back(random.number<T>());
        if constexpr (!std::is_floating_point_v<T>)
          if (i == j && hermitian) values.back().im = 0;
        row.push_back(i + base), column.push_back(j + base);
        entries.push_back({i, j, values.back()});
      }
      end.push_back(7 + static_cast<tnk_int>(values.size()));
    }
  }
  tnk_sparse_matrix view(tnk_sparse_storage storage) const {
    return {storage,       rows,          columns,    static_cast<tnk_int>(values.size()),
            values.data(), column.data(), row.data(), start.data(),
            end.data()};
  }
  tnk_int rows, columns;
  std::vector<T> values;
  std::vector<tnk_int> row, column, start, end;
  std::vector<SparseEntry<T>> entries;
};

template <class T> class SparseProducts : public testing::Test {};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(SparseProducts, Types);

TYPED_TEST(SparseProducts, AreTheDefinition) {
  using T = TypeParam;
  constexpr long double rounding = std::numeric_limits<tnk::reference::Real<T>>::epsilon() / 2;
  Random random;
  const T alpha = random.number<T>(), some = random.number<T>(), zero{};
  const Named<T, tnk_sparse_status> mv("tnk_sparse_?mv"), mm("tnk_sparse_?mm");
  // General, square and Hermitian, of either base, for one right-hand side and for many: each with the entries that three
  // threads take as their due.
  std::vector<Stored<T>> matrices;
  for (int k = 0; k < 12; ++k)
    matrices.emplace_back(900, k % 3 ? 900 : 700, k % 3 == 2, k < 6 ? 370 : 14, k / 3 % 2, random);
  for (int variant = 0; variant < 6 * 2 * 2 * 2 * 2 * 3; ++variant) {
    const auto kind = static_cast<tnk_sparse_kind>(variant / 48);
    const tnk_sparse_descriptor d{kind, static_cast<tnk_sparse_triangle>(variant / 24 % 2),
                                  static_cast<tnk_sparse_diagonal>(variant / 12 % 2), variant / 6 % 2, 1};
    const auto storage = static_cast<tnk_sparse_storage>(variant / 3 % 2);
    const char op = "NTC"[variant % 3];
    if (kind == TNK_SPARSE_HERMITIAN && std::is_floating_point_v<T>) continue;
    const int threads = 1 + (variant + variant / 3) % 3;
    const bool overwrites = (variant + variant / 6) % 2, columns = d.base == 1;
    const T beta = overwrites ? zero : some;
    SCOPED_TRACE(testing::Message() << "kind " << kind << (d.triangle ? " upper" : " lower")
                                    << (d.diagonal ? " unit" : "") << ", base " << d.base
                                    << (storage ? ", coordinates, " : ", rows, ") << op << ", threads "
                                    << threads);
    for (const tnk_int nrhs : {1, 27}) {
      const bool vector = nrhs == 1;
      const Stored<T> &a = matrices[(vector ? 0 : 6) + 3 * d.base +
                                    (kind == TNK_SPARSE_HERMITIAN ? 2 : kind != TNK_SPARSE_GENERAL)];
      // A Hermitian matrix is its own conjugate transpose, the transpose of a skew one its negative.
      GridName name = matrix_named(op == 'T'                                   ? 't'
                                   : op == 'N' || kind == TNK_SPARSE_HERMITIAN ? 'n'
                                                                               : 'c',
                                   "gshtda"[kind], "lu"[d.triangle], "nu"[d.diagonal]);
      name.storage = "csr", name.operation = vector ? "mv" : "mm";
      const GridMatrix meant(name, a.rows, a.columns, a.entries);
      const wide factor = kind == TNK_SPARSE_SKEW && op != 'N' ? -widened(alpha) : widened(alpha);
      Sides<T> b(meant.columns, nrhs, !vector && !columns, vector ? 0 : 2);
      Sides<T> c(meant.rows, nrhs, !vector && !columns, vector ? 0 : 3);
      b.fill([&] { return random.number<T>(); });
      c.fill([&] { return overwrites ? junk<T>() : random.number<T>(); });
      const Sides<T> before = c;
      const tnk_sparse_matrix matrix = a.view(storage);
      const auto run = [&](Sides<T> &out, int on) {
        tnk_set_num_threads(on);
        const auto status =
            vector ? mv(op, &alpha, &matrix, &d, b.data(), &beta, out.data())
                   : mm(op, &alpha, &matrix, &d, nrhs, b.data(), b.ld(), &beta, out.data(), out.ld());
        EXPECT_EQ(status, TNK_SPARSE_OK);
      };
      // Pieces of kernels that scatter take one block for vectors of their own, and do without if there is none.
      const bool scatters = storage ? kind == TNK_SPARSE_GENERAL || (name.mirrors() && name.diagonal != 'u')
                                    : name.mirrors() || (kind == TNK_SPARSE_GENERAL && op != 'N');
      const bool refused = variant % 5 == 0;
      allocations.reset();
      allocations.refuse = refused;
      run(c, threads);
      EXPECT_EQ(allocations.made, vector && scatters && threads > 1 && !refused);
      EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
      for (tnk_int j = 0; j < nrhs; j += 13) {
        const auto sums = meant.times(b.side(j));
        const auto result = c.side(j), start = before.side(j);
        for (tnk_int i = 0; i < meant.rows; ++i) {
          const wide old = overwrites ? wide() : product(widened(beta), start[i]);
          const auto error = size_of(result[i] - (product(factor, sums[i].value) + old));
          const auto bound = (sums[i].terms + 8) * rounding * (size_of(factor) * sums[i].size + size_of(old));
          ASSERT_TRUE(error <= bound) << "row " << i << ", column " << j << ": off by " << error;
        }
      }
      // Where each element is made by one thread, their number moves no bit.
      if (!vector ||
          (!storage && (kind == TNK_SPARSE_TRIANGULAR || (kind == TNK_SPARSE_GENERAL && op == 'N')))) {
        Sides<T> alone = before;
        run(alone, 1);
        EXPECT_TRUE(alone.same_as(c));
      }
      EXPECT_TRUE(c.intact());
    }
  }
  tnk_set_num_threads(0);
}

} // namespace
