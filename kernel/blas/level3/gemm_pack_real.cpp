// Packing of the real matrix product: blocks of A, times alpha, and of B become panels (tile.h).
//
// A source runs either across a panel (one step's values are neighbours in memory: A as it is, B transposed)
// or along it (the values of one row or column are: A transposed, B as it is). Both are read in the order of
// memory.
#include "kernel/blas/level3/tile.h"
#include "kernel/frame/transpose.h"
#include <tnk/blas_level3.h>
#include <type_traits>

namespace tnk {
namespace {

// What happens to a value on its way: A is multiplied by alpha, B is not.
template <class T> struct times_alpha {
  T alpha;
  template <class V> V operator()(V x) const { return alpha * x; }
};
struct unchanged {
  template <class V> V operator()(V x) const { return x; }
};

inline tnk_int padded(tnk_int steps) {
  return (steps + 3) / 4 * 4;
}

template <int W, class T> void zero_steps(tnk_int from, T *panel) {
  for (tnk_int l = from; l < padded(from); ++l)
    for (int r = 0; r < W; ++r) panel[W * l + r] = 0;
}

// The last panel or group, `lanes_used` of whose W lanes are there. fill: zeros go into the others. A value
// stands at source + lane * lane_step + step * step_step.
template <int W, bool fill, class T, class F>
void pack_edge(tnk_int lanes_used, tnk_int steps, const T *source, tnk_int lane_step, tnk_int step_step,
               T *panel, F f) {
  for (tnk_int l = 0; l < steps; ++l) {
    for (tnk_int r = 0; r < lanes_used; ++r)
      panel[W * l + r] = f(get(source + r * lane_step + l * step_step));
    if (fill)
      for (tnk_int r = lanes_used; r < W; ++r) panel[W * l + r] = 0;
  }
  zero_steps<W>(steps, panel);
}

// P panels of W lanes side by side, the source running across them: whole lines of it are read. Each step's are in
// another page, too few for the processor to read on by itself: what the next P panels need is brought into the second
// level meanwhile.
template <int W, int P, class T, class F>
void pack_across(tnk_int steps, const T *source, tnk_int ld, T *panel, tnk_int stride, F f) {
  using V = std::conditional_t<W * sizeof(T) == 16, half<T>, vec<T>>;
  constexpr int width = sizeof(V) / sizeof(T);
  constexpr int line = 64 / sizeof(T);
  for (tnk_int l = 0; l < steps; ++l, source += ld) {
    if (P > 1)
      for (int i = P * W; i < 2 * P * W; i += line) __builtin_prefetch(source + i, 0, 2);
    for (int p = 0; p < P; ++p)
      for (int h = 0; h < W; h += width)
        storeu(panel + p * stride + W * l + h, f(loadu<V>(source + p * W + h)));
  }
  for (int p = 0; p < P; ++p) zero_steps<W>(steps, panel + p * stride);
}

// Four floats each in the two halves of a vector.
inline f32x8 load_halves(const float *low, const float *high) {
  return joined(loadu<f32x4>(low), loadu<f32x4>(high));
}

// Four steps of a panel of a source that runs along it.
template <int W, class T, class F> inline void pack_four_steps(const T *source, tnk_int ld, T *panel, F f) {
  if constexpr (W * sizeof(T) == 32 && sizeof(T) == 4) {
    f32x8 r0 = load_halves(source, source + 4 * ld), r1 = load_halves(source + ld, source + 5 * ld);
    f32x8 r2 = load_halves(source + 2 * ld, source + 6 * ld),
          r3 = load_halves(source + 3 * ld, source + 7 * ld);
    transpose_halves(r0, r1, r2, r3);
    storeu(panel, f(r0));
    storeu(panel + W, f(r1));
    storeu(panel + 2 * W, f(r2));
    storeu(panel + 3 * W, f(r3));
  } else {
    for (int h = 0; h < W; h += 4, source += 4 * ld, panel += 4) {
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

template <int W, class T, class F>
void pack_along(tnk_int steps, const T *source, tnk_int ld, T *panel, F f) {
  tnk_int l = 0;
  for (; l + 4 <= steps; l += 4) pack_four_steps<W>(source + l, ld, panel + W * l, f);
  for (; l < steps; ++l)
    for (int r = 0; r < W; ++r) panel[W * l + r] = f(get(source + l + r * ld));
  zero_steps<W>(steps, panel);
}

// The full panels of W among `count` rows or columns. Returns how many of these they hold.
template <int W, class T, class F>
tnk_int full_panels_across(tnk_int count, tnk_int steps, const T *source, tnk_int ld, T *buffer,
                           tnk_int stride, F f) {
  tnk_int i = 0;
  const auto panels = [&](auto side_by_side) {
    constexpr int P = side_by_side();
    for (; i + P * W <= count; i += P * W)
      pack_across<W, P>(steps, source + i, ld, buffer + i / W * stride, stride, f);
  };
  panels(std::integral_constant<int, 8>{});
  panels(std::integral_constant<int, 4>{});
  panels(std::integral_constant<int, 1>{});
  return i;
}
template <int W, class T, class F>
tnk_int full_panels_along(tnk_int count, tnk_int steps, const T *source, tnk_int ld, T *buffer,
                          tnk_int stride, F f) {
  tnk_int i = 0;
  for (; i + W <= count; i += W) pack_along<W>(steps, source + i * ld, ld, buffer + i / W * stride, f);
  return i;
}

// Panels of mr rows; of the last one only the rows that exist are written, pad steps apart.
template <class T>
void copyan(tnk_int rows, tnk_int steps, const T *source, tnk_int ld, T *buffer, tnk_int stride, T alpha) {
  constexpr int W = gemm_tile<T>::mr;
  const times_alpha<T> f{alpha};
  const tnk_int full = full_panels_across<W>(rows, steps, source, ld, buffer, stride, f);
  if (full < rows)
    pack_edge<W, false>(rows - full, steps, source + full, 1, ld, buffer + full / W * stride, f);
}
template <class T>
void copyat(tnk_int rows, tnk_int steps, const T *source, tnk_int ld, T *buffer, tnk_int stride, T alpha) {
  constexpr int W = gemm_tile<T>::mr;
  const times_alpha<T> f{alpha};
  const tnk_int full = full_panels_along<W>(rows, steps, source, ld, buffer, stride, f);
  if (full < rows)
    pack_edge<W, false>(rows - full, steps, source + full * ld, ld, 1, buffer + full / W * stride, f);
}

// Panels of nr columns, then a group of 4 and one of 1 to 3 columns.
template <class T>
void copybn(tnk_int steps, tnk_int columns, const T *source, tnk_int ld, T *buffer, tnk_int stride) {
  constexpr int W = gemm_tile<T>::nr;
  tnk_int j = full_panels_along<W>(columns, steps, source, ld, buffer, stride, unchanged{});
  T *group = buffer + j / W * stride;
  if (columns - j >= 4) {
    pack_along<4>(steps, source + j * ld, ld, group, unchanged{});
    group += 4 * padded(steps);
    j += 4;
  }
  if (j < columns) pack_edge<4, true>(columns - j, steps, source + j * ld, ld, 1, group, unchanged{});
}
template <class T>
void copybt(tnk_int steps, tnk_int columns, const T *source, tnk_int ld, T *buffer, tnk_int stride) {
  constexpr int W = gemm_tile<T>::nr;
  tnk_int j = full_panels_across<W>(columns, steps, source, ld, buffer, stride, unchanged{});
  T *group = buffer + j / W * stride;
  if (columns - j >= 4) {
    pack_across<4, 1>(steps, source + j, ld, group, 0, unchanged{});
    group += 4 * padded(steps);
    j += 4;
  }
  if (j < columns) pack_edge<4, true>(columns - j, steps, source + j, 1, ld, group, unchanged{});
}

inline bool is_plain(const char *trans) {
  return *trans == 'N' || *trans == 'n';
}

} // namespace
} // namespace tnk

using namespace tnk;

#define COPY_A(T, t, f)                                                                                      \
  void tnk_blas_##t##gemm_copya##f(const tnk_int *rows, const tnk_int *steps, const void *source,            \
                                   const tnk_int *ld, void *buffer, const tnk_gemm_panels *panels,           \
                                   const void *alpha) {                                                      \
    if (*rows >= 1 && *steps >= 1)                                                                           \
      copya##f(*rows, *steps, static_cast<const T *>(source), *ld, static_cast<T *>(buffer), panels->stride, \
               get(static_cast<const T *>(alpha)));                                                          \
  }
#define COPY_B(T, t, f)                                                                                      \
  void tnk_blas_##t##gemm_copyb##f(const tnk_int *steps, const tnk_int *columns, const void *source,         \
                                   const tnk_int *ld, void *buffer, const tnk_gemm_panels *panels,           \
                                   const void *) {                                                           \
    if (*steps >= 1 && *columns >= 1)                                                                        \
      copyb##f(*steps, *columns, static_cast<const T *>(source), *ld, static_cast<T *>(buffer),              \
               panels->stride);                                                                              \
  }
#define COPY_EXT(letter, o)                                                                                  \
  void tnk_blas_##letter##gemm_copy##o##_ext(                                                                \
      const char *trans, const tnk_int *count1, const tnk_int *count2, const void *source,                   \
      const tnk_int *ld, void *buffer, const tnk_gemm_panels *panels, const void *alpha) {                   \
    (is_plain(trans) ? tnk_blas_##letter##gemm_copy##o##n : tnk_blas_##letter##gemm_copy##o##t)(             \
        count1, count2, source, ld, buffer, panels, alpha);                                                  \
  }
#define COPIES(T, letter)                                                                                    \
  COPY_A(T, letter, n)                                                                                       \
  COPY_A(T, letter, t)                                                                                       \
  COPY_B(T, letter, n)                                                                                       \
  COPY_B(T, letter, t)                                                                                       \
  COPY_EXT(letter, a)                                                                                        \
  COPY_EXT(letter, b)

COPIES(float, s)
COPIES(double, d)
