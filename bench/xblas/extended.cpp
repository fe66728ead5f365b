// Extended-precision routines beside what a program would write without them, and pairs beside doubles.
#include "bench/families.h"
#include "bench/xblas/plain_sums.h"

#include <tnk/host.h>
#include <tnk/xblas.h>

#include <memory>
#include <random>

namespace tnk::bench {
namespace {

constexpr int32_t pairs = TNK_XBLAS_EXTRA, doubles = TNK_XBLAS_DOUBLE, by_rows = TNK_XBLAS_ROWMAJOR,
                  plain = TNK_XBLAS_NO_TRANS;

struct Data {
  std::vector<double> a, b, c;
  double r = 0;
  tnk_complex16 z = {0, 0};

  Data(tnk_int of_a, tnk_int of_b, tnk_int of_c)
      : a(static_cast<std::size_t>(of_a)), b(static_cast<std::size_t>(of_b)),
        c(static_cast<std::size_t>(of_c)) {
    std::mt19937_64 engine;
    std::uniform_real_distribution<double> numbers(0.5, 1); // so that nothing cancels: every way is to agree
    for (auto *array : {&a, &b})
      for (double &x : *array) x = numbers(engine);
  }
  const tnk_complex16 *complex_a() const { return reinterpret_cast<const tnk_complex16 *>(a.data()); }
  const tnk_complex16 *complex_b() const { return reinterpret_cast<const tnk_complex16 *>(b.data()); }
};

using Work = std::function<void(Data &, tnk_int n)>;
using Left = std::function<Result(Data &, tnk_int n)>;

Run repeated(const std::shared_ptr<Data> &data, tnk_int n, const Work &work) {
  return [=](long count) {
    while (count-- > 0) work(*data, n);
  };
}

// One row: elements of a and b together are `shape`(n), and as many products make one call's work.
void add(std::vector<Row> &rows, const char *group, const char *name, std::vector<tnk_int> sizes,
         const char *peer, std::function<tnk_int(tnk_int)> products, std::function<Data(tnk_int)> make,
         const Work &ours, const Work &theirs, const Left &left) {
  Row row;
  row.group = group, row.name = name, row.sizes = std::move(sizes), row.quick = 2000;
  row.unit = "product", row.picture = "extended", row.peer = peer;
  row.prepare = [=](tnk_int n) {
    const auto data = std::make_shared<Data>(make(n));
    Case made;
    made.ours = repeated(data, n, ours), made.peer = repeated(data, n, theirs);
    made.reset = [=] { data->c.assign(data->c.size(), 0), data->r = 0, data->z = {0, 0}; };
    made.results = {left(*data, n)};
    made.work = static_cast<double>(products(n));
    return made;
  };
  rows.push_back(std::move(row));
}

void dot(Data &d, tnk_int n, int32_t prec) {
  tnk_xblas_ddot_x(0, n, 1, d.a.data(), 1, 0, d.b.data(), 1, &d.r, prec);
}

} // namespace

void add_extended(std::vector<Row> &rows) {
  constexpr Tolerance rounding = {0, 1e-12, 0};
  const auto vectors = [](tnk_int n) { return Data(n, n, 1); };
  const auto length = [](tnk_int n) { return n; };
  const Left of_r = [=](Data &d, tnk_int) { return result(&d.r, 1, rounding); };
  const Left of_z = [=](Data &d, tnk_int) { return result(&d.z, 1, rounding); };
  const std::vector<tnk_int> lengths = {100, 2000};
  const Work in_pairs = [](Data &d, tnk_int n) { dot(d, n, pairs); };
  const Work in_doubles = [](Data &d, tnk_int n) { dot(d, n, doubles); };
  add(
      rows, "xblas/dot", "ddot_x", lengths, "__float128", length, vectors, in_pairs,
      [](Data &d, tnk_int n) { d.r = quadruple_dot(n, d.a.data(), d.b.data()); }, of_r);
  add(
      rows, "xblas/dot", "zdot_x", lengths, "__float128", length,
      [](tnk_int n) { return Data(2 * n, 2 * n, 1); },
      [](Data &d, tnk_int n) {
        const tnk_complex16 one = {1, 0}, zero = {0, 0};
        tnk_xblas_zdot_x(0, n, &one, d.complex_a(), 1, &zero, d.complex_b(), 1, &d.z, pairs);
      },
      [](Data &d, tnk_int n) { d.z = quadruple_dot(n, d.complex_a(), d.complex_b()); }, of_z);
  add(
      rows, "xblas/dot", "ddot_x_chain", lengths, "sum of pairs alone", length, vectors, in_pairs,
      [products = std::make_shared<std::vector<PairOfDoubles>>()](Data &d, tnk_int n) {
        if (static_cast<tnk_int>(products->size()) != n) {
          products->clear();
          for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i)
            products->push_back({d.a[i] * d.b[i], 0x1p-54 * d.a[i] * d.b[i]});
        }
        d.r = chained_sum(n, products->data());
      },
      of_r);
  add(rows, "xblas/dot", "ddot_x_pairs", lengths, "the same in doubles", length, vectors, in_pairs,
      in_doubles, of_r);
  add(
      rows, "xblas/dot", "ddot_x_doubles", lengths, "plain loop", length, vectors, in_doubles,
      [](Data &d, tnk_int n) { d.r = plain_dot(n, d.a.data(), d.b.data()); }, of_r);

