#include "bench/peer.h"
#include "bench/row.h"

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

// m, n and k where they are not the order.
struct Shape {
  const char *suffix;
  tnk_int m, n, k;
};
constexpr tnk_int thin = 8;
constexpr Shape square = {"", 0, 0, 0},
                shapes[] = {{"_m8", thin, 0, 0}, {"_n8", 0, thin, 0}, {"_k8", 0, 0, thin}};

template <class T>
using Real = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, tnk_complex8>, float, double>;

tnk_int side(tnk_int fixed, tnk_int order) {
  return fixed ? fixed : order;
}

// x holds A and then B, y holds C. The elements have so few bits that every sum is exact, in any order.
template <class T> Cost cost() {
  return {0, std::is_class_v<T> ? 8.0 : 2.0, Mix::read, Law::exact};
}

Matrices matrices(const Shape &shape, std::vector<tnk_int> orders) {
  const auto stored = [shape](tnk_int order) {
    const tnk_int m = side(shape.m, order), n = side(shape.n, order), k = side(shape.k, order);
    return static_cast<std::size_t>(std::max(m * k + k * n, m * n));
  };
  const auto steps = [shape](tnk_int order) {
    return static_cast<double>(side(shape.m, order)) * static_cast<double>(side(shape.n, order)) *
           static_cast<double>(side(shape.k, order));
  };
  return {std::move(orders), stored, steps};
}

// C := A B, `threads` set before: 0 for routines that know none.
template <class I, class T> Call product(Gemm<I, T> *routine, const Shape &shape, int threads) {
  if (!routine) return {};
  return [routine, shape, threads](Operands &o, long count) {
    const I m = static_cast<I>(side(shape.m, o.n)), n = static_cast<I>(side(shape.n, o.n)),
            k = static_cast<I>(side(shape.k, o.n));
    const T *a = o.x<T>(), *b = a + static_cast<std::ptrdiff_t>(m) * k;
    T one{}, zero{};
    reinterpret_cast<Real<T> &>(one) = 1; // the real part comes first
    if (threads) tnk_set_num_threads(threads);
    for (; count > 0; --count) routine("N", "N", &m, &n, &k, &one, a, &m, b, &k, &zero, o.y<T>(), &m);
    if (threads) tnk_set_num_threads(0);
  };
}

template <class T> void add_kernels(std::vector<Row> &rows, char letter, Gemm<tnk_int, T> *kernel) {
  const std::string name = std::string(1, letter) + "gemm";
  const auto peer = peer_routine<Gemm<int, T>>(name + "_");
  const auto add = [&](const Shape &shape, const std::vector<tnk_int> &orders) {
    rows.push_back({name + shape.suffix,
                    "gemm",
                    letter,
                    cost<T>(),
                    product<tnk_int, T>(kernel, shape, 0),
                    product<int, T>(peer, shape, 0),
                    {},
                    matrices(shape, orders)});
  };
  add(square, {8, 16, 32, 64, 256, 1000, 2000});
  for (const Shape &shape : shapes) add(shape, {2000});
}

// Two threads beside one: the ratio is what the second one brings. The limit is that of one.
template <class T> void add_threaded(std::vector<Row> &rows, char letter, Gemm<tnk_int, T> *routine) {
  rows.push_back({std::string(1, letter) + "gemm_2t",
                  "gemm_threads",
                  letter,
                  cost<T>(),
                  product<tnk_int, T>(routine, square, 2),
                  product<tnk_int, T>(routine, square, 1),
                  {},
                  matrices(square, {2000}),
                  "1 thread"});
}

} // namespace

void add_products(std::vector<Row> &rows) {
  add_kernels<float>(rows, 's', TNK_KERNEL_ENTRY(tnk_blas_xsgemm));
  add_kernels<double>(rows, 'd', TNK_KERNEL_ENTRY(tnk_blas_xdgemm));
  add_kernels<tnk_complex8>(rows, 'c', TNK_KERNEL_ENTRY(tnk_blas_xcgemm));
  add_kernels<tnk_complex16>(rows, 'z', TNK_KERNEL_ENTRY(tnk_blas_xzgemm));
  add_threaded<float>(rows, 's', tnk_blas_sgemm);
  add_threaded<double>(rows, 'd', tnk_blas_dgemm);
  add_threaded<tnk_complex8>(rows, 'c', tnk_blas_cgemm);
  add_threaded<tnk_complex16>(rows, 'z', tnk_blas_zgemm);
}

} // namespace tnk::bench
