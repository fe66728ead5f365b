// What stops a subcommand: the program prints the text after "tnk: " and ends with exit code 1.
#pragma once

#include <stdexcept>

namespace tnk::tool {

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

} // namespace tnk::tool
