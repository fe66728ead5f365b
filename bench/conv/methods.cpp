// Convolution: sums beside a plain loop, transforms beside FFTW's, and the two methods beside each other, which shows where
// they cross and what the automatic choice makes of it.
#include "bench/conv/plain_convolution.h"
#include "bench/families.h"
#include "bench/signal/against_fftw.h"

#include <tnk/conv.h>

#include <chrono>

namespace tnk::bench {
namespace {

struct FreePlan {
  void operator()(tnk_conv_plan *plan) const { tnk_conv_plan_free(plan); }
};
using Plan = std::unique_ptr<tnk_conv_plan, FreePlan>;

// One long operand y and a short one x, full in one dimension, where x fits in two.
template <class R> struct Data {
  Data(int dimensions, tnk_int short_side, tnk_int long_side)
      : dims(dimensions), nx(short_side), ny(long_side), nz(dims == 1 ? nx + ny - 1 : ny - nx + 1),
        x(elements(nx)), y(elements(ny)), z(elements(nz)) {
    std::mt19937 engine(1);
    std::uniform_real_distribution<R> any(-1, 1);
    for (auto *operand : {&x, &y})
      for (R &value : *operand) value = any(engine);
    for (const int method : {TNK_CONV_AUTOMATIC, TNK_CONV_DIRECT, TNK_CONV_BY_FFT}) {
      const tnk_int xshape[] = {nx, nx}, yshape[] = {ny, ny}, zshape[] = {nz, nz};
      const tnk_int start[] = {dims == 1 ? 0 : nx - 1, nx - 1};
      tnk_conv_description d = {};
      d.job = TNK_CONV_CONVOLUTION, d.method = method, d.dims = dims;
      d.numbers = sizeof(R) == 4 ? TNK_CONV_FLOAT : TNK_CONV_DOUBLE;
      d.xshape = xshape, d.yshape = yshape, d.zshape = zshape, d.start = start;
      tnk_conv_plan *made = nullptr;
      tnk_conv_plan_make(&made, &d);
      plans[method].reset(made);
    }
  }
  std::size_t elements(tnk_int side) const {
    return static_cast<std::size_t>(dims == 1 ? side : side * side);
  }
  void run(int method) { tnk_conv_plan_run(plans[method].get(), x.data(), y.data(), z.data()); }

  // Of a few outputs against the definition, over the most that the magnitudes of the terms can add up to.
  double error() const {
    long double worst = 0;
    const tnk_int rows = dims == 1 ? 1 : nx;
    for (const tnk_int t : {tnk_int(0), nz / 3, nz / 2, nz - 1}) {
      long double sum = 0;
      for (tnk_int j = 0; j < rows; ++j)
        for (tnk_int i = 0; i < nx; ++i) {
          const tnk_int column = (dims == 1 ? t : t + nx - 1) - i, row = dims == 1 ? 0 : t + nx - 1 - j;
          if (column < 0 || column >= ny) continue;
          sum += static_cast<long double>(x[static_cast<std::size_t>(j * nx + i)]) *
                 y[static_cast<std::size_t>(row * ny + column)];
        }
      const R got = z[static_cast<std::size_t>(dims == 1 ? t : t * nz + t)];
      worst = std::max(worst, std::fabs(got - sum));
    }
    return static_cast<double>(worst) / static_cast<double>(elements(nx));
  }

  int dims;
  tnk_int nx, ny, nz;
  std::vector<R> x, y, z;
  Plan plans[3];
};

template <class R> Case case_of(const std::shared_ptr<Data<R>> &data, int method) {
  Case made;
  made.ours = [=](long count) {
    while (count-- > 0) data->run(method);
  };
  made.reset = [=] { std::fill(data->z.begin(), data->z.end(), R(0)); };
  made.error = [=] { return data->error(); };
  // Roundings of a sum's terms, or those of transforms of the whole, whose norms are roots of these numbers of elements.
  const auto terms = static_cast<double>(data->elements(data->nx)),
             all = static_cast<double>(data->elements(data->ny));
  made.allowed = static_cast<double>(std::numeric_limits<R>::epsilon()) *
                 (4 + 4 * std::log2(all + terms) * std::sqrt(all / terms));
  return made;
}

// ---- Sums ---------------------------------------------------------------------------------------------------------

template <class R> Case sums(int dims, tnk_int nx, tnk_int ny) {
  if (nx > ny) {
    Case none;
    none.skip = "the window does not fit";
    return none;
  }
  const auto data = std::make_shared<Data<R>>(dims, nx, ny);
  Case made = case_of(data, TNK_CONV_DIRECT);
  made.peer = [=](long count) {
    const auto m = static_cast<std::size_t>(nx), n = static_cast<std::size_t>(ny);
    while (count-- > 0)
      (data->dims == 1 ? plain::convolve<R> : plain::convolve2_valid<R>)(m, data->x.data(), n, data->y.data(),
                                                                         data->z.data());
  };
  const double outputs = static_cast<double>(data->elements(dims == 1 ? ny : data->nz));
  made.work = 2 * outputs * static_cast<double>(data->elements(nx));
  made.limits = {flops_limit(flop_probe(sizeof(R), 32), made.work)};
  return made;
}

// ---- Transforms ---------------------------------------------------------------------------------------------------

// A full convolution by FFTW: two real transforms of the next power of two, a product, one back. Planning is left out.
template <class R> struct FftwConvolution {
  explicit FftwConvolution(std::size_t length) : size(length), a(length + 2), b(length + 2) {
    using Plan3 = void *(int, R *, R *, unsigned);
    const auto forward = Fftw<R>::template routine<Plan3>("plan_dft_r2c_1d"),
               backward = Fftw<R>::template routine<Plan3>("plan_dft_c2r_1d");
    const int n = static_cast<int>(length);
    if (!forward || !backward) return;
    plans[0] = forward(n, a.data(), a.data(), 0);
    plans[1] = forward(n, b.data(), b.data(), 0);
    plans[2] = backward(n, a.data(), a.data(), 0);
  }
  FftwConvolution(const FftwConvolution &) = delete;
  FftwConvolution &operator=(const FftwConvolution &) = delete;
  ~FftwConvolution() {
    for (void *plan : plans)
      if (plan) Fftw<R>::template routine<void(void *)>("destroy_plan")(plan);
  }
  void run(Data<R> &data) {
    const auto pad = [](const std::vector<R> &from, std::vector<R> &to) {
      std::fill(std::copy(from.begin(), from.end(), to.begin()), to.end(), R(0));
    };
    pad(data.x, a), pad(data.y, b);
    const auto execute = Fftw<R>::template routine<void(void *)>("execute");
    execute(plans[0]), execute(plans[1]);
    for (std::size_t k = 0; k < size + 2; k += 2) {
      const R re = a[k] * b[k] - a[k + 1] * b[k + 1], im = a[k] * b[k + 1] + a[k + 1] * b[k];
      a[k] = re, a[k + 1] = im;
    }
    execute(plans[2]);
    const R scale = 1 / static_cast<R>(size);
    for (std::size_t k = 0; k < data.z.size(); ++k) data.z[k] = scale * a[k];
  }
  std::size_t size;
  std::vector<R> a, b;
  void *plans[3] = {};
};

template <class R> Case transforms(tnk_int nx, tnk_int ny) {
  const auto data = std::make_shared<Data<R>>(1, nx, ny);
  Case made = case_of(data, TNK_CONV_BY_FFT);
  std::size_t length = 2;
  while (length < data->z.size()) length *= 2;
  const auto peer = std::make_shared<FftwConvolution<R>>(length);
  if (peer->plans[2])
    made.peer = [=](long count) {
      while (count-- > 0) peer->run(*data);
    };
  made.work = static_cast<double>(data->nz);
  return made;
}

// ---- One beside the other -----------------------------------------------------------------------------------------

// `method` beside the other one, or the automatic one beside the better of the two.
template <class R> Case beside(int dims, int method, tnk_int nx, tnk_int ny) {
  if (nx > ny) {
    Case none;
    none.skip = "the window does not fit";
    return none;
  }
  const auto data = std::make_shared<Data<R>>(dims, nx, ny);
  const auto time = [&](int by) {
    double best = 1e9;
    for (int round = 0; round < 7; ++round) {
      const auto begin = std::chrono::steady_clock::now();
      data->run(by);
      best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    return best;
  };
  const int other = method == TNK_CONV_DIRECT                        ? TNK_CONV_BY_FFT
                    : time(TNK_CONV_DIRECT) <= time(TNK_CONV_BY_FFT) ? TNK_CONV_DIRECT
                                                                     : TNK_CONV_BY_FFT;
  Case made = case_of(data, method);
  made.peer = [=](long count) {
    while (count-- > 0) data->run(other);
  };
  made.work = static_cast<double>(data->elements(data->nz));
  return made;
}

} // namespace

void add_convolutions(std::vector<Row> &rows) {
  const auto add = [&](const char *group, const std::string &name, const char *unit, const char *picture,
                       std::vector<tnk_int> sizes, std::function<Case(tnk_int)> prepare) -> Row & {
    Row row;
    row.group = group, row.name = name, row.unit = unit, row.picture = picture;
    row.sizes = std::move(sizes), row.prepare = std::move(prepare);
    rows.push_back(row);
    return rows.back();
  };
  for (const tnk_int m : {64, 256}) {
    const std::string with = " with " + std::to_string(m);
    add("conv/sums", "d" + with, "flop", "convolution", {1000, 100000}, [=](tnk_int n) {
      return sums<double>(1, m, n);
    }).peer = "plain loop";
    add("conv/sums", "s" + with, "flop", "convolution", {1000, 100000}, [=](tnk_int n) {
      return sums<float>(1, m, n);
    }).peer = "plain loop";
  }
  for (const tnk_int m : {5, 15, 31})
    add("conv/sums2", "d with " + std::to_string(m) + " x " + std::to_string(m), "flop", "convolution",
        {128, 512}, [=](tnk_int n) { return sums<double>(2, m, n); })
        .peer = "plain loop";
  Row &threads = add("conv/sums", "d with 256, 2 threads", "flop", "convolution", {100000},
                     [](tnk_int n) { return sums<double>(1, 256, n); });
  threads.peer = "1 thread", threads.threads = 2;
  const auto with_one_thread = threads.prepare;
  threads.prepare = [=](tnk_int n) {
    Case made = with_one_thread(n);
    made.peer = made.ours;
    return made;
  };
  add("conv/transforms", "d with 10000", "output", "convolution", {10000, 100000, 1000000}, [](tnk_int n) {
    return transforms<double>(10000, n);
  }).library = &fftw();
  add("conv/transforms", "s with 10000", "output", "convolution", {10000, 100000, 1000000}, [](tnk_int n) {
    return transforms<float>(10000, n);
  }).library = &fftw_single();

  for (const int method : {TNK_CONV_DIRECT, TNK_CONV_AUTOMATIC}) {
    const std::string name = method == TNK_CONV_DIRECT ? "sums" : "automatic";
    const char *const peer = method == TNK_CONV_DIRECT ? "transforms" : "better method";
    for (const tnk_int n : {1000, 10000, 100000}) {
      Row &row = add("conv/methods", name + " of x and " + std::to_string(n), "output", "convolution_methods",
                     {4, 8, 16, 24, 32, 48, 64, 96, 128, 256, 512},
                     [=](tnk_int m) { return beside<double>(1, method, m, n); });
      row.peer = peer, row.curve = true;
    }
    Row &row =
        add("conv/methods", name + " of squares and 256 x 256", "output", "convolution_methods",
            {3, 5, 7, 9, 11, 15, 21, 31}, [=](tnk_int m) { return beside<double>(2, method, m, 256); });
    row.peer = peer;
  }
}

} // namespace tnk::bench
