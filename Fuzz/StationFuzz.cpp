// Untrusted records: any bytes as a minute, any rows in the tables, or any bytes as the file.

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "FuzzTarget.h"
#include "SqliteFile.h"
#include "StationFormat.h"
#include "StationReader.h"

namespace {

using louddesk::RecordedSecond;
using louddesk::SqliteFile;
using louddesk::SqliteMode;
using louddesk::SqliteStatement;
using louddesk::StationCluster;
using louddesk::StationPeriod;
using louddesk::StationReader;

const StationCluster kCluster{1, 3};

std::string String(const fuzz::Text& text) {
  return {text.c_str(), text.size()};
}

// A temporary file, which the destructor removes.
class TemporaryFile {
 public:
  TemporaryFile()
      : mPath(std::filesystem::temp_directory_path() /
              ("station-fuzz-" + std::to_string(getpid()))) {
    Remove();
  }
  ~TemporaryFile() { Remove(); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& Path() const { return mPath; }

 private:
  void Remove() const {
    for (const char* end : {"", "-wal", "-shm", "-journal"})
      unlink((mPath + end).c_str());
  }

  std::string mPath;
};

void CheckSecond(const RecordedSecond& second) {
  for (const std::int16_t reading : second.momentary)
    FUZZ_PROPERTY(reading == louddesk::kMissedReading || reading >= kNoLoudnessCode,
                  "a momentary reading is a code or missed");
  FUZZ_PROPERTY(second.state >= louddesk::RecordedState::kWaiting &&
                    second.state <= louddesk::kLastRecordedState,
                "a state is one that there is");
}

void ReadMinute(const std::string& bytes) {
  constexpr std::int64_t kMinute = 28633533;
  const auto minute = louddesk::DecodeMinute(kMinute, bytes);
  std::int64_t time = kMinute * 60;
  for (const auto& second : minute) {
    FUZZ_PROPERTY(!second || second->time == time, "a second has its time");
    if (second)
      CheckSecond(*second);
    ++time;
  }
  const std::string written = louddesk::EncodeMinute(minute);
  FUZZ_PROPERTY(written.size() == 60 * louddesk::kBytesPerSecond, "a minute has its size");
  FUZZ_PROPERTY(louddesk::EncodeMinute(louddesk::DecodeMinute(kMinute, written)) == written,
                "what is written is read");
}

// Expects that the reader's results are in order and within the period, for any contents of the
// file.
void ReadAll(const std::string& path, const StationPeriod& period) {
  try {
    StationReader reader(path);
    reader.Clusters();
    const auto extent = reader.Extent();
    FUZZ_PROPERTY(!extent || (extent->from >= 0 && extent->from < extent->to),
                  "a record begins in 1970 at the earliest and has a length");
    FUZZ_PROPERTY(!extent || extent->to <= std::numeric_limits<std::int64_t>::max() / 1000,
                  "the end of a record can be told in ms");
    std::optional<std::int64_t> last;
    for (const RecordedSecond& second : reader.Seconds(kCluster, period)) {
      CheckSecond(second);
      FUZZ_PROPERTY(!last || second.time > *last, "seconds are in the order of time");
      FUZZ_PROPERTY(second.time >= period.from && second.time < period.to,
                    "seconds are within the period");
      last = second.time;
    }
    for (const auto& event : reader.Events(kCluster, period))
      FUZZ_PROPERTY(event.time / 1000 >= period.from && event.time / 1000 < period.to,
                    "events are within the period");
    reader.LastEvent(kCluster, louddesk::kConfigurationEvent, period.to);
  } catch (const louddesk::StationError&) {
    return;
  }
}

// A value of any type that the file format has.
void BindAny(SqliteStatement& statement, int parameter, fuzz::Input& input) {
  switch (input.TakeByte() % 4) {
    case 0:
      statement.Bind(parameter, static_cast<std::int64_t>(input.TakeNumber(8)));
      break;
    case 1:
      statement.BindText(parameter, String(input.TakeTerminatedText()));
      break;
    case 2:
      statement.BindBlob(parameter, String(input.TakeText(input.TakeByte())));
      break;
    default:
      statement.BindNull(parameter);
  }
}

void AddRow(SqliteFile& file, fuzz::Input& input) {
  const bool isMinute = input.TakeByte() % 2 == 0;
  SqliteStatement row(file, isMinute ? "INSERT OR REPLACE INTO minutes VALUES (?, ?)"
                                     : "INSERT INTO events VALUES (NULL, ?, ?, ?, ?)");
  if (isMinute)
    row.Bind(1, static_cast<std::int64_t>(input.TakeNumber(8)));
  for (int parameter = isMinute ? 2 : 1; parameter <= (isMinute ? 2 : 4); ++parameter)
    BindAny(row, parameter, input);
  try {
    row.Run();
  } catch (const louddesk::StationError&) {
    return;  // the column does not accept such a value
  }
}

void ReadRows(fuzz::Input& input) {
  const TemporaryFile temporary;
  const StationPeriod period{static_cast<std::int64_t>(input.TakeNumber(8)),
                             static_cast<std::int64_t>(input.TakeNumber(8))};
  {
    SqliteFile file(temporary.Path(), SqliteMode::kReadWrite);
    file.Execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA user_version = 1;" +
                 ("PRAGMA application_id = " + std::to_string(louddesk::kStationApplication)) +
                 ";" + louddesk::kStationSchema);
    SqliteStatement cluster(file, "INSERT INTO clusters VALUES (?, 1, 3)");
    cluster.Bind(1, static_cast<std::int64_t>(input.TakeNumber(2))).Run();
    while (!input.IsEmpty())
      AddRow(file, input);
  }
  ReadAll(temporary.Path(), period);
}

void ReadFile(const std::string& bytes) {
  const TemporaryFile temporary;
  std::ofstream(temporary.Path(), std::ios::binary) << bytes;
  ReadAll(temporary.Path(), {0, INT64_MAX});
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  switch (input.TakeByte() % 3) {
    case 0:
      ReadMinute(String(input.TakeRest()));
      break;
    case 1:
      ReadRows(input);
      break;
    default:
      ReadFile(String(input.TakeRest()));
  }
}
