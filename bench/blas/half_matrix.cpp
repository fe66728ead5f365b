// Vectors with half a square matrix, full, packed or a band: products, solves and updates beside the BLAS library, and two
// threads beside one.

#include "bench/families.h"
#include "bench/frame/probe.h"
#include "bench/frame/store.h"

#include <tnk/blas.h>
#include <tnk/host.h>

#include <dlfcn.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace tnk::bench {
namespace {

template <class T> constexpr bool is_complex = std::is_class_v<T>;
template <class T>
using Real = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, tnk_complex8>, float, double>;

// A routine by its names behind the letter of a real and of a complex type, and its arguments in their order.
struct Routine {
  const char *real, *complex, *arguments;
};
const Routine routines[] = {
    {"symv", "hemv", "uplo n alpha a lda x inc beta y inc"},
    {"spmv", "hpmv", "uplo n alpha a x inc beta y inc"},
    {"sbmv", "hbmv", "uplo n k alpha a lda x inc beta y inc"},
    {"trmv", "trmv", "uplo trans diag n a lda x inc"},
    {"tpmv", "tpmv", "uplo trans diag n a x inc"},
    {"tbmv", "tbmv", "uplo trans diag n k a lda x inc"},
    {"trsv", "trsv", "uplo trans diag n a lda x inc"},
    {"tpsv", "tpsv", "uplo trans diag n a x inc"},
    {"tbsv", "tbsv", "uplo trans diag n k a lda x inc"},
    {"syr", "her", "uplo n alpha x inc a lda"},
    {"spr", "hpr", "uplo n alpha x inc a"},
    {"syr2", "her2", "uplo n alpha x inc y inc a lda"},
    {"spr2", "hpr2", "uplo n alpha x inc y inc a"},
};

struct Form {
  char uplo, trans;
  tnk_int k; // diagonals beside the main one; 0: no band
};

Store a_store, vector_store;

template <class T> struct Data {
  std::string name;
  Form form;
  tnk_int n, lda;
  bool packed, in_place, updates;
  tnk_int size;
  T *a, *x, *y;

  Data(const Routine &routine, const Form &of, tnk_int order)
      : name(routine.real), form(of), n(order), lda(form.k ? form.k + 1 : n), packed(name[1] == 'p'),
        in_place(name[0] == 't'), updates(name[2] == 'r'), size(packed ? n * (n + 1) / 2 : lda * n),
        a(reinterpret_cast<T *>(a_store.at_least(static_cast<std::size_t>(size) * sizeof(T)))),
        x(reinterpret_cast<T *>(vector_store.at_least(2 * vector_room()))),
        y(x + (vector_room() + 2112) / sizeof(T)) {}

  // A vector in whole pages and one more: y begins in the middle of a page, so that a store to it is not taken for a load
  // of x some elements further.
  std::size_t vector_room() const { return (static_cast<std::size_t>(n) * sizeof(T) / 4096 + 2) * 4096; }
  double stored() const {
    const auto order = static_cast<double>(n), band = static_cast<double>(form.k);
    return form.k ? order * (band + 1) - band * (band + 1) / 2 : order * (order + 1) / 2;
  }
  T *element(tnk_int i, tnk_int j) { // of the triangle, i and j in any order
    if (form.uplo == 'U' ? i > j : i < j) std::swap(i, j);
    const bool upper = form.uplo == 'U';
    if (packed) return a + i + (upper ? j * (j + 1) : j * (2 * n - j - 1)) / 2;
    if (form.k == 0) return a + i + j * lda;
    return a + (upper ? form.k : 0) + i - j + j * lda;
  }
  // So few bits that every sum is exact, in any order; solves get columns that are small beside the diagonal. What works in
  // place is timed with the unit matrix, so that x stays as it is however often it is multiplied.
  void fill(bool unit) {
    unsigned state = 1;
    const auto set = [&](T &to, double scale) {
      for (int p = 0; p < (is_complex<T> ? 2 : 1); ++p) {
        state = state * 1664525 + 1013904223;
        reinterpret_cast<Real<T> *>(&to)[p] =
            static_cast<Real<T>>((static_cast<int>(state >> 29) - 4) * 0.25 * scale);
      }
    };
    const bool solves = name[2] == 's';
    std::fill_n(a, size, T{});
    for (tnk_int j = 0; j < n; ++j) {
      for (tnk_int i = std::max<tnk_int>(0, j - (form.k ? form.k : n)); i <= j; ++i) {
        T &to = *element(i, j);
        if (!unit) set(to, solves && i != j ? 1. / static_cast<double>(n) : 1);
        if (i == j && (unit || solves)) reinterpret_cast<Real<T> &>(to) = unit ? 1 : 2;
      }
      set(x[j], 1), set(y[j], 1);
    }
  }
};

template <std::size_t> using Address = const void *;
template <std::size_t... i> void call(void *routine, const void *const *a, std::index_sequence<i...>) {
  reinterpret_cast<void (*)(Address<i>...)>(routine)(a[i]...);
}

template <class I, class T>
Run run(void *symbol, const Routine &routine, const std::shared_ptr<Data<T>> &data) {
  if (!symbol) return {};
  struct Scalars {
    I n, k, lda, inc = 1;
    T one{}, small{}, zero{};
  };
  const auto s = std::make_shared<Scalars>();
  s->n = static_cast<I>(data->n), s->k = static_cast<I>(data->form.k), s->lda = static_cast<I>(data->lda);
  // A real number is the beginning of a complex one. An update adds little, so that sums stay finite.
  reinterpret_cast<Real<T> &>(s->one) = data->updates ? Real<T>(1) / 1024 : Real<T>(1);
  std::vector<const void *> arguments;
  std::istringstream words(routine.arguments);
  for (std::string word; words >> word;)
    for (const auto &[name, address] :
         std::initializer_list<std::pair<const char *, const void *>>{{"uplo", &data->form.uplo},
                                                                      {"trans", &data->form.trans},
                                                                      {"diag", "N"},
                                                                      {"n", &s->n},
                                                                      {"k", &s->k},
                                                                      {"alpha", &s->one},
                                                                      {"beta", &s->zero},
                                                                      {"a", data->a},
                                                                      {"lda", &s->lda},
                                                                      {"x", data->x},
                                                                      {"y", data->y},
                                                                      {"inc", &s->inc}})
      if (word == name) arguments.push_back(address);
  const auto with = [=](auto count) -> Run {
    return [=](long times) {
      static_cast<void>(data), static_cast<void>(s);
      const void *const *const list = arguments.data();
      for (; times > 0; --times) call(symbol, list, std::make_index_sequence<count>());
    };
  };
  switch (arguments.size()) {
  case 6:
    return with(std::integral_constant<std::size_t, 6>());
  case 7:
    return with(std::integral_constant<std::size_t, 7>());
  case 8:
    return with(std::integral_constant<std::size_t, 8>());
  case 9:
    return with(std::integral_constant<std::size_t, 9>());
  case 10:
    return with(std::integral_constant<std::size_t, 10>());
  default:
    return with(std::integral_constant<std::size_t, 11>());
  }
}

template <class T> Case contest(const std::shared_ptr<Data<T>> &data, Run ours, Run peer) {
  Case made;
  made.ours = std::move(ours), made.peer = std::move(peer);
  made.reset = [data] { data->fill(false); };
  if (data->in_place) made.reset_for_timing = [data] { data->fill(true); };
  Tolerance roundings;
  if (data->in_place || data->updates)
    roundings.of_largest = 4 * static_cast<double>(data->n) * std::numeric_limits<Real<T>>::epsilon();
  made.results = {result(data->a, static_cast<std::size_t>(data->size), roundings)};
  for (const T *v : {data->x, data->y})
    made.results.push_back(result(v, static_cast<std::size_t>(data->n), roundings));
  const bool twice = !data->in_place && data->name != "syr" && data->name != "spr";
  const double bytes = (data->updates ? 2 : 1) * data->stored() * sizeof(T);
  made.work = (is_complex<T> ? 8 : 2) * (twice ? 2 : 1) * data->stored();
  made.limits = {bytes_limit(stream_probe(data->updates ? Mix::update : Mix::read, sizeof(Real<T>), 32),
                             data->a, data->a, static_cast<std::size_t>(data->size) * sizeof(T), bytes),
                 flops_limit(flop_probe(sizeof(Real<T>), 32), made.work)};
  return made;
}

template <class T> void add_forms(std::vector<Row> &rows, char letter, const Routine &routine) {
  const std::string name = letter + std::string(is_complex<T> ? routine.complex : routine.real);
  const bool band = routine.real[1] == 'b', triangular = routine.real[0] == 't';
  void *const ours = dlsym(RTLD_DEFAULT, ("tnk_blas_" + name).c_str());
  for (Form form : {Form{'L', 'N', 0}, Form{'U', 'T', 0}})
    for (const tnk_int k : {2, 50}) {
      if (!band && k > 2) break;
      if (band) form.k = k;
      Row row;
      row.group = std::string("level2/") + routine.real;
      row.name = name + '_' + form.uplo + (triangular ? std::string(1, form.trans) : "") +
                 (band ? std::to_string(k) : "");
      row.sizes = band ? std::vector<tnk_int>{100, 10000} : std::vector<tnk_int>{100, 1000, 2000};
      row.quick = 1000, row.unit = "flop", row.picture = "half_matrices", row.library = &openblas();
      row.prepare = [=](tnk_int n) {
        const auto data = std::make_shared<Data<T>>(routine, form, n);
        auto *const peer = reinterpret_cast<void *>(openblas().routine<void()>(name + "_"));
        return contest(data, run<tnk_int, T>(ours, routine, data), run<int, T>(peer, routine, data));
      };
      // Solves and bands are not cut. The ratio is what the second thread brings.
      Row threaded = row;
      rows.push_back(std::move(row));
      if (form.uplo == 'U' || band || (triangular && routine.real[2] == 's')) continue;
      threaded.group += "_threads", threaded.name += "_2t", threaded.sizes = {500, 1000, 2000};
      threaded.library = nullptr, threaded.peer = "1 thread";
      threaded.picture = "threads", threaded.threads = 2;
      threaded.prepare = [=](tnk_int n) {
        const auto data = std::make_shared<Data<T>>(routine, form, n);
        const Run both = run<tnk_int, T>(ours, routine, data);
        return contest(data, both, both);
      };
      rows.push_back(std::move(threaded));
    }
}

} // namespace

void add_half_matrices(std::vector<Row> &rows) {
  for (const Routine &routine : routines) {
    add_forms<float>(rows, 's', routine);
    add_forms<double>(rows, 'd', routine);
    add_forms<tnk_complex8>(rows, 'c', routine);
    add_forms<tnk_complex16>(rows, 'z', routine);
  }
}

} // namespace tnk::bench
