// The steps of a whole tile of the matrix product, the same for all four types.
//
// A tile's panels of A have four 8-byte units a step: a value of double, two neighbours of float. Each is
// broadcast and multiplied by two vectors x and y of B, and the products are added to eight sums: 6 loads, 8
// products, 8 sums, 22 operations for 4 cycles of 6.
//
//   double   x and y are the two halves of a step of B.
//   float    x is a step of B, y the same with neighbours swapped, so that each of the two values of a unit meets each
//            column. y is made in the first tile on a panel of B and kept for the others.
//
// The arithmetic takes 4 cycles a step on a processor with two pipes for each operation and 8 on one with a single pipe
// for each. The operands are chosen to stay below that. Shuffles share the pipes of the arithmetic on the first kind,
// so they are what to avoid; a unit broadcast by a load costs the load only. Swapping neighbours and halves of whole
// vectors instead needs 3 or 4 loads less and as many shuffles more, and runs at about three quarters of the speed on
// the first kind.
//
// The passes are written in assembly since the compiler renames sums from step to step; the moves by which it brings
// them back take a twentieth of the time.
#pragma once

#include "kernel/blas/level3/constants.h"
#include "kernel/blas/level3/tile.h"
#include "kernel/frame/vector.h"
#include <tnk/types.h>
#include <type_traits>

