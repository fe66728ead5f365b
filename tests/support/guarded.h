// Arrays that notice what a routine should not touch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <sanitizer/asan_interface.h>
#include <sys/mman.h>
#include <tnk/types.h>
#include <vector>

namespace tnk::test {

// Shifts beyond any boundary: the elements end exactly where a page that faults begins, or begin right after one.
constexpr std::size_t page_end = 4096, page_start = 8192;

// `count` elements of T among bytes of a pattern. The first element stands `shift` bytes past a 64-byte boundary; a
// shift that is no multiple of alignof(T) gives misaligned elements, to be read with get and put. Under the address
// sanitizer an access outside the elements stops the test.
template <class T> class Guarded {
public:
  explicit Guarded(std::size_t count, std::size_t shift = 0) : count_(count), paged_(shift >= page_end) {
    constexpr std::size_t page = 4096;
    const std::size_t bytes = count * sizeof(T), pages = (bytes + page - 1) / page * page;
    room_ = paged_ ? pages + 2 * page : 2 * red_zone + 64 + shift + bytes;
    if (paged_) {
      map_ =
          static_cast<unsigned char *>(mmap(nullptr, room_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
      begin_ = map_ + page;
      end_ = begin_ + pages;
      if (bytes > 0) mprotect(begin_, pages, PROT_READ | PROT_WRITE);
      first_ = shift == page_end ? end_ - bytes : begin_;
    } else {
      begin_ = map_ = new unsigned char[room_];
      end_ = begin_ + room_;
      first_ =
          begin_ + red_zone + (64 - reinterpret_cast<std::uintptr_t>(begin_ + red_zone) % 64) % 64 + shift;
    }
    if (end_ > begin_) std::memset(begin_, pattern, static_cast<std::size_t>(end_ - begin_));
    ASAN_POISON_MEMORY_REGION(begin_, static_cast<std::size_t>(first_ - begin_));
    ASAN_POISON_MEMORY_REGION(last(), static_cast<std::size_t>(end_ - last()));
  }
  // These elements, the last one at the end of a page.
  explicit Guarded(const std::vector<T> &elements, std::size_t shift = page_end)
      : Guarded(elements.size(), shift) {
    for (std::size_t i = 0; i < count_; ++i) put(i, elements[i]);
  }
  Guarded(const Guarded &) = delete;
  Guarded &operator=(const Guarded &) = delete;
  ~Guarded() {
    ASAN_UNPOISON_MEMORY_REGION(begin_, static_cast<std::size_t>(end_ - begin_));
    if (paged_)
      munmap(map_, room_);
    else
      delete[] map_;
  }

  std::size_t size() const { return count_; }
  T *data() { return reinterpret_cast<T *>(first_); }
  const T *data() const { return reinterpret_cast<const T *>(first_); }
  T get(std::size_t i) const {
    T value;
    std::memcpy(&value, first_ + i * sizeof(T), sizeof value);
    return value;
  }
  void put(std::size_t i, T value) { std::memcpy(first_ + i * sizeof(T), &value, sizeof value); }

  // Whether no byte outside the elements has changed.
  __attribute__((no_sanitize_address)) bool intact() const {
    for (const unsigned char *p = begin_; p != end_; ++p)
      if ((p < first_ || p >= last()) && *p != pattern) return false;
    return true;
  }

private:
  const unsigned char *last() const { return first_ + count_ * sizeof(T); }

  // All ones: a NaN in every floating-point type, so that a value read from outside shows in the result.
  static constexpr unsigned char pattern = 0xFF;
  static constexpr std::size_t red_zone = 256;
  std::size_t count_, room_;
  bool paged_;
  unsigned char *map_, *begin_, *end_, *first_;
};

// A BLAS vector: n logical elements at increment inc, every byte between them guarded too. element 0 is where BLAS
// puts it: at the far end when inc is negative. An increment of 0 holds one element.
template <class T> class Strided {
public:
  Strided(tnk_int n, tnk_int inc, std::size_t shift = 0)
      : n_(n), inc_(inc), step_(n < 2 || inc == 0 ? 1 : static_cast<std::size_t>(inc < 0 ? -inc : inc)),
        memory_(n < 1      ? 0
                : inc == 0 ? 1
                           : static_cast<std::size_t>(n - 1) * step_ + 1,
                shift) {}

  tnk_int n() const { return n_; }
  const tnk_int &inc() const { return inc_; }
  T *data() { return memory_.data(); }
  const T *data() const { return memory_.data(); }
  T get(tnk_int i) const { return memory_.get(position(i)); }
  void put(tnk_int i, T value) { memory_.put(position(i), value); }

  // Whether nothing but the n elements has changed.
  bool intact() const {
    const auto *const bytes = reinterpret_cast<const unsigned char *>(memory_.data());
    for (std::size_t i = 0; i < memory_.size() * sizeof(T); ++i)
      if (i / sizeof(T) % step_ != 0 && bytes[i] != 0xFF) return false;
    return memory_.intact();
  }

private:
  std::size_t position(tnk_int i) const {
    return static_cast<std::size_t>(inc_ < 0 ? (i + 1 - n_) * inc_ : i * inc_);
  }
  tnk_int n_, inc_;
  std::size_t step_;
  Guarded<T> memory_;
};

} // namespace tnk::test
