// Reads a period from the record and writes its figures.

#include "PeriodLog.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Complaints.h"
#include "DraftFile.h"
#include "Evidence.h"
#include "EvidencePage.h"
#include "EvidenceText.h"
#include "PageFile.h"
#include "StationReader.h"
#include "TimeText.h"
#include "Version.h"

namespace louddesk {
namespace {

constexpr char kSeries[] = "the series";

StationReader Opened(const std::string& file) {
  if (access(file.c_str(), F_OK) != 0)
    throw NoEvidence(std::string("there is no record: ") + std::strerror(errno));
  return StationReader(file);
}

// The target and tolerance requested by the user: at least one is an option, the other may be from
// the profile. Nothing otherwise; then those in force at the time apply.
std::optional<LoudnessAim> AimOf(const ProfileOptions& options, const Criteria& criteria) {
  const bool isAsked = options.target || options.limits.tolerance;
  if (!isAsked || !criteria.target || !criteria.limits.tolerance)
    return std::nullopt;
  return LoudnessAim{*criteria.target, *criteria.limits.tolerance};
}

// Writes a period in one style.
using Writer = std::string (*)(const Evidence& evidence);

// In the order of `FigureStyle`.
constexpr Writer kWriters[] = {EvidenceTable, EvidenceJson, EvidenceCsv};

Evidence Read(const LogOptions& options, std::int64_t now, std::optional<DraftFile>& series) {
  StationReader reader = Opened(options.file);
  const Criteria criteria = CriteriaFor(options.profile);
  const EvidenceQuestion question = {ResolveCluster(options.cluster, reader),
                                     ResolvePeriod(options.period, reader, now), criteria,
                                     AimOf(options.profile, criteria)};
  const std::string name = NameOf(question.cluster);
  if (series)
    series->Write(SecondsHeader());
  return EvidenceOf(reader, question, [&](const RecordedSecond& second) {
    if (series)
      series->Write(SecondsRow(name, second));
  });
}

int StatusOf(const LogOptions& options, const Evidence& evidence, Complaints& complaints) {
  const bool isBroken =
      options.profile.failsByVerdict &&
      TakeVerdicts(evidence.assessment, "cluster " + evidence.cluster, complaints);
  return complaints.Status() == 0 && isBroken ? kLimitBrokenStatus : complaints.Status();
}

int Tell(const LogOptions& options, std::int64_t now, std::ostream& out, Complaints& complaints) {
  std::optional<DraftFile> series;
  if (!options.series.empty())
    series.emplace(options.series);
  const Evidence evidence = Read(options, now, series);
  if (!(out << kWriters[static_cast<std::size_t>(options.style)](evidence) << std::flush))
    complaints.Add("the figures could not be written");
  for (const std::string& note : NotesOn(evidence))
    complaints.Note("cluster " + evidence.cluster + ": note: " + note);
  if (series)
    ComplainUnwritten(complaints, options.series, kSeries, series->TakePlace());
  if (!options.report.empty())
    WriteReport(complaints, options.report, EvidencePage(evidence, LocalTimeText(now), kVersion));
  return StatusOf(options, evidence, complaints);
}

// Calls `action`; its exceptions become complaints.
template <typename Action>
int Complaining(Complaints& complaints, const std::string& file, const Action& action) {
  try {
    return action();
  } catch (const StationError& error) {
    complaints.Add(error.what());
  } catch (const NoEvidence& error) {
    complaints.Add(file + ": " + error.what());
  }
  return complaints.Status();
}

}  // namespace

int LogPeriod(const LogOptions& options, std::int64_t now, std::ostream& out,
              std::ostream& errors) {
  Complaints complaints(errors);
  if (!CheckReport(complaints, options.report) ||
      !CheckWritable(complaints, options.series, kSeries))
    return complaints.Status();
  return Complaining(complaints, options.file, [&] { return Tell(options, now, out, complaints); });
}

int ListRecord(const std::string& file, std::ostream& out, std::ostream& errors) {
  Complaints complaints(errors);
  return Complaining(complaints, file, [&] {
    StationReader reader = Opened(file);
    const auto extent = reader.Extent();
    if (!extent)
      throw NoEvidence("nothing is recorded yet");
    if (!(out << "From      " << LocalTimeText(extent->from) << "\nTo        "
              << LocalTimeText(extent->to) << "\nClusters  " << ClusterNames(reader) << "\n"
              << std::flush))
      complaints.Add("the list could not be written");
    return complaints.Status();
  });
}

}  // namespace louddesk
