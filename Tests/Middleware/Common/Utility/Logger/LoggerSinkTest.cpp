// The messages at the log sink, and the behaviour while the sink does not read.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "LoggerSinkFixture.h"
#include "SignalStorm.h"

using faults::Call;
using mqtest::Console;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

constexpr std::size_t kMaxSinkText = 2047;

// Length of the prefix of a message of level INFO: time stamp of 13 digits (until the year 2286),
// "|LoudC|INFO|".
constexpr std::size_t kInfoPrefix = 13 + 12;

}  // namespace

TEST_F(LoggerSinkTest, MessageIsOneFrameOfCompactJson) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  EXPECT_TRUE(mpLogger->SendJson(MsgType_Logging, MsgLevel_Error, "text", nullptr));
  EXPECT_THAT(sink.NextFrames(),
              ElementsAre(R"({"MsgType":0,"Level":40,"Name":"LoudC","Message":"text"})"));
}

TEST_F(LoggerSinkTest, OnlyANotificationHasATitle) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  EXPECT_TRUE(mpLogger->SendJson(MsgType_Notify, MsgLevel_Warn, "text", "Title"));
  EXPECT_EQ(sink.Next(),
            R"({"MsgType":1,"Level":30,"Name":"LoudC","Message":"text","Title":"Title"})");
  EXPECT_TRUE(mpLogger->SendJson(MsgType_Notify, MsgLevel_Warn, "text", nullptr));
  EXPECT_EQ(sink.Next(), R"({"MsgType":1,"Level":30,"Name":"LoudC","Message":"text"})");
  EXPECT_TRUE(mpLogger->SendJson(MsgType_Logging, MsgLevel_Warn, "text", "Title"));
  EXPECT_EQ(sink.Next(), R"({"MsgType":0,"Level":30,"Name":"LoudC","Message":"text"})");
  EXPECT_TRUE(mpLogger->SendJson(MsgType_Notify, MsgLevel_Warn, "", ""));
  EXPECT_EQ(sink.Next(), R"({"MsgType":1,"Level":30,"Name":"LoudC","Message":"","Title":""})");
}

TEST_F(LoggerSinkTest, CharactersThatJsonReservesAreEscaped) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  EXPECT_TRUE(Send("a \"b\" \\ /\n\t\x1b \xc3\xa9"));
  EXPECT_EQ(sink.Next(),
            "{\"MsgType\":0,\"Level\":20,\"Name\":\"LoudC\","
            "\"Message\":\"a \\\"b\\\" \\\\ /\\n\\t\\u001B \xc3\xa9\"}");
}

TEST_F(LoggerSinkTest, BytesThatAreNotTextReachTheSinkAsReplacementCharacters) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  EXPECT_TRUE(mpLogger->SendJson(MsgType_Notify, MsgLevel_Warn, "a\xFFz", "\xC3"));
  EXPECT_EQ(sink.Next(),
            "{\"MsgType\":1,\"Level\":30,\"Name\":\"LoudC\",\"Message\":\"a\xEF\xBF\xBDz\","
            "\"Title\":\"\xEF\xBF\xBD\"}");
}

TEST_F(LoggerSinkTest, NameThatIsNotTextReachesTheSinkAsReplacementCharacters) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  // The last of the seven bytes is the first byte of a two-byte character.
  std::snprintf(mpLogger->mName, sizeof mpLogger->mName, "Lo\xff\xc3\xa4u\xc3");
  EXPECT_TRUE(Send("m"));
  EXPECT_EQ(sink.Next(),
            "{\"MsgType\":0,\"Level\":20,\"Name\":\"Lo\xef\xbf\xbd\xc3\xa4u\xef\xbf\xbd\","
            "\"Message\":\"m\"}");
}

TEST_F(LoggerSinkTest, NothingIsSentWithoutMessageOrSink) {
  EXPECT_FALSE(Send("text"));
  AttachQuietly();
  EXPECT_FALSE(mpLogger->SendJson(MsgType_Notify, MsgLevel_Warn, nullptr, "Title"));
  EXPECT_EQ(faults::Count(Call::SendLast), 0);
}

TEST_F(LoggerSinkTest, StormOfSignalsLosesNoMessage) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  int sent = 0;
  int received = 0;
  SendUnderStorm(
      mpLogger->mpSock, [&] { EXPECT_TRUE(Send(std::to_string(sent++))); },
      [&] { EXPECT_EQ(sink.NextText(), std::to_string(received++)); });
}

