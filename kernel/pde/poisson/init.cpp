// The start of a problem: sides from letters, defaults.
#include "kernel/pde/poisson/problem.h"

namespace tnk::poisson {
namespace {

// 0 for D, 1 for N, -1 for neither.
tnk_int side_of(const char *text, tnk_int position) {
  const auto is = [&](const char *letter) { return tnk_pdepl_chr_cpm(text, letter, &position) != 0; };
  return is("D") || is("d") ? 0 : is("N") || is("n") ? 1 : -1;
}

template <class R, int Dims>
void init(const Boundary<R, Dims> &ends, const tnk_int *const (&cells)[static_cast<size_t>(Dims)],
          const char *letters, const R *q, const Problem<R, Dims> &problem) {
  tnk_int *const ipar = problem.ipar;
  R *const dpar = problem.dpar;
  problem.end(TNK_PDEPL_BEGUN);
  ipar[TNK_PDEPL_ERRORS] = ipar[TNK_PDEPL_WARNINGS] = 1;
  for (int axis = 0; axis < Dims; ++axis) ipar[TNK_PDEPL_CELLS + axis] = *cells[axis];
  tnk_int code = 0;
  for (int k = 0; k < 2 * Dims; ++k) {
    const tnk_int side = side_of(letters, k + 1);
    ipar[TNK_PDEPL_SIDES + k] = side;
    code += side < 0 ? -100 : side << (2 * Dims - 1 - k);
  }
  ipar[TNK_PDEPL_CODE] = code;
  if (problem.side(2 * Dims - 1) < 0) {
    *problem.stat = code;
    return;
  }
  ipar[TNK_PDEPL_C_TEXTS] = 1;
  for (int axis = 0; axis < Dims; ++axis) dpar[axis] = *ends[2 * axis + 1] - *ends[2 * axis];
  ipar[TNK_PDEPL_STEPS] = 0;
  dpar[3] = *q;
  dpar[4] = R(1e-10);
  tnk_pdepl_pl_get_max_thread(ipar + TNK_PDEPL_THREADS);
  problem.end(TNK_PDEPL_DONE);
}

} // namespace
} // namespace tnk::poisson

using namespace tnk::poisson;

#define TNK_INIT(p, R)                                                                                       \
  void tnk_pdepl_##p##_init_helmholtz_2d(const R *ax, const R *bx, const R *ay, const R *by,                 \
                                         const tnk_int *nx, const tnk_int *ny, const char *letters,          \
                                         const R *q, tnk_int *ipar, R *dpar, tnk_int *stat) {                \
    init<R, 2>({ax, bx, ay, by}, {nx, ny}, letters, q, {ipar, dpar, stat});                                  \
  }                                                                                                          \
  void tnk_pdepl_##p##_init_helmholtz_3d(const R *ax, const R *bx, const R *ay, const R *by, const R *az,    \
                                         const R *bz, const tnk_int *nx, const tnk_int *ny,                  \
                                         const tnk_int *nz, const char *letters, const R *q, tnk_int *ipar,  \
                                         R *dpar, tnk_int *stat) {                                           \
    init<R, 3>({ax, bx, ay, by, az, bz}, {nx, ny, nz}, letters, q, {ipar, dpar, stat});                      \
  }
TNK_INIT(d, double)
TNK_INIT(s, float)

tnk_int tnk_pdepl_chr_cpm(const char *text, const char *letter, const tnk_int *position, ...) {
  return text[*position - 1] == *letter;
}
