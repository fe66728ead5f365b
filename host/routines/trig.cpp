// Plans of sine and cosine transforms: checked, their rows cut over threads, with nothing printed by the kernels.
//
// Kinds that divide by sines are transformed in double. Quarter kinds divide twice: their kernels lose n^2 roundings in the
// lowest elements. With B = (2k+1) h/4 such a transform is also a staggered one divided once more, in two ways:
//
//     cosines    those of sums of neighbours, by 2 cos(B)     sines of differences, by 2 sin(B)
//     sines      those of sums of neighbours, by 2 cos(B)     cosines of differences, by 2 sin(B)
//
// So a plan takes the lower half of the elements from sums and the upper one from differences. Two transforms lose n
// roundings, as the staggered kinds do.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <new>
#include <tnk/pde_trig.h>
#include <tnk/services.h>
#include <tnk/trig.h>
#include <type_traits>

#include "host/dispatch/check.h"
#include "host/dispatch/kernel_loader.h"
#include "host/service/errors.h"
#include "host/threading/team.h"

namespace tnk::host {
namespace {

// ---- Kernels --------------------------------------------------------------------------------------------------------

template <class A>
using Init = void(const tnk_int *n, const tnk_int *kind, tnk_int *ipar, A *dpar, tnk_int *stat);
template <class A> using Call = void(A *f, DftiHandle *handle, tnk_int *ipar, A *dpar, tnk_int *stat);

template <class A> struct Kernels;
#define TNK_TRIG_KERNELS(p, A)                                                                               \
  template <> struct Kernels<A> {                                                                            \
    static inline KernelEntry<Init<A>> init{"tnk_pdett_" #p "_init_trig_transform"};                         \
    static inline KernelEntry<Call<A>> commit{"tnk_pdett_" #p "_commit_trig_transform"},                     \
        forward{"tnk_pdett_" #p "_forward_trig_transform"},                                                  \
        backward{"tnk_pdett_" #p "_backward_trig_transform"};                                                \
  };
TNK_TRIG_KERNELS(d, double)
TNK_TRIG_KERNELS(s, float)
KernelEntry<decltype(tnk_pdett_free_trig_transform)> release{"tnk_pdett_free_trig_transform"};

// ---- Plans ------------------------------------------------------------------------------------------------------------

struct Plan {
  tnk_int kind, n;
  bool in_double;
  tnk_int ipar[TNK_PDETT_IPAR];
  DftiHandle handle;
  void *tables;     // dpar, of the numbers that are transformed
  double *divisors; // quarter kinds: 2 cos(B), in the upper half 2 sin(B)

  bool is_quarter() const { return kind >= TNK_TRIG_QUARTER_COSINE; }

  tnk_int row() const { return TNK_TRIG_ROW(kind, n); }
  // Elements that take part.
  tnk_int first() const { return kind == TNK_TRIG_SINE || kind == TNK_TRIG_STAGGERED_SINE ? 1 : 0; }
  tnk_int end() const { return n + (kind == TNK_TRIG_COSINE || kind == TNK_TRIG_STAGGERED_SINE ? 1 : 0); }
};

} // namespace
} // namespace tnk::host

struct tnk_trig_splan : tnk::host::Plan {};
struct tnk_trig_dplan : tnk::host::Plan {};

namespace tnk::host {
namespace {

template <class T>
using PlanOf = std::conditional_t<std::is_same_v<T, float>, tnk_trig_splan, tnk_trig_dplan>;

void free_plan(Plan *plan) {
  if (!plan) return;
  tnk_int stat;
  if (plan->handle) // then the entry is known
    release.get("tnk_trig_free")(&plan->handle, plan->ipar, &stat);
  tnk_serv_tnk_free(plan->tables);
  tnk_serv_tnk_free(plan->divisors);
  tnk_serv_tnk_free(plan);
}

template <class A> A *make_array(tnk_int length) {
  return static_cast<A *>(tnk_serv_tnk_malloc(length * tnk_int{sizeof(A)}, 64));
}

// A quarter kind has the tables of the staggered ones, which are the same for both.
template <class A> tnk_trig_result commit(const char *routine, Plan &plan) {
  const auto init = Kernels<A>::init.get(routine);
  const auto commit_row = init ? Kernels<A>::commit.get(routine) : nullptr;
  if (!commit_row || !release.get(routine)) return TNK_TRIG_NO_LIBRARY;
  const tnk_int n = plan.n, kind = plan.is_quarter() ? tnk_int{TNK_TRIG_STAGGERED_COSINE} : plan.kind;
  A *const dpar = make_array<A>(TNK_PDETT_DPAR(n, kind));
  plan.tables = dpar;
  if (dpar && plan.is_quarter()) plan.divisors = make_array<double>(n);
  if (tnk_serv_check_ptr(plan.is_quarter() ? plan.divisors : plan.tables, routine))
    return TNK_TRIG_OUT_OF_MEMORY;
  for (tnk_int k = 0; plan.is_quarter() && k < n; ++k) {
    const double angle = 3.14159265358979323846 / 4 * static_cast<double>(2 * k + 1) / static_cast<double>(n);
    plan.divisors[k] = 2 * (k < n / 2 ? std::cos(angle) : std::sin(angle));
  }
  tnk_int stat;
  init(&n, &kind, plan.ipar, dpar, &stat);
  plan.ipar[TNK_PDETT_ERRORS] = plan.ipar[TNK_PDETT_WARNINGS] = 0;
  // Two at least: the caller's threads may come together with one plan.
  plan.ipar[TNK_PDETT_USERS] = std::max(2, usable_threads());
  plan.ipar[TNK_PDETT_RAW] = 1; // so that there is no row to be tested
  commit_row(nullptr, &plan.handle, plan.ipar, dpar, &stat);
  plan.ipar[TNK_PDETT_RAW] = 0;
  if (stat == TNK_PDETT_DONE) return TNK_TRIG_DONE;
  report(TNK_ERROR_MEMORY, routine, "no Fourier transform of that length, or no memory for it");
  return TNK_TRIG_OUT_OF_MEMORY;
}

template <class T> tnk_trig_result make(const char *routine, PlanOf<T> **plan, int32_t kind, tnk_int n) {
  const Check check(routine);
  if (!check.address(1, "plan", plan) ||
      !check.range(2, "kind", kind, TNK_TRIG_SINE, TNK_TRIG_QUARTER_SINE) ||
      !check.range(3, "n", n, 2, elements_in_memory<double> / 4))
    return TNK_TRIG_BAD_ARGUMENT;
  void *const memory = tnk_serv_tnk_malloc(sizeof(PlanOf<T>), alignof(PlanOf<T>));
  if (tnk_serv_check_ptr(memory, routine)) return TNK_TRIG_OUT_OF_MEMORY;
  auto *const made = new (memory) PlanOf<T>();
  made->kind = kind, made->n = n;
  made->in_double = std::is_same_v<T, double> || kind >= TNK_TRIG_STAGGERED_COSINE;
  const tnk_trig_result result =
      made->in_double ? commit<double>(routine, *made) : commit<float>(routine, *made);
  if (result != TNK_TRIG_DONE)
    free_plan(made);
  else
    *plan = made;
  return result;
}

// ---- Rows -------------------------------------------------------------------------------------------------------------

// Numbers that make it worth while to use one more thread.
constexpr double least_work = 1 << 14;

int threads_worth_while(tnk_int rows, tnk_int n) {
  const double most = std::min(static_cast<double>(rows) * static_cast<double>(n) / least_work, 256.0);
  return rows < 2 || most < 2 ? 1 : std::min(static_cast<int>(most), usable_threads());
}

// A kernel's call, for one thread.
template <class A> class Transform {
public:
  Transform(const Plan &plan, Call<A> *entry)
      : entry_(entry), handle_(plan.handle), tables_(static_cast<A *>(plan.tables)) {
    std::copy_n(plan.ipar, TNK_PDETT_IPAR, ipar_);
  }
  bool operator()(A *f) {
    tnk_int stat;
    entry_(f, &handle_, ipar_, tables_, &stat);
    return stat == TNK_PDETT_DONE;
  }
  bool operator()(A *f, tnk_trig_kind kind) {
    ipar_[TNK_PDETT_KIND] = kind;
    return (*this)(f);
  }

private:
  Call<A> *entry_;
  DftiHandle handle_;
  A *tables_;
  tnk_int ipar_[TNK_PDETT_IPAR];
};

class Scratch {
public:
  explicit Scratch(tnk_int length)
      : numbers_(static_cast<double *>(tnk_serv_allocate(length * tnk_int{sizeof(double)}, 64))) {}
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  ~Scratch() { tnk_serv_deallocate(numbers_); }
  double *numbers() const { return numbers_; }

private:
  double *numbers_;
};

// Rows in place; false where there was no memory. Ends that take no part are put back.
template <class T> bool run_rows(const Plan &plan, Call<T> *entry, tnk_int rows, T *f, tnk_int distance) {
  Transform<T> transform(plan, entry);
  const tnk_int first = plan.first(), last = plan.row() - 1;
  const bool spare_last = plan.end() <= last;
  for (; rows > 0; --rows, f += distance) {
    const T before = f[0], behind = f[last];
    if (!transform(f)) return false;
    if (first > 0) f[0] = before;
    if (spare_last) f[last] = behind;
  }
  return true;
}

// Single numbers, by way of a row of doubles.
bool run_rows(const Plan &plan, Call<double> *entry, tnk_int rows, float *f, tnk_int distance) {
  const tnk_int length = plan.row(), first = plan.first(), end = plan.end();
  const Scratch scratch(length);
  double *const row = scratch.numbers();
  if (!row) return false;
  row[0] = row[length - 1] = 0;
  for (; rows > 0; --rows, f += distance) {
    std::copy(f + first, f + end, row + first);
    if (!run_rows<double>(plan, entry, 1, row, length)) return false;
    std::transform(row + first, row + end, f + first, [](double x) { return static_cast<float>(x); });
  }
  return true;
}

// Quarter kinds, both ways by the forward kernels, since they undo themselves but for a factor.
template <class T>
bool run_quarters(const Plan &plan, Call<double> *forward, tnk_int rows, T *f, tnk_int distance,
                  double factor) {
  const tnk_int n = plan.n;
  const Scratch scratch(2 * (n + 1));
  double *const sums = scratch.numbers(), *const differences = sums + n + 1;
  if (!sums) return false;
  Transform<double> transform(plan, forward);
  const bool cosines = plan.kind == TNK_TRIG_QUARTER_COSINE;
  const double *const divisors = plan.divisors;
  for (; rows > 0; --rows, f += distance) {
    for (tnk_int i = 1; i < n; ++i) {
      const double below = f[i - 1], x = f[i];
      sums[i] = below + x;
      differences[i] = cosines ? below - x : x - below;
    }
    double *const as_cosines = cosines ? sums : differences, *const as_sines = cosines ? differences : sums;
    as_cosines[0] = 2 * static_cast<double>(f[0]), as_cosines[n] = 0;
    as_sines[0] = 0, as_sines[n] = 2 * static_cast<double>(f[n - 1]);
    if (!transform(as_cosines, TNK_TRIG_STAGGERED_COSINE) || !transform(as_sines, TNK_TRIG_STAGGERED_SINE))
      return false;
    // Results of sines stand one place higher.
    const double *const low = cosines ? sums : sums + 1, *const high =
                                                             cosines ? differences + 1 : differences;
    for (tnk_int k = 0; k < n / 2; ++k) f[k] = static_cast<T>(low[k] / divisors[k] * factor);
    for (tnk_int k = n / 2; k < n; ++k) f[k] = static_cast<T>(high[k] / divisors[k] * factor);
  }
  return true;
}

// run_some(rows, first of them) for slices of the rows.
template <class T, class F>
tnk_trig_result run_slices(const char *routine, const Plan &plan, tnk_int rows, T *f, tnk_int distance,
                           const F &run_some) {
  const int threads = threads_worth_while(rows, plan.n);
  const tnk_int slices = threads == 1 ? 1 : std::min<tnk_int>(rows, tnk_int{threads} * slices_a_thread);
  std::atomic<bool> done{true};
  const auto slice = [&](int i) {
    const tnk_int begin = rows * i / slices, end = rows * (i + 1) / slices;
    if (!run_some(end - begin, f + begin * distance)) done = false;
  };
  if (slices == 1)
    slice(0);
  else
    spread(static_cast<int>(slices), threads, slice);
  if (done) return TNK_TRIG_DONE;
  tnk_serv_check_ptr(nullptr, routine); // nothing else is left to fail
  return TNK_TRIG_OUT_OF_MEMORY;
}

template <bool Forward, class A, class T>
tnk_trig_result run(const char *routine, const Plan &plan, tnk_int rows, T *f, tnk_int distance) {
  const bool forward = Forward || plan.is_quarter();
  const auto entry = (forward ? Kernels<A>::forward : Kernels<A>::backward).get(routine);
  if (!entry) return TNK_TRIG_NO_LIBRARY;
  return run_slices(routine, plan, rows, f, distance, [&](tnk_int some, T *first) {
    if constexpr (std::is_same_v<A, double>)
      if (plan.is_quarter())
        return run_quarters(plan, entry, some, first, distance,
                            Forward ? 1 : static_cast<double>(plan.n) / 2);
    return run_rows(plan, entry, some, first, distance);
  });
}

template <bool Forward, class T>
tnk_trig_result run(const char *routine, const PlanOf<T> *plan, tnk_int rows, T *f, tnk_int distance) {
  const Check check(routine);
  if (!check.address(1, "plan", plan) || !check.length<T>(2, "rows", &rows)) return TNK_TRIG_BAD_ARGUMENT;
  if (rows == 0) return TNK_TRIG_DONE;
  const tnk_int row = plan->row();
  if (!check.address(3, "f", f) ||
      (rows > 1 && !check.range(4, "distance", distance, row, (elements_in_memory<T> - row) / (rows - 1))))
    return TNK_TRIG_BAD_ARGUMENT;
  if constexpr (std::is_same_v<T, float>)
    if (!plan->in_double) return run<Forward, float>(routine, *plan, rows, f, distance);
  return run<Forward, double>(routine, *plan, rows, f, distance);
}

} // namespace
} // namespace tnk::host

#define TNK_TRIG_ROUTINES(t, T)                                                                              \
  tnk_trig_result tnk_trig_##t##make(tnk_trig_##t##plan **plan, int32_t kind, tnk_int n) {                   \
    return tnk::host::make<T>("tnk_trig_" #t "make", plan, kind, n);                                         \
  }                                                                                                          \
  tnk_trig_result tnk_trig_##t##forward(const tnk_trig_##t##plan *plan, tnk_int rows, T *f,                  \
                                        tnk_int distance) {                                                  \
    return tnk::host::run<true, T>("tnk_trig_" #t "forward", plan, rows, f, distance);                       \
  }                                                                                                          \
  tnk_trig_result tnk_trig_##t##backward(const tnk_trig_##t##plan *plan, tnk_int rows, T *f,                 \
                                         tnk_int distance) {                                                 \
    return tnk::host::run<false, T>("tnk_trig_" #t "backward", plan, rows, f, distance);                     \
  }                                                                                                          \
  void tnk_trig_##t##free(tnk_trig_##t##plan *plan) {                                                        \
    tnk::host::free_plan(plan);                                                                              \
  }
TNK_TRIG_ROUTINES(s, float)
TNK_TRIG_ROUTINES(d, double)
