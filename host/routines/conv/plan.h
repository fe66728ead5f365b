// What a plan of a convolution or correlation knows, and how it is made and run.
#pragma once

#include <cstdint>
#include <tnk/conv.h>

// Everything in the kernels' integers.
struct tnk_conv_plan {
  using Vector = std::int32_t[TNK_CONV_MOST_DIMS];
  struct Array {
    Vector shape, stride;
    std::int64_t count, span; // elements, and those between its ends, gaps and both ends included
    bool dense;
    bool pack; // copied without gaps before the kernels see it
  };

  bool correlates;
  bool by_fft;
  tnk_conv_numbers numbers;
  bool in_double;
  std::int32_t dims;
  Array x, y, z;
  Vector start, decimation;
};

namespace tnk::host::conv {

// Fills the plan; false after a report. `position` is that of the description among the routine's arguments.
bool describe(const char *routine, int position, const tnk_conv_description *description,
              tnk_conv_plan &plan);

// Whether sums are expected to be done sooner than transforms.
bool sums_are_faster(const tnk_conv_plan &plan);

// Runs a plan whose arrays have been checked.
tnk_conv_result run(const char *routine, const tnk_conv_plan &plan, const void *x, const void *y, void *z);

// The arrays of a run: not null, and z apart from what is read. False after a report; `position` is that of x, the others
// following.
bool arrays_are_sound(const char *routine, const tnk_conv_plan &plan, const int (&positions)[3],
                      const void *x, const void *y, const void *z);

} // namespace tnk::host::conv
