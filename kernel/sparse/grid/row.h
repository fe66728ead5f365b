// One compressed row against a vector: the sums and scatters that the row kernels are made of.
//
// All column numbers are as stored. Vectors are handed over shifted, so that element j of them belongs to column j,
// and what a column is compared with is on the same scale; so one body serves both index bases.
#pragma once

#include "kernel/frame/mask.h"

namespace tnk {

// ---- One element ----------------------------------------------------------------------------------------------

// An element as it is computed with: a number, or for complex types its parts in the low lanes of a 128-bit register,
// the lanes above them being of no account.
template <class T> struct register_form { using type = T; };
template <> struct register_form<tnk_complex8> { using type = f32x4; };
template <> struct register_form<tnk_complex16> { using type = f64x2; };
template <class T> using in_lanes = typename register_form<T>::type;

template <class T> inline in_lanes<T> fetch(const T *p) {
  if constexpr (std::is_same_v<T, tnk_complex8>)
    return reinterpret_cast<f32x4>(f64x2{loadu<double>(p), 0});
  else
    return loadu<in_lanes<T>>(p);
}
template <class T> inline void deposit(T *p, in_lanes<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>)
    storeu(p, reinterpret_cast<f64x2>(v)[0]);
  else
    storeu(p, v);
}

// The elements of v counted from element `origin`, which may lie outside of it.
template <class T, class I> inline T *counted_from(T *v, I origin) {
  return reinterpret_cast<T *>(address(v) - sizeof(T) * static_cast<std::uintptr_t>(origin));
}

// ---- 128 bits of elements ---------------------------------------------------------------------------------------

template <class T> inline half_of<T> every_lane(in_lanes<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>) {
    const double pair = reinterpret_cast<f64x2>(v)[0];
    return reinterpret_cast<f32x4>(f64x2{pair, pair});
  } else if constexpr (is_complex<T>) {
    return v;
  } else {
    return splat<half_of<T>>(v);
  }
}

template <class T, class I> inline half_of<T> gather(const T *x, const I *columns) {
  if constexpr (std::is_same_v<T, float>)
    return f32x4{get(x + get(columns)), get(x + get(columns + 1)), get(x + get(columns + 2)),
                 get(x + get(columns + 3))};
  else if constexpr (std::is_same_v<T, tnk_complex16>)
    return fetch(x + get(columns));
  else if constexpr (std::is_same_v<T, double>)
    return f64x2{get(x + get(columns)), get(x + get(columns + 1))};
  else // a pair of floats moves as one number
    return reinterpret_cast<half_of<T>>(
        f64x2{loadu<double>(x + get(columns)), loadu<double>(x + get(columns + 1))});
}

// ---- 256 bits of elements ---------------------------------------------------------------------------------------

template <class T> using side_by_side = vec<real_of<T>>;
template <class T> constexpr int per_group = 2 * per_half<T>;

template <class T, class I> inline vec_of<T> gather_group(const T *x, const I *columns) {
  return joined(gather(x, columns), gather(x, columns + per_half<T>));
}

// ---- Sums of elements -------------------------------------------------------------------------------------------

// The elements of a half vector added to a sum, one after the other.
template <class T> inline void add_in_order(in_lanes<T> &sum, half_of<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>) {
    sum += v;
    sum += shifted_down<2>(v, v);
  } else if constexpr (is_complex<T>) {
    sum += v;
  } else {
    for (int k = 0; k < per_half<T>; ++k) sum += v[k];
  }
}
// The sum of the elements of a half vector.
template <class T> inline in_lanes<T> sum_of(half_of<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>)
    return v + shifted_down<2>(v, v);
  else if constexpr (std::is_same_v<T, tnk_complex16>)
    return v;
  else
    return hsum(v);
}

// ---- Columns beyond a limit -------------------------------------------------------------------------------------

template <bool Above, class I> inline bool is_beyond(I column, I limit) {
  return Above ? column > limit : column < limit;
}
// The same of four columns.
template <bool Above, class I> inline i32x4 beyond(const I *columns, I limit) {
  if constexpr (sizeof(I) == 4) {
    const auto v = loadu<i32x4>(columns);
    return Above ? v > limit : v < limit;
  } else {
    const auto low = loadu<i64x2>(columns), high = loadu<i64x2>(columns + 2);
    return Above ? narrow_masks(low > limit, high > limit) : narrow_masks(low < limit, high < limit);
  }
}
// The last ones of four, as many as `count` says, 0 to 4.
template <class I> inline i32x4 last_of_four(I count) {
  static constexpr std::int32_t bits[8] = {0, 0, 0, 0, -1, -1, -1, -1};
  return loadu<i32x4>(bits + count);
}
// The k-th half vector of four elements, where the mask of the four has it.
template <class T> inline half_of<T> masked_part(half_of<T> v, i32x4 mask, int k) {
  if constexpr (sizeof(T) == 4)
    return masked(v, mask);
  else if constexpr (sizeof(T) == 8)
    return masked(v, k == 0 ? widen_low_masks(mask) : widen_high_masks(mask));
  else
    return masked(v, splat<i32x4>(mask[k]));
}

