// Execution of a task: what the caller left out is filled in, and a kernel chosen.
#include <cstdint>
#include <tnk/conv_kernels.h>

namespace tnk::conv {
namespace {

using Vector = int32_t[TNK_CONV_MOST_DIMS];
constexpr Vector ones = {1, 1, 1, 1, 1, 1, 1}, zeros = {};

// The kernels of one pair of types, data of type T.
template <class T> struct Kernels {
  TNK_CONV_1D((*one), T);
  TNK_CONV_ALL((*all), T);
};
template <class T> struct Pair {
  Kernels<T> kernels[2][2]; // [method: direct, fft][job: convolution, correlation]
};
#define KERNELS(types, method, job)                                                                          \
  { tnk_conv_##types##method##_1d_##job##_de, tnk_conv_##types##method##_all_##job##_de }
#define PAIR(types, T, ...)                                                                                  \
  constexpr Pair<T> types = {{{KERNELS(types, direct, conv), KERNELS(types, direct, corr)},                  \
                              {KERNELS(types, fft, conv), KERNELS(types, fft, corr)}}};
TNK_CONV_EACH(PAIR, )

struct Call {
  const tnk_conv_task &task;
  const void *x, *y;
  void *z;
  const int32_t *xstride, *ystride, *zstride, *start, *decimation;

  bool correlates() const { return task.job == 2; }

  template <class T> int32_t run(const Pair<T> &pair) const {
    const auto *const a = static_cast<const T *>(x), *const b = static_cast<const T *>(y);
    auto *const c = static_cast<T *>(z);
    const Kernels<T> &kernels = pair.kernels[task.mode != 1][correlates()];
    if (task.dims != 1)
      return kernels.all(task.dims, a, task.xshape, xstride, b, task.yshape, ystride, c, task.zshape, zstride,
                         start, decimation);
    return kernels.one(a, xstride[0], b, ystride[0], c, zstride[0], task.xshape[0], task.yshape[0], start[0],
                       task.zshape[0], decimation[0]);
  }

  // The pair whose kernels need not be asked for a decimation of 1.
  int32_t run_singles() const {
    if (task.dims != 1 || task.mode != 1 || task.decimation) return run(ss);
    const auto kernel = correlates() ? tnk_conv_ssdirect_1d_corr_nd : tnk_conv_ssdirect_1d_conv_nd;
    return kernel(static_cast<const float *>(x), xstride[0], static_cast<const float *>(y), ystride[0],
                  static_cast<float *>(z), zstride[0], task.xshape[0], task.yshape[0], start[0],
                  task.zshape[0]);
  }

  int32_t choose() const {
    const bool complex = task.kind == 2, in_single = task.internal_precision == 1;
    if (task.precision == 1) {
      if (complex) return in_single ? run(cc) : run(cz);
      return in_single ? run_singles() : run(sd);
    }
    if (in_single && task.dims == 1) return TNK_CONV_NO_KERNEL;
    return complex ? run(zz) : run(dd);
  }
};

// What stands for strides that are not given. Lengths that are too large for each other wrap.
const int32_t *strides_or_dense(const int32_t *given, const int32_t *shape, int32_t dims, Vector &dense) {
  if (given) return given;
  std::uint32_t product = 1;
  for (int32_t k = 0; k < dims && k < TNK_CONV_MOST_DIMS; ++k) {
    dense[k] = static_cast<int32_t>(product);
    product *= static_cast<std::uint32_t>(shape[k]);
  }
  return dense;
}

} // namespace
} // namespace tnk::conv

using namespace tnk::conv;

int32_t tnk_conv_Exec(tnk_conv_task *task, const void *x, const int32_t *xstride, const void *y,
                      const int32_t *ystride, void *z, const int32_t *zstride) {
  if (!task) return TNK_CONV_NULL;
  if (task->status != 0) return task->status;
  if (!task->committed)
    if (const int32_t status = tnk_conv_CommitTask(task)) return status;

  Vector xdense, ydense, zdense, first;
  const int32_t *start = task->start;
  if (!start && task->job == 2) {
    for (int32_t k = 0; k < task->dims && k < TNK_CONV_MOST_DIMS; ++k) {
      // A length for which this wraps is below 1, and refused.
      first[k] = static_cast<int32_t>(1 - static_cast<std::uint32_t>(task->xshape[k]));
    }
    start = first;
  }
  const Call call{*task,
                  x,
                  y,
                  z,
                  strides_or_dense(xstride, task->xshape, task->dims, xdense),
                  strides_or_dense(ystride, task->yshape, task->dims, ydense),
                  strides_or_dense(zstride, task->zshape, task->dims, zdense),
                  start ? start : zeros,
                  task->decimation ? task->decimation : ones};
  return task->status = call.choose();
}

int32_t tnk_conv_ExecX(tnk_conv_task *task, const void *y, const int32_t *ystride, void *z,
                       const int32_t *zstride) {
  if (!task) return TNK_CONV_NULL;
  return tnk_conv_Exec(task, task->x, task->xstride, y, ystride, z, zstride);
}
