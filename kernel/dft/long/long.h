// Long transforms in four steps: what their parts share.
#pragma once

#include <tnk/dft_long.h>
#include <tnk/trans.h>

#include "kernel/dft/commit/precision.h"
#include "kernel/dft/compute/lines.h"

namespace tnk::dft {

inline DftiLongData *long_data(const DftiNode *node) {
  return static_cast<DftiLongData *>(node->large_data);
}

// Numbers from a row to the next one: whole lines of the cache, and not whole pages, so that the rows of a bundle and the
// lines of a column have different places in the cache.
template <class C> constexpr tnk_int padded(tnk_int numbers) {
  constexpr tnk_int line = 64, page = 4096, size = sizeof(C);
  const tnk_int bytes = (numbers * size + line - 1) / line * line;
  return (bytes % page == 0 ? bytes + line : bytes) / size;
}

template <class R> struct steps;
template <> struct steps<float> {
  static constexpr auto one_two = tnk_dft_xc_4step_1_2;
  static constexpr auto three = tnk_dft_xc_4step_3;
  static constexpr auto four = tnk_dft_xc_4step_4;
  static constexpr auto scale_four = tnk_dft_xc_4step_scale_4;
  static constexpr auto transpose = tnk_trans_tnk_comatcopy;
  static constexpr auto transpose_in_place = tnk_trans_tnk_cimatcopy;
};
template <> struct steps<double> {
  static constexpr auto one_two = tnk_dft_xz_4step_1_2;
  static constexpr auto three = tnk_dft_xz_4step_3;
  static constexpr auto four = tnk_dft_xz_4step_4;
  static constexpr auto scale_four = tnk_dft_xz_4step_scale_4;
  static constexpr auto transpose = tnk_trans_tnk_zomatcopy;
  static constexpr auto transpose_in_place = tnk_trans_tnk_zimatcopy;
};

} // namespace tnk::dft
