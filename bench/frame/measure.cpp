#include "bench/frame/measure.h"

#include "bench/frame/judge.h"
#include "bench/frame/median.h"
#include "tools/tnk/support/threads.h"

#include <tnk/host.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <mutex>

namespace tnk::bench {
namespace {

using tnk::tool::Threads;

// A reading of this length stands far above the grain of the clock and below a slice of the scheduler.
constexpr double reading_seconds = 200e-6;
// Where a round takes longer than this, fewer rounds are taken.
constexpr double round_seconds = 0.1;
constexpr int fewest_rounds = 3;

// The first error that the host reported. Handlers get no context, and any thread may call them.
std::string reported;
std::mutex reporting;
void record(const tnk_error *error) {
  const std::lock_guard<std::mutex> lock(reporting);
  if (reported.empty()) reported = error->message;
}

class Recording {
public:
  Recording() : before_(tnk_set_error_handler(record)) { reported.clear(); }
  Recording(const Recording &) = delete;
  Recording &operator=(const Recording &) = delete;
  ~Recording() { tnk_set_error_handler(before_); }

private:
  tnk_error_handler before_;
};

// One of those that are timed in turn: ours, the peer, the probes of the limits.
struct Contender {
  Run run;
  int threads;
  std::function<void()> before_each = {};
  long count = 1; // calls of one reading
  std::vector<double> times = {};
};

class Timing {
public:
  Timing(const Row &row, const Case &timed, bool with_peer, const Clock &with_clock)
      : contest(timed), clock(with_clock) {
    contenders.push_back({contest.ours, row.threads, contest.before_each});
    if (with_peer) contenders.push_back({contest.peer, row.peer_threads, contest.before_each});
    first_limit = contenders.size();
    for (const Limit &limit : contest.limits) contenders.push_back({limit.probe, 1});
  }

  // Finds how often each contender runs so that a reading is long beside the clock's grain. Returns how long a round
  // takes.
  double calibrate() {
    double round = 0;
    for (Contender &c : contenders) {
      double each = seconds_per_call(c);
      while (each * static_cast<double>(c.count) < reading_seconds) {
        const double wanted = reading_seconds / std::max(each, 1e-9),
                     most = 16.0 * static_cast<double>(c.count);
        // A first call is slow, so its time is no ground for a large leap, nor for a small one.
        c.count = std::max(c.count + 1, static_cast<long>(std::min(wanted * 1.1, most)));
        each = seconds_per_call(c);
      }
      round += each * static_cast<double>(c.count);
    }
    return round;
  }

  // Each contender once, first to last and the next time last to first.
  void round() {
    for (Contender &c : contenders) c.times.push_back(seconds_per_call(c));
    std::reverse(contenders.begin(), contenders.end());
    backward = !backward;
  }

  void result(Measurement &m) {
    if (backward) std::reverse(contenders.begin(), contenders.end());
    const Contender &ours = contenders.front();
    m.seconds = median(ours.times);
    m.rate = contest.work / m.seconds;
    // A ratio is taken within its round, where both sides saw the same machine.
    const auto ratio_to_ours = [&](const Contender &c, double times) {
      std::vector<double> ratios;
      for (std::size_t i = 0; i < c.times.size(); ++i) ratios.push_back(times * c.times[i] / ours.times[i]);
      return median(ratios);
    };
    if (first_limit > 1) {
      m.peer_seconds = median(contenders[1].times);
      m.ratio = ratio_to_ours(contenders[1], 1);
    }
    for (std::size_t i = 0; i < contest.limits.size(); ++i) {
      const double fraction = ratio_to_ours(contenders[first_limit + i], contest.limits[i].times);
      if (m.limited_by.empty() || fraction > m.fraction)
        m.fraction = fraction, m.limited_by = contest.limits[i].name;
    }
  }

private:
  double seconds_per_call(const Contender &c) {
    const Threads set(c.threads); // each time, since the other side may want another number
    double seconds = 0;
    const long at_once = c.before_each ? 1 : c.count;
    for (long done = 0; done < c.count; done += at_once) {
      if (c.before_each) c.before_each();
      const double start = clock();
      c.run(at_once);
      seconds += clock() - start;
    }
    return seconds / static_cast<double>(c.count);
  }

  const Case &contest;
  const Clock &clock;
  std::vector<Contender> contenders;
  std::size_t first_limit;
  bool backward = false;
};

Run with_threads(const Run &run, int threads) {
  if (!run) return run;
  return [run, threads](long count) {
    const Threads set(threads);
    run(count);
  };
}

void judge_and_time(const Row &row, tnk_int size, int rounds, const Clock &clock, Measurement &m) {
  const Case contest = row.prepare(size);
  m.skipped = contest.skip;
  if (!m.skipped.empty()) return;
  Case judged = contest;
  judged.ours = with_threads(contest.ours, row.threads);
  judged.peer = with_threads(contest.peer, row.peer_threads);
  const Verdict verdict = judge(judged);
  m.error = verdict.error;
  if (verdict.peer_wrong) m.note = "the peer is wrong";
  if (!contest.peer && !(row.library && !row.library->absence().empty()))
    m.note = "the peer has no such routine";
  if (!m.error.empty() || rounds == 0) return;

  if (const auto &reset = contest.reset_for_timing ? contest.reset_for_timing : contest.reset) reset();
  Timing timing(row, contest, contest.peer && !verdict.peer_wrong, clock);
  const double enough = rounds * round_seconds / timing.calibrate();
  rounds = std::max(std::min(rounds, fewest_rounds), static_cast<int>(std::min<double>(rounds, enough)));
  for (; rounds > 0; --rounds) timing.round();
  timing.result(m);
}

} // namespace

double steady_seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Measurement measure(const Row &row, tnk_int size, int rounds, const Clock &clock) {
  const Recording recording;
  Measurement m;
  try {
    judge_and_time(row, size, rounds, clock, m);
  } catch (const std::exception &failure) {
    m.error = failure.what();
  }
  if (m.error.empty()) m.error = reported;
  return m;
}

} // namespace tnk::bench