  const auto square = [](tnk_int n) { return n * n; };
  const auto matrix_vector = [](tnk_int n) { return Data(n * n, n, n); };
  const Left of_y = [=](Data &d, tnk_int n) {
    return result(d.c.data(), static_cast<std::size_t>(n), rounding);
  };
  const auto gemv = [](int32_t prec) -> Work {
    return [=](Data &d, tnk_int n) {
      tnk_xblas_dgemv_x(by_rows, plain, n, n, 1, d.a.data(), n, d.b.data(), 1, 0, d.c.data(), 1, prec);
    };
  };
  add(
      rows, "xblas/matrix", "dgemv_x", {60, 500}, "a dot an element", square, matrix_vector, gemv(pairs),
      [](Data &d, tnk_int n) {
        for (tnk_int i = 0; i < n; ++i)
          tnk_xblas_ddot_x(0, n, 1, d.a.data() + i * n, 1, 0, d.b.data(), 1,
                           &d.c[static_cast<std::size_t>(i)], pairs);
      },
      of_y);
  add(
      rows, "xblas/matrix", "dgemv_x_doubles", {60, 500}, "plain loop", square, matrix_vector, gemv(doubles),
      [](Data &d, tnk_int n) { plain_gemv(n, d.a.data(), d.b.data(), d.c.data()); }, of_y);

  const auto cube = [](tnk_int n) { return n * n * n; };
  const auto matrices = [](tnk_int n) { return Data(n * n, n * n, n * n); };
  const Left of_c = [=](Data &d, tnk_int n) {
    return result(d.c.data(), static_cast<std::size_t>(n * n), rounding);
  };
  const auto gemm = [](int32_t prec) -> Work {
    return [=](Data &d, tnk_int n) {
      tnk_xblas_dgemm_x(by_rows, plain, plain, n, n, n, 1, d.a.data(), n, d.b.data(), n, 0, d.c.data(), n,
                        prec);
    };
  };
  const auto dots = [](bool symmetric) -> Work {
    return [=](Data &d, tnk_int n) {
      for (tnk_int i = 0; i < n; ++i)
        for (tnk_int j = 0; j < n; ++j) {
          double *const to = &d.c[static_cast<std::size_t>(i * n + j)];
          if (!symmetric) {
            tnk_xblas_ddot_x(0, n, 1, d.a.data() + i * n, 1, 0, d.b.data() + j, n, to, pairs);
          } else { // a row of A ends at the diagonal and goes on in its column; 1 keeps the rest of the sum
            const tnk_int after = n - 1 - i;
            tnk_xblas_ddot_x(0, i + 1, 1, d.a.data() + i * n, 1, 0, d.b.data() + j, n, to, pairs);
            tnk_xblas_ddot_x(0, after, 1, d.a.data() + (i + 1) * n + i, n, 1, d.b.data() + (i + 1) * n + j, n,
                             to, pairs);
          }
        }
    };
  };
  add(rows, "xblas/matrix", "dgemm_x", {60, 200}, "a dot an element", cube, matrices, gemm(pairs),
      dots(false), of_c);
  add(
      rows, "xblas/matrix", "dsymm_x", {60, 200}, "a dot an element", cube, matrices,
      [](Data &d, tnk_int n) {
        tnk_xblas_dsymm_x(by_rows, TNK_XBLAS_LEFT, TNK_XBLAS_LOWER, n, n, 1, d.a.data(), n, d.b.data(), n, 0,
                          d.c.data(), n, pairs);
      },
      dots(true), of_c);
  add(
      rows, "xblas/matrix", "dgemm_x_doubles", {60, 200}, "plain loop", cube, matrices, gemm(doubles),
      [](Data &d, tnk_int n) { plain_gemm(n, d.a.data(), d.b.data(), d.c.data()); }, of_c);

  // What the checks add to a call.
  add(
      rows, "xblas/call", "ddot_x_checked", {1}, "its kernel", length, vectors, in_doubles,
      [kernel = TNK_KERNEL_ENTRY(tnk_xblas_BLAS_ddot_x)](Data &d, tnk_int n) {
        kernel(0, n, 1, d.a.data(), 1, 0, d.b.data(), 1, &d.r, doubles);
      },
      of_r);
  add(
      rows, "xblas/call", "dgemv_x_checked", {1}, "its kernel", square, matrix_vector, gemv(doubles),
      [kernel = TNK_KERNEL_ENTRY(tnk_xblas_BLAS_dgemv_x)](Data &d, tnk_int n) {
        kernel(by_rows, plain, n, n, 1, d.a.data(), n, d.b.data(), 1, 0, d.c.data(), 1, doubles);
      },
      of_y);
  add(
      rows, "xblas/call", "dgemm_x_checked", {1}, "its kernel", cube, matrices, gemm(doubles),
      [kernel = TNK_KERNEL_ENTRY(tnk_xblas_BLAS_dgemm_x)](Data &d, tnk_int n) {
        kernel(by_rows, plain, plain, n, n, n, 1, d.a.data(), n, d.b.data(), n, 0, d.c.data(), n, doubles);
      },
      of_c);
}

} // namespace tnk::bench