namespace tnk::level3 {

// What a step does to get y: load it from second_at, or swap x, or swap x and keep the result at second_at.
enum class Second { loaded, swapped, swapped_and_kept };
template <Second how> using SecondAs = std::integral_constant<Second, how>;

constexpr int step_of_b = 8; // values of a step of a panel of B, complex ones counted by parts

// The sums of unit u times x, and times y.
template <class T> struct UnitSums { vec<T> x[4], y[4]; };

#define TNK_UNIT(type, step, u, p, q)                                                                        \
  "vbroadcastsd 32*" #step "+8*" #u "(%[a]), %[" #p "]\n\t"                                                  \
  "vmulp" type " %[x], %[" #p "], %[" #q "]\n\t"                                                             \
  "vmulp" type " %[y], %[" #p "], %[" #p "]\n\t"                                                             \
  "vaddp" type " %[" #q "], %[x" #u "], %[x" #u "]\n\t"                                                      \
  "vaddp" type " %[" #p "], %[y" #u "], %[y" #u "]\n\t"
#define TNK_UNITS(type, step)                                                                                \
  TNK_UNIT(type, step, 0, p0, q0)                                                                            \
  TNK_UNIT(type, step, 1, p1, q1) TNK_UNIT(type, step, 2, p0, q0) TNK_UNIT(type, step, 3, p1, q1)
#define TNK_DOUBLE_STEP(step)                                                                                \
  "vmovupd 64*" #step "(%[b]), %[x]\n\t"                                                                     \
  "vmovupd 64*" #step "(%[second]), %[y]\n\t" TNK_UNITS("d", step)
#define TNK_FLOAT_STEP(step)                                                                                 \
  "vmovups 32*" #step "(%[b]), %[x]\n\t"                                                                     \
  "vmovups 32*" #step "(%[second]), %[y]\n\t" TNK_UNITS("s", step)
#define TNK_FLOAT_STEP_SWAP(step)                                                                            \
  "vmovups 32*" #step "(%[b]), %[x]\n\t"                                                                     \
  "vpermilps $0xB1, %[x], %[y]\n\t" TNK_UNITS("s", step)
#define TNK_FLOAT_STEP_KEEP(step)                                                                            \
  "vmovups 32*" #step "(%[b]), %[x]\n\t"                                                                     \
  "vpermilps $0xB1, %[x], %[y]\n\t"                                                                          \
  "vmovups %[y], 32*" #step "(%[second])\n\t" TNK_UNITS("s", step)

// What two steps take, brought in ahead: a line of A, and one (float) or two (double) of B if that is wanted.
#define TNK_AHEAD(operand, offset) "prefetcht0 " #offset "+%c[" #operand "_ahead](%[" #operand "])\n\t"
#define TNK_FLOAT_AHEAD(step)                                                                                \
  TNK_AHEAD(a, 32 * step) ".if %c[b_ahead]\n\t" TNK_AHEAD(b, 32 * step) ".endif\n\t"
#define TNK_DOUBLE_AHEAD(step)                                                                               \
  TNK_AHEAD(a, 32 * step)                                                                                    \
  ".if %c[b_ahead]\n\t" TNK_AHEAD(b, 64 * step) TNK_AHEAD(b, 64 * step + 64) ".endif\n\t"

#define TNK_FOUR(STEP) STEP(0) STEP(1) STEP(2) STEP(3)
#define TNK_EIGHT(AHEAD, STEP)                                                                               \
  AHEAD(0) STEP(0) STEP(1) AHEAD(2) STEP(2) STEP(3) AHEAD(4) STEP(4) STEP(5) AHEAD(6) STEP(6) STEP(7)
#define TNK_RUN(steps)                                                                                       \
  asm volatile(                                                                                              \
      steps                                                                                                  \
      : [x0] "+x"(x0), [x1] "+x"(x1), [x2] "+x"(x2), [x3] "+x"(x3), [y0] "+x"(y0), [y1] "+x"(y1),            \
        [y2] "+x"(y2), [y3] "+x"(y3), [x] "=&x"(x), [y] "=&x"(y), [p0] "=&x"(p0), [q0] "=&x"(q0),            \
        [p1] "=&x"(p1), [q1] "=&x"(q1)                                                                       \
      : [a] "r"(a), [b] "r"(b), [second] "r"(second_at), [a_ahead] "i"(a_ahead), [b_ahead] "i"(b_ahead)      \
      : "memory")
#define TNK_PASSES(AHEAD, STEP)                                                                              \
  for (; k >= 8; k -= 8, a += 8 * a_step, b += 8 * b_step, second_at += 8 * b_step)                          \
    TNK_RUN(TNK_EIGHT(AHEAD, STEP));                                                                         \
  if (k >= 4) TNK_RUN(TNK_FOUR(STEP))

// k steps, a multiple of 4, over a panel of A and one of B. a_ahead, b_ahead: how many bytes ahead of their reading A
// and B are brought in; 0 leaves B alone. second_at is written to only where the swapped vectors are kept.
template <Second how, int a_ahead, int b_ahead, class T>
TNK_INLINE UnitSums<T> unit_passes(tnk_int k, const T *a, const T *b, const T *second_at) {
  constexpr int a_step = 32 / sizeof(T), b_step = step_of_b;
  vec<T> x0{}, x1{}, x2{}, x3{}, y0{}, y1{}, y2{}, y3{}, x, y, p0, q0, p1, q1;
  if constexpr (sizeof(T) == 8) {
    static_assert(how == Second::loaded);
    TNK_PASSES(TNK_DOUBLE_AHEAD, TNK_DOUBLE_STEP);
  } else if constexpr (how == Second::loaded) {
    TNK_PASSES(TNK_FLOAT_AHEAD, TNK_FLOAT_STEP);
  } else if constexpr (how == Second::swapped) {
    TNK_PASSES(TNK_FLOAT_AHEAD, TNK_FLOAT_STEP_SWAP);
  } else {
    TNK_PASSES(TNK_FLOAT_AHEAD, TNK_FLOAT_STEP_KEEP);
  }
  return {{x0, x1, x2, x3}, {y0, y1, y2, y3}};
}

// The whole tiles of one panel of B, `rows` of C each: tile(how, second_at, i) for the one that begins at row i, how
// and second_at as unit_passes() takes them.
template <int rows, class T, class Tile>
TNK_INLINE void tiles_of_panel(tnk_int m, tnk_int k, const T *b, Tile tile) {
  if constexpr (sizeof(T) == 8) {
    for (tnk_int i = 0; i + rows <= m; i += rows) tile(SecondAs<Second::loaded>{}, b + step_of_b / 2, i);
  } else {
    alignas(64) T kept[longest_block * step_of_b]; // a version with one block along k may have a longer one
    if (k <= longest_block && m >= 2 * rows) {
      tile(SecondAs<Second::swapped_and_kept>{}, kept, tnk_int{0});
      for (tnk_int i = rows; i + rows <= m; i += rows) tile(SecondAs<Second::loaded>{}, kept, i);
    } else {
      for (tnk_int i = 0; i + rows <= m; i += rows) tile(SecondAs<Second::swapped>{}, kept, i);
    }
  }
}

#undef TNK_PASSES
#undef TNK_RUN
#undef TNK_EIGHT
#undef TNK_FOUR
#undef TNK_DOUBLE_AHEAD
#undef TNK_FLOAT_AHEAD
#undef TNK_AHEAD
#undef TNK_FLOAT_STEP_KEEP
#undef TNK_FLOAT_STEP_SWAP
#undef TNK_FLOAT_STEP
#undef TNK_DOUBLE_STEP
#undef TNK_UNITS
#undef TNK_UNIT

} // namespace tnk::level3
