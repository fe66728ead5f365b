// The subcommands of the program. To add one, write its file, declare it here and name it in main.cpp.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace tnk::tool {

enum ExitCode { exit_ok = 0, exit_failure = 1, exit_usage = 2 };

struct Command {
  CLI::App *options;        // the subcommand, as the parser knows it
  std::function<int()> run; // called after parsing when the user chose it; returns an exit code or throws
};

Command info_command(CLI::App &program);
Command tour_command(CLI::App &program);
Command bench_command(CLI::App &program);

} // namespace tnk::tool
