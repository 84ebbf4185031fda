// The live meter as lines of text, for every size.

#include "WatchLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "LuEnumerations.h"
#include "WatchKeys.h"

namespace {

using louddesk::ComposeWatch;
using louddesk::LoudnessMessage;
using louddesk::ScreenSize;
using louddesk::TextScreen;
using louddesk::WatchLook;
using louddesk::WatchModel;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

const WatchModel::Time kStart = WatchModel::Time{} + seconds(100);
constexpr ScreenSize kUsual = {80, 24};

class WatchLayoutTest : public testing::Test {
 protected:
  WatchLayoutTest() {
    mModel.SetConnected(true);
    mData = {-201, -230, -215, -228, 35, -229, -120, -602};
  }

  void Take(LuCmd_e command = LU_CMD_START, int valid = 1, milliseconds at = milliseconds(0)) {
    LoudnessMessage message;
    message.data = mData;
    message.command = static_cast<std::int16_t>(command);
    message.validSource = static_cast<std::int16_t>(valid);
    message.time = kStart + at;
    mModel.TakeData(message);
  }

  void Note(const std::string& command, std::optional<std::uint32_t> user = std::nullopt) {
    louddesk::ServiceAnswer answer;
    answer.command = command;
    answer.user = user;
    mModel.TakeAnswer(answer, kStart, "12:34:56");
  }

  void Configure(louddesk::LoudnessConfiguration configuration) {
    louddesk::ServiceAnswer answer;
    answer.kind = louddesk::StateKind::kConfiguration;
    answer.isRepublished = true;
    answer.configuration = configuration.Json();
    mModel.TakeAnswer(answer, kStart, "12:34:56");
  }

  std::string Picture(ScreenSize size = kUsual, milliseconds at = milliseconds(100)) const {
    const TextScreen screen = ComposeWatch(mModel, mLook, size, kStart + at);
    EXPECT_EQ(size.rows, screen.Rows());
    std::string text;
    for (std::size_t row = 0; row < screen.Rows(); ++row)
      text += screen.Text(row) + "\n";
    return text;
  }

  /// The line that begins with `name`.
  std::string Line(const std::string& name, ScreenSize size = kUsual) const {
    const std::string picture = Picture(size);
    const std::size_t begin = picture.find("\n " + name);
    EXPECT_NE(std::string::npos, begin) << picture;
    return picture.substr(begin + 1, picture.find('\n', begin + 1) - begin - 1);
  }

  void Press(const std::string& keys) {
    for (const char key : keys)
      louddesk::ActOnKey(key, mLook, mModel);
  }

  /// The colour of the first cell of a text.
  louddesk::Ink InkOf(const std::string& text) const {
    const TextScreen screen = ComposeWatch(mModel, mLook, kUsual, kStart);
    for (std::size_t row = 0; row < screen.Rows(); ++row) {
      std::string line;  // one character per cell
      for (const louddesk::TextCell& cell : screen.Row(row))
        line += cell.glyph < 128 ? static_cast<char>(cell.glyph) : '?';
      if (const std::size_t column = line.find(text); column != std::string::npos)
        return screen.Row(row)[column].ink;
    }
    ADD_FAILURE() << "no " << text;
    return louddesk::Ink::kPlain;
  }

