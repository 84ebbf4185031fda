// Collects the errors of a run: writes one line for each and keeps the exit status.

#pragma once

#include <ostream>
#include <string>
#include <utility>

namespace louddesk {

class Complaints {
 public:
  /// Writes to `errors`; every line begins with the name of the program.
  explicit Complaints(std::ostream& errors, std::string program = "LoudDesk")
      : mErrors(errors), mProgram(std::move(program)) {}

  /// Writes a line for the user. The run has failed.
  void Add(const std::string& text);

  /// Writes a line that readers of the figures must see. The run has not failed.
  void Note(const std::string& text);

  /// Marks the run as failed. Writes nothing: a note has already given the reason.
  void Fail() { mStatus = 1; }

  /// The exit status of the program: 0, or 1 after an error.
  int Status() const { return mStatus; }

 private:
  std::ostream& mErrors;
  std::string mProgram;
  int mStatus = 0;
};

}  // namespace louddesk
