// Transforms of a node's data, one after another: what compute entries and the exported drivers share. Offsets are applied,
// `work` is one slice of workspace. In place, source and destination are the same.
#pragma once

#include "kernel/dft/compute/lines.h"

namespace tnk::dft {

// Where a compute leaves its result: with in_place the source's strides are the destination's too.
enum class Place { in_place, out_of_place };

// Complex data, interleaved.
template <class R, bool Inverse>
tnk_int drive_complex(DftiNode *node, char *source, char *destination, tnk_int count, void *work,
                      Place place);

// Complex data in two arrays each, given by pairs of pointers.
template <class R, bool Inverse>
tnk_int drive_split(DftiNode *node, R *const *source, R *const *destination, tnk_int count, void *work,
                    Place place);

// Real data and half of its spectrum: forward from real numbers, backward to them. In place the two sides keep strides of
// their own.
template <class R, bool Inverse>
tnk_int drive_real(DftiNode *node, char *source, char *destination, tnk_int count, void *work, Place place);

// The dimensions of a node's data: where their numbers stand, and their transforms.
struct Dimensions {
  int rank = 0;
  Loop loops[DftiMaxDimension];
  Step steps[DftiMaxDimension];

  void add(const Loop &loop, const Step &step) {
    loops[rank] = loop;
    steps[rank++] = step;
  }
  // In place on the side that is read, or on the one that is written.
  void stay_where_read() {
    for (int d = 0; d < rank; ++d) loops[d].out = loops[d].in;
  }
  void stay_where_written() {
    for (int d = 0; d < rank; ++d) loops[d].in = loops[d].out;
  }
  // The longest line that rows must hold. Dimension 0 needs none where its numbers stand side by side, in elements of
  // those bytes.
  tnk_int longest(tnk_int read, tnk_int written) const {
    const bool dense = loops[0].in == read && loops[0].out == written;
    tnk_int most = 0;
    for (int d = dense; d < rank; ++d) most = std::max(most, loops[d].length);
    return most;
  }
};

// `in` and `out`: bytes of an element of either side.
inline Loop loop_of(const DftiAxis &axis, tnk_int in, tnk_int out) {
  return {axis.length, axis.input_stride * in, axis.output_stride * out};
}
template <class R, bool Inverse>
Dimensions dimensions_of(DftiNode *node, tnk_int in, tnk_int out, void *work) {
  Dimensions all;
  for (DftiNode *d = node; d && all.rank < node->committed_rank; d = d->next)
    all.add(loop_of(d->axis, in, out), {kernel_of<R, Inverse>(d), d, work});
  return all;
}

// The transform of dimension d, above 0, in lines side by side along dimension 0.
template <class C>
tnk_int along_dimension(const Dimensions &all, int d, char *source, char *destination, const Rows &rows) {
  const Loop &own = all.loops[d], &beside = all.loops[0];
  Loop others[DftiMaxDimension];
  int count = 0;
  for (int k = 1; k < all.rank; ++k)
    if (k != d) others[count++] = all.loops[k];
  return for_each(others, count, [&](tnk_int in, tnk_int out) {
    return along_lines<C, C>(all.steps[d], {source + in, {own.in, beside.in}, own.length},
                             {destination + out, {own.out, beside.out}, own.length}, beside.length, &rows);
  });
}

} // namespace tnk::dft
