// The gate's handling of published messages.
//
// Input: records. A record begins with a letter:
//
//     d  22 bytes: the codes of a loudness-data message
//     m  texts, each with a zero after it, up to an empty one: the frames of a data publisher's
//     message s  topic, zero, document, zero: a state w  a number of two bytes: that many
//     milliseconds pass
//
// Any other letter is skipped.

#include <nlohmann/json.hpp>
#include <string>

#include "ClusterDocuments.h"
#include "FuzzTarget.h"
#include "GateMetrics.h"
#include "PubHandler.h"

namespace {

using loudgate::Moment;

constexpr std::size_t kNumberSize = 2;
constexpr std::size_t kMostNotes = 50;

std::string TextOf(const fuzz::Text& text) {
  return {text.c_str(), text.size()};
}

louddesk::Frames TakeData(fuzz::Input& input) {
  louddesk::Frames frames = {kLoudnessDataTopic};
  while (frames.size() < kLuDataFrameCount)
    frames.push_back(TextOf(input.TakeText(kNumberSize)));
  return frames;
}

louddesk::Frames TakeRandomFrames(fuzz::Input& input) {
  louddesk::Frames frames;
  for (std::string frame = TextOf(input.TakeTerminatedText()); !frame.empty();
       frame = TextOf(input.TakeTerminatedText()))
    frames.push_back(frame);
  return frames;
}

void Take(loudgate::Cluster& cluster, louddesk::Frames frames, Moment now) {
  const auto before = cluster.Counts();
  const auto message = louddesk::DecodeLoudnessMessage({std::move(frames), now.steady});
  const bool isTaken = cluster.TakeData(message, now);
  const auto& after = cluster.Counts();
  FUZZ_PROPERTY(after.messages - before.messages == (isTaken ? 1 : 0), "what is taken is counted");
  FUZZ_PROPERTY(after.malformed - before.malformed == (isTaken ? 0 : 1),
                "what is not taken is counted as malformed");
}

void TakeState(loudgate::Cluster& cluster, fuzz::Input& input, Moment now) {
  const std::string topic = TextOf(input.TakeTerminatedText());
  const std::string json = TextOf(input.TakeTerminatedText());
  const auto message = louddesk::DecodeStateMessage({{topic, json}, now.steady});
  if (const auto answer = ReadAnswer(message))
    cluster.TakeAnswer(*answer, now);
}

void CheckDocuments(const loudgate::Cluster& cluster, Moment now) {
  using Json = nlohmann::json;
  const Json one = Json::parse(ClusterDetailsDocument(cluster, now), nullptr, false);
  FUZZ_PROPERTY(one.is_object() && one.contains("State"), "a cluster is an object");
  FUZZ_PROPERTY(one.at("History").at("ShortTerm").size() <= louddesk::kMaxHistory,
                "the history is bounded");
  FUZZ_PROPERTY(one.at("Notes").size() <= kMostNotes, "so are the acknowledgements");
  FUZZ_PROPERTY(Json::accept(loudgate::ClustersDocument({&cluster, &cluster}, now)),
                "clusters are JSON");
  const std::string metrics = loudgate::MetricsText({&cluster}, {}, now);
  FUZZ_PROPERTY(metrics.find("Nan") == std::string::npos, "no metric is not a number");
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  Moment now = {std::chrono::steady_clock::time_point{} + std::chrono::hours(1),
                louddesk::WallTime{} + std::chrono::hours(1)};
  loudgate::Cluster cluster({1, 3}, now);
  cluster.TakeConnection(true, 1);
  while (!input.IsEmpty()) {
    switch (input.TakeByte()) {
      case 'd':
        Take(cluster, TakeData(input), now);
        break;
      case 'm':
        Take(cluster, TakeRandomFrames(input), now);
        break;
      case 's':
        TakeState(cluster, input, now);
        break;
      case 'w': {
        const std::chrono::milliseconds time(input.TakeNumber(kNumberSize));
        now.steady += time;
        now.wall += time;
        cluster.Advance(now);
        break;
      }
      default:
        break;
    }
  }
  CheckDocuments(cluster, now);
}
