// Catches what the host reports.
#pragma once

#include <string>
#include <tnk/host.h>

namespace tnk::test {

// While one lives, it stands in the place of the process's error handler and keeps the last report of any
// thread.
class ErrorRecorder {
public:
  ErrorRecorder() : before_(tnk_set_error_handler(record)) { seen() = {}; }
  ErrorRecorder(const ErrorRecorder &) = delete;
  ErrorRecorder &operator=(const ErrorRecorder &) = delete;
  ~ErrorRecorder() { tnk_set_error_handler(before_); }

  struct Seen {
    int count, kind, position;
    std::string routine, argument, value, expected, message;
  };
  const Seen &last() const { return seen(); }
  // The last report, forgotten afterwards.
  Seen take() {
    Seen taken = seen();
    seen() = {};
    return taken;
  }

private:
  static Seen &seen() {
    static Seen seen;
    return seen;
  }
  static void record(const tnk_error *e) {
    seen() = {seen().count + 1, e->kind,  e->position, e->routine,
              e->argument,      e->value, e->expected, e->message};
  }
  tnk_error_handler before_;
};

} // namespace tnk::test