  LoudnessData_t mData;
  WatchModel mModel{kStart};
  WatchLook mLook;
};

TEST_F(WatchLayoutTest, UsualWindowHasEveryPart) {
  Take();
  Note("Pause");
  const std::string picture = Picture();
  for (const char* part :
       {"meter set 1, cluster 1", "PAUSED", "Source valid", "last message 0.1 s ago", "Momentary",
        "-23.0 LKFS", "Short-term", "-21.5 LKFS", "True peak", "-6.02 dBTP",
        "Integrated loudness  -22.8 LKFS  +0.2 LU", "Programme loudness   -22.9 LKFS  +0.1 LU",
        "Loudness range         3.5 LU", "Maximum momentary    -20.1 LKFS",
        "Maximum short-term   -21.5 LKFS", "Maximum true peak    -1.20 dBTP",
        "Short-term, last 2 min 26 s", "12:34:56  Pause acknowledged", "q quits"})
    EXPECT_THAT(picture, HasSubstr(part));
}

TEST_F(WatchLayoutTest, BarEndsAtTheLoudness) {
  // 27 LU on 55 cells: 0 LU, the target, ends 55 * 18 / 27 = 36.67 cells from the left.
  Take();
  std::string bar;
  for (int i = 0; i < 36; ++i)
    bar += "█";
  EXPECT_THAT(Line("Momentary"), HasSubstr(" " + bar + "▋·"));
}

TEST_F(WatchLayoutTest, TargetMovesTheScale) {
  Take();
  mLook.target = -24.0;
  EXPECT_THAT(Line("Integrated"), HasSubstr("-22.8 LKFS  +1.2 LU"));
  EXPECT_THAT(Picture(), HasSubstr("target -24.0 LKFS"));
}

TEST_F(WatchLayoutTest, ScalesReachAsFarAsTheirNames) {
  Take();
  EXPECT_THAT(Line("LU"), testing::AllOf(HasSubstr("-18 "), HasSubstr("+9")));
  mLook.scale = 18;
  EXPECT_THAT(Line("LU"), testing::AllOf(HasSubstr("-36 "), HasSubstr("+18")));
}

louddesk::LoudnessConfiguration OfTheUnit() {
  louddesk::LoudnessConfiguration configuration;
  configuration.referenceLevel = -20;
  configuration.loudnessStandard = "EBU R128 (+18)";
  configuration.alarmTolerance = 3;
  return configuration;
}

TEST_F(WatchLayoutTest, WithoutAConfigurationTheMeterIsThatOfLiveProgrammes) {
  Take();
  EXPECT_THAT(Picture(), HasSubstr("target -23.0 LKFS, +/-1 LU"));
}

TEST_F(WatchLayoutTest, TargetScaleAndToleranceAreThoseOfTheService) {
  Take();
  Configure(OfTheUnit());
  EXPECT_THAT(Picture(), HasSubstr("target -20.0 LKFS, +/-3 LU"));
  EXPECT_THAT(Line("LU"), HasSubstr("+18"));
}

TEST_F(WatchLayoutTest, OptionsComeBeforeTheConfiguration) {
  Take();
  Configure(OfTheUnit());
  mLook.target = -24.0;
  mLook.tolerance = 0.5;
  mLook.scale = 9;
  EXPECT_THAT(Picture(), HasSubstr("target -24.0 LKFS, +/-0.5 LU"));
  EXPECT_THAT(Line("LU"), HasSubstr("+9"));
}

// Integrated loudness is -22.8 LKFS.
TEST_F(WatchLayoutTest, FiguresOnBothSidesOfTheTargetAreColoured) {
  Take();
  mLook.tolerance = 2.0;
  for (const auto& [target, ink] :
       {std::pair(-25.0, louddesk::Ink::kAlert), std::pair(-23.0, louddesk::Ink::kStrong),
        std::pair(-20.0, louddesk::Ink::kLow)}) {
    mLook.target = target;
    EXPECT_EQ(ink, InkOf("-22.8")) << target;
  }
}

TEST_F(WatchLayoutTest, RangeIsABarWithItsUnit) {
  // 3.5 of 30 LU on 55 cells are 6.4.
  Take();
  EXPECT_THAT(Line("Range"), testing::AllOf(HasSubstr(" ██████▍·"), HasSubstr("  3.5 LU")));
  EXPECT_THAT(Line("Range", {120, 40}), HasSubstr("of 30 LU"));
  mData.Lra = 301;
  Take();
  EXPECT_THAT(Line("Range"), HasSubstr("█> "));
}

TEST_F(WatchLayoutTest, LoudnessBeyondTheScaleIsMarked) {
  mData.Momentary = -139;  // 9.1 LU above the target
  Take();
  EXPECT_THAT(Line("Momentary"), HasSubstr("█> "));
}

TEST_F(WatchLayoutTest, KeysMoveTheTarget) {
  Take();
  Configure(OfTheUnit());
  Press("+");
  EXPECT_THAT(Picture(), HasSubstr("target -19.0 LKFS"));
  Press("---");
  EXPECT_THAT(Picture(), HasSubstr("target -22.0 LKFS"));
  Press(std::string(100, '-'));
  EXPECT_THAT(Picture(), HasSubstr("target -60.0 LKFS"));
}

TEST_F(WatchLayoutTest, KeyChangesTheScaleAndBack) {
  Take();
  Press("s");
  EXPECT_THAT(Line("LU"), HasSubstr("+18"));
  Press("s");
  EXPECT_THAT(Line("LU"), HasSubstr("+9"));
}

TEST_F(WatchLayoutTest, KeyLetsTheMaximaSeenHereBeginAnew) {
  Take();
  mData.ShortTerm = -300;
  Take();
  EXPECT_THAT(Picture(), HasSubstr("Maximum short-term   -21.5 LKFS"));
  Press("m");
  Take();
  EXPECT_THAT(Picture(), HasSubstr("Maximum short-term   -30.0 LKFS"));
}

TEST_F(WatchLayoutTest, KeyShowsTheHelpAndTakesItAway) {
  Take();
  Press("h");
  EXPECT_THAT(Picture(), HasSubstr("s       scale +9 or +18"));
  EXPECT_THAT(Picture(), Not(HasSubstr("1       start")));
  Press("h");
  EXPECT_THAT(Picture(), Not(HasSubstr("scale +9 or +18")));
}

TEST_F(WatchLayoutTest, ControlSaysSoAndHasItsKeys) {
  Take();
  mLook.isControlling = true;
  EXPECT_THAT(Picture(), testing::AllOf(HasSubstr("this is in the application server's place"),
                                        HasSubstr("1 start  2 pause  3 play  4 stop  5 reset")));
  Press("h");
  EXPECT_THAT(Picture(), HasSubstr("1       start"));
}

TEST_F(WatchLayoutTest, NoReadingIsADash) {
  mData = LoudnessData_t{};
  Take();
  EXPECT_THAT(Line("Momentary"), HasSubstr("      - LKFS"));
  EXPECT_THAT(Line("True peak"), HasSubstr("      - dBTP"));
  EXPECT_THAT(Line("Integrated"), HasSubstr("  - LKFS"));
  EXPECT_THAT(Line("Integrated"), Not(HasSubstr("LU")));
  EXPECT_THAT(Picture(), HasSubstr("Loudness range           - LU"));
}

TEST_F(WatchLayoutTest, FrozenSourceIsNotShownAsHealthy) {
  for (int i = 0; i < 41; ++i)
    Take(LU_CMD_START, 1, milliseconds(i * 100));
  EXPECT_THAT(Picture(kUsual, milliseconds(4000)),
              HasSubstr("no change for 4 s: no blocks, or a steady tone"));
}

TEST_F(WatchLayoutTest, FiguresAreLabelledWithTheWindowsInForce) {
  Take();
  EXPECT_THAT(Picture(), HasSubstr("Windows not known yet"));
  Configure({});
  EXPECT_THAT(Picture(), HasSubstr("Integrated over 3 s, range 9 s; target "));
}

TEST_F(WatchLayoutTest, SilentServiceIsNotShownFrozen) {
  Take();
  const std::string picture = Picture(kUsual, milliseconds(1000));
  EXPECT_THAT(picture, HasSubstr("SILENT"));
  EXPECT_THAT(picture, HasSubstr("last message 1.0 s ago"));
  EXPECT_THAT(picture, HasSubstr("Last known"));
  EXPECT_THAT(picture, Not(HasSubstr("-23.0 LKFS\n")));
  EXPECT_THAT(picture, HasSubstr("Integrated loudness  -22.8 LKFS"));
}

TEST_F(WatchLayoutTest, DeadServiceIsShownDead) {
  Take();
  mModel.SetConnected(false);
  EXPECT_THAT(Picture(kUsual, milliseconds(1000)), HasSubstr("DEAD"));
}

TEST_F(WatchLayoutTest, AbsentServiceIsReported) {
  mModel.SetConnected(false);
  const std::string picture = Picture();
  EXPECT_THAT(picture, HasSubstr("NO SERVICE"));
  EXPECT_THAT(picture, HasSubstr("no message yet"));
}

TEST_F(WatchLayoutTest, InvalidSourceIsReported) {
  Take(LU_CMD_NONE, 0);
  EXPECT_THAT(Picture(), HasSubstr("No source"));
}

TEST_F(WatchLayoutTest, PeakAboveThePermittedOneIsReportedWithoutColours) {
  mData.MaxTruePeak = -100;
  Take();
  // -1 dBTP is the permitted maximum and does not exceed it.
  EXPECT_THAT(Picture({120, 24}), Not(HasSubstr("OVER")));
  mData.MaxTruePeak = -99;
  Take();
  EXPECT_THAT(Picture({120, 24}), HasSubstr("OVER"));
}

TEST_F(WatchLayoutTest, WideWindowShowsLuBesideTheBars) {
  Take();
  EXPECT_THAT(Line("Short-term", {120, 40}), HasSubstr("+1.5 LU  -21.5 LKFS"));
}

TEST_F(WatchLayoutTest, LastAcknowledgementsStay) {
  for (int i = 0; i < 30; ++i)
    Note("Reset");
  Note("Start");
  EXPECT_THAT(Picture(), HasSubstr("Start acknowledged"));
}

TEST_F(WatchLayoutTest, UsualWindowHasTheThreeAnswersToANewStart) {
  Take();
  for (const unsigned user : {1u, 2u, 3u})
    Note("Start", user);
  const std::string picture = Picture();
  for (const char* user : {"user 1", "user 2", "user 3"})
    EXPECT_THAT(picture, HasSubstr(user));
}

// Of 51 columns, 11 are the left margin, the time and the blanks after it, and one is the right
// margin: 39 are left, 13 of them for " acknowledged".
TEST_F(WatchLayoutTest, AnswerThatDoesNotFitEndsInDots) {
  Take();
  Note(std::string(26, 'a'));
  Note(std::string(27, 'b'));
  const std::string picture = Picture({51, 40});
  EXPECT_THAT(picture, HasSubstr("12:34:56  " + std::string(26, 'a') + " acknowledged\n"));
  EXPECT_THAT(picture, HasSubstr("12:34:56  " + std::string(27, 'b') + " acknowle...\n"));
}

TEST_F(WatchLayoutTest, NarrowWindowHasAllFiguresBeforeAHistory) {
  Take();
  const std::string picture = Picture({60, 20});
  for (const char* figure : {"Integrated loudness", "Maximum true peak", "Programme loudness",
                             "Maximum momentary", "Loudness range", "Maximum short-term"})
    EXPECT_THAT(picture, HasSubstr(figure));
  EXPECT_THAT(picture, HasSubstr("Short-term, last "));
  // 12 rows: header, three bars, status, scale and all six figures.
  EXPECT_THAT(Picture({60, 12}), HasSubstr("Maximum short-term"));
  EXPECT_THAT(Picture({60, 12}), Not(HasSubstr("Short-term, last ")));
}

// With 27 LU in three rows, the labels of 0 LU and +9 LU fall into the same row: 18 / 27 of three
// rows are two.
TEST_F(WatchLayoutTest, LowHistoryHasNoLabelUponAnother) {
  Take();
  const std::string picture = Picture({60, 20});
  EXPECT_THAT(picture, HasSubstr("\n   +9 "));
  EXPECT_THAT(picture, HasSubstr("\n  -18 "));
  EXPECT_THAT(picture, Not(HasSubstr("+0 ")));
  EXPECT_THAT(Picture(), HasSubstr("\n    0 "));
}

TEST_F(WatchLayoutTest, SmallestWindowHasStateAndBars) {
  Take();
  const std::string picture = Picture(louddesk::kSmallestWindow);
  for (const char* part : {"RUNNING", "Momentary", "-23.0 LKFS", "Short-term", "-21.5 LKFS"})
    EXPECT_THAT(picture, HasSubstr(part));
}

TEST_F(WatchLayoutTest, SmallerWindowSaysWhatItNeeds) {
  EXPECT_THAT(Picture({39, 24}), HasSubstr("needs 40x3"));
  EXPECT_THAT(Picture({80, 2}), HasSubstr("needs 40x3"));
}

TEST_F(WatchLayoutTest, EverySizeIsFilledWithoutOverlap) {
  Take();
  Note("Start");
  for (std::size_t columns = 1; columns <= 200; columns += 7)
    for (std::size_t rows = 1; rows <= 70; ++rows) {
      const TextScreen screen = ComposeWatch(mModel, mLook, {columns, rows}, kStart);
      EXPECT_EQ(columns, screen.Columns());
      EXPECT_EQ(rows, screen.Rows());
      if (columns < 40 || rows < 3)
        continue;
      EXPECT_THAT(screen.Text(0), HasSubstr("RUNNING")) << columns << "x" << rows;
    }
}

TEST_F(WatchLayoutTest, AsciiTerminalGetsAscii) {
  Take();
  mLook.glyphs = louddesk::Glyphs::kAscii;
  for (const char c : Picture())
    EXPECT_GE(c, 0) << "not ASCII";
}

}  // namespace
