#include "host/routines/overlap.h"

#include <cstdint>
#include <cstdlib>
#include <numeric>

namespace tnk::host {
namespace {

struct Row {
  tnk_int begin, end, count, stride;
};

tnk_int address(const void *p) {
  return static_cast<tnk_int>(reinterpret_cast<std::uintptr_t>(p));
}
// Beyond the last element of a row, from its first.
tnk_int width(const Lattice &a) {
  return (a.columns - 1) * a.near + a.element;
}
Row row(const Lattice &a, tnk_int i) {
  const tnk_int begin = address(a.first) + i * a.far;
  return {begin, begin + width(a), a.columns, a.near};
}

// Of two rows that cross. Elements k strides apart, in a's count less b's, are nearest to one another at two values of k.
bool share(const Row &a, const Row &b, tnk_int element) {
  const tnk_int stride = a.count > 1 ? a.stride : b.stride;
  if (a.count > 1 && b.count > 1 && a.stride != b.stride) return true;
  const tnk_int ahead = b.begin - a.begin, below = (ahead % stride + stride) % stride,
                k = (ahead - below) / stride;
  const auto exists = [&](tnk_int apart) { return apart > -b.count && apart < a.count; };
  return (below < element && exists(k)) || (stride - below < element && exists(k + 1));
}

} // namespace

bool overlap(const Lattice &a, const Lattice &b) {
  if (a.rows == 0 || a.columns == 0 || b.rows == 0 || b.columns == 0) return false;
  if (row(a, a.rows - 1).end <= row(b, 0).begin || row(b, b.rows - 1).end <= row(a, 0).begin) return false;
  // All at multiples of one stride, from starts that differ by no such multiple: taking turns.
  const tnk_int turn = std::gcd(std::gcd(a.far, a.near), std::gcd(b.far, b.near));
  const tnk_int offset = std::abs(address(a.first) - address(b.first)) % turn;
  if (offset >= a.element && turn - offset >= a.element) return false;
  for (tnk_int i = 0, j = 0; i < a.rows && j < b.rows;) {
    const Row x = row(a, i), y = row(b, j);
    if (x.end > y.begin && y.end > x.begin && share(x, y, a.element)) return true;
    x.end <= y.end ? ++i : ++j;
  }
  return false;
}

} // namespace tnk::host
