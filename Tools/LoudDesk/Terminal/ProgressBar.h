// A progress bar for the work on one file, on one line of a terminal. Leaves the line empty.

#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

namespace louddesk {

/// Erases the line of a bar on standard error. Async-signal-safe, for a process that a signal ends.
void ClearProgressLine();

/// Needs only the carriage return of a terminal.
class ProgressBar {
 public:
  /// A bar for `total` steps in a terminal of `columns` columns. The label is shown as `Printable`
  /// returns it. Writes nothing yet. REQUIRES: total > 0.
  ProgressBar(std::ostream& terminal, std::size_t columns, const std::string& label,
              std::uint64_t total);

  /// Erases the line.
  ~ProgressBar() { Hide(); }

  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Shows that `done` steps are complete. Writes only if the percentage or the width has changed.
  void Show(std::uint64_t done);

  /// Erases the line until the next `Show`.
  void Hide();

  /// Sets the width of the terminal, which applies from the next `Show` on.
  void Resize(std::size_t columns);

 private:
  std::ostream& mTerminal;
  std::size_t mColumns;  // one less than the terminal has
  std::string mLabel;
  std::uint64_t mTotal;
  std::uint64_t mPercent;  // last one shown; above 100: nothing is shown
};

}  // namespace louddesk
