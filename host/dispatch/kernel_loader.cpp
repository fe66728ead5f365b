// Finds the kernel library for this processor, loads it once and vouches for it.
#include "host/dispatch/kernel_loader.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <tnk/host.h>
#include <unistd.h>

#include "host/dispatch/check.h"
#include "host/dispatch/elf_check.h"
#include "host/service/errno_keeper.h"
#include "host/service/errors.h"
#include "host/service/messages.h"
#include "host/service/processor.h"

namespace tnk::host {
namespace {

constexpr std::size_t message_room = 2 * PATH_MAX; // a path and what is wrong with it

struct Path {
  char text[PATH_MAX];
  bool from_environment;
};

Path find_path() {
  const ErrnoKeeper keeper;
  Path path{};
  TextWriter text(path.text, sizeof path.text);
  // Not from the environment of a program that runs with another user's rights.
  const char *named = secure_getenv("TNK_KERNEL_PATH");
  if (named && *named) {
    path.from_environment = true;
    // Without a slash the dynamic linker would search its folders: the variable names a file, here in the
    // current one.
    text.add(std::strchr(named, '/') ? "" : "./").add(named);
    return path;
  }
  // The dynamic linker may have come here by a run path with ".." in it: shown to people, so made plain.
  char folder[PATH_MAX], plain[PATH_MAX];
  Dl_info self;
  const char *slash = nullptr;
  if (dladdr(reinterpret_cast<void *>(&tnk_kernel_load), &self)) slash = std::strrchr(self.dli_fname, '/');
  TextWriter folder_text(folder, sizeof folder);
  if (slash)
    folder_text.add(std::string_view(self.dli_fname, static_cast<std::size_t>(slash + 1 - self.dli_fname)));
  else
    folder_text.add(".");
  text.add(realpath(folder, plain) ? plain : folder).add("/libtnk_avx.so");
  return path;
}

const Path &kernel_path() {
  static const Path path = find_path();
  return path;
}

// A loaded kernel library, and the addresses that are its own.
struct Library {
  void *handle = nullptr;
  std::uintptr_t begin = 0, end = 0;
};

Library loaded(void *handle) {
  link_map *map = nullptr;
  Dl_info place;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || !dladdr(map->l_ld, &place)) return {};
  Library library{handle, reinterpret_cast<std::uintptr_t>(place.dli_fbase), 0};
  const auto *const header = static_cast<const Elf64_Ehdr *>(place.dli_fbase);
  const auto *const segments = reinterpret_cast<const Elf64_Phdr *>(library.begin + header->e_phoff);
  for (const Elf64_Phdr *segment = segments; segment != segments + header->e_phnum; ++segment)
    if (segment->p_type == PT_LOAD)
      library.end = map->l_addr + segment->p_vaddr + segment->p_memsz; // ascending
  return library;
}

// dlsym also finds what the library's dependencies export (malloc, say); this only what it defines itself. Thousands of
// names are looked up in a row, so the owner is told by the address: dladdr would search all symbols.
void *own_symbol(const Library &library, const char *name) {
  if (!library.handle) return nullptr;
  const ErrnoKeeper keeper;
  void *const address = dlsym(library.handle, name);
  const auto place = reinterpret_cast<std::uintptr_t>(address);
  return place >= library.begin && place < library.end ? address : nullptr;
}

// What loading came to. Texts in place: nothing to allocate, nothing to destroy at exit.
struct Outcome {
  tnk_status status = TNK_OK;
  Library library;
  char message[message_room] = "";
};

const char *class_name(std::int32_t processor_class) {
  switch (processor_class) {
  case TNK_CLASS_NONE:
    return "no AVX";
  case TNK_CLASS_AVX:
    return "AVX";
  default:
    return "unknown";
  }
}

Outcome load() {
  const ErrnoKeeper keeper;
  Outcome outcome;
  const Path &path = kernel_path();

  const Avx avx = this_processor_avx();
  if (avx != Avx::usable) {
    outcome.status = TNK_NO_AVX;
    write_message(outcome.message, avx == Avx::absent ? message_no_avx : message_avx_not_saved);
    return outcome;
  }
  if (access(path.text, F_OK) != 0) {
    outcome.status = TNK_KERNEL_MISSING;
    write_message(outcome.message, message_file_missing, path.text,
                  path.from_environment
                      ? " (TNK_KERNEL_PATH names it)"
                      : " (it belongs beside libtnk_host.so; TNK_KERNEL_PATH can name another place)");
    return outcome;
  }
  const char *const objection = reason_not_to_open(path.text);
  void *const handle = objection ? nullptr : dlopen(path.text, RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    outcome.status = TNK_KERNEL_MISSING;
    write_message(outcome.message, message_file_unloadable, path.text, objection ? objection : dlerror());
    return outcome;
  }
  const Library library = loaded(handle);
  const auto ask_class = reinterpret_cast<decltype(&dll_cpu_version)>(own_symbol(library, "dll_cpu_version"));
  if (!ask_class) {
    outcome.status = TNK_KERNEL_FOREIGN;
    write_message(outcome.message, message_file_foreign, path.text);
  } else if (const std::int32_t theirs = ask_class(), ours = tnk_serv_cpu_detect(); theirs != ours) {
    outcome.status = TNK_KERNEL_OTHER_CLASS;
    write_message(outcome.message, message_other_class, path.text, theirs, class_name(theirs), ours,
                  class_name(ours));
  } else {
    outcome.library = library;
  }
  if (outcome.status != TNK_OK) dlclose(handle);
  return outcome;
}

std::atomic<const Outcome *> finished{nullptr};

const Outcome &kernel() {
  static const Outcome outcome = load();
  finished.store(&outcome, std::memory_order_release);
  return outcome;
}

const Outcome &kernel_or_report(const char *routine) {
  const Outcome &outcome = kernel();
  if (outcome.status != TNK_OK) {
    char message[message_room];
    write_message(message, message_kernel_refused, routine, outcome.message);
    report(TNK_ERROR_KERNEL, routine, message);
  }
  return outcome;
}

} // namespace

void *require_kernel_entry(const char *routine, const char *name) {
  const Outcome &outcome = kernel_or_report(routine);
  if (outcome.status != TNK_OK) return nullptr;
  void *const address = own_symbol(outcome.library, name);
  if (!address) {
    char message[message_room];
    write_message(message, message_entry_missing, routine, kernel_path().text, name);
    report(TNK_ERROR_KERNEL, routine, message);
  }
  return address;
}

} // namespace tnk::host

tnk_status tnk_kernel_load(void) {
  return tnk::host::kernel_or_report("tnk_kernel_load").status;
}

const char *tnk_kernel_path(void) {
  return tnk::host::kernel_path().text;
}

const char *tnk_kernel_message(void) {
  const tnk::host::Outcome *const outcome = tnk::host::finished.load(std::memory_order_acquire);
  return outcome ? outcome->message : "";
}

void *tnk_kernel_entry(const char *name) {
  if (!tnk::host::Check("tnk_kernel_entry").address(1, "name", name)) return nullptr;
  const tnk::host::Outcome &outcome = tnk::host::kernel_or_report("tnk_kernel_entry");
  return tnk::host::own_symbol(outcome.library, name);
}

void *tnk_kernel_require(const char *name) {
  if (!tnk::host::Check("tnk_kernel_require").address(1, "name", name)) return nullptr;
  return tnk::host::require_kernel_entry(name, name);
}
