#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/tour/scene.h"
#include <cstdio>
#include <tnk/host.h>

namespace tnk::tool {
namespace {

void row(const char *quantity, const char *routine, const char *value, const char *error, const char *allowed,
         const char *rate) {
  std::string text =
      format("  %-22s %-12s %-24s %9s %9s  %14s", quantity, routine, value, error, allowed, rate);
  text.erase(text.find_last_not_of(' ') + 1);
  std::printf("%s\n", text.c_str());
}

} // namespace

void Stage::say(const std::string &text) const {
  std::printf("  %s\n", text.c_str());
}

void Stage::heading() const {
  row("quantity", "routine", "value", "error", "allowed", "rate");
}

void Stage::show(const Result &result) const {
  row(result.quantity.c_str(), result.routine.c_str(), result.value.c_str(),
      format("%.1e", result.error).c_str(), format("%.1e", result.allowed).c_str(), result.rate.c_str());
  if (!(result.error <= result.allowed))
    throw Failure("the " + result.quantity + " by " + result.routine +
                  " is wrong: its error is over what is allowed");
}

void Stage::picture(const char *file, std::string_view contents) {
  write_file(out_ / file, contents);
  pictures_.push_back(out_ / file);
}

void missing_entry(const char *name) {
  throw Failure(format("the kernel library %s has no entry %s", tnk_kernel_path(), name));
}

std::string gigabytes_per_second(double bytes, double seconds) {
  return format("%.2f GB/s", bytes / seconds * 1e-9);
}

std::string gigaflops_per_second(double operations, double seconds) {
  return format("%.2f GFLOP/s", operations / seconds * 1e-9);
}

} // namespace tnk::tool
