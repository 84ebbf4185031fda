// Shared parts of the tests under faults.

#include "FaultyUnit.h"

#include <algorithm>
#include <csignal>
#include <iostream>

#include "Emulation.h"
#include "Endpoints.h"

using louddesk::Peer;

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kClientPlace[] = "DataClient";

constexpr std::chrono::milliseconds kServedSoon{5000 * kSlowness};

// Ten times the contents of all peers' full queues. Includes freed memory that a sanitizer retains.
#ifdef __SANITIZE_ADDRESS__
constexpr long kMostGrowthKib = 400 * 1024;
#else
constexpr long kMostGrowthKib = 32 * 1024;
#endif

struct PeerPlace {
  Peer peer;
  const char* place;
  const char* line;  // log line of the service about a message of the remote peer
};

constexpr PeerPlace kPeerPlaces[] = {
    {Peer::kHeartbeatReceiver, "HeartbeatReceiver", nullptr},
    {Peer::kProcessMonitor, "ProcessMonitor", "\"Got System status Okay 1.\""},
    {Peer::kHardwareManager, "HardwareManager", "\"Topic HwmStatusOrRequest? not handled\""},
    {Peer::kMainAppServer, "MainAppServer", "\"Topic AppLoudnessCmd not handled\""},
    {Peer::kOpticalAppServer, "OpticalAppServer", "\"Topic QVProbeOptInputDataCmd? not handled\""},
    {Peer::kSignalProcessor, "SignalProcessor", nullptr},
    {Peer::kLogSink, "LogSink", nullptr},
};

const PeerPlace& RowOf(Peer peer) {
  const PeerPlace* row = kPeerPlaces;
  while (row->peer != peer)
    ++row;
  return *row;
}

std::chrono::milliseconds Since(Clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - time);
}

}  // namespace

void RecordFigure(const std::string& name, double value) {
  testing::Test::RecordProperty(name, std::to_string(value));
  std::cout << "[  FIGURE  ] " << name << ' ' << value << std::endl;
}

std::size_t LinesOf(const ServiceProcess& process, const std::string& text) {
  const std::vector<OutputLine> lines = process.Lines();
  return static_cast<std::size_t>(std::count_if(
      lines.begin(), lines.end(),
      [&](const OutputLine& line) { return line.text.find(text) != std::string::npos; }));
}

const char* PlaceOf(Peer peer) {
  return RowOf(peer).place;
}

void FaultyUnit::StartInOrder(const ServiceStart& start) {
  ASSERT_NO_FATAL_FAILURE(Start({}, start));
  StartMeasuringWithoutConsole();
}

void FaultyUnit::StartMeasuringWithoutConsole() {
  mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic,
                 louddesk::EnableReportingJson(true));
  SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), mUnit.Cluster()).Json());
  ExpectAcknowledgement("Start");
  mUnit.DropLoudnessData();
  EXPECT_TRUE(mUnit.NextLoudnessData(kPatience)) << "no data";
}

void FaultyUnit::BeginWatch() {
  mResidentKib = mService->ResidentKib();
  mWatch = std::make_unique<CadenceWatch>(
      louddesk::DataPublisherFile(mUnit.MeterSet(), mUnit.Cluster()));
  ASSERT_TRUE(mWatch->WaitFor(1, kPatience)) << "no data";
}

void FaultyUnit::ExpectCadenceAndMemory(Milliseconds longestGap) {
  const Cadence cadence = mWatch->Stop();
  const long growth = mService->ResidentKib() - mResidentKib;
  RecordFigure("on_time_percent", 100.0 * static_cast<double>(cadence.onTime) /
                                      static_cast<double>(std::max<std::size_t>(cadence.ticks, 1)));
  RecordFigure("longest_gap_ms", static_cast<double>(cadence.longestGap.count()));
  RecordFigure("longest_stall_of_the_machine_ms",
               static_cast<double>(cadence.longestStall.count()));
  RecordFigure("memory_growth_kib", static_cast<double>(growth));
  EXPECT_LE(cadence.longestGap.count(), (longestGap + 2 * cadence.longestStall).count());
  EXPECT_GE(2 * cadence.messages, cadence.ticks) << "over half of the ticks left out";
  EXPECT_LE(cadence.messages, cadence.ticks + 2) << "more messages than ticks";
  EXPECT_LE(growth, kMostGrowthKib);
}

bool FaultyUnit::GetsData(louddesk::DataClient& client, Milliseconds patience) {
  client.ReadPending();
  client.Messages().clear();
  return mUnit.WaitFor(
      [&client] {
        client.ReadPending();
        return client.Messages().size() >= 3;
      },
      patience);
}

