// Why the test signals are read as they are: one explanation for each case. Never changes.

#pragma once

#include <string>
#include <vector>

namespace louddesk {

/// One or several cases that have the same to be said of them.
struct CaseExplanation {
  std::vector<std::string> caseIds;
  std::string text;  // whole sentences
};

/// In the order of the cases.
const std::vector<CaseExplanation>& CaseExplanations();

/// The text for a case; empty when there is none.
std::string ExplanationOf(const std::string& caseId);

}  // namespace louddesk
