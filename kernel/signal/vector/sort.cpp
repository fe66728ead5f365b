// Radix sort, least significant digit first.
#include "kernel/signal/vector/walk.h"
#include <utility>

namespace tnk::signal {
namespace {

using Key = std::uint64_t;
constexpr int digit_bits = 8, digits = 64 / digit_bits, values = 1 << digit_bits;

// Keys order as unsigned integers: the sign bit is turned, and of negative numbers all others as well.
Key key_of(double x) {
  Key bits;
  std::memcpy(&bits, &x, sizeof bits);
  return bits >> 63 ? ~bits : bits | Key{1} << 63;
}
int digit(Key key, int place) {
  return static_cast<int>(key >> (place * digit_bits) & (values - 1));
}

void sort(double *vector, double *scratch, int32_t length) {
  int32_t start[digits][values] = {}; // how often a digit has a value; then where the next one with it goes
  for (int32_t i = 0; i < length; ++i)
    for (int place = 0; place < digits; ++place) ++start[place][digit(key_of(vector[i]), place)];
  double *from = vector, *to = scratch;
  for (int place = 0; place < digits; ++place) {
    int32_t *const next = start[place];
    if (next[digit(key_of(from[0]), place)] == length) continue; // the same in all: nothing moves
    for (int32_t value = 0, sum = 0; value < values; ++value) sum += std::exchange(next[value], sum);
    for (int32_t i = 0; i < length; ++i) to[next[digit(key_of(from[i]), place)]++] = from[i];
    std::swap(from, to);
  }
  if (from != vector) e9_vpksCopy_64f(from, vector, length);
}

} // namespace
} // namespace tnk::signal

int32_t e9_vpksSortRadixAscend_64f_I(double *vector, double *scratch, int32_t length) {
  if (const int32_t status = tnk::signal::checked(length, vector, scratch)) return status;
  tnk::signal::sort(vector, scratch, length);
  return TNK_SIGNAL_OK;
}
