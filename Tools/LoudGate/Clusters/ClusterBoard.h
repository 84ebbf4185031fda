// All clusters that publish on this board, including those that start later, and the listeners to
// their messages.

#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "Cluster.h"
#include "EventLoop.h"
#include "PublisherDirectory.h"

namespace loudgate {

/// Receives every message of the services as it comes, on the event loop. Must not block.
class ClusterListener {
 public:
  virtual ~ClusterListener() = default;

  /// A well-formed loudness message. The cluster has already taken it.
  virtual void OnData(const Cluster&, const louddesk::LoudnessMessage&, Moment) {}

  /// An acknowledgement or a configuration, possibly a republished one. The cluster has already
  /// taken it.
  virtual void OnAnswer(const Cluster&, const louddesk::ServiceAnswer&, Moment) {}
};

/// The largest number of clusters watched. A board has eight.
constexpr std::size_t kMostClusters = 64;

/// The answer to a request for a cluster that the board does not have.
constexpr char kNoSuchClusterText[] = "No such cluster publishes here.";

class ClusterBoard {
 public:
  /// Receives messages for the operator, one line each.
  using Report = std::function<void(const std::string&)>;

  /// Finds the clusters that publish in `directory` and subscribes to them on `loop`, which must
  /// outlive the board.
  ClusterBoard(EventLoop& loop, std::string directory, Report report);
  ~ClusterBoard();
  ClusterBoard(const ClusterBoard&) = delete;
  ClusterBoard& operator=(const ClusterBoard&) = delete;

  /// Adds `listener`, which must outlive the board. Listeners are called in the order of being
  /// added.
  void AddListener(ClusterListener& listener) { mListeners.push_back(&listener); }

  /// The clusters whose service has published anything or can be reached, ordered by meter set and
  /// cluster. A cluster stays after its service has gone.
  std::vector<const Cluster*> Clusters(Moment now) const;

  /// The cluster with this name ("1-3"); null if there is none.
  const Cluster* Find(const std::string& name, Moment now) const;

  /// Looks for clusters, renews connections and advances histories. Call it ten times a second.
  void Tend(Moment now);

 private:
  struct Watched;

  void Search(Moment now);
  void Add(const louddesk::ServicePlace& place, Moment now);
  bool MakeRoom(const std::vector<louddesk::ServicePlace>& places, Moment now);
  void Connect(Watched& watched, Moment now);
  void Disconnect(Watched& watched);
  void Read(Watched& watched);
  void TakeConnection(Watched& watched, Moment now);
  void RenewLost(Watched& watched, Moment now);

  EventLoop& mLoop;
  PublisherDirectory mDirectory;
  Report mReport;
  std::vector<ClusterListener*> mListeners;
  std::list<Watched> mWatched;  // ordered by meter set and cluster
  bool mIsChanged = true;  // the files of the directory may have changed since they were last read
  bool mIsFullTold = false;
};

}  // namespace loudgate
