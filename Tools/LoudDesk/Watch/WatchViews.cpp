// Views of a watched service.

#include "WatchViews.h"

#include "FiguresText.h"

namespace louddesk {
namespace {

constexpr std::chrono::milliseconds kFirstMoments{500};

// "NO SERVICE: nobody publishes here".
std::string StateText(ServiceState state) {
  const std::string hint = StateHint(state);
  return StateName(state) + (hint.empty() ? "" : ": " + hint);
}

}  // namespace

RowView::RowView(std::ostream& out, std::ostream& errors, Style style, WatchModel::Time start)
    : mOut(out), mComplaints(errors), mStyle(style), mLast(start) {
  if (mStyle == Style::kCsv)
    mOut << WatchCsvHeader() << std::flush;
}

void RowView::ShowData(const LoudnessMessage& message, WallTime time) {
  mLast = message.time;
  mOut << (mStyle == Style::kCsv ? WatchCsvRow(message, time) : WatchJsonRow(message, time))
       << std::flush;
}

void RowView::Refresh(const WatchModel& model, WatchModel::Time now) {
  const bool isQuiet = now - mLast >= kSilenceAfter;
  if (isQuiet == mIsQuiet)
    return;
  mIsQuiet = isQuiet;
  mComplaints.Note(isQuiet ? "no loudness data comes (" + StateText(model.State(now)) + ")"
                           : "loudness data comes now");
}

LineView::LineView(std::ostream& out, WatchModel::Time start)
    : mOut(out), mLine(out, TerminalColumns()), mStart(start) {}

void LineView::ShowData(const LoudnessMessage& message, WallTime) {
  mMessage = message;
}

void LineView::ShowAnswer(const std::string& text, WallTime time) {
  mOut << LocalClockText(time) << "  " << text << "\n" << std::flush;
}

void LineView::Refresh(const WatchModel& model, WatchModel::Time now) {
  ShowState(model.State(now), now);
  if (!mMessage)
    return;
  const std::chrono::duration<double> seconds = mMessage->time - mStart;
  mLine.Show(LiveText(seconds.count(), mMessage->data), mMessage->time);
  mMessage.reset();
}

// The first moments, in which nothing can have come yet, are no state worth a line.
void LineView::ShowState(ServiceState state, WatchModel::Time now) {
  const bool isEarly = state == ServiceState::kAbsent || state == ServiceState::kWaiting;
  if (mShown == state || (isEarly && now - mStart < kFirstMoments))
    return;
  mShown = state;
  mOut << LocalClockText(std::chrono::system_clock::now()) << "  " << StateName(state) << "\n"
       << std::flush;
}

ScreenView::ScreenView(const WatchLook& look) : mLook(look) {
  mLook.glyphs = mTerminal.Glyph();
}

void ScreenView::Refresh(const WatchModel& model, WatchModel::Time now) {
  mTerminal.Show(ComposeWatch(model, mLook, mTerminal.Size(), now));
}

bool ScreenView::WantsEnd() {
  for (int key = mTerminal.ReadKey(); key != 0; key = mTerminal.ReadKey())
    if (key == 'q' || key == 'Q')
      return true;
  return false;
}

}  // namespace louddesk
