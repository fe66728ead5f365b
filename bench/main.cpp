// tnk_bench: measures rows and writes a line each for other programs to read. tnk bench runs it and shows what it says
// to people.

#include "bench/families.h"
#include "bench/frame/measure.h"

#include <tnk/host.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>

#ifdef __clang__
#define COMPILER __VERSION__
#else
#define COMPILER "GCC " __VERSION__
#endif

namespace {

using namespace tnk::bench;

struct Options {
  std::string filter, group;
  std::vector<tnk_int> sizes;
  int rounds = 15;
  Core core = Core::same;
  bool quick = false, list = false, judge = false;
};

// A row at one of its sizes.
struct Entry {
  const Row *row;
  tnk_int size;
};

std::vector<Entry> chosen(const std::vector<Row> &rows, const Options &options) {
  const std::regex wanted(options.filter);
  std::vector<Entry> entries;
  for (const Row &row : rows) {
    if (!options.group.empty() && row.group != options.group) continue;
    // Libraries that have one core were measured with the first.
    if (options.core == Core::best && !(row.library && row.library->has_cores())) continue;
    for (const tnk_int size : options.sizes.empty() ? row.sizes : options.sizes)
      if ((!options.quick || size <= row.quick) && std::regex_search(row.full_name(size), wanted))
        entries.push_back({&row, size});
  }
  return entries;
}

void list(const std::vector<Entry> &entries) {
  std::printf("row\tgroup\tname\tsize\tpicture\tcurve\tpeer\tcores\n");
  for (const auto &[row, size] : entries)
    std::printf("%s\t%s\t%s\t%lld\t%s\t%s\t%s\t%s\n", row->full_name(size).c_str(), row->group.c_str(),
                row->name.c_str(), static_cast<long long>(size), row->picture.c_str(),
                row->curve ? "curve" : "", row->peer_name().c_str(),
                row->library && row->library->has_cores() ? "same,best" : "");
}

std::string processor() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown";
}

void number(double value) {
  value != 0 ? std::printf("\t%.6g", value) : std::printf("\t");
}

void text(const std::string &value) {
  std::printf("\t%s", value.c_str());
}

// True when all rows are right.
bool measure_all(const std::vector<Entry> &entries, int rounds) {
  std::printf("# processor: %s\n# compiler: %s\n# flags: %s\n", processor().c_str(), COMPILER,
              TNK_KERNEL_FLAGS);
  std::printf("row\tseconds\trate\tunit\tlimit\tlimited_by\tpeer_"
              "seconds\tratio\tpeer\tcore\tabsent\tskipped\tnote\terror\n");
  bool right = true;
  for (const auto &[row, size] : entries) {
    const Measurement m = measure(*row, size, rounds);
    const Library *const library = row->library;
    std::printf("%s", row->full_name(size).c_str());
    number(m.seconds), number(m.rate), text(row->unit), number(m.fraction), text(m.limited_by);
    number(m.peer_seconds), number(m.ratio);
    text(library ? library->full_name() : row->peer), text(library ? library->core() : "");
    text(library ? library->absence() : ""), text(m.skipped), text(m.note), text(m.error);
    std::printf("\n");
    std::fflush(stdout);
    right = right && m.error.empty();
  }
  return right;
}

int run(const Options &options) {
  // A kernel library that cannot be loaded is reported once, not for every entry; rows can be listed without it.
  const auto handler = options.list ? tnk_set_error_handler([](const tnk_error *) {}) : nullptr;
  if (tnk_kernel_load() != TNK_OK && !options.list) return 1;
  const std::vector<Row> rows = all_rows();
  if (options.list) tnk_set_error_handler(handler);

  choose_core(options.core);
  const std::vector<Entry> entries = chosen(rows, options);
  if (options.list) {
    list(entries);
    return 0;
  }
  return measure_all(entries, options.judge ? 0 : options.rounds) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
  Options options;
  CLI::App app{
      "Measures rows beside their peers, with tabs between the fields of a line. tnk bench is for people."};
  app.add_option("--filter", options.filter,
                 "only rows whose full name, as level1/axpy/daxpy/1000, matches this regular expression");
  app.add_option("--group", options.group, "only rows of this group, as --list shows them");
  app.add_option("--sizes", options.sizes, "these sizes in place of the rows' own")
      ->delimiter(',')
      ->check(CLI::PositiveNumber);
  app.add_flag("--quick", options.quick, "no large sizes");
  app.add_option("--rounds", options.rounds, "interleaved rounds a row, at most")->check(CLI::Range(1, 1000));
  const std::map<std::string, Core> cores = {{"same", Core::same}, {"best", Core::best}};
  app.add_option(
         "--core", options.core,
         "core that peer libraries shall run: of the same instruction set as the kernels, or, for rows where "
         "that may differ, their best")
      ->transform(CLI::CheckedTransformer(cores));
  app.add_flag("--judge", options.judge, "compare results and take no times");
  app.add_flag("--list", options.list,
               "write what there is to say of each row before it is measured, and stop");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    return app.exit(error) ? 2 : 0;
  }
  try {
    return run(options);
  } catch (const std::regex_error &) {
    std::fprintf(stderr, "tnk_bench: not a regular expression: %s\n", options.filter.c_str());
    return 2;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "tnk_bench: %s\n", error.what());
    return 1;
  }
}
