#include "tools/tnk/support/elf_symbols.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include <cstring>
#include <elf.h>

namespace tnk::tool {
namespace {

class Image {
public:
  explicit Image(const std::filesystem::path &path) : path_(path), bytes_(read_file(path)) {}

  [[noreturn]] void refuse(const char *why) const { throw Failure(path_.string() + ": " + why); }

  // The record at an offset that the file itself gives: it may lie anywhere.
  template <class T> T record(std::uint64_t offset) const {
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) refuse("damaged ELF file: cut short");
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof value);
    return value;
  }

  std::string text(const Elf64_Shdr &strings, std::uint64_t offset) const {
    if (offset >= strings.sh_size || strings.sh_offset > bytes_.size() ||
        strings.sh_size > bytes_.size() - strings.sh_offset)
      refuse("damaged ELF file: a name lies outside its table");
    const char *start = bytes_.data() + strings.sh_offset + offset;
    return std::string(start, strnlen(start, strings.sh_size - offset));
  }

private:
  std::filesystem::path path_;
  std::string bytes_;
};

bool exported(const Elf64_Sym &symbol) {
  const auto binding = ELF64_ST_BIND(symbol.st_info), type = ELF64_ST_TYPE(symbol.st_info);
  const auto visibility = ELF64_ST_VISIBILITY(symbol.st_other);
  return symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS &&
         (binding == STB_GLOBAL || binding == STB_WEAK) &&
         (visibility == STV_DEFAULT || visibility == STV_PROTECTED) &&
         (type == STT_FUNC || type == STT_OBJECT || type == STT_GNU_IFUNC);
}

} // namespace

std::vector<std::string> exported_names(const std::filesystem::path &library) {
  const Image image(library);
  const auto header = image.record<Elf64_Ehdr>(0);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64 ||
      header.e_ident[EI_DATA] != ELFDATA2LSB || header.e_type != ET_DYN)
    image.refuse("no 64-bit ELF shared library");

  const auto section = [&](std::uint64_t i) {
    if (i >= header.e_shnum) image.refuse("damaged ELF file: no such section");
    return image.record<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr));
  };
  for (std::uint64_t i = 0; i < header.e_shnum; ++i) {
    const Elf64_Shdr table = section(i);
    if (table.sh_type != SHT_DYNSYM) continue;
    std::vector<std::string> names;
    const Elf64_Shdr strings = section(table.sh_link);
    for (std::uint64_t at = 0; at + sizeof(Elf64_Sym) <= table.sh_size; at += sizeof(Elf64_Sym)) {
      const auto symbol = image.record<Elf64_Sym>(table.sh_offset + at);
      if (exported(symbol)) names.push_back(image.text(strings, symbol.st_name));
    }
    return names; // an ELF file has one such table at most
  }
  image.refuse("an ELF file without a dynamic symbol table");
}

} // namespace tnk::tool
