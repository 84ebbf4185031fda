// A command sender: sends one command to one cluster and waits until it has been carried out.
//
//   CommandSender start|stop|pause|play|reset [CLUSTER]        the default is cluster 1
//
// It takes the place of the main board's application server, whose port must be free. Only services
// of meter set 1 accept commands. The exit status is 0 if the command was acknowledged; otherwise
// it is 1, and a line names the step that failed.

#include <czmq.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr char kCommandTopic[] = "AppIOQVLoudnessCmd-1";
constexpr char kAcknowledgementTopic[] = "IOQVHwmLoudnessCmd_1";
constexpr char kRepublishedTopic[] = "IOQVHwmLoudnessCmd_Repub_1";

// The service republishes its last command every fifth second.
constexpr int kReadyMs = 10000;

// An acknowledgement comes within a few ticks of 100 ms.
constexpr int kAnswerMs = 1000;
constexpr int kAttempts = 3;

// A command, and the acknowledgements that end the wait for it: a pause while stopped is
// acknowledged as a stop, a play after a stop as a start.
struct Command {
  const char* word;
  const char* name;
  std::vector<std::string> endings;
};
const Command kCommands[] = {
    {"start", "Start", {"Start"}},         {"stop", "Stop", {"Stop"}},
    {"pause", "Pause", {"Pause", "Stop"}}, {"play", "Play", {"Play", "Start"}},
    {"reset", "Reset", {"Reset"}},
};

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Acknowledgement {
  std::string command;
  std::uint32_t stamp;  // time stamp of the command that the service read last
};

// Reads an acknowledgement. Nothing if the text is not an acknowledgement.
std::optional<Acknowledgement> Read(const std::string& json) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
  if (document.HasParseError() || !document.IsObject())
    return std::nullopt;
  const auto command = document.FindMember("Command");
  const auto stamp = document.FindMember("CmdTS");
  if (command == document.MemberEnd() || !command->value.IsString() ||
      stamp == document.MemberEnd() || !stamp->value.IsUint())
    return std::nullopt;
  return Acknowledgement{command->value.GetString(), stamp->value.GetUint()};
}

std::string BoardAddress() {
  const char* address = std::getenv("LOUDCALC_MAIN_BOARD_ADDRESS");
  return address != nullptr && *address != '\0' ? address : "169.254.1.10";
}

std::string TextOf(zframe_t* frame) {
  if (frame == nullptr)
    return "";
  return {reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame)};
}

class CommandSender {
 public:
  explicit CommandSender(unsigned cluster)
      : mCluster(cluster),
        mCommands(zsock_new(ZMQ_XPUB)),
        mStates(zsock_new(ZMQ_SUB)),
        mPoller(zpoller_new(mCommands, mStates, nullptr)) {
    // The topics of acknowledgements and of republications both begin with this prefix.
    zsock_set_subscribe(mStates, "IOQVHwmLoudnessCmd_");
    zsock_connect(mStates, "ipc:///run/shm/mq/ProbeLc1LoudnessStatePub-m1c%u.ipc", mCluster);
  }

  ~CommandSender() {
    zpoller_destroy(&mPoller);
    zsock_destroy(&mStates);
    zsock_destroy(&mCommands);
  }

  CommandSender(const CommandSender&) = delete;
  CommandSender& operator=(const CommandSender&) = delete;

  // Waits until both directions work: the subscription shows that the service is connected, a
  // republication that its messages arrive here. Otherwise the command or its acknowledgement would
  // be lost. Throws Failure.
  void Connect() {
    const std::string address = BoardAddress();
    if (zsock_bind(mCommands, "tcp://%s:7000", address.c_str()) < 0)
      throw Failure("port 7000 of " + address + " is in use or not of this machine");
    const std::int64_t end = zclock_mono() + kReadyMs;
    while ((!mIsSubscribed || !mIsHeard) && !HasEnded(end))
      TakeOne(end);
    if (!mIsSubscribed)
      throw Failure("no service of meter set 1 has subscribed");
    if (!mIsHeard)
      throw Failure("nothing comes from the service of cluster " + std::to_string(mCluster));
  }

  // Sends the command up to `kAttempts` times, until it is acknowledged; otherwise throws Failure.
  // It repeats the command because a further service may have subscribed later. An action that is
  // already pending is performed only once.
  void Send(const Command& command) {
    const auto stamp = static_cast<std::uint32_t>(std::time(nullptr));
    const std::string json = "{\"Command\":\"" + std::string(command.name) +
                             "\",\"ClusterId\":" + std::to_string(mCluster) +
                             ",\"CmdTS\":" + std::to_string(stamp) + "}";
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      zstr_sendx(mCommands, kCommandTopic, json.c_str(), nullptr);
      if (IsAcknowledged(command, stamp))
        return;
    }
    throw Failure(
        "not acknowledged: reporting is off or there is no programme, and it is carried out "
        "when that has changed; or it was a stop, in the mode Continuous");
  }

 private:
  static bool HasEnded(std::int64_t end) {
    if (zsys_interrupted != 0)
      throw Failure("interrupted");
    return zclock_mono() >= end;
  }

  bool IsAcknowledged(const Command& command, std::uint32_t stamp) {
    const std::int64_t end = zclock_mono() + kAnswerMs;
    while (!HasEnded(end)) {
      const auto answer = TakeOne(end);
      if (!answer || answer->stamp != stamp)  // another client's
        continue;
      std::printf("%s acknowledged\n", answer->command.c_str());
      if (std::count(command.endings.begin(), command.endings.end(), answer->command) > 0)
        return true;
    }
    return false;
  }

  // Receives the next message, if one comes before `end`. Returns it if it is an acknowledgement.
  std::optional<Acknowledgement> TakeOne(std::int64_t end) {
    const auto left = static_cast<int>(std::max<std::int64_t>(end - zclock_mono(), 0));
    auto* socket = static_cast<zsock_t*>(zpoller_wait(mPoller, left));
    zmsg_t* message = socket != nullptr ? zmsg_recv(socket) : nullptr;
    if (message == nullptr)
      return std::nullopt;
    const std::string first = TextOf(zmsg_first(message));
    const std::string second = TextOf(zmsg_next(message));
    zmsg_destroy(&message);
    if (socket == mCommands) {
      mIsSubscribed = mIsSubscribed || first == "\x01" + std::string(kCommandTopic);
      return std::nullopt;
    }
    mIsHeard = mIsHeard || first == kRepublishedTopic;
    return first == kAcknowledgementTopic ? Read(second) : std::nullopt;
  }

  unsigned mCluster;
  zsock_t* mCommands;
  zsock_t* mStates;
  zpoller_t* mPoller;
  bool mIsSubscribed = false;
  bool mIsHeard = false;
};

int Usage() {
  std::fprintf(stderr,
               "usage: CommandSender start|stop|pause|play|reset [CLUSTER]; clusters are 1 to 8\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string word = argc > 1 ? argv[1] : "";
  const std::string cluster = argc > 2 ? argv[2] : "1";
  const auto* command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                     [&](const Command& one) { return one.word == word; });
  const bool isCluster = cluster.size() == 1 && cluster[0] >= '1' && cluster[0] <= '8';
  if (argc > 3 || command == std::end(kCommands) || !isCluster)
    return Usage();
  try {
    CommandSender sender(static_cast<unsigned>(cluster[0] - '0'));
    sender.Connect();
    sender.Send(*command);
  } catch (const Failure& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
  return 0;
}
