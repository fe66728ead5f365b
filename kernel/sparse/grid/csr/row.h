// One compressed row against a vector: the sums and scatters that the row kernels are made of. What a column is compared
// with is on the scale of the stored numbers.
#pragma once

#include "kernel/sparse/entries.h"
#include "kernel/sparse/lanes.h"

namespace tnk::sparse {

// ---- Sums ------------------------------------------------------------------------------------------------------

// take(products a * x, k) for the k-th half vector of four entries; with Conj conjugate(a) * x.
template <class T, bool Conj, class I, class Take>
inline void each_product_of_four(const T *values, const I *columns, const T *x, Take take) {
  for (int k = 0; k < 4 / per_half<T>; ++k)
    take(times<T, Conj>(loadu<half_of<T>>(values + k * per_half<T>), gather(x, columns + k * per_half<T>)),
         k);
}

// The last ones of four, as many as `count` says, 0 to 4.
template <class I> inline i32x4 last_of_four(I count) {
  static constexpr std::int32_t bits[8] = {0, 0, 0, 0, -1, -1, -1, -1};
  return loadu<i32x4>(bits + count);
}

// Entries p ... count - 1 of a row added to its sum, in order. Products are taken four at a time, at last the last four
// of the row, those that are in the sum already masked out: adding +0 changes no sum that began with +0. So a row has
// one branch that follows its length, the number of fours. A loop over the single entries that are left would be
// mispredicted about once a row where lengths vary.
template <class T, bool Conj, class I>
inline void add_rest(in_lanes<T> &sum, const T *values, const I *columns, I p, I count, const T *x) {
  if constexpr (!std::is_same_v<T, tnk_complex16>) { // of which a half vector holds one
    const auto add = [&](auto product, int) { add_in_order<T>(sum, product); };
    if (count >= 6) {
      for (; count - p > 4; p += 4) each_product_of_four<T, Conj>(values + p, columns + p, x, add);
      const i32x4 mask = last_of_four(count - p);
      each_product_of_four<T, Conj>(values + count - 4, columns + count - 4, x, [&](auto product, int k) {
        add_in_order<T>(sum, masked_part<T>(product, mask, k));
      });
      return;
    }
    if (count >= 4) {
      each_product_of_four<T, Conj>(values, columns, x, add);
      p = 4;
    }
  }
  for (; p < count; ++p) sum += times<T, Conj>(fetch(values + p), fetch(x + get(columns + p)));
}

// A row shorter than this has no rounds.
template <class T> constexpr int least_in_rounds = is_complex<T> ? 8 : 16;

// The sum of a * x over a row; with Conj of conjugate(a) * x. A long row is summed in rounds from a 32-byte boundary of
// the values on: 16 numbers or 8 pairs a round, in four accumulators of 128 bits, held two to a vector, that are
// combined as (acc0 + acc1) + (acc2 + acc3) and then across their lanes. What stands before and behind the rounds is added one by
// one, in order, and so is a short row and one of numbers that are not aligned to their size. Pairs that no peel brings
// to a boundary are summed in rounds from the first one. Rows that come next are fetched at that distance, and where columns
// jump elements of x too.
template <class T, bool Conj = false, int Distance = usual_distance, bool Jumps = false, class I>
inline in_lanes<T> row_sum(const T *values, const I *columns, I count, const T *x) {
  using V = vec_of<T>;
  constexpr int round = least_in_rounds<T>;
  in_lanes<T> sum{};
  I p = 0;
  if (count >= round) {
    const bool aligned = is_aligned_to(values, sizeof(T));
    const auto peel = static_cast<I>(elements_to_boundary<32>(values));
    if (count - peel >= round && (aligned || is_complex<T>)) {
      for (; p < peel; ++p) sum += times<T, Conj>(fetch(values + p), fetch(x + get(columns + p)));
      V acc[2] = {};
      for (; count - p >= round; p += round) {
        fetch_ahead<round, Distance>(values + p, columns + p);
        if constexpr (Jumps) fetch_elements<round>(columns + p, x);
        for (int k = 0; k < round; k += per_vector<T>)
          acc[k / per_vector<T> % 2] +=
              times<T, Conj>(loadu<V>(values + p + k), gather_vector(x, columns + p + k));
      }
      sum += sum_of<T>((low_half(acc[0]) + high_half(acc[0])) + (low_half(acc[1]) + high_half(acc[1])));
    }
  }
  fetch_ahead<round, Distance>(values + p, columns + p);
  if constexpr (Jumps) fetch_elements<round>(columns + p, x);
  add_rest<T, Conj>(sum, values, columns, p, count, x);
  return sum;
}

// The sum of a * x over the entries of a row whose columns lie beyond `limit`, from the same 32-byte boundary on as the
// sum of the row: four entries a round, in two accumulators of 128 bits. What stands before and behind the rounds is
// added one by one. Products of the other entries are masked out, whatever they are.
template <class T, bool Above, bool Conj = false, class I>
inline in_lanes<T> sum_beyond(const T *values, const I *columns, I count, I limit, const T *x) {
  using V = half_of<T>;
  in_lanes<T> sum{};
  I p = 0;
  const auto one_by_one = [&](I end) {
    for (; p < end; ++p)
      if (is_beyond<Above>(get(columns + p), limit))
        sum += times<T, Conj>(fetch(values + p), fetch(x + get(columns + p)));
  };
  const bool aligned = is_aligned_to(values, sizeof(T));
  const auto peel = static_cast<I>(elements_to_boundary<32>(values));
  if (count - peel >= 4 && (aligned || is_complex<T>)) {
    one_by_one(peel);
    V acc[2] = {};
    for (; count - p >= 4; p += 4) {
      const i32x4 mask = beyond<Above>(columns + p, limit);
      if (lane_bits(mask) == 0) continue;
      each_product_of_four<T, Conj>(values + p, columns + p, x, [&](auto product, int k) {
        acc[k % 2] += masked_part<T>(product, mask, k);
      });
    }
    sum += sum_of<T>(acc[0] + acc[1]);
  }
  one_by_one(count);
  return sum;
}

// ---- Scatters --------------------------------------------------------------------------------------------------

enum class Sign { plus, minus };

// y[column] += a * t, or -=; a column that occurs twice in a row is added to twice.
template <class T, Sign S, bool Conj, class I>
inline void scatter_one(const T *value, const I *column, in_lanes<T> t, T *y) {
  T *const target = y + get(column);
  const auto product = times<T, Conj>(fetch(value), t);
  deposit(target, S == Sign::plus ? fetch(target) + product : fetch(target) - product);
}

// The same for all entries of a row, four a round.
template <class T, bool Conj = false, bool Jumps = false, class I>
inline void scatter(const T *values, const I *columns, I count, in_lanes<T> t, T *y) {
  constexpr int at_once = 16;
  fetch_ahead<at_once>(values, columns);
  I p = 0;
  for (; count - p >= 4; p += 4) {
    if (p % at_once == at_once - 4) fetch_ahead<at_once>(values + p + 4, columns + p + 4);
    if constexpr (Jumps) fetch_elements<4>(columns + p, y);
    for (int k = 0; k < 4; ++k) scatter_one<T, Sign::plus, Conj>(values + p + k, columns + p + k, t, y);
  }
  if constexpr (Jumps) fetch_elements<4>(columns + p, y);
  for (; p < count; ++p) scatter_one<T, Sign::plus, Conj>(values + p, columns + p, t, y);
}

// For those of four entries whose bits are set. Other elements of y are neither read nor written.
template <class T, Sign S, bool Conj, class I>
inline void scatter_four(unsigned bits, const T *values, const I *columns, in_lanes<T> t, T *y) {
  if (bits == 15) {
    for (int k = 0; k < 4; ++k) scatter_one<T, S, Conj>(values + k, columns + k, t, y);
  } else if (bits != 0) {
    for (int k = 0; k < 4; ++k)
      if (bits >> k & 1) scatter_one<T, S, Conj>(values + k, columns + k, t, y);
  }
}

// For the entries of a row whose columns lie beyond `limit`.
template <class T, bool Above, Sign S, bool Conj = false, class I>
inline void scatter_beyond(const T *values, const I *columns, I count, I limit, in_lanes<T> t, T *y) {
  I p = 0;
  for (; count - p >= 4; p += 4)
    scatter_four<T, S, Conj>(lane_bits(beyond<Above>(columns + p, limit)), values + p, columns + p, t, y);
  for (; p < count; ++p)
    if (is_beyond<Above>(get(columns + p), limit)) scatter_one<T, S, Conj>(values + p, columns + p, t, y);
}

} // namespace tnk::sparse
