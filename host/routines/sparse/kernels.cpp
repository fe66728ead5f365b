#include "host/routines/sparse/kernels.h"

#include <atomic>
#include <cstring>

#include "host/service/text.h"

namespace tnk::host::sparse {
namespace {

// The kernels of the grid that have been used, in their places by letters.
constexpr unsigned storages = 4, operations = 4, grid_places = 6 * 4 * 2 * 2 * 2 * storages * operations;
template <class T> std::atomic<void *> known_kernels[grid_places]{};

constexpr const char *operation_names[operations] = {"mv", "mm", "sv", "sm"};

template <class T> constexpr char letter_of = 's';
template <> constexpr char letter_of<double> = 'd';
template <> constexpr char letter_of<tnk_complex8> = 'c';
template <> constexpr char letter_of<tnk_complex16> = 'z';

} // namespace

template <class T> void *grid_kernel(const char *routine, const Plan &plan, Operation operation) {
  const auto digit = [](char letter, const char *letters) {
    const char *const found = std::strchr(letters, letter);
    return found ? static_cast<unsigned>(found - letters) : 0u;
  };
  unsigned place = digit(plan.kind, "gshtda");
  place = place * 4 + digit(plan.op, "ntcs");
  place = (place * 2 + digit(plan.triangle, "lu")) * 2 + digit(plan.diagonal, "nu");
  place = (place * 2 + (plan.base == '1')) * storages + digit(plan.storage[1], "soi");
  place = place * operations + static_cast<unsigned>(operation);
  std::atomic<void *> &known = known_kernels<T>[place];
  if (void *const kernel = known.load(std::memory_order_acquire)) return kernel;

  const char layout = plan.base == '1' ? 'f' : 'c';
  const char letters[] = {plan.base, plan.op, plan.kind, plan.triangle, plan.diagonal, layout, '\0'};
  const char type[] = {letter_of<T>, '\0'};
  char name[64];
  TextWriter text(name, sizeof name);
  text.add("tnk_spblas_")
      .add(type)
      .add(plan.storage)
      .add(letters)
      .add("__")
      .add(operation_names[static_cast<int>(operation)])
      .add("out_");
  text.add(is_sequential(plan, operation) ? "seq" : "par");
  void *const kernel = require_kernel_entry(routine, name);
  known.store(kernel, std::memory_order_release);
  return kernel;
}

#define TNK_INSTANTIATE(T)                                                                                   \
  template void *grid_kernel<T>(const char *, const Plan &, Operation);                                      \
  template <> Helpers<T> &helpers<T>() {                                                                     \
    static Helpers<T> all;                                                                                   \
    return all;                                                                                              \
  }
TNK_INSTANTIATE(float)
TNK_INSTANTIATE(double)
TNK_INSTANTIATE(tnk_complex8)
TNK_INSTANTIATE(tnk_complex16)
#undef TNK_INSTANTIATE

} // namespace tnk::host::sparse
