// Orders by POST: how the service acts on them, and who may send them.

#include <csignal>

#include "ControlledGate.h"
#include "GoldenFile.h"

namespace {

using nlohmann::json;

// How long the gate waits for an acknowledgement.
constexpr std::chrono::seconds kAcknowledgedWithin{5};

class GateControlTest : public ControlledGate {
 protected:
  unsigned Answers() const { return Get("/api/clusters/1-1").Json().at("Answers"); }

  // Starts curl with an order that the service does not acknowledge, and returns when it is sent.
  std::unique_ptr<ServiceProcess> BeginOrder(const std::string& command) {
    Suspend(*mService);
    auto client = Follow("/api/clusters/1-1",
                         {"--trace-ascii", "-", "--data-binary",
                          R"({"Command":")" + command + R"("})", "-H", kBearer, "-H", kJson});
    EXPECT_TRUE(client->WaitForLine("=> Send data", kPatience));
    return client;
  }
};

TEST_F(GateControlTest, EachCommandIsCarriedOutAndAcknowledged) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const std::vector<std::pair<std::string, std::string>> orders = {{"Pause", "PAUSED"},
                                                                   {"Play", "RUNNING"},
                                                                   {"Stop", "STOPPED"},
                                                                   {"Start", "RUNNING"},
                                                                   {"Reset", "RUNNING"}};
  for (const auto& [command, state] : orders) {
    mUnit.DropStates();
    const HttpReply reply = Order(command);
    EXPECT_EQ(200, reply.status) << reply.body;
    EXPECT_EQ(json({{"Cluster", "1-1"},
                    {"Command", command},
                    {"Acknowledged", true},
                    {"Text", command + " acknowledged"}}),
              reply.Json());
    ExpectAcknowledgement(command);
    AwaitState(state);
  }
}

TEST_F(GateControlTest, ReportingIsSwitched) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const HttpReply off = Order("ReportingOff");
  EXPECT_EQ(200, off.status) << off.body;
  AwaitState("SILENT");
  const HttpReply late = Order("Pause");
  EXPECT_EQ(504, late.status);
  EXPECT_EQ("Pause sent, but not acknowledged: reporting is off or the source is invalid",
            late.Json().at("Text"));
  const HttpReply on = Order("ReportingOn");
  EXPECT_EQ(200, on.status) << on.body;
  AwaitState("PAUSED");  // by the order sent while reporting was off
}

TEST_F(GateControlTest, RequestAndAnswerAreTheExamples) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const HttpReply reply = Post(ReadGolden("gate-order.json"), {kBearer, kJson});
  EXPECT_EQ(ReadGolden("gate-order-acknowledged.json") + "\n", reply.body);  // curl's last line
  EXPECT_EQ("application/json", reply.Header("Content-Type"));
}

TEST_F(GateControlTest, ItSaysThatItTakesTheApplicationServersPlace) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const std::string place = mUnit.EndpointOf(louddesk::Peer::kMainAppServer);
  json example = json::parse(ReadGolden("gate-control.json"));
  example["ApplicationServer"] = place;
  EXPECT_EQ(example, Get("/api/control").Json());
  EXPECT_TRUE(mGate->WaitForLine(
      "Controlling at " + place + ", in the place of the application server", kPatience));
}

TEST_F(GateControlTest, WithoutControlNothingCanBePosted) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  AwaitState("RUNNING");
  EXPECT_EQ(405, Order("Pause").status);
  EXPECT_EQ("GET, HEAD", Order("Pause").Header("Allow"));
  EXPECT_EQ(json({{"Enabled", false}}), Get("/api/control").Json());
}

TEST_F(GateControlTest, WithoutTheTokenNothingIsSent) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const unsigned answers = Answers();
  const std::string body = R"({"Command":"Pause"})";
  const std::string wrong = "Authorization: Bearer " + std::string(sizeof kToken - 1, '0');
  for (const std::vector<std::string>& headers : {std::vector<std::string>{kJson},
                                                  {kJson, wrong},
                                                  {kJson, "Authorization: Bearer"},
                                                  {kJson, "Authorization: " + std::string(kToken)},
                                                  {kJson, "Cookie: " + std::string(kToken)}}) {
    const HttpReply reply = Post(body, headers);
    EXPECT_EQ(401, reply.status);
    EXPECT_EQ("Bearer", reply.Header("WWW-Authenticate"));
  }
  EXPECT_EQ(401, Post(body, {kJson}, "1-1?token=" + std::string(kToken)).status);
  EXPECT_EQ(401, Post(body, {kJson}, "1-7").status);  // also for clusters that do not exist
  ExpectCadence();
  EXPECT_EQ("RUNNING", Get("/api/clusters/1-1").Json().at("State"));
  EXPECT_EQ(answers, Answers());
}

TEST_F(GateControlTest, OtherSitesAndOtherFormsAreRefused) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const std::string body = R"({"Command":"Pause"})";
  EXPECT_EQ(403, Post(body, {kBearer, kJson, "Origin: http://other.example"}).status);
  EXPECT_EQ(403, Post(body, {kBearer, kJson, "Origin: null"}).status);
  EXPECT_EQ(421, Post(body, {kBearer, kJson, "Host: rebound.example"}).status);
  for (const char* type : {"Content-Type: text/plain",
                           "Content-Type:", "Content-Type: application/x-www-form-urlencoded",
                           "Content-Type: application/jsonp"})
    EXPECT_EQ(415, Post(body, {kBearer, type}).status) << type;
  EXPECT_EQ("RUNNING", Get("/api/clusters/1-1").Json().at("State"));
  const std::string own = "Origin: " + Url();
  EXPECT_EQ(200, Post(body, {kBearer, kJson + "; charset=utf-8", own}).status);
}

