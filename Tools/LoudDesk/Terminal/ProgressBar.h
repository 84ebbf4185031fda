// A bar that shows how far the work on one file has come, on one line of a terminal. It leaves the
// line empty.

#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

namespace louddesk {

/// Empties the line of a bar on standard error where its owner cannot: in a signal handler.
void ClearProgressLine();

/// Uses only the carriage return of a terminal.
class ProgressBar {
 public:
  /// A bar for work of `total` steps, in lines of `columns` characters, with the label as
  /// `Printable` shows it. Writes nothing yet. REQUIRES: total > 0.
  ProgressBar(std::ostream& terminal, std::size_t columns, const std::string& label,
              std::uint64_t total);

  /// Empties the line.
  ~ProgressBar() { Hide(); }

  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Shows `done` of the steps; writes only when the percentage or the width has changed.
  void Show(std::uint64_t done);

  /// Empties the line until the next `Show`.
  void Hide();

  /// From the next `Show` on the terminal has so many columns.
  void Resize(std::size_t columns);

 private:
  std::ostream& mTerminal;
  std::size_t mColumns;  // characters used at most; one less than the terminal has
  std::string mLabel;
  std::uint64_t mTotal;
  std::uint64_t mPercent;  // as last shown; above 100: nothing shown yet
};

}  // namespace louddesk
