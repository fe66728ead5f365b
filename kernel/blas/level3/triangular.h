// What triangular solves and multiplies share: options, the levels of their loops, and the one block of memory from
// which both their products and their finishing stages live.
#pragma once

#include "kernel/blas/level3/gemm.h"
#include <tnk/services.h>

namespace tnk::level3 {

// ---- Options --------------------------------------------------------------------------------------------------------

inline bool is_letter(const char *letter, char capital) {
  return *letter == capital || *letter == capital + ('a' - 'A');
}

// From the flags that a driver has decoded once. Both 0: the conjugate transpose.
template <class T> inline Operation operation_of(bool no_transpose, bool transpose) {
  if (no_transpose) return as_it_is;
  return transpose || !is_complex<T> ? transposed : conjugate_transposed;
}

// A triangle as it is stored. The other triangle, and a unit diagonal, are not read.
template <class T> struct Triangle {
  Operation op;
  bool stored_upper, unit;
  const T *a;
  tnk_int lda;

  // op(A) as seen by what works with it.
  bool upper() const { return stored_upper == (op == as_it_is); }
  // What is left from row and column i on.
  Triangle from(tnk_int i) const { return {op, stored_upper, unit, a + i + i * lda, lda}; }
  // The block of op(A) at (row, column).
  const T *block(tnk_int row, tnk_int column) const { return block_of(a, lda, op, row, column); }
};

// By option letters, and by flags.
template <class T>
inline Triangle<T> triangle(const char *uplo, const char *trans, const char *diag, const T *a, tnk_int lda) {
  return {operation_of<T>(trans), is_letter(uplo, 'U'), is_letter(diag, 'U'), a, lda};
}
template <class T>
inline Triangle<T> triangle(bool upper, bool no_transpose, bool transpose, const char *diag, const T *a,
                            tnk_int lda) {
  return {operation_of<T>(no_transpose, transpose), upper, is_letter(diag, 'U'), a, lda};
}

// ---- Memory and products ----------------------------------------------------------------------------------------

// The descriptor of a whole call, with buffers for the blocks of any product in it: of fixed sizes, whatever the order,
// so that every call asks the system for the same.
template <class T> class HeldBuffers {
public:
  explicit HeldBuffers(const char *routine) {
    using stage = gemm_entries<T>;
    stage::zero_desc(&d);
    stage::get_optimal_kernel(&d);
    stage::set_blks_size(512, 1000, 256, &d);
    const tnk_int none = 0;
    d.get_bufs_size(both_packed, whole_sizes, &none, &none, &none, &d);
    d.get_bufs(both_packed, &raw, &d);
    refused = tnk_serv_check_ptr(raw, routine) != 0;
    d.kernel_version = stage::get_kernel_version();
  }
  HeldBuffers(const HeldBuffers &) = delete;
  HeldBuffers &operator=(const HeldBuffers &) = delete;
  ~HeldBuffers() {
    if (raw) gemm_entries<T>::free_bufs(raw);
  }

  bool refused;
  tnk_gemm_descriptor d;

private:
  void *raw;
};

// C := C + alpha op(A) op(B); beta is not read. In the buffers that the descriptor holds, where its blocks, chosen anew
// for the shape, have room there; otherwise in memory of its own. No descriptor: by x?gemm.
template <class T> void add_product(const Operands<T> &, tnk_gemm_descriptor *);

// ---- Levels -----------------------------------------------------------------------------------------------------

// A level whose blocks on the diagonal are of that order. On the right `block` and `chunk` have changed places. The
// direction is turned round between the sides, so that on both an upper triangle is taken from its end where the flag is
// 0, and a lower one where it is 1.
template <class T>
tnk_triangular_level level_of(bool left, tnk_int order, tnk_int mark, Operation op,
                              const tnk_gemm_descriptor &d) {
  constexpr tnk_int rows_at_once = 512, columns_at_once = 1000;
  tnk_triangular_level level = {};
  level.block = left ? order : rows_at_once;
  level.chunk = left ? columns_at_once : order;
  level.direction = left != (op == as_it_is);
  level.a_buffer = d.a.data, level.b_buffer = d.b.data;
  if (!left) level.right_limit = 1024;
  level.mark = mark;
  return level;
}

} // namespace tnk::level3

// The arguments of a stage. The alpha of a stage is not read: it is spent before.
#define TNK_TRIANGULAR_STAGE(T)                                                                              \
  const uint8_t *upper, const uint8_t *no_transpose, const uint8_t *transpose, const char *diag,             \
      const tnk_int *m, const tnk_int *n, const T *, const T *a, const tnk_int *lda, T *b,                   \
      const tnk_int *ldb, [[maybe_unused]] tnk_int level, [[maybe_unused]] const tnk_int *last,              \
      const tnk_triangular_level *levels, tnk_gemm_descriptor *d
