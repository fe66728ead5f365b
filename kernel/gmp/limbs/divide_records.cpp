// Divisions of integers without their signs: the choice of a method by length.
#include "kernel/gmp/limbs.h"

namespace tnk::gmp {
namespace {

constexpr int32_t school_most = 32, short_most = 8;

// An operand's limbs, copied if they are about to be written.
class Operand {
public:
  Operand(const tnk_gmp_integer &x, bool written) : copied_(written ? limbs_of(x) : 0), limbs_(x.d) {
    if (!written) return;
    copy(copied_, x.d, gmp::limbs_of(x));
    limbs_ = copied_;
  }
  operator const limb *() const { return limbs_; }

private:
  Scratch copied_;
  const limb *limbs_;
};

void set_magnitude(tnk_gmp_integer &x, const tnk_gmp_integer &y) {
  const int32_t n = limbs_of(y);
  if (&x != &y) copy(room_for(x, n), y.d, n);
  x.size = n;
}

bool is_below(const tnk_gmp_integer &n, const tnk_gmp_integer &d) {
  const int32_t nn = limbs_of(n), dn = limbs_of(d);
  return nn < dn || (nn == dn && compare(n.d, d.d, nn) < 0);
}

void set_limb(tnk_gmp_integer &x, limb value) {
  if (value) room_for(x, 1)[0] = value;
  x.size = value != 0;
}

} // namespace

limb divide(limb *q, limb *r, const limb *n, int32_t nn, const limb *d, int32_t dn) {
  if (dn <= school_most) return tnk_gmp_mpl_divqr_long(q, r, n, nn, d, dn);
  if (nn - dn > short_most) return tnk_gmp_mpl_divqr_dc(q, r, n, nn, d, dn);
  if (!r) return tnk_gmp_mpl_divq_sq(q, n, nn, d, dn);
  if (q) return tnk_gmp_mpl_divqr_sq(q, r, n, nn, d, dn);
  limb quotient[short_most];
  return tnk_gmp_mpl_divqr_sq(quotient, r, n, nn, d, dn);
}

} // namespace tnk::gmp

void tnk_gmp_tnk_gmp_div_q(tnk_gmp_integer *q, const tnk_gmp_integer *n, const tnk_gmp_integer *d) {
  using namespace tnk::gmp;
  const int32_t nn = limbs_of(*n), dn = limbs_of(*d), qn = nn - dn;
  if (dn == 1) {
    const limb divisor = d->d[0];
    limb *const quotient = room_for(*q, nn);
    tnk_gmp_mpn_divmod_1(quotient, n->d, nn, divisor);
    q->size = trimmed(quotient, nn);
  } else if (is_below(*n, *d)) {
    q->size = 0;
  } else {
    const Operand dividend(*n, q == n), divisor(*d, q == d);
    limb *const quotient = room_for(*q, qn + 1);
    limb unwanted[2];
    quotient[qn] = dn == 2 ? tnk_gmp_tnk_gmp_divmod_2(quotient, unwanted, dividend, nn, divisor)
                           : divide(quotient, nullptr, dividend, nn, divisor, dn);
    q->size = trimmed(quotient, qn + 1);
  }
}

void tnk_gmp_tnk_gmp_div_qr(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                            const tnk_gmp_integer *d) {
  using namespace tnk::gmp;
  const int32_t nn = limbs_of(*n), dn = limbs_of(*d), qn = nn - dn;
  if (dn == 1) {
    const limb divisor = d->d[0];
    limb *const quotient = room_for(*q, nn);
    const limb remainder = tnk_gmp_mpn_divmod_1(quotient, n->d, nn, divisor);
    q->size = trimmed(quotient, nn);
    set_limb(*r, remainder);
  } else if (is_below(*n, *d)) {
    set_magnitude(*r, *n);
    q->size = 0;
  } else {
    const Operand dividend(*n, q == n), divisor(*d, q == d || r == d);
    limb *const quotient = room_for(*q, qn + 1), *const remainder = room_for(*r, dn);
    quotient[qn] = dn == 2 ? tnk_gmp_tnk_gmp_divmod_2(quotient, remainder, dividend, nn, divisor)
                           : divide(quotient, remainder, dividend, nn, divisor, dn);
    q->size = trimmed(quotient, qn + 1);
    r->size = trimmed(remainder, dn);
  }
}

void tnk_gmp_tnk_gmp_div_r(tnk_gmp_integer *r, const tnk_gmp_integer *n, const tnk_gmp_integer *d) {
  using namespace tnk::gmp;
  const int32_t nn = limbs_of(*n), dn = limbs_of(*d);
  if (dn == 1) {
    set_limb(*r, tnk_gmp_mpn_mod_1(n->d, nn, d->d[0]));
  } else if (is_below(*n, *d)) {
    set_magnitude(*r, *n);
  } else {
    const Operand divisor(*d, r == d);
    limb *const remainder = room_for(*r, dn);
    divide(nullptr, remainder, n->d, nn, divisor, dn);
    r->size = trimmed(remainder, dn);
  }
}

void tnk_gmp_tnk_gmp_divqr_2exp(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                                uint64_t bits) {
  using namespace tnk::gmp;
  const int32_t nn = limbs_of(*n);
  const int32_t whole =
      bits / limb_bits < static_cast<uint64_t>(nn) ? static_cast<int32_t>(bits / limb_bits) : nn;
  const int shift = whole < nn ? static_cast<int>(bits % limb_bits) : 0;
  const auto divide = [=] {
    if (!q) return;
    limb *const quotient = room_for(*q, nn - whole);
    shift_right(quotient, n->d + whole, nn - whole, shift);
    q->size = trimmed(quotient, nn - whole);
  };
  if (r == n) divide(); // the dividend goes last
  if (r) {
    limb *const remainder = room_for(*r, whole + (shift != 0));
    copy(remainder, n->d, whole + (shift != 0));
    if (shift) remainder[whole] &= (limb{1} << shift) - 1;
    r->size = trimmed(remainder, whole + (shift != 0));
  }
  if (r != n) divide();
}
