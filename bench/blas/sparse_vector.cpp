// Sparse vectors. The common peers have none, so a plain loop stands in.

#include "bench/blas/plain_sparse_vector.h"
#include "bench/families.h"
#include "bench/operands.h"

#include <tnk/blas_level1.h>
#include <tnk/host.h>

#include <type_traits>

namespace tnk::bench {
namespace {

template <class Plain> struct Same { using kernel = Plain; };
template <> struct Same<std::complex<float>> { using kernel = tnk_complex8; };
template <> struct Same<std::complex<double>> { using kernel = tnk_complex16; };

// P is the type of a plain loop; K is the kernel's name for it.
template <class P> class Rows {
public:
  using K = typename Same<P>::kernel;

  Rows(std::vector<Row> &appended, char letter) : rows(appended), element(letter) {}

  void axpyi(void (*ours)(const tnk_int *, const K *, const K *, const tnk_int *, K *)) {
    const P alpha = static_cast<P>(1.0 / 1024);
    add(
        "axpyi", {bytes(3), complex ? 8.0 : 2.0, Mix::read_update, Law::close}, ours,
        [alpha](auto *f, auto &n, auto &, Operands &o) {
          f(&n, reinterpret_cast<const K *>(&alpha), o.x<K>(), o.indx, o.y<K>());
        },
        [alpha](Operands &o) { plain::axpyi(o.n, alpha, o.x<P>(), o.indx, o.y<P>()); });
  }

  // Complex results come by address.
  template <class Ours> void doti(const char *operation, Ours *ours) {
    add(
        operation, {bytes(2), complex ? 8.0 : 2.0, Mix::read_both, Law::exact}, ours,
        [](auto *f, auto &n, auto &, Operands &o) {
          if constexpr (complex) {
            f(o.result<K>(), &n, o.x<K>(), o.indx, o.y<K>());
          } else {
            *o.result<K>() = f(&n, o.x<K>(), o.indx, o.y<K>());
          }
        },
        [](Operands &o) { *o.result<P>() = plain::doti(o.n, o.x<P>(), o.indx, o.y<P>()); });
  }

  template <class Ours> void dotci(const char *operation, Ours *ours) {
    add(
        operation, {bytes(2), 8, Mix::read_both, Law::exact}, ours,
        [](auto *f, auto &n, auto &, Operands &o) { f(o.result<K>(), &n, o.x<K>(), o.indx, o.y<K>()); },
        [](Operands &o) { *o.result<P>() = plain::dotci(o.n, o.x<P>(), o.indx, o.y<P>()); });
  }

  void gthr(void (*ours)(const tnk_int *, const K *, K *, const tnk_int *)) {
    add(
        "gthr", {bytes(2), 0, Mix::copy, Law::exact}, ours,
        [](auto *f, auto &n, auto &, Operands &o) { f(&n, o.y<K>(), o.x<K>(), o.indx); },
        [](Operands &o) { plain::gthr(o.n, o.y<P>(), o.x<P>(), o.indx); });
  }

  void gthrz(void (*ours)(const tnk_int *, K *, K *, const tnk_int *)) {
    add(
        "gthrz", {bytes(3), 0, Mix::read_update, Law::exact}, ours,
        [](auto *f, auto &n, auto &, Operands &o) { f(&n, o.y<K>(), o.x<K>(), o.indx); },
        [](Operands &o) { plain::gthrz(o.n, o.y<P>(), o.x<P>(), o.indx); });
  }

  void sctr(void (*ours)(const tnk_int *, const K *, const tnk_int *, K *)) {
    add(
        "sctr", {bytes(2), 0, Mix::copy, Law::exact}, ours,
        [](auto *f, auto &n, auto &, Operands &o) { f(&n, o.x<K>(), o.indx, o.y<K>()); },
        [](Operands &o) { plain::sctr(o.n, o.x<P>(), o.indx, o.y<P>()); });
  }

  void roti(void (*ours)(const tnk_int *, K *, const tnk_int *, K *, const K *, const K *)) {
    const K c = static_cast<K>(0.6), s = static_cast<K>(0.8);
    add(
        "roti", {bytes(4), 6, Mix::exchange, Law::close}, ours,
        [c, s](auto *f, auto &n, auto &, Operands &o) { f(&n, o.x<K>(), o.indx, o.y<K>(), &c, &s); },
        [c, s](Operands &o) { plain::roti(o.n, o.x<P>(), o.indx, o.y<P>(), c, s); });
  }

private:
  static constexpr bool complex = std::is_class_v<P>;

  struct Cost {
    double bytes, flops; // of one element
    Mix mix;
    Law law;
  };

  // So many passes over a vector of values, and one over the positions.
  static double bytes(int passes) { return static_cast<double>(passes * sizeof(P) + sizeof(tnk_int)); }

  template <class Ours, class Body, class Plain>
  void add(const char *operation, const Cost &cost, Ours *routine, Body body, Plain loop) {
    const Call ours = repeated<tnk_int>(routine, body), peer = [loop](Operands &o, long count) {
      for (; count > 0; --count) loop(o);
    };
    Row added;
    added.group = "level1/sparse";
    added.name = element + std::string(operation);
    added.sizes = {100, 1000, 10000, 1000000, 10000000};
    added.unit = "B";
    added.picture = "sparse_vectors";
    added.peer = "plain loop";
    added.prepare = [=, letter = element](tnk_int n) {
      const auto elements = static_cast<double>(n);
      return on_operands({letter, static_cast<std::size_t>(n), cost.bytes * elements, cost.flops * elements,
                          cost.mix, cost.law},
                         "B", n, ours, peer);
    };
    rows.push_back(std::move(added));
  }

  std::vector<Row> &rows;
  char element;
};

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_blas_##name)

void add_sparse_vectors(std::vector<Row> &appended) {
  Rows<float> s(appended, 's');
  Rows<double> d(appended, 'd');
  Rows<std::complex<float>> c(appended, 'c');
  Rows<std::complex<double>> z(appended, 'z');

  s.axpyi(ENTRY(saxpyi));
  d.axpyi(ENTRY(daxpyi));
  c.axpyi(ENTRY(caxpyi));
  z.axpyi(ENTRY(zaxpyi));

  s.doti("doti", ENTRY(sdoti));
  d.doti("doti", ENTRY(ddoti));
  c.doti("dotui", ENTRY(cdotui));
  c.dotci("dotci", ENTRY(cdotci));
  z.doti("dotui", ENTRY(zdotui));
  z.dotci("dotci", ENTRY(zdotci));

  s.gthr(ENTRY(sgthr));
  d.gthr(ENTRY(dgthr));
  c.gthr(ENTRY(cgthr));
  z.gthr(ENTRY(zgthr));

  s.gthrz(ENTRY(sgthrz));
  d.gthrz(ENTRY(dgthrz));
  c.gthrz(ENTRY(cgthrz));
  z.gthrz(ENTRY(zgthrz));

  s.sctr(ENTRY(ssctr));
  d.sctr(ENTRY(dsctr));
  c.sctr(ENTRY(csctr));
  z.sctr(ENTRY(zsctr));

  s.roti(ENTRY(sroti));
  d.roti(ENTRY(droti));
}

} // namespace tnk::bench
