#include "bench/peer.h"
#include "bench/row.h"

#include <tnk/blas_level1.h>
#include <tnk/host.h>

#include <cmath>
#include <type_traits>
#include <utility>

namespace tnk::bench {
namespace {

template <class T> constexpr char letter = 0;
template <> constexpr char letter<float> = 's';
template <> constexpr char letter<double> = 'd';
template <> constexpr char letter<tnk_complex8> = 'c';
template <> constexpr char letter<tnk_complex16> = 'z';

template <class T> constexpr bool is_complex = std::is_class_v<T>;
template <class T>
using Real = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, tnk_complex8>, float, double>;

// Scalars keep the operands near 1 however often a routine runs on them: complex ones and rotations have
// modulus 1.
template <class T> T scalar(double re, double im) {
  if constexpr (is_complex<T>) {
    return {static_cast<Real<T>>(re), static_cast<Real<T>>(im)};
  } else {
    return static_cast<T>(re);
  }
}

// Signatures, the same for both sides but for the type of integers.
template <class I, class T> using Axpy = void(const I *, const T *, const T *, const I *, T *, const I *);
template <class I, class T>
using Axpby = void(const I *, const T *, const T *, const I *, const T *, T *, const I *);
template <class I, class T> using Copy = void(const I *, const T *, const I *, T *, const I *);
template <class I, class T> using Swap = void(const I *, T *, const I *, T *, const I *);
template <class I, class T, class A> using Scal = void(const I *, const A *, T *, const I *);
template <class I, class T, class R> using Dot = R(const I *, const T *, const I *, const T *, const I *);
template <class I>
using Sdsdot = float(const I *, const float *, const float *, const I *, const float *, const I *);
template <class I, class T, class R> using Reduce = R(const I *, const T *, const I *);
template <class I, class T, class S>
using Rot = void(const I *, T *, const I *, T *, const I *, const Real<T> *, const S *);
template <class I, class T> using Rotm = void(const I *, T *, const I *, T *, const I *, const T *);

// The peer has no routine that returns a complex number by address but this one.
using PeerComplexDot = void(int, const void *, int, const void *, int, void *);

template <class T> void plain_asum(Operands &o, long) {
  double sum = 0;
  const tnk_int numbers = o.n * (is_complex<T> ? 2 : 1);
  for (tnk_int i = 0; i < numbers; ++i) sum += std::abs(static_cast<double>(o.x<Real<T>>()[i]));
  *o.result<Real<T>>() = static_cast<Real<T>>(sum);
}

class Rows {
public:
  explicit Rows(std::vector<Row> &appended) : rows(appended) {}

  // name is also the peer's but for an underscore.
  template <class T, class Peer, class Ours, class Body>
  void add(const std::string &name, const char *group, const Cost &cost, Ours *ours, Body body) {
    rows.push_back({name, group, letter<T>, cost, repeated<tnk_int>(ours, body),
                    repeated<int>(peer_routine<Peer>(name + "_"), body)});
  }

  template <class T> void add_axpy(const std::string &name, Axpy<tnk_int, T> *ours, int width = 32) {
    const T alpha = scalar<T>(1.0 / 1024, is_complex<T> ? 1.0 / 2048 : 0);
    const double flops = is_complex<T> ? 8 : 2;
    add<T, Axpy<int, T>>(
        name, "axpy", {3 * sizeof(T), flops, Mix::read_update, Law::close, width}, ours,
        [alpha](auto *f, auto &n, auto &one, Operands &o) { f(&n, &alpha, o.x<T>(), &one, o.y<T>(), &one); });
  }

  template <class T> void add_axpby(const std::string &name, Axpby<tnk_int, T> *ours) {
    const T alpha = scalar<T>(0.75, 0.25), beta = scalar<T>(0.5, -0.25);
    const double flops = is_complex<T> ? 14 : 3;
    add<T, Axpby<int, T>>(name, "axpby", {3 * sizeof(T), flops, Mix::read_update, Law::close}, ours,
                          [alpha, beta](auto *f, auto &n, auto &one, Operands &o) {
                            f(&n, &alpha, o.x<T>(), &one, &beta, o.y<T>(), &one);
                          });
  }

  template <class T> void add_copy(const std::string &name, Copy<tnk_int, T> *ours) {
    add<T, Copy<int, T>>(
        name, "copy", {2 * sizeof(T), 0, Mix::copy, Law::exact}, ours,
        [](auto *f, auto &n, auto &one, Operands &o) { f(&n, o.x<T>(), &one, o.y<T>(), &one); });
  }

