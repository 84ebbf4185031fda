// Replays the golden run, Tests/EndToEnd/GoldenRun.loudrec, to the shipped service: every message
// that it publishes must equal the recorded one, byte for byte, on every architecture. Also replays
// altered copies of the run, whose differences must be found and named.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>

#include "FiguresText.h"
#include "GoldenRun.h"
#include "PubHandler.h"
#include "RecordingReader.h"
#include "RecordingWriter.h"
#include "RunningService.h"
#include "SurroundBlocks.h"

namespace {

using louddesk::BlockReading;
using louddesk::RecordedMessage;
using louddesk::Sender;
using testing::AllOf;
using testing::HasSubstr;

// The run takes less than a minute, and several times longer in an emulator.
constexpr std::chrono::seconds kRunPatience{600};

std::vector<RecordedMessage> GoldenRun() {
  std::ifstream file(GOLDEN_RUN, std::ios::binary);
  louddesk::RecordingReader reader(file);
  std::vector<RecordedMessage> messages;
  while (auto message = reader.Next())
    messages.push_back(std::move(*message));
  EXPECT_EQ("", reader.Flaw());
  return messages;
}

std::size_t Find(const std::vector<RecordedMessage>& messages, const std::string& topic,
                 const std::string& payload, std::size_t from = 0) {
  for (std::size_t i = from; i < messages.size(); ++i)
    if (messages[i].frames.front() == topic && messages[i].frames.size() > 1 &&
        messages[i].frames[1].find(payload) != std::string::npos)
      return i;
  ADD_FAILURE() << "the golden run has no " << topic << " with " << payload;
  return 0;
}

BlockReading BlockOf(const RecordedMessage& message) {
  BlockReading block;
  message.frames.at(1).copy(reinterpret_cast<char*>(block.peaks.data()), sizeof block.peaks);
  message.frames.at(2).copy(reinterpret_cast<char*>(block.powers.data()), sizeof block.powers);
  return block;
}

LoudnessData_t FiguresOf(const RecordedMessage& message) {
  return louddesk::DecodeLoudnessMessage({message.frames, {}}).data;
}

class GoldenRunTest : public RunningService {
 protected:
  void SetUp() override {
    char name[] = "/tmp/golden-run-XXXXXX";
    mFolder = mkdtemp(name);
  }
  void TearDown() override {
    RunningService::TearDown();
    std::filesystem::remove_all(mFolder);
  }

  /// Writes a copy of the golden run with this change.
  std::string Changed(const std::function<void(std::vector<RecordedMessage>&)>& change) {
    std::vector<RecordedMessage> messages = GoldenRun();
    change(messages);
    const std::string path = mFolder / "changed";
    louddesk::RecordingWriter writer(path, {1, 1, 0});
    for (const RecordedMessage& message : messages)
      writer.Write(message);
    writer.Finish(messages.back().time);
    return path;
  }

  void Replay(const std::string& path) {
    StartProcess();
    mReplay = std::make_unique<ServiceProcess>(
        LOUDDESK_BINARY, std::vector<std::string>{"replay", "--expect", "--wait", "60", path});
    const auto report = mReplay->WaitForExit(kRunPatience);
    ASSERT_TRUE(report) << "still running";
    ASSERT_EQ(0, report->signal);
    mStatus = report->status;
  }

  void ExpectFound(const std::string& path, const std::string& what) {
    ASSERT_NO_FATAL_FAILURE(Replay(path));
    EXPECT_EQ(3, mStatus) << mReplay->StandardOutput();
    EXPECT_THAT(mReplay->StandardError(), HasSubstr(what));
  }

