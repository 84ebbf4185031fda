// A running service whose peers misbehave: verbs and figures of the tests under faults.

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

  /// Starts the service, with every peer in order, and makes it measure.
  void StartInOrder(const ServiceStart& start = {});

  /// Like StartMeasuring, for a service whose console is not read.
  void StartMeasuringUnheard();

  /// From now on watches the cadence, with a separate client, and the memory of the service.
  void BeginWatch();

  /// Expects that data has kept coming since then and that memory has stayed within its bound, and
  /// records the figures. Gaps may be a second long, for a busy machine, or as long as given, plus
  /// the time in which the client itself could not run.
  void ExpectWatchedWell(Milliseconds longestGap = Milliseconds{1000});

  /// Whether a client gets data from now on.
  bool GetsData(louddesk::DataClient& client, Milliseconds patience = kPatience);

  /// Several processes may play peers or a client. From now on the functions below act on the one
  /// of this name; before the first call, on one without a name.
  void TurnTo(const std::string& remote) { mRemote = &mRemotes[remote]; }

  /// Moves the peers to a separate process, or starts them there again.
  void StartRemote(const Peers& peers);

  /// Starts a client of the loudness data in its own process.
  void StartRemoteClient();

  /// Kills or stops that process and waits until that has happened; continues it.
  void KillRemote();
  void StopRemote();
  void ContinueRemote();

  ServiceProcess& RemoteProcess() { return *mRemote->process; }

  /// Replaces the killed remote peers by listeners that never read, or ends these.
  void ListenSilently();
  void EndSilence();

  /// Waits until the service and each remote peer, or the client, receive from each other, and
  /// returns the time since the last start or continuation.
  Milliseconds AwaitServed();

  /// The same as an expectation, see ExpectSoon. Later messages must arrive too: the first may have
  /// waited in a buffer.
  void ExpectServedSoon();

  /// Expects that peers were served within five seconds of their return, and records how long it
  /// took. An idle machine takes less than two.
  void ExpectSoon(std::chrono::steady_clock::duration time);

  /// Publishes a text message with an unknown topic, which the service logs.
  void SayUnknown(const std::string& text);

 private:
  struct Remote {
    std::unique_ptr<ServiceProcess> process;
    Peers peers;  // that it plays
    bool isClient = false;
    std::chrono::steady_clock::time_point back;             // of its last start or continuation
    std::size_t serviceLines = 0;                           // at that moment
    std::size_t lines = 0;                                  // of its own, at that moment
    std::vector<int> frozen;                                // figures at that moment
    std::vector<std::unique_ptr<SilentListener>> silences;  // in its place
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
  long mResidentKib = 0;  // of the service at the beginning of the watch
};
