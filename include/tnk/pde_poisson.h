/* Poisson's and Helmholtz' equation on a rectangle or a box, as the kernel library exports them. Link with -ltnk. Programs
   that want their arguments checked take the plans of tnk/poisson.h.

     - u_xx - u_yy + q u = f   on ax < x < bx, ay < y < by          in a box also - u_zz, on az < z < bz

   at (nx + 1) (ny + 1) equidistant points, edges included, by the five-point equations, in a box the seven-point ones:

     (2 u[j][i] - u[j][i-1] - u[j][i+1]) / hx^2 + (2 u[j][i] - u[j-1][i] - u[j+1][i]) / hy^2 + q u[j][i] = f[j][i]

   On each side either u is given (a letter D, Dirichlet) or g, its derivative along the OUTWARD normal (N, Neumann), where
   u beyond the edge is what makes the central difference g. A transform along x makes tridiagonal equations along y of it,
   one for each frequency; in a box transforms along x and y, and equations along z (Hockney, "A fast direct solution of
   Poisson's equation using Fourier analysis", 1965).

   A problem's life: init, changes to ipar and dpar, commit, solve, free. Boundaries in both calls are those of the sides in
   the order of their names; of a D side the values of u, of an N side those of g.

     tnk_int nx = 100, ny = 80, stat, ipar[TNK_PDEPL_IPAR];
     double ax = 0, bx = 1, ay = 0, by = 0.8, q = 0, *dpar = malloc(TNK_PDEPL_DPAR_2D(nx) * sizeof *dpar);
     double f[81][101], low_x[81], high_x[81], low_y[101], high_y[101];
     DftiHandle xhandle = 0;
     tnk_pdepl_d_init_helmholtz_2d(&ax, &bx, &ay, &by, &nx, &ny, "DDNN", &q, ipar, dpar, &stat);
     tnk_pdepl_d_commit_helmholtz_2d(f[0], low_x, high_x, low_y, high_y, &xhandle, ipar, dpar, &stat);
     if (stat >= 0) tnk_pdepl_d_helmholtz_2d(f[0], low_x, high_x, low_y, high_y, &xhandle, ipar, dpar, &stat);
     tnk_pdepl_free_helmholtz_2d(&xhandle, ipar, &stat);

   ALL ARGUMENTS ARE BY ADDRESS, and no address is checked. Arrays have x fastest, then y, then z, and no gaps:

     f                       (nx + 1) (ny + 1), in a box times (nz + 1): the right-hand side, after commit the solver's own,
                             after solve the solution. Points of a D side are not read
     bd_ax, bd_bx            ny + 1; in a box (ny + 1) (nz + 1), y fastest
     bd_ay, bd_by            nx + 1; in a box (nx + 1) (nz + 1)
     bd_az, bd_bz            (nx + 1) (ny + 1)

   Where two D sides meet, the later one of ax, bx, ay, by, az, bz has the edge; where a D side and an N side do, the D side.

   A singular problem, N all around and q = 0, has solutions only if f and g are in balance, and then any constant may be
   added. Solve takes a constant off f that puts it into balance, and returns the solution whose mean is 0, edges counted
   half, corners a quarter (and so on in a box); the constant is left in dpar[ipar[17]], the status is 1. */
#ifndef TNK_PDE_POISSON_H
#define TNK_PDE_POISSON_H

#include <tnk/dfti.h>
#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- ipar: TNK_PDEPL_IPAR integers -------------------------------------------------------------------------------------
   Of the pairs below the second entry is meant in a box only. In a rectangle entries 8, 9, 12, 15, 16, 19, 20 and 60 to 79
   are neither read nor written. */
