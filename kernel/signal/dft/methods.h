// How one transform is run, after its arguments were checked: by factors, directly, or by convolution.
#pragma once

#include "kernel/signal/dft/passes.h"

namespace tnk::signal {

// ---- Accessors ----------------------------------------------------------------------------------------------------

template <bool Inverse, class R> pairs<const R *, Inverse> packed_source(const complex<R> *p) {
  return {reinterpret_cast<const R *>(p)};
}
template <bool Inverse, class R> pairs<R *, Inverse> packed_target(complex<R> *p) {
  return {reinterpret_cast<R *>(p)};
}

// What passes leave for the next, in the work area.
template <class R, bool Inverse> pairs<R *, Inverse> in_work(pairs<R *, Inverse>, R *work, tnk_int) {
  return {work};
}
template <class R> parts<R *> in_work(parts<R *>, R *work, tnk_int n) {
  return {work, work + n};
}

// ---- Methods --------------------------------------------------------------------------------------------------------

// In place the work area takes what the passes hand on, or the first one would write over what it still has to read.
template <class R, class Source, class Target>
void run_factors(const DftSpec<R> &spec, Source source, Target target, R *work) {
  const tnk_int n = tnk_int{spec.factors[0].factor} * spec.factors[0].remaining;
  R *const scratch = aligned_up(work + 2 * n);
  transform_block(spec, 0, 0, source, are_one(source, target) ? in_work(target, work, n) : target, target,
                  scratch);
}

// An odd length by definition, with the lanes along the results: sums and differences of opposite numbers are spread, a
// row of the table, which is symmetric, gives their factors in all results. Two registers of results at a time: eight
// sums, as many as additions are under way.
template <int Registers, class R, class Target>
void direct_results(int32_t n, int32_t first, cvec<R> x0, const R *table, const R *scratch, Target target) {
  using V = vec<R>;
  const int32_t h = n / 2, row = direct_row<R>(n);
  cvec<V> even[Registers], odd[Registers] = {};
  for (int r = 0; r < Registers; ++r) even[r] = {splat<V>(x0.re), splat<V>(x0.im)};
  const R *w = table + 2 * first;
  for (int32_t j = 0; j < h; ++j, w += row, scratch += 4) {
    const V s_re = splat<V>(scratch[0]), s_im = splat<V>(scratch[1]), d_re = splat<V>(scratch[2]),
            d_im = splat<V>(scratch[3]);
    unrolled<Registers>([&](auto r) TNK_INLINED {
      const V c = load<V>(w + 2 * r * lanes<V>), s = load<V>(w + (2 * r + 1) * lanes<V>);
      even[r].re += c * s_re, even[r].im += c * s_im;
      odd[r].re += s * d_re, odd[r].im += s * d_im;
    });
  }
  for (int r = 0; r < Registers; ++r) {
    const cvec<V> low = minus_i(even[r], odd[r]), high = plus_i(even[r], odd[r]);
    for (int32_t lane = 0; lane < lanes<V>; ++lane) {
      const int32_t q = first + r * lanes<V> + lane + 1;
      if (q > h) return;
      target.template store<R>(q, cvec<R>{low.re[lane], low.im[lane]});
      target.template store<R>(n - q, cvec<R>{high.re[lane], high.im[lane]});
    }
  }
}

template <class R, class Source, class Target>
void run_direct(int32_t n, Source source, Target target, const R *table, R *scratch) {
  const int32_t h = n / 2, width = per_vector<R>;
  const cvec<R> x0 = source.template load<R>(0);
  cvec<R> total = x0;
  for (int32_t j = 1; j <= h; ++j) {
    const cvec<R> a = source.template load<R>(j), b = source.template load<R>(n - j), s = a + b, d = a - b;
    R *const p = scratch + 4 * (j - 1);
    p[0] = s.re, p[1] = s.im, p[2] = d.re, p[3] = d.im;
    total = total + s;
  }
  target.template store<R>(0, total);
  int32_t first = 0;
  for (; first + width < h; first += 2 * width) direct_results<2>(n, first, x0, table, scratch, target);
  if (first < h) direct_results<1>(n, first, x0, table, scratch, target);
}

// ---- Convolution ----------------------------------------------------------------------------------------------------

// The complex operations by element type.
inline int32_t multiply(const tnk_complex8 *a, const tnk_complex8 *b, tnk_complex8 *c, int32_t n) {
  return e9_vpksMul_32fc(a, b, c, n);
}
inline int32_t multiply(const tnk_complex16 *a, const tnk_complex16 *b, tnk_complex16 *c, int32_t n) {
  return e9_vpksMul_64fc(a, b, c, n);
}
inline void clear(tnk_complex8 *p, int32_t n) {
  e9_vpksZero_32fc(p, n);
}
inline void clear(tnk_complex16 *p, int32_t n) {
  e9_vpksZero_64fc(p, n);
}
inline int32_t scale(float value, float *p, int32_t n) {
  return e9_vpksMulC_32f_I(value, p, n);
}
inline int32_t scale(double value, double *p, int32_t n) {
  return e9_vpksMulC_64f_I(value, p, n);
}

// A complex transform with both parts side by side, arguments checked and `work` aligned, without its scale.
template <class R, bool Inverse>
int32_t run_packed(const DftSpec<R> &spec, int32_t n, const complex<R> *source, complex<R> *target, R *work);

// Where the numbers of a convolution stand in its work area: from a cache line on. Across two lines long ones take a quarter
// longer. The boundary of this buffer and that of the inner one together leave room for it.
template <class R> R *convolution_begin(R *work) {
  return aligned_up<64>(work);
}

// A transform of n numbers as a product with chirps around a convolution with one. The inverse has its results in reverse.
template <class R>
int32_t run_convolution(const DftSpec<R> &spec, const complex<R> *source, complex<R> *target, int32_t n,
                        bool inverse, R *work);

// From and to arrays by part.
template <class R> inline void interleave(parts<const R *> source, complex<R> *target, tnk_int n) {
  const pairs<R *, false> to{reinterpret_cast<R *>(target)};
  using V = half<R>;
  tnk_int k = 0;
  for (; k + lanes<V> <= n; k += lanes<V>) to.template store<V>(k, source.template load<V>(k));
  for (; k < n; ++k) to.template store<R>(k, source.template load<R>(k));
}
template <class R> inline void separate(const complex<R> *source, parts<R *> target, tnk_int n) {
  const pairs<const R *, false> from{reinterpret_cast<const R *>(source)};
  using V = half<R>;
  tnk_int k = 0;
  for (; k + lanes<V> <= n; k += lanes<V>) target.template store<V>(k, from.template load<V>(k));
  for (; k < n; ++k) target.template store<R>(k, from.template load<R>(k));
}

} // namespace tnk::signal
