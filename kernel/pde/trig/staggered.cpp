// Sines and cosines at half steps, kinds 2 to 5.
//
// Kinds 2 and 3, forward. With A = (2k+1) h/2, even terms of f make an even part E(k) and odd terms an odd part O(k) about
// the middle of the row; 2 sin(A) O(k) is a sum over differences of neighbouring odd terms. Both together are one real
// row y, whose spectrum has the even terms of f in its one part and those differences in the other, turned by m h:
//
//     kind 2   y[k + 1], y[n - k]     = E - 2 sin(A) O, E + 2 sin(A) O       f[2m] and f[2m - 1] - f[2m + 1]
//     kind 3   y[k],     y[n - 1 - k] = E + 2 sin(A) O, -E + 2 sin(A) O      f[2m + 1] - f[2m - 1] and f[2m]
//
// So: differences, turned; the transform; unfolding, which divides by sin(A). Kinds 4 and 5 are kinds 3 and 2 of the
// differences of all neighbours, divided once more, by 2 sin((2k+1) h/4). Backward is each step undone: multiplied and
// folded, transformed, turned back, and sums for differences.
//
// An even n has a term n/2 of the spectrum at place 1 and the others from place 2 on; with an odd n they begin at place 1.
// Of kind 3 element k stands at place k - 1.
#include "kernel/pde/trig/lanes.h"
#include "kernel/pde/trig/report.h"

