// Table and JSON of figures.

#include "FigureFormat.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstring>

#include "FigureText.h"
#include "LoudConfigUser.h"
#include "PrintableText.h"

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

using JsonWriter =
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>,
                      rapidjson::CrtAllocator, rapidjson::kWriteValidateEncodingFlag>;

std::string Cell(const char* text, int width) {
  const auto length = static_cast<int>(std::strlen(text));
  return std::string(static_cast<std::size_t>(std::max(width - length, 0)), ' ') + text;
}

std::string HeadingLine(const char* Column::*text) {
  std::string line;
  for (const Column& column : kColumns)
    line += Cell(column.*text, column.width);
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

void AddNumber(JsonWriter& writer, const char* key, const std::optional<double>& figure) {
  const std::string text = FigureText(figure, kMissingInJson);
  writer.Key(key);
  writer.RawValue(text.c_str(), text.size(), rapidjson::kNumberType);
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
    row += Cell(text.c_str(), (column++)->width);
  }
  return row + "  " + Printable(file) + "\n";
}

std::string JsonLine(const std::string& file, const Figures& figures) {
  rapidjson::StringBuffer buffer;
  JsonWriter writer(buffer);
  const std::string name = ToUtf8(file);
  writer.StartObject();
  writer.Key("File");
  writer.String(name.c_str(), static_cast<rapidjson::SizeType>(name.size()));
  AddNumber(writer, "Seconds", figures.seconds);
  AddNumber(writer, "Integrated", figures.integrated);
  AddNumber(writer, "Lra", figures.lra);
  AddNumber(writer, "MaxMomentary", figures.maxMomentary);
  AddNumber(writer, "MaxShortTerm", figures.maxShortTerm);
  AddNumber(writer, "MaxTruePeak", figures.maxTruePeak);
  writer.Key("AtLeast");
  writer.StartArray();
  for (const Column* column : ColumnsAtLeast(figures))
    writer.String(column->key);
  writer.EndArray();
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

std::vector<std::string> NotesOn(const Figures& figures) {
  std::vector<std::string> notes;
  if (figures.seconds > kMaxIntegWinSecs)
    notes.emplace_back("longer than two hours; integrated loudness is that of the last two");
  if (figures.seconds > kMaxLraWinSecs)
    notes.emplace_back("longer than three hours; loudness range is that of the last three");
  if (figures.overflowed)
    notes.emplace_back("too loud for too long; sums of the engine have wrapped around");
  if (const std::string note = NoteOnEnds(figures); !note.empty())
    notes.push_back(note);
  if (figures.isLoudnessAtLeast)
    notes.emplace_back("louder than the scale of loudness; there is no loudness range");
  return notes;
}

}  // namespace louddesk
