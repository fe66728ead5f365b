// Public copies, sums and changes in place of matrices: check, cut for the threads, run the kernels.
//
// Inside, a matrix is `outer` lines of `inner` elements, whichever of them the ordering calls rows: kernels are given lines
// as rows.
#include <cstring>
#include <tnk/trans.h>
#include <utility>

#include "host/dispatch/check.h"
#include "host/dispatch/kernel_loader.h"
#include "host/routines/overlap.h"
#include "host/threading/cut.h"
#include "host/threading/team.h"

namespace tnk::host {
namespace {

// ---- Arguments ------------------------------------------------------------------------------------------------------

bool transposes(char trans) {
  return (trans | 32) == 't' || (trans | 32) == 'c';
}

struct Shape {
  tnk_int outer, inner;
  bool empty() const { return outer == 0 || inner == 0; }
};
Shape turned_if(bool turned, Shape s) {
  return turned ? Shape{s.inner, s.outer} : s;
}

template <class T> struct Matrix {
  T *data;
  tnk_int ld, stride; // from line to line, and along a line
  Shape shape;

  T *at(tnk_int line, tnk_int element) const { return data + line * ld + element * stride; }
  Matrix part(tnk_int line, tnk_int lines, tnk_int element, tnk_int elements) const {
    return {at(line, element), ld, stride, {lines, elements}};
  }
  Matrix turned_if(bool turned) const {
    return turned ? Matrix{data, stride, ld, {shape.inner, shape.outer}} : *this;
  }
  Lattice places() const { return lattice<T>(data, shape.outer, ld, shape.inner, stride); }
};

// What a position of the list is called, in messages.
struct Named {
  int position;
  const char *name;
};

class TransCheck : public Check {
public:
  using Check::Check;

  template <class T> bool shape(int position, char ordering, tnk_int rows, tnk_int cols, Shape &s) const {
    s = turned_if((ordering | 32) == 'c', {rows, cols});
    return length<T>(position, "rows", &rows) && length<T>(position + 1, "cols", &cols);
  }
  bool operation(int position, const char *name, char letter) const {
    return option(position, name, &letter, "NTRC");
  }
  bool ordering(char letter) const { return option(1, "ordering", &letter, "RC"); }

  // Of a complex factor travels the address, of a real one the value.
  template <class R> bool factor(int, const char *, R) const { return true; }
  template <class T> bool factor(int position, const char *name, const T *value) const {
    return address(position, name, value);
  }

  // A matrix at `at`, its leading dimension behind it.
  template <class T> bool dense(Named at, const char *ld_name, const Matrix<T> &m) const {
    return matrix(at.position, at.name, m.data, !m.shape.empty(), ld_name, &m.ld, m.shape.inner,
                  m.shape.outer);
  }
  // And a stride behind that. Lines may as well lie between each other's elements.
  template <class T>
  bool strided(Named at, const char *ld_name, const char *stride_name, const Matrix<T> &m) const {
    const auto [outer, inner] = m.shape;
    const bool empty = m.shape.empty();
    if ((!empty && !address(at.position, at.name, m.data)) ||
        !number(at.position + 1, ld_name, m.ld, m.ld >= 1, "1 or more") ||
        !number(at.position + 2, stride_name, m.stride, m.stride >= 1, "1 or more"))
      return false;
    if (empty) return true;
    tnk_int along = 0, across = 0, span = 0;
    const bool fits = !__builtin_mul_overflow(inner - 1, m.stride, &along) &&
                      !__builtin_mul_overflow(outer - 1, m.ld, &across) &&
                      !__builtin_add_overflow(along, across, &span) && span < elements_in_memory<T>;
    if (!number(at.position + 1, ld_name, m.ld, fits, "a matrix that fits into memory")) return false;
    const bool single = outer == 1 || inner == 1;
    return number(at.position + 1, ld_name, m.ld, single || m.ld > along || m.stride > across,
                  "a place for each element");
  }

