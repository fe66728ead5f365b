// Transforms of any length behind one face: every kind of data, layout of spectra and precision.
#pragma once

#include "tests/reference/fourier.h"
#include "tests/support/guarded.h"
#include "tests/support/random.h"

#include <cfloat>
#include <gtest/gtest.h>
#include <tnk/signal.h>

namespace tnk::test {

using reference::Wide;
using Numbers = std::vector<Wide>;

enum Layout { pairs, parts, any_order, ccs, pack, perm };

struct Form {
  const char *name;
  Layout layout;
  bool single;
  decltype(&e9_vpksDFTInitAlloc_C_64fc) init_alloc;
  decltype(&e9_vpksDFTFree_C_64fc) free;
  decltype(&e9_vpksDFTGetBufSize_C_64fc) buffer_size;
  void *forward, *inverse; // by layout and precision
  bool real() const { return layout >= ccs; }
  std::size_t value_size() const { return single ? sizeof(float) : sizeof(double); }
};

#define TNK_FORM(layout, single, family, kind, to, from, p)                                                  \
  {                                                                                                          \
#layout #p, layout, single, e9_vpks##family##InitAlloc_##kind, e9_vpks##family##Free_##kind,             \
        e9_vpks##family##GetBufSize_##kind, reinterpret_cast < void *>(e9_vpks##family##Fwd_##to##_##p),     \
        reinterpret_cast < void *>(e9_vpks##family##Inv_##from##_##p)                                        \
  }
inline const Form forms[] = {TNK_FORM(pairs, false, DFT, C_64fc, CToC, CToC, 64fc),
                             TNK_FORM(pairs, true, DFT, C_32fc, CToC, CToC, 32fc),
                             TNK_FORM(parts, false, DFT, C_64f, CToC, CToC, 64f),
                             TNK_FORM(parts, true, DFT, C_32f, CToC, CToC, 32f),
                             TNK_FORM(any_order, false, DFTOutOrd, C_64fc, CToC, CToC, 64fc),
                             TNK_FORM(any_order, true, DFTOutOrd, C_32fc, CToC, CToC, 32fc),
                             TNK_FORM(ccs, false, DFT, R_64f, RToCCS, CCSToR, 64f),
                             TNK_FORM(ccs, true, DFT, R_32f, RToCCS, CCSToR, 32f),
                             TNK_FORM(pack, false, DFT, R_64f, RToPack, PackToR, 64f),
                             TNK_FORM(pack, true, DFT, R_32f, RToPack, PackToR, 32f),
                             TNK_FORM(perm, false, DFT, R_64f, RToPerm, PermToR, 64f),
                             TNK_FORM(perm, true, DFT, R_32f, RToPerm, PermToR, 32f)};

template <class R>
int call(const Form &form, bool inverse, const R *source, R *destination, std::size_t n,
         const tnk_signal_dft *spec, uint8_t *work) {
  void *const entry = inverse ? form.inverse : form.forward;
  if (form.layout == parts)
    return reinterpret_cast<int32_t (*)(const R *, const R *, R *, R *, const tnk_signal_dft *, uint8_t *)>(
        entry)(source, source + n, destination, destination + n, spec, work);
  return reinterpret_cast<int32_t (*)(const R *, R *, const tnk_signal_dft *, uint8_t *)>(entry)(
      source, destination, spec, work);
}

// Values in an array of n numbers, or of their spectrum.
inline std::size_t values(const Form &form, std::size_t n, bool spectrum) {
  if (!form.real()) return 2 * n;
  return form.layout == ccs && spectrum ? n / 2 * 2 + 2 : n;
}

// Calls at(k, re, im) with where the parts of number k stand; im is -1 where it is none that is kept.
template <class At> void each_place(const Form &form, std::size_t n, bool spectrum, At at) {
  if (form.real() && !spectrum) {
    for (std::size_t k = 0; k < n; ++k) at(k, k, std::ptrdiff_t{-1});
    return;
  }
  for (std::size_t k = 0; k < (form.real() ? n / 2 + 1 : n); ++k) {
    const bool alone = form.real() && (k == 0 || 2 * k == n);
    std::size_t re = 2 * k;
    if (form.layout == parts) re = k;
    if (form.layout == pack || (form.layout == perm && n % 2 != 0)) re = k == 0 ? 0 : 2 * k - 1;
    if (form.layout == perm && 2 * k == n) re = 1;
    const std::size_t im = form.layout == parts ? n + k : re + 1;
    at(k, re, alone && form.layout != ccs ? std::ptrdiff_t{-1} : static_cast<std::ptrdiff_t>(im));
  }
}

template <class R> void put_numbers(Guarded<R> &array, const Form &form, const Numbers &x, bool spectrum) {
  each_place(form, x.size(), spectrum, [&](std::size_t k, std::size_t re, std::ptrdiff_t im) {
    array.put(re, static_cast<R>(x[k].real()));
    if (im >= 0) array.put(static_cast<std::size_t>(im), static_cast<R>(x[k].imag()));
  });
}
template <class R>
Numbers numbers_of(const Guarded<R> &array, const Form &form, std::size_t n, bool spectrum) {
  Numbers x(n);
  each_place(form, n, spectrum, [&](std::size_t k, std::size_t re, std::ptrdiff_t im) {
    x[k] = {array.get(re), im < 0 ? 0 : array.get(static_cast<std::size_t>(im))};
    if (form.real() && spectrum && k > 0) x[n - k] = std::conj(x[k]);
  });
  return x;
}

// Single numbers, so that both precisions share what is right. A spectrum of real numbers is its own mirror.
inline Numbers random_numbers(std::size_t n, bool real, bool spectrum) {
  Random random(static_cast<unsigned>(n));
  Numbers x(n);
  for (auto &z : x) {
    const auto pair = random.number<tnk_complex8>();
    z = real && !spectrum ? Wide(pair.re) : Wide(pair.re, pair.im);
  }
  if (real && spectrum)
    for (std::size_t k = 0; k <= n / 2; ++k)
      x[(n - k) % n] = k == 0 || 2 * k == n ? x[k].real() : std::conj(x[k]);
  return x;
}

inline long double factor_of(int flag, bool inverse, std::size_t n) {
  const auto wide = static_cast<long double>(n);
  return flag == 4 ? 1 / std::sqrt(wide) : flag == (inverse ? 2 : 1) ? 1 / wide : 1;
}

// A record, and a work buffer of exactly the promised size at an odd address.
struct Record {
  Record(const Form &form_, std::size_t n, int flag) : form(form_) {
    int32_t size = -1;
    EXPECT_EQ(form.init_alloc(&spec, static_cast<int32_t>(n), flag, 0), 0) << form.name << " " << n;
    if (!spec) return;
    EXPECT_EQ(form.buffer_size(spec, &size), 0);
    work.reset(new Guarded<uint8_t>(static_cast<std::size_t>(size), 7));
  }
  ~Record() {
    if (!spec) return;
    EXPECT_TRUE(work->intact()) << form.name;
    EXPECT_EQ(form.free(spec), 0);
  }
  uint8_t *buffer() const { return work->size() == 0 ? nullptr : work->data(); }
  const Form &form;
  tnk_signal_dft *spec = nullptr;
  std::unique_ptr<Guarded<uint8_t>> work;
};

} // namespace tnk::test
