// Checks Docs/OPERATIONS.md on the record against a record and against the sources.

#include "RecordDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "SqliteFile.h"
#include "StationRecord.h"

namespace {

namespace fs = std::filesystem;

// The sources of the record, with adjacent string literals joined.
std::string TextsOfSources() {
  std::string all;
  for (const char* folder : {"/Tools/LoudGate/Record", "/Tools/LoudDesk/Station"})
    for (const auto& entry : fs::directory_iterator(SOURCE_FOLDER + std::string(folder))) {
      std::ifstream file(entry.path());
      all.append(std::istreambuf_iterator<char>(file), {});
    }
  return std::regex_replace(all, std::regex("\"\\s*\\+?\\s*\""), "");
}

TEST(RecordDocumentTest, EveryLineThatIsListedIsReportedBySomething) {
  const std::string sources = TextsOfSources();
  const auto lines = ListedLines();
  ASSERT_LE(8u, lines.size());
  const std::regex between("\\.\\.\\.|[0-9]+|; ");
  for (const std::string& line : lines)
    for (std::sregex_token_iterator piece(line.begin(), line.end(), between, -1), end; piece != end;
         ++piece)
      EXPECT_NE(std::string::npos, sources.find(piece->str())) << *piece;
}

TEST(RecordDocumentTest, TheExampleQueryGivesTheMinutesOfTheCluster) {
  const std::string path = fs::path(testing::TempDir()) / ("example-" + std::to_string(getpid()));
  constexpr std::int64_t kJune = 1717200000;  // 2024-06-01 00:00 UTC: day 19875
  louddesk::StationBatch batch;
  for (const std::int64_t time : {kJune - 1, kJune + 59, kJune + 60}) {
    louddesk::RecordedSecond second;
    second.time = time;
    second.state = louddesk::RecordedState::kPaused;
    batch.seconds[{1, 2}].push_back(second);
    batch.seconds[{1, 3}].push_back(second);
  }
  louddesk::StationRecord(path).Append(batch);

  const std::string section = RecordSection();
  const std::string start = "sqlite3 -readonly /var/lib/loudgate/station.db \"";
  const std::size_t begin = section.find(start);
  ASSERT_NE(std::string::npos, begin);
  const std::size_t text = begin + start.size();
  louddesk::SqliteFile file(path, louddesk::SqliteMode::kReadUnchanging);
  louddesk::SqliteStatement rows(file, section.substr(text, section.find('"', text) - text));
  std::vector<std::string> told;
  while (rows.Step())
    told.push_back(rows.Bytes(0) + " " + rows.Bytes(1));
  EXPECT_THAT(told, testing::ElementsAre("2024-06-01 00:00:00 04", "2024-06-01 00:01:00 00"));
  for (const char* end : {"", "-wal", "-shm"})
    fs::remove(path + end);
}

}  // namespace
