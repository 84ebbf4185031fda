// The command message: the lines printed about an accepted command, a refused command and a command
// for another cluster.

#include "WatchedService.h"

namespace {

using louddesk::LoudnessConfiguration;
using louddesk::Peer;

using Texts = std::vector<std::string>;

constexpr char kTopic[] = "AppIOQVLoudnessCmd-1";
constexpr char kUnit[] = "JsonParser";

/// The lines that the service writes about an accepted command.
Texts Accepted(const std::string& json, const std::string& command, int code, unsigned timeStamp,
               unsigned user, int mode) {
  return {Printed(kUnit, std::string("\"") + kTopic + "\\n\\" + json + "\\n\""),
          Printed(kUnit, std::string("\"") + kTopic + "\\n\\ parsed\\n\""),
          "",
          "\tLoudness command ",
          "\t\tLuCmd: " + command + " : " + std::to_string(code),
          "\t\tLuUID: " + std::to_string(user) + " , CmdTS" + std::to_string(timeStamp),
          Printed(kUnit, "\"Mode " + std::to_string(mode) + ", 1\"")};
}

/// A service that measures; all earlier output has been read.
class CommandMessageTest : public WatchedService {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(StartWatched());
    StartMeasuring();
    ExpectTransitions({"0x103 --> 0x101", "0x101 --> 0x100"});
    Hear();
  }
};

TEST_F(CommandMessageTest, AcceptedCommandIsPrintedAndAcknowledgedWithItsStampAndUser) {
  const std::string json =
      R"({"UserID":4294967295,"CmdTS":77,"Command":"Pause","ClusterId":1,"More":[1]})";
  const Speech speech = SayTo(kTopic, json);
  EXPECT_EQ((Speech{Accepted(json, "Pause", 2, 77, 4294967295, 0), {}}), speech);
  ExpectAcknowledged("Pause", 77, 4294967295);
}

TEST_F(CommandMessageTest, CommandWithoutStampAndUserCarriesTheLastOnes) {
  SayTo(kTopic, R"({"ClusterId":1,"Command":"Pause","CmdTS":5,"UserID":6})");
  ExpectAcknowledged("Pause", 5, 6);
  const std::string json = R"({"ClusterId":1,"Command":"Play"})";
  EXPECT_EQ((Speech{Accepted(json, "Play", 4, 5, 6, 0), {}}), SayTo(kTopic, json));
  ExpectAcknowledged("Play", 5, 6);
}

TEST_F(CommandMessageTest, UserZeroStandsForTheUserOfTheConfiguration) {
  LoudnessConfiguration configuration;
  configuration.userId = 21;
  SendConfiguration(configuration);
  ExpectAcknowledgement("Start");
  SayTo(kTopic, R"({"ClusterId":1,"Command":"Pause","UserID":6})");
  ExpectAcknowledged("Pause", 0, 6);
  SayTo(kTopic, R"({"ClusterId":1,"Command":"Play","UserID":0})");
  ExpectAcknowledged("Play", 0, 21);
}

TEST_F(CommandMessageTest, PrintOnlyPrints) {
  const std::string json = R"({"ClusterId":1,"Command":"Print","CmdTS":1,"UserID":2})";
  EXPECT_EQ((Speech{Accepted(json, "Print", 6, 1, 2, 0), {}}), SayTo(kTopic, json));
  ExpectNoAnswer();
}

TEST_F(CommandMessageTest, UnknownCommandIsNamedByItsValue) {
  const std::string json = R"({"ClusterId":1,"Command":"Wait","CmdTS":1,"UserID":2})";
  Texts output = Accepted(json, "Wait", 0, 1, 2, 0);
  output.push_back(Printed(kUnit, "\"Topic AppIOQVLoudnessCmd-1 :: Unknown commad 0\""));
  EXPECT_EQ((Speech{output, {}}), SayTo(kTopic, json));
  ExpectNoAnswer();
}

TEST_F(CommandMessageTest, CommandToClusterZeroOrNoneIsTakenByEveryCluster) {
  for (const char* cluster :
       {R"("ClusterId":0,)", "", R"("ClusterId":"2",)", R"("ClusterId":-1,)"}) {
    SCOPED_TRACE(cluster);
    SayTo(kTopic, std::string("{") + cluster + R"("Command":"Play"})");
    ExpectAcknowledged("Play");
  }
}

TEST_F(CommandMessageTest, RefusedCommandsArePrintedAndChangeNothing) {
  struct {
    std::optional<std::string> json;
    int cluster;  // cluster read before the refusal
  } const cases[] = {
      {std::nullopt, 0},
      {"", 0},
      {"Reset", 0},
      {"[]", 0},
      {"null", 0},
      {"{}", 0},
      {R"({"ClusterId":1,"Command":"Reset")", 0},
      {R"({"ClusterId":1})", 1},
      {R"({"ClusterId":1,"Command":5})", 1},
      {R"({"ClusterId":1,"Command":null})", 1},
      {R"({"ClusterId":1,"command":"Reset"})", 1},
      {R"({"ClusterId":2,"Command":"Reset"})", 2},
      {R"({"ClusterId":8,"Command":"Reset"})", 8},
      {R"({"ClusterId":4294967295,"Command":"Reset"})", -1},
      {R"({"Command":["Reset"]})", 0},
  };
  for (const auto& [json, cluster] : cases) {
    SCOPED_TRACE(json.value_or("no payload"));
    const std::string topic = std::string("\"") + kTopic;
    const Speech expected{
        {Printed(kUnit, topic + "\\n\\" + json.value_or("(null)") + "\\n\""),
         Printed(kUnit, topic + "\\n\\ failed parsing 1 : " + std::to_string(cluster) + "\\n\"")},
        {}};
    EXPECT_EQ(expected, SayTo(kTopic, json));
  }
  ExpectNoAnswer();
  ExpectNoTransition();
}

TEST_F(CommandMessageTest, RefusedCommandLeavesItsStampButNotItsUser) {
  SayTo(kTopic, R"({"ClusterId":1,"Command":7,"CmdTS":55,"UserID":9})");
  SayTo(kTopic, R"({"ClusterId":2,"Command":"Reset","CmdTS":66,"UserID":9})");
  SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
  ExpectAcknowledged("Reset", 55, 0);
}

TEST_F(CommandMessageTest, ForeignAndLookAlikeTopicsAreIgnoredSilently) {
  for (const char* topic : {"AppIOQVLoudnessCmd-12", "AppIOQVLoudnessCmd-1 ",
                            "AppIOQVLoudnessCmd-1AppIOQVLoudnessCmd-1",
                            "AppLoudnessCmdAppIOQVLoudnessCmd-1", "HbAppCmd AppIOQVLoudnessCmd-"}) {
    SCOPED_TRACE(topic);
    EXPECT_EQ(Speech{}, SayTo(topic, R"({"ClusterId":1,"Command":"Reset"})"));
  }
  ExpectNoAnswer();
  ExpectNoTransition();
}

TEST_F(CommandMessageTest, CommandsAreTakenFromEveryServer) {
  for (const Peer peer : {Peer::kProcessMonitor, Peer::kHardwareManager, Peer::kMainAppServer,
                          Peer::kOpticalAppServer}) {
    mUnit.SendText(peer, kTopic, R"({"ClusterId":1,"Command":"Play"})");
    ExpectAcknowledged("Play");
  }
}

}  // namespace
