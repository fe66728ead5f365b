// Descriptions turned into plans.
#include "host/routines/conv/plan.h"

#include "host/dispatch/check.h"
#include "host/service/text.h"
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>
#include <tnk/services.h>

namespace tnk::host::conv {
namespace {

using Array = tnk_conv_plan::Array;
constexpr tnk_int most = std::numeric_limits<std::int32_t>::max();

struct Describer {
  Check check;
  int position;
  const tnk_conv_description &from;
  tnk_conv_plan &plan;

  bool fields() const {
    const auto field = [&](const char *name, tnk_int value, tnk_int low, tnk_int high) {
      return check.range(position, name, value, low, high);
    };
    if (!field("description->job", from.job, TNK_CONV_CONVOLUTION, TNK_CONV_CORRELATION) ||
        !field("description->method", from.method, TNK_CONV_AUTOMATIC, TNK_CONV_BY_FFT) ||
        !field("description->numbers", from.numbers, TNK_CONV_FLOAT, TNK_CONV_COMPLEX16) ||
        !field("description->in_double", from.in_double, 0, 1) ||
        !field("description->dims", from.dims, 1, TNK_CONV_MOST_DIMS))
      return false;
    plan.correlates = from.job == TNK_CONV_CORRELATION;
    plan.numbers = static_cast<tnk_conv_numbers>(from.numbers);
    plan.in_double = from.in_double == 1;
    plan.dims = static_cast<std::int32_t>(from.dims);
    return true;
  }

  // Lengths, and that there are not more elements than fit into the kernels' integers.
  bool shape(const char *name, const tnk_int *lengths, Array &array) const {
    if (!check.address(position, name, lengths)) return false;
    array.count = 1;
    for (std::int32_t k = 0; k < plan.dims; ++k) {
      if (!check.element(position, name, k, lengths[k], 1, most / array.count)) return false;
      array.shape[k] = static_cast<std::int32_t>(lengths[k]);
      array.count *= lengths[k];
    }
    return true;
  }

  bool strides(const char *name, const tnk_int *given, bool zero_allowed, Array &array) const {
    tnk_int dense = 1, last = 0; // the highest element's distance from the lowest one
    array.dense = true;
    for (std::int32_t k = 0; k < plan.dims; ++k) {
      const tnk_int stride = given ? given[k] : dense, steps = array.shape[k] - 1;
      const tnk_int limit = steps > 0 ? (most - 1 - last) / steps : most;
      if (!check.element(position, name, k, stride, -limit, limit)) return false;
      if (stride == 0 && !zero_allowed) return check.element(position, name, k, 0, 1, limit);
      array.stride[k] = static_cast<std::int32_t>(stride);
      array.dense &= stride == dense;
      last += std::abs(stride) * steps;
      dense *= array.shape[k];
    }
    array.span = last + 1;
    return true;
  }

  // Dimension k: positions of the full result go from first to last.
  bool outputs() const {
    tnk_int zshape[TNK_CONV_MOST_DIMS];
    for (std::int32_t k = 0; k < plan.dims; ++k) {
      const tnk_int nx = plan.x.shape[k], ny = plan.y.shape[k];
      const tnk_int first = plan.correlates ? 1 - nx : 0, last = first + nx + ny - 2;
      if (!check.element(position, "description->yshape", k, ny, 1, most + 1 - nx)) return false;
      const tnk_int start = from.start ? from.start[k] : first,
                    step = from.decimation ? from.decimation[k] : 1;
      if (!check.element(position, "description->start", k, start, first, last) ||
          !check.element(position, "description->decimation", k, step, 1, most))
        return false;
      zshape[k] = (last - start) / step + 1;
      if (from.zshape && !check.element(position, "description->zshape", k, from.zshape[k], 1, zshape[k]))
        return false;
      plan.start[k] = static_cast<std::int32_t>(start);
      plan.decimation[k] = static_cast<std::int32_t>(step);
    }
    return shape("description->zshape", from.zshape ? from.zshape : zshape, plan.z);
  }

