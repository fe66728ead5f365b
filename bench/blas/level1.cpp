// Vector routines beside the BLAS library. Where the host has a checked public routine, that is what is measured, as
// the peer's is checked too; its kernel has a row of its own, beside the public routine.

#include "bench/families.h"
#include "bench/operands.h"

#include <tnk/blas.h>
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

template <class T>
using ComplexDot = void(T *, const tnk_int *, const T *, const tnk_int *, const T *, const tnk_int *);

// The peer has no routine that returns a complex number by address but this one.
using PeerComplexDot = void(int, const void *, int, const void *, int, void *);

template <class T> void plain_asum(Operands &o, long) {
  double sum = 0;
  const tnk_int numbers = o.n * (is_complex<T> ? 2 : 1);
  for (tnk_int i = 0; i < numbers; ++i) sum += std::abs(static_cast<double>(o.x<Real<T>>()[i]));
  *o.result<Real<T>>() = static_cast<Real<T>>(sum);
}

// A routine's costs for one element, and what else a case needs to be told of it.
struct Cost {
  double bytes; // read and written, each counted once
  double flops;
  Mix mix;
  Law law;
  int width = 32; // bytes of the kernel's vectors
  bool double_arithmetic = false;
};

class Rows {
public:
  explicit Rows(std::vector<Row> &appended) : rows(appended) {}

  // name is also the peer's but for an underscore. `kernel` is null where the host has no routine beside it.
  template <class T, class Peer, class Ours, class Body>
  void add(const std::string &name, const char *operation, const Cost &cost, Ours *ours,
           std::common_type_t<Ours *> kernel, Body body, const Call &reference = {}) {
    const Call call = repeated<tnk_int>(ours, body);
    add_beside_library<T>(name, operation, cost, call, reference,
                          [name, body] { return repeated<int>(openblas().routine<Peer>(name + "_"), body); });
    if (kernel) add_kernel<T>(name, operation, cost, repeated<tnk_int>(kernel, body), call);
  }

  template <class T>
  void add_axpy(const std::string &name, Axpy<tnk_int, T> *ours, Axpy<tnk_int, T> *kernel, int width = 32) {
    const T alpha = scalar<T>(1.0 / 1024, is_complex<T> ? 1.0 / 2048 : 0);
    const double flops = is_complex<T> ? 8 : 2;
    add<T, Axpy<int, T>>(
        name, "axpy", {3 * sizeof(T), flops, Mix::read_update, Law::close, width}, ours, kernel,
        [alpha](auto *f, auto &n, auto &one, Operands &o) { f(&n, &alpha, o.x<T>(), &one, o.y<T>(), &one); });
  }

  template <class T> void add_axpby(const std::string &name, Axpby<tnk_int, T> *ours) {
    const T alpha = scalar<T>(0.75, 0.25), beta = scalar<T>(0.5, -0.25);
    const double flops = is_complex<T> ? 14 : 3;
    add<T, Axpby<int, T>>(name, "axpby", {3 * sizeof(T), flops, Mix::read_update, Law::close}, ours, nullptr,
                          [alpha, beta](auto *f, auto &n, auto &one, Operands &o) {
                            f(&n, &alpha, o.x<T>(), &one, &beta, o.y<T>(), &one);
                          });
  }

  template <class T>
  void add_copy(const std::string &name, Copy<tnk_int, T> *ours, Copy<tnk_int, T> *kernel) {
    add<T, Copy<int, T>>(
        name, "copy", {2 * sizeof(T), 0, Mix::copy, Law::exact}, ours, kernel,
        [](auto *f, auto &n, auto &one, Operands &o) { f(&n, o.x<T>(), &one, o.y<T>(), &one); });
  }

  template <class T> void add_swap(const std::string &name, Swap<tnk_int, T> *ours) {
    add<T, Swap<int, T>>(
        name, "swap", {4 * sizeof(T), 0, Mix::exchange, Law::exact}, ours, nullptr,
        [](auto *f, auto &n, auto &one, Operands &o) { f(&n, o.x<T>(), &one, o.y<T>(), &one); });
  }

  template <class T, class A> void add_scal(const std::string &name, Scal<tnk_int, T, A> *ours) {
    const A alpha = is_complex<A> ? scalar<A>(0.6, 0.8) : scalar<A>(-1, 0);
    const double flops = is_complex<A> ? 6 : is_complex<T> ? 2 : 1;
    add<T, Scal<int, T, A>>(
        name, "scal", {2 * sizeof(T), flops, Mix::update, Law::close}, ours, nullptr,
        [alpha](auto *f, auto &n, auto &one, Operands &o) { f(&n, &alpha, o.x<T>(), &one); });
  }

