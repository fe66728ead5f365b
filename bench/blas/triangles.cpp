// Level 3 routines on triangles, in place: every form of the public ones beside the BLAS library, their kernels and two
// threads beside them, and packed storage beside a full matrix.

#include "bench/families.h"
#include "bench/frame/probe.h"

#include <tnk/blas.h>
#include <tnk/blas_level3.h>
#include <tnk/host.h>

#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace tnk::bench {
namespace {

template <class I, class T>
using Triangular = void(const char *, const char *, const char *, const char *, const I *, const I *,
                        const T *, const T *, const I *, T *, const I *);
using Packed = std::remove_pointer_t<decltype(&tnk_blas_xdptrmm)>;

struct Form {
  char side, uplo, trans;
};
constexpr char not_unit = 'N';

template <class T> constexpr bool is_complex = std::is_class_v<T>;
template <class T>
using Real = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, tnk_complex8>, float, double>;

// Square matrices, and the upper triangle of A by columns.
template <class T> struct Data {
  tnk_int n;
  bool solves;
  std::vector<T> a, b, packed;

  explicit Data(tnk_int order, bool for_solve = false)
      : n(order), solves(for_solve), a(static_cast<std::size_t>(n * n)), b(a.size()),
        packed(static_cast<std::size_t>(n * (n + 1) / 2)) {}

  // So few bits that every sum is exact, in any order; for a solve near the unit matrix, so that solutions do not grow.
  // While the clock runs A is the unit matrix: B stays as it is, however often it is multiplied.
  void fill(bool unit) {
    unsigned state = 1;
    const auto number = [&state] {
      state = state * 1664525 + 1013904223;
      return static_cast<Real<T>>(static_cast<int>(state >> 29) - 4) / 4;
    };
    const auto set = [&](T &x, bool to_number) {
      x = {};
      auto *const part = reinterpret_cast<Real<T> *>(&x);
      for (int p = 0; to_number && p < (is_complex<T> ? 2 : 1); ++p) part[p] = number();
    };
    for (T &x : b) set(x, true);
    auto *next = packed.data();
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < n; ++i) {
        T &x = a[static_cast<std::size_t>(i + j * n)];
        set(x, !unit);
        auto *const part = reinterpret_cast<Real<T> *>(&x);
        if (i == j && unit) part[0] = 1;
        if (i == j && solves && !unit) part[0] += 2;
        for (int p = 0; i != j && solves && p < (is_complex<T> ? 2 : 1); ++p)
          part[p] /= static_cast<Real<T>>(n);
        if (i <= j) *next++ = x;
      }
  }
};

// B := op(A) B, or B op(A), or the solution with it, `count` times.
template <class I, class T>
Run run(Triangular<I, T> *routine, const std::shared_ptr<Data<T>> &data, const Form &form) {
  if (!routine) return {};
  return [=](long count) {
    const I n = static_cast<I>(data->n);
    T one{};
    reinterpret_cast<Real<T> &>(one) = 1; // the real part comes first
    for (; count > 0; --count)
      routine(&form.side, &form.uplo, &form.trans, &not_unit, &n, &n, &one, data->a.data(), &n,
              data->b.data(), &n);
  };
}
Run run(Packed *routine, const std::shared_ptr<Data<double>> &data, const Form &form) {
  if (!routine) return {};
  return [=](long count) {
    const double one = 1;
    for (; count > 0; --count)
      routine(&form.side, &form.uplo, &form.trans, &not_unit, &data->n, &data->n, &one, data->packed.data(),
              data->b.data(), &data->n);
  };
}

template <class T> Case contest(const std::shared_ptr<Data<T>> &data, Run ours, Run peer) {
  Case made;
  made.ours = std::move(ours), made.peer = std::move(peer);
  made.reset = [data] { data->fill(false); };
  made.reset_for_timing = [data] { data->fill(true); };
  const auto order = static_cast<double>(data->n);
  Tolerance roundings;
  if (data->solves) roundings.of_largest = 4 * order * std::numeric_limits<Real<T>>::epsilon();
  made.results = {result(data->b.data(), data->b.size(), roundings)};
  made.work = (is_complex<T> ? 4 : 1) * order * order * order;
  made.limits = {flops_limit(flop_probe(sizeof(Real<T>), 32), made.work)};
  return made;
}

