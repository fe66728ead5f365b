// The public products with stored diagonals, skylines and blocks against dense ones: every kind, triangle, diagonal, op and
// base in all types, with kernels of their own and as rows, and without memory.
#include "reference/arithmetic.h"
#include "reference/sums.h"
#include "support/allocations.h"
#include "support/named.h"
#include "support/random.h"
#include "support/sides.h"
#include <limits>
#include <map>
#include <tnk/host.h>
#include <tnk/sparse.h>

namespace {

using namespace tnk::test;
using namespace tnk::test::reference;

template <class T> using Entries = std::map<std::pair<tnk_int, tnk_int>, T>;

// A matrix in one of the storages, and what it holds. Elements that must not count are numbers all the same, since rows
// that are made of blocks may add them and take them away; those outside of the matrix are junk.
template <class T> struct Matrix {
  Matrix(tnk_sparse_storage storage, tnk_int rows, tnk_int columns, const tnk_sparse_descriptor &d,
         Random &random) {
    a.storage = storage, a.m = rows, a.n = columns;
    const auto store = [&](tnk_int i, tnk_int j) {
      const bool inside = i < rows && j < columns && j >= 0;
      values.push_back(inside ? random.number<T>() : junk<T>());
      if (inside) {
        if (i == j && d.kind == TNK_SPARSE_HERMITIAN)
          values.back() = tnk::reference::number<T>(tnk::reference::re(values.back()));
        entries[{i, j}] = values.back();
      }
    };
    if (storage == TNK_SPARSE_DIA) {
      a.diag_stride = rows + 2;
      for (const tnk_int k : {-rows, tnk_int{-4}, tnk_int{-1}, tnk_int{0}, tnk_int{2}, tnk_int{5}}) {
        index.push_back(k);
        for (tnk_int i = 0; i < a.diag_stride; ++i) store(i, i + k);
      }
      a.diag_count = static_cast<tnk_int>(index.size()), a.diag_distance = index.data();
    } else if (storage == TNK_SPARSE_SKY) {
      start.push_back(3);
      for (tnk_int i = 0; i < rows; ++i) {
        for (tnk_int j = i - random.integer(0, std::min<tnk_int>(i, 5)); j <= i; ++j)
          d.triangle == TNK_SPARSE_UPPER ? store(j, i) : store(i, j);
        start.push_back(3 + static_cast<tnk_int>(values.size()));
      }
      a.row_start = start.data();
    } else {
      constexpr tnk_int size = 3;
      a.block_size = size;
      start.push_back(5);
      for (tnk_int i = 0; i * size < rows; ++i) {
        for (tnk_int j = 0; j * size < columns; ++j) {
          if (i != j && random.integer(0, 2) == 0) continue;
          index.push_back(j + d.base);
          for (tnk_int e = 0; e < size * size; ++e)
            store(i * size + (d.base ? e % size : e / size), j * size + (d.base ? e / size : e % size));
        }
        start.push_back(5 + static_cast<tnk_int>(index.size()));
      }
      a.nnz = static_cast<tnk_int>(index.size());
      a.col_index = index.data(), a.row_start = start.data(), a.row_end = start.data() + 1;
    }
    a.values = values.data();
  }

  // Element (i, j) of what the descriptor makes of it.
  wide at(tnk_int i, tnk_int j, const tnk_sparse_descriptor &d) const {
    const auto stored = [&](tnk_int r, tnk_int s) {
      const auto found = entries.find({r, s});
      return found == entries.end() ? wide() : widened(found->second);
    };
    if (d.kind == TNK_SPARSE_GENERAL) return stored(i, j);
    if (i == j)
      return d.kind == TNK_SPARSE_SKEW ? wide() : d.diagonal == TNK_SPARSE_UNIT ? wide{1, 0} : stored(i, j);
    if (d.kind == TNK_SPARSE_DIAGONAL) return {};
    if ((j < i) == (d.triangle == TNK_SPARSE_LOWER)) return stored(i, j);
    const wide mirrored = stored(j, i);
    switch (d.kind) {
    case TNK_SPARSE_SYMMETRIC:
      return mirrored;
    case TNK_SPARSE_HERMITIAN:
      return std::conj(mirrored);
    case TNK_SPARSE_SKEW:
      return -mirrored;
    default:
      return {};
    }
  }

  tnk_sparse_matrix a{};
  std::vector<T> values;
  std::vector<tnk_int> index, start;
  Entries<T> entries;
};

template <class T> class StoredProducts : public testing::Test {};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(StoredProducts, Types);

TYPED_TEST(StoredProducts, AreTheDenseOnes) {
  using T = TypeParam;
  constexpr bool real = std::is_floating_point_v<T>;
  constexpr long double rounding = std::numeric_limits<tnk::reference::Real<T>>::epsilon() / 2;
  const Named<T, tnk_sparse_status> mv("tnk_sparse_?mv"), mm("tnk_sparse_?mm");
  constexpr tnk_sparse_storage storages[] = {TNK_SPARSE_DIA, TNK_SPARSE_SKY, TNK_SPARSE_BSR};
  Random random;
  for (int variant = 0; variant < 3 * 6 * 2 * 2 * 2 * 3 * 2; ++variant) {
    const tnk_sparse_storage storage = storages[variant % 3];
    const tnk_sparse_descriptor d{static_cast<tnk_sparse_kind>(variant / 3 % 6),
                                  static_cast<tnk_sparse_triangle>(variant / 18 % 2),
                                  static_cast<tnk_sparse_diagonal>(variant / 36 % 2), variant / 72 % 2, 1};
    const char op = "NTC"[variant / 144 % 3];
    const bool even = variant / 432 == 0, general = d.kind == TNK_SPARSE_GENERAL, by_columns = d.base == 1;
    if ((real && d.kind == TNK_SPARSE_HERMITIAN) ||
        (storage == TNK_SPARSE_SKY && (general || d.kind == TNK_SPARSE_DIAGONAL)))
      continue;
    SCOPED_TRACE(testing::Message() << "variant " << variant << " storage " << storage << " kind " << d.kind
                                    << " op " << op << " base " << d.base);
    const tnk_int m = even ? 12 : 13, n = general ? even ? 9 : 8 : m;
    const Matrix<T> matrix(storage, m, n, d, random);
    const bool transposes = op != 'N';
    const tnk_int rows = transposes ? n : m, columns = transposes ? m : n;
    const T alpha = random.number<T>(), beta = random.number<T>();
    for (const tnk_int nrhs : {1, 3}) {
      const bool vector = nrhs == 1;
      if (!vector && storage == TNK_SPARSE_DIA && !by_columns && m != n) continue;
      Sides<T> b(columns, nrhs, !vector && !by_columns, vector ? 0 : 2),
          c(rows, nrhs, !vector && !by_columns, vector ? 0 : 1);
      b.fill([&] { return random.number<T>(); });
      c.fill([&] { return random.number<T>(); });
      const Sides<T> before = c;
      const auto run = [&] {
        return vector ? mv(op, &alpha, &matrix.a, &d, b.data(), &beta, c.data())
                      : mm(op, &alpha, &matrix.a, &d, nrhs, b.data(), b.ld(), &beta, c.data(), c.ld());
      };
      // Memory is for rows that are made, or nothing is.
      allocations.reset();
      allocations.refuse = 1;
      const tnk_sparse_status first = run();
      const bool asked = allocations.refuse == 0;
      allocations.reset();
      EXPECT_TRUE(first == TNK_SPARSE_OK || (asked && first == TNK_SPARSE_NO_MEMORY && c.same_as(before)));
      if (first != TNK_SPARSE_OK) {
        EXPECT_EQ(run(), TNK_SPARSE_OK);
      }
      EXPECT_EQ(allocations.live, 0);
      for (tnk_int side = 0; side < nrhs; ++side) {
        const auto x = b.side(side), y = c.side(side), old = before.side(side);
        for (tnk_int i = 0; i < rows; ++i) {
          wide sum;
          long double size = 0;
          for (tnk_int j = 0; j < columns; ++j) {
            wide element = transposes ? matrix.at(j, i, d) : matrix.at(i, j, d);
            if (op == 'C') element = std::conj(element);
            const wide term = product(element, x[static_cast<std::size_t>(j)]);
            sum = sum + term, size += size_of(term);
            // What the row holds beside its part of the triangle may come and go.
            for (const auto &place : {std::pair{i, j}, std::pair{j, i}})
              if (const auto found = matrix.entries.find(place); found != matrix.entries.end())
                size += size_of(widened(found->second)) * size_of(x[static_cast<std::size_t>(j)]);
          }
          const wide kept = product(widened(beta), old[static_cast<std::size_t>(i)]);
          const auto error = size_of(y[static_cast<std::size_t>(i)] - (product(widened(alpha), sum) + kept));
          ASSERT_LE(error, 40 * rounding * (size_of(widened(alpha)) * size + size_of(kept)))
              << "row " << i << " of " << nrhs;
        }
      }
      EXPECT_TRUE(c.intact());
    }
  }
}

// Block rows shared by threads, bit for bit.
TEST(StoredProducts, ThreadsShareBlockRows) {
  Random random;
  const tnk_sparse_descriptor d{TNK_SPARSE_GENERAL, TNK_SPARSE_LOWER, TNK_SPARSE_NONUNIT, 0, 0};
  const Matrix<double> matrix(TNK_SPARSE_BSR, 450, 450, d, random);
  const double alpha = 2, beta = 0;
  std::vector<double> x(450), alone(450), shared(450);
  for (double &e : x) e = random.real<double>();
  tnk_set_num_threads(1);
  EXPECT_EQ(tnk_sparse_dmv('N', &alpha, &matrix.a, &d, x.data(), &beta, alone.data()), TNK_SPARSE_OK);
  tnk_set_num_threads(2);
  EXPECT_EQ(tnk_sparse_dmv('N', &alpha, &matrix.a, &d, x.data(), &beta, shared.data()), TNK_SPARSE_OK);
  tnk_set_num_threads(0);
  EXPECT_EQ(alone, shared);
}

} // namespace
