// What a newcomer sees: ./demo prints the address of a page that shows a recording live.

#include <csignal>
#include <set>

#include "GateProcess.h"

namespace {

using nlohmann::json;

class DemoTest : public GateTest {
 protected:
  // Starts the demo in a separate process group, which receives signals as from a shell.
  void StartDemo(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"120", DEMO_SCRIPT};
    all.insert(all.end(), arguments.begin(), arguments.end());
    mDemo = std::make_unique<ServiceProcess>(
        TIMEOUT_BINARY, all,
        std::map<std::string, std::string>{{"LOUDCALC_DEMO_BUILD", DEMO_BUILD}});
    ASSERT_TRUE(mDemo->WaitForLine(kAddress, kPatience)) << mDemo->StandardError();
    const std::string output = mDemo->StandardOutput();
    const std::size_t begin = output.find(kAddress) + sizeof kAddress - 1;
    mUrl = output.substr(begin, output.find("/\n", begin) - begin);
    EXPECT_EQ(0u, mUrl.find("http://127.0.0.1:")) << output;
  }

  // Expects that the figures keep changing, which they do only while a recording plays.
  void ExpectMoves() {
    std::set<json> readings;
    Await("/api/clusters/1-1", [&](const json& document) {
      readings.insert(document.at("Momentary"));
      return document.at("State") == "RUNNING" && readings.size() > 5;
    });
  }

  void ExpectEnds() {
    const auto report = mDemo->WaitForExit(kPatience);
    ASSERT_TRUE(report);
    EXPECT_EQ(0, report->status) << mDemo->StandardOutput() << mDemo->StandardError();
    EXPECT_EQ(0, Get("/").status);
  }

  static constexpr char kAddress[] = "Live in a browser of this machine, while it plays: ";

  std::unique_ptr<ServiceProcess> mDemo;
};

TEST_F(DemoTest, TheAddressAnswersWhileItPlays) {
  ASSERT_NO_FATAL_FAILURE(StartDemo({"/usr/share/sounds/alsa/Front_Left.wav"}));
  const std::string metrics = Get("/metrics").body;
  EXPECT_NE(std::string::npos, metrics.find("loudgate_streams"));
  EXPECT_EQ(std::string::npos, metrics.find("loudgate_record"));  // a demo leaves no file
  const HttpReply page = Get("/");
  EXPECT_EQ(200, page.status);
  EXPECT_NE(std::string::npos, page.body.find("<title>Loudness of this board</title>"));
  ASSERT_NO_FATAL_FAILURE(ExpectEnds());
}

TEST_F(DemoTest, ThePageMovesUntilCtrlC) {
  ASSERT_NO_FATAL_FAILURE(StartDemo({"--page", "/usr/share/sounds/alsa/Front_Left.wav"}));
  EXPECT_EQ(200, Get("/cluster/1-1").status);
  ExpectMoves();
  Pass(std::chrono::seconds(4));  // the recording takes less than two
  ExpectMoves();
  mDemo->Signal(SIGINT);
  ASSERT_NO_FATAL_FAILURE(ExpectEnds());
}

}  // namespace