  std::filesystem::path mFolder;
  std::unique_ptr<ServiceProcess> mReplay;
  int mStatus = -1;
};

TEST_F(GoldenRunTest, IsRepeatedByteForByte) {
  ASSERT_NO_FATAL_FAILURE(Replay(GOLDEN_RUN));
  EXPECT_EQ(0, mStatus) << mReplay->StandardError();
  EXPECT_THAT(mReplay->StandardOutput(),
              AllOf(HasSubstr("The same as recorded: "), testing::Not(HasSubstr(": 0 messages")),
                    HasSubstr("; 0 of loudness data came that are not recorded")));
}

// Shows that the recorded figures are correct, not only what the service published.
TEST(GoldenRunFiguresTest, AreThoseOfASecondComputation) {
  const auto messages = GoldenRun();
  const std::size_t configuration =
      Find(messages, "AppProbeSetLuConf-1", "\"UserID\":" + std::to_string(kGoldenUser));
  const std::size_t pause = Find(messages, "AppIOQVLoudnessCmd-1", "Pause", configuration);
  SecondComputation second(kGoldenIntegratedWindow, kGoldenLoudnessRangeWindow);
  std::vector<std::vector<int>> computed;
  std::vector<std::vector<int>> published;
  const auto addTo = [](std::vector<std::vector<int>>& figures, const LoudnessData_t& data) {
    const std::vector<int> codes = louddesk::PublishedCodes(data);
    if (figures.empty() || figures.back() != codes)
      figures.push_back(codes);
  };
  unsigned blocks = 0;
  std::size_t start = Find(messages, "IOQVHwmLoudnessCmd_1", "Start", configuration);
  for (std::size_t i = start; i < pause; ++i) {
    if (messages[i].sender == Sender::kSignalProcessor) {
      const BlockReading block = BlockOf(messages[i]);
      second.Add(ProgrammePower(block), ProgrammePeak(block));
      addTo(computed, second.Coded());
      ++blocks;
    } else if (messages[i].sender == Sender::kDataPublisher) {
      addTo(published, FiguresOf(messages[i]));
    }
  }
  EXPECT_EQ(kGoldenBlocks, blocks);
  EXPECT_EQ(computed, published);
}

TEST_F(GoldenRunTest, AnotherBlockIsFound) {
  std::size_t place = 0;
  const std::string path = Changed([&place](auto& messages) {
    place = Find(messages, "AppProbeSetLuConf-1", "");
    for (int blocks = 0; blocks < 20; ++place)
      blocks += messages[place].sender == Sender::kSignalProcessor ? 1 : 0;
    for (std::size_t meter = 0; meter < 6; ++meter)
      messages[place - 1].frames[2][meter * 8 + 5] ^= '\x7F';
  });
  ASSERT_NO_FATAL_FAILURE(ExpectFound(path, "LoudnessData of data publisher) "));
  EXPECT_THAT(mReplay->StandardError(),
              AllOf(HasSubstr("Momentary is "), HasSubstr(", recorded ")));
}

TEST_F(GoldenRunTest, AnotherFigureIsFound) {
  std::size_t place = 0;
  const std::string path = Changed([&place](auto& messages) {
    place = Find(messages, "AppProbeSetLuConf-1", "");
    while (messages[place].sender != Sender::kDataPublisher ||
           FiguresOf(messages[place]).Momentary == -990)
      ++place;
    messages[place].frames[2][0] ^= '\1';
  });
  const int figure = FiguresOf(GoldenRun()[place]).Momentary;
  ExpectFound(path, "message " + std::to_string(place + 1) + " (");
  EXPECT_THAT(mReplay->StandardError(), HasSubstr("Momentary is " + std::to_string(figure) +
                                                  ", recorded " + std::to_string(figure ^ 1)));
}

TEST_F(GoldenRunTest, ADroppedCommandIsFound) {
  ExpectFound(Changed([](auto& messages) {
                messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(Find(
                                                      messages, "AppIOQVLoudnessCmd-1", "Pause")));
              }),
              "IOQVHwmLoudnessCmd_1 of state publisher) did not come: IOQVHwmLoudnessCmd_1 "
              "{\"Command\":\"Pause\"");
}

TEST_F(GoldenRunTest, ADroppedAcknowledgementIsFound) {
  ExpectFound(Changed([](auto& messages) {
                messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(Find(
                                                      messages, "IOQVHwmLoudnessCmd_1", "Start")));
              }),
              "{\"Command\":\"Start\"");
}

TEST_F(GoldenRunTest, AChangedConfigurationIsFound) {
  ExpectFound(Changed([](auto& messages) {
                std::string& json =
                    messages[Find(messages, "AppProbeSetLuConf-1", "\"LraWindow\":9")].frames[1];
                json.replace(json.find("\"LraWindow\":9"), 13, "\"LraWindow\":8");
              }),
              "IOQVHwmSetLoudnessConfiguration_1 of state publisher) is ");
}

TEST_F(GoldenRunTest, ADroppedPresetIsFound) {
  ExpectFound(Changed([](auto& messages) {
                messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(Find(
                                                      messages, "AppProbeIOMatrixStream-1", "")));
              }),
              "did not come");
}

}  // namespace
