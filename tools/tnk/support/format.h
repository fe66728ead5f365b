// printf into a string.
#pragma once

#include <string>

namespace tnk::tool {

__attribute__((format(printf, 1, 2))) std::string format(const char *pattern, ...);

} // namespace tnk::tool
