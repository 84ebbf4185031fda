// Table, JSON and notes, letter for letter.

#include "FigureFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

namespace louddesk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Figures Programme() {
  Figures figures;
  figures.seconds = 123.456;
  figures.integrated = -23.004;
  figures.lra = 5.125;
  figures.maxMomentary = -18.2;
  figures.maxShortTerm = -19.999;
  figures.maxTruePeak = -1.0;
  return figures;
}

Figures Silence() {
  Figures figures;
  figures.seconds = 3.0;
  return figures;
}

// 5.125 is exact in binary, so that the tie goes to the even digit.
TEST(FigureFormatTest, TableIsAlignedUnderItsHeading) {
  EXPECT_EQ(TableHeader() + TableRow("a.wav", Programme()) + TableRow("b c.flac", Silence()),
            "Integrated  Loudness    Maximum     Maximum    Maximum  Duration\n"
            "  loudness     range  momentary  short-term  true peak\n"
            "      LKFS        LU       LKFS        LKFS       dBTP         s  File\n"
            "    -23.00      5.12     -18.20      -20.00      -1.00    123.46  a.wav\n"
            "         -         -          -           -          -      3.00  b c.flac\n");
}

TEST(FigureFormatTest, WrittenFiguresAreTheColumnsOfTheTable) {
  std::string text;
  for (const WrittenFigure& figure : WrittenFigures(Programme()))
    text += figure.name + " " + figure.text + " " + figure.unit + "\n";
  EXPECT_EQ(text,
            "Integrated loudness -23.00 LKFS\nLoudness range 5.12 LU\n"
            "Maximum momentary -18.20 LKFS\nMaximum short-term -20.00 LKFS\n"
            "Maximum true peak -1.00 dBTP\nDuration 123.46 s\n");
  EXPECT_EQ(WrittenFigures(Silence()).front().text, "-");
}

TEST(FigureFormatTest, JsonIsOneObjectALine) {
  EXPECT_EQ(JsonLine("a.wav", Programme()),
            "{\"File\":\"a.wav\",\"Seconds\":123.46,\"Integrated\":-23.00,\"Lra\":5.12,"
            "\"MaxMomentary\":-18.20,\"MaxShortTerm\":-20.00,\"MaxTruePeak\":-1.00,"
            "\"AtLeast\":[]}\n");
}

TEST(FigureFormatTest, JsonSaysNullWhereThereIsNoReading) {
  EXPECT_EQ(JsonLine("silence.wav", Silence()),
            "{\"File\":\"silence.wav\",\"Seconds\":3.00,\"Integrated\":null,\"Lra\":null,"
            "\"MaxMomentary\":null,\"MaxShortTerm\":null,\"MaxTruePeak\":null,"
            "\"AtLeast\":[]}\n");
}

TEST(FigureFormatTest, JsonTellsAnyFileNameTruly) {
  for (const char* name :
       {"with \"quotes\"", "back\\slash", "line\nfeed", "tab\t", "\x01", "äöü ♫"}) {
    rapidjson::Document document;
    document.Parse(JsonLine(name, Silence()).c_str());
    ASSERT_FALSE(document.HasParseError()) << name;
    EXPECT_STREQ(document["File"].GetString(), name);
  }
}

TEST(FigureFormatTest, ANameCannotChangeTheTable) {
  EXPECT_EQ(TableRow("red\x1B[31m\n.wav", Silence()),
            "         -         -          -           -          -      3.00  "
            "red\\x1B[31m\\x0A.wav\n");
}

TEST(FigureFormatTest, JsonIsValidForNamesThatAreNoUtf8) {
  const std::string line = JsonLine("caf\xE9.wav", Silence());
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(line.c_str());
  ASSERT_FALSE(document.HasParseError()) << line;
  EXPECT_STREQ(document["File"].GetString(), "caf\xEF\xBF\xBD.wav");
}

TEST(FigureFormatTest, FiguresAtTheEndOfTheirScalesAreMarked) {
  Figures figures = Programme();
  figures.isPeakAtLeast = true;
  EXPECT_EQ(TableRow("a.wav", figures),
            "    -23.00      5.12     -18.20      -20.00    >=-1.00    123.46  a.wav\n");
  EXPECT_THAT(JsonLine("a.wav", figures), HasSubstr(",\"AtLeast\":[\"MaxTruePeak\"]}"));
  EXPECT_THAT(NotesOn(figures), ElementsAre("beyond the scale and thus at least what is shown: "
                                            "Maximum true peak"));
  figures.isPeakAtLeast = false;
  figures.isLoudnessAtLeast = true;
  figures.isMomentaryAtLeast = true;
  figures.lra = std::nullopt;
  EXPECT_EQ(TableRow("a.wav", figures),
            "  >=-23.00         -   >=-18.20    >=-20.00      -1.00    123.46  a.wav\n");
  EXPECT_THAT(JsonLine("a.wav", figures),
              HasSubstr(",\"AtLeast\":[\"Integrated\",\"MaxMomentary\",\"MaxShortTerm\"]}"));
  EXPECT_THAT(NotesOn(figures),
              ElementsAre("beyond the scale and thus at least what is shown: Integrated "
                          "loudness, Maximum momentary, Maximum short-term",
                          "louder than the scale of loudness; there is no loudness range"));
}

// Sums that have wrapped around leave no figure that could be marked.
TEST(FigureFormatTest, AMissingFigureIsNotAtTheEndOfItsScale) {
  Figures figures = Silence();
  figures.isPeakAtLeast = true;
  EXPECT_THAT(JsonLine("a.wav", figures), HasSubstr("\"AtLeast\":[]"));
  EXPECT_THAT(TableRow("a.wav", figures), testing::Not(HasSubstr(">=")));
  EXPECT_THAT(NotesOn(figures), IsEmpty());
}

TEST(FigureFormatTest, ProgrammesWithinTheScalesNeedNoNoteHoweverLong) {
  Figures figures = Programme();
  figures.seconds = 86400.0;
  EXPECT_THAT(NotesOn(figures), IsEmpty());
}

}  // namespace
}  // namespace louddesk
