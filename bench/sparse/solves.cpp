// Sparse solves, conversions and sums: the public routines on one thread beside Eigen, and two threads beside one.

#include "bench/families.h"
#include "bench/operands.h"
#include "bench/sparse/eigen_sparse.h"
#include "bench/sparse/sparse_matrix.h"

#include <tnk/sparse.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace tnk::bench {
namespace {

constexpr double pivot = 1024; // so that solutions stay in range, whatever the entries are
constexpr double factor = 1;
constexpr tnk_int right_sides = 8;

// A triangle with rows of `entries`, but for the first ones, the diagonal among them.
struct Triangle {
  tnk_int entries;
  bool upper;
  Pattern pattern() const { return {2 * (entries - 1), 2 * (entries - 1), 0, true}; }
  Stored stored() const { return upper ? Stored::upper : Stored::lower; }
};

// Its entries with other numbers on the diagonal.
struct Solvable {
  std::vector<double> values;
  SparseRows<tnk_int> rows;
};
const Solvable &solvable(const Triangle &t, tnk_int n) {
  static Solvable kept[2];
  static tnk_int entries[2], orders[2];
  Solvable &s = kept[t.upper];
  s.rows = sparse_matrix<tnk_int>(t.pattern(), n, t.stored());
  if (entries[t.upper] == t.entries && orders[t.upper] == n) return s;
  entries[t.upper] = t.entries, orders[t.upper] = n;
  const tnk_int *const start = s.rows.row_start[0];
  s.values.assign(s.rows.values, s.rows.values + start[n]);
  for (tnk_int i = 0; i < n; ++i)
    s.values[static_cast<std::size_t>(t.upper ? start[i] : start[i + 1] - 1)] = pivot;
  return s;
}

tnk_sparse_matrix view(const SparseRows<tnk_int> &rows, const double *values, tnk_int n, int base) {
  tnk_sparse_matrix a{};
  a.m = a.n = n, a.nnz = rows.row_start[0][n];
  a.values = values, a.col_index = rows.columns[base], a.row_index = rows.rows;
  a.row_start = rows.row_start[base], a.row_end = a.row_start + 1;
  return a;
}

struct Problem {
  Triangle triangle;
  char op = 'N';
  tnk_int sides = 1;
  int base = 1; // 0: right-hand sides by rows
  tnk_sparse_storage storage = TNK_SPARSE_CSR;
};

// A lower triangle whose `entries` diagonals stand side by side, as it is stored and in rows, from 1.
struct Band {
  tnk_sparse_matrix diagonals{};
  std::vector<double> values;
  std::vector<tnk_int> columns, starts; // from 0
};
const Band &band_matrix(tnk_int entries, tnk_int n) {
  static Band b;
  static tnk_int kept = 0;
  if (kept == entries && b.diagonals.m == n) return b;
  tnk_sparse_free(&b.diagonals);
  b.values.clear(), b.columns.clear(), b.starts.assign(1, 0);
  kept = entries;
  for (tnk_int i = 0; i < n; ++i) {
    for (tnk_int j = std::max<tnk_int>(i - entries + 1, 0); j <= i; ++j) {
      b.columns.push_back(j);
      b.values.push_back(j == i ? pivot : static_cast<double>((i + j) % 15 - 7) / 8);
    }
    b.starts.push_back(static_cast<tnk_int>(b.columns.size()));
  }
  tnk_sparse_matrix rows{};
  rows.m = rows.n = n, rows.nnz = b.starts.back();
  rows.values = b.values.data(), rows.col_index = b.columns.data();
  rows.row_start = b.starts.data(), rows.row_end = rows.row_start + 1;
  const tnk_sparse_descriptor d{};
  tnk_sparse_dconvert(&rows, &d, TNK_SPARSE_DIA, 0, &b.diagonals);
  return b;
}

Call public_solve(const Problem &p) {
  return [p](Operands &o, long count) {
    const Solvable &s = solvable(p.triangle, o.n);
    tnk_sparse_matrix a = view(s.rows, s.values.data(), o.n, p.base);
    a.storage = p.storage;
    tnk_sparse_descriptor d{};
    d.kind = TNK_SPARSE_TRIANGULAR, d.base = p.base;
    d.triangle = p.triangle.upper ? TNK_SPARSE_UPPER : TNK_SPARSE_LOWER;
    const tnk_int ld = p.base ? o.n : p.sides;
    for (; count > 0; --count)
      if (p.sides == 1)
        tnk_sparse_dsv(p.op, &factor, &a, &d, o.x<double>(), o.y<double>());
      else
        tnk_sparse_dsm(p.op, &factor, &a, &d, p.sides, o.x<double>(), ld, o.y<double>(), ld);
  };
}

Call eigen_solve(const Problem &p) {
  const EigenSparse *const eigen = eigen_sparse();
  if (!eigen) return {};
  return [p, eigen](Operands &o, long count) {
    const Solvable &s = solvable(p.triangle, o.n);
    const EigenRows t{o.n, s.values.data(), s.rows.columns[0], s.rows.row_start[0]};
    for (; count > 0; --count)
      eigen->solve(t, !p.triangle.upper, p.op == 'T', p.sides, factor, o.x<double>(), o.y<double>());
  };
}

// How far T X is from the right-hand sides, relative to |T| |X|, in whichever order these lie.
double residual(const Problem &p, const Operands &o) {
  const Solvable &s = solvable(p.triangle, o.n);
  const auto at = [&](const double *v, tnk_int i, tnk_int j) {
    return p.base ? v[i + j * o.n] : v[i * p.sides + j];
  };
  double worst = 0;
  for (tnk_int i = 0; i < o.n; ++i)
    for (tnk_int j = 0; j < p.sides; ++j) {
      double sum = -at(o.x<double>(), i, j), size = std::fabs(sum);
      for (tnk_int k = s.rows.row_start[0][i]; k < s.rows.row_start[0][i + 1]; ++k) {
        const double term =
            s.values[static_cast<std::size_t>(k)] * at(o.y<double>(), s.rows.columns[0][k], j);
        sum += term, size += std::fabs(term);
      }
      worst = std::max(worst, std::fabs(sum) / size);
    }
  return worst;
}

// The order at which a matrix has 3 million entries, more than any cache holds; and one that fits the second one.
std::vector<tnk_int> sizes_for(tnk_int entries) {
  return {std::max<tnk_int>(12000 / entries, 150), 3000000 / entries};
}

Row row(const std::string &group, const std::string &name, const std::string &peer, tnk_int entries,
        double vectors, const Call &ours, const Call &other) {
  Row made;
  made.group = "sparse/" + group;
  made.name = name;
  made.sizes = sizes_for(entries);
  made.quick = 4000;
  made.unit = "B";
  made.peer = peer;
  made.prepare = [=](tnk_int n) {
    Contest contest;
    // An entry is a value and its number; a row is its pointer, and an element of b and of x.
    contest.bytes = static_cast<double>(n) * (16.0 * static_cast<double>(entries) + 8 + 16 * vectors);
    contest.elements = std::max(static_cast<std::size_t>(contest.bytes / 8),
                                static_cast<std::size_t>(static_cast<double>(n) * vectors));
    contest.mix = Mix::read_ahead;
    contest.law = Law::close;
    return on_operands(contest, "B", n, ours, other);
  };
  return made;
}

constexpr tnk_int lengths[] = {3, 8, 16, 31, 60};

void add_solves(std::vector<Row> &rows) {
  const struct {
    const char *name;
    bool upper;
    char op;
  } forms[] = {{"dsv_lower", false, 'N'}, {"dsv_upper", true, 'N'}, {"dsv_lower_trans", false, 'T'}};
  for (const auto &form : forms)
    for (const tnk_int entries : lengths) {
      const Problem p = {{entries, form.upper}, form.op};
      rows.push_back(row("sv", std::string(form.name) + "_" + std::to_string(entries), "Eigen", entries, 1,
                         public_solve(p), eigen_solve(p)));
    }
  // Without a form of their own in Eigen: beside its rows.
  for (const tnk_int entries : lengths) {
    const std::string length = std::to_string(entries);
    const Problem p = {{entries, false}, 'N', 1, 1, TNK_SPARSE_COO};
    rows.push_back(
        row("sv", "dsv_triples_" + length, "Eigen, rows", entries, 1, public_solve(p), eigen_solve(p)));
    const Call diagonals = [entries](Operands &o, long count) {
      tnk_sparse_descriptor d{};
      d.kind = TNK_SPARSE_TRIANGULAR;
      const tnk_sparse_matrix &a = band_matrix(entries, o.n).diagonals;
      for (; count > 0; --count) tnk_sparse_dsv('N', &factor, &a, &d, o.x<double>(), o.y<double>());
    };
    const EigenSparse *const eigen = eigen_sparse();
    const Call its_rows = [entries, eigen](Operands &o, long count) {
      const Band &b = band_matrix(entries, o.n);
      const EigenRows t{o.n, b.values.data(), b.columns.data(), b.starts.data()};
      for (; count > 0; --count) eigen->solve(t, true, false, 1, factor, o.x<double>(), o.y<double>());
    };
    rows.push_back(row("sv", "dsv_diagonals_" + length, "Eigen, rows", entries, 1, diagonals,
                       eigen ? its_rows : Call()));
  }
  for (const int base : {1, 0})
    for (const tnk_int entries : lengths) {
      const Problem p = {{entries, false}, 'N', right_sides, base},
                    by_columns = {{entries, false}, 'N', right_sides};
      Row made = row("sm", (base ? "dsm8_columns_" : "dsm8_rows_") + std::to_string(entries), "Eigen",
                     entries, static_cast<double>(right_sides), public_solve(p), eigen_solve(by_columns));
      if (base == 0) { // Eigen's right-hand sides are columns, so each is judged on its own: ours here
        const auto prepare = made.prepare;
        const Call ours = public_solve(p);
        made.prepare = [=](tnk_int n) {
          Case judged = prepare(n);
          judged.results.clear();
          judged.error = [=] {
            Operands o;
            const auto count = static_cast<std::size_t>(n * right_sides);
            std::vector<double> b(count), x(count);
            for (std::size_t i = 0; i < count; ++i) b[i] = static_cast<double>(i % 17) / 8 - 1;
            o.n = n, o.x_data = b.data(), o.y_data = x.data();
            ours(o, 1);
            return residual(p, o);
          };
          judged.allowed = static_cast<double>(entries + 8) * 0x1p-53;
          return judged;
        };
      }
      rows.push_back(made);
    }
  const struct {
    const char *name;
    Problem problem;
  } spread[] = {{"dsm16_2t", {{12, false}, 'N', 16}}, {"dsm32_rows_2t", {{60, false}, 'N', 32, 0}}};
  for (const auto &[name, p] : spread) {
    const Call call = public_solve(p);
    Row made =
        row("sm_threads", name, "1 thread", p.triangle.entries, static_cast<double>(p.sides), call, call);
    made.sizes = {2000, made.sizes[1]};
    made.threads = 2;
    rows.push_back(made);
  }
}

// How many entries came out is what both leave.
template <class Make> Call counted(const Triangle &t, Make make) {
  return [=](Operands &o, long count) {
    const SparseRows<tnk_int> rows = sparse_matrix<tnk_int>(t.pattern(), o.n, t.stored());
    const tnk_sparse_matrix a = view(rows, rows.values, o.n, 1);
    for (; count > 0; --count) *o.result<double>() = static_cast<double>(make(a, rows, o.n));
  };
}

void add_conversions(std::vector<Row> &rows) {
  const EigenSparse *const eigen = eigen_sparse();
  const auto converted = [](tnk_sparse_matrix a, tnk_sparse_storage from, tnk_sparse_storage to) {
    tnk_sparse_descriptor d{};
    d.base = 1;
    a.storage = from;
    tnk_sparse_matrix made{};
    tnk_sparse_dconvert(&a, &d, to, 0, &made);
    const tnk_int count = made.nnz;
    tnk_sparse_free(&made);
    return count;
  };
  const auto eigen_rows = [](const SparseRows<tnk_int> &r, tnk_int n) {
    return EigenRows{n, r.values, r.columns[0], r.row_start[0]};
  };
  for (const tnk_int entries : lengths) {
    const Triangle t = {entries, false};
    const std::string length = "_" + std::to_string(entries);
    const auto ours = [=](tnk_sparse_storage from, tnk_sparse_storage to) {
      return counted(t, [=](const tnk_sparse_matrix &a, const SparseRows<tnk_int> &, tnk_int) {
        return converted(a, from, to);
      });
    };
    const auto other = [=](auto make) { return eigen ? counted(t, make) : Call(); };
    rows.push_back(row("convert", "triples_to_rows" + length, "Eigen", entries, 0,
                       ours(TNK_SPARSE_COO, TNK_SPARSE_CSR),
                       other([=](const tnk_sparse_matrix &, const SparseRows<tnk_int> &r, tnk_int n) {
                         return eigen->from_triples(eigen_rows(r, n), r.rows, r.columns[1]);
                       })));
    rows.push_back(row("convert", "rows_to_columns" + length, "Eigen", entries, 0,
                       ours(TNK_SPARSE_CSR, TNK_SPARSE_CSC),
                       other([=](const tnk_sparse_matrix &, const SparseRows<tnk_int> &r, tnk_int n) {
                         return eigen->to_columns(eigen_rows(r, n));
                       })));
    const Triangle u = {entries, true};
    rows.push_back(row("convert", "sum" + length, "Eigen", entries, 0,
                       counted(t,
                               [=](const tnk_sparse_matrix &a, const SparseRows<tnk_int> &, tnk_int n) {
                                 const SparseRows<tnk_int> r =
                                     sparse_matrix<tnk_int>(u.pattern(), n, u.stored());
                                 const tnk_sparse_matrix b = view(r, r.values, n, 1);
                                 tnk_sparse_descriptor d{};
                                 d.base = 1;
                                 tnk_sparse_matrix made{};
                                 tnk_sparse_dadd('N', &a, &pivot, &b, &d, &made);
                                 const tnk_int count = made.nnz;
                                 tnk_sparse_free(&made);
                                 return count;
                               }),
                       other([=](const tnk_sparse_matrix &, const SparseRows<tnk_int> &r, tnk_int n) {
                         return eigen->add(eigen_rows(r, n), pivot,
                                           eigen_rows(sparse_matrix<tnk_int>(u.pattern(), n, u.stored()), n));
                       })));
  }
}

} // namespace

void add_sparse_solves(std::vector<Row> &rows) {
  add_solves(rows);
  add_conversions(rows);
}

} // namespace tnk::bench
