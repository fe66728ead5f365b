// Sums of matrices in compressed rows: two cursors down each pair of rows.
#include "kernel/sparse/convert/room.h"
#include "kernel/sparse/convert/rows.h"
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

// take(p, q) for the union of two sorted rows, in the order of columns: where the entry stands in each, -1 where it has
// none. Ends when that says false.
template <class A, class B, class I, class Take> bool merge_row(const A &a, const B &b, I i, Take take) {
  I p = a.begin(i), q = b.begin(i);
  const I a_end = a.end(i), b_end = b.end(i);
  while (p < a_end || q < b_end) {
    const bool from_a = q >= b_end || (p < a_end && a.column(p) <= b.column(q));
    const bool from_b = p >= a_end || (q < b_end && b.column(q) <= a.column(p));
    if (!take(from_a ? p : I{-1}, from_b ? q : I{-1})) return false;
    p += from_a, q += from_b;
  }
  return true;
}

// prepare(row, from one) comes before a row is read.
template <class T, class I, class A, class B, class Prepare>
void add(I m, const A &a, T beta, const B &b, Result<T, I> c, Prepare prepare) {
  for (I i = 0; i < m; ++i) {
    prepare(static_cast<I>(i + 1));
    c.begin_row(i);
    const bool fits = merge_row(a, b, i, [&](I p, I q) {
      return c.append(i, p < 0 ? b.column(q) : a.column(p), [&] {
        return q < 0 ? a.value(p) : p < 0 ? beta * b.value(q) : beta * b.value(q) + a.value(p);
      });
    });
    if (!fits) return;
    c.end_row(i);
  }
}

template <class I> void count_rows(I m, const I *ja, const I *ia, const I *jb, const I *ib, I *counts) {
  clear(counts, m);
  const Rows<float, I> a = {nullptr, ja, ia, 1}, b = {nullptr, jb, ib, 1};
  for (I i = 0; i < m; ++i)
    merge_row(a, b, i, [&](I, I) {
      put(counts + i, static_cast<I>(get(counts + i) + 1));
      return true;
    });
}

enum { a_is_unsorted = 1, b_is_unsorted = 2 };

} // namespace
} // namespace tnk::sparse

#define SUM_ENTRIES(p, t, T, I, ...)                                                                         \
  void p##t##mcsradd_notr(const I *request, const I *sort, const I *m, const I *, T *a, I *ja, const I *ia,  \
                          const T *beta, T *b, I *jb, const I *ib, T *c, I *jc, I *ic, const I *room, I *,   \
                          I *info) {                                                                         \
    using namespace tnk::sparse;                                                                             \
    add(*m, Rows<T, I>{a, ja, ia, 1}, tnk::get(beta), Rows<T, I>{b, jb, ib, 1},                              \
        Result<T, I>(*request, c, jc, ic, *room, info), [=](I row) {                                         \
          if (*sort & a_is_unsorted) p##t##sortrow(&row, &row, ia, ja, a);                                   \
          if (*sort & b_is_unsorted) p##t##sortrow(&row, &row, ib, jb, b);                                   \
        });                                                                                                  \
  }                                                                                                          \
  void p##t##mcsradd_tr(const I *request, const I *sort, const I *m, const I *n, T *a, I *ja, const I *ia,   \
                        const T *beta, T *b, I *jb, const I *ib, T *c, I *jc, I *ic, const I *room, I *work, \
                        I *info) {                                                                           \
    using namespace tnk::sparse;                                                                             \
    add(*m, Rows<T, I>{a, ja, ia, 1}, tnk::get(beta), TransposedRows<T, I>({b, jb, ib, 1}, *n, *m, work),    \
        Result<T, I>(*request, c, jc, ic, *room, info), [=](I row) {                                         \
          if (*sort & a_is_unsorted) p##t##sortrow(&row, &row, ia, ja, a);                                   \
        });                                                                                                  \
  }                                                                                                          \
  void p##t##mcsradd_gloc(const I *m, const I *ja, const I *ia, const I *jb, const I *ib, I *counts) {       \
    tnk::sparse::count_rows(*m, ja, ia, jb, ib, counts);                                                     \
  }
TNK_SP_AUX_EACH(SUM_ENTRIES, )
