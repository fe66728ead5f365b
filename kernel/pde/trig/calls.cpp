// A transform's life: its arrays filled, its ends tested, its tables and descriptor made, transforms, and the end.
#include "kernel/frame/vector.h"
#include "kernel/pde/trig/report.h"
#include <cmath>
#include <cstdio>
#include <tnk/services.h>

namespace tnk::pde {
namespace {

enum Kind : tnk_int { sine, cosine, staggered_cosine, staggered_sine, quarter_cosine, quarter_sine, kinds };

// ---- Init and commit --------------------------------------------------------------------------------------------------

template <class T> T default_tolerance(tnk_int n) {
  return static_cast<T>(static_cast<double>(n) * 1e-12);
}

template <class T> tnk_int init(tnk_int n, tnk_int kind, tnk_int *ipar, T *dpar) {
  ipar[TNK_PDETT_N] = n;
  ipar[TNK_PDETT_ERRORS] = ipar[TNK_PDETT_WARNINGS] = 1;
  ipar[TNK_PDETT_KIND] = kind;
  ipar[TNK_PDETT_STATUS] = TNK_PDETT_DONE;
  ipar[TNK_PDETT_MAKE] = ipar[TNK_PDETT_C_TEXTS] = ipar[TNK_PDETT_USERS] = 1;
  ipar[TNK_PDETT_RAW] = 0;
  dpar[0] = default_tolerance<T>(n);
  return TNK_PDETT_DONE;
}

// True if the end is larger than it may be.
template <class T> bool end_is_large(Message id, T value, const tnk_int *ipar, const T *dpar) {
  if (!(std::fabs(value) > dpar[0])) return false;
  char text[32];
  std::sprintf(text, "%e", static_cast<double>(value));
  report(id, ipar, dpar, text);
  return true;
}

template <class T> bool ends_are_large(const T *f, const tnk_int *ipar, const T *dpar) {
  const tnk_int n = ipar[TNK_PDETT_N];
  if (ipar[TNK_PDETT_RAW]) return false;
  switch (ipar[TNK_PDETT_KIND]) {
  case sine: {
    const bool first = end_is_large(sine_first, f[0], ipar, dpar);
    return end_is_large(sine_last, f[n], ipar, dpar) || first;
  }
  case staggered_cosine:
    return end_is_large(cosine_last, f[n], ipar, dpar);
  default:
    return end_is_large(staggered_sine_first, f[0], ipar, dpar);
  }
}

template <class T> void fill_tables(tnk_int kind, tnk_int n, T *dpar) {
  const double h = 3.14159265358979323846 / static_cast<double>(n);
  const auto fill = [&](T *to, tnk_int count, double step, double first) {
    for (tnk_int k = 0; k < count; ++k)
      to[k] = static_cast<T>(std::sin((static_cast<double>(k) * step + first) * h));
  };
  if (kind == sine) return fill(dpar + 2, n / 2, 1, 1);
  for (tnk_int k = 1; k <= n / 2; ++k) {
    double s, c;
    tnk_serv_libm_sincos(static_cast<double>(k) * h, &s, &c);
    dpar[2 * k] = static_cast<T>(c);
    dpar[2 * k + 1] = static_cast<T>(s);
  }
  if (kind == cosine) return;
  T *next = dpar + n + 2;
  if (kind >= quarter_cosine) {
    fill(next, n, 0.5, 0.25);
    next += n;
  }
  fill(next, n / 2, 1, 0.5);
}

template <class T> tnk_int make_descriptor(DftiHandle *handle, const tnk_int *ipar) {
  constexpr tnk_int domain = DftiReal, dimension = 1;
  constexpr T precision = is_single<T> ? DftiSingle : DftiDouble;
  constexpr tnk_int format = DftiParamPackedFormat, perm = DftiFormatPerm,
                    users = DftiParamNumberOfUserThreads;
  *handle = nullptr;
  const auto answer = [&]() -> tnk_int {
    tnk_int status;
    if constexpr (is_single<T>)
      status =
          tnk_dft_dfti_create_descriptor_s_1d(handle, &precision, &domain, &dimension, ipar + TNK_PDETT_N);
    else
      status =
          tnk_dft_dfti_create_descriptor_d_1d(handle, &precision, &domain, &dimension, ipar + TNK_PDETT_N);
    if (status == DftiNoError) status = tnk_dft_dfti_set_value_intval(handle, &format, &perm);
    if (status == DftiNoError && ipar[TNK_PDETT_USERS] > 1)
      status = tnk_dft_dfti_set_value_intval(handle, &users, ipar + TNK_PDETT_USERS);
    if (status == DftiNoError) status = tnk_dft_dfti_commit_descriptor_external(handle);
    return status;
  }();
  if (answer != DftiNoError && *handle) tnk_dft_dfti_free_descriptor_external(handle);
  return fourier_status<T>(answer, ipar);
}

template <class T> tnk_int refused(Message id, const tnk_int *ipar, const T *dpar, tnk_int status) {
  report(id, ipar, dpar);
  return status;
}

template <class T> tnk_int commit(const T *f, DftiHandle *handle, tnk_int *ipar, T *dpar) {
  const tnk_int n = ipar[TNK_PDETT_N], kind = ipar[TNK_PDETT_KIND];
  if (ipar[TNK_PDETT_STATUS]) return refused(commit_with_status, ipar, dpar, TNK_PDETT_STOPPED);
  if (n < shortest) return refused(n_too_small, ipar, dpar, TNK_PDETT_BAD);
  if (kind < 0 || kind >= kinds) return refused(no_such_kind, ipar, dpar, TNK_PDETT_BAD);
  bool ends = false, corrected = false;
  if (kind == sine || kind == staggered_cosine || kind == staggered_sine) {
    if (dpar[0] < 0) {
      report(negative_tolerance, ipar, dpar);
      dpar[0] = default_tolerance<T>(n);
      corrected = true;
    }
    ends = ends_are_large(f, ipar, dpar);
  }
  if (ipar[TNK_PDETT_MAKE]) fill_tables(kind, n, dpar);
  if (ipar[TNK_PDETT_USERS] < 0) {
    report(negative_users, ipar, dpar);
    ipar[TNK_PDETT_USERS] = 1;
    corrected = true;
  }
  if (ipar[TNK_PDETT_MAKE])
    if (const tnk_int status = make_descriptor<T>(handle, ipar)) return status;
  return (ends ? TNK_PDETT_ENDS : 0) + (corrected ? TNK_PDETT_CORRECTED : 0);
}

// ---- Transforms -------------------------------------------------------------------------------------------------------

template <class T> using Kernel = void(T *f, DftiHandle *handle, tnk_int *ipar, T *tables, tnk_int *stat);

template <class T> constexpr Kernel<T> *forward_kernels[kinds] = {};
template <class T> constexpr Kernel<T> *backward_kernels[kinds] = {};
template <>
constexpr Kernel<double> *forward_kernels<double>[kinds] = {
    tnk_pdett_dptk_dft_sin,    tnk_pdett_dptk_dft_cos,     tnk_pdett_dptk_dft_scos_f,
    tnk_pdett_dptk_dft_ssin_f, tnk_pdett_dptk_dft_scos2_f, tnk_pdett_dptk_dft_ssin2_f};
template <>
constexpr Kernel<double> *backward_kernels<double>[kinds] = {
    tnk_pdett_dptk_dft_sin,    tnk_pdett_dptk_dft_cos,     tnk_pdett_dptk_dft_scos_b,
    tnk_pdett_dptk_dft_ssin_b, tnk_pdett_dptk_dft_scos2_b, tnk_pdett_dptk_dft_ssin2_b};
template <>
constexpr Kernel<float> *forward_kernels<float>[kinds] = {
    tnk_pdett_sptk_dft_sin,    tnk_pdett_sptk_dft_cos,     tnk_pdett_sptk_dft_scos_f,
    tnk_pdett_sptk_dft_ssin_f, tnk_pdett_sptk_dft_scos2_f, tnk_pdett_sptk_dft_ssin2_f};
template <>
constexpr Kernel<float> *backward_kernels<float>[kinds] = {
    tnk_pdett_sptk_dft_sin,    tnk_pdett_sptk_dft_cos,     tnk_pdett_sptk_dft_scos_b,
    tnk_pdett_sptk_dft_ssin_b, tnk_pdett_sptk_dft_scos2_b, tnk_pdett_sptk_dft_ssin2_b};

template <class T> void scale(T *f, tnk_int count, T by) {
  using V = vec<T>;
  tnk_int i = 0;
  for (; i + per_vector<T> <= count; i += per_vector<T>) storeu(f + i, loadu<V>(f + i) * by);
  for (; i < count; ++i) f[i] *= by;
}

template <bool Forward, class T> tnk_int transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar) {
  const tnk_int kind = ipar[TNK_PDETT_KIND];
  if (ipar[TNK_PDETT_STATUS]) return refused(transform_with_status, ipar, dpar, TNK_PDETT_STOPPED);
  if (kind < 0 || kind >= kinds) return refused(no_such_kind, ipar, dpar, TNK_PDETT_BAD);
  const bool raw = ipar[TNK_PDETT_RAW] != 0;
  tnk_int status = TNK_PDETT_DONE;
  const auto kernel = (Forward ? forward_kernels<T> : backward_kernels<T>)[kind];
  kernel(kind == staggered_sine && !raw ? f + 1 : f, handle, ipar, dpar + 2, &status);
  if (status) return status;
  const tnk_int n = ipar[TNK_PDETT_N];
  if (Forward && n == 0) return refused(n_is_zero, ipar, dpar, TNK_PDETT_STOPPED);
  if (raw) return TNK_PDETT_DONE;
  if (!Forward && kind == sine)
    scale(f + 1, n - 1, T(0.5));
  else
    scale(f, kind >= quarter_cosine ? n : n + 1, Forward ? 1 / static_cast<T>(n) : T(0.5));
  return TNK_PDETT_DONE;
}

tnk_int free_descriptor(DftiHandle *handle, tnk_int *ipar) {
  return fourier_status<double>(tnk_dft_dfti_free_descriptor_external(handle), ipar);
}

} // namespace
} // namespace tnk::pde

