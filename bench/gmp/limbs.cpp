// Integers beside GMP: products and squares of equal lengths, quotient and remainder of twice the length, modular powers.
// Both are called with the same record, which has the same fields in the same places.
#include "bench/families.h"

#include <tnk/gmp.h>

#include <algorithm>
#include <memory>
#include <random>

namespace tnk::bench {
namespace {

using Limbs = std::vector<tnk_gmp_limb>;
using Record = tnk_gmp_integer;

// Operands with a high and an odd first limb, and results of both contenders' in one place.
struct Numbers {
  Limbs a, b, c, result, second;
  Record as, bs, cs, x, y; // records of these

  Numbers(tnk_int an, tnk_int bn, tnk_int cn) : a(made(an)), b(made(bn)), c(made(cn)) {
    result.resize(a.size() + b.size() + 2);
    second.resize(result.size());
    as = record(a), bs = record(b), cs = record(c), x = record(result), y = record(second);
    clear();
  }
  void clear() {
    std::fill(result.begin(), result.end(), 0);
    std::fill(second.begin(), second.end(), 0);
    x.size = y.size = 0;
  }

private:
  static Limbs made(tnk_int n) {
    static std::mt19937_64 engine;
    Limbs limbs(static_cast<std::size_t>(n));
    std::generate(limbs.begin(), limbs.end(), std::ref(engine));
    limbs.front() |= 1;
    limbs.back() |= tnk_gmp_limb{1} << 62;
    return limbs;
  }
  static Record record(Limbs &limbs) {
    const auto n = static_cast<int32_t>(limbs.size());
    return {n, n, limbs.data()};
  }
};

Case judged(const std::shared_ptr<Numbers> &numbers) {
  Case made;
  made.reset = [=] { numbers->clear(); };
  made.results = {result(numbers->result.data(), numbers->result.size()),
                  result(numbers->second.data(), numbers->second.size())};
  made.work = 1;
  return made;
}

using Multiply = tnk_gmp_limb(tnk_gmp_limb *, const tnk_gmp_limb *, long, const tnk_gmp_limb *, long);
using Square = void(tnk_gmp_limb *, const tnk_gmp_limb *, long);

Case product(tnk_int n) {
  const auto of = std::make_shared<Numbers>(n, n, 1);
  Case made = judged(of);
  const auto limbs = static_cast<int32_t>(n);
  made.ours = [=](long count) {
    while (count--) tnk_gmp___gmpn_mul(of->result.data(), of->a.data(), limbs, of->b.data(), limbs);
  };
  if (auto *peer = gmp().routine<Multiply>("__gmpn_mul"))
    made.peer = [=](long count) {
      while (count--) peer(of->result.data(), of->a.data(), n, of->b.data(), n);
    };
  return made;
}

Case square(tnk_int n) {
  const auto of = std::make_shared<Numbers>(n, n, 1);
  Case made = judged(of);
  const auto limbs = static_cast<int32_t>(n);
  made.ours = [=](long count) {
    while (count--) tnk_gmp___gmpn_mul_n(of->result.data(), of->a.data(), of->a.data(), limbs);
  };
  if (auto *peer = gmp().routine<Square>("__gmpn_sqr"))
    made.peer = [=](long count) {
      while (count--) peer(of->result.data(), of->a.data(), n);
    };
  return made;
}

using Divide = void(Record *, Record *, const Record *, const Record *);

// The remainder has n limbs, and the quotient as many or one more.
Case division(tnk_int n) {
  const auto of = std::make_shared<Numbers>(2 * n, n, 1);
  Case made = judged(of);
  made.ours = [=](long count) {
    while (count--) tnk_gmp_tnk_gmp_div_qr(&of->x, &of->y, &of->as, &of->bs);
  };
  if (auto *peer = gmp().routine<Divide>("__gmpz_tdiv_qr"))
    made.peer = [=](long count) {
      while (count--) peer(&of->x, &of->y, &of->as, &of->bs);
    };
  return made;
}

using Power = void(Record *, const Record *, const Record *, const Record *);
using OfRecord = void(Record *);

// Base, exponent and odd modulus of n bits each. A result's limbs may be others after each call, so each contender has a
// record of its own, and what it holds at last is copied.
Case modular_power(tnk_int bits) {
  const tnk_int n = std::max<tnk_int>(bits / 64, 1);
  const auto of = std::make_shared<Numbers>(n, n, n);
  of->b.back() >>= 1; // the exponent not above the modulus
  Case made = judged(of);
  const auto run = [=](Power *power, OfRecord *init, OfRecord *clear) -> Run {
    const std::shared_ptr<Record> power_of(new Record, [=](Record *x) {
      clear(x);
      delete x;
    });
    init(power_of.get());
    return [=](long count) {
      while (count--) power(power_of.get(), &of->as, &of->bs, &of->cs);
      std::copy_n(power_of->d, power_of->size, of->result.begin());
    };
  };
  made.ours = run(tnk_gmp___gmpz_powm, tnk_gmp___gmpz_init, tnk_gmp___gmpz_clear);
  if (auto *peer = gmp().routine<Power>("__gmpz_powm"))
    made.peer = run(peer, gmp().routine<OfRecord>("__gmpz_init"), gmp().routine<OfRecord>("__gmpz_clear"));
  return made;
}

} // namespace

void add_limbs(std::vector<Row> &rows) {
  const auto add = [&](const char *name, std::vector<tnk_int> sizes, Case (*prepare)(tnk_int)) {
    Row row;
    row.group = "gmp/limbs", row.name = name, row.sizes = std::move(sizes), row.quick = 1000;
    row.unit = "call", row.picture = "integers", row.library = &gmp(), row.prepare = prepare;
    rows.push_back(row);
  };
  const std::vector<tnk_int> lengths = {4,   5,   6,    7,    8,    9,    16,    32,    64,    100,
                                        200, 500, 1000, 4000, 8192, 8193, 10000, 16384, 32768, 100000};
  add("mul", lengths, product);
  add("square", lengths, square);
  add("div_qr", {10, 32, 100, 1000, 10000}, division);
  add("powm", {1024, 2048, 4096}, modular_power);
}

} // namespace tnk::bench
