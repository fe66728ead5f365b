// Solving: the layout is looked at, the equations are solved, the values that were given are put in. Freeing.
#include "kernel/pde/poisson/faces.h"

namespace tnk::poisson {
namespace {

template <class R> void basic(const Problem<R, 2> &p, R *f, const Handles<2> &handles) {
  constexpr auto run = [] {
    if constexpr (is_single<R>)
      return tnk_pdepl_s_basic_2d_poisson_c;
    else
      return tnk_pdepl_d_basic_2d_poisson_c;
  }();
  run(p.ipar + TNK_PDEPL_CODE, p.cells(), p.cells() + 1, f, handles[0], p.ipar, p.dpar, p.stat);
}

template <class R> void basic(const Problem<R, 3> &p, R *f, const Handles<3> &handles) {
  constexpr auto run = [] {
    if constexpr (is_single<R>)
      return tnk_pdepl_s_basic_3d_poisson;
    else
      return tnk_pdepl_d_basic_3d_poisson;
  }();
  run(p.ipar + TNK_PDEPL_CODE, p.cells(), p.cells() + 1, p.cells() + 2, f, handles[0], handles[1], p.ipar,
      p.dpar, p.stat);
}

template <class R, int Dims>
void solve(R *f, const Boundary<R, Dims> &boundary, const Handles<Dims> &handles, const Problem<R, Dims> &p) {
  const tnk_int start = p.ipar[TNK_PDEPL_STATUS];
  if (start != TNK_PDEPL_DONE && start != TNK_PDEPL_WARNED)
    return p.refuse(message_status, TNK_PDEPL_STOPPED);
  p.end(TNK_PDEPL_BEGUN);
  for (int axis = 0; axis < Dims; ++axis)
    if (p.cells()[axis] < 1) return p.refuse(message_cells[axis]);
  bool warned = false;
  layout<Dims>(p.cells(), [&](int entry, tnk_int value) { warned |= p.ipar[entry] != value; });
  if (warned) p.tell(message_layout);

  basic(p, f, handles);
  if (*p.stat != TNK_PDEPL_DONE && *p.stat != TNK_PDEPL_WARNED) return p.end(*p.stat);
  warned |= *p.stat == TNK_PDEPL_WARNED;

  const auto whole = [&](int axis) { return Range{0, p.cells()[axis] + 1}; };
  for (int k = 0; k < 2 * Dims; ++k)
    if (p.side(k) == 0)
      Face<Dims>(k, p.cells()).points(0, whole, [&](tnk_int at, tnk_int from) { f[at] = boundary[k][from]; });
  p.end(warned ? TNK_PDEPL_WARNED : TNK_PDEPL_DONE);
}

template <int Dims> void release(const Handles<Dims> &handles, tnk_int *ipar, tnk_int *stat) {
  const Problem<float, Dims> p{ipar, nullptr, stat}; // messages read nothing of dpar here
  *stat = TNK_PDEPL_BEGUN;
  bool failed = false;
  for (int axis = 0; axis + 1 < Dims; ++axis) {
    tnk_int status;
    tnk_pdett_free_trig_transform(handles[axis], p.transform(axis), &status);
    failed |= status != 0;
  }
  if (failed) return p.refuse(message_free, TNK_PDEPL_FAILED);
  p.end(TNK_PDEPL_DONE);
}

} // namespace
} // namespace tnk::poisson

using namespace tnk::poisson;

#define TNK_SOLVE(p, R)                                                                                      \
  void tnk_pdepl_##p##_helmholtz_2d(R *f, const R *ax, const R *bx, const R *ay, const R *by,                \
                                    DftiHandle *xhandle, tnk_int *ipar, R *dpar, tnk_int *stat) {            \
    solve<R, 2>(f, {ax, bx, ay, by}, {xhandle}, {ipar, dpar, stat});                                         \
  }                                                                                                          \
  void tnk_pdepl_##p##_helmholtz_3d(R *f, const R *ax, const R *bx, const R *ay, const R *by, const R *az,   \
                                    const R *bz, DftiHandle *xhandle, DftiHandle *yhandle, tnk_int *ipar,    \
                                    R *dpar, tnk_int *stat) {                                                \
    solve<R, 3>(f, {ax, bx, ay, by, az, bz}, {xhandle, yhandle}, {ipar, dpar, stat});                        \
  }
TNK_SOLVE(d, double)
TNK_SOLVE(s, float)

void tnk_pdepl_free_helmholtz_2d(DftiHandle *xhandle, tnk_int *ipar, tnk_int *stat) {
  release<2>({xhandle}, ipar, stat);
}
void tnk_pdepl_free_helmholtz_3d(DftiHandle *xhandle, DftiHandle *yhandle, tnk_int *ipar, tnk_int *stat) {
  release<3>({xhandle, yhandle}, ipar, stat);
}
