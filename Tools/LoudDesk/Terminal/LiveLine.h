// Live figures: one refreshed line on a terminal, about one line a second into a pipe.

#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

namespace louddesk {

/// Returns the current width of the terminal in columns. An empty function means no terminal.
using TerminalColumns = std::function<std::size_t()>;

/// Returns the function for an open descriptor; empty if it is not a terminal.
TerminalColumns ColumnsOf(int descriptor);

class LiveLine {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Needs only the carriage return of a terminal, and asks for its width before each line.
  LiveLine(std::ostream& out, TerminalColumns columns);

  /// Ends the line on a terminal.
  ~LiveLine();

  LiveLine(const LiveLine&) = delete;
  LiveLine& operator=(const LiveLine&) = delete;

  /// Shows `text`, cut to the width of the terminal. Into a pipe, writes it only if the last line
  /// is about a second older than `now`.
  void Show(const std::string& text, Time now);

  /// Writes one or several permanent lines. On a terminal they replace the live line, which returns
  /// below them with the next call of Show.
  void Print(const std::string& text);

  /// Ends the line on a terminal, so that other output can follow.
  void Finish();

 private:
  void Refresh(const std::string& text);
  std::size_t Width() const;
  std::string PaddingAfter(std::size_t length) const;

  std::ostream& mOut;
  TerminalColumns mColumns;
  std::size_t mShown = 0;     // characters on the terminal's line
  std::optional<Time> mLast;  // when a line was last written into a pipe
};

}  // namespace louddesk
