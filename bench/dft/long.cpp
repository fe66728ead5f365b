// Long transforms by descriptors, double complex. Beside FFTW with plans that it estimates, since measuring takes it minutes
// at these lengths; and on two threads beside one.
#include "bench/families.h"
#include "bench/frame/probe.h"
#include "tools/tnk/support/threads.h"

#include <tnk/dfti.h>

#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <unistd.h>

namespace tnk::bench {
namespace {

using Number = std::complex<double>;

struct Free {
  void operator()(Number *p) const { std::free(p); }
  void operator()(DftiNode *handle) const { DftiFreeDescriptor(&handle); }
};
using Descriptor = std::shared_ptr<DftiNode>;

// A small constant and an impulse, whose spectrum is known.
struct Data {
  static constexpr double constant = 1e-3;

  Data(tnk_int length, bool stays) : n(static_cast<std::size_t>(length)), in_place(stays) {
    source.reset(static_cast<Number *>(std::aligned_alloc(64, (n * sizeof(Number) + 63) / 64 * 64)));
    if (!in_place)
      destination.reset(static_cast<Number *>(std::aligned_alloc(64, (n * sizeof(Number) + 63) / 64 * 64)));
    fill();
  }
  Number *result() const { return in_place ? source.get() : destination.get(); }
  void fill() const {
    if (!in_place) std::fill_n(destination.get(), n, 0.0);
    std::fill_n(source.get(), n, constant);
    source.get()[impulse()] += 1;
  }
  std::size_t impulse() const { return n / 3 + 1; }
  // The largest error of some frequencies, relative to their own size.
  double error() const {
    double largest = 0;
    for (std::size_t k = 0; k < n; k += n / 999 + 1) {
      const double turn = static_cast<double>(impulse() * k % n) / static_cast<double>(n);
      Number exact = std::polar(1.0, -2 * std::acos(-1.0) * turn);
      if (k == 0) exact += constant * static_cast<double>(n);
      const double error = std::abs(result()[k] - exact) / std::abs(exact);
      if (!(error <= largest)) largest = error;
    }
    return largest;
  }

  std::size_t n;
  bool in_place;
  std::unique_ptr<Number, Free> source, destination;
};

Descriptor descriptor(const Data &data, int threads) {
  const tool::Threads set(threads);
  DftiHandle handle = nullptr;
  DftiCreateDescriptor(&handle, DftiDouble, DftiComplex, tnk_int{1}, static_cast<tnk_int>(data.n));
  const Descriptor made(handle, Free());
  DftiSetValue(handle, DftiParamPlacement, data.in_place ? DftiInPlace : DftiNotInPlace);
  return DftiCommitDescriptor(handle) == DftiNoError ? made : nullptr;
}

Run runs(const Descriptor &handle, const std::shared_ptr<Data> &data) {
  return [=](long count) {
    while (count-- > 0) DftiComputeForward(handle.get(), data->source.get(), data->result());
  };
}

Case contest(tnk_int n, bool in_place, int threads) {
  Case made;
  const double arrays = in_place ? 3 : 4; // with what either contender may take
  const double needed = arrays * sizeof(Number) * static_cast<double>(n),
               room = static_cast<double>(sysconf(_SC_AVPHYS_PAGES)) *
                      static_cast<double>(sysconf(_SC_PAGESIZE));
  if (needed > room) {
    made.skip = "needs " + std::to_string(static_cast<long>(needed / 1e9) + 1) + " GB of free memory";
    return made;
  }
  const auto data = std::make_shared<Data>(n, in_place);
  const Descriptor handle = descriptor(*data, threads);
  if (!handle) {
    made.skip = "no transform of that length";
    return made;
  }
  made.ours = runs(handle, data);
  if (threads > 1) {
    made.peer = runs(descriptor(*data, 1), data);
  } else if (auto *const plan =
                 fftw().routine<void *(int, Number *, Number *, int, unsigned)>("fftw_plan_dft_1d")) {
    constexpr unsigned estimate = 64;
    const std::shared_ptr<void> planned(
        plan(static_cast<int>(n), data->source.get(), data->result(), -1, estimate),
        fftw().routine<void(void *)>("fftw_destroy_plan"));
    made.peer = [=, execute = fftw().routine<void(void *)>("fftw_execute")](long count) {
      while (count-- > 0) execute(planned.get());
    };
  }
  made.reset = [=] { data->fill(); };
  // Again and again in its own place: numbers that stay what they are.
  if (in_place) made.reset_for_timing = [=] { std::fill_n(data->source.get(), data->n, 0.0); };
  made.error = [=] { return data->error(); };
  const double length = static_cast<double>(n);
  made.allowed =
      2 * std::numeric_limits<double>::epsilon() * (std::log2(length) + Data::constant * length / 100);
  made.work = 5 * length * std::log2(length);
  made.limits = {flops_limit(flop_probe(sizeof(double), 32), made.work)};
  return made;
}

} // namespace

void add_long_transforms(std::vector<Row> &rows) {
  const struct {
    const char *name;
    bool in_place;
    int threads;
    std::vector<tnk_int> sizes;
  } kinds[] = {
      {"z_out_of_place", false, 1, {3 << 24, 100000000, 1 << 27}},
      {"z_in_place", true, 1, {3 << 24, 100000000}},
      {"z_out_of_place_2t", false, 2, {1 << 20, 1 << 24, 1 << 27}},
      {"z_in_place_2t", true, 2, {1 << 20, 1 << 24}},
  };
  for (const auto &kind : kinds) {
    Row row;
    row.group = "dft/long", row.name = kind.name, row.sizes = kind.sizes, row.unit = "flop";
    row.threads = kind.threads, row.picture = kind.threads > 1 ? "threads" : "transforms by descriptors";
    if (kind.threads > 1)
      row.peer = "1 thread";
    else
      row.library = &fftw();
    row.prepare = [kind](tnk_int n) { return contest(n, kind.in_place, kind.threads); };
    rows.push_back(row);
  }
}

} // namespace tnk::bench
