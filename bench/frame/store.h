// Memory of the measurements, on large pages where the system has them.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <new>

namespace tnk::bench {

// Grows on demand and stays, so that only the first row of a process pays for its pages.
class Store {
public:
  unsigned char *at_least(std::size_t bytes) {
    if (bytes <= size) return data;
    if (data) munmap(data, size);
    size = (bytes + huge_page - 1) / huge_page * huge_page;
    void *fresh = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (fresh == MAP_FAILED) throw std::bad_alloc();
    madvise(fresh, size, MADV_HUGEPAGE);
    return data = static_cast<unsigned char *>(fresh);
  }

private:
  static constexpr std::size_t huge_page = std::size_t(1) << 21;
  unsigned char *data = nullptr;
  std::size_t size = 0;
};

} // namespace tnk::bench
