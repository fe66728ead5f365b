#include "bench/measure.h"

#include "bench/median.h"
#include "bench/store.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace tnk::bench {
namespace {

// A reading of this length stands far above the grain of the clock and below a slice of the scheduler.
constexpr double reading_seconds = 200e-6;

// x and y start on the same residue modulo 32, and so far apart modulo a page that a store to one is not
// taken for a load from the other.
constexpr std::size_t y_offset = 2048 + 64;

Store x_store, y_store, indx_store, x_kept, y_kept;

bool is_single(char element) {
  return element == 's' || element == 'c';
}

std::size_t parts(char element) {
  return element == 'c' || element == 'z' ? 2 : 1;
}

// Eighths from 1/8 to 1 of either sign. One element is larger and one smaller than all others, so that the
// position of an extreme has one answer.
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

// -1, 0 and 1: sums of their magnitudes are exact in any order as long as they fit the significand, as 2^24
// ones fit that of a float. Long sums of other floats agree to few digits when their orders differ.
template <class T> void fill_units(T *v, std::size_t n, std::uint64_t state) {
  for (std::size_t i = 0; i < n; ++i) {
    state ^= state << 13, state ^= state >> 7, state ^= state << 17;
    v[i] = static_cast<T>(state >> 63) * (state >> 62 & 1 ? 1 : -1);
  }
}

template <class T>
bool within(const T *found, const T *right, std::size_t n, double relative, double absolute) {
  for (std::size_t i = 0; i < n; ++i) {
    const double error = std::abs(static_cast<double>(found[i]) - static_cast<double>(right[i]));
    if (!(error <= absolute + relative * std::abs(static_cast<double>(right[i])))) return false;
  }
  return true;
}

template <class T> bool agree(Law law, const void *found, const void *right, std::size_t n) {
  const double eps = std::numeric_limits<T>::epsilon();
  const T *f = static_cast<const T *>(found), *r = static_cast<const T *>(right);
  switch (law) {
  case Law::exact:
    return within(f, r, n, 0, 0);
  case Law::close:
    return within(f, r, n, 0, 8 * eps);
  case Law::sum:
    break;
  }
  return within(f, r, n, 2 * eps, 0);
}

} // namespace

std::size_t element_bytes(char element) {
  return (is_single(element) ? 4 : 8) * parts(element);
}

Measuring::Measuring(const Row &measured, tnk_int n)
    : row(measured),
      stream_loop(stream_probe(row.cost.mix, is_single(row.element) ? 4 : 8, row.cost.vector_bytes)),
      flop_loop(
          flop_probe(is_single(row.element) && !row.cost.double_arithmetic ? 4 : 8, row.cost.vector_bytes)),
      vector_bytes_total(row.elements(n) * element_bytes(row.element)) {
  operands.n = n;
  const std::size_t count = static_cast<std::size_t>(n);
  operands.indx = reinterpret_cast<tnk_int *>(indx_store.at_least(count * sizeof(tnk_int)));
  // Neighbours trade places within blocks of 64: 37 is prime to 64. What is left of a block stays in order.
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t block = i / 64 * 64;
    operands.indx[i] = static_cast<tnk_int>(block + 64 <= count ? block + i * 37 % 64 : i) + 1;
  }
}

