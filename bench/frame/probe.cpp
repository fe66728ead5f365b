#include "bench/frame/probe.h"

#include <cstddef>

namespace tnk::bench {
namespace {

template <class T, int Bytes> struct Vector { typedef T type __attribute__((vector_size(Bytes))); };

// The compiler must take these as unknown.
volatile double known_zero = 0, known_one = 1;
volatile double sink;

template <class V, class T> V splat(T a) {
  return V{} + a;
}

// Eight sums hide the latency of addition behind two loads a cycle.
constexpr std::size_t unroll = 8;

template <class T, int Bytes, Mix M> void stream(void *x_data, void *y_data, std::size_t bytes, long count) {
  using V = typename Vector<T, Bytes>::type;
  V *x = static_cast<V *>(x_data);
  V *y = static_cast<V *>(y_data);
  const std::size_t n = bytes / Bytes;
  const V zero = splat<V>(static_cast<T>(known_zero)), one = splat<V>(static_cast<T>(known_one));
  V sums[unroll] = {};
  const auto step = [&](std::size_t i, V &sum) {
    if constexpr (M == Mix::read) sum += x[i];
    if constexpr (M == Mix::read_both) sum += x[i] * y[i];
    if constexpr (M == Mix::update) x[i] = x[i] * one;
    if constexpr (M == Mix::copy) y[i] = x[i];
    if constexpr (M == Mix::read_update) y[i] = y[i] + x[i] * zero;
    if constexpr (M == Mix::exchange) {
      const V held = x[i];
      x[i] = y[i];
      y[i] = held;
    }
  };
  for (; count > 0; --count) {
    std::size_t i = 0;
    for (; i + unroll <= n; i += unroll) {
#pragma GCC unroll 8
      for (std::size_t k = 0; k < unroll; ++k) step(i + k, sums[k]);
    }
    for (; i < n; ++i) step(i, sums[0]);
    asm volatile("" ::: "memory");
  }
  V sum = zero;
  for (const V &s : sums) sum += s;
  sink = sum[0];
}

template <class T, int Bytes> void stream_ahead(void *x_data, void *, std::size_t bytes, long count) {
  using V = typename Vector<T, Bytes>::type;
  constexpr std::size_t line = 64 / Bytes, ahead = 3072 / Bytes, lines_at_once = 2;
  const V *const x = static_cast<const V *>(x_data);
  const std::size_t half = bytes / Bytes / 2;
  V sums[2][lines_at_once * line] = {};
  for (; count > 0; --count) {
    for (std::size_t i = 0; i + lines_at_once * line <= half; i += lines_at_once * line)
      for (std::size_t s = 0; s < 2; ++s) {
        const V *const at = x + s * half + i;
        for (std::size_t k = 0; k < lines_at_once * line; k += line) __builtin_prefetch(at + ahead + k);
        for (std::size_t k = 0; k < lines_at_once * line; ++k) sums[s][k] += at[k];
      }
    asm volatile("" ::: "memory");
  }
  V sum = splat<V>(static_cast<T>(known_zero));
  for (const auto &stream : sums)
    for (const V &s : stream) sum += s;
  sink = sum[0];
}

// Six chains each fill two multipliers and two adders of latency three, and one of each of latency five.
template <class T, int Bytes> void flops(long count) {
  using V = typename Vector<T, Bytes>::type;
  const V zero = splat<V>(static_cast<T>(known_zero)), one = splat<V>(static_cast<T>(known_one));
  V m0 = one, m1 = one, m2 = one, m3 = one, m4 = one, m5 = one;
  V a0 = one, a1 = one, a2 = one, a3 = one, a4 = one, a5 = one;
  for (; count > 0; --count) {
    m0 *= one, a0 += zero, m1 *= one, a1 += zero, m2 *= one, a2 += zero;
    m3 *= one, a3 += zero, m4 *= one, a4 += zero, m5 *= one, a5 += zero;
    // Twelve equal chains would be folded into one.
    asm volatile("" : "+x"(m0), "+x"(m1), "+x"(m2), "+x"(m3), "+x"(m4), "+x"(m5));
    asm volatile("" : "+x"(a0), "+x"(a1), "+x"(a2), "+x"(a3), "+x"(a4), "+x"(a5));
  }
  const V sum = m0 + m1 + m2 + m3 + m4 + m5 + a0 + a1 + a2 + a3 + a4 + a5;
  sink = sum[0];
}

template <class T, int Bytes> StreamProbe stream_of(Mix mix) {
  switch (mix) {
  case Mix::read:
    return {stream<T, Bytes, Mix::read>, 1};
  case Mix::read_ahead:
    return {stream_ahead<T, Bytes>, 1};
  case Mix::read_both:
    return {stream<T, Bytes, Mix::read_both>, 2};
  case Mix::update:
    return {stream<T, Bytes, Mix::update>, 2};
  case Mix::copy:
    return {stream<T, Bytes, Mix::copy>, 2};
  case Mix::read_update:
    return {stream<T, Bytes, Mix::read_update>, 3};
  case Mix::exchange:
    break;
  }
  return {stream<T, Bytes, Mix::exchange>, 4};
}

template <class T, int Bytes> FlopProbe flops_of() {
  return {flops<T, Bytes>, 12.0 * Bytes / sizeof(T)};
}

} // namespace

StreamProbe stream_probe(Mix mix, int element_bytes, int vector_bytes) {
  if (element_bytes == 4) return vector_bytes == 16 ? stream_of<float, 16>(mix) : stream_of<float, 32>(mix);
  return vector_bytes == 16 ? stream_of<double, 16>(mix) : stream_of<double, 32>(mix);
}

FlopProbe flop_probe(int element_bytes, int vector_bytes) {
  if (element_bytes == 4) return vector_bytes == 16 ? flops_of<float, 16>() : flops_of<float, 32>();
  return vector_bytes == 16 ? flops_of<double, 16>() : flops_of<double, 32>();
}

Limit bytes_limit(const StreamProbe &probe, void *x, void *y, std::size_t size, double bytes) {
  constexpr std::size_t widest = 32; // a probe leaves out what does not fill a vector
  const std::size_t walked = size / widest * widest;
  return {"bytes", [=](long count) { probe.run(x, y, walked, count); },
          walked ? bytes / (probe.moved * static_cast<double>(walked)) : 0};
}

Limit flops_limit(const FlopProbe &probe, double flops) {
  return {"flops", probe.run, flops / probe.flops};
}

} // namespace tnk::bench
