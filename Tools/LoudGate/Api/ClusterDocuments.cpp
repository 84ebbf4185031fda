// The members of the documents. The figures of a loudness message have the same names as in
// `LoudDesk watch --format json`.

#include "ClusterDocuments.h"

#include <fmt/format.h>

#include <optional>

#include "Bin.h"
#include "DocumentWriter.h"
#include "FiguresText.h"
#include "Utf8Text.h"
#include "WatchRows.h"

namespace loudgate {

using louddesk::DocumentWriter;

namespace {

std::string OrNull(const std::string& text) {
  return text == "-" ? louddesk::kJsonNull : text;
}

std::string SecondsText(const std::optional<std::chrono::milliseconds>& time) {
  return time ? fmt::format("{:.1f}", static_cast<double>(time->count()) / 1000.0)
              : louddesk::kJsonNull;
}

void WriteConfiguration(DocumentWriter& object, const Cluster& cluster, Moment now) {
  const louddesk::WatchModel& model = cluster.Model();
  const louddesk::WatchLimits limits = model.Limits();
  const auto windows = model.Windows(now.steady);
  object.Number("Target", fmt::format("{:.1f}", limits.target))
      .Number("Tolerance", fmt::format("{:.1f}", limits.tolerance))
      .Signed("Scale", limits.scale)
      .Flag("Configured", model.Configuration().has_value())
      .Number("IntegratedWindow",
              windows ? std::to_string(windows->integrated) : louddesk::kJsonNull)
      .Number("RangeWindow", windows ? std::to_string(windows->range) : louddesk::kJsonNull);
  if (const auto& configuration = model.Configuration())
    object.Text("Standard", Utf8Of(configuration->loudnessStandard))
        .Text("Mode", Utf8Of(configuration->mode))
        .Text("Alarm", Utf8Of(configuration->alarm));
}

void WriteState(DocumentWriter& object, const Cluster& cluster, Moment now) {
  const louddesk::WatchModel& model = cluster.Model();
  const louddesk::StateWords& words = WordsOf(model.State(now.steady));
  object.Text("State", words.name)
      .Text("Hint", words.hint)
      .Flag("Alarming", words.isAlarming)
      .Flag("Live", model.IsLive(now.steady))
      .Number("Age", SecondsText(model.Age(now.steady)))
      .Number("NoChange", SecondsText(model.NoChangeFor(now.steady)));
}

void WriteCluster(DocumentWriter& object, const Cluster& cluster, Moment now) {
  const louddesk::WatchModel& model = cluster.Model();
  object.Text("Name", cluster.Name()).Unsigned("MeterSet", cluster.Place().meterSet);
  WriteState(object, cluster, now);
  WriteWatchMembers(object, cluster.Last(), cluster.LastTime());
  object.Number("MaxShortTerm", OrNull(louddesk::TenthsText(model.MaxShortTerm())))
      .Number("HeldTruePeak", OrNull(louddesk::HundredthsText(model.HeldPeak())));
  WriteConfiguration(object, cluster, now);
  object.Number("Messages", std::to_string(cluster.Counts().messages))
      .Number("Malformed", std::to_string(cluster.Counts().malformed))
      .Number("Gaps", std::to_string(cluster.Counts().gaps))
      .Number("Restarts", std::to_string(cluster.Counts().restarts))
      .Number("Answers", std::to_string(cluster.Counts().answers));
}

void WriteHistory(DocumentWriter& object, const louddesk::WatchModel& model) {
  object.OpenObject("History")
      .Unsigned("Step", static_cast<unsigned>(louddesk::kHistoryStep.count() / 1000))
      .OpenArray("ShortTerm");
  for (const std::int16_t code : model.History())
    object.Number(DocumentWriter::kNoKey, OrNull(louddesk::TenthsText(code)));
  object.CloseArray().OpenArray("NoChange");
  for (const bool isUnchanged : model.UnchangedSteps())
    object.Flag(DocumentWriter::kNoKey, isUnchanged);
  object.CloseArray().CloseObject();
}

std::string LkfsText(const std::optional<double>& lkfs) {
  return lkfs ? fmt::format("{:.1f}", *lkfs) : louddesk::kJsonNull;
}

void WriteHistogram(DocumentWriter& object, const MomentaryReadings& readings) {
  const ReadingHistogram histogram = readings.Histogram();
  object.OpenObject("Histogram")
      .Number("Readings", std::to_string(histogram.readings))
      .Number("BelowGate", std::to_string(histogram.belowGate))
      .Number("AbsoluteGate", fmt::format("{:.1f}", kAbsoluteGateLkfs))
      .Number("RelativeGate", LkfsText(histogram.relativeGate))
      .Number("Gated", LkfsText(histogram.gated))
      .Number("Lowest", histogram.counts.empty() ? louddesk::kJsonNull
                                                 : fmt::format("{:.1f}", histogram.lowest / 10.0))
      .OpenArray("Counts");
  for (const unsigned count : histogram.counts)
    object.Unsigned(DocumentWriter::kNoKey, count);
  object.CloseArray().CloseObject();
}

void WriteNotes(DocumentWriter& object, const louddesk::WatchModel& model) {
  object.OpenArray("Notes");
  for (const auto& note : model.Notes())
    object.OpenObject(DocumentWriter::kNoKey)
        .Text("Time", note.localTime)
        .Text("Text", Utf8Of(note.text))
        .CloseObject();
  object.CloseArray();
}

}  // namespace

std::string ClusterDocument(const Cluster& cluster, Moment now) {
  DocumentWriter object;
  WriteCluster(object, cluster, now);
  return object.Finish();
}

std::string ClustersDocument(const std::vector<const Cluster*>& clusters, Moment now) {
  DocumentWriter object;
  object.Text("Now", louddesk::UtcText(now.wall)).OpenArray("Clusters");
  for (const Cluster* cluster : clusters) {
    object.OpenObject(DocumentWriter::kNoKey);
    WriteCluster(object, *cluster, now);
    object.CloseObject();
  }
  object.CloseArray();
  return object.Finish();
}

std::string ClusterDetailsDocument(const Cluster& cluster, Moment now) {
  DocumentWriter object;
  WriteCluster(object, cluster, now);
  WriteHistory(object, cluster.Model());
  WriteHistogram(object, cluster.Readings());
  WriteNotes(object, cluster.Model());
  return object.Finish();
}

}  // namespace loudgate
