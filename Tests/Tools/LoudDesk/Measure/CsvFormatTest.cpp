// Rows of comma-separated values, letter for letter.

#include "CsvFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "TestProgrammes.h"

namespace louddesk {
namespace {

using testing::EndsWith;
using testing::StartsWith;

SeriesPoint FullPoint() {
  SeriesPoint point;
  point.seconds = 0.4;
  point.momentary = -23.0F;
  point.shortTerm = -24.5F;
  point.integrated = -23.25F;
  point.lra = 0.0F;
  point.truePeak = -0.001F;
  return point;
}

std::string RowsOf(const std::string& file, const std::vector<SeriesPoint>& points) {
  const FileFacts facts = FactsOf(file);
  MeasuredProgramme programme = Stereo();
  programme.points = points;
  return SeriesRows(SubjectOf(facts, programme));
}

std::string RowOf(const FileFacts& facts, const MeasuredProgramme& programme,
                  const std::string& profile = kUsualProfile) {
  return CsvRow(SubjectOf(facts, programme), Assessed(programme, profile), CriteriaOf(profile));
}

std::ptrdiff_t Commas(const std::string& text) {
  return std::count(text.begin(), text.end(), ',');
}

TEST(CsvFormatTest, HeadingsNameEveryColumnWithItsUnit) {
  EXPECT_EQ(
      CsvHeader(),
      "File,Files,Channels,Speakers,Format,Sample rate (Hz),Size (bytes),SHA-256,"
      "Duration (s),Integrated loudness (LKFS),Loudness range (LU),Loudness range is stable,"
      "Maximum momentary (LKFS),Maximum momentary at (s),Maximum short-term (LKFS),"
      "Maximum short-term at (s),Maximum true peak (dBTP),Maximum true peak at (s),At least,"
      "Profile,Target (LKFS),Gain to target (dB),Gain up to peak limit (dB),Verdict,Damage\n");
  EXPECT_EQ(SeriesHeader(),
            "File,Channels,Time (s),Momentary (LKFS),Short-term (LKFS),Integrated (LKFS),"
            "Loudness range (LU),True peak (dBTP),Damaged\n");
}

TEST(CsvFormatTest, AProgrammeIsOneRow) {
  EXPECT_EQ(RowOf(FactsOf("a.wav"), Stereo()),
            "a.wav,1,\"1,2\",L R,\"WAV, 16 bit\",48000,1234567,,123.46,-23.00,5.12,yes,-18.20,"
            "10.40,-20.00,12.00,-1.00,99.90,,ebu-r128,-23.00,0.00,0.00,pass,\n");
}

TEST(CsvFormatTest, NoReadingIsAnEmptyField) {
  FileFacts facts = FactsOf("a.wav");
  facts.bytes.reset();
  facts.sha256 = "0123";
  EXPECT_EQ(RowOf(facts, Silence()),
            "a.wav,1,\"1,2\",L R,\"WAV, 16 bit\",48000,,0123,3.00,,,,,,,,,,,ebu-r128,-23.00,,,"
            "open,\n");
}

TEST(CsvFormatTest, WhatIsNotJudgedHasNoVerdict) {
  EXPECT_THAT(RowOf(FactsOf("a.wav"), Stereo(), "spotify"),
              EndsWith(",spotify,-14.00,9.00,0.00,,\n"));
  EXPECT_THAT(RowOf(FactsOf("a.wav"), Stereo(), "none"), EndsWith(",none,,,,,\n"));
}

TEST(CsvFormatTest, FiguresAtTheEndOfTheirScalesAndUnstableOnesAreNamed) {
  MeasuredProgramme programme = Stereo();
  programme.figures.seconds = 59.9;
  programme.figures.isPeakAtLeast = true;
  programme.figures.isMomentaryAtLeast = true;
  const std::string row = RowOf(FactsOf("a.wav"), programme);
  EXPECT_THAT(row, testing::HasSubstr(",5.12,no,"));
  EXPECT_THAT(row, testing::HasSubstr(",99.90,MaxMomentary MaxTruePeak,"));
}

TEST(CsvFormatTest, AllFilesAsOneHaveNoPathAndNoTimes) {
  MeasuredProgramme all = Stereo();
  all.figures.maxMomentaryAt = all.figures.maxShortTermAt = all.figures.maxTruePeakAt = 0.0;
  const std::string row =
      CsvRow({nullptr, 3, false, &all}, Assessed(all), CriteriaOf(kUsualProfile));
  EXPECT_THAT(row,
              StartsWith(",3,\"1,2\",L R,,,,,123.46,-23.00,5.12,yes,-18.20,,-20.00,,-1.00,,,"));
}

TEST(CsvFormatTest, WhatIsDamagedIsReportedInEveryRow) {
  FileFacts facts = FactsOf("a.wav");
  facts.damage = "5.00 % of the file is damaged, at 0:01.0";
  EXPECT_THAT(RowOf(facts, Stereo()), EndsWith(",\"5.00 % of the file is damaged, at 0:01.0\"\n"));
  MeasuredProgramme programme = Stereo();
  programme.points = {SeriesPoint(), SeriesPoint()};
  EXPECT_EQ(SeriesRows(SubjectOf(facts, programme)),
            "a.wav,\"1,2\",0.00,,,,,,yes\na.wav,\"1,2\",0.00,,,,,,yes\n");
  const Subject all = {nullptr, 3, false, &programme, 1};
  EXPECT_THAT(CsvRow(all, Assessed(programme), CriteriaOf(kUsualProfile)),
              EndsWith(",1 of 3 files is damaged\n"));
}

TEST(CsvFormatTest, EveryRowHasTheColumnsOfItsHeading) {
  FileFacts facts = FactsOf("a.wav");
  facts.format = "WAV";
  MeasuredProgramme mono = Stereo();
  mono.programme = ProgrammeOf({"Center"});
  EXPECT_EQ(Commas(RowOf(facts, mono)), Commas(CsvHeader()));
  mono.points = {FullPoint()};
  EXPECT_EQ(Commas(SeriesRows(SubjectOf(facts, mono))), Commas(SeriesHeader()));
}

TEST(CsvFormatTest, EachPointIsARow) {
  EXPECT_EQ(RowsOf("a.wav", {FullPoint(), FullPoint()}),
            "a.wav,\"1,2\",0.40,-23.00,-24.50,-23.25,0.00,0.00,no\n"
            "a.wav,\"1,2\",0.40,-23.00,-24.50,-23.25,0.00,0.00,no\n");
}

TEST(CsvFormatTest, APointWithoutReadingHasEmptyFields) {
  SeriesPoint point;
  point.seconds = 0.1;
  EXPECT_EQ(RowsOf("a.wav", {point}), "a.wav,\"1,2\",0.10,,,,,,no\n");
  point.truePeak = -6.0F;
  EXPECT_EQ(RowsOf("a.wav", {point}), "a.wav,\"1,2\",0.10,,,,,-6.00,no\n");
}

// RFC 4180, 2.6 and 2.7.
TEST(CsvFormatTest, NamesWithSpecialCharactersAreQuoted) {
  struct {
    const char* file;
    const char* field;
  } const cases[] = {
      {"a b.wav", "a b.wav"},
      {"a,b.wav", "\"a,b.wav\""},
      {"a\"b\".wav", "\"a\"\"b\"\".wav\""},
      {"a\nb.wav", "\"a\nb.wav\""},
      {"a\rb.wav", "\"a\rb.wav\""},
      {"\xFF.wav", "\xFF.wav"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RowsOf(c.file, {SeriesPoint()}), c.field + std::string(",\"1,2\",0.00,,,,,,no\n"));
    EXPECT_THAT(RowOf(FactsOf(c.file), Stereo()), StartsWith(c.field + std::string(",1,")));
  }
}

TEST(CsvFormatTest, AFileWithoutABlockHasNoRow) {
  EXPECT_EQ(RowsOf("a.wav", {}), "");
}

}  // namespace
}  // namespace louddesk
