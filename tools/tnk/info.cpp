// tnk info: what this machine is and what runs on it.
#include "tools/tnk/blas.h"
#include "tools/tnk/command.h"
#include "tools/tnk/families.h"
#include "tools/tnk/machine.h"
#include "tools/tnk/support/elf_symbols.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <tnk/host.h>

namespace tnk::tool {
namespace {

void line(const char *what, const std::string &value) {
  std::printf("%-16s%s\n", what, value.c_str());
}

std::string processor_class() {
  const int detected = tnk_serv_cpu_detect();
  return format("%d, %s", detected, detected == TNK_CLASS_AVX ? "AVX" : "no AVX, or not enabled");
}

std::string cores_text() {
  const Cores cores = processor_cores();
  std::string text = format("%d logical", cores.online);
  if (cores.physical > 0) text += format(" on %d physical", cores.physical);
  if (cores.usable != cores.online) text += format(", %d usable by this process", cores.usable);
  return text;
}

std::string size_text(int bytes) {
  return bytes >= 1 << 20 && bytes % (1 << 20) == 0 ? format("%d MiB", bytes >> 20)
                                                    : format("%d KiB", bytes >> 10);
}

std::string caches_text() {
  std::string text;
  for (int level = 1; level <= 3; ++level)
    if (const int bytes = tnk_serv_get_cache_size(level); bytes > 0)
      text += format("%sL%d %s", text.empty() ? "" : ", ", level, size_text(bytes).c_str());
  return text.empty() ? "not known" : text;
}

void print_machine() {
  std::string features;
  for (const std::string &name : processor_features()) features += (features.empty() ? "" : " ") + name;
  line("version", version_text());
  line("processor", processor_name());
  line("features", features);
  line("class", processor_class());
  line("cores", cores_text());
  line("data caches", caches_text());
}

void print_exports(const std::string &library) {
  const auto names = exported_names(library);
  line("exported names", format("%zu", names.size()));
  for (const FamilyCount &family : count_families(names))
    std::printf("%16s%-17s %5d  %s\n", "", family.prefix, family.count, family.meaning);
}

int print_blas(const std::string &program) {
  const LoadedBlas blas = blas_of(program);
  line("BLAS", blas.file.string());
  line("loaded as", blas.name);
  line("whose", blas.ours ? "of tnk" : "not of tnk");
  return exit_ok;
}

int run_info(const std::string &program) {
  if (!program.empty()) return print_blas(program);
  print_machine();
  const tnk_status status = load_kernel();
  const std::string path = std::filesystem::path(tnk_kernel_path()).lexically_normal().string();
  line("kernel library", path);
  if (status == TNK_OK) {
    line("status", format("loaded, class %d", TNK_KERNEL_ENTRY(dll_cpu_version)()));
    print_exports(path);
    return exit_ok;
  }
  line("status", "refused");
  // Only a kernel library's names mean something here; this processor need not be able to run it.
  if (status == TNK_NO_AVX || status == TNK_KERNEL_OTHER_CLASS) {
    try {
      print_exports(path);
    } catch (const Failure &) {
      line("exported names", "not known");
    }
  }
  throw Failure(tnk_kernel_message());
}

} // namespace

Command info_command(CLI::App &program) {
  CLI::App *options =
      program.add_subcommand("info", "Show the processor, the kernel library and what it exports");
  const auto program_of_blas = std::make_shared<std::string>();
  options
      ->add_option(
          "--blas", *program_of_blas,
          "Show instead which BLAS this program, or shared object, would load, and run nothing of it")
      ->type_name("PROGRAM");
  options->footer("Exit code: 0 when the kernel library is loaded, 1 when it cannot be; with --blas 1 when "
                  "there is none.");
  return {options, [program_of_blas] { return run_info(*program_of_blas); }};
}

} // namespace tnk::tool
