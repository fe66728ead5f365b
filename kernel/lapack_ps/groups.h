// Right-hand sides side by side: a group of G columns of B, of which one row at a time is held in vectors. Every
// column of a group goes through the operations that it would go through alone, so groups change no bit.
#pragma once

#include "kernel/frame/unroll.h"
#include "kernel/frame/vector.h"

namespace tnk::lapack {

// Division by the same number again and again. Complex numbers: Smith, CACM 5 (1962), 435; what depends on the divisor
// alone is formed once. Of d, divided by its larger part, one part is 1 and the other one the ratio.
template <class T, bool = is_complex<T>> struct Divisor {
  explicit Divisor(T divisor) : d(divisor) {}
  T d;
};
template <class T> struct Divisor<T, true> {
  explicit Divisor(T d) {
    const bool imaginary = std::fabs(d.re) < std::fabs(d.im);
    const real_of<T> larger = imaginary ? d.im : d.re, ratio = (imaginary ? d.re : d.im) / larger;
    re = imaginary ? ratio : 1;
    im = imaginary ? 1 : ratio;
    denominator = imaginary ? d.re * ratio + d.im : d.re + d.im * ratio;
  }
  real_of<T> re, im, denominator;
};

template <class T, int G> struct Group {
  using R = real_of<T>;
  static constexpr int parts = is_complex<T> ? 2 : 1;
  static constexpr int width = G < 32 / static_cast<int>(sizeof(R)) ? G : 32 / static_cast<int>(sizeof(R));
  static constexpr int vectors = G / width;
  using V = std::conditional_t<G == 1, R, typename vector_type<R, width *static_cast<int>(sizeof(R))>::type>;

  V part[parts][vectors]; // complex numbers: real parts, then imaginary ones

  // Vector by vector: copied as a whole, a group that is carried from row to row would go through memory.
  Group() = default;
  Group(const Group &g) { *this = g; }
  Group &operator=(const Group &g) {
    for (int p = 0; p < parts; ++p)
      for (int v = 0; v < vectors; ++v) part[p][v] = g.part[p][v];
    return *this;
  }

  template <class Result> static TNK_INLINE Group each(Result result) {
    Group g;
    for (int p = 0; p < parts; ++p)
      for (int v = 0; v < vectors; ++v) g.part[p][v] = result(p, v);
    return g;
  }

  friend Group operator-(const Group &a, const Group &b) {
    return each([&](int p, int v) { return a.part[p][v] - b.part[p][v]; });
  }
  friend Group operator*(T a, const Group &b) {
    if constexpr (is_complex<T>)
      return each([&](int p, int v) {
        const V &re = b.part[0][v], &im = b.part[1][v];
        return p == 0 ? a.re * re - a.im * im : a.re * im + a.im * re;
      });
    else
      return each([&](int, int v) { return a * b.part[0][v]; });
  }
  // By a real number, also where T is complex.
  Group over(R d) const {
    return each([&](int p, int v) { return part[p][v] / d; });
  }
  friend Group operator/(const Group &a, const Divisor<T> &by) {
    if constexpr (is_complex<T>)
      return each([&](int p, int v) {
        const V &re = a.part[0][v], &im = a.part[1][v];
        return (p == 0 ? re * by.re + im * by.im : im * by.re - re * by.im) / by.denominator;
      });
    else
      return each([&](int, int v) { return a.part[0][v] / by.d; });
  }
};

// The columns of a group in memory, read and written a row at a time.
template <class T, int G> struct Columns {
  using Row = Group<T, G>;
  T *b;
  tnk_int ld;

  TNK_INLINE Row get(tnk_int i) const {
    using R = real_of<T>;
    return Row::each([&](int p, int v) {
      const auto lane = [&](int l) {
        return tnk::get(reinterpret_cast<const R *>(b + i + (v * Row::width + l) * ld) + p);
      };
      if constexpr (Row::width == 8)
        return joined(half<R>{lane(0), lane(1), lane(2), lane(3)},
                      half<R>{lane(4), lane(5), lane(6), lane(7)});
      else if constexpr (Row::width == 4)
        return typename Row::V{lane(0), lane(1), lane(2), lane(3)};
      else
        return lane(0);
    });
  }
  TNK_INLINE void put(tnk_int i, const Row &row) const {
    using R = real_of<T>;
    for (int p = 0; p < Row::parts; ++p)
      for (int v = 0; v < Row::vectors; ++v)
        for (int l = 0; l < Row::width; ++l) {
          R *const to = reinterpret_cast<R *>(b + i + (v * Row::width + l) * ld) + p;
          if constexpr (Row::width == 1)
            tnk::put(to, row.part[p][v]);
          else
            tnk::put(to, row.part[p][v][l]);
        }
  }
};

// solve(columns) for groups of 8 (real numbers only) and 4, then for the rest one by one.
template <class T, class Solve> inline void in_groups(tnk_int nrhs, T *b, tnk_int ldb, Solve solve) {
  tnk_int j = 0;
  if constexpr (!is_complex<T>)
    for (; j + 8 <= nrhs; j += 8) solve(Columns<T, 8>{b + j * ldb, ldb});
  for (; j + 4 <= nrhs; j += 4) solve(Columns<T, 4>{b + j * ldb, ldb});
  for (; j < nrhs; ++j) solve(Columns<T, 1>{b + j * ldb, ldb});
}

} // namespace tnk::lapack
