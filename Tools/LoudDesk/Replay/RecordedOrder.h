// Restores the order in which the recorded service measured blocks and carried out commands.
//
// The recorder receives blocks and acknowledgements over different connections. If they are close
// together, or if the recorder got no processor time for a while, it cannot tell which came first.
// Two actions separate blocks, so the order matters for them: a restart of the measurement
// (acknowledged as "Reset"), because only blocks after it are measured, and a pause, which keeps
// the figures of the last block before it.
//
// What the service published afterwards shows the order. Each message of loudness data has the true
// peak of the last block measured. After a pause that is the last block before it. After a restart
// the first readings are those of the fourth block.
//
// An acknowledgement also has the time stamp of the last command and the user of the last command
// or configuration. So a command or a configuration with another stamp or user came after it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "RecordedMessage.h"
#include "ServiceMessages.h"

namespace louddesk {

/// The action that a message acknowledges. A restart and a pause separate blocks.
enum class Action { kNone, kRestart, kPause, kOther };

/// A message in the restored order.
struct OrderedMessage {
  unsigned long number = 0;  // its number in the recording, from 1 on
  RecordedMessage message;
  Action action = Action::kNone;

  /// Acknowledgements only: names the block that may have been measured before the action or after
  /// it, if the recording does not show which. Empty if the order is known or does not matter.
  std::optional<std::string> doubt;
};

class RecordedOrder {
 public:
  using Handler = std::function<void(const OrderedMessage&)>;

  /// Passes all messages on to `handle`, some seconds of the recording after they were taken.
  explicit RecordedOrder(Handler handle) : mHandle(std::move(handle)) {}

  /// Takes the next message of the recording. REQUIRES: times never decrease.
  void Take(const RecordedMessage& message);

  /// Passes on the messages that are left. Call it after the last one.
  void Finish();

  /// The number of messages to the service that have changed places with an acknowledgement.
  unsigned long Moved() const { return mMoved; }

 private:
  // The blocks around an acknowledgement. A cut is the number of blocks before it.
  struct Surroundings {
    std::size_t place = 0;            // of the acknowledgement in mPending
    std::vector<std::size_t> blocks;  // places of all blocks in mPending
    std::size_t recorded = 0;         // the recorded cut
    std::size_t likely = 0;           // the cut if nothing shows it
    std::size_t lowest = 0;           // cuts that the times allow
    std::size_t highest = 0;
  };

  void DecideUntil(std::uint64_t time);
  std::size_t PlaceToDecide(std::uint64_t time) const;
  void Decide(std::size_t place);
  std::size_t MoveLaterTexts(std::size_t place);
  void PlaceBlocks(std::size_t place);
  Surroundings Around(std::size_t place) const;
  std::vector<std::size_t> FittingCuts(const Surroundings& around) const;
  bool Fits(const Surroundings& around, std::size_t cut, const RecordedMessage& data) const;
  const RecordedMessage* ShowingData(std::size_t place) const;
  std::string DoubtAbout(const Surroundings& around) const;
  void Move(const Surroundings& around, std::size_t cut);
  void MoveMessage(std::size_t from, std::size_t to);
  std::size_t BeginOfTick(std::size_t place) const;
  void Release();

  Handler mHandle;
  unsigned long mTaken = 0;
  unsigned long mMoved = 0;
  std::size_t mPendingBytes = 0;
  std::deque<OrderedMessage> mPending;
};

}  // namespace louddesk
