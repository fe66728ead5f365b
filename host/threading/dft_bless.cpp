// What descriptors of Fourier transforms may ask of the threading layer.
#include <algorithm>
#include <tnk/dft_node.h>
#include <unistd.h>

#include "host/service/errno_keeper.h"
#include "host/threading/team.h"

namespace tnk::host {
namespace {

// Small transforms take fewer threads than there are.
int32_t dynamic() {
  return 1;
}

int32_t hardware_threads() {
  const ErrnoKeeper keeper;
  return static_cast<int32_t>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L));
}

// Several threads may do so at once.
template <class Entry> void offer(Entry &entry, Entry function) {
  __atomic_store_n(&entry, function, __ATOMIC_RELAXED);
}

} // namespace
} // namespace tnk::host

void tnk_dft_bless_node_omp(DftiNode *node) {
  using namespace tnk::host;
  offer<int32_t (*)()>(node->api_entries->dynamic, dynamic);
  offer<int32_t (*)()>(node->api_entries->threads, usable_threads);
  offer<int32_t (*)()>(node->api_entries->hardware_threads, hardware_threads);
}
