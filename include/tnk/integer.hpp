// Integers of any size as values of C++17: tnk/integer.h behind operators. Link with -ltnk.
//
//     const tnk::Integer a("123456789012345678901234567890"), b = pow(a, 20) + 1;
//     std::cout << gcd(b, tnk::factorial(50)) << '\n';
//
// / and % cut toward zero as those of built-in numbers do; <<, >> and the bitwise operators see two's complement without
// end, so that >> rounds down. What is refused (a zero divisor, a bad text, too large a result) is reported as tnk/integer.h
// says and throws tnk::IntegerError; want of memory throws std::bad_alloc.
#ifndef TNK_INTEGER_HPP
#define TNK_INTEGER_HPP

#include <cctype>
#include <cstdint>
#include <istream>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <tnk/integer.h>
#include <type_traits>
#include <utility>

namespace tnk {

class IntegerError : public std::runtime_error {
public:
  explicit IntegerError(tnk_integer_result result)
      : std::runtime_error(result == TNK_INTEGER_NO_KERNEL ? "tnk: no kernel library for integers"
                                                           : "tnk: a bad argument for integers"),
        result_(result) {}
  tnk_integer_result result() const noexcept { return result_; }

private:
  tnk_integer_result result_;
};

class Integer {
  template <class T> using if_whole = std::enable_if_t<std::is_integral_v<T>, int>;

public:
  Integer() = default;
  template <class T, if_whole<T> = 0> Integer(T value) {
    static_assert(sizeof value <= sizeof(std::int64_t), "wider numbers are put together by << and +");
    if constexpr (std::is_signed_v<T>)
      expect(tnk_integer_set_int(&record_, value));
    else
      expect(tnk_integer_set_uint(&record_, value));
  }
  explicit Integer(double value) { expect(tnk_integer_set_double(&record_, value)); }
  explicit Integer(const std::string &text, int base = 10) {
    if (text.find('\0') != text.npos) throw IntegerError(TNK_INTEGER_BAD_ARGUMENT);
    expect(tnk_integer_set_text(&record_, text.c_str(), base));
  }
  Integer(const Integer &other) { expect(tnk_integer_set(&record_, &other.record_)); }
  Integer(Integer &&other) noexcept : record_(std::exchange(other.record_, tnk_integer TNK_INTEGER_ZERO)) {}
  Integer &operator=(const Integer &other) {
    expect(tnk_integer_set(&record_, &other.record_));
    return *this;
  }
  Integer &operator=(Integer &&other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  ~Integer() { tnk_integer_clear(&record_); }

  // For the functions of tnk/integer.h and tnk/gmp.h.
  tnk_integer *record() noexcept { return &record_; }
  const tnk_integer *record() const noexcept { return &record_; }

  int sign() const noexcept { return (record_.size > 0) - (record_.size < 0); }
  std::uint64_t bits() const {
    std::uint64_t result;
    expect(tnk_integer_bits(&result, &record_));
    return result;
  }
  explicit operator bool() const noexcept { return record_.size != 0; }
  explicit operator double() const {
    double result;
    expect(tnk_integer_get_double(&result, &record_));
    return result;
  }
  // Throws where it does not fit.
  explicit operator std::int64_t() const {
    std::int64_t result;
    expect(tnk_integer_get_int(&result, &record_));
    return result;
  }
  std::string text(int base = 10) const {
    std::size_t room;
    expect(tnk_integer_text_room(&room, &record_, base));
    std::string result(room, '\0');
    expect(tnk_integer_get_text(result.data(), room, &record_, base));
    result.resize(result.find('\0'));
    return result;
  }

#define TNK_INTEGER_OPERATOR(sign, routine)                                                                  \
  Integer &operator sign##=(const Integer &b) {                                                              \
    expect(tnk_integer_##routine(&record_, &record_, &b.record_));                                           \
    return *this;                                                                                            \
  }                                                                                                          \
  friend Integer operator sign(const Integer &a, const Integer &b) {                                         \
    Integer r;                                                                                               \
    expect(tnk_integer_##routine(&r.record_, &a.record_, &b.record_));                                       \
    return r;                                                                                                \
  }                                                                                                          \
  friend Integer operator sign(Integer &&a, const Integer &b) {                                              \
    return std::move(a sign## = b);                                                                          \
  }
  TNK_INTEGER_OPERATOR(+, add)
  TNK_INTEGER_OPERATOR(-, subtract)
  TNK_INTEGER_OPERATOR(*, multiply)
  TNK_INTEGER_OPERATOR(&, and)
  TNK_INTEGER_OPERATOR(|, or)
  TNK_INTEGER_OPERATOR(^, xor)
#undef TNK_INTEGER_OPERATOR
  Integer &operator/=(const Integer &d) {
    expect(tnk_integer_divide(&record_, nullptr, &record_, &d.record_));
    return *this;
  }
  Integer &operator%=(const Integer &d) {
    expect(tnk_integer_divide(nullptr, &record_, &record_, &d.record_));
    return *this;
  }
  Integer &operator<<=(std::uint64_t bits) {
    expect(tnk_integer_shift_left(&record_, &record_, bits));
    return *this;
  }
  Integer &operator>>=(std::uint64_t bits) {
    expect(tnk_integer_shift_right(&record_, &record_, bits));
    return *this;
  }
  Integer &operator++() {
    return *this += 1;
  }
  Integer &operator--() {
    return *this -= 1;
  }
  friend Integer operator/(Integer n, const Integer &d) {
    return std::move(n /= d);
  }
  friend Integer operator%(Integer n, const Integer &d) {
    return std::move(n %= d);
  }
  friend Integer operator<<(Integer a, std::uint64_t bits) {
    return std::move(a <<= bits);
  }
  friend Integer operator>>(Integer a, std::uint64_t bits) {
    return std::move(a >>= bits);
  }
  friend Integer operator-(Integer a) {
    return a.in_place(tnk_integer_negate);
  }
  friend Integer operator~(Integer a) {
    return a.in_place(tnk_integer_not);
  }
  friend Integer abs(Integer a) {
    return a.in_place(tnk_integer_abs);
  }

  // Below, equal to or above 0 as a is below, equal to or above b.
  friend int compare(const Integer &a, const Integer &b) {
    int order;
    expect(tnk_integer_compare(&order, &a.record_, &b.record_));
    return order;
  }
  friend bool operator==(const Integer &a, const Integer &b) {
    return compare(a, b) == 0;
  }
  friend bool operator!=(const Integer &a, const Integer &b) {
    return compare(a, b) != 0;
  }
  friend bool operator<(const Integer &a, const Integer &b) {
    return compare(a, b) < 0;
  }
  friend bool operator<=(const Integer &a, const Integer &b) {
    return compare(a, b) <= 0;
  }
  friend bool operator>(const Integer &a, const Integer &b) {
    return compare(a, b) > 0;
  }
  friend bool operator>=(const Integer &a, const Integer &b) {
    return compare(a, b) >= 0;
  }

  // Throws as the operators do, for calls of tnk/integer.h.
  static void expect(tnk_integer_result result) {
    if (result == TNK_INTEGER_NO_MEMORY) throw std::bad_alloc();
    if (result != TNK_INTEGER_DONE) throw IntegerError(result);
  }

private:
  Integer &&in_place(tnk_integer_result (*routine)(tnk_integer *, const tnk_integer *)) {
    expect(routine(&record_, &record_));
    return std::move(*this);
  }

  tnk_integer record_ = TNK_INTEGER_ZERO;
};

// Quotient and remainder at once; floor_divide rounds down.
inline std::pair<Integer, Integer> divide(const Integer &n, const Integer &d) {
  std::pair<Integer, Integer> r;
  Integer::expect(tnk_integer_divide(r.first.record(), r.second.record(), n.record(), d.record()));
  return r;
}
inline std::pair<Integer, Integer> floor_divide(const Integer &n, const Integer &d) {
  std::pair<Integer, Integer> r;
  Integer::expect(tnk_integer_floor_divide(r.first.record(), r.second.record(), n.record(), d.record()));
  return r;
}
inline Integer pow(const Integer &b, std::uint64_t e) {
  Integer r;
  Integer::expect(tnk_integer_power(r.record(), b.record(), e));
  return r;
}
inline Integer pow(const Integer &b, const Integer &e, const Integer &modulus) {
  Integer r;
  Integer::expect(tnk_integer_power_modulo(r.record(), b.record(), e.record(), modulus.record()));
  return r;
}
inline Integer inverse(const Integer &a, const Integer &modulus) {
  Integer r;
  Integer::expect(tnk_integer_inverse(r.record(), a.record(), modulus.record()));
  return r;
}
inline Integer sqrt(const Integer &a) {
  Integer r;
  Integer::expect(tnk_integer_sqrt(r.record(), nullptr, a.record()));
  return r;
}
inline Integer root(const Integer &a, std::uint64_t n) {
  Integer r;
  Integer::expect(tnk_integer_root(r.record(), a.record(), n));
  return r;
}
inline Integer gcd(const Integer &a, const Integer &b) {
  Integer r;
  Integer::expect(tnk_integer_gcd(r.record(), a.record(), b.record()));
  return r;
}
inline Integer lcm(const Integer &a, const Integer &b) {
  Integer r;
  Integer::expect(tnk_integer_lcm(r.record(), a.record(), b.record()));
  return r;
}
inline Integer factorial(std::uint64_t n) {
  Integer r;
  Integer::expect(tnk_integer_factorial(r.record(), n));
  return r;
}
inline Integer binomial(std::uint64_t n, std::uint64_t k) {
  Integer r;
  Integer::expect(tnk_integer_binomial(r.record(), n, k));
  return r;
}

// To the base that the stream is set to, 8, 10 or 16, in its width, with + where it is asked for.
inline std::ostream &operator<<(std::ostream &stream, const Integer &a) {
  const auto base = stream.flags() & std::ios_base::basefield;
  std::string text = a.text(base == std::ios_base::hex ? 16 : base == std::ios_base::oct ? 8 : 10);
  if ((stream.flags() & std::ios_base::showpos) && a.sign() >= 0) text.insert(0, 1, '+');
  return stream << text;
}
// A sign or none and digits of that base; a stream that begins with anything else fails, and a stays as it was.
inline std::istream &operator>>(std::istream &stream, Integer &a) {
  const std::istream::sentry sentry(stream);
  if (!sentry) return stream;
  const auto field = stream.flags() & std::ios_base::basefield;
  const int base = field == std::ios_base::hex ? 16 : field == std::ios_base::oct ? 8 : 10;
  std::string text;
  const auto is_digit = [base](int c) {
    return base == 16 ? std::isxdigit(c) != 0 : c >= '0' && c < '0' + base;
  };
  int c = stream.peek();
  if (c == '+' || c == '-') text.push_back(static_cast<char>(stream.get())), c = stream.peek();
  const std::size_t sign = text.size();
  for (; is_digit(c); c = stream.peek()) text.push_back(static_cast<char>(stream.get()));
  if (text.size() == sign)
    stream.setstate(std::ios_base::failbit);
  else
    a = Integer(text, base);
  return stream;
}

} // namespace tnk

#endif
