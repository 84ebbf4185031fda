// `LoudDesk record`: the command line, and the loop of a recording.

#include "RecordCommand.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "Complaints.h"
#include "Endpoints.h"
#include "LiveLine.h"
#include "MessageQueue.h"
#include "NumberCheck.h"
#include "RecordingWriter.h"
#include "ServiceOptionBounds.h"
#include "ServiceTap.h"
#include "TapThread.h"

namespace louddesk {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kLongestRecording = 1e7;  // s

// The longest time that can be lost when the process is killed.
constexpr std::chrono::seconds kFlushPeriod{1};

constexpr Patience kAttention{100};

constexpr char kFooter[] =
    "\nExample, on the machine of the service of meter set 1, cluster 1:\n"
    "  LoudDesk record fault.loudrec\n"
    "  LoudDesk replay --list fault.loudrec\n"
    "\n"
    "The recording contains what the service's peers send to it (raw blocks, presets,\n"
    "configurations, commands and the rest) and what it publishes (loudness data and\n"
    "states). The file contains the messages, their times and the numbers of meter\n"
    "set and cluster; it never names the machine or its users. Heartbeats and the log\n"
    "go to one receiver each and cannot be seen. Start recording before the service\n"
    "starts if the recording is to be compared with a service later (LoudDesk replay\n"
    "--expect).\n"
    "\n"
    "Ctrl-C ends the recording. The file is brought up to date once a second and can\n"
    "be read that far even if the process is killed. An existing file is never\n"
    "overwritten; a named pipe with a reader is written to. If the disk or the reader\n"
    "stalls, 16 MiB of messages are kept; those that then get lost are counted in the\n"
    "recording and here. The status is 0, or 1 when the file could not be written or\n"
    "no message came.\n";

// What the user gave on the command line.
struct RecordOptions {
  std::string path;
  unsigned meterSet = 1;
  unsigned cluster = 1;
  std::optional<double> seconds;  // duration; nothing: until the user ends it
};

// Microseconds since 1970.
std::uint64_t WallTimeNow() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(since).count());
}

// Whether writing to standard output would not block: its terminal or the reader of its pipe takes
// more.
bool IsOutputReady() {
  pollfd output = {STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, 0) == 1;
}

class RecordSession {
 public:
  // Throws BindError or RecordingError.
  explicit RecordSession(const RecordOptions& options)
      : mOptions(options),
        mTap(options.meterSet, options.cluster),
        mWriter(options.path, {options.meterSet, options.cluster, WallTimeNow()},
                [this] { return IsOver(); }),
        mStart(Clock::now()),
        mThread(mTap, mQueue, mStart),
        mLine(std::cout, ColumnsOf(STDOUT_FILENO)) {}

  // Records until the time is over or the user ends it. Throws RecordingError.
  void Run() {
    Tell(
        fmt::format("Recording meter set {}, cluster {}; Ctrl-C ends it. Not seen: "
                    "heartbeats and log, which go to one receiver each",
                    mOptions.meterSet, mOptions.cluster));
    mWriter.Flush();
    while (!IsOver()) {
      WriteMessages(TimeToWait());
      FlushWhenDue();
      TellWhenConnected();
      ShowProgress();
    }
    mThread.Stop();
    WriteMessages(Patience{0});
    mWriter.Finish(TimeNow());
  }

  // Reports the result to the user.
  void Conclude(Complaints& complaints) {
    Tell(ProgressText());
    mLine.Finish();
    NoteLoss(complaints);
    const std::string missing = mThread.MissingText();
    if (mInputs + mBlocks + mOutputs == 0)
      complaints.Add("no message came; not connected: " + (missing.empty() ? "none" : missing));
    else if (!missing.empty())
      complaints.Note("not connected at the end: " + missing);
  }

