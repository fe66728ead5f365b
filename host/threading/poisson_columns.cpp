// Tridiagonal equations along the last axis, one system for each coefficient of the transforms:
//
//   - u[j-1] + lambda u[j] - u[j+1] = f[j]
//
// with 2 u of the one neighbour where an edge has its slope given; halved, such an equation makes the system symmetric.
// Elimination without pivoting, since lambda is 2 or more unless q is below 0, from both ends: with w[j] = 1 / (lambda - w[j-1])
//
//   g[j] = (f[j] + g[j-1]) w[j],    then backwards    u[j] = g[j] + w[j] u[j+1]
//
// from below, alike from above, and between the two the equation of the middle row. So a thread that transforms the lower
// rows can solve them as well, and only the middle goes from one processor's cache to another's.
//
// Columns go side by side, and rows in strips, from left to right. w rises or falls to a limit and, since rounding keeps
// order, reaches one exactly: from there on it is neither computed nor stored, and bits are as they would be. Of a
// square of 512 that leaves one division in twenty.
#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <tnk/services.h>

#include "host/threading/poisson.h"

namespace tnk::host::poisson {
namespace {

// Columns side by side: four kB of a row, or one where threads share them. Rows of a square of 2^k begin a few bytes off whole
// pages from each other, and a processor that looks at the last 12 bits of an address holds a load back until such a store
// is done: so many columns further on it is.
template <class R> constexpr tnk_int block = 4096 / static_cast<tnk_int>(sizeof(R));

constexpr tnk_int kept_bytes = 1 << 20; // in a thread's second cache

template <class R> struct Systems {
  R *f; // row 0 of the first column
  tnk_int stride;
  tnk_int n; // cells
  Sides sides;

  Range rows() const { return unknowns(sides, n); }
};

// ---- Strips of rows --------------------------------------------------------------------------------------------------
// In vectors that every processor of the architecture has, as this library runs on all of them.

constexpr int strip_rows = 4;

template <class R> struct Pack { typedef R type __attribute__((vector_size(16))); };
template <class R> using pack = typename Pack<R>::type;
template <class R> constexpr tnk_int per_pack = 16 / static_cast<tnk_int>(sizeof(R));

template <class V, class R> [[gnu::always_inline]] inline V load(const R *p) {
  V v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <class V, class R> [[gnu::always_inline]] inline void store(R *p, const V &v) {
  std::memcpy(p, &v, sizeof v);
}

// What becomes of w: it is made, row by row, or read, or has settled.
enum Sweep { down_making, down_reading, down_settled, up_reading, up_settled };
constexpr bool is_down(Sweep sweep) {
  return sweep == down_making || sweep == down_reading || sweep == down_settled;
}

// From `row`, which is done, `rows` more, as far as they are columns [i, end) in whole V. Returns the column reached. w stands
// beside `row`, on the way up beside the next one.
template <Sweep sweep, int rows, class V, class R>
[[gnu::always_inline]] inline tnk_int strip_of(R *row, tnk_int stride, tnk_int i, tnk_int end, R *w,
                                               tnk_int pitch, const R *lambda) {
  constexpr tnk_int width = sizeof(V) / sizeof(R);
  const tnk_int step = is_down(sweep) ? stride : -stride;
  for (; i + width <= end; i += width) {
    V u = load<V>(row + i), pivot = load<V>(w + i), f[rows];
    for (int r = 0; r < rows; ++r) f[r] = load<V>(row + (r + 1) * step + i);
    for (int r = 0; r < rows; ++r) {
      if constexpr (sweep == down_making) {
        pivot = 1 / (load<V>(lambda + i) - pivot);
        store(w + (r + 1) * pitch + i, pivot);
      } else if constexpr (sweep == down_reading) {
        pivot = load<V>(w + (r + 1) * pitch + i);
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
void strip(R *row, tnk_int stride, tnk_int i, tnk_int end, R *w, tnk_int pitch, const R *lambda) {
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
  explicit Making(tnk_int count) : count_(count), end_(count) {
    std::fill_n(settled_at_, (count + per_pack<R> - 1) / per_pack<R>, never);
  }
  tnk_int end() const { return end_; }

  // After a strip up to `row`, with the last row of w and those that have settled.
  void look(tnk_int row, const R *w, tnk_int pitch, R *settled) {
    while (end_ > 0) {
      const tnk_int from = (end_ - 1) / per_pack<R> * per_pack<R>;
      if (!std::equal(w + from, w + end_, w + from - pitch)) return;
      std::copy(w + from, w + end_, settled + from);
      settled_at_[from / per_pack<R>] = row;
      end_ = from;
    }
  }
  // To how it was before the strip behind `row`.
  void go_to(tnk_int row) {
    while (end_ < count_ && settled_at_[end_ / per_pack<R>] > row)
      end_ = std::min(end_ + per_pack<R>, count_);
    while (end_ > 0 && settled_at_[(end_ - 1) / per_pack<R>] <= row)
      end_ = (end_ - 1) / per_pack<R> * per_pack<R>;
  }

private:
  static constexpr tnk_int never = std::numeric_limits<tnk_int>::max();
  tnk_int count_, end_;
  tnk_int settled_at_[block<R> / per_pack<R>];
};

// Rows of a block from an end to the one before the middle, counted from the end.
template <class R> class Half {
public:
  // `end`: its first row; further ones are a `stride` away each. `w` has room for as many rows of a pitch.
  Half(R *end, tnk_int stride, tnk_int rows, bool has_slope, R *w, tnk_int pitch, tnk_int count)
      : end_(end), stride_(stride), rows_(rows), has_slope_(has_slope), w_(w), pitch_(pitch), count_(count),
        making_(count) {}

  // `like`: the other half, if that has made the same w already.
  void eliminate(const R *__restrict lambda, const Half *like) {
    if (rows_ == 0) return;
    const R half = has_slope_ ? R(0.5) : R(1);
    if (like) {
      w_ = like->w_, making_ = like->making_;
      std::copy_n(like->settled_, count_, settled_);
    } else {
      for (tnk_int i = 0; i < count_; ++i) w_[i] = 1 / (half * lambda[i]);
    }
    for (tnk_int i = 0; i < count_; ++i) end_[i] *= half * w_[i];
    while (done_ + 1 < rows_) {
      const int more = rows_ - 1 - done_ >= strip_rows ? strip_rows : 1;
      if (like) {
        making_.go_to(done_);
        strip<down_reading>(more, row(), stride_, 0, making_.end(), w(), pitch_);
      } else {
        strip<down_making>(more, row(), stride_, 0, making_.end(), w(), pitch_, lambda);
      }
      strip<down_settled>(more, row(), stride_, making_.end(), count_, settled_);
      done_ += more;
      if (!like) making_.look(done_, w(), pitch_, settled_);
    }
    making_.go_to(done_);
  }

  // Adds what the equation of the middle row has from here.
  void add_to(R *__restrict sum, R *__restrict pivot) {
    if (rows_ == 0) return;
    for (tnk_int i = 0; i < count_; ++i) sum[i] += row()[i];
    for (tnk_int i = 0; i < making_.end(); ++i) pivot[i] -= w()[i];
    for (tnk_int i = making_.end(); i < count_; ++i) pivot[i] -= settled_[i];
  }

  // From the middle row, which is done.
  void substitute() {
    if (rows_ == 0) return;
    strip<up_reading>(1, row() + stride_, stride_, 0, making_.end(), w());
    strip<up_settled>(1, row() + stride_, stride_, making_.end(), count_, settled_);
    while (done_ > 0) {
      const int more = done_ % strip_rows == 0 ? strip_rows : 1;
      making_.go_to(done_ - more);
      strip<up_reading>(more, row(), stride_, 0, making_.end(), w() - pitch_, pitch_);
      strip<up_settled>(more, row(), stride_, making_.end(), count_, settled_);
      done_ -= more;
    }
  }

private:
  R *row() { return end_ + done_ * stride_; }
  R *w() { return w_ + done_ * pitch_; }

  R *end_;
  tnk_int stride_, rows_;
  bool has_slope_;
  R *w_;
  tnk_int pitch_, count_;
  tnk_int done_ = 0; // the last row that is done
  Making<R> making_;
  R settled_[block<R>];
};

// Columns side by side, from f on. Halves may be done at once; the middle is between.
template <class R> class Block {
public:
  // Numbers that w of both halves needs.
  static tnk_int room(const Systems<R> &systems, tnk_int pitch) { return systems.rows().size() * pitch; }

  Block(const Systems<R> &systems, R *f, tnk_int count, R *w, tnk_int pitch)
      : count_(count), lower_rows_(systems.rows().size() / 2),
        upper_rows_(systems.rows().size() - 1 - lower_rows_), systems_(systems),
        middle_(f + (systems.rows().begin + lower_rows_) * systems.stride),
        halves_{Half<R>(f + systems.rows().begin * systems.stride, systems.stride, lower_rows_,
                        systems.sides.slope_below, w, pitch, count),
                Half<R>(f + (systems.rows().end - 1) * systems.stride, -systems.stride, upper_rows_,
                        systems.sides.slope_above, w + lower_rows_ * pitch, pitch, count)} {}

  R *lambda() { return lambda_; }
  // `in_turn`: the lower half has been done before the upper one.
  void eliminate(int half, bool in_turn) {
    const bool alike =
        in_turn && half == 1 && lower_rows_ > 0 && systems_.sides.slope_below == systems_.sides.slope_above;
    halves_[half].eliminate(lambda_, alike ? halves_ : nullptr);
  }
  void solve_middle() {
    const bool halved =
        (lower_rows_ == 0 && systems_.sides.slope_below) || (upper_rows_ == 0 && systems_.sides.slope_above);
    const R half = halved ? R(0.5) : R(1);
    R pivot[block<R>];
    for (tnk_int i = 0; i < count_; ++i) middle_[i] *= half, pivot[i] = half * lambda_[i];
    for (Half<R> &each : halves_) each.add_to(middle_, pivot);
    for (tnk_int i = 0; i < count_; ++i) middle_[i] /= pivot[i];
  }
  void substitute(int half) { halves_[half].substitute(); }

private:
  tnk_int count_, lower_rows_, upper_rows_;
  const Systems<R> &systems_;
  R *middle_;
  Half<R> halves_[2];
  R lambda_[block<R>];
};

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

// Blocks, some at a time: what threads have of them stays in their caches from one way to the other.
template <class R>
bool solve_regular(const Systems<R> &systems, const Coefficients<R> &c, bool singular, int threads) {
  const tnk_int columns = threads > 1 ? block<R> / 4 : block<R>;
  const tnk_int blocks = (c.x.end + columns - 1) / columns; // of a line, from its beginning
  const tnk_int packs = (std::min(columns, c.x.end) + per_pack<R> - 1) / per_pack<R>,
                pitch = packs * per_pack<R>; // of w, which takes no more room than f
  const tnk_int bytes = Block<R>::room(systems, pitch) * static_cast<tnk_int>(sizeof(R));
  const tnk_int all = c.y.size() * blocks;
  const tnk_int fit = threads > 1 ? std::max<tnk_int>(threads * kept_bytes / bytes, threads) : 1;
  const tnk_int rounds = (all + fit - 1) / fit, most = (all + rounds - 1) / rounds;
  char *const memory =
      static_cast<char *>(tnk_serv_allocate(most * (bytes + static_cast<tnk_int>(sizeof(Block<R>))), 64));
  if (!memory) return false;
  Block<R> *const some = reinterpret_cast<Block<R> *>(memory + most * bytes);
  for (tnk_int first = c.y.begin * blocks; first < c.y.end * blocks; first += most) {
    const tnk_int count = std::min(most, c.y.end * blocks - first);
    for (tnk_int b = 0; b < count; ++b) {
      const tnk_int k = first + b, j = k / blocks, from = k % blocks * columns;
      const bool skip = singular && k == 0; // its first column
      const tnk_int i = std::max(from, skip ? 1 : c.x.begin), to = std::min(from + columns, c.x.end);
      R *const w = reinterpret_cast<R *>(memory + b * bytes);
      R *const lambda =
          (new (some + b) Block<R>(systems, systems.f + j * c.line + i, to - i, w, pitch))->lambda();
      for (tnk_int m = i; m < to; ++m)
        lambda[m - i] = c.y_spectrum ? c.x_spectrum[m] + c.y_spectrum[j] : c.x_spectrum[m];
    }
    // Lower halves before upper ones; back the other way, as what was used last is nearest.
    in_slices({0, 2 * count}, 1, threads, [&](tnk_int begin, tnk_int end) {
      for (tnk_int k = begin; k < end; ++k) some[k % count].eliminate(k < count ? 0 : 1, threads < 2);
    });
    for (tnk_int b = 0; b < count; ++b) some[b].solve_middle();
    in_slices({0, 2 * count}, 1, threads, [&](tnk_int begin, tnk_int end) {
      for (tnk_int k = end - 1; k >= begin; --k) some[k % count].substitute(k < count ? 0 : 1);
    });
  }
  tnk_serv_deallocate(memory);
  return true;
}

template <class R>
void solve_all(const Systems<R> &systems, const Coefficients<R> &c, bool singular, int dims, R *dpar,
               const tnk_int *ipar, tnk_int limit, tnk_int *stat) {
  const double points =
      static_cast<double>(c.x.size()) * static_cast<double>(c.y.size()) * static_cast<double>(systems.n);
  const bool some = points > 0 && systems.rows().size() > 0;
  const tnk_int status =
      !some || solve_regular(systems, c, singular, threads_for(points, limit)) ? 0 : TNK_PDEPL_FAILED;
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
