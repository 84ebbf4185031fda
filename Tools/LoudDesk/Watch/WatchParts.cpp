// Header, bars, figures, history, acknowledgements and footer of the live meter.

#include "WatchParts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <deque>
#include <set>

#include "FiguresText.h"

namespace louddesk {
namespace {

constexpr std::size_t kMargin = 1;
constexpr std::size_t kLabelWidth = 11;
constexpr std::size_t kValueWidth = 13;          // " -23.00 LKFS" and a margin
constexpr std::size_t kRelativeWidth = 9;        // "+12.3 LU "
constexpr std::size_t kColumnsForRelative = 92;  // width from which the bars also show LU
constexpr std::size_t kColumnsForTwoColumns = 76;
constexpr std::size_t kAxisWidth = 5;
constexpr std::size_t kFigureWidth = 43;

// The most important keys.
constexpr char kKeys[] = "q quits  h help";
constexpr char kOneOfManyKeys[] = "q quits  h help  b back to all clusters";
constexpr char kControlKeys[] = "q quits  h help  1 start  2 pause  3 play  4 stop  5 reset";

// Upper end of the bar for the loudness range, LU. The ranges of feature films are below it.
constexpr double kHighestRange = 30.0;

// Ends of the bar, dBTP.
constexpr double kLowestPeak = -60.0;
constexpr double kHighestPeak = 3.0;
constexpr double kPeakStep = 10.0;

// Scales of the loudness bars, EBU Tech 3341, section 2.7, in LU.
struct LuScale {
  double low;
  double high;
  double step;
};

constexpr LuScale kPlus9 = {-18, 9, 3};
constexpr LuScale kPlus18 = {-36, 18, 6};

const LuScale& ScaleOf(const WatchLimits& limits) {
  return limits.scale == kHighScale ? kPlus18 : kPlus9;
}

ValueRange LuRange(const WatchLimits& limits) {
  const LuScale& scale = ScaleOf(limits);
  return {scale.low, scale.high, limits.tolerance, -limits.tolerance};
}

// A loudness relative to the target, such as "+1.5 LU"; empty without a reading.
std::string RelativeText(std::int16_t code, double target) {
  const auto value = LoudnessOf(code);
  if (!value)
    return "";
  return fmt::format("{:+.1f} LU", *value - target);
}

CellRun BarRun(const PartView& view, std::size_t row) {
  const std::size_t columns = view.screen.Columns();
  const std::size_t begin = kMargin + kLabelWidth;
  const std::size_t relative = columns >= kColumnsForRelative ? kRelativeWidth : 0;
  return {row, begin, columns - begin - kValueWidth - relative};
}

// The text, shortened to `room` characters with dots at its end.
std::string Shortened(const std::string& text, std::size_t room) {
  constexpr char kDots[] = "...";
  if (text.size() <= room)
    return text;
  return (text.substr(0, room - std::min(room, sizeof kDots - 1)) + kDots).substr(0, room);
}

void DrawRule(const PartView& view, std::size_t row, const std::string& title) {
  const char32_t line = view.look.glyphs == Glyphs::kBlocks ? U'\u2500' : U'-';
  for (std::size_t i = kMargin; i + kMargin < view.screen.Columns(); ++i)
    view.screen.Put(row, i, line, Ink::kFaint);
  view.screen.Write(row, kMargin + 2, " " + title + " ", Ink::kPlain);
}

const StateWords& StateIn(const PartView& view) {
  return WordsOf(view.model.State(view.now));
}

std::string SourceText(const WatchModel& model) {
  if (!model.IsSourceValid())
    return "Source unknown";
  return *model.IsSourceValid() ? "Source valid" : "No source";
}

std::string AgeText(const PartView& view) {
  const auto age = view.model.Age(view.now);
  if (!age)
    return "no message yet";
  return fmt::format("last message {:.1f} s ago", static_cast<double>(age->count()) / 1000);
}

// The windows of the figures below. Maxima and programme loudness cover everything since the start.
std::string WindowsText(const PartView& view) {
  const auto windows = view.model.Windows(view.now);
  if (!windows)
    return "Windows not known yet";
  return fmt::format("Integrated over {} s, range {} s", windows->integrated, windows->range);
}

void DrawLoudness(const PartView& view, std::size_t row, const char* name, std::int16_t code) {
  const std::size_t columns = view.screen.Columns();
  const std::int16_t shown = view.model.IsLive(view.now) ? code : kNoLoudnessCode;
  auto level = LoudnessOf(shown);
  if (level)
    *level -= view.limits.target;
  view.screen.Write(row, kMargin, name, Ink::kStrong);
  DrawBar(view.screen, BarRun(view, row), LuRange(view.limits), level, 0.0, view.look.glyphs);
  view.screen.WriteRight(row, columns - kMargin - 5, TenthsText(shown), Ink::kStrong);
  view.screen.WriteRight(row, columns - kMargin, "LKFS", Ink::kPlain);
  if (columns >= kColumnsForRelative)
    view.screen.WriteRight(row, columns - kValueWidth, RelativeText(shown, view.limits.target),
                           Ink::kPlain);
}

const ValueRange& PeakRange() {
  static const ValueRange range = {kLowestPeak, kHighestPeak, MaxPermittedPeak()};
  return range;
}

struct Figure {
  const char* name;
  std::string value;
  const char* unit;
  std::string relative;  // to the target; empty if there is none
  Ink ink;
};

Ink InkOf(std::optional<double> value, const ValueRange& range) {
  if (value && *value > range.alertAbove)
    return Ink::kAlert;
  return value && *value < range.lowBelow ? Ink::kLow : Ink::kStrong;
}

constexpr std::size_t kFigureCount = 6;

std::size_t FiguresAcross(std::size_t columns) {
  return columns >= kColumnsForTwoColumns ? 2 : 1;
}

// In order of importance.
std::array<Figure, kFigureCount> FiguresShown(const PartView& view) {
  const LoudnessData_t& data = view.model.Data();
  const auto maximum = [&view](const char* name, std::int16_t code) {
    return Figure{name, TenthsText(code), "LKFS", RelativeText(code, view.limits.target),
                  Ink::kStrong};
  };
  const auto loudness = [&view, &maximum](const char* name, std::int16_t code) {
    Figure figure = maximum(name, code);
    if (const auto value = LoudnessOf(code))
      figure.ink = InkOf(*value - view.limits.target, LuRange(view.limits));
    return figure;
  };
  const Ink peakInk = InkOf(TruePeakOf(data.MaxTruePeak), PeakRange());
  return {{loudness("Integrated loudness", data.Integrated),
           {"Maximum true peak", HundredthsText(data.MaxTruePeak), "dBTP",
            peakInk == Ink::kAlert ? "OVER" : "", peakInk},
           loudness("Programme loudness", data.Program),
           maximum("Maximum momentary", data.MaxMomentary),
           {"Loudness range", RangeText(data), "LU", "", Ink::kStrong},
           maximum("Maximum short-term", view.model.MaxShortTerm())}};
}

void DrawFigure(const PartView& view, std::size_t row, std::size_t column, const Figure& figure) {
  constexpr std::size_t kValueEnd = 26;
  constexpr std::size_t kUnitBegin = kValueEnd + 1;
  constexpr std::size_t kRelativeEnd = kUnitBegin + 13;
  view.screen.Write(row, column, figure.name, Ink::kPlain);
  view.screen.WriteRight(row, column + kValueEnd, figure.value, figure.ink);
  view.screen.Write(row, column + kUnitBegin, figure.unit, Ink::kPlain);
  if (column + kRelativeEnd < view.screen.Columns())
    view.screen.WriteRight(row, column + kRelativeEnd, figure.relative,
                           figure.ink == Ink::kStrong ? Ink::kPlain : figure.ink);
}

std::string SpanText(std::size_t columns) {
  const auto seconds = static_cast<std::size_t>(
      std::chrono::duration_cast<std::chrono::seconds>(kHistoryStep).count() *
      static_cast<long>(columns));
  return "Short-term, last " + std::to_string(seconds / 60) + " min " +
         std::to_string(seconds % 60) + " s";
}

std::deque<std::optional<double>> RelativeHistory(const PartView& view) {
  std::deque<std::optional<double>> values;
  for (const std::int16_t code : view.model.History()) {
    auto value = LoudnessOf(code);
    if (value)
      *value -= view.limits.target;
    values.push_back(value);
  }
  return values;
}

// Labels both ends of the scale, and the target if it has its own row.
void DrawAxis(const PartView& view, const CellArea& area) {
  const LuScale& scale = ScaleOf(view.limits);
  std::set<std::size_t> taken;
  for (const double lu : {scale.low, scale.high, 0.0}) {
    const std::size_t row = area.row + RowOf(area, LuRange(view.limits), lu);
    if (!taken.insert(row).second)
      continue;
    view.screen.WriteRight(row, kMargin + kAxisWidth - 1,
                           fmt::format(lu > 0 ? "{:+.0f}" : "{:.0f}", lu), Ink::kFaint);
  }
}

void DrawHeader(const PartView& view, RowSpan rows) {
  TextScreen& screen = view.screen;
  const std::string place = "meter set " + std::to_string(view.look.meterSet) + ", cluster " +
                            std::to_string(view.look.cluster);
  const bool isWide = screen.Columns() >= 60;
  if (isWide)
    screen.Write(rows.first, kMargin, "LoudDesk watch", Ink::kStrong);
  screen.Write(rows.first, isWide ? 18 : kMargin, place, Ink::kPlain);
  const StateWords& state = StateIn(view);
  screen.WriteRight(rows.first, screen.Columns() - kMargin, fmt::format("  {}  ", state.name),
                    state.isAlarming ? Ink::kAlertBadge : Ink::kBadge);
}

void DrawStatus(const PartView& view, RowSpan rows) {
  std::string text = SourceText(view.model);
  const StateWords& state = StateIn(view);
  if (*state.hint != '\0')
    text += std::string("; ") + state.hint;
  const auto noChange = view.model.NoChangeFor(view.now);
  if (noChange)
    text = NoChangeText(*noChange);
  const bool isBad = noChange || view.model.IsSourceValid() == std::optional<bool>(false);
  const std::string age = AgeText(view);
  const std::size_t columns = view.screen.Columns();
  const std::size_t room = columns - std::min(columns, age.size() + 2 * kMargin + 2);
  view.screen.Write(rows.first, kMargin, Shortened(text, room), isBad ? Ink::kAlert : Ink::kPlain);
  view.screen.WriteRight(rows.first, columns - kMargin, age,
                         state.isAlarming ? Ink::kAlert : Ink::kPlain);
}

void DrawLoudnessScale(const PartView& view, RowSpan rows) {
  const ValueRange range = LuRange(view.limits);
  DrawScale(view.screen, BarRun(view, rows.first), range, ScaleOf(view.limits).step, true);
  view.screen.Write(rows.first, kMargin, "LU", Ink::kFaint);
}

void DrawLoudnessBars(const PartView& view, RowSpan rows) {
  DrawLoudness(view, rows.first, "Momentary", view.model.Data().Momentary);
  DrawLoudness(view, rows.first + 1, "Short-term", view.model.Data().ShortTerm);
}

// The figure beside the bar is the held peak, because that of a block disappears after 100 ms.
void DrawPeakBar(const PartView& view, RowSpan rows) {
  const std::size_t columns = view.screen.Columns();
  const bool isLive = view.model.IsLive(view.now);
  const std::int16_t peak = isLive ? view.model.Data().TruePeak : kNoTruePeakCode;
  const std::int16_t held = isLive ? view.model.HeldPeak() : kNoTruePeakCode;
  view.screen.Write(rows.first, kMargin, "True peak", Ink::kStrong);
  DrawBar(view.screen, BarRun(view, rows.first), PeakRange(), TruePeakOf(peak), TruePeakOf(held),
          view.look.glyphs);
  view.screen.WriteRight(rows.first, columns - kMargin - 5, HundredthsText(held), Ink::kStrong);
  view.screen.WriteRight(rows.first, columns - kMargin, "dBTP", Ink::kPlain);
  if (columns >= kColumnsForRelative)
    view.screen.WriteRight(rows.first, columns - kValueWidth, "held", Ink::kFaint);
}

void DrawPeakScale(const PartView& view, RowSpan rows) {
  DrawScale(view.screen, BarRun(view, rows.first), PeakRange(), kPeakStep, false);
  view.screen.Write(rows.first, kMargin, "dBTP", Ink::kFaint);
}

void DrawRangeBar(const PartView& view, RowSpan rows) {
  constexpr ValueRange kRange = {0, kHighestRange, kHighestRange};
  const std::size_t columns = view.screen.Columns();
  const LoudnessData_t shown = view.model.IsLive(view.now) ? view.model.Data() : LoudnessData_t{};
  const auto range = HasRange(shown) ? LoudnessOf(shown.Lra) : std::nullopt;
  view.screen.Write(rows.first, kMargin, "Range", Ink::kStrong);
  DrawBar(view.screen, BarRun(view, rows.first), kRange, range, std::nullopt, view.look.glyphs);
  view.screen.WriteRight(rows.first, columns - kMargin - 5, RangeText(shown), Ink::kStrong);
  view.screen.Write(rows.first, columns - kMargin - 4, "LU", Ink::kPlain);
  if (columns >= kColumnsForRelative)
    view.screen.WriteRight(rows.first, columns - kValueWidth,
                           fmt::format("of {:g} LU", kHighestRange), Ink::kFaint);
}

void DrawFiguresRule(const PartView& view, RowSpan rows) {
  const std::string since = StateIn(view).isAlarming ? "Last known; " : "";
  DrawRule(view, rows.first,
           fmt::format("{}{}; target {:.1f} LKFS, +/-{:g} LU", since, WindowsText(view),
                       view.limits.target, view.limits.tolerance));
}

void DrawFigures(const PartView& view, RowSpan rows) {
  const auto figures = FiguresShown(view);
  const std::size_t across = FiguresAcross(view.screen.Columns());
  const std::size_t second = std::max(kFigureWidth, view.screen.Columns() / 2);
  for (std::size_t i = 0; i < std::min(figures.size(), rows.count * across); ++i) {
    const std::size_t column = kMargin + (i % across == 0 ? 0 : second - kMargin);
    DrawFigure(view, rows.first + i / across, column, figures[i]);
  }
}

void DrawHistoryPart(const PartView& view, RowSpan rows) {
  const std::size_t left = kMargin + kAxisWidth;
  const CellArea area = {rows.first + 1, left, view.screen.Columns() - left - kMargin,
                         rows.count - 1};
  DrawRule(view, rows.first, SpanText(std::min(area.width, kMaxHistory)) + " (LU)");
  DrawHistory(view.screen, area, LuRange(view.limits), 0.0, RelativeHistory(view),
              view.look.glyphs);
  DrawAxis(view, area);
}

const char* KeysText(const WatchLook& look) {
  if (look.isControlling)
    return kControlKeys;
  return look.isOneOfMany ? kOneOfManyKeys : kKeys;
}

// The newest note is at the bottom.
void DrawNotes(const PartView& view, RowSpan rows) {
  DrawRule(view, rows.first,
           view.look.isControlling ? "Acknowledgements; this is in the application server's place"
                                   : "Acknowledgements");
  const auto& notes = view.model.Notes();
  if (notes.empty())
    view.screen.Write(rows.first + 1, kMargin, "none yet", Ink::kFaint);
  const std::size_t count = std::min(notes.size(), rows.count - 1);
  for (std::size_t i = 0; i < count; ++i) {
    const WatchModel::Note& note = notes[notes.size() - count + i];
    view.screen.Write(rows.first + 1 + i, kMargin, note.localTime, Ink::kFaint);
    const std::size_t column = kMargin + note.localTime.size() + 2;
    view.screen.Write(rows.first + 1 + i, column,
                      Shortened(note.text, view.screen.Columns() - kMargin - column), Ink::kPlain);
  }
}

void DrawFooter(const PartView& view, RowSpan rows) {
  view.screen.Write(rows.first, kMargin, KeysText(view.look), Ink::kFaint);
  view.screen.WriteRight(rows.first, view.screen.Columns() - kMargin,
                         fmt::format("EBU +{} scale", view.limits.scale), Ink::kFaint);
}

void DrawNothing(const PartView&, RowSpan) {}

// In the order of WatchPart.
constexpr void (*kDraw[])(const PartView& view, RowSpan rows) = {
    DrawHeader,  DrawStatus,      DrawNothing,   DrawLoudnessScale, DrawLoudnessBars,
    DrawNothing, DrawPeakBar,     DrawPeakScale, DrawRangeBar,      DrawFiguresRule,
    DrawFigures, DrawHistoryPart, DrawNotes,     DrawFooter};

}  // namespace

WatchLimits LimitsOf(const WatchLook& look, const WatchModel& model) {
  const WatchLimits limits = model.Limits();
  return {look.target.value_or(limits.target), look.scale.value_or(limits.scale),
          look.tolerance.value_or(limits.tolerance)};
}

void DrawPart(WatchPart part, const PartView& view, RowSpan rows) {
  kDraw[static_cast<std::size_t>(part)](view, rows);
}

std::size_t FigureRows(std::size_t columns) {
  return kFigureCount / FiguresAcross(columns);
}

}  // namespace louddesk