  // `written` must lie apart from what is read, or in its very place when the operation allows that.
  template <class T>
  bool apart(Named written, const Matrix<T> &w, const Matrix<const T> &read, bool in_place, const char *found,
             const char *expected) const {
    const bool same = w.data == read.data && (w.ld == read.ld || w.shape.outer == 1) &&
                      (w.stride == read.stride || w.shape.inner == 1);
    return place(written.position, written.name, (in_place && same) || !overlap(w.places(), read.places()),
                 found, expected);
  }
};

template <class T> T value_of(T factor) {
  return factor;
}
template <class T> T value_of(const T *factor) {
  return *factor;
}
std::uint64_t unsigned_size(tnk_int n) {
  return static_cast<std::uint64_t>(n);
}

// ---- Cuts -----------------------------------------------------------------------------------------------------------

// Bytes of a matrix that make it worth while to use one more thread. Two threads against one, doubles of order 500 (2 MB),
// 1000 and 4096, on a virtual machine of two cores: moved across 1.1, 0.9 and 1.3 times as fast, scaled across 1.3, 1.4
// and 1.3, scaled along rows 1.5, 1.2 and 1.0, where one core alone fills the memory's bandwidth.
constexpr tnk_int bytes_a_thread = 1 << 19;

// Calls run(line, lines, element, elements) for parts of the matrix, cut along its longer side.
template <class T, class Run> void for_parts(Shape s, const Run &run) {
  const bool across = s.inner > s.outer;
  const double bytes = static_cast<double>(s.outer) * static_cast<double>(s.inner) * sizeof(T),
               worth_while = bytes / static_cast<double>(bytes_a_thread);
  const int threads = worth_while < 2 ? 1 : usable_threads();
  const Cut cut = cut_tiles(across, across ? s.inner : s.outer, 64, slices_a_thread * worth_while,
                            threads > 1 ? slices_a_thread * threads : 1);
  if (cut.slices <= 1) return run(0, s.outer, 0, s.inner);
  spread(cut.slices, threads, [&](int i) {
    const tnk_int first = cut.begin(i), size = cut.begin(i + 1) - first;
    across ? run(0, s.outer, first, size) : run(first, size, 0, s.inner);
  });
}

// ---- Copies ---------------------------------------------------------------------------------------------------------

template <class T, class Kernel>
void run_copy(Kernel *kernel, char trans, T alpha, const Matrix<const T> &a, const Matrix<T> &b) {
  const bool turned = transposes(trans);
  for_parts<T>(a.shape, [&](tnk_int line, tnk_int lines, tnk_int element, tnk_int elements) {
    kernel('R', trans, unsigned_size(lines), unsigned_size(elements), alpha, a.at(line, element),
           unsigned_size(a.ld), unsigned_size(a.stride), b.turned_if(turned).at(line, element),
           unsigned_size(b.ld), unsigned_size(b.stride));
  });
}

// `strided`: with strides in the list of arguments.
template <class T, class Kernel, class Factor>
void copy(const char *routine, KernelEntry<Kernel> &kernel, bool strided, char ordering, char trans,
          tnk_int rows, tnk_int cols, Factor alpha, const T *a, tnk_int lda, tnk_int stridea, T *b,
          tnk_int ldb, tnk_int strideb) {
  const TransCheck check(routine);
  Shape s;
  if (!check.ordering(ordering) || !check.operation(2, "trans", trans) ||
      !check.shape<T>(3, ordering, rows, cols, s) || !check.factor(5, "alpha", alpha))
    return;
  const Matrix<const T> from{a, lda, stridea, s};
  const Matrix<T> to{b, ldb, strideb, turned_if(transposes(trans), s)};
  const Named written{strided ? 9 : 8, "b"};
  if (strided
          ? !check.strided({6, "a"}, "lda", "stridea", from) || !check.strided(written, "ldb", "strideb", to)
          : !check.dense({6, "a"}, "lda", from) || !check.dense(written, "ldb", to))
    return;
  if (!check.apart(written, to, from, !transposes(trans), "an array that overlaps a",
                   transposes(trans) ? "one apart from it" : "one apart from it, or its very place") ||
      s.empty())
    return;
  if (Kernel *const run = kernel.get(routine)) run_copy(run, trans, value_of(alpha), from, to);
}

// ---- Sums -----------------------------------------------------------------------------------------------------------

// The part of a sum that one call computes. An operand in the place of C, the other one transposed, one line or one
// element a line: the kernel would take all arrays as lying densely. It is given single elements as lines instead.
template <class T, class Kernel>
void run_part(Kernel *kernel, char transa, char transb, T alpha, const Matrix<const T> &a, T beta,
              const Matrix<const T> &b, const Matrix<T> &c) {
  const auto [lines, elements] = c.shape;
  if ((lines == 1 || elements == 1) && (a.data == c.data || b.data == c.data)) {
    const auto as_stored = [](char trans) {
      return (trans | 32) == 't' ? 'N' : (trans | 32) == 'c' ? 'R' : trans;
    };
    const auto step = [&](const auto &m, bool turned) {
      const auto seen = m.turned_if(turned);
      return unsigned_size(lines == 1 ? seen.stride : seen.ld);
    };
    kernel('R', as_stored(transa), as_stored(transb), unsigned_size(lines * elements), 1, alpha, a.data,
           step(a, transposes(transa)), beta, b.data, step(b, transposes(transb)), c.data, step(c, false));
  } else {
    kernel('R', transa, transb, unsigned_size(lines), unsigned_size(elements), alpha, a.data,
           unsigned_size(a.ld), beta, b.data, unsigned_size(b.ld), c.data, unsigned_size(c.ld));
  }
}

template <class T, class Kernel, class Factor>
void add(const char *routine, KernelEntry<Kernel> &kernel, char ordering, char transa, char transb,
         tnk_int rows, tnk_int cols, Factor alpha, const T *a, tnk_int lda, Factor beta, const T *b,
         tnk_int ldb, T *c, tnk_int ldc) {
  const TransCheck check(routine);
  Shape s;
  if (!check.ordering(ordering) || !check.operation(2, "transa", transa) ||
      !check.operation(3, "transb", transb) || !check.shape<T>(4, ordering, rows, cols, s) ||
      !check.factor(6, "alpha", alpha))
    return;
  const bool turned_a = transposes(transa), turned_b = transposes(transb);
  const Matrix<const T> first{a, lda, 1, turned_if(turned_a, s)}, second{b, ldb, 1, turned_if(turned_b, s)};
  const Matrix<T> sum{c, ldc, 1, s};
  const auto place = [](bool turned) {
    return turned ? "one apart from it" : "one apart from it, or its very place";
  };
  if (!check.dense({7, "a"}, "lda", first) || !check.factor(9, "beta", beta) ||
      !check.dense({10, "b"}, "ldb", second) || !check.dense({12, "c"}, "ldc", sum) ||
      !check.apart({12, "c"}, sum, first, !turned_a, "an array that overlaps a", place(turned_a)) ||
      !check.apart({12, "c"}, sum, second, !turned_b, "an array that overlaps b", place(turned_b)) ||
      s.empty())
    return;
  Kernel *const run = kernel.get(routine);
  if (!run) return;
  for_parts<T>(s, [&](tnk_int line, tnk_int lines, tnk_int element, tnk_int elements) {
    const auto part = [=](const Matrix<const T> &m, bool turned) {
      return turned ? m.part(element, elements, line, lines) : m.part(line, lines, element, elements);
    };
    run_part(run, transa, transb, value_of(alpha), part(first, turned_a), value_of(beta),
             part(second, turned_b), sum.part(line, lines, element, elements));
  });
}

// ---- In place -------------------------------------------------------------------------------------------------------

// The matrix as it comes and as it goes.
template <class T> struct InPlace { Matrix<T> before, after; };

template <class T, class Factor>
bool check_in_place(const TransCheck &check, char ordering, char trans, tnk_int rows, tnk_int cols,
                    Factor alpha, T *ab, tnk_int lda, tnk_int ldb, InPlace<T> &m) {
  Shape s;
  if (!check.ordering(ordering) || !check.operation(2, "trans", trans) ||
      !check.shape<T>(3, ordering, rows, cols, s) || !check.factor(5, "alpha", alpha))
    return false;
  m = {{ab, lda, 1, s}, {ab, ldb, 1, turned_if(transposes(trans), s)}};
  std::uint64_t positions = 0;
  return check.dense({6, "ab"}, "lda", m.before) && check.dense({7, "ab"}, "ldb", m.after) &&
         check.number(8, "ldb", ldb,
                      !transposes(trans) ||
                          !__builtin_mul_overflow(unsigned_size(lda), unsigned_size(ldb), &positions),
                      "a product with lda below 2^64");
}

template <class T, class Kernel> void run_in_place(Kernel *kernel, char trans, T alpha, const InPlace<T> &m) {
  const auto run = [&](tnk_int line, tnk_int lines, tnk_int element, tnk_int elements) {
    kernel('R', trans, unsigned_size(lines), unsigned_size(elements), alpha, m.before.at(line, element),
           unsigned_size(m.before.ld), unsigned_size(m.after.ld));
  };
  // Elements that stay where they are do not wait for one another.
  if (!transposes(trans) && m.before.ld == m.after.ld)
    for_parts<T>(m.before.shape, run);
  else
    run(0, m.before.shape.outer, 0, m.before.shape.inner);
}

template <class T, class Kernel, class Factor>
void change(const char *routine, KernelEntry<Kernel> &kernel, char ordering, char trans, tnk_int rows,
            tnk_int cols, Factor alpha, T *ab, tnk_int lda, tnk_int ldb) {
  InPlace<T> m;
  if (!check_in_place(TransCheck(routine), ordering, trans, rows, cols, alpha, ab, lda, ldb, m) ||
      m.before.shape.empty())
    return;
  if (Kernel *const run = kernel.get(routine)) run_in_place(run, trans, value_of(alpha), m);
}

template <class T, class Kernel, class Copy, class Factor>
void change_through(const char *routine, KernelEntry<Kernel> &kernel, KernelEntry<Copy> &copy_kernel,
                    char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha, T *ab, tnk_int lda,
                    tnk_int ldb, T *work) {
  const TransCheck check(routine);
  InPlace<T> m;
  if (!check_in_place(check, ordering, trans, rows, cols, alpha, ab, lda, ldb, m) || m.before.shape.empty())
    return;
  const Shape s = m.before.shape;
  if (!transposes(trans)) {
    if (Kernel *const run = kernel.get(routine)) run_in_place(run, trans, value_of(alpha), m);
    return;
  }
  const Matrix<T> out{work, s.inner, 1, s};
  if (!check.address(9, "work", work) ||
      !check.place(9, "work",
                   !overlap(out.places(), m.before.places()) && !overlap(out.places(), m.after.places()),
                   "an array that overlaps ab", "one apart from it"))
    return;
  Copy *const run = copy_kernel.get(routine);
  if (!run) return;
  for_parts<T>(s, [&](tnk_int line, tnk_int lines, tnk_int element, tnk_int elements) {
    for (tnk_int i = line; i < line + lines; ++i)
      std::memcpy(out.at(i, element), m.before.at(i, element),
                  static_cast<std::size_t>(elements) * sizeof(T));
  });
  run_copy<T>(run, trans, value_of(alpha), {work, s.inner, 1, s}, m.after);
}

} // namespace
} // namespace tnk::host

