// Scratch memory for the length of a call.
#pragma once

#include <tnk/services.h>

namespace tnk::host::sparse {

struct Block {
  explicit Block(void *block) : address(block) {}
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;
  ~Block() {
    if (address) tnk_serv_deallocate(address);
  }
  void *const address;
};

// Arrays cut from one block after another: first all sizes are added up, then the block is taken, then it is cut. Each
// begins on a cache line.
class Room {
public:
  Room &add(tnk_int count, std::size_t element) {
    bytes_ += bytes_of(count, element);
    return *this;
  }
  tnk_int bytes() const { return bytes_; }
  template <class E> static E *cut(char *&next, tnk_int count) {
    E *const array = reinterpret_cast<E *>(next);
    next += bytes_of(count, sizeof(E));
    return array;
  }

private:
  static tnk_int bytes_of(tnk_int count, std::size_t element) {
    return (count * static_cast<tnk_int>(element) + 63) / 64 * 64;
  }
  tnk_int bytes_ = 0;
};

} // namespace tnk::host::sparse
