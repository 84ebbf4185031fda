// The ways to show a watched service.

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

  /// Shows a well-formed loudness message and its time of arrival.
  virtual void ShowData(const LoudnessMessage&, WallTime) {}

  /// Shows an answer that is not a republication, as text from AnswerText.
  virtual void ShowAnswer(const std::string&, WallTime) {}

  /// Called after the messages have been shown, at least ten times per second.
  virtual void Refresh(const WatchModel&, WatchModel::Time) {}

  /// Whether the view waits for keys.
  virtual bool HasKeys() const { return false; }

  /// Carries out the keys typed. Returns false if the user has quit.
  virtual bool TakeKeys(WatchModel&) { return true; }
};

/// Rows for other programs on `out`; for CSV, writes the header at once. When no row has come for a
/// second, and when rows come again, a line on `errors` reports it once.
std::unique_ptr<WatchView> MakeCsvView(std::ostream& out, std::ostream& errors);
std::unique_ptr<WatchView> MakeJsonView(std::ostream& out, std::ostream& errors);

/// Lines for users: figures once per second, answers and changes of state as they come.
std::unique_ptr<WatchView> MakeLineView(std::ostream& out);

/// Called with a user's command by its name in messages.
using CommandSink = std::function<void(const std::string& command)>;

/// The meter in the terminal's window. `send` receives the commands if the meter controls the
/// service. Throws std::runtime_error as `Terminal` does.
std::unique_ptr<WatchView> MakeScreenView(const WatchLook& look, CommandSink send);

}  // namespace louddesk
