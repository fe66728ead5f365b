// Which loops the sides ask for. The loops are the host's, on its threads.
#include "kernel/pde/poisson/problem.h"

#include <cmath>

namespace tnk::poisson {
namespace {

template <class R>
using Rows = void(const tnk_int *nx, const tnk_int *ny, R *f, DftiHandle *handle, R *dpar, tnk_int *ipar,
                  const tnk_int *threads, tnk_int *stat);
template <class R>
using Columns = void(const tnk_int *nx, const tnk_int *ny, R *f, R *dpar, tnk_int *ipar,
                     const tnk_int *threads, tnk_int *stat);
template <class R>
using Planes = void(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, R *f, DftiHandle *xhandle,
                    DftiHandle *yhandle, R *dpar, tnk_int *ipar, const tnk_int *threads, tnk_int *stat);
template <class R>
using Depths = void(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, R *f, R *dpar, tnk_int *ipar,
                    const tnk_int *threads, tnk_int *stat);

// By two bits, the sides of an axis; in a box by four, those of x and y. N at both ends of the last axis has one argument
// more, and stands apart.
template <class R> struct Loops;
#define TNK_FOR_PAIRS(name, suffix) name##dd##suffix, name##dn##suffix, name##nd##suffix, name##nn##suffix
#define TNK_LOOPS(p, R)                                                                                      \
  template <> struct Loops<R> {                                                                              \
    static constexpr Rows<R> *rows[] = {TNK_FOR_PAIRS(tnk_pdepl_##p##_ft_, )},                               \
                             *rows_back[] = {TNK_FOR_PAIRS(tnk_pdepl_##p##_inv_ft_, )};                      \
    static constexpr Columns<R> *columns[] = {tnk_pdepl_##p##_lu_2d_dd, tnk_pdepl_##p##_lu_2d_dn,            \
                                              tnk_pdepl_##p##_lu_2d_nd};                                     \
    static constexpr auto columns_nn = tnk_pdepl_##p##_lu_2d_nn;                                             \
    static constexpr Planes<R> *planes[] = {TNK_FOR_PAIRS(tnk_pdepl_##p##_ft_dd_, ),                         \
                                            TNK_FOR_PAIRS(tnk_pdepl_##p##_ft_dn_, ),                         \
                                            TNK_FOR_PAIRS(tnk_pdepl_##p##_ft_nd_, ),                         \
                                            TNK_FOR_PAIRS(tnk_pdepl_##p##_ft_nn_, )},                        \
                               *planes_back[] = {TNK_FOR_PAIRS(tnk_pdepl_##p##_inv_ft_dd_, ),                \
                                                 TNK_FOR_PAIRS(tnk_pdepl_##p##_inv_ft_dn_, ),                \
                                                 TNK_FOR_PAIRS(tnk_pdepl_##p##_inv_ft_nd_, ),                \
                                                 TNK_FOR_PAIRS(tnk_pdepl_##p##_inv_ft_nn_, )};               \
    static constexpr Depths<R> *depths[] = {tnk_pdepl_##p##_lu_3d_dd, tnk_pdepl_##p##_lu_3d_dn,              \
                                            tnk_pdepl_##p##_lu_3d_nd};                                       \
    static constexpr auto depths_nn = tnk_pdepl_##p##_lu_3d_nn;                                              \
  }
TNK_LOOPS(d, double);
TNK_LOOPS(s, float);

// The last code alone has a coefficient without a constant of its own, where q adds none.
template <class R, int Dims> bool is_singular(const Problem<R, Dims> &p, tnk_int code, R eigenvalue) {
  return code == p.codes - 1 && std::fabs(eigenvalue - 2) <= p.tolerance();
}

// After the solution of a singular problem.
template <class R, int Dims> void warn(const Problem<R, Dims> &p) {
  p.tell(message_singular);
  *p.stat = TNK_PDEPL_WARNED;
}

template <class R>
void solve(tnk_int code, R *f, DftiHandle *handle, const Problem<R, 2> &p, const tnk_int *nx,
           const tnk_int *ny) {
  using L = Loops<R>;
  const tnk_int *const threads = p.ipar + TNK_PDEPL_THREADS;
  const tnk_int x = code >> 2, y = code & 3;
  const bool singular = is_singular(p, code, p.spectrum(0)[0]);
  const tnk_int how = p.codes - (singular ? 1 : 2);
  L::rows[x](nx, ny, f, handle, p.dpar, p.ipar, threads, p.stat);
  if (*p.stat) return;
  if (y == 3)
    L::columns_nn(nx, ny, f, p.dpar, p.ipar, threads, &how, p.stat);
  else
    L::columns[y](nx, ny, f, p.dpar, p.ipar, threads, p.stat);
  if (*p.stat) return;
  L::rows_back[x](nx, ny, f, handle, p.dpar, p.ipar, threads, p.stat);
  if (!*p.stat && singular) warn(p);
}

template <class R>
void solve(tnk_int code, R *f, DftiHandle *xhandle, DftiHandle *yhandle, const Problem<R, 3> &p,
           const tnk_int *nx, const tnk_int *ny, const tnk_int *nz) {
  using L = Loops<R>;
  const tnk_int *const threads = p.ipar + TNK_PDEPL_THREADS;
  const tnk_int xy = code >> 2, z = code & 3;
  const bool singular = is_singular(p, code, p.spectrum(0)[0] + p.spectrum(1)[0]);
  const tnk_int how = p.codes - (singular ? 1 : 2);
  L::planes[xy](nx, ny, nz, f, xhandle, yhandle, p.dpar, p.ipar, threads, p.stat);
  if (*p.stat) return;
  if (z == 3)
    L::depths_nn(nx, ny, nz, f, p.dpar, p.ipar, threads, &how, p.stat);
  else
    L::depths[z](nx, ny, nz, f, p.dpar, p.ipar, threads, p.stat);
  if (*p.stat) return;
  L::planes_back[xy](nx, ny, nz, f, xhandle, yhandle, p.dpar, p.ipar, threads, p.stat);
  if (!*p.stat && singular) warn(p);
}

// False after a refusal. Loops go by the sides in ipar, so a code that is not theirs would take them apart.
template <class R, int Dims> bool begins(const Problem<R, Dims> &p, tnk_int code) {
  *p.stat = TNK_PDEPL_DONE;
  if (code >= 0 && code < p.codes && code == p.code_of_sides()) return true;
  p.tell(message_sides);
  *p.stat = TNK_PDEPL_BAD;
  return false;
}

} // namespace
} // namespace tnk::poisson

using namespace tnk::poisson;

#define TNK_RECTANGLE(name, R)                                                                               \
  void name(const tnk_int *code, const tnk_int *nx, const tnk_int *ny, R *f, DftiHandle *xhandle,            \
            tnk_int *ipar, R *dpar, tnk_int *stat) {                                                         \
    const Problem<R, 2> p{ipar, dpar, stat};                                                                 \
    if (begins(p, *code)) solve(*code, f, xhandle, p, nx, ny);                                               \
  }
#define TNK_BASIC(p, R)                                                                                      \
  TNK_RECTANGLE(tnk_pdepl_##p##_basic_2d_poisson, R)                                                         \
  TNK_RECTANGLE(tnk_pdepl_##p##_basic_2d_poisson_c, R)                                                       \
  void tnk_pdepl_##p##_basic_3d_poisson(const tnk_int *code, const tnk_int *nx, const tnk_int *ny,           \
                                        const tnk_int *nz, R *f, DftiHandle *xhandle, DftiHandle *yhandle,   \
                                        tnk_int *ipar, R *dpar, tnk_int *stat) {                             \
    const Problem<R, 3> p{ipar, dpar, stat};                                                                 \
    if (begins(p, *code)) solve(*code, f, xhandle, yhandle, p, nx, ny, nz);                                  \
  }
TNK_BASIC(d, double)
TNK_BASIC(s, float)
