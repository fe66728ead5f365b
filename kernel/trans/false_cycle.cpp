// A caller's map of positions that are known to lead no cycle, a bit each.
#include <cstdint>
#include <tnk/trans.h>

namespace {
constexpr std::uint64_t word_bits = 64;
}

int32_t tnk_trans_is_known_false_cycle(const std::uint64_t *map, std::uint64_t position) {
  return map[position / word_bits] >> position % word_bits & 1;
}
void tnk_trans_know_false_cycle(std::uint64_t *map, std::uint64_t position) {
  map[position / word_bits] |= std::uint64_t{1} << position % word_bits;
}
