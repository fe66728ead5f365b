// Catches what the host reports.
#pragma once

#include <string>
#include <tnk/host.h>

namespace tnk::test {

// While one lives, it stands in the place of the process's error handler and keeps the last report of any thread.
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
  // The message of the one bad argument since the last call, if it is made of the report's parts; else what came.
  std::string bad_argument() {
    const Seen s = take();
    const std::string parts = s.routine + ": argument " + std::to_string(s.position) + " (" + s.argument +
                              ") is " + s.value + ", expected " + s.expected;
    const bool right = s.count == 1 && s.kind == TNK_ERROR_ARGUMENT && s.message == parts;
    return right ? parts : std::to_string(s.count) + " reports, not of " + parts + ": " + s.message;
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
