// What every kernel asks of its arguments before it touches anything, in the order that is promised.
#pragma once

#include <tnk/conv_kernels.h>

namespace tnk::conv {

enum Job { convolution, correlation };

// One dimension's start and decimation. Positions of the full result: 0 to xlen + ylen - 2 in a convolution, 1 - xlen
// to ylen - 1 in a correlation.
template <Job J>
int32_t check_positions(int64_t xlen, int64_t ylen, int64_t zlen, int64_t start, int64_t decimation) {
  const int64_t first = J == convolution ? 0 : 1 - xlen, end = J == convolution ? xlen + ylen - 1 : ylen;
  if (start < first || start >= end) return TNK_CONV_BAD_START;
  if (decimation < 1 || start + (zlen - 1) * decimation >= end) return TNK_CONV_BAD_END;
  return TNK_CONV_OK;
}

template <Job J>
int32_t check_1d(const void *x, const void *y, const void *z, int32_t zstride, int32_t xlen, int32_t ylen,
                 int32_t start, int32_t zlen, int32_t decimation) {
  if (!x) return TNK_CONV_NULL_X;
  if (xlen < 1) return TNK_CONV_BAD_XSHAPE;
  if (!y) return TNK_CONV_NULL_Y;
  if (ylen < 1) return TNK_CONV_BAD_YSHAPE;
  if (!z) return TNK_CONV_NULL_Z;
  if (zlen < 1) return TNK_CONV_BAD_ZSHAPE;
  if (zstride == 0) return TNK_CONV_BAD_ZSTRIDE;
  return check_positions<J>(xlen, ylen, zlen, start, decimation);
}

template <Job J>
int32_t check_all(int32_t dims, const void *x, const int32_t *xshape, const void *y, const int32_t *yshape,
                  const void *z, const int32_t *zshape, const int32_t *zstride, const int32_t *start,
                  const int32_t *decimation) {
  if (dims < 2 || dims > TNK_CONV_MOST_DIMS) return TNK_CONV_BAD_DIMS;
  if (!x) return TNK_CONV_NULL_X;
  if (!y) return TNK_CONV_NULL_Y;
  if (!z) return TNK_CONV_NULL_Z;
  for (int32_t k = 0; k < dims; ++k) {
    if (xshape[k] < 1) return TNK_CONV_BAD_XSHAPE;
    if (yshape[k] < 1) return TNK_CONV_BAD_YSHAPE;
    if (zshape[k] < 1) return TNK_CONV_BAD_ZSHAPE;
    if (zstride[k] == 0) return TNK_CONV_BAD_ZSTRIDE;
    if (const int32_t status = check_positions<J>(xshape[k], yshape[k], zshape[k], start[k], decimation[k]))
      return status;
  }
  return TNK_CONV_OK;
}

} // namespace tnk::conv
