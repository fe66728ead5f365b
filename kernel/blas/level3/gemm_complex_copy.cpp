// Packing of the complex matrix product: blocks of A, times alpha, and of B into panels (tile.h has their layout). A panel
// has its lanes (rows of A, columns of B) in pairs by part; conjugates are stored as 0 - im.
#include "kernel/blas/level3/tile.h"
#include "kernel/frame/transpose.h"
#include <tnk/blas_level3.h>

namespace tnk {
namespace {

#define TNK_INLINE inline __attribute__((always_inline))

// ---- Vectors of pairs: re re im im ------------------------------------------------------------------------------
// f32x8: two pairs of lanes at one step. f64x4: one pair.

// (0 - im) in place of im.
TNK_INLINE f32x8 conjugate_pairs(f32x8 v) {
  return blended<0xCC>(v, f32x8{} - v);
}
TNK_INLINE f64x4 conjugate_pairs(f64x4 v) {
  return blended<0xC>(v, f64x4{} - v);
}

// im im re re.
TNK_INLINE f32x8 exchange_parts(f32x8 v) {
  return swap_pairs(v);
}
TNK_INLINE f64x4 exchange_parts(f64x4 v) {
  return swap_halves(v);
}

// a a, b b in each pair.
TNK_INLINE f32x8 by_part(float a, float b) {
  return f32x8{a, a, b, b, a, a, b, b};
}
TNK_INLINE f64x4 by_part(double a, double b) {
  return f64x4{a, a, b, b};
}

// ---- What happens to an element on its way ----------------------------------------------------------------------

template <class T, bool Conjugate> struct as_it_is {
  using vector = vec_of<T>;
  TNK_INLINE T operator()(T x) const { return Conjugate ? conjugate(x) : x; }
  TNK_INLINE vector operator()(vector v) const { return Conjugate ? conjugate_pairs(v) : v; }
};

// alpha times the element, or times its conjugate. Adding -im * x.im is subtracting im * x.im, to the bit.
template <class T, bool Conjugate> struct times_alpha {
  using vector = vec_of<T>;
  T alpha;
  vector re, im;
  explicit TNK_INLINE times_alpha(T factor)
      : alpha(factor), re(by_part(factor.re, factor.re)), im(by_part(-factor.im, factor.im)) {}
  TNK_INLINE T operator()(T x) const { return alpha * (Conjugate ? conjugate(x) : x); }
  TNK_INLINE vector operator()(vector v) const {
    if (Conjugate) v = conjugate_pairs(v);
    return re * v + im * exchange_parts(v);
  }
};

// ---- Two pairs or one --------------------------------------------------------------------------------------------

// Four steps of four lanes, each lane's steps neighbours in memory.
template <class F> TNK_INLINE void transpose(const tnk_complex8 *x, tnk_int ld, float *to, F f) {
  f32x8 x0 = loadu<f32x8>(x), x1 = loadu<f32x8>(x + ld);
  f32x8 x2 = loadu<f32x8>(x + 2 * ld), x3 = loadu<f32x8>(x + 3 * ld);
  transpose_by_part(x0, x1, x2, x3);
  storeu(to, f(x0));
  storeu(to + 8, f(x1));
  storeu(to + 16, f(x2));
  storeu(to + 24, f(x3));
}
// Two steps of two lanes; steps of the panel stand `step` doubles apart.
template <class F>
TNK_INLINE void transpose(const tnk_complex16 *x, tnk_int ld, double *to, tnk_int step, F f) {
  f64x4 x0 = loadu<f64x4>(x), x1 = loadu<f64x4>(x + ld);
  transpose_by_part(x0, x1);
  storeu(to, f(x0));
  storeu(to + step, f(x1));
}

// ---- Panels ---------------------------------------------------------------------------------------------------------

template <class T> TNK_INLINE void put_lane(real_of<T> *step, tnk_int lane, T x) {
  real_of<T> *const pair = step + lane / 2 * 4 + lane % 2;
  put(pair, x.re);
  put(pair + 2, x.im);
}

// Vectors that a step of W lanes takes.
template <class T, int W> constexpr int vectors = 2 * W / per_vector<real_of<T>>;

// Steps from `steps` to the next multiple of 4: zeros in all lanes.
template <class T, int W> void pad(tnk_int steps, T *panel) {
  for (tnk_int l = steps; l % 4 != 0; ++l)
    for (int r = 0; r < W; ++r) put(panel + l * W + r, T{});
}

// The last panel, of 1 to W - 1 lanes; element (lane r, step l) is read at x + r * lane + l * step. Lanes above are zeroed
// (B) or left as they are (A).
template <class T, int W, bool Zero, class F>
void last_panel(tnk_int count, tnk_int steps, const T *x, tnk_int lane, tnk_int step, T *panel, F f) {
  for (tnk_int l = 0; l < steps; ++l) {
    real_of<T> *const to = reinterpret_cast<real_of<T> *>(panel + l * W);
    for (tnk_int r = 0; r < count; ++r) put_lane(to, r, f(get(x + r * lane + l * step)));
    if constexpr (Zero)
      for (tnk_int r = count; r < W; ++r) put_lane(to, r, T{});
  }
  pad<T, W>(steps, panel);
}

// Lanes are neighbours in the source, steps ld apart.
template <class T, int W, bool Zero, class F>
void pack_lanes(tnk_int count, tnk_int steps, const T *x, tnk_int ld, T *panels, tnk_int stride, F f) {
  constexpr int at_once = 8; // steps: source columns read side by side, and bytes written in a row
  using real = real_of<T>;
  const tnk_int whole = count / W;
  for (tnk_int l0 = 0; l0 < steps; l0 += at_once) {
    const tnk_int end = l0 + at_once < steps ? l0 + at_once : steps;
    for (tnk_int p = 0; p < whole; ++p) {
      real *to = reinterpret_cast<real *>(panels + p * stride + l0 * W);
      const T *from = x + p * W + l0 * ld;
      for (tnk_int l = l0; l < end; ++l, from += ld)
        for (int v = 0; v < vectors<T, W>; ++v, to += per_vector<real>)
          storeu(to, f(load_by_part(reinterpret_cast<const real *>(from) + v * per_vector<real>)));
    }
  }
  for (tnk_int p = 0; p < whole; ++p) pad<T, W>(steps, panels + p * stride);
  if (count % W != 0)
    last_panel<T, W, Zero>(count % W, steps, x + whole * W, 1, ld, panels + whole * stride, f);
}

// Steps are neighbours in the source, lanes ld apart.
template <class T, int W, bool Zero, class F>
void pack_steps(tnk_int count, tnk_int steps, const T *x, tnk_int ld, T *panels, tnk_int stride, F f) {
  using real = real_of<T>;
  constexpr int at_once = per_vector<real> / 2; // steps of a vector
  const tnk_int whole = count / W;
  for (tnk_int p = 0; p < whole; ++p, x += W * ld, panels += stride) {
    real *to = reinterpret_cast<real *>(panels);
    tnk_int l = 0;
    for (; l + at_once <= steps; l += at_once, to += at_once * 2 * W) {
      if constexpr (sizeof(real) == 4)
        transpose(x + l, ld, to, f);
      else
        for (int r = 0; r < W; r += 2) transpose(x + l + r * ld, ld, to + 2 * r, 2 * W, f);
    }
    for (; l < steps; ++l, to += 2 * W)
      for (int r = 0; r < W; ++r) put_lane(to, r, f(get(x + l + r * ld)));
    pad<T, W>(steps, panels);
  }
  if (count % W != 0) last_panel<T, W, Zero>(count % W, steps, x, ld, 1, panels, f);
}

template <class T, bool Transposed, bool Conjugate>
void pack_a(tnk_int rows, tnk_int steps, const T *a, tnk_int lda, T *panels, tnk_int stride, const T *alpha) {
  constexpr int mr = gemm_tile<T>::mr;
  if (rows < 1 || steps < 1) return;
  const times_alpha<T, Conjugate> f(get(alpha));
  if constexpr (Transposed)
    pack_steps<T, mr, false>(rows, steps, a, lda, panels, stride, f);
  else
    pack_lanes<T, mr, false>(rows, steps, a, lda, panels, stride, f);
}

template <class T, bool Transposed, bool Conjugate>
void pack_b(tnk_int steps, tnk_int columns, const T *b, tnk_int ldb, T *panels, tnk_int stride, const T *) {
  constexpr int nr = gemm_tile<T>::nr;
  if (steps < 1 || columns < 1) return;
  const as_it_is<T, Conjugate> f;
  if constexpr (Transposed)
    pack_lanes<T, nr, true>(columns, steps, b, ldb, panels, stride, f);
  else
    pack_steps<T, nr, true>(columns, steps, b, ldb, panels, stride, f);
}

} // namespace
} // namespace tnk

