// Table and JSON of figures.

#include "FigureFormat.h"

#include <fmt/format.h>

#include "DocumentWriter.h"
#include "FigureText.h"
#include "LoudConfigUser.h"
#include "PrintableText.h"
#include "Utf8Text.h"

namespace louddesk {
namespace {

// The columns before the file, in the order of the figures.
struct Column {
  const char* name;       // first line of the heading
  const char* continued;  // second line
  const char* unit;       // third line
  int width;
  const char* key;  // in JSON
};

constexpr Column kColumns[] = {
    {"Integrated", "loudness", "LKFS", 10, "Integrated"},
    {"Loudness", "range", "LU", 10, "Lra"},
    {"Maximum", "momentary", "LKFS", 11, "MaxMomentary"},
    {"Maximum", "short-term", "LKFS", 12, "MaxShortTerm"},
    {"Maximum", "true peak", "dBTP", 11, "MaxTruePeak"},
    {"Duration", "", "s", 10, "Seconds"},
};

constexpr char kFileHeading[] = "  File";
constexpr char kMissingInTable[] = "-";
constexpr char kMissingInJson[] = "null";
constexpr char kAtLeastInTable[] = ">=";

std::string HeadingLine(const char* Column::*text) {
  std::string line;
  for (const Column& column : kColumns)
    line += fmt::format("{:>{}}", column.*text, column.width);
  return line.substr(0, line.find_last_not_of(' ') + 1);
}

struct ColumnValue {
  std::optional<double> figure;
  bool isAtLeast = false;
};

std::vector<ColumnValue> ColumnValues(const Figures& figures) {
  return {{figures.integrated, figures.isLoudnessAtLeast},
          {figures.lra, false},
          {figures.maxMomentary, figures.isMomentaryAtLeast},
          {figures.maxShortTerm, figures.isLoudnessAtLeast},
          {figures.maxTruePeak, figures.isPeakAtLeast},
          {figures.seconds, false}};
}

// The columns of the figures at the end of their scales.
std::vector<const Column*> ColumnsAtLeast(const Figures& figures) {
  std::vector<const Column*> columns;
  const Column* column = kColumns;
  for (const ColumnValue& value : ColumnValues(figures)) {
    if (value.figure && value.isAtLeast)
      columns.push_back(column);
    ++column;
  }
  return columns;
}

std::string ColumnName(const Column& column) {
  return column.name + std::string(*column.continued == '\0' ? "" : " ") + column.continued;
}

// Empty when no figure is at the end of its scale.
std::string NoteOnEnds(const Figures& figures) {
  std::string note;
  for (const Column* column : ColumnsAtLeast(figures))
    note += (note.empty() ? "beyond the scale and thus at least what is shown: " : ", ") +
            ColumnName(*column);
  return note;
}

}  // namespace

std::vector<WrittenFigure> WrittenFigures(const Figures& figures) {
  std::vector<WrittenFigure> written;
  const Column* column = kColumns;
  for (const ColumnValue& value : ColumnValues(figures)) {
    written.push_back({ColumnName(*column), column->unit, FigureText(value.figure, kMissingInTable),
                       value.figure && value.isAtLeast});
    ++column;
  }
  return written;
}

std::string TableHeader() {
  return HeadingLine(&Column::name) + "\n" + HeadingLine(&Column::continued) + "\n" +
         HeadingLine(&Column::unit) + kFileHeading + "\n";
}

std::string TableRow(const std::string& file, const Figures& figures) {
  std::string row;
  const Column* column = kColumns;
  for (const WrittenFigure& figure : WrittenFigures(figures)) {
    const std::string text = (figure.isAtLeast ? kAtLeastInTable : "") + figure.text;
    row += fmt::format("{:>{}}", text, (column++)->width);
  }
  return row + "  " + Printable(file) + "\n";
}

std::string JsonLine(const std::string& file, const Figures& figures) {
  const auto number = [](const std::optional<double>& figure) {
    return FigureText(figure, kMissingInJson);
  };
  DocumentWriter writer;
  writer.Text("File", Utf8Of(file))
      .Number("Seconds", number(figures.seconds))
      .Number("Integrated", number(figures.integrated))
      .Number("Lra", number(figures.lra))
      .Number("MaxMomentary", number(figures.maxMomentary))
      .Number("MaxShortTerm", number(figures.maxShortTerm))
      .Number("MaxTruePeak", number(figures.maxTruePeak))
      .OpenArray("AtLeast");
  for (const Column* column : ColumnsAtLeast(figures))
    writer.Text(DocumentWriter::kNoKey, column->key);
  return writer.CloseArray().Finish() + "\n";
}

std::vector<std::string> NotesOn(const Figures& figures) {
  std::vector<std::string> notes;
  if (const std::string note = NoteOnEnds(figures); !note.empty())
    notes.push_back(note);
  if (figures.isLoudnessAtLeast)
    notes.emplace_back("louder than the scale of loudness; there is no loudness range");
  return notes;
}

}  // namespace louddesk
