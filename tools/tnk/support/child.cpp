#include "tools/tnk/support/child.h"
#include "tools/tnk/support/failure.h"
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tnk::tool {
namespace {

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void take_lines(int from, const std::function<void(const std::string &)> &take) {
  std::string held;
  char buffer[4096];
  for (ssize_t got; (got = read(from, buffer, sizeof buffer)) != 0;) {
    if (got < 0) {
      if (errno == EINTR) continue;
      throw Failure(std::string("cannot read what a program writes: ") + std::strerror(errno));
    }
    held.append(buffer, static_cast<std::size_t>(got));
    for (std::size_t end; (end = held.find('\n')) != std::string::npos; held.erase(0, end + 1))
      take(held.substr(0, end));
  }
  if (!held.empty()) take(held);
}

} // namespace

int run_child(const std::filesystem::path &program, const std::vector<std::string> &arguments,
              const std::function<void(const std::string &line)> &take) {
  std::vector<char *> argv = {const_cast<char *>(program.c_str())};
  for (const std::string &argument : arguments) argv.push_back(const_cast<char *>(argument.c_str()));
  argv.push_back(nullptr);

  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(std::string("cannot make a pipe: ") + std::strerror(errno));
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t child = 0;
  const int error = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (error != 0) {
    close(ends[0]);
    throw Failure("cannot run " + program.string() + ": " + std::strerror(error));
  }
  try {
    take_lines(ends[0], take);
  } catch (...) {
    kill(child, SIGTERM);
    close(ends[0]);
    wait_for(child);
    throw;
  }
  close(ends[0]);
  return wait_for(child);
}

} // namespace tnk::tool
