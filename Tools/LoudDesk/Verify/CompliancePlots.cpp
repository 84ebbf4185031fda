// Plots deviations side by side, in the order of the rows.

#include "CompliancePlots.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "ComplianceFormat.h"
#include "FigureText.h"
#include "PlotFigure.h"
#include "SvgPlot.h"

namespace louddesk {
namespace {

// The ends of the scale, in tolerances: the smallest and the largest.
constexpr double kNearestEnd = 2.0;
constexpr double kFurthestEnd = 8.0;
constexpr double kMostTicks = 8.0;

constexpr double kBandWidth = 0.8;      // of a predicted reading; a figure is 1 wide
constexpr double kSameReading = 0.005;  // below the smallest difference in two decimals

using Rows = std::vector<const ComplianceRow*>;

// The quantities in one plot.
struct Kind {
  const char* heading;
  const char* id;
  std::vector<Quantity> quantities;
};

const std::vector<Kind>& Kinds() {
  static const std::vector<Kind> kinds = {
      {"K-weighting", "gain", {Quantity::kWeightingGain}},
      {"Momentary loudness", "momentary", {Quantity::kMomentary, Quantity::kMaxMomentary}},
      {"Short-term loudness", "short-term", {Quantity::kShortTerm, Quantity::kMaxShortTerm}},
      {"Integrated loudness", "integrated", {Quantity::kIntegrated}},
      {"True peak", "true-peak", {Quantity::kMaxTruePeak}},
      {"Loudness range", "range", {Quantity::kLra}},
  };
  return kinds;
}

Rows RowsOf(const Kind& kind, const std::vector<ComplianceRow>& rows) {
  Rows found;
  for (const ComplianceRow& row : rows)
    if (row.expectation &&
        std::count(kind.quantities.begin(), kind.quantities.end(), row.expectation->quantity) > 0)
      found.push_back(&row);
  return found;
}

// The deviation of a reading from the standard, in tolerances.
double InTolerances(double reading, const Expectation& expectation) {
  const double deviation = reading - expectation.standard;
  return deviation / (deviation < 0.0 ? expectation.tolerance.below : expectation.tolerance.above);
}

bool IsPredicted(const Expectation& expectation) {
  return std::abs(expectation.expected - expectation.standard) > kSameReading;
}

std::vector<SvgPlot::Bar> PredictedBands(const Rows& rows) {
  std::vector<SvgPlot::Bar> bands;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Expectation& e = *rows[i]->expectation;
    if (IsPredicted(e))
      bands.push_back({static_cast<double>(i) + (1.0 - kBandWidth) / 2.0,
                       InTolerances(e.expected - e.tolerance.below, e),
                       InTolerances(e.expected + e.tolerance.above, e)});
  }
  return bands;
}

// A scale of whole tolerances around everything in the plot.
PlotScale ScaleOf(const Rows& rows) {
  double low = -kNearestEnd;
  double high = kNearestEnd;
  const auto include = [&](double value) {
    low = std::min(low, std::floor(value));
    high = std::max(high, std::ceil(value));
  };
  for (const ComplianceRow* row : rows)
    if (row->measured)
      include(InTolerances(*row->measured, *row->expectation));
  for (const SvgPlot::Bar& band : PredictedBands(rows)) {
    include(band.low);
    include(band.high);
  }
  return {std::max(low, -kFurthestEnd), std::min(high, kFurthestEnd)};
}

std::vector<PlotTick> ToleranceTicks(const PlotScale& scale) {
  const double step = scale.high - scale.low > kMostTicks ? 2.0 : 1.0;
  std::vector<PlotTick> ticks;
  for (double value = std::ceil(scale.low / step) * step; value <= scale.high; value += step)
    ticks.push_back({value, (value > 0.0 ? "+" : "") + AxisLabel(value)});
  return ticks;
}

// The consecutive figures of one case, as positions on the axis.
struct CasePlace {
  std::string id;
  double first;
  double end;
};

std::vector<CasePlace> PlacesOf(const Rows& rows) {
  std::vector<CasePlace> places;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto place = static_cast<double>(i);
    if (places.empty() || places.back().id != rows[i]->caseId)
      places.push_back({rows[i]->caseId, place, place});
    places.back().end = place + 1.0;
  }
  return places;
}

// The part after the document's name: "10" of "3341-10".
std::string ShortId(const std::string& id) {
  return id.substr(id.find('-') + 1);
}

