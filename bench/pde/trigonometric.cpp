// Sine and cosine transforms beside FFTW's kinds of the same sums, which plans by measuring. Ours are in place and scaled,
// forward and backward in turns, so that numbers stay as large as they are; the peer's are out of place and not scaled, its
// two kinds in turns where they differ. The real Fourier transform that ours are made of has a row as well.
#include "bench/families.h"
#include "bench/signal/against_fftw.h"

#include <tnk/dfti.h>
#include <tnk/pde_trig.h>
#include <tnk/trig.hpp>

namespace tnk::bench {
namespace {

// FFTW's numbers of kinds.
enum PeerKind {
  r2hc = 0,
  hc2r = 1,
  redft00 = 3,
  redft01 = 4,
  redft10 = 5,
  redft11 = 6,
  rodft00 = 7,
  rodft01 = 8,
  rodft10 = 9,
  rodft11 = 10
};

// `rows` rows of `row` numbers, of which the peer transforms `count` from `first` on.
class Rows {
public:
  Rows(tnk_int row, tnk_int first, tnk_int count, tnk_int rows, PeerKind there, PeerKind back)
      : f(static_cast<std::size_t>(row * rows)), results_(f.size()) {
    using Make = void *(int, const int *, int, double *, const int *, int, int, double *, const int *, int,
                        int, const int *, unsigned);
    if (const auto plan = Fftw<double>::routine<Make>("plan_many_r2r"))
      for (const auto &[kind, made] : {std::pair{there, &plans_[0]}, std::pair{back, &plans_[1]}}) {
        const int n = static_cast<int>(count), step = static_cast<int>(row), code = kind;
        *made = plan(1, &n, static_cast<int>(rows), f.data() + first, nullptr, 1, step,
                     results_.data() + first, nullptr, 1, step, &code, 0);
      }
    fill();
  }
  Rows(const Rows &) = delete;
  Rows &operator=(const Rows &) = delete;
  ~Rows() {
    for (void *const plan : plans_)
      if (plan) Fftw<double>::routine<void(void *)>("destroy_plan")(plan);
  }
  void fill() {
    std::mt19937 engine(1);
    std::uniform_real_distribution<double> any(-1, 1);
    for (double &x : f) x = any(engine);
    backward = by_peer_ = false;
  }
  Run peer() {
    if (!plans_[0] || !plans_[1]) return nullptr;
    return [this, execute = Fftw<double>::routine<void(void *)>("execute")](long count) {
      by_peer_ = true;
      for (long i = 0; i < count; ++i) execute(plans_[i % 2]);
    };
  }
  // What the last forward transform left, the peer's to be multiplied by `scale`.
  double found(tnk_int k, double scale) const {
    const auto at = static_cast<std::size_t>(k);
    return by_peer_ ? scale * results_[at] : f[at];
  }

