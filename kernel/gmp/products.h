// What the methods of multiplication know of one another.
#pragma once

#include "kernel/gmp/limbs.h"
#include <tnk/signal_dft.h>

namespace tnk::gmp {

// The highest lengths for school, one step of Karatsuba, Toom's method and Fourier transforms; above them Karatsuba
// halves a product until the transforms can take it. Operands that have less than 18 limbs together, or of which one has
// no more than four, go to school whatever their lengths.
constexpr int32_t school_most = 9, karatsuba_most = 200, toom_most = 8192, transform_most = 32768;
constexpr int32_t mul_school_below = 18, mul_rows_most = 4;

// Products by Fourier transforms, with what the last one needed kept for the next: the three products of a step of
// Karatsuba, or the slices of a long operand, have one length or two.
class Transforms {
public:
  Transforms() = default;
  ~Transforms() { release(); }
  Transforms(const Transforms &) = delete;
  Transforms &operator=(const Transforms &) = delete;

  // r := a b, right in every case.
  void multiply(limb *r, const limb *a, int32_t an, const limb *b, int32_t bn);

private:
  bool prepare(int32_t limbs);
  bool transform(limb *r, const limb *a, int32_t an, const limb *b, int32_t bn);
  void release();

  int32_t limbs_ = 0; // of the longer operand
  tnk_signal_dft *record_ = nullptr;
  double *numbers_ = nullptr; // two arrays, and a block of work
  uint8_t *work_ = nullptr;
  std::size_t work_bytes_ = 0;
};

// mul_n for more than toom_most limbs, and for what a step above makes of them.
void multiply_long(limb *r, const limb *a, const limb *b, int32_t n, Transforms &kept);
// One step of Karatsuba for n of at least 2.
void karatsuba_step(limb *r, const limb *a, const limb *b, int32_t n, Transforms &kept);

} // namespace tnk::gmp
