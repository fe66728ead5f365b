// Packing of the real matrix product: blocks of A, times alpha, and of B become panels.
#include "kernel/blas/level3/gemm_copy.h"
#include "kernel/frame/transpose.h"
#include <type_traits>

namespace tnk::level3 {
namespace {

// Four floats each in the two halves of a vector.
inline f32x8 load_halves(const float *low, const float *high) {
  return joined(loadu<f32x4>(low), loadu<f32x4>(high));
}

// Four steps of L lanes of a panel of a source that runs along it.
template <int L, int W, class T, class F> inline void four_steps(const T *source, tnk_int ld, T *panel, F f) {
  if constexpr (L * sizeof(T) == 32 && sizeof(T) == 4) {
    f32x8 r0 = load_halves(source, source + 4 * ld), r1 = load_halves(source + ld, source + 5 * ld);
    f32x8 r2 = load_halves(source + 2 * ld, source + 6 * ld),
          r3 = load_halves(source + 3 * ld, source + 7 * ld);
    transpose_halves(r0, r1, r2, r3);
    storeu(panel, f(r0));
    storeu(panel + W, f(r1));
    storeu(panel + 2 * W, f(r2));
    storeu(panel + 3 * W, f(r3));
  } else {
    for (int h = 0; h < L; h += 4, source += 4 * ld, panel += 4) {
      using V = quad<T>;
      V r0 = loadu<V>(source), r1 = loadu<V>(source + ld);
      V r2 = loadu<V>(source + 2 * ld), r3 = loadu<V>(source + 3 * ld);
      transpose(r0, r1, r2, r3);
      storeu(panel, f(r0));
      storeu(panel + W, f(r1));
      storeu(panel + 2 * W, f(r2));
      storeu(panel + 3 * W, f(r3));
    }
  }
}

struct RealPanels {
  template <class T, bool> struct Times {
    T alpha;
    explicit Times(T factor) : alpha(factor) {}
    template <class V> V operator()(V x) const { return alpha * x; }
  };
  template <class T, bool> struct Unchanged {
    template <class V> V operator()(V x) const { return x; }
  };
  template <class T> static void put(T *step, tnk_int lane, T x) { step[lane] = x; }

  // Several panels side by side: whole lines of the source are read. Each step's are in another page, too few for the
  // processor to read on by itself: what the next panels need is brought into the second level meanwhile.
  template <int L, int W, class T, class F>
  static void across(tnk_int count, tnk_int steps, const T *source, tnk_int ld, T *to, tnk_int stride, F f) {
    using V = std::conditional_t<L * sizeof(T) == 16, half<T>, vec<T>>;
    constexpr int width = sizeof(V) / sizeof(T), line = 64 / sizeof(T);
    tnk_int i = 0;
    const auto panels = [&](auto side_by_side) {
      constexpr int P = side_by_side;
      for (; i + P * L <= count; i += P * L) {
        const T *from = source + i;
        T *const panel = to + i / L * stride;
        for (tnk_int l = 0; l < steps; ++l, from += ld) {
          if (P > 1)
            for (int ahead = P * L; ahead < 2 * P * L; ahead += line) __builtin_prefetch(from + ahead, 0, 2);
          for (int p = 0; p < P; ++p)
            for (int h = 0; h < L; h += width)
              storeu(panel + p * stride + W * l + h, f(loadu<V>(from + p * L + h)));
        }
        for (int p = 0; p < P; ++p) pad<W>(steps, panel + p * stride);
      }
    };
    panels(std::integral_constant<int, 8>{});
    panels(std::integral_constant<int, 4>{});
    panels(std::integral_constant<int, 1>{});
  }

  template <int L, int W, class T, class F>
  static void along(tnk_int count, tnk_int steps, const T *source, tnk_int ld, T *to, tnk_int stride, F f) {
    for (tnk_int i = 0; i < count; i += L, source += L * ld, to += stride) {
      tnk_int l = 0;
      for (; l + 4 <= steps; l += 4) four_steps<L, W>(source + l, ld, to + W * l, f);
      if (l < steps && l > 0)
        l = steps, four_steps<L, W>(source + l - 4, ld, to + W * (l - 4), f); // some once more
      for (; l < steps; ++l)
        for (int r = 0; r < L; ++r) put(to + W * l, r, f(get(source + l + r * ld)));
      pad<W>(steps, to);
    }
  }
};

} // namespace
} // namespace tnk::level3

#define COPY_EXT(T, type, o)                                                                                 \
  void tnk_blas_##type##gemm_copy##o##_ext(const char *trans, const tnk_int *count1, const tnk_int *count2,  \
                                           const void *source, const tnk_int *ld, void *buffer,              \
                                           const tnk_gemm_panels *panels, const void *alpha) {               \
    using namespace tnk::level3;                                                                             \
    (operation_of<T>(trans) == as_it_is                                                                      \
         ? tnk_blas_##type##gemm_copy##o##n                                                                  \
         : tnk_blas_##type##gemm_copy##o##t)(count1, count2, source, ld, buffer, panels, alpha);             \
  }
#define COPIES(T, type)                                                                                      \
  TNK_GEMM_COPY(tnk::level3::RealPanels, T, type, n, as_it_is)                                               \
  TNK_GEMM_COPY(tnk::level3::RealPanels, T, type, t, transposed)                                             \
  COPY_EXT(T, type, a)                                                                                       \
  COPY_EXT(T, type, b)

COPIES(float, s)
COPIES(double, d)