 private:
  std::uint64_t TimeNow() const {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - mStart).count());
  }

  std::chrono::duration<double> Left() const {
    return std::chrono::duration<double>(mOptions.seconds.value_or(kLongestRecording)) -
           (Clock::now() - mStart);
  }

  bool IsOver() const { return zsys_interrupted != 0 || (mOptions.seconds && Left().count() <= 0); }

  Patience TimeToWait() const {
    return std::clamp(std::chrono::ceil<Patience>(Left()), Patience{0}, kAttention);
  }

  void WriteMessages(Patience patience) {
    for (const RecordedMessage& message : mQueue.Take(patience))
      Write(message);
  }

  void Write(const RecordedMessage& message) {
    mWriter.Write(message);
    if (IsOfService(message.sender))
      ++mOutputs;
    else if (message.sender == Sender::kSignalProcessor)
      ++mBlocks;
    else if (IsOfPeer(message.sender))
      ++mInputs;
    mHasNews = true;
  }

  void FlushWhenDue() {
    const auto now = Clock::now();
    if (!mHasNews || now < mFlushDue)
      return;
    mWriter.Flush();
    mHasNews = false;
    mFlushDue = now + kFlushPeriod;
  }

  void TellWhenConnected() {
    if (mIsConnected || !mThread.MissingText().empty())
      return;
    mIsConnected = true;
    Tell("Connected to the service and all of its peers");
  }

  // Shows a line as soon as the terminal takes it.
  void Tell(const std::string& text) {
    mUntold += (mUntold.empty() ? "" : "\n") + text;
    TellWhenReady();
  }

  void TellWhenReady() {
    if (!mUntold.empty() && IsOutputReady())
      mLine.Print(std::exchange(mUntold, ""));
  }

  // A terminal that takes nothing, for example after Ctrl-S, must not stop the recording.
  void ShowProgress() {
    TellWhenReady();
    if (mUntold.empty() && IsOutputReady())
      mLine.Show(ProgressText(), Clock::now());
  }

  std::string ProgressText() const {
    return fmt::format(
        "{:9.1f} s  {} blocks, {} other messages to the service, {} from it, {} kB{}",
        static_cast<double>(TimeNow()) / 1e6, mBlocks, mInputs, mOutputs,
        (mWriter.Size() + 999) / 1000, LossText());
  }

  std::string LossText() const {
    const LostMessages lost = mQueue.Lost();
    const unsigned long count = lost.tooLong + lost.tooMany;
    return count == 0 ? "" : fmt::format(", {} LOST", count);
  }

  void NoteLoss(Complaints& complaints) const {
    const LostMessages lost = mQueue.Lost();
    if (lost.tooLong > 0)
      complaints.Note(
          fmt::format("{} messages of more than {} bytes left out", lost.tooLong, kLargestMessage));
    if (lost.tooMany > 0)
      complaints.Note(
          fmt::format("{} messages lost, because the file could not be written fast enough and "
                      "{} MiB waited; the recording tells where",
                      lost.tooMany, MessageQueue::kMostBytes >> 20));
  }

  const RecordOptions& mOptions;
  ServiceTap mTap;
  RecordingWriter mWriter;
  Clock::time_point mStart;
  MessageQueue mQueue;
  TapThread mThread;
  LiveLine mLine;
  std::string mUntold;  // lines for the user that the terminal has not taken yet
  Clock::time_point mFlushDue{};
  bool mHasNews = false;  // messages were written since the last flush
  bool mIsConnected = false;
  unsigned long mBlocks = 0;
  unsigned long mInputs = 0;  // messages to the service except blocks
  unsigned long mOutputs = 0;
};

int Record(const RecordOptions& options) {
  Complaints complaints(std::cerr);
  std::signal(SIGPIPE, SIG_IGN);  // the recording survives the reader of the progress
  try {
    RecordSession session(options);
    session.Run();
    session.Conclude(complaints);
  } catch (const std::runtime_error& error) {
    complaints.Add(error.what());
  }
  return complaints.Status();
}

}  // namespace

void AddRecordCommand(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand("record", "Record the messages around a running service");
  auto options = std::make_shared<RecordOptions>();
  command->add_option("FILE", options->path, "File to make")->required();
  command->add_option("--meter-set", options->meterSet, "Meter set of the service")
      ->capture_default_str()
      ->check(CLI::Range(0u, kHighestMeterSet));
  command->add_option("--cluster", options->cluster, "Cluster of the service")
      ->capture_default_str()
      ->check(CLI::Range(1, kMaxCluster));
  command->add_option("--seconds", options->seconds, "End after this time")
      ->check(Between(0.0, kLongestRecording));
  command->footer(kFooter);
  command->callback([options, &status] { status = Record(*options); });
}

}  // namespace louddesk
