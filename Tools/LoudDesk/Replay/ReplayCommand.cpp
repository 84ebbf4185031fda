// `LoudDesk replay`: the command line, the list, and playing in real time.

#include "ReplayCommand.h"

#include <fmt/format.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "Comparison.h"
#include "Complaints.h"
#include "FiguresText.h"
#include "LiveLine.h"
#include "NumberCheck.h"
#include "RecordingList.h"
#include "RecordingReader.h"
#include "ServiceClient.h"
#include "ServiceOptionBounds.h"

namespace louddesk {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kSlowestSpeed = 0.01;

constexpr Patience kLongestPause{60000};

// The exit statuses for a difference, which scripts can distinguish from a failed replay.
constexpr int kDifferent = 3;
constexpr int kInDoubt = 4;  // only the order of two recorded messages may differ

constexpr char kFooter[] =
    "\nExample, with a fresh service on the same machine:\n"
    "  export LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1\n"
    "  export LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2\n"
    "  LoudCalc -m 1 -c 1 &\n"
    "  LoudDesk replay --expect fault.loudrec\n"
    "  LoudDesk replay --list fault.loudrec | grep state\n"
    "\n"
    "The recorded messages to the service are sent to one of the same meter set and\n"
    "cluster, from the endpoints of its peers, which no other program may use.\n"
    "\n"
    "With --expect what the service publishes is compared with the recording. The\n"
    "service must be newly started, and the recording must begin before the first\n"
    "preset. Messages are sent one at a time, each when the one before it has been\n"
    "handled, at most ten blocks a second; reporting is switched off and on in\n"
    "between. The messages of loudness data, in order and without repetitions, and\n"
    "the states are compared, but not their times, nor what is republished every five\n"
    "seconds. Commands, presets and configurations recorded within a second of each\n"
    "other may be acknowledged more often than they were. If a block and an\n"
    "acknowledgement were recorded together, the loudness data after them shows which\n"
    "came first; if it does not, a difference may only come from their order.\n"
    "\n"
    "A recording that was cut off is played as far as it goes, and compared up to the\n"
    "first message that is missing from it. The status is 0; 1 when the file cannot\n"
    "be read or the service cannot be reached; 3 when the service publishes something\n"
    "else; 4 when that may only come from the order of a block and an answer.\n"
    "The first message that differs is then shown.\n";

// What the user gave on the command line.
struct ReplayOptions {
  std::string path;
  bool isListing = false;
  bool isComparing = false;
  double speed = 1.0;  // multiple of real time
  double wait = 10.0;  // how long to wait for the service, s
};

// Plays at the recorded times, scaled by the speed, and shows the service's figures.
class TimedPlay {
 public:
  TimedPlay(UnitStandIn& unit, double speed)
      : mUnit(unit), mSpeed(speed), mLine(std::cout, ColumnsOf(STDOUT_FILENO)) {}

  // Sends a message when it is due; messages of the service are skipped.
  void Take(const RecordedMessage& message) {
    if (!IsOfPeer(message.sender))
      return;
    const double seconds = static_cast<double>(message.time) / 1e6;
    for (Patience left = Left(seconds); left.count() > 0; left = Left(seconds)) {
      if (const auto data = mUnit.NextLoudnessData(left))
        mLine.Show(LiveText(seconds, data->data), data->time);
      if (zsys_interrupted != 0)
        return;
    }
    mUnit.DropStates();
    mUnit.DropHeartbeats();
    mUnit.DropLogLines();
    mUnit.SendFrames(PeerOf(message.sender), message.frames);
    ++mSent;
  }

  void Finish() { mLine.Print(fmt::format("{} messages sent", mSent)); }

 private:
  // The time until `seconds` of the recording, at most kLongestPause: some times are too large for
  // the clock.
  Patience Left(double seconds) const {
    using Seconds = std::chrono::duration<double>;
    const Seconds left = Seconds(seconds / mSpeed) - (Clock::now() - mStart);
    return std::chrono::ceil<Patience>(std::clamp<Seconds>(left, Seconds(0), kLongestPause));
  }

