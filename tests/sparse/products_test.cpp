// The public sparse products against the definition, for each kind of matrix with each triangle, diagonal, op, storage,
// base and type: small, and in one type each, drawn with a fixed seed, so large that threads share the work. Threads, a
// beta of zero and another, and memory that is refused take turns.
#include "reference/sums.h"
#include "sparse/stored.h"
#include "support/fault_allocator.h"
#include "support/named.h"
#include <limits>
#include <tnk/host.h>
#include <tnk/sparse.h>

namespace {

using namespace tnk::test;
using namespace tnk::test::reference;

template <class T> class SparseProducts : public testing::Test {};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(SparseProducts, Types);
template <class T>
constexpr int number_of = 2 * !std::is_floating_point_v<T> + std::is_same_v<tnk::reference::Real<T>, double>;

TYPED_TEST(SparseProducts, AreTheDefinition) {
  using T = TypeParam;
  constexpr long double rounding = std::numeric_limits<tnk::reference::Real<T>>::epsilon() / 2;
  Random random;
  const T alpha = random.number<T>(), some = random.number<T>(), zero{};
  const Named<T, tnk_sparse_status> mv("tnk_sparse_?mv"), mm("tnk_sparse_?mm");
  std::vector<Stored<T, tnk_int>> stored; // for one right-hand side, and for many
  Random draw(2);                         // alike in all types
  bool large = false;
  for (int variant = 0; variant < 6 * 2 * 2 * 2 * 2 * 3; ++variant) {
    const auto kind = static_cast<tnk_sparse_kind>(variant / 48);
    const tnk_sparse_descriptor d{kind, static_cast<tnk_sparse_triangle>(variant / 24 % 2),
                                  static_cast<tnk_sparse_diagonal>(variant / 12 % 2), variant / 6 % 2, 1};
    const auto storage = static_cast<tnk_sparse_storage>(variant / 3 % 2);
    const char op = "NTC"[variant % 3];
    const bool hermitian = kind == TNK_SPARSE_HERMITIAN, general = kind == TNK_SPARSE_GENERAL;
    if (op == 'N') large = draw.integer(hermitian ? 2 : 0, 3) == number_of<T>;
    if (hermitian && std::is_floating_point_v<T>) continue;
    const int threads = 2 + (variant + variant / 3) % 2;
    const bool overwrites = (variant + variant / 6) % 2, columns = d.base == 1;
    const T beta = overwrites ? zero : some;
    SCOPED_TRACE(testing::Message() << "kind " << kind << (d.triangle ? " upper" : " lower")
                                    << (d.diagonal ? " unit" : "") << ", base " << d.base
                                    << (storage ? ", coordinates, " : ", rows, ") << op << ", threads "
                                    << threads);
    for (const tnk_int nrhs : {1, large ? 27 : 5}) {
      const bool vector = nrhs == 1;
      // A Hermitian matrix is its own conjugate transpose, the transpose of a skew one its negative.
      GridName name = matrix_named(op == 'T'                ? 't'
                                   : op == 'N' || hermitian ? 'n'
                                                            : 'c',
                                   "gshtda"[kind], "lu"[d.triangle], "nu"[d.diagonal]);
      name.storage = storage ? "coo" : "csr", name.operation = vector ? "mv" : "mm",
      name.base = columns ? '1' : '0';
      const wide factor = kind == TNK_SPARSE_SKEW && !storage && op != 'N' ? -widened(alpha) : widened(alpha);
      if (op == 'N') {
        const auto number = [&random, hermitian](bool on_diagonal) {
          const T v = random.number<T>();
          return tnk::reference::number<T>(tnk::reference::re(v),
                                           on_diagonal && hermitian ? 0 : tnk::reference::im(v));
        };
        if (vector) stored.clear();
        // With the entries that three threads take as their due, or few.
        const tnk_int m = large ? 900 : 40;
        const bool full = large && vector;
        stored.push_back({name, random, number, m, general ? m * 7 / 9 : m, 1});
        if (storage)
          stored.back().list_triples(full ? 220 : 9, full ? 370 : 14);
        else
          // One after the other, or behind the first one in any order, where the pieces for threads are less even.
          stored.back().compress(7, random.integer(0, 1) == 0, full ? 180 : 0, full ? 370 : 20);
      }
      const Stored<T, tnk_int> &a = stored[!vector];
      const tnk_sparse_matrix matrix = {storage,
                                        a.m,
                                        a.n,
                                        static_cast<tnk_int>(a.values.size()),
                                        a.values.data(),
                                        a.columns.data(),
                                        a.rows.data(),
                                        a.rows.data(),
                                        a.row_end.data(),
                                        0,
                                        0,
                                        0,
                                        nullptr,
                                        nullptr};
      const GridMatrix meant(name, a.m, a.n, a.entries);
      Sides<T> b(meant.columns, nrhs, !vector && !columns, vector ? 0 : 2);
      Sides<T> c(meant.rows, nrhs, !vector && !columns, vector ? 0 : 3);
      b.fill([&] { return random.number<T>(); });
      c.fill([&] { return overwrites ? junk<T>() : random.number<T>(); });
      const Sides<T> before = c;
      const auto run = [&](Sides<T> &out, int on) {
        tnk_set_num_threads(on);
        const auto status =
            vector ? mv(op, &alpha, &matrix, &d, b.data(), &beta, out.data())
                   : mm(op, &alpha, &matrix, &d, nrhs, b.data(), b.ld(), &beta, out.data(), out.ld());
        EXPECT_EQ(status, TNK_SPARSE_OK);
      };
      // Pieces of kernels that scatter take one block for vectors of their own, and do without if there is none. Small
      // jobs are not cut.
      const bool scatters = storage ? general || (name.mirrors() && name.diagonal != 'u')
                                    : name.mirrors() || (general && op != 'N');
      const bool refused = variant % 5 == 0;
      allocations.reset();
      allocations.refuse = refused;
      run(c, threads);
      EXPECT_EQ(allocations.made, large && vector && scatters && !refused);
      EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
      for (tnk_int j = 0; j < nrhs; j += large ? 13 : 2) {
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
      if (large && (!vector || (!storage && (kind == TNK_SPARSE_TRIANGULAR || (general && op == 'N'))))) {
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
