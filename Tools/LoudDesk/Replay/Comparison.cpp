// Compares a service with a recording.

#include "Comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "Endpoints.h"
#include "LoudReport.h"
#include "PubHandler.h"
#include "UnitDocuments.h"

namespace louddesk {
namespace {

// Limit of the messages to wait for. It is more than the ten messages of an invalid source, and
// than the ticks that all pending actions take.
constexpr int kEnoughMessages = 16;

// If an acknowledgement was recorded within this time after a block, its tick is assumed to have
// been before the block.
constexpr std::uint64_t kOneMoment = 1000;  // us

// If a block and a state were recorded within this time of each other, their order is not known.
constexpr std::uint64_t kSimultaneous = 10000;  // us

// Messages to the service within this time of each other may have met its ticks in another order
// than they do here.
constexpr std::uint64_t kCloseTogether = 1000000;  // us

bool IsRepublished(const Frames& frames) {
  const std::string& topic = frames.front();
  return topic.rfind(kAcknowledgementRepubTopicPrefix, 0) == 0 ||
         topic.rfind(kCurrentConfRepubTopicPrefix, 0) == 0;
}

std::string ValueText(const std::string& frame) {
  if (frame.size() != sizeof(std::int16_t))
    return fmt::format("{} bytes", frame.size());
  std::int16_t value = 0;
  std::memcpy(&value, frame.data(), sizeof value);
  return std::to_string(value);
}

// Describes the frames in which two messages of loudness data differ.
std::string DataDifference(const Frames& recorded, const Frames& published) {
  if (recorded.size() != published.size() || recorded.size() != kLuDataFrameCount)
    return fmt::format("{} frames, recorded {}", published.size(), recorded.size());
  std::string text;
  for (std::size_t i = 0; i < kLuDataFrameCount; ++i)
    if (recorded[i] != published[i])
      text += fmt::format("{}{} is {}, recorded {}", text.empty() ? "" : "; ",
                          kLuDataFrames[i].name, ValueText(published[i]), ValueText(recorded[i]));
  return text;
}

std::string Joined(const Frames& frames) {
  std::string text;
  for (const std::string& frame : frames)
    text += (text.empty() ? "" : " ") + frame;
  return text;
}

}  // namespace

void Comparison::Take(const RecordedMessage& message) {
  ++mTaken;
  if (!mHeld.empty() && !BelongsToHeld(message))
    ReleaseHeld();
  if (!mHeld.empty() || message.sender == Sender::kSignalProcessor)
    mHeld.push_back({mTaken, message});
  else
    Handle({mTaken, message});
}

bool Comparison::BelongsToHeld(const RecordedMessage& message) const {
  return IsOfService(message.sender) && message.time - mHeld.front().message.time < kOneMoment;
}

// The recorder receives a block when the service does, but an acknowledgement only some time after
// its tick. So if an acknowledgement was recorded a moment after a block, its tick was before the
// block, and the block is handled last.
void Comparison::ReleaseHeld() {
  const bool hasState = std::any_of(mHeld.begin(), mHeld.end(), [](const Numbered& held) {
    return held.message.sender == Sender::kStatePublisher && !IsRepublished(held.message.frames);
  });
  if (hasState)
    std::rotate(mHeld.begin(), mHeld.begin() + 1, mHeld.end());
  for (const Numbered& held : mHeld)
    Handle(held);
  mHeld.clear();
}

void Comparison::Handle(const Numbered& numbered) {
  const RecordedMessage& message = numbered.message;
  mNumber = numbered.number;
  mNow = message;
  if (!IsOfService(message.sender))
    message.sender == Sender::kSignalProcessor ? SendBlock(message) : SendText(message);
  else if (message.frames.front() == kLoudnessDataTopic)
    ExpectData(message);
  else if (!IsRepublished(message.frames))
    ExpectState(message);
}

void Comparison::Finish(std::uint64_t time) {
  ReleaseHeld();
  mNow = {};
  mNow.time = time;
  ++mTexts;
  mTextBefore = mLastText;
  mLastText = time;
  if (!mGone.empty() && mMayEnd)
    return;
  CheckAlive();
  OpenGate();
  for (int i = 0; i < kEnoughMessages && mService.AwaitPublished(); ++i)
    ExpectNoStates();
  ExpectNoStates();
  mPassedOver += mService.Data().size();
}

std::string Comparison::Summary() const {
  return fmt::format(
      "The same as recorded: {} messages of loudness data and {} states compared; {} of loudness "
      "data came that are not recorded",
      mDataCompared, mStatesCompared, mPassedOver);
}

void Comparison::SendBlock(const RecordedMessage& block) {
  if (block.frames.front().size() > SteppedService::kLongestRawTopic)
    return;  // the service drops it, as it drops the markers of another replay
  NoteBlock();
  // After a state, the figures from before this block may also have been recorded.
  if (mMayFlow)
    mIsFlowing = ReceiveFigures();
  mMayFlow = false;
  Send(Peer::kSignalProcessor, {block.frames});
  if (mIsFlowing)
    mIsFlowing = ReceiveFigures();
}

// Waits for the figures after the last message sent; false when none are published.
bool Comparison::ReceiveFigures() {
  mService.ReceivePublished();
  const unsigned long before = mService.DataCount();
  for (int i = 0; i < kEnoughMessages && mService.DataCount() == before; ++i)
    if (!mService.AwaitPublished())
      return false;
  return mService.DataCount() > before;
}

void Comparison::SendText(const RecordedMessage& message) {
  ++mTexts;
  mTextBefore = mLastText;
  mLastText = message.time;
  ExpectNoStates();
  const Frames& frames = message.frames;
  if (frames.front() == kEnableReportingTopic && frames.size() > 1) {
    SwitchReporting(message, frames[1].find("true") != std::string::npos);
    return;
  }
  const Frames close = {kEnableReportingTopic, EnableReportingJson(false)};
  Send(PeerOf(message.sender), {close, frames});
  mIsGateOpen = mIsFlowing = mMayFlow = false;
}

// Switching off takes effect at once. Switching on is delayed until the next recorded publication.
void Comparison::SwitchReporting(const RecordedMessage& message, bool isOn) {
  mIsReporting = isOn;
  if (isOn) {
    mSwitch = message;
    return;
  }
  Send(PeerOf(message.sender), {message.frames});
  mIsGateOpen = mIsFlowing = mMayFlow = false;
}

void Comparison::Send(Peer peer, const std::vector<Frames>& messages) {
  if (!mGone.empty() || mService.SendAll(peer, messages))
    return;
  mGone = Place();
  mMayEnd = messages.back().front() == kApplicationCommandTopic;
}

void Comparison::OpenGate() {
  if (mIsGateOpen || !mIsReporting)
    return;
  Send(PeerOf(mSwitch->sender), {mSwitch->frames});
  mIsGateOpen = true;
}

void Comparison::ExpectData(const RecordedMessage& message) {
  CheckBeginning();
  if (message.frames == mLastRecorded)
    return;
  mLastRecorded = message.frames;
  ++mDataCompared;
  if (FindData(message.frames))
    return;
  OpenGate();
  for (int i = 0; i < kEnoughMessages && mService.AwaitPublished(); ++i)
    if (FindData(message.frames)) {
      mIsFlowing = mService.States().empty();
      return;
    }
  const auto& data = mService.Data();
  const Frames& published = data.empty() ? mService.LastData() : data.front();
  Fail(Place() + (published.empty() ? "did not come" : DataDifference(message.frames, published)));
}

// Skips and counts loudness data that was published before it but not recorded.
bool Comparison::FindData(const Frames& frames) {
  auto& data = mService.Data();
  const auto found = std::find(data.begin(), data.end(), frames);
  if (found == data.end())
    return false;
  mPassedOver += static_cast<unsigned long>(found - data.begin());
  data.erase(data.begin(), found + 1);
  return true;
}

void Comparison::ExpectState(const RecordedMessage& message) {
  CheckBeginning();
  NoteState();
  OpenGate();
  auto& states = mService.States();
  for (int i = 0; i < kEnoughMessages; ++i) {
    while (!states.empty()) {
      const Frames published = std::move(states.front());
      states.pop_front();
      if (published == message.frames) {
        ++mStatesCompared;
        mMayFlow = true;
        return;
      }
      if (!IsExcused())
        Fail(Place() + "is " + Joined(published) + ", recorded " + Joined(message.frames));
    }
    if (!mService.AwaitPublished())
      break;
  }
  Fail(Place() + "did not come: " + Joined(message.frames));
}

void Comparison::ExpectNoStates() {
  auto& states = mService.States();
  if (!states.empty() && !IsExcused())
    Fail(Place() + "came after a state that is not recorded: " + Joined(states.front()));
  states.clear();
}

// Another action may have been carried out between two messages close together, with an additional
// acknowledgement.
bool Comparison::IsExcused() const {
  return mTexts > 1 && mLastText - mTextBefore < kCloseTogether;
}

void Comparison::NoteBlock() {
  mLastBlock = mNow.time;
  if (mLastState && mNow.time < *mLastState + kSimultaneous)
    mDoubt = fmt::format("a block at {:.3f} s", static_cast<double>(mNow.time) / 1e6);
}

void Comparison::NoteState() {
  mLastState = mNow.time;
  if (mLastBlock && mNow.time < *mLastBlock + kSimultaneous)
    mDoubt = fmt::format("a block at {:.3f} s", static_cast<double>(*mLastBlock) / 1e6);
}

void Comparison::Fail(const std::string& text) const {
  if (mDoubt.empty())
    throw Difference(text);
  throw Difference(text + " (perhaps because the recording does not show whether " + mDoubt +
                   " or an acknowledgement came first)");
}

void Comparison::CheckBeginning() const {
  if (mTexts == 0)
    throw RecordingError(
        "the recording begins while the service is measuring: its earlier state is unknown");
  CheckAlive();
}

void Comparison::CheckAlive() const {
  if (!mGone.empty())
    Fail(mGone + "made the service stop publishing");
}

std::string Comparison::Place() const {
  if (mNow.frames.empty())
    return "the end of the recording ";
  return fmt::format("message {} ({:.3f} s, {} of {}) ", mNumber,
                     static_cast<double>(mNow.time) / 1e6, mNow.frames.front(),
                     SenderName(mNow.sender));
}

}  // namespace louddesk
