#include "tools/tnk/bench/chart.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/format.h"
#include <algorithm>
#include <cmath>

namespace tnk::tool {
namespace {

// In pixels.
constexpr double panel_width = 330, panel_height = 210, left_margin = 82, column = 440, top_margin = 112,
                 line = 300;
constexpr std::size_t columns = 3;

struct Curves {
  std::string name, unit;
  std::vector<Point> ours, peer, best;

  double highest() const {
    double rate = 0;
    for (const auto *curve : {&ours, &peer, &best})
      for (const Point &p : *curve) rate = std::max(rate, p.y);
    return rate;
  }
};

// A peer's rate is ours over the ratio to it: two processes may have met the machine in different states.
std::vector<Curves> curves_of(const std::vector<BenchRow> &rows) {
  std::vector<Curves> found;
  std::string last;
  for (const BenchRow &row : rows) {
    const std::string name = row.listed.group + "/" + row.listed.name;
    if (name != last) found.push_back({row.listed.name, row.same.unit, {}, {}, {}});
    last = name;
    const double size = std::log2(static_cast<double>(row.listed.size)), rate = *row.same.rate;
    found.back().ours.push_back({size, rate});
    if (row.same.ratio) found.back().peer.push_back({size, rate / *row.same.ratio});
    if (row.best && row.best->ratio) found.back().best.push_back({size, rate / *row.best->ratio});
  }
  const auto single = [](const Curves &curves) { return curves.ours.size() < 2; };
  found.erase(std::remove_if(found.begin(), found.end(), single), found.end());
  return found;
}

} // namespace

std::string rate_chart(const std::vector<BenchRow> &rows, const std::string &name,
                       const std::string &subtitle) {
  const std::vector<Curves> all = curves_of(rows);
  if (all.empty()) return "";
  const std::size_t lines = (all.size() + columns - 1) / columns, across = std::min(all.size(), columns);
  std::string title = name;
  std::replace(title.begin(), title.end(), '_', ' ');
  Figure figure(std::max(760.0, static_cast<double>(across) * column + 20),
                top_margin + static_cast<double>(lines) * line, "Rates over sizes: " + title,
                subtitle + ". Blue: ours. Vermilion: the peer. Green: the peer's best core.");
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Curves &curves = all[i];
    const double highest = curves.highest();
    const Prefix prefix = prefix_for(highest);
    const auto scaled = [&](std::vector<Point> points) {
      for (Point &p : points) p.y /= prefix.factor;
      return points;
    };
    const auto place = static_cast<double>(i % columns), floor = static_cast<double>(i / columns);
    Panel panel(figure, {left_margin + place * column, top_margin + floor * line, panel_width, panel_height},
                curves.name, {curves.ours.front().x, curves.ours.back().x, "log\u2082 of the size"},
                {0, 1.08 * highest / prefix.factor, prefix.text + curves.unit + "/s"});
    panel.line(scaled(curves.best), colour::green, 1.6);
    panel.line(scaled(curves.peer), colour::vermilion, 1.6);
    panel.line(scaled(curves.ours), colour::blue, 2.2);
    for (const Point &p : scaled(curves.ours)) panel.marker(p, colour::blue);
  }
  return figure.svg();
}

} // namespace tnk::tool
