// Shared parts of the tests that check every line and every message.

#include "WatchedService.h"

#include <ostream>
#include <utility>

#include "Endpoints.h"
#include "LoudReport.h"

using louddesk::LoudnessMessage;
using louddesk::Peer;

namespace {

constexpr char kColourEnd[] = "\033[0m";
constexpr char kErrorColour[] = "\033[1;31m";
constexpr char kWarnColour[] = "\033[1;33m";

constexpr char kTransition[] = "LuCalc States chnages ";

constexpr std::size_t kSettledMessages = 3;  // equal messages in a row: nothing changes any more

constexpr std::size_t kMostMessages = 100;  // waited for at most: ten seconds

constexpr int kWarnLevel = 30;
constexpr int kErrorLevel = 40;

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

// Replaces the number at `place` by '#'. False if there is no number.
bool ReplaceNumber(std::string& text, std::size_t place) {
  std::size_t end = place;
  while (end < text.size() && IsDigit(text[end]))
    ++end;
  if (end == place)
    return false;
  text.replace(place, end - place, "#");
  return true;
}

// Replaces the first of the fields between bars that begins with a number.
void ReplaceSourceLine(std::string& text) {
  for (std::size_t bar = text.find('|'); bar != std::string::npos; bar = text.find('|', bar + 1))
    if (ReplaceNumber(text, bar + 1))
      return;
}

std::string Levelled(const char* colour, const char* level, const std::string& unit,
                     const std::string& text) {
  return std::string(colour) + "#|HwMana|" + level + "|" + unit + "|#|" + text;
}

// The form of the line at the log sink: level number, then the line without its colour.
std::string AtSink(const std::string& line) {
  const int level = BeginsWith(line, kErrorColour) ? kErrorLevel : kWarnLevel;
  return std::to_string(level) + " " + line.substr(line.find('m') + 1);
}

MessageRun KindOf(const LoudnessMessage& message) {
  MessageRun run;
  run.figures = louddesk::PublishedCodes(message.data);
  run.command = static_cast<LuCmd_e>(message.command);
  run.validSource = message.validSource;
  run.cluster = message.cluster;
  return run;
}

void Append(std::vector<MessageRun>& runs, const LoudnessMessage& message) {
  const MessageRun next = KindOf(message);
  if (!runs.empty() && IsSameKind(runs.back(), next))
    ++runs.back().count;
  else
    runs.push_back(next);
}

}  // namespace

const std::vector<int> kNoFigures = {-990, -990, -990, -990, 0, -990, -9900, -9900};

bool operator==(const Speech& left, const Speech& right) {
  return left.output == right.output && left.errors == right.errors;
}

void PrintTo(const Speech& speech, std::ostream* stream) {
  *stream << "output " << testing::PrintToString(speech.output) << " errors "
          << testing::PrintToString(speech.errors);
}

std::string Printed(const std::string& unit, const std::string& text) {
  return unit + "|#| " + text;
}

std::string Warned(const std::string& unit, const std::string& text) {
  return Levelled(kWarnColour, "WARN", unit, text);
}

std::string Failed(const std::string& unit, const std::string& text) {
  return Levelled(kErrorColour, "ERROR", unit, text);
}

std::string Normalised(std::string line) {
  if (BeginsWith(line, kColourEnd))
    line.erase(0, sizeof kColourEnd - 1);
  ReplaceNumber(line, BeginsWith(line, "\033") ? line.find('m') + 1 : 0);
  ReplaceSourceLine(line);
  return line;
}

bool IsSameKind(const MessageRun& left, const MessageRun& right) {
  return left.figures == right.figures && left.command == right.command &&
         left.validSource == right.validSource && left.cluster == right.cluster;
}

bool operator==(const MessageRun& left, const MessageRun& right) {
  return IsSameKind(left, right) && left.count == right.count;
}

void PrintTo(const MessageRun& run, std::ostream* stream) {
  *stream << run.count << " times " << testing::PrintToString(run.figures) << " command "
          << run.command << " valid " << run.validSource << " cluster " << run.cluster;
}

void WatchedService::StartWatched() {
  ASSERT_NO_FATAL_FAILURE(Start());
  Hear();
}

Speech WatchedService::Hear(Peer peer) {
  const std::string mark = Mark();
  const std::size_t first = mHeard;
  SendMark(peer, mark);
  const std::vector<OutputLine> lines = mService->Lines();
  mHeard = lines.size();
  Speech speech;
  bool isRefusalDue = false;  // the next line is the second one about the refused command
  for (std::size_t i = first; i < lines.size(); ++i) {
    const std::string line = Normalised(lines[i].text);
    if (BeginsWith(line, kTransition))
      continue;
    if (Contains(line, mark))
      isRefusalDue |= !lines[i].isError;
    else if (lines[i].isError)
      speech.errors.push_back(line);
    else if (!std::exchange(isRefusalDue, false))
      speech.output.push_back(line);
  }
  ExpectAtSink(mark, speech.errors);
  return speech;
}

// A refused command is reported on standard output, an unknown topic on standard error.
void WatchedService::SendMark(Peer peer, const std::string& mark) {
  const std::string commandTopic = louddesk::TopicFor(kCommandTopicPrefix, mUnit.MeterSet());
  const std::string unknownTopic = kAppLoudnessCommandTopic + mark;
  mUnit.SendText(peer, commandTopic, mark);
  mUnit.SendText(peer, unknownTopic);
  EXPECT_TRUE(mService->WaitForLine(unknownTopic, kPatience, mHeard));
  EXPECT_TRUE(mService->WaitForLine(mark + "\\n", kPatience, mHeard));
  EXPECT_TRUE(mService->WaitForLine("failed parsing", kPatience, IndexOf(mark + "\\n", mHeard)));
}

