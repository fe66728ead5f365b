// Packing of the complex matrix product: blocks of A, times alpha, and of B become panels, their lanes in pairs by
// part; conjugates are stored as 0 - im.
#include "kernel/blas/level3/constants.h"
#include "kernel/blas/level3/gemm_copy.h"
#include "kernel/frame/transpose.h"

namespace tnk::level3 {
namespace {

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

// As many steps as a vector has elements, of W lanes, the steps of a lane neighbours in memory: four of four lanes, or
// two of two lanes at a time.
template <int W, class F> TNK_INLINE void some_steps(const tnk_complex8 *x, tnk_int ld, float *to, F f) {
  static_assert(W == 4);
  f32x8 x0 = loadu<f32x8>(x), x1 = loadu<f32x8>(x + ld);
  f32x8 x2 = loadu<f32x8>(x + 2 * ld), x3 = loadu<f32x8>(x + 3 * ld);
  transpose_by_part(x0, x1, x2, x3);
  storeu(to, f(x0));
  storeu(to + 8, f(x1));
  storeu(to + 16, f(x2));
  storeu(to + 24, f(x3));
}
template <int W, class F> TNK_INLINE void some_steps(const tnk_complex16 *x, tnk_int ld, double *to, F f) {
  for (int r = 0; r < W; r += 2, x += 2 * ld, to += 4) {
    f64x4 x0 = loadu<f64x4>(x), x1 = loadu<f64x4>(x + ld);
    transpose_by_part(x0, x1);
    storeu(to, f(x0));
    storeu(to + 2 * W, f(x1));
  }
}

struct ComplexPanels {
  // alpha times the element, or times its conjugate. Adding -im * x.im is subtracting im * x.im, to the bit.
  template <class T, bool conjugates> struct Times {
    using vector = vec_of<T>;
    T alpha;
    vector re, im;
    explicit TNK_INLINE Times(T factor)
        : alpha(factor), re(by_part(factor.re, factor.re)), im(by_part(-factor.im, factor.im)) {}
    TNK_INLINE T operator()(T x) const { return alpha * (conjugates ? conjugate(x) : x); }
    TNK_INLINE vector operator()(vector v) const {
      if (conjugates) v = conjugate_pairs(v);
      return re * v + im * exchange_parts(v);
    }
  };
  template <class T, bool conjugates> struct Unchanged {
    using vector = vec_of<T>;
    TNK_INLINE T operator()(T x) const { return conjugates ? conjugate(x) : x; }
    TNK_INLINE vector operator()(vector v) const { return conjugates ? conjugate_pairs(v) : v; }
  };
  template <class T> static TNK_INLINE void put(T *step, tnk_int lane, T x) {
    real_of<T> *const pair = reinterpret_cast<real_of<T> *>(step) + lane / 2 * 4 + lane % 2;
    tnk::put(pair, x.re);
    tnk::put(pair + 2, x.im);
  }

  // Some steps of all panels, then the next ones: source columns are read side by side, panels written in rows.
  template <int, int W, class T, class F>
  static void across(tnk_int count, tnk_int steps, const T *source, tnk_int ld, T *to, tnk_int stride, F f) {
    using real = real_of<T>;
    constexpr int at_once = 8, vectors = 2 * W / per_vector<real>; // steps; vectors that one takes
    for (tnk_int first = 0; first < steps; first += at_once) {
      const tnk_int end = first + at_once < steps ? first + at_once : steps;
      for (tnk_int i = 0; i < count; i += W) {
        real *at = reinterpret_cast<real *>(to + i / W * stride + first * W);
        const T *from = source + i + first * ld;
        for (tnk_int l = first; l < end; ++l, from += ld)
          for (int v = 0; v < vectors; ++v, at += per_vector<real>)
            storeu(at, f(load_by_part(reinterpret_cast<const real *>(from) + v * per_vector<real>)));
      }
    }
    for (tnk_int i = 0; i < count; i += W) pad<W>(steps, to + i / W * stride);
  }

  template <int, int W, class T, class F>
  static void along(tnk_int count, tnk_int steps, const T *source, tnk_int ld, T *to, tnk_int stride, F f) {
    using real = real_of<T>;
    constexpr int at_once = per_vector<real> / 2; // steps of a vector
    for (tnk_int i = 0; i < count; i += W, source += W * ld, to += stride) {
      tnk_int l = 0;
      for (; l + at_once <= steps; l += at_once)
        some_steps<W>(source + l, ld, reinterpret_cast<real *>(to + l * W), f);
      if (l < steps && l > 0) { // some once more
        l = steps;
        some_steps<W>(source + l - at_once, ld, reinterpret_cast<real *>(to + (l - at_once) * W), f);
      }
      for (; l < steps; ++l)
        for (int r = 0; r < W; ++r) put(to + l * W, r, f(get(source + l + r * ld)));
      pad<W>(steps, to);
    }
  }
};

} // namespace
} // namespace tnk::level3

#define COPIES(T, type)                                                                                      \
  TNK_GEMM_COPY(tnk::level3::ComplexPanels, T, type, n, as_it_is)                                            \
  TNK_GEMM_COPY(tnk::level3::ComplexPanels, T, type, t, transposed)                                          \
  TNK_GEMM_COPY(tnk::level3::ComplexPanels, T, type, c, conjugate_transposed)

COPIES(tnk_complex8, c)
COPIES(tnk_complex16, z)
