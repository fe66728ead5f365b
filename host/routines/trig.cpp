// Plans of sine and cosine transforms: checked, their rows cut over threads, with nothing printed by the kernels.
#include <algorithm>
#include <atomic>
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

// Single numbers of kinds that divide by sines are transformed in double.
struct Plan {
  tnk_int kind, n;
  bool in_double;
  tnk_int ipar[TNK_PDETT_IPAR];
  DftiHandle handle;
  void *tables; // dpar, of the numbers that are transformed

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
  tnk_serv_tnk_free(plan);
}

template <class A> tnk_trig_result commit(const char *routine, Plan &plan) {
  const auto init = Kernels<A>::init.get(routine);
  const auto commit_row = init ? Kernels<A>::commit.get(routine) : nullptr;
  if (!commit_row || !release.get(routine)) return TNK_TRIG_NO_LIBRARY;
  A *const dpar = static_cast<A *>(
      plan.tables = tnk_serv_tnk_malloc(TNK_PDETT_DPAR(plan.n, plan.kind) * tnk_int{sizeof(A)}, 64));
  if (tnk_serv_check_ptr(dpar, routine)) return TNK_TRIG_OUT_OF_MEMORY;
  tnk_int stat;
  init(&plan.n, &plan.kind, plan.ipar, dpar, &stat);
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
  auto *const made = new (memory) PlanOf<T>;
  made->kind = kind, made->n = n, made->handle = nullptr, made->tables = nullptr;
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

// Rows of the numbers that are transformed; false where there was no memory. The ends that take no part are put back.
template <class T> bool run_rows(const Plan &plan, Call<T> *transform, tnk_int rows, T *f, tnk_int distance) {
  tnk_int ipar[TNK_PDETT_IPAR], stat = TNK_PDETT_DONE;
  std::copy_n(plan.ipar, TNK_PDETT_IPAR, ipar);
  DftiHandle handle = plan.handle;
  const tnk_int first = plan.first(), last = plan.row() - 1;
  const bool spare_last = plan.end() <= last;
  for (; rows > 0 && stat == TNK_PDETT_DONE; --rows, f += distance) {
    const T before = f[0], behind = f[last];
    transform(f, &handle, ipar, static_cast<T *>(plan.tables), &stat);
    if (first > 0) f[0] = before;
    if (spare_last) f[last] = behind;
  }
  return stat == TNK_PDETT_DONE;
}

// Single numbers, by way of a row of doubles.
bool run_rows(const Plan &plan, Call<double> *transform, tnk_int rows, float *f, tnk_int distance) {
  const tnk_int length = plan.row();
  auto *const row = static_cast<double *>(tnk_serv_allocate(length * tnk_int{sizeof(double)}, 64));
  bool done = row;
  for (; done && rows > 0; --rows, f += distance) {
    row[0] = row[length - 1] = 0;
    std::copy(f + plan.first(), f + plan.end(), row + plan.first());
    done = run_rows<double>(plan, transform, 1, row, length);
    std::transform(row + plan.first(), row + plan.end(), f + plan.first(),
                   [](double x) { return static_cast<float>(x); });
  }
  tnk_serv_deallocate(row);
  return done;
}

template <bool Forward, class A, class T>
tnk_trig_result run(const char *routine, const Plan &plan, tnk_int rows, T *f, tnk_int distance) {
  const auto transform = (Forward ? Kernels<A>::forward : Kernels<A>::backward).get(routine);
  if (!transform) return TNK_TRIG_NO_LIBRARY;
  const int threads = threads_worth_while(rows, plan.n);
  const tnk_int slices = threads == 1 ? 1 : std::min<tnk_int>(rows, tnk_int{threads} * slices_a_thread);
  std::atomic<bool> done{true};
  const auto slice = [&](int i) {
    const tnk_int begin = rows * i / slices, end = rows * (i + 1) / slices;
    if (!run_rows(plan, transform, end - begin, f + begin * distance, distance)) done = false;
  };
  if (slices == 1)
    slice(0);
  else
    spread(static_cast<int>(slices), threads, slice);
  if (done) return TNK_TRIG_DONE;
  tnk_serv_check_ptr(nullptr, routine); // nothing else is left to fail
  return TNK_TRIG_OUT_OF_MEMORY;
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
