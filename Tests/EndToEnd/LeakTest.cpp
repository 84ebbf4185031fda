// A whole cycle of the service under the memory checker.

#include <csignal>

#include "RunningService.h"

namespace {

class LeakTest : public RunningService {};

TEST_F(LeakTest, StartMeasureStopLeavesNothingBehind) {
  constexpr char kErrorStatus[] = "--error-exitcode=97";
  ServiceStart start;
  start.runner = {VALGRIND_BINARY,
                  "--quiet",
                  "--leak-check=full",
                  "--show-leak-kinds=definite,indirect,possible",
                  "--errors-for-leak-kinds=definite,indirect,possible",
                  kErrorStatus};
  ASSERT_NO_FATAL_FAILURE(Start({}, start));
  StartMeasuring();
  ExpectMeasures(-23);
  louddesk::LoudnessConfiguration configuration;
  configuration.mode = "Manual";
  SendConfiguration(configuration);
  ExpectAcknowledgement("Start");
  ExpectMeasures(-30);
  for (const char* command : {"Pause", "Play", "Reset", "Stop"}) {
    SendCommand(command);
    ExpectAcknowledgement(command);
  }
  EnableReporting(false);
  ExpectCleanEnd(SIGTERM);
  EXPECT_THAT(mService->StandardError(), testing::Not(testing::HasSubstr("==")))
      << "what the memory checker found";
}

}  // namespace
