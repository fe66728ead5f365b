// What the arithmetic of limbs is written in.
#pragma once

#include "kernel/frame/unroll.h"
#include <cstring>
#include <tnk/gmp.h>

namespace tnk::gmp {

using limb = tnk_gmp_limb;
__extension__ typedef unsigned __int128 wide; // two limbs

constexpr int limb_bits = 64;
constexpr limb top_bit = limb{1} << (limb_bits - 1);

constexpr limb low(wide x) {
  return static_cast<limb>(x);
}
constexpr limb high(wide x) {
  return static_cast<limb>(x >> limb_bits);
}
constexpr wide join(limb high_limb, limb low_limb) {
  return wide{high_limb} << limb_bits | low_limb;
}

inline int leading_zeros(limb x) {
  return __builtin_clzll(x);
}

// ---- Arrays -----------------------------------------------------------------------------------------------------

inline void copy(limb *r, const limb *a, int32_t n) {
  if (n > 0) std::memmove(r, a, static_cast<std::size_t>(n) * sizeof(limb));
}
inline void clear(limb *r, int32_t n) {
  if (n > 0) std::memset(r, 0, static_cast<std::size_t>(n) * sizeof(limb));
}

// n without the zero limbs at its top.
inline int32_t trimmed(const limb *a, int32_t n) {
  while (n > 0 && a[n - 1] == 0) --n;
  return n;
}

// r := a 2^bits and a / 2^bits, bits from 0 to 63: what goes out at the top, and at the bottom in the highest bits. r
// may be a; besides, the first may write above what it reads, the second below.
inline limb shift_left(limb *r, const limb *a, int32_t n, int bits) {
  if (n <= 0) return 0;
  limb above = a[n - 1];
  const limb out = high(wide{above} << bits);
  for (int32_t i = n - 1; i > 0; --i) {
    const limb below = a[i - 1];
    r[i] = high(join(above, below) << bits);
    above = below;
  }
  r[0] = above << bits;
  return out;
}
inline limb shift_right(limb *r, const limb *a, int32_t n, int bits) {
  if (n <= 0) return 0;
  limb below = a[0];
  const limb out = low(join(below, 0) >> bits);
  for (int32_t i = 0; i < n - 1; ++i) {
    const limb above = a[i + 1];
    r[i] = low(join(above, below) >> bits);
    below = above;
  }
  r[n - 1] = below >> bits;
  return out;
}

// Adds or subtracts 1 at the place where a carry has come to, and goes on as long as it travels.
inline void carry_into(limb *r, limb carry) {
  for (; carry; ++r) carry = (*r += carry) < carry;
}
inline void borrow_from(limb *r, limb borrow) {
  for (; borrow; ++r) {
    const limb before = *r;
    *r -= borrow;
    borrow = before < borrow;
  }
}

// The primitives by their names inside; mul_1 is r := a b.
limb mul_1(limb *r, const limb *a, int32_t n, limb b);
inline limb add_n(limb *r, const limb *a, const limb *b, int32_t n) {
  return tnk_gmp___gmpn_add_n(r, a, b, n);
}
inline limb sub_n(limb *r, const limb *a, const limb *b, int32_t n) {
  return tnk_gmp___gmpn_sub_n(r, a, b, n);
}
inline limb add_1(limb *r, const limb *a, int32_t n, limb b) {
  return tnk_gmp___gmpn_add_1(r, a, n, b);
}
inline limb sub_1(limb *r, const limb *a, int32_t n, limb b) {
  return tnk_gmp___gmpn_sub_1(r, a, n, b);
}
inline limb addmul_1(limb *r, const limb *a, int32_t n, limb b) {
  return tnk_gmp___gmpn_addmul_1(r, a, n, b);
}
inline limb submul_1(limb *r, const limb *a, int32_t n, limb b) {
  return tnk_gmp___gmpn_submul_1(r, a, n, b);
}
inline int compare(const limb *a, const limb *b, int32_t n) {
  return tnk_gmp___gmpn_cmp(a, b, n);
}

// ---- Scratch ----------------------------------------------------------------------------------------------------

// Limbs for the length of a call: on the stack up to 256 of them, from the allocator above.
class Scratch {
public:
  explicit Scratch(int64_t limbs)
      : bytes_(limbs > on_stack ? static_cast<std::size_t>(limbs) * sizeof(limb) : 0),
        data_(bytes_ ? static_cast<limb *>(tnk_gmp_tnk_gmp_allocate(bytes_)) : stack_) {}
  ~Scratch() {
    if (bytes_) tnk_gmp_tnk_gmp_free(data_, bytes_);
  }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  operator limb *() { return data_; }

private:
  static constexpr int on_stack = 256;
  std::size_t bytes_;
  limb *data_;
  limb stack_[on_stack];
};

// ---- Records ----------------------------------------------------------------------------------------------------

inline int32_t limbs_of(const tnk_gmp_integer &x) {
  return x.size < 0 ? -x.size : x.size;
}

// Room for that many limbs; those in use stay.
inline limb *room_for(tnk_gmp_integer &x, int32_t limbs) {
  if (x.alloc < limbs) {
    const auto bytes = [](int32_t n) { return static_cast<std::size_t>(n) * sizeof(limb); };
    x.d = static_cast<limb *>(tnk_gmp_tnk_gmp_reallocate(x.d, bytes(x.alloc), bytes(limbs)));
    x.alloc = limbs;
  }
  return x.d;
}

// ---- Divisions --------------------------------------------------------------------------------------------------

// By the method for the lengths, dn at least 2 and nn at least dn; as mpl_divqr_long otherwise. q or r may be null.
limb divide(limb *q, limb *r, const limb *n, int32_t nn, const limb *d, int32_t dn);

} // namespace tnk::gmp
