// The logger's socket to the sink: attaching over both transports, detaching, faults.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "LoggerSinkFixture.h"

using faults::Call;
using mqtest::Console;
using mqtest::Printed;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

struct Transport {
  const char* endpoint;
  int (Logger::*attach)();
};

class LoggerAttachTest : public LoggerSinkTest, public testing::WithParamInterface<Transport> {
 protected:
  int Attach() {
    Logger& logger = *mpLogger;
    return (logger.*GetParam().attach)();
  }

  std::string Text(const char* before) const { return before + std::string(GetParam().endpoint); }
};

INSTANTIATE_TEST_SUITE_P(Transports, LoggerAttachTest,
                         testing::Values(Transport{kTcpEndpoint, &Logger::AttachMqOverTcp},
                                         Transport{kIpcEndpoint, &Logger::AttachMqOverIpc}),
                         [](const testing::TestParamInfo<Transport>& transport) {
                           return transport.index == 0 ? "Tcp" : "Ipc";
                         });

}  // namespace

TEST_P(LoggerAttachTest, AttachingIsLoggedAndItsSuccessReachesTheSink) {
  Sink sink(GetParam().endpoint);
  MakeVerbose();
  Console console;
  EXPECT_EQ(Attach(), 1);
  EXPECT_TRUE(mpLogger->isMqAttached());
  EXPECT_THAT(console.Output(),
              MatchesRegex(mqtest::Escaped("\033[0;1m") + "[0-9]+\\|LoudC\\|DEBUG\\|" +
                           mqtest::Escaped(Text("Tryig to connect ") + "\n\033[0m\033[1;32m") +
                           "[0-9]+\\|LoudC\\|INFO\\|" +
                           mqtest::Escaped(Text("Connected to ") + "\n\033[0m")));
  EXPECT_EQ(console.Errors(), "");
  EXPECT_THAT(sink.NextText(),
              MatchesRegex("[0-9]+\\|LoudC\\|INFO\\|" + mqtest::Escaped(Text("Connected to "))));
  EXPECT_FALSE(sink.HasMore());
}

TEST_P(LoggerAttachTest, SinkNeedNotBeThere) {
  EXPECT_EQ(Attach(), 1);
  EXPECT_TRUE(mpLogger->isMqAttached());
}

TEST_P(LoggerAttachTest, SecondAttachIsReportedAndKeepsTheFirst) {
  AttachQuietly();
  zsock_t* const socket = mpLogger->mpSock;
  MakeVerbose();
  Console console;
  EXPECT_EQ(Attach(), 0);
  EXPECT_EQ(mpLogger->mpSock, socket);
  EXPECT_EQ(console.Output(), "");
  EXPECT_THAT(console.Errors(),
              MatchesRegex(mqtest::Escaped("\033[1;31m") + "[0-9]+\\|LoudC\\|ERROR\\|" +
                           mqtest::Escaped(Text("Seems this instance already connected to ") +
                                           "\n\033[0m")));
}

TEST_P(LoggerAttachTest, WithoutASocketNothingIsAttachedOrSaid) {
  MakeVerbose();
  faults::Fail(Call::SockNew);
  Console console;
  EXPECT_EQ(Attach(), 0);
  EXPECT_FALSE(mpLogger->isMqAttached());
  EXPECT_EQ(console.Output() + console.Errors(), "");
}

TEST_P(LoggerAttachTest, RefusedConnectionLeavesNoSocketAndIsLogged) {
  MakeVerbose();
  faults::Fail(Call::Connect);
  Console console;
  EXPECT_EQ(Attach(), 0);
  EXPECT_FALSE(mpLogger->isMqAttached());
  EXPECT_EQ(faults::Destroyed().size(), 1U);
  EXPECT_THAT(console.Output(), HasSubstr(Text("|DEBUG|Tryig to connect ") + "\n"));
  EXPECT_THAT(console.Errors(), HasSubstr(Text("|ERROR|Failed to connect to ") + "\n"));
}

TEST_P(LoggerAttachTest, ExhaustedMemoryIsReportedOnStandardError) {
  faults::ThrowBadAlloc(Call::SockNew);
  Console console;
  EXPECT_EQ(Attach(), 0);
  EXPECT_FALSE(mpLogger->isMqAttached());
  EXPECT_THAT(console.Errors(), Printed("Logger", "\"Exception Bad alloc std::bad_alloc\""));
  EXPECT_EQ(console.Output(), "");
}

TEST_P(LoggerAttachTest, OtherExceptionIsReportedOnStandardErrorAndLeavesNoSocket) {
  faults::ThrowRuntimeError(Call::Connect);
  Console console;
  EXPECT_EQ(Attach(), 0);
  EXPECT_FALSE(mpLogger->isMqAttached());
  EXPECT_EQ(faults::Destroyed().size(), 1U);
  EXPECT_THAT(console.Errors(), Printed("Logger", "\"Exception provoked by the test\""));
  EXPECT_EQ(console.Output(), "");
}

TEST_F(LoggerSinkTest, DetachingIsPrintedWhateverTheLevel) {
  AttachQuietly();
  mpLogger->mLogLevel = MsgLevel_None;
  Console console;
  EXPECT_EQ(mpLogger->DetachMq(), 1);
  EXPECT_FALSE(mpLogger->isMqAttached());
  EXPECT_EQ(mpLogger->mpSock, nullptr);
  EXPECT_THAT(console.Output(), MatchesRegex("Logger\\|[0-9]+\\| \"Logger MQ cleanup!!!\"\n"));
  EXPECT_EQ(console.Errors(), "");
}

TEST_F(LoggerSinkTest, DetachingWithoutASinkSaysNothing) {
  Console console;
  EXPECT_EQ(mpLogger->DetachMq(), 1);
  EXPECT_EQ(console.Output() + console.Errors(), "");
}

TEST_F(LoggerSinkTest, DetachedLoggerAttachesAgain) {
  AttachQuietly();
  {
    Console console;
    mpLogger->DetachMq();
  }
  AttachQuietly();
  Sink sink(kIpcEndpoint);
  EXPECT_TRUE(Send("again"));
  EXPECT_EQ(sink.NextText(), "again");
}

TEST_F(LoggerSinkTest, ExceptionWhileDetachingIsReported) {
  AttachQuietly();
  faults::ThrowRuntimeError(Call::SockDestroy);
  Console console;
  EXPECT_EQ(mpLogger->DetachMq(), 0);
  EXPECT_THAT(console.Errors(), Printed("Logger", "\"Exception provoked by the test\""));
}
