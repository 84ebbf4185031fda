// The event loop's side of the record: collects, and hands batches to the writer.

#include "StationRecorder.h"

#include <utility>

namespace loudgate {

StationRecorder::StationRecorder(RecordSettings settings, std::chrono::seconds period,
                                 Report report)
    : mPeriod(period),
      mReport(std::move(report)),
      mWriter(std::move(settings)),
      mLastBatch(std::chrono::steady_clock::now()) {
  mCollector.AddEvent(louddesk::kGateEvent, "started", Moment::Now());
}

StationRecorder::~StationRecorder() {
  mCollector.Finish();
  mCollector.AddEvent(louddesk::kGateEvent, "stopped", Moment::Now());
  mWriter.Put(mCollector.TakeBatch());
  mWriter.End();
  ReportLines();
}

void StationRecorder::OnData(const Cluster& cluster, const louddesk::LoudnessMessage& message,
                             Moment now) {
  mCollector.TakeData(cluster, message, now);
}

void StationRecorder::OnAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer,
                               Moment now) {
  mCollector.TakeAnswer(cluster, answer, now);
}

void StationRecorder::Tend(const ClusterBoard& board, Moment now) {
  mCollector.Advance(board.Clusters(now), now);
  if (now.steady - mLastBatch >= mPeriod) {
    mLastBatch = now.steady;
    mWriter.Put(mCollector.TakeBatch());
  }
  ReportLines();
}

RecordCounts StationRecorder::Counts() const {
  RecordCounts counts = mWriter.Counts();
  counts.lostEvents += mCollector.LostEvents();
  return counts;
}

void StationRecorder::ReportLines() {
  for (const std::string& line : mWriter.TakeLines())
    mReport(line);
}

}  // namespace loudgate
