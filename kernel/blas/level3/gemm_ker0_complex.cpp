// The block kernels of the complex matrix product: packed panels multiplied into C.
#include "kernel/blas/level3/constants.h"
#include "kernel/blas/level3/gemm_ker0.h"
#include "kernel/blas/level3/passes.h"

namespace tnk::level3 {
namespace {

// ---- Vectors --------------------------------------------------------------------------------------------------

// Two neighbours, over and over.
TNK_INLINE void splat_pair(const float *p, f32x8 &v) {
  v = _mm256_castpd_ps(_mm256_set1_pd(get(reinterpret_cast<const double *>(p))));
}
TNK_INLINE void splat_pair(const float *p, f32x4 &v) {
  v = _mm_castpd_ps(_mm_set1_pd(get(reinterpret_cast<const double *>(p))));
}

// a0 a2 b1 b3, and a2 a0 b3 b1, in each half.
TNK_INLINE f32x8 evens_odds(f32x8 a, f32x8 b) {
  return _mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 2, 0));
}
TNK_INLINE f32x4 evens_odds(f32x4 a, f32x4 b) {
  return _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 2, 0));
}
TNK_INLINE f32x8 evens_odds_back(f32x8 a, f32x8 b) {
  return _mm256_shuffle_ps(a, b, _MM_SHUFFLE(1, 3, 0, 2));
}
TNK_INLINE f32x4 evens_odds_back(f32x4 a, f32x4 b) {
  return _mm_shuffle_ps(a, b, _MM_SHUFFLE(1, 3, 0, 2));
}

// ---- A tile -----------------------------------------------------------------------------------------------------

// The sums of one group of rows: its real and its imaginary parts times two vectors of B. A group is two rows in single
// complex and one in double.
template <class V> struct Sums { V re0{}, re1{}, im0{}, im1{}; };

// A sum passes through a register each time: left to itself, the compiler collects the products of many steps before
// it adds them, in more vectors than there are registers.
template <class V> TNK_INLINE void add_products(Sums<V> &s, V re, V im, V b0, V b1) {
  s.re0 = in_register(s.re0 + re * b0);
  s.re1 = in_register(s.re1 + re * b1);
  s.im0 = in_register(s.im0 + im * b0);
  s.im1 = in_register(s.im1 + im * b1);
}

template <class V> TNK_INLINE void put_sum(void *c, V sum, bool add) {
  storeu(c, add ? loadu<V>(c) + sum : sum);
}

// The form of a tile in each type: step() takes one step of k, set() what all of them come to in a whole tile
// (passes.h), finish() adds the sums to columns of C. Rows below the tile's own are those of an edge, Columns below
// it those of a remainder.
template <class T, int Rows, int Columns> struct Tile;