enum {
  TNK_PDEPL_STATUS = 0, /* as the last call left it; says to commit what it may keep, see there */
  TNK_PDEPL_ERRORS = 1, /* where errors go: 0 nowhere, above 0 standard output, below the log file; init: 1 */
  TNK_PDEPL_WARNINGS = 2, /* the same for warnings; init: 1 */
  TNK_PDEPL_CODE = 3,     /* the sides as one number: ax is the highest bit, D 0 and N 1: DDNN is 3 */
  TNK_PDEPL_SIDES = 4,    /* 4 to 9: ax, bx, ay, by, az, bz: 0 D, 1 N, -1 neither */
  TNK_PDEPL_CELLS = 10,   /* 10 to 12: nx, ny, nz */
  TNK_PDEPL_SPECTRA =
      13, /* 13, 14: first and last entry of dpar with the spectrum of x, COUNTED FROM 1; 15, 16: of y */
  TNK_PDEPL_TABLES =
      17, /* 17: first entry of dpar for the transform along x, COUNTED FROM 1, 18: its last, from 0; 19,
                              20: the same for y */
  TNK_PDEPL_C_TEXTS =
      21, /* not 0: messages count entries from 0, as C does; 0: from 1, as Fortran; init: 1 */
  TNK_PDEPL_THREADS =
      22, /* the most threads to use, and from commit on not to be raised; init: all there are */
  TNK_PDEPL_STEPS = 23, /* 0: dpar[0 ... 2] are lengths, as init leaves them; 1: steps, as commit does */
  TNK_PDEPL_TRANSFORMS =
      40, /* 40 to 59: ipar of the transform along x, as tnk/pde_trig.h has it; 60 to 79: along y */
  TNK_PDEPL_IPAR = 128
};

/* ---- dpar: numbers of the data's type -----------------------------------------------------------------------------------
   [0, 1, 2]                    lengths bx - ax, by - ay, bz - az after init; steps hx, hy, hz after commit
   [3]                          q
   [4]                          1e-10: what lies nearer to singular counts as singular, that is q hy^2, in a box q hz^2
   [ipar[13] - 1 ...]           nx + 1 numbers: with c = 2 hy/hx, (c sin(i pi/(2 nx)))^2 + q hy^2 + 2, in a mixed spectrum
                                (c sin((2i+1) pi/(4 nx)))^2 + q hy^2 + 2; in a box hz in place of hy
   [ipar[15] - 1 ...]           in a box, ny + 1 numbers: the same squares with hz/hy
   [ipar[17] - 1 ...]           dpar of the transform along x; its second entry has the constant told above
   [ipar[19] - 1 ...]           dpar of the transform along y */
#define TNK_PDEPL_DPAR_2D(nx) (2 * (nx) + (nx) / 2 + 8)
#define TNK_PDEPL_DPAR_3D(nx, ny) (2 * (nx) + (nx) / 2 + 2 * (ny) + (ny) / 2 + 11)

/* ---- Statuses, in *stat and ipar[0] -------------------------------------------------------------------------------------- */
enum {
  TNK_PDEPL_DONE = 0,
  TNK_PDEPL_WARNED = 1,       /* q below 0, a changed layout, or a singular problem that was solved */
  TNK_PDEPL_NO_SPECTRUM = -2, /* from the spectra: a number of cells or a step is 0 */
  TNK_PDEPL_BAD = -100,       /* a number of cells, a side, a length, a code */
  TNK_PDEPL_FAILED = -1000,   /* the Fourier transform or its memory, or a work array */
  TNK_PDEPL_STOPPED = -10000, /* called with a status that is none to start from */
  TNK_PDEPL_BEGUN = -99999    /* begun and not ended */
};
/* Commit passes on the statuses of the transform's commit, other than 0 each of them (tnk/pde_trig.h). */

/* ---- Calls -------------------------------------------------------------------------------------------------------------
   init     fills ipar up to 12, 21 to 23, and dpar[0 ... 4]; tests letters only. BCtype: four letters, of a box six, in
            either case. A bad last one returns at once with *stat the negative code and ipar[0] -99999; others leave the code
            negative, for commit to refuse.
   commit   prepares what ipar[0] does not say is there, of digits 0 and 9:
              hundreds 9  the spectra are kept
              tens 9      the transforms are kept, *xhandle and *yhandle with them
              units 9     no checks: layout and steps are kept
            999 does nothing at all. All others multiply f by the square of the last step and bring the boundaries in. So 0
            begins, 990 takes another f or other boundaries on the same grid, 90 another q. Where something is kept, an earlier
            commit has made steps of the lengths, and unless init was called since, they are taken as steps.
            A status other than 0, or 1 for q below 0, is a refusal and leaves no handle. A commit that makes transforms does
            not free earlier ones. q below 0 may meet an eigenvalue: then nothing tells bad solutions from good ones.
   solve    from status 0 or 1; f and boundaries as commit had them. One call at a time for each ipar.
   free     releases the handles; a free that fails leaves -1000. One call serves both precisions. */
