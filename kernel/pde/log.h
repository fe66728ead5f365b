// The log files of the diagnostics.
#pragma once

#include <cstdio>
#include <tnk/services.h>

namespace tnk::pde {

// To the end of the file of that name in the current folder, which is opened and closed for each message; where it cannot
// be opened, that is printed.
inline void append_to_log(const char *name, const char *message) {
  constexpr int32_t no_log_file = 408, advice = 409; // lines of the catalog
  std::FILE *const log = std::fopen(name, "a+");
  if (!log) {
    tnk_serv_tnk_print(1, no_log_file, 1, name);
    tnk_serv_tnk_print(1, advice, 0);
    return;
  }
  std::fflush(log);
  // The message is the format: the catalog's check keeps percent signs out of it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
  std::fprintf(log, message);
#pragma GCC diagnostic pop
  std::fclose(log);
}

} // namespace tnk::pde
