// Writes to the error stream.

#include "Complaints.h"

#include "PrintableText.h"

namespace louddesk {

void Complaints::Add(const std::string& text) {
  Note(text);
  mStatus = 1;
}

void Complaints::Note(const std::string& text) {
  mErrors << mProgram << ": " << Printable(text) << "\n";
}

}  // namespace louddesk
