// Loudness, true peak and histogram as figures of a page.

#include "ReportPlots.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "Bin.h"
#include "FigureText.h"
#include "PlotFigure.h"
#include "SvgPlot.h"

namespace louddesk {
namespace {

// Columns of a curve: about one for each pixel of a wide screen.
constexpr std::size_t kColumns = 900;

// EBU Tech 3341: the scales around the target, and the distance of their marks here.
constexpr double kNarrowBelowLu = 18.0;
constexpr double kNarrowAboveLu = 9.0;
constexpr double kWideBelowLu = 36.0;
constexpr double kWideAboveLu = 18.0;
constexpr double kLuStep = 6.0;

// Scale of the true peak.
constexpr double kPeakStep = 10.0;
constexpr double kLowestPeakDbtp = -40.0;
constexpr double kHighestPeakDbtp = 3.0;

// Scale of the histogram.
constexpr std::size_t kCodesPerBar = 25;
constexpr double kBarLu = kBinWidthLu * kCodesPerBar;
constexpr double kBarFilled = 0.9;       // share of a bar's place; the rest parts it from the next
constexpr double kThinnestBandLu = 0.1;  // on both sides of a target without tolerance
constexpr double kHistogramLow = -72.0;
constexpr double kHistogramStep = 10.0;
constexpr double kMostBarTicks = 4.0;
constexpr int kMarkHeight = 17;  // pixels for each line of text over the histogram

constexpr char kAtLeast[] = "at least ";

std::string Text(double figure) {
  return FigureText(figure, "-");
}

LegendEntry TargetEntry(const LoudnessLimits& limits) {
  return {"aim band",
          "Target " + Text(limits.target) + " LKFS \xC2\xB1" + Text(limits.tolerance) + " LU"};
}

// One figure of all points.
std::vector<EnvelopeRun> CurveOf(const MeasuredSeries& series,
                                 std::optional<float> SeriesPoint::*figure) {
  const auto pointAt = [&](std::size_t i) {
    return PlotPoint{series.points[i].seconds, series.points[i].*figure};
  };
  return EnvelopeOf(series.points.size(), pointAt, kColumns);
}

double EndOf(const MeasuredSeries& series) {
  return series.points.back().seconds;
}

std::string TimeAxis(const MeasuredSeries& series) {
  return std::string("Time, ") + TimeUnitOf(EndOf(series));
}

// The narrow scale is for programmes that it shows whole, as far as their range counts.
bool FitsNarrowScale(const MeasuredSeries& series, const LoudnessLimits& limits) {
  const double loudest = series.figures.maxMomentary.value_or(limits.target);
  const double quietest = std::min(series.distribution.lraLow.value_or(limits.target),
                                   series.figures.integrated.value_or(limits.target));
  return loudest <= limits.target + kNarrowAboveLu && quietest >= limits.target - kNarrowBelowLu &&
         limits.tolerance <= kNarrowAboveLu;
}

// Upwards the wide scale grows as far as the loudest reading needs.
PlotScale LoudnessScale(const MeasuredSeries& series, const LoudnessLimits& limits) {
  if (FitsNarrowScale(series, limits))
    return {limits.target - kNarrowBelowLu, limits.target + kNarrowAboveLu};
  const double above = series.figures.maxMomentary.value_or(limits.target) - limits.target;
  return {limits.target - kWideBelowLu,
          limits.target + std::max(kWideAboveLu, std::ceil(above / kLuStep) * kLuStep)};
}

std::vector<PlotTick> LoudnessTicks(const PlotScale& scale, double target) {
  std::vector<PlotTick> ticks;
  const auto first = static_cast<int>(std::ceil((scale.low - target) / kLuStep - 1e-9));
  for (int i = first; target + i * kLuStep <= scale.high + 1e-9; ++i) {
    const double lu = i * kLuStep;
    ticks.push_back(
        {target + lu, AxisLabel(target + lu), (lu > 0 ? "+" : "") + AxisLabel(lu) + " LU"});
  }
  return ticks;
}

std::string InWords(const char* name, const std::optional<double>& figure, bool isAtLeast) {
  return figure ? std::string(name) + " " + (isAtLeast ? kAtLeast : "") + Text(*figure) + " LKFS. "
                : std::string(name) + ": no reading. ";
}

std::string LoudnessInWords(const MeasuredSeries& series, const LoudnessLimits& limits) {
  const Figures& figures = series.figures;
  return InWords("Integrated loudness", figures.integrated, figures.isLoudnessAtLeast) +
         InWords("Maximum momentary loudness", figures.maxMomentary, figures.isMomentaryAtLeast) +
         InWords("Maximum short-term loudness", figures.maxShortTerm, figures.isLoudnessAtLeast) +
         "Target " + Text(limits.target) + " LKFS, tolerance " + Text(limits.tolerance) +
         " LU, over " + TimeText(EndOf(series)) + ".";
}

PlotScale PeakScale(const MeasuredSeries& series, const LoudnessLimits& limits) {
  const double highest = series.figures.maxTruePeak.value_or(limits.maxTruePeak);
  const double lowestShown = std::min(highest, limits.maxTruePeak) - kPeakStep;
  return {std::min(kLowestPeakDbtp, std::floor(lowestShown / kPeakStep) * kPeakStep),
          std::max({kHighestPeakDbtp, std::ceil(highest) + 1.0, limits.maxTruePeak + 2.0})};
}

std::vector<PlotTick> StepTicks(const PlotScale& scale, double step) {
  std::vector<PlotTick> ticks;
  const auto first = static_cast<int>(std::ceil(scale.low / step - 1e-9));
  for (int i = first; i * step <= scale.high + 1e-9; ++i)
    ticks.push_back({i * step, AxisLabel(i * step)});
  return ticks;
}

// The first block with the highest peak; nothing where there is none.
const SeriesPoint* HighestPeak(const std::vector<SeriesPoint>& points) {
  const SeriesPoint* highest = nullptr;
  for (const SeriesPoint& point : points)
    if (point.truePeak && (highest == nullptr || *point.truePeak > *highest->truePeak))
      highest = &point;
  return highest;
}

std::string HighestPeakText(const SeriesPoint* highest, bool isAtLeast) {
  if (highest == nullptr)
    return "no peak above digital silence";
  return std::string("highest: ") + (isAtLeast ? kAtLeast : "") + Text(*highest->truePeak) +
         " dBTP at " + TimeText(highest->seconds);
}

// The histogram, counted in percent of all readings.
struct Histogram {
  std::vector<SvgPlot::Bar> counted;   // in the integrated loudness
  std::vector<SvgPlot::Bar> gated;     // left out by the relative gate, on top of those
  double highest = 0.0;                // of all bars, %
  double loudest = kAbsoluteGateLkfs;  // upper edge of the last bar, LKFS
  double belowGate = 0.0;              // readings below the absolute gate, %
};

double Percentage(std::uint64_t count, std::uint64_t total) {
  return 100.0 * static_cast<double>(count) / static_cast<double>(total);
}

// The first code that counts, as the engine finds it.
std::size_t FirstCounted(const LoudnessDistribution& distribution) {
  if (!distribution.relativeGate)
    return 1;
  return Cbin::GetBinIndx(static_cast<float>(*distribution.relativeGate));
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

Histogram HistogramOf(const LoudnessDistribution& distribution) {
  const auto& readings = distribution.readings;
  Histogram histogram;
  std::uint64_t total = 0;
  for (const std::uint64_t count : readings)
    total += count;
  if (total == 0)
    return histogram;
  histogram.belowGate = Percentage(readings[0], total);
  const std::size_t firstCounted = FirstCounted(distribution);
  for (std::size_t first = 1; first < readings.size(); first += kCodesPerBar) {
    std::uint64_t gated = 0;
    std::uint64_t counted = 0;
    for (std::size_t code = first; code < std::min(first + kCodesPerBar, readings.size()); ++code)
      (code < firstCounted ? gated : counted) += readings[code];
    AddBar(histogram, LoudnessOfCode(first), Percentage(gated, total), Percentage(counted, total));
  }
  return histogram;
}

struct Mark {
  double value;
  std::string text;
  const char* style;
};

// From the highest text down, so that no line crosses the text of another mark: texts stand on the
// inner side of their lines.
std::vector<Mark> MarksOf(const MeasuredSeries& series, const PlotScale& scale) {
  const LoudnessDistribution& distribution = series.distribution;
  std::vector<Mark> marks = {
      {kAbsoluteGateLkfs, "Absolute gate " + AxisLabel(kAbsoluteGateLkfs), "gate"}};
  const auto add = [&marks](const std::optional<double>& value, const char* name,
                            const char* style) {
    if (value)
      marks.push_back({*value, std::string(name) + " " + Text(*value), style});
  };
  add(distribution.relativeGate, "Relative gate", "gate");
  add(distribution.lraLow, "10 % point", "range");
  add(series.figures.integrated,
      series.figures.isLoudnessAtLeast ? "Integrated at least" : "Integrated", "integrated");
  add(distribution.lraHigh, "95 % point", "range");
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

std::string HistogramDrawing(const MeasuredSeries& series, const Histogram& histogram,
                             const LoudnessLimits& limits, const std::string& id) {
  const double upper = std::max(histogram.loudest, limits.target + limits.tolerance);
  const PlotScale x = {kHistogramLow, (std::floor(upper / 5.0) + 1.0) * 5.0};
  const double step = BarStep(histogram.highest);
  const PlotScale y = {0.0, std::ceil(histogram.highest / step) * step};
  const std::vector<Mark> marks = MarksOf(series, x);
  int rise = kMarkHeight * static_cast<int>(marks.size());
  SvgPlot plot(id, "Loudness histogram", MarksInWords(marks), x, y, rise);
  const double band = std::max(limits.tolerance, kThinnestBandLu);
  plot.AddVerticalBand(limits.target - band, limits.target + band, "target");
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

std::string HistogramExplanation(const MeasuredSeries& series, const Histogram& histogram) {
  std::string text =
      "Share of the momentary readings in steps of 0.5 LU. Hollow bars lie below the relative gate "
      "and do not count in the integrated loudness. ";
  if (histogram.belowGate > 0.0)
    text += Text(histogram.belowGate) + " % of the readings lie below the absolute gate. ";
  if (series.distribution.lraLow)
    text +=
        "The loudness range lies between the 10 % and 95 % points of the gated short-term "
        "loudness.";
  else
    text += "There is no loudness range.";
  return text;
}

}  // namespace

std::string LoudnessFigure(const MeasuredSeries& series, const LoudnessLimits& limits,
                           const std::string& id) {
  const PlotScale scale = LoudnessScale(series, limits);
  SvgPlot plot(id, "Loudness over time", LoudnessInWords(series, limits), {0.0, EndOf(series)},
               scale);
  plot.AddHorizontalBand(limits.target - limits.tolerance, limits.target + limits.tolerance,
                         "target");
  plot.AddXTicks(TimeTicks(EndOf(series)));
  plot.AddYTicks(LoudnessTicks(scale, limits.target));
  plot.AddRibbon(CurveOf(series, &SeriesPoint::momentary), "momentary");
  plot.AddCurve(CurveOf(series, &SeriesPoint::shortTerm), "short");
  plot.AddHorizontalLine(limits.target, "aim");
  plot.AddCurve(CurveOf(series, &SeriesPoint::integrated), "integrated");
  const std::vector<LegendEntry> legend = {{"momentary band", "Momentary, 400 ms"},
                                           {"short", "Short-term, 3 s"},
                                           {"integrated", "Integrated so far"},
                                           TargetEntry(limits)};
  return FigureElement({"Loudness over time", "LKFS", legend, plot.Text(), TimeAxis(series),
                        "Scale from " + AxisLabel(scale.low) + " to " + AxisLabel(scale.high) +
                            " LKFS; what lies beyond is drawn at its edge. 0 LU is the target."});
}

std::string TruePeakFigure(const MeasuredSeries& series, const LoudnessLimits& limits,
                           const std::string& id) {
  const PlotScale scale = PeakScale(series, limits);
  const SeriesPoint* highest = HighestPeak(series.points);
  const std::string highestText = HighestPeakText(highest, series.figures.isPeakAtLeast);
  const std::string limit = "at most " + Text(limits.maxTruePeak) + " dBTP";
  SvgPlot plot(id, "True peak over time", "True peak, " + highestText + "; limit: " + limit + ".",
               {0.0, EndOf(series)}, scale);
  const auto runs = CurveOf(series, &SeriesPoint::truePeak);
  plot.AddHorizontalBand(limits.maxTruePeak, scale.high, "forbidden");
  plot.AddXTicks(TimeTicks(EndOf(series)));
  plot.AddYTicks(StepTicks(scale, kPeakStep));
  plot.AddArea(runs, "peaks");
  plot.AddRibbon(runs, "peak");
  plot.AddHorizontalLine(limits.maxTruePeak, "limit");
  std::vector<LegendEntry> legend = {{"peak band", "True peak of each 100 ms, " + highestText},
                                     {"limit", "Limit: " + limit}};
  if (highest != nullptr)
    plot.AddDot(highest->seconds, *highest->truePeak, "peak-dot");
  return FigureElement({"True peak over time", "dBTP", legend, plot.Text(), TimeAxis(series),
                        "Scale from " + AxisLabel(scale.low) +
                            " dBTP; what lies below is drawn at its edge. "
                            "The dot marks the highest peak."});
}

std::string HistogramFigure(const MeasuredSeries& series, const LoudnessLimits& limits,
                            const std::string& id) {
  const Histogram histogram = HistogramOf(series.distribution);
  if (histogram.highest <= 0.0)
    return "<p>No reading lies above the absolute gate of -70 LKFS, so there is no "
           "histogram.</p>\n";
  return FigureElement({"Loudness histogram",
                        "% of readings",
                        {{"sample-counted", "Counts in the integrated loudness"},
                         {"sample-gated", "Below the relative gate"},
                         TargetEntry(limits)},
                        HistogramDrawing(series, histogram, limits, id),
                        "Loudness, LKFS",
                        HistogramExplanation(series, histogram)});
}

}  // namespace louddesk
