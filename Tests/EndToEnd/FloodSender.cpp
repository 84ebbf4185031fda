// A peer that floods the service: binds an endpoint and publishes one message repeatedly, in a
// separate process at the lowest priority. The arguments are the endpoint, the kind of message, and
// the messages per second (0: as fast as the socket accepts them). The kind "Sink" receives and
// drops messages instead. Each second it writes the number of messages sent to standard output.
// Only a signal ends it.

#include <czmq.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "BlockReading.h"
#include "Endpoints.h"
#include "JsonAccess.h"
#include "Sockets.h"
#include "UnitDocuments.h"
#include "UnitStandIn.h"

namespace {

using Clock = std::chrono::steady_clock;
using louddesk::Frames;

constexpr int kNiceness = 10;
constexpr std::chrono::milliseconds kPace{1};

constexpr unsigned kMeterSet = 1;

const std::string kPresetTopic = louddesk::TopicFor(kPresetTopicPrefix, kMeterSet);
const std::string kCommandTopic = louddesk::TopicFor(kCommandTopicPrefix, kMeterSet);
const std::string kConfigurationTopic = louddesk::TopicFor(kConfigurationTopicPrefix, kMeterSet);

const std::vector<std::string> kSurround = {"Left", "Right", "Center", "LeftSurround",
                                            "RightSurround"};

Frames Block() {
  louddesk::BlockReading block;
  block.powers.fill(1000000000000000);
  block.peaks.fill(1000);
  return louddesk::RawMessage(kMeterSet, block);
}

Frames CommandOfAnotherCluster() {
  louddesk::LoudnessCommand command;
  command.command = "Reset";
  command.clusterId = 2;
  return {kCommandTopic, command.Json()};
}

Frames Preset() {
  return {kPresetTopic, louddesk::PresetForSpeakers(kSurround, 1).Json()};
}

// A valid preset with `members` before its first member.
std::string PresetWith(const std::string& members) {
  return "{" + members + "," + louddesk::PresetForSpeakers(kSurround, 1).Json().substr(1);
}

std::string Repeated(const std::string& text, std::size_t count) {
  std::string result = text;
  for (std::size_t i = 1; i < count; ++i)
    result += "," + text;
  return result;
}

// A preset with the maximum number of members and of the maximum size.
Frames LargestPreset() {
  constexpr std::size_t kRest = 1000;  // values and bytes of the valid preset, rounded up
  constexpr std::size_t kMembers = (json::kMaxValues - kRest) / 2;
  constexpr std::size_t kShell = 5;  // quotes, colon, value and comma
  const std::size_t room = (json::kMaxDocumentSize - 4 * kRest) / kMembers - kShell;
  return {kPresetTopic, PresetWith(Repeated("\"" + std::string(room, 'x') + "\":1", kMembers))};
}

// A preset with about as many routed channels as a document can hold, many more than are kept.
Frames RoutingPreset() {
  constexpr std::size_t kChannels = 12000;
  const std::string channels = Repeated(R"({"OutputTrimDb":0,"MeterSources":[]})", kChannels);
  return {kPresetTopic, PresetWith(R"("AudioOutputRouting":{"0":{"BNC":{"SDI":{"Pairs":[{"Pair":1,)"
                                   R"("OutputChannels":[)" +
                                   channels + "]}]}}}}")};
}

struct Kind {
  const char* name;
  std::function<Frames()> make;
};

const std::vector<Kind>& Kinds() {
  static const std::vector<Kind> kinds = {
      {"Blocks", Block},
      {"CommandsOfAnotherCluster", CommandOfAnotherCluster},
      {"UnknownTopics",
       [] {
         return Frames{kAppLoudnessCommandTopic, "{}"};
       }},
      {"BrokenConfigurations",
       [] {
         return Frames{kConfigurationTopic, "{\"Mode\":"};
       }},
      {"Presets", Preset},
      {"LargestPresets", LargestPreset},
      {"RoutingPresets", RoutingPreset},
  };
  return kinds;
}

[[noreturn]] void GiveUp(const std::string& what) {
  std::fprintf(stderr, "FloodSender: %s: %s.\n", what.c_str(), zmq_strerror(zmq_errno()));
  std::exit(1);
}

zsock_t* Bind(int type, const char* endpoint) {
  zsock_t* socket = zsock_new(type);
  if (zsock_bind(socket, "%s", endpoint) == -1)
    GiveUp(endpoint);
  return socket;
}

// Calls the library directly, without allocations and copies for each message.
void Send(void* socket, const Frames& frames) {
  for (std::size_t i = 0; i < frames.size(); ++i)
    zmq_send(socket, frames[i].data(), frames[i].size(),
             ZMQ_DONTWAIT | (i + 1 < frames.size() ? ZMQ_SNDMORE : 0));
}

[[noreturn]] void ReadForever(zsock_t* socket) {
  for (zmsg_t* message = zmsg_recv(socket);; message = zmsg_recv(socket))
    zmsg_destroy(&message);
}

[[noreturn]] void Flood(zsock_t* socket, const Frames& frames, unsigned long rate) {
  zmsg_t* subscription = zmsg_recv(socket);
  zmsg_destroy(&subscription);
  const Clock::time_point start = Clock::now();
  unsigned long sent = 0;
  for (long seconds = 0;;) {
    const Clock::duration passed = Clock::now() - start;
    const auto due = static_cast<unsigned long>(static_cast<double>(rate) *
                                                std::chrono::duration<double>(passed).count());
    if (rate != 0 && sent >= due)
      zclock_sleep(static_cast<int>(kPace.count()));
    else
      Send(zsock_resolve(socket), frames), ++sent;
    if (passed / std::chrono::seconds(1) > seconds) {
      seconds = passed / std::chrono::seconds(1);
      std::printf("%lu messages in %ld s\n", sent, seconds);
      std::fflush(stdout);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  zsys_handler_set(nullptr);
  setpriority(PRIO_PROCESS, 0, kNiceness);
  if (argc != 4)
    GiveUp("endpoint, kind and rate are missing");
  if (std::strcmp(argv[2], "Sink") == 0)
    ReadForever(Bind(ZMQ_PULL, argv[1]));
  for (const Kind& kind : Kinds())
    if (std::strcmp(argv[2], kind.name) == 0)
      Flood(Bind(ZMQ_XPUB, argv[1]), kind.make(), std::strtoul(argv[3], nullptr, 10));
  GiveUp(std::string("no kind ") + argv[2]);
}
