#include "tools/tnk/bench/chart.h"
#include "tools/tnk/support/format.h"
#include <algorithm>
#include <cmath>
#include <set>

namespace tnk::tool {
namespace {

// In pixels. Dots of one kernel stand a little apart, the shortest vectors on top, so that equal ratios show.
constexpr double label_width = 90, panel_width = 400, panel_gap = 40, row_height = 18, group_gap = 10,
                 dot_step = 2.6, dot_radius = 3.1, head_height = 124, foot_height = 40, margin = 28;

constexpr double lowest = 0.25, highest = 8;

// From light to dark with the length; told apart also without colour.
constexpr const char *shades[] = {"#f0b429", "#e4714a", "#b83a6a", "#67308f",
                                  "#1b1d6d", "#0f766e", "#111827"};
constexpr std::size_t shade_count = sizeof shades / sizeof *shades;

std::string escaped(const std::string &text) {
  std::string safe;
  for (const char c : text) safe += c == '&' ? "&amp;" : c == '<' ? "&lt;" : std::string(1, c);
  return safe;
}

std::string text(double x, double y, const char *attributes, const std::string &content) {
  return format("<text x=\"%.1f\" y=\"%.1f\" %s>", x, y, attributes) + escaped(content) + "</text>\n";
}

std::string length_text(long long n) {
  std::string digits = std::to_string(n);
  for (int i = static_cast<int>(digits.size()) - 3; i > 0; i -= 3)
    digits.insert(static_cast<std::size_t>(i), " ");
  return digits;
}

double across(double left, double ratio) {
  return left + panel_width * std::log2(ratio / lowest) / std::log2(highest / lowest);
}

std::string mark(double left, double y, double ratio, const char *shade) {
  if (ratio < lowest || ratio > highest) {
    const double tip = ratio < lowest ? left - 4 : left + panel_width + 4;
    const double base = ratio < lowest ? left + 3 : left + panel_width - 3;
    return format("<path d=\"M%.1f %.1fL%.1f %.1fL%.1f %.1fZ\" fill=\"%s\"/>\n", tip, y, base, y - 3.5, base,
                  y + 3.5, shade);
  }
  return format("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"%.1f\" fill=\"%s\"/>\n", across(left, ratio), y,
                dot_radius, shade);
}

} // namespace

std::string ratio_chart(const std::vector<BenchRow> &rows, const CoreNames &cores,
                        const std::string &subtitle) {
  std::set<long long> lengths;
  for (const BenchRow &row : rows) lengths.insert(row.n);
  const auto shade = [&](long long n) {
    return shades[static_cast<std::size_t>(std::distance(lengths.begin(), lengths.find(n))) % shade_count];
  };
  const auto nudge = [&](long long n) {
    const double middle = (static_cast<double>(lengths.size()) - 1) / 2;
    return dot_step * (static_cast<double>(std::distance(lengths.begin(), lengths.find(n))) - middle);
  };

  std::vector<std::string> panels = {cores.fair};
  if (!cores.best.empty()) panels.push_back(cores.best);
  const auto left_of = [](std::size_t panel) {
    return margin + label_width + static_cast<double>(panel) * (panel_width + panel_gap);
  };

  std::string labels, dots;
  double y = head_height;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const BenchRow &row = rows[i];
    if (i == 0 || row.kernel != rows[i - 1].kernel) {
      y += i > 0 && row.group != rows[i - 1].group ? row_height + group_gap : row_height;
      labels += text(margin + label_width - 12, y + 4, "text-anchor=\"end\"", row.kernel);
      for (std::size_t p = 0; p < panels.size(); ++p)
        labels += format("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#eef0f3\"/>\n",
                         left_of(p), y, left_of(p) + panel_width, y);
    }
    if (row.fair.ratio) dots += mark(left_of(0), y + nudge(row.n), *row.fair.ratio, shade(row.n));
    if (row.best && row.best->ratio && panels.size() > 1)
      dots += mark(left_of(1), y + nudge(row.n), *row.best->ratio, shade(row.n));
  }
  const double bottom = y + row_height;

  std::string frame;
  for (std::size_t p = 0; p < panels.size(); ++p) {
    frame += text(left_of(p), head_height - 22, "font-weight=\"600\"", "against the core " + panels[p]);
    for (double tick = lowest; tick <= highest; tick *= 2) {
      const bool even = tick == 1;
      const double x = across(left_of(p), tick);
      frame += format(
          "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\" stroke-width=\"%s\"/>\n", x,
          head_height, x, bottom, even ? "#1f2937" : "#d1d5db", even ? "1.5" : "1");
      for (const double at : {head_height - 6, bottom + 16})
        frame += text(x, at, "text-anchor=\"middle\" fill=\"#4b5563\"", format("%g", tick));
    }
  }
  double x = left_of(0);
  for (const long long n : lengths) {
    frame += format("<circle cx=\"%.1f\" cy=\"72\" r=\"4\" fill=\"%s\"/>\n", x + 4, shade(n));
    frame += text(x + 12, 76, "", "n = " + length_text(n));
    x += 112;
  }

  const double width = left_of(panels.size() - 1) + panel_width + margin, height = bottom + foot_height;
  return format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
                "width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\" font-family=\"Helvetica, Arial, "
                "'Liberation Sans', 'DejaVu Sans', sans-serif\" font-size=\"12\" fill=\"#1f2937\" "
                "role=\"img\">\n<title>Speed of the kernels beside a peer</title>\n"
                "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                width, height, width, height) +
         text(margin, 30, "font-size=\"18\" font-weight=\"600\"",
              "Speed of the kernels beside OpenBLAS, and of sparse vectors beside a plain loop") +
         text(margin, 50, "fill=\"#4b5563\"", subtitle + ". To the right of 1, ours is faster.") + labels +
         frame + dots + "</svg>\n";
}

} // namespace tnk::tool