Row row(const std::string &routine, const std::string &name) {
  Row made;
  made.group = "level3/" + routine;
  made.name = name;
  made.sizes = {256, 1000, 2000};
  made.quick = 256;
  made.unit = "flop";
  made.picture = "triangles";
  return made;
}

template <class T>
void add_forms(std::vector<Row> &rows, const std::string &routine, char letter, Triangular<tnk_int, T> *ours,
               Triangular<tnk_int, T> *kernel) {
  const bool solves = routine == "trsm";
  for (const char side : {'L', 'R'})
    for (const char uplo : {'L', 'U'})
      for (const char trans : {'N', 'T', 'C'}) {
        if (trans == 'C' && !is_complex<T>) continue;
        const Form form = {side, uplo, trans};
        Row added = row(routine, letter + routine + '_' + side + uplo + trans);
        if (solves) added.sizes.insert(added.sizes.begin(), {32, 64});
        added.library = &openblas();
        added.prepare = [=](tnk_int order) {
          const auto data = std::make_shared<Data<T>>(order, solves);
          auto *const peer = openblas().routine<Triangular<int, T>>(letter + routine + '_');
          return contest(data, run<tnk_int, T>(ours, data, form), run<int, T>(peer, data, form));
        };
        rows.push_back(std::move(added));
      }

  // One form on each side of the routine beside itself.
  for (const Form &form : {Form{'L', 'U', 'N'}, Form{'R', 'L', 'T'}}) {
    const auto beside_itself = [&](const char *suffix, std::vector<tnk_int> sizes,
                                   Triangular<tnk_int, T> *first) {
      Row added = row(routine, letter + routine + '_' + form.side + form.uplo + form.trans + suffix);
      added.sizes = std::move(sizes);
      added.prepare = [=](tnk_int order) {
        const auto data = std::make_shared<Data<T>>(order, solves);
        return contest(data, run<tnk_int, T>(first, data, form), run<tnk_int, T>(ours, data, form));
      };
      return added;
    };
    Row checks = beside_itself("_kernel", {8, 32}, kernel);
    checks.quick = 8, checks.peer = "public routine", checks.picture = "kernels";
    rows.push_back(std::move(checks));

    // The ratio is what the second thread brings. The limit is that of one.
    Row threaded = beside_itself("_2t", {256, 1000, 2000}, ours);
    threaded.group = "level3/" + routine + "_threads";
    threaded.peer = "1 thread", threaded.picture = "threads";
    threaded.threads = 2;
    rows.push_back(std::move(threaded));
  }
}

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_blas_##name)

void add_triangles(std::vector<Row> &rows) {
  add_forms<float>(rows, "trsm", 's', tnk_blas_strsm, ENTRY(xstrsm));
  add_forms<double>(rows, "trsm", 'd', tnk_blas_dtrsm, ENTRY(xdtrsm));
  add_forms<tnk_complex8>(rows, "trsm", 'c', tnk_blas_ctrsm, ENTRY(xctrsm));
  add_forms<tnk_complex16>(rows, "trsm", 'z', tnk_blas_ztrsm, ENTRY(xztrsm));
  add_forms<float>(rows, "trmm", 's', tnk_blas_strmm, ENTRY(xstrmm));
  add_forms<double>(rows, "trmm", 'd', tnk_blas_dtrmm, ENTRY(xdtrmm));
  add_forms<tnk_complex8>(rows, "trmm", 'c', tnk_blas_ctrmm, ENTRY(xctrmm));
  add_forms<tnk_complex16>(rows, "trmm", 'z', tnk_blas_ztrmm, ENTRY(xztrmm));

  for (const char side : {'L', 'R'}) {
    const Form form = {side, 'U', 'N'};
    Row added = row("trmm", std::string("dptrmm_") + side + "UN");
    added.peer = "full matrix";
    added.prepare = [=](tnk_int order) {
      const auto data = std::make_shared<Data<double>>(order);
      return contest(data, run(ENTRY(xdptrmm), data, form), run<tnk_int, double>(ENTRY(xdtrmm), data, form));
    };
    rows.push_back(std::move(added));
  }
}

} // namespace tnk::bench
