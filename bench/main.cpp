// Measures the rows of all families. With --tsv it writes a line a row for other programs to read, else it is
// an ordinary Google Benchmark program.

#include "bench/measure.h"
#include "bench/peer.h"
#include "bench/row.h"

#include <tnk/host.h>

#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <regex>

#ifdef __clang__
#define COMPILER __VERSION__
#else
#define COMPILER "GCC " __VERSION__
#endif

namespace {

using namespace tnk::bench;

struct Options {
  std::string rows, group, core;
  std::vector<tnk_int> sizes = {100, 1000, 10000, 1000000, 10000000};
  int rounds = 15;
  bool list = false, tsv = false, small = false;
};

// A round of a large size takes long, so fewer must do.
constexpr double large = 1e7, huge = 1e9;

int rounds_at(double units, int rounds) {
  return units < large ? rounds : std::max(3, units < huge ? rounds * 3 / 5 : rounds / 5);
}

constexpr tnk_int small_order = 256;

// A label is "bytes", then "beside Eigen" for a row with a peer of its own, then a note, if any.
const std::string separator = "; ", beside = "beside ";

// Removes the first part of a label and returns it.
std::string cut_part(std::string &label) {
  const auto end = std::min(label.find(separator), label.size());
  const std::string part = label.substr(0, end);
  label.erase(0, end + separator.size());
  return part;
}

void run_row(benchmark::State &state, const Row &row, tnk_int n) {
  Measuring measuring(row, n);
  const std::string wrong = measuring.check();
  if (!wrong.empty()) {
    state.SkipWithError(wrong.c_str());
    return;
  }
  measuring.calibrate();
  for (auto _ : state) state.SetIterationTime(measuring.round());
  const Measurement m = measuring.result();
  state.counters["GB/s"] = m.gigabytes;
  state.counters["Gflop/s"] = m.gigaflops;
  state.counters["limit"] = m.fraction;
  state.counters["seconds"] = m.ours;
  if (row.peer && !measuring.peer_is_wrong()) {
    state.counters["peer_seconds"] = m.peer;
    state.counters["ratio"] = m.ratio;
  }
  state.SetLabel(std::string(m.limited_by_flops ? "flops" : "bytes") +
                 (row.compared_with.empty() ? "" : separator + beside + row.compared_with) +
                 (measuring.peer_is_wrong() ? separator + "the peer is wrong" : ""));
}

std::string processor() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown";
}

// What went wrong, or nothing. Google Benchmark renamed the member in 1.8.
template <class Run> auto error_of(const Run &run) -> decltype(run.error_message) {
  return run.error_message;
}
template <class Run> auto error_of(const Run &run) -> decltype(run.skip_message) {
  return run.skip_message;
}

// Lines of the form "# key: value", then a line of column names, then a line a row.
class TsvReporter : public benchmark::BenchmarkReporter {
public:
  bool ReportContext(const Context &) override {
    std::printf("# processor: %s\n# compiler: %s\n# flags: %s\n", processor().c_str(), COMPILER,
                TNK_KERNEL_FLAGS);
    if (!peer_name().empty()) {
      std::printf("# peer: %s\n# core: %s\n", peer_name().c_str(), peer_core().c_str());
    }
    if (peer_is_absent()) std::printf("# note: %s\n", peer_message().c_str());
    std::string names = "row";
    for (const char *column : columns) names += std::string("\t") + column;
    std::printf("%s\tlimited_by\tcompared_with\tnote\terror\n", names.c_str());
    std::fflush(stdout);
    return true;
  }

  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &run : runs) {
      std::string line = run.run_name.function_name;
      for (const char *column : columns) {
        const auto found = run.counters.find(column);
        char number[32] = "";
        if (found != run.counters.end()) std::snprintf(number, sizeof number, "%.6g", found->second.value);
        line += std::string("\t") + number;
      }
      std::string label = run.report_label, compared_with;
      const std::string limited_by = cut_part(label);
      if (label.rfind(beside, 0) == 0) compared_with = cut_part(label).substr(beside.size());
      std::printf("%s\t%s\t%s\t%s\t%s\n", line.c_str(), limited_by.c_str(), compared_with.c_str(),
                  label.c_str(), error_of(run).c_str());
      failed = failed || !error_of(run).empty();
    }
    std::fflush(stdout);
  }

  bool failed = false;

