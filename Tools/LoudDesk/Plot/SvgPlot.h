// The parts of a plot: scales with round ticks, grid lines, curves and marks. Stateless except for
// `SvgPlot`, a plot under construction.
//
// A plot fills the available width. Curves are in an inner drawing that is stretched. Texts and
// lines are placed in percent of the outer drawing, so that letters and strokes keep their size on
// any screen.

#pragma once

#include <string>
#include <vector>

#include "Envelope.h"

namespace louddesk {

/// A range of values along an axis. REQUIRES: low < high.
struct PlotScale {
  double low = 0.0;
  double high = 1.0;
};

/// Relative position of a value on a scale, 0 ... 1. Values off the scale are at its ends.
double PositionOn(double value, const PlotScale& scale);

/// A labelled value on an axis.
struct PlotTick {
  double value = 0.0;
  std::string label;
  std::string otherLabel = {};  // at the right end of the grid line, where there is room
  bool isForWideScreens = false;
};

/// A label for a value: at most two decimals, without trailing zeros.
std::string AxisLabel(double value);

/// Ticks at the multiples of `step` on a scale.
std::vector<PlotTick> StepTicks(const PlotScale& scale, double step);

/// At most 13 ticks at round times from 0 on, labelled in the unit of `TimeUnitOf`. If `seconds` is
/// more than six steps, every second tick is for wide screens only. REQUIRES: seconds > 0.
std::vector<PlotTick> TimeTicks(double seconds);

/// The format of the labels of `TimeTicks`: "s", "min:s" or "h:min".
const char* TimeUnitOf(double seconds);

/// A plot under construction. Later parts are drawn over earlier ones.
class SvgPlot {
 public:
  /// An empty plot. `id` is unique on the page; `title` and `description` are for screen readers.
  /// `headRoom` pixels above the plot stay free.
  SvgPlot(std::string id, std::string title, std::string description, PlotScale x, PlotScale y,
          int headRoom = 0);

  /// Adds vertical grid lines with labels below the plot. Labels that would touch on the narrowest
  /// screen move to further rows.
  void AddXTicks(const std::vector<PlotTick>& ticks);

  /// Adds horizontal grid lines with labels on the left and, if given, on the right.
  void AddYTicks(const std::vector<PlotTick>& ticks);

  /// Adds a band of the full width between two values.
  void AddHorizontalBand(double low, double high, const char* style);

  /// Adds a band of the full height between two values.
  void AddVerticalBand(double low, double high, const char* style);

  /// Adds a line of the full width.
  void AddHorizontalLine(double y, const char* style);

  /// Adds a line of the full height that reaches `rise` pixels above the plot, with a text beside
  /// its upper end.
  void AddVerticalMark(double x, int rise, const std::string& text, const char* style);

  /// Adds a dot.
  void AddDot(double x, double y, const char* style);

  /// Adds a curve through the lowest and highest reading of each column.
  void AddCurve(const std::vector<EnvelopeRun>& runs, const char* style);

  /// Adds the area between the lowest and highest reading of each column.
  void AddRibbon(const std::vector<EnvelopeRun>& runs, const char* style);

  /// Adds the area from the bottom of the plot to the highest reading of each column.
  void AddArea(const std::vector<EnvelopeRun>& runs, const char* style);

  /// A bar from `x` to `x` plus the common width, and from `low` to `high`.
  struct Bar {
    double x = 0.0;
    double low = 0.0;
    double high = 0.0;
  };
  void AddBars(const std::vector<Bar>& bars, double width, const char* style);

  /// The plot as an SVG element.
  std::string Text() const;

 private:
  void AddPath(const std::string& data, const char* style);
  std::string Margins() const;                  // as a style attribute
  std::string X(double value) const;            // in percent
  std::string Y(double value) const;            // in percent
  std::string Point(double x, double y) const;  // in units of the inner drawing

  std::string mId;
  std::string mTitle;
  std::string mDescription;
  PlotScale mX;
  PlotScale mY;
  int mHeadRoom;
  std::size_t mLabelRows = 1;  // below the plot
  std::string mBody;
};

}  // namespace louddesk
