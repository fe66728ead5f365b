#include "tools/tnk/machine.h"
#include "tools/tnk/support/format.h"
#include <cpuid.h>
#include <cstring>
#include <fstream>
#include <sched.h>
#include <set>
#include <unistd.h>
#include <utility>

namespace tnk::tool {

std::string processor_name() {
  unsigned words[12] = {}, highest = __get_cpuid_max(0x80000000u, nullptr);
  if (highest < 0x80000004u) return "unknown";
  for (unsigned leaf = 0; leaf < 3; ++leaf) {
    unsigned *w = words + 4 * leaf;
    __get_cpuid(0x80000002u + leaf, w, w + 1, w + 2, w + 3);
  }
  char text[sizeof words + 1] = {};
  std::memcpy(text, words, sizeof words);
  std::string name(text);
  const auto first = name.find_first_not_of(' ');
  if (first == std::string::npos) return "unknown";
  return name.substr(first, name.find_last_not_of(' ') + 1 - first);
}

std::vector<std::string> processor_features() {
  __builtin_cpu_init();
  const std::pair<const char *, bool> known[] = {
      {"sse2", __builtin_cpu_supports("sse2") != 0},      {"sse4.2", __builtin_cpu_supports("sse4.2") != 0},
      {"avx", __builtin_cpu_supports("avx") != 0},        {"avx2", __builtin_cpu_supports("avx2") != 0},
      {"fma", __builtin_cpu_supports("fma") != 0},        {"bmi2", __builtin_cpu_supports("bmi2") != 0},
      {"avx512f", __builtin_cpu_supports("avx512f") != 0}};
  std::vector<std::string> present;
  for (const auto &[name, has] : known)
    if (has) present.emplace_back(name);
  return present;
}

Cores processor_cores() {
  Cores cores{static_cast<int>(::sysconf(_SC_NPROCESSORS_ONLN)), 0, 0};
  cpu_set_t set;
  cores.usable = ::sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) : cores.online;
  // Logical processors of one core share a package and a core number. Numbers of offline ones may lie
  // between.
  std::set<std::pair<int, int>> distinct;
  const int configured = static_cast<int>(::sysconf(_SC_NPROCESSORS_CONF));
  for (int cpu = 0; cpu < configured; ++cpu) {
    const std::string folder = format("/sys/devices/system/cpu/cpu%d/topology/", cpu);
    int package = 0, core = 0;
    if (std::ifstream(folder + "physical_package_id") >> package && std::ifstream(folder + "core_id") >> core)
      distinct.emplace(package, core);
  }
  cores.physical = static_cast<int>(distinct.size());
  return cores;
}

tnk_status load_kernel() {
  const tnk_error_handler handler = tnk_set_error_handler([](const tnk_error *) {});
  const tnk_status status = tnk_kernel_load();
  tnk_set_error_handler(handler);
  return status;
}

std::string version_text() {
  char text[198];
  tnk_serv_getversionstring_c(text, sizeof text);
  return text;
}

} // namespace tnk::tool
