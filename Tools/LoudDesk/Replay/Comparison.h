// Plays the inputs of a recording to a running service, step by step, and compares what it
// publishes with what was recorded.
//
// What the service publishes depends on how its 100 ms ticks fall between the messages that it
// receives. Two facts make the comparison exact all the same. While reporting is off, ticks do
// nothing, but everything is measured and taken; and a tick that does something publishes it. So
// every message to the service is handled with reporting off, as it was recorded between two
// publications, unless the service is at rest; where the recording has the next publication,
// reporting is on until that has come. Loudness data that repeats itself counts once, and after
// every block that is measured at rest the figures are waited for: the recorded ones must be among
// them, in order. States must come exactly as recorded. Republications are not compared, nor times.

#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "RecordedMessage.h"
#include "SteppedService.h"

namespace louddesk {

/// What the service publishes is not what was recorded. The text is one line for the user.
class Difference : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Comparison {
 public:
  /// Compares what the service of `unit` publishes. The service must be fresh and have subscribed;
  /// `unit` must outlive this.
  explicit Comparison(UnitStandIn& unit) : mService(unit) {}

  /// The next message of the recording. Throws Difference.
  void Take(const RecordedMessage& message);

  /// After the last message; `time` is the recording's end. Throws Difference.
  void Finish(std::uint64_t time);

  /// What was compared, for the user.
  std::string Summary() const;

 private:
  // A message and its number in the recording, from 1 on.
  struct Numbered {
    unsigned long number = 0;
    RecordedMessage message;
  };

  bool BelongsToHeld(const RecordedMessage& message) const;
  void ReleaseHeld();
  void Handle(const Numbered& numbered);
  void SendBlock(const RecordedMessage& block);
  void SendText(const RecordedMessage& message);
  void SwitchReporting(const RecordedMessage& message, bool isOn);
  void Send(Peer peer, const std::vector<Frames>& messages);
  void OpenGate();
  bool ReceiveFigures();
  void ExpectData(const RecordedMessage& message);
  void ExpectState(const RecordedMessage& message);
  bool FindData(const Frames& frames);
  void ExpectNoStates();
  bool IsExcused() const;
  void NoteBlock();
  void NoteState();
  [[noreturn]] void Fail(const std::string& text) const;
  void CheckBeginning() const;
  void CheckAlive() const;
  std::string Place() const;

  SteppedService mService;
  unsigned long mTaken = 0;                 // messages
  std::vector<Numbered> mHeld;              // a block and what was published within a moment of it
  unsigned long mNumber = 0;                // of the message being handled
  RecordedMessage mNow;                     // that message
  std::optional<RecordedMessage> mSwitch;   // the one that switched reporting on last
  bool mIsReporting = false;                // as recorded
  bool mIsGateOpen = false;                 // reporting is on here and now
  bool mIsFlowing = false;                  // data comes, and nothing else is due
  bool mMayFlow = false;                    // nobody has looked since the last state
  unsigned long mTexts = 0;                 // messages to the service, blocks aside
  std::uint64_t mLastText = 0;              // recorded time of the last of them
  std::uint64_t mTextBefore = 0;            // and of the one before
  std::string mGone;                        // after what the service has stopped answering
  bool mMayEnd = false;                     // because it was told to end
  Frames mLastRecorded;                     // loudness data
  std::optional<std::uint64_t> mLastBlock;  // recorded time
  std::optional<std::uint64_t> mLastState;  // recorded time
  std::string mDoubt;                       // of the order in which block and state came
  unsigned long mDataCompared = 0;
  unsigned long mStatesCompared = 0;
  unsigned long mPassedOver = 0;  // loudness data between what was recorded
};

}  // namespace louddesk
