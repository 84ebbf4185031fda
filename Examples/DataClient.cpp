// A data client: prints the loudness that one cluster publishes, one line per message, until
// Ctrl-C.
//
//   DataClient [METER-SET [CLUSTER]]        the defaults are 1 and 1
//
//   M  -23.0  S  -23.1  I  -23.0 LKFS  TP  -6.02 dBTP
//
// Figures go to standard output, with notes at the end of the line, for example when the figures
// are not live. When messages stop, and when they resume, a line goes to standard error.

#include <czmq.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr char kTopic[] = "LoudnessData";

// The codes of a message, in the order of its frames after the topic.
enum Figure {
  kMaxMomentary,
  kMomentary,
  kShortTerm,
  kIntegrated,
  kRange,
  kProgram,
  kMaxPeak,
  kPeak,
  kValidSource,
  kCommand,
  kCluster,
  kFigures
};
using Figures = std::array<std::int16_t, kFigures>;

constexpr std::int16_t kNoLoudness = -990;
constexpr std::int16_t kNoPeak = -9900;
constexpr std::int16_t kSilentPeak = -9031;

constexpr std::int16_t kPause = 2;

// A message comes every 100 ms while the measurement runs and reporting is on.
constexpr int kGapMs = 1000;
constexpr int kFrozenMessages = 30;  // 3 s

std::string EndpointOf(unsigned meterSet, unsigned cluster) {
  return "ipc:///run/shm/mq/ProbeLc1LoudnessDataPub-m" + std::to_string(meterSet) + "c" +
         std::to_string(cluster) + ".ipc";
}

// False if the message is not a loudness-data message. A subscription matches prefixes of topics,
// so other messages can arrive, and a client should survive malformed ones.
bool Read(zmsg_t* message, Figures& figures) {
  zframe_t* topic = zmsg_first(message);
  if (zmsg_size(message) != 1 + kFigures || !zframe_streq(topic, kTopic))
    return false;
  for (std::int16_t& figure : figures) {
    zframe_t* frame = zmsg_next(message);
    if (zframe_size(frame) != sizeof figure)
      return false;
    const byte* bytes = zframe_data(frame);
    figure = static_cast<std::int16_t>(bytes[0] | bytes[1] << 8);  // little-endian
  }
  return true;
}

std::string Loudness(std::int16_t code) {
  char text[16];
  std::snprintf(text, sizeof text, "%5.1f", code / 10.0);
  return code == kNoLoudness ? "  ---" : text;
}

std::string Peak(std::int16_t code) {
  char text[16];
  std::snprintf(text, sizeof text, "%6.2f", code / 100.0);
  return code == kNoPeak ? "   ---" : text;
}

// Distinguishes live figures from figures that are only published again.
class Freshness {
 public:
  // A note for the reader of the figures; empty if they are live.
  std::string NoteOn(const Figures& figures) {
    const bool isSame = std::equal(figures.begin(), figures.begin() + kValidSource, mLast.begin());
    mUnchanged = isSame ? mUnchanged + 1 : 1;
    mLast = figures;
    if (figures[kValidSource] == 0)
      return "  no programme";
    if (figures[kCommand] == kPause)
      return "  paused";
    if (figures[kPeak] == kNoPeak)
      return "  no block yet";
    // In silence the figures do not change, even while blocks arrive.
    const bool isSilent = figures[kMomentary] == kNoLoudness && figures[kPeak] == kSilentPeak;
    if (mUnchanged < kFrozenMessages || isSilent)
      return "";
    return "  no change for " + std::to_string(mUnchanged / 10) + " s";
  }

 private:
  Figures mLast{};
  int mUnchanged = 0;  // messages with the same eight figures
};

void Print(const Figures& figures, const std::string& note) {
  std::printf("M %s  S %s  I %s LKFS  TP %s dBTP%s\n", Loudness(figures[kMomentary]).c_str(),
              Loudness(figures[kShortTerm]).c_str(), Loudness(figures[kIntegrated]).c_str(),
              Peak(figures[kPeak]).c_str(), note.c_str());
  std::fflush(stdout);  // a pipe would otherwise delay the line
}

void PrintAll(zsock_t* socket) {
  zpoller_t* poller = zpoller_new(socket, nullptr);
  Freshness freshness;
  bool isGap = false;
  while (zsys_interrupted == 0) {
    // The library reconnects by itself.
    if (zpoller_wait(poller, kGapMs) == nullptr) {
      if (zpoller_expired(poller) && !isGap)
        std::fprintf(stderr,
                     "no data for 1 s: the measurement is stopped, reporting is off, the service "
                     "does not run, or its socket is not for this user\n");
      isGap = isGap || zpoller_expired(poller);
      continue;
    }
    zmsg_t* message = zmsg_recv(socket);
    if (message == nullptr)  // interrupted
      continue;
    Figures figures;
    if (!Read(message, figures)) {
      std::fprintf(stderr, "a message that is not loudness data is left out\n");
    } else {
      if (isGap)
        std::fprintf(stderr, "data again\n");
      isGap = false;
      Print(figures, freshness.NoteOn(figures));
    }
    zmsg_destroy(&message);
  }
  zpoller_destroy(&poller);
}

// The number, or 0 when the text is not a whole number from 1 to `most`.
unsigned Number(const char* text, unsigned long most) {
  char* end = nullptr;
  const unsigned long number = std::strtoul(text, &end, 10);
  const bool isNumber = text[0] >= '0' && text[0] <= '9' && *end == '\0';
  return isNumber && number <= most ? static_cast<unsigned>(number) : 0;
}

}  // namespace

int main(int argc, char** argv) {
  const unsigned meterSet = argc > 1 ? Number(argv[1], 999) : 1;
  const unsigned cluster = argc > 2 ? Number(argv[2], 8) : 1;
  if (argc > 3 || meterSet == 0 || cluster == 0) {
    std::fprintf(stderr, "usage: DataClient [METER-SET [CLUSTER]]; clusters are 1 to 8\n");
    return 2;
  }
  zsock_t* socket = zsock_new_sub(EndpointOf(meterSet, cluster).c_str(), kTopic);
  if (socket == nullptr) {
    std::fprintf(stderr, "no socket: %s\n", std::strerror(errno));
    return 1;
  }
  PrintAll(socket);
  zsock_destroy(&socket);
  return 0;
}
