// The ways in which a watched service is shown.

#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "LiveLine.h"
#include "Terminal.h"
#include "WatchLayout.h"
#include "WatchRows.h"

namespace louddesk {

class WatchView {
 public:
  virtual ~WatchView() = default;

  /// A well-formed loudness message, and when it came.
  virtual void ShowData(const LoudnessMessage&, WallTime) {}

  /// An answer that is no republication, in the words of AnswerText.
  virtual void ShowAnswer(const std::string&, WallTime) {}

  /// Called after the messages, at least ten times a second.
  virtual void Refresh(const WatchModel&, WatchModel::Time) {}

  /// Whether keys are to be waited for, and whether one has asked for the end.
  virtual bool HasKeys() const { return false; }
  virtual bool WantsEnd() { return false; }
};

/// Rows of CSV or JSON.
class RowView : public WatchView {
 public:
  enum class Style { kCsv, kJson };

  /// Writes the header of CSV at once.
  RowView(std::ostream& out, Style style);

  void ShowData(const LoudnessMessage& message, WallTime time) override;

 private:
  std::ostream& mOut;
  Style mStyle;
};

/// Lines for people: figures once a second, answers and changes of state as they come.
class LineView : public WatchView {
 public:
  LineView(std::ostream& out, WatchModel::Time start);

  void ShowData(const LoudnessMessage& message, WallTime time) override;
  void ShowAnswer(const std::string& text, WallTime time) override;
  void Refresh(const WatchModel& model, WatchModel::Time now) override;

 private:
  void ShowState(ServiceState state, WatchModel::Time now);

  std::ostream& mOut;
  LiveLine mLine;
  WatchModel::Time mStart;
  std::optional<LoudnessMessage> mMessage;  // the last one since the last Refresh
  std::optional<ServiceState> mShown;       // the state last written
};

/// The meter in the terminal's window.
class ScreenView : public WatchView {
 public:
  /// Throws TerminalError.
  explicit ScreenView(const WatchLook& look);

  void Refresh(const WatchModel& model, WatchModel::Time now) override;
  bool HasKeys() const override { return mTerminal.HasKeys(); }
  bool WantsEnd() override;

 private:
  WatchLook mLook;
  Terminal mTerminal;
};

}  // namespace louddesk
