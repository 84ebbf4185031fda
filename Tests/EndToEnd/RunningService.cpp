// Shared parts of the end-to-end tests.

#include "RunningService.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <iterator>
#include <utility>

#include "Endpoints.h"
#include "JsonAccess.h"
#include "LoudReport.h"

using louddesk::Peer;

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kExitLine[] = "LoudCalc exiting...";
constexpr char kRepublished[] = "_Repub_";
constexpr char kStoppedState[] = "T";  // in /proc/PID/status

// The stand-in's report while no service publishes.
constexpr const char* kNoPublishers[] = {"no publisher of loudness data", "no publisher of states"};

// Texts that a clean run never prints: failed assertions, faults of the engine, sockets left over,
// findings of the sanitizers.
constexpr const char* kComplaints[] = {"Assertion", "LOUD C ERR", "dangling",
                                       "ERROR: ",   "Sanitizer",  "runtime error"};

std::string CommandOf(const louddesk::StateMessage& state) {
  rapidjson::Document document;
  std::string command;
  if (json::ParseObject(state.json.c_str(), document))
    json::Read(document, "Command", command);
  return command;
}

std::string Describe(const std::optional<louddesk::LoudnessMessage>& message) {
  if (!message)
    return "no message";
  return testing::PrintToString(louddesk::PublishedCodes(message->data)) + " valid " +
         std::to_string(message->validSource) + " command " + std::to_string(message->command);
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Whether no peer has a connection to a service that has ended.
bool IsForgotten(const louddesk::UnitStandIn& unit) {
  const std::string missing = unit.MissingSubscriptions();
  return !unit.HasSubscribers() &&
         std::all_of(std::begin(kNoPublishers), std::end(kNoPublishers),
                     [&missing](const char* text) { return Contains(missing, text); });
}

}  // namespace

const std::vector<std::string>& SurroundSpeakers() {
  static const std::vector<std::string> speakers = {
      "Left", "Right", "Center", "LowFrequencyEffects", "LeftSurround", "RightSurround"};
  return speakers;
}

RunningService::RunningService(unsigned meterSet, unsigned cluster) : mUnit(meterSet, cluster) {}

void RunningService::TearDown() {
  if (mService && mService->IsRunning())
    ExpectCleanEnd(SIGTERM);
  if (HasFailure())
    std::cerr << Output();
}

void RunningService::Start(const std::set<Peer>& absent, const ServiceStart& start) {
  mUnit.OpenAll(absent);
  StartProcess(start);
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
}

void RunningService::StartProcess(const ServiceStart& start) {
  std::vector<std::string> command = start.runner;
  for (const std::string& word :
       {std::string(LOUDCALC_BINARY), std::string("-m"), std::to_string(mUnit.MeterSet()),
        std::string("-c"), std::to_string(mUnit.Cluster())})
    command.push_back(word);
  const std::string program = command.front();
  command.erase(command.begin());
  mService = std::make_unique<ServiceProcess>(program, command, start.environment, start.options);
}

void RunningService::StartAgain(const ServiceStart& start) {
  ASSERT_TRUE(mUnit.WaitFor([this] { return IsForgotten(mUnit); }, kPatience))
      << "the last service is still connected";
  mUnit.DropLoudnessData();
  mUnit.DropStates();
  StartProcess(start);
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
}

void RunningService::Pass(std::chrono::milliseconds time) {
  mUnit.WaitFor([] { return false; }, time);
}

void RunningService::Suspend(ServiceProcess& process) {
  process.Signal(SIGSTOP);
  const auto end = Clock::now() + kPatience;
  while (process.StatusOf("State").rfind(kStoppedState, 0) != 0) {
    ASSERT_LT(Clock::now(), end) << "not stopped but " << process.StatusOf("State");
    Pass(std::chrono::milliseconds{1});
  }
}

void RunningService::EnableReporting(bool enable) {
  const std::size_t before = mService->LineCount();
  mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic,
                 louddesk::EnableReportingJson(enable));
  EXPECT_TRUE(mService->WaitForLine(enable ? "enable true" : "enable false", kPatience, before));
}

void RunningService::SendPreset(const std::string& json) {
  mUnit.SendText(Peer::kMainAppServer, louddesk::TopicFor(kPresetTopicPrefix, mUnit.MeterSet()),
                 json);
}

void RunningService::SendConfiguration(const louddesk::LoudnessConfiguration& configuration) {
  mUnit.SendText(Peer::kMainAppServer,
                 louddesk::TopicFor(kConfigurationTopicPrefix, mUnit.MeterSet()),
                 configuration.Json());
}

void RunningService::SendCommand(const std::string& command) {
  louddesk::LoudnessCommand message;
  message.command = command;
  message.clusterId = mUnit.Cluster();
  message.meterSet = mUnit.MeterSet();
  mUnit.SendText(Peer::kMainAppServer, louddesk::TopicFor(kCommandTopicPrefix, mUnit.MeterSet()),
                 message.Json());
}

void RunningService::ExpectAcknowledgement(const std::string& command) {
  const std::string topic = louddesk::TopicFor(kAcknowledgementTopicPrefix, mUnit.MeterSet());
  // States keep coming by republication.
  const auto end = Clock::now() + kPatience;
  std::string seen;
  while (Clock::now() < end) {
    const auto state = mUnit.NextState(kPatience);
    if (!state)
      break;
    if (state->topic == topic && CommandOf(*state) == command)
      return;
    seen += state->topic + " " + state->json + "\n";
  }
  ADD_FAILURE() << "no acknowledgement of " << command << " but only:\n" << seen;
}

std::optional<louddesk::StateMessage> RunningService::NextAnswer(louddesk::Patience patience) {
  return NextStateOf(false, patience);
}

