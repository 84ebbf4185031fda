// The clusters, and the feeds from their services.

#include "ClusterBoard.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace loudgate {

using louddesk::ServicePlace;

namespace {

// Limits on what a service can make this process hold. Its messages are a thousand times smaller
// than the limit, and the queue holds one minute of them.
louddesk::ClientSettings SettingsFor(const std::string& directory) {
  louddesk::ClientSettings settings;
  settings.directory = directory;
  settings.reconnectMs = 200;
  settings.queuedMessages = 600;
  settings.frameBytes = 16 * 1024;
  settings.readAtATime = 64;
  return settings;
}

// The library never reconnects to a peer that has broken the protocol, so the feed is made anew
// after this time without a connection.
constexpr std::chrono::seconds kRenewAfter{5};

bool IsSame(const ServicePlace& left, const ServicePlace& right) {
  return left.meterSet == right.meterSet && left.cluster == right.cluster;
}

bool IsBefore(const ServicePlace& left, const ServicePlace& right) {
  return std::pair(left.meterSet, left.cluster) < std::pair(right.meterSet, right.cluster);
}

bool Contains(const std::vector<ServicePlace>& places, const ServicePlace& place) {
  return std::any_of(places.begin(), places.end(),
                     [&place](const ServicePlace& other) { return IsSame(place, other); });
}

}  // namespace

// A cluster and the connections to its service.
struct ClusterBoard::Watched {
  Watched(const ServicePlace& place, Moment now) : cluster(place, now) {}

  Cluster cluster;
  std::optional<louddesk::ServiceFeed> feed;
  unsigned connections = 0;                         // of the feed, when last read
  std::chrono::steady_clock::time_point connected;  // when the feed was made or last connected
};

ClusterBoard::ClusterBoard(EventLoop& loop, std::string directory, Report report)
    : mLoop(loop), mDirectory(std::move(directory)), mReport(std::move(report)) {
  mLoop.Watch(mDirectory.Descriptor(),
              [this] { mIsChanged = mDirectory.TakeChanges() || mIsChanged; });
  Search(Moment::Now());
}

ClusterBoard::~ClusterBoard() {
  mLoop.Unwatch(mDirectory.Descriptor());
  for (Watched& watched : mWatched)
    Disconnect(watched);
}

void ClusterBoard::Tend(Moment now) {
  Search(now);
  for (Watched& watched : mWatched) {
    TakeConnection(watched, now);
    RenewLost(watched, now);
    watched.cluster.Advance(now);
  }
}

void ClusterBoard::Search(Moment now) {
  mIsChanged = mDirectory.TakeChanges() || mIsChanged;
  if (!mIsChanged)
    return;
  mIsChanged = false;
  const auto places = mDirectory.Places();
  for (const ServicePlace& place : places) {
    const bool isWatched =
        std::any_of(mWatched.begin(), mWatched.end(),
                    [&](const Watched& watched) { return IsSame(watched.cluster.Place(), place); });
    if (!isWatched && MakeRoom(places, now))
      Add(place, now);
  }
}

void ClusterBoard::Add(const ServicePlace& place, Moment now) {
  const auto after = std::find_if(mWatched.begin(), mWatched.end(), [&](const Watched& watched) {
    return IsBefore(place, watched.cluster.Place());
  });
  Connect(*mWatched.emplace(after, place, now), now);
}

// Makes room by removing a cluster whose service does not run and whose file is gone.
bool ClusterBoard::MakeRoom(const std::vector<ServicePlace>& places, Moment now) {
  if (mWatched.size() < kMostClusters)
    return true;
  const auto gone = std::find_if(mWatched.begin(), mWatched.end(), [&](const Watched& watched) {
    const auto state = watched.cluster.Model().State(now.steady);
    return !Contains(places, watched.cluster.Place()) &&
           (state == louddesk::ServiceState::kAbsent || state == louddesk::ServiceState::kDead);
  });
  if (gone == mWatched.end()) {
    if (!std::exchange(mIsFullTold, true))
      mReport(mDirectory.Path() + ": more than " + std::to_string(kMostClusters) +
              " publishers; further ones are not watched");
    return false;
  }
  Disconnect(*gone);
  mWatched.erase(gone);
  return true;
}

void ClusterBoard::Connect(Watched& watched, Moment now) {
  const ServicePlace& place = watched.cluster.Place();
  watched.feed.emplace(place.meterSet, place.cluster, SettingsFor(mDirectory.Path()));
  watched.connections = 0;
  watched.connected = now.steady;
  for (zsock_t* socket : watched.feed->Sockets())
    mLoop.Watch(socket, [this, &watched] { Read(watched); });
}

void ClusterBoard::Disconnect(Watched& watched) {
  for (zsock_t* socket : watched.feed->Sockets())
    mLoop.Unwatch(socket);
  watched.feed.reset();
}

void ClusterBoard::Read(Watched& watched) {
  const Moment now = Moment::Now();
  watched.feed->ReadPending();
  TakeConnection(watched, now);
  Cluster& cluster = watched.cluster;
  for (auto& data = watched.feed->Data(); !data.empty(); data.pop_front())
    if (cluster.TakeData(data.front(), now))
      for (ClusterListener* listener : mListeners)
        listener->OnData(cluster, data.front(), now);
  for (auto& states = watched.feed->States(); !states.empty(); states.pop_front())
    if (const auto answer = ReadAnswer(states.front())) {
      cluster.TakeAnswer(*answer, now);
      for (ClusterListener* listener : mListeners)
        listener->OnAnswer(cluster, *answer, now);
    }
}

void ClusterBoard::TakeConnection(Watched& watched, Moment now) {
  const louddesk::ServiceFeed& feed = *watched.feed;
  const bool isConnected = feed.HasDataPublisher() && feed.HasStatePublisher();
  const unsigned before = std::exchange(watched.connections, feed.DataConnections());
  watched.cluster.TakeConnection(isConnected, watched.connections - before);
  if (isConnected)
    watched.connected = now.steady;
}

void ClusterBoard::RenewLost(Watched& watched, Moment now) {
  if (now.steady - watched.connected < kRenewAfter)
    return;
  Disconnect(watched);
  Connect(watched, now);
}

std::vector<const Cluster*> ClusterBoard::Clusters(Moment now) const {
  std::vector<const Cluster*> known;
  for (const Watched& watched : mWatched)
    if (watched.cluster.IsKnown(now))
      known.push_back(&watched.cluster);
  return known;
}

const Cluster* ClusterBoard::Find(const std::string& name, Moment now) const {
  for (const Cluster* cluster : Clusters(now))
    if (cluster->Name() == name)
      return cluster;
  return nullptr;
}

}  // namespace loudgate
