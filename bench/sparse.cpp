// Sparse matrices: the compressed-row and coordinate kernels beside Eigen, a plain loop, or another kernel of the grid,
// and the public products on two threads beside one.

#include "bench/eigen_sparse.h"
#include "bench/plain_sparse_matrix.h"
#include "bench/row.h"
#include "bench/sparse_matrix.h"

#include <tnk/host.h>
#include <tnk/sparse.h>
#include <tnk/spblas_grid.h>

#include <algorithm>
#include <stdexcept>

namespace tnk::bench {
namespace {

template <class I>
using CsrMv = void(const I *first, const I *last, const I *m, const double *alpha, const double *values,
                   const I *col_index, const I *row_start, const I *row_end, const double *x, double *y);

constexpr double alpha = 0.5;
constexpr tnk_int right_sides = 8;

// Calls that all run on the matrix of one pattern.
template <class I> struct Calls {
  Pattern pattern;
  Stored stored = Stored::all;

  // body(matrix, rows, operands) makes one call.
  template <class Body> Call repeated_on(Body body) const {
    return [*this, body](Operands &o, long count) {
      const SparseRows<I> a = sparse_matrix<I>(pattern, o.n, stored);
      for (; count > 0; --count) body(a, static_cast<I>(o.n), o);
    };
  }

  Call kernel(CsrMv<I> *routine, int base, tnk_int vectors = 1) const {
    if (!routine) return {};
    return repeated_on([=, columns = pattern](const SparseRows<I> &a, I n, Operands &o) {
      const I one = 1;
      for (tnk_int k = 0; k < vectors; ++k)
        routine(&one, &n, &n, &alpha, a.values, a.columns[base], a.row_start[base], a.row_start[base] + 1,
                o.x<double>() + k * columns.columns_for(n), o.y<double>() + k * n);
    });
  }

  Call eigen() const {
    RowsTimesVector<I> *const routine = eigen_rows_times_vector<I>();
    if (!routine) return {};
    return repeated_on([=, columns = pattern](const SparseRows<I> &a, I n, Operands &o) {
      routine(n, static_cast<I>(columns.columns_for(n)), alpha, a.values, a.columns[0], a.row_start[0],
              o.x<double>(), o.y<double>());
    });
  }
};

// What a pattern costs. An entry is a value and its numbers; a row is its pointer, an element of x and one of y, which
// is read and written.
template <class I> class Costs {
public:
  Costs(const Pattern &of, Stored which = Stored::all, tnk_int of_vectors = 1, int of_numbers = 1)
      : pattern(of), stored(which), vectors(of_vectors), numbers(of_numbers) {}

  double bytes(tnk_int n) const {
    const double v = static_cast<double>(vectors);
    const double pointers = numbers == 1 ? static_cast<double>(n) * sizeof(I) : 0;
    return sparse_entries(pattern, n, stored) * static_cast<double>(sizeof(double) + sizeof(I) * numbers) +
           pointers + v * static_cast<double>(pattern.columns_for(n) + 2 * n) * sizeof(double);
  }

  // The unit is a byte. The vectors hold more than they need to: the probe walks through as much as the matrix has.
  Cost cost() const { return {1, 0, Mix::read_ahead, Law::exact, 32}; }
  Matrices matrices(std::vector<tnk_int> orders) const {
    const auto stored_elements = [*this](tnk_int n) {
      return static_cast<std::size_t>(std::max(
          bytes(n) / sizeof(double), static_cast<double>(vectors * std::max(n, pattern.columns_for(n)))));
    };
    return {std::move(orders), stored_elements, [*this](tnk_int n) { return bytes(n); }};
  }

private:
  Pattern pattern;
  Stored stored;
  tnk_int vectors;
  int numbers;
};

// The order at which a matrix has 6 million entries, more than any cache holds.
tnk_int large_order(const Pattern &pattern) {
  return 2 * 6000000 / (pattern.min + pattern.max);
}

// One order fits a cache, the other does not.
std::vector<tnk_int> orders(const Pattern &pattern) {
  return {200, large_order(pattern)};
}

constexpr Pattern of_length(tnk_int entries) {
  return {entries, entries, 0, false};
}
std::string length_name(const Pattern &pattern) {
  return "_" + std::to_string(pattern.min) +
         (pattern.max == pattern.min ? "" : "to" + std::to_string(pattern.max));
}

template <class I>
void add_general(std::vector<Row> &rows, const std::string &name, int base, CsrMv<I> *kernel) {
  for (const Pattern &pattern : {of_length(5), Pattern{5, 15, 0, false}, of_length(12), of_length(30),
                                 of_length(60), Pattern{5, 60, 0, false}}) {
    const Calls<I> calls{pattern};
    const Costs<I> costs(pattern);
    rows.push_back({name + length_name(pattern),
                    "csr",
                    'd',
                    costs.cost(),
                    calls.kernel(kernel, base),
                    calls.eigen(),
                    {},
                    costs.matrices(orders(pattern)),
                    "Eigen"});
  }
}

void add_long_rows(std::vector<Row> &rows, CsrMv<tnk_int> *kernel) {
  const Pattern pattern = {1000, 1000, 4000, false};
  const Calls<tnk_int> calls{pattern};
  const Costs<tnk_int> costs(pattern);
  rows.push_back({"dcsr1ng_1000",
                  "csr_long",
                  'd',
                  costs.cost(),
                  calls.kernel(kernel, 1),
                  calls.repeated_on([](const SparseRows<tnk_int> &a, tnk_int n, Operands &o) {
                    plain::csr_mv(n, alpha, a.values, a.columns[1], a.row_start[1], o.x<double>(),
                                  o.y<double>());
                  }),
                  {},
                  costs.matrices({20}),
                  "plain loop"});
}

// A triangle beside the general kernel on the whole matrix.
void add_symmetric(std::vector<Row> &rows, const std::string &name, Stored stored, CsrMv<tnk_int> *kernel,
                   CsrMv<tnk_int> *general) {
  for (const tnk_int entries : {12, 30, 60}) {
    const Pattern pattern = {entries, entries, 0, true};
    const Costs<tnk_int> costs(pattern, stored);
    rows.push_back({name + length_name(pattern),
                    "csr_symmetric",
                    'd',
                    costs.cost(),
                    Calls<tnk_int>{pattern, stored}.kernel(kernel, 1),
                    Calls<tnk_int>{pattern}.kernel(general, 1),
                    {},
                    costs.matrices(orders(pattern)),
                    "dcsr1ng, all entries"});
  }
}

// Several right-hand sides beside as many products with one.
void add_several(std::vector<Row> &rows, decltype(tnk_spblas_dcsr1ng__f__mmout_par) *kernel,
                 CsrMv<tnk_int> *single) {
  const Pattern pattern = of_length(12);
  const Calls<tnk_int> calls{pattern};
  const Costs<tnk_int> costs(pattern, Stored::all, right_sides);
  Call ours;
  if (kernel) {
    ours = calls.repeated_on([kernel](const SparseRows<tnk_int> &a, tnk_int n, Operands &o) {
      const tnk_int one = 1;
      kernel(&one, &right_sides, &n, &right_sides, &alpha, a.values, a.columns[1], a.row_start[1],
             a.row_start[1] + 1, o.x<double>(), &n, o.y<double>(), &n);
    });
  }
  rows.push_back({"dcsr1ng_mm8" + length_name(pattern),
                  "csr_mm",
                  'd',
                  costs.cost(),
                  ours,
                  calls.kernel(single, 1, right_sides),
                  {},
                  costs.matrices(orders(pattern)),
                  "8 products with 1 vector"});
}

void add_coordinates(std::vector<Row> &rows, decltype(tnk_spblas_dcoo1ng__f__mvout_par) *kernel) {
  const Pattern pattern = of_length(12);
  const Calls<tnk_int> calls{pattern};
  const Costs<tnk_int> costs(pattern, Stored::all, 1, 2);
  const auto entries = [](const SparseRows<tnk_int> &a, tnk_int n) { return a.row_start[0][n]; };
  Call ours;
  if (kernel) {
    ours = calls.repeated_on([=](const SparseRows<tnk_int> &a, tnk_int n, Operands &o) {
      const tnk_int one = 1, count = entries(a, n);
      kernel(&one, &count, &n, &n, &alpha, a.values, a.rows, a.columns[1], &count, o.x<double>(),
             o.y<double>());
    });
  }
  rows.push_back({"dcoo1ng" + length_name(pattern),
                  "coo",
                  'd',
                  costs.cost(),
                  ours,
                  calls.repeated_on([=](const SparseRows<tnk_int> &a, tnk_int n, Operands &o) {
                    plain::coo_mv(entries(a, n), alpha, a.values, a.rows, a.columns[1], o.x<double>(),
                                  o.y<double>());
                  }),
                  {},
                  costs.matrices(orders(pattern)),
                  "plain loop"});
}

// A public product on so many threads. Numbers count from 1, so several right-hand sides lie by columns.
Call public_product(const Pattern &pattern, Stored stored, char op, tnk_int vectors, int threads) {
  return [=](Operands &o, long count) {
    const SparseRows<tnk_int> a = sparse_matrix<tnk_int>(pattern, o.n, stored);
    const tnk_int *const start = a.row_start[1];
    const tnk_sparse_matrix matrix = {
        TNK_SPARSE_CSR, o.n, o.n, start[o.n] - start[0], a.values, a.columns[1], nullptr, start, start + 1};
    tnk_sparse_descriptor descriptor = {};
    descriptor.base = 1;
    if (pattern.symmetric) descriptor.kind = TNK_SPARSE_SYMMETRIC;
    if (stored == Stored::upper) descriptor.triangle = TNK_SPARSE_UPPER;
    const double beta = 1;
    const double *const x = o.x<double>();
    double *const y = o.y<double>();
    tnk_set_num_threads(threads);
    for (; count > 0; --count) {
      const tnk_sparse_status status =
          vectors == 1 ? tnk_sparse_dmv(op, &alpha, &matrix, &descriptor, x, &beta, y)
                       : tnk_sparse_dmm(op, &alpha, &matrix, &descriptor, vectors, x, o.n, &beta, y, o.n);
      // Two calls that are both refused would agree.
      if (status != TNK_SPARSE_OK) throw std::runtime_error("a sparse product was refused");
    }
    tnk_set_num_threads(0);
  };
}

// Two threads beside one, 12 entries a row: the ratio is what the second one brings. The limit is that of one.
void add_threaded(std::vector<Row> &rows) {
  const struct {
    const char *name;
    Stored stored;
    bool symmetric;
    char op;
    tnk_int vectors;
  } products[] = {{"dmv", Stored::all, false, 'N', 1},
                  {"dmv_lower", Stored::lower, true, 'N', 1},
                  {"dmv_upper", Stored::upper, true, 'N', 1},
                  {"dmv_trans", Stored::all, false, 'T', 1},
                  {"dmm8", Stored::all, false, 'N', right_sides}};
  for (const auto &p : products) {
    const Pattern pattern = {12, 12, 0, p.symmetric};
    const Costs<tnk_int> costs(pattern, p.stored, p.vectors);
    rows.push_back({std::string("sparse_") + p.name + "_2t",
                    "sparse_threads",
                    'd',
                    costs.cost(),
                    public_product(pattern, p.stored, p.op, p.vectors, 2),
                    public_product(pattern, p.stored, p.op, p.vectors, 1),
                    {},
                    costs.matrices({large_order(pattern)}),
                    "1 thread"});
  }
}

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_spblas_##name)

void add_sparse_matrices(std::vector<Row> &rows) {
  CsrMv<tnk_int> *const general = ENTRY(dcsr1ng__f__mvout_par);
  add_general<tnk_int>(rows, "dcsr1ng", 1, general);
  add_general<tnk_int>(rows, "dcsr0ng", 0, ENTRY(dcsr0ng__c__mvout_par));
  add_general<std::int32_t>(rows, "lp64_dcsr1ng", 1, ENTRY(lp64_dcsr1ng__f__mvout_par));
  add_general<std::int32_t>(rows, "lp64_dcsr0ng", 0, ENTRY(lp64_dcsr0ng__c__mvout_par));
  add_long_rows(rows, general);
  add_symmetric(rows, "dcsr1nsln", Stored::lower, ENTRY(dcsr1nslnf__mvout_par), general);
  add_symmetric(rows, "dcsr1nsun", Stored::upper, ENTRY(dcsr1nsunf__mvout_par), general);
  add_several(rows, ENTRY(dcsr1ng__f__mmout_par), general);
  add_coordinates(rows, ENTRY(dcoo1ng__f__mvout_par));
  add_threaded(rows);
}

} // namespace tnk::bench
