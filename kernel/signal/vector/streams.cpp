// Clearing and copying.
#include "kernel/signal/vector/walk.h"

namespace tnk::signal {
namespace {

// Above these the block would push everything else out of the caches, and is written past them.
constexpr tnk_int largest_cached_zero = 2097152, largest_cached_copy = 1048576;

// Calls store(i) for each i of a whole 32-byte line of the destination, and edge(i, n) for what is left at both ends.
template <class Line, class Edge> void by_lines(uint8_t *destination, tnk_int bytes, Line line, Edge edge) {
  const tnk_int head = elements_to_boundary<32>(destination, bytes);
  edge(0, head);
  tnk_int i = head;
  for (; i + 32 <= bytes; i += 32) line(i);
  edge(i, bytes - i);
  _mm_sfence();
}

template <class T> int32_t zero(T *destination, int32_t length) {
  if (const int32_t status = checked(length, destination)) return status;
  const tnk_int bytes = length * static_cast<tnk_int>(sizeof(T));
  (bytes > largest_cached_zero ? e9_ownsZero_8u : e9_ownsZero_8u_E9)(reinterpret_cast<uint8_t *>(destination),
                                                                     bytes);
  return TNK_SIGNAL_OK;
}

template <class T> int32_t copy(const T *source, T *destination, int32_t length) {
  if (const int32_t status = checked(length, source, destination)) return status;
  const tnk_int bytes = length * static_cast<tnk_int>(sizeof(T));
  (bytes > largest_cached_copy ? e9_ownsCopy_8u : e9_ownsCopy_8u_E9)(
      reinterpret_cast<const uint8_t *>(source), reinterpret_cast<uint8_t *>(destination), bytes);
  return TNK_SIGNAL_OK;
}

} // namespace
} // namespace tnk::signal

void e9_ownsZero_8u(uint8_t *destination, tnk_int bytes) {
  tnk::signal::by_lines(
      destination, bytes,
      [=](tnk_int i) { _mm256_stream_pd(reinterpret_cast<double *>(destination + i), tnk::f64x4{}); },
      [=](tnk_int i, tnk_int n) { e9_ownsZero_8u_E9(destination + i, n); });
}
void e9_ownsZero_8u_E9(uint8_t *destination, tnk_int bytes) {
  std::memset(destination, 0, static_cast<std::size_t>(bytes));
}
void e9_ownsCopy_8u(const uint8_t *source, uint8_t *destination, tnk_int bytes) {
  tnk::signal::by_lines(
      destination, bytes,
      [=](tnk_int i) {
        _mm256_stream_pd(reinterpret_cast<double *>(destination + i), tnk::loadu<tnk::f64x4>(source + i));
      },
      [=](tnk_int i, tnk_int n) { e9_ownsCopy_8u_E9(source + i, destination + i, n); });
}
void e9_ownsCopy_8u_E9(const uint8_t *source, uint8_t *destination, tnk_int bytes) {
  std::memmove(destination, source, static_cast<std::size_t>(bytes));
}

int32_t e9_vpksZero_8u(uint8_t *destination, int32_t length) {
  return tnk::signal::zero(destination, length);
}
int32_t e9_vpksZero_32s(int32_t *destination, int32_t length) {
  return tnk::signal::zero(destination, length);
}
int32_t e9_vpksZero_32f(float *destination, int32_t length) {
  return tnk::signal::zero(destination, length);
}
int32_t e9_vpksZero_64f(double *destination, int32_t length) {
  return tnk::signal::zero(destination, length);
}
int32_t e9_vpksZero_32fc(tnk_complex8 *destination, int32_t length) {
  return tnk::signal::zero(destination, length);
}
int32_t e9_vpksZero_64fc(tnk_complex16 *destination, int32_t length) {
  return tnk::signal::zero(destination, length);
}
int32_t e9_vpksCopy_32f(const float *source, float *destination, int32_t length) {
  return tnk::signal::copy(source, destination, length);
}
int32_t e9_vpksCopy_64f(const double *source, double *destination, int32_t length) {
  return tnk::signal::copy(source, destination, length);
}
