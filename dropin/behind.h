// What stands behind the faces: the host's checked routines and the kernel library's entries, as one table of addresses.
//
// The host is no library that the linker loads with this one. Programs come here through a symbolic link in a folder of the
// system, and the dynamic linker looks beside the link and not beside the file: so the first call opens the host itself, from
// where the file really is.
#pragma once

#include <atomic>
#include <cstdlib>
#include <tnk/blas.h>
#include <tnk/blas_level1.h>
#include <tnk/blas_level2.h>
#include <tnk/host.h>

// clang-format off
#define TNK_REAL(X, name) X(s##name) X(d##name)
#define TNK_COMPLEX(X, name) X(c##name) X(z##name)
#define TNK_ALL(X, name) TNK_REAL(X, name) TNK_COMPLEX(X, name)
#define TNK_KERNEL(X, name) X(xs##name) X(xd##name) X(xc##name) X(xz##name)

// X(name) for each tnk_blas_ function that the faces call, wherever it is: no name stands in both libraries.
#define TNK_BEHIND(X)                                                                                        \
  TNK_KERNEL(X, axpy) TNK_KERNEL(X, copy) TNK_KERNEL(X, swap) TNK_ALL(X, scal) X(csscal) X(zdscal)           \
  X(xsdot) X(xddot) X(dsdot) X(sdsdot) X(cdotu) X(zdotu) X(xcdotc) X(zdotc)                                  \
  TNK_REAL(X, asum) X(scasum) X(dzasum) X(isamax) X(idamax) X(icamax) X(izamax)                              \
  X(xsrot) X(xdrot) X(xcsrot) X(xzdrot) TNK_REAL(X, rotm) TNK_REAL(X, rotmg)                                 \
                                                                                                             \
  TNK_KERNEL(X, gemv) TNK_ALL(X, gemv) TNK_ALL(X, gbmv)                                                      \
  TNK_REAL(X, symv) TNK_REAL(X, sbmv) TNK_REAL(X, spmv)                                                      \
  TNK_COMPLEX(X, hemv) TNK_COMPLEX(X, hbmv) TNK_COMPLEX(X, hpmv)                                             \
  TNK_ALL(X, trmv) TNK_ALL(X, tbmv) TNK_ALL(X, tpmv) TNK_ALL(X, trsv) TNK_ALL(X, tbsv) TNK_ALL(X, tpsv)      \
  TNK_REAL(X, ger) TNK_REAL(X, syr) TNK_REAL(X, spr) TNK_REAL(X, syr2) TNK_REAL(X, spr2)                     \
  TNK_COMPLEX(X, geru) TNK_COMPLEX(X, gerc)                                                                  \
  TNK_COMPLEX(X, her) TNK_COMPLEX(X, hpr) TNK_COMPLEX(X, her2) TNK_COMPLEX(X, hpr2)                          \
                                                                                                             \
  TNK_ALL(X, gemm) TNK_ALL(X, symm) TNK_ALL(X, trmm) TNK_ALL(X, trsm) TNK_ALL(X, syrk) TNK_ALL(X, syr2k)     \
  TNK_COMPLEX(X, hemm) TNK_COMPLEX(X, herk) TNK_COMPLEX(X, her2k)
// clang-format on

namespace tnk::dropin {

struct Behind {
#define TNK_MEMBER(name) decltype(&tnk_blas_##name) name;
  TNK_BEHIND(TNK_MEMBER)
#undef TNK_MEMBER
  decltype(&tnk_report_error) report_error;
  decltype(&tnk_undone_calls) undone_calls;
};

extern std::atomic<const Behind *> found; // null before the first call

// Opens the host and has it load the kernel library; ends the program where that cannot be, since no call of a BLAS can fail.
const Behind &find();

inline const Behind &behind() {
  const Behind *const table = found.load(std::memory_order_acquire);
  return __builtin_expect(table != nullptr, 1) ? *table : find();
}

// Calls a routine behind that may need memory. Without, it has reported that and done nothing; a caller of BLAS would go on
// with numbers that are no result, so the program ends.
template <class Run, class... A> void run_or_end(Run *run, A... arguments) {
  const int64_t *const undone = behind().undone_calls(), before = *undone;
  run(arguments...);
  if (__builtin_expect(*undone != before, 0)) std::exit(EXIT_FAILURE);
}

} // namespace tnk::dropin
