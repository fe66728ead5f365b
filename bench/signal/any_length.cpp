// Transforms of lengths that are no powers of two beside FFTW: forward, out of place.
#include "bench/families.h"
#include "bench/signal/against_fftw.h"

#include <tnk/signal.h>

namespace tnk::bench {
namespace {

template <class R> struct Entries;
template <> struct Entries<double> {
  using C = tnk_complex16;
  static constexpr auto init = e9_vpksDFTInitAlloc_C_64fc, init_real = e9_vpksDFTInitAlloc_R_64f;
  static constexpr auto free = e9_vpksDFTFree_C_64fc, free_real = e9_vpksDFTFree_R_64f;
  static constexpr auto buffer = e9_vpksDFTGetBufSize_C_64fc, buffer_real = e9_vpksDFTGetBufSize_R_64f;
  static constexpr auto run = e9_vpksDFTFwd_CToC_64fc;
  static constexpr auto run_real = e9_vpksDFTFwd_RToCCS_64f;
};
template <> struct Entries<float> {
  using C = tnk_complex8;
  static constexpr auto init = e9_vpksDFTInitAlloc_C_32fc, init_real = e9_vpksDFTInitAlloc_R_32f;
  static constexpr auto free = e9_vpksDFTFree_C_32fc, free_real = e9_vpksDFTFree_R_32f;
  static constexpr auto buffer = e9_vpksDFTGetBufSize_C_32fc, buffer_real = e9_vpksDFTGetBufSize_R_32f;
  static constexpr auto run = e9_vpksDFTFwd_CToC_32fc;
  static constexpr auto run_real = e9_vpksDFTFwd_RToCCS_32f;
};

template <class R, bool Real> Case any_length(tnk_int n) {
  using E = Entries<R>;
  tnk_signal_dft *made = nullptr;
  if ((Real ? E::init_real : E::init)(&made, static_cast<int32_t>(n), 8, 0) != 0) {
    Case none;
    none.skip = "no transform of that length";
    return none;
  }
  return case_of_record<E, Real, R>(n, made);
}

} // namespace

void add_transforms_of_any_length(std::vector<Row> &rows) {
  const struct {
    const char *method;
    std::vector<tnk_int> sizes;
  } methods[] = {{"factors", {100, 1000, 1536, 5040, 10000, 44100}},
                 {"sums", {17, 31, 47, 61, 89}},
                 {"convolution", {97, 1009, 9973}}};
  const auto add = [&](const char *kind, Library &library, Case (*prepare)(tnk_int)) {
    for (const auto &[method, sizes] : methods) {
      Row row;
      row.group = "signal/dft", row.name = std::string(kind) + "_" + method, row.sizes = sizes;
      row.quick = sizes[1], row.unit = "flop", row.picture = "transforms of any length";
      row.library = &library, row.prepare = prepare;
      rows.push_back(row);
    }
  };
  add("C_64fc", fftw(), any_length<double, false>);
  add("C_32fc", fftw_single(), any_length<float, false>);
  add("R_64f", fftw(), any_length<double, true>);
  add("R_32f", fftw_single(), any_length<float, true>);
}

} // namespace tnk::bench
