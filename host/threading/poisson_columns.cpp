// Tridiagonal equations along the last axis, one system for each coefficient of the transforms:
//
//   - u[j-1] + lambda u[j] - u[j+1] = f[j]
//
// with 2 u of the one neighbour where an edge has its slope given; halved, such an equation makes the system symmetric.
// Elimination without pivoting, since lambda is 2 or more unless q is below 0: with w[j] = 1 / (lambda - w[j-1])
//
//   g[j] = (f[j] + g[j-1]) w[j],    then backwards    u[j] = g[j] + w[j] u[j+1]
//
// Columns go side by side, so that rows are read in sequence. w rises or falls to a limit and, since rounding keeps order,
// reaches one exactly: from there on it is neither computed nor stored, and bits are as they would be. Of a
// square of 512 that leaves one division in six.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <tnk/services.h>

#include "host/threading/poisson.h"

namespace tnk::host::poisson {
namespace {

constexpr tnk_int block = 64; // columns side by side; two rows of them and their w stay in the first cache

template <class R> struct Systems {
  R *f; // row 0 of the first column
  tnk_int stride;
  tnk_int n; // cells
  Sides sides;

  Range rows() const { return unknowns(sides, n); }
};

// ---- Sweeps over rows whose w is settled -----------------------------------------------------------------------------
// Some columns at a time stay in registers over some rows, which are few so that a page that is open serves all columns of
// a block. Beside plain rows, one thread, a square of 2048: twice as fast, as more lines of memory are under way at once.

constexpr tnk_int registers = 8; // of the sixteen; w comes from the first cache
constexpr tnk_int strip_rows = 8;

template <class R> struct Pack { typedef R type __attribute__((vector_size(16))); };
template <class R> using pack = typename Pack<R>::type;
template <class R> constexpr tnk_int per_pack = 16 / static_cast<tnk_int>(sizeof(R));
template <class R> constexpr tnk_int strip_width = registers *per_pack<R>;

template <class R> pack<R> load(const R *p) {
  pack<R> v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

enum Direction { down, up };
template <Direction direction, class T> T next(T now, T before, T w) {
  return direction == down ? (now + before) * w : now + w * before;
}

// From the row that is done, `rows` more.
template <Direction direction, class R> void strip(R *row, tnk_int step, tnk_int rows, const R *w) {
  pack<R> done[registers];
  for (tnk_int k = 0; k < registers; ++k) done[k] = load(row + k * per_pack<R>);
  for (; rows > 0; --rows) {
    row += step;
    for (tnk_int k = 0; k < registers; ++k) {
      R *const at = row + k * per_pack<R>;
      done[k] = next<direction>(load(at), done[k], load(w + k * per_pack<R>));
      std::memcpy(at, &done[k], sizeof done[k]);
    }
  }
}

template <Direction direction, class R>
void sweep_row(R *__restrict now, const R *__restrict before, tnk_int from, tnk_int count,
               const R *__restrict w) {
  for (tnk_int i = from; i < count; ++i) now[i] = next<direction>(now[i], before[i], w[i]);
}

// Returns the last row.
template <Direction direction, class R>
R *sweep(R *row, tnk_int stride, tnk_int rows, tnk_int count, const R *w) {
  const tnk_int step = direction == down ? stride : -stride;
  for (; rows > 0; rows -= strip_rows) {
    const tnk_int some = std::min(rows, strip_rows);
    tnk_int i = 0;
    for (; i + strip_width<R> <= count; i += strip_width<R>) strip<direction>(row + i, step, some, w + i);
    for (tnk_int k = 0; k < some; ++k, row += step) sweep_row<direction>(row + step, row, i, count, w);
  }
  return row;
}

// ---- Systems ------------------------------------------------------------------------------------------------------------

// `count` columns from f on, each with its lambda. `w` has room for all rows of a block.
template <class R>
void solve(const Systems<R> &systems, R *f, const R *__restrict lambda, tnk_int count, R *w) {
  const auto [first, end] = systems.rows();
  const tnk_int stride = systems.stride, last = end - 1;
  const R half_first =
      systems.sides.slope_below || (first == last && systems.sides.slope_above) ? R(0.5) : R(1);
  R *row = f + first * stride;
  for (tnk_int i = 0; i < count; ++i) {
    w[i] = 1 / (half_first * lambda[i]);
    row[i] *= half_first * w[i];
  }
  // w_row: the newest w; rows from `settled` on have that at last.
  R *w_row = w;
  tnk_int settled = last;
  const tnk_int regular_end = systems.sides.slope_above ? last : end;
  for (tnk_int j = first + 1; j < regular_end; ++j) {
    R *__restrict const now = row + stride, *__restrict const w_now = w_row + block;
    const R *__restrict const before = row, *__restrict const w_before = w_row;
    for (tnk_int i = 0; i < count; ++i) {
      const R pivot = 1 / (lambda[i] - w_before[i]);
      w_now[i] = pivot;
      now[i] = (now[i] + before[i]) * pivot;
    }
    row = now;
    if (std::equal(w_now, w_now + count, w_before)) {
      settled = j - 1;
      row = sweep<down>(row, stride, regular_end - 1 - j, count, w_row);
      break;
    }
    w_row = w_now;
  }
  if (systems.sides.slope_above && first < last) {
    R *__restrict const now = row + stride;
    for (tnk_int i = 0; i < count; ++i) now[i] = (R(0.5) * now[i] + row[i]) / (R(0.5) * lambda[i] - w_row[i]);
    row = now;
  }
  row = sweep<up>(row, stride, last - settled, count, w_row);
  for (tnk_int j = std::min(settled, last) - 1; j >= first; --j, row -= stride)
    sweep_row<up>(row - stride, row, 0, count, w + (j - first) * block);
}

// The one system with lambda = 2 and slopes at both ends: the equations add up to nothing on the left, so f must, with half
// weights at its ends. What it is off is taken from all of f, and returned. u is the solution without a mean.
template <class R> double solve_singular(const Systems<R> &systems) {
  const tnk_int n = systems.n;
  const auto at = [&](tnk_int j) -> R & { return systems.f[j * systems.stride]; };
  const auto mean = [&] {
    double sum = 0.5 * (static_cast<double>(at(0)) + static_cast<double>(at(n)));
    for (tnk_int j = 1; j < n; ++j) sum += static_cast<double>(at(j));
    return sum / static_cast<double>(n);
  };
  const double off = mean();
  double difference = 0, u = 0; // u[j] - u[j-1], and u[j]
  for (tnk_int j = 0; j <= n; ++j) {
    const double f = static_cast<double>(at(j)) - off;
    at(j) = static_cast<R>(u);
    difference -= j == 0 ? f / 2 : f;
    u += difference;
  }
  const double constant = mean();
  for (tnk_int j = 0; j <= n; ++j) at(j) = static_cast<R>(static_cast<double>(at(j)) - constant);
  return off;
}

// Coefficients in lines of `line` columns, the rows of x; in a box one line for each coefficient of y.
template <class R> struct Coefficients {
  Range x, y;
  tnk_int line;
  const R *x_spectrum, *y_spectrum; // null: no y
};

template <class R>
void solve_all(const Systems<R> &systems, const Coefficients<R> &c, bool singular, int dims, R *dpar,
               const tnk_int *ipar, tnk_int limit, tnk_int *stat) {
  std::atomic<tnk_int> status{0};
  const tnk_int blocks = (c.x.end + block - 1) / block; // of a line, from its beginning
  const double points =
      static_cast<double>(c.x.size()) * static_cast<double>(c.y.size()) * static_cast<double>(systems.n);
  if (systems.rows().size() > 0)
    in_slices({c.y.begin * blocks, c.y.end * blocks}, 1, threads_for(points, limit),
              [&](tnk_int begin, tnk_int end) {
                const tnk_int room = systems.rows().size() * block * static_cast<tnk_int>(sizeof(R));
                R *const w = static_cast<R *>(tnk_serv_allocate(room, 64));
                if (!w) {
                  status = TNK_PDEPL_FAILED;
                  return;
                }
                for (tnk_int k = begin; k < end; ++k) {
                  const tnk_int j = k / blocks, from = k % blocks * block;
                  const bool skip = singular && k == 0; // its first column
                  const tnk_int i = std::max(from, skip ? 1 : c.x.begin),
                                to = std::min(from + block, c.x.end);
                  R lambda[block];
                  for (tnk_int m = i; m < to; ++m)
                    lambda[m - i] = c.y_spectrum ? c.x_spectrum[m] + c.y_spectrum[j] : c.x_spectrum[m];
                  solve(systems, systems.f + j * c.line + i, lambda, to - i, w);
                }
                tnk_serv_deallocate(w);
              });
  if (singular && status == 0) {
    // A forward transform makes twice its mean of a constant.
    const double h = static_cast<double>(dpar[dims - 1]), twice = dims == 2 ? 2 : 4;
    dpar[ipar[TNK_PDEPL_TABLES]] = static_cast<R>(solve_singular(systems) / twice / (h * h));
  }
  *stat = status;
}

template <class R>
void rectangle(Sides sides, bool singular, const tnk_int *nx, const tnk_int *ny, R *f, R *dpar,
               const tnk_int *ipar, const tnk_int *threads, tnk_int *stat) {
  const Systems<R> systems{f, *nx + 1, *ny, sides};
  const Coefficients<R> c{
      coefficients(sides_of(ipar, 0), *nx), {0, 1}, 0, dpar + ipar[TNK_PDEPL_SPECTRA] - 1, nullptr};
  solve_all(systems, c, singular, 2, dpar, ipar, *threads, stat);
}

template <class R>
void box(Sides sides, bool singular, const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, R *f, R *dpar,
         const tnk_int *ipar, const tnk_int *threads, tnk_int *stat) {
  const Systems<R> systems{f, (*nx + 1) * (*ny + 1), *nz, sides};
  const Coefficients<R> c{coefficients(sides_of(ipar, 0), *nx), coefficients(sides_of(ipar, 1), *ny), *nx + 1,
                          dpar + ipar[TNK_PDEPL_SPECTRA] - 1, dpar + ipar[TNK_PDEPL_SPECTRA + 2] - 1};
  solve_all(systems, c, singular, 3, dpar, ipar, *threads, stat);
}

} // namespace
} // namespace tnk::host::poisson

using namespace tnk::host;

#define TNK_COLUMNS(p, R, yy)                                                                                \
  void tnk_pdepl_##p##_lu_2d_##yy(const tnk_int *nx, const tnk_int *ny, R *f, R *dpar, tnk_int *ipar,        \
                                  const tnk_int *threads, tnk_int *stat) {                                   \
    poisson::rectangle(poisson::yy, false, nx, ny, f, dpar, ipar, threads, stat);                            \
  }                                                                                                          \
  void tnk_pdepl_##p##_lu_3d_##yy(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, R *f, R *dpar,    \
                                  tnk_int *ipar, const tnk_int *threads, tnk_int *stat) {                    \
    poisson::box(poisson::yy, false, nx, ny, nz, f, dpar, ipar, threads, stat);                              \
  }
#define TNK_ALL_COLUMNS(p, R)                                                                                \
  TNK_COLUMNS(p, R, dd)                                                                                      \
  TNK_COLUMNS(p, R, dn)                                                                                      \
  TNK_COLUMNS(p, R, nd)                                                                                      \
  void tnk_pdepl_##p##_lu_2d_nn(const tnk_int *nx, const tnk_int *ny, R *f, R *dpar, tnk_int *ipar,          \
                                const tnk_int *threads, const tnk_int *singular, tnk_int *stat) {            \
    poisson::rectangle(poisson::nn, *singular == 15, nx, ny, f, dpar, ipar, threads, stat);                  \
  }                                                                                                          \
  void tnk_pdepl_##p##_lu_3d_nn(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, R *f, R *dpar,      \
                                tnk_int *ipar, const tnk_int *threads, const tnk_int *singular,              \
                                tnk_int *stat) {                                                             \
    poisson::box(poisson::nn, *singular == 63, nx, ny, nz, f, dpar, ipar, threads, stat);                    \
  }
TNK_ALL_COLUMNS(d, double)
TNK_ALL_COLUMNS(s, float)