  template <class T, class R>
  void add_dot(const std::string &name, Dot<tnk_int, T, R> *ours, Dot<tnk_int, T, R> *kernel, int width) {
    const bool widened = !std::is_same_v<T, R>;
    add<T, Dot<int, T, R>>(name, "dot", {2 * sizeof(T), 2, Mix::read_both, Law::exact, width, widened}, ours,
                           kernel, [](auto *f, auto &n, auto &one, Operands &o) {
                             *o.result<R>() = f(&n, o.x<T>(), &one, o.y<T>(), &one);
                           });
  }

  // What the jump through the front costs, on a dot as short as makes sense.
  void add_front(Dot<tnk_int, double, double> *stub, Dot<tnk_int, double, double> *entry) {
    const auto call = [](auto *routine) {
      return repeated<tnk_int>(routine, [](auto *f, auto &n, auto &one, Operands &o) {
        *o.result<double>() = f(&n, o.x<double>(), &one, o.y<double>(), &one);
      });
    };
    Row added = row<double>("ddot_front", "dot");
    added.sizes = {8};
    added.picture = "kernels";
    added.peer = "entry's address";
    const Cost cost = {2 * sizeof(double), 2, Mix::read_both, Law::exact};
    added.prepare = [=](tnk_int n) { return make<double>(cost, n, call(stub), call(entry), {}); };
    rows.push_back(std::move(added));
  }

  void add_sdsdot(const std::string &name, Sdsdot<tnk_int> *ours) {
    add<float, Sdsdot<int>>(name, "dot", {2 * sizeof(float), 2, Mix::read_both, Law::exact, 16}, ours,
                            nullptr, [](auto *f, auto &n, auto &one, Operands &o) {
                              const float start = 0.5f;
                              *o.result<float>() = f(&n, &start, o.x<float>(), &one, o.y<float>(), &one);
                            });
  }

  template <class T>
  void add_complex_dot(const std::string &name, ComplexDot<T> *ours, ComplexDot<T> *kernel = nullptr) {
    const Cost cost = {2 * sizeof(T), 8, Mix::read_both, Law::exact};
    const auto call = [](ComplexDot<T> *routine) {
      return repeated<tnk_int>(routine, [](auto *f, auto &n, auto &one, Operands &o) {
        f(o.result<T>(), &n, o.x<T>(), &one, o.y<T>(), &one);
      });
    };
    add_beside_library<T>(name, "dot", cost, call(ours), {}, [name] {
      return repeated<int>(openblas().routine<PeerComplexDot>("cblas_" + name + "_sub"),
                           [](auto *f, auto &n, auto &one, Operands &o) {
                             f(n, o.x<T>(), one, o.y<T>(), one, o.result<T>());
                           });
    });
    if (kernel) add_kernel<T>(name, "dot", cost, call(kernel), call(ours));
  }

  template <class T>
  void add_reduction(const std::string &name, const char *operation, double flops,
                     Reduce<tnk_int, T, Real<T>> *ours) {
    // The peer's sums have been found wrong at some lengths.
    const Call reference = std::string(operation) == "asum" ? Call(plain_asum<T>) : Call();
    add<T, Reduce<int, T, Real<T>>>(
        name, operation, {sizeof(T), flops, Mix::read, Law::sum}, ours, nullptr,
        [](auto *f, auto &n, auto &one, Operands &o) { *o.result<Real<T>>() = f(&n, o.x<T>(), &one); },
        reference);
  }

  template <class T>
  void add_extreme(const std::string &name, const char *operation, Reduce<tnk_int, T, tnk_int> *ours) {
    add<T, Reduce<int, T, int>>(name, operation, {sizeof(T), 0, Mix::read, Law::exact}, ours, nullptr,
                                [](auto *f, auto &n, auto &one, Operands &o) {
                                  *o.result<Real<T>>() = static_cast<Real<T>>(f(&n, o.x<T>(), &one));
                                });
  }

  template <class T, class S>
  void add_rot(const std::string &name, double flops, Rot<tnk_int, T, S> *ours, int width) {
    const Real<T> c = static_cast<Real<T>>(0.6);
    const S s = is_complex<S> ? scalar<S>(0.48, 0.64) : scalar<S>(0.8, 0);
    add<T, Rot<int, T, S>>(
        name, "rot", {4 * sizeof(T), flops, Mix::exchange, Law::close, width}, ours, nullptr,
        [c, s](auto *f, auto &n, auto &one, Operands &o) { f(&n, o.x<T>(), &one, o.y<T>(), &one, &c, &s); });
  }

