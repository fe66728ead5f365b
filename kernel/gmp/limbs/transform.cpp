// The product by real Fourier transforms in double precision.
//
// Rounding is not bounded in the worst case: for the longest operands of nothing but ones it goes past a half. So each
// product is checked twice: while rounding, by how far the sums are from whole numbers, and as a whole modulo 2^64 - 1.
// What fails is made once more in whole numbers.
#include "kernel/gmp/transform.h"
#include "kernel/gmp/products.h"
#include <tnk/signal_vector.h>

namespace tnk::gmp {
namespace {

// Sums of 4 m products of digits stay below 2^51.
constexpr int32_t longest = 1 << 16;

// Of one array: 8 m digits, and the two numbers more that a spectrum has.
constexpr int64_t numbers_of(int32_t limbs) {
  return 2 * digits_per_limb * int64_t{limbs} + 2;
}
constexpr std::size_t bytes_of(int32_t limbs) {
  return static_cast<std::size_t>(2 * numbers_of(limbs)) * sizeof(double);
}

// The block of work is as large as all that the transforms take besides, and mostly never touched. The C library keeps
// free memory at its end up to twice the largest block that it had from the system; what is above goes back and comes
// anew, page by page. That would be all of it at every product, and takes longer than the transforms.
constexpr std::size_t work_share = 3;

tnk_complex16 *spectrum(double *x) {
  return reinterpret_cast<tnk_complex16 *>(x);
}

} // namespace

bool Transforms::prepare(int32_t limbs) {
  if (limbs == limbs_) return true;
  release();
  if (e9_vpksDFTInitAlloc_R_64f(&record_, 2 * digits_per_limb * limbs, 2, 0) != TNK_SIGNAL_OK) {
    record_ = nullptr;
    return false;
  }
  limbs_ = limbs;
  numbers_ = static_cast<double *>(tnk_gmp_tnk_gmp_allocate(bytes_of(limbs)));
  int32_t needed = 0;
  e9_vpksDFTGetBufSize_R_64f(record_, &needed);
  work_bytes_ = work_share * (static_cast<std::size_t>(needed) + bytes_of(limbs));
  work_ = static_cast<uint8_t *>(tnk_gmp_tnk_gmp_allocate(work_bytes_));
  return true;
}

void Transforms::release() {
  if (!record_) return;
  tnk_gmp_tnk_gmp_free(work_, work_bytes_);
  tnk_gmp_tnk_gmp_free(numbers_, bytes_of(limbs_));
  e9_vpksDFTFree_R_64f(record_);
  record_ = nullptr;
  limbs_ = 0;
}

// Whether the product could be made and is right.
bool Transforms::transform(limb *r, const limb *a, int32_t an, const limb *b, int32_t bn) {
  const int32_t m = an > bn ? an : bn;
  if (m > longest || !prepare(m)) return false;
  double *const x = numbers_, *const y = a == b && an == bn ? x : x + numbers_of(m);
  const auto forward = [=](double *to, const limb *from, int32_t n) {
    to_digits(to, from, n, 2 * m);
    e9_vpksDFTFwd_RToCCS_64f(to, to, record_, work_);
  };
  forward(x, a, an);
  if (y != x) forward(y, b, bn);
  e9_vpksMul_64fc_I(spectrum(y), spectrum(x), digits_per_limb * m + 1);
  e9_vpksDFTInv_CCSToR_64f(x, x, record_, work_);
  return from_digits(r, x, an + bn) &&
         same_residue(residue(r, an + bn), product_of_residues(residue(a, an), residue(b, bn)));
}

void Transforms::multiply(limb *r, const limb *a, int32_t an, const limb *b, int32_t bn) {
  if (transform(r, a, an, b, bn)) return;
  // By the other methods, which come back to transforms of half the length at most.
  if (an != bn)
    an > bn ? tnk_gmp___gmpn_mul(r, a, an, b, bn) : tnk_gmp___gmpn_mul(r, b, bn, a, an);
  else if (an == 1)
    e9_cpMul_BNU_school(r, a, an, b, bn);
  else
    karatsuba_step(r, a, b, an, *this);
}

} // namespace tnk::gmp

void tnk_gmp_tnk_gmp_mul_dft(const tnk_gmp_limb *a, int32_t an, const tnk_gmp_limb *b, int32_t bn,
                             tnk_gmp_limb *r) {
  tnk::gmp::Transforms().multiply(r, a, an, b, bn);
}
