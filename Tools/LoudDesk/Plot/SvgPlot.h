// The plain parts of which a plot is made: scales with round ticks, and the frame of axes and
// curves. Stateless but for a plot under construction.
//
// A plot fills the width that it is given: curves stand in an inner drawing that is stretched,
// texts and lines in percent of the outer one, so that letters and strokes keep their size on any
// screen.

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

/// Where a value lies on a scale, 0 ... 1; values off the scale lie at its end.
double PositionOn(double value, const PlotScale& scale);

/// A value with its mark on an axis.
struct PlotTick {
  double value = 0.0;
  std::string label;
  std::string otherLabel = {};  // at the far end of its grid line, where there is room
  bool isForWideScreens = false;
};

/// A label of an axis: no decimals where none are needed, and two at most.
std::string AxisLabel(double value);

/// The multiples of a step that lie on a scale.
std::vector<PlotTick> StepTicks(const PlotScale& scale, double step);

/// At most 13 round points of time from 0 on, each labelled in the unit of `TimeUnitOf`. Where
/// there are more than 7, every second one is for wide screens only. REQUIRES: seconds > 0.
std::vector<PlotTick> TimeTicks(double seconds);

/// How the labels of `TimeTicks` read: "s", "min:s" or "h:min".
const char* TimeUnitOf(double seconds);

/// A plot under construction. Later parts are drawn over earlier ones.
class SvgPlot {
 public:
  /// An empty plot; `id` is unique on the page, `title` and `description` are for those who do not
  /// see it. `headRoom` is kept free above the plot, in pixels.
  SvgPlot(std::string id, std::string title, std::string description, PlotScale x, PlotScale y,
          int headRoom = 0);

  /// Grid lines with labels below the plot, in further rows where they would touch on the narrowest
  /// screen.
  void AddXTicks(const std::vector<PlotTick>& ticks);

  /// Grid lines with labels on the left, and on the right where wanted.
  void AddYTicks(const std::vector<PlotTick>& ticks);

  /// A band over the whole width from `low` to `high`.
  void AddHorizontalBand(double low, double high, const char* style);

  /// A band over the whole height from `low` to `high`.
  void AddVerticalBand(double low, double high, const char* style);

  /// A line over the whole width.
  void AddHorizontalLine(double y, const char* style);

  /// A line over the whole height and up into the head room, with a text beside its upper end,
  /// `rise` pixels over the plot.
  void AddVerticalMark(double x, int rise, const std::string& text, const char* style);

  /// A dot.
  void AddDot(double x, double y, const char* style);

  /// A curve through the lowest and highest reading of each column.
  void AddCurve(const std::vector<EnvelopeRun>& runs, const char* style);

  /// The area between the lowest and the highest reading of each column.
  void AddRibbon(const std::vector<EnvelopeRun>& runs, const char* style);

  /// The area from the foot of the plot to the highest reading of each column.
  void AddArea(const std::vector<EnvelopeRun>& runs, const char* style);

  /// Bars of width `width` that begin at `x` and reach from `low` to `high`.
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
  std::string Margins() const;                  // for a style
  std::string X(double value) const;            // percent
  std::string Y(double value) const;            // percent
  std::string Point(double x, double y) const;  // in the inner drawing

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
