// The names of the sparse kernel grid, and what each is to compute: op(A) x in long double, entry by entry.
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

  // Whether that place, from 0, is strictly within the triangle.
  bool inside(tnk_int row, tnk_int column) const {
    return triangle == 'l' ? row > column : triangle == 'u' && row < column;
  }
  // Whether an entry stored there is an element of A. One of the triangle may also count at its mirror position.
  bool counts(tnk_int row, tnk_int column) const {
    return kind == 'g' || inside(row, column) || (row == column && diagonal == 'n');
  }
  bool solves() const { return operation == "sv" || operation == "sm"; }
  bool mirrors() const { return kind == 's' || kind == 'h' || kind == 'a'; }
  // Whether kernels add the whole row first and take away afterwards what does not count.
  bool adds_whole_rows() const {
    const bool in_one_pass = operation == "mv" && (kind == 's' || kind == 'h') && diagonal == 'n';
    return storage == "csr" && kind != 'g' && kind != 'd' && !in_one_pass && !solves();
  }
  // Whether rows of op(A) are columns of what is stored. The transpose of a Hermitian matrix is formed as its
  // conjugate, and op c of compressed skew rows is the conjugate alone.
  bool transposed() const {
    return (op == 't' || op == 'c') && kind != 'h' && !(kind == 'a' && storage == "csr");
  }
  bool conjugated() const { return op == 'c' || op == 's' || (op == 't' && kind == 'h'); }
};

// What names a matrix. Triangle and diagonal are left out where the kind has none.
inline GridName matrix_named(char op, char kind, char triangle, char diagonal) {
  if (kind == 'g' || kind == 'd') triangle = '_';
  if (kind == 'g' || kind == 'a') diagonal = '_';
  return {false, 'd', "", '0', op, kind, triangle, diagonal, 'c', "", ""};
}

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

// An element of op(A) x. The sum of the magnitudes that go into it and their number bound its rounding error.
struct GridSum {
  wide value;
  long double size;
  tnk_int terms;

  void add(wide a, long double a_size, wide x, tnk_int more_terms = 1) {
    value += product(a, x);
    size += a_size * size_of(x);
    terms += more_terms;
  }
};

// op(A), from the entries of an m by n matrix, which must live on.
template <class T> class GridMatrix {
public:
  GridMatrix(const GridName &name, tnk_int m, tnk_int n, const std::vector<SparseEntry<T>> &entries)
      : rows(name.transposed() ? n : m), columns(name.transposed() ? m : n), name_(name), entries_(entries) {}

  std::vector<GridSum> times(const std::vector<wide> &x) const {
    std::vector<GridSum> sums(rows);
    const bool transposed = name_.transposed(), conjugated = name_.conjugated();
    const bool whole_rows = name_.adds_whole_rows();
    const auto add = [&](tnk_int i, tnk_int j, wide a, long double size, tnk_int terms = 1) {
      if (transposed) std::swap(i, j);
      sums[i].add(conjugated ? std::conj(a) : a, size, x[j], terms);
    };
    for (const auto &e : entries_) {
      const wide a = widened(e.value);
      const long double size = size_of(a);
      if (name_.counts(e.row, e.column)) add(e.row, e.column, a, size);
      if (name_.mirrors() && name_.inside(e.row, e.column))
        add(e.column, e.row, name_.kind == 'h' ? std::conj(a) : name_.kind == 'a' ? -a : a, size);
      // Kinds that mirror go by rows whatever the op.
      if (whole_rows && name_.mirrors())
        sums[e.row].add(0, 2 * size, x[e.column], 2);
      else if (whole_rows)
        add(e.row, e.column, 0, 2 * size, 2);
    }
    for (tnk_int i = 0; i < rows && name_.diagonal == 'u'; ++i) add(i, i, 1, 1);
    return sums;
  }

  const tnk_int rows, columns;

private:
  const GridName name_;
  const std::vector<SparseEntry<T>> &entries_;
};

} // namespace tnk::test::reference
