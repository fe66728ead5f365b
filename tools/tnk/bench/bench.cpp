// tnk bench: drives the bench program, which measures, and joins what it reports. The BLAS library chooses its
// kernels once, when it is loaded, so each group of rows beside it is run by two processes: one bound to the library's
// core of the kernels' own instruction set, one free to take its best. Groups whose rows all have peers of their own,
// such as a plain loop, are run by one.
#include "tools/tnk/bench/chart.h"
#include "tools/tnk/bench/child.h"
#include "tools/tnk/bench/results.h"
#include "tools/tnk/command.h"
#include "tools/tnk/machine.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/progress.h"
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>
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
  std::vector<ListedRow> rows;

  bool beside_library() const {
    return std::any_of(rows.begin(), rows.end(),
                       [](const ListedRow &row) { return row.compared_with.empty(); });
  }
};

std::filesystem::path bench_program() {
  const auto path = program_folder() / "tnk_bench";
  if (!std::filesystem::exists(path))
    throw Failure("the bench program is not beside this one: build it, with `make bench`, and run tnk there");
  return path;
}

// What every process is told.
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
    const ListedRow row = listed_row(line);
    if (found.empty() || found.back().name != row.group) found.push_back({row.group, {}});
    found.back().rows.push_back(row);
  });
  if (code != 0) throw Failure(format("the bench program ended with exit code %d", code));
  return found;
}

