// The ways in which a watched service is shown.

#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "Complaints.h"
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

/// Rows of CSV or JSON. That none comes for a second is told apart from them, once, and when it
/// comes again.
class RowView : public WatchView {
 public:
  enum class Style { kCsv, kJson };

  /// Writes the header of CSV at once. Rows go to `out`, all else to `errors`.
  RowView(std::ostream& out, std::ostream& errors, Style style, WatchModel::Time start);

  void ShowData(const LoudnessMessage& message, WallTime time) override;
  void Refresh(const WatchModel& model, WatchModel::Time now) override;

 private:
  std::ostream& mOut;
  Complaints mComplaints;
  Style mStyle;
  WatchModel::Time mLast;  // when the last message came, or they were begun to be waited for
  bool mIsQuiet = false;   // as last told
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
