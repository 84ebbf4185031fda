// Makes a new golden run: a script sends blocks and commands to the shipped service while `LoudDesk
// record` records it. Messages to the service are at least a second apart, and blocks are two
// loudness-data messages apart, so that nothing depends on when they arrive relative to the ticks.
//
// Usage: LOUDCALC_GOLDEN_RUN=FILE GoldenRunMaker

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Endpoints.h"
#include "GoldenRun.h"
#include "RecordingReader.h"
#include "RunningService.h"
#include "SurroundBlocks.h"

namespace {

using louddesk::BlockReading;
using louddesk::LoudnessConfiguration;
using louddesk::Peer;

// Long enough that every pending action has been carried out and published, and that the replay
// does not treat two messages as close together.
constexpr std::chrono::milliseconds kApart{1300};

constexpr int kMessagesPerBlock = 2;

class GoldenRunMaker : public RunningService {
 protected:
  void SetUp() override {
    const char* file = std::getenv("LOUDCALC_GOLDEN_RUN");
    ASSERT_NE(nullptr, file) << "LOUDCALC_GOLDEN_RUN=FILE GoldenRunMaker";
    mFile = file;
    std::filesystem::remove(mFile);
  }

  void StartBoth() {
    ASSERT_NO_FATAL_FAILURE(Start());
    mRecord = std::make_unique<ServiceProcess>(LOUDDESK_BINARY,
                                               std::vector<std::string>{"record", mFile});
    ASSERT_TRUE(mRecord->WaitForLine("Connected to the service and all of its peers", kPatience));
    Pass(std::chrono::seconds(6));  // the recorder receives a republication in that time
  }

  void Text(Peer peer, const std::string& topic, const std::string& payload) {
    Pass(kApart);
    mUnit.SendText(peer, topic, payload);
    ++mSent;
    Pass(kApart);
    mUnit.DropLoudnessData();
  }

  void Report(bool isOn) {
    Text(Peer::kOpticalAppServer, kEnableReportingTopic, louddesk::EnableReportingJson(isOn));
  }

  void Preset(const std::string& json) {
    Text(Peer::kMainAppServer, "AppProbeIOMatrixStream-1", json);
  }

  void Configure(const LoudnessConfiguration& configuration) {
    Text(Peer::kMainAppServer, "AppProbeSetLuConf-1", configuration.Json());
  }

  void Command(const std::string& command, unsigned cluster = 1) {
    louddesk::LoudnessCommand message;
    message.command = command;
    message.clusterId = cluster;
    message.meterSet = 1;
    message.timeStamp = 1718000000 + static_cast<unsigned>(mSent);
    message.userId = kGoldenUser + 1;
    Text(Peer::kMainAppServer, "AppIOQVLoudnessCmd-1", message.Json());
  }

  /// Sends the blocks. While data is published, two messages come between two blocks.
  void Play(const std::vector<BlockReading>& blocks) {
    for (const BlockReading& block : blocks) {
      mUnit.SendRaw(block);
      ++mSent;
      for (int i = 0; i < kMessagesPerBlock; ++i)
        mUnit.NextLoudnessData(3 * kPeriod);
      mUnit.DropLoudnessData();
    }
  }

  void RawFrames(const louddesk::Frames& framesAfterTopic) {
    mUnit.SendRawFrames(framesAfterTopic);
    ++mSent;
    Pass(3 * kPeriod);
  }

  /// Blocks with these levels, in LKFS, on all meters.
  static std::vector<BlockReading> Levels(const std::vector<double>& levels, std::uint32_t peak) {
    std::vector<BlockReading> blocks(levels.size());
    for (std::size_t i = 0; i < levels.size(); ++i) {
      blocks[i].powers.fill(PowerOf(levels[i]));
      blocks[i].peaks.fill(peak);
    }
    return blocks;
  }

