// Eigenvalues of the second differences along the transformed axes, and the right-hand side in their scale.
#include "kernel/frame/vector.h"
#include "kernel/pde/poisson/problem.h"

#include <cmath>

namespace tnk::poisson {
namespace {

float sine(float x) {
  return tnk_pdepl_pl_ssin(&x);
}
double sine(double x) {
  return tnk_pdepl_pl_dsin(&x);
}

// From 0 to n: (c sin(i pi/(2n)))^2 + offset, of a mixed axis with i + 1/2 in place of i.
template <class R> void squares(tnk_int n, R c, R offset, bool mixed, R *spectrum) {
  constexpr double pi = 3.14159265358979323846;
  for (tnk_int i = 0; i <= n; ++i) {
    const double angle = (mixed ? static_cast<double>(2 * i + 1) : static_cast<double>(2 * i)) * pi /
                         (4 * static_cast<double>(n));
    const R root = c * sine(static_cast<R>(angle));
    spectrum[i] = root * root + offset;
  }
}

template <class R>
void rectangle(const tnk_int *nx, const R *hx, const R *hy, const R *q, bool mixed, R *spectrum,
               tnk_int *stat) {
  *stat = TNK_PDEPL_NO_SPECTRUM;
  if (*nx == 0 || *hx == 0) return;
  squares(*nx, 2 * *hy / *hx, *q * *hy * *hy + 2, mixed, spectrum);
  *stat = TNK_PDEPL_DONE;
}

template <class R>
void box(const tnk_int *nx, const tnk_int *ny, const R *hx, const R *hy, const R *hz, const R *q,
         bool x_mixed, bool y_mixed, R *xspectrum, R *yspectrum, tnk_int *stat) {
  *stat = TNK_PDEPL_NO_SPECTRUM;
  if (*nx == 0 || *ny == 0 || *hx == 0 || *hy == 0) return;
  squares(*nx, 2 * *hz / *hx, *q * *hz * *hz + 2, x_mixed, xspectrum);
  squares(*ny, 2 * *hz / *hy, R(0), y_mixed, yspectrum);
  *stat = TNK_PDEPL_DONE;
}

template <class R> void multiply(tnk_int n, R factor, R *f) {
  constexpr tnk_int width = per_vector<R>;
  const vec<R> factors = splat<vec<R>>(factor);
  tnk_int i = 0;
  for (; i + width <= n; i += width) storeu(f + i, factors * loadu<vec<R>>(f + i));
  for (; i < n; ++i) f[i] *= factor;
}

} // namespace
} // namespace tnk::poisson

using namespace tnk::poisson;

#define TNK_SPECTRUM(name, R, mixed)                                                                         \
  void name(const tnk_int *nx, const R *hx, const R *hy, const R *q, R *spectrum, tnk_int *stat) {           \
    rectangle(nx, hx, hy, q, mixed, spectrum, stat);                                                         \
  }
#define TNK_SPECTRA(name, R, x_mixed, y_mixed)                                                               \
  void name(const tnk_int *nx, const tnk_int *ny, const R *hx, const R *hy, const R *hz, const R *q,         \
            R *xspectrum, R *yspectrum, tnk_int *stat) {                                                     \
    box(nx, ny, hx, hy, hz, q, x_mixed, y_mixed, xspectrum, yspectrum, stat);                                \
  }
#define TNK_STAGES(p, R)                                                                                     \
  TNK_SPECTRUM(tnk_pdepl_##p##_spectr_2d, R, false)                                                          \
  TNK_SPECTRUM(tnk_pdepl_##p##_spectr_2d_mixed, R, true)                                                     \
  TNK_SPECTRA(tnk_pdepl_##p##_spectr_3d, R, false, false)                                                    \
  TNK_SPECTRA(tnk_pdepl_##p##_spectr_3d_mixed_1, R, true, false)                                             \
  TNK_SPECTRA(tnk_pdepl_##p##_spectr_3d_mixed_2, R, false, true)                                             \
  TNK_SPECTRA(tnk_pdepl_##p##_spectr_3d_mixed_3, R, true, true)                                              \
  void tnk_pdepl_##p##_right_hand_side_2d(const tnk_int *nx, const tnk_int *ny, const R *hy, R *f,           \
                                          tnk_int *stat) {                                                   \
    multiply((*nx + 1) * (*ny + 1), *hy * *hy, f);                                                           \
    *stat = TNK_PDEPL_DONE;                                                                                  \
  }                                                                                                          \
  void tnk_pdepl_##p##_right_hand_side_3d(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz,           \
                                          const R *hz, R *f, tnk_int *stat) {                                \
    multiply((*nx + 1) * (*ny + 1) * (*nz + 1), *hz * *hz, f);                                               \
    *stat = TNK_PDEPL_DONE;                                                                                  \
  }
TNK_STAGES(d, double)
TNK_STAGES(s, float)

double tnk_pdepl_pl_dsin(const double *x) {
  return std::sin(*x);
}
float tnk_pdepl_pl_ssin(const float *x) {
  return static_cast<float>(std::sin(static_cast<double>(*x)));
}
