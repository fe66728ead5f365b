// Sums and differences of arrays, and what a product or a division adds and takes off.
//
// Carries stay in the processor's flag from limb to limb, which no expression of the language says; so the loops are
// written in its instructions. Four limbs a round, odd ones first; what counts rounds leaves the flag alone.
#include "kernel/gmp/limbs.h"

namespace tnk::gmp {
namespace {

// r := a + b or a - b.
template <bool Subtract> limb chain(limb *r, const limb *a, const limb *b, int32_t n) {
  if (n <= 0) return 0;
  int64_t rounds = n >> 2, odd = n & 3;
  limb x0, x1, x2, x3;
  asm volatile(R"(
    .macro with_carry operands:vararg
    .if %c[subtract]
    sbbq \operands
    .else
    adcq \operands
    .endif
    .endm

    testq %[odd], %[odd]
    jz 2f
  1:
    movq (%[a]), %[x0]
    with_carry (%[b]), %[x0]
    movq %[x0], (%[r])
    leaq 8(%[a]), %[a]
    leaq 8(%[b]), %[b]
    leaq 8(%[r]), %[r]
    decq %[odd]
    jnz 1b
  2:
    incq %[rounds]
    decq %[rounds]
    jz 4f
  3:
    movq (%[a]), %[x0]
    movq 8(%[a]), %[x1]
    movq 16(%[a]), %[x2]
    movq 24(%[a]), %[x3]
    with_carry (%[b]), %[x0]
    with_carry 8(%[b]), %[x1]
    with_carry 16(%[b]), %[x2]
    with_carry 24(%[b]), %[x3]
    movq %[x0], (%[r])
    movq %[x1], 8(%[r])
    movq %[x2], 16(%[r])
    movq %[x3], 24(%[r])
    leaq 32(%[a]), %[a]
    leaq 32(%[b]), %[b]
    leaq 32(%[r]), %[r]
    decq %[rounds]
    jnz 3b
  4:
    sbbq %[x0], %[x0]
    negq %[x0]
    .purgem with_carry
)"
               : [r] "+r"(r), [a] "+r"(a), [b] "+r"(b), [rounds] "+r"(rounds), [odd] "+r"(odd),
                 [x0] "=&r"(x0), [x1] "=&r"(x1), [x2] "=&r"(x2), [x3] "=&r"(x3)
               : [subtract] "i"(Subtract)
               : "cc", "memory");
  return x0;
}

// r := a f, r + a f or r - a f. A round makes four products, joined with the carry to x0 x1 x2 rax and rdx above, since
// the multiplication itself writes the flag; these go into r by a chain of their own.
enum class Row { store, add, subtract };

template <Row What> limb row(limb *r, const limb *a, int32_t n, limb f) {
  if (n <= 0) return 0;
  int64_t rounds = n >> 2, odd = n & 3;
  limb carry = 0, x0, x1, x2;
  asm volatile(R"(
    .macro first operands:vararg
    .if %c[what] == 0
    movq \operands
    .elseif %c[what] == 1
    addq \operands
    .else
    subq \operands
    .endif
    .endm
    .macro next operands:vararg
    .if %c[what] == 0
    movq \operands
    .elseif %c[what] == 1
    adcq \operands
    .else
    sbbq \operands
    .endif
    .endm
    .macro last operands:vararg
    .if %c[what]
    adcq \operands
    .endif
    .endm

    testq %[odd], %[odd]
    jz 2f
  1:
    movq (%[a]), %%rax
    mulq %[f]
    addq %[carry], %%rax
    adcq $0, %%rdx
    first %%rax, (%[r])
    last $0, %%rdx
    movq %%rdx, %[carry]
    leaq 8(%[a]), %[a]
    leaq 8(%[r]), %[r]
    decq %[odd]
    jnz 1b
  2:
    testq %[rounds], %[rounds]
    jz 4f
  3:
    movq (%[a]), %%rax
    mulq %[f]
    movq %%rax, %[x0]
    movq %%rdx, %[x1]
    movq 8(%[a]), %%rax
    mulq %[f]
    addq %%rax, %[x1]
    movq %%rdx, %[x2]
    adcq $0, %[x2]
    movq 16(%[a]), %%rax
    mulq %[f]
    addq %[carry], %[x0]
    movq %%rdx, %[carry]
    adcq $0, %[x1]
    adcq %%rax, %[x2]
    adcq $0, %[carry]
    movq 24(%[a]), %%rax
    mulq %[f]
    addq %[carry], %%rax
    adcq $0, %%rdx
    first %[x0], (%[r])
    next %[x1], 8(%[r])
    next %[x2], 16(%[r])
    next %%rax, 24(%[r])
    last $0, %%rdx
    movq %%rdx, %[carry]
    leaq 32(%[a]), %[a]
    leaq 32(%[r]), %[r]
    decq %[rounds]
    jnz 3b
  4:
    .purgem first
    .purgem next
    .purgem last
)"
               : [r] "+r"(r), [a] "+r"(a), [rounds] "+r"(rounds), [odd] "+r"(odd), [carry] "+r"(carry),
                 [x0] "=&r"(x0), [x1] "=&r"(x1), [x2] "=&r"(x2)
               : [f] "r"(f), [what] "i"(What)
               : "rax", "rdx", "cc", "memory");
  return carry;
}

} // namespace

limb mul_1(limb *r, const limb *a, int32_t n, limb b) {
  return row<Row::store>(r, a, n, b);
}

} // namespace tnk::gmp

using namespace tnk::gmp;

limb tnk_gmp___gmpn_add_n(limb *r, const limb *a, const limb *b, int32_t n) {
  return chain<false>(r, a, b, n);
}
limb tnk_gmp___gmpn_sub_n(limb *r, const limb *a, const limb *b, int32_t n) {
  return chain<true>(r, a, b, n);
}
limb tnk_gmp___gmpn_addmul_1(limb *r, const limb *a, int32_t n, limb b) {
  return row<Row::add>(r, a, n, b);
}
limb tnk_gmp___gmpn_submul_1(limb *r, const limb *a, int32_t n, limb b) {
  return row<Row::subtract>(r, a, n, b);
}
limb tnk_gmp___gmpn_add_1(limb *r, const limb *a, int32_t n, limb b) {
  int32_t i = 0;
  for (; b && i < n; ++i) {
    const limb sum = a[i] + b;
    b = sum < b;
    r[i] = sum;
  }
  if (r != a && i < n) copy(r + i, a + i, n - i);
  return b;
}
limb tnk_gmp___gmpn_sub_1(limb *r, const limb *a, int32_t n, limb b) {
  int32_t i = 0;
  for (; b && i < n; ++i) {
    const limb x = a[i];
    r[i] = x - b;
    b = x < b;
  }
  if (r != a && i < n) copy(r + i, a + i, n - i);
  return b;
}
int32_t tnk_gmp___gmpn_cmp(const limb *a, const limb *b, int32_t n) {
  while (n-- > 0)
    if (a[n] != b[n]) return a[n] > b[n] ? 1 : -1;
  return 0;
}
