// The views of a watched service.

#include "WatchViews.h"

#include <optional>
#include <utility>

#include "Complaints.h"
#include "FiguresText.h"
#include "LiveLine.h"
#include "Terminal.h"
#include "WatchKeys.h"

namespace louddesk {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kFirstMoments{500};

// Reports once that the figures do not change, and once that they change again.
class NoChange {
 public:
  std::optional<std::string> NextNote(const WatchModel& model, WatchModel::Time now) {
    const auto duration = model.NoChangeFor(now);
    const bool isRunning = model.State(now) == ServiceState::kRunning;
    if (duration.has_value() == mIsTold || !isRunning) {
      mIsTold = mIsTold && isRunning;
      return std::nullopt;
    }
    mIsTold = duration.has_value();
    return mIsTold ? NoChangeText(*duration) : "the figures change again";
  }

 private:
  bool mIsTold = false;
};

class RowView : public WatchView {
 public:
  using Row = std::string (*)(const LoudnessMessage& message, WallTime time);

  RowView(std::ostream& out, std::ostream& errors, Row row)
      : mOut(out), mComplaints(errors), mRow(row), mLast(Clock::now()) {}

  void ShowData(const LoudnessMessage& message, WallTime time) override {
    mLast = message.time;
    mOut << mRow(message, time) << std::flush;
  }

  void Refresh(const WatchModel& model, WatchModel::Time now) override {
    TellSilence(model, now);
    if (const auto text = mNoChange.NextNote(model, now))
      mComplaints.Note(*text);
  }

 private:
  void TellSilence(const WatchModel& model, WatchModel::Time now) {
    const bool isQuiet = now - mLast >= kSilenceAfter;
    if (isQuiet == mIsQuiet)
      return;
    mIsQuiet = isQuiet;
    mComplaints.Note(isQuiet ? "no loudness data (" + StateText(model.State(now)) + ")"
                             : "loudness data again");
  }

  // The state in words: "NO SERVICE: no service publishes here".
  static std::string StateText(ServiceState state) {
    const StateWords& words = WordsOf(state);
    return std::string(words.name) + (*words.hint == '\0' ? "" : ": ") + words.hint;
  }

  std::ostream& mOut;
  Complaints mComplaints;
  Row mRow;
  WatchModel::Time mLast;  // when the last message came; initially the start of the watch
  bool mIsQuiet = false;   // last state reported
  NoChange mNoChange;
};

class LineView : public WatchView {
 public:
  explicit LineView(std::ostream& out)
      : mOut(out), mLine(out, TerminalColumns()), mStart(Clock::now()) {}

  void ShowData(const LoudnessMessage& message, WallTime) override { mMessage = message; }

  void ShowAnswer(const std::string& text, WallTime time) override { Write(time, text); }

  void Refresh(const WatchModel& model, WatchModel::Time now) override {
    ShowState(model.State(now), now);
    if (const auto text = mNoChange.NextNote(model, now))
      Write(std::chrono::system_clock::now(), *text);
    if (!mMessage)
      return;
    const std::chrono::duration<double> seconds = mMessage->time - mStart;
    mLine.Show(LiveText(seconds.count(), mMessage->data), mMessage->time);
    mMessage.reset();
  }

 private:
  // Hides states before any message could arrive.
  void ShowState(ServiceState state, WatchModel::Time now) {
    const bool isEarly = state == ServiceState::kAbsent || state == ServiceState::kWaiting;
    if (mShown == state || (isEarly && now - mStart < kFirstMoments))
      return;
    mShown = state;
    Write(std::chrono::system_clock::now(), WordsOf(state).name);
  }

  void Write(WallTime time, const std::string& text) {
    mOut << LocalClockText(time) << "  " << text << "\n" << std::flush;
  }

  std::ostream& mOut;
  LiveLine mLine;
  WatchModel::Time mStart;
  std::optional<LoudnessMessage> mMessage;  // last message since the last Refresh
  std::optional<ServiceState> mShown;       // last state written
  NoChange mNoChange;
};

class ScreenView : public WatchView {
 public:
  ScreenView(const WatchLook& look, CommandSink send) : mLook(look), mSend(std::move(send)) {
    mLook.glyphs = mTerminal.Glyph();
  }

  void Refresh(const WatchModel& model, WatchModel::Time now) override {
    mTerminal.Show(ComposeWatch(model, mLook, mTerminal.Size(), now));
  }

  bool HasKeys() const override { return mTerminal.HasKeys(); }

  bool TakeKeys(WatchModel& model) override {
    for (int key = mTerminal.ReadKey(); key != 0; key = mTerminal.ReadKey()) {
      if (IsQuitKey(key))
        return false;
      const char* const command = CommandOfKey(key);
      if (mLook.isControlling && command != nullptr)
        mSend(command);
      ActOnKey(key, mLook, model);
    }
    return true;
  }

 private:
  WatchLook mLook;
  CommandSink mSend;
  Terminal mTerminal;
};

}  // namespace

std::unique_ptr<WatchView> MakeCsvView(std::ostream& out, std::ostream& errors) {
  out << WatchCsvHeader() << std::flush;
  return std::make_unique<RowView>(out, errors, WatchCsvRow);
}

std::unique_ptr<WatchView> MakeJsonView(std::ostream& out, std::ostream& errors) {
  return std::make_unique<RowView>(out, errors, WatchJsonRow);
}

std::unique_ptr<WatchView> MakeLineView(std::ostream& out) {
  return std::make_unique<LineView>(out);
}

std::unique_ptr<WatchView> MakeScreenView(const WatchLook& look, CommandSink send) {
  return std::make_unique<ScreenView>(look, std::move(send));
}

}  // namespace louddesk
