// The record of a power-of-two transform, what an array kind is, and the arithmetic of its sizes.
#pragma once

#include "kernel/signal/arrays.h"
#include <tnk/signal_fft.h>
#include <tnk/signal_vector.h>

namespace tnk::signal {

// Made by Init at a 32-byte boundary; its tables follow it in the same block. Read only from then on.
template <class R> struct fft_spec {
  std::int32_t tag, order;
  std::int32_t forward_scaled, inverse_scaled;
  R scale;
  std::int32_t hint;
  std::int32_t buffer_size; // bytes of work that a transform needs, from a 32-byte boundary on; 0 for none
  std::int32_t owned;       // Free releases the memory
  const std::int32_t *reversal;
  const R *twiddles;
  const R *blocks[2]; // of the combining steps above in-cache transforms, the last step first
  const R *recombination, *ccs_recombination;
};
constexpr int record_bytes = 136;
static_assert(sizeof(fft_spec<double>) <= record_bytes);

constexpr std::int32_t tag_32fc = 4, tag_32f = 5, tag_real_32f = 6, tag_64fc = 7, tag_64f = 8,
                       tag_real_64f = 9;

// Up to this order a transform is straight code; from that order on it works on main memory by block.
constexpr int small_order = 6, large_order = 18;

enum class Layout { pairs, parts, real };
template <class R_, Layout L> struct Kind {
  using R = R_;
  static constexpr bool real = L == Layout::real, by_part = L == Layout::parts;
  static constexpr bool single = std::is_same_v<R, float>;
  static constexpr std::int32_t tag = (single ? tag_32fc : tag_64fc) + static_cast<int>(L);
  // N stays below 2^27, in single below 2^28.
  static constexpr int highest_order = single ? 27 : 26;
};

inline tnk_int rounded_to_32(tnk_int bytes) {
  return bytes & ~tnk_int(31);
}
template <class T> inline T *aligned_to_32(T *p) {
  return p + (0 - address(p)) % 32 / sizeof(T);
}

// The work buffer of one transform: the caller's, or one of its own for the length of the call.
class Work {
public:
  Work(std::uint8_t *given, std::int32_t bytes)
      : own_(!given && bytes > 0 ? e9_vpksMalloc_8u(bytes) : nullptr), failed_(!given && bytes > 0 && !own_),
        begin_(own_ ? own_ : aligned_to_32(given)) {}
  Work(const Work &) = delete;
  Work &operator=(const Work &) = delete;
  ~Work() {
    if (own_) e9_vpksFree(own_);
  }
  bool failed() const { return failed_; }
  std::uint8_t *begin() const { return begin_; }

private:
  std::uint8_t *own_;
  bool failed_;
  std::uint8_t *begin_;
};

} // namespace tnk::signal
