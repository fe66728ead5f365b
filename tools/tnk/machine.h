// The machine that the program runs on, and the versions of what it runs.
#pragma once

#include <string>
#include <tnk/host.h>
#include <vector>

namespace tnk::tool {

// Brand text of the processor, as it gives it itself; "unknown" when it has none.
std::string processor_name();

// Those instruction sets that the processor offers and the operating system lets programs use.
std::vector<std::string> processor_features();

struct Cores {
  int online;   // logical processors of the machine
  int usable;   // those that this process may run on
  int physical; // cores; 0 when not known
};
Cores processor_cores();

// tnk_kernel_load without its report: the caller tells what a refusal means, by tnk_kernel_message().
tnk_status load_kernel();

// Version text of the host.
std::string version_text();

} // namespace tnk::tool