  bool all() const {
    return fields() && shape("description->xshape", from.xshape, plan.x) &&
           shape("description->yshape", from.yshape, plan.y) && outputs() &&
           strides("description->xstride", from.xstride, true, plan.x) &&
           strides("description->ystride", from.ystride, true, plan.y) &&
           strides("description->zstride", from.zstride, false, plan.z);
  }
};

std::size_t element_size(tnk_conv_numbers numbers) {
  return numbers == TNK_CONV_FLOAT ? 4 : numbers == TNK_CONV_COMPLEX16 ? 16 : 8;
}

} // namespace

bool describe(const char *routine, int position, const tnk_conv_description *description,
              tnk_conv_plan &plan) {
  const Check check(routine);
  if (!check.address(position, "description", description) ||
      !Describer{check, position, *description, plan}.all())
    return false;
  // What the kernels of sums ask of a slice, asked of the whole, so that it does not depend on slices.
  const auto often = [&](const Array &read, const Array &other) {
    return static_cast<double>(plan.z.count) * static_cast<double>(other.count) >
           2 * static_cast<double>(read.count);
  };
  plan.by_fft = description->method == TNK_CONV_BY_FFT ||
                (description->method == TNK_CONV_AUTOMATIC && !sums_are_faster(plan));
  const bool pack = plan.by_fft || (often(plan.x, plan.y) && often(plan.y, plan.x));
  plan.x.pack = pack && !plan.x.dense;
  plan.y.pack = pack && !plan.y.dense;
  return true;
}

bool arrays_are_sound(const char *routine, const tnk_conv_plan &plan, const int (&positions)[3],
                      const void *x, const void *y, const void *z) {
  const Check check(routine);
  if (!check.address(positions[0], "x", x) || !check.address(positions[1], "y", y) ||
      !check.address(positions[2], "z", z))
    return false;
  const std::size_t size = element_size(plan.numbers);
  const auto apart = [&](const void *p, const Array &array) {
    const auto low = reinterpret_cast<std::uintptr_t>(p), out = reinterpret_cast<std::uintptr_t>(z);
    return low + static_cast<std::size_t>(array.span) * size <= out ||
           out + static_cast<std::size_t>(plan.z.span) * size <= low;
  };
  if (apart(x, plan.x) && apart(y, plan.y)) return true;
  report_argument(routine, positions[2], "z", apart(x, plan.x) ? "an array over y" : "an array over x",
                  "one apart from x and y");
  return false;
}

} // namespace tnk::host::conv

using namespace tnk::host;

tnk_conv_result tnk_conv_plan_make(tnk_conv_plan **plan, const tnk_conv_description *description) {
  constexpr const char *routine = "tnk_conv_plan_make";
  if (!Check(routine).address(1, "plan", plan)) return TNK_CONV_BAD_ARGUMENT;
  tnk_conv_plan made = {};
  if (!conv::describe(routine, 2, description, made)) return TNK_CONV_BAD_ARGUMENT;
  void *const memory = tnk_serv_tnk_malloc(sizeof made, alignof(tnk_conv_plan));
  if (tnk_serv_check_ptr(memory, routine)) return TNK_CONV_OUT_OF_MEMORY;
  *plan = new (memory) tnk_conv_plan(made);
  return TNK_CONV_DONE;
}

tnk_conv_result tnk_conv_plan_run(const tnk_conv_plan *plan, const void *x, const void *y, void *z) {
  constexpr const char *routine = "tnk_conv_plan_run";
  if (!Check(routine).address(1, "plan", plan) || !conv::arrays_are_sound(routine, *plan, {2, 3, 4}, x, y, z))
    return TNK_CONV_BAD_ARGUMENT;
  return conv::run(routine, *plan, x, y, z);
}

tnk_conv_method tnk_conv_plan_method(const tnk_conv_plan *plan) {
  if (!Check("tnk_conv_plan_method").address(1, "plan", plan)) return TNK_CONV_AUTOMATIC;
  return plan->by_fft ? TNK_CONV_BY_FFT : TNK_CONV_DIRECT;
}

void tnk_conv_plan_free(tnk_conv_plan *plan) {
  tnk_serv_tnk_free(plan);
}
