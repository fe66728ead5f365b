// Calls with operands of any shape: every array is NaN but for the elements that a routine may read, which are integers.
#pragma once

#include "support/random.h"
#include "tests/xblas/oracle.h"
#include <functional>

namespace tnk::test {

enum class Data { random, cancelling, graded };

struct Problem {
  Routine r;
  Arguments arguments;
  Rule rule = Rule::matrix;
  std::vector<Result> results;
  std::map<char, tnk_int> least; // of leading dimensions
};

class Maker {
public:
  // `listed`: with the products of each result.
  explicit Maker(unsigned seed, std::vector<tnk_int> sizes = {0, 1, 2, 3, 4, 5, 7, 8, 9, 11},
                 bool listed = true)
      : random_(seed), sizes_(std::move(sizes)), listed_(listed) {}

  // `order` for routines that have one.
  Problem make(const Routine &r, Data data, int32_t order) {
    data_ = data, p_ = {r, {}, Rule::matrix, {}, {}}, by_columns_ = order == TNK_XBLAS_COLMAJOR;
    const auto one_of = [&](std::initializer_list<int> values) {
      return *(values.begin() + random_.integer(0, static_cast<tnk_int>(values.size()) - 1));
    };
    Arguments &a = p_.arguments;
    a['o'] = order, a['t'] = one_of({111, 112, 113}), a['T'] = one_of({111, 112, 113});
    a['u'] = one_of({121, 122}), a['d'] = one_of({131, 132}), a['s'] = one_of({141, 142}),
    a['q'] = one_of({191, 192});
    for (const char size : {'m', 'n', 'k'})
      a[size] = sizes_[static_cast<std::size_t>(random_.integer(0, static_cast<tnk_int>(sizes_.size()) - 1))];
    if (r.op == "gemv" || r.op == "gemv2") a['n'] = std::max<tnk_int>(a['n'], 1); // 0 is reported
    a['l'] = random_.integer(0, sizes_.back() / 2), a['v'] = random_.integer(0, sizes_.back() / 2);
    for (const char increment : {'i', 'j', 'e'}) a[increment] = one_of({1, 1, 2, -1, -3});
    a.alpha = chosen_factor(), a.beta = chosen_factor();
    fill();
    return p_;
  }

private:
  tnk_int of(char letter) { return p_.arguments[letter]; }
  bool has(char letter) const { return p_.r.has(letter); }

  Number chosen_factor() {
    const auto part = [&] { return static_cast<double>(random_.integer(-60, 60)); };
    const tnk_int kind = random_.integer(0, 5);
    if (kind < 2) return static_cast<double>(kind);
    return {part(), is_pair(p_.r.result) ? part() : 0};
  }
  // An integer that the type can hold; k: its place in a sum.
  Number element(char letter, tnk_int k, bool alternating) {
    const tnk_int bits = is_short(letter) ? 24 : 53;
    const auto part = [&] {
      if (data_ == Data::graded) {
        const tnk_int limit = tnk_int{1} << random_.integer(1, bits);
        return static_cast<double>(random_.integer(1 - limit, limit - 1));
      }
      const tnk_int limit = tnk_int{1} << bits;
      if (data_ == Data::random) return static_cast<double>(random_.integer(1 - limit, limit - 1));
      const double close = static_cast<double>(limit - random_.integer(1, 40));
      return alternating && k % 2 ? -close : close;
    };
    const double re = part();
    return {re, is_pair(letter) ? part() : 0};
  }

  Array &array(char name, char letter, tnk_int count) {
    return *(p_.arguments.arrays[name] = std::make_shared<Array>(letter, count));
  }
  // n elements at an increment, and where each stands.
  static tnk_int at(tnk_int i, tnk_int n, tnk_int inc) { return inc < 0 ? (i + 1 - n) * inc : i * inc; }
  std::vector<Number> vector(char name, char letter, tnk_int n, tnk_int inc) {
    Array &memory = array(name, letter, n < 1 ? 0 : (n - 1) * std::abs(inc) + 1);
    std::vector<Number> elements;
    for (tnk_int i = 0; i < n; ++i)
      memory.set(at(i, n, inc), elements.emplace_back(element(letter, i, name != 'a')));
    return elements;
  }

  struct Matrix {
    tnk_int rows, columns;
    std::vector<Number> values;
    std::vector<char> kinds; // 0: no element, 1: an element, 2: a real one
    Matrix(tnk_int m, tnk_int n)
        : rows(m), columns(n), values(static_cast<std::size_t>(m * n)),
          kinds(static_cast<std::size_t>(m * n), 0) {}
    std::size_t at(tnk_int i, tnk_int j) const { return static_cast<std::size_t>(i * columns + j); }
    void set(tnk_int i, tnk_int j, Number x, char kind = 1) { values[at(i, j)] = x, kinds[at(i, j)] = kind; }
  };
  static Matrix under(tnk_int trans, const Matrix &a) {
    if (trans == 111) return a;
    Matrix t(a.columns, a.rows);
    for (tnk_int i = 0; i < a.rows; ++i)
      for (tnk_int j = 0; j < a.columns; ++j)
        t.set(j, i, trans == 113 ? std::conj(a.values[a.at(i, j)]) : a.values[a.at(i, j)],
              a.kinds[a.at(i, j)]);
    return t;
  }

