// The logger: console lines of the levelled calls, notifications and plain lines.

#include "Logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <regex>
#include <string>
#include <type_traits>

#include "LogMacros.h"
#include "MqTestKit.h"

using mqtest::Console;
using mqtest::Escaped;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

constexpr char kProcess[] = "LoudC";
constexpr char kLineEnd[] = "\n\033[0m";

using LevelledCall_t = int (Logger::*)(const char*, ...);

struct Level {
  LevelledCall_t call;
  MsgLevel_e level;
  const char* name;
  const char* colour;
  bool isFault;
};

constexpr Level kLevels[] = {
    {&Logger::Critical, MsgLevel_Critical, "CRITICAL", "\033[1;7m", true},
    {&Logger::Error, MsgLevel_Error, "ERROR", "\033[1;31m", true},
    {&Logger::Warn, MsgLevel_Warn, "WARN", "\033[1;33m", true},
    {&Logger::Info, MsgLevel_Info, "INFO", "\033[1;32m", false},
    {&Logger::Debug, MsgLevel_Debug, "DEBUG", "\033[0;1m", false},
};

// Matches one console line and nothing else.
testing::Matcher<const std::string&> Line(const std::string& colour, const std::string& level,
                                          const std::string& message) {
  return MatchesRegex(Escaped(colour) + "[0-9]+" +
                      Escaped(std::string("|") + kProcess + "|" + level + "|" + message) +
                      Escaped(kLineEnd));
}

// The clock in milliseconds, rounded down.
long long NowMs() {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

class LoggerTest : public testing::Test {
 protected:
  LoggerTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Logger::DeleteInstance();
    mpLogger = Logger::GetInstance();
    mpLogger->mLogLevel = MsgLevel_Debug;
    mpLogger->mConsoleAttached = true;
    std::snprintf(mpLogger->mName, sizeof mpLogger->mName, "%s", kProcess);
  }

  ~LoggerTest() override { Logger::DeleteInstance(); }

  int Call(const Level& level, const char* text) {
    Logger& logger = *mpLogger;
    return (logger.*level.call)("%s", text);
  }

  Logger* mpLogger = nullptr;
};

// Standard error as a socket that preserves the boundaries of writes.
class WritesToErrors {
 public:
  WritesToErrors() : saved_(dup(STDERR_FILENO)) {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends_), 0);
    dup2(ends_[1], STDERR_FILENO);
  }
  ~WritesToErrors() {
    dup2(saved_, STDERR_FILENO);
    for (const int file : {saved_, ends_[0], ends_[1]})
      close(file);
  }
  WritesToErrors(const WritesToErrors&) = delete;
  WritesToErrors& operator=(const WritesToErrors&) = delete;

  // The next write; empty when there is none.
  std::string Next() {
    char text[4096];
    const ssize_t length = recv(ends_[0], text, sizeof text, MSG_DONTWAIT);
    return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
  }

 private:
  int saved_;
  int ends_[2] = {-1, -1};
};

// A stream whose other end shows the text that has left the buffer.
class BufferedStream {
 public:
  BufferedStream() {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_), 0);
    stream_ = fdopen(ends_[1], "w");
    std::setvbuf(stream_, nullptr, _IOFBF, BUFSIZ);
  }
  ~BufferedStream() {
    std::fclose(stream_);
    close(ends_[0]);
  }
  BufferedStream(const BufferedStream&) = delete;
  BufferedStream& operator=(const BufferedStream&) = delete;

  FILE* Stream() { return stream_; }

  std::string Written() {
    char text[4096];
    const ssize_t length = recv(ends_[0], text, sizeof text, MSG_DONTWAIT);
    return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
  }

 private:
  int ends_[2] = {-1, -1};
  FILE* stream_ = nullptr;
};

// Ends the process like a service that does not detach.
void ExitWithAttachedSink() {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  Logger::GetInstance()->AttachMqOverIpc();
  std::exit(0);
}

}  // namespace

