// The desk tool's subcommand `watch` in pipes, against the shipped service.

#include <rapidjson/document.h>

#include <csignal>
#include <sstream>

#include "RunningService.h"

namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::Each;
using testing::Eq;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

constexpr char kHeader[] =
    "Time,MaxMomentary,Momentary,ShortTerm,Integrated,Lra,Program,MaxTruePeak,TruePeak,ValidSource,"
    "Command,Cluster";

constexpr char kTimePattern[] =
    "[0-9]+-[0-9][0-9]-[0-9][0-9]T[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9][0-9][0-9]Z";

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);)
    parts.push_back(part);
  return parts;
}

class WatchCommandTest : public RunningService {
 protected:
  void StartWatch(Arguments arguments) {
    arguments.insert(arguments.begin(), "watch");
    mWatch = std::make_unique<ServiceProcess>(LOUDDESK_BINARY, arguments);
  }

  /// Sends pauses until the watch shows one. There is no other sign that it is connected to the
  /// states.
  void ExpectPauseSeen() {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    do
      SendCommand("Pause");
    while (!mWatch->WaitForLine("  Pause acknowledged", 5 * kPeriod) &&
           std::chrono::steady_clock::now() < end);
    EXPECT_TRUE(mWatch->WaitForLine("  Pause acknowledged", {}));
    EXPECT_TRUE(mWatch->WaitForLine("PAUSED", kPatience));
  }

  void ExpectEnd(int status) {
    const auto report = mWatch->WaitForExit(kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(status, report->status) << mWatch->StandardError();
  }

  /// A service that measures a 5.1 programme of -23 LKFS on each of its five full channels.
  void StartMeasured() {
    ASSERT_NO_FATAL_FAILURE(Start());
    StartMeasuring();
    ExpectMeasures(-30);
  }

  std::vector<std::string> Rows() { return Split(mWatch->StandardOutput(), '\n'); }

  std::unique_ptr<ServiceProcess> mWatch;
};

TEST_F(WatchCommandTest, CsvHasARowAMessage) {
  StartMeasured();
  StartWatch({"--format", "csv", "--count", "3"});
  ExpectEnd(0);
  const auto rows = Rows();
  ASSERT_EQ(4u, rows.size());
  EXPECT_EQ(kHeader, rows[0]);
  for (std::size_t i = 1; i < rows.size(); ++i)
    EXPECT_THAT(rows[i], MatchesRegex(std::string(kTimePattern) + "(,-?[0-9.]*){8},1,Start,1"));
  EXPECT_EQ("", mWatch->StandardError());
}

TEST_F(WatchCommandTest, RowsHaveTheFiguresOfTheMessages) {
  StartMeasured();
  mUnit.DropLoudnessData();
  const auto message = mUnit.NextLoudnessData(kPatience);
  ASSERT_TRUE(message);
  StartWatch({"--format", "csv", "--count", "1"});
  ExpectEnd(0);
  ASSERT_EQ(2u, Rows().size());
  const auto fields = Split(Rows()[1], ',');
  ASSERT_EQ(12u, fields.size());
  // Nothing is fed: only figures that are refreshed once a second can still change.
  EXPECT_DOUBLE_EQ(message->data.MaxMomentary / 10.0, std::stod(fields[1]));
  EXPECT_DOUBLE_EQ(message->data.Momentary / 10.0, std::stod(fields[2]));
  EXPECT_DOUBLE_EQ(message->data.MaxTruePeak / 100.0, std::stod(fields[7]));
  EXPECT_DOUBLE_EQ(message->data.TruePeak / 100.0, std::stod(fields[8]));
}

TEST_F(WatchCommandTest, JsonHasAnObjectAMessage) {
  StartMeasured();
  StartWatch({"--format", "json", "--count", "2"});
  ExpectEnd(0);
  ASSERT_EQ(2u, Rows().size());
  for (const std::string& row : Rows()) {
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(row.c_str()).HasParseError()) << row;
    EXPECT_TRUE(document["Momentary"].IsNumber());
    EXPECT_TRUE(document["ValidSource"].GetBool());
    EXPECT_STREQ("Start", document["Command"].GetString());
  }
}

TEST_F(WatchCommandTest, NoReadingIsNull) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  StartWatch({"--format", "json", "--count", "1"});
  ExpectEnd(0);
  EXPECT_THAT(mWatch->StandardOutput(), HasSubstr(R"("Momentary":null)"));
}

TEST_F(WatchCommandTest, RowsComeAtOnce) {
  StartMeasured();
  StartWatch({"--format", "csv"});
  EXPECT_TRUE(mWatch->WaitForLine(",Start,1", kPatience)) << "a row is kept back";
  mWatch->Signal(SIGINT);
  ExpectEnd(0);
}

