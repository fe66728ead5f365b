// Packing of the matrix product, as far as real and complex elements share it: which lanes come to stand in which panel
// (tile.h), and the entries.
//
// A source runs either across a panel (the lanes of a step are neighbours in memory: A as it is, B transposed) or along
// it (the steps of a lane are: A transposed, B as it is). Both are read in the order of memory. How whole panels are
// read is the affair of a class Panels:
//
//   times<T, conjugate>, unchanged<T, conjugate>       what happens to A and to B on the way, vectors or elements of them
//   across<W>(count, steps, source, ld, to, stride, f)  the whole panels of W lanes among `count`
//   along<W>(count, steps, source, ld, to, stride, f)   the same
//   put<T>(step, lane, x)                               one lane of a step
#pragma once

#include "kernel/blas/level3/gemm.h"
#include "kernel/blas/level3/tile.h"

namespace tnk::level3 {

// Zeros up to the next multiple of kr.
template <int W, class T> inline void pad(tnk_int steps, T *panel) {
  for (tnk_int l = steps; l % kr != 0; ++l)
    for (int r = 0; r < W; ++r) put(panel + W * l + r, T{});
}

// `count` lanes, fewer than the W that a panel or group has. Element (lane, step) stands at source + lane * lane_step +
// step * step_step. zeros: what the other lanes get; otherwise they are left as they are.
template <class Panels, int W, bool zeros, class T, class F>
void last_lanes(tnk_int count, tnk_int steps, const T *source, tnk_int lane_step, tnk_int step_step, T *panel,
                F f) {
  for (tnk_int l = 0; l < steps; ++l) {
    T *const step = panel + W * l;
    for (tnk_int r = 0; r < count; ++r) Panels::put(step, r, f(get(source + r * lane_step + l * step_step)));
    if (zeros)
      for (tnk_int r = count; r < W; ++r) Panels::put(step, r, T{});
  }
  pad<W>(steps, panel);
}

// `count` lanes of a source, a panel of W after the other. Returns where the lanes that are left begin.
template <class Panels, int W, bool along, class T, class F>
inline tnk_int whole_panels(tnk_int count, tnk_int steps, const T *source, tnk_int ld, T *to, tnk_int stride,
                            F f) {
  const tnk_int whole = rounded_down(count, W);
  if (along)
    Panels::template along<W>(whole, steps, source, ld, to, stride, f);
  else
    Panels::template across<W>(whole, steps, source, ld, to, stride, f);
  return whole;
}

// Panels of mr rows. Of the last one only the rows that exist are written, pad steps apart.
template <class Panels, operation op, class T>
void copy_a(tnk_int rows, tnk_int steps, const T *source, tnk_int ld, T *to, tnk_int stride, T alpha) {
  constexpr int W = gemm_tile<T>::mr;
  constexpr bool along = op != as_it_is;
  if (rows < 1 || steps < 1) return;
  const typename Panels::template times<T, op == conjugate_transposed> f(alpha);
  const tnk_int i = whole_panels<Panels, W, along>(rows, steps, source, ld, to, stride, f);
  const tnk_int lane_step = along ? ld : 1, step_step = along ? 1 : ld;
  if (i < rows)
    last_lanes<Panels, W, false>(rows - i, steps, source + i * lane_step, lane_step, step_step,
                                 to + i / W * stride, f);
}

// Panels of nr columns, then a group of 4 and one of 1 to 3 columns.
template <class Panels, operation op, class T>
void copy_b(tnk_int steps, tnk_int columns, const T *source, tnk_int ld, T *to, tnk_int stride) {
  constexpr int W = gemm_tile<T>::nr;
  constexpr bool along = op == as_it_is;
  if (steps < 1 || columns < 1) return;
  const typename Panels::template unchanged<T, op == conjugate_transposed> f;
  tnk_int j = whole_panels<Panels, W, along>(columns, steps, source, ld, to, stride, f);
  const tnk_int lane_step = along ? ld : 1, step_step = along ? 1 : ld;
  to += j / W * stride;
  if (W > group && columns - j >= group) {
    whole_panels<Panels, group, along>(group, steps, source + j * lane_step, ld, to, 0, f);
    to += group * rounded_up(steps, kr);
    j += group;
  }
  if (j < columns)
    last_lanes<Panels, group, true>(columns - j, steps, source + j * lane_step, lane_step, step_step, to, f);
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