void FaultyUnit::StartRemote(const Peers& peers) {
  std::vector<std::string> places;
  for (const Peer peer : peers) {
    mUnit.Close(peer);
    mMoved.insert(peer);
    places.push_back(std::string(PlaceOf(peer)) + "=" + mUnit.EndpointOf(peer));
  }
  mRemote->peers = peers;
  StartRemoteProcess(places);
}

void FaultyUnit::StartRemoteClient() {
  mRemote->isClient = true;
  StartRemoteProcess(
      {std::string(kClientPlace) + "=" +
       louddesk::Endpoint::Ipc(louddesk::DataPublisherFile(mUnit.MeterSet(), mUnit.Cluster()))
           .Text()});
}

void FaultyUnit::KillRemote() {
  RemoteProcess().Signal(SIGKILL);
  EXPECT_TRUE(RemoteProcess().WaitForExit(kPatience)) << "still there";
}

void FaultyUnit::StopRemote() {
  Suspend(RemoteProcess());
}

void FaultyUnit::ContinueRemote() {
  MarkReturn();
  RemoteProcess().Signal(SIGCONT);
}

void FaultyUnit::ListenSilently() {
  for (const Peer peer : mRemote->peers)
    mRemote->silences.push_back(std::make_unique<SilentListener>(mUnit.EndpointOf(peer)));
}

void FaultyUnit::EndSilence() {
  mRemote->silences.clear();
}

FaultyUnit::Milliseconds FaultyUnit::AwaitServed() {
  for (const Peer peer : mRemote->peers) {
    const auto end = Clock::now() + kPatience;
    while (!IsServed(peer, kPeriod / 2) && !HasFatalFailure())
      if (Clock::now() > end) {
        ADD_FAILURE() << PlaceOf(peer) << " is not served";
        break;
      }
  }
  if (mRemote->isClient) {
    EXPECT_TRUE(WaitForRemoteLine(kClientPlace, kPatience)) << "client is not served";
  }
  return Since(mRemote->back);
}

void FaultyUnit::ExpectServedSoon() {
  ExpectSoon(AwaitServed());
  Pass(5 * kPeriod);
  MarkReturn();
  AwaitServed();
}

void FaultyUnit::ExpectSoon(Clock::duration time) {
  const double milliseconds = std::chrono::duration<double, std::milli>(time).count();
  RecordFigure("served_after_ms", milliseconds);
  EXPECT_LE(milliseconds, static_cast<double>(kServedSoon.count()));
}

void FaultyUnit::SayUnknown(const std::string& text) {
  mUnit.SendText(Peer::kMainAppServer, kAppLoudnessCommandTopic + text, std::string("{}"));
}

bool FaultyUnit::IsServed(Peer peer, Milliseconds patience) {
  const PeerPlace& row = RowOf(peer);
  if (row.line != nullptr)
    return mService->WaitForLine(row.line, patience, mRemote->serviceLines);
  if (peer == Peer::kSignalProcessor)
    return HasNewFigures(patience);
  // A running remote server makes the service write lines all the time.
  if (peer == Peer::kLogSink && mMoved.count(Peer::kMainAppServer) == 0)
    SayUnknown("");
  return WaitForRemoteLine(row.place, patience);
}

bool FaultyUnit::HasNewFigures(Milliseconds patience) {
  const auto message = mUnit.NextLoudnessData(patience);
  return message && louddesk::PublishedCodes(message->data) != mRemote->frozen;
}

bool FaultyUnit::WaitForRemoteLine(const std::string& place, Milliseconds patience) {
  return RemoteProcess().WaitForLine(place, patience, mRemote->lines);
}

void FaultyUnit::StartRemoteProcess(const std::vector<std::string>& places) {
  mRemote->process.reset();
  MarkReturn();
  mRemote->process = std::make_unique<ServiceProcess>(PEER_PROCESS_BINARY, places);
}

void FaultyUnit::MarkReturn() {
  mUnit.DropLoudnessData();
  mRemote->frozen.clear();
  if (mRemote->peers.count(Peer::kSignalProcessor) != 0)
    if (const auto message = mUnit.NextLoudnessData(5 * kPeriod))
      mRemote->frozen = louddesk::PublishedCodes(message->data);
  mRemote->serviceLines = mService->LineCount();
  mRemote->lines = mRemote->process ? RemoteProcess().LineCount() : 0;
  mRemote->back = Clock::now();
}
