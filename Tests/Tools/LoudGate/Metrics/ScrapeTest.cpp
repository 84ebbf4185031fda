// The metrics of the shipped gate beside a running service.

#include "GateProcess.h"

namespace {

using testing::HasSubstr;

TEST_F(GateTest, MetricsFollowTheService) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  Await("/api/clusters/1-1",
        [](const nlohmann::json& cluster) { return cluster.at("State") == "RUNNING"; });
  Feed(10, -23.0);  // five channels count: -23 + 10 log10(5.82) = -15.35
  Await("/api/clusters/1-1",
        [](const nlohmann::json& cluster) { return cluster.at("Momentary") == -15.4; });
  const HttpReply reply = Get("/metrics");
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ("text/plain; version=0.0.4; charset=utf-8", reply.Header("Content-Type"));
  EXPECT_THAT(reply.body,
              HasSubstr("loudcalc_momentary_lufs{meter_set=\"1\",cluster=\"1\"} -15.4\n"));
  EXPECT_THAT(reply.body, HasSubstr("state=\"running\"} 1\n"));
  EXPECT_THAT(reply.body, HasSubstr("loudgate_clusters 1\n"));
}

}  // namespace
