// Dense vectors side by side, one after another or by rows: the right-hand sides and the results of sparse products.
#pragma once

#include "reference/sparse_grid.h"
#include "support/guarded.h"

namespace tnk::test {

// What is not an element: a NaN, or as a column one before the first.
template <class E> E junk() {
  E e;
  std::memset(&e, 0xFF, sizeof e);
  return e;
}

template <class T> class Sides {
public:
  Sides(tnk_int size, tnk_int count, bool by_rows, tnk_int spare, std::size_t shift = page_end)
      : size_(size), count_(count), by_rows_(by_rows), ld_((by_rows ? count : size) + spare),
        memory_(by_rows ? size * ld_ : count * ld_, shift) {}
  Sides(const Sides &other)
      : size_(other.size_), count_(other.count_), by_rows_(other.by_rows_), ld_(other.ld_),
        memory_(other.memory_.size()) {
    *this = other;
  }
  Sides &operator=(const Sides &other) {
    if (memory_.size() != 0) std::memcpy(data(), other.data(), memory_.size() * sizeof(T));
    return *this;
  }

  tnk_int count() const { return count_; }
  tnk_int ld() const { return ld_; }
  T *data() { return memory_.data(); }
  const T *data() const { return memory_.data(); }
  bool same_as(const Sides &other) const {
    return memory_.size() == 0 || std::memcmp(data(), other.data(), memory_.size() * sizeof(T)) == 0;
  }
  template <class F> void fill(F number) {
    for (tnk_int side = 0; side < count_; ++side)
      for (tnk_int i = 0; i < size_; ++i) memory_.put(position(i, side), number());
  }
  std::vector<reference::wide> side(tnk_int k) const {
    std::vector<reference::wide> v;
    for (tnk_int i = 0; i < size_; ++i) v.push_back(reference::widened(memory_.get(position(i, k))));
    return v;
  }
  // Whether nothing but the elements, which this overwrites, has changed.
  bool intact() {
    fill(junk<T>);
    const std::vector<unsigned char> untouched(memory_.size() * sizeof(T), 0xFF);
    return memory_.intact() &&
           (untouched.empty() || std::memcmp(memory_.data(), untouched.data(), untouched.size()) == 0);
  }

private:
  tnk_int position(tnk_int i, tnk_int side) const { return by_rows_ ? i * ld_ + side : side * ld_ + i; }
  tnk_int size_, count_;
  bool by_rows_;
  tnk_int ld_;
  Guarded<T> memory_;
};

// What is wrong with elements that should be what there was and, added, a factor times the sums; nothing, or a row. For each
// term a rounding, and eight for the products and for what is done to a sum; `times` as many.
template <class T>
std::string wrong_row(const std::vector<reference::GridSum> &sums, const std::vector<reference::wide> &found,
                      reference::wide factor, const std::vector<reference::wide> &old, int times = 1) {
  using reference::size_of;
  const long double rounding =
      times * (sizeof(T) == (std::is_floating_point_v<T> ? 4 : 8) ? 0x1p-24L : 0x1p-53L);
  for (std::size_t i = 0; i < sums.size(); ++i) {
    const auto error = size_of(found[i] - (old[i] + reference::product(factor, sums[i].value)));
    const auto bound = (sums[i].terms + 8) * rounding * (size_of(old[i]) + size_of(factor) * sums[i].size);
    if (!(error <= bound))
      return "row " + std::to_string(i) + ": error " + std::to_string(error) + ", bound " +
             std::to_string(bound);
  }
  return "";
}
inline std::vector<reference::wide> scaled(reference::wide factor, std::vector<reference::wide> x) {
  for (reference::wide &e : x) e = reference::product(factor, e);
  return x;
}

} // namespace tnk::test
