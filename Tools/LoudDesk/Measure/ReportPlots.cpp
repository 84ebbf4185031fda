// Plots loudness and true peak over time.

#include "ReportPlots.h"

#include <algorithm>
#include <cmath>

#include "ClockText.h"
#include "FigureText.h"
#include "Profiles.h"
#include "SvgPlot.h"

namespace louddesk {
namespace {

// Columns of a curve: about one per pixel on a wide screen.
constexpr std::size_t kColumns = 900;

// EBU Tech 3341: the scales around the target. The distance of their ticks is our choice.
constexpr double kNarrowBelowLu = 18.0;
constexpr double kNarrowAboveLu = 9.0;
constexpr double kWideBelowLu = 36.0;
constexpr double kWideAboveLu = 18.0;
constexpr double kLuStep = 6.0;

// Scale of the true peak.
constexpr double kPeakStep = 10.0;
constexpr double kLowestPeakDbtp = -40.0;
constexpr double kHighestPeakDbtp = 3.0;

constexpr char kAtLeast[] = "at least ";

// The curve of one figure.
std::vector<EnvelopeRun> CurveOf(const MeasuredProgramme& programme,
                                 std::optional<float> SeriesPoint::*figure) {
  const auto pointAt = [&](std::size_t i) {
    return PlotPoint{programme.points[i].seconds, programme.points[i].*figure};
  };
  return EnvelopeOf(programme.points.size(), pointAt, kColumns);
}

double EndOf(const MeasuredProgramme& programme) {
  return programme.points.back().seconds;
}

std::string TimeAxis(const MeasuredProgramme& programme) {
  return std::string("Time, ") + TimeUnitOf(EndOf(programme));
}

// Without a target, the scale is centred on that of the default profile.
double CentreOf(const Criteria& criteria) {
  return criteria.target.value_or(CriteriaOf(kUsualProfile).target.value());
}

// The narrow scale is used if it shows the loudest reading, the lower end of the loudness range and
// the integrated loudness.
bool FitsNarrowScale(const MeasuredProgramme& programme, const Criteria& criteria) {
  const double centre = CentreOf(criteria);
  const auto range = programme.readings.shortTerm.Range();
  const double loudest = programme.figures.maxMomentary.value_or(centre);
  const double quietest = std::min(range && programme.figures.lra ? range->low : centre,
                                   programme.figures.integrated.value_or(centre));
  return loudest <= centre + kNarrowAboveLu && quietest >= centre - kNarrowBelowLu &&
         criteria.limits.tolerance.value_or(0.0) <= kNarrowAboveLu;
}

// The upper end of the wide scale rises to the loudest reading if necessary.
PlotScale LoudnessScale(const MeasuredProgramme& programme, const Criteria& criteria) {
  const double centre = CentreOf(criteria);
  if (FitsNarrowScale(programme, criteria))
    return {centre - kNarrowBelowLu, centre + kNarrowAboveLu};
  const double above = programme.figures.maxMomentary.value_or(centre) - centre;
  return {centre - kWideBelowLu,
          centre + std::max(kWideAboveLu, std::ceil(above / kLuStep) * kLuStep)};
}

// If there is a target, labels on the right show the distance from it.
std::vector<PlotTick> LoudnessTicks(const PlotScale& scale, const Criteria& criteria) {
  const double centre = CentreOf(criteria);
  std::vector<PlotTick> ticks;
  const auto first = static_cast<int>(std::ceil((scale.low - centre) / kLuStep - 1e-9));
  for (int i = first; centre + i * kLuStep <= scale.high + 1e-9; ++i) {
    const double lu = i * kLuStep;
    ticks.push_back({centre + lu, AxisLabel(centre + lu)});
    if (criteria.target)
      ticks.back().otherLabel = (lu > 0 ? "+" : "") + AxisLabel(lu) + " LU";
  }
  return ticks;
}

std::string InWords(const char* name, const std::optional<double>& figure, bool isAtLeast) {
  return figure ? std::string(name) + " " + (isAtLeast ? kAtLeast : "") + FigureText(*figure) +
                      " LKFS. "
                : std::string(name) + ": no reading. ";
}

std::string LoudnessInWords(const MeasuredProgramme& programme, const Criteria& criteria) {
  const Figures& figures = programme.figures;
  std::string words =
      InWords("Integrated loudness", figures.integrated, figures.isLoudnessAtLeast) +
      InWords("Maximum momentary loudness", figures.maxMomentary, figures.isMomentaryAtLeast) +
      InWords("Maximum short-term loudness", figures.maxShortTerm, figures.isLoudnessAtLeast);
  if (criteria.target)
    words += "Target " + FigureText(*criteria.target) + " LKFS. ";
  return words + "Over " + ClockText(EndOf(programme)) + ".";
}

// Draws the target with its tolerance behind the curves.
void AddTargetBand(SvgPlot& plot, const Criteria& criteria) {
  if (!criteria.target || !criteria.limits.tolerance)
    return;
  const double tolerance = *criteria.limits.tolerance;
  plot.AddHorizontalBand(*criteria.target - tolerance, *criteria.target + tolerance, "target");
}

void AddLoudnessLimit(SvgPlot& plot, std::vector<LegendEntry>& legend, const char* name,
                      const std::optional<double>& limit) {
  if (!limit)
    return;
  plot.AddHorizontalLine(*limit, "limit");
  legend.push_back({"limit", std::string(name) + " at most " + FigureText(*limit) + " LKFS"});
}

std::string LoudnessExplanation(const PlotScale& scale, const Criteria& criteria) {
  return "Scale from " + AxisLabel(scale.low) + " to " + AxisLabel(scale.high) +
         " LKFS; values beyond it are drawn at its edge." +
         (criteria.target ? " 0 LU is the target." : "");
}

PlotScale PeakScale(const MeasuredProgramme& programme, const std::optional<double>& limit) {
  const double highest = programme.figures.maxTruePeak.value_or(limit.value_or(kLowestPeakDbtp));
  const double lowestShown = std::min(highest, limit.value_or(highest)) - kPeakStep;
  return {std::min(kLowestPeakDbtp, std::floor(lowestShown / kPeakStep) * kPeakStep),
          std::max({kHighestPeakDbtp, std::ceil(highest) + 1.0, limit.value_or(highest) + 2.0})};
}

// The first block with the highest peak; null if there is none.
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
  return std::string("highest: ") + (isAtLeast ? kAtLeast : "") + FigureText(*highest->truePeak) +
         " dBTP at " + ClockText(highest->seconds);
}

}  // namespace

