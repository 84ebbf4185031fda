// The gate's JSON beside a running service, requested by a real client.

#include <set>

#include "DocumentWriter.h"
#include "GateProcess.h"
#include "WatchRows.h"

namespace {

using nlohmann::json;

// Returns the only cluster of the document.
json OneOf(const json& document) {
  return document.at("Clusters").size() == 1 ? document.at("Clusters").at(0) : json();
}

bool IsState(const json& document, const std::string& state) {
  const json cluster = OneOf(document);
  return cluster.is_object() && cluster.at("State") == state;
}

TEST_F(GateTest, ServiceThatStartsIsFoundAndMeasures) {
  ASSERT_NO_FATAL_FAILURE(StartGate());
  EXPECT_EQ(json::array(), Get("/api/clusters").Json().at("Clusters"));
  EXPECT_EQ(404, Get("/api/clusters/1-1").status);

  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  Await("/api/clusters", [](const json& document) { return IsState(document, "RUNNING"); });
  // 0.4 s of blocks fill the momentary loudness. The channel weights 1, 1, 1, 1.41 and 1.41 give
  // -23 + 10 log10(5.82) = -15.35.
  Feed(10, -23.0);
  const json cluster = Await(
      "/api/clusters/1-1", [](const json& document) { return document.at("Momentary") == -15.4; });
  EXPECT_EQ("1-1", cluster.at("Name"));
  EXPECT_EQ(1, cluster.at("MeterSet"));
  EXPECT_EQ(1, cluster.at("Cluster"));
  EXPECT_EQ(true, cluster.at("ValidSource"));
  EXPECT_EQ("Start", cluster.at("Command"));
}

TEST_F(GateTest, FiguresHaveTheNamesOfTheRowsOfWatch) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  const json cluster = OneOf(
      Await("/api/clusters", [](const json& document) { return IsState(document, "RUNNING"); }));
  louddesk::LoudnessMessage message;
  const json row = json::parse(WatchJsonRow(message, {}));
  for (const auto& member : row.items())
    EXPECT_TRUE(cluster.contains(member.key())) << member.key();
}

TEST_F(GateTest, ServiceThatEndsIsShownAndItsRestartCounted) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  Await("/api/clusters", [](const json& document) { return IsState(document, "RUNNING"); });
  ExpectCleanEnd(SIGTERM);
  const json gone =
      OneOf(Await("/api/clusters", [](const json& document) { return IsState(document, "DEAD"); }));
  EXPECT_EQ(true, gone.at("Alarming"));
  EXPECT_EQ(0, gone.at("Restarts"));
  ASSERT_NO_FATAL_FAILURE(StartAgain());
  StartMeasuring();
  const json back = OneOf(
      Await("/api/clusters", [](const json& document) { return IsState(document, "RUNNING"); }));
  EXPECT_EQ(1, back.at("Restarts"));
}

TEST_F(GateTest, StreamFollowsTheClusters) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  Await("/api/clusters", [](const json& document) { return IsState(document, "RUNNING"); });
  const auto all = Follow("/api/stream");
  const auto one = Follow("/api/stream?cluster=1-1");
  EXPECT_TRUE(all->WaitForLine(R"("State":"RUNNING")", kPatience));
  EXPECT_TRUE(one->WaitForLine(R"("State":"RUNNING")", kPatience));
  SendCommand("Pause");
  EXPECT_TRUE(all->WaitForLine(R"("State":"PAUSED")", kPatience));
  EXPECT_TRUE(one->WaitForLine(R"("State":"PAUSED")", kPatience));
  for (const ServiceProcess* reader : {all.get(), one.get()})
    for (const OutputLine& line : reader->Lines())
      if (line.text.rfind("data: ", 0) == 0) {
        EXPECT_TRUE(json::accept(line.text.substr(6))) << line.text;
      }
  EXPECT_EQ(404, Get("/api/stream?cluster=1-2").status);
}

// Ten events a second, one per message, with some slack for a busy machine.
TEST_F(GateTest, StreamHasTenEventsASecond) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  Await("/api/clusters", [](const json& document) { return IsState(document, "RUNNING"); });
  const auto reader = Follow("/api/stream");
  ASSERT_TRUE(reader->WaitForLine("data: ", kPatience));
  std::set<std::uint64_t> messages;
  Pass(std::chrono::milliseconds(3000));
  for (const OutputLine& line : reader->Lines())
    if (line.text.rfind("data: ", 0) == 0)
      messages.insert(OneOf(json::parse(line.text.substr(6))).at("Messages").get<std::uint64_t>());
  EXPECT_LE(15u, messages.size());
  EXPECT_GE(45u, messages.size());
}

}  // namespace