  template <class T> void add_rotm(const std::string &name, Rotm<tnk_int, T> *ours) {
    add<T, Rotm<int, T>>(name, "rotm", {4 * sizeof(T), 6, Mix::exchange, Law::close, 16}, ours, nullptr,
                         [](auto *f, auto &n, auto &one, Operands &o) {
                           constexpr T param[5] = {-1, static_cast<T>(0.6), static_cast<T>(-0.8),
                                                   static_cast<T>(0.8), static_cast<T>(0.6)};
                           f(&n, o.x<T>(), &one, o.y<T>(), &one, param);
                         });
  }

private:
  template <class T> static Row row(const std::string &name, const char *operation) {
    Row made;
    made.group = std::string("level1/") + operation;
    made.name = name;
    made.unit = "B";
    return made;
  }

  template <class T>
  static Case make(const Cost &cost, tnk_int n, const Call &ours, const Call &peer, const Call &reference) {
    const auto elements = static_cast<double>(n);
    return on_operands({letter<T>, static_cast<std::size_t>(n), cost.bytes * elements, cost.flops * elements,
                        cost.mix, cost.law, cost.width, cost.double_arithmetic},
                       "B", n, ours, peer, reference);
  }

  // find_peer is asked when the row is about to be measured.
  template <class T, class FindPeer>
  void add_beside_library(const std::string &name, const char *operation, const Cost &cost, const Call &ours,
                          const Call &reference, FindPeer find_peer) {
    Row added = row<T>(name, operation);
    added.sizes = {100, 1000, 10000, 1000000, 10000000};
    added.picture = "vectors";
    added.library = &openblas();
    added.prepare = [=](tnk_int n) { return make<T>(cost, n, ours, find_peer(), reference); };
    rows.push_back(std::move(added));
  }

  // What the checks cost, which shows in short vectors only.
  template <class T>
  void add_kernel(const std::string &name, const char *operation, const Cost &cost, const Call &kernel,
                  const Call &public_routine) {
    Row added = row<T>(name + "_kernel", operation);
    added.sizes = {100, 1000};
    added.picture = "kernels";
    added.peer = "public routine";
    added.prepare = [=](tnk_int n) { return make<T>(cost, n, kernel, public_routine, {}); };
    rows.push_back(std::move(added));
  }

  std::vector<Row> &rows;
};

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_blas_##name)

void add_blas_level1(std::vector<Row> &appended) {
  Rows rows(appended);
  rows.add_axpy("saxpy", tnk_blas_saxpy, ENTRY(xsaxpy), 16);
  rows.add_axpy("daxpy", tnk_blas_daxpy, ENTRY(xdaxpy));
  rows.add_axpy("caxpy", tnk_blas_caxpy, ENTRY(xcaxpy));
  rows.add_axpy("zaxpy", tnk_blas_zaxpy, ENTRY(xzaxpy));

  rows.add_axpby("saxpby", ENTRY(saxpby));
  rows.add_axpby("daxpby", ENTRY(daxpby));
  rows.add_axpby("caxpby", ENTRY(caxpby));
  rows.add_axpby("zaxpby", ENTRY(zaxpby));

  rows.add_copy("scopy", tnk_blas_scopy, ENTRY(xscopy));
  rows.add_copy("dcopy", tnk_blas_dcopy, ENTRY(xdcopy));
  rows.add_copy("ccopy", tnk_blas_ccopy, ENTRY(xccopy));
  rows.add_copy("zcopy", tnk_blas_zcopy, ENTRY(xzcopy));

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

  rows.add_dot("sdot", tnk_blas_sdot, ENTRY(xsdot), 16);
  rows.add_dot("ddot", tnk_blas_ddot, ENTRY(xddot), 32);
  rows.add_front(tnk_blas_xddot, ENTRY(xddot));
  rows.add_dot<float, double>("dsdot", ENTRY(dsdot), nullptr, 16);
  rows.add_sdsdot("sdsdot", ENTRY(sdsdot));
  rows.add_complex_dot("cdotu", ENTRY(cdotu));
  rows.add_complex_dot("cdotc", tnk_blas_cdotc, ENTRY(xcdotc));
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
