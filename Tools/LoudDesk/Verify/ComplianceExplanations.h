// Why the test signals are read as they are: one explanation for each case, that of
// Docs/COMPLIANCE.md. Never changes.

#pragma once

#include <string>

namespace louddesk {

/// The section of the document, made a constant by the build: a paragraph for one or several cases,
/// which begins with their identifiers, "**3341-1** and **3341-2**: ".
extern const char kComplianceExplanations[];

/// The text for a case, in one line; empty when there is none.
std::string ExplanationOf(const std::string& caseId);

}  // namespace louddesk