void AddCases(SvgPlot& plot, const Rows& rows) {
  std::vector<PlotTick> ticks;
  bool isStriped = false;
  for (const CasePlace& place : PlacesOf(rows)) {
    if (isStriped)
      plot.AddVerticalBand(place.first, place.end, "stripe");
    isStriped = !isStriped;
    ticks.push_back({(place.first + place.end) / 2.0, ShortId(place.id)});
  }
  plot.AddXTicks(ticks);
}

// The verdicts on a reading, with the styles of their dots.
constexpr std::pair<ComplianceVerdict, const char*> kDots[] = {
    {ComplianceVerdict::kPass, "met-dot"},
    {ComplianceVerdict::kGrid, "noted-dot"},
    {ComplianceVerdict::kFail, "failed-dot"}};

const char* DotFor(ComplianceVerdict verdict) {
  return std::find_if(std::begin(kDots), std::end(kDots),
                      [=](const auto& dot) { return dot.first == verdict; })
      ->second;
}

void AddDots(SvgPlot& plot, const Rows& rows) {
  for (std::size_t i = 0; i < rows.size(); ++i)
    if (rows[i]->measured)
      plot.AddDot(static_cast<double>(i) + 0.5,
                  InTolerances(*rows[i]->measured, *rows[i]->expectation),
                  DotFor(rows[i]->verdict));
}

std::size_t Count(const Rows& rows, ComplianceVerdict verdict) {
  return static_cast<std::size_t>(
      std::count_if(rows.begin(), rows.end(),
                    [verdict](const ComplianceRow* row) { return row->verdict == verdict; }));
}

std::string InWords(const Rows& rows) {
  std::string words;
  for (const auto& [verdict, style] : kDots)
    words += std::to_string(Count(rows, verdict)) + " " + VerdictWord(verdict) + ", ";
  return words + "of " + std::to_string(rows.size()) + " figures.";
}

std::vector<LegendEntry> LegendOf(const Rows& rows) {
  std::vector<LegendEntry> legend = {{"sample-target", "Tolerance of the standard"}};
  if (!PredictedBands(rows).empty())
    legend.push_back(
        {"sample-predicted", "Tolerance about what a meter in blocks of 100 ms must read"});
  for (const auto& [verdict, style] : kDots)
    if (Count(rows, verdict) > 0)
      legend.push_back(
          {style, std::string("Measured: ") + VerdictWord(verdict), LegendEntry::Sample::kDot});
  return legend;
}

// "One tolerance is +-0.1 LU." Lists all tolerances in the order of the rows.
std::string ExplanationFor(const Rows& rows) {
  std::vector<std::string> tolerances;
  for (const ComplianceRow* row : rows) {
    const std::string text =
        WrittenRowOf(*row, kPlusMinus).tolerance + " " + DifferenceUnitOf(*row);
    if (std::count(tolerances.begin(), tolerances.end(), text) == 0)
      tolerances.push_back(text);
  }
  std::string text;
  for (const std::string& tolerance : tolerances)
    text += (text.empty() ? "One tolerance is " : " or ") + tolerance;
  const bool isOneMissing = std::any_of(rows.begin(), rows.end(), [](const ComplianceRow* row) {
    return !row->measured.has_value();
  });
  return text + (isOneMissing ? ". A figure without a reading has no dot." : ".");
}

std::string DeviationFigure(const Kind& kind, const Rows& rows) {
  const PlotScale scale = ScaleOf(rows);
  SvgPlot plot(std::string("deviation-") + kind.id, std::string("Deviation: ") + kind.heading,
               InWords(rows), {0.0, static_cast<double>(rows.size())}, scale);
  plot.AddHorizontalBand(-1.0, 1.0, "target");
  AddCases(plot, rows);
  plot.AddYTicks(ToleranceTicks(scale));
  plot.AddHorizontalLine(0.0, "aim");
  plot.AddBars(PredictedBands(rows), kBandWidth, "predicted");
  AddDots(plot, rows);
  return FigureElement({kind.heading, "deviation in tolerances", LegendOf(rows), plot.Text(),
                        "Figures by the number of their case", ExplanationFor(rows)});
}

}  // namespace

std::string DeviationFigures(const std::vector<ComplianceRow>& rows) {
  std::string figures;
  for (const Kind& kind : Kinds()) {
    const Rows chosen = RowsOf(kind, rows);
    if (!chosen.empty())
      figures += DeviationFigure(kind, chosen);
  }
  return figures;
}

}  // namespace louddesk
