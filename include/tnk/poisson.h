/* Poisson's and Helmholtz' equation on a rectangle or a box, checked and spread over threads. Link with -ltnk or -ltnk_host.

     - u_xx - u_yy + q u = f          in a box - u_xx - u_yy - u_zz + q u = f

   at equidistant points, edges included, by the five-point or seven-point equations: an error of second order in the steps,
   and no iteration: a transform along each axis but the last, and tridiagonal equations along that one (R. W. Hockney,
   "A Fast Direct Solution of Poisson's Equation Using Fourier Analysis", Journal of the ACM 12 (1965), 95). The plate that
   is held at the values in `edge` at its left and lets no heat out elsewhere:

     tnk_poisson_problem problem = {.dims = 2, .cells = {200, 100}, .high = {2, 1}, .sides = "DNNN"};
     const void *boundary[] = {edge, zeros, zeros, zeros};
     if (tnk_poisson_solve(&problem, f, boundary, NULL) == TNK_POISSON_DONE) ...

   Who solves often on one grid makes a plan. C++ has tnk/poisson.hpp. */
#ifndef TNK_POISSON_H
#define TNK_POISSON_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* Bad arguments are reported through the error handler (tnk/host.h), the first of the list only, and nothing is touched;
   so is a lack of memory, after which f holds nothing of use. Nothing is printed. */
enum tnk_poisson_result {
  TNK_POISSON_DONE = 0,
  TNK_POISSON_BAD_ARGUMENT = 1,  /* reported */
  TNK_POISSON_NO_LIBRARY = 2,    /* no kernel library, or it lacks an entry; reported */
  TNK_POISSON_OUT_OF_MEMORY = 3, /* reported */
  TNK_POISSON_SINGULAR = 4, /* solved as far as it can be: slopes all around, and no q; see `off` below */
  TNK_POISSON_NEGATIVE_Q =
      5 /* solved, but q below 0 may meet an eigenvalue, and nothing tells when it does */
};

enum tnk_poisson_numbers { TNK_POISSON_DOUBLE = 0, TNK_POISSON_FLOAT = 1 };

/* A side's letter, in either case: what is given there. */
enum tnk_poisson_side {
  TNK_POISSON_VALUES = 'D', /* u (Dirichlet) */
  TNK_POISSON_SLOPES = 'N'  /* the derivative of u along the OUTWARD normal (Neumann) */
};

/* Of arrays of three the third one counts in a box only. */
typedef struct tnk_poisson_problem {
  int32_t dims;    /* 2 or 3 */
  int32_t numbers; /* one of tnk_poisson_numbers: f and boundaries; a plan of floats computes in floats */
  tnk_int cells
      [3]; /* along x, y, z: 2 or more, along the last axis 1 or more. Products of small primes are fastest */
  /* Ends of each axis: finite, in ascending order in the numbers' precision. The square of the last axis' step is a number
     there, and that of its ratio to every other step. With slopes at both ends of the last axis, the other axes' ratios
     also count beside 2: else there is nothing to divide by. */
  double low[3], high[3];
  char sides[7]; /* below x, above x, below y ...: 4 letters, in a box 6; more are not read */
  double q;      /* finite, also times the square of the last axis' step */
} tnk_poisson_problem;

typedef struct tnk_poisson_plan tnk_poisson_plan;

/* *plan is written on success only. */
enum tnk_poisson_result tnk_poisson_plan_make(tnk_poisson_plan **plan, const tnk_poisson_problem *problem);

/* Solves: f is the right-hand side before and u after. Arrays have x fastest, then y, then z, and no gaps: f has
   cells[0] + 1 by cells[1] + 1 (by cells[2] + 1) numbers, those where u is given are not used; boundary[k], for each side
   in order, has as many as there are points on that side, corners included: of two sides with values the later one has the
   edge between them, of values and slopes the values do. Null boundary: zeros everywhere.

   A singular problem has solutions only if f and slopes are in balance. A constant that makes them so is taken off f, and u
   is the solution without a mean, edges counted half. `off` gets that constant, otherwise 0; it may be null. A constant
   beyond rounding means that the problem as given has no solution.

   One call at a time for each plan. Threads, as many as tnk/host.h says where the problem is worth it, up to the number when
   the plan was made: rows and columns are cut between, and have the same bits for any number of them. */
enum tnk_poisson_result tnk_poisson_plan_solve(tnk_poisson_plan *plan, void *f, const void *const *boundary,
                                               double *off);

/* Null is no plan to free. */
void tnk_poisson_plan_free(tnk_poisson_plan *plan);

/* All three. */
enum tnk_poisson_result tnk_poisson_solve(const tnk_poisson_problem *problem, void *f,
                                          const void *const *boundary, double *off);

TNK_END_DECLS

#endif
