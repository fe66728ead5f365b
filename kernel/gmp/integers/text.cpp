// Integers to and from text, digit by digit: tnk/integer.h has what is fast for long numbers.
#include <cstdio>
#include <cstring>

#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

constexpr int largest_base = 36;

bool is_space(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// Characters with a sign and the NUL.
size_t text_bytes(const Integer *a, int base) {
  return tnk_gmp___gmpz_sizeinbase(a, base) + 2;
}

// Digits of a from the lowest on, behind one another; how many.
size_t digits_backward(char *text, const Integer *a, limb base, const char *digits) {
  Temporary rest(a);
  rest->size = limbs_of(rest);
  size_t count = 0;
  do text[count++] = digits[tdiv_q_ui(rest, rest, base)];
  while (rest->size != 0);
  return count;
}

void turn_round(char *first, char *last) {
  for (; first < last; ++first) std::swap(*first, *--last);
}

// What stands before the digits of a text.
struct Start {
  const char *digits;
  int base;
  bool negative, prefixed;
};
Start start_of(const char *text, int base) {
  while (is_space(*text)) ++text;
  const bool negative = *text == '-';
  if (negative || *text == '+') ++text;
  const auto prefix = [&text](char lower, char upper) {
    const char *const letter = text + (text[0] == '0');
    if (*letter != lower && *letter != upper) return false;
    text = letter + 1;
    return true;
  };
  // Above base 33 an x is a digit.
  if ((base == 0 || base == 16) && prefix('x', 'X')) return {text, 16, negative, true};
  if (base != 0) return {text, base, negative, false};
  if (text[0] == '0' && prefix('b', 'B')) return {text, 2, negative, true};
  return {text, text[0] == '0' ? 8 : 10, negative, false};
}

} // namespace

int tnk_gmp__impGetDigitValue(int c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
  return -1;
}

// Exact for powers of two. Otherwise bits times the logarithm, cut, and one: the margin outweighs the rounding of the
// quotient, so that the result is never too small; it is one too large at most.
size_t tnk_gmp___gmpz_sizeinbase(const Integer *a, int base) {
  const uint64_t bits = bits_of(a);
  if (bits == 0) return 1;
  if ((base & (base - 1)) == 0) {
    const uint64_t width = static_cast<uint64_t>(__builtin_ctz(static_cast<unsigned>(base)));
    return (bits + width - 1) / width;
  }
  const double digits = tnk_gmp_log_table[2] / tnk_gmp_log_table[base] * (1 + 0x1p-50);
  return static_cast<size_t>(static_cast<double>(static_cast<int64_t>(bits)) * digits) + 1;
}

char *tnk_gmp_tnk_gmp_get_hexstr(char *text, const Integer *a, int upper) {
  const char *const digits = upper ? tnk_gmp_DigitsUpper : tnk_gmp_DigitsLower;
  char *p = text;
  if (is_negative(a)) *p++ = '-';
  size_t i = tnk_gmp___gmpz_sizeinbase(a, 16);
  while (i-- > 0) *p++ = digits[a->size == 0 ? 0 : a->d[i / 16] >> i % 16 * 4 & 15];
  *p = '\0';
  return text;
}

char *tnk_gmp___gmpz_get_str(char *text, int base, const Integer *a) {
  const bool upper = base < 0;
  if (upper) base = -base;
  if (base < 2 || base > largest_base) return nullptr;
  const size_t room = text_bytes(a, base);
  char *const result = text ? text : static_cast<char *>(tnk_gmp_tnk_gmp_allocate(room));
  if (base == 16) {
    tnk_gmp_tnk_gmp_get_hexstr(result, a, upper);
  } else {
    char *const first = result + is_negative(a);
    result[0] = '-';
    const size_t n =
        digits_backward(first, a, static_cast<limb>(base), upper ? tnk_gmp_DigitsUpper : tnk_gmp_DigitsLower);
    turn_round(first, first + n);
    first[n] = '\0';
  }
  // A block is as long as its text.
  const size_t used = std::strlen(result) + 1;
  if (text || used == room) return result;
  return static_cast<char *>(tnk_gmp_tnk_gmp_reallocate(result, room, used));
}

int tnk_gmp___gmpz_set_str(Integer *r, const char *text, int base) {
  const Start start = start_of(text, base);
  int64_t count = 0;
  for (const char *p = start.digits; *p; ++p) {
    if (is_space(*p) && (start.prefixed || count != 0)) continue;
    const int digit = tnk_gmp__impGetDigitValue(*p);
    if (digit < 0 || digit >= start.base) return -1;
    ++count;
  }
  if (count == 0) return -1;
  const Small one(limb{1});
  set_ui(r, 0);
  for (const char *p = start.digits; *p; ++p) {
    if (is_space(*p)) continue;
    mul_ui(r, r, static_cast<limb>(start.base));
    tnk_gmp___gmpz_addmul_ui(r, one, static_cast<limb>(tnk_gmp__impGetDigitValue(*p)));
  }
  if (start.negative) tnk_gmp___gmpz_neg(r, r);
  return 0;
}
int tnk_gmp___gmpz_init_set_str(Integer *r, const char *text, int base) {
  tnk_gmp___gmpz_init(r);
  return tnk_gmp___gmpz_set_str(r, text, base);
}

size_t tnk_gmp___gmpq_out_str(FILE *stream, int base, const tnk_gmp_fraction *q) {
  if (!stream) stream = stdout;
  char *const above = tnk_gmp___gmpz_get_str(nullptr, base, &q->numerator);
  char *const below = tnk_gmp___gmpz_get_str(nullptr, base, &q->denominator);
  int written = -1;
  if (above && below)
    written = is_one(&q->denominator) ? std::fprintf(stream, "%s", above)
                                      : std::fprintf(stream, "%s/%s", above, below);
  for (char *const text : {above, below})
    if (text) tnk_gmp_tnk_gmp_free(text, std::strlen(text) + 1);
  return written < 0 ? 0 : static_cast<size_t>(written);
}
