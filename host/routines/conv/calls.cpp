// The calls for arrays without gaps: their arguments as a description.
#include "host/dispatch/check.h"
#include "host/routines/conv/plan.h"

namespace tnk::host::conv {
namespace {

template <class T> constexpr tnk_conv_numbers numbers_of = TNK_CONV_FLOAT;
template <> constexpr tnk_conv_numbers numbers_of<double> = TNK_CONV_DOUBLE;
template <> constexpr tnk_conv_numbers numbers_of<tnk_complex8> = TNK_CONV_COMPLEX8;
template <> constexpr tnk_conv_numbers numbers_of<tnk_complex16> = TNK_CONV_COMPLEX16;

// Positions of the arguments: part, nx, x, ny, y, z.
template <class T>
tnk_conv_result call(const char *routine, tnk_conv_job job, int dims, char part, const tnk_int *nx,
                     const T *x, const tnk_int *ny, const T *y, T *z) {
  const Check check(routine);
  if (!check.option(1, "part", &part, "FSV") || !check.address(2, "nx", nx) || !check.address(4, "ny", ny))
    return TNK_CONV_BAD_ARGUMENT;
  const bool full = part == 'F' || part == 'f', same = part == 'S' || part == 's';
  constexpr tnk_int most = INT32_MAX;
  tnk_int start[2], zshape[2], count[3] = {1, 1, 1};
  for (int k = 0; k < dims; ++k) {
    const auto length = [&](int position, const char *name, const tnk_int *n, tnk_int low, tnk_int high) {
      return dims == 1 ? check.range(position, name, n[0], low, high)
                       : check.element(position, name, k, n[k], low, high);
    };
    // As many elements of each array as the plans have room for.
    if (!length(2, "nx", nx, 1, most / count[0]) ||
        !length(4, "ny", ny, full || same ? 1 : nx[k], std::min(most / count[1], most + 1 - nx[k])))
      return TNK_CONV_BAD_ARGUMENT;
    const tnk_int skipped = full ? 0 : same ? (nx[k] - 1) / 2 : nx[k] - 1;
    start[k] = (job == TNK_CONV_CORRELATION ? 1 - nx[k] : 0) + skipped;
    zshape[k] = full ? nx[k] + ny[k] - 1 : same ? ny[k] : ny[k] - nx[k] + 1;
    if (zshape[k] > most / count[2] && !length(4, "ny", ny, 1, std::max<tnk_int>(most / count[2] - nx[k], 1)))
      return TNK_CONV_BAD_ARGUMENT;
    count[0] *= nx[k], count[1] *= ny[k], count[2] *= zshape[k];
  }
  tnk_conv_description description = {};
  description.job = job;
  description.numbers = numbers_of<T>;
  description.dims = dims;
  description.xshape = nx, description.yshape = ny, description.zshape = zshape;
  description.start = start;
  tnk_conv_plan plan = {};
  if (!describe(routine, 2, &description, plan) || !arrays_are_sound(routine, plan, {3, 5, 6}, x, y, z))
    return TNK_CONV_BAD_ARGUMENT;
  return run(routine, plan, x, y, z);
}

} // namespace
} // namespace tnk::host::conv

#define CALLS(t, T, verb, JOB)                                                                               \
  tnk_conv_result tnk_conv_##t##verb(char part, tnk_int nx, const T *x, tnk_int ny, const T *y, T *z) {      \
    return tnk::host::conv::call("tnk_conv_" #t #verb, JOB, 1, part, &nx, x, &ny, y, z);                     \
  }                                                                                                          \
  tnk_conv_result tnk_conv_##t##verb##2(char part, const tnk_int *nx, const T *x, const tnk_int *ny,         \
                                        const T *y, T *z) {                                                  \
    return tnk::host::conv::call("tnk_conv_" #t #verb "2", JOB, 2, part, nx, x, ny, y, z);                   \
  }
#define TYPE(t, T)                                                                                           \
  CALLS(t, T, convolve, TNK_CONV_CONVOLUTION)                                                                \
  CALLS(t, T, correlate, TNK_CONV_CORRELATION)
TYPE(s, float)
TYPE(d, double)
TYPE(c, tnk_complex8)
TYPE(z, tnk_complex16)
