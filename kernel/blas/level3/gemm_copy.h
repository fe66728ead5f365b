// Packing of the matrix product, as far as real and complex elements share it: which lanes come to stand in which panel,
// and the entries.
//
// A source runs either across a panel (the lanes of a step are neighbours in memory: A as it is, B transposed) or along
// it (the steps of a lane are: A transposed, B as it is). Both are read in the order of memory. How whole panels are
// read is the affair of a class Panels:
//
//   Times<T, conjugate>, Unchanged<T, conjugate>           what happens to A and to B on the way, to vectors or elements
//   across<L, W>(count, steps, source, ld, to, stride, f)  `count` lanes, L to each panel, which has W
//   along<L, W>(count, steps, source, ld, to, stride, f)   the same
//   put(step, lane, x)                                     one lane of a step
#pragma once

#include "kernel/blas/level3/constants.h"
#include "kernel/blas/level3/gemm.h"
#include "kernel/blas/level3/tile.h"

namespace tnk::level3 {

// Zeros up to the next multiple of kr.
template <int W, class T> inline void pad(tnk_int steps, T *panel) {
  for (tnk_int l = steps; l % kr != 0; ++l)
    for (int r = 0; r < W; ++r) put(panel + W * l + r, T{});
}

// `count` lanes, less than a group. Element (lane, step) stands at source + lane * lane_step + step * step_step.
// zeros: what the other lanes of a group get; otherwise they are left as they are.
template <class Panels, int W, bool zeros, class T, class F>
inline void last_lanes(tnk_int count, tnk_int steps, const T *source, tnk_int lane_step, tnk_int step_step,
                       T *panel, F f) {
  with_constant<group - 1>(count, [&](auto lanes) {
    for (tnk_int l = 0; l < steps; ++l, source += step_step, panel += W) {
      for (int r = 0; r < lanes; ++r) Panels::put(panel, r, f(get(source + r * lane_step)));
      for (int r = lanes; zeros && r < group; ++r) Panels::put(panel, r, T{});
    }
  });
}

// `count` lanes of a source, L of them to each panel of W.
template <class Panels, int L, int W, bool along, class T, class F>
inline void lanes(tnk_int count, tnk_int steps, const T *source, tnk_int ld, T *to, tnk_int stride, F f) {
  if constexpr (along)
    Panels::template along<L, W>(count, steps, source, ld, to, stride, f);
  else
    Panels::template across<L, W>(count, steps, source, ld, to, stride, f);
}

// Panels of mr rows. Of the last one only the rows that exist are written, pad steps apart.
template <class Panels, Operation op, class T>
void copy_a(tnk_int rows, tnk_int steps, const T *source, tnk_int ld, T *to, tnk_int stride, T alpha) {
  constexpr int W = gemm_tile<T>::mr;
  constexpr bool along = op != as_it_is;
  if (rows < 1 || steps < 1) return;
  const typename Panels::template Times<T, op == conjugate_transposed> f(alpha);
  const tnk_int lane_step = along ? ld : 1, step_step = along ? 1 : ld;
  const tnk_int whole = rounded_down(rows, W);
  lanes<Panels, W, W, along>(whole, steps, source, ld, to, stride, f);
  if (whole == rows) return;
  to += whole / W * stride;
  pad<W>(steps, to);
  tnk_int i = whole;
  if constexpr (W > group)
    if (rows - i >= group) {
      lanes<Panels, group, W, along>(group, steps, source + i * lane_step, ld, to, 0, f);
      i += group;
    }
  last_lanes<Panels, W, false>(rows - i, steps, source + i * lane_step, lane_step, step_step,
                               to + (i - whole), f);
}

// Panels of nr columns, then a group of 4 and one of 1 to 3 columns.
template <class Panels, Operation op, class T>
void copy_b(tnk_int steps, tnk_int columns, const T *source, tnk_int ld, T *to, tnk_int stride) {
  constexpr int W = gemm_tile<T>::nr;
  constexpr bool along = op == as_it_is;
  if (steps < 1 || columns < 1) return;
  const typename Panels::template Unchanged<T, op == conjugate_transposed> f;
  const tnk_int lane_step = along ? ld : 1, step_step = along ? 1 : ld;
  const tnk_int whole = rounded_down(columns, W);
  lanes<Panels, W, W, along>(whole, steps, source, ld, to, stride, f);
  if (whole == columns) return;
  to += whole / W * stride;
  tnk_int j = whole;
  if constexpr (W > group)
    if (columns - j >= group) {
      lanes<Panels, group, group, along>(group, steps, source + j * lane_step, ld, to, 0, f);
      to += group * rounded_up(steps, kr);
      j += group;
    }
  if (j == columns) return;
  last_lanes<Panels, group, true>(columns - j, steps, source + j * lane_step, lane_step, step_step, to, f);
  pad<group>(steps, to);
}

} // namespace tnk::level3

#define TNK_GEMM_COPY(Panels, T, t, letter, op)                                                              \
  void tnk_blas_##t##gemm_copya##letter(const tnk_int *rows, const tnk_int *steps, const void *source,       \
                                        const tnk_int *ld, void *buffer, const tnk_gemm_panels *panels,      \
                                        const void *alpha) {                                                 \
    tnk::level3::copy_a<Panels, tnk::level3::op>(*rows, *steps, static_cast<const T *>(source), *ld,         \
                                                 static_cast<T *>(buffer), panels->stride,                   \
                                                 tnk::get(static_cast<const T *>(alpha)));                   \
  }                                                                                                          \
  void tnk_blas_##t##gemm_copyb##letter(const tnk_int *steps, const tnk_int *columns, const void *source,    \
                                        const tnk_int *ld, void *buffer, const tnk_gemm_panels *panels,      \
                                        const void *) {                                                      \
    tnk::level3::copy_b<Panels, tnk::level3::op>(*steps, *columns, static_cast<const T *>(source), *ld,      \
                                                 static_cast<T *>(buffer), panels->stride);                  \
  }
