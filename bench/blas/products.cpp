// The matrix product: the public routine on one thread beside the BLAS library, its kernel beside it, and two threads
// beside one.

#include "bench/families.h"
#include "bench/operands.h"

#include <tnk/blas.h>
#include <tnk/blas_level3.h>
#include <tnk/host.h>

#include <algorithm>
#include <type_traits>

namespace tnk::bench {
namespace {

template <class I, class T>
using Gemm = void(const char *, const char *, const I *, const I *, const I *, const T *, const T *,
                  const I *, const T *, const I *, const T *, T *, const I *);

template <class T>
using Real = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, tnk_complex8>, float, double>;

// m, n and k of a product, 0 where they are the order, and its letters.
struct Shape {
  const char *suffix;
  tnk_int m, n, k;
  char transa = 'N', transb = 'N';

  Shape at(tnk_int order) const {
    return {suffix, m ? m : order, n ? n : order, k ? k : order, transa, transb};
  }
};
constexpr tnk_int thin = 8;
constexpr Shape square = {"", 0, 0, 0}, transposed = {"_tn", 0, 0, 0, 'T', 'N'},
                shapes[] = {{"_m8", thin, 0, 0}, {"_n8", 0, thin, 0}, {"_k8", 0, 0, thin}};

// C := op(A) op(B). x holds A and then B, y holds C.
template <class I, class T> Call product(Gemm<I, T> *routine, const Shape &shape) {
  if (!routine) return {};
  return [routine, shape](Operands &o, long count) {
    const Shape s = shape.at(o.n);
    const I m = static_cast<I>(s.m), n = static_cast<I>(s.n), k = static_cast<I>(s.k);
    const I lda = s.transa == 'N' ? m : k, ldb = s.transb == 'N' ? k : n;
    const T *a = o.x<T>(), *b = a + static_cast<std::ptrdiff_t>(m) * k;
    T one{}, zero{};
    reinterpret_cast<Real<T> &>(one) = 1; // the real part comes first
    for (; count > 0; --count)
      routine(&s.transa, &s.transb, &m, &n, &k, &one, a, &lda, b, &ldb, &zero, o.y<T>(), &m);
  };
}

// The elements have so few bits that every sum is exact, in any order.
template <class T>
Case make(char letter, const Shape &shape, tnk_int order, const Call &ours, const Call &peer) {
  const Shape s = shape.at(order);
  Contest contest;
  contest.element = letter;
  contest.elements = static_cast<std::size_t>(std::max(s.m * s.k + s.k * s.n, s.m * s.n));
  contest.flops = (std::is_class_v<T> ? 8.0 : 2.0) * static_cast<double>(s.m * s.n * s.k);
  return on_operands(contest, "flop", order, ours, peer);
}

Row row(char letter, const char *suffix, std::vector<tnk_int> orders) {
  Row made;
  made.group = "level3/gemm";
  made.name = letter + std::string("gemm") + suffix;
  made.sizes = std::move(orders);
  made.quick = 256;
  made.unit = "flop";
  return made;
}

template <class T>
void add_gemm(std::vector<Row> &rows, char letter, Gemm<tnk_int, T> *ours, Gemm<tnk_int, T> *kernel) {
  const auto beside_library = [&](const Shape &shape, std::vector<tnk_int> orders) {
    Row added = row(letter, shape.suffix, std::move(orders));
    added.picture = "products";
    added.curve = true;
    added.library = &openblas();
    added.prepare = [=](tnk_int order) {
      auto *const peer = openblas().routine<Gemm<int, T>>(letter + std::string("gemm_"));
      return make<T>(letter, shape, order, product<tnk_int, T>(ours, shape), product<int, T>(peer, shape));
    };
    rows.push_back(std::move(added));
  };
  const auto beside_itself = [&](const char *suffix, std::vector<tnk_int> orders, Gemm<tnk_int, T> *first) {
    Row added = row(letter, suffix, std::move(orders));
    added.prepare = [=](tnk_int order) {
      return make<T>(letter, square, order, product<tnk_int, T>(first, square),
                     product<tnk_int, T>(ours, square));
    };
    return added;
  };
  beside_library(square, {4, 8, 12, 16, 20, 24, 32, 64, 256, 1000, 2000});
  beside_library(transposed, {4, 8, 12, 16, 20, 24, 32});
  for (const Shape &shape : shapes) beside_library(shape, {2000});

  Row checks = beside_itself("_kernel", {8, 16, 32}, kernel);
  checks.peer = "public routine", checks.picture = "kernels";
  rows.push_back(std::move(checks));

  // The ratio is what the second thread brings. The limit is that of one.
  Row threaded = beside_itself("_2t", {2000}, ours);
  threaded.group = "level3/gemm_threads";
  threaded.peer = "1 thread", threaded.picture = "threads";
  threaded.threads = 2;
  rows.push_back(std::move(threaded));
}

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_blas_##name)

void add_products(std::vector<Row> &rows) {
  add_gemm<float>(rows, 's', tnk_blas_sgemm, ENTRY(xsgemm));
  add_gemm<double>(rows, 'd', tnk_blas_dgemm, ENTRY(xdgemm));
  add_gemm<tnk_complex8>(rows, 'c', tnk_blas_cgemm, ENTRY(xcgemm));
  add_gemm<tnk_complex16>(rows, 'z', tnk_blas_zgemm, ENTRY(xzgemm));
}

} // namespace tnk::bench
