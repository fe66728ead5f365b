// Rotations and reflectors beside the routines of the LAPACK library. They have no public form: the primitives
// themselves are measured.

#include "bench/families.h"
#include "bench/lapack/small.h"

#include <tnk/host.h>
#include <tnk/lapack_ps.h>

#include <cmath>
#include <string>

namespace tnk::bench {
namespace {

Row row(const char *family, const std::string &name, std::vector<tnk_int> sizes) {
  Row made;
  made.group = std::string("lapack/") + family;
  made.name = name;
  made.sizes = std::move(sizes);
  made.quick = 100;
  made.unit = "flop";
  made.picture = "rotations";
  return made;
}
template <class T> std::vector<T> numbers(std::size_t count) {
  Numbers source;
  std::vector<T> v(count);
  for (T &x : v) x = source.next<T>();
  return v;
}
std::size_t size(tnk_int n) {
  return static_cast<std::size_t>(n);
}

// ---- Sequences ----------------------------------------------------------------------------------------------------

template <class T>
using Lasr = void(const tnk_int *, const tnk_int *, const Real<T> *, const Real<T> *, T *, const tnk_int *);
template <class T>
using PeerLasr = void(const char *, const char *, const char *, const int *, const int *, const Real<T> *,
                      const Real<T> *, T *, const int *, std::size_t, std::size_t, std::size_t);

template <class T> void add_lasr(std::vector<Row> &rows, const char *form, Lasr<T> *ours) {
  Row made = row("lasr", letter<T> + std::string("lasr_l") + form, {50, 500, 1000});
  made.library = &openblas();
  made.prepare = [=](tnk_int n) {
    const int few = static_cast<int>(n);
    std::vector<Real<T>> c, s;
    for (const double angle : numbers<double>(size(n - 1)))
      c.push_back(static_cast<Real<T>>(std::cos(angle))), s.push_back(static_cast<Real<T>>(std::sin(angle)));
    Solve<T> theirs;
    if (auto *const f = openblas().routine<PeerLasr<T>>(letter<T> + std::string("lasr_")))
      theirs = [=](T *a) {
        const char pivot = static_cast<char>(form[0] - 'a' + 'A'), direction = form[1] == 'f' ? 'F' : 'B';
        f("L", &pivot, &direction, &few, &few, c.data(), s.data(), a, &few, 1, 1, 1);
      };
    const double order = static_cast<double>(n), parts = is_complex<T> ? 2 : 1;
    return side_by_side<T>(
        numbers<T>(size(n * n)), size(n * n), order, 6 * parts * order * (order - 1),
        [=](T *a) { ours(&n, &n, c.data(), s.data(), a, &n); }, theirs);
  };
  rows.push_back(std::move(made));
}

// ---- Reflectors ---------------------------------------------------------------------------------------------------

template <class I, class T>
using Larfx = void(const char *, const I *, const I *, const T *, const T *, T *, const I *, T *);
template <class T>
using PeerLarfx = void(const char *, const int *, const int *, const T *, const T *, T *, const int *, T *,
                       std::size_t);

// On as many columns, or rows, as the size says.
template <class T>
void add_larfx(std::vector<Row> &rows, const char *side, tnk_int order, Larfx<tnk_int, T> *ours) {
  Row made = row("larfx", letter<T> + std::string("larfx_") + side + std::to_string(order), {100, 1000});
  made.library = &openblas();
  made.prepare = [=](tnk_int others) {
    const tnk_int m = *side == 'L' ? order : others, n = *side == 'L' ? others : order;
    const int few_m = static_cast<int>(m), few_n = static_cast<int>(n);
    const std::vector<T> v = numbers<T>(size(order));
    T tau{};
    double squares = 0;
    for (const T &x : v) squares += std::pow(std::abs(*reinterpret_cast<const Real<T> *>(&x)), 2);
    *reinterpret_cast<Real<T> *>(&tau) = static_cast<Real<T>>(1 / squares);
    std::vector<T> work(size(others));
    Solve<T> theirs;
    if (auto *const f = openblas().routine<PeerLarfx<T>>(letter<T> + std::string("larfx_")))
      theirs = [=](T *c) mutable { f(side, &few_m, &few_n, v.data(), &tau, c, &few_m, work.data(), 1); };
    return side_by_side<T>(
        numbers<T>(size(m * n)), size(m * n), 8 * static_cast<double>(order),
        (is_complex<T> ? 16 : 4) * static_cast<double>(m * n),
        [=](T *c) mutable { ours(side, &m, &n, v.data(), &tau, c, &m, work.data()); }, theirs);
  };
  rows.push_back(std::move(made));
}

// ---- Pairs and triples ----------------------------------------------------------------------------------------------

template <class I, class T>
using Lartv = void(const I *, T *, const I *, T *, const I *, const Real<T> *, const T *, const I *);

template <class T> void add_lartv(std::vector<Row> &rows, Lartv<tnk_int, T> *ours) {
  Row made = row("lartv", letter<T> + std::string("lartv"), {100, 1000});
  made.library = &openblas();
  made.prepare = [=](tnk_int n) {
    const std::vector<T> s = numbers<T>(size(n));
    const std::vector<Real<T>> c = numbers<Real<T>>(size(n));
    const auto on = [=](auto *f, auto count) {
      return [=](T *x) {
        const decltype(count) one = 1;
        f(&count, x, &one, x + n, &one, c.data(), s.data(), &one);
      };
    };
    Solve<T> theirs;
    if (auto *const f = openblas().routine<Lartv<int, T>>(letter<T> + std::string("lartv_")))
      theirs = on(f, static_cast<int>(n));
    return side_by_side<T>(numbers<T>(size(2 * n)), size(2 * n), 8,
                           (is_complex<T> ? 20 : 6) * static_cast<double>(n), on(ours, n), theirs);
  };
  rows.push_back(std::move(made));
}

template <class T>
using Rot2 = void(const tnk_int *, T *, const tnk_int *, T *, const tnk_int *, const T *, const T *);
template <class T>
using Rot3 = void(const tnk_int *, T *, const tnk_int *, T *, const tnk_int *, T *, const tnk_int *,
                  const T *, const T *, const T *);

// The operations as they are written, without complex numbers of a library.
template <class T> T times(T a, T b) {
  if constexpr (is_complex<T>)
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
  else
    return a * b;
}
template <class T> T plus(T a, T b, Real<T> sign = 1) {
  if constexpr (is_complex<T>)
    return {a.re + sign * b.re, a.im + sign * b.im};
  else
    return a + sign * b;
}

template <class T> void add_rot(std::vector<Row> &rows, Rot2<T> *two, Rot3<T> *three) {
  const auto add = [&](int count, auto ours) {
    Row made = row("rot", letter<T> + std::string("rot") + std::to_string(count), {100, 1000});
    made.peer = "plain loop";
    made.prepare = [=](tnk_int n) {
      const std::vector<T> scalars = numbers<T>(3);
      const T tau = scalars[0], v = scalars[1], w = scalars[2];
      const Solve<T> plain = [=](T *x) {
        T *const y = x + n, *const z = y + n;
        for (tnk_int i = 0; i < n; ++i) {
          T t = plus(x[i], times(v, y[i]));
          if (count == 3) t = plus(t, times(w, z[i]));
          t = times(tau, t);
          x[i] = plus(x[i], t, -1), y[i] = plus(y[i], times(v, t), -1);
          if (count == 3) z[i] = plus(z[i], times(w, t), -1);
        }
      };
      return side_by_side<T>(
          numbers<T>(size(count * n)), size(count * n), 0,
          (4 * count - 2) * (is_complex<T> ? 4.0 : 1.0) * static_cast<double>(n),
          [=](T *x) { ours(n, x, tau, v, w); }, plain);
    };
    rows.push_back(std::move(made));
  };
  add(2, [two](tnk_int n, T *x, const T &tau, const T &v, const T &) {
    two(&n, x, nullptr, x + n, nullptr, &tau, &v);
  });
  add(3, [three](tnk_int n, T *x, const T &tau, const T &v, const T &w) {
    three(&n, x, nullptr, x + n, nullptr, x + 2 * n, nullptr, &tau, &v, &w);
  });
}

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_lapack_ps_##name)
#define LASR(t, T, form) add_lasr<T>(rows, #form, ENTRY(t##lasr_l##form))
#define ADD(t, T)                                                                                            \
  LASR(t, T, vf), LASR(t, T, vb), LASR(t, T, tf), LASR(t, T, tb), LASR(t, T, bf), LASR(t, T, bb);            \
  add_lartv<T>(rows, ENTRY(t##lartv));                                                                       \
  add_rot<T>(rows, ENTRY(t##rot2), ENTRY(t##rot3))

void add_rotations(std::vector<Row> &rows) {
  ADD(s, float);
  ADD(d, double);
  ADD(c, tnk_complex8);
  ADD(z, tnk_complex16);
  for (const tnk_int order : {2, 3, 5, 8, 10}) {
    if (order <= 8) {
      add_larfx<double>(rows, "L", order, ENTRY(dlarfx));
      add_larfx<tnk_complex8>(rows, "L", order, ENTRY(clarfx));
    }
    add_larfx<double>(rows, "R", order, ENTRY(dlarfx));
    add_larfx<tnk_complex8>(rows, "R", order, ENTRY(clarfx));
  }
}

} // namespace tnk::bench