  std::vector<double> f;
  bool backward = false; // what comes next

private:
  bool by_peer_ = false;
  std::vector<double> results_;
  void *plans_[2] = {};
};

struct Kind {
  const char *name;
  tnk_trig_kind kind;
  tnk_int first, more; // the peer's elements: from `first` on, n + more of them
  PeerKind forward, backward;
  // F(k) is 2/n times a sum of cosines or sines over the row, an end counting half where that is said.
  bool cosine, half_first, half_last;
  tnk_int angle(tnk_int n, tnk_int k, tnk_int i) const { // in pi/(4n)
    const tnk_int j = kind < TNK_TRIG_STAGGERED_COSINE ? 4 * i * k
                      : kind < TNK_TRIG_QUARTER_COSINE ? 2 * (2 * k + (cosine ? 1 : -1)) * i
                                                       : (2 * k + 1) * (2 * i + 1);
    return j % (8 * n);
  }
};
constexpr Kind kinds[] = {
    {"sine", TNK_TRIG_SINE, 1, -1, rodft00, rodft00, false, false, false},
    {"cosine", TNK_TRIG_COSINE, 0, 1, redft00, redft00, true, true, true},
    {"staggered_cosine", TNK_TRIG_STAGGERED_COSINE, 0, 0, redft01, redft10, true, true, false},
    {"staggered_sine", TNK_TRIG_STAGGERED_SINE, 1, 0, rodft01, rodft10, false, false, true},
    {"quarter_cosine", TNK_TRIG_QUARTER_COSINE, 0, 0, redft11, redft11, true, false, false},
    {"quarter_sine", TNK_TRIG_QUARTER_SINE, 0, 0, rodft11, rodft11, false, false, false}};

// Of a few elements of the first row's forward transform, relative to the root of their mean square.
double error_of(const Kind &kind, tnk_int n, const std::vector<double> &given, const Rows &rows) {
  const long double unit = std::acos(-1.0L) / (4 * static_cast<long double>(n));
  const tnk_int last = kind.first + n + kind.more - 1;
  long double worst = 0;
  for (const tnk_int k : {kind.first, std::max(kind.first, n / 3), n / 2, last}) {
    long double sum = 0;
    for (tnk_int i = kind.first; i <= last; ++i) {
      const long double angle = unit * static_cast<long double>(kind.angle(n, k, i));
      const bool half = (kind.half_first && i == 0) || (kind.half_last && i == n);
      sum += (half ? 1 : 2) * given[static_cast<std::size_t>(i)] *
             (kind.cosine ? std::cos(angle) : std::sin(angle));
    }
    worst = std::max(worst,
                     std::abs(sum / static_cast<long double>(n) - rows.found(k, 1 / static_cast<double>(n))));
  }
  return static_cast<double>(worst * std::sqrt(1.5L * static_cast<long double>(n)));
}

// Forward and backward in turns, of anything that transforms rows.
template <class Transform> Run in_turns(const std::shared_ptr<Rows> &rows, const Transform &transform) {
  return [=](long count) {
    for (; count > 0; --count, rows->backward = !rows->backward) transform(rows->f, rows->backward);
  };
}

Run by_plan(const Kind &kind, tnk_int n, const std::shared_ptr<Rows> &rows) {
  const auto plan = std::make_shared<const Trig<double>>(kind.kind, n);
  return in_turns(rows, [plan](std::vector<double> &f, bool backward) {
    backward ? plan->backward(f) : plan->forward(f);
  });
}

struct KernelPlan {
  KernelPlan(tnk_int kind, tnk_int n) : dpar(static_cast<std::size_t>(TNK_PDETT_DPAR(n, kind))) {
    tnk_pdett_d_init_trig_transform(&n, &kind, ipar, dpar.data(), &stat);
    ipar[TNK_PDETT_RAW] = 1; // no row to test
    tnk_pdett_d_commit_trig_transform(nullptr, &handle, ipar, dpar.data(), &stat);
    ipar[TNK_PDETT_RAW] = 0;
  }
  KernelPlan(const KernelPlan &) = delete;
  KernelPlan &operator=(const KernelPlan &) = delete;
  ~KernelPlan() { tnk_pdett_free_trig_transform(&handle, ipar, &stat); }
  tnk_int ipar[TNK_PDETT_IPAR], stat;
  std::vector<double> dpar;
  DftiHandle handle = nullptr;
};

Run by_kernel(const Kind &kind, tnk_int n, const std::shared_ptr<Rows> &rows) {
  const auto plan = std::make_shared<KernelPlan>(kind.kind, n);
  return in_turns(rows, [plan](std::vector<double> &f, bool backward) {
    (backward ? tnk_pdett_d_backward_trig_transform : tnk_pdett_d_forward_trig_transform)(
        f.data(), &plan->handle, plan->ipar, plan->dpar.data(), &plan->stat);
  });
}

enum class Peer { fftw, one_thread, plan };

Case contest(const Kind &kind, tnk_int n, tnk_int row_count, Peer peer) {
  Case made;
  if (n < 2) {
    made.skip = "no transform of less than 2 elements";
    return made;
  }
  const auto rows = std::make_shared<Rows>(TNK_TRIG_ROW(kind.kind, n), kind.first, n + kind.more, row_count,
                                           kind.forward, kind.backward);
  made.ours = peer == Peer::plan ? by_kernel(kind, n, rows) : by_plan(kind, n, rows);
  made.peer = peer == Peer::fftw ? rows->peer() : by_plan(kind, n, rows);
  made.reset = [=] { rows->fill(); };
  const std::vector<double> given = rows->f;
  made.error = [=] { return error_of(kind, n, given, *rows); };
  // Sums carry their roundings along, and divisors are as small as 1/n, in kernels of quarter kinds twice.
  const double length = static_cast<double>(n);
  made.allowed = std::numeric_limits<double>::epsilon() *
                 (kind.kind < TNK_TRIG_STAGGERED_COSINE                       ? 10 + 5 * std::sqrt(length)
                  : kind.kind < TNK_TRIG_QUARTER_COSINE || peer != Peer::plan ? 10 + 2 * length
                                                                              : 10 + 4 * length * length);
  made.work = 2.5 * length * std::log2(length) * static_cast<double>(row_count);
  made.limits = {flops_limit(flop_probe(sizeof(double), 32), made.work)};
  return made;
}

// The transform inside: real numbers in place, in the same format.
Case fourier(tnk_int n) {
  Case made;
  DftiHandle handle = nullptr;
  const double factor = 1 / static_cast<double>(n);
  if (DftiCreateDescriptor(&handle, DftiDouble, DftiReal, tnk_int{1}, n) != DftiNoError ||
      DftiSetValue(handle, DftiParamPackedFormat, int32_t{DftiFormatPerm}) != DftiNoError ||
      DftiSetValue(handle, DftiParamBackwardScale, factor) != DftiNoError ||
      DftiCommitDescriptor(handle) != DftiNoError)
    made.skip = "no transform of that length";
  const std::shared_ptr<DftiNode> owner(handle, [](DftiHandle each) { DftiFreeDescriptor(&each); });
  if (!made.skip.empty()) return made;
  const auto rows = std::make_shared<Rows>(n, 0, n, 1, r2hc, hc2r);
  made.ours = [=](long count) {
    for (; count > 0; --count, rows->backward = !rows->backward)
      rows->backward ? DftiComputeBackward(owner.get(), rows->f.data())
                     : DftiComputeForward(owner.get(), rows->f.data());
  };
  made.peer = rows->peer();
  made.reset = [=] { rows->fill(); };
  const std::vector<double> given = rows->f;
  made.error = [=] { // the sum of all
    long double sum = 0;
    for (const double x : given) sum += x;
    return static_cast<double>(std::abs(sum - rows->found(0, 1)) /
                               std::sqrt(static_cast<long double>(n) / 3));
  };
  made.allowed = 16 * std::numeric_limits<double>::epsilon();
  made.work = 2.5 * static_cast<double>(n) * std::log2(static_cast<double>(n));
  made.limits = {flops_limit(flop_probe(sizeof(double), 32), made.work)};
  return made;
}

} // namespace

void add_trigonometric_transforms(std::vector<Row> &rows) {
  const auto add = [&](const std::string &name, const std::vector<tnk_int> &sizes) -> Row & {
    Row row;
    row.group = "pde/trig", row.name = name, row.sizes = sizes, row.unit = "flop", row.picture = "transforms";
    row.library = &fftw();
    rows.push_back(row);
    return rows.back();
  };
  const std::vector<tnk_int> sizes = {64, 256, 1000, 1024, 4096};
  for (const Kind &kind : kinds)
    add(kind.name, sizes).prepare = [&kind](tnk_int n) { return contest(kind, n, 1, Peer::fftw); };
  add("fourier", sizes).prepare = fourier;
  for (const Kind &kind : kinds) {
    Row &kernel = add(std::string("kernel_") + kind.name, {64, 1024});
    kernel.prepare = [&kind](tnk_int n) { return contest(kind, n, 1, Peer::plan); };
    kernel.library = nullptr, kernel.peer = "public plan", kernel.picture = "kernels";
  }
  Row &threaded = add("512_rows", {512});
  threaded.prepare = [](tnk_int n) { return contest(kinds[0], n, 512, Peer::one_thread); };
  threaded.library = nullptr, threaded.peer = "1 thread", threaded.picture = "threads", threaded.threads = 2;
}

} // namespace tnk::bench
