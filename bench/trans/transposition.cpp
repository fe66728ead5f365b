// Copies of matrices and changes in place beside the extensions of the BLAS library: public routines on both sides.

#include "bench/families.h"
#include "bench/operands.h"

#include <tnk/trans.h>

#include <memory>
#include <type_traits>

namespace tnk::bench {
namespace {

template <class T>
using PeerCopy = void(const char *, const char *, const int *, const int *, const T *, const T *, const int *,
                      T *, const int *);
template <class T>
using PeerChange = void(const char *, const char *, const int *, const int *, const T *, T *, const int *,
                        const int *);

template <class T, class Factor>
using Copy = void(char, char, tnk_int, tnk_int, Factor, const T *, tnk_int, T *, tnk_int);

template <class T> T factor(double alpha) {
  if constexpr (std::is_class_v<T>)
    return {static_cast<decltype(T::re)>(alpha), 0};
  else
    return static_cast<T>(alpha);
}
template <class T> const T *passed(const T &alpha, const T *) {
  return &alpha;
}
template <class T> T passed(const T &alpha, T) {
  return alpha;
}

Contest contest(char element, std::size_t elements, Mix mix) {
  Contest made;
  made.element = element, made.elements = elements, made.mix = mix;
  const double bytes = element == 's' ? 4 : element == 'z' ? 16 : 8;
  made.bytes = 2.0 * bytes * static_cast<double>(elements);
  made.law = Law::close;
  return made;
}

Row row(const char *group, const std::string &name, std::vector<tnk_int> sizes) {
  Row made;
  made.group = group, made.name = name, made.sizes = std::move(sizes), made.quick = 500;
  made.unit = "B", made.picture = "transposition";
  made.library = &openblas();
  return made;
}

const std::vector<tnk_int> orders = {200, 500, 1000, 2000, 3000, 4096};

// B := alpha A or alpha A^T. What repeats is the same copy.
template <class T, class Factor>
void add_copy(std::vector<Row> &rows, char element, const char *what, char trans, double factor_value,
              Copy<T, Factor> *routine) {
  const std::string routine_name = std::string(1, element) + "omatcopy";
  const T alpha = factor<T>(factor_value);
  const Call ours = [=](Operands &o, long count) {
    while (count-- > 0) routine('R', trans, o.n, o.n, passed(alpha, Factor{}), o.x<T>(), o.n, o.y<T>(), o.n);
  };
  const auto sized = [=](tnk_int n) { return contest(element, static_cast<std::size_t>(n * n), Mix::copy); };
  Row alone = row("trans/omatcopy", routine_name + what, orders);
  alone.prepare = [=](tnk_int n) {
    auto *const peer = openblas().routine<PeerCopy<T>>(routine_name + '_');
    return on_operands(sized(n), "B", n, ours,
                       repeated<int>(peer, [=](auto *f, auto &size, auto &, Operands &o) {
                         f("R", &trans, &size, &size, &alpha, o.x<T>(), &size, o.y<T>(), &size);
                       }));
  };
  rows.push_back(std::move(alone));
  if (element != 'd') return;
  Row threaded = row("trans/omatcopy_threads", routine_name + what + "_2t", {200, 500, 1000, 4096});
  threaded.library = nullptr, threaded.peer = "1 thread", threaded.picture = "threads", threaded.threads = 2;
  threaded.prepare = [=](tnk_int n) { return on_operands(sized(n), "B", n, ours, ours); };
  rows.push_back(std::move(threaded));
}

// A := A^T, of n rows and n or 3n/2 columns; what comes of it counts as such a matrix again.
enum class Way { square, cycles, workspace };
void add_change(std::vector<Row> &rows, const char *name, Way way, std::vector<tnk_int> sizes) {
  Row made = row("trans/imatcopy", name, std::move(sizes));
  made.prepare = [=](tnk_int n) {
    const tnk_int m = way == Way::square ? n : n * 3 / 2;
    const auto elements = static_cast<std::size_t>(m * n);
    const auto work = std::make_shared<std::vector<double>>(way == Way::workspace ? elements : 0);
    const Call ours = [=](Operands &o, long count) {
      while (count-- > 0)
        if (way == Way::workspace)
          tnk_trans_dimatcopy_work('R', 'T', n, m, 1, o.x<double>(), m, n, work->data());
        else
          tnk_trans_dimatcopy('R', 'T', n, m, 1, o.x<double>(), m, n);
    };
    auto *const peer = openblas().routine<PeerChange<double>>("dimatcopy_");
    return on_operands(contest('d', elements, Mix::update), "B", n, ours,
                       repeated<int>(peer, [=](auto *f, auto &size, auto &, Operands &o) {
                         const double unit = 1;
                         const int other = static_cast<int>(m);
                         f("R", "T", &size, &other, &unit, o.x<double>(), &other, &size);
                       }));
  };
  rows.push_back(std::move(made));
}

} // namespace

void add_transposition(std::vector<Row> &rows) {
  add_copy<double>(rows, 'd', "_t", 'T', 1, tnk_trans_domatcopy);
  add_copy<double>(rows, 'd', "_t_scaled", 'T', 1.5, tnk_trans_domatcopy);
  add_copy<double>(rows, 'd', "_n", 'N', 1.5, tnk_trans_domatcopy);
  add_copy<float>(rows, 's', "_t", 'T', 1, tnk_trans_somatcopy);
  add_copy<tnk_complex8>(rows, 'c', "_t", 'T', 1, tnk_trans_comatcopy);
  add_copy<tnk_complex16>(rows, 'z', "_t", 'T', 1, tnk_trans_zomatcopy);
  add_change(rows, "dimatcopy_square", Way::square, orders);
  add_change(rows, "dimatcopy_work", Way::workspace, {200, 1000, 2000});
  add_change(rows, "dimatcopy_cycles", Way::cycles, {200, 500});
}

} // namespace tnk::bench
