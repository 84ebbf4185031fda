// Compares a service with a recording.

#include "Comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <deque>

#include "Endpoints.h"
#include "LoudReport.h"
#include "PubHandler.h"
#include "UnitDocuments.h"

namespace louddesk {
namespace {

// Limit of the messages to wait for. It is more than the ten messages of an invalid source, and
// than the ticks that all pending actions take.
constexpr int kEnoughMessages = 16;

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

bool DiffersOnlyInProgramme(const Frames& recorded, Frames published) {
  for (std::size_t i = 0; i < std::min(recorded.size(), published.size()); ++i)
    if (kLuDataFrames[std::min(i, kLuDataFrameCount - 1)].value == &LuDataContent_t::Program)
      published[i] = recorded[i];
  return published == recorded;
}

std::size_t EqualFrames(const Frames& recorded, const Frames& published) {
  std::size_t equal = 0;
  for (std::size_t i = 0; i < std::min(recorded.size(), published.size()); ++i)
    equal += recorded[i] == published[i] ? 1 : 0;
  return equal;
}

// The first of the messages with the most frames as recorded.
const Frames& Closest(const std::deque<Frames>& published, const Frames& recorded) {
  return *std::max_element(published.begin(), published.end(),
                           [&recorded](const Frames& one, const Frames& other) {
                             return EqualFrames(recorded, one) < EqualFrames(recorded, other);
                           });
}

std::string Joined(const Frames& frames) {
  std::string text;
  for (const std::string& frame : frames)
    text += (text.empty() ? "" : " ") + frame;
  return text;
}

}  // namespace

void Comparison::Handle(const OrderedMessage& ordered) {
  const RecordedMessage& message = ordered.message;
  mNumber = ordered.number;
  mNow = message;
  NoteDoubt(ordered);
  if (!IsOfService(message.sender))
    message.sender == Sender::kSignalProcessor ? SendBlock(message) : SendText(message);
  else if (message.frames.front() == kLoudnessDataTopic)
    ExpectData(message);
  else if (!IsRepublished(message.frames))
    ExpectState(message);
}

void Comparison::Finish(std::uint64_t time) {
  mOrder.Finish();
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
  std::string text = fmt::format(
      "The same as recorded: {} messages of loudness data and {} states compared; {} of loudness "
      "data came that are not recorded",
      mDataCompared, mStatesCompared, mPassedOver);
  if (mOrder.Moved() > 0)
    text +=
        fmt::format("; messages that changed places with an acknowledgement: {}", mOrder.Moved());
  return text;
}

void Comparison::SendBlock(const RecordedMessage& block) {
  if (block.frames.front().size() > SteppedService::kLongestRawTopic)
    return;  // the service drops it, as it drops the markers of another replay
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
  FailInData(message.frames, data.empty() ? mService.LastData() : Closest(data, message.frames));
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

// The figures depend on the order of blocks and a restart until the next restart. Only the
// programme loudness is kept over restarts.
void Comparison::NoteDoubt(const OrderedMessage& ordered) {
  if (ordered.action == Action::kRestart)
    mDoubt.clear();
  if (ordered.doubt && !ordered.doubt->empty())
    mDoubt = mProgrammeDoubt = fmt::format("{} and message {}", *ordered.doubt, ordered.number);
}

void Comparison::Fail(const std::string& text) {
  throw Difference(text);
}

// States do not depend on blocks, so the order of blocks excuses only loudness data.
void Comparison::FailInData(const Frames& recorded, const Frames& published) const {
  const std::string text =
      Place() + (published.empty() ? "did not come" : DataDifference(recorded, published));
  const std::string& doubt = DiffersOnlyInProgramme(recorded, published) ? mProgrammeDoubt : mDoubt;
  if (doubt.empty())
    Fail(text);
  throw DoubtfulDifference(
      text + "; this may be no fault: the recording does not show the order of " + doubt);
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
