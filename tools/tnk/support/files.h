// Whole files, read and written.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tnk::tool {

// The contents of a file. Throws Failure, which names the file and the reason.
std::string read_file(const std::filesystem::path &path);

// Replaces a file or makes it, creating its folder if need be. Readers see the old contents or all of the
// new, never a part: the text goes to a file beside it that is then renamed. Throws Failure, and then leaves
// nothing behind.
void write_file(const std::filesystem::path &path, std::string_view contents);

// Makes a folder unless it is there, and tries whether files can be made in it: to be called before the work whose
// results are to go there. Throws Failure.
void make_folder(const std::filesystem::path &folder);

// A folder of its own for files that are gone with the object. Throws Failure.
class TemporaryFolder {
public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;
  ~TemporaryFolder();
  const std::filesystem::path &path() const { return path_; }

private:
  std::filesystem::path path_;
};

// The folder that the running program stands in.
std::filesystem::path program_folder();

} // namespace tnk::tool
