// Live output for terminals and pipes.

#include "LiveLine.h"

#include <algorithm>

namespace louddesk {

namespace {

constexpr std::chrono::seconds kPipePeriod{1};

// Messages come every 100 ms with some jitter; half of that must not cost a whole period.
constexpr std::chrono::milliseconds kPipeTolerance{50};

}  // namespace

LiveLine::LiveLine(std::ostream& out, TerminalColumns columns) : mOut(out), mColumns(columns) {}

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
  if (mShown > 0)
    mOut << '\r' << text << std::string(mShown - std::min(mShown, text.size()), ' ');
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
  // One column less than there are: many terminals wrap as soon as the last one is written.
  const std::size_t width = std::max<std::size_t>(*mColumns, 2) - 1;
  const std::string line = text.substr(0, width);
  const std::size_t blanks = mShown > line.size() ? std::min(mShown, width) - line.size() : 0;
  mOut << '\r' << line << std::string(blanks, ' ') << std::flush;
  mShown = line.size();
}

}  // namespace louddesk
