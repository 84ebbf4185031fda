// Plots the loudness histogram.

#include <algorithm>
#include <cmath>

#include "Bin.h"
#include "FigureText.h"
#include "ReportPlots.h"
#include "SvgPlot.h"

namespace louddesk {
namespace {

constexpr std::size_t kCodesPerBar = 25;
constexpr double kBarLu = kBinWidthLu * kCodesPerBar;
constexpr double kBarFilled = 0.9;       // filled share of a bar's width; the rest is a gap
constexpr double kThinnestBandLu = 0.1;  // on either side of a target without tolerance
constexpr double kHistogramLow = -72.0;
constexpr double kHistogramStep = 10.0;
constexpr double kMostBarTicks = 4.0;
constexpr int kMarkHeight = 17;  // pixels for each line of text above the histogram

// The histogram in percent of all readings.
struct Histogram {
  std::vector<SvgPlot::Bar> counted;   // part that counts in the integrated loudness
  std::vector<SvgPlot::Bar> gated;     // part below the relative gate, stacked on top
  double highest = 0.0;                // of all bars, %
  double loudest = kAbsoluteGateLkfs;  // upper edge of the last bar, LKFS
  double belowGate = 0.0;              // readings below the absolute gate, %
};

double Percentage(std::uint64_t count, std::uint64_t total) {
  return 100.0 * static_cast<double>(count) / static_cast<double>(total);
}

// The first loudness code above the gates, as in the engine.
std::size_t FirstCounted(const LoudnessHistogram& readings) {
  const std::optional<double> gate = readings.RelativeGate();
  return gate ? Cbin::GetBinIndx(static_cast<float>(*gate)) : std::size_t{1};
}

void AddBar(Histogram& histogram, double x, double gated, double counted) {
  if (counted > 0.0)
    histogram.counted.push_back({x, 0.0, counted});
  if (gated > 0.0)
    histogram.gated.push_back({x, counted, counted + gated});
  if (counted + gated <= 0.0)
    return;
  histogram.highest = std::max(histogram.highest, counted + gated);
  histogram.loudest = x + kBarLu;
}

Histogram HistogramOf(const LoudnessHistogram& readings) {
  const std::vector<std::uint64_t>& counts = readings.Counts();
  Histogram histogram;
  std::uint64_t total = 0;
  for (const std::uint64_t count : counts)
    total += count;
  if (total == 0)
    return histogram;
  histogram.belowGate = Percentage(counts[0], total);
  const std::size_t firstCounted = FirstCounted(readings);
  for (std::size_t first = 1; first < counts.size(); first += kCodesPerBar) {
    std::uint64_t gated = 0;
    std::uint64_t counted = 0;
    for (std::size_t code = first; code < std::min(first + kCodesPerBar, counts.size()); ++code)
      (code < firstCounted ? gated : counted) += counts[code];
    AddBar(histogram, LoudnessOfCode(first), Percentage(gated, total), Percentage(counted, total));
  }
  return histogram;
}

struct Mark {
  double value;
  std::string text;
  const char* style;
};

// The marks from the highest text to the lowest. Texts are on the inner side of their lines, so in
// this order no line crosses the text of another mark.
std::vector<Mark> MarksOf(const MeasuredProgramme& programme, const PlotScale& scale) {
  std::vector<Mark> marks = {
      {kAbsoluteGateLkfs, "Absolute gate " + AxisLabel(kAbsoluteGateLkfs), "gate"}};
  const auto add = [&marks](const std::optional<double>& value, const char* name,
                            const char* style) {
    if (value)
      marks.push_back({*value, std::string(name) + " " + FigureText(*value), style});
  };
  const auto range = programme.readings.shortTerm.Range();
  const bool hasRange = range && programme.figures.lra;
  add(programme.readings.momentary.RelativeGate(), "Relative gate", "gate");
  if (hasRange)
    add(range->low, "10 % point", "range");
  add(programme.figures.integrated,
      programme.figures.isLoudnessAtLeast ? "Integrated at least" : "Integrated", "integrated");
  if (hasRange)
    add(range->high, "95 % point", "range");
  std::stable_sort(marks.begin(), marks.end(), [&scale](const Mark& a, const Mark& b) {
    return std::abs(PositionOn(a.value, scale) - 0.5) > std::abs(PositionOn(b.value, scale) - 0.5);
  });
  return marks;
}

std::string MarksInWords(const std::vector<Mark>& marks) {
  std::string words;
  for (const Mark& mark : marks)
    words += mark.text + " LKFS. ";
  return words;
}

double BarStep(double highest) {
  for (const double step : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0})
    if (highest <= step * kMostBarTicks)
      return step;
  return 25.0;
}

void AddTarget(SvgPlot& plot, const Criteria& criteria) {
  if (!criteria.target)
    return;
  const double band = std::max(criteria.limits.tolerance.value_or(0.0), kThinnestBandLu);
  plot.AddVerticalBand(*criteria.target - band, *criteria.target + band, "target");
}

std::string HistogramDrawing(const MeasuredProgramme& programme, const Histogram& histogram,
                             const Criteria& criteria, const std::string& id) {
  const double upper = std::max(histogram.loudest, criteria.target.value_or(kAbsoluteGateLkfs) +
                                                       criteria.limits.tolerance.value_or(0.0));
  const PlotScale x = {kHistogramLow, (std::floor(upper / 5.0) + 1.0) * 5.0};
  const double step = BarStep(histogram.highest);
  const PlotScale y = {0.0, std::ceil(histogram.highest / step) * step};
  const std::vector<Mark> marks = MarksOf(programme, x);
  int rise = kMarkHeight * static_cast<int>(marks.size());
  SvgPlot plot(id, "Loudness histogram", MarksInWords(marks), x, y, rise);
  AddTarget(plot, criteria);
  plot.AddXTicks(StepTicks(x, kHistogramStep));
  plot.AddYTicks(StepTicks(y, step));
  plot.AddBars(histogram.gated, kBarLu * kBarFilled, "gated");
  plot.AddBars(histogram.counted, kBarLu * kBarFilled, "counted");
  for (const Mark& mark : marks) {
    plot.AddVerticalMark(mark.value, rise, mark.text, mark.style);
    rise -= kMarkHeight;
  }
  return plot.Text();
}

std::string HistogramExplanation(const MeasuredProgramme& programme, const Histogram& histogram) {
  std::string text =
      "Share of the momentary readings in steps of 0.5 LU. Hollow bars lie below the relative gate "
      "and do not count in the integrated loudness. ";
  if (histogram.belowGate > 0.0)
    text += FigureText(histogram.belowGate) + " % of the readings lie below the absolute gate. ";
  if (programme.figures.lra)
    text +=
        "The loudness range lies between the 10 % and 95 % points of the gated short-term "
        "loudness.";
  else
    text += "There is no loudness range.";
  return text;
}

}  // namespace

std::string HistogramFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                            const std::string& id) {
  const Histogram histogram = HistogramOf(programme.readings.momentary);
  if (histogram.highest <= 0.0)
    return "<p>No reading lies above the absolute gate of " + AxisLabel(kAbsoluteGateLkfs) +
           " LKFS, so there is no histogram.</p>\n";
  std::vector<LegendEntry> legend = {{"sample-counted", "Counts in the integrated loudness"},
                                     {"sample-gated", "Below the relative gate"}};
  AddTargetEntry(legend, criteria);
  return FigureElement({"Loudness histogram", "% of readings", legend,
                        HistogramDrawing(programme, histogram, criteria, id), "Loudness, LKFS",
                        HistogramExplanation(programme, histogram)});
}

}  // namespace louddesk
