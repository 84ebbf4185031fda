// Compares Docs/PROTOCOL.md with the example messages and the code: its examples are exactly the
// files of Tests/Golden, and its tables have the names in the code.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
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
#include "HeartBeater.h"
#include "JsonParser.h"
#include "Logger.h"
#include "LoudReport.h"
#include "LuMessages.h"
#include "MqNames.h"
#include "PubHandler.h"
#include "SpeakerTexts.h"

namespace {

constexpr char kFence[] = "```";

/// A fenced block.
struct Fence {
  unsigned line;        // number of its first line, from 1
  std::string caption;  // the last line before it that is not empty
  std::string content;  // ends with a line feed
};

std::string ReadDocument(const char* path = LOUDCALC_PROTOCOL_DOCUMENT) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The text with single blanks as its only white space.
std::string OnOneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

/// A number of up to six digits with a comma after the thousands.
std::string WithComma(long number) {
  const std::string digits = std::to_string(number);
  return number < 1000
             ? digits
             : digits.substr(0, digits.size() - 3) + "," + digits.substr(digits.size() - 3);
}

std::string Rounded(double number) {
  return std::to_string(std::lround(number));
}

/// Number of readings of a loudness whose sum of powers fits into 64 bits. The power of -0.7074
/// LKFS is 1857398385681617.
double ReadingsThatFit(double lkfs) {
  return std::pow(2.0, 64.0) / (1857398385681617.0 * std::pow(10.0, (lkfs + 0.7074) / 10.0));
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
      fences.push_back({number, caption, ""});
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

/// The subject of a caption: its first text in backticks.
std::string SubjectOf(const std::string& caption) {
  const std::size_t begin = caption.find('`');
  const std::size_t end = begin != std::string::npos ? caption.find('`', begin + 1) : begin;
  return end != std::string::npos ? caption.substr(begin + 1, end - begin - 1) : "";
}

/// The link to a heading: lower case, hyphens for blanks, no full stops.
std::string AnchorOf(const std::string& heading) {
  std::string anchor = "#";
  for (const char c : heading.substr(heading.find(' ') + 1)) {
    if (c != '.')
      anchor += c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return anchor;
}

/// The beginning of a row of a table in the document, with these first cells.
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
  void ExpectTexts(const std::vector<Enumeration>& values, const char* (*text)(Enumeration)) {
    for (const Enumeration value : values)
      ExpectText(Row({std::to_string(value), Code(text(value))}));
  }

  const std::string mDocument = ReadDocument();
};

TEST_F(ProtocolDocumentTest, EveryFencedExampleIsTheFileThatItsCaptionNames) {
  const std::set<std::string> files = ExampleFiles();
  for (const Fence& fence : FencesOf(mDocument)) {
    const std::string file = SubjectOf(fence.caption);
    ASSERT_EQ(1u, files.count(file)) << "line " << fence.line << ": " << fence.caption;
    EXPECT_EQ(ReadGolden(file) + "\n", fence.content) << file << ", line " << fence.line;
  }
}

TEST_F(ProtocolDocumentTest, EveryExampleFileIsShown) {
  std::set<std::string> shown;
  for (const Fence& fence : FencesOf(mDocument))
    shown.insert(SubjectOf(fence.caption));
  EXPECT_EQ(ExampleFiles(), shown);
}

TEST_F(ProtocolDocumentTest, EveryLinkHasItsHeading) {
  std::set<std::string> anchors;
  std::istringstream stream(mDocument);
  for (std::string line; std::getline(stream, line);)
    if (line.compare(0, 2, "##") == 0)
      anchors.insert(AnchorOf(line));
  unsigned links = 0;
  for (std::size_t at = mDocument.find("](#"); at != std::string::npos;
       at = mDocument.find("](#", at + 1)) {
    ++links;
    const std::string anchor = mDocument.substr(at + 2, mDocument.find(')', at) - at - 2);
    EXPECT_EQ(1u, anchors.count(anchor)) << anchor;
  }
  EXPECT_GT(links, 0u);
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
        kEnableReportingTopic, kSharedRawDataTopic, kHeartBeatTopic, kRepublicationTopic,
        kForwardedCommandTopic, kLoudnessDataTopic})
    ExpectText(Code(topic));
  for (const char* prefix :
       {kPresetTopicPrefix, kConfigurationTopicPrefix, kCommandTopicPrefix, kRawDataTopicPrefix,
        kAcknowledgementTopicPrefix, kAcknowledgementRepubTopicPrefix, kCurrentConfTopicPrefix,
        kCurrentConfRepubTopicPrefix})
    ExpectText("`" + std::string(prefix) + "<n>`");
}

