#include "bench/sparse/eigen_sparse.h"

#include <cstdint>

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

} // namespace

template <class I> RowsTimesVector<I> *eigen_rows_times_vector() {
  return multiply<I>;
}
#else
namespace tnk::bench {

template <class I> RowsTimesVector<I> *eigen_rows_times_vector() {
  return nullptr;
}
#endif

template RowsTimesVector<std::int32_t> *eigen_rows_times_vector<std::int32_t>();
template RowsTimesVector<std::int64_t> *eigen_rows_times_vector<std::int64_t>();

} // namespace tnk::bench
