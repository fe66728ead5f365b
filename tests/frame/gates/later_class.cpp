// Ends on an instruction of a later processor class: shows that the emulated processor refuses what the real
// one would.
#include <immintrin.h>

int main(int argc, char **) {
  const __m256i sum = _mm256_add_epi32(_mm256_set1_epi32(argc), _mm256_set1_epi32(argc));
  return _mm256_extract_epi32(sum, 5) == 2 * argc ? 0 : 1;
}
