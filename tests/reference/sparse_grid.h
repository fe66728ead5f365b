// The names of the sparse kernel grid, letter by letter, and what a kernel of each name is to compute: op(A) as a dense
// matrix in long double, made from the stored entries one by one.
#pragma once

#include <cmath>
#include <complex>
#include <optional>
#include <regex>
#include <string>
#include <tnk/types.h>
#include <type_traits>
#include <vector>

namespace tnk::test::reference {

struct GridName {
  bool lp64;
  char type;
  std::string storage;
  char base, op, kind, triangle, diagonal, layout;
  std::string operation, mode;

  std::string spelled() const {
    return std::string("tnk_spblas_") + (lp64 ? "lp64_" : "") + type + storage + base + op + kind + triangle +
           diagonal + layout + "__" + operation + "out_" + mode;
  }
  // Whether an entry of the triangle also counts at its mirror position.
  bool mirrors() const { return kind == 's' || kind == 'h' || kind == 'a'; }
  // Whether rows of op(A) are columns of what is stored. The transpose of a Hermitian matrix is formed as its
  // conjugate, and op c of compressed skew rows is the conjugate alone.
  bool transposed() const {
    return (op == 't' || op == 'c') && kind != 'h' && !(kind == 'a' && storage == "csr");
  }
  bool conjugated() const { return op == 'c' || op == 's' || (op == 't' && kind == 'h'); }
};

// Nothing when a letter is none of the grammar's.
inline std::optional<GridName> decoded(const std::string &name) {
  static const std::regex grammar(
      "tnk_spblas_(lp64_)?([sdcz])(csr|coo|dia|bsr)([01])([ntcs])([gshtda])([lu_])([nu_])([cf])__"
      "(mv|mm|sv|sm|gemv)out_(seq|par)");
  std::smatch part;
  if (!std::regex_match(name, part, grammar)) return std::nullopt;
  const auto letter = [&](int k) { return part[k].str()[0]; };
  return GridName{part[1].matched, letter(2), part[3],   letter(4), letter(5), letter(6),
                  letter(7),       letter(8), letter(9), part[10],  part[11]};
}

using wide = std::complex<long double>;

template <class T> wide widened(T a) {
  if constexpr (std::is_floating_point_v<T>)
    return a;
  else
    return {a.re, a.im};
}
inline long double size_of(wide a) {
  return std::fabs(a.real()) + std::fabs(a.imag());
}

// A stored entry; row and column from 0.
template <class T> struct SparseEntry {
  tnk_int row, column;
  T value;
};

// By its definition, without the search for infinities that the operator of the language makes.
inline wide product(wide a, wide b) {
  return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

// op(A). Beside each element stands the sum of the magnitudes that go into it, and for each row how many terms a kernel
// sums there: rounding errors are proportional to both.
class GridMatrix {
public:
  // From the entries of an m by n matrix.
  template <class T>
  GridMatrix(const GridName &name, tnk_int m, tnk_int n, const std::vector<SparseEntry<T>> &entries)
      : rows(name.transposed() ? n : m), columns(name.transposed() ? m : n), name_(name),
        value_(rows * columns), size_(rows * columns), terms_(rows) {
    for (const auto &e : entries) {
      const wide a = widened(e.value);
      const bool in_triangle =
          name.triangle == 'l' ? e.row > e.column : name.triangle == 'u' && e.row < e.column;
      if (name.kind == 'g' || in_triangle || (e.row == e.column && name.diagonal == 'n'))
        add(e.row, e.column, a);
      if (name.mirrors() && in_triangle)
        add(e.column, e.row, name.kind == 'h' ? std::conj(a) : name.kind == 'a' ? -a : a);
      // Most kernels on compressed rows add whole rows, and then subtract what is not meant.
      if (name.storage == "csr" && name.kind != 'g' && name.kind != 'd') {
        count(e.row, e.column, a);
        count(e.row, e.column, a);
      }
    }
    if (name.diagonal == 'u')
      for (tnk_int i = 0; i < rows; ++i) add(i, i, 1);
  }

  struct Sum {
    wide value;
    long double size;
    tnk_int terms;

    void add(wide a, wide x) {
      value += product(a, x);
      size += size_of(a) * size_of(x);
      ++terms;
    }
  };
  // Row i times x.
  Sum row_times(tnk_int i, const std::vector<wide> &x) const {
    Sum sum{0, 0, terms_[i]};
    for (tnk_int j = 0; j < columns; ++j) {
      sum.value += product(value_[at(i, j)], x[j]);
      sum.size += size_[at(i, j)] * size_of(x[j]);
    }
    return sum;
  }

  const tnk_int rows, columns;

private:
  tnk_int at(tnk_int i, tnk_int j) const { return i * columns + j; }
  void add(tnk_int i, tnk_int j, wide a) {
    count(i, j, a);
    value_[name_.transposed() ? at(j, i) : at(i, j)] += name_.conjugated() ? std::conj(a) : a;
  }
  void count(tnk_int i, tnk_int j, wide a) {
    if (name_.transposed()) std::swap(i, j);
    size_[at(i, j)] += size_of(a);
    ++terms_[i];
  }

  GridName name_;
  std::vector<wide> value_;
  std::vector<long double> size_;
  std::vector<tnk_int> terms_;
};

} // namespace tnk::test::reference
