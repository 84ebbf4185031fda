// Pages on the disk.

#include "PageFile.h"

#include "DraftFile.h"

namespace louddesk {
namespace {

constexpr char kPageEnding[] = ".html";
constexpr char kCsvEnding[] = ".csv";

constexpr char kReport[] = "the report";

// Whether a name has something before its ending.
bool EndsIn(const std::string& path, const std::string& ending) {
  return path.size() > ending.size() &&
         path.compare(path.size() - ending.size(), ending.size(), ending) == 0;
}

}  // namespace

std::string CheckPageName(const std::string& path) {
  return EndsIn(path, kPageEnding) ? ""
                                   : std::string("the name of a report ends in ") + kPageEnding;
}

std::string CheckCsvName(const std::string& path) {
  return EndsIn(path, kCsvEnding) ? "" : std::string("the name of a series ends in ") + kCsvEnding;
}

std::string WritePage(const std::string& path, const std::string& page) {
  DraftFile draft(path);
  draft.Write(page);
  return draft.TakePlace();
}

bool CheckWritable(Complaints& complaints, const std::string& path, const std::string& what) {
  const std::string reason = path.empty() ? "" : WhyNotWritable(path);
  if (!reason.empty())
    complaints.Add(path + ": " + what + " cannot be written: " + reason);
  return reason.empty();
}

bool CheckReport(Complaints& complaints, const std::string& path) {
  return CheckWritable(complaints, path, kReport);
}

void WriteReport(Complaints& complaints, const std::string& path, const std::string& page) {
  ComplainUnwritten(complaints, path, kReport, path.empty() ? "" : WritePage(path, page));
}

void ComplainUnwritten(Complaints& complaints, const std::string& path, const std::string& what,
                       const std::string& reason) {
  if (!reason.empty())
    complaints.Add(path + ": " + what + " could not be written: " + reason);
}

}  // namespace louddesk