std::optional<louddesk::StateMessage> RunningService::NextRepublication(
    louddesk::Patience patience) {
  return NextStateOf(true, patience);
}

std::optional<louddesk::StateMessage> RunningService::NextStateOf(bool isRepublished,
                                                                  louddesk::Patience patience) {
  const auto end = Clock::now() + patience;
  for (;;) {
    const auto state = mUnit.NextState(louddesk::Remaining(end));
    if (!state || Contains(state->topic, kRepublished) == isRepublished)
      return state;
  }
}

int RunningService::TakeHeartbeats() {
  int beats = 0;
  while (mUnit.NextHeartbeat(louddesk::Patience{0}))
    ++beats;
  return beats;
}

void RunningService::StartMeasuring() {
  EnableReporting();
  SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), mUnit.Cluster()).Json());
  ExpectAcknowledgement("Start");
  mUnit.DropLoudnessData();
}

void RunningService::Feed(unsigned count, double lkfs, std::uint32_t peak) {
  louddesk::BlockReading block;
  for (std::size_t meter = 0; meter < SurroundSpeakers().size(); ++meter) {
    block.powers[meter] = PowerOf(lkfs);
    block.peaks[meter] = peak;
  }
  for (unsigned i = 0; i < count; ++i)
    mUnit.SendRaw(block);
}

void RunningService::ExpectData(
    const std::function<bool(const louddesk::LoudnessMessage&)>& condition,
    const std::string& what) {
  const auto end = Clock::now() + kPatience;
  std::optional<louddesk::LoudnessMessage> last;
  while (Clock::now() < end) {
    const auto message = mUnit.NextLoudnessData(kPatience);
    if (!message)
      break;
    ASSERT_TRUE(message->wellFormed) << testing::PrintToString(message->frames);
    if (condition(*message))
      return;
    last = message;
  }
  ADD_FAILURE() << "no message with " << what << "; the last one: " << Describe(last);
}

void RunningService::ExpectCadence() {
  MarkCadence();
  ExpectCadenceKept();
}

void RunningService::MarkCadence() {
  mUnit.DropLoudnessData();
  const auto message = mUnit.NextLoudnessData(kPatience);
  ASSERT_TRUE(message) << "no loudness data";
  mMark = message->time;
}

void RunningService::ExpectCadenceKept() {
  constexpr int kEnoughMessages = 5;
  // For a busy machine: ten times what an idle one needs.
  constexpr int kMostMissing = 10;
  double missing = 0;
  int messages = 0;
  // Counts all unread messages first. Only a message that was waited for shows how many are
  // missing; any message can show that there are too many.
  for (bool isNew = false; (!isNew || messages < kEnoughMessages) && missing > -kMostMissing;) {
    auto message = mUnit.NextLoudnessData(louddesk::Patience{0});
    isNew = !message;
    if (isNew)
      message = mUnit.NextLoudnessData(kPatience);
    ASSERT_TRUE(message) << "loudness data ended after " << messages << " messages";
    ++messages;
    missing = std::chrono::duration<double>(message->time - mMark) / kPeriod - messages;
  }
  EXPECT_LT(missing, kMostMissing) << "messages are missing, beside " << messages;
  EXPECT_GT(missing, -kMostMissing) << "there are too many messages, " << messages;
}

void RunningService::ExpectNoData() {
  EXPECT_FALSE(mUnit.NextLoudnessData(5 * kPeriod));
}

void RunningService::ExpectDataEnded() {
  Pass(kPeriod);
  mUnit.DropLoudnessData();
  ExpectNoData();
}

void RunningService::ExpectMeasures(double lkfs) {
  mUnit.DropLoudnessData();
  // Left, right and centre have weight 1, the two surrounds 1.41, the low-frequency effects 0.
  const double programme = lkfs + 10 * std::log10(3 + 2 * 1.41);
  const int expected = static_cast<int>(std::lround(programme * 10));
  Feed(8, lkfs);  // three blocks of warm-up after a reset, then 400 ms and more of the level
  // 0.1 LU of tolerance: the expected value may be close to the border between two codes.
  ExpectData([&](const auto& message) { return std::abs(message.data.Momentary - expected) <= 1; },
             "a momentary loudness of " + std::to_string(expected));
}

void RunningService::ExpectLogLine(const std::string& text) {
  std::string seen;
  while (const auto line = mUnit.NextLogLine(kPatience)) {
    if (Contains(line->message, text))
      return;
    seen += line->message + "\n";
  }
  ADD_FAILURE() << "no log line with " << text << " but only:\n" << seen;
}

void RunningService::ExpectCleanEnd(int signal) {
  mService->Signal(signal);
  const auto report = mService->WaitForExit(kPatience);
  ASSERT_TRUE(report) << "still running";
  EXPECT_EQ(0, report->signal);
  EXPECT_EQ(0, report->status);
  EXPECT_NE(std::string::npos, mService->StandardOutput().find(kExitLine));
  for (const char* complaint : kComplaints)
    for (const OutputLine& line : mService->Lines())
      EXPECT_EQ(std::string::npos, line.text.find(complaint)) << line.text;
}

void RunningService::ExpectStopByAssertion(const std::string& text) {
  const auto report = mService->WaitForExit(kPatience);
  ASSERT_TRUE(report) << "still running";
  EXPECT_EQ(SIGABRT, report->signal);
  EXPECT_NE(std::string::npos, mService->StandardError().find("Assertion `" + text + "' failed."));
}

std::string RunningService::Output() const {
  if (!mService)
    return "";
  std::string text = "Output of the service:\n";
  for (const OutputLine& line : mService->Lines())
    text += (line.isError ? "  E " : "  O ") + line.text + "\n";
  return text;
}
