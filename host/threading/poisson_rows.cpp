// Transforms of rows, in a box of lines along x and y, by the kernel library's transforms of one row.
#include <algorithm>
#include <atomic>
#include <tnk/pde_trig.h>
#include <tnk/services.h>

#include "host/dispatch/kernel_loader.h"
#include "host/threading/poisson.h"

namespace tnk::host::poisson {
namespace {

template <class R> using Transform = void(R *f, DftiHandle *handle, tnk_int *ipar, R *dpar, tnk_int *stat);
KernelEntry<Transform<double>> d_forward("tnk_pdett_d_forward_trig_transform"),
    d_backward("tnk_pdett_d_backward_trig_transform");
KernelEntry<Transform<float>> s_forward("tnk_pdett_s_forward_trig_transform"),
    s_backward("tnk_pdett_s_backward_trig_transform");

template <class R> Transform<R> *transform(bool back) {
  constexpr const char *routine = "tnk_pdepl_ft";
  if constexpr (sizeof(R) == 4)
    return (back ? s_backward : s_forward).get(routine);
  else
    return (back ? d_backward : d_forward).get(routine);
}

// An axis whose lines are transformed: what all slices share.
template <class R> struct Axis {
  Sides sides;
  tnk_int n;
  Transform<R> *run;
  bool back;
  DftiHandle *handle;
  const tnk_int *ipar;
  R *dpar;

  Axis(int axis, Sides its_sides, tnk_int cells, bool inverse, DftiHandle *its_handle,
       const tnk_int *all_ipar, R *all_dpar)
      : sides(its_sides), n(cells), run(transform<R>(inverse)), back(inverse), handle(its_handle),
        ipar(all_ipar + TNK_PDEPL_TRANSFORMS + 20 * axis),
        dpar(all_dpar + all_ipar[TNK_PDEPL_TABLES + 2 * axis] - 1) {}

  // The transform of a mixed axis has the slope below.
  bool reversed() const { return !sides.slope_below && sides.slope_above; }
  Range unknown() const { return unknowns(sides, n); }
  Range spectral() const { return coefficients(sides, n); }
};

// Lines of an axis for one slice: transforms write their status into ipar, so a slice has its own.
template <class R> class Lines {
public:
  explicit Lines(const Axis<R> &axis) : axis_(axis) { std::copy_n(axis.ipar, TNK_PDETT_IPAR, ipar_); }
  // Returns the transform's status.
  tnk_int operator()(R *line) {
    tnk_int status = 0;
    axis_.run(line, axis_.handle, ipar_, axis_.dpar, &status);
    return status;
  }

private:
  const Axis<R> &axis_;
  tnk_int ipar_[TNK_PDETT_IPAR];
};

// Rows of a plane.
template <class R> tnk_int along_rows(const Axis<R> &x, R *f, tnk_int begin, tnk_int end) {
  Lines<R> lines(x);
  for (tnk_int j = begin; j < end; ++j) {
    R *const row = f + j * (x.n + 1);
    if (x.reversed() && !x.back) std::reverse(row, row + x.n + 1);
    if (const tnk_int status = lines(row)) return status;
    if (x.reversed() && x.back) std::reverse(row, row + x.n + 1);
  }
  return 0;
}

// Columns of a plane, some at a time through a buffer, so that whole cache lines of the plane are used. A point of a line
// that is not unknown counts as 0.
template <class R> tnk_int along_columns(const Axis<R> &y, R *f, tnk_int stride, tnk_int begin, tnk_int end) {
  constexpr tnk_int together = 8, line = 64 / static_cast<tnk_int>(sizeof(R));
  const tnk_int pitch = ((y.n + line) / line | 1) * line; // an odd number of cache lines
  R *const buffer =
      static_cast<R *>(tnk_serv_allocate(together * pitch * static_cast<tnk_int>(sizeof(R)), 64));
  if (!buffer) return TNK_PDEPL_FAILED;
  Lines<R> lines(y);
  tnk_int status = 0;
  for (tnk_int i = begin; i < end && status == 0; i += together) {
    const tnk_int count = std::min(together, end - i);
    const auto move = [&](Range rows, bool reversed, const auto &each) {
      for (tnk_int j = rows.begin; j < rows.end; ++j) {
        R *const at = buffer + (reversed ? y.n - j : j), *const row = f + j * stride + i;
        for (tnk_int c = 0; c < count; ++c) each(at[c * pitch], row[c]);
      }
    };
    for (tnk_int c = 0; c < count; ++c) buffer[c * pitch] = buffer[c * pitch + y.n] = 0;
    const bool to = y.reversed() && !y.back, from = y.reversed() && y.back;
    move(y.back ? y.spectral() : y.unknown(), to, [](R &in_line, const R &in_plane) { in_line = in_plane; });
    for (tnk_int c = 0; c < count && status == 0; ++c) status = lines(buffer + c * pitch);
    move(y.back ? y.unknown() : y.spectral(), from,
         [](const R &in_line, R &in_plane) { in_plane = in_line; });
  }
  tnk_serv_deallocate(buffer);
  return status;
}

template <class R>
void rectangle(Sides sides, bool back, const tnk_int *nx, const tnk_int *ny, R *f, DftiHandle *handle,
               R *dpar, tnk_int *ipar, const tnk_int *threads, tnk_int *stat) {
  const Axis<R> x(0, sides, *nx, back, handle, ipar, dpar);
  std::atomic<tnk_int> status{x.run ? 0 : TNK_PDEPL_FAILED};
  const double points = static_cast<double>(*nx + 1) * static_cast<double>(*ny + 1);
  if (x.run)
    in_slices(unknowns(sides_of(ipar, 1), *ny), 1, threads_for(points, *threads),
              [&](tnk_int begin, tnk_int end) {
                if (const tnk_int failed = along_rows(x, f, begin, end)) status = failed;
              });
  *stat = status;
}

// Planes of fixed z are done one after another, both ways while they are in the cache; where there are fewer than threads,
// each is cut.
template <class R>
void box(Sides x_sides, Sides y_sides, bool back, const tnk_int *nx, const tnk_int *ny, const tnk_int *nz,
         R *f, DftiHandle *xhandle, DftiHandle *yhandle, R *dpar, tnk_int *ipar, const tnk_int *threads,
         tnk_int *stat) {
  const Axis<R> x(0, x_sides, *nx, back, xhandle, ipar, dpar), y(1, y_sides, *ny, back, yhandle, ipar, dpar);
  std::atomic<tnk_int> status{x.run ? 0 : TNK_PDEPL_FAILED};
  const tnk_int stride = *nx + 1, plane = stride * (*ny + 1);
  const Range planes = unknowns(sides_of(ipar, 2), *nz);
  const int team = threads_for(static_cast<double>(plane) * static_cast<double>(*nz + 1), *threads);
  const int within = planes.size() < team ? team : 1;
  const auto rows = [&](R *at) {
    in_slices(y.unknown(), 1, within, [&](tnk_int begin, tnk_int end) {
      if (const tnk_int failed = along_rows(x, at, begin, end)) status = failed;
    });
  };
  const auto columns = [&](R *at) {
    in_slices(x.spectral(), 8, within, [&](tnk_int begin, tnk_int end) {
      if (const tnk_int failed = along_columns(y, at, stride, begin, end)) status = failed;
    });
  };
  if (x.run)
    in_slices(planes, 1, within > 1 ? 1 : team, [&](tnk_int begin, tnk_int end) {
      for (tnk_int k = begin; k < end && status == 0; ++k) {
        if (back) columns(f + k * plane);
        rows(f + k * plane);
        if (!back) columns(f + k * plane);
      }
    });
  *stat = status;
}

} // namespace
} // namespace tnk::host::poisson

