// Live output for terminals and pipes.

#include "LiveLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace louddesk {
namespace {

constexpr std::size_t kUsualColumns = 80;  // of a terminal whose width is unknown

constexpr std::chrono::seconds kPipePeriod{1};

// Messages arrive every 100 ms with some jitter. Half a period of tolerance keeps an early message
// from being skipped.
constexpr std::chrono::milliseconds kPipeTolerance{50};

}  // namespace

TerminalColumns ColumnsOf(int descriptor) {
  if (isatty(descriptor) == 0)
    return nullptr;
  return [descriptor]() -> std::size_t {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
      return kUsualColumns;
    return size.ws_col;
  };
}

LiveLine::LiveLine(std::ostream& out, TerminalColumns columns)
    : mOut(out), mColumns(std::move(columns)) {}

LiveLine::~LiveLine() {
  Finish();
}

void LiveLine::Show(const std::string& text, Time now) {
  if (mColumns) {
    Refresh(text);
    return;
  }
  if (mLast && now - *mLast < kPipePeriod - kPipeTolerance)
    return;
  mLast = now;
  mOut << text << "\n" << std::flush;
}

void LiveLine::Print(const std::string& text) {
  const std::string first = text.substr(0, text.find('\n'));
  if (mShown > 0)
    mOut << '\r' << first << PaddingAfter(first.size()) << text.substr(first.size());
  else
    mOut << text;
  mOut << "\n" << std::flush;
  mShown = 0;
}

void LiveLine::Finish() {
  if (mShown > 0)
    mOut << "\n" << std::flush;
  mShown = 0;
}

void LiveLine::Refresh(const std::string& text) {
  const std::string line = text.substr(0, Width());
  mOut << '\r' << line << PaddingAfter(line.size()) << std::flush;
  mShown = line.size();
}

// One column less than the terminal has: many terminals wrap after the last column.
std::size_t LiveLine::Width() const {
  return std::max<std::size_t>(mColumns(), 2) - 1;
}

// The blanks that erase the rest of the old line after a new text of `length` characters.
std::string LiveLine::PaddingAfter(std::size_t length) const {
  const std::size_t shown = std::min(mShown, Width());
  return std::string(shown - std::min(shown, length), ' ');
}

}  // namespace louddesk
