// Plays the inputs of a recording to a running service step by step, and compares what the service
// publishes with what was recorded.
//
// The published messages depend on when the service's 100 ms ticks occur between the messages that
// it receives. Two facts still make an exact comparison possible. While reporting is off, ticks do
// nothing, but the service measures all blocks and accepts all messages. And every tick that does
// something publishes a message. So messages to the service are sent with reporting off, as between
// two recorded publications; only blocks may be sent with reporting on, while nothing but loudness
// data is published. For a recorded publication, reporting is switched on and the comparison waits
// for it.
//
// Repeated loudness data counts once. After every block that is sent with reporting on, the
// comparison waits for the service's figures. The recorded figures must be among them, in order.
// States must be exactly as recorded. Republications and times are not compared.

#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "RecordedMessage.h"
#include "RecordedOrder.h"
#include "SteppedService.h"

namespace louddesk {

/// The service publishes something else than was recorded. The text is one line for the user.
class Difference : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A difference in loudness data that another order of the same recorded messages may explain.
class DoubtfulDifference : public Difference {
 public:
  using Difference::Difference;
};

class Comparison {
 public:
  /// Compares the service of `unit`, which must outlive this object. The service must have been
  /// started for it and must have subscribed.
  explicit Comparison(UnitStandIn& unit)
      : mService(unit), mOrder([this](const OrderedMessage& ordered) { Handle(ordered); }) {}

  Comparison(const Comparison&) = delete;
  Comparison& operator=(const Comparison&) = delete;

  /// Handles the next message of the recording, or some before it: messages are kept until their
  /// order is known. Throws Difference.
  void Take(const RecordedMessage& message) { mOrder.Take(message); }

  /// Call after the last message; `time` is the end of the recording. Throws Difference.
  void Finish(std::uint64_t time);

  /// Call instead if messages are missing after the last one: the service may publish more than the
  /// recording has. Throws Difference.
  void FinishEarly() { mOrder.Finish(); }

  /// How many messages were compared, for the user.
  std::string Summary() const;

 private:
  void Handle(const OrderedMessage& ordered);
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
  void NoteDoubt(const OrderedMessage& ordered);
  [[noreturn]] static void Fail(const std::string& text);
  [[noreturn]] void FailInData(const Frames& recorded, const Frames& published) const;
  void CheckBeginning() const;
  void CheckAlive() const;
  std::string Place() const;

  SteppedService mService;
  RecordedOrder mOrder;
  unsigned long mNumber = 0;               // number of the message being handled
  RecordedMessage mNow;                    // that message
  std::optional<RecordedMessage> mSwitch;  // the last message that switched reporting on
  bool mIsReporting = false;               // whether reporting was on in the recording
  bool mIsGateOpen = false;                // whether reporting is on in the service
  bool mIsFlowing = false;                 // only data is published, and nothing else is due
  bool mMayFlow = false;                   // not checked since the last state
  unsigned long mTexts = 0;                // messages to the service except blocks
  std::uint64_t mLastText = 0;             // recorded time of the last of them
  std::uint64_t mTextBefore = 0;           // recorded time of the one before
  std::string mGone;                       // the message after which the service stopped answering
  bool mMayEnd = false;                    // because that message may end the service
  Frames mLastRecorded;                    // last recorded loudness data
  std::string mDoubt;           // names the two messages whose order is in doubt; empty if none
  std::string mProgrammeDoubt;  // the last one of the whole recording
  unsigned long mDataCompared = 0;
  unsigned long mStatesCompared = 0;
  unsigned long mPassedOver = 0;  // loudness data that was not recorded
};

}  // namespace louddesk
