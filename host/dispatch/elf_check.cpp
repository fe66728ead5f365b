#include "host/dispatch/elf_check.h"

#include <cstdint>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tnk::host {
namespace {

template <class Record> bool read_at(int file, std::uint64_t offset, Record &record) {
  return pread(file, &record, sizeof record, static_cast<off_t>(offset)) ==
         static_cast<ssize_t>(sizeof record);
}

bool is_cut_short(int file, std::uint64_t size) {
  Elf64_Ehdr header;
  if (!read_at(file, 0, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
      header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_phentsize != sizeof(Elf64_Phdr))
    return false;
  for (std::uint64_t i = 0; i < header.e_phnum; ++i) {
    Elf64_Phdr segment;
    if (!read_at(file, header.e_phoff + i * sizeof segment, segment)) return true;
    if (segment.p_type == PT_LOAD && (segment.p_offset > size || segment.p_filesz > size - segment.p_offset))
      return true;
  }
  return false;
}

} // namespace

const char *reason_not_to_open(const char *path) {
  struct stat status;
  if (stat(path, &status) != 0) return nullptr;
  if (!S_ISREG(status.st_mode)) return "it is no regular file"; // and not opened: that alone may do something
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return nullptr;
  const bool cut_short = is_cut_short(file, static_cast<std::uint64_t>(status.st_size));
  close(file);
  return cut_short ? "the file is cut short" : nullptr;
}

} // namespace tnk::host