// Single complex. One vector of B has the four columns, a second the same with the columns of each pair exchanged;
// two rows of A are broadcast at once. Sums at hand in a half, rows 0 and 1, columns 0 and 1:
//   re0:  re0*re0 re1*re1 re0*im0 re1*im1     re1:  re0*re1 re1*re0 re0*im1 re1*im0     (im0, im1 alike)
template <int Rows, int Columns> struct Tile<tnk_complex8, Rows, Columns> {
  using vector = std::conditional_t<(Columns > 2), f32x8, f32x4>;
  static constexpr int a_step = 8, b_step = 8;
  Sums<vector> upper, lower;

  static TNK_INLINE void add_pair(Sums<vector> &s, const float *a, vector b0, vector b1) {
    vector re, im;
    splat_pair(a, re);
    splat_pair(a + 2, im);
    add_products(s, re, im, b0, b1);
  }
  // The lane of the second row holds no row and is not read. What its products with b1 would be stands in those with
  // b0.
  static TNK_INLINE void add_single(Sums<vector> &s, const float *a, vector b0) {
    s.re0 = in_register(s.re0 + splat<vector>(a[0]) * b0);
    s.im0 = in_register(s.im0 + splat<vector>(a[2]) * b0);
  }

  TNK_INLINE void set(const UnitSums<float> &s) {
    upper = {s.x[0], s.y[0], s.x[1], s.y[1]};
    lower = {s.x[2], s.y[2], s.x[3], s.y[3]};
  }
  TNK_INLINE void step(const float *a, const float *b) {
    const vector b0 = loadu<vector>(b), b1 = swap_neighbours(b0);
    if constexpr (Rows >= 2)
      add_pair(upper, a, b0, b1);
    else
      add_single(upper, a, b0);
    if constexpr (Rows == 4)
      add_pair(lower, a + 4, b0, b1);
    else if constexpr (Rows == 3)
      add_single(lower, a + 4, b0);
  }

  // Columns 0 and 2, or 1 and 3, of a group: re im of its first row, re im of its second.
  static TNK_INLINE vector even_columns(const Sums<vector> &s) {
    return addsub(evens_odds(s.re0, s.re1), evens_odds_back(s.im0, s.im1));
  }
  static TNK_INLINE vector odd_columns(const Sums<vector> &s) {
    return addsub(evens_odds(s.re1, s.re0), evens_odds_back(s.im1, s.im0));
  }

  static TNK_INLINE void put_single(tnk_complex8 *c, f32x4 sum, bool add) {
    const f32x4 old =
        add ? f32x4(_mm_castpd_ps(_mm_set_sd(get(reinterpret_cast<const double *>(c))))) : f32x4{};
    sum = add ? old + sum : sum;
    put(reinterpret_cast<double *>(c), _mm_castps_pd(sum)[0]);
  }
  static TNK_INLINE void put_column(tnk_complex8 *c, f32x4 rows01, f32x4 rows23, bool add) {
    if constexpr (Rows >= 2)
      put_sum(c, rows01, add);
    else
      put_single(c, rows01, add);
    if constexpr (Rows == 4)
      put_sum(c + 2, rows23, add);
    else if constexpr (Rows == 3)
      put_single(c + 2, rows23, add);
  }

  TNK_INLINE void finish(tnk_complex8 *c, tnk_int ldc, bool add) {
    if constexpr (Rows == 1) {
      upper.re1 = swap_neighbours(upper.re0);
      upper.im1 = swap_neighbours(upper.im0);
    }
    if constexpr (Rows == 3) {
      lower.re1 = swap_neighbours(lower.re0);
      lower.im1 = swap_neighbours(lower.im0);
    }
    const vector up02 = even_columns(upper), up13 = odd_columns(upper);
    const vector low02 = even_columns(lower), low13 = odd_columns(lower);
    if constexpr (Columns <= 2) {
      put_column(c, up02, low02, add);
      if constexpr (Columns == 2) put_column(c + ldc, up13, low13, add);
    } else if constexpr (Rows == 4) {
      put_sum(c, low_halves(up02, low02), add);
      put_sum(c + ldc, low_halves(up13, low13), add);
      put_sum(c + 2 * ldc, high_halves(up02, low02), add);
      if constexpr (Columns == 4) put_sum(c + 3 * ldc, high_halves(up13, low13), add);
    } else {
      put_column(c, low_half(up02), low_half(low02), add);
      put_column(c + ldc, low_half(up13), low_half(low13), add);
      put_column(c + 2 * ldc, high_half(up02), high_half(low02), add);
      if constexpr (Columns == 4) put_column(c + 3 * ldc, high_half(up13), high_half(low13), add);
    }
  }
};

// Double complex. Two vectors of B have two columns each, re re im im; one part of one row of A is broadcast.
template <int Rows, int Columns> struct Tile<tnk_complex16, Rows, Columns> {
  static constexpr int a_step = 4, b_step = 8;
  Sums<f64x4> upper, lower;

  static TNK_INLINE void add_row(Sums<f64x4> &s, const double *a, f64x4 b0, f64x4 b1) {
    const f64x4 re = splat<f64x4>(a[0]), im = splat<f64x4>(a[2]);
    if constexpr (Columns > 2) {
      add_products(s, re, im, b0, b1);
    } else {
      s.re0 = in_register(s.re0 + re * b0);
      s.im0 = in_register(s.im0 + im * b0);
    }
  }
  TNK_INLINE void set(const UnitSums<double> &s) {
    upper = {s.x[0], s.y[0], s.x[2], s.y[2]};
    lower = {s.x[1], s.y[1], s.x[3], s.y[3]};
  }
  TNK_INLINE void step(const double *a, const double *b) {
    const f64x4 b0 = loadu<f64x4>(b), b1 = Columns > 2 ? loadu<f64x4>(b + 4) : f64x4{};
    add_row(upper, a, b0, b1);
    if constexpr (Rows == 2) add_row(lower, a + 1, b0, b1);
  }

  // Two columns: from the products with a pair of B.
  static TNK_INLINE void put_columns(tnk_complex16 *c, tnk_int ldc, bool two, f64x4 up_re, f64x4 up_im,
                                     f64x4 low_re, f64x4 low_im, bool add) {
    if constexpr (Rows == 2) {
      const f64x4 re = low_halves(up_re, low_re) - high_halves(up_im, low_im);
      const f64x4 im = high_halves(up_re, low_re) + low_halves(up_im, low_im);
      put_sum(c, f64x4(_mm256_unpacklo_pd(re, im)), add);
      if (two) put_sum(c + ldc, f64x4(_mm256_unpackhi_pd(re, im)), add);
    } else {
      const f64x2 re = low_half(up_re) - high_half(up_im), im = high_half(up_re) + low_half(up_im);
      put_sum(c, f64x2(_mm_unpacklo_pd(re, im)), add);
      if (two) put_sum(c + ldc, f64x2(_mm_unpackhi_pd(re, im)), add);
    }
  }
  TNK_INLINE void finish(tnk_complex16 *c, tnk_int ldc, bool add) {
    put_columns(c, ldc, Columns > 1, upper.re0, upper.im0, lower.re0, lower.im0, add);
    if constexpr (Columns > 2)
      put_columns(c + 2 * ldc, ldc, Columns > 3, upper.re1, upper.im1, lower.re1, lower.im1, add);
  }
};

