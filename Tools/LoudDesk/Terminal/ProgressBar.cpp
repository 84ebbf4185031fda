// Progress on one line of a terminal.

#include "ProgressBar.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "PrintableText.h"

namespace louddesk {
namespace {

constexpr std::size_t kBarWidth = 30;
constexpr std::uint64_t kNothingShown = 101;

std::string Line(std::uint64_t percent, const std::string& label) {
  const std::size_t filled = kBarWidth * static_cast<std::size_t>(percent) / 100;
  return fmt::format("[{:#<{}}{:.<{}}] {:3} %  {}", "", filled, "", kBarWidth - filled, percent,
                     label);
}

}  // namespace

void ClearProgressLine() {
  constexpr char kEmptyLine[] = "\r\033[K";
  if (write(STDERR_FILENO, kEmptyLine, sizeof kEmptyLine - 1) < 0)
    return;  // the terminal is gone, and the line with it
}

ProgressBar::ProgressBar(std::ostream& terminal, std::size_t columns, const std::string& label,
                         std::uint64_t total)
    : mTerminal(terminal),
      mColumns(columns > 0 ? columns - 1 : 0),
      mLabel(Printable(label)),
      mTotal(total),
      mPercent(kNothingShown) {}

void ProgressBar::Hide() {
  if (mPercent != kNothingShown)
    mTerminal << '\r' << std::string(mColumns, ' ') << '\r' << std::flush;
  mPercent = kNothingShown;
}

void ProgressBar::Resize(std::size_t columns) {
  const std::size_t usable = columns > 0 ? columns - 1 : 0;
  if (usable == mColumns)
    return;
  mColumns = std::min(mColumns, usable);  // never wrap on a narrower terminal
  Hide();
  mColumns = usable;
}

void ProgressBar::Show(std::uint64_t done) {
  const std::uint64_t percent = std::min(done, mTotal) * 100 / mTotal;
  if (percent == mPercent)
    return;
  mPercent = percent;
  mTerminal << '\r' << Line(percent, mLabel).substr(0, mColumns) << std::flush;
}

}  // namespace louddesk