  // Full or, with kl and ku, band storage.
  Matrix general(char name, char ld, char letter, tnk_int m, tnk_int n, tnk_int kl = -1, tnk_int ku = -1) {
    const bool band = kl >= 0;
    const tnk_int lines = by_columns_ ? n : m, line = by_columns_ ? m : n;
    const tnk_int least = band ? kl + ku + 1 : std::max<tnk_int>(line, 1),
                  space = least + random_.integer(0, 3);
    p_.arguments[ld] = space;
    p_.least[ld] = least;
    Array &memory = array(name, letter, lines == 0 ? 0 : (lines - 1) * space + (band ? least : line));
    Matrix a(m, n);
    for (tnk_int i = 0; i < m; ++i)
      for (tnk_int j = 0; j < n; ++j) {
        if (band && (i - j > kl || j - i > ku)) continue;
        const Number x = element(letter, j, false);
        const tnk_int full = by_columns_ ? i + j * space : i * space + j;
        memory.set(!band ? full : by_columns_ ? ku + i - j + j * space : kl + j - i + i * space, x);
        a.set(i, j, x);
      }
    return a;
  }

  // One triangle of n by n, full, packed (no ld) or with k diagonals, as a triangle or with its mirror image.
  Matrix half(char letter, tnk_int n) {
    const std::string &op = p_.r.op; // trmv, tpmv, sbmv, hemm, ...
    const bool packed = op[1] == 'p', band = op[1] == 'b', hermitian = op[0] == 'h', triangle = op[0] == 't',
               unit = triangle && of('d') == 132, upper = of('u') == 121;
    const tnk_int k = of('k'), line = band ? k + 1 : std::max<tnk_int>(n, 1),
                  space = line + random_.integer(0, 3);
    p_.arguments['L'] = space;
    if (!packed) p_.least['L'] = line;
    Array &memory = array('a', letter,
                          packed   ? n * (n + 1) / 2
                          : n == 0 ? 0
                                   : (n - 1) * space + (band ? line : n));
    Matrix a(n, n);
    tnk_int next = 0;
    // Columns of the triangle, or rows: outer is the line, inner runs along it.
    for (tnk_int outer = 0; outer < n; ++outer)
      for (tnk_int inner = 0; inner < n; ++inner) {
        const tnk_int i = by_columns_ ? inner : outer, j = by_columns_ ? outer : inner;
        if (upper ? i > j : i < j) continue;
        const tnk_int in_packed = next++;
        if (band && std::abs(i - j) > k) continue;
        const bool first_is_far = upper == by_columns_; // the line ends at the diagonal
        const tnk_int place = packed ? in_packed
                              : band ? (first_is_far ? k + inner - outer : inner - outer) + outer * space
                                     : inner + outer * space;
        Number x = element(letter, j, false);
        if (i == j && unit) {
          a.set(i, j, 1, 2); // not stored: NaN
          continue;
        }
        if (i == j && hermitian) {
          memory.set(place, {x.real(), std::nan("")});
          a.set(i, j, x.real(), 2);
          continue;
        }
        memory.set(place, x);
        a.set(i, j, x);
        if (!triangle) a.set(j, i, hermitian ? std::conj(x) : x);
      }
    return a;
  }

  void rows_times(const Matrix &a, const std::vector<Number> &x, const std::vector<Number> *tail,
                  const std::function<tnk_int(tnk_int)> &place,
                  const std::function<Number(tnk_int)> &before) {
    for (tnk_int i = 0; listed_ && i < a.rows; ++i) {
      Result result{place(i), {}, {}, before(i)};
      for (tnk_int k = 0; k < a.columns; ++k) {
        const auto entry = a.at(i, k);
        if (!a.kinds[entry]) continue;
        const bool real_a = a.kinds[entry] == 2 || !is_pair(p_.r.a), real_x = !is_pair(p_.r.x);
        result.products.push_back({a.values[entry], x[static_cast<std::size_t>(k)], real_a, real_x});
        if (tail)
          result.more.push_back({a.values[entry], (*tail)[static_cast<std::size_t>(k)], real_a, real_x});
      }
      p_.results.push_back(result);
    }
  }
  void matrix_vector(const Matrix &a) {
    const auto x = vector('x', p_.r.x, a.columns, of('i'));
    std::vector<Number> tail;
    if (has('h')) tail = vector('h', p_.r.x, a.columns, of('i'));
    const auto y = vector('y', p_.r.result, a.rows, of('j'));
    rows_times(
        a, x, has('h') ? &tail : nullptr, [&](tnk_int i) { return at(i, a.rows, of('j')); },
        [&](tnk_int i) { return y[static_cast<std::size_t>(i)]; });
  }
  // C := alpha A B + beta C; or of the transposed ones.
  void matrix_matrix(const Matrix &a, const Matrix &b, const Matrix &c, bool turned) {
    for (tnk_int j = 0; j < b.columns; ++j) {
      std::vector<Number> column;
      for (tnk_int k = 0; k < b.rows; ++k) column.push_back(b.values[b.at(k, j)]);
      rows_times(
          a, column, nullptr,
          [&](tnk_int i) { return turned != by_columns_ ? i + j * of('C') : i * of('C') + j; },
          [&](tnk_int i) { return c.values[c.at(i, j)]; });
    }
  }

