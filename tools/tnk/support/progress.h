// A line on the terminal for work that takes over a second.
#pragma once

#include <chrono>
#include <string>

namespace tnk::tool {

// Shows "label  42%" on standard error when that is a terminal and the work has gone on for a second, and
// wipes it at the end. Silent otherwise.
class Progress {
public:
  explicit Progress(std::string label);
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;
  ~Progress();

  void update(double fraction); // of the work done, 0 ... 1

private:
  using Clock = std::chrono::steady_clock;
  std::string label_;
  Clock::time_point next_;
  bool terminal_, shown_ = false;
};

} // namespace tnk::tool
