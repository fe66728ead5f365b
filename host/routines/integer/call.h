// What the public routines of integers are made of: the operations of the kernel library by their names, and a call that
// checks its arguments, the size of its result and that there is memory for it, in this order.
#pragma once

#include <cstdint>
#include <tnk/integer.h>

#include "host/dispatch/check.h"

namespace tnk::host::integer {

// Operations on records that are called here.
// clang-format off
#define TNK_INTEGER_OPERATIONS(X)                                                                            \
  X(set) X(set_ui) X(set_si) X(set_d) X(get_si) X(get_d) X(fits_slong_p) X(clear) X(realloc) X(sizeinbase)   \
  X(neg) X(abs) X(add) X(add_ui) X(sub) X(mul) X(mul_ui) X(addmul) X(mul_2exp)                               \
  X(tdiv_qr) X(tdiv_q_ui) X(fdiv_qr) X(fdiv_q_2exp) X(and) X(ior) X(xor) X(com) X(cmp)                       \
  X(pow_ui) X(ui_pow_ui) X(powm) X(invert) X(sqrtrem) X(root)                                                \
  X(gcd) X(gcdext) X(lcm) X(fac_ui) X(bin_uiui) X(jacobi)
// clang-format on

struct Operations {
#define TNK_INTEGER_MEMBER(name) decltype(&tnk_gmp___gmpz_##name) z_##name;
  TNK_INTEGER_OPERATIONS(TNK_INTEGER_MEMBER)
#undef TNK_INTEGER_MEMBER
};

inline std::int64_t limbs_of(const tnk_integer *a) {
  return a->size < 0 ? -std::int64_t{a->size} : a->size;
}
inline std::uint64_t bits_of(const tnk_integer *a) {
  const std::int64_t n = limbs_of(a);
  return n == 0 ? 0
                : static_cast<std::uint64_t>(n) * 64 - static_cast<unsigned>(__builtin_clzll(a->d[n - 1]));
}

class Call {
public:
  explicit Call(const char *routine) : routine_(routine), check_(routine) {}

  // Addresses.
  bool given(int position, const char *name, const void *address) {
    return check_.address(position, name, address) || fail(TNK_INTEGER_BAD_ARGUMENT);
  }
  template <class R, class A> bool given(R *r, A *a) { return given(1, "r", r) && given(2, "a", a); }
  template <class R, class A, class B> bool given(R *r, A *a, B *b) {
    return given(r, a) && given(3, "b", b);
  }

  bool good(bool condition, int position, const char *name, const char *value, const char *expected) {
    if (condition) return true;
    report_argument(routine_, position, name, value, expected);
    return fail(TNK_INTEGER_BAD_ARGUMENT);
  }
  bool not_zero(int position, const char *name, const tnk_integer *a) {
    return good(a->size != 0, position, name, "0", "an integer other than 0");
  }
  bool base(int position, int base) {
    return check_.range(position, "base", base, 2, 36) || fail(TNK_INTEGER_BAD_ARGUMENT);
  }
  // Outputs that would be written over one another.
  bool differ(int position, const char *name, const tnk_integer *a, const tnk_integer *b,
              const char *expected) {
    return good(a != b || !a, position, name, "the same integer", expected);
  }
  // Limbs of a result, which the argument at `position` makes so large.
  bool in_range(int position, const char *name, double limbs) {
    return good(limbs < 0x7FFFFFF0, position, name, "too large", "a result of at most 2^31 - 1 limbs");
  }

  // Whether the kernel library is there, and so many limbs besides what the operands have already.
  bool ready(double limbs);
  // The same where r takes a result of n limbs and nothing else is needed: most often it has them.
  bool ready(const tnk_integer *r, std::int64_t n) {
    return ready(n <= r->alloc ? 0.0 : 2.0 * static_cast<double>(n));
  }

  // After ready.
  const Operations *operator->() const { return operations_; }
  const char *routine() const { return routine_; }
  tnk_integer_result result() const { return result_; }
  bool fail(tnk_integer_result result) {
    result_ = result;
    return false;
  }

private:
  const char *routine_;
  Check check_;
  const Operations *operations_ = nullptr;
  tnk_integer_result result_ = TNK_INTEGER_DONE;
};

// Limbs that a product or quotient of n limbs takes at most while it is made, with its result.
double product_limbs(double n);
inline double product_limbs(const tnk_integer *a, const tnk_integer *b) {
  return product_limbs(static_cast<double>(limbs_of(a) + limbs_of(b)));
}

// An integer for the length of a call, once the kernel library is known.
class Temporary {
public:
  explicit Temporary(const Call &call) : call_(call) {}
  Temporary(const Temporary &) = delete;
  Temporary &operator=(const Temporary &) = delete;
  ~Temporary() {
    if (record_.d) call_->z_clear(&record_);
  }
  operator tnk_integer *() { return &record_; }
  tnk_integer *operator->() { return &record_; }

private:
  const Call &call_;
  tnk_integer record_ = TNK_INTEGER_ZERO;
};

} // namespace tnk::host::integer
