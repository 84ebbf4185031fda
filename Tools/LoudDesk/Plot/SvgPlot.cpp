// Scales and SVG elements of plots.

#include "SvgPlot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "FigureText.h"
#include "XmlText.h"

namespace louddesk {
namespace {

// Side of the inner drawing in its own units. A tenth of a unit is always less than a pixel.
constexpr double kInnerSide = 1000.0;

// Width of a plot on a screen of 320 pixels, and the largest width of a letter and of the gap
// between labels there. Pixels.
constexpr double kNarrowestWidth = 224.0;
constexpr double kLetterWidth = 7.0;
constexpr double kLabelGap = 2.0;
constexpr int kLabelRowHeight = 14;

constexpr int kHeadMargin = 8;   // above the head room
constexpr int kFootMargin = 28;  // below the plot, with one row of labels

constexpr std::size_t kMaxTimeSteps = 12;
constexpr std::size_t kMaxNarrowTimeSteps = 6;
constexpr double kMinute = 60.0;
constexpr double kHour = 3600.0;

constexpr double kTimeSteps[] = {0.1, 0.2,  0.5,  1.0,   2.0,   5.0,   10.0,  15.0,   20.0,  30.0,
                                 60., 120., 300., 600.0, 900.0, 1200., 1800., 3600.0, 7200.0};

// At most one decimal.
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
  const double unit = seconds < kHour ? 1.0 : kMinute;  // what the colon separates: min:s or h:min
  const long whole = std::lround(value / unit);
  return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

// The first row with room for a label centred on `position` (0 ... 1).
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

std::string AxisLabel(double value) {
  std::string text = FigureText(value, "-");
  while (text.back() == '0')
    text.pop_back();
  if (text.back() == '.')
    text.pop_back();
  return text;
}

std::vector<PlotTick> StepTicks(const PlotScale& scale, double step) {
  std::vector<PlotTick> ticks;
  const auto first = static_cast<int>(std::ceil(scale.low / step - 1e-9));
  for (int i = first; i * step <= scale.high + 1e-9; ++i)
    ticks.push_back({i * step, AxisLabel(i * step)});
  return ticks;
}

std::vector<PlotTick> TimeTicks(double seconds) {
  const double step = TimeStep(seconds);
  const auto steps = static_cast<int>(seconds / step + 1e-9);
  std::vector<PlotTick> ticks;
  for (int i = 0; i <= steps; ++i) {
    ticks.push_back({i * step, TickText(i * step, seconds)});
    ticks.back().isForWideScreens = seconds > step * kMaxNarrowTimeSteps && i % 2 == 1;
  }
  return ticks;
}

const char* TimeUnitOf(double seconds) {
  if (seconds < kMinute)
    return "s";
  return seconds < kHour ? "min:s" : "h:min";
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
  std::vector<double> ends;  // right end of the last label in each row
  for (const PlotTick& tick : ticks) {
    const bool isNarrow = !tick.isForWideScreens;
    const std::size_t row =
        isNarrow ? RowFor(PositionOn(tick.value, mX), tick.label, ends) : std::size_t{0};
    mBody += fmt::format(R"(<g{0}><line class="grid" x1="{1}" x2="{1}" y1="0" y2="100%"/>)"
                         R"(<text class="x" x="{1}" y="100%" dy="{2}">{3}</text></g>)"
                         "\n",
                         isNarrow ? "" : " class=\"wide\"", X(tick.value),
                         18 + kLabelRowHeight * static_cast<int>(row), XmlEscaped(tick.label));
  }
  mLabelRows = std::max(mLabelRows, ends.size());
}

void SvgPlot::AddYTicks(const std::vector<PlotTick>& ticks) {
  for (const PlotTick& tick : ticks) {
    mBody += fmt::format(R"(<line class="grid" x1="0" x2="100%" y1="{0}" y2="{0}"/>)"
                         R"(<text class="y" x="-8" y="{0}" dy="4">{1}</text>)",
                         Y(tick.value), XmlEscaped(tick.label));
    if (!tick.otherLabel.empty())
      mBody += fmt::format(R"(<text class="other" x="100%" dx="8" y="{}" dy="4">{}</text>)",
                           Y(tick.value), XmlEscaped(tick.otherLabel));
    mBody += "\n";
  }
}

void SvgPlot::AddHorizontalBand(double low, double high, const char* style) {
  mBody += fmt::format("<rect class=\"{}\" x=\"0\" width=\"100%\" y=\"{}\" height=\"{}\"/>\n",
                       style, Y(high), Percent(PositionOn(high, mY) - PositionOn(low, mY)));
}

void SvgPlot::AddVerticalBand(double low, double high, const char* style) {
  mBody += fmt::format("<rect class=\"{}\" y=\"0\" height=\"100%\" x=\"{}\" width=\"{}\"/>\n",
                       style, X(low), Percent(PositionOn(high, mX) - PositionOn(low, mX)));
}

void SvgPlot::AddHorizontalLine(double y, const char* style) {
  mBody += fmt::format("<line class=\"{0}\" x1=\"0\" x2=\"100%\" y1=\"{1}\" y2=\"{1}\"/>\n", style,
                       Y(y));
}

void SvgPlot::AddVerticalMark(double x, int rise, const std::string& text, const char* style) {
  const bool isLeft = PositionOn(x, mX) < 0.5;
  mBody += fmt::format(R"(<line class="{0}" x1="{1}" x2="{1}" y1="{2}" y2="100%"/>)"
                       R"(<text class="{3}" x="{1}" dx="{4}" y="{2}" dy="10">{5}</text>)"
                       "\n",
                       style, X(x), -rise, isLeft ? "mark" : "mark end", isLeft ? "5" : "-5",
                       XmlEscaped(text));
}

void SvgPlot::AddDot(double x, double y, const char* style) {
  mBody += fmt::format("<circle class=\"{}\" cx=\"{}\" cy=\"{}\" r=\"4\"/>\n", style, X(x), Y(y));
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
      data += "h0";  // a dot, by the round caps of the stroke
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
  return fmt::format(
      R"(<svg xmlns="http://www.w3.org/2000/svg" class="drawing" role="img")"
      R"( aria-labelledby="{0}-title {0}-description" style="{1}">)"
      "\n<title id=\"{0}-title\">{2}</title>\n<desc id=\"{0}-description\">{3}</desc>\n{4}</svg>\n",
      mId, Margins(), XmlEscaped(mTitle), XmlEscaped(mDescription), mBody);
}

std::string SvgPlot::Margins() const {
  const int rows = static_cast<int>(mLabelRows) - 1;
  return fmt::format("margin-top:{}px;margin-bottom:{}px", mHeadRoom + kHeadMargin,
                     kFootMargin + kLabelRowHeight * rows);
}

void SvgPlot::AddPath(const std::string& data, const char* style) {
  if (!data.empty())
    mBody += fmt::format(
        R"(<svg width="100%" height="100%" viewBox="0 0 1000 1000" preserveAspectRatio="none">)"
        R"(<path vector-effect="non-scaling-stroke" class="{}" d="{}"/></svg>)"
        "\n",
        style, data);
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
