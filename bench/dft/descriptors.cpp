// Transforms by descriptors beside FFTW, which plans by measuring: forward, out of place but for short batches, on one
// thread. Two threads stand beside one, and the descriptor beside the signal primitive that it calls.
#include "bench/families.h"
#include "bench/frame/probe.h"
#include "tools/tnk/support/threads.h"

#include <tnk/dfti.h>
#include <tnk/signal.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <random>

namespace tnk::bench {
namespace {

// What a row transforms: `batch` arrays one after another, to spectra one after another.
struct Form {
  std::vector<tnk_int> lengths;
  tnk_int batch = 1;
  bool real = false;
  bool in_place = false; // on zeros while the clock runs, since random numbers would grow without end

  tnk_int numbers() const {
    return std::accumulate(lengths.begin(), lengths.end(), tnk_int{1}, std::multiplies<>());
  }
  tnk_int frequencies() const {
    return real ? numbers() / lengths.back() * (lengths.back() / 2 + 1) : numbers();
  }
  double flops() const {
    const double n = static_cast<double>(numbers());
    return (real ? 2.5 : 5) * n * std::log2(n) * static_cast<double>(batch);
  }
};

template <class R> constexpr bool is_single = sizeof(R) == 4;

struct Free {
  void operator()(DftiNode *handle) const { DftiFreeDescriptor(&handle); }
};
using Descriptor = std::shared_ptr<DftiNode>;

// Committed while so many threads may be used.
template <class R> Descriptor descriptor(const Form &form, int threads) {
  const tool::Threads set(threads);
  DftiHandle made = nullptr;
  const auto rank = static_cast<tnk_int>(form.lengths.size());
  const int32_t precision = is_single<R> ? DftiSingle : DftiDouble,
                domain = form.real ? DftiReal : DftiComplex;
  if (rank == 1)
    DftiCreateDescriptor(&made, precision, domain, rank, form.lengths[0]);
  else
    DftiCreateDescriptor(&made, precision, domain, rank, form.lengths.data());
  const Descriptor handle(made, Free());
  DftiSetValue(made, DftiParamPlacement, form.in_place ? DftiInPlace : DftiNotInPlace);
  DftiSetValue(made, DftiParamNumberOfTransforms, form.batch);
  DftiSetValue(made, DftiParamInputDistance, form.numbers());
  DftiSetValue(made, DftiParamOutputDistance, form.frequencies());
  if (form.real) {
    DftiSetValue(made, DftiParamConjugateEvenStorage, DftiComplexComplex);
    std::vector<tnk_int> strides(form.lengths.size() + 1); // an offset of 0 first
    tnk_int next = 1;
    for (std::size_t d = form.lengths.size(); d > 0; --d) {
      strides[d] = next;
      next *= d == form.lengths.size() ? form.lengths[d - 1] / 2 + 1 : form.lengths[d - 1];
    }
    DftiSetValue(made, DftiParamOutputStrides, strides.data());
  }
  return DftiCommitDescriptor(made) == DftiNoError ? handle : nullptr;
}

template <class R> Library &peer() {
  return is_single<R> ? fftw_single() : fftw();
}
template <class R, class Function> Function *peer_routine(const char *name) {
  return peer<R>().template routine<Function>((is_single<R> ? "fftwf_" : "fftw_") + std::string(name));
}

// Arrays on boundaries of cache lines, and FFTW's plan for them, which is made before they are filled.
template <class R> class Data {
public:
  explicit Data(const Form &form)
      : sources_(static_cast<std::size_t>(form.numbers() * form.batch * (form.real ? 1 : 2))),
        destinations_(static_cast<std::size_t>(2 * form.frequencies() * form.batch)), source_(make(sources_)),
        destination_(form.in_place ? nullptr : make(destinations_)), plan_(planned(form)) {
    fill();
    if (!form.in_place) clear();
  }
  Data(const Data &) = delete;
  Data &operator=(const Data &) = delete;
  ~Data() {
    if (plan_) peer_routine<R, void(void *)>("destroy_plan")(plan_);
  }

  R *source() const { return source_.get(); }
  R *destination() const { return destination_ ? destination_.get() : source(); }
  void *plan() const { return plan_; }
  void fill() const {
    std::mt19937 engine(1);
    std::uniform_real_distribution<R> any(-1, 1);
    for (std::size_t i = 0; i < sources_; ++i) source()[i] = any(engine);
  }
  void clear() const { std::fill_n(destination(), destinations_, R(0)); }
  Result spectrum(const Form &form) const {
    const double eps = static_cast<double>(std::numeric_limits<R>::epsilon());
    return result(destination(), destinations_,
                  {0, 0, 8 * eps * std::log2(static_cast<double>(form.numbers()) + 2)});
  }

private:
  struct Release {
    void operator()(R *p) const { std::free(p); }
  };
  static R *make(std::size_t length) {
    return static_cast<R *>(std::aligned_alloc(64, (length * sizeof(R) + 63) / 64 * 64));
  }
  void *planned(const Form &form) const {
    using Complex =
        void *(int, const int *, int, R *, const int *, int, int, R *, const int *, int, int, int, unsigned);
    using Real =
        void *(int, const int *, int, R *, const int *, int, int, R *, const int *, int, int, unsigned);
    const std::vector<int> n(form.lengths.begin(), form.lengths.end());
    const int rank = static_cast<int>(n.size()), batch = static_cast<int>(form.batch);
    const int in = static_cast<int>(form.numbers()), out = static_cast<int>(form.frequencies());
    if (form.real) {
      auto *const make_plan = peer_routine<R, Real>("plan_many_dft_r2c");
      return make_plan ? make_plan(rank, n.data(), batch, source(), nullptr, 1, in, destination(), nullptr, 1,
                                   out, 0)
                       : nullptr;
    }
    auto *const make_plan = peer_routine<R, Complex>("plan_many_dft");
    return make_plan ? make_plan(rank, n.data(), batch, source(), nullptr, 1, in, destination(), nullptr, 1,
                                 out, -1, 0)
                     : nullptr;
  }

  std::size_t sources_, destinations_;
  std::unique_ptr<R, Release> source_, destination_;
  void *plan_;
};

template <class R> Run runs(const Descriptor &handle, const std::shared_ptr<Data<R>> &data) {
  return [=](long count) {
    while (count-- > 0) DftiComputeForward(handle.get(), data->source(), data->destination());
  };
}

template <class R> Case contest(const Form &form, const std::shared_ptr<Data<R>> &data, int threads) {
  Case made;
  const Descriptor handle = descriptor<R>(form, threads);
  if (!handle) {
    made.skip = "no transform of that length";
    return made;
  }
  made.ours = runs<R>(handle, data);
  made.reset = [=] { form.in_place ? data->fill() : data->clear(); };
  if (form.in_place) made.reset_for_timing = [=] { data->clear(); };
  made.results = {data->spectrum(form)};
  made.work = form.flops();
  made.limits = {flops_limit(flop_probe(sizeof(R), 32), made.work)};
  return made;
}

// Planning by measuring takes minutes beyond.
constexpr tnk_int most_numbers = 1 << 24;
Case too_large() {
  Case none;
  none.skip = "too large to plan for";
  return none;
}

template <class R> Case beside_fftw(const Form &form) {
  if (form.numbers() * form.batch > most_numbers) return too_large();
  const auto data = std::make_shared<Data<R>>(form);
  Case made = contest<R>(form, data, 1);
  if (data->plan())
    made.peer = [=, execute = peer_routine<R, void(void *)>("execute")](long count) {
      while (count-- > 0) execute(data->plan());
    };
  return made;
}

template <class R> Case beside_one_thread(const Form &form) {
  if (form.numbers() * form.batch > most_numbers) return too_large();
  const auto data = std::make_shared<Data<R>>(form);
  Case made = contest<R>(form, data, 2);
  if (made.ours) made.peer = runs<R>(descriptor<R>(form, 1), data);
  return made;
}

// In place, with a factor that keeps numbers as large as they are. Lengths that a descriptor passes on to the primitive:
// those from 128 to 1024 have kernels of its own, and other last bits.
Case beside_primitive(tnk_int n) {
  using C = tnk_complex16;
  Case made;
  tnk_signal_dft *spec = nullptr;
  int32_t size = 0;
  DftiHandle handle = nullptr;
  DftiCreateDescriptor(&handle, DftiDouble, DftiComplex, tnk_int{1}, n);
  const Descriptor owner(handle, Free());
  const double scale = 1 / std::sqrt(static_cast<double>(n));
  DftiSetValue(handle, DftiParamForwardScale, scale);
  DftiSetValue(handle, DftiParamBackwardScale, scale);
  if (DftiCommitDescriptor(handle) != DftiNoError ||
      e9_vpksDFTInitAlloc_C_64fc(&spec, static_cast<int32_t>(n), 4, 0) != 0) {
    made.skip = "no transform of that length";
    return made;
  }
  const std::shared_ptr<tnk_signal_dft> record(spec, e9_vpksDFTFree_C_64fc);
  e9_vpksDFTGetBufSize_C_64fc(spec, &size);
  const auto work = std::make_shared<std::vector<uint8_t>>(static_cast<std::size_t>(size) + 1);
  const auto numbers = std::make_shared<std::vector<C>>(static_cast<std::size_t>(n));
  made.ours = [=](long count) {
    while (count-- > 0) DftiComputeForward(owner.get(), numbers->data());
  };
  made.peer = [=](long count) {
    while (count-- > 0) e9_vpksDFTFwd_CToC_64fc(numbers->data(), numbers->data(), record.get(), work->data());
  };
  made.reset = [=] {
    for (std::size_t i = 0; i < numbers->size(); ++i)
      (*numbers)[i] = {static_cast<double>(i % 7), static_cast<double>(i % 5)};
  };
  made.results = {result(numbers->data(), numbers->size())};
  made.work = 5 * static_cast<double>(n) * std::log2(static_cast<double>(n));
  made.limits = {flops_limit(flop_probe(sizeof(double), 32), made.work)};
  return made;
}

template <class R> void add_precision(std::vector<Row> &rows, const std::string &letter) {
  const struct {
    const char *name;
    Form (*form)(tnk_int n);
    std::vector<tnk_int> sizes;
    tnk_int on_threads; // the size that two threads transform as well, if any
  } kinds[] = {
      {"line", [](tnk_int n) { return Form{{n}}; }, {64, 1000, 4096, 65536}, 0},
      {"batch_of_1000",
       [](tnk_int n) {
         return Form{{n}, 1000};
       },
       {128},
       128},
      {"batch_in_place",
       [](tnk_int n) {
         return Form{{n}, 1000, false, true};
       },
       {5,  9,  12, 16, 17, 20, 23, 24, 30,  31,  32,  36,  40,
        45, 47, 48, 59, 60, 61, 63, 64, 128, 256, 512, 1024},
       0},
      {"real_batch_of_1000",
       [](tnk_int n) {
         return Form{{n}, 1000, true};
       },
       {8, 16, 32},
       0},
      {"plane",
       [](tnk_int n) {
         return Form{{n, n}};
       },
       {60, 512, 1000, 1024},
       512},
      {"space",
       [](tnk_int n) {
         return Form{{n, n, n}};
       },
       {60, 64, 100, 128},
       64},
      {"real_line",
       [](tnk_int n) {
         return Form{{n}, 1, true};
       },
       {1000, 4096},
       0},
      {"real_plane",
       [](tnk_int n) {
         return Form{{n, n}, 1, true};
       },
       {512},
       512},
      {"real_space",
       [](tnk_int n) {
         return Form{{n, n, n}, 1, true};
       },
       {48, 64},
       0},
  };
  for (const auto &kind : kinds) {
    Row row;
    row.group = "dft/" + std::string(kind.name), row.name = letter + '_' + kind.name, row.sizes = kind.sizes;
    row.unit = "flop", row.picture = "transforms by descriptors", row.library = &peer<R>();
    row.prepare = [form = kind.form](tnk_int n) { return beside_fftw<R>(form(n)); };
    rows.push_back(row);
    if (kind.on_threads == 0 || is_single<R>) continue;
    row.group += "_threads", row.name += "_2t", row.picture = "threads", row.library = nullptr;
    row.peer = "1 thread", row.threads = 2;
    row.sizes = {kind.on_threads};
    row.prepare = [form = kind.form](tnk_int n) { return beside_one_thread<R>(form(n)); };
    rows.push_back(row);
  }
}

} // namespace

void add_transforms_by_descriptors(std::vector<Row> &rows) {
  add_precision<double>(rows, "z");
  add_precision<float>(rows, "c");
  Row row;
  row.group = "dft/overhead", row.name = "z_in_place", row.sizes = {16, 64, 2048}, row.unit = "flop";
  row.picture = "kernels", row.peer = "signal primitive", row.prepare = beside_primitive;
  rows.push_back(row);
}

} // namespace tnk::bench
