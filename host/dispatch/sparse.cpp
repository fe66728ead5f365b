// Products with sparse matrices: check, choose the kernel by the letters of its name, scale by beta, cut into pieces.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <tnk/blas_level1.h>
#include <tnk/services.h>
#include <tnk/sparse.h>
#include <tnk/spblas_aux.h>
#include <type_traits>

#include "host/dispatch/check.h"
#include "host/dispatch/kernel_loader.h"
#include "host/dispatch/sparse_plan.h"
#include "host/threading/team.h"

namespace tnk::host {
namespace {

// ---- Checks ---------------------------------------------------------------------------------------------------

constexpr int matrix_position = 3, descriptor_position = 4; // in the products

// An enumerator as a number: what a caller stored there may be none of its enumeration's.
template <class Enumeration> tnk_int number_of(const Enumeration &field) {
  std::underlying_type_t<Enumeration> number;
  std::memcpy(&number, &field, sizeof number);
  return static_cast<tnk_int>(number);
}

bool sound(const Check &check, int at, const tnk_sparse_matrix *a, int descriptor_at,
           const tnk_sparse_descriptor *d) {
  if (!check.address(at, "matrix", a) ||
      !check.range(at, "matrix->storage", number_of(a->storage), TNK_SPARSE_CSR, TNK_SPARSE_COO) ||
      !check.length<double>(at, "matrix->m", &a->m) || !check.length<double>(at, "matrix->n", &a->n) ||
      !check.length<double>(at, "matrix->nnz", &a->nnz))
    return false;
  const bool rows = a->storage == TNK_SPARSE_CSR;
  if (a->nnz > 0 && (!check.address(at, "matrix->values", a->values) ||
                     !check.address(at, "matrix->col_index", a->col_index) ||
                     (!rows && !check.address(at, "matrix->row_index", a->row_index))))
    return false;
  if (rows && a->m > 0 &&
      (!check.address(at, "matrix->row_start", a->row_start) ||
       !check.address(at, "matrix->row_end", a->row_end)))
    return false;
  const int dat = descriptor_at;
  return check.address(dat, "descriptor", d) &&
         check.range(dat, "descriptor->kind", number_of(d->kind), TNK_SPARSE_GENERAL, TNK_SPARSE_SKEW) &&
         check.range(dat, "descriptor->triangle", number_of(d->triangle), TNK_SPARSE_LOWER,
                     TNK_SPARSE_UPPER) &&
         check.range(dat, "descriptor->diagonal", number_of(d->diagonal), TNK_SPARSE_NONUNIT,
                     TNK_SPARSE_UNIT) &&
         check.range(dat, "descriptor->base", d->base, 0, 1) &&
         check.number(at, "matrix->n", a->n, d->kind == TNK_SPARSE_GENERAL || a->n == a->m,
                      "as many columns as rows in this kind of matrix");
}

bool indices_sound(const Check &check, int at, const tnk_sparse_matrix &a, tnk_int base) {
  const auto inside = [&](const char *name, const tnk_int *index, tnk_int first, tnk_int last, tnk_int size) {
    for (tnk_int p = first; p < last; ++p)
      if (!check.element(at, name, p, index[p], base, size - 1 + base)) return false;
    return true;
  };
  if (a.storage == TNK_SPARSE_COO)
    return inside("matrix->row_index", a.row_index, 0, a.nnz, a.m) &&
           inside("matrix->col_index", a.col_index, 0, a.nnz, a.n);
  if (a.m == 0) return true;
  const tnk_int origin = a.row_start[0];
  if (!check.element(at, "matrix->row_start", 0, origin, INT64_MIN, INT64_MAX - a.nnz)) return false;
  for (tnk_int i = 0; i < a.m; ++i) {
    const tnk_int start = a.row_start[i], end = a.row_end[i];
    if (!check.element(at, "matrix->row_start", i, start, origin, origin + a.nnz) ||
        !check.element(at, "matrix->row_end", i, end, start, origin + a.nnz) ||
        !inside("matrix->col_index", a.col_index, start - origin, end - origin, a.n))
      return false;
  }
  return true;
}

template <class T> constexpr bool is_complex = std::is_class_v<T>;

template <class T>
bool operands_sound(const Check &check, char op, const T *alpha, const tnk_sparse_matrix *a,
                    const tnk_sparse_descriptor *d) {
  return check.option(1, "op", &op, "NTC") && check.address(2, "alpha", alpha) &&
         sound(check, matrix_position, a, descriptor_position, d) &&
         check.number(descriptor_position, "descriptor->kind", d->kind,
                      is_complex<T> || d->kind != TNK_SPARSE_HERMITIAN, "a kind that real matrices have") &&
         check.length<T>(matrix_position, "matrix->m", &a->m) &&
         check.length<T>(matrix_position, "matrix->n", &a->n) &&
         (!d->check || indices_sound(check, matrix_position, *a, d->base));
}

// ---- Kernels --------------------------------------------------------------------------------------------------

using Int = const tnk_int *;
template <class T> struct Csr {
  using MvPar = void(Int first, Int last, Int m, const T *alpha, const T *, Int col, Int start, Int end,
                     const T *x, T *y);
  using MvSeq = void(Int m, const T *alpha, const T *, Int col, Int start, Int end, const T *x, T *y);
  using MmPar = void(Int first, Int last, Int m, Int n, const T *alpha, const T *, Int col, Int start,
                     Int end, const T *b, Int ldb, T *c, Int ldc);
  using MmSeq = void(Int m, Int nrhs, const T *alpha, const T *, Int col, Int start, Int end, const T *b,
                     Int ldb, T *c, Int ldc);
};
template <class T> struct Coo {
  using MvPar = void(Int first, Int last, Int m, Int n, const T *alpha, const T *, Int row, Int col, Int nnz,
                     const T *x, T *y);
  using MvSeq = void(Int m, Int n, const T *alpha, const T *, Int row, Int col, Int nnz, const T *x, T *y);
  using MmPar = void(Int first, Int last, Int m, Int n, const T *alpha, const T *, Int row, Int col, Int nnz,
                     const T *b, Int ldb, T *c, Int ldc);
};

// The kernels of the grid that have been used, and the small functions beside them.
constexpr unsigned grid_places = 6 * 4 * 2 * 2 * 2 * 2 * 2;
template <class T> struct Helpers;
template <class T> Helpers<T> &helpers();
template <class T> constexpr char letter_of();
#define TNK_HELPERS(t, T)                                                                                    \
  template <> constexpr char letter_of<T>() {                                                                \
    return #t[0];                                                                                            \
  }                                                                                                          \
  template <> struct Helpers<T> {                                                                            \
    KernelEntry<decltype(tnk_spblas_##t##zerocheck)> zerocheck{"tnk_spblas_" #t "zerocheck"};                \
    KernelEntry<decltype(tnk_spblas_##t##zeros)> zeros{"tnk_spblas_" #t "zeros"};                            \
    KernelEntry<decltype(tnk_spblas_##t##ones)> ones{"tnk_spblas_" #t "ones"};                               \
    KernelEntry<decltype(tnk_spblas_##t##neones)> neones{"tnk_spblas_" #t "neones"};                         \
    KernelEntry<decltype(tnk_blas_##t##scal)> scal{"tnk_blas_" #t "scal"};                                   \
    KernelEntry<decltype(tnk_spblas_##t##split_par)> split{"tnk_spblas_" #t "split_par"};                    \
    KernelEntry<decltype(tnk_spblas_##t##split_syml_par)> split_lower{"tnk_spblas_" #t "split_syml_par"};    \
    KernelEntry<decltype(tnk_spblas_##t##split_symu_par)> split_upper{"tnk_spblas_" #t "split_symu_par"};    \
    std::atomic<void *> grid[grid_places]{};                                                                 \
  };                                                                                                         \
  template <> Helpers<T> &helpers<T>() {                                                                     \
    static Helpers<T> all;                                                                                   \
    return all;                                                                                              \
  }
TNK_HELPERS(s, float)
TNK_HELPERS(d, double)
TNK_HELPERS(c, tnk_complex8)
TNK_HELPERS(z, tnk_complex16)
#undef TNK_HELPERS

// The grid's kernel of those letters: "tnk_spblas_dcsr0ntunc__mvout_par". Null after a report.
template <class T> void *grid_kernel(const char *routine, const SparsePlan &plan, bool vector) {
  const bool coordinate = plan.storage[1] == 'o';
  const auto digit = [](char letter, const char *letters) {
    const char *const found = std::strchr(letters, letter);
    return found ? static_cast<unsigned>(found - letters) : 0u;
  };
  unsigned place = digit(plan.kind, "gshtda");
  place = place * 4 + digit(plan.op, "ntcs");
  place = (place * 2 + digit(plan.triangle, "lu")) * 2 + digit(plan.diagonal, "nu");
  place = ((place * 2 + (plan.base == '1')) * 2 + coordinate) * 2 + vector;
  std::atomic<void *> &known = helpers<T>().grid[place];
  if (void *const kernel = known.load(std::memory_order_acquire)) return kernel;

  const char layout = plan.base == '1' ? 'f' : 'c';
  const char letters[] = {plan.base, plan.op, plan.kind, plan.triangle, plan.diagonal, layout, '\0'};
  const char type[] = {letter_of<T>(), '\0'};
  char name[64];
  TextWriter text(name, sizeof name);
  text.add("tnk_spblas_").add(type).add(plan.storage).add(letters).add(vector ? "__mvout_" : "__mmout_");
  text.add(is_sequential(plan, vector) ? "seq" : "par");
  void *const kernel = require_kernel_entry(routine, name);
  known.store(kernel, std::memory_order_release);
  return kernel;
}

// ---- Scalars and outputs ------------------------------------------------------------------------------------------

// Everything of the kernel library that a product needs besides its kernel, found before anything is touched.
template <class T> struct Tools {
  decltype(Helpers<T>::zerocheck.get("")) zerocheck;
  decltype(Helpers<T>::zeros.get("")) zeros;
  decltype(Helpers<T>::ones.get("")) ones;
  decltype(Helpers<T>::neones.get("")) neones;
  decltype(Helpers<T>::scal.get("")) scal;

  bool find(const char *routine) {
    Helpers<T> &all = helpers<T>();
    return (zerocheck = all.zerocheck.get(routine)) && (zeros = all.zeros.get(routine)) &&
           (ones = all.ones.get(routine)) && (neones = all.neones.get(routine)) &&
           (scal = all.scal.get(routine));
  }
  bool is_zero(const T &value) const {
    tnk_int flag = 1;
    zerocheck(&value, &flag);
    return flag == 0;
  }
  bool is_one(const T &value) const {
    T one;
    ones(&one);
    if constexpr (is_complex<T>)
      return value.re == one.re && value.im == one.im;
    else
      return value == one;
  }
};

// y := beta y, for parts of y.
template <class T> struct Scaling {
  Scaling(const Tools<T> &given, const T &factor)
      : tools(given), beta(factor), clears(given.is_zero(factor)), keeps(given.is_one(factor)) {}
  void operator()(T *y, tnk_int count) const {
    constexpr tnk_int one = 1;
    if (clears)
      tools.zeros(y, &count);
    else if (!keeps)
      tools.scal(&count, &beta, y, &one);
  }
  const Tools<T> &tools;
  const T beta;
  const bool clears, keeps;
};

// ---- Pieces -----------------------------------------------------------------------------------------------------

// Stored entries times right-hand sides that make it worth while to use one more thread: some 70 microseconds of work,
// several times what it costs to call a sleeping thread.
constexpr double least_work = 65536;
constexpr int most_pieces = 64;

int pieces_worth_while(double work) {
  const double most = std::min<double>(work / least_work, most_pieces);
  return most < 2 ? 1 : std::min(static_cast<int>(most), usable_threads());
}

struct Pieces {
  int count;
  tnk_int begin[most_pieces + 1]; // piece i: begin[i] up to begin[i + 1], from 0
};

Pieces even_pieces(int count, tnk_int size, tnk_int unit = 1) {
  Pieces p{count, {}};
  const tnk_int units = size / unit;
  for (int i = 0; i < count; ++i)
    p.begin[i] = (units / count * i + std::min<tnk_int>(i, units % count)) * unit;
  p.begin[count] = size;
  return p;
}

// Rows with about as many entries in each piece, found on the row pointers. Should these not ascend, the pieces are
// only less even.
Pieces row_pieces(int count, const tnk_sparse_matrix &a) {
  Pieces p{count, {}};
  const tnk_int *const starts = a.row_start;
  const double origin = static_cast<double>(starts[0]);
  const double share = (static_cast<double>(a.row_end[a.m - 1]) - origin) / count;
  for (int i = 1; i < count; ++i) {
    const tnk_int *const found = std::partition_point(
        starts, starts + a.m, [&](tnk_int start) { return static_cast<double>(start) < origin + share * i; });
    p.begin[i] = std::max<tnk_int>(p.begin[i - 1], found - starts);
  }
  p.begin[count] = a.m;
  return p;
}

struct Block {
  explicit Block(void *block) : address(block) {}
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;
  ~Block() {
    if (address) tnk_serv_deallocate(address);
  }
  void *const address;
};

// ---- One right-hand side ---------------------------------------------------------------------------------------

template <class T> struct MvJob {
  const char *routine;
  const SparsePlan plan;
  const tnk_sparse_matrix &a;
  const T alpha;
  const T *x;
  const Tools<T> tools;
  const Scaling<T> scale;
  T *y;
  tnk_int length; // of y
  void *kernel;
  Reach reach = reach_of(plan);

  // Rows or entries first ... last, from one, onto `out`.
  void run(tnk_int first, tnk_int last, T *out) const {
    const T *const values = static_cast<const T *>(a.values);
    if (a.storage == TNK_SPARSE_COO) {
      const tnk_int *row = a.row_index, *col = a.col_index, *m = &a.m, *n = &a.n;
      if (plan.swapped) std::swap(row, col), std::swap(m, n);
      if (is_sequential(plan, true))
        reinterpret_cast<typename Coo<T>::MvSeq *>(kernel)(m, n, &alpha, values, row, col, &a.nnz, x, out);
      else
        reinterpret_cast<typename Coo<T>::MvPar *>(kernel)(&first, &last, m, n, &alpha, values, row, col,
                                                           &a.nnz, x, out);
    } else if (is_sequential(plan, true)) {
      reinterpret_cast<typename Csr<T>::MvSeq *>(kernel)(&a.m, &alpha, values, a.col_index, a.row_start,
                                                         a.row_end, x, out);
    } else {
      const tnk_int origin = reach == Reach::after ? first - 1 : 0;
      reinterpret_cast<typename Csr<T>::MvPar *>(kernel)(&first, &last, &a.m, &alpha, values, a.col_index,
                                                         a.row_start, a.row_end, x + origin, out);
    }
  }
  tnk_int parts() const { return a.storage == TNK_SPARSE_COO ? a.nnz : a.m; } // that pieces consist of

  void run_alone() const {
    scale(y, length);
    run(1, parts(), y);
  }

  void run_rows(const Pieces &p) const {
    spread(p.count, [&](int i) {
      scale(y + p.begin[i], p.begin[i + 1] - p.begin[i]);
      run(p.begin[i] + 1, p.begin[i + 1], y);
    });
  }

  // Piece `in_place` adds onto y, each other one onto a private vector, as long as what the piece reaches.
  bool run_scattering(const Pieces &p) const {
    Helpers<T> &all = helpers<T>();
    const auto split = all.split.get(routine);
    const auto split_lower = all.split_lower.get(routine);
    const auto split_upper = all.split_upper.get(routine);
    if (!split || !split_lower || !split_upper) return false;
    constexpr tnk_int line = 64 / sizeof(T);
    const tnk_int stride = (length + line - 1) / line * line;
    const Block block(tnk_serv_allocate(stride * (p.count - 1) * static_cast<tnk_int>(sizeof(T)), 64));
    if (!block.address) {
      run_alone();
      return true;
    }
    T *const memory = static_cast<T *>(block.address);
    const int in_place = reach == Reach::after ? 0 : p.count - 1;
    const auto own = [&](int i) { return memory + stride * (reach == Reach::after ? i - 1 : i); };

    scale(y, length);
    spread(p.count, [&](int i) {
      if (i == in_place) return run(p.begin[i] + 1, p.begin[i + 1], y);
      const tnk_int size = reach == Reach::all      ? length
                           : reach == Reach::before ? p.begin[i + 1]
                                                    : length - p.begin[i];
      tools.zeros(own(i), &size);
      run(p.begin[i] + 1, p.begin[i + 1], own(i));
    });

    // Added up in parts of y. Those of mirrored kinds are the pieces, since the same private vectors reach all of one.
    const tnk_int count = p.count, one = 1, none = 0;
    const Pieces parts_of_y = reach == Reach::all ? even_pieces(p.count, length) : p;
    spread(p.count, [&](int i) {
      const tnk_int begin = parts_of_y.begin[i], size = parts_of_y.begin[i + 1] - begin;
      const T *reaching[most_pieces];
      if (reach == Reach::all) {
        const tnk_int first = begin + 1, last = begin + size;
        split(&first, &last, &count, &stride, memory, y);
      } else if (reach == Reach::before) { // pieces from i on, the last of all being in y
        for (int t = i; t < in_place; ++t) reaching[t - i] = own(t) + begin;
        const tnk_int end = in_place - i + 1;
        split_lower(&end, &size, &one, nullptr, reaching, y + begin);
      } else { // pieces up to i, the first being in y
        reaching[0] = nullptr;
        for (int t = 1; t <= i; ++t) reaching[t] = own(t) + (begin - p.begin[t]);
        const tnk_int others = i;
        split_upper(&size, &none, &others, nullptr, reaching, y + begin);
      }
    });
    return true;
  }
};

template <class T>
tnk_sparse_status mv(const char *routine, char op, const T *alpha, const tnk_sparse_matrix *a,
                     const tnk_sparse_descriptor *d, const T *x, const T *beta, T *y) {
  const Check check(routine);
  if (!operands_sound(check, op, alpha, a, d)) return TNK_SPARSE_BAD_ARGUMENT;
  op = static_cast<char>(op & ~32);
  const tnk_int length = op == 'N' ? a->m : a->n, read = op == 'N' ? a->n : a->m;
  Tools<T> tools;
  if (!tools.find(routine)) return TNK_SPARSE_NO_KERNEL;
  const bool nothing_read = read == 0 || length == 0 || tools.is_zero(*alpha);
  if ((!nothing_read && !check.address(5, "x", x)) || !check.address(6, "beta", beta) ||
      (length > 0 && !check.address(7, "y", y)))
    return TNK_SPARSE_BAD_ARGUMENT;
  const Scaling<T> scale(tools, *beta);
  if (nothing_read) {
    if (length > 0) scale(y, length);
    return TNK_SPARSE_OK;
  }

  const SparsePlan plan = plan_sparse(*a, *d, op, is_complex<T>);
  void *const kernel = grid_kernel<T>(routine, plan, true);
  if (!kernel) return TNK_SPARSE_NO_KERNEL;
  T factor = *alpha;
  if (plan.negated) tools.neones(&factor);
  const MvJob<T> job{routine, plan, *a, factor, x, tools, scale, y, length, kernel};

  double work = job.reach == Reach::no_parts ? 0 : static_cast<double>(a->nnz);
  // A private vector is cleared, written and added: with fewer entries than elements a piece does not pay for that.
  if (job.reach != Reach::own)
    work = std::min(work, least_work * static_cast<double>(a->nnz) / static_cast<double>(length));
  const int count = pieces_worth_while(work);
  if (count <= 1)
    job.run_alone();
  else if (job.reach == Reach::own)
    job.run_rows(row_pieces(count, *a));
  else if (!job.run_scattering(a->storage == TNK_SPARSE_COO ? even_pieces(count, a->nnz)
                                                            : row_pieces(count, *a)))
    return TNK_SPARSE_NO_KERNEL;
  return TNK_SPARSE_OK;
}

// ---- Several right-hand sides --------------------------------------------------------------------------------------

template <class T>
tnk_sparse_status mm(const char *routine, char op, const T *alpha, const tnk_sparse_matrix *a,
                     const tnk_sparse_descriptor *d, tnk_int nrhs, const T *b, tnk_int ldb, const T *beta,
                     T *c, tnk_int ldc) {
  const Check check(routine);
  if (!operands_sound(check, op, alpha, a, d) || !check.length<T>(5, "nrhs", &nrhs))
    return TNK_SPARSE_BAD_ARGUMENT;
  op = static_cast<char>(op & ~32);
  const tnk_int length = op == 'N' ? a->m : a->n, read = op == 'N' ? a->n : a->m;
  Tools<T> tools;
  if (!tools.find(routine)) return TNK_SPARSE_NO_KERNEL;
  const bool by_columns = d->base == 1, empty = length == 0 || nrhs == 0;
  const bool nothing_read = empty || read == 0 || tools.is_zero(*alpha);
  if (!check.matrix(6, "b", b, !nothing_read, "ldb", &ldb, by_columns ? read : nrhs,
                    by_columns ? nrhs : read) ||
      !check.address(8, "beta", beta) ||
      !check.matrix(9, "c", c, !empty, "ldc", &ldc, by_columns ? length : nrhs, by_columns ? nrhs : length))
    return TNK_SPARSE_BAD_ARGUMENT;
  if (empty) return TNK_SPARSE_OK;

  const SparsePlan plan = plan_sparse(*a, *d, op, is_complex<T>);
  void *const kernel = nothing_read ? nullptr : grid_kernel<T>(routine, plan, false);
  if (!kernel && !nothing_read) return TNK_SPARSE_NO_KERNEL;
  T factor = *alpha;
  if (plan.negated) tools.neones(&factor);
  const Scaling<T> scale(tools, *beta);
  const auto run = [&](tnk_int begin, tnk_int end) {
    if (by_columns)
      for (tnk_int j = begin; j < end; ++j) scale(c + j * ldc, length);
    else
      for (tnk_int i = 0; i < length; ++i) scale(c + i * ldc + begin, end - begin);
    if (!kernel) return;
    const T *const values = static_cast<const T *>(a->values);
    const tnk_int first = begin + 1;
    if (a->storage == TNK_SPARSE_COO) {
      const tnk_int *row = a->row_index, *col = a->col_index, *m = &a->m, *n = &a->n;
      if (plan.swapped) std::swap(row, col), std::swap(m, n);
      reinterpret_cast<typename Coo<T>::MmPar *>(kernel)(&first, &end, m, n, &factor, values, row, col,
                                                         &a->nnz, b, &ldb, c, &ldc);
    } else if (is_sequential(plan, false)) {
      reinterpret_cast<typename Csr<T>::MmSeq *>(kernel)(&a->m, &nrhs, &factor, values, a->col_index,
                                                         a->row_start, a->row_end, b, &ldb, c, &ldc);
    } else {
      reinterpret_cast<typename Csr<T>::MmPar *>(kernel)(&first, &end, &a->m, &nrhs, &factor, values,
                                                         a->col_index, a->row_start, a->row_end, b, &ldb, c,
                                                         &ldc);
    }
  };

  // Right-hand sides that lie side by side are cut at every eighth, so that threads do not write to the same cache
  // lines all along.
  const tnk_int unit = by_columns ? 1 : 8;
  const bool whole = !kernel || is_sequential(plan, false);
  const double work = whole ? 0 : static_cast<double>(a->nnz) * static_cast<double>(nrhs);
  const auto count = static_cast<int>(std::min<tnk_int>(pieces_worth_while(work), nrhs / unit));
  if (count <= 1) {
    run(0, nrhs);
  } else {
    const Pieces p = even_pieces(count, nrhs, unit);
    spread(count, [&](int i) { run(p.begin[i], p.begin[i + 1]); });
  }
  return TNK_SPARSE_OK;
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T)                                                                                     \
  tnk_sparse_status tnk_sparse_##t##mv(char op, const T *alpha, const tnk_sparse_matrix *matrix,             \
                                       const tnk_sparse_descriptor *descriptor, const T *x, const T *beta,   \
                                       T *y) {                                                               \
    return tnk::host::mv("tnk_sparse_" #t "mv", op, alpha, matrix, descriptor, x, beta, y);                  \
  }                                                                                                          \
  tnk_sparse_status tnk_sparse_##t##mm(char op, const T *alpha, const tnk_sparse_matrix *matrix,             \
                                       const tnk_sparse_descriptor *descriptor, tnk_int nrhs, const T *b,    \
                                       tnk_int ldb, const T *beta, T *c, tnk_int ldc) {                      \
    return tnk::host::mm("tnk_sparse_" #t "mm", op, alpha, matrix, descriptor, nrhs, b, ldb, beta, c, ldc);  \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
TNK_PUBLIC(c, tnk_complex8)
TNK_PUBLIC(z, tnk_complex16)
#undef TNK_PUBLIC

tnk_sparse_status tnk_sparse_check(const tnk_sparse_matrix *matrix, const tnk_sparse_descriptor *descriptor) {
  const tnk::host::Check check("tnk_sparse_check");
  return tnk::host::sound(check, 1, matrix, 2, descriptor) &&
                 tnk::host::indices_sound(check, 1, *matrix, descriptor->base)
             ? TNK_SPARSE_OK
             : TNK_SPARSE_BAD_ARGUMENT;
}
