// The desk tool's subcommand `replay` with the shipped service. GoldenRunTest, an end-to-end test,
// shows that it finds faults.

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "RecordingWriter.h"
#include "RunningService.h"

namespace {

using louddesk::Frames;
using louddesk::RecordedMessage;
using louddesk::Sender;
using testing::AllOf;
using testing::HasSubstr;

constexpr std::uint64_t kSecond = 1000000;

class ReplayCommandTest : public RunningService {
 protected:
  void SetUp() override {
    char name[] = "/tmp/replay-test-XXXXXX";
    mFolder = mkdtemp(name);
    mPath = mFolder / "recording";
  }
  void TearDown() override {
    RunningService::TearDown();
    std::filesystem::remove_all(mFolder);
  }

  void Write(const std::vector<RecordedMessage>& messages, bool isEnded = true) {
    louddesk::RecordingWriter writer(mPath, {1, 1, 0});
    for (const RecordedMessage& message : messages)
      writer.Write(message);
    if (isEnded)
      writer.Finish(messages.empty() ? 0 : messages.back().time);
    else
      writer.Flush();
  }

  void StartReplay(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), "replay");
    arguments.push_back(mPath);
    mReplay = std::make_unique<ServiceProcess>(LOUDDESK_BINARY, arguments);
  }

  void ExpectEnd(int status) {
    const auto report = mReplay->WaitForExit(3 * kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(status, report->status) << mReplay->StandardError();
  }

  void ExpectRefused(const std::string& text) {
    ASSERT_NO_FATAL_FAILURE(ExpectEnd(1));
    EXPECT_THAT(mReplay->StandardError(), HasSubstr(text));
  }

  std::filesystem::path mFolder;
  std::filesystem::path mPath;
  std::unique_ptr<ServiceProcess> mReplay;
};

RecordedMessage Enable(std::uint64_t time) {
  return {Sender::kOpticalAppServer, time, {"QVProbeOptInputDataCmd", "{\"Enable\":true}"}};
}

RecordedMessage Preset(std::uint64_t time) {
  return {Sender::kMainAppServer,
          time,
          {"AppProbeIOMatrixStream-1", louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json()}};
}

RecordedMessage State(std::uint64_t time, const std::string& command) {
  return {Sender::kStatePublisher,
          time,
          {"IOQVHwmLoudnessCmd_1", "{\"Command\":\"" + command +
                                       "\",\"ClusterId\":1,\"CmdTS\":0,\"UID\":0,\"MeterSet\":1}"}};
}

RecordedMessage Block(std::uint64_t time) {
  louddesk::BlockReading block;
  block.powers.fill(PowerOf(-23));
  return {Sender::kSignalProcessor, time, louddesk::RawMessage(1, block)};
}

std::vector<RecordedMessage> Start() {
  return {Enable(kSecond), Preset(3 * kSecond), State(3 * kSecond + 1, "Reset"),
          State(3 * kSecond + 2, "Start")};
}

TEST_F(ReplayCommandTest, PlaysInTheTimeOfTheRecording) {
  std::vector<RecordedMessage> messages = ::Start();
  for (unsigned i = 0; i < 20; ++i)
    messages.push_back(Block(4 * kSecond + i * kSecond / 10));
  Write(messages);
  StartProcess();
  const auto begin = std::chrono::steady_clock::now();
  StartReplay({"--speed", "2"});
  ExpectEnd(0);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(5900 / 2));
  // Left, right and centre weigh 1, the two surrounds 1.41: -23 + 10 log10(5.82) = -15.4.
  EXPECT_THAT(mReplay->StandardOutput(), AllOf(HasSubstr("-15.4"), HasSubstr("22 messages sent")));
  EXPECT_EQ("", mReplay->StandardError());
}

