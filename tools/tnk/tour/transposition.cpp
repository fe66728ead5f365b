// Scene "transposition": the heights of a volcano turned over in the array that holds them, without any other memory. Each
// height moves to where another one stands, which moves on in turn: the positions fall into cycles.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <tnk/trans.h>

namespace tnk::tool {
namespace {

// By rows, without gaps.
struct Grid {
  tnk_int rows, columns;
  std::vector<double> heights;
  Grid turned() const {
    Grid t{columns, rows, heights};
    for (tnk_int i = 0; i < rows; ++i)
      for (tnk_int j = 0; j < columns; ++j)
        t.heights[static_cast<std::size_t>(j * rows + i)] =
            heights[static_cast<std::size_t>(i * columns + j)];
    return t;
  }
};

Grid load(const CsvTable &table) {
  Grid grid{static_cast<tnk_int>(table.rows()), static_cast<tnk_int>(table.columns.size()), {}};
  for (std::size_t i = 0; i < table.rows(); ++i)
    for (const auto &column : table.columns) grid.heights.push_back(column[i]);
  return grid;
}

using InPlace = void (*)(Grid &grid, double *work);
void by_cycles(Grid &g, double *) {
  tnk_trans_dimatcopy('R', 'T', g.rows, g.columns, 1, g.heights.data(), g.columns, g.rows);
  std::swap(g.rows, g.columns);
}
void by_workspace(Grid &g, double *work) {
  tnk_trans_dimatcopy_work('R', 'T', g.rows, g.columns, 1, g.heights.data(), g.columns, g.rows, work);
  std::swap(g.rows, g.columns);
}

double largest_difference(const Grid &a, const Grid &b) {
  Worst worst;
  for (std::size_t i = 0; i < a.heights.size(); ++i) worst.take(std::fabs(a.heights[i] - b.heights[i]));
  return worst.value();
}

// The length of the cycle through each position, and how many cycles there are.
struct Cycles {
  std::vector<double> length;
  std::size_t count = 0;
};
Cycles follow(const Grid &grid) {
  const auto rows = static_cast<std::size_t>(grid.rows), columns = static_cast<std::size_t>(grid.columns);
  Cycles cycles{std::vector<double>(rows * columns), 0};
  const auto next = [=](std::size_t p) { return p % columns * rows + p / columns; };
  for (std::size_t start = 0; start < cycles.length.size(); ++start) {
    if (cycles.length[start] != 0) continue;
    ++cycles.count;
    double steps = 0;
    std::size_t p = start;
    do ++steps, p = next(p);
    while (p != start);
    do cycles.length[p] = steps, p = next(p);
    while (p != start);
  }
  return cycles;
}

// Rows of a map go upwards, those of a matrix downwards.
std::vector<double> upside_down(const std::vector<double> &values, tnk_int columns) {
  std::vector<double> turned;
  for (auto end = values.end(); end != values.begin(); end -= columns)
    turned.insert(turned.end(), end - columns, end);
  return turned;
}

std::string draw(const Grid &before, const Grid &after, const Cycles &cycles) {
  Figure figure(1280, 520, "A mountain turned over where it stands",
                format("Heights of Maunga Whau, Auckland: %td by %td numbers, transposed in their own array "
                       "along %zu cycles",
                       static_cast<std::ptrdiff_t>(before.rows), static_cast<std::ptrdiff_t>(before.columns),
                       cycles.count));
  const auto [low, high] = std::minmax_element(before.heights.begin(), before.heights.end());
  const Scale heights{colour::heights, std::floor(*low / 10) * 10, std::ceil(*high / 10) * 10};
  const double longest = *std::max_element(cycles.length.begin(), cycles.length.end());
  const Scale lengths{colour::heights, 0, longest};
  const double pixels = 340 / static_cast<double>(std::max(before.rows, before.columns));
  const auto panel = [&](double left, const Grid &grid, const char *title, const std::vector<double> &values,
                         const Scale &scale) {
    const auto rows = static_cast<double>(grid.rows), columns = static_cast<double>(grid.columns);
    Panel(figure, {left, 112, columns * pixels, rows * pixels}, title, {0, columns, "column"},
          {rows, 0, "row"})
        .map(static_cast<std::size_t>(grid.columns), upside_down(values, grid.columns), scale);
  };
  panel(76, before, "Before", before.heights, heights);
  panel(400, after, "After", after.heights, heights);
  figure.legend({752, 112, 14, 240}, heights, "m");
  panel(900, before, "Cycle through each place", cycles.length, lengths);
  figure.legend({1170, 112, 14, 240}, lengths, "steps");
  return figure.svg();
}

} // namespace

void transposition_scene(Stage &stage) {
  const CsvTable table = read_csv(stage.data("volcano.csv"));
  const Grid original = load(table), expected = original.turned();
  const Cycles cycles = follow(original);
  Grid grid = original;
  std::vector<double> work(grid.heights.size());
  by_cycles(grid, nullptr);
  stage.stop_on_error();
  const Grid turned = grid;
  by_cycles(grid, nullptr);

  stage.say(format("%td rows of %td heights from %s", static_cast<std::ptrdiff_t>(original.rows),
                   static_cast<std::ptrdiff_t>(original.columns), table.source.c_str()));
  stage.say("errors are the largest difference of a height from the one that belongs in its place");
  const double bytes = 2 * sizeof(double) * static_cast<double>(original.heights.size());
  const auto rate = [&](InPlace run) {
    Grid again = original;
    return gigabytes_per_second(bytes, seconds_per_call([&] { run(again, work.data()), keep(again); }));
  };
  stage.heading();
  stage.show({"transposed in place", "dimatcopy", format("along %zu cycles", cycles.count),
              largest_difference(turned, expected), 0, rate(by_cycles)});
  stage.show({"and back again", "dimatcopy", "", largest_difference(grid, original), 0, ""});
  grid = original;
  by_workspace(grid, work.data());
  stage.show({"transposed in place", "dimatcopy", "through a workspace", largest_difference(grid, expected),
              0, rate(by_workspace)});
  stage.picture("transposition.svg", draw(original, turned, cycles));
}

} // namespace tnk::tool