namespace tnk::pde {
namespace {

// ---- Turns ----------------------------------------------------------------------------------------------------------
// x is a pair of parts, w = (cos(m h), sin(m h)), or several of each.

// x exp(-i m h)
template <class V> TNK_INLINE V turned_back(V w, V x) {
  return complex_product(even_lanes_twice(w), -odd_lanes_twice(w), x);
}
// x exp(i m h)
template <class V> TNK_INLINE V turned(V w, V x) {
  return complex_product(even_lanes_twice(w), odd_lanes_twice(w), x);
}
// (x1 - i x0) exp(i m h)
template <class V> TNK_INLINE V exchanged_and_turned(V w, V x) {
  return complex_product(odd_lanes_twice(w), -even_lanes_twice(w), x);
}
// (x0', x1') with x1' - i x0' = x exp(-i m h)
template <class V> TNK_INLINE V turned_back_and_exchanged(V w, V x) {
  return complex_product(odd_lanes_twice(w), even_lanes_twice(w), x);
}

// The odd parts' sum over all pairs: upwards it is in the last pair, downwards in the first one.
template <class T, class V> T highest(V sums) {
  return sums[std::is_same_v<V, vec<T>> ? per_vector<T> - 1 : 1];
}
template <class V> auto lowest(V sums) {
  return sums[1];
}

// ---- Even terms and differences, to and from the spectrum -----------------------------------------------------------

template <class T> void cosine_to_spectrum(T *f, tnk_int n, const T *pairs) {
  if (n % 2 == 0) {
    const T last = f[n - 1];
    each_down<T>(1, n / 2, [&](auto io, tnk_int m) TNK_INLINED {
      const auto x = io.load(f + 2 * m), below = io.load(f + 2 * m - 2);
      io.store(f + 2 * m, turned_back(io.load(pairs + 2 * m - 2), even_and_odd(x, below - x)));
    });
    f[1] = 2 * last;
  } else {
    const auto step = [&](auto io, tnk_int m) TNK_INLINED {
      const auto x = io.load(f + 2 * m - 1), above = io.load(f + 2 * m + 1);
      io.store(f + 2 * m - 1,
               turned_back(io.load(pairs + 2 * m - 2), swap_neighbours(even_and_odd(x - above, x))));
    };
    const tnk_int last = (n - 1) / 2; // behind which term n counts as zero
    each_up<T>(1, last, step);
    const half<T> x = load_pair(f + n - 2);
    store_pair(f + n - 2, turned_back(load_pair(pairs + 2 * last - 2), swap_neighbours(x)));
  }
}

template <class T> void cosine_from_spectrum(T *f, tnk_int n, const T *pairs) {
  if (n % 2 == 0) {
    T c = f[1] / 2; // of the odd terms from the last one on
    each_down<T>(1, n / 2, [&](auto io, tnk_int m) TNK_INLINED {
      using V = typename decltype(io)::V;
      const V x = turned(io.load(pairs + 2 * m - 2), io.load(f + 2 * m)), sums = sums_down(x);
      io.store(f + 2 * m, even_and_odd(x, splat<V>(c) + one_down(sums)));
      c += lowest(sums);
    });
    f[1] = c;
  } else {
    T c = 0;
    each_down<T>(1, (n + 1) / 2, [&](auto io, tnk_int m) TNK_INLINED {
      using V = typename decltype(io)::V;
      const V x = turned(io.load(pairs + 2 * m - 2), io.load(f + 2 * m - 1)), sums = sums_down(x);
      io.store(f + 2 * m - 1, swap_neighbours(even_and_odd(x, splat<V>(c) + sums)));
      c += lowest(sums);
    });
  }
}

// f holds element k at k - 1.
template <class T> void sine_to_spectrum(T *f, tnk_int n, const T *pairs) {
  const T last = f[n - 1];
  const tnk_int place = n % 2; // how much lower a spectrum without term n/2 stands
  const auto differences = [&](auto io, tnk_int m) TNK_INLINED {
    const auto x = io.load(f + 2 * m - 1), below = io.load(f + 2 * m - 3);
    io.store(f + 2 * m - place, exchanged_and_turned(io.load(pairs + 2 * m - 2), even_and_odd(x, x - below)));
  };
  each_down<T>(2, (n + 1) / 2, differences);
  if (n > 2) {
    const half<T> x = load_pair(f + 1);
    half<T> below = {};
    below[1] = f[0];
    store_pair(f + 2 - place, exchanged_and_turned(load_pair(pairs), even_and_odd(x, x - below)));
  }
  f[0] *= 2;
  if (place == 0) f[1] = last;
}

template <class T> void sine_from_spectrum(T *f, tnk_int n, const T *pairs) {
  const T last = f[1];
  const tnk_int place = n % 2;
  T c = f[0] /= 2;
  each_up<T>(1, (n + 1) / 2, [&](auto io, tnk_int m) TNK_INLINED {
    using V = typename decltype(io)::V;
    const V x = turned_back_and_exchanged(io.load(pairs + 2 * m - 2), io.load(f + 2 * m - place));
    const V sums = sums_up(x);
    io.store(f + 2 * m - 1, even_and_odd(x, splat<V>(c) + sums));
    c += highest<T>(sums);
  });
  if (place == 0) f[n - 1] = last;
}

// ---- Folding about the middle ---------------------------------------------------------------------------------------
// t[k] = sin((2k+1) h/2), r[k] = sin((2k+1) h/4), of which the latter is for kinds 4 and 5. These leave a factor of 2 in
// place until they divide by 4 r.

template <class T> struct Sines { const T *t, *r; };

// Whether one of the divisors is 0.
template <bool Quarter, class V> TNK_INLINE bool stops(V t, V low, V high) {
  return any_zero(t) || (Quarter && (any_zero(low) || any_zero(high)));
}
template <bool Quarter, class T, class V> TNK_INLINE V divided(V x, V r) {
  return Quarter ? x * T(0.25) / r : x;
}
template <bool Quarter, class T, class V> TNK_INLINE V multiplied(V x, V r) {
  return Quarter ? x * (T(2) * r) : x;
}

// Kinds 2 and 5. What a step reads from the high end the step before it has overwritten, so it is loaded one step ahead.
// False at a divisor of 0.
template <bool Quarter, class T> bool unfold_cosine(T *f, tnk_int n, const Sines<T> &sines) {
  using V = vec<T>;
  constexpr T full = Quarter ? 1 : 0.5;
  const auto halves = [](auto a, auto b, auto t, auto &u, auto &v) TNK_INLINED {
    u = (a + b) * full;
    v = (a - b) * (full / 2) / t;
  };
  const auto r = [&](tnk_int k) { return Quarter ? sines.r[k] : T(1); };
  const auto wide_r = [&](tnk_int k) TNK_INLINED { return Quarter ? loadu<V>(sines.r + k) : V{}; };
  const tnk_int count = n / 2;
  V ahead = {};
  if (count > width<T>) ahead = loadu<V>(f + n - width<T>);
  T high = f[0]; // y[n - k]
  const auto step = [&](tnk_int k) {
    if (stops<Quarter>(sines.t[k], r(k), r(n - 1 - k))) return false;
    T u, v;
    halves(high, f[k + 1], sines.t[k], u, v);
    high = f[n - 1 - k];
    f[k] = divided<Quarter, T>(u + v, r(k));
    f[n - 1 - k] = divided<Quarter, T>(u - v, r(n - 1 - k));
    return true;
  };
  if (!step(0)) return false;
  tnk_int k = 1;
  for (; k + width<T> <= count; k += width<T>) {
    const tnk_int end = n - k - width<T>; // where the results of the high end begin
    const V t = loadu<V>(sines.t + k), low_r = wide_r(k), high_r = wide_r(end);
    if (stops<Quarter>(t, low_r, high_r)) break;
    V u, v;
    halves(reversed(ahead), loadu<V>(f + k + 1), t, u, v);
    ahead = loadu<V>(f + end + 1 - width<T>);
    high = ahead[width<T> - 1];
    storeu(f + k, divided<Quarter, T>(u + v, low_r));
    storeu(f + end, divided<Quarter, T>(reversed(u - v), high_r));
  }
  for (; k < count; ++k)
    if (!step(k)) return false;
  if (n % 2 != 0) {
    if (Quarter && r(count) == 0) return false;
    f[count] = divided<Quarter, T>(high * (2 * full), r(count));
  }
  return true;
}

template <bool Quarter, class T> void fold_cosine(T *f, tnk_int n, const Sines<T> &sines) {
  using V = vec<T>;
  const auto r = [&](tnk_int k) { return Quarter ? sines.r[k] : T(1); };
  const auto wide_r = [&](tnk_int k) TNK_INLINED { return Quarter ? loadu<V>(sines.r + k) : V{}; };
  const tnk_int count = n / 2;
  V ahead = {};
  if (count > width<T>) ahead = loadu<V>(f + 1);
  T low = f[0];
  const auto step = [&](tnk_int k) {
    const T a = multiplied<Quarter, T>(low, r(k)), b = multiplied<Quarter, T>(f[n - 1 - k], r(n - 1 - k));
    const T e = a + b, o = 2 * sines.t[k] * (a - b);
    low = f[k + 1];
    f[k + 1] = e - o;
    f[k == 0 ? 0 : n - k] = e + o;
  };
  step(0);
  tnk_int k = 1;
  for (; k + width<T> <= count; k += width<T>) {
    const tnk_int end = n - k - width<T>;
    const V a = multiplied<Quarter, T>(ahead, wide_r(k));
    const V b = reversed(multiplied<Quarter, T>(loadu<V>(f + end), wide_r(end)));
    const V e = a + b, o = T(2) * loadu<V>(sines.t + k) * (a - b);
    ahead = loadu<V>(f + k + width<T>);
    low = ahead[0];
    storeu(f + k + 1, e - o);
    storeu(f + end + 1, reversed(e + o));
  }
  for (; k < count; ++k) step(k);
  if (n % 2 != 0) f[count + 1] = 2 * multiplied<Quarter, T>(low, r(count));
}

// Kinds 3 and 4, every element in its place.
template <bool Quarter, class T> bool unfold_sine(T *f, tnk_int n, const Sines<T> &sines) {
  using V = vec<T>;
  constexpr T full = Quarter ? 1 : 0.5;
  const tnk_int count = n / 2;
  tnk_int k = 0;
  for (; k + width<T> <= count; k += width<T>) {
    T *const high = f + n - k - width<T>;
    const V t = loadu<V>(sines.t + k), a = loadu<V>(f + k), b = reversed(loadu<V>(high));
    const V low_r = Quarter ? loadu<V>(sines.r + k) : V{};
    const V high_r = Quarter ? loadu<V>(sines.r + n - k - width<T>) : V{};
    if (stops<Quarter>(t, low_r, high_r)) break;
    const V u = (a + b) * (full / 2) / t, v = (a - b) * full;
    storeu(f + k, divided<Quarter, T>(u + v, low_r));
    storeu(high, divided<Quarter, T>(reversed(u - v), high_r));
  }
  for (; k < count; ++k) {
    const T t = sines.t[k], low_r = Quarter ? sines.r[k] : T(1), high_r = Quarter ? sines.r[n - 1 - k] : T(1);
    if (stops<Quarter>(t, low_r, high_r)) return false;
    const T a = f[k], b = f[n - 1 - k], u = (a + b) * (full / 2) / t, v = (a - b) * full;
    f[k] = divided<Quarter, T>(u + v, low_r);
    f[n - 1 - k] = divided<Quarter, T>(u - v, high_r);
  }
  if (n % 2 != 0) {
    if (Quarter && sines.r[count] == 0) return false;
    f[count] = Quarter ? divided<Quarter, T>(f[count], sines.r[count]) : f[count] / 2;
  }
  return true;
}

template <bool Quarter, class T> void fold_sine(T *f, tnk_int n, const Sines<T> &sines) {
  using V = vec<T>;
  const tnk_int count = n / 2;
  tnk_int k = 0;
  for (; k + width<T> <= count; k += width<T>) {
    T *const high = f + n - k - width<T>;
    const V low_r = Quarter ? loadu<V>(sines.r + k) : V{};
    const V high_r = Quarter ? loadu<V>(sines.r + n - k - width<T>) : V{};
    const V a = multiplied<Quarter, T>(loadu<V>(f + k), low_r);
    const V b = reversed(multiplied<Quarter, T>(loadu<V>(high), high_r));
    const V e = a - b, o = T(2) * loadu<V>(sines.t + k) * (a + b);
    storeu(f + k, o + e);
    storeu(high, reversed(o - e));
  }
  const auto r = [&](tnk_int i) { return Quarter ? sines.r[i] : T(1); };
  for (; k < count; ++k) {
    const T a = multiplied<Quarter, T>(f[k], r(k)), b = multiplied<Quarter, T>(f[n - 1 - k], r(n - 1 - k));
    const T e = a - b, o = 2 * sines.t[k] * (a + b);
    f[k] = o + e;
    f[n - 1 - k] = o - e;
  }
  if (n % 2 != 0) f[count] = 4 * multiplied<Quarter, T>(f[count], r(count));
}

// ---- Differences of all neighbours, and their sums ------------------------------------------------------------------

// f[j] - f[j + 1], at the end 2 f[n - 1]
template <class T> void differences_for_cosine(T *f, tnk_int n) {
  using V = vec<T>;
  tnk_int j = 0;
  for (; j + width<T> < n; j += width<T>) storeu(f + j, loadu<V>(f + j) - loadu<V>(f + j + 1));
  for (; j < n - 1; ++j) f[j] -= f[j + 1];
  f[n - 1] *= 2;
}
template <class T> void sums_for_cosine(T *f, tnk_int n) {
  T c = f[n - 1] /= 2;
  for (tnk_int j = n - 1; j-- > 0;) f[j] = c += f[j];
}
// f[j] - f[j - 1], at the beginning 2 f[0]
template <class T> void differences_for_sine(T *f, tnk_int n) {
  using V = vec<T>;
  tnk_int j = n;
  for (; j - width < T >> 0; j -= width<T>)
    storeu(f + j - width<T>, loadu<V>(f + j - width<T>) - loadu<V>(f + j - width<T> - 1));
  while (--j > 0) f[j] -= f[j - 1];
  f[0] *= 2;
}
template <class T> void sums_for_sine(T *f, tnk_int n) {
  T c = f[0] /= 2;
  for (tnk_int j = 1; j < n; ++j) f[j] = c += f[j];
}

// ---- The four kinds ---------------------------------------------------------------------------------------------------

enum Family { cosines, sines };

template <Family which, bool Quarter, class T> tnk_int forward(const Row<T> &row) {
  const tnk_int n = row.n();
  if (n < shortest) return TNK_PDETT_DONE;
  const Sines<T> tables = {row.tables + (Quarter ? 2 * n : n), row.tables + n};
  // Cosines at quarters are the staggered sines of differences, and sines its cosines.
  constexpr bool as_cosines = (which == cosines) != Quarter;
  if constexpr (Quarter) which == cosines ? differences_for_cosine(row.f, n) : differences_for_sine(row.f, n);
  as_cosines ? cosine_to_spectrum(row.f, n, row.tables) : sine_to_spectrum(row.f, n, row.tables);
  if (const tnk_int status = row.backward()) return status;
  const bool whole =
      as_cosines ? unfold_cosine<Quarter>(row.f, n, tables) : unfold_sine<Quarter>(row.f, n, tables);
  if (whole) return TNK_PDETT_DONE;
  report<T>(zero_divisor, row.ipar);
  return TNK_PDETT_ZERO;
}

template <Family which, bool Quarter, class T> tnk_int backward(const Row<T> &row) {
  const tnk_int n = row.n();
  if (n < shortest) return TNK_PDETT_DONE;
  const Sines<T> tables = {row.tables + (Quarter ? 2 * n : n), row.tables + n};
  constexpr bool as_cosines = (which == cosines) != Quarter;
  as_cosines ? fold_cosine<Quarter>(row.f, n, tables) : fold_sine<Quarter>(row.f, n, tables);
  if (const tnk_int status = row.forward()) return status;
  as_cosines ? cosine_from_spectrum(row.f, n, row.tables) : sine_from_spectrum(row.f, n, row.tables);
  if constexpr (Quarter) which == cosines ? sums_for_cosine(row.f, n) : sums_for_sine(row.f, n);
  return TNK_PDETT_DONE;
}

} // namespace
} // namespace tnk::pde