// The sink is absent; each attempt to connect is an event.
TEST_F(LoggerSinkTest, MessagesTakeNoteOfWhatHappensToTheLink) {
  AttachQuietly();
  faults::Reset();
  EXPECT_TRUE(Send("text"));
  EXPECT_GT(faults::Count(Call::EventReceive), 0);
}

TEST_F(LoggerSinkTest, ExceptionWhileSendingIsReported) {
  AttachQuietly();
  faults::ThrowRuntimeError(Call::SendLast);
  Console console;
  EXPECT_FALSE(Send("text"));
  EXPECT_THAT(console.Errors(), MatchesRegex("Logger\\|[0-9]+\\| \"Exception provoked by the "
                                             "test\"\n"));
}

TEST_F(LoggerSinkTest, ExhaustedMemoryWhileSendingIsReportedAsAnyException) {
  AttachQuietly();
  faults::ThrowBadAlloc(Call::SendLast);
  Console console;
  EXPECT_FALSE(Send("text"));
  EXPECT_THAT(console.Errors(), MatchesRegex("Logger\\|[0-9]+\\| \"Exception std::bad_alloc\"\n"));
}

TEST_F(LoggerSinkTest, LevelledMessageGoesToTheSinkWithTimeProcessAndLevel) {
  struct Case {
    int (Logger::*call)(const char*, ...);
    int level;
    const char* name;
  };
  const Case cases[] = {
      {&Logger::Critical, 50, "CRITICAL"}, {&Logger::Error, 40, "ERROR"},
      {&Logger::Warn, 30, "WARN"},         {&Logger::Info, 20, "INFO"},
      {&Logger::Debug, 10, "DEBUG"},
  };
  mpLogger->mLogLevel = MsgLevel_Debug;
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  Logger& logger = *mpLogger;
  for (const Case& row : cases) {
    Console console;
    EXPECT_EQ((logger.*row.call)("%s %d", "meter", 5), 7) << row.name;
    EXPECT_THAT(sink.Next(),
                MatchesRegex(
                    mqtest::Escaped("{\"MsgType\":0,\"Level\":" + std::to_string(row.level) +
                                    ",\"Name\":\"LoudC\",\"Message\":\"") +
                    "[0-9]+" + mqtest::Escaped(std::string("|LoudC|") + row.name + "|meter 5\"}")));
  }
}

TEST_F(LoggerSinkTest, ConsoleFlagAndSinkAreIndependent) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  {
    Console console;
    EXPECT_EQ(mpLogger->Error("hidden"), 6);
    EXPECT_EQ(console.Errors(), "");
    EXPECT_THAT(sink.NextText(), HasSubstr("|ERROR|hidden"));
  }
  mpLogger->mConsoleAttached = true;
  Console console;
  EXPECT_EQ(mpLogger->Error("shown"), 5);
  EXPECT_THAT(console.Errors(), HasSubstr("|ERROR|shown\n"));
  EXPECT_THAT(sink.NextText(), HasSubstr("|ERROR|shown"));
}

TEST_F(LoggerSinkTest, CriticalGoesToConsoleAndSinkWithoutTheConsoleFlag) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  Console console;
  EXPECT_EQ(mpLogger->Critical("both"), 4);
  EXPECT_THAT(console.Errors(), HasSubstr("|CRITICAL|both\n"));
  EXPECT_THAT(sink.NextText(), HasSubstr("|CRITICAL|both"));
}

TEST_F(LoggerSinkTest, ThresholdAndDisablingHoldForTheSinkToo) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  EXPECT_EQ(mpLogger->Info("below the threshold"), 0);
  mpLogger->mLogLevel = MsgLevel_None;
  EXPECT_EQ(mpLogger->Critical("below the highest"), 0);
  mpLogger->mLogLevel = MsgLevel_Debug;
  mpLogger->mDisableAll = true;
  EXPECT_EQ(mpLogger->Critical("disabled"), 0);
  EXPECT_EQ(mpLogger->Notify(MsgLevel_Info, nullptr, "notified"), 8);
  EXPECT_EQ(sink.NextText(), "notified");
  EXPECT_FALSE(sink.HasMore());
}

TEST_F(LoggerSinkTest, LongMessageIsCutSoThatThePrefixedTextHas2047Characters) {
  mpLogger->mLogLevel = MsgLevel_Info;
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  EXPECT_EQ(mpLogger->Info("%s", std::string(5000, 'x').c_str()), 5000);
  const std::string text = sink.NextText();
  EXPECT_EQ(text.size(), kMaxSinkText);
  EXPECT_THAT(text, EndsWith("|LoudC|INFO|" + std::string(kMaxSinkText - kInfoPrefix, 'x')));
}

