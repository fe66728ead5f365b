// The packed layouts of the matrix product, element by element.
#pragma once

#include "kernel/blas/level3/tile.h"
#include "reference/arithmetic.h"

namespace tnk::reference {

template <class T> constexpr int parts = is_pair<T> ? 2 : 1;

inline tnk_int padded(tnk_int steps) {
  return (steps + 3) / 4 * 4;
}

// A row of packed A or a column of packed B: the first real number of its panel or group, the lanes of that, its own.
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
  return {(panel * stride + in_panel / 4 * 4 * padded(steps)) * parts<T>, 4, static_cast<int>(in_panel % 4)};
}

// Where the real part (0) or the imaginary one (1) of a step stands, in real numbers.
template <class T> tnk_int cell(Place place, tnk_int step, int part = 0) {
  if (!is_pair<T>) return place.first + place.lanes * step + place.lane;
  return place.first + 2 * place.lanes * step + 4 * (place.lane / 2) + 2 * part + place.lane % 2;
}

} // namespace tnk::reference
