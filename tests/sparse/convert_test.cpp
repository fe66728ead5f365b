// Conversions there and back, of small integers, so that all is exact.
#include "sparse/compressed.h"
#include "support/allocations.h"
#include <tnk/services.h>

namespace {

using namespace tnk::test;

TYPED_TEST_SUITE(SparseConvert, Forms);

TYPED_TEST(SparseConvert, TriplesKeepTheOrderOfRowsThereAndBack) {
  USE_FORM;
  this->each_matrix(false, [&](auto a, I base) {
    I job[] = {0, a.base, base, -9, a.entries(), -9}, nnz = -1, info = -1;
    std::vector<T> values(a.values.size() + 1, narrow<T>(-7));
    std::vector<I> rows(values.size(), I{-7}), columns = rows;
    const auto run = [&](auto &csr) {
      this->call("tnk_?csrcoo", job, &csr.m, csr, &nnz, values, rows, columns, &info);
    };
    run(a);
    ASSERT_EQ(nnz, a.entries());
    ASSERT_TRUE(info == 0 && rows.back() == -7 && columns.back() == -7);
    a.each([&](I i, I j, std::size_t k) {
      ASSERT_TRUE(rows[k] == i + base && columns[k] == j + base &&
                  widened(values[k]) == widened(a.values[k]));
    });
    // Room short by one, of no entries too: what fits is there, the count is not.
    const std::size_t last = a.at(a.entries()) - (nnz > 0);
    nnz = -1, --job[4], rows[last] = -7;
    run(a);
    EXPECT_TRUE(info == 1 && nnz == -1 && rows[last] == -7);
    ++job[4];
    run(a);
    for (const I in_order : {2, 0}) {
      auto back = a;
      back.pointer.assign(a.pointer.size(), I{-7}), back.columns.assign(a.columns.size(), I{-7});
      std::vector<std::size_t> place(a.columns.size());
      if (!in_order) { // rows from the last to the first, each in its order
        std::iota(place.begin(), place.end(), std::size_t{0});
        std::stable_sort(place.begin(), place.end(), [&](auto p, auto q) { return rows[p] > rows[q]; });
        const auto shuffle = [&](auto &v) {
          auto old = v;
          for (std::size_t k = 0; k < place.size(); ++k) v[k] = old[place[k]];
        };
        shuffle(values), shuffle(columns), shuffle(rows);
      }
      job[0] = -1, job[5] = in_order, info = -1;
      run(back);
      EXPECT_TRUE(info == 0 && back == a);
    }
  });
  I job[] = {1, 0, 0, 0, 9, 0}, n = -1, nnz = 1, info = -1, row = 0, pointer[] = {-7, -7};
  T value = narrow<T>(1);
  this->call("tnk_?csrcoo", job, &n, &value, &row, pointer, &nnz, &value, &row, &row, &info);
  EXPECT_TRUE(info == 0 && pointer[0] == -7 && pointer[1] == -7) << "fewer than no rows";
}

TYPED_TEST(SparseConvert, ColumnsAreTheTransposeAndLeadBack) {
  USE_FORM;
  this->each_matrix(true, [&](auto a, I base) {
    auto turned = decltype(a)(a.m, a.m, base, a.entries()), back = decltype(a)(a.m, a.m, a.base, a.entries());
    I job[] = {0, a.base, base, -9, -9, -9}, info = -1;
    this->call("tnk_?csrcsc", job, &a.m, a, turned, &info);
    ASSERT_TRUE(turned.dense() == a.dense().form('T'));
    job[0] = 1;
    this->call("tnk_?csrcsc", job, &a.m, back, turned, &info);
    EXPECT_TRUE(info == 0 && back == a);
  });
}

TYPED_TEST(SparseConvert, BlocksHoldTheMatrixAndGiveItsElementsBack) {
  USE_FORM;
  this->each_matrix(false, [&](auto a, I base) {
    for (const I size : {1, 2, 3, 5}) {
      const I block_rows = (a.m + size - 1) / size, stride = size * size + 1;
      std::vector<T> values(a.at(block_rows * block_rows * stride), narrow<T>(-7));
      std::vector<I> columns(a.at(block_rows * block_rows)), pointer(a.at(block_rows) + 1, I{-7});
      I job[] = {0, a.base, base, -9, -9, 0}, info = -1;
      auto back = decltype(a)(a.m, a.m, a.base, block_rows * block_rows * size * size);
      const auto run = [&](auto &csr) {
        this->call("tnk_?csrbsr", job, &a.m, &size, &stride, csr, values, columns, pointer, &info);
      };
      run(a);
      EXPECT_TRUE(std::all_of(values.begin(), values.end(), [](T v) { return widened(v) == wide{-7}; }))
          << "the pattern alone";
      job[5] = 1;
      run(a);
      ASSERT_EQ(info, 0);
      Dense dense(a.m, a.m);
      std::vector<std::vector<I>> met(a.at(block_rows)); // the order of block columns in each block row
      a.each([&](I i, I j, std::size_t) {
        std::vector<I> &row = met[a.at(i / size)];
        if (std::find(row.begin(), row.end(), j / size) == row.end()) row.push_back(j / size);
      });
      for (I b = 0; b < block_rows; ++b) {
        const I first = pointer[a.at(b)] - base, end = pointer[a.at(b) + 1] - base;
        ASSERT_EQ(end - first, static_cast<I>(met[a.at(b)].size()));
        for (I k = first; k < end; ++k) {
          const I column = columns[a.at(k)] - base;
          ASSERT_EQ(column, met[a.at(b)][a.at(k - first)]);
          ASSERT_EQ(widened(values[a.at(k * stride + stride - 1)]), wide{-7}) << "between blocks";
          for (I r = 0; r < size; ++r)
            for (I s = 0; s < size; ++s) {
              const wide v = widened(values[a.at(k * stride + (base == 0 ? r * size + s : s * size + r))]);
              if (b * size + r < a.m && column * size + s < a.m)
                dense(b * size + r, column * size + s) = v;
              else
                ASSERT_EQ(v, wide{}) << "beyond the matrix";
            }
        }
      }
      ASSERT_TRUE(dense == a.dense());
      job[0] = 1;
      run(back);
      EXPECT_TRUE(back.dense() == a.dense());
    }
  });
  auto a = this->matrix(4, 4, 0, 4);
  I block_columns[4], pointer[5];
  T values[16];
  const struct { I size, stride, info; } cases[] = {{2, 3, 2}, {-1, 0, 1}, {-2, 9, 1}, {-3, 8, 1}};
  for (const auto &c : cases) {
    I job[] = {0, 0, 0, 0, 0, 1}, info = -1;
    this->call("tnk_?csrbsr", job, &a.m, &c.size, &c.stride, a, values, block_columns, pointer, &info);
    EXPECT_EQ(info, c.info) << c.size << " " << c.stride;
    tnk_serv_deallocate(allocations.last); // the table, which stays with these
  }
  EXPECT_EQ(allocations.live, 0);
}

TYPED_TEST(SparseConvert, DiagonalsAndTheirRestHoldTheMatrix) {
  USE_FORM;
  this->each_matrix(false, [&](auto a, I) {
    for (const I digits : {0, 1, 10, 11})
      for (const I wanted : {0, 1, 3, 40}) {
        if (digits < 10 && wanted == 40) continue;
        const I n = a.m, stride = n + 1;
        std::vector<T> values(a.at(wanted * stride), narrow<T>(-7));
        std::vector<I> distance = {-1, 0, 1};
        distance.resize(40, I{-99});
        I count = wanted, job[] = {0, a.base, -9, -9, -9, digits}, info = -1;
        auto rest = decltype(a)(n, n, a.base, a.entries());
        if (!(digits % 10)) rest.pointer.assign(rest.pointer.size(), a.base);
        const auto run = [&](auto &csr) {
          this->call("tnk_?csrdia", job, &n, csr, values, &stride, distance, &count, rest, &info);
        };
        run(a);
        ASSERT_EQ(info, 0);

        std::vector<I> entries(a.at(2 * n + 1)); // of each distance
        a.each([&](I i, I j, std::size_t) { ++entries[a.at(j - i + n)]; });
        const auto is_chosen = [&](I d) {
          return std::find(distance.begin(), distance.begin() + count, d) != distance.begin() + count;
        };
        if (digits >= 10) {
          const auto there = std::count_if(entries.begin(), entries.end(), [](I e) { return e > 0; });
          ASSERT_EQ(count, std::min<I>(wanted, static_cast<I>(there)));
          ASSERT_TRUE(n == 0 || std::is_sorted(distance.begin(), distance.begin() + count));
          // The least full of those chosen, of equal ones the highest: none left out is fuller, or as full and lower.
          std::pair<I, I> least = {a.entries() + 1, 0};
          for (I d = 0; d < count && n > 0; ++d)
            least = std::min(least, {entries[a.at(distance[a.at(d)] + n)], -distance[a.at(d)]});
          for (I d = 0; d < 2 * n && count == wanted; ++d)
            ASSERT_TRUE(is_chosen(d - n) || std::make_pair(entries[a.at(d)], n - d) <= least);
        }
        Dense dense = rest.dense(), expected = a.dense();
        for (I d = 0; d < count && n > 0; ++d)
          for (I i = 0; i < n; ++i) {
            const I j = i + distance[a.at(d)];
            const wide v = widened(values[a.at(d * stride + i)]);
            if (j >= 0 && j < n)
              dense(i, j) += v;
            else
              ASSERT_EQ(v, wide{});
          }
        if (!(digits % 10)) // what is on no diagonal was dropped
          a.each([&](I i, I j, std::size_t) { expected(i, j) = is_chosen(j - i) ? expected(i, j) : 0; });
        ASSERT_TRUE(dense == expected) << digits << " " << wanted;
      }
  });
}

TYPED_TEST(SparseConvert, FromDiagonalsInTheirOrderWithOrWithoutZeros) {
  USE_FORM;
  for (const I keep : {0, 1}) {
    const std::vector<wide> numbers = {9, 2, 0, 4, 5, 7, this->pair(0, 6), 8, 1}; // distances 1 and -1, a gap
    std::vector<T> values;
    for (const wide v : numbers) values.push_back(narrow<T>(v));
    I n = 4, stride = 5, count = 2, distance[] = {1, -1}, job[] = {1, 1, -9, -9, -9, keep}, info = -1;
    Csr<T, I> a(4, 4, 1, 6 - (keep ? 0 : 1 + this->real));
    this->call("tnk_?csrdia", job, &n, a, values, &stride, distance, &count, values, distance, &n, &info);
    Csr<T, I> expected(4, 4, 1);
    const auto take = [&](I column, std::size_t at) {
      if (keep || numbers[at] != wide{}) expected.append(column, values[at]);
    };
    take(1, 0), expected.end_row();
    take(2, 1), take(0, 6), expected.end_row();
    take(3, 2), take(1, 7), expected.end_row();
    take(2, 8), expected.end_row();
    if (!keep) a.columns.resize(expected.columns.size()), a.values.resize(expected.values.size());
    EXPECT_TRUE(info == 0 && a == expected) << keep;
  }
}

TYPED_TEST(SparseConvert, SkylinesHoldTheTriangleAndLeadBack) {
  USE_FORM;
  this->each_matrix(false, [&](auto a, I base) {
    for (const bool upper : {false, true}) {
      Dense triangle = a.dense();
      std::vector<I> length(a.at(a.m));
      a.each([&](I i, I j, std::size_t) {
        if (upper ? j < i : j > i) return void(triangle(i, j) = 0);
        I &longest = length[a.at(upper ? j : i)];
        longest = std::max<I>(longest, std::abs(i - j) + 1);
      });
      const auto entries =
          static_cast<I>(a.m * a.m - std::count(triangle.elements.begin(), triangle.elements.end(), wide{}));
      const I needed = std::accumulate(length.begin(), length.end(), I{0});
      std::vector<T> values(a.at(needed) + 1, narrow<T>(-7));
      std::vector<I> pointer(a.at(a.m) + 1);
      I job[] = {0, a.base, base, upper, needed - 1, 0}, info = -1;
      auto back = decltype(a)(a.m, a.m, a.base, entries);
      const auto run = [&](auto &csr) { this->call("tnk_?csrsky", job, &a.m, csr, values, pointer, &info); };
      run(a);
      ASSERT_TRUE(info == 1 && widened(values[0]) == wide{-7}) << "no room";
      job[5] = 1;
      run(a);
      ASSERT_TRUE(info == 0 && widened(values[0]) == wide{-7}) << "the profile";
      job[5] = 0, ++job[4];
      run(a);
      ASSERT_TRUE(info == 0 && widened(values.back()) == wide{-7});
      for (I end = 0; end < a.m; ++end) {
        ASSERT_EQ(pointer[a.at(end) + 1] - pointer[a.at(end)], length[a.at(end)]);
        for (I k = 0; k < length[a.at(end)]; ++k) {
          ASSERT_EQ(widened(values[a.at(pointer[a.at(end) + 1] - base - 1 - k)]),
                    upper ? triangle(end - k, end) : triangle(end, end - k));
        }
      }
      job[0] = 1, job[4] = entries;
      run(back);
      ASSERT_EQ(info, 0);
      EXPECT_TRUE(back.dense() == triangle);
      for (I i = 0; i < a.m; ++i)
        EXPECT_TRUE(std::is_sorted(back.columns.begin() + back.pointer[a.at(i)] - a.base,
                                   back.columns.begin() + back.pointer[a.at(i) + 1] - a.base));
      auto short_of_room = decltype(a)(a.m, a.m, a.base, entries);
      if (--job[4] < 0) continue;
      run(short_of_room);
      EXPECT_TRUE(info == 1 && short_of_room.pointer == back.pointer && short_of_room.columns[0] == -7);
    }
  });
}

TYPED_TEST(SparseConvert, DenseMatricesInParts) {
  USE_FORM;
  for (const I m : {0, 1, 4, 6})
    for (const I n : {0, 1, 5})
      for (const I part : {0, 1, 2, 3}) {
        auto a = this->matrix(m, n, part & 1, 5);
        const I lda = m + 2;
        std::vector<T> dense(a.at(lda * n + 1), narrow<T>(-7));
        I job[] = {1, a.base, -9, part, -9, -9}, info = -1;
        const auto run = [&](auto &csr) { this->call("tnk_?dnscsr", job, &m, &n, dense, &lda, csr, &info); };
        run(a);
        ASSERT_EQ(info, 0);
        const Dense all = a.dense();
        Dense of_part = all;
        for (I j = 0; j < n; ++j)
          for (I i = 0; i < lda; ++i) {
            const bool inside = i < m && (part == 0 ? i >= j : part == 1 ? i <= j : part == 2);
            const wide v = i < m ? all(i, j) : wide{};
            ASSERT_EQ(widened(dense[a.at(i + j * lda)]), v != wide{} ? v : inside ? wide{} : wide{-7});
            if (i < m && !inside) of_part(i, j) = 0;
          }
        auto back = decltype(a)(m, n, a.base, static_cast<I>(m * n));
        job[0] = 0;
        run(back);
        EXPECT_TRUE(back.dense() == of_part);
        EXPECT_EQ(back.pointer[a.at(m)] - a.base,
                  m * n - std::count(of_part.elements.begin(), of_part.elements.end(), wide{}));
        job[0] = 7, info = -1;
        run(back);
        EXPECT_EQ(info, 0);
      }
  // A column that is too large in the second row: what comes before it is done.
  T dense[6] = {}, values[] = {narrow<T>(1), narrow<T>(2), narrow<T>(3), narrow<T>(4)};
  I job[] = {1, 0, 0, 2, 0, 0}, m = 3, n = 2, columns[] = {1, 0, 2, 1}, pointer[] = {0, 1, 3, 4}, info = -1;
  this->call("tnk_?dnscsr", job, &m, &n, dense, &m, values, columns, pointer, &info);
  EXPECT_TRUE(info == 2 && widened(dense[3]) == wide{1} && widened(dense[1]) == wide{2} &&
              widened(dense[5]) == wide{});
}

// A NaN is an entry and a zero of either sign is none.
TYPED_TEST(SparseConvert, DenseEntriesAreWhatDoesNotEqualZero) {
  USE_FORM;
  T dense[] = {narrow<T>(this->pair(-0.0L, 0)), narrow<T>(not_a_number), narrow<T>(this->pair(0, -0.0L))},
    values[3];
  I job[] = {0, 1, 1, 2, 0, 0}, m = 3, n = 1, columns[3], pointer[4], info;
  this->call("tnk_?dnscsr", job, &m, &n, dense, &m, values, columns, pointer, &info);
  EXPECT_TRUE(pointer[1] == 1 && pointer[2] == 2 && pointer[3] == 2 && columns[0] == 1);
}

} // namespace
