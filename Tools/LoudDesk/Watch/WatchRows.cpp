// Formats messages as CSV and JSON.

#include "WatchRows.h"

#include <fmt/chrono.h>

#include <ctime>

#include "FiguresText.h"
#include "LuMessages.h"

namespace louddesk {
namespace {

// The fields between time and source, in the order of the message, named as in `LoudDesk measure`.
struct Field {
  const char* name;
  std::int16_t LoudnessData_t::*code;
  bool isPeak;  // in hundredths of dBTP, otherwise tenths of LKFS or LU
};

constexpr Field kFields[] = {
    {"MaxMomentary", &LoudnessData_t::MaxMomentary, false},
    {"Momentary", &LoudnessData_t::Momentary, false},
    {"ShortTerm", &LoudnessData_t::ShortTerm, false},
    {"Integrated", &LoudnessData_t::Integrated, false},
    {"Lra", &LoudnessData_t::Lra, false},
    {"Program", &LoudnessData_t::Program, false},
    {"MaxTruePeak", &LoudnessData_t::MaxTruePeak, true},
    {"TruePeak", &LoudnessData_t::TruePeak, true},
};

constexpr char kTimeName[] = "Time";
constexpr char kSourceName[] = "ValidSource";
constexpr char kCommandName[] = "Command";
constexpr char kClusterName[] = "Cluster";

// The figure, or `missing` without a reading.
std::string ValueText(const LoudnessData_t& data, const Field& field, const char* missing) {
  const std::int16_t code = data.*field.code;
  const bool isRange = field.code == &LoudnessData_t::Lra;
  if (code == (field.isPeak ? kNoTruePeakCode : kNoLoudnessCode) || (isRange && !HasRange(data)))
    return missing;
  return field.isPeak ? HundredthsText(code) : TenthsText(code);
}

const char* CommandText(const LoudnessMessage& message) {
  return cLuCmd::ConvertToLuCmdStrFromEnum(static_cast<LuCmd_e>(message.command));
}

}  // namespace

std::string UtcText(WallTime time) {
  const auto sinceEpoch =
      std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
  const std::time_t seconds = sinceEpoch / 1000;
  std::tm broken{};
  gmtime_r(&seconds, &broken);
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", broken, sinceEpoch % 1000);
}

std::string LocalClockText(WallTime time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm broken{};
  localtime_r(&seconds, &broken);
  return fmt::format("{:%H:%M:%S}", broken);
}

std::string WatchCsvHeader() {
  std::string header = kTimeName;
  for (const Field& field : kFields)
    header += std::string(",") + field.name;
  return header + "," + kSourceName + "," + kCommandName + "," + kClusterName + "\n";
}

std::string WatchCsvRow(const LoudnessMessage& message, WallTime time) {
  std::string row = UtcText(time);
  for (const Field& field : kFields)
    row += "," + ValueText(message.data, field, "");
  return row + (message.validSource != 0 ? ",1," : ",0,") + CommandText(message) + "," +
         std::to_string(message.cluster) + "\n";
}

std::string WatchJsonRow(const LoudnessMessage& message, WallTime time) {
  DocumentWriter row;
  WriteWatchMembers(row, message, time);
  return row.Finish() + "\n";
}

void WriteWatchMembers(DocumentWriter& object, const std::optional<LoudnessMessage>& message,
                       WallTime time) {
  if (!message) {
    object.Number(kTimeName, kJsonNull);
    for (const Field& field : kFields)
      object.Number(field.name, kJsonNull);
    object.Number(kSourceName, kJsonNull)
        .Number(kCommandName, kJsonNull)
        .Number(kClusterName, kJsonNull);
    return;
  }
  object.Text(kTimeName, UtcText(time));
  for (const Field& field : kFields)
    object.Number(field.name, ValueText(message->data, field, kJsonNull));
  object.Flag(kSourceName, message->validSource != 0)
      .Text(kCommandName, CommandText(*message))
      .Signed(kClusterName, message->cluster);
}

}  // namespace louddesk
