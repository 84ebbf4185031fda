// Shows all clusters in the terminal's window: the overview, or the meter of one cluster.

#include "WatchAll.h"

#include <czmq.h>
#include <unistd.h>

#include <algorithm>
#include <list>

#include "ServiceFeed.h"
#include "Terminal.h"
#include "WatchKeys.h"
#include "WatchLayout.h"
#include "WatchOverview.h"
#include "WatchRows.h"

namespace louddesk {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kSearchPeriod{1};

// A service that publishes, or that once published in this place.
struct WatchedService {
  explicit WatchedService(ServicePlace where)
      : place(where), feed(where.meterSet, where.cluster), model(Clock::now()) {}

  void Take() {
    const auto now = Clock::now();
    model.SetConnected(feed.HasDataPublisher() && feed.HasStatePublisher());
    for (auto& data = feed.Data(); !data.empty(); data.pop_front())
      if (data.front().wellFormed)
        model.TakeData(data.front());
    for (auto& states = feed.States(); !states.empty(); states.pop_front())
      if (const auto answer = ReadAnswer(states.front()))
        model.TakeAnswer(*answer, now, LocalClockText(std::chrono::system_clock::now()));
    model.Advance(now);
  }

  ServicePlace place;
  ServiceFeed feed;
  WatchModel model;
};

class AllClusters {
 public:
  explicit AllClusters(const WatchLook& look) : mLook(look) { mLook.glyphs = mTerminal.Glyph(); }

  void Run() {
    while (zsys_interrupted == 0 && TakeKeys()) {
      Search();
      Read();
      Show();
    }
  }

 private:
  bool IsKnown(const ServicePlace& place) const {
    return std::any_of(mServices.begin(), mServices.end(), [&place](const auto& service) {
      return service.place.meterSet == place.meterSet && service.place.cluster == place.cluster;
    });
  }

  void Search() {
    if (Clock::now() < mNextSearch)
      return;
    mNextSearch = Clock::now() + kSearchPeriod;
    for (const ServicePlace& place : FindServicePlaces())
      if (!IsKnown(place))
        mServices.emplace_back(place);
  }

  void Read() {
    std::vector<SocketReader*> readers;
    for (WatchedService& service : mServices)
      readers.push_back(&service.feed);
    WaitAndRead(readers, kRefresh, mTerminal.HasKeys() ? STDIN_FILENO : -1);
    for (WatchedService& service : mServices)
      service.Take();
  }

  // The services that have published. A file alone may be left over from a dead service.
  std::vector<WatchedService*> Publishing() {
    std::vector<WatchedService*> publishing;
    for (WatchedService& service : mServices)
      if (service.model.State(Clock::now()) != ServiceState::kAbsent)
        publishing.push_back(&service);
    return publishing;
  }

  void Show() {
    const auto now = Clock::now();
    if (mOpened != nullptr) {
      mTerminal.Show(ComposeWatch(mOpened->model, mLook, mTerminal.Size(), now));
      return;
    }
    std::vector<OverviewRow> rows;
    for (const WatchedService* service : Publishing())
      rows.push_back({service->place, &service->model});
    mTerminal.Show(ComposeOverview(rows, mSelected, mTerminal.Size(), now));
  }

  // Returns false if the user ends the watch.
  bool TakeKeys() {
    for (int key = mTerminal.ReadKey(); key != 0; key = mTerminal.ReadKey()) {
      if (IsQuitKey(key))
        return false;
      if (mOpened == nullptr)
        Choose(key);
      else if (key == 'b' || key == 'B')
        mOpened = nullptr;
      else
        ActOnKey(key, mLook, mOpened->model);
    }
    return true;
  }

  void Choose(int key) {
    const auto publishing = Publishing();
    if (key == kKeyDown && mSelected + 1 < publishing.size())
      ++mSelected;
    if (key == kKeyUp && mSelected > 0)
      --mSelected;
    if ((key == '\n' || key == '\r') && mSelected < publishing.size())
      Open(*publishing[mSelected]);
  }

  void Open(WatchedService& service) {
    mOpened = &service;
    mLook.meterSet = service.place.meterSet;
    mLook.cluster = service.place.cluster;
  }

  void* const mMessaging = zsys_init();  // before the terminal, which respects existing handlers
  WatchLook mLook;
  Terminal mTerminal;
  std::list<WatchedService> mServices;
  Clock::time_point mNextSearch{};
  std::size_t mSelected = 0;          // row in the overview
  WatchedService* mOpened = nullptr;  // null: the overview
};

}  // namespace

void WatchAllClusters(const WatchLook& look) {
  WatchLook oneOfMany = look;
  oneOfMany.isOneOfMany = true;
  AllClusters(oneOfMany).Run();
}

}  // namespace louddesk
