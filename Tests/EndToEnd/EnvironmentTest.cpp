// The messaging library's environment variables do not change the behaviour of the service.

#include <csignal>

#include "FaultyUnit.h"

namespace {

using louddesk::Peer;

constexpr std::size_t kQueue = 1000;  // lines that wait for an absent log sink

const std::map<std::string, std::string> kLibraryVariables = {
    {"ZSYS_SIGHANDLER", "false"}, {"ZSYS_SNDHWM", "0"},       {"ZSYS_RCVHWM", "1"},
    {"ZSYS_PIPEHWM", "1"},        {"ZSYS_LINGER", "600000"},  {"ZSYS_MAX_SOCKETS", "2"},
    {"ZSYS_MAX_MSGSZ", "10"},     {"ZSYS_IO_THREADS", "0"},   {"ZSYS_LOGIDENT", "somebody"},
    {"ZSYS_LOGSENDER", "nobody"}, {"ZSYS_IPV6", "1"},         {"ZSYS_LOGSTREAM", "stdout"},
    {"ZSYS_AUTO_USE_FD", "1"},    {"ZSYS_INTERFACE", "none0"}};

class EnvironmentTest : public FaultyUnit {
 protected:
  static ServiceStart WithAllVariables() {
    ServiceStart start;
    start.environment = kLibraryVariables;
    return start;
  }

  /// Expects that a service started with these variables starts, measures and ends as usual.
  void ExpectOrdinary(const std::map<std::string, std::string>& variables) {
    mService.reset();
    ServiceStart start;
    start.environment = variables;
    ASSERT_NO_FATAL_FAILURE(StartAgain(start));
    StartMeasuringWithoutConsole();
    ExpectMeasures(-20);
    ExpectCadence();
    ExpectCleanEnd(SIGINT);
  }

  /// Counts the lines that arrive before a new one. New lines are refused while the queue is full,
  /// so a new line is provoked again whenever nothing arrives.
  std::size_t LinesBeforeANewOne() {
    constexpr char kNew[] = " new.";
    std::size_t lines = 0;
    for (const auto end = std::chrono::steady_clock::now() + kPatience;
         std::chrono::steady_clock::now() < end;) {
      const auto line = mUnit.NextLogLine(kPeriod);
      if (!line)
        SayUnknown(kNew);
      else if (line->message.find(kNew) != std::string::npos)
        return lines;
      else
        ++lines;
    }
    ADD_FAILURE() << "no new line after " << lines;
    return lines;
  }
};

TEST_F(EnvironmentTest, NoLibraryVariableChangesAnything) {
  mUnit.OpenAll();
  ExpectOrdinary(kLibraryVariables);
  // Tests each variable alone to find the one at fault.
  if (HasFailure())
    for (const auto& variable : kLibraryVariables) {
      SCOPED_TRACE("row " + variable.first);
      ExpectOrdinary({variable});
    }
}

TEST_F(EnvironmentTest, QueueOfTheLogSinkStaysBounded) {
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kLogSink}, WithAllVariables()));
  for (std::size_t i = 1; i <= kQueue + 500; ++i)
    SayUnknown(" " + std::to_string(i) + ".");
  ASSERT_TRUE(mService->WaitForLine(" 1500. not handled", kPatience));
  mUnit.Open(Peer::kLogSink);
  EXPECT_EQ(kQueue, LinesBeforeANewOne());
}

TEST_F(EnvironmentTest, UnsentMessagesDoNotHoldUpTheEnd) {
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kLogSink, Peer::kHeartbeatReceiver}, WithAllVariables()));
  StartMeasuring();
  ExpectMeasures(-20);
  ExpectCleanEnd(SIGTERM);
}

}  // namespace
