// What prepares operands and brings results together beside the grid.
#include "reference/arithmetic.h"
#include "sparse/aux_form.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

namespace {

using namespace tnk::test;
template <class Form> struct SparseAux : InEachForm<Form> {};
TYPED_TEST_SUITE(SparseAux, Forms);

TYPED_TEST(SparseAux, ScalarsAndClearing) {
  USE_FORM;
  for (const auto &[value, flag] : {std::pair{0., 0}, {-0., 0}, {not_a_number, 1}, {2., 1}}) {
    T v = narrow<T>(value);
    I got = 7;
    this->call("?zerocheck", &v, &got);
    EXPECT_EQ(got, flag) << value;
    this->call("?neones", &v);
    EXPECT_TRUE(std::isnan(value) ? std::isnan(widened(v).real()) : widened(v) == wide(-value));
    EXPECT_TRUE(value != 0 || (!std::signbit(widened(v).real()) && !std::signbit(widened(v).imag())));
    this->call("?ones", &v);
    EXPECT_EQ(widened(v), wide(1));
  }
  std::vector<T> v(5, narrow<T>(this->pair(-1, 1))), expected(5, T{});
  expected[4] = v[4];
  for (I count : {I(-1), I(0), I(4)}) this->call("?zeros", v.data(), &count);
  EXPECT_EQ(std::memcmp(v.data(), expected.data(), sizeof(T) * v.size()), 0);
}

TYPED_TEST(SparseAux, SortsRowsKeepingEqualColumns) {
  USE_FORM;
  const std::vector<I> pointer{1, 3, 3, 12, 13, 16}, original{9, 8, 5, 1, 5, 3, 3, 9, 1, 2, 5, 7, 3, 2, 1};
  std::vector<I> columns = original;
  std::vector<T> values;
  for (int k = 0; k < 15; ++k) values.push_back(narrow<T>(k));
  const I first = 2, last = 4;
  this->call("?sortrow", &first, &last, pointer.data(), columns.data(), values.data());
  std::vector<I> order(15);
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin() + 2, order.begin() + 11,
                   [&](I a, I b) { return original[a] < original[b]; });
  for (std::size_t k = 0; k < 15; ++k) {
    EXPECT_EQ(columns[k], original[order[k]]);
    EXPECT_EQ(widened(values[k]), wide(order[k]));
  }
}

// Sums of numbers that round, so that their order shows.
TYPED_TEST(SparseAux, AddsPrivateOutputsInTheirOrder) {
  USE_FORM;
  using tnk::reference::operator+; // rounds once, parts apart
  for (I count : {0, 1, 2, 3, 7, 99, 100, 103})
    for (I parts : {0, 1, 2, 4}) {
      const I step = 3, stride = count + 2, room = (count + 3 * step + 9) * 6;
      std::vector<std::vector<T>> memory(6, std::vector<T>(static_cast<std::size_t>(room)));
      for (auto &part : memory)
        for (T &v : part) v = this->random.template number<T>();
      std::vector<T> y[3] = {memory[5], memory[5], memory[5]}, expected[3] = {y[0], y[1], y[2]};
      const T *const addresses[5] = {memory[0].data(), memory[1].data(), memory[2].data(), memory[3].data(),
                                     memory[4].data()};
      const I first = 2, end = parts + 1, start = 2;
      this->call("?split_par", &first, &count, &parts, &stride, memory[0].data(), y[0].data());
      this->call("?split_syml_par", &end, &count, &start, nullptr, addresses, y[1].data());
      this->call("?split_symu_par", &count, &step, &parts, nullptr, addresses, y[2].data());
      for (I i = 0; i < count; ++i) {
        for (I p = 0; i > 0 && p + 1 < parts; ++p)
          expected[0][i] = expected[0][i] + memory[0][p * stride + i];
        for (I t = start; t < end; ++t)
          expected[1][i] = expected[1][i] + memory[t - 1][(start - 1) * count + i];
        for (I t = 0; t < parts; ++t)
          expected[2][i] = expected[2][i] + memory[t + 1][i + step * (parts - 1 - t)];
      }
      for (int k = 0; k < 3; ++k)
        EXPECT_EQ(std::memcmp(y[k].data(), expected[k].data(), sizeof(T) * y[k].size()), 0)
            << k << ' ' << count;
    }
}

// Of the first and last diagonal of a band and of what it spans, and whether the main one is there.
TYPED_TEST(SparseAux, FindsTheDiagonalsOfATriangle) {
  USE_FORM;
  const struct {
    std::vector<I> distance; // the last one behind the array
    const char *form;
    std::vector<I> results;
  } rows[] = {{{-2, 0, 1, 9}, "ln", {1, 1, 1, 2, 0}}, {{-2, 0, 1, 9}, "lu", {1, 1, 1, 2, 0}},
              {{-2, 0, 1, 9}, "un", {3, 3, 2, 3, 0}}, {{-2, 0, 1, 9}, "uu", {3, 3, 2, 3, 0}},
              {{-2, 1, 9}, "ln", {1, 1, 1, 2, -1}},   {{-2, 1, 9}, "lu", {1, 2, 1, 2, 0}},
              {{-2, 1, 9}, "un", {2, 2, 2, 2, -1}},   {{-2, 0, 9}, "un", {2, 2, 2, 2, 0}},
              {{-2, 0, 9}, "uu", {3, 2, 2, 2, 0}},    {{-2, -1, 9}, "ln", {1, 2, 1, 3, -1}},
              {{-2, -1, 9}, "un", {2, 2, 3, 2, -1}}};
  for (const auto &row : rows) {
    const I count = static_cast<I>(row.distance.size()) - 1;
    std::vector<I> r(5, 77);
    this->call(std::string("find_diag_par_") + row.form, row.distance.data(), &count, &r[0], &r[1], &r[2],
               &r[3], &r[4]);
    EXPECT_EQ(r, row.results) << row.form << ' ' << row.distance[1];
  }
}

} // namespace
