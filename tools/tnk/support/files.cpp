#include "tools/tnk/support/files.h"
#include "tools/tnk/support/failure.h"
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace tnk::tool {
namespace {

[[noreturn]] void fail(const char *verb, const std::filesystem::path &path, int reason) {
  throw Failure(std::string("cannot ") + verb + " " + path.string() + ": " + std::strerror(reason));
}

// 0, or the reason why not all of it reached the disk.
int write_all(int file, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written = ::write(file, contents.data(), contents.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    contents.remove_prefix(static_cast<std::size_t>(written));
  }
  // A file system without this operation says EINVAL, which is no loss.
  return ::fsync(file) != 0 && errno != EINVAL ? errno : 0;
}

void create_folder(const std::filesystem::path &folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) fail("make the folder", folder, error.value());
}

// A new file beside another one. Nobody else's is opened: not one that is there already, be it a link that was laid
// for us in a folder that all may write to, or what another process left behind.
struct Temporary {
  // `meant` is what a failure names.
  Temporary(const std::filesystem::path &beside, const std::filesystem::path &meant) {
    const std::string stem = beside.string() + ".part" + std::to_string(::getpid());
    for (int i = 0; i < 100; ++i) {
      name = stem + "." + std::to_string(i);
      file = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
      if (file >= 0 || errno != EEXIST) break;
    }
    if (file < 0) fail("write", meant, errno);
  }

  std::string name;
  int file = -1;
};

} // namespace

std::string read_file(const std::filesystem::path &path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) fail("read", path, errno);
  std::string contents;
  char block[1 << 16];
  while (const std::size_t count = std::fread(block, 1, sizeof block, file.get()))
    contents.append(block, count);
  if (std::ferror(file.get())) fail("read", path, errno);
  return contents;
}

void write_file(const std::filesystem::path &path, std::string_view contents) {
  if (path.has_parent_path()) create_folder(path.parent_path());
  const Temporary temporary(path, path);
  int reason = write_all(temporary.file, contents);
  if (::close(temporary.file) != 0 && reason == 0) reason = errno;
  if (reason == 0 && ::rename(temporary.name.c_str(), path.c_str()) != 0) reason = errno;
  if (reason == 0) return;
  ::unlink(temporary.name.c_str());
  fail("write", path, reason);
}

void make_folder(const std::filesystem::path &folder) {
  create_folder(folder);
  const Temporary temporary(folder / "tnk", folder);
  ::close(temporary.file);
  ::unlink(temporary.name.c_str());
}

TemporaryFolder::TemporaryFolder() {
  // With blanks, which whoever passes the name on has to bear.
  std::string pattern = (std::filesystem::temp_directory_path() / "tnk temporary XXXXXX").string();
  if (!::mkdtemp(pattern.data())) fail("make the folder", pattern, errno);
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path program_folder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path(".") : program.parent_path();
}

} // namespace tnk::tool
