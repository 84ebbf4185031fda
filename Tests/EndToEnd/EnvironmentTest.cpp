// Variables of the messaging library in the environment: none changes what the service does.

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
};

class LibraryVariableTest
    : public EnvironmentTest,
      public testing::WithParamInterface<std::pair<const std::string, std::string>> {};

TEST_P(LibraryVariableTest, ChangesNothing) {
  ServiceStart start;
  start.environment = {GetParam()};
  ASSERT_NO_FATAL_FAILURE(StartInOrder(start));
  ExpectMeasures(-20);
  ExpectCadence();
  ExpectCleanEnd(SIGINT);
}

INSTANTIATE_TEST_SUITE_P(Variables, LibraryVariableTest, testing::ValuesIn(kLibraryVariables),
                         [](const auto& test) { return test.param.first; });

TEST_F(EnvironmentTest, QueueOfTheLogSinkStaysBounded) {
  mUnit.OpenAll({Peer::kLogSink});
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kLogSink}, WithAllVariables()));
  for (std::size_t i = 1; i <= kQueue + 500; ++i)
    SayUnknown(" " + std::to_string(i) + ".");
  ASSERT_TRUE(mService->WaitForLine(" 1500. not handled", kPatience));
  mUnit.Open(Peer::kLogSink);
  ASSERT_TRUE(mUnit.NextLogLine(kPatience));
  SayUnknown(" new.");
  std::size_t lines = 1;
  for (auto line = mUnit.NextLogLine(kPatience);
       line && line->message.find(" new.") == std::string::npos;
       line = mUnit.NextLogLine(kPatience))
    ++lines;
  EXPECT_EQ(kQueue, lines);
}

TEST_F(EnvironmentTest, UnsentMessagesDoNotHoldUpTheEnd) {
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kLogSink, Peer::kHeartbeatReceiver}, WithAllVariables()));
  StartMeasuring();
  ExpectMeasures(-20);
  ExpectCleanEnd(SIGTERM);
}

}  // namespace
