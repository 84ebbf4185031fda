// Records what the clusters of a board publish.

#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "ClusterBoard.h"
#include "RecordWriter.h"
#include "SecondCollector.h"

namespace loudgate {

/// Time between two transactions. Collecting a second takes two more seconds, so a process that is
/// killed loses at most its last minute.
constexpr std::chrono::seconds kWritePeriod{57};

class StationRecorder : public ClusterListener {
 public:
  /// Receives messages for the operator, one line each.
  using Report = std::function<void(const std::string&)>;

  /// Starts recording. `period` is the time between two transactions.
  StationRecorder(RecordSettings settings, std::chrono::seconds period, Report report);

  /// Writes the last seconds and closes the file.
  ~StationRecorder() override;

  void OnData(const Cluster& cluster, const louddesk::LoudnessMessage& message,
              Moment now) override;
  void OnAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer, Moment now) override;

  /// Call it ten times a second.
  void Tend(const ClusterBoard& board, Moment now);

  RecordCounts Counts() const;

 private:
  void ReportLines();

  std::chrono::seconds mPeriod;
  Report mReport;
  SecondCollector mCollector;
  RecordWriter mWriter;
  std::chrono::steady_clock::time_point mLastBatch;
};

}  // namespace loudgate