#define KERNEL(variable, name)                                                                               \
  static tnk::host::KernelEntry<decltype(tnk_trans_tnk_##name)> variable("tnk_trans_tnk_" #name)
#define PUBLIC(e, T, Factor)                                                                                 \
  void tnk_trans_##e##omatcopy(char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha,          \
                               const T *a, tnk_int lda, T *b, tnk_int ldb) {                                 \
    KERNEL(kernel, e##omatcopy2);                                                                            \
    tnk::host::copy("tnk_trans_" #e "omatcopy", kernel, false, ordering, trans, rows, cols, alpha, a, lda,   \
                    1, b, ldb, 1);                                                                           \
  }                                                                                                          \
  void tnk_trans_##e##omatcopy2(char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha,         \
                                const T *a, tnk_int lda, tnk_int stridea, T *b, tnk_int ldb,                 \
                                tnk_int strideb) {                                                           \
    KERNEL(kernel, e##omatcopy2);                                                                            \
    tnk::host::copy("tnk_trans_" #e "omatcopy2", kernel, true, ordering, trans, rows, cols, alpha, a, lda,   \
                    stridea, b, ldb, strideb);                                                               \
  }                                                                                                          \
  void tnk_trans_##e##omatadd(char ordering, char transa, char transb, tnk_int rows, tnk_int cols,           \
                              Factor alpha, const T *a, tnk_int lda, Factor beta, const T *b, tnk_int ldb,   \
                              T *c, tnk_int ldc) {                                                           \
    KERNEL(kernel, e##omatadd);                                                                              \
    tnk::host::add("tnk_trans_" #e "omatadd", kernel, ordering, transa, transb, rows, cols, alpha, a, lda,   \
                   beta, b, ldb, c, ldc);                                                                    \
  }                                                                                                          \
  void tnk_trans_##e##imatcopy(char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha, T *ab,   \
                               tnk_int lda, tnk_int ldb) {                                                   \
    KERNEL(kernel, e##imatcopy);                                                                             \
    tnk::host::change("tnk_trans_" #e "imatcopy", kernel, ordering, trans, rows, cols, alpha, ab, lda, ldb); \
  }                                                                                                          \
  void tnk_trans_##e##imatcopy_work(char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha,     \
                                    T *ab, tnk_int lda, tnk_int ldb, T *work) {                              \
    KERNEL(kernel, e##imatcopy);                                                                             \
    KERNEL(copy, e##omatcopy2);                                                                              \
    tnk::host::change_through("tnk_trans_" #e "imatcopy_work", kernel, copy, ordering, trans, rows, cols,    \
                              alpha, ab, lda, ldb, work);                                                    \
  }
PUBLIC(s, float, float)
PUBLIC(d, double, double)
PUBLIC(c, tnk_complex8, const tnk_complex8 *)
PUBLIC(z, tnk_complex16, const tnk_complex16 *)
#undef PUBLIC
#undef KERNEL
