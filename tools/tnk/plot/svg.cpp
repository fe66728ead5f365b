#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/format.h"
#include <algorithm>
#include <cmath>

namespace tnk::tool {
namespace {

constexpr const char *ink = "#1f2937", *grid = "#e5e7eb", *frame = "#9ca3af";

std::string escaped(const std::string &text) {
  std::string safe;
  for (const char c : text) {
    if (c == '&')
      safe += "&amp;";
    else if (c == '<')
      safe += "&lt;";
    else if (c == '>')
      safe += "&gt;";
    else if (c == '"')
      safe += "&quot;";
    else
      safe += c;
  }
  return safe;
}

std::string text(double x, double y, const char *attributes, const std::string &content) {
  return format("<text x=\"%.2f\" y=\"%.2f\" %s>%s</text>\n", x, y, attributes, escaped(content).c_str());
}

std::string segment(double x1, double y1, double x2, double y2, const char *attributes) {
  return format("<line x1=\"%.2f\" y1=\"%.2f\" x2=\"%.2f\" y2=\"%.2f\" %s/>\n", x1, y1, x2, y2, attributes);
}

std::string number(double value, int decimals) {
  std::string digits = format("%.*f", decimals, std::fabs(value));
  const bool zero = digits.find_first_not_of("0.") == std::string::npos;
  return (value < 0 && !zero ? "\u2212" : "") + digits;
}

Rgb shade(const Scale &scale, double value) {
  const double last = static_cast<double>(scale.shades.size() - 1);
  const double place = std::clamp((value - scale.low) / (scale.high - scale.low), 0.0, 1.0) * last;
  const auto below = static_cast<std::size_t>(std::min(std::floor(place), last - 1));
  const Rgb &a = scale.shades[below], &b = scale.shades[below + 1];
  const double share = place - static_cast<double>(below);
  const auto blend = [share](std::uint8_t from, std::uint8_t to) {
    return static_cast<std::uint8_t>(std::lround(from + share * (to - from)));
  };
  return {blend(a.red, b.red), blend(a.green, b.green), blend(a.blue, b.blue)};
}

// A picture stretched over a box.
std::string image(const Box &box, std::size_t width, const std::vector<Rgb> &pixels) {
  return format("<image x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" preserveAspectRatio=\"none\" "
                "href=\"data:image/png;base64,",
                box.left, box.top, box.width, box.height) +
         base64(png(width, pixels)) + "\"/>\n";
}

} // namespace

// Anchors of the map "viridis" (van der Walt and Smith, 2015, given to the public domain).
const Shades colour::heights = {{0x44, 0x01, 0x54}, {0x47, 0x2d, 0x7b}, {0x3b, 0x52, 0x8b},
                                {0x2c, 0x72, 0x8e}, {0x21, 0x91, 0x8c}, {0x28, 0xae, 0x80},
                                {0x5e, 0xc9, 0x62}, {0xad, 0xdc, 0x30}, {0xfd, 0xe7, 0x25}};
const Shades colour::deviations = {{0x00, 0x48, 0x80}, {0x00, 0x72, 0xb2}, {0x8f, 0xc4, 0xe4},
                                   {0xff, 0xff, 0xff}, {0xf4, 0xb5, 0x85}, {0xd5, 0x5e, 0x00},
                                   {0x94, 0x3c, 0x00}};

Ticks ticks(double low, double high, int wanted) {
  const double raw = (high - low) / std::max(wanted, 1);
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  const double lead = raw / power;
  const double step = power * (lead < 1.5 ? 1 : lead < 3.5 ? 2 : lead < 7.5 ? 5 : 10);
  Ticks result{{}, std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)))};
  // Ends that are ticks but for rounding count as ticks.
  const double first = std::ceil(low / step - 1e-9), last = std::floor(high / step + 1e-9);
  for (double i = first; i <= last; ++i) result.values.push_back(i * step);
  return result;
}

