// Arrays that notice what a routine should not touch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <sanitizer/asan_interface.h>
#include <sys/mman.h>
#include <tnk/types.h>
#include <vector>

namespace tnk::test {

// `count` elements of T between two red zones filled with a pattern. The first element stands `shift` bytes past a
// 64-byte boundary; a shift that is no multiple of alignof(T) gives misaligned elements, to be read with get and put.
template <class T> class Guarded {
public:
  explicit Guarded(std::size_t count, std::size_t shift = 0)
      : count_(count), bytes_(red_zone * 2 + shift + count * sizeof(T) + 64, pattern) {
    auto start = reinterpret_cast<std::uintptr_t>(bytes_.data()) + red_zone;
    start = (start + 63) / 64 * 64 + shift;
    first_ = start - reinterpret_cast<std::uintptr_t>(bytes_.data());
  }

  std::size_t size() const { return count_; }
  T *data() { return reinterpret_cast<T *>(bytes_.data() + first_); }
  const T *data() const { return reinterpret_cast<const T *>(bytes_.data() + first_); }

  T get(std::size_t i) const {
    T value;
    std::memcpy(&value, bytes_.data() + first_ + i * sizeof(T), sizeof value);
    return value;
  }
  void put(std::size_t i, T value) {
    std::memcpy(bytes_.data() + first_ + i * sizeof(T), &value, sizeof value);
  }

  // Whether no byte outside the elements has changed.
  bool intact() const {
    for (std::size_t i = 0; i < bytes_.size(); ++i)
      if ((i < first_ || i >= first_ + count_ * sizeof(T)) && bytes_[i] != pattern) return false;
    return true;
  }

private:
  // All ones: a NaN in every floating-point type, so that a value read from outside shows in the result.
  static constexpr unsigned char pattern = 0xFF;
  static constexpr std::size_t red_zone = 256;
  std::size_t count_;
  std::vector<unsigned char> bytes_;
  std::size_t first_;
};

// A BLAS vector: n logical elements at increment inc, every byte between them guarded too. element 0 is where BLAS
// puts it: at the far end when inc is negative. An increment of 0 holds one element.
template <class T> class Strided {
public:
  Strided(tnk_int n, tnk_int inc, std::size_t shift = 0)
      : n_(n < 0 ? 0 : n), inc_(inc),
        memory_(n_ == 0 ? 0 : static_cast<std::size_t>((n_ - 1) * (inc < 0 ? -inc : inc) + 1), shift) {}

  tnk_int n() const { return n_; }
  const tnk_int &inc() const { return inc_; }
  T *data() { return memory_.data(); }
  const T *data() const { return memory_.data(); }
  T get(tnk_int i) const { return memory_.get(position(i)); }
  void put(tnk_int i, T value) { memory_.put(position(i), value); }

  // Whether nothing but the n elements has changed.
  bool intact() const {
    const std::size_t step = inc_ == 0 ? 1 : static_cast<std::size_t>(inc_ < 0 ? -inc_ : inc_);
    unsigned char gap[sizeof(T)], value[sizeof(T)];
    std::memset(gap, 0xFF, sizeof gap);
    for (std::size_t i = 0; i < memory_.size(); ++i) {
      if (i % step == 0) continue;
      const T element = memory_.get(i);
      std::memcpy(value, &element, sizeof value);
      if (std::memcmp(value, gap, sizeof gap) != 0) return false;
    }
    return memory_.intact();
  }

private:
  std::size_t position(tnk_int i) const {
    return static_cast<std::size_t>(inc_ < 0 ? (i + 1 - n_) * inc_ : i * inc_);
  }
  tnk_int n_, inc_;
  Guarded<T> memory_;
};

// `count` elements that end exactly where a page begins that faults on any access, so that a read past the end stops
// the test. at_start: the elements begin right after such a page.
template <class T> class PageEdge {
public:
  explicit PageEdge(std::size_t count, bool at_start = false) {
    constexpr std::size_t page = 4096;
    const std::size_t bytes = count * sizeof(T), inner = (bytes + page - 1) / page * page;
    total_ = inner + 2 * page;
    map_ = static_cast<unsigned char *>(
        mmap(nullptr, total_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    if (inner > 0) mprotect(map_ + page, inner, PROT_READ | PROT_WRITE);
    first_ = map_ + page + (at_start ? 0 : inner - bytes);
  }
  PageEdge(const PageEdge &) = delete;
  PageEdge &operator=(const PageEdge &) = delete;
  ~PageEdge() { munmap(map_, total_); }

  T *data() { return reinterpret_cast<T *>(first_); }
  T &operator[](std::size_t i) { return data()[i]; }

private:
  unsigned char *map_, *first_;
  std::size_t total_;
};

// `count` elements from 8 bytes past a 16-byte boundary on. Under the address sanitizer any access right before or after
// them stops the test, so also one by an aligned vector, which never leaves the page of an element.
template <class T> class Fenced {
public:
  explicit Fenced(std::size_t count) : bytes_(new unsigned char[fence + count * sizeof(T)]) {
    ASAN_POISON_MEMORY_REGION(bytes_.get(), fence);
  }
  ~Fenced() { ASAN_UNPOISON_MEMORY_REGION(bytes_.get(), fence); }

  T *data() { return reinterpret_cast<T *>(bytes_.get() + fence); }

private:
  static constexpr std::size_t fence = 8;
  std::unique_ptr<unsigned char[]> bytes_;
};

} // namespace tnk::test
