// The engine's way to the publishers. `gpLcPubs` is owned by cPubHandler; reactor thread only.

#include "PublishLoudness.h"

#include "Assertion.h"
#include "PubHandler.h"

namespace {

cPubHandler& Publisher() {
  LOUDCALC_ASSERT(gpLcPubs != nullptr, "gpLcPubs != nullptr");
  return *gpLcPubs;
}

}  // namespace

void PublishLoudnessInit() {
  gpLcPubs = cPubHandler::GetInstance();
  Publisher();
}

int PublishLoudnessData(LoudnessData_t& Lu_in, std::int16_t is_valid_src_in, std::int16_t cmd_in,
                        std::int16_t cluster_id) {
  Publisher().SendLoudnessData(Lu_in, is_valid_src_in, cmd_in, cluster_id);
  return 0;
}

void PublishLoudnessConf(const char* cpTopic_in, const char* cpJStr_in) {
  Publisher().SendJson(cpTopic_in, cpJStr_in);
}

void PublishLoudnessCommand(const char* cpTopic_in, const char* cpJStr_in) {
  Publisher().SendJson(cpTopic_in, cpJStr_in);
}

void PublishLoudnessCluster() {
  Publisher();
}

void PublishLoudnessCleanup() {
  Publisher();
}
