// Rows of comma-separated values, letter for letter.

#include "SeriesFormat.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

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

MeasuredSeries SeriesOf(const std::string& file, const std::vector<SeriesPoint>& points) {
  MeasuredSeries series;
  series.file = file;
  series.points = points;
  return series;
}

TEST(SeriesFormatTest, HeadingNamesTheColumns) {
  EXPECT_EQ(CsvHeader(), "File,Seconds,Momentary,ShortTerm,Integrated,Lra,TruePeak\n");
}

TEST(SeriesFormatTest, EachPointIsARow) {
  EXPECT_EQ(CsvRows(SeriesOf("a.wav", {FullPoint(), FullPoint()})),
            "a.wav,0.40,-23.00,-24.50,-23.25,0.00,0.00\n"
            "a.wav,0.40,-23.00,-24.50,-23.25,0.00,0.00\n");
}

TEST(SeriesFormatTest, NoReadingIsAnEmptyField) {
  SeriesPoint point;
  point.seconds = 0.1;
  EXPECT_EQ(CsvRows(SeriesOf("a.wav", {point})), "a.wav,0.10,,,,,\n");
  point.truePeak = -6.0F;
  EXPECT_EQ(CsvRows(SeriesOf("a.wav", {point})), "a.wav,0.10,,,,,-6.00\n");
}

// RFC 4180, 2.6 and 2.7.
TEST(SeriesFormatTest, NamesWithSpecialCharactersStandInQuotes) {
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
  for (const auto& c : cases)
    EXPECT_EQ(CsvRows(SeriesOf(c.file, {SeriesPoint()})), c.field + std::string(",0.00,,,,,\n"));
}

TEST(SeriesFormatTest, AFileWithoutABlockHasNoRow) {
  EXPECT_EQ(CsvRows(SeriesOf("a.wav", {})), "");
}

}  // namespace
}  // namespace louddesk
