// The product by real Fourier transforms in double precision.
//
// Rounding is not bounded in the worst case: for the longest operands of nothing but ones it can go past a half. So each
// product is checked twice: while rounding, by how far the sums are from whole numbers, and as a whole modulo 2^64 - 1.
// What fails is made once more in whole numbers.
#include "kernel/gmp/transform.h"
#include "kernel/gmp/products.h"
#include <tnk/signal_dft.h>
#include <tnk/signal_vector.h>

namespace tnk::gmp {
namespace {

// Sums of 4 m products of digits stay below 2^51.
constexpr int32_t longest = 1 << 16;

// A record for transforms of that length, with the work that they need.
class Transform {
public:
  explicit Transform(int32_t length) {
    if (e9_vpksDFTInitAlloc_R_64f(&spec_, length, 2, 0) != TNK_SIGNAL_OK) spec_ = nullptr;
  }
  ~Transform() {
    if (spec_) e9_vpksDFTFree_R_64f(spec_);
  }
  Transform(const Transform &) = delete;
  Transform &operator=(const Transform &) = delete;
  explicit operator bool() const { return spec_; }
  bool forward(double *x) const { return e9_vpksDFTFwd_RToCCS_64f(x, x, spec_, nullptr) == TNK_SIGNAL_OK; }
  bool inverse(double *x) const { return e9_vpksDFTInv_CCSToR_64f(x, x, spec_, nullptr) == TNK_SIGNAL_OK; }

private:
  tnk_signal_dft *spec_ = nullptr;
};

// The same product by way of the other methods, which come back to transforms of half the length at most.
void without_transform(const limb *a, int32_t an, const limb *b, int32_t bn, limb *r) {
  if (an != bn)
    an > bn ? tnk_gmp___gmpn_mul(r, a, an, b, bn) : tnk_gmp___gmpn_mul(r, b, bn, a, an);
  else if (an == 1)
    e9_cpMul_BNU_school(r, a, an, b, bn);
  else
    karatsuba_step(r, a, b, an);
}

// Whether the product could be made and is right.
bool by_transform(const limb *a, int32_t an, const limb *b, int32_t bn, limb *r, double *x, double *y,
                  int32_t m) {
  const int32_t length = 2 * digits_per_limb * m;
  const Transform transform(length);
  if (!transform) return false;
  const bool square = a == b && an == bn;
  to_digits(x, a, an, 2 * m);
  if (!transform.forward(x)) return false;
  if (!square) {
    to_digits(y, b, bn, 2 * m);
    if (!transform.forward(y)) return false;
  }
  const auto spectrum = [](double *z) { return reinterpret_cast<tnk_complex16 *>(z); };
  e9_vpksMul_64fc_I(spectrum(square ? x : y), spectrum(x), length / 2 + 1);
  if (!transform.inverse(x)) return false;
  return from_digits(r, x, an + bn) &&
         same_residue(residue(r, an + bn), product_of_residues(residue(a, an), residue(b, bn)));
}

} // namespace
} // namespace tnk::gmp

void tnk_gmp_tnk_gmp_mul_dft(const tnk_gmp_limb *a, int32_t an, const tnk_gmp_limb *b, int32_t bn,
                             tnk_gmp_limb *r) {
  using namespace tnk::gmp;
  const int32_t m = an > bn ? an : bn;
  if (m > longest) return without_transform(a, an, b, bn, r);
  // Two arrays, of 8 m digits and the two more that a spectrum has.
  const int64_t numbers = 2 * digits_per_limb * int64_t{m} + 2;
  const std::size_t bytes = static_cast<std::size_t>(2 * numbers) * sizeof(double);
  double *const x = static_cast<double *>(tnk_gmp_tnk_gmp_allocate(bytes));
  const bool right = by_transform(a, an, b, bn, r, x, x + numbers, m);
  tnk_gmp_tnk_gmp_free(x, bytes);
  if (!right) without_transform(a, an, b, bn, r);
}
