// Counts, peaks and readings that the model of the messages does not hold.

#include "Cluster.h"

#include <utility>

#include "LuEnumerations.h"

namespace loudgate {

Moment Moment::Now() {
  return {std::chrono::steady_clock::now(), std::chrono::system_clock::now()};
}

std::string Cluster::Name() const {
  return std::to_string(mPlace.meterSet) + "-" + std::to_string(mPlace.cluster);
}

bool Cluster::IsKnown(Moment now) const {
  return mModel.State(now.steady) != louddesk::ServiceState::kAbsent;
}

void Cluster::TakeConnection(bool isConnected, unsigned connections) {
  mCounts.restarts += connections;
  if (connections > 0 && !mWasConnected)
    --mCounts.restarts;  // the first connection is not a restart
  mWasConnected = mWasConnected || connections > 0;
  mModel.SetConnected(isConnected);
}

// The acknowledgement of a start may arrive after the first data. So there is no gap after a
// message of a measurement that was stopped or had not started.
bool Cluster::IsGap(const louddesk::LoudnessMessage& message) const {
  return mLast && !mIsAnswered && message.time - mLast->time >= kGapAfter &&
         mLast->command != LU_CMD_NONE && mLast->command != LU_CMD_STOP;
}

bool Cluster::TakeData(const louddesk::LoudnessMessage& message, Moment now) {
  ++mRevision;
  if (!message.wellFormed) {
    ++mCounts.malformed;
    return false;
  }
  ++mCounts.messages;
  mCounts.gaps += IsGap(message) ? 1 : 0;
  mIsAnswered = false;
  mModel.TakeData(message);
  TakeReading(message);
  TakePeak(message);
  mLast = message;
  mLast->frames.clear();
  mLastTime = now.wall;
  return true;
}

// A paused service repeats the figures from the beginning of the pause. A service that gets no more
// blocks repeats its last figures too, but those are recognised as repeats only after a while.
void Cluster::TakeReading(const louddesk::LoudnessMessage& message) {
  const bool isRunning = message.command == LU_CMD_START || message.command == LU_CMD_PLAY;
  if (!isRunning || message.validSource == 0)
    return;
  if (mModel.NoChangeFor(message.time)) {
    mReadings.DropLast(std::exchange(mRepeats, 0));
    return;
  }
  mRepeats = mModel.IsRepeat() ? mRepeats + 1 : 0;
  mReadings.Take(message.data.Momentary);
}

void Cluster::TakePeak(const louddesk::LoudnessMessage& message) {
  const auto span = message.time - mPeakStart;
  if (span >= kRecent) {
    mPeakBefore = span < 2 * kRecent ? mPeak : kNoTruePeakCode;
    mPeak = kNoTruePeakCode;
    mPeakStart = message.time;
  }
  mPeak = std::max(mPeak, message.data.TruePeak);
}

void Cluster::TakeAnswer(const louddesk::ServiceAnswer& answer, Moment now) {
  ++mRevision;
  mCounts.answers += answer.isRepublished ? 0 : 1;
  mIsAnswered = mIsAnswered || !answer.isRepublished;
  mModel.TakeAnswer(answer, now.steady, louddesk::UtcText(now.wall));
}

}  // namespace loudgate