#define TNK_PDEPL_CALLS(p, T)                                                                                \
  void tnk_pdepl_##p##_init_helmholtz_2d(const T *ax, const T *bx, const T *ay, const T *by,                 \
                                         const tnk_int *nx, const tnk_int *ny, const char *BCtype,           \
                                         const T *q, tnk_int *ipar, T *dpar, tnk_int *stat);                 \
  void tnk_pdepl_##p##_commit_helmholtz_2d(T *f, const T *bd_ax, const T *bd_bx, const T *bd_ay,             \
                                           const T *bd_by, DftiHandle *xhandle, tnk_int *ipar, T *dpar,      \
                                           tnk_int *stat);                                                   \
  void tnk_pdepl_##p##_helmholtz_2d(T *f, const T *bd_ax, const T *bd_bx, const T *bd_ay, const T *bd_by,    \
                                    DftiHandle *xhandle, tnk_int *ipar, T *dpar, tnk_int *stat);             \
  void tnk_pdepl_##p##_init_helmholtz_3d(const T *ax, const T *bx, const T *ay, const T *by, const T *az,    \
                                         const T *bz, const tnk_int *nx, const tnk_int *ny,                  \
                                         const tnk_int *nz, const char *BCtype, const T *q, tnk_int *ipar,   \
                                         T *dpar, tnk_int *stat);                                            \
  void tnk_pdepl_##p##_commit_helmholtz_3d(                                                                  \
      T *f, const T *bd_ax, const T *bd_bx, const T *bd_ay, const T *bd_by, const T *bd_az, const T *bd_bz,  \
      DftiHandle *xhandle, DftiHandle *yhandle, tnk_int *ipar, T *dpar, tnk_int *stat);                      \
  void tnk_pdepl_##p##_helmholtz_3d(T *f, const T *bd_ax, const T *bd_bx, const T *bd_ay, const T *bd_by,    \
                                    const T *bd_az, const T *bd_bz, DftiHandle *xhandle,                     \
                                    DftiHandle *yhandle, tnk_int *ipar, T *dpar, tnk_int *stat);
TNK_PDEPL_CALLS(d, double)
TNK_PDEPL_CALLS(s, float)
void tnk_pdepl_free_helmholtz_2d(DftiHandle *xhandle, tnk_int *ipar, tnk_int *stat);
void tnk_pdepl_free_helmholtz_3d(DftiHandle *xhandle, DftiHandle *yhandle, tnk_int *ipar, tnk_int *stat);

/* ---- Stages --------------------------------------------------------------------------------------------------------------
   basic            transform, equations, inverse transform for the sides of `code`, which is that of ipar; writes no D side.
                    Refuses other codes with -100. basic_2d_poisson_c is what solve calls and basic_2d_poisson the same
   right_hand_side  multiplies all of f by the square of the last step
   spectr           fills the spectra; in a box mixed_1 has x mixed, mixed_2 y, mixed_3 both */
