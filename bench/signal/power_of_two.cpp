// Power-of-two transforms beside FFTW: complex numbers in pairs and real ones, forward, out of place.
#include "bench/families.h"
#include "bench/signal/against_fftw.h"

#include <tnk/signal.h>

#include <limits>

namespace tnk::bench {
namespace {

template <class R> struct Entries;
template <> struct Entries<double> {
  using C = tnk_complex16;
  static constexpr auto init = e9_vpksFFTInitAlloc_C_64fc, init_real = e9_vpksFFTInitAlloc_R_64f;
  static constexpr auto free = e9_vpksFFTFree_C_64fc, free_real = e9_vpksFFTFree_R_64f;
  static constexpr auto buffer = e9_vpksFFTGetBufSize_C_64fc, buffer_real = e9_vpksFFTGetBufSize_R_64f;
  static constexpr auto run = e9_vpksFFTFwd_CToC_64fc;
  static constexpr auto run_real = e9_vpksFFTFwd_RToPerm_64f;
};
template <> struct Entries<float> {
  using C = tnk_complex8;
  static constexpr auto init = e9_vpksFFTInitAlloc_C_32fc, init_real = e9_vpksFFTInitAlloc_R_32f;
  static constexpr auto free = e9_vpksFFTFree_C_32fc, free_real = e9_vpksFFTFree_R_32f;
  static constexpr auto buffer = e9_vpksFFTGetBufSize_C_32fc, buffer_real = e9_vpksFFTGetBufSize_R_32f;
  static constexpr auto run = e9_vpksFFTFwd_CToC_32fc;
  static constexpr auto run_real = e9_vpksFFTFwd_RToPerm_32f;
};

template <class R, bool Real> Case power_of_two(tnk_int n) {
  using E = Entries<R>;
  Case none;
  if (n < 4 || (n & (n - 1)) != 0) {
    none.skip = "no power of two";
    return none;
  }
  const int order = static_cast<int>(std::lround(std::log2(static_cast<double>(n))));
  tnk_signal_fft *made = nullptr;
  if ((Real ? E::init_real : E::init)(&made, order, 8, 0) != 0) {
    none.skip = "no memory";
    return none;
  }
  return case_of_record<E, Real, R>(n, made);
}

} // namespace

void add_power_of_two_transforms(std::vector<Row> &rows) {
  const auto add = [&](const char *name, Library &library, Case (*prepare)(tnk_int)) {
    Row row;
    row.group = "signal/fft", row.name = name;
    for (tnk_int n = 16; n <= tnk_int(1) << 20; n *= n < 1024 ? 2 : 4) row.sizes.push_back(n);
    row.quick = 4096, row.unit = "flop", row.picture = "transforms", row.curve = true;
    row.library = &library, row.prepare = prepare;
    rows.push_back(row);
  };
  add("C_64fc", fftw(), power_of_two<double, false>);
  add("C_32fc", fftw_single(), power_of_two<float, false>);
  add("R_64f", fftw(), power_of_two<double, true>);
  add("R_32f", fftw_single(), power_of_two<float, true>);
}

} // namespace tnk::bench
