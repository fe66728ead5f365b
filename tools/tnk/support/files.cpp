#include "tools/tnk/support/files.h"
#include "tools/tnk/support/failure.h"
#include <cerrno>
#include <cstdio>
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
  if (path.has_parent_path()) {
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    if (error) fail("make the folder", path.parent_path(), error.value());
  }
  const std::string temporary = path.string() + ".part" + std::to_string(::getpid());
  const int file = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) fail("write", path, errno);
  int reason = write_all(file, contents);
  if (::close(file) != 0 && reason == 0) reason = errno;
  if (reason == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) reason = errno;
  if (reason == 0) return;
  ::unlink(temporary.c_str());
  fail("write", path, reason);
}

std::filesystem::path program_folder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path(".") : program.parent_path();
}

} // namespace tnk::tool
