// The messages at the log sink, and what happens to them while there is no sink.

#include <chrono>

#include "BoundSocket.h"
#include "WatchedService.h"

namespace {

using louddesk::LogLine;
using louddesk::Peer;
using testing::MatchesRegex;

constexpr char kSinkFile[] = "loggerSinkMq.ipc";
constexpr char kUnknownTopic[] = "AppLoudnessCmd";
constexpr std::size_t kLongestMessage = 2047;  // characters
constexpr std::size_t kQueue = 1000;           // messages queued for an absent sink

/// Milliseconds since the epoch.
long long Now() {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  return duration_cast<milliseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// The message without its time stamp and source line.
std::string Text(const LogLine& line) {
  return std::to_string(line.level) + " " + Normalised(line.message);
}

class LogSinkTest : public WatchedService {
 protected:
  void Say(const std::string& topic) {
    mUnit.SendText(Peer::kMainAppServer, topic, std::string("{}"));
  }

  /// The next line at the sink of the stand-in.
  LogLine Next() {
    const auto line = mUnit.NextLogLine(kPatience);
    EXPECT_TRUE(line) << "no line";
    return line.value_or(LogLine{});
  }

  /// The line about `topic`, which is sent repeatedly: lines are refused while the queue is full.
  LogLine NextOf(const std::string& topic) {
    for (const auto end = std::chrono::steady_clock::now() + kPatience;
         std::chrono::steady_clock::now() < end;) {
      Say(topic);
      if (const auto line = mUnit.NextLogLine(kPeriod))
        return *line;
    }
    ADD_FAILURE() << "no line about " << topic;
    return {};
  }

  /// The last line on standard error that contains `text`, without colours.
  std::string ConsoleLine(const std::string& text) {
    EXPECT_TRUE(mService->WaitForLine(text, kPatience));
    std::string found;
    for (const OutputLine& line : mService->Lines())
      if (line.isError && line.text.find(text) != std::string::npos)
        found = line.text.substr(line.text.rfind("\033["));
    return found.substr(found.find('m') + 1);
  }
};

TEST_F(LogSinkTest, GetsTheLinesOfTheStartInTheirOrder) {
  ASSERT_NO_FATAL_FAILURE(Start());
  EXPECT_EQ("20 #|HwMana|INFO|Connected to ipc:///run/shm/mq/loggerSinkMq.ipc", Text(Next()));
  EXPECT_EQ("20 #|HwMana|INFO|Main|#|\"Got IP for lo : 127.0.0.1 @ slot 1\"", Text(Next()));
  const std::string beats = mUnit.EndpointOf(Peer::kHeartbeatReceiver);
  EXPECT_EQ("10 #|HwMana|DEBUG|HeartBeater|#|\"Tryig to connect " + beats + "\"", Text(Next()));
  EXPECT_EQ("20 #|HwMana|INFO|HeartBeater|#|\"Connected to " + beats + "\"", Text(Next()));
  Say(kUnknownTopic);
  EXPECT_EQ("30 #|HwMana|WARN|JsonParser|#|\"Topic AppLoudnessCmd not handled\"", Text(Next()));
  Say("HbAppCmd");
  EXPECT_EQ("40 #|HwMana|ERROR|JsonParser|#|\"Failed to parse application.\"", Text(Next()));
}

TEST_F(LogSinkTest, LineIsOneFrameOfCompactJson) {
  louddesk::CollectorPeer sink(louddesk::Endpoint::Ipc(kSinkFile));
  sink.Open();
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kLogSink}));
  Say(kUnknownTopic);
  ASSERT_TRUE(mService->WaitForLine("not handled", kPatience));
  ASSERT_TRUE(mUnit.WaitFor(
      [&sink] {
        sink.ReadPending();
        return sink.Messages().size() >= 5;
      },
      kPatience));
  const louddesk::Frames& frames = sink.Messages().back();
  ASSERT_EQ(1u, frames.size());
  EXPECT_THAT(
      frames.front(),
      MatchesRegex(R"(\{"MsgType":0,"Level":30,"Name":"HwMana","Message":"[0-9]+\|HwMana\|)"
                   R"(WARN\|JsonParser\|[0-9]+\|\\"Topic AppLoudnessCmd not handled\\""\})"));
}

TEST_F(LogSinkTest, StampIsTheTimeInMilliseconds) {
  ASSERT_NO_FATAL_FAILURE(Start());
  mUnit.DropLogLines();
  const long long before = Now();
  Say(kUnknownTopic);
  LogLine line = Next();
  while (line.level < 30 && !HasFailure())
    line = Next();
  const long long stamp = std::stoll(line.message);
  EXPECT_LE(before - 1, stamp);
  EXPECT_GE(Now() + 1, stamp);
}

TEST_F(LogSinkTest, TextsComeAsTheyStandOnTheConsole) {
  ASSERT_NO_FATAL_FAILURE(StartWatched());
  for (const char* text : {"\"quoted\"", "back\\slash", "\t|1|2|", "\x01\x1f",
                           "\xC3\xA4\xE2\x82\xAC", "%s%n%d", "{\"a\":[1]}", "</script>"}) {
    SCOPED_TRACE(text);
    Say(std::string(kUnknownTopic) + text);
    const LogLine line = Next();
    const std::string console = ConsoleLine(text);
    EXPECT_EQ(Normalised(console), Normalised(line.message));
  }
}

TEST_F(LogSinkTest, LongMessageIsCutAndStandsWholeOnTheConsole) {
  ASSERT_NO_FATAL_FAILURE(StartWatched());
  const std::string topic = kUnknownTopic + std::string(4000, 'x');
  Say(topic);
  const LogLine line = Next();
  EXPECT_EQ(kLongestMessage, line.message.size());
  const std::string console = ConsoleLine(topic + " not handled\"");
  // All time stamps have the same length.
  EXPECT_EQ(Normalised(console.substr(0, kLongestMessage)), Normalised(line.message));
}

TEST_F(LogSinkTest, AbsentSinkGetsTheFirstLinesWhenItComesAndAllNewOnes) {
  constexpr int kLines = 1500;
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kLogSink}));
  for (int i = 0; i < kLines; ++i)
    Say(kUnknownTopic + std::to_string(i) + ".");
  ASSERT_TRUE(mService->WaitForLine("AppLoudnessCmd1499. not handled", kPatience));

  mUnit.Open(Peer::kLogSink);
  // Lines that did not fit into the queue are lost; the first lines are those of the start.
  constexpr int kStartLines = 4;
  for (int i = 0; i < kStartLines; ++i)
    EXPECT_LT(Next().level, 30);
  for (std::size_t i = 0; i < kQueue - kStartLines; ++i)
    ASSERT_EQ("30 #|HwMana|WARN|JsonParser|#|\"Topic AppLoudnessCmd" + std::to_string(i) +
                  ". not handled\"",
              Text(Next()));
  EXPECT_EQ("30 #|HwMana|WARN|JsonParser|#|\"Topic AppLoudnessCmd new not handled\"",
            Text(NextOf("AppLoudnessCmd new")));
}

TEST_F(LogSinkTest, SinkThatIsGoneLeavesTheConsole) {
  ASSERT_NO_FATAL_FAILURE(StartWatched());
  StartMeasuring();
  mUnit.Close(Peer::kLogSink);
  const std::size_t before = mService->LineCount();
  Say("AppLoudnessCmd alone");
  EXPECT_TRUE(mService->WaitForLine("AppLoudnessCmd alone not handled", kPatience, before));
  ExpectCadence();
}

}  // namespace
