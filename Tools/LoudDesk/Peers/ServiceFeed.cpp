// Connects clients to the service's publishers.

#include "ServiceFeed.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <utility>

#include "PubHandler.h"

namespace louddesk {
namespace {

std::string PublisherFile(const char* prefix, unsigned meterSet, unsigned cluster) {
  MqFileName_t file = {};
  FormatPublisherFile(file, prefix, meterSet, cluster);
  return file;
}

// The place that a loudness-data publisher's file name encodes; nothing for other files.
std::optional<ServicePlace> PlaceOf(const std::string& file) {
  if (file == kSharedPublisherFile)
    return ServicePlace{0, 0};
  ServicePlace place{};
  const std::string format = std::string(kDataPublisherFilePrefix) + "m%uc%u";
  if (std::sscanf(file.c_str(), format.c_str(), &place.meterSet, &place.cluster) != 2 ||
      file != DataPublisherFile(place.meterSet, place.cluster))
    return std::nullopt;
  return place;
}

bool IsBefore(const ServicePlace& left, const ServicePlace& right) {
  return std::pair(left.meterSet, left.cluster) < std::pair(right.meterSet, right.cluster);
}

}  // namespace

std::vector<ServicePlace> FindServicePlaces(const std::string& directory) {
  std::vector<ServicePlace> places;
  std::error_code error;  // no directory yet means no publisher
  for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error))
    if (const auto place = PlaceOf(entry->path().filename().string()))
      places.push_back(*place);
  std::sort(places.begin(), places.end(), IsBefore);
  return places;
}

std::string DataPublisherFile(unsigned meterSet, unsigned cluster) {
  return PublisherFile(kDataPublisherFilePrefix, meterSet, cluster);
}

std::string StatePublisherFile(unsigned meterSet, unsigned cluster) {
  return PublisherFile(kStatePublisherFilePrefix, meterSet, cluster);
}

ServiceFeed::ServiceFeed(unsigned meterSet, unsigned cluster, const ClientSettings& settings) {
  const std::string dataFile = DataPublisherFile(meterSet, cluster);
  const std::string stateFile = StatePublisherFile(meterSet, cluster);
  mClients.emplace_back(dataFile, settings);
  if (stateFile != dataFile)
    mClients.emplace_back(stateFile, settings);
}

std::vector<zsock_t*> ServiceFeed::Sockets() const {
  std::vector<zsock_t*> sockets;
  for (const DataClient& client : mClients)
    for (zsock_t* socket : client.Sockets())
      sockets.push_back(socket);
  return sockets;
}

void ServiceFeed::ReadPending() {
  for (DataClient& client : mClients) {
    client.ReadPending();
    for (auto& messages = client.Messages(); !messages.empty(); messages.pop_front()) {
      const Arrival& arrival = messages.front();
      if (!arrival.frames.empty() && arrival.frames.front() == kLoudnessDataTopic)
        mData.push_back(DecodeLoudnessMessage(arrival));
      else
        mStates.push_back(DecodeStateMessage(arrival));
    }
  }
}

}  // namespace louddesk
