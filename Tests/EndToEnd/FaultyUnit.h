// A running service whose peers misbehave: the operations and limits of the tests under faults.

#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "CadenceWatch.h"
#include "DataClient.h"
#include "SilentListener.h"
#include "WatchedService.h"

/// Writes a measured figure to the output of the test and to its report.
void RecordFigure(const std::string& name, double value);

/// Number of lines of a process that contain `text`.
std::size_t LinesOf(const ServiceProcess& process, const std::string& text);

/// The name of a peer, one word.
const char* PlaceOf(louddesk::Peer peer);

class FaultyUnit : public WatchedService {
 protected:
  using WatchedService::WatchedService;
  using Milliseconds = std::chrono::milliseconds;
  using Peers = std::set<louddesk::Peer>;

  /// Starts the service with working peers and makes it measure.
  void StartInOrder(const ServiceStart& start = {});

  /// Like StartMeasuring, for a service whose console is not read.
  void StartMeasuringWithoutConsole();

  /// Begins to watch the cadence, with a separate client, and the memory of the service.
  void BeginWatch();

  /// Expects that since BeginWatch data has kept arriving and memory has stayed within its bound,
  /// and records the figures. Gaps may be as long as `longestGap` (a second, for a busy machine),
  /// plus the time in which the client itself could not run.
  void ExpectCadenceAndMemory(Milliseconds longestGap = Milliseconds{1000});

  /// Whether a client gets data from now on.
  bool GetsData(louddesk::DataClient& client, Milliseconds patience = kPatience);

  /// Several processes may play peers or a client. After this call the functions below act on the
  /// process named `remote`; before the first call, on a process without a name.
  void SelectRemote(const std::string& remote) { mRemote = &mRemotes[remote]; }

  /// Moves the peers to the remote process, or restarts them there.
  void StartRemote(const Peers& peers);

  /// Starts a client of the loudness data in the remote process.
  void StartRemoteClient();

  /// Kill or stop the remote process and wait until that has happened; continue it.
  void KillRemote();
  void StopRemote();
  void ContinueRemote();

  ServiceProcess& RemoteProcess() { return *mRemote->process; }

  /// Replace the killed remote peers by listeners that never read; end these listeners.
  void ListenSilently();
  void EndSilence();

  /// Waits until the service and each remote peer, or the client, receive from each other, and
  /// returns the time since the last start or continuation.
  Milliseconds AwaitServed();

  /// Calls AwaitServed and checks the time with ExpectSoon. Later messages must arrive too, because
  /// the first may have waited in a buffer.
  void ExpectServedSoon();

  /// Expects that peers were served within five seconds of their return, and records how long it
  /// took. An idle machine takes less than two.
  void ExpectSoon(std::chrono::steady_clock::duration time);

  /// Publishes a text message with an unknown topic, which the service logs.
  void SayUnknown(const std::string& text);

 private:
  struct Remote {
    std::unique_ptr<ServiceProcess> process;
    Peers peers;  // peers that the process plays
    bool isClient = false;
    std::chrono::steady_clock::time_point back;  // time of the last start or continuation
    std::size_t serviceLines = 0;                // lines of the service at that time
    std::size_t lines = 0;                       // lines of the process at that time
    std::vector<int> frozen;                     // figures at that time
    std::vector<std::unique_ptr<SilentListener>> silences;  // listeners that replace its peers
  };

  bool IsServed(louddesk::Peer peer, Milliseconds patience);
  bool HasNewFigures(Milliseconds patience);
  bool WaitForRemoteLine(const std::string& place, Milliseconds patience);
  void StartRemoteProcess(const std::vector<std::string>& places);
  void MarkReturn();

  std::map<std::string, Remote> mRemotes;
  Remote* mRemote = &mRemotes[""];
  Peers mMoved;  // peers that this process no longer plays
  std::unique_ptr<CadenceWatch> mWatch;
  long mResidentKib = 0;  // memory of the service at the beginning of the watch
};
