// Integers to and from text in better than quadratic time: halves of the digits, by products and quotients with powers of
// the base.
#include "host/routines/integer/call.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tnk::host::integer {
namespace {

constexpr char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";

// What a character stands for; 36 for none.
int value_of(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
  return 36;
}

// Bits of a digit where the base is a power of two, else 0.
int digit_bits(int base) {
  return (base & (base - 1)) == 0 ? __builtin_ctz(static_cast<unsigned>(base)) : 0;
}

// base^(chunk leaf 2^i): the powers at which texts are cut. A chunk is as many digits as a limb holds.
class Powers {
public:
  Powers(const Call &call, int base) : call_(call), base_(base) {
    for (chunk_power_ = 1; chunk_power_ <= UINT64_MAX / static_cast<std::uint64_t>(base); ++chunk_)
      chunk_power_ *= static_cast<std::uint64_t>(base);
  }
  Powers(const Powers &) = delete;
  Powers &operator=(const Powers &) = delete;
  ~Powers() {
    for (int i = 0; i < made_; ++i) call_->z_clear(&powers_[i]);
  }
  static constexpr std::size_t leaf_chunks = 30; // shorter texts go chunk by chunk
  std::size_t chunk() const { return chunk_; }
  std::uint64_t chunk_power() const { return chunk_power_; }
  std::size_t digits_of(int i) const { return chunk_ * leaf_chunks << i; }

  const tnk_integer *at(int i) {
    for (; made_ <= i; ++made_) {
      powers_[made_] = TNK_INTEGER_ZERO;
      if (made_ == 0)
        call_->z_ui_pow_ui(&powers_[0], static_cast<std::uint64_t>(base_), chunk_ * leaf_chunks);
      else
        call_->z_mul(&powers_[made_], &powers_[made_ - 1], &powers_[made_ - 1]);
    }
    return &powers_[i];
  }

private:
  const Call &call_;
  int base_, made_ = 0;
  std::size_t chunk_ = 0;
  std::uint64_t chunk_power_;
  tnk_integer powers_[40];
};

// The largest cut below that many digits; -1 where there is none.
int cut_below(const Powers &powers, std::size_t count) {
  int i = -1;
  while (powers.digits_of(i + 1) < count) ++i;
  return i;
}

// a >= 0 as `count` digits, with zeros in front. a is lost.
void write(const Call &call, Powers &powers, tnk_integer *a, char *text, std::size_t count, int base) {
  const int i = cut_below(powers, count);
  if (i < 0) {
    const auto divisor = static_cast<std::uint64_t>(base);
    while (count > 0) {
      std::uint64_t rest = a->size == 0 ? 0 : call->z_tdiv_q_ui(a, a, powers.chunk_power());
      for (std::size_t k = std::min(count, powers.chunk()); k > 0; --k, rest /= divisor)
        text[--count] = digits[rest % divisor];
    }
    return;
  }
  const std::size_t below = powers.digits_of(i);
  Temporary upper(call);
  call->z_tdiv_qr(upper, a, a, powers.at(i));
  write(call, powers, upper, text, count - below, base);
  write(call, powers, a, text + (count - below), below, base);
}

// r := the number of `count` digits, which have been looked at.
void read(const Call &call, Powers &powers, tnk_integer *r, const char *text, std::size_t count, int base) {
  const int i = cut_below(powers, count);
  if (i < 0) {
    call->z_set_ui(r, 0);
    while (count > 0) {
      std::uint64_t chunk = 0, power = 1;
      const std::size_t n = count % powers.chunk() == 0 ? powers.chunk() : count % powers.chunk();
      for (std::size_t k = 0; k < n; ++k, power *= static_cast<std::uint64_t>(base))
        chunk = chunk * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(value_of(*text++));
      call->z_mul_ui(r, r, power);
      call->z_add_ui(r, r, chunk);
      count -= n;
    }
    return;
  }
  const std::size_t below = powers.digits_of(i);
  Temporary upper(call);
  read(call, powers, upper, text, count - below, base);
  read(call, powers, r, text + (count - below), below, base);
  call->z_addmul(r, upper, powers.at(i));
}

// The same for digits of `bits` bits.
void write_bits(const tnk_integer *a, char *text, std::size_t count, std::size_t bits) {
  const auto n = static_cast<std::size_t>(limbs_of(a));
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = i * bits, whole = at / 64, shift = at % 64;
    std::uint64_t value = whole < n ? a->d[whole] >> shift : 0;
    if (shift + bits > 64 && whole + 1 < n) value |= a->d[whole + 1] << (64 - shift);
    text[count - 1 - i] = digits[value & ((std::uint64_t{1} << bits) - 1)];
  }
}
void read_bits(const Call &call, tnk_integer *r, const char *text, std::size_t count, std::size_t bits) {
  const std::size_t n = (count * bits + 63) / 64;
  if (n > static_cast<std::size_t>(r->alloc)) call->z_realloc(r, static_cast<std::int32_t>(n));
  std::memset(r->d, 0, n * sizeof(tnk_gmp_limb));
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = i * bits, whole = at / 64, shift = at % 64;
    const auto value = static_cast<std::uint64_t>(value_of(text[count - 1 - i]));
    r->d[whole] |= value << shift;
    if (shift + bits > 64 && whole + 1 < n) r->d[whole + 1] |= value >> (64 - shift);
  }
  r->size = static_cast<std::int32_t>(n);
  while (r->size > 0 && r->d[r->size - 1] == 0) --r->size;
}

