// Poisson's equation with values given on all sides, on one thread, beside sine transforms of all axes by FFTW, which plans
// by measuring, and a division between; two threads beside one; and the tridiagonal equations beside the whole.
#include "bench/families.h"
#include "bench/frame/probe.h"
#include "tools/tnk/support/threads.h"

#include <tnk/pde_poisson.h>
#include <tnk/poisson.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>

namespace tnk::bench {
namespace {

// Sides of a square or cube on which the lowest mode neither grows nor fades, however often it is solved for.
double side(int dims) {
  return std::sqrt(static_cast<double>(dims)) * std::acos(-1.0);
}

double work(tnk_int n, int dims) { // of sine transforms of all axes, there and back
  const double points = std::pow(static_cast<double>(n), dims);
  return 2 * 2.5 * dims * points * std::log2(static_cast<double>(n));
}

template <class R> class Data {
public:
  Data(tnk_int n, int dims, int threads) : n_(n), dims_(dims) {
    const tool::Threads set(threads);
    tnk_poisson_problem problem = {};
    problem.dims = dims, problem.numbers = sizeof(R) == 4 ? TNK_POISSON_FLOAT : TNK_POISSON_DOUBLE;
    for (int a = 0; a < dims; ++a) {
      problem.cells[a] = n, problem.high[a] = side(dims);
      problem.sides[2 * a] = problem.sides[2 * a + 1] = 'D';
    }
    if (tnk_poisson_plan_make(&plan_, &problem) != TNK_POISSON_DONE) return;
    std::size_t points = 1;
    for (int a = 0; a < dims; ++a) points *= static_cast<std::size_t>(n + 1);
    f_.resize(points), u.resize(points);
    std::mt19937 engine(1);
    std::uniform_real_distribution<R> any(-1, 1);
    for (R &value : f_) value = any(engine);
    reset();
  }
  Data(const Data &) = delete;
  Data &operator=(const Data &) = delete;
  ~Data() { tnk_poisson_plan_free(plan_); }
  void reset() {
    u = f_;
    settle = nullptr;
  }
  void solve(long count) {
    while (count-- > 0) tnk_poisson_plan_solve(plan_, u.data(), nullptr, nullptr);
  }
  // In the equations, relative to their largest terms.
  double residual() const {
    const double h = side(dims_) / static_cast<double>(n_);
    const tnk_int row = n_ + 1, planes = dims_ == 3 ? row : 1, inner = dims_ == 3 ? 1 : 0;
    double worst = 0, largest = 0;
    for (tnk_int k = inner; k < planes - inner; ++k)
      for (tnk_int j = 1; j < n_; ++j)
        for (tnk_int i = 1; i < n_; ++i) {
          const R *const at = u.data() + i + row * (j + row * k);
          double sum = 2 * dims_ * static_cast<double>(*at) - static_cast<double>(at[-1]) -
                       static_cast<double>(at[1]) - static_cast<double>(at[-row]) -
                       static_cast<double>(at[row]);
          if (dims_ == 3) sum -= static_cast<double>(at[-row * row]) + static_cast<double>(at[row * row]);
          const double error =
              std::fabs(sum / (h * h) - static_cast<double>(f_[static_cast<std::size_t>(at - u.data())]));
          if (!(error <= worst)) worst = error;
          largest = std::max(largest, std::fabs(static_cast<double>(*at)));
        }
    return worst / (4 * dims_ * largest / (h * h) + 1);
  }
  double allowed() const {
    return static_cast<double>(std::numeric_limits<R>::epsilon()) * (8 + static_cast<double>(n_) / 16);
  }

  const std::vector<R> &right_hand_side() const { return f_; }

  std::vector<R> u;
  std::function<void()> settle; // brings the solution of who ran last into u

private:
  tnk_int n_;
  int dims_;
  tnk_poisson_plan *plan_ = nullptr;
  std::vector<R> f_;
};

// Transforms of the points inside, there and back between two arrays.
template <class R> class Peer {
public:
  static Library &library() { return sizeof(R) == 4 ? fftw_single() : fftw(); }
  Peer(tnk_int n, int dims) {
    using Plan = void *(int, const int *, R *, R *, const int *, unsigned);
    constexpr int sine = 7; // FFTW_RODFT00
    auto *const make = routine<Plan>("plan_r2r");
    if (!make) return;
    const int lengths[] = {static_cast<int>(n - 1), static_cast<int>(n - 1), static_cast<int>(n - 1)};
    const int kinds[] = {sine, sine, sine};
    std::size_t points = 1;
    for (int a = 0; a < dims; ++a) points *= static_cast<std::size_t>(n - 1);
    f_.resize(points), g_.resize(points);
    there_ = make(dims, lengths, f_.data(), g_.data(), kinds, 0);
    back_ = make(dims, lengths, g_.data(), f_.data(), kinds, 0);
    const double h = side(dims) / static_cast<double>(n);
    std::vector<double> root;
    for (tnk_int i = 1; i < n; ++i) {
      const double s =
          2 / h * std::sin(static_cast<double>(i) * std::acos(-1.0) / (2 * static_cast<double>(n)));
      root.push_back(s * s);
    }
    const double scale = std::pow(2 * static_cast<double>(n), -dims);
    m_ = static_cast<std::size_t>(n - 1);
    for (std::size_t i = 0; i < points; ++i) {
      const double sum = root[i % m_] + root[i / m_ % m_] + (dims == 3 ? root[i / m_ / m_] : 0);
      factors_.push_back(static_cast<R>(scale / sum));
    }
  }
  // Points inside, from and to an array with edges.
  void take(const std::vector<R> &from) {
    for (std::size_t i = 0; i < f_.size(); ++i) f_[i] = from[place(i)];
  }
  void give(std::vector<R> &to) const {
    std::fill(to.begin(), to.end(), R(0));
    for (std::size_t i = 0; i < f_.size(); ++i) to[place(i)] = f_[i];
  }
  Peer(const Peer &) = delete;
  Peer &operator=(const Peer &) = delete;
  ~Peer() {
    for (void *const plan : {there_, back_})
      if (plan) routine<void(void *)>("destroy_plan")(plan);
  }
  bool there() const { return there_ && back_; }
  void solve(long count) {
    auto *const execute = routine<void(void *)>("execute");
    while (count-- > 0) {
      execute(there_);
      for (std::size_t i = 0; i < g_.size(); ++i) g_[i] *= factors_[i];
      execute(back_);
    }
  }

private:
  template <class F> static F *routine(const char *name) {
    return library().template routine<F>((sizeof(R) == 4 ? "fftwf_" : "fftw_") + std::string(name));
  }
  std::size_t place(std::size_t i) const {
    const std::size_t row = m_ + 2,
                      plane = f_.size() > m_ * m_ ? row * row : 0; // no edge below a plane alone
    return i % m_ + 1 + row * (i / m_ % m_ + 1) + plane * (i / m_ / m_ + 1);
  }
  std::vector<R> f_, g_, factors_;
  std::size_t m_ = 0;
  void *there_ = nullptr, *back_ = nullptr;
};

template <class R> Case contest(const std::shared_ptr<Data<R>> &data, tnk_int n, int dims) {
  Case made;
  if (data->u.empty()) {
    made.skip = "no memory for the plan";
    return made;
  }
  made.ours = [=](long count) { data->solve(count); };
  made.reset = [=] { data->reset(); };
  made.error = [=] {
    if (data->settle) data->settle();
    return data->residual();
  };
  made.allowed = data->allowed();
  made.work = work(n, dims);
  made.limits = {flops_limit(flop_probe(sizeof(R), 32), made.work)};
  return made;
}

// Planning by measuring takes minutes beyond.
constexpr double most_points = 1 << 24;
Case too_large() {
  Case none;
  none.skip = "too large to plan for";
  return none;
}

template <class R> Case beside_fftw(tnk_int n, int dims) {
  if (std::pow(static_cast<double>(n), dims) > most_points) return too_large();
  const auto data = std::make_shared<Data<R>>(n, dims, 1);
  Case made = contest(data, n, dims);
  const auto peer = std::make_shared<Peer<R>>(n, dims);
  if (!peer->there()) return made;
  made.reset = [=] { data->reset(), peer->take(data->right_hand_side()); };
  made.peer = [=](long count) {
    peer->solve(count);
    data->settle = [peer, &u = data->u] { peer->give(u); };
  };
  return made;
}

Case beside_one_thread(tnk_int n, int dims) {
  if (std::pow(static_cast<double>(n), dims) > most_points) return too_large();
  const auto data = std::make_shared<Data<double>>(n, dims, 2),
             alone = std::make_shared<Data<double>>(n, dims, 1);
  Case made = contest(data, n, dims);
  made.reset = [=] { data->reset(), alone->reset(); };
  made.peer = [=](long count) {
    alone->solve(count);
    data->settle = [alone, &u = data->u] { u = alone->u; };
  };
  return made;
}

// The tridiagonal equations of a solver by address, beside all of it. Each run takes the same coefficients.
Case beside_the_whole(tnk_int n) {
  struct Entries {
    std::vector<tnk_int> ipar = std::vector<tnk_int>(TNK_PDEPL_IPAR);
    std::vector<double> dpar, scaled, u, zeros;
    DftiHandle handle = nullptr;
    tnk_int n, stat = 0, one = 1;
    bool whole = false; // who ran last
    explicit Entries(tnk_int cells)
        : dpar(static_cast<std::size_t>(TNK_PDEPL_DPAR_2D(cells))),
          zeros(static_cast<std::size_t>(cells + 1)), n(cells) {
      const double low = 0, high = side(2), q = 0;
      std::mt19937 engine(1);
      std::uniform_real_distribution<double> any(-1, 1);
      for (std::size_t i = 0; i < zeros.size() * zeros.size(); ++i) u.push_back(any(engine));
      const tool::Threads set(1);
      tnk_pdepl_d_init_helmholtz_2d(&low, &high, &low, &high, &n, &n, "DDDD", &q, ipar.data(), dpar.data(),
                                    &stat);
      const double *const z = zeros.data();
      tnk_pdepl_d_commit_helmholtz_2d(u.data(), z, z, z, z, &handle, ipar.data(), dpar.data(), &stat);
      scaled = u;
    }
    Entries(const Entries &) = delete;
    Entries &operator=(const Entries &) = delete;
    ~Entries() { tnk_pdepl_free_helmholtz_2d(&handle, ipar.data(), &stat); }
  };
  const auto e = std::make_shared<Entries>(n);
  Case made;
  made.ours = [=](long count) {
    e->whole = false;
    while (count-- > 0)
      tnk_pdepl_d_lu_2d_dd(&e->n, &e->n, e->u.data(), e->dpar.data(), e->ipar.data(), &e->one, &e->stat);
  };
  made.peer = [=](long count) {
    const double *const z = e->zeros.data();
    e->whole = true;
    while (count-- > 0) {
      e->ipar[TNK_PDEPL_STATUS] = 0;
      tnk_pdepl_d_helmholtz_2d(e->u.data(), z, z, z, z, &e->handle, e->ipar.data(), e->dpar.data(), &e->stat);
    }
  };
  made.reset = made.before_each = [=] { e->u = e->scaled; };
  made.error =
      [=] { // in the equations of the last column; those of the whole have neighbours beside them too
        const double lambda = e->dpar[static_cast<std::size_t>(e->ipar[TNK_PDEPL_SPECTRA] + n - 2)];
        double worst = 0;
        for (tnk_int j = 1; j < n; ++j) {
          const auto row = static_cast<std::size_t>(n + 1), at = static_cast<std::size_t>(j) * row + row - 2;
          const double below = j > 1 ? e->u[at - row] : 0, above = j + 1 < n ? e->u[at + row] : 0;
          const double middle = e->whole ? 4 * e->u[at] - e->u[at - 1] : lambda * e->u[at];
          worst = std::max(worst, std::fabs(middle - below - above - e->scaled[at]));
        }
        return worst;
      };
  made.allowed = 16 * std::numeric_limits<double>::epsilon();
  made.work = static_cast<double>(n * n);
  made.limits = {flops_limit(flop_probe(sizeof(double), 32), 4 * made.work)};
  return made;
}

} // namespace

void add_poisson(std::vector<Row> &rows) {
  const auto add = [&](const std::string &name, std::vector<tnk_int> sizes, Library &library, auto prepare) {
    Row row;
    row.group = "poisson/" + name.substr(2), row.name = name, row.sizes = std::move(sizes), row.unit = "flop";
    row.picture = "poisson", row.library = &library, row.quick = 256, row.prepare = prepare;
    rows.push_back(row);
  };
  add("d_plane", {64, 256, 512, 1000, 1024}, fftw(), [](tnk_int n) { return beside_fftw<double>(n, 2); });
  add("d_space", {64, 100}, fftw(), [](tnk_int n) { return beside_fftw<double>(n, 3); });
  add("s_plane", {256, 1024}, fftw_single(), [](tnk_int n) { return beside_fftw<float>(n, 2); });
  const auto own = [&](const char *group, const char *name, std::vector<tnk_int> sizes, const char *peer,
                       auto prepare) {
    Row row;
    row.group = group, row.name = name, row.sizes = std::move(sizes), row.unit = "flop", row.peer = peer;
    row.quick = 256, row.prepare = prepare;
    return row;
  };
  Row threads = own("poisson/threads", "d_plane_2t", {512, 1024}, "1 thread",
                    [](tnk_int n) { return beside_one_thread(n, 2); });
  threads.threads = 2, threads.picture = "threads";
  rows.push_back(threads);
  threads.name = "d_space_2t", threads.sizes = {64},
  threads.prepare = [](tnk_int n) { return beside_one_thread(n, 3); };
  rows.push_back(threads);
  Row columns = own("poisson/columns", "d_lu_2d", {256, 512, 1024}, "the whole solve", beside_the_whole);
  columns.picture = "kernels", columns.unit = "point";
  rows.push_back(columns);
}

} // namespace tnk::bench