Figure::Figure(double width, double height, const std::string &title, const std::string &subtitle)
    : width_(width), height_(height), title_(title) {
  body_ += text(28, 38, "font-size=\"21\" font-weight=\"600\"", title);
  body_ += text(28, 60, "font-size=\"13\" fill=\"#4b5563\"", subtitle);
}

std::string Figure::svg() const {
  return format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
                "viewBox=\"0 0 %.0f %.0f\" font-family=\"Helvetica, Arial, 'Liberation Sans', 'DejaVu Sans', "
                "sans-serif\" font-size=\"12\" fill=\"%s\" role=\"img\">\n<title>%s</title>\n"
                "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                width_, height_, width_, height_, ink, escaped(title_).c_str()) +
         body_ + "</svg>\n";
}

void Figure::legend(const Box &box, const Scale &scale, const std::string &label) {
  constexpr std::size_t steps = 256;
  std::vector<Rgb> pixels;
  for (std::size_t i = 0; i < steps; ++i)
    pixels.push_back(shade({scale.shades, 0, 1}, 1 - (static_cast<double>(i) + 0.5) / steps));
  body_ += image(box, 1, pixels);
  body_ +=
      format("<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"none\" stroke=\"%s\"/>\n",
             box.left, box.top, box.width, box.height, frame);
  const double right = box.left + box.width;
  const Ticks marks = ticks(scale.low, scale.high, static_cast<int>(box.height / 40));
  for (const double value : marks.values) {
    const double y = box.top + (scale.high - value) / (scale.high - scale.low) * box.height;
    body_ += segment(right, y, right + 4, y, format("stroke=\"%s\"", frame).c_str());
    body_ += text(right + 8, y + 4, "", number(value, marks.decimals));
  }
  body_ += text(box.left, box.top - 10, "", label);
}

Panel::Panel(Figure &figure, const Box &box, const std::string &title, const Axis &x, const Axis &y)
    : figure_(figure), box_(box), x_(x), y_(y) {
  const int id = ++figure_.panels_;
  clip_ = format("clip-path=\"url(#frame%d)\"", id);
  figure_.body_ +=
      format("<clipPath id=\"frame%d\"><rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\"/>"
             "</clipPath>\n",
             id, box.left, box.top, box.width, box.height);
  draw_axes(title);
}

void Panel::draw_axes(const std::string &title) {
  std::string &out = figure_.body_;
  const double right = box_.left + box_.width, bottom = box_.top + box_.height;
  const std::string thin = format("stroke=\"%s\"", grid), tick = format("stroke=\"%s\"", frame);

  // A label needs some 80 pixels across and 45 down to stand free of the next.
  const Ticks across =
      ticks(std::min(x_.low, x_.high), std::max(x_.low, x_.high), static_cast<int>(box_.width / 80));
  for (std::size_t k = 0; k < x_.names.size(); ++k)
    out += text(px(static_cast<double>(k) + 0.5), bottom + 19, "text-anchor=\"middle\"", x_.names[k]);
  for (const double value : across.values) {
    if (!x_.names.empty()) break;
    out += segment(px(value), box_.top, px(value), bottom, thin.c_str());
    out += segment(px(value), bottom, px(value), bottom + 5, tick.c_str());
    out += text(px(value), bottom + 19, "text-anchor=\"middle\"", number(value, across.decimals));
  }
  const Ticks down =
      ticks(std::min(y_.low, y_.high), std::max(y_.low, y_.high), static_cast<int>(box_.height / 45));
  for (const double value : down.values) {
    out += segment(box_.left, py(value), right, py(value), thin.c_str());
    out += segment(box_.left - 5, py(value), box_.left, py(value), tick.c_str());
    out += text(box_.left - 9, py(value) + 4, "text-anchor=\"end\"", number(value, down.decimals));
  }
  out += format("<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"none\" stroke=\"%s\"/>\n",
                box_.left, box_.top, box_.width, box_.height, frame);

  out += text(box_.left, box_.top - 10, "font-size=\"14\" font-weight=\"600\"", title);
  out += text(box_.left + box_.width / 2, bottom + 38, "text-anchor=\"middle\"", x_.label);
  const double x = box_.left - 48, y = box_.top + box_.height / 2;
  out += text(x, y, format("text-anchor=\"middle\" transform=\"rotate(-90 %.2f %.2f)\"", x, y).c_str(),
              y_.label);
}