#define TNK_PDEPL_STAGES(p, T)                                                                               \
  void tnk_pdepl_##p##_basic_2d_poisson(const tnk_int *code, const tnk_int *nx, const tnk_int *ny, T *f,     \
                                        DftiHandle *xhandle, tnk_int *ipar, T *dpar, tnk_int *stat);         \
  void tnk_pdepl_##p##_basic_2d_poisson_c(const tnk_int *code, const tnk_int *nx, const tnk_int *ny, T *f,   \
                                          DftiHandle *xhandle, tnk_int *ipar, T *dpar, tnk_int *stat);       \
  void tnk_pdepl_##p##_basic_3d_poisson(const tnk_int *code, const tnk_int *nx, const tnk_int *ny,           \
                                        const tnk_int *nz, T *f, DftiHandle *xhandle, DftiHandle *yhandle,   \
                                        tnk_int *ipar, T *dpar, tnk_int *stat);                              \
  void tnk_pdepl_##p##_right_hand_side_2d(const tnk_int *nx, const tnk_int *ny, const T *hy, T *f,           \
                                          tnk_int *stat);                                                    \
  void tnk_pdepl_##p##_right_hand_side_3d(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz,           \
                                          const T *hz, T *f, tnk_int *stat);                                 \
  TNK_PDEPL_SPECTRUM(tnk_pdepl_##p##_spectr_2d, T)                                                           \
  TNK_PDEPL_SPECTRUM(tnk_pdepl_##p##_spectr_2d_mixed, T)                                                     \
  TNK_PDEPL_SPECTRA(tnk_pdepl_##p##_spectr_3d, T)                                                            \
  TNK_PDEPL_SPECTRA(tnk_pdepl_##p##_spectr_3d_mixed_1, T)                                                    \
  TNK_PDEPL_SPECTRA(tnk_pdepl_##p##_spectr_3d_mixed_2, T)                                                    \
  TNK_PDEPL_SPECTRA(tnk_pdepl_##p##_spectr_3d_mixed_3, T)
#define TNK_PDEPL_SPECTRUM(name, T)                                                                          \
  void name(const tnk_int *nx, const T *hx, const T *hy, const T *q, T *spectrum, tnk_int *stat);
#define TNK_PDEPL_SPECTRA(name, T)                                                                           \
  void name(const tnk_int *nx, const tnk_int *ny, const T *hx, const T *hy, const T *hz, const T *q,         \
            T *xspectrum, T *yspectrum, tnk_int *stat);
TNK_PDEPL_STAGES(d, double)
TNK_PDEPL_STAGES(s, float)

/* 1 when the character of `text` at `position`, from 1, is `letter` in this very case, else 0. What may follow in a call is
   not read. */
tnk_int tnk_pdepl_chr_cpm(const char *text, const char *letter, const tnk_int *position, ...);

/* Sines; that of a float is rounded from double. */
double tnk_pdepl_pl_dsin(const double *x);
float tnk_pdepl_pl_ssin(const float *x);

/* ---- Messages -----------------------------------------------------------------------------------------------------------
   Shows message `id` where ipar says: entry 2 for 900 to 904, entry 1 for the others, which the callers have found to be
   other than 0. `text` says more, without a percent sign, since the log file takes the message as its format; null where
   there is no more. Numbers that are not listed show nothing.

     0   nx below 1                             10   no spectrum: 0 cells or a step of 0
     1   ny below 1                             12   a status that is none to start from
     23  nz below 1                             15   a handle that could not be freed
     3   the sides, or a code that is not theirs
     4   bx - ax not above 0                    900  a singular problem, and the constant that was taken off f
     5   by - ay not above 0                    903  a layout that is not commit's
     24  bz - az not above 0                    904  q below 0

   The log file is TNK_Poisson_Library_Log.txt in the current folder, appended to. */
#define TNK_PDEPL_MESSAGES(p, T)                                                                             \
  void tnk_pdepl_##p##_pl_print_diagnostics_c(const tnk_int *id, const tnk_int *ipar, const T *dpar,         \
                                              const char *text);                                             \
  void tnk_pdepl_##p##_pl_print_diagnostics_f(const tnk_int *id, const tnk_int *ipar, const T *dpar,         \
                                              const char *text);
TNK_PDEPL_MESSAGES(d, double)
TNK_PDEPL_MESSAGES(s, float)

/* ---- What the kernel library imports: loops over rows and columns, on the host's threads --------------------------------
   Names have the sides of an axis in their order: nd is N below and D above. All write *stat last, and touch only points
   that are unknown; so they read ipar 4 to 9 as well. At most *threads threads.

     ft, inv_ft   rows, in a box lines along x and then along y, transformed forward and backward: kind 0 of tnk/pde_trig.h
                  for dd, 1 for nn, 2 for nd, and for dn 2 of the row read from its end. Coefficient k stands at point k
     lu           a tridiagonal system along the last axis for each coefficient. With nn, `singular` is 15, in a box 63, where
                  the first of these has no constant of its own, and 14 or 62 otherwise
     max_thread   the most threads that a call from here may use */
#define TNK_PDEPL_ROWS_2D(name, T)                                                                           \
  void name(const tnk_int *nx, const tnk_int *ny, T *f, DftiHandle *handle, T *dpar, tnk_int *ipar,          \
            const tnk_int *threads, tnk_int *stat);
#define TNK_PDEPL_ROWS_3D(name, T)                                                                           \
  void name(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, T *f, DftiHandle *xhandle,              \
            DftiHandle *yhandle, T *dpar, tnk_int *ipar, const tnk_int *threads, tnk_int *stat);
#define TNK_PDEPL_FOR_PAIRS(each, ...)                                                                       \
  each(dd, __VA_ARGS__) each(dn, __VA_ARGS__) each(nd, __VA_ARGS__) each(nn, __VA_ARGS__)
#define TNK_PDEPL_ROWS_OF(xx, p, T)                                                                          \
  TNK_PDEPL_ROWS_2D(tnk_pdepl_##p##_ft_##xx, T)                                                              \
  TNK_PDEPL_ROWS_2D(tnk_pdepl_##p##_inv_ft_##xx, T)                                                          \
  TNK_PDEPL_ROWS_3D(tnk_pdepl_##p##_ft_##xx##_dd, T)                                                         \
  TNK_PDEPL_ROWS_3D(tnk_pdepl_##p##_ft_##xx##_dn, T)                                                         \
  TNK_PDEPL_ROWS_3D(tnk_pdepl_##p##_ft_##xx##_nd, T)                                                         \
  TNK_PDEPL_ROWS_3D(tnk_pdepl_##p##_ft_##xx##_nn, T)                                                         \
  TNK_PDEPL_ROWS_3D(tnk_pdepl_##p##_inv_ft_##xx##_dd, T)                                                     \
  TNK_PDEPL_ROWS_3D(tnk_pdepl_##p##_inv_ft_##xx##_dn, T)                                                     \
  TNK_PDEPL_ROWS_3D(tnk_pdepl_##p##_inv_ft_##xx##_nd, T)                                                     \
  TNK_PDEPL_ROWS_3D(tnk_pdepl_##p##_inv_ft_##xx##_nn, T)
TNK_PDEPL_FOR_PAIRS(TNK_PDEPL_ROWS_OF, d, double)
TNK_PDEPL_FOR_PAIRS(TNK_PDEPL_ROWS_OF, s, float)

#define TNK_PDEPL_COLUMNS_OF(yy, p, T)                                                                       \
  void tnk_pdepl_##p##_lu_2d_##yy(const tnk_int *nx, const tnk_int *ny, T *f, T *dpar, tnk_int *ipar,        \
                                  const tnk_int *threads, tnk_int *stat);                                    \
  void tnk_pdepl_##p##_lu_3d_##yy(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, T *f, T *dpar,    \
                                  tnk_int *ipar, const tnk_int *threads, tnk_int *stat);
#define TNK_PDEPL_COLUMNS(p, T)                                                                              \
  TNK_PDEPL_COLUMNS_OF(dd, p, T)                                                                             \
  TNK_PDEPL_COLUMNS_OF(dn, p, T)                                                                             \
  TNK_PDEPL_COLUMNS_OF(nd, p, T)                                                                             \
  void tnk_pdepl_##p##_lu_2d_nn(const tnk_int *nx, const tnk_int *ny, T *f, T *dpar, tnk_int *ipar,          \
                                const tnk_int *threads, const tnk_int *singular, tnk_int *stat);             \
  void tnk_pdepl_##p##_lu_3d_nn(const tnk_int *nx, const tnk_int *ny, const tnk_int *nz, T *f, T *dpar,      \
                                tnk_int *ipar, const tnk_int *threads, const tnk_int *singular,              \
                                tnk_int *stat);
TNK_PDEPL_COLUMNS(d, double)
TNK_PDEPL_COLUMNS(s, float)
void tnk_pdepl_pl_get_max_thread(tnk_int *limit);

TNK_END_DECLS

#endif