void AddTargetEntry(std::vector<LegendEntry>& legend, const Criteria& criteria) {
  if (!criteria.target)
    return;
  std::string text = "Target " + FigureText(*criteria.target) + " LKFS";
  if (criteria.limits.tolerance)
    text += std::string(" ") + kPlusMinus + FigureText(*criteria.limits.tolerance) + " LU";
  legend.push_back({"aim band", text});
}

std::string LoudnessFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                           const std::string& id) {
  const PlotScale scale = LoudnessScale(programme, criteria);
  SvgPlot plot(id, "Loudness over time", LoudnessInWords(programme, criteria),
               {0.0, EndOf(programme)}, scale);
  AddTargetBand(plot, criteria);
  plot.AddXTicks(TimeTicks(EndOf(programme)));
  plot.AddYTicks(LoudnessTicks(scale, criteria));
  plot.AddRibbon(CurveOf(programme, &SeriesPoint::momentary), "momentary");
  plot.AddRibbon(CurveOf(programme, &SeriesPoint::shortTerm), "short");
  std::vector<LegendEntry> legend = {{"momentary band", "Momentary, 400 ms"},
                                     {"short", "Short-term, 3 s"},
                                     {"integrated", "Integrated so far"}};
  if (criteria.target)
    plot.AddHorizontalLine(*criteria.target, "aim");
  AddTargetEntry(legend, criteria);
  AddLoudnessLimit(plot, legend, "Short-term", criteria.limits.maxShortTerm);
  AddLoudnessLimit(plot, legend, "Momentary", criteria.limits.maxMomentary);
  plot.AddCurve(CurveOf(programme, &SeriesPoint::integrated), "integrated");
  return FigureElement({"Loudness over time", "LKFS", legend, plot.Text(), TimeAxis(programme),
                        LoudnessExplanation(scale, criteria)});
}

std::string TruePeakFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                           const std::string& id) {
  const std::optional<double>& limit = criteria.peakCeiling;
  const PlotScale scale = PeakScale(programme, limit);
  const SeriesPoint* highest = HighestPeak(programme.points);
  const std::string highestText = HighestPeakText(highest, programme.figures.isPeakAtLeast);
  const std::string limitText =
      limit ? "Limit: at most " + FigureText(*limit) + " dBTP" : "No limit";
  SvgPlot plot(id, "True peak over time", "True peak, " + highestText + ". " + limitText + ".",
               {0.0, EndOf(programme)}, scale);
  const auto runs = CurveOf(programme, &SeriesPoint::truePeak);
  if (limit)
    plot.AddHorizontalBand(*limit, scale.high, "forbidden");
  plot.AddXTicks(TimeTicks(EndOf(programme)));
  plot.AddYTicks(StepTicks(scale, kPeakStep));
  plot.AddArea(runs, "peaks");
  plot.AddRibbon(runs, "peak");
  std::vector<LegendEntry> legend = {{"peak band", "True peak of each 100 ms, " + highestText}};
  if (limit) {
    plot.AddHorizontalLine(*limit, "limit");
    legend.push_back({"limit", limitText});
  }
  if (highest != nullptr)
    plot.AddDot(highest->seconds, *highest->truePeak, "peak-dot");
  return FigureElement({"True peak over time", "dBTP", legend, plot.Text(), TimeAxis(programme),
                        "Scale from " + AxisLabel(scale.low) +
                            " dBTP; values below it are drawn at its edge. "
                            "The dot marks the highest peak."});
}

}  // namespace louddesk
