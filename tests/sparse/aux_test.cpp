// The functions beside the grid, each in its eight forms. Operands are small integers where a result is to be exact.
#include "support/random.h"
#include <algorithm>
#include <cmath>
#include <complex>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <tnk/spblas_aux.h>
#include <vector>

namespace {

using Z = std::complex<double>;
using Dense = std::vector<std::vector<Z>>; // rows
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class Form> struct SparseAux : testing::Test {
  using T = typename Form::first_type;
  using I = typename Form::second_type;
  static constexpr bool real = std::is_floating_point_v<T>, single = sizeof(T) == (real ? 4 : 8);
  static constexpr double eps = single ? 0x1p-24 : 0x1p-53;
  tnk::test::Random random;

  // Calls a function by its name, in which ? stands for the type.
  template <class... A> static void call(std::string name, A... arguments) {
    name.replace(name.find('?'), 1, 1, real ? (single ? 's' : 'd') : (single ? 'c' : 'z'));
    name = (sizeof(I) == 4 ? "tnk_spblas_lp64_" : "tnk_spblas_") + name;
    void *const entry = dlsym(RTLD_DEFAULT, name.c_str());
    ASSERT_NE(entry, nullptr) << name;
    reinterpret_cast<void (*)(A...)>(entry)(arguments...);
  }
  static Z wide(T v) {
    if constexpr (real) return v;
    else return {v.re, v.im};
  }
  static T narrow(Z v) {
    if constexpr (real) return static_cast<T>(v.real());
    else return {static_cast<decltype(T::re)>(v.real()), static_cast<decltype(T::re)>(v.imag())};
  }
  Z small() {
    const auto re = static_cast<double>(random.integer(-3, 3)), im = static_cast<double>(random.integer(-3, 3));
    return real ? re : Z{re, im};
  }
  std::vector<T> smalls(I n) {
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T &x : v) x = narrow(small());
    return v;
  }
  // c + alpha op(D) b, dense operands by rows or by columns.
  static void expect_product(const Dense &d, bool transposed, Z alpha, const std::vector<T> &b, I ldb,
                             std::vector<T> c, I ldc, I nrhs, bool by_rows, const std::vector<T> &got) {
    const I n = static_cast<I>(d.size());
    for (I q = 0; q < nrhs; ++q)
      for (I i = 0; i < n; ++i) {
        Z sum = 0;
        for (I j = 0; j < n; ++j)
          sum += (transposed ? d[j][i] : d[i][j]) * wide(b[by_rows ? j * ldb + q : q * ldb + j]);
        T &target = c[by_rows ? i * ldc + q : q * ldc + i];
        target = narrow(wide(target) + alpha * sum);
      }
    for (std::size_t k = 0; k < c.size(); ++k) ASSERT_EQ(wide(c[k]), wide(got[k])) << k;
  }
};
template <class T> using Wide = std::pair<T, tnk_int>;
template <class T> using Narrow = std::pair<T, std::int32_t>;
using Forms = testing::Types<Wide<float>, Wide<double>, Wide<tnk_complex8>, Wide<tnk_complex16>, Narrow<float>,
                             Narrow<double>, Narrow<tnk_complex8>, Narrow<tnk_complex16>>;
TYPED_TEST_SUITE(SparseAux, Forms);
#define USE_FORM                                                                                             \
  using T = typename TestFixture::T;                                                                         \
  using I = typename TestFixture::I;                                                                         \
  [[maybe_unused]] const auto wide = TestFixture::wide;                                                      \
  [[maybe_unused]] const auto narrow = TestFixture::narrow

TYPED_TEST(SparseAux, ScalarsAndClearing) {
  USE_FORM;
  for (const auto &[value, flag] : {std::pair{0., 0}, {-0., 0}, {nan, 1}, {2., 1}}) {
    T v = narrow(value);
    I got = 7;
    this->call("?zerocheck", &v, &got);
    EXPECT_EQ(got, flag) << value;
    this->call("?neones", &v);
    EXPECT_TRUE(std::isnan(value) ? std::isnan(wide(v).real()) : wide(v) == Z(-value));
    EXPECT_TRUE(value != 0 || (!std::signbit(wide(v).real()) && !std::signbit(wide(v).imag())));
    this->call("?ones", &v);
    EXPECT_EQ(wide(v), Z(1));
  }
  std::vector<T> v(5, narrow(Z(-1, 1))), expected(5, T{});
  expected[4] = v[4];
  for (I count : {I(-1), I(0), I(4)}) this->call("?zeros", v.data(), &count);
  EXPECT_EQ(std::memcmp(v.data(), expected.data(), sizeof(T) * v.size()), 0);
}