  template <class T> void add_swap(const std::string &name, Swap<tnk_int, T> *ours) {
    add<T, Swap<int, T>>(
        name, "swap", {4 * sizeof(T), 0, Mix::exchange, Law::exact}, ours,
        [](auto *f, auto &n, auto &one, Operands &o) { f(&n, o.x<T>(), &one, o.y<T>(), &one); });
  }

  template <class T, class A> void add_scal(const std::string &name, Scal<tnk_int, T, A> *ours) {
    const A alpha = is_complex<A> ? scalar<A>(0.6, 0.8) : scalar<A>(-1, 0);
    const double flops = is_complex<A> ? 6 : is_complex<T> ? 2 : 1;
    add<T, Scal<int, T, A>>(
        name, "scal", {2 * sizeof(T), flops, Mix::update, Law::close}, ours,
        [alpha](auto *f, auto &n, auto &one, Operands &o) { f(&n, &alpha, o.x<T>(), &one); });
  }

  template <class T, class R> void add_dot(const std::string &name, Dot<tnk_int, T, R> *ours, int width) {
    const bool widened = !std::is_same_v<T, R>;
    add<T, Dot<int, T, R>>(name, "dot", {2 * sizeof(T), 2, Mix::read_both, Law::exact, width, widened}, ours,
                           [](auto *f, auto &n, auto &one, Operands &o) {
                             *o.result<R>() = f(&n, o.x<T>(), &one, o.y<T>(), &one);
                           });
  }

  void add_sdsdot(const std::string &name, Sdsdot<tnk_int> *ours) {
    add<float, Sdsdot<int>>(name, "dot", {2 * sizeof(float), 2, Mix::read_both, Law::exact, 16}, ours,
                            [](auto *f, auto &n, auto &one, Operands &o) {
                              const float start = 0.5f;
                              *o.result<float>() = f(&n, &start, o.x<float>(), &one, o.y<float>(), &one);
                            });
  }

  template <class T>
  void add_complex_dot(const std::string &name, void (*ours)(T *, const tnk_int *, const T *, const tnk_int *,
                                                             const T *, const tnk_int *)) {
    const Cost cost = {2 * sizeof(T), 8, Mix::read_both, Law::exact};
    rows.push_back(
        {name, "dot", letter<T>, cost,
         repeated<tnk_int>(ours, [](auto *f, auto &n, auto &one,
                                    Operands &o) { f(o.result<T>(), &n, o.x<T>(), &one, o.y<T>(), &one); }),
         repeated<int>(peer_routine<PeerComplexDot>("cblas_" + name + "_sub"),
                       [](auto *f, auto &n, auto &one, Operands &o) {
                         f(n, o.x<T>(), one, o.y<T>(), one, o.result<T>());
                       })});
  }

  template <class T>
  void add_reduction(const std::string &name, const char *group, double flops,
                     Reduce<tnk_int, T, Real<T>> *ours) {
    add<T, Reduce<int, T, Real<T>>>(
        name, group, {sizeof(T), flops, Mix::read, Law::sum}, ours,
        [](auto *f, auto &n, auto &one, Operands &o) { *o.result<Real<T>>() = f(&n, o.x<T>(), &one); });
    // The peer's sums have been found wrong at some lengths.
    if (std::string(group) == "asum") rows.back().judge = plain_asum<T>;
  }

  template <class T>
  void add_extreme(const std::string &name, const char *group, Reduce<tnk_int, T, tnk_int> *ours) {
    add<T, Reduce<int, T, int>>(name, group, {sizeof(T), 0, Mix::read, Law::exact}, ours,
                                [](auto *f, auto &n, auto &one, Operands &o) {
                                  *o.result<Real<T>>() = static_cast<Real<T>>(f(&n, o.x<T>(), &one));
                                });
  }

  template <class T, class S>
  void add_rot(const std::string &name, double flops, Rot<tnk_int, T, S> *ours, int width) {
    const Real<T> c = static_cast<Real<T>>(0.6);
    const S s = is_complex<S> ? scalar<S>(0.48, 0.64) : scalar<S>(0.8, 0);
    add<T, Rot<int, T, S>>(
        name, "rot", {4 * sizeof(T), flops, Mix::exchange, Law::close, width}, ours,
        [c, s](auto *f, auto &n, auto &one, Operands &o) { f(&n, o.x<T>(), &one, o.y<T>(), &one, &c, &s); });
  }

