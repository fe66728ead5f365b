/* Sine and cosine transforms of rows of real numbers, checked and spread over threads. Link with -ltnk or -ltnk_host; C++
   programs have tnk/trig.hpp as well.

     double f[3 * 1001];                              // three rows, elements 0 ... 1000 of each
     tnk_trig_dplan *plan;
     if (tnk_trig_dmake(&plan, TNK_TRIG_COSINE, 1000) == TNK_TRIG_DONE) {
       tnk_trig_dforward(plan, 3, f, 1001);
       tnk_trig_dbackward(plan, 3, f, 1001);          // as it was
       tnk_trig_dfree(plan);
     }

   What they compute, with h = pi/n. Backward undoes forward.

     kind               elements     forward, F(k) =                                              backward, f(i) =
     SINE               1 ... n-1    2/n sum f(i) sin(i k h)                                      sum F(k) sin(i k h)
     COSINE             0 ... n      1/n (f(0) + (-1)^k f(n) + 2 sum f(i) cos(i k h))             the same, 1/2 for 1/n
     STAGGERED_COSINE   0 ... n-1    1/n (f(0) + 2 sum f(i) cos((2k+1) i h/2))                    sum F(k) cos((2k+1) i h/2)
     STAGGERED_SINE     1 ... n      1/n ((-1)^(k-1) f(n) + 2 sum f(i) sin((2k-1) i h/2))         sum F(k) sin((2k-1) i h/2)
     QUARTER_COSINE     0 ... n-1    2/n sum f(i) cos((2k+1) (2i+1) h/4)                          sum without 2/n
     QUARTER_SINE       0 ... n-1    2/n sum f(i) sin((2k+1) (2i+1) h/4)                          sum without 2/n

   Elements that are not in the second column count as 0 and stay as they are.

   Errors are relative to the largest numbers of a row and grow with n: docs/numerics.md has figures. Single numbers of the
   last four kinds are transformed in double, which these need, and rounded once. */
#ifndef TNK_TRIG_H
#define TNK_TRIG_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

enum tnk_trig_kind {
  TNK_TRIG_SINE = 0,
  TNK_TRIG_COSINE = 1,
  TNK_TRIG_STAGGERED_COSINE = 2,
  TNK_TRIG_STAGGERED_SINE = 3,
  TNK_TRIG_QUARTER_COSINE = 4,
  TNK_TRIG_QUARTER_SINE = 5
};

/* Bad arguments are reported through the error handler (tnk/host.h), the first of the list only, and nothing is touched; so
   is a lack of memory, after which rows hold nothing of use. */
enum tnk_trig_result {
  TNK_TRIG_DONE = 0,
  TNK_TRIG_BAD_ARGUMENT = 1, /* reported */
  TNK_TRIG_NO_LIBRARY = 2,   /* no kernel library, or it lacks an entry; reported */
  TNK_TRIG_OUT_OF_MEMORY = 3 /* reported; also a length that no Fourier transform reaches: see tnk/dfti.h */
};

/* Numbers that a row takes. */
#define TNK_TRIG_ROW(kind, n) ((n) + ((kind) < TNK_TRIG_QUARTER_COSINE))

/* make       *plan is written on success only; n is 2 or more
   forward,   each of `rows` rows in place, `distance` numbers from the first of one to that of the next, at least
   backward   TNK_TRIG_ROW(kind, n) of them; with one row it is not looked at. f needs no alignment beyond its numbers'. Rows
              are cut over threads, as many as tnk/host.h says where the job is worth it, and have the same bits for any
              number of them and wherever they stand among others. Several threads may use one plan at once
   free       null is no plan to free */
#define TNK_TRIG_CALLS(t, T)                                                                                 \
  typedef struct tnk_trig_##t##plan tnk_trig_##t##plan;                                                      \
  enum tnk_trig_result tnk_trig_##t##make(tnk_trig_##t##plan **plan, int32_t kind, tnk_int n);               \
  enum tnk_trig_result tnk_trig_##t##forward(const tnk_trig_##t##plan *plan, tnk_int rows, T *f,             \
                                             tnk_int distance);                                              \
  enum tnk_trig_result tnk_trig_##t##backward(const tnk_trig_##t##plan *plan, tnk_int rows, T *f,            \
                                              tnk_int distance);                                             \
  void tnk_trig_##t##free(tnk_trig_##t##plan *plan);
TNK_TRIG_CALLS(s, float)
TNK_TRIG_CALLS(d, double)

TNK_END_DECLS

#endif
