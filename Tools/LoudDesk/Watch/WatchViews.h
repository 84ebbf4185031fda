// The ways in which a watched service is shown.

#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "WatchLayout.h"
#include "WatchRows.h"

namespace louddesk {

class WatchView {
 public:
  virtual ~WatchView() = default;

  /// A well-formed loudness message, and when it came.
  virtual void ShowData(const LoudnessMessage&, WallTime) {}

  /// An answer that is not a republication, in the words of AnswerText.
  virtual void ShowAnswer(const std::string&, WallTime) {}

  /// Called after the messages, at least ten times a second.
  virtual void Refresh(const WatchModel&, WatchModel::Time) {}

  /// Whether to wait for keys.
  virtual bool HasKeys() const { return false; }

  /// Does what the keys typed say. False when one has asked for the end.
  virtual bool TakeKeys(WatchModel&) { return true; }
};

/// Rows for other programs on `out`, with the header of CSV at once. That no row comes for a second
/// is a line on `errors`, once, and so is that they come again.
std::unique_ptr<WatchView> MakeCsvView(std::ostream& out, std::ostream& errors);
std::unique_ptr<WatchView> MakeJsonView(std::ostream& out, std::ostream& errors);

/// Lines for people: figures once a second, answers and changes of state as they come.
std::unique_ptr<WatchView> MakeLineView(std::ostream& out);

/// Called with a command that the user gives, as messages call it.
using CommandSink = std::function<void(const std::string& command)>;

/// The meter in the terminal's window; `send` takes the commands of one that controls the service.
/// Throws std::runtime_error as `Terminal` does.
std::unique_ptr<WatchView> MakeScreenView(const WatchLook& look, CommandSink send);

}  // namespace louddesk