  UnitStandIn& mUnit;
  double mSpeed;
  LiveLine mLine;
  Clock::time_point mStart = Clock::now();
  unsigned long mSent = 0;
};

// Passes every message to `take` until that returns false, the recording is over or the user ends
// it.
template <typename TakeMessage>
void ForEachMessage(RecordingReader& recording, Complaints& complaints, TakeMessage take) {
  while (zsys_interrupted == 0) {
    const auto message = recording.Next();
    if (!message || !take(*message))
      break;
  }
  if (!recording.Flaw().empty())
    complaints.Note(fmt::format("{} at {:.3f} s", recording.Flaw(),
                                static_cast<double>(recording.EndTime()) / 1e6));
}

void List(RecordingReader& recording, Complaints& complaints) {
  unsigned long number = 0;
  ForEachMessage(recording, complaints, [&number](const RecordedMessage& message) {
    std::cout << MessageLine(++number, message) << "\n";
    return static_cast<bool>(std::cout);
  });
  if (!std::cout.flush())
    complaints.Add("the list could not be written");
}

// Describes a note of the recorder.
std::string MissingText(const RecordedMessage& note) {
  const bool isLoss = note.frames.front() == kLostTopic && note.frames.size() > 1;
  return fmt::format("{} messages are missing from the recording before {:.3f} s",
                     isLoss ? note.frames[1] : "some", static_cast<double>(note.time) / 1e6);
}

void Compare(UnitStandIn& unit, RecordingReader& recording, Complaints& complaints) {
  Comparison comparison(unit);
  std::optional<RecordedMessage> loss;
  ForEachMessage(recording, complaints, [&](const auto& message) {
    if (message.sender == Sender::kRecorder)
      loss = message;
    else
      comparison.Take(message);
    return !loss;
  });
  if (zsys_interrupted != 0)
    throw ServiceError("interrupted");
  if (loss || !recording.Flaw().empty())
    comparison.FinishEarly();
  else
    comparison.Finish(recording.EndTime());
  if (loss)
    complaints.Note(MissingText(*loss) + ": compared up to there");
  std::cout << comparison.Summary() << std::endl;
}

void Play(UnitStandIn& unit, RecordingReader& recording, double speed, Complaints& complaints) {
  TimedPlay play(unit, speed);
  ForEachMessage(recording, complaints, [&](const auto& message) {
    if (message.sender == Sender::kRecorder)
      complaints.Note(MissingText(message));
    play.Take(message);
    return true;
  });
  play.Finish();
}

void PlayToService(const ReplayOptions& options, RecordingReader& recording,
                   Complaints& complaints) {
  UnitStandIn unit(recording.Head().meterSet, recording.Head().cluster);
  unit.OpenAll();
  ServiceClient(unit).Connect(Patience{std::llround(options.wait * 1000)});
  if (options.isComparing)
    Compare(unit, recording, complaints);
  else
    Play(unit, recording, options.speed, complaints);
}

// Returns the exit status for a difference. After an interrupt, nothing is waited for, so
// everything seems to be missing.
int Report(const Difference& difference, int status, Complaints& complaints) {
  if (zsys_interrupted != 0) {
    complaints.Add("interrupted");
    return complaints.Status();
  }
  complaints.Note(difference.what());
  return status;
}

int Replay(const ReplayOptions& options) {
  Complaints complaints(std::cerr);
  try {
    std::ifstream file(options.path, std::ios::binary);
    if (!file)
      throw RecordingError(options.path + ": cannot be opened");
    RecordingReader recording(file);
    if (options.isListing)
      List(recording, complaints);
    else
      PlayToService(options, recording, complaints);
  } catch (const DoubtfulDifference& difference) {
    return Report(difference, kInDoubt, complaints);
  } catch (const Difference& difference) {
    return Report(difference, kDifferent, complaints);
  } catch (const std::runtime_error& error) {
    complaints.Add(error.what());
  }
  return complaints.Status();
}

}  // namespace

void AddReplayCommand(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand("replay", "Play, compare or list a recording");
  auto options = std::make_shared<ReplayOptions>();
  command->add_option("FILE", options->path, "Recording")->required();
  CLI::Option* list = command->add_flag("--list", options->isListing,
                                        "Only print the messages, a line of JSON each");
  CLI::Option* expect =
      command->add_flag("--expect", options->isComparing, "Compare what the service publishes");
  command->add_option("--speed", options->speed, "Times real time")
      ->capture_default_str()
      ->check(Between(kSlowestSpeed, kFastestSpeed))
      ->excludes(list)
      ->excludes(expect);
  command->add_option("--wait", options->wait, "Seconds to wait for the service")
      ->capture_default_str()
      ->check(Between(0.0, kLongestWait))
      ->excludes(list);
  list->excludes(expect);
  command->footer(kFooter);
  command->callback([options, &status] { status = Replay(*options); });
}

}  // namespace louddesk