private:
  static constexpr const char *columns[] = {"seconds", "GB/s", "Gflop/s", "limit", "peer_seconds", "ratio"};
};

// As the console shows them, but remembering whether a row was in error.
class ConsoleReporter : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &run : runs) failed = failed || !error_of(run).empty();
    benchmark::ConsoleReporter::ReportRuns(runs);
  }
  bool failed = false;
};

int run(const Options &options, std::vector<char *> &rest) {
  if (!options.list && !peer_load(options.core)) {
    if (!peer_is_absent() || !options.tsv) std::fprintf(stderr, "tnk_bench: %s\n", peer_message().c_str());
    if (!peer_is_absent()) return 1;
  }
  if (!options.list && tnk_kernel_load() != TNK_OK) return 1; // the host has said why

  std::vector<Row> rows;
  add_blas_level1(rows);
  add_sparse_vectors(rows);
  add_products(rows);
  add_sparse_matrices(rows);

  const std::regex wanted(options.rows);
  for (const Row &row : rows) {
    if (!options.group.empty() && row.group != options.group) continue;
    for (const tnk_int n : row.matrices.orders.empty() ? options.sizes : row.matrices.orders) {
      if (!row.matrices.orders.empty() && options.small && n > small_order) continue;
      const std::string name = row.name + "/" + std::to_string(n);
      if (!std::regex_search(name, wanted)) continue;
      if (options.list) {
        std::printf("%s\t%s\t%s\n", name.c_str(), row.group.c_str(), row.compared_with.c_str());
        continue;
      }
      benchmark::RegisterBenchmark(name.c_str(),
                                   [&row, n](benchmark::State &state) { run_row(state, row, n); })
          ->Iterations(rounds_at(row.units(n), options.rounds))
          ->UseManualTime();
    }
  }
  if (options.list) return 0;

  int count = static_cast<int>(rest.size());
  benchmark::Initialize(&count, rest.data());
  if (benchmark::ReportUnrecognizedArguments(count, rest.data())) return 2;
  benchmark::AddCustomContext("peer", peer_name() + " " + peer_core());
  if (options.tsv) {
    TsvReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.failed;
  }
  ConsoleReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return reporter.failed;
}

} // namespace

int main(int argc, char **argv) {
  Options options;
  CLI::App app{"Rates of the kernels beside OpenBLAS or a peer that a row names. Options of Google Benchmark "
               "are taken too."};
  app.allow_extras();
  app.add_option("--rows", options.rows,
                 "only rows whose name matches this regular expression: ^daxpy/1000$");
  app.add_option("--group", options.group, "only rows of this group, as --list shows them");
  app.add_option("--sizes", options.sizes, "lengths of the vectors")
      ->delimiter(',')
      ->check(CLI::PositiveNumber);
  app.add_flag("--small", options.small, "matrices of small order only");
  app.add_option("--rounds", options.rounds, "interleaved rounds a row")->check(CLI::Range(1, 1000));
  app.add_option("--core", options.core, "core that OpenBLAS shall run, or best for its own choice");
  app.add_flag("--list", options.list, "write the name, group and own peer, if any, of each row and stop");
  app.add_flag("--tsv", options.tsv, "write a line a row, with tabs between the fields");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    return app.exit(error) ? 2 : 0;
  }
  std::vector<std::string> extras = app.remaining();
  std::vector<char *> rest = {argv[0]};
  for (std::string &extra : extras) rest.push_back(extra.data());
  rest.push_back(nullptr);
  rest.pop_back();
  try {
    return run(options, rest);
  } catch (const std::regex_error &) {
    std::fprintf(stderr, "tnk_bench: not a regular expression: %s\n", options.rows.c_str());
    return 2;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "tnk_bench: %s\n", error.what());
    return 1;
  }
}
