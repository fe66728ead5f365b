// The stored diagonals of a triangle.
#include "kernel/frame/element.h"
#include <algorithm>
#include <tnk/spblas_aux.h>

namespace tnk::sparse {
namespace {

template <class I> struct Main {
  I position; // of the first distance that is not negative, from one
  bool stored;
};

// Where all distances are negative the element behind them is read: status and bands are settled by it.
template <class I> Main<I> find_main(const I *distance, I count) {
  I p = 1;
  while (p <= count && get(distance + p - 1) < 0) ++p;
  return {p, get(distance + p - 1) == 0};
}

template <class I, bool Unit> struct Lower {
  static void find(const I *distance, I count, I *band_first, I *band_last, I *span_first, I *span_last,
                   I *status) {
    const auto [p, stored] = find_main(distance, count);
    *band_first = *span_first = 1;
    *band_last = Unit && !stored ? p : p - 1; // not the same without a main diagonal: callers count on it
    *span_last = p;
    *status = Unit || stored ? 0 : -1;
  }
};
template <class I, bool Unit> struct Upper {
  static void find(const I *distance, I count, I *band_first, I *band_last, I *span_first, I *span_last,
                   I *status) {
    const auto [p, stored] = find_main(distance, count);
    *band_first = Unit ? p + 1 : std::min(p + 1, count);
    *span_first = p;
    *band_last = *span_last = count;
    *status = Unit || stored ? 0 : -1;
  }
};

} // namespace
} // namespace tnk::sparse

#define ENTRY(name, Triangle, I, unit)                                                                       \
  void name(const I *diag_distance, const I *diag_count, I *band_first, I *band_last, I *span_first,         \
            I *span_last, I *status) {                                                                       \
    tnk::sparse::Triangle<I, unit>::find(diag_distance, *diag_count, band_first, band_last, span_first,      \
                                         span_last, status);                                                 \
  }
#define ENTRIES(p, I)                                                                                        \
  ENTRY(p##find_diag_par_ln, Lower, I, false)                                                                \
  ENTRY(p##find_diag_par_lu, Lower, I, true)                                                                 \
  ENTRY(p##find_diag_par_un, Upper, I, false)                                                                \
  ENTRY(p##find_diag_par_uu, Upper, I, true)
ENTRIES(tnk_spblas_, tnk_int)
ENTRIES(tnk_spblas_lp64_, int32_t)
