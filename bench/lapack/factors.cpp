// Small factorizations and tridiagonal solves beside the unblocked routines of the LAPACK library. They have no public
// form: the primitives themselves are measured.

#include "bench/families.h"
#include "bench/lapack/small.h"

#include <tnk/host.h>
#include <tnk/lapack_ps.h>

#include <cmath>
#include <string>

namespace tnk::bench {
namespace {

template <class I, class T> using Potrf = void(const char *, const I *, T *, const I *, I *);
template <class I, class T> using Sytrf = void(const char *, const I *, T *, const I *, I *, I *);
template <class I>
using Spr = void(const char *, const I *, const tnk_complex8 *, const tnk_complex8 *, const I *,
                 tnk_complex8 *);
template <class I, class T> using Gtsv = void(const I *, const I *, T *, T *, T *, T *, const I *, I *);
template <class I, class T>
using Gtts2 = void(const I *, const I *, const I *, const T *, const T *, const T *, const T *, const I *,
                   T *, const I *);
template <class I, class T>
using Ptts2 = void(const I *, const I *, const Real<T> *, const T *, T *, const I *);
// In complex the peer's form says which of the two factors is stored.
template <class T>
using PeerPtts2 = void(const int *, const int *, const int *, const Real<T> *, const T *, T *, const int *);
template <class T> using Dttrfb = void(const tnk_int *, T *, T *, T *, tnk_int *);
template <class T> using Gttrf = void(const int *, T *, T *, T *, T *, int *, int *);
template <class T>
using Dttrsb = void(const char *, const tnk_int *, const tnk_int *, const T *, const T *, const T *, T *,
                    const tnk_int *, tnk_int *);

template <class T>
constexpr double times_real = is_complex<T> ? 4 : 1; // multiplications and additions, a pair

Row row(const char *picture, const char *family, const std::string &name, std::vector<tnk_int> sizes) {
  Row made;
  made.group = std::string("lapack/") + family;
  made.name = name;
  made.sizes = std::move(sizes);
  made.quick = 100;
  made.unit = "flop";
  made.picture = picture;
  made.library = &openblas();
  return made;
}
template <class T> std::string named(const std::string &rest) {
  return letter<T> + rest;
}
template <class Function> Function *peer(const std::string &name) {
  return openblas().routine<Function>(name + "_");
}

// ---- Dense ----------------------------------------------------------------------------------------------------------

// Random numbers, symmetric or Hermitian; with a heavy diagonal positive definite.
template <class T> std::vector<T> matrix(tnk_int n, double diagonal) {
  Numbers numbers;
  const auto order = static_cast<std::size_t>(n);
  std::vector<T> a(order * order);
  for (std::size_t j = 0; j < order; ++j)
    for (std::size_t i = 0; i <= j; ++i) {
      T x = numbers.next<T>(i == j ? diagonal : 0);
      if constexpr (is_complex<T>)
        if (i == j) x.im = 0;
      a[i + j * order] = x;
      if constexpr (is_complex<T>) x.im = -x.im;
      a[j + i * order] = x;
    }
  return a;
}

template <class T>
void add_potrf(std::vector<Row> &rows, const char *side, const char *uplo, Potrf<tnk_int, T> *ours) {
  Row made = row("factorizations", "potrf", named<T>(std::string("potrf_") + side), {16, 32, 49, 64, 100});
  made.prepare = [=](tnk_int n) {
    const int few = static_cast<int>(n);
    const auto a = matrix<T>(n, 2 * static_cast<double>(n));
    Solve<T> theirs;
    if (auto *const f = peer<Potrf<int, T>>(named<T>("potf2")))
      theirs = [=](T *to) {
        int info = 0;
        f(uplo, &few, to, &few, &info);
      };
    const double order = static_cast<double>(n);
    return side_by_side<T>(
        a, a.size(), 4 * order, times_real<T> * order * order * order / 3,
        [=](T *to) {
          tnk_int info = 0;
          ours(uplo, &n, to, &n, &info);
        },
        theirs);
  };
  rows.push_back(std::move(made));
}

template <class T>
void add_sytrf(std::vector<Row> &rows, const char *side, const char *uplo, Sytrf<tnk_int, T> *ours) {
  Row made = row("factorizations", "sytrf", named<T>(std::string("sytrf_") + side), {16, 32, 49, 64, 100});
  made.prepare = [=](tnk_int n) {
    const int few = static_cast<int>(n);
    const auto a = matrix<T>(n, 0);
    Solve<T> theirs;
    if (auto *const f = peer<Sytrf<int, T>>(named<T>("sytf2")))
      theirs = [=, pivots = std::vector<int>(static_cast<std::size_t>(n))](T *to) mutable {
        int info = 0;
        f(uplo, &few, to, &few, pivots.data(), &info);
      };
    const double order = static_cast<double>(n);
    return side_by_side<T>(
        a, a.size(), 1000 * order, order * order * order / 3,
        [=, pivots = std::vector<tnk_int>(static_cast<std::size_t>(n))](T *to) mutable {
          tnk_int info = 0;
          ours(uplo, &n, to, &n, pivots.data(), &info);
        },
        theirs);
  };
  rows.push_back(std::move(made));
}

// A packed triangle, and x behind it.
void add_spr(std::vector<Row> &rows, Spr<tnk_int> *ours) {
  for (const char *const uplo : {"U", "L"}) {
    Row made = row("factorizations", "spr", *uplo == 'U' ? "cspr_u" : "cspr_l", {16, 100});
    made.prepare = [=](tnk_int n) {
      const int few = static_cast<int>(n), next = 1;
      const tnk_int adjacent = 1;
      const auto triangle = static_cast<std::size_t>(n * (n + 1) / 2);
      Numbers numbers;
      std::vector<tnk_complex8> operands(triangle + static_cast<std::size_t>(n));
      for (auto &x : operands) x = numbers.next<tnk_complex8>();
      const tnk_complex8 alpha = {0.75f, -0.5f};
      Solve<tnk_complex8> theirs;
      if (auto *const f = peer<Spr<int>>("cspr"))
        theirs = [=](tnk_complex8 *to) { f(uplo, &few, &alpha, to + triangle, &next, to); };
      return side_by_side<tnk_complex8>(
          operands, triangle, 10, 8 * static_cast<double>(triangle),
          [=](tnk_complex8 *to) { ours(uplo, &n, &alpha, to + triangle, &adjacent, to); }, theirs);
    };
    rows.push_back(std::move(made));
  }
}

// ---- Tridiagonal ------------------------------------------------------------------------------------------------------

// B first, then the diagonals: dl, d, du, du2, n elements of each. `weight` is added to the main one.
template <class T> struct Layout {
  tnk_int n, nrhs;
  T *b(T *p) const { return p; }
  T *dl(T *p) const { return p + n * nrhs; }
  T *d(T *p) const { return dl(p) + n; }
  T *du(T *p) const { return d(p) + n; }
  T *du2(T *p) const { return du(p) + n; }
  std::vector<T> operands(double weight) const {
    Numbers numbers;
    std::vector<T> made(all());
    for (T &x : made) x = numbers.next<T>();
    for (tnk_int i = 0; i < n; ++i) d(made.data())[i] = numbers.next<T>(weight);
    return made;
  }
  std::size_t sides() const { return static_cast<std::size_t>(n * nrhs); }
  std::size_t all() const { return sides() + static_cast<std::size_t>(4 * n); }
  double flops(double an_element) const { return times_real<T> * an_element * static_cast<double>(n * nrhs); }
};
struct Form {
  const char *suffix;
  tnk_int nrhs;
};
constexpr Form forms[] = {{"", 1}, {"_4", 4}, {"_8", 8}, {"_16", 16}};
const std::vector<tnk_int> orders = {30, 100, 1000};
constexpr double digits = 1000; // the systems are well conditioned, their pivots between 1 and 4

// What overwrites its diagonals: gtsv, whose factors are compared too, and dtsvb, both beside gtsv.
template <class T>
void add_systems(std::vector<Row> &rows, const char *family, const std::string &name, double weight,
                 Gtsv<tnk_int, T> *ours) {
  for (const Form &form : forms) {
    Row made = row("tridiagonal", family, named<T>(name + form.suffix), orders);
    made.prepare = [=, nrhs = form.nrhs](tnk_int n) {
      const Layout<T> at{n, nrhs};
      const int few = static_cast<int>(n), sides = static_cast<int>(nrhs);
      Solve<T> theirs;
      if (auto *const f = peer<Gtsv<int, T>>(named<T>("gtsv")))
        theirs = [=](T *to) {
          int info = 0;
          f(&few, &sides, at.dl(to), at.d(to), at.du(to), at.b(to), &few, &info);
        };
      return side_by_side<T>(
          at.operands(weight), weight > 0 ? at.sides() : at.all(), weight > 0 ? digits : 1000 * digits,
          at.flops(8),
          [=](T *to) {
            tnk_int info = 0;
            ours(&n, &nrhs, at.dl(to), at.d(to), at.du(to), at.b(to), &n, &info);
          },
          theirs);
    };
    rows.push_back(std::move(made));
  }
}

template <class T> void add_gtts2(std::vector<Row> &rows, Gtts2<tnk_int, T> *ours) {
  const char *const letters[] = {"_n", "_t", "_c"};
  for (const tnk_int itrans : {0, 1, 2})
    for (const Form &form : forms) {
      if (itrans == 2 && !is_complex<T>) continue;
      Row made =
          row("tridiagonal", "gtts2", named<T>(std::string("gtts2") + letters[itrans] + form.suffix), orders);
      made.prepare = [=, nrhs = form.nrhs](tnk_int n) {
        const Layout<T> at{n, nrhs};
        const int few = static_cast<int>(n), sides = static_cast<int>(nrhs), which = static_cast<int>(itrans);
        std::vector<tnk_int> ipiv;
        Numbers numbers;
        for (tnk_int i = 0; i < n; ++i) ipiv.push_back(i + 1 + (i + 1 < n && numbers.coin()));
        const std::vector<int> few_ipiv(ipiv.begin(), ipiv.end());
        auto operands = at.operands(3);
        for (T *x = at.dl(operands.data()); x != at.d(operands.data()); ++x)
          *x = numbers.next<T>(0); // multipliers
        Solve<T> theirs;
        if (auto *const f = peer<Gtts2<int, T>>(named<T>("gtts2")))
          theirs = [=](T *to) {
            f(&which, &few, &sides, at.dl(to), at.d(to), at.du(to), at.du2(to), few_ipiv.data(), at.b(to),
              &few);
          };
        return side_by_side<T>(
            operands, at.sides(), 1000 * digits, at.flops(7),
            [=](T *to) {
              ours(&itrans, &n, &nrhs, at.dl(to), at.d(to), at.du(to), at.du2(to), ipiv.data(), at.b(to), &n);
            },
            theirs);
      };
      rows.push_back(std::move(made));
    }
}

template <class T> void add_ptts2(std::vector<Row> &rows, Ptts2<tnk_int, T> *ours) {
  for (const Form &form : forms) {
    Row made = row("tridiagonal", "ptts2", named<T>(std::string("ptts2") + form.suffix), orders);
    made.prepare = [=, nrhs = form.nrhs](tnk_int n) {
      const Layout<T> at{n, nrhs};
      const int few = static_cast<int>(n), sides = static_cast<int>(nrhs), lower = 0;
      auto operands = at.operands(3);
      // D: real numbers, where the complex diagonal would stand.
      const auto d = [=](T *to) { return reinterpret_cast<Real<T> *>(at.d(to)); };
      for (tnk_int i = 0; i < n; ++i) d(operands.data())[i] = 2 + static_cast<Real<T>>(i % 3) / 4;
      Solve<T> theirs;
      if constexpr (is_complex<T>) {
        if (auto *const f = peer<PeerPtts2<T>>(named<T>("ptts2")))
          theirs = [=](T *to) { f(&lower, &few, &sides, d(to), at.dl(to), at.b(to), &few); };
      } else {
        if (auto *const f = peer<Ptts2<int, T>>(named<T>("ptts2")))
          theirs = [=](T *to) { f(&few, &sides, d(to), at.dl(to), at.b(to), &few); };
      }
      return side_by_side<T>(
          operands, at.sides(), 1000 * digits, at.flops(5),
          [=](T *to) { ours(&n, &nrhs, d(to), at.dl(to), at.b(to), &n); }, theirs);
    };
    rows.push_back(std::move(made));
  }
}

// With the factors of a dominant matrix, from both ends beside from the top.
template <class T> void add_dttrsb(std::vector<Row> &rows, Dttrsb<T> *ours, Dttrfb<T> *factors) {
  for (const char *const trans : {"N", "T"})
    for (const Form &form : forms) {
      Row made = row("tridiagonal", "dttrsb",
                     named<T>(std::string(*trans == 'N' ? "dttrsb_n" : "dttrsb_t") + form.suffix), orders);
      made.prepare = [=, nrhs = form.nrhs](tnk_int n) {
        const Layout<T> at{n, nrhs};
        const int few = static_cast<int>(n), sides = static_cast<int>(nrhs), which = *trans == 'T';
        auto operands = at.operands(3), others = operands;
        tnk_int info = 0;
        T *const p = operands.data();
        factors(&n, at.dl(p), at.d(p), at.du(p), &info);
        Solve<T> theirs;
        if (auto *const f = peer<Gtts2<int, T>>(named<T>("gtts2")))
          if (auto *const factor = peer<Gttrf<T>>(named<T>("gttrf"))) {
            std::vector<int> ipiv(static_cast<std::size_t>(n));
            int failed = 0;
            T *const q = others.data();
            factor(&few, at.dl(q), at.d(q), at.du(q), at.du2(q), ipiv.data(), &failed);
            theirs = [=](T *to) mutable {
              T *const from = others.data();
              f(&which, &few, &sides, at.dl(from), at.d(from), at.du(from), at.du2(from), ipiv.data(),
                at.b(to), &few);
            };
          }
        return side_by_side<T>(
            operands, at.sides(), digits, at.flops(5),
            [=](T *to) {
              tnk_int always = 0;
              ours(trans, &n, &nrhs, at.dl(to), at.d(to), at.du(to), at.b(to), &n, &always);
            },
            theirs);
      };
      rows.push_back(std::move(made));
    }
}

// The factors themselves, beside those with interchanges. They are judged by the system that they solve: one whose
// solution is all ones.
template <class T> void add_dttrfb(std::vector<Row> &rows, Dttrfb<T> *ours, Dttrsb<T> *solve) {
  Row made = row("tridiagonal", "dttrfb", named<T>("dttrfb"), orders);
  made.prepare = [=](tnk_int n) {
    const Layout<T> at{n, 1};
    const int few = static_cast<int>(n);
    auto operands = at.operands(3);
    T *const p = operands.data();
    for (tnk_int i = 0; i < n; ++i) {
      T &b = at.b(p)[i] = at.d(p)[i];
      const auto add = [&](const T &x) {
        if constexpr (is_complex<T>)
          b.re += x.re, b.im += x.im;
        else
          b += x;
      };
      if (i > 0) add(at.dl(p)[i - 1]);
      if (i + 1 < n) add(at.du(p)[i]);
    }
    struct Last {
      T *operands;
      bool by_peer;
      std::vector<int> pivots;
    };
    const auto last = std::make_shared<Last>();
    last->pivots.resize(static_cast<std::size_t>(n));
    Solve<T> theirs;
    auto *const f = peer<Gttrf<T>>(named<T>("gttrf"));
    auto *const peer_solve = peer<Gtts2<int, T>>(named<T>("gtts2"));
    if (f && peer_solve)
      theirs = [=](T *to) {
        int info = 0;
        f(&few, at.dl(to), at.d(to), at.du(to), at.du2(to), last->pivots.data(), &info);
        last->operands = to, last->by_peer = true;
      };
    Case contest = side_by_side<T>(
        operands, 0, digits, 4 * times_real<T> * static_cast<double>(n),
        [=](T *to) {
          tnk_int info = 0;
          ours(&n, at.dl(to), at.d(to), at.du(to), &info);
          last->operands = to, last->by_peer = false;
        },
        theirs);
    contest.error = [=] {
      const tnk_int one = 1;
      const int side = 1, plain = 0;
      tnk_int info = 0;
      T *const q = last->operands;
      if (last->by_peer)
        peer_solve(&plain, &few, &side, at.dl(q), at.d(q), at.du(q), at.du2(q), last->pivots.data(), at.b(q),
                   &few);
      else
        solve("N", &n, &one, at.dl(q), at.d(q), at.du(q), at.b(q), &n, &info);
      double worst = 0;
      for (tnk_int i = 0; i < n; ++i) {
        double off = std::fabs(static_cast<double>(reinterpret_cast<Real<T> &>(at.b(q)[i])) - 1);
        if constexpr (is_complex<T>) off += std::fabs(static_cast<double>(at.b(q)[i].im));
        worst = off <= worst ? worst : off;
      }
      return worst;
    };
    contest.allowed = digits * std::numeric_limits<Real<T>>::epsilon();
    return contest;
  };
  rows.push_back(std::move(made));
}

} // namespace

#define ENTRY(name) TNK_KERNEL_ENTRY(tnk_lapack_ps_##name)
#define EACH_TYPE(add, name)                                                                                 \
  add<float>(rows, ENTRY(s##name)), add<double>(rows, ENTRY(d##name)),                                       \
      add<tnk_complex8>(rows, ENTRY(c##name)), add<tnk_complex16>(rows, ENTRY(z##name))

void add_factorizations(std::vector<Row> &rows) {
  add_potrf<float>(rows, "u", "U", ENTRY(spotrf_u_small));
  add_potrf<float>(rows, "l", "L", ENTRY(spotrf_l_small));
  add_potrf<double>(rows, "u", "U", ENTRY(dpotrf_u_small));
  add_potrf<double>(rows, "l", "L", ENTRY(dpotrf_l_small));
  add_potrf<tnk_complex8>(rows, "u", "U", ENTRY(cpotrf_u_small));
  add_potrf<tnk_complex8>(rows, "l", "L", ENTRY(cpotrf_l_small));
  add_potrf<tnk_complex16>(rows, "u", "U", ENTRY(zpotrf_u_small));
  add_potrf<tnk_complex16>(rows, "l", "L", ENTRY(zpotrf_l_small));
  add_sytrf<float>(rows, "u", "U", ENTRY(ssytrf_u_small));
  add_sytrf<float>(rows, "l", "L", ENTRY(ssytrf_l_small));
  add_sytrf<double>(rows, "u", "U", ENTRY(dsytrf_u_small));
  add_sytrf<double>(rows, "l", "L", ENTRY(dsytrf_l_small));
  add_spr(rows, ENTRY(cspr));
  add_systems<float>(rows, "gtsv", "gtsv", 0, ENTRY(sgtsv_small));
  add_systems<double>(rows, "gtsv", "gtsv", 0, ENTRY(dgtsv_small));
  EACH_TYPE(add_gtts2, gtts2);
  EACH_TYPE(add_ptts2, ptts2);
  add_dttrfb<float>(rows, ENTRY(sdttrfb), ENTRY(sdttrsb));
  add_dttrfb<double>(rows, ENTRY(ddttrfb), ENTRY(ddttrsb));
  add_dttrfb<tnk_complex8>(rows, ENTRY(cdttrfb), ENTRY(cdttrsb));
  add_dttrfb<tnk_complex16>(rows, ENTRY(zdttrfb), ENTRY(zdttrsb));
  add_dttrsb<float>(rows, ENTRY(sdttrsb), ENTRY(sdttrfb));
  add_dttrsb<double>(rows, ENTRY(ddttrsb), ENTRY(ddttrfb));
  add_dttrsb<tnk_complex8>(rows, ENTRY(cdttrsb), ENTRY(cdttrfb));
  add_dttrsb<tnk_complex16>(rows, ENTRY(zdttrsb), ENTRY(zdttrfb));
  add_systems<float>(rows, "dtsvb", "dtsvb", 3, ENTRY(sdtsvb));
  add_systems<double>(rows, "dtsvb", "dtsvb", 3, ENTRY(ddtsvb));
  add_systems<tnk_complex8>(rows, "dtsvb", "dtsvb", 3, ENTRY(cdtsvb));
  add_systems<tnk_complex16>(rows, "dtsvb", "dtsvb", 3, ENTRY(zdtsvb));
}

} // namespace tnk::bench
