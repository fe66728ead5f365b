// Integers of any size from their definitions: digits of 32 bits, products by school, quotients bit by bit.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <tnk/gmp.h>
#include <vector>

namespace tnk::reference {

class Integer {
public:
  Integer() = default;
  Integer(int64_t value) : Integer(value < 0 ? 0 - static_cast<uint64_t>(value) : value, value < 0) {}
  Integer(int value) : Integer(int64_t{value}) {}
  Integer(uint64_t magnitude, bool negative = false) : negative_(negative) {
    for (; magnitude; magnitude >>= 32) digits_.push_back(static_cast<uint32_t>(magnitude));
  }
  // From limbs, and as they should be.
  Integer(const tnk_gmp_limb *limbs, int64_t n, bool negative) : negative_(negative) {
    for (int64_t i = 0; i < 2 * n; ++i) digits_.push_back(static_cast<uint32_t>(limbs[i / 2] >> i % 2 * 32));
    trim();
  }
  std::vector<tnk_gmp_limb> limbs() const {
    std::vector<tnk_gmp_limb> result((digits_.size() + 1) / 2);
    for (std::size_t i = 0; i < digits_.size(); ++i) result[i / 2] |= tnk_gmp_limb{digits_[i]} << i % 2 * 32;
    return result;
  }

  int sign() const { return digits_.empty() ? 0 : negative_ ? -1 : 1; }
  uint64_t bits() const {
    return digits_.empty() ? 0 : digits_.size() * 32 - static_cast<unsigned>(__builtin_clz(digits_.back()));
  }
  uint64_t low() const { return digits_.empty() ? 0 : limbs()[0]; }
  Integer magnitude() const { return sign() < 0 ? -*this : *this; }
  // Of two's complement without end.
  bool bit(uint64_t i) const {
    if (sign() < 0) return !(-*this - 1).bit(i);
    return i / 32 < digits_.size() && (digits_[i / 32] >> i % 32 & 1) != 0;
  }
  static Integer power_of_two(uint64_t e) {
    Integer r;
    r.digits_.resize(e / 32 + 1);
    r.digits_[e / 32] = uint32_t{1} << e % 32;
    return r;
  }

  friend int compare_magnitudes(const Integer &a, const Integer &b) {
    if (a.digits_.size() != b.digits_.size()) return a.digits_.size() > b.digits_.size() ? 1 : -1;
    for (std::size_t i = a.digits_.size(); i-- > 0;)
      if (a.digits_[i] != b.digits_[i]) return a.digits_[i] > b.digits_[i] ? 1 : -1;
    return 0;
  }
  friend int compare(const Integer &a, const Integer &b) {
    if (a.sign() != b.sign()) return a.sign() > b.sign() ? 1 : -1;
    return a.sign() < 0 ? compare_magnitudes(b, a) : compare_magnitudes(a, b);
  }
  friend bool operator==(const Integer &a, const Integer &b) { return compare(a, b) == 0; }
  friend bool operator!=(const Integer &a, const Integer &b) { return compare(a, b) != 0; }
  friend bool operator<(const Integer &a, const Integer &b) { return compare(a, b) < 0; }

  Integer operator-() const {
    Integer r = *this;
    r.negative_ = !negative_;
    return r;
  }
  friend Integer operator+(const Integer &a, const Integer &b) {
    if ((a.sign() < 0) != (b.sign() < 0)) {
      const bool first = compare_magnitudes(a, b) >= 0;
      Integer r = first ? a : b;
      r.take_off(first ? b : a);
      return r;
    }
    Integer r;
    r.negative_ = a.sign() < 0;
    uint64_t carry = 0;
    for (std::size_t i = 0; i < std::max(a.digits_.size(), b.digits_.size()) || carry; ++i) {
      carry += uint64_t{a.digit(i)} + b.digit(i);
      r.digits_.push_back(static_cast<uint32_t>(carry));
      carry >>= 32;
    }
    return r;
  }
  friend Integer operator-(const Integer &a, const Integer &b) { return a + -b; }
  friend Integer operator*(const Integer &a, const Integer &b) {
    Integer r;
    r.negative_ = (a.sign() < 0) != (b.sign() < 0);
    r.digits_.resize(a.digits_.size() + b.digits_.size());
    for (std::size_t i = 0; i < a.digits_.size(); ++i) {
      uint64_t carry = 0;
      for (std::size_t j = 0; j <= b.digits_.size() && i + j < r.digits_.size(); ++j) {
        carry += uint64_t{a.digits_[i]} * b.digit(j) + r.digits_[i + j];
        r.digits_[i + j] = static_cast<uint32_t>(carry);
        carry >>= 32;
      }
    }
    r.trim();
    return r;
  }
  // Cut toward zero.
  friend Integer operator/(const Integer &n, const Integer &d) { return divide(n, d).first; }
  friend Integer operator%(const Integer &n, const Integer &d) { return divide(n, d).second; }

  std::string text(unsigned base, bool capital = false) const {
    std::string result;
    Integer rest = magnitude();
    do {
      uint64_t digit = 0;
      for (std::size_t i = rest.digits_.size(); i-- > 0; digit %= base) {
        digit = digit << 32 | rest.digits_[i];
        rest.digits_[i] = static_cast<uint32_t>(digit / base);
      }
      rest.trim();
      result.push_back(static_cast<char>(digit < 10 ? '0' + digit : (capital ? 'A' : 'a') + digit - 10));
    } while (rest.sign() != 0);
    if (sign() < 0) result.push_back('-');
    std::reverse(result.begin(), result.end());
    return result;
  }

private:
  uint32_t digit(std::size_t i) const { return i < digits_.size() ? digits_[i] : 0; }
  void trim() {
    while (!digits_.empty() && digits_.back() == 0) digits_.pop_back();
  }
  // Of a magnitude that is no larger.
  void take_off(const Integer &b) {
    int64_t borrow = 0;
    for (std::size_t i = 0; i < digits_.size(); ++i) {
      borrow += int64_t{digits_[i]} - b.digit(i);
      digits_[i] = static_cast<uint32_t>(borrow);
      borrow >>= 32;
    }
    trim();
  }
  static std::pair<Integer, Integer> divide(const Integer &n, const Integer &d) {
    Integer q, r;
    const Integer divisor = d.magnitude();
    q.digits_.resize(n.digits_.size());
    for (uint64_t i = n.bits(); i-- > 0;) {
      uint32_t carry = n.digits_[i / 32] >> i % 32 & 1;
      for (uint32_t &digit : r.digits_) {
        const uint32_t out = digit >> 31;
        digit = digit << 1 | carry;
        carry = out;
      }
      if (carry) r.digits_.push_back(carry);
      if (compare_magnitudes(r, divisor) < 0) continue;
      r.take_off(divisor);
      q.digits_[i / 32] |= uint32_t{1} << i % 32;
    }
    q.trim();
    q.negative_ = (n.sign() < 0) != (d.sign() < 0);
    r.negative_ = n.sign() < 0;
    return {q, r};
  }

  bool negative_ = false;
  std::vector<uint32_t> digits_; // from the lowest on, the highest not 0
};

} // namespace tnk::reference
