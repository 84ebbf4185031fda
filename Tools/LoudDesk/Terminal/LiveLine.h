// Figures as they come: one refreshed line on a terminal, a line about once a second into a pipe.

#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

namespace louddesk {

/// Tells the columns that the terminal has now; empty: no terminal.
using TerminalColumns = std::function<std::size_t()>;

/// Those of the terminal of an open descriptor; empty where that is none.
TerminalColumns ColumnsOf(int descriptor);

class LiveLine {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Uses only the carriage return of a terminal, and asks for its columns each time.
  LiveLine(std::ostream& out, TerminalColumns columns);

  /// Leaves a terminal at the beginning of a line.
  ~LiveLine();

  LiveLine(const LiveLine&) = delete;
  LiveLine& operator=(const LiveLine&) = delete;

  /// Shows `text`, cut to the terminal's width. Without a terminal only when the last line was
  /// shown at least a second before `now`.
  void Show(const std::string& text, Time now);

  /// Writes a line that stays, or several; on a terminal in the place of the live line, which comes
  /// back below with the next call of Show.
  void Print(const std::string& text);

  /// Ends the line on a terminal, so that other output can follow.
  void Finish();

 private:
  void Refresh(const std::string& text);
  std::size_t Width() const;
  std::string BlanksBehind(std::size_t length) const;

  std::ostream& mOut;
  TerminalColumns mColumns;
  std::size_t mShown = 0;     // characters on the terminal's line
  std::optional<Time> mLast;  // when a line was last written into a pipe
};

}  // namespace louddesk
