// Transforms beside FFTW, which plans by measuring.
#pragma once

#include "bench/frame/peer.h"
#include "bench/frame/probe.h"
#include "bench/frame/row.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace tnk::bench {

template <class R> struct Fftw {
  static constexpr bool single = sizeof(R) == 4;
  static Library &library() { return single ? fftw_single() : fftw(); }
  template <class Function> static Function *routine(const char *name) {
    return library().template routine<Function>((single ? "fftwf_" : "fftw_") + std::string(name));
  }
};

// n complex numbers in pairs, or n real ones to half a spectrum; out of place. The plan lives as long as the arrays.
template <class R> class FourierData {
public:
  FourierData(tnk_int n, bool real)
      : length_(static_cast<std::size_t>(real ? n + 2 : 2 * n)), source_(make(length_)),
        destination_(make(length_)) {
    const int count = static_cast<int>(n);
    if (real) {
      if (const auto plan = Fftw<R>::template routine<void *(int, R *, R *, unsigned)>("plan_dft_r2c_1d"))
        plan_ = plan(count, source(), destination(), 0);
    } else if (const auto plan =
                   Fftw<R>::template routine<void *(int, R *, R *, int, unsigned)>("plan_dft_1d")) {
      plan_ = plan(count, source(), destination(), -1, 0);
    }
    std::mt19937 engine(static_cast<unsigned>(n)); // planning has written to both
    std::uniform_real_distribution<R> any(-1, 1);
    for (std::size_t i = 0; i < length_; ++i) source()[i] = any(engine);
    clear();
  }
  FourierData(const FourierData &) = delete;
  FourierData &operator=(const FourierData &) = delete;
  ~FourierData() {
    if (plan_) Fftw<R>::template routine<void(void *)>("destroy_plan")(plan_);
  }

  R *source() const { return source_.get(); }
  R *destination() const { return destination_.get(); }
  void *plan() const { return plan_; }
  void clear() const { std::fill_n(destination(), length_, R(0)); }

private:
  struct Release {
    void operator()(R *p) const { std::free(p); }
  };
  using Array = std::unique_ptr<R, Release>;
  static Array make(std::size_t length) {
    return Array(static_cast<R *>(std::aligned_alloc(64, (length * sizeof(R) + 63) / 64 * 64)));
  }
  std::size_t length_;
  Array source_, destination_;
  void *plan_ = nullptr;
};

// ours(source, destination) makes one transform. place(k): where frequency k has its real part in what ours leaves. The
// error is that of a few frequencies against sums in long double, relative to the root of the mean square.
template <class R, class Ours, class Place> Case fourier_case(tnk_int n, bool real, Ours ours, Place place) {
  const auto data = std::make_shared<FourierData<R>>(n, real);
  Case made;
  made.ours = [=](long count) {
    while (count-- > 0) ours(data->source(), data->destination());
  };
  if (data->plan())
    made.peer = [=, execute = Fftw<R>::template routine<void(void *)>("execute")](long count) {
      while (count-- > 0) execute(data->plan());
    };
  made.reset = [=] { data->clear(); };
  made.error = [=] {
    const long double turn = 2 * std::acos(-1.0L) / static_cast<long double>(n);
    long double error = 0;
    const R *const x = data->source();
    const tnk_int last = real ? n / 2 - 1 : n - 1;
    for (const tnk_int k : {std::min<tnk_int>(1, last), last / 3, last}) {
      if (real && k == 0) continue;
      long double re = 0, im = 0;
      for (tnk_int j = 0; j < n; ++j) {
        const long double angle = turn * static_cast<long double>(j * k % n), c = std::cos(angle),
                          s = std::sin(angle);
        const long double a = real ? x[j] : x[2 * j], b = real ? 0 : x[2 * j + 1];
        re += a * c + b * s, im += b * c - a * s;
      }
      const R *const y = data->destination() + place(k);
      error = std::max(error, std::hypot(y[0] - re, y[1] - im));
    }
    return static_cast<double>(error / std::sqrt(2.0L / 3 * static_cast<long double>(n)));
  };
  made.allowed =
      8 * static_cast<double>(std::numeric_limits<R>::epsilon()) * std::log2(static_cast<double>(n) + 2);
  made.work = (real ? 2.5 : 5) * static_cast<double>(n) * std::log2(static_cast<double>(n));
  made.limits = {flops_limit(flop_probe(sizeof(R), 32), made.work)};
  return made;
}

// One transform by the record `made`, which is freed with the case. E: the record's calls in R's precision.
template <class E, bool Real, class R, class Record> Case case_of_record(tnk_int n, Record *made) {
  int32_t size = 0;
  (Real ? E::buffer_real : E::buffer)(made, &size);
  const std::shared_ptr<Record> spec(made, Real ? E::free_real : E::free);
  const auto work = std::make_shared<std::vector<uint8_t>>(static_cast<std::size_t>(size) + 1);
  const auto ours = [=](const R *source, R *destination) {
    if constexpr (Real)
      E::run_real(source, destination, spec.get(), work->data());
    else
      E::run(reinterpret_cast<const typename E::C *>(source), reinterpret_cast<typename E::C *>(destination),
             spec.get(), work->data());
  };
  return fourier_case<R>(n, Real, ours, [](tnk_int k) { return 2 * k; });
}

} // namespace tnk::bench
