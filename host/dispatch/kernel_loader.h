// The kernel library of this process, and how a public routine reaches an entry of it.
#pragma once

#include <atomic>

namespace tnk::host {

// Address of the kernel library's entry `name`, loading the library if need be; null after a report in the
// name of `routine` when there is no library or no such entry.
void *require_kernel_entry(const char *routine, const char *name);

// An entry behind a public routine: looked up by its first call, then one load of a pointer away. Needs no
// construction at run time.
template <class Function> class KernelEntry {
public:
  constexpr explicit KernelEntry(const char *name) : name_(name) {}

  // Null before the first call found it.
  Function *known() const { return address_.load(std::memory_order_acquire); }
  // Null after a report in the name of `routine`.
  Function *get(const char *routine) {
    Function *const address = known();
    return __builtin_expect(address != nullptr, 1) ? address : find(routine);
  }

private:
  [[gnu::cold, gnu::noinline]] Function *find(const char *routine) {
    // Threads that come here together find the same address.
    Function *const found = reinterpret_cast<Function *>(require_kernel_entry(routine, name_));
    address_.store(found, std::memory_order_release);
    return found;
  }

  const char *name_;
  std::atomic<Function *> address_{nullptr};
};

} // namespace tnk::host
