#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/tour/scene.h"
#include <cstdio>
#include <mutex>
#include <utility>

namespace tnk::tool {
namespace {

void row(const char *quantity, const char *routine, const char *value, const char *error, const char *allowed,
         const char *rate) {
  std::string text =
      format("  %-22s %-17s %-27s %8s  %8s  %14s", quantity, routine, value, error, allowed, rate);
  text.erase(text.find_last_not_of(' ') + 1);
  std::printf("%s\n", text.c_str());
}

// The first error that a routine reported; empty before. Handlers get no context, so it cannot stand in the stage, and
// any thread of a product may call them.
std::string first_error;
std::mutex recording;

void record(const tnk_error *error) {
  const std::lock_guard<std::mutex> lock(recording);
  if (first_error.empty()) first_error = error->message;
}

} // namespace

Stage::Stage(std::filesystem::path data, std::filesystem::path out)
    : data_(std::move(data)), out_(std::move(out)), handler_before_(tnk_set_error_handler(record)) {
  first_error.clear();
}

Stage::~Stage() {
  tnk_set_error_handler(handler_before_);
}

void Stage::stop_on_error() const {
  if (!first_error.empty()) throw Failure(first_error);
}

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
