#include "tools/tnk/bench/chart.h"
#include "tools/tnk/support/format.h"
#include <algorithm>
#include <cmath>
#include <set>

namespace tnk::tool {
namespace {

// In pixels. Dots of one routine stand a little apart, the smallest size on top, so that equal ratios show.
constexpr double label_gap = 12, panel_width = 400, panel_gap = 40, row_height = 18, group_gap = 10,
                 dot_step = 2.6, dot_radius = 3.1, legend_top = 76, legend_height = 18, panel_head = 48,
                 foot_height = 40, margin = 28;

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

// Room for a text, whatever the font turns out to be.
double text_width(const std::string &text) {
  return 7.0 * static_cast<double>(text.size());
}

// Which shade a length has. Where there are more lengths than shades, those of one power of ten share a shade.
class Shades {
public:
  explicit Shades(const std::vector<BenchRow> &rows) {
    std::set<long long> lengths;
    for (const BenchRow &row : rows) lengths.insert(row.listed.size);
    for (const long long n : lengths) {
      if (classes_.empty() || lengths.size() <= shade_count || digits(n) != digits(classes_.back().last))
        classes_.push_back({n, n});
      classes_.back().last = n;
    }
  }

  std::size_t size() const { return classes_.size(); }
  std::size_t of(long long n) const {
    std::size_t i = 0;
    while (classes_[i].last < n) ++i;
    return i;
  }
  static const char *colour(std::size_t i) { return shades[i % shade_count]; }
  std::string name(std::size_t i) const {
    const auto &[first, last] = classes_[i];
    return "n = " + length_text(first) + (last == first ? "" : " to " + length_text(last));
  }

private:
  struct Class {
    long long first, last;
  };
  static std::size_t digits(long long n) { return std::to_string(n).size(); }

  std::vector<Class> classes_;
};

std::string peer_text(const Reading &reading) {
  return reading.peer + (reading.core.empty() ? "" : ", core " + reading.core);
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

std::string ratio_chart(const std::vector<BenchRow> &rows, const std::string &name,
                        const std::string &subtitle) {
  const Shades lengths(rows);
  const auto dot = [&](double left, double y, const BenchRow &row, double ratio) {
    const std::size_t shade = lengths.of(row.listed.size);
    const double middle = (static_cast<double>(lengths.size()) - 1) / 2;
    return mark(left, y + dot_step * (static_cast<double>(shade) - middle), ratio, Shades::colour(shade));
  };

  std::set<std::string> peers, best_peers;
  for (const BenchRow &row : rows) {
    peers.insert(peer_text(row.same));
    if (row.best && row.best->ratio) best_peers.insert(peer_text(*row.best));
  }
  const bool several = peers.size() > 1;
  std::vector<std::string> panels = {several ? "against what stands on the right"
                                             : "against " + *peers.begin()};
  if (!best_peers.empty())
    panels.push_back(best_peers.size() > 1 ? "against its best core" : "against " + *best_peers.begin());
  double label_width = 0, peer_width = 0;
  for (const BenchRow &row : rows) {
    label_width = std::max(label_width, text_width(row.listed.name) + label_gap);
    if (several) peer_width = std::max(peer_width, text_width(peer_text(row.same)) + label_gap);
  }
  const auto left_of = [&](std::size_t panel) {
    return margin + label_width + static_cast<double>(panel) * (panel_width + panel_gap);
  };
  const double width = left_of(panels.size() - 1) + panel_width + peer_width + margin;

  std::string frame;
  double x = margin, y = legend_top;
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    const double entry = 36 + text_width(lengths.name(i));
    if (x > margin && x + entry > width) x = margin, y += legend_height;
    frame +=
        format("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"4\" fill=\"%s\"/>\n", x + 4, y - 4, Shades::colour(i));
    frame += text(x + 12, y, "", lengths.name(i));
    x += entry;
  }

  const double top = y + panel_head;
  std::string labels, dots;
  y = top;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const BenchRow &row = rows[i];
    const bool new_group = i == 0 || row.listed.group != rows[i - 1].listed.group;
    if (new_group || row.listed.name != rows[i - 1].listed.name) {
      y += i > 0 && new_group ? row_height + group_gap : row_height;
      labels += text(margin + label_width - label_gap, y + 4, "text-anchor=\"end\"", row.listed.name);
      if (several)
        labels += text(left_of(panels.size() - 1) + panel_width + label_gap, y + 4, "", peer_text(row.same));
      for (std::size_t p = 0; p < panels.size(); ++p)
        labels += format("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#eef0f3\"/>\n",
                         left_of(p), y, left_of(p) + panel_width, y);
    }
    if (row.same.ratio) dots += dot(left_of(0), y, row, *row.same.ratio);
    if (row.best && row.best->ratio && panels.size() > 1) dots += dot(left_of(1), y, row, *row.best->ratio);
  }
  const double bottom = y + row_height;

  for (std::size_t p = 0; p < panels.size(); ++p) {
    frame += text(left_of(p), top - 22, "font-weight=\"600\"", panels[p]);
    for (double tick = lowest; tick <= highest; tick *= 2) {
      const bool even = tick == 1;
      const double at = across(left_of(p), tick);
      frame += format(
          "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\" stroke-width=\"%s\"/>\n", at,
          top, at, bottom, even ? "#1f2937" : "#d1d5db", even ? "1.5" : "1");
      for (const double below : {top - 6, bottom + 16})
        frame += text(at, below, "text-anchor=\"middle\" fill=\"#4b5563\"", format("%g", tick));
    }
  }

  std::string title = name;
  std::replace(title.begin(), title.end(), '_', ' ');
  const double height = bottom + foot_height;
  return format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
                "width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\" font-family=\"Helvetica, Arial, "
                "'Liberation Sans', 'DejaVu Sans', sans-serif\" font-size=\"12\" fill=\"#1f2937\" "
                "role=\"img\">\n<title>Speed beside others</title>\n"
                "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                width, height, width, height) +
         text(margin, 30, "font-size=\"18\" font-weight=\"600\"", "Speed beside others: " + title) +
         text(margin, 50, "fill=\"#4b5563\"", subtitle + ". To the right of 1, ours is faster.") + labels +
         frame + dots + "</svg>\n";
}

} // namespace tnk::tool
