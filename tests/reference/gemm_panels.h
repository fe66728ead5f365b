// The packed layouts of the matrix product, element by element.
#pragma once

#include "kernel/blas/level3/tile.h"
#include "kernel/frame/complex.h"

namespace tnk::reference {

template <class T> constexpr int parts = is_complex<T> ? 2 : 1;

// Where part 0 (real) or 1 (imaginary) of a lane of a step stands in a panel of that many lanes, in real numbers.
template <class T> tnk_int cell(int lanes, tnk_int step, int lane, int part) {
  if (!is_complex<T>) return lanes * step + lane;
  return 2 * lanes * step + 4 * (lane / 2) + 2 * part + lane % 2;
}

inline tnk_int padded(tnk_int steps) {
  return (steps + 3) / 4 * 4;
}

// A place in packed B: the first real number of the panel or group of the column, its lanes, and the column's lane.
struct Place {
  tnk_int first;
  int lanes, lane;
};
template <class T> Place place_in_a(tnk_int row, tnk_int stride) {
  constexpr int mr = gemm_tile<T>::mr;
  return {row / mr * stride * parts<T>, mr, static_cast<int>(row % mr)};
}
template <class T> Place place_in_b(tnk_int column, tnk_int columns, tnk_int steps, tnk_int stride) {
  constexpr int nr = gemm_tile<T>::nr;
  const tnk_int panel = column / nr, in_panel = column % nr;
  if (panel < columns / nr) return {panel * stride * parts<T>, nr, static_cast<int>(in_panel)};
  const tnk_int group = in_panel / 4;
  return {(panel * stride + group * 4 * padded(steps)) * parts<T>, 4, static_cast<int>(in_panel % 4)};
}

// The element of a panel.
template <class T> T element(const real_of<T> *packed, Place place, tnk_int step) {
  packed += place.first;
  if constexpr (is_complex<T>)
    return {packed[cell<T>(place.lanes, step, place.lane, 0)],
            packed[cell<T>(place.lanes, step, place.lane, 1)]};
  else
    return packed[cell<T>(place.lanes, step, place.lane, 0)];
}

} // namespace tnk::reference