#define TNK_GEMM_COPY(name, T, pack)                                                                         \
  extern "C" void name(const tnk_int *count1, const tnk_int *count2, const void *source, const tnk_int *ld,  \
                       void *buffer, const tnk_gemm_panels *panels, const void *alpha) {                     \
    using namespace tnk;                                                                                     \
    pack(*count1, *count2, static_cast<const T *>(source), *ld, static_cast<T *>(buffer), panels->stride,    \
         static_cast<const T *>(alpha));                                                                     \
  }
#define TNK_GEMM_COPIES(t, T)                                                                                \
  TNK_GEMM_COPY(tnk_blas_##t##gemm_copyan, T, (pack_a<T, false, false>))                                     \
  TNK_GEMM_COPY(tnk_blas_##t##gemm_copyat, T, (pack_a<T, true, false>))                                      \
  TNK_GEMM_COPY(tnk_blas_##t##gemm_copyac, T, (pack_a<T, true, true>))                                       \
  TNK_GEMM_COPY(tnk_blas_##t##gemm_copybn, T, (pack_b<T, false, false>))                                     \
  TNK_GEMM_COPY(tnk_blas_##t##gemm_copybt, T, (pack_b<T, true, false>))                                      \
  TNK_GEMM_COPY(tnk_blas_##t##gemm_copybc, T, (pack_b<T, true, true>))

TNK_GEMM_COPIES(c, tnk_complex8)
TNK_GEMM_COPIES(z, tnk_complex16)
