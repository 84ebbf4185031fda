// The loop of a watch, and one line for everything that goes wrong.

#include "WatchSession.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "Complaints.h"
#include "ServiceFeed.h"
#include "WatchViews.h"

namespace louddesk {
namespace {

using Clock = std::chrono::steady_clock;

// How often the picture is made anew when nothing arrives.
constexpr std::chrono::milliseconds kRefresh{100};

WallTime WallTimeOf(WatchModel::Time time) {
  const auto ago =
      std::chrono::duration_cast<std::chrono::system_clock::duration>(Clock::now() - time);
  return std::chrono::system_clock::now() - ago;
}

std::unique_ptr<WatchView> MakeView(const WatchOptions& options, std::ostream& out,
                                    std::ostream& errors) {
  switch (options.format) {
    case WatchFormat::kScreen:
      return std::make_unique<ScreenView>(options.look);
    case WatchFormat::kCsv:
      return std::make_unique<RowView>(out, errors, RowView::Style::kCsv, Clock::now());
    case WatchFormat::kJson:
      return std::make_unique<RowView>(out, errors, RowView::Style::kJson, Clock::now());
    case WatchFormat::kLines:
      break;
  }
  return std::make_unique<LineView>(out, Clock::now());
}

class WatchSession {
 public:
  explicit WatchSession(const WatchOptions& options)
      : mOptions(options),
        mFeed(options.look.meterSet, options.look.cluster),
        mStart(Clock::now()),
        mModel(mStart) {}

  /// Until the count, the time, the user or `out` ends it.
  void Run(WatchView& view, const std::ostream& out) {
    while (!IsOver() && out && zsys_interrupted == 0 && !view.WantsEnd()) {
      mFeed.Wait(Patience(), view.HasKeys());
      mModel.SetConnected(mFeed.IsConnected());
      TakeMessages(view);
      mModel.Advance(Clock::now());
      view.Refresh(mModel, Clock::now());
    }
  }

  /// Lines about what the user must know and has not seen.
  void Conclude(Complaints& complaints) const {
    if (mMalformed > 0)
      complaints.Note(std::to_string(mMalformed) +
                      " loudness messages of an unknown form passed over");
    if (mTaken == 0 && HasTimeEnded())
      complaints.Add(NoDataText());
  }

 private:
  bool IsComplete() const { return mOptions.count && mTaken >= *mOptions.count; }

  bool HasTimeEnded() const {
    return mOptions.seconds &&
           Clock::now() - mStart >= std::chrono::duration<double>(*mOptions.seconds);
  }

  std::string NoDataText() const {
    std::ostringstream text;
    text << "no loudness data from meter set " << mOptions.look.meterSet << ", cluster "
         << mOptions.look.cluster << " in " << *mOptions.seconds << " s ("
         << StateName(mModel.State(Clock::now())) << ")";
    return text.str();
  }

  bool IsOver() const { return IsComplete() || HasTimeEnded(); }

  std::chrono::milliseconds Patience() const {
    if (!mOptions.seconds)
      return kRefresh;
    const auto end = std::chrono::duration<double>(*mOptions.seconds) - (Clock::now() - mStart);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end);
    return std::clamp(left, std::chrono::milliseconds{0}, kRefresh);
  }

  void TakeMessages(WatchView& view) {
    while (!IsComplete()) {
      const auto message = mFeed.NextData();
      if (!message)
        break;
      if (message->wellFormed)
        TakeData(*message, view);
      else
        ++mMalformed;
    }
    while (const auto message = mFeed.NextState())
      if (const auto answer = ReadAnswer(*message))
        TakeAnswer(*answer, view);
  }

  void TakeData(const LoudnessMessage& message, WatchView& view) {
    ++mTaken;
    mModel.TakeData(message);
    view.ShowData(message, WallTimeOf(message.time));
  }

  void TakeAnswer(const ServiceAnswer& answer, WatchView& view) {
    const WallTime now = std::chrono::system_clock::now();
    mModel.TakeAnswer(answer, Clock::now(), LocalClockText(now));
    if (!answer.isRepublished)
      view.ShowAnswer(AnswerText(answer), now);
  }

  WatchOptions mOptions;
  ServiceFeed mFeed;  // before any view: the terminal leaves the signals as they are then
  Clock::time_point mStart;
  WatchModel mModel;
  unsigned long mTaken = 0;      // loudness messages
  unsigned long mMalformed = 0;  // loudness messages that could not be read
};

}  // namespace

int Watch(const WatchOptions& options, std::ostream& out, std::ostream& errors) {
  Complaints complaints(errors);
  try {
    WatchSession session(options);
    session.Run(*MakeView(options, out, errors), out);
    if (out)
      session.Conclude(complaints);
    else
      complaints.Add("the figures could not be written");
  } catch (const std::runtime_error& error) {
    complaints.Add(error.what());
  }
  return complaints.Status();
}

}  // namespace louddesk