TEST_F(LoggerSinkTest, MessageThatJustFitsIsNotCut) {
  mpLogger->mLogLevel = MsgLevel_Info;
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  const std::string fitting = std::string(kMaxSinkText - kInfoPrefix - 1, 'x') + "z";
  mpLogger->Info("%s", fitting.c_str());
  EXPECT_THAT(sink.NextText(), EndsWith("|INFO|" + fitting));
  mpLogger->Info("x%s", fitting.c_str());
  EXPECT_THAT(sink.NextText(), Not(EndsWith("z")));
}

TEST_F(LoggerSinkTest, BufferIsClearedBehindAShorterMessage) {
  AttachQuietly();
  mpLogger->Notify(MsgLevel_Info, nullptr, "%s", std::string(3000, 'x').c_str());
  EXPECT_EQ(std::string(mpLogger->mMsg, sizeof mpLogger->mMsg),
            std::string(kMaxSinkText, 'x') + '\0');
  mpLogger->Notify(MsgLevel_Info, nullptr, "short");
  EXPECT_EQ(std::string(mpLogger->mMsg, sizeof mpLogger->mMsg),
            "short" + std::string(sizeof mpLogger->mMsg - 5, '\0'));
}

TEST_F(LoggerSinkTest, NotificationGoesToTheSinkAloneAndUnprefixed) {
  AttachQuietly();
  mpLogger->mLogLevel = MsgLevel_None;
  mpLogger->mDisableAll = true;
  mpLogger->mConsoleAttached = true;
  Sink sink(kIpcEndpoint);
  Console console;
  EXPECT_EQ(mpLogger->Notify(MsgLevel_Error, "Input", "input %d lost", 3), 12);
  EXPECT_EQ(sink.Next(),
            R"({"MsgType":1,"Level":40,"Name":"LoudC","Message":"input 3 lost","Title":"Input"})");
  EXPECT_EQ(console.Output() + console.Errors(), "");
}

TEST_F(LoggerSinkTest, LongNotificationIsCutAt2047Characters) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  EXPECT_EQ(mpLogger->Notify(MsgLevel_Info, "Title", "%s", std::string(5000, 'x').c_str()), 5000);
  EXPECT_EQ(sink.NextText(), std::string(kMaxSinkText, 'x'));
}

TEST_F(LoggerSinkTest, FiveThousandMessagesWithoutAPeerNeverWait) {
  AttachQuietly();
  int refused = 0;
  bool isLastSent = true;
  for (int i = 0; i < 5000; ++i) {
    isLastSent = Send("nobody listens");
    refused += isLastSent ? 0 : 1;
  }
  EXPECT_FALSE(isLastSent);
  // The queue keeps the earliest messages.
  EXPECT_GT(refused, 0);
  EXPECT_LT(refused, 5000);
}

TEST_F(LoggerSinkTest, RefusedMessageIsStillOnTheConsole) {
  AttachQuietly();
  FillQueue();
  mpLogger->mConsoleAttached = true;
  Console console;
  EXPECT_EQ(mpLogger->Error("hello"), 5);
  EXPECT_THAT(console.Errors(), HasSubstr("|ERROR|hello\n"));
}

TEST_F(LoggerSinkTest, LateSinkGetsWhatWasKeptInOrderAndThenWhatIsNew) {
  AttachQuietly();
  const int kept = FillQueue();
  EXPECT_FALSE(Send("lost"));
  Sink sink(kIpcEndpoint);
  for (int i = 0; i < kept; ++i)
    ASSERT_EQ(sink.NextText(), std::to_string(i));
  EXPECT_FALSE(sink.HasMore());
  EXPECT_TRUE(Send("new"));
  EXPECT_EQ(sink.NextText(), "new");
}

// The sink's own queue and the system hold a varying number of messages before the logger's queue
// fills.
TEST_F(LoggerSinkTest, StalledSinkDoesNotHoldTheLoggerUp) {
  Sink sink(kIpcEndpoint);
  AttachQuietly();
  EXPECT_TRUE(Send("first"));
  EXPECT_EQ(sink.NextText(), "first");
  EXPECT_LT(FillQueue(), kMostMessages);
  EXPECT_EQ(sink.NextText(), "0");
}
