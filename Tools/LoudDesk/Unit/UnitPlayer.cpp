// The played unit. Everything happens on one thread, between two messages.

#include "UnitPlayer.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "Endpoints.h"
#include "FiguresText.h"
#include "JsonAccess.h"
#include "PresetBuilder.h"
#include "UnitDocuments.h"

namespace louddesk {

namespace {

constexpr char kConfigurationStateTopic[] = "IOQVHwmSetLoudnessConfiguration_";

// The longest windows that the service has, so that its figures cover everything played.
constexpr unsigned kIntegratedWindow = 7200;
constexpr unsigned kLoudnessRangeWindow = 10800;

constexpr Patience kStartPatience{5000};
constexpr std::chrono::seconds kSilenceOfADeadService{3};

// The service has taken everything in once this many messages in a row say the same.
constexpr int kSettledMessages = 5;
constexpr std::chrono::seconds kSettlePatience{10};

constexpr int kErrorLevel = 40;

Patience Remaining(std::chrono::steady_clock::time_point due) {
  const auto left = std::chrono::ceil<Patience>(due - std::chrono::steady_clock::now());
  return std::max(left, Patience{0});
}

}  // namespace

UnitPlayer::UnitPlayer(const UnitOptions& options, std::ostream& out, TerminalColumns columns)
    : mOptions(options),
      mOut(out),
      mLine(out, columns),
      mUnit(options.meterSet, options.cluster),
      mUserId(static_cast<unsigned>(getpid())) {
  mUnit.OpenAll();
}

bool UnitPlayer::IsInterrupted() {
  return zsys_interrupted != 0;
}

void UnitPlayer::Connect() {
  const Patience patience{std::llround(mOptions.wait * 1000)};
  if (!mUnit.WaitUntilSubscribed(patience)) {
    if (IsInterrupted())
      return;
    const std::string service = "LoudCalc -m " + std::to_string(mOptions.meterSet) + " -c " +
                                std::to_string(mOptions.cluster);
    throw PlayError(mUnit.HasSubscribers() ? "a service has subscribed, but not as " + service +
                                                 " does: " + mUnit.MissingSubscriptions()
                                           : "no service has subscribed in time; start " + service);
  }
  mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic, EnableReportingJson(true));
}

void UnitPlayer::Play(const std::string& path) {
  FileBlocks blocks(path);
  const AudioFile& file = blocks.File();
  const SpeakerLayout speakers = LayoutFor(file, mOptions.speakers);
  StartMeasuring(speakers);
  mOut << "Playing " << path << " (" << file.Channels()
       << (file.Channels() == 1 ? " channel, " : " channels, ") << file.SampleRate() << " Hz)"
       << std::endl;
  Stream(blocks);
  mLine.Finish();
}

void UnitPlayer::StartMeasuring(const SpeakerLayout& speakers) {
  if (speakers == mSpeakers || IsInterrupted())
    return;
  Finish();
  SendProgramme(speakers);
  const auto end = Clock::now() + kStartPatience;
  while (const auto state = mUnit.NextState(Remaining(end))) {
    if (!HasStarted(*state))
      continue;
    mSpeakers = speakers;
    mBlocks = 0;
    mLastSign = Clock::now();
    mUnit.DropLoudnessData();
    return;
  }
  if (!IsInterrupted())
    throw PlayError("the service has not started to measure" + LastComplaint());
}

void UnitPlayer::SendProgramme(const SpeakerLayout& speakers) {
  const PresetBuilder preset = PresetForSpeakers(speakers, mOptions.cluster);
  LoudnessConfiguration configuration;
  configuration.clusterId = mOptions.cluster;
  configuration.loudnessWindow = "Custom";
  configuration.loudnessWindowTime = kIntegratedWindow;
  configuration.lraWindow = kLoudnessRangeWindow;
  configuration.userId = ++mUserId;
  mUnit.SendText(Peer::kMainAppServer, TopicFor(kPresetTopicPrefix, mOptions.meterSet),
                 preset.Json());
  mUnit.SendText(Peer::kMainAppServer, TopicFor(kConfigurationTopicPrefix, mOptions.meterSet),
                 configuration.Json());
}

// The service publishes the configuration in force when it has reset and starts. Whatever it
// publishes before that answers the preset alone, and another reset is still to come.
bool UnitPlayer::HasStarted(const StateMessage& state) const {
  rapidjson::Document document;
  unsigned user = 0;
  return state.topic == TopicFor(kConfigurationStateTopic, mOptions.meterSet) &&
         json::ParseObject(state.json.c_str(), document) && json::Read(document, "UID", user) &&
         user == mUserId;
}

void UnitPlayer::Stream(FileBlocks& blocks) {
  const std::chrono::duration<double> period(1.0 / (kBlocksPerSecond * mOptions.speed));
  const Clock::time_point start = Clock::now();
  BlockReading block;
  for (unsigned long sent = 0; !IsInterrupted() && blocks.Next(block); ++sent) {
    ShowUntil(start + std::chrono::duration_cast<Clock::duration>(period * sent));
    mUnit.SendRaw(block);
    ++mBlocks;
    CheckService();
  }
}

void UnitPlayer::Finish() {
  int same = 0;
  const auto end = Clock::now() + kSettlePatience;
  while (mBlocks > 0 && same < kSettledMessages) {
    const auto message = mUnit.NextLoudnessData(Remaining(end));
    if (!message)
      break;
    same = mLast && Figures(mLast->data) == Figures(message->data) ? same + 1 : 1;
    Show(*message);
  }
  mLine.Finish();
  if (mLast)
    mOut << FinalText(SecondsPlayed(), mLast->data) << std::flush;
  mLast.reset();
}

// Shows what the service publishes, at least what has already come.
void UnitPlayer::ShowUntil(Clock::time_point due) {
  for (;;) {
    const auto message = mUnit.NextLoudnessData(Remaining(due));
    if (message)
      Show(*message);
    else if (IsInterrupted() || Clock::now() >= due)
      return;
  }
}

void UnitPlayer::Show(const LoudnessMessage& message) {
  mLastSign = message.time;
  mLast = message;
  mUnit.DropStates();
  mUnit.DropHeartbeats();
  mUnit.DropLogLines();
  mLine.Show(LiveText(SecondsPlayed(), message.data), message.time);
}

void UnitPlayer::CheckService() const {
  if (Clock::now() - mLastSign > kSilenceOfADeadService)
    throw PlayError("the service has fallen silent");
}

// The last error that the service logged, as the end of a line.
std::string UnitPlayer::LastComplaint() {
  std::string complaint;
  while (const auto line = mUnit.NextLogLine(Patience{0}))
    if (line->level >= kErrorLevel)
      complaint = ": " + line->message;
  return complaint;
}

double UnitPlayer::SecondsPlayed() const {
  return static_cast<double>(mBlocks) / kBlocksPerSecond;
}

}  // namespace louddesk
