// Comparison of option letters.
#include <tnk/services.h>

namespace {

// Option letters are ASCII whatever the locale.
char upper(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

} // namespace

int32_t tnk_serv_lsame(const char *a, const char *b, int64_t, int64_t) {
  return upper(*a) == upper(*b) ? 1 : 0;
}
