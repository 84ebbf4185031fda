// Handles markers, queues and heartbeats.

#include "SteppedService.h"

#include <unistd.h>

#include "Endpoints.h"
#include "LoudReport.h"

namespace louddesk {
namespace {

constexpr Patience kAnswerPatience{10000};
constexpr Patience kAttention{5};

// A service from which nothing comes in this time hangs.
constexpr std::chrono::seconds kHeartbeatPatience{15};

constexpr int kBeatsOfSilence = 2;

// Number of different sizes of markers among raw blocks. The size distinguishes a marker from
// earlier ones.
constexpr unsigned kMarkerSizes = 1000;

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

bool IsRepublished(const std::string& topic) {
  return BeginsWith(topic, kAcknowledgementRepubTopicPrefix) ||
         BeginsWith(topic, kCurrentConfRepubTopicPrefix);
}

}  // namespace

Peer PeerOf(Sender sender) {
  switch (sender) {
    case Sender::kProcessMonitor:
      return Peer::kProcessMonitor;
    case Sender::kHardwareManager:
      return Peer::kHardwareManager;
    case Sender::kOpticalAppServer:
      return Peer::kOpticalAppServer;
    case Sender::kSignalProcessor:
      return Peer::kSignalProcessor;
    default:
      return Peer::kMainAppServer;
  }
}

bool SteppedService::SendAll(Peer peer, const std::vector<Frames>& messages) {
  for (const Frames& frames : messages)
    mUnit.SendFrames(peer, frames);
  mLastPeer = peer;
  return PassMarker(peer);
}

bool SteppedService::ReceivePublished() {
  const bool isAnswered = PassMarker(mLastPeer);
  Collect();
  return isAnswered;
}

bool SteppedService::PassMarker(Peer peer) {
  ++mMarkers;
  if (peer == Peer::kSignalProcessor) {
    const std::size_t size = kLongestRawTopic + 1 + mMarkers % kMarkerSizes;
    std::string topic = mUnit.RawTopic();
    topic.resize(size, '-');
    mUnit.SendFrames(peer, {topic});
    return AwaitWarning("topic of " + std::to_string(size) + " bytes");
  }
  // Differs from the markers of other replays, which the recording may contain.
  const std::string topic = std::string(kAppLoudnessCommandTopic) + "-replay-" +
                            std::to_string(getpid()) + "-" + std::to_string(mMarkers);
  mUnit.SendFrames(peer, {topic});
  return AwaitWarning("Topic " + topic + " not handled");
}

bool SteppedService::AwaitWarning(const std::string& text) {
  const auto end = std::chrono::steady_clock::now() + kAnswerPatience;
  while (const auto line = mUnit.NextLogLine(Remaining(end)))
    if (line->message.find(text) != std::string::npos)
      return true;
  return false;
}

bool SteppedService::AwaitPublished() {
  const std::size_t statesBefore = mStates.size();
  const unsigned long dataBefore = mDataCount;
  const auto hasNews = [&] {
    Collect();
    return mStates.size() > statesBefore || mDataCount > dataBefore;
  };
  mUnit.DropHeartbeats();
  const auto end = std::chrono::steady_clock::now() + kHeartbeatPatience;
  for (int beats = 0; beats < kBeatsOfSilence && std::chrono::steady_clock::now() < end;) {
    if (hasNews())
      return true;
    if (mUnit.NextHeartbeat(kAttention))
      ++beats;
    if (zsys_interrupted != 0)
      return false;
  }
  return ReceivePublished() && hasNews();
}

void SteppedService::Collect() {
  while (auto message = mUnit.NextLoudnessData(Patience{0})) {
    ++mDataCount;
    if (message->frames != mLastData)
      mData.push_back(message->frames);
    mLastData = std::move(message->frames);
  }
  while (auto message = mUnit.NextState(Patience{0}))
    if (!IsRepublished(message->topic))
      mStates.push_back(std::move(message->frames));
}

}  // namespace louddesk
