// Peers of the service in a separate process, which a test can stop and kill. Each argument is
// "PLACE=ENDPOINT". Publishers publish continuously; every message that arrives is written to
// standard output as "PLACE TEXT". Only a signal ends the process.

#include <czmq.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "BlockReading.h"
#include "Endpoints.h"
#include "SecondComputation.h"
#include "Sockets.h"
#include "UnitStandIn.h"

namespace {

using Clock = std::chrono::steady_clock;
using louddesk::Frames;

constexpr std::chrono::milliseconds kPublishPeriod{50};

constexpr char kSignalProcessor[] = "SignalProcessor";
constexpr unsigned kMeterSet = 1;

struct PlaceKind {
  const char* place;
  int type;        // type of the socket; ZMQ_SUB connects, the others bind
  Frames message;  // repeated by a publisher; the signal processor sends blocks instead
};

const std::vector<PlaceKind>& Kinds() {
  static const std::vector<PlaceKind> kinds = {
      {"HeartbeatReceiver", ZMQ_PULL, {}},
      {"ProcessMonitor", ZMQ_PUB, {kSystemStatusTopic, R"({"SystemStatus":"Okay"})"}},
      {"HardwareManager", ZMQ_PUB, {std::string(kHwmStatusTopic) + "?", "{}"}},
      {"MainAppServer", ZMQ_PUB, {kAppLoudnessCommandTopic, "{}"}},
      {"OpticalAppServer", ZMQ_PUB, {std::string(kEnableReportingTopic) + "?", "{}"}},
      {kSignalProcessor, ZMQ_PUB, {}},
      {"LogSink", ZMQ_PULL, {}},
      {"DataClient", ZMQ_SUB, {}},
  };
  return kinds;
}

// Blocks of a level that changes from one to the next, so that the figures keep changing.
Frames NextBlock() {
  static unsigned block = 0;
  const double level = -20.0 - block++ % 8;
  louddesk::BlockReading reading;
  reading.powers.fill(PowerOf(level));
  reading.peaks.fill(1000);
  return louddesk::RawMessage(kMeterSet, reading);
}

[[noreturn]] void GiveUp(const std::string& what) {
  std::fprintf(stderr, "PeerProcess: %s: %s.\n", what.c_str(), zmq_strerror(zmq_errno()));
  std::exit(1);
}

struct Place {
  const PlaceKind* kind;
  zsock_t* socket;  // never destroyed
};

Place Open(const std::string& argument) {
  const std::size_t equals = argument.find('=');
  const std::string name = argument.substr(0, equals);
  const auto kind = std::find_if(Kinds().begin(), Kinds().end(),
                                 [&name](const PlaceKind& entry) { return name == entry.place; });
  if (equals == std::string::npos || kind == Kinds().end())
    GiveUp("no place " + argument);
  const std::string endpoint = argument.substr(equals + 1);
  zsock_t* socket = zsock_new(kind->type);
  if (kind->type == ZMQ_SUB)
    zsock_set_subscribe(socket, "");
  const int rc = kind->type == ZMQ_SUB ? zsock_connect(socket, "%s", endpoint.c_str())
                                       : zsock_bind(socket, "%s", endpoint.c_str());
  if (rc == -1)
    GiveUp(endpoint);
  return {&*kind, socket};
}

void Publish(const std::vector<Place>& places) {
  for (const Place& place : places)
    if (place.kind->type == ZMQ_PUB)
      louddesk::SendFrames(place.socket,
                           place.kind->message.empty() ? NextBlock() : place.kind->message);
}

void TellArrivals(const Place& place) {
  for (Frames frames = louddesk::ReceiveFrames(place.socket); !frames.empty();
       frames = louddesk::ReceiveFrames(place.socket))
    std::printf("%s %s\n", place.kind->place, frames.front().c_str());
  std::fflush(stdout);
}

void WaitForArrivals(const std::vector<Place>& places, Clock::time_point end) {
  std::vector<zmq_pollitem_t> items;
  for (const Place& place : places)
    if (place.kind->type != ZMQ_PUB)
      items.push_back({zsock_resolve(place.socket), 0, ZMQ_POLLIN, 0});
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
  zmq_poll(items.data(), static_cast<int>(items.size()), std::max<long>(left, 0));
}

}  // namespace

int main(int argc, char** argv) {
  zsys_handler_set(nullptr);
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  std::vector<Place> places;
  for (const std::string& argument : arguments)
    places.push_back(Open(argument));
  for (Clock::time_point due = Clock::now();; due = std::max(due, Clock::now()) + kPublishPeriod) {
    Publish(places);
    while (Clock::now() < due + kPublishPeriod) {
      WaitForArrivals(places, due + kPublishPeriod);
      for (const Place& place : places)
        if (place.kind->type != ZMQ_PUB)
          TellArrivals(place);
    }
  }
}