#define TNK_PDETT_LIFE(p, T)                                                                                 \
  void tnk_pdett_##p##_init_trig_transform(const tnk_int *n, const tnk_int *tt_type, tnk_int *ipar, T *dpar, \
                                           tnk_int *stat) {                                                  \
    *stat = tnk::pde::init(*n, *tt_type, ipar, dpar);                                                        \
  }                                                                                                          \
  void tnk_pdett_##p##_commit_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,               \
                                             tnk_int *stat) {                                                \
    *stat = ipar[TNK_PDETT_STATUS] = tnk::pde::commit(f, handle, ipar, dpar);                                \
  }                                                                                                          \
  void tnk_pdett_##p##_forward_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,              \
                                              tnk_int *stat) {                                               \
    *stat = ipar[TNK_PDETT_STATUS] = tnk::pde::transform<true>(f, handle, ipar, dpar);                       \
  }                                                                                                          \
  void tnk_pdett_##p##_backward_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,             \
                                               tnk_int *stat) {                                              \
    *stat = ipar[TNK_PDETT_STATUS] = tnk::pde::transform<false>(f, handle, ipar, dpar);                      \
  }                                                                                                          \
  void tnk_pdett__##p##_init_trig_transform(const tnk_int *n, const tnk_int *tt_type, tnk_int *ipar,         \
                                            T *dpar, tnk_int *stat) {                                        \
    tnk_pdett_##p##_init_trig_transform(n, tt_type, ipar, dpar, stat);                                       \
  }                                                                                                          \
  void tnk_pdett__##p##_commit_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,              \
                                              tnk_int *stat) {                                               \
    tnk_pdett_##p##_commit_trig_transform(f, handle, ipar, dpar, stat);                                      \
  }                                                                                                          \
  void tnk_pdett__##p##_forward_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,             \
                                               tnk_int *stat) {                                              \
    tnk_pdett_##p##_forward_trig_transform(f, handle, ipar, dpar, stat);                                     \
  }                                                                                                          \
  void tnk_pdett__##p##_backward_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,            \
                                                tnk_int *stat) {                                             \
    tnk_pdett_##p##_backward_trig_transform(f, handle, ipar, dpar, stat);                                    \
  }
TNK_PDETT_LIFE(d, double)
TNK_PDETT_LIFE(s, float)

void tnk_pdett_free_trig_transform(DftiHandle *handle, tnk_int *ipar, tnk_int *stat) {
  *stat = ipar[TNK_PDETT_STATUS] = TNK_PDETT_FREEING;
  *stat = ipar[TNK_PDETT_STATUS] = tnk::pde::free_descriptor(handle, ipar);
}
void tnk_pdett__free_trig_transform(DftiHandle *handle, tnk_int *ipar, tnk_int *stat) {
  tnk_pdett_free_trig_transform(handle, ipar, stat);
}
