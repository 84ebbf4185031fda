// The surroundings of a plot on a page: heading, legend, axis and explanation. Stateless.

#pragma once

#include <string>
#include <vector>

namespace louddesk {

/// Explains one style of a plot.
struct LegendEntry {
  enum class Sample { kLine, kDot };

  const char* style;  // CSS class of the sample
  std::string text;
  Sample sample = Sample::kLine;
};

/// A plot and its texts. All members but `drawing` are plain text.
struct PlotFigure {
  std::string heading;
  std::string unit;  // shown beside the heading
  std::vector<LegendEntry> legend;
  std::string drawing;  // an SVG element
  std::string axis;     // caption of the horizontal axis
  std::string explanation;
};

/// The figure as an HTML element.
std::string FigureElement(const PlotFigure& figure);

}  // namespace louddesk
