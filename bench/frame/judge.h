// Whether the contenders of a case compute the same, and the right thing.
#pragma once

#include "bench/frame/row.h"

namespace tnk::bench {

struct Verdict {
  std::string error;       // what is wrong with ours or with the row; "" when nothing is
  bool peer_wrong = false; // ours is right and the peer is not: there is nothing to compare with
};

Verdict judge(const Case &contest);

} // namespace tnk::bench