TEST_F(ProtocolDocumentTest, EveryEndpointIsNamed) {
  for (const unsigned port : {kHbMonPort, kHwmPort, kAppserverPort, kMonitorInletPort})
    ExpectText(":" + std::to_string(port) + "`");
  for (const std::string& file :
       {std::string(kSharedRawDataFile), kRawDataFilePrefix + std::string("<n>.ipc"),
        std::string(kSharedPublisherFile), kDataPublisherFilePrefix + std::string("m<n>c<c>.ipc"),
        kStatePublisherFilePrefix + std::string("m<n>c<c>.ipc"), std::string(kLogSinkIpcName)})
    ExpectText(Code("ipc://" + std::string(kIpcDirectory) + "/" + file));
}

TEST_F(ProtocolDocumentTest, EveryFrameOfTheDataMessageHasItsRow) {
  for (std::size_t i = 0; i < kLuDataFrameCount; ++i)
    ExpectText(Row({std::to_string(i + 1), kLuDataFrames[i].name}));
}

TEST_F(ProtocolDocumentTest, EnumerationsHaveTheTextsOfTheCode) {
  ExpectTexts({BS1770_3, EBU_R128_9, EBU_R128_18}, cLuConf::ConvertToLoudnessStandardStrFromEnum);
  ExpectTexts({LOUD_WIN_TYPE_MOMENTARY, LOUD_WIN_TYPE_SHORT, LOUD_WIN_TYPE_INTEGRATED},
              cLuConf::ConvertToLoudnessWindowStrFromEnum);
  ExpectTexts({LU_ALARM_OVER, LU_ALARM_UNDER, LU_ALARM_BOTH, LU_ALARM_OFF},
              cLuConf::ConvertToAlarmStrFromEnum);
  ExpectTexts({LOUD_MODE_CONTINUOUS, LOUD_MODE_START_STOP}, cLuConf::ConvertToModeStrFromEnum);
  ExpectTexts({LU_CMD_NONE, LU_CMD_STOP, LU_CMD_PAUSE, LU_CMD_START, LU_CMD_PLAY, LU_CMD_RESET,
               LU_CMD_PRINT},
              cLuCmd::ConvertToLuCmdStrFromEnum);
}

TEST_F(ProtocolDocumentTest, SpeakersHaveTheWeightsOfTheCode) {
  for (const TextEntry<AudioSpeakerType_e>& speaker : kSpeakerTexts) {
    char weight[8] = {};
    std::snprintf(weight, sizeof weight, "%.2f",
                  static_cast<double>(LoudnessSpeakerWeight[speaker.value]));
    ExpectText(Row({Code(speaker.text), std::to_string(speaker.value), weight}));
  }
}

TEST_F(ProtocolDocumentTest, LoudProgrammesLastAsLongAsTheirSumsHold) {
  constexpr double kReadingsPerMinute = 600;
  constexpr double kLongestWindow = 72000;
  const double atZero = ReadingsThatFit(0);
  const std::string readings = WithComma(100 * std::lround(atZero / 100)) + " readings";
  const std::string minutes = Rounded(atZero / kReadingsPerMinute) + " minutes";
  const std::string minutesAtNine = Rounded(ReadingsThatFit(-9) / kReadingsPerMinute) + " minutes";
  // The level at which the longest window just fits, rounded down to a tenth.
  const long tenths = std::lround(std::ceil(100.0 * std::log10(kLongestWindow / atZero)));
  const std::string level = "-" + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);

  EXPECT_THAT(OnOneLine(mDocument), testing::HasSubstr("after about " + readings + " (" + minutes +
                                                       ") at 0 LKFS, or after " + minutesAtNine +
                                                       " at -9 LKFS. Up to about " + level +
                                                       " LKFS the full two hours fit."));
  EXPECT_THAT(OnOneLine(ReadDocument(LOUDCALC_COMPLIANCE_DOCUMENT)),
              testing::HasSubstr("about " + readings + ", ten a second; at -9 LKFS " +
                                 minutesAtNine + "; and up to about " + level + " LKFS"));
}

}  // namespace
