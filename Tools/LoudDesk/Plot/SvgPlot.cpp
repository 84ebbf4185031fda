// Scales and the drawing of plots.

#include "SvgPlot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "XmlText.h"

namespace louddesk {
namespace {

// Side of the inner drawing in its own units; a tenth of one is less than a pixel anywhere.
constexpr double kInnerSide = 1000.0;

// Width of a plot on a screen of 320 pixels, and the most that a letter and a gap of its labels
// take there.
constexpr double kNarrowestWidth = 224.0;
constexpr double kLetterWidth = 7.0;
constexpr double kLabelGap = 3.0;
constexpr int kLabelRowHeight = 14;

constexpr int kHeadMargin = 8;   // over the head room
constexpr int kFootMargin = 28;  // with one row of labels

constexpr std::size_t kMaxTimeSteps = 6;
constexpr double kMinute = 60.0;
constexpr double kHour = 3600.0;

constexpr double kTimeSteps[] = {0.1, 0.2,  0.5,  1.0,   2.0,   5.0,   10.0,  15.0,   20.0,  30.0,
                                 60., 120., 300., 600.0, 900.0, 1200., 1800., 3600.0, 7200.0};

// One decimal, none when it is 0.
std::string Short(double value) {
  return fmt::format("{:g}", std::round(value * 10.0) / 10.0 + 0.0);
}

std::string Percent(double position) {
  return fmt::format("{:.2f}%", position * 100.0);
}

double TimeStep(double seconds) {
  for (const double step : kTimeSteps)
    if (seconds <= step * kMaxTimeSteps)
      return step;
  return kHour * std::ceil(seconds / kHour / kMaxTimeSteps);
}

std::string TickText(double value, double seconds) {
  if (seconds < kMinute)
    return Short(value);
  const double unit = seconds < kHour ? 1.0 : kMinute;  // s or min behind the colon
  const long whole = std::lround(value / unit);
  return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

std::string Attribute(const char* name, const std::string& value) {
  return std::string(" ") + name + "=\"" + value + "\"";
}

// The first row with room for a label in the middle of which `position` lies, 0 ... 1.
std::size_t RowFor(double position, const std::string& label, std::vector<double>& ends) {
  const double middle = position * kNarrowestWidth;
  const double half = kLetterWidth * static_cast<double>(label.size()) / 2.0;
  const auto row = std::find_if(ends.begin(), ends.end(),
                                [&](double end) { return end + kLabelGap <= middle - half; });
  const auto index = static_cast<std::size_t>(row - ends.begin());
  if (row == ends.end())
    ends.push_back(0.0);
  ends[index] = middle + half;
  return index;
}

}  // namespace

double PositionOn(double value, const PlotScale& scale) {
  return std::clamp((value - scale.low) / (scale.high - scale.low), 0.0, 1.0);
}

std::vector<PlotTick> TimeTicks(double seconds) {
  const double step = TimeStep(seconds);
  const auto steps = static_cast<int>(seconds / step + 1e-9);
  std::vector<PlotTick> ticks;
  for (int i = 0; i <= steps; ++i)
    ticks.push_back({i * step, TickText(i * step, seconds)});
  return ticks;
}

const char* TimeUnitOf(double seconds) {
  if (seconds < kMinute)
    return "s";
  return seconds < kHour ? "min:s" : "h:min";
}

std::string TimeText(double seconds) {
  const long tenths = std::lround(seconds * 10.0);
  const long minutes = tenths / 600;
  if (minutes == 0)
    return fmt::format("{}.{} s", tenths / 10, tenths % 10);
  const std::string hours = minutes < 60 ? "" : fmt::format("{}:", minutes / 60);
  return hours + fmt::format(hours.empty() ? "{}:{:02}.{}" : "{:02}:{:02}.{}", minutes % 60,
                             tenths / 10 % 60, tenths % 10);
}

SvgPlot::SvgPlot(std::string id, std::string title, std::string description, PlotScale x,
                 PlotScale y, int headRoom)
    : mId(std::move(id)),
      mTitle(std::move(title)),
      mDescription(std::move(description)),
      mX(x),
      mY(y),
      mHeadRoom(headRoom) {}

void SvgPlot::AddXTicks(const std::vector<PlotTick>& ticks) {
  std::vector<double> ends;  // of the last label in each row
  for (const PlotTick& tick : ticks) {
    const std::string x = X(tick.value);
    const std::size_t row = RowFor(PositionOn(tick.value, mX), tick.label, ends);
    mBody += "<line class=\"grid\"" + Attribute("x1", x) + Attribute("x2", x) +
             " y1=\"0\" y2=\"100%\"/><text class=\"x\"" + Attribute("x", x) + " y=\"100%\"" +
             Attribute("dy", std::to_string(18 + kLabelRowHeight * static_cast<int>(row))) + ">" +
             XmlEscaped(tick.label) + "</text>\n";
  }
  mLabelRows = std::max(mLabelRows, ends.size());
}

void SvgPlot::AddYTicks(const std::vector<PlotTick>& ticks) {
  for (const PlotTick& tick : ticks) {
    const std::string y = Y(tick.value);
    mBody += "<line class=\"grid\" x1=\"0\" x2=\"100%\"" + Attribute("y1", y) + Attribute("y2", y) +
             "/><text class=\"y\" x=\"-8\"" + Attribute("y", y) + " dy=\"4\">" +
             XmlEscaped(tick.label) + "</text>";
    if (!tick.otherLabel.empty())
      mBody += "<text class=\"other\" x=\"100%\" dx=\"8\"" + Attribute("y", y) + " dy=\"4\">" +
               XmlEscaped(tick.otherLabel) + "</text>";
    mBody += "\n";
  }
}

void SvgPlot::AddHorizontalBand(double low, double high, const char* style) {
  mBody += "<rect" + Attribute("class", style) + " x=\"0\" width=\"100%\"" +
           Attribute("y", Y(high)) +
           Attribute("height", Percent(PositionOn(high, mY) - PositionOn(low, mY))) + "/>\n";
}

void SvgPlot::AddVerticalBand(double low, double high, const char* style) {
  mBody += "<rect" + Attribute("class", style) + " y=\"0\" height=\"100%\"" +
           Attribute("x", X(low)) +
           Attribute("width", Percent(PositionOn(high, mX) - PositionOn(low, mX))) + "/>\n";
}

void SvgPlot::AddHorizontalLine(double y, const char* style) {
  mBody += "<line" + Attribute("class", style) + " x1=\"0\" x2=\"100%\"" + Attribute("y1", Y(y)) +
           Attribute("y2", Y(y)) + "/>\n";
}

void SvgPlot::AddVerticalMark(double x, int rise, const std::string& text, const char* style) {
  const bool isLeft = PositionOn(x, mX) < 0.5;
  const std::string top = std::to_string(-rise);
  mBody += "<line" + Attribute("class", style) + Attribute("x1", X(x)) + Attribute("x2", X(x)) +
           Attribute("y1", top) + " y2=\"100%\"/><text" +
           Attribute("class", isLeft ? "mark" : "mark end") + Attribute("x", X(x)) +
           Attribute("dx", isLeft ? "5" : "-5") + Attribute("y", top) + " dy=\"10\">" +
           XmlEscaped(text) + "</text>\n";
}

void SvgPlot::AddDot(double x, double y, const char* style) {
  mBody += "<circle" + Attribute("class", style) + Attribute("cx", X(x)) + Attribute("cy", Y(y)) +
           " r=\"4\"/>\n";
}

void SvgPlot::AddCurve(const std::vector<EnvelopeRun>& runs, const char* style) {
  std::string data;
  for (const EnvelopeRun& run : runs) {
    const char* command = "M";
    for (const EnvelopeColumn& column : run) {
      data += command + Point(column.seconds, column.low);
      if (column.high > column.low)
        data += "L" + Point(column.seconds, column.high);
      command = "L";
    }
    if (run.size() == 1)
      data += "h0";  // a dot, by the round ends of the stroke
  }
  AddPath(data, style);
}

void SvgPlot::AddRibbon(const std::vector<EnvelopeRun>& runs, const char* style) {
  std::string data;
  for (const EnvelopeRun& run : runs) {
    const char* command = "M";
    for (const EnvelopeColumn& column : run) {
      data += command + Point(column.seconds, column.high);
      command = "L";
    }
    for (auto column = run.rbegin(); column != run.rend(); ++column)
      data += "L" + Point(column->seconds, column->low);
    data += "z";
  }
  AddPath(data, style);
}

void SvgPlot::AddArea(const std::vector<EnvelopeRun>& runs, const char* style) {
  std::string data;
  for (const EnvelopeRun& run : runs) {
    data += "M" + Point(run.front().seconds, mY.low);
    for (const EnvelopeColumn& column : run)
      data += "L" + Point(column.seconds, column.high);
    data += "L" + Point(run.back().seconds, mY.low) + "z";
  }
  AddPath(data, style);
}

void SvgPlot::AddBars(const std::vector<Bar>& bars, double width, const char* style) {
  std::string data;
  for (const Bar& bar : bars)
    data += "M" + Point(bar.x, bar.low) + "L" + Point(bar.x, bar.high) + "L" +
            Point(bar.x + width, bar.high) + "L" + Point(bar.x + width, bar.low) + "z";
  AddPath(data, style);
}

std::string SvgPlot::Text() const {
  const std::string title = mId + "-title";
  const std::string description = mId + "-description";
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"drawing\" role=\"img\"" +
         Attribute("aria-labelledby", title + " " + description) + Attribute("style", Margins()) +
         ">\n<title" + Attribute("id", title) + ">" + XmlEscaped(mTitle) + "</title>\n<desc" +
         Attribute("id", description) + ">" + XmlEscaped(mDescription) + "</desc>\n" + mBody +
         "</svg>\n";
}

std::string SvgPlot::Margins() const {
  const int rows = static_cast<int>(mLabelRows) - 1;
  return "margin-top:" + std::to_string(mHeadRoom + kHeadMargin) +
         "px;margin-bottom:" + std::to_string(kFootMargin + kLabelRowHeight * rows) + "px";
}

void SvgPlot::AddPath(const std::string& data, const char* style) {
  if (data.empty())
    return;
  mBody +=
      "<svg width=\"100%\" height=\"100%\" viewBox=\"0 0 1000 1000\""
      " preserveAspectRatio=\"none\"><path vector-effect=\"non-scaling-stroke\"" +
      Attribute("class", style) + Attribute("d", data) + "/></svg>\n";
}

std::string SvgPlot::X(double value) const {
  return Percent(PositionOn(value, mX));
}

std::string SvgPlot::Y(double value) const {
  return Percent(1.0 - PositionOn(value, mY));
}

std::string SvgPlot::Point(double x, double y) const {
  return Short(PositionOn(x, mX) * kInnerSide) + " " +
         Short((1.0 - PositionOn(y, mY)) * kInnerSide);
}

}  // namespace louddesk
