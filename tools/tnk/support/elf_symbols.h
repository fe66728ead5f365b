// The names that a shared library exports, read from its file, so that also a library that this processor
// cannot load can be looked at.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tnk::tool {

// Functions and data that the 64-bit ELF file defines for others, in the order of its dynamic symbol table.
// Throws Failure when the file cannot be read, is no such library, or contradicts itself.
std::vector<std::string> exported_names(const std::filesystem::path &library);

} // namespace tnk::tool