using namespace tnk::host;

#define TNK_ROWS_2D(name, R, xx, back)                                                                       \
  void name(const tnk_int *nx, const tnk_int *ny, R *f, DftiHandle *handle, R *dpar, tnk_int *ipar,          \
            const tnk_int *threads, tnk_int *stat) {                                                         \
    poisson::rectangle(poisson::xx, back, nx, ny, f, handle, dpar, ipar, threads, stat);                     \
  }
#define TNK_ROWS_3D(name, R, xx, yy, back)                                                                   \
  void name(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, R *f, DftiHandle *xhandle,              \
            DftiHandle *yhandle, R *dpar, tnk_int *ipar, const tnk_int *threads, tnk_int *stat) {            \
    poisson::box(poisson::xx, poisson::yy, back, nx, ny, nz, f, xhandle, yhandle, dpar, ipar, threads,       \
                 stat);                                                                                      \
  }
#define TNK_PAIR(p, R, xx, yy)                                                                               \
  TNK_ROWS_3D(tnk_pdepl_##p##_ft_##xx##_##yy, R, xx, yy, false)                                              \
  TNK_ROWS_3D(tnk_pdepl_##p##_inv_ft_##xx##_##yy, R, xx, yy, true)
#define TNK_ROWS(xx, p, R)                                                                                   \
  TNK_ROWS_2D(tnk_pdepl_##p##_ft_##xx, R, xx, false)                                                         \
  TNK_ROWS_2D(tnk_pdepl_##p##_inv_ft_##xx, R, xx, true)                                                      \
  TNK_PAIR(p, R, xx, dd) TNK_PAIR(p, R, xx, dn) TNK_PAIR(p, R, xx, nd) TNK_PAIR(p, R, xx, nn)
TNK_PDEPL_FOR_PAIRS(TNK_ROWS, d, double)
TNK_PDEPL_FOR_PAIRS(TNK_ROWS, s, float)

void tnk_pdepl_pl_get_max_thread(tnk_int *limit) {
  *limit = usable_threads();
}
