// What stands around a plot on a page: heading, legend, axis and explanation. Stateless.

#pragma once

#include <string>
#include <vector>

namespace louddesk {

/// What a style in a plot means.
struct LegendEntry {
  enum class Sample { kLine, kDot };

  const char* style;  // of the sample
  std::string text;
  Sample sample = Sample::kLine;
};

/// A plot and its texts. All but the drawing is plain text.
struct PlotFigure {
  std::string heading;
  std::string unit;  // beside the heading
  std::vector<LegendEntry> legend;
  std::string drawing;  // an SVG element
  std::string axis;     // what runs along it from left to right
  std::string explanation;
};

/// The figure as an element.
std::string FigureElement(const PlotFigure& figure);

}  // namespace louddesk
