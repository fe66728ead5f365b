// Where the numbers of a transform stand, told by the definitions of storage, formats, strides and distances: for tests
// that fill arrays and look at what a compute has left there.
#pragma once

#include "reference/fourier.h"
#include <numeric>
#include <random>
#include <tnk/dfti.h>
#include <vector>

namespace tnk::test {

using reference::Wide;
using Sizes = std::vector<tnk_int>; // in C's order: the last dimension varies fastest

inline tnk_int product(const Sizes &sizes) {
  return std::accumulate(sizes.begin(), sizes.end(), tnk_int{1}, std::multiplies<>());
}

// Calls body(index) for all indices below the sizes, the last one fastest.
template <class Body> void for_all(const Sizes &sizes, const Body &body) {
  Sizes index(sizes.size());
  for (tnk_int left = product(sizes); left > 0; --left) {
    body(index);
    for (std::size_t d = sizes.size(); d-- > 0 && ++index[d] == sizes[d];) index[d] = 0;
  }
}

// Numbers and their spectrum, which is found dimension by dimension. They are multiples of 1/64, so that small multiples
// of them are exact.
struct Signal {
  Sizes lengths;
  std::vector<Wide> numbers, spectrum; // in C's order

  Signal(const Sizes &sizes, bool real) : lengths(sizes) {
    std::mt19937 engine(static_cast<unsigned>(product(sizes)));
    std::uniform_int_distribution<int> any(-64, 64);
    for (tnk_int i = product(sizes); i > 0; --i) {
      const int re = any(engine), im = any(engine);
      numbers.emplace_back(re / 64.0L, real ? 0 : im / 64.0L);
    }
    spectrum = numbers;
    for (std::size_t d = 0, inner = 1; d < sizes.size(); ++d, inner = 1) {
      const auto n = static_cast<std::size_t>(sizes[d]);
      for (std::size_t k = d + 1; k < sizes.size(); ++k) inner *= static_cast<std::size_t>(sizes[k]);
      std::vector<Wide> line(n);
      for (std::size_t first = 0; first < spectrum.size(); ++first) {
        if (first / inner % n != 0) continue;
        for (std::size_t i = 0; i < n; ++i) line[i] = spectrum[first + i * inner];
        line = reference::transform(line, -1);
        for (std::size_t i = 0; i < n; ++i) spectrum[first + i * inner] = line[i];
      }
    }
  }

  Wide at(const std::vector<Wide> &array, const Sizes &index) const {
    std::size_t place = 0;
    for (std::size_t d = 0; d < lengths.size(); ++d)
      place = place * static_cast<std::size_t>(lengths[d]) + static_cast<std::size_t>(index[d]);
    return array[place];
  }
};

// What a packed row or column of that format has in a slot: a part of a frequency, or a zero.
struct Slot {
  tnk_int frequency;
  enum { re, im, zero } part;
  long double of(Wide z) const { return part == re ? z.real() : part == im ? z.imag() : 0; }
};
inline tnk_int packed_size(int format, tnk_int n) {
  return format == DftiFormatCcs ? n / 2 * 2 + 2 : n;
}
inline Slot slot_of(int format, tnk_int n, tnk_int slot) {
  const bool perm = format == DftiFormatPerm && n % 2 == 0;
  if (format == DftiFormatCcs) {
    const tnk_int k = slot / 2;
    return {k, slot % 2 == 0 ? Slot::re : k == 0 || 2 * k == n ? Slot::zero : Slot::im};
  }
  if (slot == 0) return {0, Slot::re};
  if (perm) return slot == 1 ? Slot{n / 2, Slot::re} : Slot{slot / 2, slot % 2 == 0 ? Slot::re : Slot::im};
  return {(slot + 1) / 2, slot % 2 == 1 ? Slot::re : Slot::im};
}

enum class Kind { real, interleaved, split, half, packed };
enum class Pattern { contiguous, gaps, permuted, batch_fastest, mirrored };

struct Layout {
  Kind kind = Kind::interleaved;
  int format = DftiFormatCcs;
  tnk_int offset = 0, distance = 0, batch = 1;
  Sizes strides; // in C's order, in elements

  static Sizes extents(Kind kind, int format, const Sizes &lengths) {
    Sizes sizes = lengths;
    if (kind == Kind::half) sizes.back() = sizes.back() / 2 + 1;
    if (kind == Kind::packed)
      for (tnk_int &size : sizes) size = packed_size(format, size);
    return sizes;
  }

  Layout(Kind what, int packed_format, const Sizes &lengths, Pattern pattern, tnk_int transforms)
      : kind(what), format(packed_format), batch(transforms), strides(lengths.size()) {
    const Sizes sizes = extents(what, packed_format, lengths);
    const std::size_t rank = sizes.size();
    const bool gaps = pattern == Pattern::gaps;
    tnk_int next = gaps ? 2 : pattern == Pattern::batch_fastest ? batch : 1;
    for (std::size_t i = 0; i < rank; ++i) {
      const std::size_t d = pattern == Pattern::permuted ? i : rank - 1 - i;
      strides[d] = next;
      next = next * sizes[d] + 3 * gaps;
    }
    distance = pattern == Pattern::batch_fastest ? 1 : next;
    offset = gaps ? 5 : 0;
    for (std::size_t d = 0; d < rank && pattern == Pattern::mirrored; ++d)
      offset += (sizes[d] - 1) * strides[d], strides[d] *= -1;
  }

  // Calls use(array, place, value) for each real number of a signal, times (b + 1) for transform b of the batch. Places
  // count real numbers.
  template <class Use> void visit(const Signal &signal, bool spectral, const Use &use) const {
    const auto &array = spectral ? signal.spectrum : signal.numbers;
    for (tnk_int b = 0; b < batch; ++b) {
      const auto times = static_cast<long double>(b + 1);
      const auto place_of = [&](const Sizes &index) {
        return std::inner_product(index.begin(), index.end(), strides.begin(), offset + b * distance);
      };
      if (kind == Kind::packed) {
        for_all(extents(kind, format, signal.lengths), [&](const Sizes &index) {
          visit_packed(signal, index, [&](long double value) { use(0, place_of(index), times * value); });
        });
        continue;
      }
      for_all(extents(kind, format, signal.lengths), [&](const Sizes &index) {
        const Wide value = times * signal.at(array, index);
        const tnk_int place = place_of(index);
        if (kind == Kind::real) {
          use(0, place, value.real());
        } else if (kind == Kind::split) {
          use(0, place, value.real());
          use(1, place, value.imag());
        } else {
          use(0, 2 * place, value.real());
          use(0, 2 * place + 1, value.imag());
        }
      });
    }
  }

private:
  // In two dimensions real columns are packed once more; other columns end with the rows of the transform, and so does the
  // zero beside a real column.
  template <class Use> void visit_packed(const Signal &signal, const Sizes &index, const Use &use) const {
    const Sizes &n = signal.lengths;
    const Slot across = slot_of(format, n.back(), index.back());
    if (n.size() == 1) return use(across.of(signal.at(signal.spectrum, {across.frequency})));
    const bool real = across.part == Slot::re && (across.frequency == 0 || 2 * across.frequency == n[1]);
    if (real) {
      const Slot down = slot_of(format, n[0], index[0]);
      return use(down.of(signal.at(signal.spectrum, {down.frequency, across.frequency})));
    }
    if (index[0] < n[0]) use(across.of(signal.at(signal.spectrum, {index[0], across.frequency})));
  }
};

} // namespace tnk::test
