// Table and notes, letter for letter.

#include "FigureFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TestProgrammes.h"

namespace louddesk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string RowOf(const std::string& file, const MeasuredProgramme& programme) {
  const FileFacts facts = FactsOf(file);
  return TableRow(SubjectOf(facts, programme), Assessed(programme));
}

TEST(FigureFormatTest, TableIsAlignedUnderItsHeading) {
  EXPECT_EQ(
      TableHeader() + RowOf("a.wav", Stereo()) + RowOf("b c.flac", Silence()),
      "Integrated  Loudness    Maximum     Maximum    Maximum  Duration  Gain to  Gain up to"
      "     Verdict\n"
      "  loudness     range  momentary  short-term  true peak             target  peak limit\n"
      "      LKFS        LU       LKFS        LKFS       dBTP         s       dB          dB"
      "              File\n"
      "    -23.00      5.12     -18.20      -20.00      -1.00    123.46    +0.00       +0.00"
      "        Pass  a.wav\n"
      "         -         -          -           -          -      3.00        -           -"
      "  No reading  b c.flac\n");
}

TEST(FigureFormatTest, WrittenFiguresAreTheColumnsOfTheTable) {
  std::string text;
  for (const WrittenFigure& figure : WrittenFigures(Stereo().figures, {6.5, -1.0}))
    text += figure.name + " " + figure.text + " " + figure.unit + "\n";
  EXPECT_EQ(text,
            "Integrated loudness -23.00 LKFS\nLoudness range 5.12 LU\n"
            "Maximum momentary -18.20 LKFS\nMaximum short-term -20.00 LKFS\n"
            "Maximum true peak -1.00 dBTP\nDuration 123.46 s\nGain to target +6.50 dB\n"
            "Gain up to peak limit -1.00 dB\n");
  EXPECT_EQ(WrittenFigures(Silence().figures, {}).front().text, "-");
}

TEST(FigureFormatTest, ANameCannotChangeTheTable) {
  EXPECT_THAT(RowOf("red\x1B[31m\n.wav", Silence()),
              testing::EndsWith("  No reading  red\\x1B[31m\\x0A.wav\n"));
}

TEST(FigureFormatTest, OneOfSeveralProgrammesIsNamedByItsChannels) {
  const FileFacts facts = FactsOf("a.wav");
  MeasuredProgramme programme = Stereo();
  programme.programme = {{6, "Left"}, {7, "Right"}};
  EXPECT_THAT(TableRow({&facts, 1, true, &programme}, Assessed(programme)),
              testing::EndsWith("  a.wav [channels 7,8]\n"));
  EXPECT_THAT(TableRow({nullptr, 3, true, &programme}, Assessed(programme)),
              testing::EndsWith("  all 3 files as one programme [channels 7,8]\n"));
}

TEST(FigureFormatTest, FiguresAtTheEndOfTheirScalesAreMarked) {
  MeasuredProgramme programme = Stereo();
  Figures& figures = programme.figures;
  figures.isPeakAtLeast = true;
  EXPECT_THAT(RowOf("a.wav", programme), HasSubstr("    >=-1.00    123.46 "));
  EXPECT_THAT(KeysAtLeast(figures), ElementsAre("MaxTruePeak"));
  EXPECT_THAT(NotesOn(figures), ElementsAre("beyond the scale, so at least the value shown: "
                                            "Maximum true peak"));
  figures.isPeakAtLeast = false;
  figures.isLoudnessAtLeast = true;
  figures.isMomentaryAtLeast = true;
  figures.lra = std::nullopt;
  EXPECT_THAT(RowOf("a.wav", programme),
              testing::StartsWith("  >=-23.00         -   >=-18.20    >=-20.00      -1.00 "));
  EXPECT_THAT(KeysAtLeast(figures), ElementsAre("Integrated", "MaxMomentary", "MaxShortTerm"));
  EXPECT_THAT(NotesOn(figures),
              ElementsAre("beyond the scale, so at least the value shown: Integrated "
                          "loudness, Maximum momentary, Maximum short-term",
                          "above the scale of loudness; there is no loudness range"));
}

TEST(FigureFormatTest, AMissingFigureIsNotAtTheEndOfItsScale) {
  Figures figures = Silence().figures;
  figures.isPeakAtLeast = true;
  EXPECT_THAT(KeysAtLeast(figures), IsEmpty());
  EXPECT_THAT(NotesOn(figures), IsEmpty());
}

// EBU Tech 3341.
TEST(FigureFormatTest, TheRangeOfLessThanAMinuteIsMarkedAsNotYetStable) {
  MeasuredProgramme programme = Stereo();
  programme.figures.seconds = 59.99;
  EXPECT_THAT(RowOf("a.wav", programme), HasSubstr("     ~5.12 "));
  programme.figures.seconds = 60.0;
  EXPECT_THAT(RowOf("a.wav", programme), HasSubstr("      5.12 "));
}

TEST(FigureFormatTest, ProgrammesWithinTheScalesNeedNoNoteHoweverLong) {
  Figures figures = Stereo().figures;
  figures.seconds = 86400.0;
  EXPECT_THAT(NotesOn(figures), IsEmpty());
}

}  // namespace
}  // namespace louddesk
