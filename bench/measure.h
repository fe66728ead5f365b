// Takes the times of a row: checked, then interleaved round by round.
#pragma once

#include "bench/row.h"

#include <string>

namespace tnk::bench {

// What was measured at one length. Medians over the rounds; times are those of one call.
struct Measurement {
  double ours = 0;     // seconds
  double peer = 0;     // seconds; 0 without a peer
  double ratio = 0;    // peer / ours; 0 without a peer
  double fraction = 0; // of the limit: the time that the limit would take / ours
  bool limited_by_flops = false;
  double gigabytes = 0, gigaflops = 0; // ours, a second
};

class Measuring {
public:
  Measuring(const Row &row, tnk_int n);

  // Runs ours and the peer on the same operands and compares. "" when they agree, else what is wrong.
  std::string check();

  // Finds how often each contender runs so that a reading is long beside the clock's grain.
  void calibrate();

  // One round: each contender timed once, first to last and the next time last to first. Returns ours, in
  // seconds a call.
  double round();

  Measurement result() const;

  // Whether check found ours right and the peer wrong. The peer is then left out.
  bool peer_is_wrong() const { return wrong_peer; }

private:
  enum Contender { ours, peer, stream, flops, contenders };

  bool present(int contender) const;
  double seconds_per_call(int contender, long count);

  const Row &row;
  Operands operands;
  StreamProbe stream_loop;
  FlopProbe flop_loop;
  std::size_t vector_bytes_total;
  long counts[contenders] = {};
  bool wrong_peer = false;
  std::vector<double> times[contenders];
};

} // namespace tnk::bench
