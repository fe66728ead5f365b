// The error handler of the process.
#include "host/service/errors.h"

#include <atomic>
#include <cstring>
#include <sys/uio.h>
#include <unistd.h>

#include "host/service/errno_keeper.h"
#include "host/service/messages.h"

namespace tnk::host {
namespace {

// One system call a message, so that those of several threads do not mix.
void write_to_stderr(const tnk_error *error) {
  const ErrnoKeeper keeper;
  char prefix[] = "tnk: ", newline[] = "\n";
  iovec parts[] = {{prefix, std::strlen(prefix)},
                   {const_cast<char *>(error->message), std::strlen(error->message)},
                   {newline, 1}};
  // Where standard error cannot be written there is nobody left to tell.
  [[maybe_unused]] const ssize_t written = writev(STDERR_FILENO, parts, 3);
}

std::atomic<tnk_error_handler> handler{write_to_stderr};

} // namespace

void report_argument(const char *routine, int position, const char *name, const char *value,
                     const char *expected) {
  char message[512];
  write_message(message, message_bad_argument, routine, position, name, value, expected);
  const tnk_error error{TNK_ERROR_ARGUMENT, routine, position, name, value, expected, message};
  handler.load()(&error);
}

void report(tnk_error_kind kind, const char *routine, const char *message) {
  const tnk_error error{kind, routine, 0, "", "", "", message};
  handler.load()(&error);
}

} // namespace tnk::host

tnk_error_handler tnk_set_error_handler(tnk_error_handler handler) {
  return tnk::host::handler.exchange(handler ? handler : tnk::host::write_to_stderr);
}

void tnk_report_error(const tnk_error *error) {
  tnk::host::handler.load()(error);
}
