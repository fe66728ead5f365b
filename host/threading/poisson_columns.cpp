// Tridiagonal equations along the last axis, one system for each coefficient of the transforms:
//
//   - u[j-1] + lambda u[j] - u[j+1] = f[j]
//
// with 2 u of the one neighbour where an edge has its slope given; halved, such an equation makes the system symmetric.
// Elimination without pivoting, since lambda is 2 or more unless q is below 0: with w[j] = 1 / (lambda - w[j-1])
//
//   g[j] = (f[j] + g[j-1]) w[j],    then backwards    u[j] = g[j] + w[j] u[j+1]
//
// Columns go side by side, and rows in strips, from left to right. w rises or falls to a limit and, since rounding keeps
// order, reaches one exactly: from there on it is neither computed nor stored, and bits are as they would be. Of a
// square of 512 that leaves one division in twenty.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <tnk/services.h>

#include "host/threading/poisson.h"

namespace tnk::host::poisson {
namespace {

// Columns side by side: two kB of a row, or one where threads share them. Rows of a square of 2^k begin a few bytes off whole
// pages from each other, and a processor that looks at the last 12 bits of an address holds a load back until such a store
// is done: so many columns further on it is.
template <class R> constexpr tnk_int block = 2048 / static_cast<tnk_int>(sizeof(R));

template <class R> struct Systems {
  R *f; // row 0 of the first column
  tnk_int stride;
  tnk_int n; // cells
  Sides sides;

  Range rows() const { return unknowns(sides, n); }
};

// ---- Strips of rows --------------------------------------------------------------------------------------------------
// Who imports these loops is a library for AVX.

constexpr int strip_rows = 4;

template <class R> struct Pack { typedef R type __attribute__((vector_size(32))); };
template <class R> using pack = typename Pack<R>::type;
template <class R> constexpr tnk_int per_pack = 32 / static_cast<tnk_int>(sizeof(R));

template <class V, class R> [[gnu::target("avx"), gnu::always_inline]] inline V load(const R *p) {
  V v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <class V, class R> [[gnu::target("avx"), gnu::always_inline]] inline void store(R *p, const V &v) {
  std::memcpy(p, &v, sizeof v);
}

// What becomes of w: it is made, row by row, or read, or has settled.
enum Sweep { down_making, down_settled, up_reading, up_settled };
constexpr bool is_down(Sweep sweep) {
  return sweep == down_making || sweep == down_settled;
}

// From `row`, which is done, `rows` more, as far as they are columns [i, end) in whole V. Returns the column reached. w stands
// beside `row`, on the way up beside the next one.
template <Sweep sweep, int rows, class V, class R>
[[gnu::target("avx"), gnu::always_inline]] inline tnk_int
strip_of(R *row, tnk_int stride, tnk_int i, tnk_int end, R *w, tnk_int pitch, const R *lambda) {
  constexpr tnk_int width = sizeof(V) / sizeof(R);
  const tnk_int step = is_down(sweep) ? stride : -stride;
  for (; i + width <= end; i += width) {
    V u = load<V>(row + i), pivot = load<V>(w + i), f[rows];
    for (int r = 0; r < rows; ++r) f[r] = load<V>(row + (r + 1) * step + i);
    for (int r = 0; r < rows; ++r) {
      if constexpr (sweep == down_making) {
        pivot = 1 / (load<V>(lambda + i) - pivot);
        store(w + (r + 1) * pitch + i, pivot);
      } else if constexpr (sweep == up_reading) {
        pivot = load<V>(w - r * pitch + i);
      }
      u = is_down(sweep) ? (f[r] + u) * pivot : f[r] + pivot * u;
      store(row + (r + 1) * step + i, u);
    }
  }
  return i;
}

template <Sweep sweep, int rows, class R>
[[gnu::target("avx")]] void strip(R *row, tnk_int stride, tnk_int i, tnk_int end, R *w, tnk_int pitch,
                                  const R *lambda) {
  i = strip_of<sweep, rows, pack<R>>(row, stride, i, end, w, pitch, lambda);
  strip_of<sweep, rows, R>(row, stride, i, end, w, pitch, lambda);
}
template <Sweep sweep, class R>
void strip(int rows, R *row, tnk_int stride, tnk_int i, tnk_int end, R *w, tnk_int pitch = 0,
           const R *lambda = nullptr) {
  if (rows == strip_rows)
    strip<sweep, strip_rows>(row, stride, i, end, w, pitch, lambda);
  else
    strip<sweep, 1>(row, stride, i, end, w, pitch, lambda);
}

// ---- Systems ------------------------------------------------------------------------------------------------------------

// The columns of a block whose w is still on its way: the first ones, by packs, since the others settle earlier.
template <class R> class Making {
public:
  explicit Making(tnk_int count) : count_(count), end_(count) {}
  tnk_int end() const { return end_; }

  // After strip s, with the last row of w and those that have settled.
  void look(tnk_int s, const R *w, tnk_int pitch, R *settled) {
    while (end_ > 0) {
      const tnk_int from = (end_ - 1) / per_pack<R> * per_pack<R>;
      if (!std::equal(w + from, w + end_, w + from - pitch)) return;
      std::copy(w + from, w + end_, settled + from);
      last_strip_[from / per_pack<R>] = s;
      end_ = from;
    }
  }
  // Back to how it was in strip s.
  void return_to(tnk_int s) {
    while (end_ < count_ && last_strip_[end_ / per_pack<R>] >= s) end_ = std::min(end_ + per_pack<R>, count_);
  }

private:
  tnk_int count_, end_;
  tnk_int last_strip_[block<R> / per_pack<R>];
};

// `count` columns from f on, each with its lambda. `w` has room for as many rows of a pitch.
template <class R>
void solve(const Systems<R> &systems, R *f, const R *__restrict lambda, tnk_int count, R *w, tnk_int pitch) {
  const auto [first, end] = systems.rows();
  const tnk_int stride = systems.stride, last = end - 1;
  const R half_first =
      systems.sides.slope_below || (first == last && systems.sides.slope_above) ? R(0.5) : R(1);
  R *row = f + first * stride;
  for (tnk_int i = 0; i < count; ++i) {
    w[i] = 1 / (half_first * lambda[i]);
    row[i] *= half_first * w[i];
  }
  const bool closes = systems.sides.slope_above && first < last; // by an equation of its own
  const tnk_int regular = last - first - closes, whole = regular / strip_rows,
                strips = whole + regular % strip_rows;
  Making<R> making(count);
  R settled[block<R>];
  for (tnk_int s = 0; s < strips; ++s) {
    const int rows = s < whole ? strip_rows : 1;
    strip<down_making>(rows, row, stride, 0, making.end(), w, pitch, lambda);
    strip<down_settled>(rows, row, stride, making.end(), count, settled);
    row += rows * stride, w += rows * pitch;
    making.look(s, w, pitch, settled);
  }
  if (closes) {
    R *__restrict const now = row + stride;
    for (tnk_int i = 0; i < count; ++i)
      now[i] = (R(0.5) * now[i] + row[i]) / (R(0.5) * lambda[i] - (i < making.end() ? w[i] : settled[i]));
    strip<up_reading>(1, now, stride, 0, making.end(), w);
    strip<up_settled>(1, now, stride, making.end(), count, settled);
  }
  for (tnk_int s = strips - 1; s >= 0; --s) {
    const int rows = s < whole ? strip_rows : 1;
    making.return_to(s);
    strip<up_reading>(rows, row, stride, 0, making.end(), w - pitch, pitch);
    strip<up_settled>(rows, row, stride, making.end(), count, settled);
    row -= rows * stride, w -= rows * pitch;
  }
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
  const double points =
      static_cast<double>(c.x.size()) * static_cast<double>(c.y.size()) * static_cast<double>(systems.n);
  const int threads = threads_for(points, limit);
  const tnk_int columns = threads > 1 ? block<R> / 2 : block<R>;
  const tnk_int blocks = (c.x.end + columns - 1) / columns; // of a line, from its beginning
  const tnk_int packs = (std::min(columns, c.x.end) + per_pack<R> - 1) / per_pack<R>,
                pitch = packs * per_pack<R>; // of w, which takes no more room than f
  if (systems.rows().size() > 0)
    in_slices({c.y.begin * blocks, c.y.end * blocks}, 1, threads, [&](tnk_int begin, tnk_int end) {
      const tnk_int room = systems.rows().size() * pitch * static_cast<tnk_int>(sizeof(R));
      R *const w = static_cast<R *>(tnk_serv_allocate(room, 64));
      if (!w) {
        status = TNK_PDEPL_FAILED;
        return;
      }
      for (tnk_int k = begin; k < end; ++k) {
        const tnk_int j = k / blocks, from = k % blocks * columns;
        const bool skip = singular && k == 0; // its first column
        const tnk_int i = std::max(from, skip ? 1 : c.x.begin), to = std::min(from + columns, c.x.end);
        R lambda[block<R>];
        for (tnk_int m = i; m < to; ++m)
          lambda[m - i] = c.y_spectrum ? c.x_spectrum[m] + c.y_spectrum[j] : c.x_spectrum[m];
        solve(systems, systems.f + j * c.line + i, lambda, to - i, w, pitch);
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