// ---- A block ------------------------------------------------------------------------------------------------------

// Ahead of the read pointers, in bytes: A comes from the second level, B stays in the first.
constexpr int a_ahead = 1536, b_ahead = 128;

template <int Columns, class T> TNK_INLINE void prefetch_tile(const T *c, tnk_int ldc) {
  for (int j = 0; j < Columns; ++j) __builtin_prefetch(reinterpret_cast<const char *>(c + j * ldc) + 32);
}

// Rows of an edge or columns of a remainder.
template <class T, int Rows, int Columns>
TNK_INLINE void narrow_tile(tnk_int k, const real_of<T> *a, const real_of<T> *b, T *c, tnk_int ldc,
                            bool add) {
  using Form = Tile<T, Rows, Columns>;
  prefetch_tile<Columns>(c, ldc);
  Form t;
  for (; k >= 4; k -= 4) {
#pragma GCC unroll 4
    for (int s = 0; s < 4; ++s, a += Form::a_step, b += Form::b_step) {
      if (s * Form::a_step * sizeof *a % 64 == 0) __builtin_prefetch(a + a_ahead / sizeof *a);
      if (s * Form::b_step * sizeof *b % 64 == 0) __builtin_prefetch(b + b_ahead / sizeof *b);
      t.step(a, b);
    }
  }
  t.finish(c, ldc, add);
}

// Whole panels of B, or what is left of its columns, by all of A.
template <int Rows, int Columns, class T> void panel(const PackedProduct<T> &p, const T *b_panel, T *c) {
  using real = real_of<T>;
  const auto *a = reinterpret_cast<const real *>(p.a), *b = reinterpret_cast<const real *>(b_panel);
  const tnk_int a_stride = 2 * p.a_stride;
  if constexpr (Rows == gemm_tile<T>::mr && Columns > 2) {
    tiles_of_panel<Rows>(p.m, p.k, b, [&](auto how, const real *second_at, tnk_int i) TNK_INLINED {
      prefetch_tile<Columns>(c + i, p.ldc);
      Tile<T, Rows, Columns> t;
      t.set(unit_passes<how(), a_ahead, b_ahead>(p.k, a + i / Rows * a_stride, b, second_at));
      t.finish(c + i, p.ldc, p.add);
    });
  } else {
    for (tnk_int i = 0; i < p.m; i += Rows, a += a_stride)
      narrow_tile<T, Rows, Columns>(p.k, a, b, c + i, p.ldc, p.add);
  }
}

// All of B by panels of so many rows of A.
template <int Rows, class T> void panels(const PackedProduct<T> &p) {
  static_assert(gemm_tile<T>::nr == group, "no narrow groups");
  const T *b = p.b;
  tnk_int j = 0;
  for (; j + group <= p.n; j += group, b += p.b_stride) panel<Rows, group>(p, b, p.c + j * p.ldc);
  with_constant<group - 1>(p.n - j, [&](auto columns) { panel<Rows, columns>(p, b, p.c + j * p.ldc); });
}

template <class T> void tiles(const PackedProduct<T> &p) {
  panels<gemm_tile<T>::mr>(p);
}
template <class T> void edge(const PackedProduct<T> &p) {
  with_constant<gemm_tile<T>::mr - 1>(p.m, [&](auto rows) { panels<rows>(p); });
}

} // namespace
} // namespace tnk::level3

TNK_GEMM_KERNELS(tnk_complex8, c)
TNK_GEMM_KERNELS(tnk_complex16, z)
