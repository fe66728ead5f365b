// The finish of the triangular solve: a block on the diagonal. In double precision whole groups of 4 rows of the
// triangle and of right-hand sides are solved in the level's buffers, what is left over on the stack; the other types are
// solved by one of a family of solvers, which all are one template.
#include "kernel/blas/level3/trsm.h"
#include <algorithm>

namespace tnk::level3 {

namespace {

// The part of B that belongs to rows of M from i on.
template <class T> inline T *part_of(bool left, T *b, tnk_int ldb, tnk_int i) {
  return left ? b + i : b + i * ldb;
}

// At most finished_order.
template <class T>
void solve_on_stack(bool left, const Triangle<T> &t, tnk_int order, tnk_int count, T *b, tnk_int ldb) {
  alignas(64) T triangle[packed_triangle_size(finished_order)];
  alignas(64) T panel[panel_size<T>(finished_order)];
  pack_triangle(left, t, order, triangle);
  solve_packed(left, from_the_end(left, t), order, count, triangle, panel, b, ldb);
}

// Takes the contribution of rows `solved` ... solved+steps of M away from rows i ... i+rows.
template <class T>
void take_away(bool left, const Triangle<T> &t, tnk_int i, tnk_int rows, tnk_int solved, tnk_int steps,
               tnk_int count, T *b, tnk_int ldb) {
  T minus_one{};
  reinterpret_cast<real_of<T> &>(minus_one) = -1;
  const tnk_int kb = block_along_k(steps, kr);
  if (left)
    plain_product<T>({t.op, as_it_is, rows, count, steps, minus_one, t.block(i, solved), t.lda, b + solved,
                      ldb, one<T>, b + i, ldb},
                     kb);
  else
    plain_product<T>({as_it_is, t.op, count, rows, steps, minus_one, b + solved * ldb, ldb,
                      t.block(solved, i), t.lda, one<T>, b + i * ldb, ldb},
                     kb);
}

// Whole groups of M come before the rows left over where it is solved from its first row on, and after them otherwise.
// groups(whole): how the former are solved.
template <class T, class Groups>
void by_groups(bool left, const Triangle<T> &t, tnk_int order, tnk_int count, T *b, tnk_int ldb,
               Groups groups) {
  const tnk_int whole = rounded_down(order, rows_of_group), rest = order - whole;
  const auto solve_rest = [&] {
    solve_on_stack(left, t.from(whole), rest, count, part_of(left, b, ldb, whole), ldb);
  };
  if (rest == 0) return groups(whole);
  if (whole == 0) return solve_rest();
  if (from_the_end(left, t)) {
    solve_rest();
    take_away(left, t, tnk_int{0}, whole, whole, rest, count, b, ldb);
    groups(whole);
  } else {
    groups(whole);
    take_away(left, t, whole, rest, tnk_int{0}, whole, count, b, ldb);
    solve_rest();
  }
}

} // namespace

template <class T>
void finish_plainly(bool left, const Triangle<T> &t, tnk_int order, tnk_int count, T *b, tnk_int ldb) {
  if constexpr (std::is_same_v<T, double>)
    by_groups(left, t, order, count, b, ldb,
              [&](tnk_int whole) { solve_on_stack(left, t, whole, count, b, ldb); });
  else
    solve_on_stack(left, t, order, count, b, ldb);
}

namespace {

// ---- Double precision -----------------------------------------------------------------------------------------------

// Whether a packed triangle of that order, and the solved part of a panel, have room.
bool have_room(const tnk_triangular_level &level, const tnk_gemm_descriptor *d, tnk_int order) {
  constexpr tnk_int element = sizeof(double);
  return d && level.a_buffer && level.b_buffer && packed_triangle_size(order) * element <= d->a.size &&
         panel_size<double>(order) * element <= d->b.size;
}

using PackedKernel = decltype(tnk_blas_dtrsm_ll);
constexpr PackedKernel *packed_kernel(bool left, bool upper) {
  if (left) return upper ? tnk_blas_dtrsm_lu : tnk_blas_dtrsm_ll;
  return upper ? tnk_blas_dtrsm_ru : tnk_blas_dtrsm_rl;
}

void finish_in_buffers(bool left, const Triangle<double> &t, const char *diag, tnk_int order, tnk_int count,
                       double *b, tnk_int ldb, const tnk_triangular_level &level,
                       const tnk_gemm_descriptor *d) {
  const tnk_int grouped = rounded_down(count, rows_of_group), whole = rounded_down(order, rows_of_group);
  auto *const packed = static_cast<double *>(level.a_buffer);
  auto *const panel = static_cast<double *>(level.b_buffer);
  if (whole == 0 || grouped == 0 || !have_room(level, d, whole))
    return solve_plainly(left, t, left ? order : count, left ? count : order, b, ldb);
  by_groups(left, t, order, grouped, b, ldb, [&](tnk_int) {
    // The transpose of a real triangle is what the right sees.
    const uint8_t upper = t.stored_upper, none = (t.op == as_it_is) == left, transpose = !none;
    const tnk_int offset = 0, non_unit = !t.unit;
    tnk_blas_dtrsm_copya(&upper, &none, &transpose, diag, &whole, t.a, &t.lda, packed);
    packed_kernel(left, t.upper())(&whole, &grouped, packed, panel, &offset, b, &ldb, &non_unit);
  });
  double *const others = left ? b + grouped * ldb : b + grouped;
  const tnk_int rest = count - grouped;
  if (rest > 0) solve_plainly(left, t, left ? order : rest, left ? rest : order, others, ldb);
}

// ---- The others -----------------------------------------------------------------------------------------------------

template <class T>
using Solver = void(const char *diag, const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda,
                    T *b, const tnk_int *ldb);
// By side, stored triangle and operation.
template <class T> struct Solvers { Solver<T> *of[2][2][3]; };
#define SOLVERS(t, third)                                                                                    \
  {                                                                                                          \
    {                                                                                                        \
      {{tnk_blas_##t##trsm_rln, tnk_blas_##t##trsm_rlt, tnk_blas_##t##trsm_rl##third},                       \
       {tnk_blas_##t##trsm_run, tnk_blas_##t##trsm_rut, tnk_blas_##t##trsm_ru##third}},                      \
      {                                                                                                      \
        {tnk_blas_##t##trsm_lln, tnk_blas_##t##trsm_llt, tnk_blas_##t##trsm_ll##third}, {                    \
          tnk_blas_##t##trsm_lun, tnk_blas_##t##trsm_lut, tnk_blas_##t##trsm_lu##third                       \
        }                                                                                                    \
      }                                                                                                      \
    }                                                                                                        \
  }
template <class T> constexpr Solvers<T> solvers = {};
template <> constexpr Solvers<float> solvers<float> = SOLVERS(s, t);
template <> constexpr Solvers<tnk_complex8> solvers<tnk_complex8> = SOLVERS(c, c);
template <> constexpr Solvers<tnk_complex16> solvers<tnk_complex16> = SOLVERS(z, c);

template <class T>
void finish(bool left, const Triangle<T> &t, const char *diag, tnk_int m, tnk_int n, T *b, tnk_int ldb,
            const tnk_triangular_level &level, const tnk_gemm_descriptor *d) {
  if constexpr (!std::is_same_v<T, double>)
    solvers<T>.of[left][t.stored_upper][t.op](diag, &m, &n, t.a, &t.lda, b, &ldb);
  else
    finish_in_buffers(left, t, diag, left ? m : n, left ? n : m, b, ldb, level, d);
}

} // namespace
} // namespace tnk::level3

using namespace tnk::level3;

#define STAGE(t, T, side, left)                                                                              \
  void tnk_blas_##t##trsm_##side##_ker(TNK_TRIANGULAR_STAGE(T)) {                                            \
    finish(left, triangle<T>(*upper, *no_transpose, *transpose, diag, a, *lda), diag, *m, *n, b, *ldb,       \
           levels[level], d);                                                                                \
  }
#define STAGES(t, T)                                                                                         \
  template void tnk::level3::finish_plainly(bool, const Triangle<T> &, tnk_int, tnk_int, T *, tnk_int);      \
  STAGE(t, T, left, true) STAGE(t, T, right, false)
STAGES(s, float)
STAGES(d, double)
STAGES(c, tnk_complex8)
STAGES(z, tnk_complex16)

#define SOLVER(t, T, name, left, upper, op)                                                                  \
  void tnk_blas_##t##trsm_##name(const char *diag, const tnk_int *m, const tnk_int *n, const T *a,           \
                                 const tnk_int *lda, T *b, const tnk_int *ldb) {                             \
    if (*m < 1 || *n < 1) return;                                                                            \
    solve_plainly<T>(left, {op, upper, is_letter(diag, 'U'), a, *lda}, *m, *n, b, *ldb);                     \
  }
#define SOLVERS_OF(t, T, o, op)                                                                              \
  SOLVER(t, T, ll##o, true, false, op)                                                                       \
  SOLVER(t, T, lu##o, true, true, op)                                                                        \
  SOLVER(t, T, rl##o, false, false, op)                                                                      \
  SOLVER(t, T, ru##o, false, true, op)
#define FAMILY(type, T) SOLVERS_OF(type, T, n, as_it_is) SOLVERS_OF(type, T, t, transposed)
FAMILY(s, float)
FAMILY(c, tnk_complex8)
FAMILY(z, tnk_complex16)
SOLVERS_OF(c, tnk_complex8, c, conjugate_transposed)
SOLVERS_OF(z, tnk_complex16, c, conjugate_transposed)

void tnk_blas_dtrsm_copya(const uint8_t *upper, const uint8_t *no_transpose, const uint8_t *transpose,
                          const char *diag, const tnk_int *m, const double *a, const tnk_int *lda,
                          double *packed) {
  pack_triangle(true, triangle(*upper, *no_transpose, *transpose, diag, a, *lda), *m, packed);
}

#define KERNEL(name, left, from_end)                                                                         \
  void tnk_blas_dtrsm_##name(const tnk_int *m, const tnk_int *n, const double *packed, double *buffer,       \
                             const tnk_int *offset, double *b, const tnk_int *ldb, const tnk_int *) {        \
    solve_packed(left, from_end, *m, *n, packed, buffer, part_of(left, b, *ldb, *offset), *ldb);             \
  }
KERNEL(ll, true, false)
KERNEL(lu, true, true)
KERNEL(rl, false, true)
KERNEL(ru, false, false)

void tnk_blas_dtrsm_pst(const char *side, const char *uplo, const char *transa, const char *diag,
                        const tnk_int *m, const tnk_int *n, const double *alpha, const double *a,
                        const tnk_int *lda, double *b, const tnk_int *ldb) {
  if (*m < 1 || *n < 1) return;
  if (const double by = tnk::get(alpha); by != 1) tnk_blas_dgemm_mscale(m, n, alpha, b, ldb);
  if (tnk::get(alpha) != 0)
    solve_plainly(is_letter(side, 'L'), triangle(uplo, transa, diag, a, *lda), *m, *n, b, *ldb);
}
