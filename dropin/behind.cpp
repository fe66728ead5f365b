// Finds the host beside this library's file, and in it and the kernel library all that the faces call.
#include "dropin/behind.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

namespace tnk::dropin {

std::atomic<const Behind *> found{nullptr};

namespace {

Behind table;

[[noreturn]] void give_up(const char *library, const char *what, const char *why) {
  std::fprintf(stderr, "tnk: %s: %s%s%s\n", library, what, *why ? ": " : "", why);
  std::exit(EXIT_FAILURE);
}

// The folder of this library's file, links followed. The dynamic linker has noted the folder as an absolute path when it came
// here, so a program may have gone elsewhere since.
void find_folder(char (&folder)[PATH_MAX]) {
  Dl_info self;
  void *map;
  char path[2 * PATH_MAX], origin[PATH_MAX];
  const char *const name = dladdr1(&table, &self, &map, RTLD_DL_LINKMAP) ? self.dli_fname : "";
  const char *const slash = std::strrchr(name, '/');
  if (*name == '\0' || dlinfo(map, RTLD_DI_ORIGIN, origin) != 0)
    give_up("BLAS", "does not know its place", "");
  std::snprintf(path, sizeof path, "%s/%s", origin, slash ? slash + 1 : name);
  if (!realpath(path, folder)) give_up(path, "the file is gone", "");
  *std::strrchr(folder, '/') = '\0';
}

void *open_host() {
  char folder[PATH_MAX], path[PATH_MAX + 32];
  find_folder(folder);
  std::snprintf(path, sizeof path, "%s/../libtnk_host.so", folder);
  void *const host = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!host) give_up(path, "the host cannot be loaded", dlerror());
  return host;
}

template <class F> F *symbol(void *host, const char *name) {
  void *const address = dlsym(host, name);
  if (!address) give_up("libtnk_host.so", "it is of another version and lacks an entry", name);
  return reinterpret_cast<F *>(address);
}

void fill() {
  void *const host = open_host();
  // A refusal reports itself.
  if (symbol<decltype(tnk_kernel_load)>(host, "tnk_kernel_load")() != TNK_OK) std::exit(EXIT_FAILURE);
  const auto kernel = symbol<decltype(tnk_kernel_entry)>(host, "tnk_kernel_entry");
  const auto entry = [&](const char *name) {
    void *address = dlsym(host, name);
    if (!address) address = kernel(name);
    if (!address) give_up("libtnk_host.so", "it and its kernel library lack an entry", name);
    return address;
  };
#define TNK_FIND(name) table.name = reinterpret_cast<decltype(table.name)>(entry("tnk_blas_" #name));
  TNK_BEHIND(TNK_FIND)
#undef TNK_FIND
  table.report_error = symbol<decltype(tnk_report_error)>(host, "tnk_report_error");
  table.undone_calls = symbol<decltype(tnk_undone_calls)>(host, "tnk_undone_calls");
}

pthread_mutex_t filling = PTHREAD_MUTEX_INITIALIZER;

} // namespace

const Behind &find() {
  pthread_mutex_lock(&filling);
  if (!found.load(std::memory_order_relaxed)) {
    fill();
    found.store(&table, std::memory_order_release);
  }
  pthread_mutex_unlock(&filling);
  return table;
}

} // namespace tnk::dropin
