// Plans of sine and cosine transforms: checked, their rows cut over threads, with nothing printed by the kernels.
//
// Kinds that divide by sines are transformed in double. Quarter kinds divide twice: their kernels lose n^2 roundings in the
// lowest elements. So those of an even length go by a complex transform of half of it, between turns by exp(-i (8m+1) h/8):
//
//     cosines    f(2m) + i f(n-1-2m)  to  F(2k) - i F(n-1-2k)      sines    f(n-1-2m) + i f(2m)  to  F(2k) + i F(n-1-2k)
//
// Of an odd length, with B = (2k+1) h/4, such a transform is also a staggered one divided once more, in two ways:
//
//     cosines    those of sums of neighbours, by 2 cos(B)     sines of differences, by 2 sin(B)
//     sines      those of sums of neighbours, by 2 cos(B)     cosines of differences, by 2 sin(B)
//
// There a plan takes the lower half of the elements from sums and the upper one from differences. Two transforms lose n
// roundings, as the staggered kinds do.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <new>
#include <tnk/dfti.h>
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

KernelEntry<decltype(tnk_dft_dfti_create_descriptor_d_1d)> create{"tnk_dft_dfti_create_descriptor_d_1d"};
KernelEntry<decltype(tnk_dft_dfti_set_value_intval)> set_value{"tnk_dft_dfti_set_value_intval"};
KernelEntry<decltype(tnk_dft_dfti_commit_descriptor_external)> commit_complex{
    "tnk_dft_dfti_commit_descriptor_external"};
KernelEntry<DftiComputeByAddress1> compute_complex{"tnk_dft_dfti_compute_forward_z"};

// ---- Plans ------------------------------------------------------------------------------------------------------------

struct Plan {
  tnk_int kind, n;
  bool in_double;
  tnk_int ipar[TNK_PDETT_IPAR];
  DftiHandle handle;
  void *tables;     // dpar, of the numbers that are transformed
  double *divisors; // quarter kinds of an odd length: 2 cos(B), in the upper half 2 sin(B)
  double *turns;    // of an even one: pairs of cosine and sine

  bool is_quarter() const { return kind >= TNK_TRIG_QUARTER_COSINE; }
  bool is_halved() const { return is_quarter() && n % 2 == 0; }

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
  tnk_serv_tnk_free(plan->turns);
  tnk_serv_tnk_free(plan);
}

template <class A> A *make_array(tnk_int length) {
  return static_cast<A *>(tnk_serv_tnk_malloc(length * tnk_int{sizeof(A)}, 64));
}

// Two at least: the caller's threads may come together with one plan.
tnk_int users() {
  return std::max(2, usable_threads());
}

tnk_trig_result refuse_transform(const char *routine) {
  report(TNK_ERROR_MEMORY, routine, "no Fourier transform of that length, or no memory for it");
  return TNK_TRIG_OUT_OF_MEMORY;
}

tnk_trig_result commit_halved(const char *routine, Plan &plan) {
  const auto make_one = create.get(routine);
  const auto set = make_one ? set_value.get(routine) : nullptr;
  const auto commit_one = set ? commit_complex.get(routine) : nullptr;
  if (!commit_one || !release.get(routine)) return TNK_TRIG_NO_LIBRARY;
  plan.turns = make_array<double>(plan.n);
  if (tnk_serv_check_ptr(plan.turns, routine)) return TNK_TRIG_OUT_OF_MEMORY;
  const tnk_int half = plan.n / 2;
  for (tnk_int m = 0; m < half; ++m) {
    const double angle =
        3.14159265358979323846 / 8 * static_cast<double>(8 * m + 1) / static_cast<double>(plan.n);
    plan.turns[2 * m] = std::cos(angle), plan.turns[2 * m + 1] = std::sin(angle);
  }
  constexpr double precision = DftiDouble;
  constexpr tnk_int domain = DftiComplex, dimension = 1, which = DftiParamNumberOfUserThreads;
  const tnk_int callers = users();
  tnk_int status = make_one(&plan.handle, &precision, &domain, &dimension, &half);
  if (status == DftiNoError) status = set(&plan.handle, &which, &callers);
  if (status == DftiNoError) status = commit_one(&plan.handle);
  return status == DftiNoError ? TNK_TRIG_DONE : refuse_transform(routine);
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
  plan.ipar[TNK_PDETT_USERS] = users();
  plan.ipar[TNK_PDETT_RAW] = 1; // so that there is no row to be tested
  commit_row(nullptr, &plan.handle, plan.ipar, dpar, &stat);
  plan.ipar[TNK_PDETT_RAW] = 0;
  return stat == TNK_PDETT_DONE ? TNK_TRIG_DONE : refuse_transform(routine);
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
  const tnk_trig_result result = made->is_halved() ? commit_halved(routine, *made)
                                 : made->in_double ? commit<double>(routine, *made)
                                                   : commit<float>(routine, *made);
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

template <class T>
bool run_halved(const Plan &plan, DftiComputeByAddress1 *compute, tnk_int rows, T *f, tnk_int distance,
                double factor) {
  const tnk_int n = plan.n;
  const Scratch scratch(n);
  double *const z = scratch.numbers();
  if (!z) return false;
  DftiHandle handle = plan.handle;
  const bool cosines = plan.kind == TNK_TRIG_QUARTER_COSINE;
  const double *const turns = plan.turns;
  const double sign = cosines ? -factor : factor;
  const tnk_int step = cosines ? 2 : -2;
  for (; rows > 0; --rows, f += distance) {
    const T *const re = cosines ? f : f + n - 1, *const im = cosines ? f + n - 1 : f;
    for (tnk_int m = 0; m < n / 2; ++m) {
      const double a = re[m * step], b = im[-m * step], c = turns[2 * m], s = turns[2 * m + 1];
      z[2 * m] = a * c + b * s;
      z[2 * m + 1] = b * c - a * s;
    }
    if (compute(&handle, z) != DftiNoError) return false;
    for (tnk_int k = 0; k < n / 2; ++k) {
      const double a = z[2 * k], b = z[2 * k + 1], c = turns[2 * k], s = turns[2 * k + 1];
      f[2 * k] = static_cast<T>((a * c + b * s) * factor);
      f[n - 1 - 2 * k] = static_cast<T>((b * c - a * s) * sign);
    }
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
  if constexpr (std::is_same_v<A, double>)
    if (plan.is_halved()) {
      const auto compute = compute_complex.get(routine);
      if (!compute) return TNK_TRIG_NO_LIBRARY;
      const double factor = Forward ? 2 / static_cast<double>(plan.n) : 1;
      return run_slices(routine, plan, rows, f, distance, [&](tnk_int some, T *first) {
        return run_halved(plan, compute, some, first, distance, factor);
      });
    }
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
