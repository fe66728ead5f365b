// Statuses in words, and the version. The texts are the host's.
#include "kernel/dft/node.h"
#include <algorithm>
#include <cstring>
#include <tnk/services.h>

tnk_int DftiErrorClass(tnk_int status, tnk_int other) {
  return status == other;
}
[[gnu::alias("DftiErrorClass")]] tnk_int tnk_dft_dftierrorclass(tnk_int status, tnk_int other);

tnk_int tnk_dft_dfti_error_class_external(const tnk_int *status, const tnk_int *other) {
  return *status == *other;
}

// The catalog has a message for each status, and one for what is none.
const char *DftiErrorMessage(tnk_int status) {
  constexpr int32_t first_message = 761, unknown = 771;
  const bool known = status >= DftiNoError && status <= DftiLengthExceedsLimit;
  return tnk_serv_tnk_get_msg(known ? first_message + static_cast<int32_t>(status) : unknown, 0);
}
[[gnu::alias("DftiErrorMessage")]] const char *tnk_dft_dftierrormessage(tnk_int status);

char *tnk_dft_dfti_error_message_external(const tnk_int *status, char *buffer, const tnk_int *length) {
  const auto size = static_cast<size_t>(std::max<tnk_int>(*length, 0));
  const char *const text = DftiErrorMessage(*status);
  const size_t copied = text ? std::min(std::strlen(text), size) : 0;
  if (copied) std::memcpy(buffer, text, copied);
  std::memset(buffer + copied, ' ', size - copied);
  return buffer;
}

void tnk_dft_dfti_get_version_string(char *buffer, tnk_int length) {
  char text[DftiVersionLength] = {};
  tnk_serv_getversionstring_c(text, sizeof text);
  const tnk_int most = std::min<tnk_int>(length, sizeof text);
  for (tnk_int i = 0; i < most && text[i]; ++i) buffer[i] = text[i];
}