  std::size_t InputsInFile() const {
    std::ifstream file(mFile, std::ios::binary);
    louddesk::RecordingReader reader(file);
    std::size_t inputs = 0;
    while (const auto message = reader.Next())
      inputs += louddesk::IsOfService(message->sender) ? 0 : 1;
    EXPECT_EQ("", reader.Flaw());
    return inputs;
  }

  std::string mFile;
  std::unique_ptr<ServiceProcess> mRecord;
  std::size_t mSent = 0;
};

LoudnessConfiguration MeasuredConfiguration() {
  LoudnessConfiguration configuration;
  configuration.mode = "Manual";
  configuration.loudnessWindow = "Custom";
  configuration.loudnessStandard = "EBU R128 (+18)";
  configuration.loudnessWindowTime = kGoldenIntegratedWindow;
  configuration.lraWindow = kGoldenLoudnessRangeWindow;
  configuration.userId = kGoldenUser;
  return configuration;
}

TEST_F(GoldenRunMaker, Make) {
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  const std::string surround = louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json();

  // Messages that have no effect or are refused.
  Text(Peer::kHardwareManager, kHwmStatusTopic, "{}");
  Text(Peer::kProcessMonitor, kSystemStatusTopic, R"({"SysStatus":1})");
  Play(Levels({-23, -23}, 1000));  // no programme yet
  Preset(surround);                // its start waits until reporting is on
  Report(true);

  // The passage that is computed a second time.
  Configure(MeasuredConfiguration());
  Play(RandomBlocks(kGoldenBlocks));

  Command("Pause");
  Play(Levels({-20, -10, -30}, 20000));
  Command("Play");
  Play(Levels({-20, -10, -30}, 30000));
  Command("Reset");
  Play(Levels({-69.9, -70.1, -23, -23.05, -22.95, -5, 5, -100}, 1));
  Command("Stop");
  Play(Levels({-12, -12, -12}, 32768));
  Command("Start");
  Command("Print");
  Command("Stop", 2);  // for another cluster
  Text(Peer::kMainAppServer, "AppIOQVLoudnessCmd-1", R"({"Command":7})");
  Text(Peer::kMainAppServer, "AppProbeSetLuConf-1", R"({"LraWindow":"60"})");

  // Extreme values: sums that wrap around, peaks of more than 16 bits, frames that are too short.
  std::vector<BlockReading> extremes(8);
  for (std::size_t i = 0; i < extremes.size(); ++i) {
    extremes[i].powers.fill(std::uint64_t{1} << (8 * i + 6));
    extremes[i].peaks.fill(std::uint32_t{1} << (4 * i));
  }
  Play(extremes);
  RawFrames({"short", "short", "x"});
  RawFrames({std::string(128, '\1'), std::string(256, '\1')});

  louddesk::Preset republished = louddesk::PresetForSpeakers({"Left", "Right"}, 1);
  republished.isRepublished = true;
  Preset(republished.Json());
  Play(Levels({-23, -23, -23, -23, -23, -23}, 2300));

  Preset("not a preset");  // the source becomes invalid
  Play(Levels({-23, -23}, 2300));
  Report(false);
  Preset(louddesk::PresetForSpeakers({"Left", "Right"}, 1).Json());
  Play(Levels({-18, -18, -18, -18, -18}, 1800));
  Report(true);
  Play(Levels({-18, -18.5, -19, -19.5, -20, -20.5, -21}, 1800));

  LoudnessConfiguration continuous;
  continuous.mode = "Continuous";
  continuous.userId = kGoldenUser + 2;
  Configure(continuous);
  Command("Stop");  // has no effect
  Play(RandomBlocks(30));
  Command("Pause");
  Command("Reset");
  Play(Levels({-15, -15}, 999));
  Command("Play");
  Play(RandomBlocks(12));

  Pass(kApart);
  mRecord->Signal(SIGINT);
  const auto report = mRecord->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(0, report->status) << mRecord->StandardError();
  EXPECT_EQ(mSent, InputsInFile()) << "the recorder came too late";
}

}  // namespace
