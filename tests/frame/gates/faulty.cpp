// A library with the faults that the gates look for, each under a name of its own. Compiled for a later
// processor class and linked without regard for the rules: every gate has to refuse it.
#include <cstdlib>
#include <immintrin.h>

extern "C" {

int faulty_started = std::rand(); // runs at load, and imports what is not allowed

const char *faulty_setting() {
  return std::getenv("TNK_KERNEL_PATH");
}
__m256i faulty_integer_add(__m256i a, __m256i b) {
  return _mm256_add_epi32(a, b);
}
__m256d faulty_fused(__m256d a, __m256d b, __m256d c) {
  return _mm256_fmadd_pd(a, b, c);
}
__m256 faulty_broadcast(__m128 a) {
  return _mm256_broadcastss_ps(a);
}
unsigned faulty_leading_zeros(unsigned a) {
  return _lzcnt_u32(a);
}
unsigned faulty_andn(unsigned a, unsigned b) {
  return ~a & b;
}
__m256 faulty_half_precision(__m128i a) {
  return _mm256_cvtph_ps(a);
}
}
