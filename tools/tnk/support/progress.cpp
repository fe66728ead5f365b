#include "tools/tnk/support/progress.h"
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace tnk::tool {

using namespace std::chrono_literals;

Progress::Progress(std::string label)
    : label_(std::move(label)), next_(Clock::now() + 1s), terminal_(::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (shown_) std::fputs("\r\033[K", stderr);
}

void Progress::update(double fraction) {
  if (!terminal_) return;
  const auto now = Clock::now();
  if (now < next_) return;
  next_ = now + 100ms;
  shown_ = true;
  std::fprintf(stderr, "\r\033[K%s  %3.0f%%", label_.c_str(), 100 * fraction);
  std::fflush(stderr);
}

} // namespace tnk::tool
