// Arithmetic services.
#include <cmath>
#include <tnk/services.h>

void tnk_serv_libm_sincos(double angle, double *sine, double *cosine) {
  *sine = std::sin(angle);
  *cosine = std::cos(angle);
}

void tnk_serv_libm_sincosf(float angle, float *sine, float *cosine) {
  *sine = std::sin(angle);
  *cosine = std::cos(angle);
}