#define TNK_PDETT_STAGGERED(p, T, name, which, quarter)                                                      \
  void tnk_pdett_##p##ptk_dft_##name##_f(T *f, DftiHandle *handle, tnk_int *ipar, T *tables,                 \
                                         tnk_int *stat) {                                                    \
    *stat = tnk::pde::forward<tnk::pde::which, quarter, T>({f, handle, ipar, tables});                       \
  }                                                                                                          \
  void tnk_pdett_##p##ptk_dft_##name##_b(T *f, DftiHandle *handle, tnk_int *ipar, T *tables,                 \
                                         tnk_int *stat) {                                                    \
    *stat = tnk::pde::backward<tnk::pde::which, quarter, T>({f, handle, ipar, tables});                      \
  }
#define TNK_PDETT_STAGGERED_KINDS(p, T)                                                                      \
  TNK_PDETT_STAGGERED(p, T, scos, cosines, false)                                                            \
  TNK_PDETT_STAGGERED(p, T, ssin, sines, false)                                                              \
  TNK_PDETT_STAGGERED(p, T, scos2, cosines, true)                                                            \
  TNK_PDETT_STAGGERED(p, T, ssin2, sines, true)
TNK_PDETT_STAGGERED_KINDS(d, double)
TNK_PDETT_STAGGERED_KINDS(s, float)
