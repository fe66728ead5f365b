// One LAPACK, that of the package liblapack3, on the drop-in BLAS and on the BLAS library: what factorizations and
// decompositions gain by the BLAS under them.

#include "bench/families.h"
#include "bench/lapack/small.h"

#include <tnk/host.h>

#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <string>

namespace tnk::bench {
namespace {

constexpr char lapack[] = "/usr/lib/x86_64-linux-gnu/lapack/liblapack.so.3";

// What the library that holds `address` is called in the file system, with `beside` in the place of its name.
std::string file_beside(const void *address, const char *beside) {
  Dl_info info;
  char path[PATH_MAX];
  if (!address || !dladdr(address, &info) || !realpath(info.dli_fname, path)) return "";
  const std::string file = path;
  return file.substr(0, file.rfind('/') + 1) + beside;
}

// LAPACK takes whatever BLAS its namespace of the dynamic linker has, so ours has one of its own, with a host in it that
// is set to one thread.
void *on_ours() {
  static void *const handle = []() -> void * {
#ifdef TNK_SANITIZED // a process has one sanitizer
    return nullptr;
#endif
    const auto *const here = reinterpret_cast<const void *>(tnk_set_num_threads);
    void *const host = dlmopen(LM_ID_NEWLM, file_beside(here, "libtnk_host.so").c_str(), RTLD_NOW);
    Lmid_t space;
    if (!host || dlinfo(host, RTLD_DI_LMID, &space) != 0) return nullptr;
    if (auto *const set =
            reinterpret_cast<decltype(&tnk_set_num_threads)>(dlsym(host, "tnk_set_num_threads")))
      set(1);
    if (!dlmopen(space, file_beside(here, "tnk-blas/libblas.so.3").c_str(), RTLD_NOW)) return nullptr;
    return dlmopen(space, lapack, RTLD_NOW);
  }();
  return handle;
}

// The BLAS library's routines under the name that LAPACK looks for.
void *on_library() {
  static void *const handle = []() -> void * {
    const auto *const routine = reinterpret_cast<const void *>(openblas().routine<void()>("dgemm_"));
    if (!dlopen(file_beside(routine, "libblas.so.3").c_str(), RTLD_NOW | RTLD_LOCAL)) return nullptr;
    return dlopen(lapack, RTLD_NOW | RTLD_LOCAL);
  }();
  return handle;
}

// Random numbers with a heavy diagonal, symmetric; or with their rows in reverse, so that a factorization exchanges them.
std::vector<double> matrix(tnk_int n, bool reversed) {
  Numbers numbers;
  std::vector<double> a(static_cast<std::size_t>(n * n));
  for (tnk_int j = 0; j < n; ++j)
    for (tnk_int i = 0; i <= j; ++i) {
      const double x = numbers.next<double>(i == j ? 2 * static_cast<double>(n) : 0);
      const auto at = [=](tnk_int row, tnk_int column) {
        return static_cast<std::size_t>((reversed ? n - 1 - row : row) + column * n);
      };
      a[at(i, j)] = a[at(j, i)] = x;
    }
  return a;
}

// What a routine needs beside the matrix.
struct Room {
  explicit Room(int order)
      : n(order), size(static_cast<std::size_t>(n) * static_cast<std::size_t>(n)),
        lwork(5 * n * n + 64 * n + 64), work(static_cast<std::size_t>(lwork)),
        integers(static_cast<std::size_t>(8 * n + 8)), u(size), v(size) {}
  int n, info = 0;
  std::size_t size;
  int lwork;
  std::vector<double> work;
  std::vector<int> integers;
  std::vector<double> u, v;
};

// Calls of LAPACK routines on a matrix and on n values that they leave.
using Address = const void *;
void getrf(void *routine, double *, double *a, Room &r) {
  using Getrf = void(Address, Address, double *, Address, int *, int *);
  reinterpret_cast<Getrf *>(routine)(&r.n, &r.n, a, &r.n, r.integers.data(), &r.info);
}
void potrf(void *routine, double *, double *a, Room &r) {
  using Potrf = void(Address, Address, double *, Address, int *, std::size_t);
  reinterpret_cast<Potrf *>(routine)("L", &r.n, a, &r.n, &r.info, 1);
}
void geqrf(void *routine, double *tau, double *a, Room &r) {
  using Geqrf = void(Address, Address, double *, Address, double *, double *, Address, int *);
  reinterpret_cast<Geqrf *>(routine)(&r.n, &r.n, a, &r.n, tau, r.work.data(), &r.lwork, &r.info);
}
void syevd(void *routine, double *values, double *a, Room &r) {
  using Syevd = void(Address, Address, Address, double *, Address, double *, double *, Address, int *,
                     Address, int *, std::size_t, std::size_t);
  const int integers = static_cast<int>(r.integers.size());
  reinterpret_cast<Syevd *>(routine)("V", "L", &r.n, a, &r.n, values, r.work.data(), &r.lwork,
                                     r.integers.data(), &integers, &r.info, 1, 1);
}
void gesdd(void *routine, double *values, double *a, Room &r) {
  using Gesdd = void(Address, Address, Address, double *, Address, double *, double *, Address, double *,
                     Address, double *, Address, int *, int *, std::size_t);
  reinterpret_cast<Gesdd *>(routine)("S", &r.n, &r.n, a, &r.n, values, r.u.data(), &r.n, r.v.data(), &r.n,
                                     r.work.data(), &r.lwork, r.integers.data(), &r.info, 1);
}

struct Driver {
  const char *name;
  void (*call)(void *routine, double *values, double *a, Room &room);
  bool reversed, judged_by_values; // else by the matrix
  // For each cube of the order, as the textbooks count them; of a decomposition the reduction and the way back, without
  // what lies between, which depends on the numbers.
  double flops;
  std::vector<tnk_int> sizes;
};
const Driver drivers[] = {{"getrf", getrf, true, false, 2.0 / 3, {100, 500, 1000, 2000}},
                          {"potrf", potrf, false, false, 1.0 / 3, {100, 500, 1000, 2000}},
                          {"geqrf", geqrf, false, false, 4.0 / 3, {100, 500, 1000, 2000}},
                          {"syevd", syevd, false, true, 10.0 / 3, {100, 500, 1000, 2000}},
                          {"gesdd", gesdd, true, true, 20.0 / 3, {100, 500, 1000}}};

Case prepare(const Driver &driver, tnk_int n) {
  void *const theirs = on_library(), *const ours = on_ours();
  const std::string symbol = std::string("d") + driver.name + '_';
  void *const routines[] = {ours ? dlsym(ours, symbol.c_str()) : nullptr,
                            theirs ? dlsym(theirs, symbol.c_str()) : nullptr};
  if (!routines[0]) {
    Case made;
    made.skip = std::string("no ") + lapack + " on the drop-in BLAS";
    return made;
  }
  const auto room = std::make_shared<Room>(static_cast<int>(n));
  const auto values = static_cast<std::size_t>(n);
  // Values first where they are what is judged.
  const std::size_t before = driver.judged_by_values ? values : 0;
  std::vector<double> operands = matrix(n, driver.reversed);
  operands.insert(driver.judged_by_values ? operands.begin() : operands.end(), values, 0.0);
  const auto solve = [&](void *routine) -> Solve<double> {
    if (!routine) return {};
    return
        [=, call = driver.call](double *x) { call(routine, before ? x : x + room->size, x + before, *room); };
  };
  const double order = static_cast<double>(n);
  return side_by_side<double>(operands, before ? values : room->size, 4 * order,
                              driver.flops * order * order * order, solve(routines[0]), solve(routines[1]));
}

} // namespace

void add_drivers(std::vector<Row> &rows) {
  for (const Driver &driver : drivers) {
    Row row;
    row.group = "lapack/on_blas", row.name = std::string("d") + driver.name;
    row.sizes = driver.sizes, row.quick = 500;
    row.unit = "flop", row.picture = "lapack";
    row.library = &openblas();
    row.prepare = [&driver](tnk_int n) { return prepare(driver, n); };
    rows.push_back(std::move(row));
  }
}

} // namespace tnk::bench