TEST_F(GateControlTest, WhatIsNotAnOrderIsRefused) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  for (const std::string& body : {std::string("{}"), std::string("Pause"),
                                  std::string(R"({"Command":"Print"})"), std::string(4000, '[')})
    EXPECT_EQ(400, Post(body, {kBearer, kJson}).status) << body;
  EXPECT_EQ(413, Post(std::string(5000, ' '), {kBearer, kJson}).status);
  EXPECT_EQ(404, Order("Pause", "1-7").status);
}

// The flood comes over one connection, as fast as the gate answers.
TEST_F(GateControlTest, AFloodOfWrongTokensDisturbsNobody) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const auto flood = Follow("/api/clusters/1-1?[1-1000000]",
                            {"--data-binary", R"({"Command":"Stop"})", "-H", kJson, "-H",
                             "Authorization: Bearer " + std::string(sizeof kToken - 1, '0')});
  ASSERT_TRUE(flood->WaitForLine("This needs the token of the gate.", kPatience));
  ExpectCadence();
  EXPECT_EQ(200, Order("Pause").status);
  EXPECT_TRUE(flood->IsRunning());
  flood->Signal(SIGKILL);
  EXPECT_TRUE(flood->WaitForExit(kPatience));
}

TEST_F(GateControlTest, AServiceThatDoesNotAnswerIsATimeOut) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const auto begin = std::chrono::steady_clock::now();
  const auto waiting = BeginOrder("Pause");
  EXPECT_EQ(409, Order("Play").status);
  EXPECT_EQ(200, Get("/api/clusters").status);  // other requests do not wait
  ASSERT_TRUE(waiting->WaitForExit(kPatience));
  EXPECT_LE(kAcknowledgedWithin, std::chrono::steady_clock::now() - begin);
  const std::string output = waiting->StandardOutput();
  EXPECT_NE(std::string::npos, output.find("HTTP/1.1 504 "));
  const std::size_t start = output.rfind('{');
  EXPECT_EQ(json({{"Cluster", "1-1"},
                  {"Command", "Pause"},
                  {"Acknowledged", false},
                  {"Text",
                   "Pause sent, but not acknowledged: reporting is off or the source is invalid"}}),
            json::parse(output.substr(start, output.rfind('}') + 1 - start)));
  mService->Signal(SIGCONT);
  AwaitState("PAUSED");
  // The data may show the new state before the acknowledgement ends the waiting order.
  const auto end = std::chrono::steady_clock::now() + kPatience;
  HttpReply reply;
  do {
    reply = Order("Play");
  } while (reply.status == 409 && std::chrono::steady_clock::now() < end);
  EXPECT_EQ(200, reply.status);
}

TEST_F(GateControlTest, AClientThatGoesWhileItWaitsIsForgotten) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  Suspend(*mService);
  EXPECT_EQ(0, Get("/api/clusters/1-1", {"--max-time", "1", "--data-binary",
                                         R"({"Command":"Pause"})", "-H", kBearer, "-H", kJson})
                   .status);
  mService->Signal(SIGCONT);
  AwaitState("PAUSED");
  // The data may show the new state before the acknowledgement ends the waiting order.
  const auto end = std::chrono::steady_clock::now() + kPatience;
  HttpReply reply;
  do {
    reply = Order("Play");
  } while (reply.status == 409 && std::chrono::steady_clock::now() < end);
  EXPECT_EQ(200, reply.status);
}

TEST_F(GateControlTest, EndsInOrderWhileAnOrderWaits) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  const auto waiting = BeginOrder("Pause");
  EXPECT_EQ(409, Order("Play").status);
  ExpectGateEnds(SIGTERM);
  EXPECT_TRUE(waiting->WaitForExit(kPatience));
  mService->Signal(SIGCONT);
}

TEST_F(GateControlTest, AServiceThatIsGoneIsSentNothing) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  mService->Signal(SIGTERM);
  ASSERT_TRUE(mService->WaitForExit(kPatience));
  const auto end = std::chrono::steady_clock::now() + kPatience;
  HttpReply reply;
  do {
    reply = Order("Pause");
  } while (reply.status != 503 && std::chrono::steady_clock::now() < end);
  EXPECT_EQ("No service of this meter set has subscribed.\n", reply.body);
}

TEST_F(GateControlTest, APlaceThatIsTakenIsAComplaint) {
  ASSERT_NO_FATAL_FAILURE(Start());  // the test takes the application server's place
  ServiceProcess gate(LOUDGATE_BINARY, {"--listen", "127.0.0.1:0", "--no-record", "--control",
                                        "--token-file", mToken.Name()});
  const auto report = gate.WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(1, report->status);
  const std::string place = mUnit.EndpointOf(louddesk::Peer::kMainAppServer);
  EXPECT_EQ(0u,
            gate.StandardError().find(
                "LoudGate: --control needs the endpoint of the application server: cannot bind " +
                place + ": the port is in use; "))
      << gate.StandardError();
}

TEST_F(GateControlTest, AFileThatOthersCanReadIsRefused) {
  const TokenFile open(kToken, 0644);
  ServiceProcess gate(LOUDGATE_BINARY, {"--listen", "127.0.0.1:0", "--no-record", "--control",
                                        "--token-file", open.Name()});
  const auto report = gate.WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(1, report->status);
  EXPECT_EQ("LoudGate: " + open.Name() +
                ": must be a regular file that others cannot read; chmod 600 keeps them out\n",
            gate.StandardError());
}

}  // namespace
