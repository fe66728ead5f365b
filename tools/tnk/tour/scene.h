// The scenes of the tour. To add one, write its file, declare its function below and give it a line in the table of
// tour.cpp. The tests run every scene there is: as it should be, and with routines that report errors, where it must
// call stop_on_error before it prints its heading.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <tnk/host.h>
#include <vector>

namespace tnk::tool {

// One line of a scene's table.
struct Result {
  std::string quantity; // "Euclidean norm"
  std::string routine;  // "dnrm2"
  std::string value;    // as text
  double error;         // against the reference, relative unless the quantity says otherwise
  double allowed;       // the largest error that the arithmetic explains
  std::string rate;     // "3.21 GB/s"; "" when none was taken
};

// What a scene works on: its input files, its output, its pictures. One at a time: while it lives, errors
// that the host reports go to it.
class Stage {
public:
  Stage(std::filesystem::path data, std::filesystem::path out);
  Stage(const Stage &) = delete;
  Stage &operator=(const Stage &) = delete;
  ~Stage();

  // Path of an input file.
  std::filesystem::path data(const char *file) const { return data_ / file; }

  // A Failure when a routine has reported an error since the stage was made. To be called once a result is
  // there and before its routines are called over and over for their rates.
  void stop_on_error() const;

  // Prints one line of text.
  void say(const std::string &text) const;

  // Prints the heading of the table, and its lines. An error over what is allowed, or a NaN, stops the tour
  // by a Failure once its line is printed.
  void heading() const;
  void show(const Result &result) const;

  // Writes a picture and lists it at the end of the tour.
  void picture(const char *file, std::string_view contents);
  const std::vector<std::filesystem::path> &pictures() const { return pictures_; }

private:
  std::filesystem::path data_, out_;
  tnk_error_handler handler_before_;
  std::vector<std::filesystem::path> pictures_;
};

struct Scene {
  const char *name;     // for --scene
  const char *title;    // what it shows
  void (*run)(Stage &); // throws Failure
};

void vectors_scene(Stage &stage);
void product_scene(Stage &stage);
void sparse_scene(Stage &stage);
void solves_scene(Stage &stage);
void smoothing_scene(Stage &stage);
void cholesky_scene(Stage &stage);
void precision_scene(Stage &stage);
void spectrum_scene(Stage &stage);
void transposition_scene(Stage &stage);
void filter_scene(Stage &stage);
void matching_scene(Stage &stage);
void integers_scene(Stage &stage);
void plate_scene(Stage &stage);
void film_scene(Stage &stage);
void lengths_scene(Stage &stage);
void numpy_scene(Stage &stage);

// The entry that TNK_KERNEL_ENTRY found; a Failure when the kernel library has none of that name.
[[noreturn]] void missing_entry(const char *name);
template <class F> F *present(F *entry, const char *name) {
  if (!entry) missing_entry(name);
  return entry;
}
#define TNK_PRESENT_ENTRY(name) ::tnk::tool::present(TNK_KERNEL_ENTRY(name), #name)

// Rates as text.
std::string gigabytes_per_second(double bytes, double seconds);
std::string gigaflops_per_second(double operations, double seconds);

} // namespace tnk::tool
