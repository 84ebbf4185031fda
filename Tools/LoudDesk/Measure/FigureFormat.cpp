// Formats the table of figures.

#include "FigureFormat.h"

#include <fmt/format.h>

#include "FigureText.h"
#include "PrintableText.h"

namespace louddesk {
namespace {

// The columns of figures, in order.
struct Column {
  const char* name;       // first line of the heading
  const char* continued;  // second line
  const char* unit;       // third line
  std::size_t width;
  const char* key;  // in JSON
};

constexpr Column kColumns[] = {
    {"Integrated", "loudness", "LKFS", 10, "Integrated"},
    {"Loudness", "range", "LU", 10, "Lra"},
    {"Maximum", "momentary", "LKFS", 11, "MaxMomentary"},
    {"Maximum", "short-term", "LKFS", 12, "MaxShortTerm"},
    {"Maximum", "true peak", "dBTP", 11, "MaxTruePeak"},
    {"Duration", "", "s", 10, "Seconds"},
    {"Gain to", "target", "dB", 9, "Gain"},
    {"Gain up to", "peak limit", "dB", 12, "GainWithinPeak"},
};

constexpr std::size_t kVerdictWidth = 12;

constexpr char kVerdictHeading[] = "Verdict";
constexpr char kAtLeast[] = ">=";
constexpr char kNotYetStable[] = "~";

std::string Cell(const std::string& text, std::size_t width) {
  return fmt::format("{:>{}}", text, width);
}

std::string HeadingLine(const char* Column::*text) {
  std::string line;
  for (const Column& column : kColumns)
    line += Cell(column.*text, column.width);
  return line;
}

struct ColumnValue {
  std::optional<double> figure;
  bool isAtLeast = false;
  bool isNotYetStable = false;
  bool isSigned = false;
};

// In the order of the columns.
std::vector<ColumnValue> ColumnValues(const Figures& figures, const TargetGain& gain) {
  return {{figures.integrated, figures.isLoudnessAtLeast},
          {figures.lra, false, IsRangeUnstable(figures)},
          {figures.maxMomentary, figures.isMomentaryAtLeast},
          {figures.maxShortTerm, figures.isLoudnessAtLeast},
          {figures.maxTruePeak, figures.isPeakAtLeast},
          {figures.seconds},
          {gain.toTarget, false, false, true},
          {gain.withinPeak, false, false, true}};
}

std::string TextOf(const ColumnValue& value) {
  const std::string text = FigureText(value.figure);
  return value.isSigned && value.figure && text.front() != '-' ? "+" + text : text;
}

std::string ColumnName(const Column& column) {
  return column.name + std::string(*column.continued == '\0' ? "" : " ") + column.continued;
}

// Empty if no figure is at the end of its scale.
std::string NoteOnEnds(const Figures& figures) {
  std::string note;
  for (const WrittenFigure& figure : WrittenFigures(figures, {}))
    if (figure.isAtLeast)
      note +=
          (note.empty() ? "beyond the scale, so at least the value shown: " : ", ") + figure.name;
  return note;
}

}  // namespace

std::vector<WrittenFigure> WrittenFigures(const Figures& figures, const TargetGain& gain) {
  std::vector<WrittenFigure> written;
  const Column* column = kColumns;
  for (const ColumnValue& value : ColumnValues(figures, gain)) {
    written.push_back({ColumnName(*column), column->unit, column->key, TextOf(value), column->width,
                       value.figure && value.isAtLeast, value.isNotYetStable});
    ++column;
  }
  return written;
}

std::vector<std::string> KeysAtLeast(const Figures& figures) {
  std::vector<std::string> keys;
  for (const WrittenFigure& figure : WrittenFigures(figures, {}))
    if (figure.isAtLeast)
      keys.emplace_back(figure.key);
  return keys;
}

std::string TableHeader(const char* subjects) {
  const std::string blank = Cell("", kVerdictWidth);
  const std::string first = HeadingLine(&Column::name) + Cell(kVerdictHeading, kVerdictWidth);
  std::string second = HeadingLine(&Column::continued);
  second.resize(second.find_last_not_of(' ') + 1);
  return first + "\n" + second + "\n" + HeadingLine(&Column::unit) + blank + "  " + subjects + "\n";
}

std::string TableRow(const Subject& subject, const Assessment& assessment) {
  std::string row;
  for (const WrittenFigure& figure : WrittenFigures(subject.programme->figures, assessment.gain)) {
    const char* mark = figure.isAtLeast ? kAtLeast : figure.isNotYetStable ? kNotYetStable : "";
    row += Cell(mark + figure.text, figure.width);
  }
  return row + Cell(WordFor(assessment.judgement), kVerdictWidth) + "  " +
         Printable(NameOf(subject)) + MarkOf(subject) + "\n";
}

std::string DamageNote(const std::string& damage) {
  return damage + "; the figures cover the rest";
}

std::vector<std::string> NotesOn(const Figures& figures) {
  std::vector<std::string> notes;
  if (const std::string note = NoteOnEnds(figures); !note.empty())
    notes.push_back(note);
  if (figures.isLoudnessAtLeast)
    notes.emplace_back("above the scale of loudness; there is no loudness range");
  return notes;
}

}  // namespace louddesk
