// Docs/PROTOCOL.md beside the example messages and the code: its examples are the files of
// Tests/Golden, all of them and no others; its tables name what the code names.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Endpoints.h"
#include "GoldenFile.h"
#include "GoldenMessage.h"
#include "JsonParser.h"
#include "LuMessages.h"
#include "Meters.h"
#include "MqNames.h"
#include "PubHandler.h"

namespace {

constexpr char kFence[] = "```";
constexpr char kCode[] = "python";  // language of a fence that is no example

/// A fenced block.
struct Fence {
  unsigned line;         // where it begins, from 1
  std::string language;  // after the opening fence
  std::string caption;   // the last line before it that is not empty
  std::string content;   // with the line feed of its last line
};

std::string ReadDocument() {
  std::ifstream file(LOUDCALC_PROTOCOL_DOCUMENT, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool IsFence(const std::string& line) {
  return line.compare(0, 3, kFence) == 0;
}

std::vector<Fence> FencesOf(const std::string& document) {
  std::vector<Fence> fences;
  std::istringstream stream(document);
  std::string caption;
  bool isOpen = false;
  unsigned number = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    if (IsFence(line) && !isOpen)
      fences.push_back({number, line.substr(3), caption, ""});
    else if (!IsFence(line) && isOpen)
      fences.back().content += line + "\n";
    else if (!line.empty())
      caption = line;
    isOpen ^= IsFence(line);
  }
  EXPECT_FALSE(isOpen) << "the last fence is open";
  return fences;
}

std::set<std::string> ExampleFiles() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(LOUDCALC_GOLDEN_DIR))
    if (entry.path().extension() != ".md")
      names.insert(entry.path().filename().string());
  return names;
}

/// The example file that a caption names, for instance "`heartbeat.frames`:"; empty: none.
std::string FileOf(const std::string& caption) {
  for (const std::string& name : ExampleFiles())
    if (caption.find("`" + name + "`") != std::string::npos)
      return name;
  return "";
}

/// A row of one of the document's tables, of its first cells.
std::string Row(const std::vector<std::string>& cells) {
  std::string row = "\n|";
  for (const std::string& cell : cells)
    row += " " + cell + " |";
  return row;
}

std::string Code(const std::string& text) {
  return "`" + text + "`";
}

class ProtocolDocumentTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(mDocument.empty()) << LOUDCALC_PROTOCOL_DOCUMENT; }

  void ExpectText(const std::string& text) const {
    EXPECT_NE(std::string::npos, mDocument.find(text)) << text;
  }

  template <typename Enumeration>
  void ExpectVocabulary(const std::vector<Enumeration>& values, const char* (*text)(Enumeration)) {
    for (const Enumeration value : values)
      ExpectText(Row({std::to_string(value), Code(text(value))}));
  }

  const std::string mDocument = ReadDocument();
};

TEST_F(ProtocolDocumentTest, EveryFencedExampleIsTheFileThatItsCaptionNames) {
  for (const Fence& fence : FencesOf(mDocument)) {
    if (fence.language == kCode)
      continue;
    const std::string file = FileOf(fence.caption);
    ASSERT_NE("", file) << "line " << fence.line << " has no example file: " << fence.caption;
    EXPECT_EQ(ReadGolden(file) + "\n", fence.content) << file << ", line " << fence.line;
  }
}

TEST_F(ProtocolDocumentTest, EveryExampleFileIsShown) {
  std::set<std::string> shown;
  for (const Fence& fence : FencesOf(mDocument))
    shown.insert(FileOf(fence.caption));
  for (const std::string& file : ExampleFiles())
    EXPECT_EQ(1u, shown.count(file)) << file;
}

TEST_F(ProtocolDocumentTest, EveryMessageFileHoldsAMessage) {
  unsigned messages = 0;
  for (const std::string& file : ExampleFiles()) {
    if (std::filesystem::path(file).extension() != ".frames")
      continue;
    ++messages;
    EXPECT_FALSE(golden::ReadMessage(file).empty()) << file;
  }
  EXPECT_GT(messages, 0u);
}

TEST_F(ProtocolDocumentTest, EveryTopicIsNamed) {
  for (const char* topic :
       {kSystemStatusTopic, kApplicationCommandTopic, kHwmStatusTopic, kAppLoudnessCommandTopic,
        kEnableReportingTopic, kRawDataTopic, kHeartBeatTopic, kRepublicationTopic,
        kForwardedCommandTopic, kLoudnessDataTopic})
    ExpectText(Code(topic));
  for (const char* prefix :
       {kPresetTopicPrefix, kConfigurationTopicPrefix, kCommandTopicPrefix, kRawDataTopicPrefix})
    ExpectText("`" + std::string(prefix) + "<n>`");
}

TEST_F(ProtocolDocumentTest, EveryEndpointIsNamed) {
  for (const unsigned port : {kHbMonPort, kHwmPort, kAppserverPort, kMonitorInletPort})
    ExpectText(":" + std::to_string(port) + "`");
  ExpectText(Code("ipc://" + std::string(kIpcDirectory) + "/" + kRawDataEndpoint));
  ExpectText(
      Code("ipc://" + std::string(kIpcDirectory) + "/" + kRawDataEndpointPrefix + "<n>.ipc"));
}

TEST_F(ProtocolDocumentTest, EveryFrameOfTheDataMessageHasItsRow) {
  for (std::size_t i = 0; i < kLuDataFrameCount; ++i)
    ExpectText(Row({std::to_string(i + 1), kLuDataFrames[i].name}));
}

TEST_F(ProtocolDocumentTest, EnumerationsHaveTheTextsOfTheCode) {
  ExpectVocabulary({BS1770_3, EBU_R128_9, EBU_R128_18},
                   cLuConf::ConvertToLoudnessStandardStrFromEnum);
  ExpectVocabulary({LOUD_WIN_TYPE_MOMENTARY, LOUD_WIN_TYPE_SHORT, LOUD_WIN_TYPE_INTEGRATED},
                   cLuConf::ConvertToLoudnessWindowStrFromEnum);
  ExpectVocabulary({LU_ALARM_OVER, LU_ALARM_UNDER, LU_ALARM_BOTH, LU_ALARM_OFF},
                   cLuConf::ConvertToAlarmStrFromEnum);
  ExpectVocabulary({LOUD_MODE_CONTINUOUS, LOUD_MODE_START_STOP}, cLuConf::ConvertToModeStrFromEnum);
  ExpectVocabulary({LU_CMD_NONE, LU_CMD_STOP, LU_CMD_PAUSE, LU_CMD_START, LU_CMD_PLAY, LU_CMD_RESET,
                    LU_CMD_PRINT},
                   cLuCmd::ConvertToLuCmdStrFromEnum);
}

TEST_F(ProtocolDocumentTest, SpeakersHaveTheWeightsOfTheCode) {
  for (const char* text :
       {"Left", "Right", "Center", "LowFrequencyEffects", "LeftSurround", "RightSurround",
        "BackSurroundLeft", "BackSurroundRight", "MonoSurround"}) {
    const AudioSpeakerType_e speaker = cMeter::ConvertToSpeakerTypeFromString(text);
    ASSERT_NE(AST_NONE, speaker) << text;
    char weight[8] = {};
    std::snprintf(weight, sizeof weight, "%.2f",
                  static_cast<double>(LoudnessSpeakerWeight[speaker]));
    ExpectText(Row({Code(text), std::to_string(speaker), weight}));
  }
}

}  // namespace
