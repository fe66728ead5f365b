// Takes the times of a row: judged first, then interleaved round by round.
#pragma once

#include "bench/frame/row.h"

namespace tnk::bench {

// What was measured at one size. Times are those of one call; all are medians over the rounds.
struct Measurement {
  std::string error;       // why there is nothing else; "" when all is well
  std::string skipped;     // why it was not measured on this machine; "" when it was
  std::string note;        // what else is to be said
  double seconds = 0;      // ours
  double rate = 0;         // ours, in units of the row a second
  double peer_seconds = 0; // 0 without a peer
  double ratio = 0;        // the peer's time over ours: above 1, ours is faster; 0 without a peer
  double fraction = 0;     // of the limit: the time that it would take over ours; 0 without a limit
  std::string limited_by;  // the limit that takes longest
};

using Clock = std::function<double()>; // seconds from some point in time

double steady_seconds();

// Takes at most `rounds` rounds, and fewer of calls that take long, but no fewer than three. None takes no times: the
// row is only judged. An error that the host reports is one of the row.
Measurement measure(const Row &row, tnk_int size, int rounds, const Clock &clock = steady_seconds);

} // namespace tnk::bench
