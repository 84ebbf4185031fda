// Pages on the disk.

#include "PageFile.h"

#include <algorithm>

#include "DraftFile.h"

namespace louddesk {
namespace {

constexpr char kReport[] = "the report";

// A name that is only an ending is refused.
std::string CheckEnding(const std::string& path, const std::string& what,
                        const std::string& ending) {
  const std::size_t name = path.size() - std::min(path.size(), ending.size());
  return name > 0 && path.substr(name) == ending ? ""
                                                 : "the name of " + what + " ends in " + ending;
}

}  // namespace

std::string CheckPageName(const std::string& path) {
  return CheckEnding(path, "a report", ".html");
}

std::string CheckCsvName(const std::string& path) {
  return CheckEnding(path, "a series", ".csv");
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
