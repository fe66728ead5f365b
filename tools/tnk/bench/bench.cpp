// tnk bench: drives the bench program, which measures, and joins what it reports. The peer chooses its
// kernels once, when it is loaded, so each group of rows is run by two processes: one bound to the peer's
// core of the kernels' own instruction set, one free to take its best.
#include "tools/tnk/bench/chart.h"
#include "tools/tnk/bench/child.h"
#include "tools/tnk/bench/results.h"
#include "tools/tnk/command.h"
#include "tools/tnk/machine.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/progress.h"
#include <cstdio>
#include <ctime>
#include <memory>
#include <regex>
#include <tnk/host.h>

namespace tnk::tool {
namespace {

constexpr const char *fair_core = "SANDYBRIDGE";

struct Options {
  std::string filter, out;
  int rounds = 15;
  bool quick = false, list = false, no_best = false;
};

struct Group {
  std::string name;
  std::vector<std::string> rows;
};

std::filesystem::path bench_program() {
  const auto path = program_folder() / "tnk_bench";
  if (!std::filesystem::exists(path))
    throw Failure("the bench program is not beside this one: build it, with `make bench`, and run tnk there");
  return path;
}

// What both processes are told.
std::vector<std::string> selection(const Options &options) {
  std::vector<std::string> arguments = {"--rounds=" + std::to_string(options.rounds)};
  if (!options.filter.empty()) arguments.push_back("--rows=" + options.filter);
  if (options.quick) arguments.insert(arguments.end(), {"--sizes=1000,10000,1000000", "--small"});
  return arguments;
}

std::vector<Group> groups(const Options &options) {
  std::vector<Group> found;
  auto arguments = selection(options);
  arguments.push_back("--list");
  const int code = run_child(bench_program(), arguments, [&](const std::string &line) {
    const auto tab = line.find('\t');
    if (tab == std::string::npos) throw Failure("the bench program wrote a broken line: " + line);
    const std::string group = line.substr(tab + 1);
    if (found.empty() || found.back().name != group) found.push_back({group, {}});
    found.back().rows.push_back(line.substr(0, tab));
  });
  if (code != 0) throw Failure(format("the bench program ended with exit code %d", code));
  return found;
}

// Runs one group against one core. Rows that the process did not come to, also because it fell, are rows in
// error later on, except that a peer running another core than asked leaves nothing to report.
ReadingsParser measure(const Group &group, const std::string &core, const Options &options,
                       const std::function<void()> &row_done) {
  auto arguments = selection(options);
  for (const std::string &argument : {"--group=" + group.name, "--core=" + core, std::string("--tsv")})
    arguments.push_back(argument);
  ReadingsParser parser;
  const int code = run_child(bench_program(), arguments, [&](const std::string &line) {
    if (parser.take(line)) row_done();
  });
  if (code != 0 && parser.remarks.empty())
    throw Failure(format("the bench program ended with exit code %d", code));
  return parser;
}

class Run {
public:
  explicit Run(const Options &options) : options_(options) {}

  int operator()() {
    const auto all = groups(options_);
    if (all.empty()) {
      std::fprintf(stderr, "tnk: no row matches %s; see tnk bench --list\n", options_.filter.c_str());
      return exit_usage;
    }
    for (std::size_t i = 0; i < all.size(); ++i) measure_group(all[i], i, all.size());
    if (!options_.out.empty()) write_files();
    std::size_t wrong = 0;
    for (const BenchRow &row : rows_) wrong += !row.error().empty();
    if (wrong > 0) std::fprintf(stderr, "tnk: %zu of %zu rows are in error\n", wrong, rows_.size());
    return wrong > 0 ? exit_failure : exit_ok;
  }

private:
  void measure_group(const Group &group, std::size_t index, std::size_t count) {
    ReadingsParser fair, best;
    bool two = !options_.no_best && (index == 0 || !cores_.fair.empty());
    {
      Progress progress(format("%s (%zu of %zu)", group.name.c_str(), index + 1, count));
      std::size_t done = 0;
      const auto row_done = [&] {
        progress.update(static_cast<double>(++done) / static_cast<double>(group.rows.size() * (two ? 2 : 1)));
      };
      const auto run = [&](bool is_best) {
        (is_best ? best : fair) = measure(group, is_best ? "best" : fair_core, options_, row_done);
      };
      // The first group shows whether there is a peer at all. After that the two take turns in going first.
      const bool best_first = two && index % 2 == 1;
      if (best_first) run(true);
      run(false);
      if (fair.remarks.count("peer") == 0) two = false;
      if (two && !best_first) run(true);
    }
    if (index == 0) start_table(fair, two ? &best : nullptr);
    for (const std::string &name : group.rows) {
      rows_.push_back(join(name, group.name, fair.rows, two ? &best.rows : nullptr));
      std::fputs(table_line(rows_.back(), cores_).c_str(), stdout);
    }
    std::fflush(stdout);
  }

