#include "tools/tnk/blas.h"
#include "tools/tnk/support/child.h"
#include "tools/tnk/support/elf_symbols.h"
#include "tools/tnk/support/failure.h"
#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace tnk::tool {
namespace {

constexpr const char *dynamic_linker = "/lib64/ld-linux-x86-64.so.2";

// A name without a slash is looked for where a shell would.
std::filesystem::path find_program(const std::string &name) {
  if (name.find('/') != std::string::npos) return name;
  const char *const folders = std::getenv("PATH");
  std::istringstream stream(folders ? folders : "");
  for (std::string folder; std::getline(stream, folder, ':');) {
    const std::filesystem::path path = std::filesystem::path(folder) / name;
    if (access(path.c_str(), X_OK) == 0) return path;
  }
  throw Failure("no program " + name + " in PATH");
}

bool has_product(const std::filesystem::path &library) {
  const auto names = exported_names(library);
  return std::find(names.begin(), names.end(), "dgemm_") != names.end();
}

} // namespace

LoadedBlas blas_of(const std::string &program) {
  const std::filesystem::path path = find_program(program);
  std::vector<LoadedBlas> libraries;
  // Lines such as "	libm.so.6 => /lib/libm.so.6 (0x00007f...)"; without an arrow where the name is a path.
  const int code = run_child(dynamic_linker, {"--list", path.string()}, [&](const std::string &line) {
    std::istringstream words(line);
    std::string name, arrow, file;
    words >> name >> arrow >> file;
    // The kernel's own library has no file, and one that is missing none either.
    if (arrow != "=>") file = name;
    if (file.find('/') != std::string::npos) libraries.push_back({name, file, false});
  });
  if (code != 0) throw Failure(path.string() + " is no program that the dynamic linker loads");
  for (LoadedBlas &library : libraries)
    if (has_product(library.file)) {
      library.file = std::filesystem::canonical(library.file);
      library.ours = std::filesystem::exists(library.file.parent_path() / "../libtnk_host.so") &&
                     library.file.parent_path().filename() == "tnk-blas";
      return library;
    }
  throw Failure(path.string() +
                " loads no BLAS when it starts; if it does later, give the shared object that needs one");
}

} // namespace tnk::tool