std::string WatchedService::Mark() {
  return " mark " + std::to_string(++mMarks) + ".";
}

std::size_t WatchedService::IndexOf(const std::string& text, std::size_t first) const {
  const std::vector<OutputLine> lines = mService->Lines();
  std::size_t index = first;
  while (index < lines.size() && !Contains(lines[index].text, text))
    ++index;
  return index;
}

void WatchedService::ExpectAtSink(const std::string& mark, const std::vector<std::string>& errors) {
  std::vector<std::string> expected;
  for (const std::string& line : errors)
    expected.push_back(AtSink(line));
  std::vector<std::string> actual;
  for (auto line = mUnit.NextLogLine(kPatience); line && !Contains(line->message, mark);
       line = mUnit.NextLogLine(kPatience)) {
    EXPECT_EQ(0, line->type);
    EXPECT_EQ("HwMana", line->name);
    if (line->level >= kWarnLevel)
      actual.push_back(std::to_string(line->level) + " " + Normalised(line->message));
  }
  EXPECT_EQ(expected, actual) << "at the log sink";
}

Speech WatchedService::SayTo(const std::string& topic, const std::optional<std::string>& payload) {
  mUnit.SendText(Peer::kMainAppServer, topic, payload);
  return Hear();
}

void WatchedService::ExpectTransitions(const std::vector<std::string>& changes) {
  for (const std::string& change : changes) {
    ASSERT_TRUE(mService->WaitForLine(kTransition, kPatience, mNextTransition))
        << "no change " << change;
    const std::size_t index = IndexOf(kTransition, mNextTransition);
    EXPECT_EQ(kTransition + change + " . ", Normalised(mService->Lines()[index].text));
    EXPECT_FALSE(mService->Lines()[index].isError);
    mNextTransition = index + 1;
  }
}

void WatchedService::ExpectNoTransition() {
  const std::vector<OutputLine> lines = mService->Lines();
  for (std::size_t i = mNextTransition; i < lines.size(); ++i)
    EXPECT_FALSE(Contains(lines[i].text, kTransition)) << lines[i].text;
}

void WatchedService::ForgetTransitions() {
  mNextTransition = mService->LineCount();
}

void WatchedService::ExpectAnswer(const std::string& topic, const std::string& json) {
  const auto state = NextAnswer(kPatience);
  ASSERT_TRUE(state) << "instead of " << topic << " " << json;
  EXPECT_EQ(topic, state->topic);
  EXPECT_EQ(json, state->json);
}

void WatchedService::ExpectAcknowledged(const std::string& command, unsigned timeStamp,
                                        unsigned user) {
  ExpectAnswer(CommandTopic(), Acknowledgement(command, timeStamp, user));
}

void WatchedService::ExpectNoAnswer() {
  const auto state = NextAnswer(4 * kPeriod);
  EXPECT_FALSE(state) << state->topic << " " << state->json;
}

void WatchedService::ExpectNoAnswerSoFar() {
  const auto state = NextAnswer(louddesk::Patience{0});
  EXPECT_FALSE(state) << state->topic << " " << state->json;
}

std::string WatchedService::Acknowledgement(const std::string& command, unsigned timeStamp,
                                            unsigned user) const {
  return "{\"Command\":\"" + command + "\",\"ClusterId\":" + std::to_string(mUnit.Cluster()) +
         ",\"CmdTS\":" + std::to_string(timeStamp) + ",\"UID\":" + std::to_string(user) +
         ",\"MeterSet\":" + std::to_string(mUnit.MeterSet()) + "}";
}

std::string WatchedService::CommandTopic() const {
  return louddesk::TopicFor(kAcknowledgementTopicPrefix, mUnit.MeterSet());
}

std::string WatchedService::ConfigurationTopic() const {
  return louddesk::TopicFor(kCurrentConfTopicPrefix, mUnit.MeterSet());
}

std::string WatchedService::Envelope(const std::string& json, unsigned user) const {
  return "{\"ClusterId\":" + std::to_string(mUnit.Cluster()) +
         ",\"MeterSet\":" + std::to_string(mUnit.MeterSet()) + ",\"UID\":" + std::to_string(user) +
         ",\"Conf\":" + json + "}";
}

std::vector<int> WatchedService::SettledFigures() {
  mUnit.DropLoudnessData();
  std::vector<MessageRun> runs;
  for (std::size_t i = 0; i < kMostMessages; ++i) {
    const auto message = mUnit.NextLoudnessData(kPatience);
    if (!message)
      break;
    Append(runs, *message);
    if (runs.back().count >= kSettledMessages)
      return runs.back().figures;
  }
  ADD_FAILURE() << "no settled figures in " << testing::PrintToString(runs);
  return {};
}

std::vector<MessageRun> WatchedService::RunsUntil(const MessageRun& last) {
  std::vector<MessageRun> runs;
  for (std::size_t i = 0; i < kMostMessages; ++i) {
    const auto message = mUnit.NextLoudnessData(kPatience);
    if (!message)
      break;
    Append(runs, *message);
    if (IsSameKind(last, runs.back()) && runs.back().count >= kSettledMessages)
      break;
  }
  return runs;
}

std::vector<MessageRun> WatchedService::RunsUntilSilence() {
  std::vector<MessageRun> runs;
  for (std::size_t i = 0; i < kMostMessages; ++i) {
    const auto message = mUnit.NextLoudnessData(4 * kPeriod);
    if (!message)
      break;
    Append(runs, *message);
  }
  return runs;
}
