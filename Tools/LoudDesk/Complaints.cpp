// Lines on the stream of errors.

#include "Complaints.h"

#include "PageFile.h"
#include "PrintableText.h"

namespace louddesk {
namespace {

constexpr char kPrefix[] = "LoudDesk: ";

}  // namespace

void Complaints::Add(const std::string& text) {
  Note(text);
  mStatus = 1;
}

void Complaints::Note(const std::string& text) {
  mErrors << kPrefix << Printable(text) << "\n";
}

bool Complaints::CheckReport(const std::string& path) {
  const std::string reason = path.empty() ? "" : WhyNotWritable(path);
  if (!reason.empty())
    Add(path + ": the report cannot be written: " + reason);
  return reason.empty();
}

void Complaints::WriteReport(const std::string& path, const std::string& page) {
  const std::string reason = path.empty() ? "" : WritePage(path, page);
  if (!reason.empty())
    Add(path + ": the report could not be written: " + reason);
}

}  // namespace louddesk
