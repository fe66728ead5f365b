// What the kernels report through the seam, which reports.cpp of this executable stands in.
#pragma once

#include <ostream>
#include <string>
#include <tnk/types.h>
#include <utility>
#include <vector>

namespace tnk::test {

struct Reported {
  std::string routine;
  int position;
  tnk_int value;
  std::string message;
  bool operator==(const Reported &b) const {
    return routine == b.routine && position == b.position && value == b.value && message == b.message;
  }
};
inline std::ostream &operator<<(std::ostream &out, const Reported &r) {
  return out << r.routine << " " << r.position << " " << r.value << " " << r.message;
}
inline std::vector<Reported> reports;
inline std::vector<Reported> take_reports() {
  return std::exchange(reports, {});
}

} // namespace tnk::test
