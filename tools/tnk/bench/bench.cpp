// tnk bench: drives the bench program, which measures, and joins what it reports. A library with several cores chooses
// one when it is loaded, so rows beside such a peer are measured by two processes: one has it on the core of the
// kernels' own instruction set, one on its best.
#include "tools/tnk/bench/chart.h"
#include "tools/tnk/bench/results.h"
#include "tools/tnk/command.h"
#include "tools/tnk/machine.h"
#include "tools/tnk/support/child.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/progress.h"
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <regex>
#include <set>
#include <tnk/host.h>

namespace tnk::tool {
namespace {

struct Options {
  std::string filter, sizes, out;
  int rounds = 15;
  bool quick = false, list = false, no_best = false;
};

struct Group {
  std::string name;
  std::vector<ListedRow> rows;

  std::size_t with_cores() const {
    return static_cast<std::size_t>(
        std::count_if(rows.begin(), rows.end(), [](const ListedRow &row) { return row.cores; }));
  }
};

// What one process found.
struct Found {
  Readings rows;
  std::map<std::string, std::string> remarks;
};

std::filesystem::path bench_program() {
  const auto path = program_folder() / "tnk_bench";
  if (!std::filesystem::exists(path))
    throw Failure(
        "the program that measures, tnk_bench, is not installed with this one; run make bench in the "
        "source tree, which builds it and runs it");
  return path;
}

// What every process is told.
std::vector<std::string> selection(const Options &options) {
  std::vector<std::string> arguments = {"--rounds=" + std::to_string(options.rounds)};
  if (!options.filter.empty()) arguments.push_back("--filter=" + options.filter);
  if (!options.sizes.empty()) arguments.push_back("--sizes=" + options.sizes);
  if (options.quick) arguments.push_back("--quick");
  return arguments;
}

std::vector<Group> groups(const Options &options) {
  std::vector<Group> found;
  auto arguments = selection(options);
  arguments.push_back("--list");
  TabbedLines lines;
  const int code = run_child(bench_program(), arguments, [&](const std::string &line) {
    const auto *fields = lines.take(line);
    if (!fields) return;
    const ListedRow row = listed_row(*fields);
    const auto same = [&](const Group &group) { return group.name == row.group; };
    auto group = std::find_if(found.begin(), found.end(), same);
    if (group == found.end()) group = found.insert(group, {row.group, {}});
    group->rows.push_back(row);
  });
  if (code != 0) throw Failure(format("the bench program ended with exit code %d", code));
  return found;
}

// Runs one group with its peers on one core. Rows that the process did not come to, also because it fell, are in error
// later on.
Found measure(const Group &group, const char *core, const Options &options,
              const std::function<void()> &row_done) {
  auto arguments = selection(options);
  arguments.insert(arguments.end(), {"--group=" + group.name, std::string("--core=") + core});
  Found found;
  TabbedLines lines;
  const int code = run_child(bench_program(), arguments, [&](const std::string &line) {
    if (const auto *fields = lines.take(line)) {
      found.rows[fields->at("row")] = reading(*fields);
      row_done();
    }
  });
  found.remarks = lines.remarks;
  if (code != 0 && found.remarks.empty())
    throw Failure(format("the bench program ended with exit code %d", code));
  return found;
}

class Run {
public:
  explicit Run(const Options &options) : options_(options), table_(0, false) {}

  int operator()() {
    const auto all = groups(options_);
    if (all.empty()) {
      std::fprintf(stderr, "tnk: no row matches; see tnk bench --list\n");
      return exit_usage;
    }
    std::size_t longest = std::string("routine").size();
    bool any_cores = false;
    for (const Group &group : all) {
      any_cores = any_cores || group.with_cores() > 0;
      for (const ListedRow &row : group.rows) longest = std::max(longest, row.name.size());
    }
    table_ = Table(longest, any_cores && !options_.no_best);
    std::fputs(table_.head().c_str(), stdout);
    for (std::size_t i = 0; i < all.size(); ++i) measure_group(all[i], i, all.size());
    if (!options_.out.empty()) write_files();
    std::size_t wrong = 0;
    for (const BenchRow &row : rows_) wrong += !row.error().empty();
    if (wrong > 0) std::fprintf(stderr, "tnk: %zu of %zu rows are in error\n", wrong, rows_.size());
    return wrong > 0 ? exit_failure : exit_ok;
  }

private:
  void measure_group(const Group &group, std::size_t index, std::size_t count) {
    Found same, best;
    const std::size_t again = options_.no_best ? 0 : group.with_cores();
    bool two = again > 0;
    {
      Progress progress(format("%s (%zu of %zu)", group.name.c_str(), index + 1, count));
      std::size_t done = 0;
      const auto row_done = [&] {
        progress.update(static_cast<double>(++done) / static_cast<double>(group.rows.size() + again));
      };
      // The two take turns in going first.
      const bool best_first = two && index % 2 == 1;
      if (best_first) best = measure(group, "best", options_, row_done);
      same = measure(group, "same", options_, row_done);
      two = two && !all_absent(group, same);
      if (two && !best_first) best = measure(group, "best", options_, row_done);
    }
    remarks_.insert(same.remarks.begin(), same.remarks.end());
    for (const ListedRow &listed : group.rows) {
      const BenchRow row = join(listed, same.rows, two && listed.cores ? &best.rows : nullptr);
      if (!row.same.absent.empty() && absent_.insert(row.same.absent).second)
        std::fprintf(stderr, "tnk: %s\n", row.same.absent.c_str());
      std::fputs((table_.cores(row) + table_.line(row)).c_str(), stdout);
      rows_.push_back(row);
    }
    std::fflush(stdout);
  }

