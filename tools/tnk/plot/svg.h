// Pictures of curves and maps as SVG 1.1: a figure with a title, and panels with axes in it.
#pragma once

#include "tools/tnk/plot/png.h"
#include <string>
#include <vector>

namespace tnk::tool {

struct Point {
  double x, y;
};

struct Axis {
  double low, high; // the values at its left or lower end and at the other one, in either order
  std::string label;
  // Across, in place of numbers: names of the stretches [0, 1], [1, 2] and so on.
  std::vector<std::string> names = {};
};

// Where a panel's frame stands in its figure, in pixels from the upper left corner. Tick labels and the axes'
// labels stand outside of it, to the left and below, the panel's title above.
struct Box {
  double left, top, width, height;
};

// Colours that also readers with colour-blindness tell apart (Okabe and Ito, 2008).
namespace colour {
constexpr const char *blue = "#0072b2", *vermilion = "#d55e00", *green = "#009e73", *grey = "#6b7280";
} // namespace colour

// Colours for the values of a map, evenly spaced from its low end to its high one and blended between.
using Shades = std::vector<Rgb>;
namespace colour {
extern const Shades heights;    // from dark to bright, so that it also reads in grey
extern const Shades deviations; // blue below, white at the middle, vermilion above
} // namespace colour

// A map's colours, and the values at the ends of them.
struct Scale {
  const Shades &shades;
  double low, high;
};

class Figure {
public:
  Figure(double width, double height, const std::string &title, const std::string &subtitle);
  std::string svg() const; // the whole document
  // The legend of a map: an upright bar with labels to its right, and what it shows above.
  void legend(const Box &box, const Scale &scale, const std::string &label);

private:
  friend class Panel;
  double width_, height_;
  int panels_ = 0;
  std::string title_, body_;
};

// What is drawn later covers what was drawn before. Curves are cut at the frame; a point that is not finite
// breaks its curve.
class Panel {
public:
  enum class Side { left, middle, right }; // of its point on which a note stands

  Panel(Figure &figure, const Box &box, const std::string &title, const Axis &x, const Axis &y);

  void line(const std::vector<Point> &points, const char *colour, double width);
  void area(const std::vector<Point> &points, double base, const char *colour, double opacity);
  // Fills the panel with across * up cells, given from left to right and then upwards.
  void map(std::size_t across, const std::vector<double> &values, const Scale &scale);
  void horizontal(double y, const char *colour); // a thin line over the whole width
  void vertical(double x, const char *colour);
  void marker(const Point &point, const char *colour);
  // Text `dx`, `dy` pixels from a point, dy upwards.
  void note(const Point &point, double dx, double dy, Side side, const char *colour, const std::string &text);

private:
  double px(double x) const { return box_.left + (x - x_.low) / (x_.high - x_.low) * box_.width; }
  double py(double y) const { return box_.top + (y_.high - y) / (y_.high - y_.low) * box_.height; }
  std::string path(const std::vector<Point> &points) const;
  void draw_axes(const std::string &title);

  Figure &figure_;
  Box box_;
  Axis x_, y_;
  std::string clip_; // the attribute that cuts at the frame
};

// Round values in [low, high], at steps of 1, 2 or 5 times a power of ten (Heckbert, "Nice numbers for graph
// labels", Graphics Gems, 1990), as near to `wanted` in number as such steps allow.
struct Ticks {
  std::vector<double> values;
  int decimals; // that labels need to tell them apart
};
Ticks ticks(double low, double high, int wanted);

} // namespace tnk::tool
