// What goes wrong in a run of the program: one line each, and the status that follows.

#pragma once

#include <ostream>
#include <string>
#include <utility>

namespace louddesk {

class Complaints {
 public:
  /// Lines on `errors` that begin with the name of the program.
  explicit Complaints(std::ostream& errors, std::string program = "LoudDesk")
      : mErrors(errors), mProgram(std::move(program)) {}

  /// A line for the user. The run has failed.
  void Add(const std::string& text);

  /// What a reader of the figures must know. The run has not failed.
  void Note(const std::string& text);

  /// The run has failed; a note has already told why.
  void Fail() { mStatus = 1; }

  /// Of the program: 0, or 1 after a complaint.
  int Status() const { return mStatus; }

 private:
  std::ostream& mErrors;
  std::string mProgram;
  int mStatus = 0;
};

}  // namespace louddesk