std::string Panel::path(const std::vector<Point> &points) const {
  std::string d;
  bool pen_down = false;
  for (const Point &point : points) {
    const double x = px(point.x), y = py(point.y);
    const bool finite = std::isfinite(x) && std::isfinite(y);
    if (finite) d += format("%s%.2f %.2f", pen_down ? "L" : "M", x, y);
    pen_down = finite;
  }
  return d;
}

void Panel::line(const std::vector<Point> &points, const char *colour, double width) {
  figure_.body_ += format("<path %s d=\"%s\" fill=\"none\" stroke=\"%s\" stroke-width=\"%.2f\" "
                          "stroke-linejoin=\"round\"/>\n",
                          clip_.c_str(), path(points).c_str(), colour, width);
}

void Panel::area(const std::vector<Point> &points, double base, const char *colour, double opacity) {
  if (points.empty()) return;
  std::vector<Point> outline;
  outline.push_back({points.front().x, base});
  for (const Point &point : points)
    if (std::isfinite(point.x) && std::isfinite(point.y)) outline.push_back(point);
  outline.push_back({points.back().x, base});
  figure_.body_ += format("<path %s d=\"%sZ\" fill=\"%s\" fill-opacity=\"%.2f\"/>\n", clip_.c_str(),
                          path(outline).c_str(), colour, opacity);
}

void Panel::map(std::size_t across, const std::vector<double> &values, const Scale &scale) {
  // Viewers smooth a picture that they enlarge. A cell of some pixels stays a cell.
  constexpr std::size_t cell = 8;
  const std::size_t up = values.size() / across;
  std::vector<Rgb> pixels(across * up * cell * cell);
  for (std::size_t y = 0; y < up * cell; ++y)
    for (std::size_t x = 0; x < across * cell; ++x)
      pixels[y * across * cell + x] = shade(scale, values[(up - 1 - y / cell) * across + x / cell]);
  figure_.body_ += image(box_, across * cell, pixels);
  figure_.body_ += format("<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"none\" "
                          "stroke=\"%s\"/>\n",
                          box_.left, box_.top, box_.width, box_.height, frame);
}

void Panel::horizontal(double y, const char *colour) {
  figure_.body_ +=
      segment(box_.left, py(y), box_.left + box_.width, py(y), format("stroke=\"%s\"", colour).c_str());
}

void Panel::vertical(double x, const char *colour) {
  figure_.body_ += segment(px(x), box_.top, px(x), box_.top + box_.height,
                           format("stroke=\"%s\" stroke-dasharray=\"4 4\"", colour).c_str());
}

void Panel::marker(const Point &point, const char *colour) {
  figure_.body_ += format("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"4.5\" fill=\"%s\" stroke=\"white\" "
                          "stroke-width=\"1.5\"/>\n",
                          px(point.x), py(point.y), colour);
}

void Panel::note(const Point &point, double dx, double dy, Side side, const char *colour,
                 const std::string &content) {
  const char *anchor = side == Side::left ? "end" : side == Side::right ? "start" : "middle";
  // A white rim keeps the text readable over curves.
  const std::string look = format("text-anchor=\"%s\" font-size=\"13\" font-weight=\"600\" fill=\"%s\" "
                                  "stroke=\"white\" stroke-width=\"4\" stroke-linejoin=\"round\" "
                                  "paint-order=\"stroke\"",
                                  anchor, colour);
  figure_.body_ += text(px(point.x) + dx, py(point.y) - dy, look.c_str(), content);
}

} // namespace tnk::tool
