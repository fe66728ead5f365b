// tnk tour: one scene a family of routines, each on real input.
#include "tools/tnk/command.h"
#include "tools/tnk/machine.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cstdio>
#include <memory>

namespace tnk::tool {
namespace {

namespace fs = std::filesystem;

constexpr Scene scenes[] = {
    {"vectors", "statistics of the monthly sunspot numbers, by vector kernels", vectors_scene},
    {"product", "principal components of the heights of a volcano, by matrix products", product_scene},
    {"sparse", "the stiffest mode of a structure, by products with a sparse matrix", sparse_scene},
    {"solves", "a stiffness matrix solved in steps, with sparse solves as a help", solves_scene},
    {"smoothing", "the sunspot numbers smoothed, by tridiagonal solvers", smoothing_scene},
    {"cholesky", "a stiffness matrix factored by blocks, solved and refined", cholesky_scene},
    {"precision", "dot products that cancel and Hilbert systems, in floats, doubles and pairs",
     precision_scene},
    {"spectrum", "the cycle of the sunspot numbers and the pitch of a sound, by Fourier transforms",
     spectrum_scene},
    {"lengths", "how fast transforms of every length are, and which way they go", lengths_scene},
    {"transposition", "a height map turned over in its own array, without other memory", transposition_scene},
    {"filter", "the volcano without its details, by Fourier transforms in two dimensions", filter_scene},
    {"matching", "an echo in noise and an averaged mountain, by correlation and convolution", matching_scene},
    {"plate", "a plate with a source of heat and cold edges, by Poisson's equation", plate_scene},
    {"film", "a volcano rebuilt from its curvature, and the soap film on its rim", film_scene},
    {"integers", "digits of pi, exact polynomials and large primes, by integers of any size", integers_scene},
    {"numpy", "a stiffness matrix in numpy, on the machine's BLAS and on this one", numpy_scene},
};

struct Options {
  std::string data, out = "out";
  std::vector<std::string> scenes;
  bool list = false;
};

// The folder of the input files: the one that was asked for, or the first that is there of the installed one
// and the source tree's.
fs::path find_data(const std::string &asked) {
  const auto is_folder = [](const fs::path &path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
  };
  if (!asked.empty()) {
    if (is_folder(asked)) return asked;
    throw Failure("the data folder " + asked + " is not there");
  }
  std::string tried;
  for (const char *relative : {TNK_INSTALLED_DATA, TNK_SOURCE_DATA}) {
    const fs::path folder = (program_folder() / relative).lexically_normal();
    if (is_folder(folder)) return folder;
    tried += (tried.empty() ? "" : " and ") + folder.string();
  }
  throw Failure("no data folder found (tried " + tried + "); name one with --data");
}

// When a routine has reported an error, that is what ends the scene, not what came of it.
void run_scene(const Scene &scene, Stage &stage) {
  try {
    scene.run(stage);
  } catch (const Failure &) {
    stage.stop_on_error();
    throw;
  }
  stage.stop_on_error();
}

int run_tour(const Options &options) {
  if (options.list) {
    for (const Scene &scene : scenes) std::printf("%-13s %s\n", scene.name, scene.title);
    return exit_ok;
  }
  if (load_kernel() != TNK_OK) throw Failure(tnk_kernel_message());

  const fs::path data = find_data(options.data);
  make_folder(options.out);
  Stage stage(data, options.out);
  for (const Scene &scene : scenes) {
    if (!options.scenes.empty() &&
        std::find(options.scenes.begin(), options.scenes.end(), scene.name) == options.scenes.end())
      continue;
    std::printf("%s: %s\n", scene.name, scene.title);
    run_scene(scene, stage);
    std::printf("\n");
    std::fflush(stdout);
  }
  if (!stage.pictures().empty()) std::printf("Pictures:\n");
  for (const fs::path &picture : stage.pictures()) std::printf("  %s\n", picture.c_str());
  return exit_ok;
}

} // namespace

Command tour_command(CLI::App &program) {
  auto chosen = std::make_shared<Options>();
  CLI::App *options = program.add_subcommand("tour", "Run the kernels on real data; leave pictures");
  options->add_option("--data", chosen->data,
                      "Folder of the input files (default: the one that came with tnk)");
  options->add_option("--out", chosen->out, "Folder for the pictures")->capture_default_str();
  std::vector<std::string> names;
  for (const Scene &scene : scenes) names.emplace_back(scene.name);
  options->add_option("--scene", chosen->scenes, "Run this scene only; may be given more than once")
      ->check(CLI::IsMember(names));
  options->add_flag("--list", chosen->list, "List the scenes and stop");
  options->footer("Exit code: 0 when every scene ran and its results hold, 1 otherwise, 2 for bad usage.");
  return {options, [chosen] { return run_tour(*chosen); }};
}

} // namespace tnk::tool
