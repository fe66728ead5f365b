// Pivots of solves: that there is one where a kernel looks for it.
#pragma once

#include <tnk/sparse.h>

#include "host/dispatch/check.h"

namespace tnk::host::sparse {

inline bool refuse_row(const Check &check, const char *what, tnk_int i, const char *expected) {
  char found[96];
  TextWriter(found, sizeof found).add(what).add(i);
  return check.place(3, "matrix", false, found, expected);
}
inline bool refuse_pivot(const Check &check, tnk_int i) {
  return refuse_row(check, "without an entry on the diagonal in row ", i, "a diagonal, since it is not ones");
}
inline bool refuse_zero(const Check &check, tnk_int i) {
  return refuse_row(check, "zero on the diagonal in row ", i, "no zeros there");
}

// Compressed rows, diagonals or a skyline, with at least one row; with a descriptor's `check` each pivot itself and the
// order of rows too. Triples are looked at when their rows are listed.
template <class T>
bool pivots_are_there(const Check &check, const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d,
                      bool transposed);

} // namespace tnk::host::sparse