TYPED_TEST(SparseAux, SortsRowsKeepingEqualColumns) {
  USE_FORM;
  const std::vector<I> pointer{1, 3, 3, 12, 13, 16}, original{9, 8, 5, 1, 5, 3, 3, 9, 1, 2, 5, 7, 3, 2, 1};
  std::vector<I> columns = original;
  std::vector<T> values;
  for (int k = 0; k < 15; ++k) values.push_back(narrow(k));
  const I first = 2, last = 4;
  this->call("?sortrow", &first, &last, pointer.data(), columns.data(), values.data());
  std::vector<I> order(15);
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin() + 2, order.begin() + 11, [&](I a, I b) { return original[a] < original[b]; });
  for (std::size_t k = 0; k < 15; ++k) {
    EXPECT_EQ(columns[k], original[order[k]]);
    EXPECT_EQ(wide(values[k]), Z(static_cast<double>(order[k])));
  }
}

// Sums of numbers that round, so that their order shows.
TYPED_TEST(SparseAux, AddsPrivateOutputsInTheirOrder) {
  USE_FORM;
  const auto plus = [&](T a, T b) { // rounded once, parts apart
    if constexpr (TestFixture::real) return T(a + b);
    else return T{a.re + b.re, a.im + b.im};
  };
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
          expected[0][i] = plus(expected[0][i], memory[0][p * stride + i]);
        for (I t = start; t < end; ++t)
          expected[1][i] = plus(expected[1][i], memory[t - 1][(start - 1) * count + i]);
        for (I t = 0; t < parts; ++t)
          expected[2][i] = plus(expected[2][i], memory[t + 1][i + step * (parts - 1 - t)]);
      }
      for (int k = 0; k < 3; ++k)
        EXPECT_EQ(std::memcmp(y[k].data(), expected[k].data(), sizeof(T) * y[k].size()), 0) << k << ' ' << count;
    }
}

template <class I> void finds_diagonals() {
  struct Row {
    std::vector<I> distance; // the last one behind the array
    const char *form;
    std::vector<I> results;
  };
  for (const Row &row : std::vector<Row>{{{-2, 0, 1, 9}, "ln", {1, 1, 1, 2, 0}},
                                         {{-2, 0, 1, 9}, "lu", {1, 1, 1, 2, 0}},
                                         {{-2, 0, 1, 9}, "un", {3, 3, 2, 3, 0}},
                                         {{-2, 0, 1, 9}, "uu", {3, 3, 2, 3, 0}},
                                         {{-2, 1, 9}, "ln", {1, 1, 1, 2, -1}},
                                         {{-2, 1, 9}, "lu", {1, 2, 1, 2, 0}},
                                         {{-2, 1, 9}, "un", {2, 2, 2, 2, -1}},
                                         {{-2, 0, 9}, "un", {2, 2, 2, 2, 0}},
                                         {{-2, 0, 9}, "uu", {3, 2, 2, 2, 0}},
                                         {{-2, -1, 9}, "ln", {1, 2, 1, 3, -1}},
                                         {{-2, -1, 9}, "un", {2, 2, 3, 2, -1}}}) {
    const auto name = std::string("tnk_spblas_") + (sizeof(I) == 4 ? "lp64_" : "") + "find_diag_par_" + row.form;
    using Find = decltype(&tnk_spblas_find_diag_par_ln);
    using Find32 = decltype(&tnk_spblas_lp64_find_diag_par_ln);
    const auto find = reinterpret_cast<std::conditional_t<sizeof(I) == 8, Find, Find32>>(dlsym(RTLD_DEFAULT, name.c_str()));
    const I count = static_cast<I>(row.distance.size()) - 1;
    std::vector<I> r(5, 77);
    find(row.distance.data(), &count, &r[0], &r[1], &r[2], &r[3], &r[4]);
    EXPECT_EQ(r, row.results) << name << ' ' << row.distance[1];
  }
}
TEST(SparseAux, FindsTheDiagonalsOfATriangle) {
  finds_diagonals<tnk_int>();
  finds_diagonals<std::int32_t>();
}

} // namespace