TEST(LoggerInstanceTest, IsMadeOnceAndAnewAfterItsEnd) {
  Logger* const first = Logger::GetInstance();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(Logger::GetInstance(), first);
  first->mLogLevel = MsgLevel_None;
  Logger::DeleteInstance();
  EXPECT_EQ(Logger::GetInstance()->mLogLevel, MsgLevel_Default);
  Logger::DeleteInstance();
  Logger::DeleteInstance();
}

TEST(LoggerInstanceTest, NewLoggerIsAtWarningsWithoutConsoleSinkOrName) {
  Logger::DeleteInstance();
  const Logger* const logger = Logger::GetInstance();
  EXPECT_EQ(logger->mpSock, nullptr);
  EXPECT_EQ(logger->mLogLevel, 30);
  EXPECT_TRUE(logger->mEnableTimeStamp);
  EXPECT_FALSE(logger->mThreadSafe);
  EXPECT_FALSE(logger->mConsoleAttached);
  EXPECT_FALSE(logger->mFileAttached);
  EXPECT_FALSE(logger->mDisableAll);
  EXPECT_EQ(std::string(logger->mName, sizeof logger->mName), std::string(8, '\0'));
  EXPECT_EQ(std::string(logger->mMsg, sizeof logger->mMsg), std::string(2048, '\0'));
  EXPECT_FALSE(logger->isMqAttached());
}

TEST(LoggerInstanceTest, ExitDetachesTheSinkBeforeTheMessagingLibraryEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(ExitWithAttachedSink(), testing::ExitedWithCode(0),
              AllOf(HasSubstr("\"Logger MQ cleanup!!!\"\n"), Not(HasSubstr("dangling"))));
}

TEST(LoggerInstanceTest, DeletionDetachesTheSink) {
  Logger::GetInstance()->AttachMqOverIpc();
  Console console;
  Logger::DeleteInstance();
  EXPECT_THAT(console.Output(), HasSubstr("\"Logger MQ cleanup!!!\"\n"));
}

TEST(LevelNameTest, LevelsHaveTheirValuesAndNames) {
  struct Case {
    MsgLevel_e level;
    int value;
    const char* name;
  };
  const Case cases[] = {
      {MsgLevel_Notset, 0, "NOTSET"}, {MsgLevel_Debug, 10, "DEBUG"},
      {MsgLevel_Info, 20, "INFO"},    {MsgLevel_Warn, 30, "WARN"},
      {MsgLevel_Error, 40, "ERROR"},  {MsgLevel_Critical, 50, "CRITICAL"},
      {MsgLevel_Max, 51, ""},         {MsgLevel_Default, 30, "WARN"},
      {MsgLevel_None, 1050, ""},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(row.level, row.value);
    EXPECT_STREQ(Logger::GetLevelName(row.level), row.name) << row.value;
  }
}

TEST(LevelNameTest, OtherValuesHaveNoName) {
  for (const int value : {-1, 1, 5, 9, 11, 39, 41, 49, 52, 100, 1051})
    EXPECT_STREQ(Logger::GetLevelName(static_cast<MsgLevel_e>(value)), "") << value;
}

TEST(LevelNameTest, BothNamesOfTheTypeAreOneType) {
  EXPECT_TRUE((std::is_same<LogLevel_e, MsgLevel_e>::value));
}

TEST_F(LoggerTest, EachLevelHasItsColourNameAndStream) {
  for (const Level& level : kLevels) {
    Console console;
    EXPECT_EQ(Call(level, "hello"), 5) << level.name;
    EXPECT_THAT(console.Output(), level.isFault ? testing::Matcher<const std::string&>("")
                                                : Line(level.colour, level.name, "hello"));
    EXPECT_THAT(console.Errors(), level.isFault ? Line(level.colour, level.name, "hello")
                                                : testing::Matcher<const std::string&>(""));
  }
}

TEST_F(LoggerTest, MessageIsFormattedAndItsCharactersAreCounted) {
  Console console;
  // "7 of 9: 50% done" has 16 characters.
  EXPECT_EQ(mpLogger->Error("%d of %s: %u%% done", 7, "9", 50U), 16);
  EXPECT_THAT(console.Errors(), Line("\033[1;31m", "ERROR", "7 of 9: 50% done"));
}

