// Rank-one updates and products of general bands beside the BLAS library: the kernels, which have no public forms.

#include "bench/families.h"
#include "bench/operands.h"

#include <tnk/blas_level2.h>
#include <tnk/host.h>

#include <type_traits>

namespace tnk::bench {
namespace {

template <class I, class T>
using Ger = void(const I *, const I *, const T *, const T *, const I *, const T *, const I *, T *, const I *);

// x holds the matrix, y both vectors. Sums grow by less than a thousandth a call.
template <class I, class T>
using Gbmv = void(const char *, const I *, const I *, const I *, const I *, const T *, const T *, const I *,
                  const T *, const I *, const T *, T *, const I *);

template <class T> constexpr bool is_complex = std::is_class_v<T>;
template <class T> T scalar(double re) {
  using R = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, tnk_complex8>, float, double>;
  if constexpr (is_complex<T>)
    return {static_cast<R>(re), 0};
  else
    return static_cast<T>(re);
}

// x holds the matrix, y both vectors. What is added to is finite however often: a call adds less than a thousandth.
template <class I, class T> Call update(Ger<I, T> *routine) {
  return repeated<I>(routine, [](auto *f, auto &n, auto &one, Operands &o) {
    const T alpha = scalar<T>(1.0 / 1024), *const x = o.y<T>();
    f(&n, &n, &alpha, x, &one, x + n, &one, o.x<T>(), &n);
  });
}
template <class I, class T> Call product(Gbmv<I, T> *routine, char trans, tnk_int half) {
  return repeated<I>(routine, [=](auto *f, auto &n, auto &one, Operands &o) {
    const T alpha = scalar<T>(1.0 / 1024), beta = scalar<T>(1), *const x = o.y<T>();
    const I k = static_cast<I>(half), lda = 2 * k + 1;
    f(&trans, &n, &n, &k, &k, &alpha, o.x<T>(), &lda, x, &one, &beta, o.y<T>() + n, &one);
  });
}

Row update_row(const char *group, const std::string &name) {
  Row row;
  row.group = group, row.name = name, row.sizes = {10, 100, 1000, 5000}, row.quick = 100;
  row.unit = "B", row.picture = "matrix_vector";
  row.library = &openblas();
  return row;
}

template <class T> void add_ger(std::vector<Row> &rows, const std::string &name, Ger<tnk_int, T> *ours) {
  Row row = update_row("level2/ger", name);
  row.prepare = [=](tnk_int n) {
    Contest contest;
    contest.element = name[0];
    contest.elements = static_cast<std::size_t>(n * n + 2 * n);
    contest.bytes = 2.0 * sizeof(T) * static_cast<double>(n * n);
    contest.mix = Mix::update;
    contest.law = Law::close;
    return on_operands(contest, "B", n, update(ours), update(openblas().routine<Ger<int, T>>(name + "_")));
  };
  rows.push_back(std::move(row));
}

template <class T> void add_gbmv(std::vector<Row> &rows, const std::string &name, Gbmv<tnk_int, T> *ours) {
  for (const char trans : {'N', 'T'})
    for (const tnk_int half : {5, 50}) {
      Row row;
      row.group = "level2/gbmv", row.name = name + (trans == 'N' ? "_n" : "_t") + std::to_string(half);
      row.sizes = {300, 10000}, row.quick = 300;
      row.unit = "flop", row.picture = "matrix_vector";
      row.library = &openblas();
      row.prepare = [=](tnk_int n) {
        const tnk_int elements = (2 * half + 1) * n;
        Contest contest; // so few bits that every sum is exact
        contest.element = name[0];
        contest.elements = static_cast<std::size_t>(elements);
        contest.bytes = sizeof(T) * static_cast<double>(elements);
        contest.flops = (is_complex<T> ? 8.0 : 2.0) * static_cast<double>(elements);
        return on_operands(contest, "flop", n, product(ours, trans, half),
                           product(openblas().routine<Gbmv<int, T>>(name + "_"), trans, half));
      };
      rows.push_back(std::move(row));
    }
}

} // namespace

#define ADD(name, T) add_ger<T>(rows, #name, TNK_KERNEL_ENTRY(tnk_blas_##name))

void add_rank_one(std::vector<Row> &rows) {
  add_gbmv<float>(rows, "sgbmv", TNK_KERNEL_ENTRY(tnk_blas_sgbmv));
  add_gbmv<double>(rows, "dgbmv", TNK_KERNEL_ENTRY(tnk_blas_dgbmv));
  add_gbmv<tnk_complex8>(rows, "cgbmv", TNK_KERNEL_ENTRY(tnk_blas_cgbmv));
  add_gbmv<tnk_complex16>(rows, "zgbmv", TNK_KERNEL_ENTRY(tnk_blas_zgbmv));
  ADD(sger, float);
  ADD(dger, double);
  ADD(cgeru, tnk_complex8);
  ADD(cgerc, tnk_complex8);
  ADD(zgeru, tnk_complex16);
  ADD(zgerc, tnk_complex16);
}

} // namespace tnk::bench
