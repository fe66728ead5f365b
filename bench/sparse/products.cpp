// Sparse matrices: the public products on one thread beside Eigen, a plain loop or another way to the same; kernels of
// the grid beside the public product that runs them, or, with 32-bit indices, beside Eigen; two threads beside one.

#include "bench/families.h"
#include "bench/operands.h"
#include "bench/sparse/eigen_sparse.h"
#include "bench/sparse/plain_sparse_matrix.h"
#include "bench/sparse/sparse_matrix.h"

#include <tnk/host.h>
#include <tnk/sparse.h>
#include <tnk/spblas_grid.h>

#include <algorithm>

namespace tnk::bench {
namespace {

template <class I>
using CsrMv = void(const I *first, const I *last, const I *m, const double *alpha, const double *values,
                   const I *col_index, const I *row_start, const I *row_end, const double *x, double *y);

constexpr double alpha = 0.5;
constexpr tnk_int right_sides = 8;

// The matrix of a row, and how many right-hand sides it is multiplied with.
struct Problem {
  Pattern pattern;
  Stored stored = Stored::all;
  tnk_int vectors = 1;
  int base = 1;
  char op = 'N';
  bool triples = false; // rather than compressed rows

  tnk_int columns(tnk_int n) const { return pattern.columns_for(n); }