TEST_F(LoggerTest, LongMessageIsOnTheConsoleInFull) {
  const std::string text(10000, 'x');
  Console console;
  EXPECT_EQ(mpLogger->Info("%s", text.c_str()), 10000);
  EXPECT_THAT(console.Output(), EndsWith("|INFO|" + text + kLineEnd));
}

TEST_F(LoggerTest, EmptyMessageIsALine) {
  Console console;
  EXPECT_EQ(mpLogger->Info("%s", ""), 0);
  EXPECT_THAT(console.Output(), Line("\033[1;32m", "INFO", ""));
}

TEST_F(LoggerTest, MessageThatCannotBeConvertedIsEmpty) {
  Console console;
  // The euro sign cannot be written in the plain locale of a new process.
  EXPECT_EQ(mpLogger->Info("price: %ls", L"\u20ac"), 0);
  EXPECT_THAT(console.Output(), Line("\033[1;32m", "INFO", ""));
}

TEST_F(LoggerTest, TimeStampIsTheRealTimeInMilliseconds) {
  Console console;
  const long long before = NowMs();
  mpLogger->Info("now");
  const long long after = NowMs();
  std::smatch stamp;
  const std::string output = console.Output();
  ASSERT_TRUE(std::regex_search(output, stamp, std::regex("m([0-9]+)\\|")));
  EXPECT_GE(std::stoll(stamp[1]), before);
  // In double precision the last millisecond may be rounded up.
  EXPECT_LE(std::stoll(stamp[1]), after + 1);
}

TEST_F(LoggerTest, MessageIsWrittenWhenItsLevelIsAtLeastTheThreshold) {
  for (const MsgLevel_e threshold : {MsgLevel_Notset, MsgLevel_Debug, MsgLevel_Info, MsgLevel_Warn,
                                     MsgLevel_Error, MsgLevel_Critical, MsgLevel_Max}) {
    mpLogger->mLogLevel = threshold;
    for (const Level& level : kLevels) {
      const bool isWritten = level.level >= threshold;
      Console console;
      EXPECT_EQ(Call(level, "hello"), isWritten ? 5 : 0) << level.name << " at " << threshold;
      EXPECT_EQ((console.Output() + console.Errors()).empty(), !isWritten)
          << level.name << " at " << threshold;
    }
  }
}

TEST_F(LoggerTest, NoneLetsNothingThroughButNotifications) {
  mpLogger->mLogLevel = MsgLevel_None;
  Console console;
  for (const Level& level : kLevels)
    EXPECT_EQ(Call(level, "hello"), 0) << level.name;
  EXPECT_EQ(mpLogger->Notify(MsgLevel_Info, "Title", "for %s", "you"), 7);
  EXPECT_EQ(console.Output(), "");
  EXPECT_THAT(console.Errors(), Line("\033[0;33m", "INFO", "for you"));
}

TEST_F(LoggerTest, DisabledLoggerWritesNothingButNotifications) {
  mpLogger->mDisableAll = true;
  Console console;
  for (const Level& level : kLevels)
    EXPECT_EQ(Call(level, "hello"), 0) << level.name;
  EXPECT_EQ(mpLogger->Notify(MsgLevel_Warn, nullptr, "for you"), 7);
  EXPECT_EQ(console.Output(), "");
  EXPECT_THAT(console.Errors(), Line("\033[0;33m", "WARN", "for you"));
}

TEST_F(LoggerTest, OnlyCriticalPrintsWithoutTheConsoleFlag) {
  mpLogger->mConsoleAttached = false;
  Console console;
  for (const Level& level : kLevels)
    EXPECT_EQ(Call(level, "hello"), level.level == MsgLevel_Critical ? 5 : 0) << level.name;
  EXPECT_EQ(console.Output(), "");
  EXPECT_THAT(console.Errors(), Line("\033[1;7m", "CRITICAL", "hello"));
}

