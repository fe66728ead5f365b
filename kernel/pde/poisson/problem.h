// What ipar and dpar hold (tnk/pde_poisson.h), read alike for rectangle and box: by axes, the last of which has the
// tridiagonal equations and the others a transform each.
#pragma once

#include <cstddef>
#include <tnk/pde_poisson.h>
#include <tnk/pde_trig.h>
#include <type_traits>

namespace tnk::poisson {

template <class R> constexpr bool is_single = std::is_same_v<R, float>;

// What a call has for each side, and for each transformed axis.
template <class R, int Dims> using Boundary = const R *const[static_cast<size_t>(2 * Dims)];
template <int Dims> using Handles = DftiHandle *const[static_cast<size_t>(Dims - 1)];

// Message numbers.
enum Message : tnk_int {
  message_nx = 0,
  message_ny = 1,
  message_sides = 3,
  message_x_length = 4,
  message_y_length = 5,
  message_spectrum = 10,
  message_status = 12,
  message_free = 15,
  message_nz = 23,
  message_z_length = 24,
  message_singular = 900,
  message_layout = 903,
  message_negative_q = 904,
};
constexpr Message message_cells[] = {message_nx, message_ny, message_nz};
constexpr Message message_length[] = {message_x_length, message_y_length, message_z_length};

template <class R, int Dims> struct Problem {
  tnk_int *ipar;
  R *dpar;
  tnk_int *stat;

  static constexpr int last = Dims - 1;
  static constexpr tnk_int codes = tnk_int{1} << 2 * Dims;

  const tnk_int *cells() const { return ipar + TNK_PDEPL_CELLS; }
  tnk_int side(int k) const { return ipar[TNK_PDEPL_SIDES + k]; }
  bool mixed(int axis) const { return side(2 * axis) != side(2 * axis + 1); }
  R step(int axis) const { return dpar[axis]; }
  R q() const { return dpar[3]; }
  R tolerance() const { return dpar[4]; }
  // Of a transformed axis.
  R *spectrum(int axis) const { return dpar + ipar[TNK_PDEPL_SPECTRA + 2 * axis] - 1; }
  R *tables(int axis) const { return dpar + ipar[TNK_PDEPL_TABLES + 2 * axis] - 1; }
  tnk_int *transform(int axis) const { return ipar + TNK_PDEPL_TRANSFORMS + 20 * axis; }

  tnk_int points() const {
    tnk_int count = 1;
    for (int axis = 0; axis < Dims; ++axis) count *= cells()[axis] + 1;
    return count;
  }

  void end(tnk_int status) const { *stat = ipar[TNK_PDEPL_STATUS] = status; }

  void tell(Message id, const char *text = nullptr) const {
    if (!ipar[id >= message_singular ? TNK_PDEPL_WARNINGS : TNK_PDEPL_ERRORS]) return;
    const tnk_int number = id;
    const bool c = ipar[TNK_PDEPL_C_TEXTS] != 0;
    if constexpr (is_single<R>)
      (c ? tnk_pdepl_s_pl_print_diagnostics_c : tnk_pdepl_s_pl_print_diagnostics_f)(&number, ipar, dpar,
                                                                                    text);
    else
      (c ? tnk_pdepl_d_pl_print_diagnostics_c : tnk_pdepl_d_pl_print_diagnostics_f)(&number, ipar, dpar,
                                                                                    text);
  }
  void refuse(Message id, tnk_int status = TNK_PDEPL_BAD) const {
    tell(id);
    end(status);
  }

  // The code that the sides have.
  tnk_int code_of_sides() const {
    tnk_int code = 0;
    for (int k = 0; k < 2 * Dims; ++k) code = 2 * code + side(k);
    return code;
  }
};

// Where spectra and tables stand: one after another from entry 5 on, counted from 1 or 0 as the header says. For each entry
// calls each(index of ipar, value).
template <int Dims, class Each> void layout(const tnk_int *cells, const Each &each) {
  tnk_int end = 5; // entries that are taken
  for (int axis = 0; axis + 1 < Dims; ++axis) {
    each(TNK_PDEPL_SPECTRA + 2 * axis, end + 1);
    end += cells[axis] + 1;
    each(TNK_PDEPL_SPECTRA + 2 * axis + 1, end);
  }
  for (int axis = 0; axis + 1 < Dims; ++axis) {
    each(TNK_PDEPL_TABLES + 2 * axis, end + 1);
    end += cells[axis] * 3 / 2 + 2;
    each(TNK_PDEPL_TABLES + 2 * axis + 1, end - 1);
  }
}

} // namespace tnk::poisson