  // That a call moves, each counted once. An entry is a value and its numbers; a row is its pointer, an element of x
  // and one of y, which is read and written.
  double bytes(tnk_int n, std::size_t index_bytes) const {
    const double index = static_cast<double>(index_bytes), order = static_cast<double>(n);
    return sparse_entries(pattern, n, stored) * (sizeof(double) + index * (triples ? 2 : 1)) +
           (triples ? 0 : order * index) +
           static_cast<double>(vectors * (columns(n) + 2 * n)) * sizeof(double);
  }
};

// body(matrix, n, operands) makes one call; I is the type of indices.
template <class I, class Body> Call on_matrix(const Problem &p, Body body) {
  return [p, body](Operands &o, long count) {
    const SparseRows<I> a = sparse_matrix<I>(p.pattern, o.n, p.stored);
    for (; count > 0; --count) body(a, static_cast<I>(o.n), o);
  };
}

template <class I> Call kernel_product(const Problem &p, CsrMv<I> *routine) {
  if (!routine) return {};
  return on_matrix<I>(p, [routine, base = p.base](const SparseRows<I> &a, I n, Operands &o) {
    const I one = 1;
    routine(&one, &n, &n, &alpha, a.values, a.columns[base], a.row_start[base], a.row_start[base] + 1,
            o.x<double>(), o.y<double>());
  });
}

template <class I> Call eigen_product(const Problem &p) {
  RowsTimesVector<I> *const routine = eigen_rows_times_vector<I>();
  if (!routine) return {};
  return on_matrix<I>(p, [routine, p](const SparseRows<I> &a, I n, Operands &o) {
    routine(n, static_cast<I>(p.columns(o.n)), alpha, a.values, a.columns[0], a.row_start[0], o.x<double>(),
            o.y<double>());
  });
}

// A refusal reaches the error handler, which makes it an error of the row.
Call public_product(const Problem &p) {
  return [p](Operands &o, long count) {
    const SparseRows<tnk_int> a = sparse_matrix<tnk_int>(p.pattern, o.n, p.stored);
    const tnk_int *const start = a.row_start[p.base];
    tnk_sparse_matrix matrix = {};
    matrix.storage = p.triples ? TNK_SPARSE_COO : TNK_SPARSE_CSR;
    matrix.m = o.n, matrix.n = p.columns(o.n), matrix.nnz = start[o.n] - start[0];
    matrix.values = a.values, matrix.col_index = a.columns[p.base];
    matrix.row_index = a.rows, matrix.row_start = start, matrix.row_end = start + 1;
    tnk_sparse_descriptor descriptor = {};
    descriptor.base = p.base;
    if (p.stored != Stored::all) descriptor.kind = TNK_SPARSE_SYMMETRIC;
    if (p.stored == Stored::upper) descriptor.triangle = TNK_SPARSE_UPPER;
    const double beta = 1, *const x = o.x<double>();
    double *const y = o.y<double>();
    const tnk_int ld = p.base ? o.n : p.vectors;
    for (; count > 0; --count) {
      if (p.vectors == 1)
        tnk_sparse_dmv(p.op, &alpha, &matrix, &descriptor, x, &beta, y);
      else
        tnk_sparse_dmm(p.op, &alpha, &matrix, &descriptor, p.vectors, x, ld, &beta, y, ld);
    }
  };
}

// As many products with one vector.
Call one_by_one(const Problem &p) {
  Problem single = p;
  single.vectors = 1;
  const Call product = public_product(single);
  return [=](Operands &o, long count) {
    Operands side = o;
    for (; count > 0; --count)
      for (tnk_int k = 0; k < p.vectors; ++k) {
        side.x_data = o.x<double>() + k * o.n, side.y_data = o.y<double>() + k * o.n;
        product(side, 1);
      }
  };
}

// The order at which a matrix has 6 million entries, more than any cache holds.
tnk_int large_order(const Pattern &pattern) {
  return 2 * 6000000 / (pattern.min + pattern.max);
}

constexpr Pattern of_length(tnk_int entries) {
  return {entries, entries, 0, false};
}
std::string length_name(const Pattern &pattern) {
  return "_" + std::to_string(pattern.min) +
         (pattern.max == pattern.min ? "" : "to" + std::to_string(pattern.max));
}

Row row(const std::string &group, const std::string &name, const std::string &picture,
        const std::string &peer, const Problem &p, std::size_t index_bytes, const Call &ours,
        const Call &other) {
  Row made;
  made.group = "sparse/" + group;
  made.name = name;
  made.sizes = {200, large_order(p.pattern)}; // one fits a cache, the other does not
  made.quick = 256;
  made.unit = "B";
  made.picture = picture;
  made.peer = peer;
  made.prepare = [=](tnk_int n) {
    Contest contest;
    contest.bytes = p.bytes(n, index_bytes);
    // The vectors hold more than they need to: the probe walks through as much as the matrix has.
    contest.elements = std::max(static_cast<std::size_t>(contest.bytes / sizeof(double)),
                                static_cast<std::size_t>(p.vectors * std::max(n, p.columns(n))));
    contest.mix = Mix::read_ahead;
    return on_operands(contest, "B", n, ours, other);
  };
  return made;
}

constexpr Pattern lengths[] = {of_length(5),  {5, 15, 0, false}, of_length(12),
                               of_length(30), of_length(60),     {5, 60, 0, false}};

void add_public(std::vector<Row> &rows) {
  const auto add = [&](const std::string &group, const std::string &name, const std::string &peer,
                       const Problem &p, const Call &other) -> Row & {
    rows.push_back(row(group, name, "sparse", peer, p, sizeof(tnk_int), public_product(p), other));
    return rows.back();
  };
  for (const int base : {1, 0})
    for (const Pattern &pattern : lengths) {
      const Problem p = {pattern, Stored::all, 1, base};
      add("mv", (base ? "dmv" : "dmv_base0") + length_name(pattern), "Eigen", p, eigen_product<tnk_int>(p));
    }
  Problem scattered = {{12, 12, 0, false, true}};
  add("scattered", "dmv_12", "Eigen", scattered, eigen_product<tnk_int>(scattered)).sizes = {200000, 500000};
  const auto plain_rows = [](const SparseRows<tnk_int> &a, tnk_int n, Operands &o) {
    plain::csr_mv(n, alpha, a.values, a.columns[1], a.row_start[1], o.x<double>(), o.y<double>());
  };
  const Problem wide = {{1000, 1000, 4000, false}};
  add("mv", "dmv_1000", "plain loop", wide, on_matrix<tnk_int>(wide, plain_rows)).sizes = {20};

  for (const Stored stored : {Stored::lower, Stored::upper})
    for (const tnk_int entries : {12, 30, 60}) {
      const Problem p = {{entries, entries, 0, true}, stored};
      const std::string name = (stored == Stored::lower ? "dmv_lower" : "dmv_upper") + length_name(p.pattern);
      add("symmetric", name, "all entries stored", p, public_product({p.pattern}));
    }

  const Problem several = {of_length(12), Stored::all, right_sides};
  add("mm", "dmm8_12", "8 products with 1 vector", several, one_by_one(several));

  Problem triples = {of_length(12)};
  triples.triples = true;
  const auto plain_triples = [](const SparseRows<tnk_int> &a, tnk_int n, Operands &o) {
    plain::coo_mv(a.row_start[0][n], alpha, a.values, a.rows, a.columns[1], o.x<double>(), o.y<double>());
  };
  add("coordinates", "dmv_coo_12", "plain loop", triples, on_matrix<tnk_int>(triples, plain_triples));
  scattered.triples = true;
  add("scattered", "dmv_coo_12", "plain loop", scattered, on_matrix<tnk_int>(scattered, plain_triples))
      .sizes = {200000, 500000};
}

void add_kernels(std::vector<Row> &rows, CsrMv<tnk_int> *base1, CsrMv<std::int32_t> *lp64_base1,
                 CsrMv<std::int32_t> *lp64_base0) {
  // What the checks and the choice of a kernel cost, which shows in small matrices only.
  for (const tnk_int entries : {5, 12}) {
    const Problem p = {of_length(entries)};
    rows.push_back(row("kernels", "dcsr1ng" + length_name(p.pattern), "kernels", "public routine", p,
                       sizeof(tnk_int), kernel_product(p, base1), public_product(p)));
    rows.back().sizes = {20, 200};
  }
  for (const int base : {1, 0})
    for (const Pattern &pattern : lengths) {
      const Problem p = {pattern, Stored::all, 1, base};
      rows.push_back(row("lp64", (base ? "lp64_dcsr1ng" : "lp64_dcsr0ng") + length_name(pattern), "sparse",
                         "Eigen", p, sizeof(std::int32_t), kernel_product(p, base ? lp64_base1 : lp64_base0),
                         eigen_product<std::int32_t>(p)));
    }
}

// 12 entries a row: the ratio is what the second thread brings. The limit is that of one.
void add_threaded(std::vector<Row> &rows) {
  const struct {
    const char *name;
    Stored stored;
    char op;
    tnk_int vectors;
    int base = 1; // 0: vectors by rows
  } products[] = {{"dmv", Stored::all, 'N', 1},
                  {"dmv_lower", Stored::lower, 'N', 1},
                  {"dmv_upper", Stored::upper, 'N', 1},
                  {"dmv_trans", Stored::all, 'T', 1},
                  {"dmm8", Stored::all, 'N', right_sides},
                  {"dmm8_rows", Stored::all, 'N', right_sides, 0},
                  {"dmm32_rows", Stored::all, 'N', 32, 0}};
  for (const auto &product : products) {
    const Problem p = {{12, 12, 0, product.stored != Stored::all},
                       product.stored,
                       product.vectors,
                       product.base,
                       product.op};
    const Call call = public_product(p);
    rows.push_back(row("threads", std::string(product.name) + "_2t", "threads", "1 thread", p,
                       sizeof(tnk_int), call, call));
    rows.back().sizes = {large_order(p.pattern)};
    rows.back().threads = 2;
  }
}

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_spblas_##name)

void add_sparse_matrices(std::vector<Row> &rows) {
  add_public(rows);
  add_kernels(rows, ENTRY(dcsr1ng__f__mvout_par), ENTRY(lp64_dcsr1ng__f__mvout_par),
              ENTRY(lp64_dcsr0ng__c__mvout_par));
  add_threaded(rows);
}

} // namespace tnk::bench