TEST_F(LoggerTest, FlagsThatAreOnlyKeptChangeNothing) {
  mpLogger->mEnableTimeStamp = false;
  mpLogger->mThreadSafe = true;
  mpLogger->mFileAttached = true;
  Console console;
  EXPECT_EQ(mpLogger->Info("hello"), 5);
  EXPECT_THAT(console.Output(), Line("\033[1;32m", "INFO", "hello"));
}

TEST_F(LoggerTest, NotificationWithoutSinkIsALineOnStandardErrorWithoutItsTitle) {
  mpLogger->mConsoleAttached = false;
  for (const Level& level : kLevels) {
    Console console;
    EXPECT_EQ(mpLogger->Notify(level.level, "Title", "input %d lost", 3), 12);
    EXPECT_THAT(console.Errors(), Line("\033[0;33m", level.name, "input 3 lost"));
    EXPECT_EQ(console.Output(), "");
  }
}

TEST_F(LoggerTest, LineLeavesTheProcessInOnePiece) {
  std::string first;
  std::string second;
  {
    WritesToErrors writes;
    mpLogger->Error("%s", "hello");
    first = writes.Next();
    second = writes.Next();
  }
  EXPECT_THAT(first, Line("\033[1;31m", "ERROR", "hello"));
  EXPECT_EQ(second, "");
}

TEST_F(LoggerTest, LineLeavesTheProcessAtOnce) {
  BufferedStream buffered;
  const int saved = dup(STDOUT_FILENO);
  std::fflush(stdout);
  dup2(fileno(buffered.Stream()), STDOUT_FILENO);
  mpLogger->Info("hello");
  const std::string written = buffered.Written();
  dup2(saved, STDOUT_FILENO);
  close(saved);
  EXPECT_THAT(written, Line("\033[1;32m", "INFO", "hello"));
}

TEST(LoggerFprintfTest, TextAndLineFeedAreWrittenAtOnceAndNothingElse) {
  BufferedStream buffered;
  Logger::Fprintf(buffered.Stream(), "%s|%u| \"%s\"", "Unit", 12U, "text");
  EXPECT_EQ(buffered.Written(), "Unit|12| \"text\"\n");
}

TEST(LoggerFprintfTest, NeedsNoLoggerAndNoFlag) {
  Logger::DeleteInstance();
  Console console;
  Logger::Fprintf(stdout, "to %s", "output");
  Logger::Fprintf(stderr, "to errors");
  EXPECT_EQ(console.Output(), "to output\n");
  EXPECT_EQ(console.Errors(), "to errors\n");
}

TEST_F(LoggerTest, LevelledMacroBeginsWithUnitAndLine) {
  const LogSource source = {"Unit", mpLogger, MsgLevel_Debug};
  Console console;
  LOUDCALC_LOG(source, Info, "\"Topic %s\"", "a");
  const std::string line = std::to_string(__LINE__ - 1);
  EXPECT_THAT(console.Output(), Line("\033[1;32m", "INFO", "Unit|" + line + "|\"Topic a\""));
}

TEST_F(LoggerTest, LevelledMacroObeysTheThresholdOfItsSource) {
  const LogSource source = {"Unit", mpLogger, MsgLevel_Warn};
  Console console;
  LOUDCALC_LOG(source, Info, "\"below\"");
  LOUDCALC_LOG(source, Warn, "\"at\"");
  EXPECT_EQ(console.Output(), "");
  EXPECT_THAT(console.Errors(), ContainsRegex("WARN\\|Unit\\|[0-9]+\\|\"at\""));
}

TEST(LogMacrosTest, LevelledMacroWithoutLoggerIsSilent) {
  const LogSource source = {"Unit", nullptr, MsgLevel_Debug};
  Console console;
  LOUDCALC_LOG(source, Critical, "\"unheard\"");
  EXPECT_EQ(console.Output() + console.Errors(), "");
}

TEST(LogMacrosTest, PlainMacroBeginsWithUnitLineAndABlank) {
  Console console;
  LOUDCALC_PRINT("Unit", stdout, "\"%d timers\"", 2);
  const std::string line = std::to_string(__LINE__ - 1);
  EXPECT_EQ(console.Output(), "Unit|" + line + "| \"2 timers\"\n");
}
