// Matrix times vector: the public routine beside the BLAS library, its kernel beside it, and two threads beside one; two
// products in one pass beside two calls, and a real matrix with complex vectors beside two products with real ones.

#include "bench/families.h"
#include "bench/operands.h"

#include <tnk/blas.h>
#include <tnk/blas_level2.h>
#include <tnk/host.h>

#include <type_traits>

namespace tnk::bench {
namespace {

template <class I, class T>
using Gemv = void(const char *, const I *, const I *, const T *, const T *, const I *, const T *, const I *,
                  const T *, T *, const I *);
template <class T>
using Gem2v = void(const tnk_int *, const tnk_int *, const T *, const T *, const tnk_int *, const T *,
                   const tnk_int *, const T *, const tnk_int *, const T *, T *, const tnk_int *, T *,
                   const tnk_int *);
template <class T, class R>
using MixedGemv = void(const char *, const tnk_int *, const tnk_int *, const T *, const R *, const tnk_int *,
                       const T *, const tnk_int *, const T *, T *, const tnk_int *);

template <class T> constexpr bool is_complex = std::is_class_v<T>;
template <class T>
using Real = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, tnk_complex8>, float, double>;
template <class T> constexpr T zero{};
template <class T>
constexpr T one = [] {
  if constexpr (is_complex<T>)
    return T{1, 0};
  else
    return T{1};
}();

// x holds a square matrix; y holds vectors, so many to a case, and is as large. A beta of zero leaves the operands alike
// however often they are multiplied. Elements have so few bits that every sum is exact, in any order.

// Vector k of y: T's side by side.
template <class T> T *vector(Operands &o, int k) {
  return o.y<T>() + k * o.n;
}

// y1 := op(A) y0
template <class I, class T> Call product(Gemv<I, T> *routine, char trans) {
  return repeated<I>(routine, [trans](auto *f, auto &n, auto &step, Operands &o) {
    f(&trans, &n, &n, &one<T>, o.x<T>(), &n, vector<T>(o, 0), &step, &zero<T>, vector<T>(o, 1), &step);
  });
}

template <class T>
Case make(char letter, tnk_int n, double flops_an_element, double reads, const Call &ours, const Call &peer) {
  const double elements = static_cast<double>(n) * static_cast<double>(n);
  Contest contest;
  contest.element = letter;
  contest.elements = static_cast<std::size_t>(n < 8 ? 8 * n : n * n); // eight vectors at least
  contest.bytes = reads * elements * sizeof(T);
  contest.flops = flops_an_element * elements;
  return on_operands(contest, "flop", n, ours, peer);
}
template <class T> constexpr double flops = is_complex<T> ? 8 : 2;

Row row(const char *group, const std::string &name, std::vector<tnk_int> orders) {
  Row made;
  made.group = std::string("level2/") + group;
  made.name = name;
  made.sizes = std::move(orders);
  made.quick = 1000;
  made.unit = "flop";
  return made;
}

template <class T>
void add_gemv(std::vector<Row> &rows, char letter, Gemv<tnk_int, T> *ours, Gemv<tnk_int, T> *kernel) {
  for (const char trans : {'N', 'T', 'C'}) {
    if (trans == 'C' && !is_complex<T>) continue;
    const std::string name = letter + std::string("gemv_") + static_cast<char>(trans | 32);
    Row beside_library = row("gemv", name, {20, 100, 1000, 5000});
    beside_library.picture = "matrix_vector", beside_library.library = &openblas();
    beside_library.prepare = [=](tnk_int n) {
      auto *const peer = openblas().routine<Gemv<int, T>>(letter + std::string("gemv_"));
      return make<T>(letter, n, flops<T>, 1, product<tnk_int, T>(ours, trans),
                     peer ? product<int, T>(peer, trans) : Call());
    };
    rows.push_back(std::move(beside_library));

    const auto beside_itself = [&](const char *group, const char *suffix, std::vector<tnk_int> orders,
                                   Gemv<tnk_int, T> *first) {
      Row added = row(group, name + suffix, std::move(orders));
      added.prepare = [=](tnk_int n) {
        return make<T>(letter, n, flops<T>, 1, product<tnk_int, T>(first, trans),
                       product<tnk_int, T>(ours, trans));
      };
      return added;
    };
    Row checks = beside_itself("gemv", "_kernel", {8, 20, 100}, kernel);
    checks.peer = "public routine", checks.picture = "kernels";
    rows.push_back(std::move(checks));
    Row threaded = beside_itself("gemv_threads", "_2t", {200, 1000, 5000}, ours);
    threaded.peer = "1 thread", threaded.picture = "threads", threaded.threads = 2;
    rows.push_back(std::move(threaded));
  }
}

template <class T>
void add_gem2v(std::vector<Row> &rows, char letter, Gem2v<T> *ours, Gemv<tnk_int, T> *gemv) {
  Row added = row("gem2v", letter + std::string(is_complex<T> ? "gem2vc" : "gem2vu"), {100, 1000, 5000});
  added.peer = "2 gemv", added.picture = "matrix_vector";
  added.prepare = [=](tnk_int n) {
    const Call both = repeated<tnk_int>(ours, [](auto *f, auto &order, auto &step, Operands &o) {
      f(&order, &order, &one<T>, o.x<T>(), &order, vector<T>(o, 0), &step, vector<T>(o, 1), &step, &zero<T>,
        vector<T>(o, 2), &step, vector<T>(o, 3), &step);
    });
    const Call two = repeated<tnk_int>(gemv, [](auto *f, auto &order, auto &step, Operands &o) {
      for (const int k : {0, 1})
        f(k == 0 ? "N" : "C", &order, &order, &one<T>, o.x<T>(), &order, vector<T>(o, k), &step, &zero<T>,
          vector<T>(o, 2 + k), &step);
    });
    return make<T>(letter, n, 2 * flops<T>, 1, both, two);
  };
  rows.push_back(std::move(added));
}

template <class T, class R>
void add_mixed(std::vector<Row> &rows, const char *name, char letter, MixedGemv<T, R> *ours,
               Gemv<tnk_int, R> *gemv) {
  for (const char trans : {'N', 'T'}) {
    Row added = row("mixed_gemv", name + std::string("_") + static_cast<char>(trans | 32), {100, 1000, 5000});
    added.peer = "2 real gemv", added.picture = "matrix_vector";
    added.prepare = [=](tnk_int n) {
      const Call mixed = repeated<tnk_int>(ours, [trans](auto *f, auto &order, auto &step, Operands &o) {
        f(&trans, &order, &order, &one<T>, o.x<R>(), &order, vector<T>(o, 0), &step, &zero<T>,
          vector<T>(o, 1), &step);
      });
      // What the parts would take if they stood apart: every other element.
      const Call apart = repeated<tnk_int>(gemv, [trans](auto *f, auto &order, auto &, Operands &o) {
        const tnk_int two = 2;
        for (const int part : {0, 1})
          f(&trans, &order, &order, &one<R>, o.x<R>(), &order, vector<R>(o, 0) + part, &two, &zero<R>,
            vector<R>(o, 2) + part, &two);
      });
      return make<R>(letter, n, 2 * flops<R>, 1, mixed, apart);
    };
    rows.push_back(std::move(added));
  }
}

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_blas_##name)

void add_matrix_vector(std::vector<Row> &rows) {
  add_gemv<float>(rows, 's', tnk_blas_sgemv, ENTRY(xsgemv));
  add_gemv<double>(rows, 'd', tnk_blas_dgemv, ENTRY(xdgemv));
  add_gemv<tnk_complex8>(rows, 'c', tnk_blas_cgemv, ENTRY(xcgemv));
  add_gemv<tnk_complex16>(rows, 'z', tnk_blas_zgemv, ENTRY(xzgemv));
  add_gem2v<float>(rows, 's', ENTRY(sgem2vu), tnk_blas_sgemv);
  add_gem2v<double>(rows, 'd', ENTRY(dgem2vu), tnk_blas_dgemv);
  add_gem2v<tnk_complex8>(rows, 'c', ENTRY(cgem2vc), tnk_blas_cgemv);
  add_gem2v<tnk_complex16>(rows, 'z', ENTRY(zgem2vc), tnk_blas_zgemv);
  add_mixed<tnk_complex8, float>(rows, "scgemv", 's', ENTRY(scgemv), tnk_blas_sgemv);
  add_mixed<tnk_complex16, double>(rows, "dzgemv", 'd', ENTRY(dzgemv), tnk_blas_dgemv);
}

} // namespace tnk::bench
