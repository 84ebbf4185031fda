// Runs the cases one after another.

#include "Verification.h"

#include <fmt/format.h>

#include <algorithm>

#include "AudioFileError.h"
#include "Complaints.h"
#include "CompliancePage.h"
#include "PageFile.h"

namespace louddesk {
namespace {

bool IsWanted(const ComplianceCase& complianceCase, const std::vector<std::string>& wanted) {
  return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), [&](const std::string& id) {
           return IsMeantBy(complianceCase, id);
         });
}

// The path of the copy for a case's recording; null if there is none.
const std::string* CopyOf(const ComplianceCase& complianceCase, const VerifyOptions& options) {
  for (std::size_t i = 0; i < options.recordings.size(); ++i)
    if (options.cases[i] == complianceCase.id)
      return &options.recordings[i];
  return nullptr;
}

void RunOne(const ComplianceCase& complianceCase, const VerifyOptions& options,
            MeterUnderTest& meter, Complaints& complaints, const RowSink& sink) {
  const std::string* copy = CopyOf(complianceCase, options);
  if (copy == nullptr) {
    RunCase(complianceCase, options.sampleRate, meter, sink);
    return;
  }
  try {
    RunRecording(complianceCase, *copy, meter, sink);
  } catch (const AudioFileError& error) {
    complaints.Add(error.what());
    sink(NotRunRow(complianceCase));
  }
}

// Writes every row as soon as it is complete.
std::vector<ComplianceRow> RunCases(const VerifyOptions& options, MeterUnderTest& meter,
                                    std::ostream& out, Complaints& complaints) {
  std::vector<ComplianceRow> rows;
  out << ComplianceHeader(options.style) << std::flush;
  for (const ComplianceCase& complianceCase : ComplianceCases()) {
    if (!IsWanted(complianceCase, options.cases))
      continue;
    bool isFirst = true;
    RunOne(complianceCase, options, meter, complaints, [&](const ComplianceRow& row) {
      out << ComplianceText(row, isFirst, options.style) << std::flush;
      isFirst = false;
      rows.push_back(row);
    });
  }
  out << ComplianceSummary(rows, options.style) << std::flush;
  return rows;
}

std::vector<std::string> RecordingIds() {
  std::vector<std::string> ids;
  for (const ComplianceCase& known : ComplianceCases())
    if (known.recording)
      ids.push_back(known.id);
  return ids;
}

}  // namespace

std::string ComplaintOnRecordings(const std::vector<std::string>& cases,
                                  const std::vector<std::string>& recordings) {
  if (recordings.empty())
    return "";
  if (recordings.size() != cases.size())
    return "each needs the --case that it is a recording of";
  const std::vector<std::string> ids = RecordingIds();
  for (auto id = cases.begin(); id != cases.end(); ++id) {
    if (std::find(ids.begin(), ids.end(), *id) == ids.end())
      return fmt::format("{} is not a recording; these are: {}", *id, fmt::join(ids, " "));
    if (std::find(cases.begin(), id, *id) != id)
      return *id + " has two files";
  }
  return "";
}

int Verify(const VerifyOptions& options, MeterUnderTest& meter, std::ostream& out,
           std::ostream& errors) {
  Complaints complaints(errors);
  if (!CheckReport(complaints, options.report))
    return complaints.Status();
  const std::vector<ComplianceRow> rows = RunCases(options, meter, out, complaints);
  if (!out)
    complaints.Add("the figures could not be written");
  if (!options.report.empty())
    WriteReport(complaints, options.report,
                CompliancePage({rows, options.sampleRate, options.meter}));
  return CountOf(rows, ComplianceVerdict::kFail) > 0 ? 1 : complaints.Status();
}

}  // namespace louddesk
