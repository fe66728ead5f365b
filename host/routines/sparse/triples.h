// The triangle or diagonal of a matrix of triples as compressed rows, for a solve.
//
// Solves with triples list their rows in memory of their own, and what they do without is no solve, nor does it show. Here
// the same lists are made first, and the memory is asked for where its lack can be told; the rows that come out are
// solved as such.
#pragma once

#include <tnk/sparse.h>

#include "host/dispatch/check.h"

namespace tnk::host::sparse {

template <class T> struct RowsOfTriples {
  RowsOfTriples() = default;
  RowsOfTriples(const RowsOfTriples &) = delete;
  RowsOfTriples &operator=(const RowsOfTriples &) = delete;
  ~RowsOfTriples();

  // Of op(A); a diagonal matrix has its diagonal alone.
  tnk_sparse_status list(const Check &check, const char *routine, const tnk_sparse_matrix &a,
                         const tnk_sparse_descriptor &d, bool transposed);

  tnk_sparse_matrix rows{};

private:
  void *block_ = nullptr;
};

} // namespace tnk::host::sparse
