#include "bench/sparse/eigen_sparse.h"

#include <cstdint>
#include <vector>

#if __has_include(<Eigen/SparseCore>)
#include <Eigen/SparseCore>

namespace tnk::bench {
namespace {

template <class I>
void multiply(I rows, I columns, double alpha, const double *values, const I *col_index, const I *row_start,
              const double *x, double *y) {
  using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor, I>;
  const Eigen::Map<const Matrix> a(rows, columns, row_start[rows], row_start, col_index, values);
  Eigen::Map<Eigen::VectorXd>(y, rows).noalias() +=
      alpha * (a * Eigen::Map<const Eigen::VectorXd>(x, columns));
}

using Rows = Eigen::SparseMatrix<double, Eigen::RowMajor, std::int64_t>;
using Columns = Eigen::SparseMatrix<double, Eigen::ColMajor, std::int64_t>;

Eigen::Map<const Rows> view(const EigenRows &a) {
  return {a.n, a.n, a.starts[a.n], a.starts, a.numbers, a.values};
}

void solve(const EigenRows &t, bool lower, bool transposed, std::int64_t sides, double alpha, const double *b,
           double *x) {
  const Eigen::Map<const Rows> a = view(t);
  const Eigen::Map<const Eigen::MatrixXd> right(b, t.n, sides);
  Eigen::Map<Eigen::MatrixXd> all(x, t.n, sides);
  Eigen::Map<Eigen::VectorXd> one(x, t.n);
  const auto run = [&](auto &left) {
    if (transposed && lower)
      a.transpose().triangularView<Eigen::Upper>().solveInPlace(left);
    else if (transposed)
      a.transpose().triangularView<Eigen::Lower>().solveInPlace(left);
    else if (lower)
      a.triangularView<Eigen::Lower>().solveInPlace(left);
    else
      a.triangularView<Eigen::Upper>().solveInPlace(left);
  };
  all = alpha * right;
  if (sides == 1)
    run(one);
  else
    run(all);
}

std::int64_t from_triples(const EigenRows &a, const std::int64_t *rows, const std::int64_t *columns) {
  using Triplet = Eigen::Triplet<double, std::int64_t>;
  static std::vector<Triplet> list; // as a caller would have it
  static const double *listed = nullptr;
  const std::int64_t count = a.starts[a.n];
  if (listed != a.values || static_cast<std::int64_t>(list.size()) != count) {
    list.clear(), listed = a.values;
    for (std::int64_t k = 0; k < count; ++k) list.emplace_back(rows[k] - 1, columns[k] - 1, a.values[k]);
  }
  Rows made(a.n, a.n);
  made.setFromTriplets(list.begin(), list.end());
  return made.nonZeros();
}

std::int64_t to_columns(const EigenRows &a) {
  const Columns made(view(a));
  return made.nonZeros();
}

std::int64_t add(const EigenRows &a, double beta, const EigenRows &b) {
  const Rows made = view(a) + beta * view(b);
  return made.nonZeros();
}

constexpr EigenSparse all = {solve, from_triples, to_columns, add};

} // namespace

template <class I> RowsTimesVector<I> *eigen_rows_times_vector() {
  return multiply<I>;
}
const EigenSparse *eigen_sparse() {
  return &all;
}
#else
namespace tnk::bench {

template <class I> RowsTimesVector<I> *eigen_rows_times_vector() {
  return nullptr;
}
const EigenSparse *eigen_sparse() {
  return nullptr;
}
#endif

template RowsTimesVector<std::int32_t> *eigen_rows_times_vector<std::int32_t>();
template RowsTimesVector<std::int64_t> *eigen_rows_times_vector<std::int64_t>();

} // namespace tnk::bench
