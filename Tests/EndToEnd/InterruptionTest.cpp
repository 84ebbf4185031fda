// System calls that signals keep interrupting, from the first call on: nothing is lost and nothing
// stops.

#include <cstdio>
#include <fstream>

#include "Emulation.h"
#include "FaultyUnit.h"

namespace {

constexpr char kCountFile[] = "/run/shm/interrupted-polls";

class InterruptionTest : public FaultyUnit {
 protected:
  void TearDown() override {
    FaultyUnit::TearDown();
    std::remove(kCountFile);
  }

  static ServiceStart Interrupted() {
    ServiceStart start;
    start.environment = {PreloadOf(INTERRUPTED_POLLS), {"INTERRUPTED_POLLS_FILE", kCountFile}};
    return start;
  }
};

TEST_F(InterruptionTest, OfEveryThirdPollCostsNothing) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder(Interrupted()));
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  for (int i = 0; i < 10; ++i) {
    SendCommand("Reset");
    ExpectAcknowledgement("Reset");
    ExpectMeasures(-20 - i);
    SayUnknown(" " + std::to_string(i) + ".");
    ExpectLogLine(" " + std::to_string(i) + ". not handled");
  }
  mUnit.DropHeartbeats();
  EXPECT_TRUE(mUnit.NextHeartbeat(kPatience));
  ExpectCadenceAndMemory();
  ExpectCleanEnd(SIGTERM);
  EXPECT_THAT(Output(), testing::Not(testing::HasSubstr("Failed")));
  unsigned interruptions = 0;
  std::ifstream(kCountFile) >> interruptions;
  RecordFigure("interruptions", interruptions);
  EXPECT_GT(interruptions, 200u);
}

}  // namespace