TEST_F(WatchCommandTest, SecondsEndIt) {
  StartMeasured();
  StartWatch({"--format", "csv", "--seconds", "2.05"});
  ExpectEnd(0);
  // The header and ten rows per second, minus those before the connection was made.
  EXPECT_THAT(Rows().size(), testing::AllOf(testing::Ge(3u), testing::Le(23u)));
}

TEST_F(WatchCommandTest, TimeWithoutDataIsOneLine) {
  StartWatch({"--format", "csv", "--seconds", "0.2"});
  ExpectEnd(1);
  EXPECT_EQ("LoudDesk: no loudness data from meter set 1, cluster 1 in 0.2 s (NO SERVICE)\n",
            mWatch->StandardError());
}

TEST_F(WatchCommandTest, RowsThatDoNotComeAreSaidOnceAndTheirReturnToo) {
  StartMeasured();
  StartWatch({"--format", "csv"});
  ASSERT_TRUE(mWatch->WaitForLine(",Start,1", kPatience));
  mService->Signal(SIGKILL);
  const std::string isGone = "LoudDesk: no loudness data (DEAD: the service is gone)";
  ASSERT_TRUE(mWatch->WaitForLine(isGone, kPatience));
  ASSERT_NO_FATAL_FAILURE(StartAgain());
  StartMeasuring();
  ASSERT_TRUE(mWatch->WaitForLine("LoudDesk: loudness data again", kPatience));
  mWatch->Signal(SIGINT);
  ExpectEnd(0);
  EXPECT_EQ(isGone + "\nLoudDesk: loudness data again\n", mWatch->StandardError());
  EXPECT_THAT(Rows(), Each(AnyOf(Eq(kHeader), ContainsRegex(",1,(None|Start),1$"))));
}

TEST_F(WatchCommandTest, MissingServiceIsReportedBesideTheRows) {
  StartWatch({"--format", "json"});
  ASSERT_TRUE(mWatch->WaitForLine(
      "LoudDesk: no loudness data (NO SERVICE: no service publishes here)", kPatience));
  mWatch->Signal(SIGINT);
  ExpectEnd(0);
  EXPECT_EQ("", mWatch->StandardOutput());
}

TEST_F(WatchCommandTest, StoppedMeasurementIsReportedBesideTheRows) {
  StartMeasured();
  louddesk::LoudnessConfiguration configuration;
  configuration.clusterId = mUnit.Cluster();
  configuration.mode = "Manual";
  SendConfiguration(configuration);
  ExpectAcknowledgement("Start");
  SendCommand("Stop");
  ExpectAcknowledgement("Stop");
  StartWatch({"--format", "csv"});
  EXPECT_TRUE(mWatch->WaitForLine("LoudDesk: no loudness data (", kPatience));
}

TEST_F(WatchCommandTest, OtherClusterIsNotSeen) {
  StartMeasured();
  StartWatch({"--cluster", "2", "--seconds", "0.3"});
  ExpectEnd(1);
  EXPECT_THAT(mWatch->StandardError(), HasSubstr("cluster 2"));
}

TEST_F(WatchCommandTest, PipeGetsPlainLinesAndAnswers) {
  StartMeasured();
  StartWatch({});
  ASSERT_TRUE(mWatch->WaitForLine("RUNNING", kPatience));
  ASSERT_TRUE(mWatch->WaitForLine(" LKFS  LRA", kPatience));
  ExpectPauseSeen();
  mWatch->Signal(SIGTERM);
  ExpectEnd(0);
  EXPECT_THAT(mWatch->StandardOutput(), Not(HasSubstr("\x1b")));
}

TEST_F(WatchCommandTest, DeadServiceIsReportedAndItsReturnToo) {
  StartMeasured();
  StartWatch({});
  ASSERT_TRUE(mWatch->WaitForLine("RUNNING", kPatience));
  mService->Signal(SIGKILL);
  EXPECT_TRUE(mWatch->WaitForLine("DEAD", kPatience));
  const std::size_t before = mWatch->LineCount();
  ASSERT_NO_FATAL_FAILURE(StartAgain());
  StartMeasuring();
  EXPECT_TRUE(mWatch->WaitForLine("RUNNING", kPatience, before));
}

