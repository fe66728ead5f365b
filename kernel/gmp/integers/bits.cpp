// Bits of integers as two's complement without end: a negative number has ones above its limbs.
#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

// The limbs of a in two's complement, from the lowest on.
class Complement {
public:
  explicit Complement(const Integer *a) : a_(a), ones_(is_negative(a) ? ~limb{0} : 0), carry_(ones_ & 1) {}
  limb next() {
    const limb x = (i_ < limbs_of(a_) ? a_->d[i_] : 0) ^ ones_;
    ++i_;
    const limb sum = x + carry_;
    carry_ &= sum == 0;
    return sum;
  }

private:
  const Integer *a_;
  int32_t i_ = 0;
  limb ones_, carry_;
};

template <class Operation> void combine(Integer *r, const Integer *a, const Integer *b, Operation operation) {
  const int32_t n = limbs_of(a) > limbs_of(b) ? limbs_of(a) : limbs_of(b);
  const bool negative = operation(limb{is_negative(a)}, limb{is_negative(b)}) != 0;
  limb *const d = room(r, n + 1); // a power of two, as a sum of complements, may need one limb more
  Complement x(a), y(b);
  for (int32_t i = 0; i <= n; ++i) d[i] = operation(x.next(), y.next());
  if (negative) complement(d, d, n + 1);
  settle(r, n + 1, negative);
}

// The first bit of that value, from `start` on; all ones when there is none. In two's complement the limbs of a negative
// number are zero up to the lowest that is not, that one is negated, and those above are turned.
uint64_t scan(const Integer *a, uint64_t start, bool value) {
  const uint64_t first = start / 64, n = static_cast<uint64_t>(limbs_of(a));
  uint64_t lowest = 0;
  while (lowest < n && a->d[lowest] == 0) ++lowest;
  for (uint64_t i = first; i < n; ++i) {
    limb x = a->d[i];
    if (is_negative(a) && i >= lowest) x = i == lowest ? -x : ~x;
    if (!value) x = ~x;
    if (i == first) x &= ~limb{0} << start % 64;
    if (x != 0) return i * 64 + static_cast<uint64_t>(__builtin_ctzll(x));
  }
  if (is_negative(a) != value) return ~uint64_t{0};
  return first < n ? n * 64 : start;
}

// Adds 2^bit to the magnitude, or takes it away from one that is at least as large.
void grow_magnitude(Integer *r, uint64_t bit) {
  const int32_t whole = static_cast<int32_t>(bit / 64), size = limbs_of(r);
  const int32_t n = (size > whole ? size : whole) + 1;
  limb *const d = room(r, n + 1);
  clear(d + size, n + 1 - size);
  carry_into(d + whole, limb{1} << bit % 64);
  settle(r, n + 1, is_negative(r));
}
void shrink_magnitude(Integer *r, uint64_t bit) {
  borrow_from(r->d + bit / 64, limb{1} << bit % 64);
  settle(r, limbs_of(r), is_negative(r));
}

} // namespace

void tnk_gmp___gmpz_and(Integer *r, const Integer *a, const Integer *b) {
  combine(r, a, b, [](limb x, limb y) { return x & y; });
}
void tnk_gmp___gmpz_ior(Integer *r, const Integer *a, const Integer *b) {
  combine(r, a, b, [](limb x, limb y) { return x | y; });
}
void tnk_gmp___gmpz_xor(Integer *r, const Integer *a, const Integer *b) {
  combine(r, a, b, [](limb x, limb y) { return x ^ y; });
}
void tnk_gmp___gmpz_com(Integer *r, const Integer *a) {
  add_ui(r, a, 1);
  r->size = -r->size;
}

int tnk_gmp___gmpz_tstbit(const Integer *a, uint64_t bit) {
  const uint64_t whole = bit / 64;
  if (whole >= static_cast<uint64_t>(limbs_of(a))) return is_negative(a);
  limb x = a->d[whole];
  if (is_negative(a)) x = trimmed(a->d, static_cast<int32_t>(whole)) == 0 ? -x : ~x;
  return static_cast<int>(x >> bit % 64 & 1);
}
void tnk_gmp___gmpz_setbit(Integer *r, uint64_t bit) {
  if (!tstbit(r, bit)) is_negative(r) ? shrink_magnitude(r, bit) : grow_magnitude(r, bit);
}
void tnk_gmp___gmpz_clrbit(Integer *r, uint64_t bit) {
  if (tstbit(r, bit)) is_negative(r) ? grow_magnitude(r, bit) : shrink_magnitude(r, bit);
}
uint64_t tnk_gmp___gmpz_scan0(const Integer *a, uint64_t start) {
  return scan(a, start, false);
}
uint64_t tnk_gmp___gmpz_scan1(const Integer *a, uint64_t start) {
  return scan(a, start, true);
}

uint64_t tnk_gmp___gmpz_popcount(const Integer *a) {
  return tnk_gmp___gmpz_hamdist(a, Small(limb{0}));
}
uint64_t tnk_gmp___gmpz_hamdist(const Integer *a, const Integer *b) {
  if (is_negative(a) != is_negative(b)) return ~uint64_t{0};
  const int32_t n = limbs_of(a) > limbs_of(b) ? limbs_of(a) : limbs_of(b);
  Complement x(a), y(b);
  uint64_t count = 0;
  for (int32_t i = 0; i < n; ++i) count += static_cast<uint64_t>(__builtin_popcountll(x.next() ^ y.next()));
  return count;
}
