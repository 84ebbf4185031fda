// All clusters that publish on this board, now or later, and those who want to know of every
// message.

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

/// Told of everything that the services say, as it comes, on the loop. May not wait for anything.
class ClusterListener {
 public:
  virtual ~ClusterListener() = default;

  /// A well-formed loudness message, which the cluster has taken already.
  virtual void OnData(const Cluster&, const louddesk::LoudnessMessage&, Moment) {}

  /// An acknowledgement or a configuration, republished ones too, which the cluster has taken
  /// already.
  virtual void OnAnswer(const Cluster&, const louddesk::ServiceAnswer&, Moment) {}
};

/// The most clusters that are watched. A board has eight.
constexpr std::size_t kMostClusters = 64;

/// For those who ask for a cluster that the board does not have.
constexpr char kNoSuchClusterText[] = "No such cluster publishes here.";

class ClusterBoard {
 public:
  /// Told what an operator should know, a line each.
  using Report = std::function<void(const std::string&)>;

  /// Finds the clusters that publish in `directory` and subscribes to them, on `loop`, which must
  /// outlive the board.
  ClusterBoard(EventLoop& loop, std::string directory, Report report);
  ~ClusterBoard();
  ClusterBoard(const ClusterBoard&) = delete;
  ClusterBoard& operator=(const ClusterBoard&) = delete;

  /// From now on tells `listener`, which must outlive the board, in the order of these calls.
  void AddListener(ClusterListener& listener) { mListeners.push_back(&listener); }

  /// Those whose service has said something or can be reached, in the order of their names. One
  /// whose service is gone stays.
  std::vector<const Cluster*> Clusters(Moment now) const;

  /// The one of that name among them ("1-3"), null if there is none.
  const Cluster* Find(const std::string& name, Moment now) const;

  /// Looks for clusters, renews connections and advances histories. To be called ten times a
  /// second.
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
  std::list<Watched> mWatched;  // in the order of meter sets and clusters
  bool mIsChanged = true;       // the directory may have other files than when it was last read
  bool mIsFullTold = false;
};

}  // namespace loudgate
