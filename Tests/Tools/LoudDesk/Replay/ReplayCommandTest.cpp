// The desk tool's subcommand `replay` with the shipped service. GoldenRunTest, an end-to-end test,
// shows that it finds faults.

#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

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

  /// Compares a service with the recording, in which the order of one message has to be restored.
  void ReplayWithOneMoved() {
    StartProcess();
    StartReplay({"--expect"});
    ExpectEnd(0);
    EXPECT_THAT(mReplay->StandardOutput(),
                testing::EndsWith("; messages that changed places with an acknowledgement: 1\n"));
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

// Loudness data whose loudness figures, where there are any, come from blocks of the same power.
RecordedMessage Data(std::uint64_t time, std::int16_t loudness, std::uint32_t peak,
                     std::uint32_t maxPeak, std::int16_t command = LU_CMD_START) {
  // 20 log10(peak) dB above a peak of 1, in hundredths; full scale is 32768.
  const auto code = [](std::uint32_t value) {
    return static_cast<std::int16_t>(value == 0 ? -9900
                                                : std::lround(2000 * std::log10(value / 32768.0)));
  };
  const std::int16_t values[] = {loudness,      loudness,   loudness, -990,    0, -990,
                                 code(maxPeak), code(peak), 1,        command, 1};
  RecordedMessage message = {Sender::kDataPublisher, time, {"LoudnessData"}};
  for (const std::int16_t value : values) {
    message.frames.emplace_back(sizeof value, '\0');
    std::memcpy(message.frames.back().data(), &value, sizeof value);
  }
  return message;
}

// Left, right and centre weigh 1, the two surrounds 1.41: -22.75 + 10 log10(5.82) = -15.10.
constexpr double kLevel = -22.75;
constexpr std::int16_t kLoudness = -151;

RecordedMessage Peaked(std::uint64_t time, std::uint32_t peak) {
  louddesk::BlockReading block;
  block.powers.fill(PowerOf(kLevel));
  block.peaks.fill(peak);
  return {Sender::kSignalProcessor, time, louddesk::RawMessage(1, block)};
}

// A start with the restart acknowledged at 3.05 s.
constexpr std::uint64_t kRestart = 3050000;

std::vector<RecordedMessage> StartWith(const std::vector<RecordedMessage>& before,
                                       const std::vector<RecordedMessage>& behind) {
  std::vector<RecordedMessage> messages = {Enable(kSecond), Preset(3 * kSecond)};
  messages.insert(messages.end(), before.begin(), before.end());
  messages.push_back(Data(kRestart, -990, 0, 0, LU_CMD_NONE));
  messages.push_back(State(kRestart, "Reset"));
  messages.insert(messages.end(), behind.begin(), behind.end());
  messages.push_back(State(kRestart + 100000, "Start"));
  return messages;
}

// Appends blocks with the peaks 2000, 1900 ... 1600, a period apart. Readings begin with the block
// of the peak `first`.
void AddBlocks(std::vector<RecordedMessage>& messages, std::uint32_t first) {
  for (std::uint32_t peak = 2000; peak >= 1600; peak -= 100) {
    const std::uint64_t time = kRestart + (2100 - peak) * 1000 + 50000;
    messages.push_back(Peaked(time, peak));
    if (peak <= first)
      messages.push_back(Data(time + 40000, kLoudness, peak, first));
  }
}

TEST_F(ReplayCommandTest, ABlockRecordedBeforeTheRestartThatWasMeasuredAfterIt) {
  auto messages = StartWith({Peaked(kRestart - 5000, 2100)}, {});
  AddBlocks(messages, 1800);
  Write(messages);
  ReplayWithOneMoved();
  EXPECT_THAT(mReplay->StandardOutput(),
              HasSubstr("4 messages of loudness data and 2 states compared"));
}

TEST_F(ReplayCommandTest, ABlockRecordedAfterTheRestartThatWasMeasuredBeforeIt) {
  auto messages = StartWith({}, {Peaked(kRestart + 5000, 2100)});
  AddBlocks(messages, 1700);
  Write(messages);
  ReplayWithOneMoved();
  EXPECT_THAT(mReplay->StandardOutput(),
              HasSubstr("3 messages of loudness data and 2 states compared"));
}

// The service carried out the restart of the preset before it took the configuration, whose user
// its acknowledgement therefore does not have.
TEST_F(ReplayCommandTest, AConfigurationRecordedBeforeAnAcknowledgementThatCameBeforeIt) {
  louddesk::LoudnessConfiguration configuration;
  configuration.userId = 42;
  const std::string json = configuration.Json();
  const auto ofUser = [](RecordedMessage state) {
    std::string& text = state.frames[1];
    text.replace(text.find("\"UID\":0"), 7, "\"UID\":42");
    return state;
  };
  Write({Enable(kSecond),
         Preset(3 * kSecond),
         {Sender::kMainAppServer, 3040000, {"AppProbeSetLuConf-1", json}},
         Data(kRestart, -990, 0, 0, LU_CMD_NONE),
         State(kRestart, "Reset"),
         ofUser(State(kRestart + 100000, "Reset")),
         {Sender::kStatePublisher,
          kRestart + 200000,
          {"IOQVHwmSetLoudnessConfiguration_1",
           R"({"ClusterId":1,"MeterSet":1,"UID":42,"Conf":)" + json + "}"}},
         ofUser(State(kRestart + 200000, "Start"))});
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(0);
  EXPECT_THAT(mReplay->StandardOutput(), HasSubstr("4 states compared"));
}

// The readings of a pause, with a block recorded a moment before or after its acknowledgement.
std::vector<RecordedMessage> WithPause(std::int64_t distance, std::uint32_t paused) {
  constexpr std::uint64_t kPause = 5050000;
  auto messages = StartWith({}, {});
  AddBlocks(messages, 1700);
  louddesk::LoudnessCommand pause;
  pause.command = "Pause";
  messages.push_back({Sender::kMainAppServer, 5000000, {"AppIOQVLoudnessCmd-1", pause.Json()}});
  const std::vector<RecordedMessage> together = {
      Peaked(kPause + static_cast<std::uint64_t>(distance), 1500), State(kPause, "Pause")};
  messages.insert(messages.end(), together.begin(), together.end());
  if (distance > 0)
    std::swap(messages[messages.size() - 2], messages.back());
  messages.push_back(Data(kPause + 100000, kLoudness, paused, 1700, LU_CMD_PAUSE));
  return messages;
}

TEST_F(ReplayCommandTest, ABlockAroundAPause) {
  for (const auto& [distance, paused] : {std::pair(-5000, 1600U), std::pair(5000, 1500U)}) {
    std::filesystem::remove(mPath);
    Write(WithPause(distance, paused));
    SCOPED_TRACE(distance);
    ReplayWithOneMoved();
    mService->Signal(SIGTERM);
    ASSERT_TRUE(mService->WaitForExit(kPatience));
  }
}

// The order excuses nothing that it does not explain.
TEST_F(ReplayCommandTest, NamesAFigureThatNoOrderExplains) {
  auto messages = StartWith({Peaked(kRestart - 5000, 2100)}, {});
  AddBlocks(messages, 1800);
  messages.back().frames[2][0] ^= '\1';
  Write(messages);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(3);
  EXPECT_THAT(mReplay->StandardError(), HasSubstr("Momentary is -151, recorded "));
}

// Without peaks that tell blocks apart, and with another maximum than either order gives.
TEST_F(ReplayCommandTest, ADifferenceInDoubtHasItsOwnStatus) {
  auto messages = StartWith({Peaked(kRestart - 5000, 2000)}, {});
  AddBlocks(messages, 1600);
  messages.back() = Data(messages.back().time, kLoudness, 1600, 2000);
  Write(messages);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(4);
  EXPECT_THAT(mReplay->StandardError(),
              AllOf(HasSubstr("MaxPeak is "),
                    HasSubstr("; this may be no fault: the recording does not show the order of "
                              "block 3 at 3.045 s and message 5")));
}

// States do not depend on blocks.
TEST_F(ReplayCommandTest, AStateIsNeverInDoubt) {
  std::vector<RecordedMessage> messages = ::Start();
  messages.push_back(Block(3 * kSecond + 9000));
  messages.push_back(State(5 * kSecond, "Pause"));
  Write(messages);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(3);
  EXPECT_THAT(mReplay->StandardError(),
              HasSubstr("message 6 (5.000 s, IOQVHwmLoudnessCmd_1 of state publisher) did not "
                        "come: "));
}

// The acknowledgements are behind the end of the file.
TEST_F(ReplayCommandTest, ACutOffRecordingMayLackAnswers) {
  Write({Enable(kSecond), Preset(3 * kSecond)}, false);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(0);
}

TEST_F(ReplayCommandTest, ComparesUpToMissingMessages) {
  std::vector<RecordedMessage> messages = ::Start();
  messages.push_back(louddesk::LossNote(4 * kSecond, 17, 3 * kSecond + 3));
  messages.push_back(State(5 * kSecond, "Pause"));
  Write(messages);
  StartProcess();
  StartReplay({"--expect"});
  ExpectEnd(0);
  EXPECT_THAT(mReplay->StandardOutput(), HasSubstr("2 states compared"));
  EXPECT_THAT(mReplay->StandardError(),
              HasSubstr("17 messages are missing from the recording before 4.000 s: compared up "
                        "to there"));
}

// An interrupted wait sends nothing before its time.
TEST_F(ReplayCommandTest, EndsWithASignalWhateverTheTimes) {
  constexpr std::uint64_t kNinetyYears = 2840184000ULL * kSecond;
  Write({Enable(kSecond), Preset(kNinetyYears)});
  StartProcess();
  StartReplay({"--speed", "0.01"});
  Pass(std::chrono::milliseconds(500));
  mReplay->Signal(SIGINT);
  ExpectEnd(0);
  EXPECT_THAT(mReplay->StandardOutput(), HasSubstr("0 messages sent"));
}

TEST_F(ReplayCommandTest, RefusesSpeedsThatAreNone) {
  for (const char* speed : {"0", "-1", "nan", "inf", "1e9", "x"}) {
    StartReplay({"--speed", speed});
    const auto report = mReplay->WaitForExit(kPatience);
    ASSERT_TRUE(report);
    EXPECT_NE(0, report->status) << speed;
    EXPECT_THAT(mReplay->StandardError(), HasSubstr("--speed")) << speed;
  }
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
