// Plans run: operands without gaps, slices of z for several threads, a kernel for each.
#include "host/routines/conv/plan.h"

#include "host/dispatch/kernel_loader.h"
#include "host/service/text.h"
#include "host/threading/team.h"
#include <algorithm>
#include <atomic>
#include <cstring>
#include <tnk/services.h>

namespace tnk::host::conv {
namespace {

using Array = tnk_conv_plan::Array;

// ---- Kernels ------------------------------------------------------------------------------------------------------

template <class T> struct Entry {
  TNK_CONV_1D((*one), T);
  TNK_CONV_ALL((*all), T);
};

// The kernel by its name, kept from its first use on; null after a report.
void *kernel(const char *routine, const tnk_conv_plan &plan) {
  constexpr int pairs = 6;
  static std::atomic<void *> known[pairs][2][2][2];
  constexpr const char *types[pairs] = {"ss", "dd", "cc", "zz", "sd", "cz"};
  const bool mixed = plan.in_double && (plan.numbers == TNK_CONV_FLOAT || plan.numbers == TNK_CONV_COMPLEX8);
  const int pair = !mixed ? plan.numbers : plan.numbers == TNK_CONV_FLOAT ? 4 : 5;
  std::atomic<void *> &entry = known[pair][plan.by_fft][plan.dims > 1][plan.correlates];
  if (void *const address = entry.load(std::memory_order_acquire)) return address;
  char name[64];
  TextWriter(name, sizeof name)
      .add("tnk_conv_")
      .add(types[pair])
      .add(plan.by_fft ? "fft" : "direct")
      .add(plan.dims > 1 ? "_all" : "_1d")
      .add(plan.correlates ? "_corr_de" : "_conv_de");
  void *const address = require_kernel_entry(routine, name);
  entry.store(address, std::memory_order_release);
  return address;
}

// ---- Operands without gaps --------------------------------------------------------------------------------------

class Block {
public:
  Block() = default;
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;
  ~Block() {
    if (address_) tnk_serv_deallocate(address_);
  }
  void *take(std::int64_t bytes) { return address_ = tnk_serv_allocate(bytes, 128); }

private:
  void *address_ = nullptr;
};

// Where a walk over outputs or elements from index `first` of dimension k finds the lowest address of what is left up to
// `end`: a negative stride has the last element lowest.
std::int64_t lowest(const Array &array, std::int32_t k, std::int64_t first, std::int64_t end) {
  const std::int64_t stride = array.stride[k];
  return stride >= 0 ? stride * first : -stride * (array.shape[k] - end);
}

template <class T> void copy_dense(T *to, const T *from, const Array &array, std::int32_t k) {
  if (k < 0) {
    std::memcpy(to, from, sizeof(T));
    return;
  }
  std::int64_t step = 1;
  for (std::int32_t d = 0; d < k; ++d) step *= array.shape[d];
  for (std::int32_t i = 0; i < array.shape[k]; ++i)
    copy_dense(to + i * step, from + lowest(array, k, i, i + 1), array, k - 1);
}

// The operand, or its copy; null when there is no memory for one.
template <class T>
const T *without_gaps(const T *given, const Array &array, std::int32_t dims, Block &block) {
  if (!array.pack) return given;
  T *const copy = static_cast<T *>(block.take(array.count * static_cast<std::int64_t>(sizeof(T))));
  if (copy) copy_dense(copy, given, array, dims - 1);
  return copy;
}

void make_dense(Array &array, std::int32_t dims) {
  std::int32_t stride = 1;
  for (std::int32_t k = 0; k < dims; ++k) array.stride[k] = stride, stride *= array.shape[k];
}

// ---- Slices -----------------------------------------------------------------------------------------------------

// Multiply-adds of real numbers that make it worth while to use one more thread.
constexpr double least_work = 1 << 19;

// Which dimension of z is cut, and into how many slices of how many outputs.
struct Cut {
  std::int32_t dim;
  std::int64_t length;
  int slices;
};

// Sums: outputs go by fours along dimension 1 (0 if there is no other), so those fours stay whole; from dimension 2 on
// every output is for itself. Operands with gaps that are not copied are not cut: the kernel might copy them by itself, and
// would look at the slice to decide.
Cut cut_sums(const tnk_conv_plan &plan, int threads) {
  std::int32_t dim = plan.dims > 1 ? 1 : 0;
  for (std::int32_t k = 2; k < plan.dims; ++k)
    if (plan.z.shape[k] > plan.z.shape[dim]) dim = k;
  const std::int64_t unit = dim < 2 ? 4 : 1, units = (plan.z.shape[dim] + unit - 1) / unit;
  const bool whole = threads == 1 || !(plan.x.dense || plan.x.pack) || !(plan.y.dense || plan.y.pack);
  const std::int64_t slices = whole ? 1 : std::min<std::int64_t>(threads * slices_a_thread, units);
  const std::int64_t length = (units + slices - 1) / slices * unit;
  return {dim, length, static_cast<int>((plan.z.shape[dim] + length - 1) / length)};
}

// Transforms: the kernel's own blocks, and with them the last bits, follow from the slice, so slices follow from the job
// alone. Each transforms the shorter operand again and must be much longer than that.
Cut cut_transforms(const tnk_conv_plan &plan) {
  constexpr double least_outputs = 1 << 16;
  constexpr std::int64_t least_times = 8;
  std::int32_t dim = 0;
  for (std::int32_t k = 1; k < plan.dims; ++k)
    if (plan.z.shape[k] > plan.z.shape[dim]) dim = k;
  const std::int64_t outputs = plan.z.shape[dim], positions = (outputs - 1) * plan.decimation[dim] + 1;
  const std::int64_t by_length = positions / (least_times * std::min(plan.x.shape[dim], plan.y.shape[dim]));
  const double by_work = std::min(static_cast<double>(plan.z.count) / least_outputs, 256.0);
  const std::int64_t slices =
      std::max<std::int64_t>(std::min({by_length, static_cast<std::int64_t>(by_work), outputs}), 1);
  const std::int64_t length = (outputs + slices - 1) / slices;
  return {dim, length, static_cast<int>((outputs + length - 1) / length)};
}

int threads_worth_while(const tnk_conv_plan &plan) {
  const bool complex = plan.numbers == TNK_CONV_COMPLEX8 || plan.numbers == TNK_CONV_COMPLEX16;
  const double work = (complex ? 4.0 : 1.0) * static_cast<double>(plan.z.count) *
                      static_cast<double>(std::min(plan.x.count, plan.y.count));
  const double most = std::min(work / least_work, 256.0);
  return most < 2 ? 1 : std::min(static_cast<int>(most), usable_threads());
}

template <class T>
std::int32_t run_slice(void *entry, const tnk_conv_plan &plan, const Cut &cut, int i, const T *x, const T *y,
                       T *z) {
  const std::int64_t first = cut.length * i,
                     end = std::min<std::int64_t>(first + cut.length, plan.z.shape[cut.dim]);
  z += lowest(plan.z, cut.dim, first, end);
  tnk_conv_plan::Vector shape = {}, start = {};
  std::copy_n(plan.z.shape, plan.dims, shape);
  std::copy_n(plan.start, plan.dims, start);
  shape[cut.dim] = static_cast<std::int32_t>(end - first);
  start[cut.dim] += static_cast<std::int32_t>(first * plan.decimation[cut.dim]);
  if (plan.dims > 1)
    return reinterpret_cast<decltype(Entry<T>::all)>(entry)(plan.dims, x, plan.x.shape, plan.x.stride, y,
                                                            plan.y.shape, plan.y.stride, z, shape,
                                                            plan.z.stride, start, plan.decimation);
  return reinterpret_cast<decltype(Entry<T>::one)>(entry)(x, plan.x.stride[0], y, plan.y.stride[0], z,
                                                          plan.z.stride[0], plan.x.shape[0], plan.y.shape[0],
                                                          start[0], shape[0], plan.decimation[0]);
}

template <class T>
tnk_conv_result run(const char *routine, const tnk_conv_plan &plan, const T *x, const T *y, T *z) {
  void *const entry = kernel(routine, plan);
  if (!entry) return TNK_CONV_NO_LIBRARY;
  Block x_copy, y_copy;
  x = without_gaps(x, plan.x, plan.dims, x_copy);
  if (x) y = without_gaps(y, plan.y, plan.dims, y_copy);
  std::atomic<std::int32_t> status{x && y ? TNK_CONV_OK : TNK_CONV_NO_MEMORY};
  if (status == TNK_CONV_OK) {
    tnk_conv_plan job = plan;
    if (job.x.pack) make_dense(job.x, job.dims);
    if (job.y.pack) make_dense(job.y, job.dims);
    const Cut slices = job.by_fft ? cut_transforms(job) : Cut{0, 0, 0};
    const int threads = !job.by_fft ? threads_worth_while(job) : slices.slices > 1 ? usable_threads() : 1;
    const Cut cut = job.by_fft ? slices : cut_sums(job, threads);
    spread(cut.slices, threads, [&](int i) {
      if (const std::int32_t failed = run_slice(entry, job, cut, i, x, y, z)) status = failed;
    });
  }
  if (status == TNK_CONV_OK) return TNK_CONV_DONE;
  // All else has been checked.
  tnk_serv_check_ptr(nullptr, routine);
  return TNK_CONV_OUT_OF_MEMORY;
}

} // namespace

tnk_conv_result run(const char *routine, const tnk_conv_plan &plan, const void *x, const void *y, void *z) {
  const auto as = [&](auto *typed) {
    using T = std::remove_pointer_t<decltype(typed)>;
    return run(routine, plan, static_cast<const T *>(x), static_cast<const T *>(y), static_cast<T *>(z));
  };
  switch (plan.numbers) {
  case TNK_CONV_FLOAT:
    return as(static_cast<float *>(nullptr));
  case TNK_CONV_DOUBLE:
    return as(static_cast<double *>(nullptr));
  case TNK_CONV_COMPLEX8:
    return as(static_cast<tnk_complex8 *>(nullptr));
  default:
    return as(static_cast<tnk_complex16 *>(nullptr));
  }
}

} // namespace tnk::host::conv
