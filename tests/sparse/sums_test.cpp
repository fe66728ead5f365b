// Sums and products of compressed rows, of small integers, so that all is exact; row lists, skyline and factor solves.
#include "sparse/compressed.h"
#include "support/allocations.h"

namespace {

using namespace tnk::test;

template <class Form> struct SparseSums : SparseConvert<Form> {};
TYPED_TEST_SUITE(SparseSums, Forms);

// The result of all requests: pointer first and entries after it are what is made at once; room short by one stops
// where it should. call(request, values, columns, pointer, room, info).
template <class T, class I, class Call> Csr<T, I> result(I m, I n, Call call, bool has_requests = true) {
  Csr<T, I> c(m, n, 1, 200), two_steps = c, cut = c;
  I request = 0, room = 200, info = -1;
  call(request, c, room, info);
  EXPECT_EQ(info, 0);
  const I entries = c.pointer[c.at(m)] - 1;
  for (I k = entries; k < 200; ++k) EXPECT_EQ(c.columns[c.at(k)], -7);
  if (!has_requests) return c;
  two_steps.pointer.assign(c.pointer.size(), I{-7}), info = -1, room = 0;
  call(1, two_steps, room, info);
  EXPECT_TRUE(info == 0 && two_steps.pointer == c.pointer && two_steps.columns[0] == -7);
  room = entries;
  call(2, two_steps, room, info);
  EXPECT_TRUE(info == 0 && two_steps == c);
  if (entries > 0) {
    I row = 1; // of the last entry
    while (c.pointer[c.at(row)] - 1 < entries) ++row;
    room = entries - 1;
    call(0, cut, room, info);
    EXPECT_TRUE(info == row && cut.columns[c.at(entries) - 1] == -7 && cut.pointer[c.at(row)] == -7);
    EXPECT_TRUE(std::equal(cut.columns.begin(), cut.columns.begin() + entries - 1, c.columns.begin()));
  }
  return c;
}

TYPED_TEST(SparseSums, SumsOfSortedAndUnsortedRows) {
  USE_FORM;
  for (const I m : {0, 1, 3, 9})
    for (const I n : {1, 4, 11})
      for (I sort = 0; sort < 4; ++sort)
        for (const bool turned : {false, true}) {
          auto a = this->matrix(m, n, 1, 6), b = turned ? this->matrix(n, m, 1, 6) : this->matrix(m, n, 1, 6);
          const auto mix = [&](auto &of) { // two neighbours exchanged in every row
            for (I i = 0; i < of.m; ++i)
              if (const auto k = of.at(of.pointer[of.at(i)] - 1);
                  of.pointer[of.at(i) + 1] - of.pointer[of.at(i)] > 1)
                std::swap(of.columns[k], of.columns[k + 1]), std::swap(of.values[k], of.values[k + 1]);
          };
          const T beta = narrow<T>(this->pair(2, 1));
          if (sort & 1) mix(a);
          if (sort & 2) mix(b);
          std::vector<I> work(a.at(m + 1 + 2 * b.entries()));
          const auto c = result<T, I>(m, n, [&](I request, auto &to, I room, I &info) {
            auto a2 = a, b2 = b;
            this->call(turned ? "?mcsradd_tr" : "?mcsradd_notr", &request, &sort, &m, &n, a2, &beta, b2, to,
                       &room, work, &info);
          });
          EXPECT_TRUE(c.dense() == a.dense() + widened(beta) * b.dense().form(turned ? 'T' : 'N'));
          for (I i = 0; i < m; ++i) // ascending, each column once
            for (I k = c.pointer[a.at(i)]; k + 1 < c.pointer[a.at(i) + 1]; ++k)
              ASSERT_LT(c.columns[a.at(k) - 1], c.columns[a.at(k)]);
          if (turned || sort) continue;
          std::vector<I> counts(a.at(m) + 1, I{-7});
          this->call("?mcsradd_gloc", &m, a.columns, a.pointer, b.columns, b.pointer, counts);
          for (I i = 0; i < m; ++i) EXPECT_EQ(counts[a.at(i)], c.pointer[a.at(i) + 1] - c.pointer[a.at(i)]);
          EXPECT_EQ(counts.back(), -7);
        }
}

TYPED_TEST(SparseSums, ProductsOfTwoSparseMatrices) {
  USE_FORM;
  for (const I m : {0, 1, 4, 9})
    for (const I n : {1, 7})
      for (const I columns : {1, 6}) {
        auto a = this->matrix(m, n, 1, 5, false), b = this->matrix(n, columns, 1, 5, false),
             b_tall = this->matrix(m, columns, 1, 5, false);
        std::vector<I> work(a.at(columns + n + 1 + 2 * a.entries()));
        const Dense of_turned = a.dense().form('T') * b_tall.dense();
        const auto plain = result<T, I>(m, columns, [&](I request, auto &to, I room, I &info) {
          this->call("?mcsr_notr", &request, &m, &n, &columns, a, b, to, &room, work, &info);
        });
        EXPECT_TRUE(plain.dense() == a.dense() * b.dense());
        const auto turned = result<T, I>(n, columns, [&](I request, auto &to, I room, I &info) {
          this->call("?multcsr_trom", &request, &m, &n, &columns, a, b_tall, to, &room, work, &info);
        });
        EXPECT_TRUE(turned.dense() == of_turned);
        const auto trusting = result<T, I>(
            n, columns,
            [&](I, auto &to, I, I &info) {
              info = 0;
              this->call("?multcsr_tr", &m, &n, &columns, a, b_tall, to, work);
            },
            false);
        EXPECT_TRUE(trusting == turned);

        const I limit = n / 2, ldc = limit + 1;
        std::vector<T> block(a.at(ldc * columns));
        std::vector<I> marks(block.size());
        this->call("?mcsr_trans", &m, &limit, a, b_tall, block, &ldc);
        I count = -1;
        this->call("?mcsr_trnnz", &m, &limit, a.columns, a.pointer, b_tall.columns, b_tall.pointer, marks,
                   &ldc, &count);
        EXPECT_EQ(count, std::accumulate(marks.begin(), marks.end(), I{0}));
        for (I j = 0; j < columns; ++j)
          for (I i = 0; i < ldc; ++i) {
            const wide v = widened(block[a.at(i + j * ldc)]);
            EXPECT_EQ(v, i < limit ? of_turned(i, j) : wide{});
            EXPECT_TRUE(marks[a.at(i + j * ldc)] == 1 || v == wide{});
          }
      }
}

TYPED_TEST(SparseSums, RowListsOfEachTriangleInBothBases) {
  USE_FORM;
  for (const std::string triangle : {"ln", "lu", "un", "uu"})
    for (const I base : {0, 1})
      for (const I m : {1, 6})
        for (const I nnz : {0, 1, 40}) {
          const auto at = [](I i) { return static_cast<std::size_t>(i); };
          std::vector<I> rows, columns;
          for (I e = 0; e < nnz; ++e) {
            rows.push_back(static_cast<I>(this->random.integer(base, m - 1 + base)));
            columns.push_back(static_cast<I>(this->random.integer(base, m - 1 + base)));
          }
          const auto run = [&](std::vector<I> &diag, std::vector<I> &counts, std::vector<I> &list, I &kept,
                               I &status) {
            const std::string name =
                std::string("scoofill_") + (base == 0 ? "0" : "") + "coo2csr_data_" + triangle;
            if (triangle[1] == 'n')
              this->call(name, &m, rows, columns, &nnz, diag, counts, &kept, list, &status);
            else
              this->call(name, &m, rows, columns, &nnz, counts, &kept, list, &status);
          };
          std::vector<I> expected, expected_counts(at(m)), expected_diag(at(m), I{-7});
          for (I i = 0; i < m; ++i)
            for (I e = 0; e < nnz; ++e) {
              if (rows[at(e)] != i + base) continue;
              if (triangle[0] == 'l' ? columns[at(e)] < rows[at(e)] : columns[at(e)] > rows[at(e)])
                expected.push_back(e + 1), ++expected_counts[at(i)];
              if (columns[at(e)] == rows[at(e)] && triangle[1] == 'n') expected_diag[at(i)] = e + 1;
            }
          std::vector<I> diag(at(m), I{-7}), counts(at(m)), list(expected.size() + 1, I{-7});
          I kept = 0, status = 0;
          run(diag, counts, list, kept, status);
          expected.push_back(-7);
          EXPECT_TRUE(status == 0 && kept + 1 == static_cast<I>(expected.size()) && list == expected &&
                      counts == expected_counts && diag == expected_diag)
              << triangle << base;
          for (const int refused : {1, 2}) {
            allocations.reset(), allocations.refuse = refused;
            run(diag, counts, list, kept, status = 0);
            EXPECT_TRUE(status == 1 && allocations.live == 0) << refused;
          }
        }
}

TYPED_TEST(SparseSums, SkylineSolvesUndoTheProducts) {
  USE_FORM;
  for (int flags = 0; flags < 8; ++flags)
    for (const I m : {0, 1, 2, 9, 40}) {
      const I flag = flags & 1, flag2 = flags & 2, unit = flags & 4, one_side = 1;
      std::vector<I> pointer = {5};
      std::vector<T> values;
      for (I i = 0; i < m; ++i) {
        const I length =
            unit && i % 3 == 0 ? 0 : static_cast<I>(this->random.integer(1, std::min<I>(i + 1, 5)));
        for (I k = 1; k < length; ++k) values.push_back(narrow<T>(this->small()));
        if (length > 0) values.push_back(narrow<T>(unit ? not_a_number : i % 2 ? 2 : -1));
        pointer.push_back(pointer.back() + length);
      }
      const T alpha = narrow<T>(1);
      const std::vector<T> x = this->smalls(m);
      std::vector<T> y(x.size());
      this->call("?skymmkk", &flag, &flag, &m, &one_side, &flag2, &unit, &alpha, values, pointer, x, &m, y,
                 &m);
      this->call("?skysvk", &flag, &m, &flag2, &unit, values, pointer, y);
      for (std::size_t i = 0; i < x.size(); ++i) ASSERT_EQ(widened(y[i]), widened(x[i])) << flags << " " << i;
    }
}

TEST(SparseFactorSolve, UndoesTheProductWithPivotsOfOneAndTwoRows) {
  Random random;
  for (const std::int32_t m : {1, 2, 5, 33, 64, 8001, 17000})
    for (const bool with_pairs : {false, true}) {
      const auto n = static_cast<std::size_t>(m);
      std::vector<std::int32_t> pointer = {1}, rows;
      std::vector<double> values, d(n), e(n), x(n);
      std::vector<std::uint32_t> pairs(n / 32 + 1);
      for (std::size_t j = 0; j < n; ++j) {
        x[j] = random.real<double>(), d[j] = 3 + random.real<double>();
        if (with_pairs && j + 1 < n && j % 3 == 1) // indefinite, with a small first element
          pairs[j / 32] |= 1u << j % 32, e[j] = 2, d[j] = 0.01;
        for (std::size_t i = j + 2; i < std::min(n, j + 9); i += 1 + j % 3)
          rows.push_back(static_cast<std::int32_t>(i + 1)), values.push_back(random.real<double>() / 16);
        pointer.push_back(static_cast<std::int32_t>(rows.size()) + 1);
      }
      const auto entries = [&](auto visit) {
        for (std::size_t j = 0; j < n; ++j)
          for (auto k = static_cast<std::size_t>(pointer[j] - 1);
               k < static_cast<std::size_t>(pointer[j + 1] - 1); ++k)
            visit(static_cast<std::size_t>(rows[k] - 1), j, values[k]);
      };
      // L D L^T x, L D x
      std::vector<double> lt = x, whole(n), half(n);
      entries([&](std::size_t i, std::size_t j, double a) { lt[j] += a * x[i]; });
      const auto times_ld = [&](const std::vector<double> &v, std::vector<double> &to) {
        std::vector<double> dv(n);
        for (std::size_t j = 0; j < n; ++j) {
          dv[j] += d[j] * v[j];
          if (e[j] != 0) dv[j] += e[j] * v[j + 1], dv[j + 1] += e[j] * v[j];
        }
        to = dv;
        entries([&](std::size_t i, std::size_t j, double a) { to[i] += a * dv[j]; });
      };
      times_ld(lt, whole);
      times_ld(x, half);
      for (const bool narrow_name : {false, true}) {
        auto solve = narrow_name ? tnk_spblas_lp64_tnk_ildlt_sv : tnk_spblas_tnk_ildlt_sv;
        std::vector<double> w = whole, y(n, 7);
        const auto run = [&](std::int32_t &job) {
          solve(&m, values.data(), pointer.data(), rows.data(), d.data(), e.data(), nullptr, pairs.data(),
                w.data(), y.data(), &job);
        };
        std::int32_t job = 1;
        run(job);
        EXPECT_TRUE(job == 1 && y[0] == 7 && w == whole);
        run(job = 0);
        const bool pair_met = with_pairs && m > 2;
        EXPECT_EQ(job, pair_met ? 0 : 2);
        for (std::size_t i = 0; i < n; ++i) ASSERT_NEAR(y[i], x[i], 1e-12) << m << " " << i;
        if (pair_met) continue;
        w = half;
        run(job); // now the forward half alone
        for (std::size_t i = 0; i < n; ++i) ASSERT_NEAR(y[i], x[i], 1e-12) << m << " " << i;
        EXPECT_EQ(job, 2);
      }
    }
}

} // namespace
