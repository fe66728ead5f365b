// Another program, run to its end.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tnk::tool {

// Runs a program and hands over its standard output line by line as it comes, without the newlines; the rest
// it shares with this process. Returns its exit code, or 128 and the number of the signal that ended it.
// Throws Failure when it cannot be started. When `take` throws, the program is stopped first.
int run_child(const std::filesystem::path &program, const std::vector<std::string> &arguments,
              const std::function<void(const std::string &line)> &take);

} // namespace tnk::tool
