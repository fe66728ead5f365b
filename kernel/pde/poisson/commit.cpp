// From a problem as told to one that can be solved: checks, layout, transforms, spectra, and the boundary in f.
#include "kernel/pde/poisson/faces.h"

namespace tnk::poisson {
namespace {

// ---- By precision and dimensions ----------------------------------------------------------------------------------

template <class R> void begin_transform(const tnk_int *n, const tnk_int *kind, tnk_int *ipar, R *dpar) {
  tnk_int stat;
  if constexpr (is_single<R>)
    tnk_pdett_s_init_trig_transform(n, kind, ipar, dpar, &stat);
  else
    tnk_pdett_d_init_trig_transform(n, kind, ipar, dpar, &stat);
}

template <class R> tnk_int make_transform(R *f, DftiHandle *handle, tnk_int *ipar, R *dpar) {
  tnk_int stat;
  if constexpr (is_single<R>)
    tnk_pdett_s_commit_trig_transform(f, handle, ipar, dpar, &stat);
  else
    tnk_pdett_d_commit_trig_transform(f, handle, ipar, dpar, &stat);
  return stat;
}

template <class R> tnk_int make_spectra(const Problem<R, 2> &p) {
  constexpr auto equal = [] {
    if constexpr (is_single<R>)
      return tnk_pdepl_s_spectr_2d;
    else
      return tnk_pdepl_d_spectr_2d;
  }();
  constexpr auto mixed = [] {
    if constexpr (is_single<R>)
      return tnk_pdepl_s_spectr_2d_mixed;
    else
      return tnk_pdepl_d_spectr_2d_mixed;
  }();
  tnk_int stat;
  (p.mixed(0) ? mixed : equal)(p.cells(), p.dpar, p.dpar + 1, p.dpar + 3, p.spectrum(0), &stat);
  return stat;
}

template <class R> tnk_int make_spectra(const Problem<R, 3> &p) {
  using Spectra =
      void(const tnk_int *, const tnk_int *, const R *, const R *, const R *, const R *, R *, R *, tnk_int *);
  Spectra *kinds[4];
  if constexpr (is_single<R>)
    kinds[0] = tnk_pdepl_s_spectr_3d, kinds[1] = tnk_pdepl_s_spectr_3d_mixed_1,
    kinds[2] = tnk_pdepl_s_spectr_3d_mixed_2, kinds[3] = tnk_pdepl_s_spectr_3d_mixed_3;
  else
    kinds[0] = tnk_pdepl_d_spectr_3d, kinds[1] = tnk_pdepl_d_spectr_3d_mixed_1,
    kinds[2] = tnk_pdepl_d_spectr_3d_mixed_2, kinds[3] = tnk_pdepl_d_spectr_3d_mixed_3;
  tnk_int stat;
  kinds[(p.mixed(0) ? 1 : 0) + (p.mixed(1) ? 2 : 0)](p.cells(), p.cells() + 1, p.dpar, p.dpar + 1, p.dpar + 2,
                                                     p.dpar + 3, p.spectrum(0), p.spectrum(1), &stat);
  return stat;
}

template <class R> void scale(const Problem<R, 2> &p, R *f) {
  tnk_int stat;
  constexpr auto multiply = [] {
    if constexpr (is_single<R>)
      return tnk_pdepl_s_right_hand_side_2d;
    else
      return tnk_pdepl_d_right_hand_side_2d;
  }();
  multiply(p.cells(), p.cells() + 1, p.dpar + 1, f, &stat);
}

template <class R> void scale(const Problem<R, 3> &p, R *f) {
  tnk_int stat;
  constexpr auto multiply = [] {
    if constexpr (is_single<R>)
      return tnk_pdepl_s_right_hand_side_3d;
    else
      return tnk_pdepl_d_right_hand_side_3d;
  }();
  multiply(p.cells(), p.cells() + 1, p.cells() + 2, p.dpar + 2, f, &stat);
}

// ---- Steps ------------------------------------------------------------------------------------------------------------

// What of an earlier commit is kept, from the status that commit finds.
struct Kept {
  bool spectra, transforms, layout;
  explicit Kept(tnk_int status)
      : spectra(status / 100 == 9), transforms(status / 10 % 10 == 9), layout(status % 10 == 9) {}
};
constexpr bool is_start(tnk_int status) {
  const auto is_kept = [](tnk_int digit) { return digit == 0 || digit == 9; };
  return status >= 0 && status < 999 && is_kept(status / 100) && is_kept(status / 10 % 10) &&
         is_kept(status % 10);
}

// False after a refusal. `lengths`: dpar has lengths, which become steps.
template <class R, int Dims> bool checks_hold(const Problem<R, Dims> &p, bool lengths) {
  const auto refuse = [&](Message id) {
    p.refuse(id);
    return false;
  };
  for (int axis = 0; axis < Dims; ++axis)
    if (p.cells()[axis] < 1) return refuse(message_cells[axis]);
  const tnk_int code = p.ipar[TNK_PDEPL_CODE];
  if (code < 0 || code >= p.codes || code != p.code_of_sides()) return refuse(message_sides);
  for (int k = 0; k < 2 * Dims; ++k)
    if (p.side(k) != 0 && p.side(k) != 1) return refuse(message_sides);
  for (int axis = 0; axis < Dims; ++axis)
    if (!(p.step(axis) > 0)) return refuse(message_length[axis]);
  if (!lengths) return true;
  for (int axis = 0; axis < Dims; ++axis) p.dpar[axis] /= static_cast<R>(p.cells()[axis]);
  p.ipar[TNK_PDEPL_STEPS] = 1;
  return true;
}

template <class R, int Dims>
void free_transforms(const Problem<R, Dims> &p, const Handles<Dims> &handles, int axes) {
  tnk_int ignored;
  for (int axis = 0; axis < axes; ++axis)
    tnk_pdett_free_trig_transform(handles[axis], p.transform(axis), &ignored);
}

// 0, or a status after which no transform is left. The transforms look at the ends of a row: at those of the spectra, which
// are made, or made 0, afterwards.
template <class R, int Dims>
tnk_int make_transforms(const Problem<R, Dims> &p, const Handles<Dims> &handles) {
  for (int axis = 0; axis + 1 < Dims; ++axis) {
    const bool mixed = p.mixed(axis);
    const tnk_int kind = mixed ? 2 : p.side(2 * axis);
    tnk_int *const ipar = p.transform(axis);
    R *const dpar = p.tables(axis), *const row = p.spectrum(axis), *const row_end = row + p.cells()[axis];
    begin_transform(p.cells() + axis, &kind, ipar, dpar);
    dpar[0] = p.tolerance();
    ipar[TNK_PDETT_ERRORS] = p.ipar[TNK_PDEPL_ERRORS];
    ipar[TNK_PDETT_WARNINGS] = p.ipar[TNK_PDEPL_WARNINGS];
    ipar[TNK_PDETT_C_TEXTS] = p.ipar[TNK_PDEPL_C_TEXTS];
    ipar[TNK_PDETT_USERS] = p.ipar[TNK_PDEPL_THREADS];
    const R first = *row, last = *row_end; // to be kept where the spectra are
    *row = *row_end = 0;
    const tnk_int status = make_transform(row, handles[axis], ipar, dpar);
    *row = first, *row_end = last;
    if (status == 0) continue;
    free_transforms(p, handles, status > 0 ? axis + 1 : axis); // a warning comes with a transform
    return status;
  }
  return 0;
}

// Unknown points along an axis.
template <class R, int Dims> Range unknowns(const Problem<R, Dims> &p, int axis) {
  return {p.side(2 * axis) == 0 ? 1 : 0, p.cells()[axis] + p.side(2 * axis + 1)};
}

// A value that is given beyond an unknown point moves to the right-hand side; where a slope is, the point beyond the edge is
// expressed by it.
template <class R, int Dims>
void bring_in(const Problem<R, Dims> &p, const Boundary<R, Dims> &boundary, R *f) {
  const R last = p.step(p.last);
  for (int k = 0; k < 2 * Dims; ++k) {
    const int axis = k / 2;
    const tnk_int cells = p.cells()[axis];
    const bool value = p.side(k) == 0, slope_opposite = p.side(k ^ 1) == 1;
    if (value && cells == 1 && !slope_opposite) continue; // nothing is unknown
    const R ratio = last / p.step(axis);
    R factor = value ? ratio * ratio : 2 * last * ratio;
    if (value && cells == 1) factor *= 2; // the neighbour is mirrored by the edge opposite
    const R *const given = boundary[k];
    Face<Dims>(k, p.cells())
        .points(
            value ? 1 : 0, [&](int other) { return unknowns(p, other); },
            [&](tnk_int at, tnk_int from) { f[at] += factor * given[from]; });
  }
}

template <class R, int Dims>
void commit(R *f, const Boundary<R, Dims> &boundary, const Handles<Dims> &handles,
            const Problem<R, Dims> &p) {
  const tnk_int start = p.ipar[TNK_PDEPL_STATUS];
  if (start == 999) return p.end(TNK_PDEPL_DONE);
  if (!is_start(start)) return p.refuse(message_status, TNK_PDEPL_STOPPED);
  const Kept kept(start);
  bool warned = false;
  if (!kept.layout) {
    if (!checks_hold(p, start == 0 || p.ipar[TNK_PDEPL_STEPS] != 1)) return;
    layout<Dims>(p.cells(), [&](int entry, tnk_int value) { p.ipar[entry] = value; });
    warned = p.q() < 0;
    if (warned) p.tell(message_negative_q);
  }
  if (!kept.transforms) {
    if (const tnk_int status = make_transforms(p, handles)) return p.end(status);
  }
  if (!kept.spectra) {
    if (const tnk_int status = make_spectra(p)) {
      if (!kept.transforms) free_transforms(p, handles, Dims - 1);
      return p.refuse(message_spectrum, status);
    }
  }
  scale(p, f);
  bring_in(p, boundary, f);
  p.end(warned ? TNK_PDEPL_WARNED : TNK_PDEPL_DONE);
}

} // namespace
} // namespace tnk::poisson

using namespace tnk::poisson;

#define TNK_COMMIT(p, R)                                                                                     \
  void tnk_pdepl_##p##_commit_helmholtz_2d(R *f, const R *ax, const R *bx, const R *ay, const R *by,         \
                                           DftiHandle *xhandle, tnk_int *ipar, R *dpar, tnk_int *stat) {     \
    commit<R, 2>(f, {ax, bx, ay, by}, {xhandle}, {ipar, dpar, stat});                                        \
  }                                                                                                          \
  void tnk_pdepl_##p##_commit_helmholtz_3d(R *f, const R *ax, const R *bx, const R *ay, const R *by,         \
                                           const R *az, const R *bz, DftiHandle *xhandle,                    \
                                           DftiHandle *yhandle, tnk_int *ipar, R *dpar, tnk_int *stat) {     \
    commit<R, 3>(f, {ax, bx, ay, by, az, bz}, {xhandle, yhandle}, {ipar, dpar, stat});                       \
  }
TNK_COMMIT(d, double)
TNK_COMMIT(s, float)