// ---- Fetching ahead ---------------------------------------------------------------------------------------------

// Asks for Count entries that come Distance bytes after these. Out of cache the hardware's own fetching does not keep up
// with rows, whose ends cost mispredicted branches: this gives a fifth of the speed and more. Always the same lines,
// asked for without a test of the row's length, which would be one more such branch. An address that is nobody's does
// no harm.
template <int Count, int Distance = 3072, class T>
[[gnu::always_inline]] inline void fetch_ahead(const T *p) {
  constexpr std::uintptr_t line = 64;
  for (std::uintptr_t at = 0; at < Count * sizeof(T); at += line)
    __builtin_prefetch(reinterpret_cast<const void *>(address(p) + Distance + at));
}
template <int Count, class T, class I> inline void fetch_ahead(const T *values, const I *columns) {
  fetch_ahead<Count>(values);
  fetch_ahead<Count>(columns);
}

// ---- Sums -------------------------------------------------------------------------------------------------------

// take(products a * x, k) for the k-th half vector of four entries; with Conj conjugate(a) * x.
template <class T, bool Conj, class I, class Take>
inline void each_product_of_four(const T *values, const I *columns, const T *x, Take take) {
  for (int k = 0; k < 4 / per_half<T>; ++k)
    take(times<T, Conj>(loadu<half_of<T>>(values + k * per_half<T>), gather(x, columns + k * per_half<T>)),
         k);
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

// The sum of a * x over a row; with Conj of conjugate(a) * x. A long row is summed in rounds from a 32-byte boundary of
// the values on: 16 numbers or 8 pairs a round, in four accumulators of 128 bits, held two to a vector, that are
// combined as (acc0 + acc1) + (acc2 + acc3) and then across their lanes. What stands before and behind the rounds is added one by
// one, in order, and so is a short row and one of numbers that are not aligned to their size. Pairs that no peel brings
// to a boundary are summed in rounds from the first one.
template <class T, bool Conj = false, class I>
inline in_lanes<T> row_sum(const T *values, const I *columns, I count, const T *x) {
  using V = vec_of<T>;
  constexpr int round = is_complex<T> ? 8 : 16;
  in_lanes<T> sum{};
  I p = 0;
  if (count >= round) {
    const bool aligned = is_aligned_to(values, sizeof(T));
    const auto peel = static_cast<I>(elements_to_boundary<32>(values));
    if (count - peel >= round && (aligned || is_complex<T>)) {
      for (; p < peel; ++p) sum += times<T, Conj>(fetch(values + p), fetch(x + get(columns + p)));
      V acc[2] = {};
      for (; count - p >= round; p += round) {
        fetch_ahead<round>(values + p, columns + p);
        for (int k = 0; k < round; k += per_vector<T>)
          acc[k / per_vector<T> % 2] +=
              times<T, Conj>(loadu<V>(values + p + k), gather_group(x, columns + p + k));
      }
      sum += sum_of<T>((low_half(acc[0]) + high_half(acc[0])) + (low_half(acc[1]) + high_half(acc[1])));
    }
  }
  fetch_ahead<round>(values + p, columns + p);
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

// ---- Scatters ---------------------------------------------------------------------------------------------------

enum class Sign { plus, minus };

// y[column] += a * t, or -=; a column that occurs twice in a row is added to twice.
template <class T, Sign S, bool Conj, class I>
inline void scatter_one(const T *value, const I *column, in_lanes<T> t, T *y) {
  T *const target = y + get(column);
  const auto product = times<T, Conj>(fetch(value), t);
  deposit(target, S == Sign::plus ? fetch(target) + product : fetch(target) - product);
}

// The same for all entries of a row, four a round.
template <class T, bool Conj = false, class I>
inline void scatter(const T *values, const I *columns, I count, in_lanes<T> t, T *y) {
  constexpr int at_once = 16;
  fetch_ahead<at_once>(values, columns);
  I p = 0;
  for (; count - p >= 4; p += 4) {
    if (p % at_once == at_once - 4) fetch_ahead<at_once>(values + p + 4, columns + p + 4);
    for (int k = 0; k < 4; ++k) scatter_one<T, Sign::plus, Conj>(values + p + k, columns + p + k, t, y);
  }
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

} // namespace tnk
