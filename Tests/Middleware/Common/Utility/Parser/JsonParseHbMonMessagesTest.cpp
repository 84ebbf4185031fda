// Readers of the process monitor's messages.

#include "JsonParseHbMonMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "DeepNesting.h"
#include "FailingNew.h"
#include "GoldenFile.h"

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char kOkay[] = R"({"SystemStatus":"Okay"})";
constexpr char kOkayProcessing[] =
    R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})";

/// The logger, with all lines on the console.
Logger* OpenLogger() {
  Logger* logger = Logger::GetInstance();
  logger->mLogLevel = MsgLevel_Debug;
  logger->mConsoleAttached = true;
  return logger;
}

/// A line of that level with exactly that message.
auto Line(const std::string& level, const std::string& message) {
  return ContainsRegex("\\|" + level + "\\|JsonParseHbMonMessages\\|[0-9]+\\|" + message + "\n");
}

/// The text that an action writes on standard error, where warnings and errors go.
template <typename Action>
std::string LinesOf(Action action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

/// The class-wide flags have their initial values, and nothing is logged.
class SysStatusTest : public testing::Test {
 protected:
  SysStatusTest() {
    cJsonParseSysStatus::mbSysStatus = false;
    cJsonParseSysStatus::mbDolbyDecoderDetected = false;
    cJsonParseSysStatus::mpLogger = nullptr;
    cJsonParseSysStatus::mLogLevel = MsgLevel_Warn;
  }

  bool Read(const std::string& text, bool detect = true, bool fallback = false) {
    return parser_.ParseSysStatus(text.c_str(), detect, fallback);
  }

  std::string LinesOfReading(const char* text, bool fallback = false) {
    return LinesOf([&] { parser_.ParseSysStatus(text, true, fallback); });
  }

  static void OpenLog(std::int32_t level) {
    cJsonParseSysStatus::mpLogger = OpenLogger();
    cJsonParseSysStatus::mLogLevel = level;
  }

  static bool Status() { return cJsonParseSysStatus::mbSysStatus; }
  static bool Decoder() { return cJsonParseSysStatus::mbDolbyDecoderDetected; }

  cJsonParseSysStatus parser_;
};

class MonitorCommandTest : public testing::Test {
 protected:
  MonitorCommandTest() {
    cJsonParseHbMonCommand::mpLogger = nullptr;
    cJsonParseHbMonCommand::mLogLevel = MsgLevel_Warn;
  }

  bool Read(const std::string& text) { return parser_.ParseSysStatus(text.c_str()); }

  std::string LinesOfReading(const char* text) {
    return LinesOf([&] { parser_.ParseSysStatus(text); });
  }

  static void OpenLog(std::int32_t level) {
    cJsonParseHbMonCommand::mpLogger = OpenLogger();
    cJsonParseHbMonCommand::mLogLevel = level;
  }

  cJsonParseHbMonCommand parser_;
};

// --- Initial values, which the fixtures would hide ---

TEST(HbMonMessagesTest, ClassWideMembersStartSilentAndUnset) {
  EXPECT_FALSE(cJsonParseSysStatus::mbSysStatus);
  EXPECT_FALSE(cJsonParseSysStatus::mbDolbyDecoderDetected);
  EXPECT_EQ(cJsonParseSysStatus::mpLogger, nullptr);
  EXPECT_EQ(cJsonParseSysStatus::mLogLevel, 30);
  EXPECT_EQ(cJsonParseHbMonCommand::mpLogger, nullptr);
  EXPECT_EQ(cJsonParseHbMonCommand::mLogLevel, 30);
}

// --- System status ---

TEST_F(SysStatusTest, OkayIsInOrder) {
  EXPECT_TRUE(Read(kOkay));
  EXPECT_TRUE(Status());
  EXPECT_FALSE(Decoder());
}

TEST_F(SysStatusTest, AnyTextThatBeginsWithOkayIsInOrder) {
  for (const char* status : {"Okay", "Okay.", "Okay with warnings", "Okayish"}) {
    cJsonParseSysStatus::mbSysStatus = false;
    EXPECT_TRUE(Read(std::string("{\"SystemStatus\":\"") + status + "\"}")) << status;
    EXPECT_TRUE(Status()) << status;
  }
}

TEST_F(SysStatusTest, OtherTextsAreNotInOrderButUsable) {
  for (const char* status : {"okay", "OKAY", "Oka", "", "Not Okay", " Okay", "Error"}) {
    cJsonParseSysStatus::mbSysStatus = true;
    EXPECT_TRUE(Read(std::string("{\"SystemStatus\":\"") + status + "\"}", true, true)) << status;
    EXPECT_FALSE(Status()) << status;
  }
}

TEST_F(SysStatusTest, StatusIsSharedByAllReaders) {
  cJsonParseSysStatus other;
  EXPECT_TRUE(other.ParseSysStatus(kOkayProcessing, true, false));
  EXPECT_TRUE(parser_.mbSysStatus);
  EXPECT_TRUE(parser_.mbDolbyDecoderDetected);
}

TEST_F(SysStatusTest, FirstOfDuplicateKeysCounts) {
  EXPECT_TRUE(Read(R"({"SystemStatus":"Okay","SystemStatus":7})"));
  EXPECT_TRUE(Status());
}

TEST_F(SysStatusTest, ProcessingDecoderIsDetected) {
  EXPECT_TRUE(Read(kOkayProcessing));
  EXPECT_TRUE(Status());
  EXPECT_TRUE(Decoder());
}

TEST_F(SysStatusTest, DecoderStateNeedOnlyBeginWithProcessing) {
  EXPECT_TRUE(Read(R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing 5.1"}})"));
  EXPECT_TRUE(Decoder());
}

TEST_F(SysStatusTest, OtherDecoderStatesAreNoDetection) {
  for (const char* state : {"Idle", "processing", "Processin", "Not Processing", ""}) {
    EXPECT_TRUE(
        Read(std::string(R"({"SystemStatus":"Okay","DolbyDecoder":{"State":")") + state + "\"}}"))
        << state;
    EXPECT_FALSE(Decoder()) << state;
  }
}

TEST_F(SysStatusTest, DetectedDecoderStaysDetected) {
  ASSERT_TRUE(Read(kOkayProcessing));
  for (const char* text : {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Idle"}})", kOkay,
                           R"({"SystemStatus":"Error"})", "{}", "no JSON",
                           R"({"SystemStatus":"Okay","DolbyDecoder":7})"}) {
    Read(text);
    EXPECT_TRUE(Decoder()) << text;
  }
}

TEST_F(SysStatusTest, DecoderIsNotLookedForWithoutRequest) {
  EXPECT_TRUE(Read(kOkayProcessing, false));
  EXPECT_TRUE(Status());
  EXPECT_FALSE(Decoder());
  EXPECT_TRUE(Read(R"({"SystemStatus":"Okay","DolbyDecoder":7})", false));
}

TEST_F(SysStatusTest, DecoderIsNotLookedForWhileTheSystemIsNotInOrder) {
  EXPECT_TRUE(Read(R"({"SystemStatus":"Error","DolbyDecoder":{"State":"Processing"}})"));
  EXPECT_FALSE(Status());
  EXPECT_FALSE(Decoder());
  EXPECT_TRUE(Read(R"({"SystemStatus":"Error","DolbyDecoder":7})"));
}

TEST_F(SysStatusTest, MissingDecoderOrStateChangesNothing) {
  EXPECT_TRUE(Read(kOkay));
  EXPECT_FALSE(Decoder());
  EXPECT_TRUE(Read(R"({"SystemStatus":"Okay","DolbyDecoder":{}})"));
  EXPECT_FALSE(Decoder());
  EXPECT_TRUE(Read(R"({"SystemStatus":"Okay","State":"Processing"})"));
  EXPECT_FALSE(Decoder());
}

TEST_F(SysStatusTest, UnusableMessageSetsTheCallersDefault) {
  for (const bool fallback : {false, true}) {
    for (const char* text : {"", "no JSON", "{", "{}", R"({"systemstatus":"Okay"})",
                             R"({"DolbyDecoder":{"State":"Processing"}})"}) {
      cJsonParseSysStatus::mbSysStatus = !fallback;
      EXPECT_FALSE(Read(text, true, fallback)) << text;
      EXPECT_EQ(Status(), fallback) << text;
      EXPECT_FALSE(Decoder()) << text;
    }
    cJsonParseSysStatus::mbSysStatus = !fallback;
    EXPECT_FALSE(parser_.ParseSysStatus(nullptr, true, fallback));
    EXPECT_EQ(Status(), fallback);
  }
}

TEST_F(SysStatusTest, TensOfThousandsOfLevelsAreUnusable) {
  for (const std::string& text : {UnclosedArrays(), UnclosedObjects(), NestedObjects()}) {
    cJsonParseSysStatus::mbSysStatus = false;
    EXPECT_FALSE(Read(text, true, true)) << text.substr(0, 5);
    EXPECT_TRUE(Status()) << text.substr(0, 5);
  }
}

TEST_F(SysStatusTest, WrongTypesStopTheProcess) {
  for (const char* text : {"[]", "null", "7", "\"Okay\"", "true"})
    EXPECT_DEATH(Read(text), "Assertion `doc\\.IsObject\\(\\)' failed") << text;
  for (const char* value : {"7", "null", "true", "[\"Okay\"]", "{}"})
    EXPECT_DEATH(Read(std::string("{\"SystemStatus\":") + value + "}"),
                 "Assertion `vSysStatus\\.IsString\\(\\)' failed")
        << value;
  for (const char* value : {"7", "null", "\"Processing\"", "[]"})
    EXPECT_DEATH(Read(std::string(R"({"SystemStatus":"Okay","DolbyDecoder":)") + value + "}"),
                 "Assertion `vDolbyDec\\.IsObject\\(\\)' failed")
        << value;
  for (const char* value : {"7", "null", "true", "{}"})
    EXPECT_DEATH(
        Read(std::string(R"({"SystemStatus":"Okay","DolbyDecoder":{"State":)") + value + "}}"),
        "Assertion `vState\\.IsString\\(\\)' failed")
        << value;
}

TEST_F(SysStatusTest, EveryStatusIsLoggedWithItsVerdict) {
  OpenLog(MsgLevel_Warn);
  EXPECT_THAT(LinesOfReading(R"({"SystemStatus":"Okay then"})"),
              AllOf(Line("WARN", "\"Got System status Okay then 1\\.\""),
                    Not(HasSubstr("Failed to parse"))));
  EXPECT_THAT(LinesOfReading(R"({"SystemStatus":"okay"})"),
              Line("WARN", "\"Got System status okay 0\\.\""));
}

TEST_F(SysStatusTest, DetectionIsLoggedOnce) {
  OpenLog(MsgLevel_Warn);
  EXPECT_THAT(LinesOfReading(R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Idle"}})"),
              Not(HasSubstr("Dolby")));
  EXPECT_THAT(LinesOfReading(kOkayProcessing), Line("WARN", "\"Dolby decoder detected\\.\""));
  EXPECT_THAT(LinesOfReading(kOkayProcessing), Not(HasSubstr("Dolby")));
}

TEST_F(SysStatusTest, UnusableMessageIsLoggedWithTheDefaultAsANumber) {
  OpenLog(MsgLevel_Warn);
  for (const char* text : {static_cast<const char*>(nullptr), "{}"}) {
    EXPECT_THAT(LinesOfReading(text, false),
                AllOf(Line("ERROR", "\"Failed to parse message setting default to 0\""),
                      Not(HasSubstr("Not a valid json"))));
    EXPECT_THAT(LinesOfReading(text, true),
                Line("ERROR", "\"Failed to parse message setting default to 1\""));
  }
}

TEST_F(SysStatusTest, TextThatIsNotJsonIsQuotedInTheLog) {
  OpenLog(MsgLevel_Warn);
  EXPECT_THAT(LinesOfReading("no JSON %s"),
              AllOf(Line("ERROR", "\"Not a valid json string no JSON %s\\.\""),
                    Line("ERROR", "\"Failed to parse message setting default to 0\"")));
}

TEST_F(SysStatusTest, ThresholdDecidesWhichLinesAreWritten) {
  const struct {
    std::int32_t level;
    bool warns;
    bool errors;
  } cases[] = {
      {10, true, true}, {30, true, true}, {31, false, true}, {40, false, true}, {41, false, false}};
  for (const auto& levelCase : cases) {
    OpenLog(levelCase.level);
    EXPECT_EQ(!LinesOfReading(kOkay).empty(), levelCase.warns) << levelCase.level;
    EXPECT_EQ(!LinesOfReading("{}").empty(), levelCase.errors) << levelCase.level;
  }
}

TEST_F(SysStatusTest, NothingIsWrittenWithoutALogger) {
  cJsonParseSysStatus::mLogLevel = MsgLevel_Notset;
  for (const char* text : {kOkayProcessing, "{}", "no JSON"})
    EXPECT_THAT(LinesOfReading(text), IsEmpty()) << text;
}

TEST_F(SysStatusTest, ExceptionWhileReadingIsPrintedAndMakesTheMessageUnusable) {
  OpenLog(MsgLevel_Warn);
  bool result = true;
  const std::string lines = LinesOf([&] {
    FailNextNew();
    result = parser_.ParseSysStatus(kOkayProcessing, true, true);
  });
  EXPECT_FALSE(result);
  EXPECT_TRUE(Status());
  EXPECT_FALSE(Decoder());
  EXPECT_THAT(lines, AllOf(ContainsRegex("^JsonParseHbMonMessages\\|[0-9]+\\| "
                                         "\"Exception std::bad_alloc\"\n"),
                           Line("ERROR", "\"Failed to parse message setting default to 1\"")));
}

TEST_F(SysStatusTest, ExampleMessageIsRead) {
  EXPECT_TRUE(Read(ReadGolden("system-status.json")));
  EXPECT_TRUE(Status());
  EXPECT_TRUE(Decoder());
}

// --- Monitor command ---

TEST_F(MonitorCommandTest, CommandIsRead) {
  EXPECT_TRUE(Read(R"({"Command":4})"));
  EXPECT_EQ(parser_.miHBMonCommand, 4);
}

TEST_F(MonitorCommandTest, AnyIntegerOf32BitsIsACommand) {
  EXPECT_TRUE(Read(R"({"Command":-2147483648,"Other":1})"));
  EXPECT_EQ(parser_.miHBMonCommand, -2147483647 - 1);
  EXPECT_TRUE(Read(R"({"Command":2147483647})"));
  EXPECT_EQ(parser_.miHBMonCommand, 2147483647);
  EXPECT_TRUE(Read(R"({"Command":0})"));
  EXPECT_EQ(parser_.miHBMonCommand, 0);
  EXPECT_TRUE(Read(R"({"Command":5,"Command":"x"})"));
  EXPECT_EQ(parser_.miHBMonCommand, 5);
}

TEST_F(MonitorCommandTest, UnusableMessageGivesMinusOne) {
  for (const char* text : {"", "no JSON", "{", "{}", R"({"Command":null})", R"({"command":4})"}) {
    parser_.miHBMonCommand = 9;
    EXPECT_FALSE(Read(text)) << text;
    EXPECT_EQ(parser_.miHBMonCommand, -1) << text;
  }
  parser_.miHBMonCommand = 9;
  EXPECT_FALSE(parser_.ParseSysStatus(nullptr));
  EXPECT_EQ(parser_.miHBMonCommand, -1);
}

TEST_F(MonitorCommandTest, TensOfThousandsOfLevelsAreUnusable) {
  for (const std::string& text : {UnclosedArrays(), UnclosedObjects(), NestedObjects()}) {
    EXPECT_FALSE(Read(text)) << text.substr(0, 5);
    EXPECT_EQ(parser_.miHBMonCommand, -1) << text.substr(0, 5);
  }
}

TEST_F(MonitorCommandTest, WrongTypesStopTheProcess) {
  for (const char* text : {"[]", "null", "4", "\"4\""})
    EXPECT_DEATH(Read(text), "Assertion `doc\\.IsObject\\(\\)' failed") << text;
  for (const char* value :
       {"4.0", "1e1", "2147483648", "-2147483649", "4294967296", "\"4\"", "true", "[4]", "{}"})
    EXPECT_DEATH(Read(std::string("{\"Command\":") + value + "}"),
                 "Assertion `vCommand\\.IsInt\\(\\)' failed")
        << value;
}

TEST_F(MonitorCommandTest, GoodCommandIsNotLogged) {
  OpenLog(MsgLevel_Notset);
  EXPECT_THAT(LinesOfReading(R"({"Command":4})"), IsEmpty());
}

TEST_F(MonitorCommandTest, UnusableMessageIsLogged) {
  OpenLog(MsgLevel_Warn);
  for (const char* text : {static_cast<const char*>(nullptr), "{}", R"({"Command":null})"})
    EXPECT_THAT(LinesOfReading(text),
                AllOf(Line("ERROR", "\"Failed to parse message HbMonitor Command\""),
                      Not(HasSubstr("Not a valid json"))));
}

TEST_F(MonitorCommandTest, TextThatIsNotJsonIsLoggedTwice) {
  OpenLog(MsgLevel_Warn);
  EXPECT_THAT(LinesOfReading("no JSON"),
              AllOf(Line("ERROR", "\"HBMonitor Parse : Not a valid json string no JSON\\.\""),
                    Line("ERROR", "\"Failed to parse message HbMonitor Command\"")));
}

TEST_F(MonitorCommandTest, ThresholdDecidesWhetherLinesAreWritten) {
  OpenLog(40);
  EXPECT_THAT(LinesOfReading("{}"), Not(IsEmpty()));
  OpenLog(41);
  EXPECT_THAT(LinesOfReading("{}"), IsEmpty());
  cJsonParseHbMonCommand::mpLogger = nullptr;
  cJsonParseHbMonCommand::mLogLevel = MsgLevel_Notset;
  EXPECT_THAT(LinesOfReading("{}"), IsEmpty());
}

TEST_F(MonitorCommandTest, ThresholdIsNotThatOfTheStatusReader) {
  OpenLog(MsgLevel_Warn);
  cJsonParseSysStatus::mpLogger = nullptr;
  cJsonParseSysStatus::mLogLevel = MsgLevel_None;
  EXPECT_THAT(LinesOfReading("{}"), Not(IsEmpty()));
}

TEST_F(MonitorCommandTest, ExceptionWhileReadingIsPrintedAndGivesMinusOne) {
  OpenLog(MsgLevel_Warn);
  parser_.miHBMonCommand = 9;
  bool result = true;
  const std::string lines = LinesOf([&] {
    FailNextNew();
    result = parser_.ParseSysStatus(R"({"Command":4})");
  });
  EXPECT_FALSE(result);
  EXPECT_EQ(parser_.miHBMonCommand, -1);
  EXPECT_THAT(lines, AllOf(ContainsRegex("^JsonParseHbMonMessages\\|[0-9]+\\| "
                                         "\"Exception std::bad_alloc\"\n"),
                           Line("ERROR", "\"Failed to parse message HbMonitor Command\"")));
}

TEST_F(MonitorCommandTest, ExampleApplicationCommandIsRead) {
  EXPECT_TRUE(Read(ReadGolden("application-command.json")));
  EXPECT_EQ(parser_.miHBMonCommand, 100);
}

}  // namespace
