// The matrices that the sparse kernels are measured on.
#pragma once

#include "bench/frame/store.h"

#include <tnk/types.h>

#include <cstdint>

namespace tnk::bench {

enum class Stored { all, lower, upper };

// Each row has min ... max entries, at random columns of a band about the diagonal, or of all if it is scattered; a symmetric
// matrix as many on average.
struct Pattern {
  tnk_int min, max;
  tnk_int columns; // 0: as many as rows
  bool symmetric;
  bool scattered = false;

  tnk_int columns_for(tnk_int rows) const { return columns ? columns : rows; }
  bool operator==(const Pattern &o) const {
    return min == o.min && max == o.max && columns == o.columns && symmetric == o.symmetric &&
           scattered == o.scattered;
  }
};

// Compressed rows in both bases; entries of a row by ascending column. The values are eighths, so that products with
// the vectors of a measurement and their sums are exact in any order.
template <class I> struct SparseRows {
  const double *values = nullptr;
  const I *columns[2] = {}, *row_start[2] = {}; // by base
  const I *rows = nullptr;                      // of each entry, from 1; for coordinate kernels
};

// Kept until another one is asked for. A matrix that is not symmetric is stored whole.
template <class I> SparseRows<I> sparse_matrix(const Pattern &pattern, tnk_int rows, Stored stored);

// How many entries those have, where their lengths are random on average.
double sparse_entries(const Pattern &pattern, tnk_int rows, Stored stored);

} // namespace tnk::bench
