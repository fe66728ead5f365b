// The product of two short numbers.
#include "kernel/gmp/products.h"

namespace tnk::gmp {
namespace {

// The limb that is being made and the two above it.
struct Column {
  limb c0 = 0, c1 = 0, c2 = 0;

  TNK_INLINE void add(limb x, const limb &y) {
    asm("mulq %[y]\n\t"
        "addq %%rax, %[c0]\n\t"
        "adcq %%rdx, %[c1]\n\t"
        "adcq $0, %[c2]"
        : [c0] "+r"(c0), [c1] "+r"(c1), [c2] "+r"(c2), "+a"(x)
        : [y] "m"(y)
        : "rdx", "cc");
  }
  TNK_INLINE void twice() {
    asm("addq %[c0], %[c0]\n\t"
        "adcq %[c1], %[c1]\n\t"
        "adcq %[c2], %[c2]"
        : [c0] "+r"(c0), [c1] "+r"(c1), [c2] "+r"(c2)
        :
        : "cc");
  }
  TNK_INLINE void add(const Column &other) {
    asm("addq %[d0], %[c0]\n\t"
        "adcq %[d1], %[c1]\n\t"
        "adcq %[d2], %[c2]"
        : [c0] "+r"(c0), [c1] "+r"(c1), [c2] "+r"(c2)
        : [d0] "r"(other.c0), [d1] "r"(other.c1), [d2] "r"(other.c2)
        : "cc");
  }
  TNK_INLINE limb next() {
    const limb done = c0;
    c0 = c1;
    c1 = c2;
    c2 = 0;
    return done;
  }
};

// Column by column, each a sum of products in registers: r is written once and never read. All written out.
template <int N> void columns(limb *r, const limb *a, const limb *b) {
  Column sum;
  unrolled<2 * N - 1>([&](auto k) TNK_INLINED {
    constexpr int from = k < N ? 0 : k - N + 1, to = k < N ? k : N - 1;
    unrolled<to - from + 1>([&](auto i) TNK_INLINED { sum.add(a[from + i], b[k - from - i]); });
    r[k] = sum.next();
  });
  r[2 * N - 1] = sum.c0;
}

// The square of a: products of different limbs count twice.
template <int N> void square(limb *r, const limb *a) {
  Column sum;
  unrolled<2 * N - 1>([&](auto k) TNK_INLINED {
    constexpr int from = k < N ? 0 : k - N + 1, pairs = ((k < N ? k : N - 1) - from + 1) / 2;
    if constexpr (pairs > 0) {
      Column mixed;
      unrolled<pairs>([&](auto i) TNK_INLINED { mixed.add(a[from + i], a[k - from - i]); });
      mixed.twice();
      sum.add(mixed);
    }
    if constexpr (k % 2 == 0) sum.add(a[k / 2], a[k / 2]);
    r[k] = sum.next();
  });
  r[2 * N - 1] = sum.c0;
}

template <int N> void equal_lengths(limb *r, const limb *a, const limb *b) {
  a == b ? square<N>(r, a) : columns<N>(r, a, b);
}

} // namespace
} // namespace tnk::gmp

void e9_cpMul_BNU_school(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t an, const tnk_gmp_limb *b,
                         int32_t bn) {
  using namespace tnk::gmp;
  if (an == bn) {
    switch (an) {
    case 1:
      return equal_lengths<1>(r, a, b);
    case 2:
      return equal_lengths<2>(r, a, b);
    case 3:
      return equal_lengths<3>(r, a, b);
    case 4:
      return equal_lengths<4>(r, a, b);
    case 5:
      return equal_lengths<5>(r, a, b);
    case 6:
      return equal_lengths<6>(r, a, b);
    case 7:
      return equal_lengths<7>(r, a, b);
    case 8:
      return equal_lengths<8>(r, a, b);
    case 9:
      return equal_lengths<9>(r, a, b);
    default:
      break;
    }
  }
  r[an] = mul_1(r, a, an, b[0]);
  for (int32_t j = 1; j < bn; ++j) r[an + j] = addmul_1(r + j, a, an, b[j]);
}