// Limbs of powers, halves and products for texts of a number of n limbs.
double text_limbs(double n) {
  return 12 * n + 64 + product_limbs(2 * n);
}

} // namespace
} // namespace tnk::host::integer

using namespace tnk::host::integer;

tnk_integer_result tnk_integer_set_text(tnk_integer *r, const char *text, int base) {
  Call call("tnk_integer_set_text");
  if (!call.given(1, "r", r) || !call.given(2, "text", text) || !call.base(3, base)) return call.result();
  const char *first = text + (*text == '-' || *text == '+'), *end = first;
  while (value_of(*end) < base) ++end;
  if (*end != '\0' || end == first) {
    char found[64];
    tnk::host::TextWriter writer(found, sizeof found);
    if (*end == '\0')
      writer.add("without digits");
    else if (*end > ' ' && *end <= '~')
      writer.add("'").add(std::string_view(end, 1)).add("' at ").add(std::int64_t{end - text});
    else
      writer.add("the byte ").add(std::int64_t{static_cast<unsigned char>(*end)}).add(" at ").add(end - text);
    call.good(false, 2, "text", found, "a sign or none, and digits of the base");
    return call.result();
  }
  while (*first == '0' && first + 1 < end) ++first;
  const auto count = static_cast<std::size_t>(end - first);
  const double n = static_cast<double>(count) * std::log2(base) / 64 + 2;
  const int bits = digit_bits(base);
  if (!call.in_range(2, "text", n) || !call.ready(bits ? n + 2 : text_limbs(n))) return call.result();
  if (bits) {
    read_bits(call, r, first, count, static_cast<std::size_t>(bits));
  } else {
    Powers powers(call, base);
    read(call, powers, r, first, count, base);
  }
  if (*text == '-') r->size = -r->size;
  return TNK_INTEGER_DONE;
}

tnk_integer_result tnk_integer_text_room(std::size_t *room, const tnk_integer *a, int base) {
  Call call("tnk_integer_text_room");
  if (!call.given(1, "room", room) || !call.given(2, "a", a) || !call.base(3, base) || !call.ready(0.0))
    return call.result();
  return *room = call->z_sizeinbase(a, base) + 2, TNK_INTEGER_DONE;
}

tnk_integer_result tnk_integer_get_text(char *text, std::size_t room, const tnk_integer *a, int base) {
  Call call("tnk_integer_get_text");
  if (!call.given(1, "text", text) || !call.given(3, "a", a) || !call.base(4, base) || !call.ready(0.0) ||
      !call.good(room >= call->z_sizeinbase(a, base) + 2, 2, "room", "too little",
                 "that of tnk_integer_text_room"))
    return call.result();
  std::size_t count = call->z_sizeinbase(a, base);
  const int bits = digit_bits(base);
  if (!bits && !call.ready(text_limbs(static_cast<double>(limbs_of(a))))) return call.result();
  if (a->size < 0) *text++ = '-';
  if (bits) {
    write_bits(a, text, count, static_cast<std::size_t>(bits));
  } else {
    Powers powers(call, base);
    Temporary rest(call);
    call->z_abs(rest, a);
    write(call, powers, rest, text, count, base);
  }
  if (text[0] == '0' && count > 1)
    std::memmove(text, text + 1, --count); // the room was that of one digit more
  text[count] = '\0';
  return TNK_INTEGER_DONE;
}
