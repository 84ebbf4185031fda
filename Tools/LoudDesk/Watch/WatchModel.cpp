// Derives the watched service's state from its messages and from their absence.

#include "WatchModel.h"

#include <algorithm>

#include "LoudConfigUser.h"
#include "LuMessages.h"
#include "Profiles.h"

namespace louddesk {
namespace {

constexpr std::size_t kMaxNotes = 50;

// Code published in silence, for a peak of 1. Before any block the code is kNoTruePeakCode.
constexpr std::int16_t kSilentPeakCode = -9031;  // 0.01 dBTP

bool IsSilence(const LoudnessData_t& data) {
  return data.Momentary == kNoLoudnessCode && data.TruePeak == kSilentPeakCode;
}

// Of a service whose configuration is not known.
const WatchLimits& UsualLimits() {
  static const Criteria criteria = LiveCriteriaOf(kUsualProfile).value();
  static const WatchLimits limits = {criteria.target.value(), kLowScale,
                                     criteria.limits.tolerance.value()};
  return limits;
}

// In the order of ServiceState.
constexpr StateWords kWords[] = {
    {"NO SERVICE", "no service publishes here", true},
    {"WAITING", "connected, nothing received yet", false},
    {"NOT STARTED", "nothing measured yet", false},
    {"RUNNING", "", false},
    {"PAUSED", "", false},
    {"STOPPED", "", false},
    {"SILENT", "no data: reporting is off, or the service hangs", true},
    {"DEAD", "the service is gone", true},
};

}  // namespace

const StateWords& WordsOf(ServiceState state) {
  return kWords[static_cast<std::size_t>(state)];
}

std::string NoChangeText(std::chrono::milliseconds duration) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration).count();
  return "no change for " + std::to_string(seconds) + " s: no blocks, or a steady tone";
}

void WatchModel::SetConnected(bool isConnected) {
  if (isConnected && !mIsConnected) {
    mConfiguration.reset();
    mRepublished.reset();
  }
  mIsConnected = isConnected;
}

void WatchModel::TakeData(const LoudnessMessage& message) {
  Advance(message.time);
  NoteChange(message);
  if (IsRestart(message.data))
    ResetMaxima();
  mLastData = message.time;
  mData = message.data;
  mIsSourceValid = message.validSource != 0;
  mCluster = message.cluster;
  mCommand = cLuCmd::ConvertToLuCmdStrFromEnum(static_cast<LuCmd_e>(message.command));
  mMaxShortTerm = std::max(mMaxShortTerm, mData.ShortTerm);
  mHistory.back() = std::max(mHistory.back(), mData.ShortTerm);
  HoldPeak(message.time);
  MarkUnchangedSteps(message.time);
}

void WatchModel::ResetMaxima() {
  mMaxShortTerm = kNoLoudnessCode;
  mHeldPeak = kNoTruePeakCode;
}

// A maximum decreases only if the measurement restarts.
bool WatchModel::IsRestart(const LoudnessData_t& data) const {
  return data.MaxMomentary < mData.MaxMomentary || data.MaxTruePeak < mData.MaxTruePeak;
}

// Restarts the period without change at every message during a pause, when constant figures are
// normal, and after a gap in the data, when the figures may have changed meanwhile.
void WatchModel::NoteChange(const LoudnessMessage& message) {
  const bool isSame = PublishedCodes(message.data) == PublishedCodes(mData);
  const bool isContinued = mLastData && message.time - *mLastData < kSilenceAfter;
  if (!mSameSince || !isSame || !isContinued || message.command == LU_CMD_PAUSE)
    mSameSince = message.time;
}

std::optional<std::chrono::milliseconds> WatchModel::NoChangeFor(Time now) const {
  if (!mSameSince || State(now) != ServiceState::kRunning || IsSilence(mData) ||
      now - *mSameSince < kNoChangeAfter)
    return std::nullopt;
  return std::chrono::duration_cast<std::chrono::milliseconds>(now - *mSameSince);
}

// That nothing changes is known only after a while: the steps behind it are marked then.
void WatchModel::MarkUnchangedSteps(Time now) {
  mUnchangedSteps.back() = false;
  if (!NoChangeFor(now))
    return;
  Time begin = mStepEnd - kHistoryStep;
  for (auto step = mUnchangedSteps.rbegin();
       step != mUnchangedSteps.rend() && begin >= *mSameSince && !*step; ++step) {
    *step = true;
    begin -= kHistoryStep;
  }
}

