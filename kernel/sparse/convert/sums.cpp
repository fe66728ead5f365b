// Sums of matrices in compressed rows: two cursors down each pair of rows.
#include "kernel/sparse/convert/room.h"
#include "kernel/sparse/convert/rows.h"
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

// The union of two sorted rows in the order of columns: from_a(p), from_b(q) or from_both(p, q), with the places in the
// matrices. Ends when one of them says false.
template <class A, class B, class I, class FromA, class FromB, class FromBoth>
inline bool merge_row(const A &a, const B &b, I i, FromA from_a, FromB from_b, FromBoth from_both) {
  I p = a.begin(i), q = b.begin(i);
  const I a_end = a.end(i), b_end = b.end(i);
  while (p < a_end && q < b_end) {
    const I in_a = a.column(p), in_b = b.column(q);
    if (in_a < in_b) {
      if (!from_a(p++)) return false;
    } else if (in_b < in_a) {
      if (!from_b(q++)) return false;
    } else if (!from_both(p++, q++)) {
      return false;
    }
  }
  for (; p < a_end; ++p)
    if (!from_a(p)) return false;
  for (; q < b_end; ++q)
    if (!from_b(q)) return false;
  return true;
}

// prepare(row, from one) comes before a row is read.
template <class T, class I, class A, class B, class Prepare>
void add(I m, A a, T beta, B b, Result<T, I> c, Prepare prepare) {
  for (I i = 0; i < m; ++i) {
    prepare(static_cast<I>(i + 1));
    c.begin_row(i);
    const bool fits = merge_row(
        a, b, i, [&](I p) { return c.append(i, a.column(p), [&] { return a.value(p); }); },
        [&](I q) { return c.append(i, b.column(q), [&] { return beta * b.value(q); }); },
        [&](I p, I q) { return c.append(i, a.column(p), [&] { return beta * b.value(q) + a.value(p); }); });
    if (!fits) return;
    c.end_row(i);
  }
}

template <class I> void count_rows(I m, const I *ja, const I *ia, const I *jb, const I *ib, I *counts) {
  clear(counts, m);
  const Rows<float, I> a = {nullptr, ja, ia, 1}, b = {nullptr, jb, ib, 1};
  for (I i = 0; i < m; ++i) {
    const auto one_more = [&](auto...) {
      put(counts + i, static_cast<I>(get(counts + i) + 1));
      return true;
    };
    merge_row(a, b, i, one_more, one_more, one_more);
  }
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