TEST_F(ReplayCommandTest, ListsWithoutAService) {
  Write({Enable(kSecond), State(2 * kSecond, "Reset")});
  StartReplay({"--list"});
  ExpectEnd(0);
  EXPECT_EQ(
      R"({"n":1,"time":1.000000,"from":"optical application server","topic":"QVProbeOptInputDataCmd","frames":["{\"Enable\":true}"]})"
      "\n"
      R"({"n":2,"time":2.000000,"from":"state publisher","topic":"IOQVHwmLoudnessCmd_1","frames":["{\"Command\":\"Reset\",\"ClusterId\":1,\"CmdTS\":0,\"UID\":0,\"MeterSet\":1}"]})"
      "\n",
      mReplay->StandardOutput());
}

TEST_F(ReplayCommandTest, ComparesACutOffRecordingAsFarAsItGoes) {
  Write(::Start(), false);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(0);
  EXPECT_THAT(mReplay->StandardError(), HasSubstr("the recording is cut off at 3.000 s"));
  EXPECT_THAT(mReplay->StandardOutput(), HasSubstr("2 states compared"));
}

TEST_F(ReplayCommandTest, NamesAStateThatTheRecordingDoesNotHave) {
  std::vector<RecordedMessage> messages = ::Start();
  messages.pop_back();
  messages.push_back(Block(5 * kSecond));
  Write(messages);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(3);
  EXPECT_THAT(mReplay->StandardError(),
              HasSubstr("the end of the recording came after a state that is not recorded: "
                        "IOQVHwmLoudnessCmd_1 {\"Command\":\"Start\""));
}

TEST_F(ReplayCommandTest, NamesADoubtAboutTheRecordedOrder) {
  std::vector<RecordedMessage> messages = ::Start();
  messages.push_back(Block(3 * kSecond + 9000));
  messages.push_back(State(5 * kSecond, "Pause"));
  Write(messages);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(3);
  EXPECT_THAT(
      mReplay->StandardError(),
      AllOf(HasSubstr("message 6 (5.000 s, IOQVHwmLoudnessCmd_1 of state publisher) did not "
                      "come"),
            HasSubstr("(perhaps because the recording does not show whether a block at "
                      "3.009 s or an acknowledgement came first)")));
}

// The service obeys a command to end. That is not a difference, but the recording must end there.
TEST_F(ReplayCommandTest, AServiceMayEndWhenItIsToldTo) {
  std::vector<RecordedMessage> messages = ::Start();
  messages.push_back({Sender::kProcessMonitor, 9 * kSecond, {"HbAppCmd", "{\"AppCmd\":9}"}});
  messages.back().frames[1] = "{\"Command\":9}";
  Write(messages);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(0);
  EXPECT_TRUE(mService->WaitForExit(kPatience));
}

TEST_F(ReplayCommandTest, NamesAServiceThatFellSilent) {
  std::vector<RecordedMessage> messages = ::Start();
  messages.push_back({Sender::kProcessMonitor, 9 * kSecond, {"HbAppCmd", "{\"Command\":9}"}});
  messages.push_back(State(10 * kSecond, "Start"));
  Write(messages);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(3);
  EXPECT_THAT(mReplay->StandardError(),
              HasSubstr("message 5 (9.000 s, HbAppCmd of process monitor) made the service stop "
                        "publishing"));
}

TEST_F(ReplayCommandTest, RefusesWhatItCannotCompare) {
  Write({State(1, "Start")});
  StartProcess();
  StartReplay({"--expect"});
  ExpectRefused("the recording begins while the service is measuring");
}

TEST_F(ReplayCommandTest, RefusesOtherFiles) {
  StartReplay({"--list"});
  ExpectRefused("recording: cannot be opened");
  std::ofstream(mPath) << "text";
  StartReplay({"--list"});
  ExpectRefused("not a recording, or a recording of another version");
}

TEST_F(ReplayCommandTest, SaysThatThereIsNoService) {
  Write(::Start());
  StartReplay({"--wait", "0.2"});
  ExpectRefused("no service has subscribed in 0.2 s; start LoudCalc -m 1 -c 1");
}

}  // namespace
