// Products of two matrices in compressed rows: into compressed rows, row by row with a mark for each column (Gustavson,
// "Two fast algorithms for sparse matrices: multiplication and permuted transposition", ACM TOMS 4, 1978), and of a
// transpose into a dense block.
#include "kernel/sparse/convert/room.h"
#include "kernel/sparse/convert/rows.h"
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

// `places`: of each column of C one more than where its entry stands, when that belongs to the row at hand.
template <class T, class I, class A>
void multiply(I m, I columns, const A &a, const Rows<T, I> &b, Result<T, I> c, I *places) {
  clear(places, columns);
  I seen = 0; // entries of all rows before, which with a pointer that is given need not be where they stand
  for (I i = 0; i < m; ++i) {
    c.begin_row(i);
    const I first = c.count(), before = seen;
    for (I p = a.begin(i); p < a.end(i); ++p) {
      const I middle = a.column(p);
      for (I q = b.begin(middle); q < b.end(middle); ++q) {
        const I j = b.column(q), mark = get(places + j);
        const T term = a.value(p) * b.value(q);
        if (mark > before) {
          c.add(first + (mark - 1 - before), term);
        } else {
          if (!c.append(i, j, [=] { return term; })) return;
          put(places + j, ++seen);
        }
      }
    }
    c.end_row(i);
  }
}

template <class T, class I>
void multiply_transposed(I request, I m, I n, I columns, const Rows<T, I> &a, const Rows<T, I> &b, T *c,
                         I *jc, I *ic, I room, I *work, I *info) {
  multiply(n, columns, TransposedRows<T, I>(a, m, n, work + columns), b,
           Result<T, I>(request, c, jc, ic, room, info), work);
}

// visit(column of A, position in B) for the terms of A^T B whose column of A is below the limit.
template <class T, class I, class Visit>
void for_each_term(I m, I limit, const Rows<T, I> &a, const Rows<T, I> &b, Visit visit) {
  for (I i = 0; i < m; ++i)
    for (I p = a.begin(i); p < a.end(i); ++p) {
      if (a.column(p) >= limit) continue;
      for (I q = b.begin(i); q < b.end(i); ++q) visit(p, q);
    }
}

template <class T, class I>
void add_to_block(I m, I limit, const Rows<T, I> &a, const Rows<T, I> &b, T *c, I ldc) {
  for_each_term(m, limit, a, b, [&](I p, I q) {
    T *const element = c + wrapped_product(b.column(q), ldc) + a.column(p);
    put(element, get(element) + a.value(p) * b.value(q));
  });
}

template <class I>
void mark_block(I m, I limit, const I *ja, const I *ia, const I *jb, const I *ib, I *marks, I ldc, I *count) {
  const Rows<float, I> a = {nullptr, ja, ia, 1}, b = {nullptr, jb, ib, 1};
  *count = 0;
  for_each_term(m, limit, a, b, [&](I p, I q) {
    I *const mark = marks + wrapped_product(b.column(q), ldc) + a.column(p);
    if (get(mark) != 0) return;
    put(mark, I{1});
    ++*count;
  });
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES(p, t, T, I, ...)                                                                             \
  void p##t##mcsr_notr(const I *request, const I *m, const I *, const I *columns, const T *a, const I *ja,   \
                       const I *ia, const T *b, const I *jb, const I *ib, T *c, I *jc, I *ic, const I *room, \
                       I *work, I *info) {                                                                   \
    using namespace tnk::sparse;                                                                             \
    multiply(*m, *columns, Rows<T, I>{a, ja, ia, 1}, Rows<T, I>{b, jb, ib, 1},                               \
             Result<T, I>(*request, c, jc, ic, *room, info), work);                                          \
  }                                                                                                          \
  void p##t##multcsr_tr(const I *m, const I *n, const I *columns, const T *a, const I *ja, const I *ia,      \
                        const T *b, const I *jb, const I *ib, T *c, I *jc, I *ic, I *work) {                 \
    I info;                                                                                                  \
    tnk::sparse::multiply_transposed<T, I>(tnk::sparse::all_of_it, *m, *n, *columns, {a, ja, ia, 1},         \
                                           {b, jb, ib, 1}, c, jc, ic, std::numeric_limits<I>::max(), work,   \
                                           &info);                                                           \
  }                                                                                                          \
  void p##t##multcsr_trom(const I *request, const I *m, const I *n, const I *columns, const T *a,            \
                          const I *ja, const I *ia, const T *b, const I *jb, const I *ib, T *c, I *jc,       \
                          I *ic, const I *room, I *work, I *info) {                                          \
    tnk::sparse::multiply_transposed<T, I>(*request, *m, *n, *columns, {a, ja, ia, 1}, {b, jb, ib, 1}, c,    \
                                           jc, ic, *room, work, info);                                       \
  }                                                                                                          \
  void p##t##mcsr_trans(const I *m, const I *limit, const T *a, const I *ja, const I *ia, const T *b,        \
                        const I *jb, const I *ib, T *c, const I *ldc) {                                      \
    tnk::sparse::add_to_block<T, I>(*m, *limit, {a, ja, ia, 1}, {b, jb, ib, 1}, c, *ldc);                    \
  }                                                                                                          \
  void p##t##mcsr_trnnz(const I *m, const I *limit, const I *ja, const I *ia, const I *jb, const I *ib,      \
                        I *marks, const I *ldc, I *count) {                                                  \
    tnk::sparse::mark_block(*m, *limit, ja, ia, jb, ib, marks, *ldc, count);                                 \
  }
TNK_SP_AUX_EACH(ENTRIES, )