// When blocks stop arriving, the service publishes the last figures without an end.
TEST_F(WatchCommandTest, FrozenSourceIsReportedAndItsReturnToo) {
  StartMeasured();
  StartWatch({"--format", "csv"});
  ASSERT_TRUE(
      mWatch->WaitForLine("LoudDesk: no change for 3 s: no blocks, or a steady tone", kPatience));
  const std::size_t before = mWatch->LineCount();
  EXPECT_TRUE(mWatch->WaitForLine(",Start,1", kPatience, before));
  ExpectMeasures(-20);
  EXPECT_TRUE(mWatch->WaitForLine("LoudDesk: the figures change again", kPatience, before));
}

TEST_F(WatchCommandTest, FrozenSourceIsReportedBetweenTheLines) {
  StartMeasured();
  StartWatch({});
  EXPECT_TRUE(mWatch->WaitForLine("no change for 3 s: ", kPatience));
}

TEST_F(WatchCommandTest, SilenceIsNotTakenForAFrozenSource) {
  StartMeasured();
  for (int i = 0; i < 40; ++i)
    mUnit.SendRaw(louddesk::BlockReading{});
  ExpectData([](const auto& message) { return message.data.TruePeak == -9031; }, "silence");
  StartWatch({"--format", "csv", "--seconds", "5"});
  ExpectEnd(0);
  EXPECT_GT(Rows().size(), 31u);  // the header and three seconds
  EXPECT_THAT(mWatch->StandardError(), Not(HasSubstr("no change")));
}

TEST_F(WatchCommandTest, KeysNeedATerminal) {
  const std::pair<const char*, const char*> cases[] = {{"--control", "use LoudDesk send command"},
                                                       {"--all", "watch one --cluster"}};
  for (const auto& [option, instead] : cases) {
    StartWatch({option});
    ExpectEnd(1);
    EXPECT_EQ("LoudDesk: " + std::string(option) + " needs a terminal and its keys; without one, " +
                  instead + "\n",
              mWatch->StandardError());
  }
}

TEST_F(WatchCommandTest, HangingServiceIsSilentBeforeItIsDead) {
  StartMeasured();
  StartWatch({});
  ASSERT_TRUE(mWatch->WaitForLine("RUNNING", kPatience));
  mService->Signal(SIGSTOP);
  EXPECT_TRUE(mWatch->WaitForLine("SILENT", kPatience));
  EXPECT_FALSE(mWatch->WaitForLine("DEAD", {}));
  mService->Signal(SIGCONT);
}

TEST_F(WatchCommandTest, SwitchedOffReportingIsSilence) {
  StartMeasured();
  StartWatch({});
  ASSERT_TRUE(mWatch->WaitForLine("RUNNING", kPatience));
  EnableReporting(false);
  EXPECT_TRUE(mWatch->WaitForLine("SILENT", kPatience));
}

TEST_F(WatchCommandTest, FullDeviceIsOneLine) {
  StartMeasured();
  mWatch = std::make_unique<ServiceProcess>(
      "/bin/sh", Arguments{"-c", "exec \"$0\" watch --format csv > /dev/full", LOUDDESK_BINARY});
  ExpectEnd(1);
  EXPECT_EQ("LoudDesk: the figures could not be written\n", mWatch->StandardError());
}

struct OptionCase {
  const char* name;
  Arguments options;
};

class WatchOptionTest : public WatchCommandTest, public testing::WithParamInterface<OptionCase> {};

TEST_P(WatchOptionTest, IsRefused) {
  StartWatch(GetParam().options);
  const auto report = mWatch->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_NE(0, report->status);
  EXPECT_THAT(mWatch->StandardError(), HasSubstr(GetParam().options.front()));
}

INSTANTIATE_TEST_SUITE_P(Options, WatchOptionTest,
                         testing::Values(OptionCase{"ScaleTwelve", {"--scale", "12"}},        //
                                         OptionCase{"TargetAboveZero", {"--target", "3"}},    //
                                         OptionCase{"TargetWord", {"--target", "loud"}},      //
                                         OptionCase{"FormatXml", {"--format", "xml"}},        //
                                         OptionCase{"CountZero", {"--count", "0"}},           //
                                         OptionCase{"SecondsNegative", {"--seconds", "-1"}},  //
                                         OptionCase{"ClusterNine", {"--cluster", "9"}},       //
                                         OptionCase{"Unknown", {"--colour"}}),
                         [](const auto& option) { return option.param.name; });

TEST_F(WatchCommandTest, HelpHasAnExample) {
  StartWatch({"--help"});
  ExpectEnd(0);
  EXPECT_THAT(mWatch->StandardOutput(), AllOf(HasSubstr("\n  LoudDesk watch --format csv"),
                                              HasSubstr("The status is 0, also after Ctrl-C.")));
}

}  // namespace
