// Rank-one updates beside the BLAS library. They have no public form: the kernels themselves are measured.

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
template <class I, class T> Call update(Ger<I, T> *routine) {
  return repeated<I>(routine, [](auto *f, auto &n, auto &one, Operands &o) {
    T alpha{};
    reinterpret_cast<std::conditional_t<sizeof(T) % 16 == 0 || std::is_same_v<T, double>, double, float> &>(
        alpha) = 1.0 / 1024; // the real part comes first
    const T *const x = o.y<T>();
    f(&n, &n, &alpha, x, &one, x + n, &one, o.x<T>(), &n);
  });
}

template <class T> void add_ger(std::vector<Row> &rows, const std::string &name, Ger<tnk_int, T> *ours) {
  Row row;
  row.group = "level2/ger", row.name = name, row.sizes = {10, 100, 1000, 5000}, row.quick = 100;
  row.unit = "B", row.picture = "matrix_vector";
  row.library = &openblas();
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

} // namespace

#define ADD(name, T) add_ger<T>(rows, #name, TNK_KERNEL_ENTRY(tnk_blas_##name))

void add_rank_one(std::vector<Row> &rows) {
  ADD(sger, float);
  ADD(dger, double);
  ADD(cgeru, tnk_complex8);
  ADD(cgerc, tnk_complex8);
  ADD(zgeru, tnk_complex16);
  ADD(zgerc, tnk_complex16);
}

} // namespace tnk::bench
