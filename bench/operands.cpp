#include "bench/operands.h"

#include "bench/frame/store.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

namespace tnk::bench {
namespace {

// x and y start on the same residue modulo 32, and so far apart modulo a page that a store to one is not taken for a
// load from the other.
constexpr std::size_t y_offset = 2048 + 64;

Store x_store, y_store, indx_store;

bool is_single(char element) {
  return element == 's' || element == 'c';
}

std::size_t parts(char element) {
  return element == 'c' || element == 'z' ? 2 : 1;
}

// Eighths from 1/8 to 1 of either sign. One element is larger and one smaller than all others, so that the position
// of an extreme has one answer.
template <class T> void fill(T *v, std::size_t elements, std::size_t parts_each, std::uint64_t state) {
  const std::size_t n = elements * parts_each;
  for (std::size_t i = 0; i < n; ++i) {
    state ^= state << 13, state ^= state >> 7, state ^= state << 17;
    const int eighths = 1 + static_cast<int>(state >> 60) % 8;
    v[i] = static_cast<T>(state & 16 ? eighths : -eighths) / 8;
  }
  for (std::size_t k = 0; k < parts_each; ++k) {
    v[elements * 5 / 8 * parts_each + k] = static_cast<T>(1.5);
    v[elements * 3 / 8 * parts_each + k] = static_cast<T>(0.0625);
  }
}

// -1, 0 and 1: sums of their magnitudes are exact in any order as long as they fit the significand, as 2^24 ones fit
// that of a float. Long sums of other floats agree to few digits when their orders differ.
template <class T> void fill_units(T *v, std::size_t n, std::uint64_t state) {
  for (std::size_t i = 0; i < n; ++i) {
    state ^= state << 13, state ^= state >> 7, state ^= state << 17;
    v[i] = static_cast<T>(state >> 63) * (state >> 62 & 1 ? 1 : -1);
  }
}

void reset(Operands &o, const Contest &contest, bool units) {
  const std::size_t each = parts(contest.element), n = contest.elements;
  const auto fill_vector = [&](auto *v, std::uint64_t seed) {
    units ? fill_units(v, n * each, seed) : fill(v, n, each, seed);
  };
  constexpr std::uint64_t x_seed = 0x9e3779b97f4a7c15u, y_seed = 0xd1b54a32d192ed03u;
  std::memset(o.value, 0, sizeof o.value);
  if (is_single(contest.element)) {
    fill_vector(o.x<float>(), x_seed);
    fill_vector(o.y<float>(), y_seed);
  } else {
    fill_vector(o.x<double>(), x_seed);
    fill_vector(o.y<double>(), y_seed);
  }
}

template <class T> Tolerance tolerance(Law law) {
  constexpr double eps = std::numeric_limits<T>::epsilon();
  return law == Law::exact ? equal : law == Law::close ? Tolerance{8 * eps, 0, 0} : Tolerance{0, 2 * eps, 0};
}

template <class T> std::vector<Result> vectors(Operands &o, const Contest &contest) {
  const std::size_t numbers = contest.elements * parts(contest.element);
  return {result(o.x<T>(), numbers, tolerance<T>(contest.law)),
          result(o.y<T>(), numbers, tolerance<T>(contest.law))};
}

template <class T> Result value(Operands &o, Law law) {
  return result(o.result<T>(), sizeof o.value / sizeof(T), tolerance<T>(law));
}

std::shared_ptr<Operands> make(tnk_int n, std::size_t bytes) {
  const auto o = std::make_shared<Operands>();
  const auto count = static_cast<std::size_t>(n);
  o->n = n;
  o->x_data = x_store.at_least(bytes);
  o->y_data = y_store.at_least(bytes + y_offset) + y_offset;
  o->indx = reinterpret_cast<tnk_int *>(indx_store.at_least(count * sizeof(tnk_int)));
  // Neighbours trade places within blocks of 64: 37 is prime to 64. What is left of a block stays in order.
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t block = i / 64 * 64;
    o->indx[i] = static_cast<tnk_int>(block + 64 <= count ? block + i * 37 % 64 : i) + 1;
  }
  return o;
}

} // namespace

Case on_operands(const Contest &contest, const std::string &unit, tnk_int n, const Call &ours,
                 const Call &peer, const Call &reference) {
  const bool single = is_single(contest.element), single_arithmetic = single && !contest.double_arithmetic;
  const std::size_t bytes = contest.elements * parts(contest.element) * (single ? 4 : 8);
  const auto o = make(n, bytes);
  const auto run = [o](const Call &call) {
    return call ? Run([o, call](long count) { call(*o, count); }) : Run();
  };
  const auto reset_to = [o, contest](bool units) { return [=] { reset(*o, contest, units); }; };
  Case made;
  made.ours = run(ours), made.peer = run(peer), made.reference = run(reference);
  made.work = unit == "flop" ? contest.flops : contest.bytes;
  made.reset = reset_to(contest.law == Law::sum);
  made.reset_for_timing = reset_to(false);
  made.results = single ? vectors<float>(*o, contest) : vectors<double>(*o, contest);
  made.results.push_back(single_arithmetic ? value<float>(*o, contest.law) : value<double>(*o, contest.law));
  const int number_bytes = single ? 4 : 8;
  if (contest.bytes > 0)
    made.limits.push_back(bytes_limit(stream_probe(contest.mix, number_bytes, contest.vector_bytes),
                                      o->x_data, o->y_data, bytes, contest.bytes));
  if (contest.flops > 0)
    made.limits.push_back(
        flops_limit(flop_probe(single_arithmetic ? 4 : 8, contest.vector_bytes), contest.flops));
  return made;
}

} // namespace tnk::bench
