// A wall clock that jumps while the service runs: only the time stamps of the log follow it.

#include <cstdio>
#include <fstream>

#include "Emulation.h"
#include "FaultyUnit.h"

namespace {

using louddesk::Peer;

constexpr char kOffsetFile[] = "/run/shm/clock-offset";

constexpr long long kHour = 3600 * 1000;  // ms

/// A service whose wall clock is this machine's plus an offset that can be set.
class ClockJumpTest : public FaultyUnit {
 protected:
  void SetUp() override {
    SetOffset("+0");
    ServiceStart start;
    start.environment = {PreloadOf(LIBFAKETIME),
                         {"FAKETIME_TIMESTAMP_FILE", kOffsetFile},
                         {"FAKETIME_NO_CACHE", "1"},
                         {"FAKETIME_DONT_FAKE_MONOTONIC", "1"}};
    ASSERT_NO_FATAL_FAILURE(StartInOrder(start));
  }

  void TearDown() override {
    FaultyUnit::TearDown();
    std::remove(kOffsetFile);
  }

  /// Sets the offset atomically, because a file that is only partly written would mean another one.
  void SetOffset(const std::string& offset) {
    const std::string next = std::string(kOffsetFile) + ".next";
    std::ofstream(next) << offset << '\n';
    ASSERT_EQ(0, std::rename(next.c_str(), kOffsetFile));
  }

  /// How far the service's clock is ahead of this machine's, according to a line of its log, in ms.
  long long OffsetOfTheLog() {
    mUnit.DropLogLines();
    SayUnknown(" time.");
    auto line = mUnit.NextLogLine(kPatience);
    while (line && line->message.find(" time.") == std::string::npos)
      line = mUnit.NextLogLine(kPatience);
    EXPECT_TRUE(line) << "no line";
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return line ? std::stoll(line->message) -
                      std::chrono::duration_cast<std::chrono::milliseconds>(now).count()
                : 0;
  }

  /// Expects that the offset appears in the log and disturbs nothing else.
  void ExpectHarmless(const std::string& offset, long long hours) {
    SCOPED_TRACE(offset);
    ASSERT_NO_FATAL_FAILURE(BeginWatch());
    mUnit.DropHeartbeats();
    Pass(3 * kPeriod);
    SetOffset(offset);
    EXPECT_NEAR(static_cast<double>(hours * kHour), static_cast<double>(OffsetOfTheLog()), 10000);
    for (int beat = 0; beat < 2; ++beat)
      EXPECT_TRUE(mUnit.NextHeartbeat(kPatience)) << beat;
    ExpectMeasures(mLevel -= 3);
    ExpectCadenceAndMemory();
  }

  double mLevel = -17;  // level of the last blocks, LKFS
};

TEST_F(ClockJumpTest, ForwardAndBackDisturbsNeitherDataNorHeartbeats) {
  EXPECT_NEAR(0, static_cast<double>(OffsetOfTheLog()), 10000);
  ExpectHarmless("+5h", 5);
  ExpectHarmless("-3h", -3);
  ExpectHarmless("+0", 0);
}

}  // namespace