  void start_table(const ReadingsParser &fair, const ReadingsParser *best) {
    remarks_ = fair.remarks;
    if (remarks_.count("note")) std::fprintf(stderr, "tnk: %s\n", remarks_["note"].c_str());
    if (remarks_.count("peer")) cores_.fair = fair_core;
    if (best) {
      const auto core = best->remarks.find("core");
      cores_.best = core == best->remarks.end() ? "best core" : core->second;
    }
    std::fputs(table_head(cores_).c_str(), stdout);
  }

  void write_files() {
    char date[32];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
    std::vector<std::string> remarks = {version_text(), std::string("date: ") + date,
                                        format("rounds: %d", options_.rounds)};
    for (const char *key : {"processor", "compiler", "flags", "peer"})
      if (remarks_.count(key)) remarks.push_back(std::string(key) + ": " + remarks_[key]);
    if (!cores_.fair.empty()) remarks.push_back("core, fair: " + cores_.fair);
    if (!cores_.best.empty()) remarks.push_back("core, best: " + cores_.best);
    const std::filesystem::path folder = options_.out;
    write_file(folder / "bench.csv", csv_file(rows_, remarks));
    std::printf("wrote %s\n", (folder / "bench.csv").c_str());
    // Orders of matrices are no lengths of vectors, so each has a picture.
    draw(folder / "bench.svg", ", one thread", false);
    draw(folder / "bench_products.svg", ", one thread; _2t: two threads beside one", true);
  }

  void draw(const std::filesystem::path &path, const std::string &remark, bool products) const {
    std::vector<BenchRow> drawn;
    bool drawable = false; // without the peer only plain loops were compared with
    for (const BenchRow &row : rows_) {
      if ((row.group.rfind("gemm", 0) == 0) != products) continue;
      drawn.push_back(row);
      drawable = drawable || (!cores_.fair.empty() && row.fair.ratio);
    }
    if (!drawable) return;
    write_file(path,
               ratio_chart(drawn, cores_, remarks_.at("processor") + ", " + remarks_.at("peer") + remark));
    std::printf("wrote %s\n", path.c_str());
  }

  const Options &options_;
  CoreNames cores_;
  std::map<std::string, std::string> remarks_;
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

int run(const Options &options) {
  if (options.list) {
    for (const Group &group : groups(options))
      for (const std::string &row : group.rows) std::printf("%s\n", row.c_str());
    return exit_ok;
  }
  if (tnk_kernel_load() != TNK_OK) throw Failure(tnk_kernel_message());
  return Run(options)();
}

} // namespace

Command bench_command(CLI::App &program) {
  CLI::App *app = program.add_subcommand(
      "bench",
      "Measure the kernels beside OpenBLAS, where that is installed, and beside what the machine allows");
  const auto options = std::make_shared<Options>();
  app->add_option("--filter", options->filter, "Only rows matching this regular expression, as ^daxpy/1000$")
      ->type_name("REGEX")
      ->check(regex_error);
  app->add_option("--rounds", options->rounds, "Interleaved rounds for each row; more are steadier")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app->add_option("--out", options->out, "Write bench.csv and pictures of the ratios to this folder")
      ->type_name("DIR");
  app->add_flag("--quick", options->quick,
                "Fewer lengths, none beyond 1000000; matrices of order 256 at most");
  app->add_flag("--no-best", options->no_best,
                "Compare with the peer's core of the same instruction set only, not with its best");
  app->add_flag("--list", options->list, "Write the names of the rows and stop");
  app->footer(
      "A row says: the length or order n; the rate; how near this is to the limit, and whether bytes or "
      "flops set "
      "it;\n"
      "and how many times as fast as the peer's core ours is (above 1: faster). Medians of the rounds.\n\n"
      "Exit code: 0 when every row was measured and agrees with the peer, 1 otherwise, 2 for bad usage.");
  return {app, [options] { return run(*options); }};
}

} // namespace tnk::tool