  // Whether none of the peers that have cores is installed.
  static bool all_absent(const Group &group, const Found &found) {
    return std::all_of(group.rows.begin(), group.rows.end(), [&](const ListedRow &row) {
      const auto at = found.rows.find(row.full_name);
      return !row.cores || (at != found.rows.end() && !at->second.absent.empty());
    });
  }

  void write_files() {
    char date[32];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
    std::vector<std::string> remarks = {version_text(), std::string("date: ") + date,
                                        format("rounds: %d", options_.rounds)};
    for (const char *key : {"processor", "compiler", "flags"})
      if (remarks_.count(key)) remarks.push_back(std::string(key) + ": " + remarks_[key]);
    const std::filesystem::path folder = options_.out;
    write_file(folder / "bench.csv", csv_file(rows_, remarks));
    std::printf("wrote %s\n", (folder / "bench.csv").c_str());
    std::map<std::string, std::vector<BenchRow>> ratios, curves;
    for (const BenchRow &row : rows_) {
      if (row.same.ratio) ratios[row.listed.picture].push_back(row);
      if (row.same.rate && row.listed.curve) curves[row.listed.picture].push_back(row);
    }
    for (const auto &[name, rows] : ratios)
      picture(name + ".svg", ratio_chart(rows, name, remarks_["processor"]));
    for (const auto &[name, rows] : curves)
      picture(name + "_rates.svg", rate_chart(rows, name, remarks_["processor"]));
  }

  void picture(std::string name, const std::string &contents) const {
    if (contents.empty()) return;
    std::replace(name.begin(), name.end(), ' ', '_');
    const std::filesystem::path path = std::filesystem::path(options_.out) / ("bench_" + name);
    write_file(path, contents);
    std::printf("wrote %s\n", path.c_str());
  }

  const Options &options_;
  Table table_;
  std::map<std::string, std::string> remarks_; // the first process to make one is believed
  std::set<std::string> absent_;
  std::vector<BenchRow> rows_;
};

std::string regex_error(const std::string &text) {
  try {
    std::regex compiled(text);
    return "";
  } catch (const std::regex_error &) {
    return "not a regular expression: " + text;
  }
}

std::string sizes_error(const std::string &text) {
  static const std::regex list("[1-9][0-9]{0,17}(,[1-9][0-9]{0,17})*");
  return std::regex_match(text, list) ? "" : "not a list of sizes, as 8,12,16: " + text;
}

int run(const Options &options) {
  if (options.list) {
    for (const Group &group : groups(options))
      for (const ListedRow &row : group.rows) std::printf("%s\n", row.full_name.c_str());
    return exit_ok;
  }
  if (tnk_kernel_load() != TNK_OK) throw Failure(tnk_kernel_message());
  if (!options.out.empty()) make_folder(options.out);
  return Run(options)();
}

} // namespace

Command bench_command(CLI::App &program) {
  CLI::App *app = program.add_subcommand(
      "bench", "Measure routines beside other libraries or another peer, and beside what the machine allows");
  const auto options = std::make_shared<Options>();
  app->add_option("--filter", options->filter,
                  "Only rows whose full name, as level1/axpy/daxpy/1000, matches this regular expression: "
                  "'^level3', 'dgemm/(8|16)$'")
      ->type_name("REGEX")
      ->check(regex_error);
  app->add_option("--sizes", options->sizes, "These sizes in place of the rows' own, as 8,12,16")
      ->type_name("LIST")
      ->check(sizes_error);
  app->add_option("--rounds", options->rounds, "Interleaved rounds for each row, at most; more are steadier")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app->add_option("--out", options->out, "Write bench.csv and pictures of the ratios to this folder")
      ->type_name("DIR");
  app->add_flag("--quick", options->quick, "No large sizes");
  app->add_flag("--no-best", options->no_best,
                "Compare with a library's core of the same instruction set only, not with its best");
  app->add_flag("--list", options->list, "Write the full names of the rows and stop");
  app->footer("A row says: the routine and its size, the length or order; the rate; how near this is to the "
              "limit, and "
              "what\n"
              "sets it; and how many times as fast as its peer ours is (above 1: faster). Where the peer is "
              "a library "
              "that\n"
              "has several cores, \"ratio\" is to the one of the same instruction set as ours, \"best\" to "
              "the one that "
              "it\n"
              "would choose here. Other peers are a plain loop, another way to the same result, the same "
              "routine on one\n"
              "thread, or, for a kernel, the public routine that runs it. Medians of the rounds.\n\n"
              "Exit code: 0 when every row was measured and is right, 1 otherwise, 2 for bad usage.");
  return {app, [options] { return run(*options); }};
}

} // namespace tnk::tool