  template <class T> void add_rotm(const std::string &name, Rotm<tnk_int, T> *ours) {
    add<T, Rotm<int, T>>(name, "rotm", {4 * sizeof(T), 6, Mix::exchange, Law::close, 16}, ours,
                         [](auto *f, auto &n, auto &one, Operands &o) {
                           constexpr T param[5] = {-1, static_cast<T>(0.6), static_cast<T>(-0.8),
                                                   static_cast<T>(0.8), static_cast<T>(0.6)};
                           f(&n, o.x<T>(), &one, o.y<T>(), &one, param);
                         });
  }

private:
  std::vector<Row> &rows;
};

} // namespace

// The entry as a pointer to a function, for rows of one type.
#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_blas_##name)

void add_blas_level1(std::vector<Row> &appended) {
  Rows rows(appended);
  rows.add_axpy("saxpy", ENTRY(xsaxpy), 16);
  rows.add_axpy("daxpy", ENTRY(xdaxpy));
  rows.add_axpy("caxpy", ENTRY(xcaxpy));
  rows.add_axpy("zaxpy", ENTRY(xzaxpy));

  rows.add_axpby("saxpby", ENTRY(saxpby));
  rows.add_axpby("daxpby", ENTRY(daxpby));
  rows.add_axpby("caxpby", ENTRY(caxpby));
  rows.add_axpby("zaxpby", ENTRY(zaxpby));

  rows.add_copy("scopy", ENTRY(xscopy));
  rows.add_copy("dcopy", ENTRY(xdcopy));
  rows.add_copy("ccopy", ENTRY(xccopy));
  rows.add_copy("zcopy", ENTRY(xzcopy));

  rows.add_swap("sswap", ENTRY(xsswap));
  rows.add_swap("dswap", ENTRY(xdswap));
  rows.add_swap("cswap", ENTRY(xcswap));
  rows.add_swap("zswap", ENTRY(xzswap));

  rows.add_scal("sscal", ENTRY(sscal));
  rows.add_scal("dscal", ENTRY(dscal));
  rows.add_scal("cscal", ENTRY(cscal));
  rows.add_scal("zscal", ENTRY(zscal));
  rows.add_scal("csscal", ENTRY(csscal));
  rows.add_scal("zdscal", ENTRY(zdscal));

  rows.add_dot("sdot", ENTRY(xsdot), 16);
  rows.add_dot("ddot", ENTRY(xddot), 32);
  rows.add_dot("dsdot", ENTRY(dsdot), 16);
  rows.add_sdsdot("sdsdot", ENTRY(sdsdot));
  rows.add_complex_dot("cdotu", ENTRY(cdotu));
  rows.add_complex_dot("cdotc", ENTRY(xcdotc));
  rows.add_complex_dot("zdotu", ENTRY(zdotu));
  rows.add_complex_dot("zdotc", ENTRY(zdotc));

  rows.add_reduction("sasum", "asum", 1, ENTRY(sasum));
  rows.add_reduction("dasum", "asum", 1, ENTRY(dasum));
  rows.add_reduction("scasum", "asum", 2, ENTRY(scasum));
  rows.add_reduction("dzasum", "asum", 2, ENTRY(dzasum));

  rows.add_reduction("snrm2", "nrm2", 2, ENTRY(snrm2));
  rows.add_reduction("dnrm2", "nrm2", 2, ENTRY(dnrm2));
  rows.add_reduction("scnrm2", "nrm2", 4, ENTRY(scnrm2));
  rows.add_reduction("dznrm2", "nrm2", 4, ENTRY(dznrm2));

  rows.add_extreme("isamax", "iamax", ENTRY(isamax));
  rows.add_extreme("idamax", "iamax", ENTRY(idamax));
  rows.add_extreme("icamax", "iamax", ENTRY(icamax));
  rows.add_extreme("izamax", "iamax", ENTRY(izamax));
  rows.add_extreme("isamin", "iamin", ENTRY(isamin));
  rows.add_extreme("idamin", "iamin", ENTRY(idamin));
  rows.add_extreme("icamin", "iamin", ENTRY(icamin));
  rows.add_extreme("izamin", "iamin", ENTRY(izamin));

  rows.add_rot("srot", 6, ENTRY(xsrot), 16);
  rows.add_rot("drot", 6, ENTRY(xdrot), 16);
  rows.add_rot("csrot", 12, ENTRY(xcsrot), 32);
  rows.add_rot("zdrot", 12, ENTRY(xzdrot), 32);
  rows.add_rot("crot", 20, ENTRY(xcrot), 32);
  rows.add_rot("zrot", 20, ENTRY(xzrot), 32);

  rows.add_rotm("srotm", ENTRY(srotm));
  rows.add_rotm("drotm", ENTRY(drotm));
}

} // namespace tnk::bench
