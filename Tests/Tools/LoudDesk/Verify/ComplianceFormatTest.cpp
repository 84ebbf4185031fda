// Rows of a verification as table, Markdown and JSON.

#include "ComplianceFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <sstream>

#include "ComplianceRows.h"

namespace louddesk {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

ComplianceRow Row(const Expectation& expectation, const std::optional<double>& measured,
                  ComplianceVerdict verdict) {
  return {"3341-99", "a signal", expectation, measured, verdict};
}

ComplianceRow MomentaryRow() {
  return Row({Quantity::kMaxMomentary, "i = 2", Pick::kLast, 14, 14, -23.0, -23.4576, {0.1, 0.1}},
             -23.4512, ComplianceVerdict::kGrid);
}

ComplianceRow TruePeakRow() {
  return Row({Quantity::kMaxTruePeak, "", Pick::kLast, 10, 10, -6.0, -6.0, {0.4, 0.2}}, -6.5,
             ComplianceVerdict::kFail);
}

ComplianceRow MissingRow() {
  return Row({Quantity::kLra, "", Pick::kLast, 10, 10, 10.0, 10.0, {1.0, 1.0}}, std::nullopt,
             ComplianceVerdict::kFail);
}

ComplianceRow FineRow() {
  return Row({Quantity::kWeightingGain,
              "997 Hz at 44.1 kHz",
              Pick::kLast,
              30,
              30,
              0.6938,
              0.6938,
              {5e-5, 5e-5}},
             0.69381, ComplianceVerdict::kPass);
}

ComplianceRow RecordingRow() {
  return {"3341-7", "a recording", std::nullopt, std::nullopt, ComplianceVerdict::kNotRun};
}

// The rows of all cases with every figure at its widest.
std::vector<ComplianceRow> WideRows() {
  return RowsOfAllCases([](const Expectation&) { return -99.0; });
}

TEST(ComplianceFormatTest, TableNamesTheCaseOnceAndAlignsItsFigures) {
  constexpr ComplianceStyle kTable = ComplianceStyle::kTable;
  EXPECT_EQ(ComplianceHeader(kTable) + ComplianceText(MomentaryRow(), true, kTable) +
                ComplianceText(TruePeakRow(), false, kTable) +
                ComplianceText(MissingRow(), false, kTable) +
                ComplianceText(FineRow(), false, kTable) +
                ComplianceText(RecordingRow(), true, kTable),
            "Case  Signal\n"
            "  Figure                          Standard Expected Tolerance Measured\n"
            "3341-99  a signal\n"
            "  Maximum momentary, i = 2          -23.00   -23.46     +-0.1   -23.45 LKFS grid\n"
            "  Maximum true peak                  -6.00    -6.00 +0.2/-0.4    -6.50 dBTP FAIL\n"
            "  Loudness range                     10.00    10.00       +-1        - LU   FAIL\n"
            "  K-weighting, 997 Hz at 44.1 kHz   0.6938   0.6938 +-0.00005   0.6938 dB   pass\n"
            "3341-7  a recording: not run\n");
}

TEST(ComplianceFormatTest, EveryLineOfEveryCaseFits80Columns) {
  std::string text = ComplianceHeader(ComplianceStyle::kTable);
  for (const ComplianceRow& row : WideRows())
    text += ComplianceText(row, true, ComplianceStyle::kTable);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    EXPECT_LE(line.size(), 80U) << line;
}

TEST(ComplianceFormatTest, TableEndsWithTheCountOfEachVerdict) {
  const std::vector<ComplianceRow> rows = {MomentaryRow(), TruePeakRow(), MissingRow(), FineRow(),
                                           RecordingRow()};
  EXPECT_EQ(ComplianceSummary(rows, ComplianceStyle::kTable),
            "\n1 pass, 1 grid, 2 FAIL, 1 not run\n");
  EXPECT_EQ(ComplianceSummary(rows, ComplianceStyle::kMarkdown), "");
  EXPECT_EQ(ComplianceSummary(rows, ComplianceStyle::kJson), "");
}

TEST(ComplianceFormatTest, MarkdownIsATable) {
  constexpr ComplianceStyle kMarkdown = ComplianceStyle::kMarkdown;
  EXPECT_EQ(ComplianceHeader(kMarkdown) + ComplianceText(MomentaryRow(), true, kMarkdown) +
                ComplianceText(TruePeakRow(), false, kMarkdown) +
                ComplianceText(MissingRow(), false, kMarkdown) +
                ComplianceText(RecordingRow(), true, kMarkdown),
            "| Case | Signal | Figure | Standard | Expected | Tolerance | Measured | Verdict |\n"
            "|---|---|---|---:|---:|---|---:|---|\n"
            "| 3341-99 | a signal | Maximum momentary, i = 2 | -23.00 | -23.46 | ±0.1 | -23.45 "
            "LKFS | grid "
            "|\n"
            "| | | Maximum true peak | -6.00 | -6.00 | +0.2/-0.4 | -6.50 dBTP | FAIL |\n"
            "| | | Loudness range | 10.00 | 10.00 | ±1 | - | FAIL |\n"
            "| 3341-7 | a recording | | | | | | not run |\n");
  ComplianceRow copy = RecordingRow();
  copy.signal = "recording, a|b.wav";
  EXPECT_THAT(ComplianceText(copy, true, ComplianceStyle::kMarkdown),
              testing::StartsWith("| 3341-7 | recording, a\\|b.wav | "));
}

TEST(ComplianceFormatTest, EveryMarkdownRowHasEightCells) {
  for (const bool isFirst : {true, false})
    for (const ComplianceRow& row : WideRows()) {
      const std::string text = ComplianceText(row, isFirst, ComplianceStyle::kMarkdown);
      EXPECT_EQ(std::count(text.begin(), text.end(), '|'), 9) << text;
    }
}

TEST(ComplianceFormatTest, JsonIsOneObjectALine) {
  constexpr ComplianceStyle kJson = ComplianceStyle::kJson;
  EXPECT_EQ(ComplianceHeader(kJson), "");
  EXPECT_EQ(ComplianceText(TruePeakRow(), false, kJson),
            "{\"Case\":\"3341-99\",\"Signal\":\"a signal\",\"Figure\":\"Maximum true peak\","
            "\"Unit\":\"dBTP\",\"Standard\":-6.00,\"Expected\":-6.00,\"ToleranceBelow\":0.4,"
            "\"ToleranceAbove\":0.2,\"Measured\":-6.50,\"Verdict\":\"FAIL\"}\n");
  EXPECT_THAT(ComplianceText(MissingRow(), true, kJson), HasSubstr("\"Measured\":null,"));
  EXPECT_EQ(ComplianceText(RecordingRow(), true, kJson),
            "{\"Case\":\"3341-7\",\"Signal\":\"a recording\",\"Verdict\":\"not run\"}\n");
}

TEST(ComplianceFormatTest, EveryJsonLineCanBeRead) {
  for (const ComplianceRow& row : WideRows()) {
    const std::string text = ComplianceText(row, true, ComplianceStyle::kJson);
    rapidjson::Document document;
    document.Parse(text.c_str());
    ASSERT_FALSE(document.HasParseError()) << text;
    EXPECT_EQ(document["Case"].GetString(), row.caseId);
  }
}

}  // namespace
}  // namespace louddesk