std::string Measuring::check() {
  const std::size_t n = row.elements(operands.n), numbers = n * parts(row.element);
  const auto prepare = [&](bool units) {
    operands.x_data = x_store.at_least(vector_bytes_total);
    operands.y_data = y_store.at_least(vector_bytes_total + y_offset) + y_offset;
    std::memset(operands.value, 0, sizeof operands.value);
    const auto fill_vector = [&](auto *v, std::uint64_t seed) {
      units ? fill_units(v, numbers, seed) : fill(v, n, parts(row.element), seed);
    };
    constexpr std::uint64_t x_seed = 0x9e3779b97f4a7c15u, y_seed = 0xd1b54a32d192ed03u;
    if (is_single(row.element)) {
      fill_vector(operands.x<float>(), x_seed);
      fill_vector(operands.y<float>(), y_seed);
    } else {
      fill_vector(operands.x<double>(), x_seed);
      fill_vector(operands.y<double>(), y_seed);
    }
  };
  if (!row.ours) return "the kernel library has no such entry";
  if (!row.peer) {
    prepare(false);
    return "";
  }
  const bool units = row.cost.law == Law::sum;
  prepare(units);
  // Ours runs first and its results are kept; the right ones come to lie where the timed operands will.
  row.ours(operands, 1);
  unsigned char value[sizeof operands.value];
  std::memcpy(value, operands.value, sizeof value);
  std::swap(x_store, x_kept);
  std::swap(y_store, y_kept);
  const void *x_ours = operands.x_data, *y_ours = operands.y_data;

  const auto same = is_single(row.element) ? agree<float> : agree<double>;
  const bool single_value = is_single(row.element) && !row.cost.double_arithmetic;
  const auto same_value = single_value ? agree<float> : agree<double>;
  const auto agrees_with = [&](const Call &other) {
    prepare(units);
    other(operands, 1);
    return same(row.cost.law, x_ours, operands.x_data, numbers) &&
           same(row.cost.law, y_ours, operands.y_data, numbers) &&
           same_value(row.cost.law, value, operands.value, sizeof value / (single_value ? 4 : 8));
  };
  bool right = agrees_with(row.peer);
  if (!right && row.judge) right = wrong_peer = agrees_with(row.judge);
  if (units) prepare(false);
  return right ? "" : "the result differs from the peer's";
}

bool Measuring::present(int contender) const {
  return contender != peer || (row.peer && !wrong_peer);
}

double Measuring::seconds_per_call(int contender, long count) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  switch (contender) {
  case ours:
    row.ours(operands, count);
    break;
  case peer:
    row.peer(operands, count);
    break;
  case stream:
    stream_loop.run(operands.x_data, operands.y_data, vector_bytes_total, count);
    break;
  default:
    flop_loop.run(count);
    break;
  }
  return std::chrono::duration<double>(Clock::now() - start).count() / static_cast<double>(count);
}

void Measuring::calibrate() {
  for (int c = 0; c < contenders; ++c) {
    if (!present(c)) continue;
    long count = 1;
    double each = seconds_per_call(c, count);
    while (each * static_cast<double>(count) < reading_seconds) {
      const double wanted = reading_seconds / std::max(each, 1e-9);
      // A first call is slow, so its time is no ground for a large leap, nor for a small one.
      count =
          std::max(count + 1, static_cast<long>(std::min(wanted * 1.1, 16.0 * static_cast<double>(count))));
      each = seconds_per_call(c, count);
    }
    counts[c] = count;
  }
}

double Measuring::round() {
  const bool backward = times[ours].size() % 2;
  for (int k = 0; k < contenders; ++k) {
    const int c = backward ? contenders - 1 - k : k;
    if (present(c)) times[c].push_back(seconds_per_call(c, counts[c]));
  }
  return times[ours].back();
}

Measurement Measuring::result() const {
  Measurement m;
  const double bytes = row.cost.bytes * row.units(operands.n);
  const double work = row.cost.flops * row.units(operands.n);
  const std::size_t width = static_cast<std::size_t>(row.cost.vector_bytes);
  const double stream_bytes = stream_loop.moved * static_cast<double>(vector_bytes_total / width * width);
  m.ours = median(times[ours]);
  m.peer = median(times[peer]);
  m.gigabytes = bytes / m.ours * 1e-9;
  m.gigaflops = work / m.ours * 1e-9;
  m.limited_by_flops =
      work / flop_loop.flops * median(times[flops]) > bytes / stream_bytes * median(times[stream]);

  // A ratio is taken within its round, where both sides saw the same machine.
  std::vector<double> ratios, fractions;
  for (std::size_t i = 0; i < times[ours].size(); ++i) {
    const double limit = m.limited_by_flops ? work / flop_loop.flops * times[flops][i]
                                            : bytes / stream_bytes * times[stream][i];
    fractions.push_back(limit / times[ours][i]);
    if (present(peer)) ratios.push_back(times[peer][i] / times[ours][i]);
  }
  m.ratio = median(ratios);
  m.fraction = median(fractions);
  return m;
}

} // namespace tnk::bench
