// Convolution as a user would write it, for the same compiler flags as the kernels.
#pragma once

#include <cstddef>

namespace tnk::bench::plain {

// z of nx + ny - 1 elements: each element of x adds its multiple of y, a loop that compilers make vectors of.
template <class T> void convolve(std::size_t nx, const T *x, std::size_t ny, const T *y, T *z) {
  for (std::size_t k = 0; k < nx + ny - 1; ++k) z[k] = T();
  for (std::size_t i = 0; i < nx; ++i)
    for (std::size_t j = 0; j < ny; ++j) z[i + j] += x[i] * y[j];
}

// The same in two dimensions, for the outputs under which all of x lies: of side ny - nx + 1.
template <class T> void convolve2_valid(std::size_t nx, const T *x, std::size_t ny, const T *y, T *z) {
  const std::size_t nz = ny - nx + 1;
  for (std::size_t k = 0; k < nz * nz; ++k) z[k] = T();
  for (std::size_t row = 0; row < nz; ++row)
    for (std::size_t j = 0; j < nx; ++j)
      for (std::size_t i = 0; i < nx; ++i) {
        const T factor = x[j * nx + i];
        const T *const from = y + (row + nx - 1 - j) * ny + nx - 1 - i;
        for (std::size_t k = 0; k < nz; ++k) z[row * nz + k] += factor * from[k];
      }
}

extern template void convolve(std::size_t, const float *, std::size_t, const float *, float *);
extern template void convolve(std::size_t, const double *, std::size_t, const double *, double *);
extern template void convolve2_valid(std::size_t, const float *, std::size_t, const float *, float *);
extern template void convolve2_valid(std::size_t, const double *, std::size_t, const double *, double *);

} // namespace tnk::bench::plain
