// Magnitudes to and from words of any size, order of words, order of bytes and bits left empty at their tops.
#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

// Where byte `i` of word `w`, both counted from the lowest, stands among `count` words.
class Words {
public:
  Words(size_t count, int order, size_t size, int endian)
      : count_(count), size_(size), first_is_low_(order < 0), low_byte_first_(endian <= 0) {}
  size_t at(size_t w, size_t i) const {
    return (first_is_low_ ? w : count_ - 1 - w) * size_ + (low_byte_first_ ? i : size_ - 1 - i);
  }

private:
  size_t count_, size_;
  bool first_is_low_, low_byte_first_; // an endianness of 0 is that of the processor
};

} // namespace

void tnk_gmp___gmpz_import(Integer *r, size_t count, int order, size_t size, int endian, size_t nails,
                           const void *words) {
  const auto *const source = static_cast<const unsigned char *>(words);
  const Words place(count, order, size, endian);
  const size_t width = 8 * size - nails; // bits of a word that count
  const int32_t n = limbs_for(static_cast<uint64_t>(count) * width);
  limb *const d = room(r, n);
  clear(d, n);
  uint64_t bit = 0;
  for (size_t w = 0; w < count; ++w)
    for (size_t i = 0; i * 8 < width; ++i) {
      const unsigned bits = width - i * 8 < 8 ? static_cast<unsigned>(width - i * 8) : 8;
      const limb value = source[place.at(w, i)] & ((1u << bits) - 1);
      d[bit / 64] |= value << bit % 64;
      if (bit % 64 + bits > 64) d[bit / 64 + 1] |= value >> (64 - bit % 64);
      bit += bits;
    }
  settle(r, n, false);
}

void *tnk_gmp___gmpz_export(void *words, size_t *written, int order, size_t size, int endian, size_t nails,
                            const Integer *a) {
  const size_t width = 8 * size - nails;
  const size_t count = (bits_of(a) + width - 1) / width;
  if (written) *written = count;
  if (count == 0) return words;
  auto *const result = static_cast<unsigned char *>(words ? words : tnk_gmp_tnk_gmp_allocate(count * size));
  const Words place(count, order, size, endian);
  const uint64_t n = static_cast<uint64_t>(limbs_of(a));
  uint64_t bit = 0;
  for (size_t w = 0; w < count; ++w)
    for (size_t i = 0; i < size; ++i) {
      const unsigned bits = i * 8 >= width ? 0 : width - i * 8 < 8 ? static_cast<unsigned>(width - i * 8) : 8;
      const uint64_t whole = bit / 64;
      limb value = whole < n ? a->d[whole] >> bit % 64 : 0;
      if (bit % 64 + bits > 64 && whole + 1 < n) value |= a->d[whole + 1] << (64 - bit % 64);
      result[place.at(w, i)] = static_cast<unsigned char>(value & ((1u << bits) - 1));
      bit += bits;
    }
  return result;
}
