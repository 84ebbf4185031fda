// Paragraphs of the document.

#include "ComplianceExplanations.h"

#include <algorithm>

namespace louddesk {

std::string ExplanationOf(const std::string& caseId) {
  const std::string all = kComplianceExplanations;
  const std::size_t heading = all.find("**" + caseId + "**");
  if (heading == std::string::npos)
    return "";
  constexpr char kEndOfHeading[] = "**: ";
  const std::size_t begin = all.find(kEndOfHeading, heading) + sizeof kEndOfHeading - 1;
  std::string text = all.substr(begin, all.find("\n\n", begin) - begin);
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

}  // namespace louddesk