  void fill() {
    const std::string &op = p_.r.op;
    const tnk_int m = of('m'), n = of('n'), k = of('k');
    const auto starts = [&](const char *with) { return op.rfind(with, 0) == 0; };
    if (op == "dot" || op == "sum") {
      const auto x = vector('x', p_.r.a, n, of('i'));
      Result result{0, {}, {}, 0};
      std::vector<Number> y;
      p_.rule = op == "dot" ? Rule::dot : Rule::alone;
      if (op == "dot") y = vector('b', p_.r.x, n, of('j'));
      // The letters of its arrays are x, b and y.
      for (std::size_t i = 0; i < x.size(); ++i)
        result.products.push_back({of('q') == 191 && op == "dot" ? std::conj(x[i]) : x[i],
                                   y.empty() ? 0 : y[i], !is_pair(p_.r.a), !is_pair(p_.r.x)});
      result.before = vector('y', p_.r.result, 1, 1)[0];
      p_.results.push_back(result);
    } else if (op == "axpby" || op == "waxpby") {
      const bool to_w = op == "waxpby";
      const char letter = to_w ? p_.r.x : p_.r.result;
      const auto x = vector('x', p_.r.a, n, of('i')), y = vector(to_w ? 'b' : 'y', letter, n, of('j'));
      if (to_w) array('y', p_.r.result, n < 1 ? 0 : (n - 1) * std::abs(of('e')) + 1);
      p_.rule = Rule::combined;
      for (tnk_int i = 0; i < n; ++i)
        p_.results.push_back({at(i, n, of(to_w ? 'e' : 'j')),
                              {{x[static_cast<std::size_t>(i)], 0, !is_pair(p_.r.a), true}},
                              {{y[static_cast<std::size_t>(i)], 0, !is_pair(letter), true}},
                              0});
    } else if (op == "ge_sum_mv") {
      p_.rule = Rule::two_matrices;
      const Matrix a = general('a', 'L', p_.r.a, m, n), b = general('b', 'M', p_.r.a, m, n);
      matrix_vector(a);
      const auto x = p_.results;
      for (auto &result : p_.results) result.more = result.products;
      for (tnk_int i = 0; listed_ && i < m; ++i)
        for (tnk_int j = 0; j < n; ++j)
          p_.results[static_cast<std::size_t>(i)].more[static_cast<std::size_t>(j)].a = b.values[b.at(i, j)];
    } else if (starts("ge") && op != "gemm") {
      matrix_vector(under(of('t'), general('a', 'L', p_.r.a, m, n)));
    } else if (starts("gb")) {
      matrix_vector(under(of('t'), general('a', 'L', p_.r.a, m, n, of('l'), of('v'))));
    } else if (starts("t")) {
      const Matrix a = under(of('t'), half(p_.r.a, n));
      p_.arguments.beta = 0;
      const auto y = vector('y', p_.r.result, n, of('j'));
      rows_times(
          a, y, nullptr, [&](tnk_int i) { return at(i, n, of('j')); }, [](tnk_int) { return Number(0); });
    } else if (op == "gemm") {
      const auto shaped = [&](char trans, char name, char ld, char letter, tnk_int rows, tnk_int columns) {
        const bool plain = of(trans) == 111;
        return under(of(trans), general(name, ld, letter, plain ? rows : columns, plain ? columns : rows));
      };
      const Matrix a = shaped('t', 'a', 'L', p_.r.a, m, k), b = shaped('T', 'x', 'M', p_.r.x, k, n);
      matrix_matrix(a, b, general('y', 'C', p_.r.result, m, n), false);
    } else {
      const bool product = op == "symm" || op == "hemm", left = of('s') == 141;
      const Matrix a = half(p_.r.a, product && left ? m : n);
      if (!product) return matrix_vector(a);
      const Matrix b = general('x', 'M', p_.r.x, m, n), c = general('y', 'C', p_.r.result, m, n);
      if (left)
        matrix_matrix(a, b, c, false);
      else
        matrix_matrix(under(112, a), under(112, b), under(112, c), true);
    }
  }

  Random random_;
  std::vector<tnk_int> sizes_;
  bool listed_;
  Data data_ = Data::random;
  bool by_columns_ = true;
  Problem p_;
};

} // namespace tnk::test
