// Products with stored diagonals, skylines and blocks: by the kernels that there are, and otherwise as compressed rows that
// are made for the length of the call.
#pragma once

#include <tnk/spblas_aux.h>

#include "host/dispatch/check.h"
#include "host/routines/sparse/made.h"

namespace tnk::host::sparse {

template <class T> class StoredProduct {
public:
  // Arguments that are sound; op is N, T or C.
  StoredProduct(const char *routine, char op, const T &alpha, const tnk_sparse_matrix &a,
                const tnk_sparse_descriptor &d, bool several)
      : routine_(routine), op_(op), alpha_(alpha), a_(a), d_(d), several_(several) {}

  // Finds the kernel, or makes the rows to be multiplied instead.
  tnk_sparse_status prepare();
  const tnk_sparse_matrix *rows() const { return kernel_ ? nullptr : &made_.a; }

  // C += alpha op(A) B for the right-hand sides from begin up to end, of those that b and c begin with; by rows or by
  // columns as the descriptor's base says.
  void run(tnk_int begin, tnk_int end, const T *b, tnk_int ldb, T *c, tnk_int ldc) const;
  // y += alpha op(A) x, on several threads where block rows can be cut.
  void run(const T *x, T *y) const;
  double entries() const;

private:
  bool transposes() const { return op_ != 'N'; }
  bool has_kernel() const;
  void *find_kernel() const;
  void run_blocks(tnk_int first, tnk_int past, tnk_int nrhs, const T *b, tnk_int ldb, T *c,
                  tnk_int ldc) const;

  const char *routine_;
  char op_;
  T alpha_;
  const tnk_sparse_matrix &a_;
  const tnk_sparse_descriptor &d_;
  bool several_;
  void *kernel_ = nullptr;
  Made<T> made_;
};

// What such matrices do not allow although others do.
bool stored_product_is_sound(const Check &check, const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d,
                             bool several);

} // namespace tnk::host::sparse