std::optional<MeasurementWindows> WatchModel::Windows(Time now) const {
  const bool hasNone = mRepublished && now - *mRepublished >= kConfigurationFollows &&
                       mIsSourceValid == std::optional<bool>(true);
  if (!mConfiguration && !hasNone)
    return std::nullopt;
  const LoudnessConfiguration inForce = mConfiguration.value_or(LoudnessConfiguration{});
  return MeasurementWindows{
      std::clamp<unsigned>(inForce.loudnessWindowTime, kMinIntegWinSecs, kMaxIntegWinSecs),
      std::clamp<unsigned>(inForce.lraWindow, kMinLraWinSecs, kMaxLraWinSecs)};
}

double MaxPermittedPeak() {
  return CriteriaOf(kUsualProfile).limits.maxTruePeak.value();
}

WatchLimits LimitsOf(const LoudnessConfiguration& configuration) {
  const bool isHigh = cLuConf::ConvertToLoudnessStandardFromString(
                          configuration.loudnessStandard.c_str()) == EBU_R128_18;
  return {static_cast<double>(configuration.referenceLevel), isHigh ? kHighScale : kLowScale,
          static_cast<double>(std::max(configuration.alarmTolerance, 0))};
}

WatchLimits WatchModel::Limits() const {
  return mConfiguration ? LimitsOf(*mConfiguration) : UsualLimits();
}

void WatchModel::HoldPeak(Time time) {
  if (mData.TruePeak < mHeldPeak && time - mHeldSince < kPeakHold)
    return;
  mHeldPeak = mData.TruePeak;
  mHeldSince = time;
}

void WatchModel::TakeAnswer(const ServiceAnswer& answer, Time time, const std::string& localTime) {
  mLastAnswer = time;
  const bool wasDue = IsDataDue();
  // The service does not record a reset as its last command.
  if (answer.kind == StateKind::kAcknowledgement && answer.command != cLuCmd::kResetText)
    mCommand = answer.command;
  if (!wasDue && IsDataDue())
    mDueSince = time;
  if (answer.kind == StateKind::kConfiguration) {
    mConfiguration = ReadConfiguration(answer.configuration);
    mRepublished.reset();
  } else if (answer.isRepublished && !mRepublished) {
    mRepublished = time;
  }
  if (!answer.isRepublished)
    AddNote(localTime, AnswerText(answer));
}

void WatchModel::AddNote(const std::string& localTime, const std::string& text) {
  mNotes.push_back({localTime, text});
  if (mNotes.size() > kMaxNotes)
    mNotes.pop_front();
}

void WatchModel::Advance(Time now) {
  for (; now >= mStepEnd; mStepEnd += kHistoryStep) {
    mHistory.push_back(kNoLoudnessCode);
    mUnchangedSteps.push_back(false);
    if (mHistory.size() > kMaxHistory) {
      mHistory.pop_front();
      mUnchangedSteps.pop_front();
    }
  }
}

std::optional<std::chrono::milliseconds> WatchModel::Age(Time now) const {
  const std::optional<Time> last = std::max(mLastData, mLastAnswer);
  if (!last)
    return std::nullopt;
  return std::chrono::duration_cast<std::chrono::milliseconds>(now - *last);
}

bool WatchModel::IsDataDue() const {
  return !mCommand.empty() && mCommand != cLuCmd::kNoCommandText && mCommand != cLuCmd::kStopText;
}

ServiceState WatchModel::State(Time now) const {
  const auto age = Age(now);
  if (!age)
    return mIsConnected ? ServiceState::kWaiting : ServiceState::kAbsent;
  const std::optional<Time> heard = std::max(mLastData, mDueSince);
  const bool isSilent = !heard || now - *heard >= kSilenceAfter;
  if (isSilent && (!mIsConnected || *age >= kDeadAfter))
    return ServiceState::kDead;
  if (mCommand.empty())
    return ServiceState::kWaiting;
  if (mCommand == cLuCmd::kStopText)
    return ServiceState::kStopped;
  if (mCommand == cLuCmd::kNoCommandText)
    return ServiceState::kNotStarted;
  if (isSilent)
    return ServiceState::kSilent;
  return mCommand == cLuCmd::kPauseText ? ServiceState::kPaused : ServiceState::kRunning;
}

bool WatchModel::IsLive(Time now) const {
  const ServiceState state = State(now);
  return state == ServiceState::kRunning || state == ServiceState::kPaused;
}

}  // namespace louddesk
