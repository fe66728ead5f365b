// Products with symmetric and Hermitian matrices and their updates by products: the public routines beside two BLAS
// libraries, and two threads beside one.

#include "bench/families.h"
#include "bench/operands.h"

#include <tnk/blas.h>
#include <tnk/host.h>

#include <type_traits>

namespace tnk::bench {
namespace {

enum class Kind { product, rank_k, rank_2k };

// All arguments travel by address, so one list of them serves every type.
using Address = const void *;
using Ten = void(Address, Address, Address, Address, Address, Address, Address, Address, Address, Address);
using Twelve = void(Address, Address, Address, Address, Address, Address, Address, Address, Address, Address,
                    Address, Address);

// C := alpha times the product, of order n throughout. x holds A and then B, y holds C. A real 1 is also the beginning of
// a complex one.
template <class I, class T> Call call(void *routine, Kind kind, const char *letters) {
  if (!routine) return {};
  return [=](Operands &o, long count) {
    const I n = static_cast<I>(o.n);
    const T *const a = o.x<T>(), *const b = a + o.n * o.n;
    T *const c = o.y<T>();
    T one{}, zero{};
    using Real = std::conditional_t<std::is_class_v<T>,
                                    std::conditional_t<sizeof(T) == sizeof(tnk_complex8), float, double>, T>;
    reinterpret_cast<Real &>(one) = 1;
    for (; count > 0; --count)
      if (kind == Kind::rank_k)
        reinterpret_cast<Ten *>(routine)(letters, letters + 1, &n, &n, &one, a, &n, &zero, c, &n);
      else
        reinterpret_cast<Twelve *>(routine)(letters, letters + 1, &n, &n, &one, a, &n, b, &n, &zero, c, &n);
  };
}

template <class T>
void add_forms(std::vector<Row> &rows, const std::string &routine, Kind kind, void *ours,
               std::initializer_list<const char *> forms) {
  const auto make = [kind](char element, tnk_int n, const Call &first, const Call &second) {
    Contest contest;
    contest.element = element;
    contest.elements = static_cast<std::size_t>(2 * n * n);
    const double cube = static_cast<double>(n * n * n);
    contest.flops = (std::is_class_v<T> ? 4 : 1) * (kind == Kind::rank_k ? cube : 2 * cube);
    return on_operands(contest, "flop", n, first, second);
  };
  for (const char *const letters : forms) {
    Row beside_library;
    beside_library.group = "level3/" + routine.substr(1), beside_library.name = routine + '_' + letters;
    beside_library.sizes = {100, 500, 1000, 2000}, beside_library.quick = 500;
    beside_library.unit = "flop", beside_library.picture = "symmetric";
    Row threaded = beside_library;
    for (Library *const library : {&openblas(), &blis()}) {
      Row row = beside_library;
      row.library = library;
      if (library == &blis()) row.name += "_blis", row.sizes = {100, 1000};
      row.prepare = [=](tnk_int n) {
        auto *const peer = reinterpret_cast<void *>(library->routine<Ten>(routine + '_'));
        return make(routine[0], n, call<tnk_int, T>(ours, kind, letters), call<int, T>(peer, kind, letters));
      };
      rows.push_back(std::move(row));
    }

    // The ratio is what the second thread brings. The limit is that of one.
    threaded.group += "_threads", threaded.name += "_2t";
    threaded.sizes = {500, 2000};
    threaded.peer = "1 thread", threaded.picture = "threads";
    threaded.threads = 2;
    threaded.prepare = [=](tnk_int n) {
      const Call both = call<tnk_int, T>(ours, kind, letters);
      return make(routine[0], n, both, both);
    };
    rows.push_back(std::move(threaded));
  }
}

} // namespace

#define FORMS(T, name, kind, ...)                                                                            \
  add_forms<T>(rows, #name, Kind::kind, reinterpret_cast<void *>(tnk_blas_##name), {__VA_ARGS__})

void add_symmetric(std::vector<Row> &rows) {
  FORMS(float, ssymm, product, "LU", "RL");
  FORMS(double, dsymm, product, "LU", "RL");
  FORMS(tnk_complex8, csymm, product, "LU", "RL");
  FORMS(tnk_complex16, zsymm, product, "LU", "RL");
  FORMS(tnk_complex8, chemm, product, "LU", "RL");
  FORMS(tnk_complex16, zhemm, product, "LU", "RL");
  FORMS(float, ssyrk, rank_k, "LN", "UT");
  FORMS(double, dsyrk, rank_k, "LN", "UT");
  FORMS(tnk_complex8, csyrk, rank_k, "LN", "UT");
  FORMS(tnk_complex16, zsyrk, rank_k, "LN", "UT");
  FORMS(tnk_complex8, cherk, rank_k, "LN", "UC");
  FORMS(tnk_complex16, zherk, rank_k, "LN", "UC");
  FORMS(float, ssyr2k, rank_2k, "LN", "UT");
  FORMS(double, dsyr2k, rank_2k, "LN", "UT");
  FORMS(tnk_complex8, csyr2k, rank_2k, "LN", "UT");
  FORMS(tnk_complex16, zsyr2k, rank_2k, "LN", "UT");
  FORMS(tnk_complex8, cher2k, rank_2k, "LN", "UC");
  FORMS(tnk_complex16, zher2k, rank_2k, "LN", "UC");
}

} // namespace tnk::bench
