// tnk, the command-line program: parses, runs the chosen subcommand, and turns its outcome into an exit code.
#include "tools/tnk/command.h"
#include "tools/tnk/machine.h"
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <vector>

namespace {

int run(int argc, char **argv) {
  using namespace tnk::tool;
  CLI::App program("A numerical kernel library for AVX processors: look at it, see it work.", "tnk");
  program.set_version_flag("--version", version_text());
  program.require_subcommand(0, 1); // none is refused below, so that a misspelt one is named as such
  program.failure_message([](const CLI::App *, const CLI::Error &error) {
    return std::string("tnk: ") + error.what() + "\nTry tnk --help or tnk SUBCOMMAND --help.\n";
  });

  const std::vector<Command> commands{info_command(program), tour_command(program), bench_command(program)};
  program.set_help_all_flag("--help-all", "Print the help of all subcommands and exit");
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError &stop) { // a request for help or the version is one as well
    return program.exit(stop) == 0 ? exit_ok : exit_usage;
  }
  for (const Command &command : commands)
    if (command.options->parsed()) return command.run();
  std::fprintf(stderr, "tnk: a subcommand is needed\n%s", program.help().c_str());
  return exit_usage;
}

} // namespace

int main(int argc, char **argv) {
  int code = tnk::tool::exit_failure;
  try {
    code = run(argc, argv);
  } catch (const std::exception &failure) {
    std::fflush(stdout);
    std::fprintf(stderr, "tnk: %s\n", failure.what());
  }
  // A full disk shows only here, when the last of the text leaves the buffer.
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    std::fprintf(stderr, "tnk: cannot write to standard output: %s\n", std::strerror(errno));
    code = tnk::tool::exit_failure;
  }
  return code;
}
