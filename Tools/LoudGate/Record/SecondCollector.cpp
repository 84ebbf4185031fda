// Sorts messages into seconds.

#include "SecondCollector.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace loudgate {

using louddesk::kMsPerSecond;
using louddesk::kReadingsPerSecond;
using louddesk::RecordedEvent;
using louddesk::RecordedSecond;
using louddesk::RecordedState;
using louddesk::ServiceState;
using louddesk::StationCluster;

namespace {

constexpr std::int64_t kMsPerReading = kMsPerSecond / kReadingsPerSecond;

// More readings than this in one second are a burst after a stall. Readings that do not fit into
// the next second either are lost.
constexpr std::size_t kMostReadings = 2 * kReadingsPerSecond;

// Limit of the memory for the events of a batch: far more than services send in normal use.
constexpr std::size_t kMostEventBytes = std::size_t{256} * 1024;

// Smaller differences between the clocks do not count as a clock that was set.
constexpr std::chrono::seconds kClockStep{1};

struct StateName {
  const char* name;                    // in the record
  std::optional<RecordedState> state;  // nothing: only readings cause a second to be recorded
};

// In the order of ServiceState.
constexpr StateName kStates[] = {
    {"absent", std::nullopt},
    {"waiting", RecordedState::kWaiting},
    {"not started", RecordedState::kNotStarted},
    {"running", RecordedState::kRunning},
    {"paused", RecordedState::kPaused},
    {"stopped", RecordedState::kStopped},
    {"silent", RecordedState::kSilent},
    {"dead", std::nullopt},
};

const StateName& NameOf(ServiceState state) {
  return kStates[static_cast<std::size_t>(state)];
}

std::int64_t MsOf(louddesk::WallTime time) {
  return std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

// Times before 1970 count as 1970.
std::int64_t SecondOf(louddesk::WallTime time) {
  return std::max<std::int64_t>(MsOf(time), 0) / kMsPerSecond;
}

std::size_t TenthOf(louddesk::WallTime time) {
  return static_cast<std::size_t>(std::max<std::int64_t>(MsOf(time), 0) % kMsPerSecond /
                                  kMsPerReading);
}

StationCluster PlaceOf(const Cluster& cluster) {
  return {cluster.Place().meterSet, cluster.Place().cluster};
}

}  // namespace

std::array<std::int16_t, kReadingsPerSecond> PlaceReadings(
    const std::vector<TimedReading>& readings) {
  std::array<std::int16_t, kReadingsPerSecond> placed{};
  placed.fill(louddesk::kMissedReading);
  std::size_t next = 0;  // the first free tenth
  std::size_t left = std::min(readings.size(), kReadingsPerSecond);
  for (std::size_t i = 0; left > 0; ++i, --left) {
    next = std::min(std::max(next, readings[i].tenth), kReadingsPerSecond - left);
    placed[next++] = readings[i].code;
  }
  return placed;
}

SecondCollector::Collected& SecondCollector::Of(const Cluster& cluster) {
  const auto [entry, isNew] = mClusters.try_emplace(PlaceOf(cluster));
  if (isNew)
    entry->second.restarts = cluster.Counts().restarts;
  return entry->second;
}

SecondCollector::OpenSecond& SecondCollector::Open(Collected& collected, std::int64_t time) {
  OpenSecond& open = collected.seconds[time];
  open.second.time = time;
  return open;
}

void SecondCollector::TakeData(const Cluster& cluster, const louddesk::LoudnessMessage& message,
                               Moment now) {
  OpenSecond& open = Open(Of(cluster), SecondOf(now.wall));
  if (open.readings.size() < kMostReadings)
    open.readings.push_back({message.data.Momentary, TenthOf(now.wall)});
  open.second.shortTerm = message.data.ShortTerm;
  open.second.truePeak = std::max(open.second.truePeak, message.data.TruePeak);
}

void SecondCollector::TakeAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer,
                                 Moment now) {
  if (answer.kind == louddesk::StateKind::kConfiguration) {
    std::string& known = Of(cluster).configuration;
    if (std::exchange(known, answer.configuration) != answer.configuration)
      AddEvent(cluster, louddesk::kConfigurationEvent, answer.configuration, now);
  } else if (!answer.isRepublished) {
    AddEvent(cluster, louddesk::kAcknowledgementEvent, louddesk::AnswerText(answer), now);
  }
}

void SecondCollector::AddEvent(const char* kind, const std::string& text, Moment now) {
  Keep({MsOf(now.wall), std::nullopt, kind, text});
}

void SecondCollector::AddEvent(const Cluster& cluster, const char* kind, const std::string& text,
                               Moment now) {
  Keep({MsOf(now.wall), PlaceOf(cluster), kind, text});
}

void SecondCollector::Keep(RecordedEvent event) {
  mEventBytes += SizeOf(event);
  if (mEventBytes <= kMostEventBytes) {
    mBatch.events.push_back(std::move(event));
    return;
  }
  ++mLostEvents;
  if (!std::exchange(mIsLeavingOut, true))
    mBatch.events.push_back(
        {event.time, std::nullopt, louddesk::kGapEvent, "more events came than are kept"});
}