// Runs one group against one core, or with the core "" against the rows' own peers. Rows that the process did not come to, also because it fell, are rows in
// error later on, except that a peer running another core than asked leaves nothing to report.
ReadingsParser measure(const Group &group, const std::string &core, const Options &options,
                       const std::function<void()> &row_done) {
  auto arguments = selection(options);
  arguments.insert(arguments.end(), {"--group=" + group.name, "--tsv"});
  if (!core.empty()) arguments.push_back("--core=" + core);
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
    table_ = Table(longest_name(all));
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
    const bool beside_library = group.beside_library(), first_beside = beside_library && !library_asked_for_;
    bool two = beside_library && !options_.no_best && (first_beside || !table_.cores.fair.empty());
    {
      Progress progress(format("%s (%zu of %zu)", group.name.c_str(), index + 1, count));
      std::size_t done = 0;
      const auto row_done = [&] {
        progress.update(static_cast<double>(++done) / static_cast<double>(group.rows.size() * (two ? 2 : 1)));
      };
      const auto run = [&](bool is_best) {
        (is_best ? best : fair) = measure(group,
                                          !beside_library ? ""
                                          : is_best       ? "best"
                                                          : fair_core,
                                          options_, row_done);
      };
      // The first such group shows whether there is a library at all. After that the two take turns in going first.
      const bool best_first = two && !first_beside && index % 2 == 1;
      if (best_first) run(true);
      run(false);
      if (fair.remarks.count("peer") == 0) two = false;
      if (two && !best_first) run(true);
    }
    remarks_.insert(fair.remarks.begin(), fair.remarks.end());
    if (first_beside) name_cores(fair, two ? &best : nullptr);
    for (const ListedRow &listed : group.rows) {
      const BenchRow row = join(listed, fair.rows, two ? &best.rows : nullptr);
      const bool own_peer = !row.compared_with.empty();
      if (rows_.empty() || own_peer == rows_.back().compared_with.empty())
        std::printf("%s%s", rows_.empty() ? "" : "\n", table_.head(own_peer).c_str());
      std::fputs(table_.line(row).c_str(), stdout);
      rows_.push_back(row);
    }
    std::fflush(stdout);
  }

  void name_cores(const ReadingsParser &fair, const ReadingsParser *best) {
    library_asked_for_ = true;
    const auto note = fair.remarks.find("note");
    if (note != fair.remarks.end()) std::fprintf(stderr, "tnk: %s\n", note->second.c_str());
    if (fair.remarks.count("peer")) table_.cores.fair = fair_core;
    if (best) {
      const auto core = best->remarks.find("core");
      table_.cores.best = core == best->remarks.end() ? "best core" : core->second;
    }
  }

  static std::size_t longest_name(const std::vector<Group> &groups) {
    std::size_t longest = std::string("kernel").size();
    for (const Group &group : groups)
      for (const ListedRow &row : group.rows) longest = std::max(longest, row.name.find('/'));
    return longest;
  }

  void write_files() {
    char date[32];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
    std::vector<std::string> remarks = {version_text(), std::string("date: ") + date,
                                        format("rounds: %d", options_.rounds)};
    for (const char *key : {"processor", "compiler", "flags"})
      if (remarks_.count(key)) remarks.push_back(std::string(key) + ": " + remarks_[key]);
    const CoreNames &cores = table_.cores;
    if (!cores.fair.empty()) {
      remarks.push_back("library: " + remarks_["peer"]);
      remarks.push_back("core of the library for ratio: " + cores.fair);
    }
    if (!cores.best.empty()) remarks.push_back("core of the library for ratio_best: " + cores.best);
    const std::filesystem::path folder = options_.out;
    write_file(folder / "bench.csv", csv_file(rows_, remarks));
    std::printf("wrote %s\n", (folder / "bench.csv").c_str());
    // Orders of matrices are no lengths of vectors, and other peers are not the library, so each has a picture.
    const auto own_peer = [](const BenchRow &row) { return !row.compared_with.empty(); };
    const auto product = [](const BenchRow &row) { return row.group == "gemm"; };
    draw(folder / "bench.svg", [&](const BenchRow &row) { return !own_peer(row) && !product(row); });
    draw(folder / "bench_products.svg", [&](const BenchRow &row) { return !own_peer(row) && product(row); });
    draw(folder / "bench_own_peers.svg", own_peer);
  }

  // The rows of a picture all have peers of their own, or none has.
  void draw(const std::filesystem::path &path, const std::function<bool(const BenchRow &)> &wanted) const {
    std::vector<BenchRow> drawn;
    std::copy_if(rows_.begin(), rows_.end(), std::back_inserter(drawn), wanted);
    if (std::none_of(drawn.begin(), drawn.end(),
                     [](const BenchRow &row) { return row.fair.ratio.has_value(); }))
      return;
    const bool own_peers = !drawn.front().compared_with.empty();
    std::string subtitle = remarks_.at("processor");
    if (!own_peers) subtitle += ", " + remarks_.at("peer") + ", one thread";
    write_file(path, ratio_chart(drawn, own_peers ? CoreNames() : table_.cores, subtitle));
    std::printf("wrote %s\n", path.c_str());
  }

  const Options &options_;
  Table table_ = Table(0);
  bool library_asked_for_ = false;
  std::map<std::string, std::string> remarks_; // the first process to make one is believed
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
      for (const ListedRow &row : group.rows) std::printf("%s\n", row.name.c_str());
    return exit_ok;
  }
  if (tnk_kernel_load() != TNK_OK) throw Failure(tnk_kernel_message());
  return Run(options)();
}

} // namespace

Command bench_command(CLI::App &program) {
  CLI::App *app = program.add_subcommand(
      "bench",
      "Measure the kernels beside OpenBLAS, where that is installed, or another peer, and beside what the "
      "machine allows");
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
                "Compare with OpenBLAS' core of the same instruction set only, not with its best");
  app->add_flag("--list", options->list, "Write the names of the rows and stop");
  app->footer(
      "A row says: the length or order n; the rate; how near this is to the limit, and whether bytes or "
      "flops set it;\n"
      "and how many times as fast as its peer ours is (above 1: faster). Columns headed \"vs\" have the "
      "ratios to\n"
      "the cores of OpenBLAS that they name. A row with another peer has one ratio, to what stands after "
      "it:\n"
      "Eigen, a plain loop, another way to the same result, or the same routine on one thread. Medians of "
      "the\n"
      "rounds.\n\n"
      "Exit code: 0 when every row was measured and agrees with the peer, 1 otherwise, 2 for bad usage.");
  return {app, [options] { return run(*options); }};
}

} // namespace tnk::tool
