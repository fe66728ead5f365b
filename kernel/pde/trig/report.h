// Messages, and the Fourier transform with the message of its failure.
#pragma once

#include <tnk/pde_trig.h>
#include <type_traits>

namespace tnk::pde {

enum Message : tnk_int {
  commit_with_status = 0,
  n_too_small = 1,
  no_such_kind = 3,
  zero_divisor = 4,
  transform_with_status = 5,
  n_is_zero = 6,
  negative_tolerance = 300,
  sine_first = 302,
  sine_last = 303,
  cosine_last = 307,
  negative_users = 308,
  staggered_sine_first = 309,
  fourier_failed = 1001
};
constexpr bool is_warning(tnk_int id) {
  return id >= negative_tolerance && id <= staggered_sine_first;
}

template <class T> constexpr bool is_single = std::is_same_v<T, float>;

// Shows a message, if the caller of the library wants to see its kind.
template <class T>
void report(tnk_int id, const tnk_int *ipar, const T *dpar = nullptr, const char *text = nullptr) {
  constexpr auto c = [] {
    if constexpr (is_single<T>)
      return tnk_pdett_s_print_diagnostics_c;
    else
      return tnk_pdett_d_print_diagnostics_c;
  }();
  constexpr auto f = [] {
    if constexpr (is_single<T>)
      return tnk_pdett_s_print_diagnostics_f;
    else
      return tnk_pdett_d_print_diagnostics_f;
  }();
  if (ipar[is_warning(id) ? TNK_PDETT_WARNINGS : TNK_PDETT_ERRORS] == 0) return;
  (ipar[TNK_PDETT_C_TEXTS] ? c : f)(&id, ipar, dpar, text);
}

// The status for what the descriptor layer answered.
template <class T> tnk_int fourier_status(tnk_int answer, const tnk_int *ipar) {
  if (answer == DftiNoError) return TNK_PDETT_DONE;
  constexpr tnk_int room = 400; // as much as is left of a catalog text
  char text[room + 1];
  tnk_dft_dfti_error_message_external(&answer, text, &room);
  tnk_int length = room; // padded with blanks, and without an end
  while (length > 0 && text[length - 1] == ' ') --length;
  text[length] = '\0';
  report<T>(fourier_failed, ipar, nullptr, text);
  return TNK_PDETT_FOURIER;
}

constexpr tnk_int shortest = 2; // commit takes no shorter row, and kernels leave one alone

// What the kernels are given.
template <class T> struct Row {
  T *f;
  DftiHandle *handle;
  const tnk_int *ipar;
  const T *tables;
  tnk_int n() const { return ipar[TNK_PDETT_N]; }
  tnk_int forward() const {
    if constexpr (is_single<T>)
      return fourier_status<T>(tnk_dft_dfti_compute_forward_s(handle, f), ipar);
    else
      return fourier_status<T>(tnk_dft_dfti_compute_forward_d(handle, f), ipar);
  }
  tnk_int backward() const {
    if constexpr (is_single<T>)
      return fourier_status<T>(tnk_dft_dfti_compute_backward_s(handle, f), ipar);
    else
      return fourier_status<T>(tnk_dft_dfti_compute_backward_d(handle, f), ipar);
  }
};

} // namespace tnk::pde