void SecondCollector::Advance(const std::vector<const Cluster*>& clusters, Moment now) {
  NoteClock(now);
  for (const Cluster* cluster : clusters)
    NoteChanges(*cluster, now);
  const std::int64_t time = SecondOf(now.wall);
  if (mTime == time)
    return;
  const std::int64_t before = std::exchange(mTime, time).value_or(time);
  if (before != time)
    for (const Cluster* cluster : clusters)
      NoteState(*cluster, before, now);
  EndAllBut(before, time);
  Forget(clusters);
}

// Compares the wall clock with the steady clock, which is never set.
void SecondCollector::NoteClock(Moment now) {
  const Moment last = std::exchange(mLast, now).value_or(now);
  const auto step = std::chrono::duration_cast<std::chrono::milliseconds>(
      (now.wall - last.wall) - (now.steady - last.steady));
  if (std::chrono::abs(step) < kClockStep)
    return;
  AddEvent(louddesk::kClockEvent,
           fmt::format("set {} by {:.1f} s", step.count() > 0 ? "forward" : "back",
                       std::abs(static_cast<double>(step.count())) / kMsPerSecond),
           now);
}

// Forgets a cluster that the board has forgotten, once its last second has ended.
void SecondCollector::Forget(const std::vector<const Cluster*>& clusters) {
  for (auto entry = mClusters.begin(); entry != mClusters.end();) {
    const bool isThere =
        std::any_of(clusters.begin(), clusters.end(),
                    [&entry](const Cluster* cluster) { return PlaceOf(*cluster) == entry->first; });
    entry = isThere || !entry->second.seconds.empty() ? std::next(entry) : mClusters.erase(entry);
  }
}

void SecondCollector::NoteChanges(const Cluster& cluster, Moment now) {
  Collected& collected = Of(cluster);
  const std::uint64_t restarts = cluster.Counts().restarts;
  if (std::exchange(collected.restarts, restarts) != restarts)
    AddEvent(cluster, louddesk::kRestartEvent, "the service was started again", now);
  const ServiceState state = cluster.Model().State(now.steady);
  if (std::exchange(collected.state, state) != state)
    AddEvent(cluster, louddesk::kStateEvent, NameOf(state).name, now);
  const auto isValid = cluster.Model().IsSourceValid();
  if (isValid && std::exchange(collected.isSourceValid, isValid) != isValid)
    AddEvent(cluster, louddesk::kProgrammeEvent, *isValid ? "has meters" : "has no meters", now);
}

// A second at whose end the service can be reached is recorded even without messages.
void SecondCollector::NoteState(const Cluster& cluster, std::int64_t time, Moment now) {
  const auto state = NameOf(cluster.Model().State(now.steady)).state;
  if (!state)
    return;
  OpenSecond& open = Open(Of(cluster), time);
  open.second.state = *state;
  open.second.isSourceValid = cluster.Model().IsSourceValid().value_or(false);
  open.hasState = true;
}

void SecondCollector::EndAllBut(std::int64_t first, std::int64_t second) {
  for (auto& [place, collected] : mClusters)
    for (auto open = collected.seconds.begin(); open != collected.seconds.end();) {
      const auto next = std::next(open);
      if (open->first != first && open->first != second)
        End(place, collected, open);
      open = next;
    }
}

// Messages near the border of two seconds may come early or late. So surplus readings move to the
// next second if it has too few, and missing ones come from the next second if it has too many.
void SecondCollector::End(const StationCluster& place, Collected& collected,
                          std::map<std::int64_t, OpenSecond>::iterator open) {
  auto& readings = open->second.readings;
  const auto next = std::next(open);
  if (next != collected.seconds.end() && next->first == open->first + 1) {
    auto& later = next->second.readings;
    while (readings.size() < kReadingsPerSecond && later.size() > kReadingsPerSecond) {
      readings.push_back({later.front().code, kReadingsPerSecond - 1});
      later.erase(later.begin());
    }
    while (readings.size() > kReadingsPerSecond && later.size() < kReadingsPerSecond) {
      later.insert(later.begin(), {readings.back().code, 0});
      readings.pop_back();
    }
  }
  RecordedSecond& second = open->second.second;
  second.momentary = PlaceReadings(readings);
  if (open->second.hasState || !readings.empty()) {
    if (!open->second.hasState)
      second.state = RecordedState::kRunning;
    mBatch.seconds[place].push_back(second);
  }
  collected.seconds.erase(open);
}

void SecondCollector::Finish() {
  EndAllBut(-1, -1);
}

louddesk::StationBatch SecondCollector::TakeBatch() {
  mEventBytes = 0;
  mIsLeavingOut = false;
  return std::exchange(mBatch, {});
}

}  // namespace loudgate
