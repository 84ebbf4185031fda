// Peers that publish as fast as they can, up to a thousand times more than they should. The short
// runs are daily tests; the runs of several minutes have the label `soak`.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>

#include "CadenceWatch.h"
#include "Emulation.h"
#include "Endpoints.h"
#include "RunningService.h"

namespace {

using louddesk::Peer;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kAWhile{3};
constexpr std::chrono::seconds kAMinute{60};

/// Limit of the service's memory. Up to a thousand messages of one peer may be queued, and up to a
/// thousand lines and data messages for the readers. Blocks, commands and ordinary presets of some
/// kilobytes stay far below this limit; for the largest documents it is computed from their size.
/// Includes freed memory that a sanitizer retains.
#ifdef __SANITIZE_ADDRESS__
constexpr long kBoundKib = 640 * 1024;
#else
constexpr long kBoundKib = 64 * 1024;
#endif
constexpr long kBoundOfLargestKib = 1000 * 512 + kBoundKib;

/// Generous, because on a busy machine a flooded service gets no more processor time than others.
/// On an idle machine the gaps between messages are 115 ms.
constexpr std::chrono::milliseconds kLongestGap{2000 * kSlowness};

/// The service promises to end within a second.
constexpr std::chrono::milliseconds kLenientEnd{5000 * kSlowness};

struct FloodCase {
  const char* kind;  // kind of message, an argument of FloodSender
  unsigned rate;     // messages per second; 0: as fast as the peer can
  long boundKib;     // limit of the service's memory
};

constexpr FloodCase kFloods[] = {
    {"Blocks", 10000, kBoundKib},
    {"Blocks", 0, kBoundKib},
    {"CommandsOfAnotherCluster", 0, kBoundKib},
    {"UnknownTopics", 0, kBoundKib},
    {"BrokenConfigurations", 0, kBoundKib},
    {"Presets", 0, kBoundKib},
    {"LargestPresets", 0, kBoundOfLargestKib},
    {"RoutingPresets", 0, kBoundOfLargestKib},
};

struct Flood {
  FloodCase flood;
  std::chrono::seconds length;
};

std::vector<Flood> FloodsOf(std::chrono::seconds length) {
  std::vector<Flood> floods;
  for (const FloodCase& flood : kFloods)
    floods.push_back({flood, length});
  return floods;
}

std::string NameOfFlood(const testing::TestParamInfo<Flood>& info) {
  const FloodCase& flood = info.param.flood;
  return flood.kind + (flood.rate == 0 ? std::string() : std::to_string(flood.rate) + "ASecond");
}

void PrintTo(const Flood& flood, std::ostream* stream) {
  *stream << flood.flood.kind << " for " << flood.length.count() << " s";
}

/// Writes a figure to the output and to the report of the test.
void Record(const char* name, double value) {
  testing::Test::RecordProperty(name, std::to_string(value));
  std::cout << "  " << name << ": " << value << std::endl;
}

double Milliseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

class FloodTest : public RunningService, public testing::WithParamInterface<Flood> {
 protected:
  /// Starts the service. The flood comes from a separate endpoint, and a sink receives all log
  /// lines.
  void StartBesideTheFlood() {
    ASSERT_NO_FATAL_FAILURE(Start({FloodedPlace(), Peer::kLogSink}, WithoutConsole()));
    mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic,
                   louddesk::EnableReportingJson(true));
    SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), mUnit.Cluster()).Json());
    ExpectAcknowledgement("Start");
    mSink = StartSender(Peer::kLogSink, "Sink", 0);
  }

  void BeginFlood() {
    mSender = StartSender(FloodedPlace(), GetParam().flood.kind, GetParam().flood.rate);
    ASSERT_TRUE(mSender->WaitForLine(" messages in ", kPatience)) << "no flood";
  }

  /// Waits while the flood runs and checks that it does not disturb the service.
  void WatchFlood() {
    CadenceWatch watch(louddesk::DataPublisherFile(mUnit.MeterSet(), mUnit.Cluster()));
    ASSERT_TRUE(watch.WaitFor(1, kPatience));
    mUnit.DropHeartbeats();
    const Clock::time_point end = Clock::now() + GetParam().length;
    Clock::time_point lastBeat = Clock::now();
    int beats = 0;
    while (Clock::now() < end) {
      if (mUnit.NextHeartbeat(std::min(louddesk::Remaining(end), louddesk::Patience{250}))) {
        ++beats;
        mLongestBeatless = std::max(mLongestBeatless, Clock::now() - lastBeat);
        lastBeat = Clock::now();
      }
      mMostKib = std::max(mMostKib, mService->ResidentKib());
      mUnit.DropStates();
      mUnit.DropLoudnessData();
    }
    mLongestBeatless = std::max(mLongestBeatless, Clock::now() - lastBeat);
    mCadence = watch.Stop();
    Record("beats_share_percent", 100.0 * beats / static_cast<double>(GetParam().length.count()));
  }

  void ExpectUndisturbed() {
    const double ticks = static_cast<double>(std::max<std::size_t>(mCadence.ticks, 1));
    const double due = static_cast<double>(GetParam().length / kPeriod);
    Record("on_time_percent", 100.0 * static_cast<double>(mCadence.onTime) / ticks);
    Record("ticks_made_percent", 100.0 * static_cast<double>(mCadence.messages) / ticks);
    Record("longest_gap_ms", Milliseconds(mCadence.longestGap));
    Record("longest_stall_of_the_machine_ms", Milliseconds(mCadence.longestStall));
    Record("longest_without_heartbeat_ms", Milliseconds(mLongestBeatless));
    Record("most_memory_kib", static_cast<double>(mMostKib));
    const auto stall = 2 * mCadence.longestStall;
    EXPECT_GE(static_cast<double>(mCadence.messages), 0.5 * due);
    EXPECT_LE(mCadence.longestGap.count(), (kLongestGap + stall).count());
    EXPECT_LE(Milliseconds(mLongestBeatless), Milliseconds(std::chrono::seconds{3} + stall));
    EXPECT_LE(mMostKib, GetParam().flood.boundKib);
  }

  /// Ends the service in the middle of the flood.
  void ExpectQuickEnd() {
    const Clock::time_point begin = Clock::now();
    mService->Signal(SIGTERM);
    const auto report = mService->WaitForExit(kPatience);
    const double took = Milliseconds(Clock::now() - begin);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(0, report->status);
    Record("end_took_ms", took);
    EXPECT_LE(took, Milliseconds(kLenientEnd));
    EXPECT_TRUE(mSender->IsRunning()) << "the flood ended early";
  }

  void TearDown() override {
    if (mSender && !mSender->Lines().empty())
      std::cout << "  sent: " << mSender->Lines().back().text << std::endl;
    mSender.reset();
    mSink.reset();
    RunningService::TearDown();
  }

 private:
  static Peer FloodedPlace() {
    return std::string(GetParam().flood.kind) == "Blocks" ? Peer::kSignalProcessor
                                                          : Peer::kHardwareManager;
  }

  /// Discards the console output: millions of lines would not fit into memory.
  static ServiceStart WithoutConsole() {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    ServiceStart start;
    start.options.output = nowhere;
    start.options.errors = nowhere;
    return start;
  }

  std::unique_ptr<ServiceProcess> StartSender(Peer peer, const std::string& kind, unsigned rate) {
    return std::make_unique<ServiceProcess>(
        FLOOD_SENDER_BINARY,
        std::vector<std::string>{mUnit.EndpointOf(peer), kind, std::to_string(rate)});
  }

  std::unique_ptr<ServiceProcess> mSink;
  std::unique_ptr<ServiceProcess> mSender;
  Cadence mCadence;
  Clock::duration mLongestBeatless{};  // longest time without a heartbeat
  long mMostKib = 0;                   // largest memory of the service
};

TEST_P(FloodTest, KeepsCadenceHeartbeatAndMemoryAndEndsAtOnce) {
  ASSERT_NO_FATAL_FAILURE(StartBesideTheFlood());
  ASSERT_NO_FATAL_FAILURE(BeginFlood());
  ASSERT_NO_FATAL_FAILURE(WatchFlood());
  ExpectUndisturbed();
  ExpectQuickEnd();
}

INSTANTIATE_TEST_SUITE_P(Seconds, FloodTest, testing::ValuesIn(FloodsOf(kAWhile)), NameOfFlood);
INSTANTIATE_TEST_SUITE_P(Soak, FloodTest, testing::ValuesIn(FloodsOf(kAMinute)), NameOfFlood);

}  // namespace
