// Divisions of limbs.
#include "tests/gmp/limbs.h"
#include <functional>

namespace {

using namespace tnk::test;

// A dividend for d with q and r, or one that makes estimates of the quotient too large: top limbs as the divisor's.
Limbs dividend(Random &random, const Limbs &d, int32_t qn, int kind) {
  const int32_t nn = count(d) + qn;
  const auto of = [&](const Integer &x) {
    Limbs n = x.limbs();
    n.resize(static_cast<std::size_t>(nn));
    return n;
  };
  const Integer q = value(made(random, qn, kind % 2 ? ones : any));
  if (kind < 2) return of(q * value(d) + value(d) - 1);
  if (kind < 4) return of(q * value(d));
  Limbs n = made(random, nn, kind % patterns);
  if (kind < 6) std::copy(d.begin(), d.end(), n.end() - count(d)); // as high as the divisor
  if (kind < 6 && qn) --*(n.end() - count(d));                     // below it, in the lowest limb or in all
  return n;
}

using Divide = std::function<limb(limb *, limb *, const limb *, int32_t, const limb *, int32_t)>;
const std::pair<const char *, Divide> methods[] = {
    {"long", tnk_gmp_mpl_divqr_long}, {"sq", tnk_gmp_mpl_divqr_sq}, {"dc", tnk_gmp_mpl_divqr_dc}};

void expect_division(const char *name, const Divide &divide, const Limbs &n, const Limbs &d) {
  const int32_t nn = count(n), dn = count(d), qn = nn - dn;
  Written q(static_cast<std::size_t>(qn), page_end), r(d.size(), page_end), in_place(n, page_end);
  const Written divisor(d, page_end);
  const Integer highest = divide(q.data(), r.data(), n.data(), nn, divisor.data(), dn);
  const Integer quotient = value(q) + shifted(highest, qn);
  EXPECT_EQ(quotient * value(d) + value(r), value(n)) << name << ' ' << nn << " by " << dn;
  EXPECT_TRUE(value(r) < value(d)) << name << ' ' << nn << " by " << dn;
  const Integer again = divide(q.data(), in_place.data(), in_place.data(), nn, divisor.data(), dn);
  EXPECT_EQ(value(q) + shifted(again, qn), quotient) << name << " in place";
  EXPECT_EQ(value(in_place.data(), dn), value(r)) << name << " in place";
}

TEST(Limbs, Divisions) {
  Random random;
  for (const int32_t dn : {2, 3, 4, 7, 11, 12, 32, 33, 40, 41, 64, 85, 130})
    for (const int32_t qn : {0, 1, 2, 7, 8, 9, 17, 40, 41, 47, 90, 170})
      for (int kind = 0; kind < (dn * qn < 2000 ? 10 : 4); ++kind) {
        Limbs d = number(random, dn, kind % 3 ? runs : any);
        if (kind % 2) d.back() |= limb{1} << 63;
        const Limbs n = dividend(random, d, qn, kind);
        for (const auto &[name, divide] : methods)
          if (qn < 20 || *name != 's') expect_division(name, divide, n, d);
        Written q(static_cast<std::size_t>(qn), page_end);
        const limb highest = tnk_gmp_mpl_divq_sq(q.data(), n.data(), qn + dn, d.data(), dn);
        EXPECT_EQ(value(q) + shifted(Integer(highest), qn), value(n) / value(d)) << "sq " << dn << ' ' << qn;
      }
}

// The remainder alone and the quotient alone, and lengths at which blocks halve several times.
TEST(Limbs, LongDivisions) {
  Random random;
  for (const auto &[dn, qn] : std::initializer_list<std::pair<int32_t, int32_t>>{
           {500, 500}, {1000, 333}, {333, 2000}, {160, 5000}}) {
    Limbs d = number(random, dn, runs), n = made(random, dn + qn, runs);
    const auto size = static_cast<std::size_t>(qn);
    Written q(size, page_end), r(d.size(), page_end), r_alone(d.size(), page_end);
    Limbs q_alone(size);
    const auto *p = n.data();
    const limb highest = tnk_gmp_mpl_divqr_dc(q.data(), r.data(), p, dn + qn, d.data(), dn);
    EXPECT_EQ(tnk_gmp_mpl_divqr_dc(q_alone.data(), nullptr, p, dn + qn, d.data(), dn), highest);
    EXPECT_EQ(tnk_gmp_mpl_divqr_dc(nullptr, r_alone.data(), p, dn + qn, d.data(), dn), highest);
    Limbs whole(q.data(), q.data() + qn);
    EXPECT_TRUE(whole == q_alone && value(r) == value(r_alone));
    whole.push_back(highest);
    const Residue again = remainder(whole.data(), qn + 1) * remainder(d.data(), dn) + remainder(r.data(), dn);
    EXPECT_TRUE(again == remainder(p, dn + qn)) << dn << ' ' << qn;
    EXPECT_LT(tnk_gmp___gmpn_cmp(r.data(), d.data(), dn), 0);
  }
}

TEST(Limbs, DivisionsByFew) {
  Random random;
  for (int round = 0; round < 2000; ++round) {
    const int32_t nn = static_cast<int32_t>(random.integer(2, 9));
    const Limbs n = made(random, nn, round % patterns);
    const auto narrow = [&](limb x) { return std::max<limb>(x >> random.integer(0, 63), 1); };
    const limb d1 = narrow(made(random, 1, round / 7 % patterns)[0]),
               d0 = made(random, 1, round % patterns)[0];
    const Limbs d{d0, d1};
    const Integer one(d1), two = value(d);
    Written q(n), short_q(n.size() - 2, page_end);
    limb r[2];
    EXPECT_EQ(Integer(tnk_gmp_mpn_divmod_1(q.data(), q.data(), nn, d1)), value(n) % one);
    EXPECT_EQ(value(q), value(n) / one);
    EXPECT_EQ(Integer(tnk_gmp_mpn_mod_1(n.data(), nn, d1)), value(n) % one);
    const limb highest = tnk_gmp_tnk_gmp_divmod_2(short_q.data(), r, n.data(), nn, d.data());
    EXPECT_EQ(value(short_q) + shifted(Integer(highest), nn - 2), value(n) / two);
    EXPECT_EQ(value(r, 2), value(n) % two);

    Written third(n);
    const Integer left = tnk_gmp_mpn_divexact_by3(third.data(), third.data(), nn);
    EXPECT_EQ(value(third) * 3, value(n) + shifted(left, nn));

    const Limbs normal{d0, d1 | limb{1} << 63};
    Limbs three = (value(n) % (value(normal) * Integer::power_of_two(64))).limbs();
    three.resize(3);
    EXPECT_EQ(Integer(tnk_gmp_mpl_divq_3_by_2(three[2], three[1], three[0], normal[1], normal[0])),
              value(three) / value(normal));
  }
}

} // namespace
