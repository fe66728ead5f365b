// Tables of roots of unity, and the factors of a length with theirs.
#include "kernel/signal/dft/spec.h"

namespace tnk::signal {
namespace {

// Apart from one another, or the compiler makes one call of both that the runtime need not have.
__attribute__((noinline)) double sine_of(double angle) {
  return std::sin(angle);
}
__attribute__((noinline)) double cosine_of(double angle) {
  return std::cos(angle);
}

} // namespace

// Each angle reduced to its first eighth in integers: those that mirror one another have the same sine and cosine. So of a
// length that halves twice an eighth is computed, of another even one a quarter, of an odd one half a circle.
template <class R> complex<R> *new_base_table(int32_t n) {
  complex<R> *const table = new_table<complex<R>>(n);
  if (!table) return nullptr;
  const auto put = [=](int32_t k, double cosine, double sine) { // k up to half a circle
    const R re = static_cast<R>(cosine), im = static_cast<R>(sine);
    table[k] = {re, 0 - im};
    if (k > 0) table[n - k] = {re, im};
  };
  const int32_t half = n / 2, quarter = n / 4, last = n % 4 == 0 ? n / 8 : n % 2 == 0 ? quarter : half;
  for (int32_t k = 0; k <= last; ++k) {
    const std::int64_t octant = std::int64_t{8} * k / n, rest = std::int64_t{8} * k % n;
    const auto eighth = static_cast<double>(pi / 4 * (octant % 2 == 0 ? rest : n - rest) / n);
    double sine = sine_of(eighth), cosine = cosine_of(eighth);
    if (octant == 1 || octant == 2) std::swap(cosine, sine);
    if (octant >= 2) cosine = -cosine;
    put(k, cosine, sine);
    if (n % 2 == 0) put(half - k, -cosine, sine);
    if (n % 4 == 0) {
      if (quarter - k > k) put(quarter - k, sine, cosine);
      put(quarter + k, -sine, cosine);
    }
  }
  return table;
}

template <class R> R *new_direct_table(int32_t f, const complex<R> *base, int32_t n) {
  const int32_t half = f / 2, row = direct_row<R>(f), step = n / f;
  R *const table = new_table<R>(std::int64_t{half} * row);
  if (!table) return nullptr;
  R *p = table;
  for (int32_t q = 1; q <= half; ++q)
    for (int32_t first = 1; first <= half; first += per_vector<R>, p += 2 * per_vector<R>)
      for (int32_t lane = 0; lane < per_vector<R>; ++lane) {
        const bool inside = first + lane <= half;
        const complex<R> w = base[q * (first + lane) % f * step];
        p[lane] = inside ? w.re : 0;
        p[per_vector<R> + lane] = inside ? 0 - w.im : 0;
      }
  return table;
}

namespace {

// Twiddles of one entry: for each register of combined numbers those of its inputs 1 to f - 1, first the real parts, then
// the imaginary ones, in the order of the lanes. Behind the last whole register come halves, the last of which may have
// lanes to spare.
template <class R>
R *new_twiddles(const DftSpec<R> &spec, const DftFactor<R> &entry, const complex<R> *base, int32_t step) {
  constexpr int32_t whole = per_vector<R>, narrow = whole / 2;
  const bool in_order = spec.tag == dft_parts_single || spec.tag == dft_parts_double;
  const std::int64_t lanes_in_all = (entry.remaining + narrow - 1) / narrow * std::int64_t{narrow};
  R *const table = new_table<R>(lanes_in_all * (entry.factor - 1) * 2);
  if (!table) return nullptr;
  R *p = table;
  for (int32_t first = 0, width = whole; first < entry.remaining; first += width) {
    if (first + whole > entry.remaining) width = narrow;
    for (int32_t j = 1; j < entry.factor; ++j, p += 2 * width)
      for (int32_t lane = 0; lane < width; ++lane) {
        const int32_t k = first + (in_order || width < whole ? lane : packed_order<vec<R>>[lane]);
        const complex<R> w = k < entry.remaining ? base[std::int64_t{k} * j * step] : complex<R>{};
        p[lane] = w.re, p[width + lane] = w.im;
      }
  }
  return table;
}

} // namespace

template <class R> bool find_factors(DftSpec<R> &spec, int32_t length) {
  int32_t count = 0, left = length;
  const auto add = [&](int32_t factor) {
    spec.factors[count++].factor = factor;
    left /= factor;
  };
  while (left % 4 == 0) add(4);
  if (left % 2 == 0) {
    add(2);
    std::swap(spec.factors[0].factor, spec.factors[count - 1].factor);
  }
  if (left > 8)
    for (int32_t divisor = 3; divisor * divisor <= left; divisor += 2) {
      if (divisor > largest_direct) return false;
      while (left % divisor == 0 && divisor * divisor <= left) add(divisor);
    }
  if (count == 0 || left > (length % 2 == 0 ? largest_even_cofactor : largest_direct)) return false;
  spec.has_factors = 1;
  spec.last_factor = count - 1;
  spec.factors[count].factor = left;
  return true;
}

template <class R> int32_t init_factors(DftSpec<R> &spec, int32_t length, const complex<R> *base, int32_t n) {
  DftFactor<R> *const factors = spec.factors;
  if (length < first_left_unordered) spec.is_any_order = 0;
  if (!spec.is_any_order) {
    if (spec.last_factor > 0 && factors[1].factor == 4) {
      factors[0].factor *= 4;
      for (int32_t i = 1; i <= spec.last_factor; ++i) factors[i].factor = factors[i + 1].factor;
      factors[spec.last_factor + 1].factor = 0;
      --spec.last_factor;
    }
    const int32_t first = factors[0].factor;
    if (first == 2 || first == 4 || first == 8 || first == 16)
      std::swap(factors[0].factor, factors[spec.last_factor + 1].factor);
  }

  int32_t before = 1, widest = 0;
  for (int32_t i = 0; i <= spec.last_factor + 1; ++i) {
    DftFactor<R> &entry = factors[i];
    entry.before = entry.blocks = before;
    before *= entry.factor;
    entry.remaining = length / before;
    const bool is_straight = entry.factor % 2 == 0 || entry.factor <= largest_straight_factor;
    if (!is_straight) {
      widest = std::max(widest, entry.factor);
      if (!(entry.direct = new_direct_table<R>(entry.factor, base, n))) return TNK_SIGNAL_NO_MEMORY;
    }
    if (i <= spec.last_factor) {
      const int32_t step = n / length * entry.before;
      if (!(entry.twiddles = new_twiddles(spec, entry, base, step))) return TNK_SIGNAL_NO_MEMORY;
    }
  }

  // Where the numbers of each transform of the cofactor begin: its place is a numeral whose first digit, that of the
  // first factor, counts most, and counts least in the source.
  const DftFactor<R> &cofactor = factors[spec.last_factor + 1];
  spec.order = new_table<int32_t>(cofactor.blocks);
  if (!spec.order) return TNK_SIGNAL_NO_MEMORY;
  for (int32_t block = 0; block < cofactor.blocks; ++block) {
    int32_t rest = block, first = 0;
    for (int32_t i = spec.last_factor; i >= 0; --i) {
      first += rest % factors[i].factor * factors[i].before;
      rest /= factors[i].factor;
    }
    spec.order[block] = first;
  }

  // All numbers once, for a transform in place; for the widest sum two registers of each of its inputs.
  const auto number = static_cast<int32_t>(sizeof(complex<R>));
  const int32_t sums = widest > 0 ? 2 * number * per_vector<R> * widest + boundary : 0;
  spec.buffer_size = number * length + boundary + sums;
  return TNK_SIGNAL_OK;
}

#define TNK_INSTANCES(R)                                                                                     \
  template complex<R> *new_base_table<R>(int32_t);                                                           \
  template R *new_direct_table(int32_t, const complex<R> *, int32_t);                                        \
  template bool find_factors(DftSpec<R> &, int32_t);                                                         \
  template int32_t init_factors(DftSpec<R> &, int32_t, const complex<R> *, int32_t);
TNK_INSTANCES(float)
TNK_INSTANCES(double)

} // namespace tnk::signal
