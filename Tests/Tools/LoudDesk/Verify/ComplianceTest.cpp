// The cases of the standards, the choice of their readings, and the verdicts.

#include "Compliance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "BlockMeter.h"

namespace louddesk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const ComplianceCase& CaseOf(const std::string& id) {
  const auto& cases = ComplianceCases();
  const auto found = std::find_if(cases.begin(), cases.end(),
                                  [&](const ComplianceCase& known) { return known.id == id; });
  if (found == cases.end())
    throw std::invalid_argument("no case " + id);
  return *found;
}

std::vector<Expectation> ExpectationsOf(const std::string& id) {
  std::vector<Expectation> expectations;
  for (const ComplianceRun& run : CaseOf(id).runs)
    expectations.insert(expectations.end(), run.expectations.begin(), run.expectations.end());
  return expectations;
}

std::vector<ComplianceRow> Rows(const ComplianceCase& complianceCase, MeterUnderTest& meter,
                                int sampleRate = 48000) {
  std::vector<ComplianceRow> rows;
  RunCase(complianceCase, sampleRate, meter,
          [&](const ComplianceRow& row) { rows.push_back(row); });
  return rows;
}

TEST(ComplianceCasesTest, EveryCaseOfEveryDocumentIsThereOnce) {
  std::vector<std::string> expected = {"1770-gain", "1770-level"};
  for (int i = 1; i <= 23; ++i)
    expected.push_back("3341-" + std::to_string(i));
  for (int i = 1; i <= 6; ++i)
    expected.push_back("3342-" + std::to_string(i));
  expected.push_back("3342-repeat");
  std::vector<std::string> ids;
  for (const ComplianceCase& known : ComplianceCases())
    ids.push_back(known.id);
  EXPECT_EQ(ids, expected);
}

TEST(ComplianceCasesTest, OnlyTheRecordingsHaveNoSignal) {
  std::set<std::string> without;
  for (const ComplianceCase& known : ComplianceCases()) {
    if (known.runs.empty())
      without.insert(known.id);
    EXPECT_EQ(known.recording.has_value(), known.runs.empty()) << known.id;
    for (const ComplianceRun& run : known.runs)
      EXPECT_THAT(run.expectations, testing::Not(IsEmpty())) << known.id;
  }
  EXPECT_THAT(without, ElementsAre("3341-7", "3341-8", "3342-5", "3342-6"));
}

// The requirements of the documents with their tolerances: 0.1 LU and +0.2/-0.4 dB in Tech 3341, 1
// LU in Tech 3342.
TEST(ComplianceCasesTest, StandardFiguresAndTolerancesAreThoseOfTheDocuments) {
  struct {
    const char* id;
    std::size_t figures;
    double standard;
    Tolerance tolerance;
  } const cases[] = {
      {"3341-1", 3, -23, {0.1, 0.1}},  {"3341-2", 3, -33, {0.1, 0.1}},
      {"3341-3", 1, -23, {0.1, 0.1}},  {"3341-4", 1, -23, {0.1, 0.1}},
      {"3341-5", 1, -23, {0.1, 0.1}},  {"3341-6", 1, -23, {0.1, 0.1}},
      {"3341-9", 2, -23, {0.1, 0.1}},  {"3341-10", 20, -23, {0.1, 0.1}},
      {"3341-12", 2, -23, {0.1, 0.1}}, {"3341-13", 20, -23, {0.1, 0.1}},
      {"3341-15", 1, -6, {0.4, 0.2}},  {"3341-16", 1, -6, {0.4, 0.2}},
      {"3341-17", 1, -6, {0.4, 0.2}},  {"3341-18", 1, -6, {0.4, 0.2}},
      {"3341-19", 1, 3, {0.4, 0.2}},   {"3341-20", 1, 0, {0.4, 0.2}},
      {"3341-21", 1, 0, {0.4, 0.2}},   {"3341-22", 1, 0, {0.4, 0.2}},
      {"3341-23", 1, 0, {0.4, 0.2}},   {"3342-1", 1, 10, {1, 1}},
      {"3342-2", 1, 5, {1, 1}},        {"3342-3", 1, 20, {1, 1}},
      {"3342-4", 1, 15, {1, 1}},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(ExpectationsOf(c.id), SizeIs(c.figures)) << c.id;
    for (const Expectation& expectation : ExpectationsOf(c.id)) {
      EXPECT_EQ(expectation.standard, c.standard) << c.id;
      EXPECT_EQ(expectation.tolerance.below, c.tolerance.below) << c.id;
      EXPECT_EQ(expectation.tolerance.above, c.tolerance.above) << c.id;
    }
  }
}

TEST(ComplianceCasesTest, FiguresOfTheRecordingsAreThoseOfTheDocuments) {
  struct {
    const char* id;
    Quantity quantity;
    double figure;
    double tolerance;
  } const cases[] = {{"3341-7", Quantity::kIntegrated, -23, 0.1},
                     {"3341-8", Quantity::kIntegrated, -23, 0.1},
                     {"3342-5", Quantity::kLra, 5, 1},
                     {"3342-6", Quantity::kLra, 15, 1}};
  for (const auto& c : cases) {
    const ComplianceRecording& recording = CaseOf(c.id).recording.value();
    EXPECT_THAT(recording.speakers, ElementsAre("Left", "Right")) << c.id;
    ASSERT_THAT(recording.expectations, SizeIs(1)) << c.id;
    const Expectation& expectation = recording.expectations[0];
    EXPECT_EQ(expectation.quantity, c.quantity) << c.id;
    EXPECT_EQ(expectation.standard, c.figure) << c.id;
    EXPECT_EQ(expectation.expected, c.figure) << c.id;
    EXPECT_EQ(expectation.tolerance.below, c.tolerance) << c.id;
    EXPECT_EQ(expectation.tolerance.above, c.tolerance) << c.id;
  }
}

TEST(ComplianceCasesTest, BurstsOfOneStreamRiseFromMinus38ToMinus19) {
  for (const char* id : {"3341-11", "3341-14"}) {
    const auto expectations = ExpectationsOf(id);
    ASSERT_THAT(expectations, SizeIs(20)) << id;
    for (std::size_t i = 0; i < 20; ++i)
      EXPECT_EQ(expectations[i].standard, -38.0 + static_cast<double>(i)) << id;
  }
}

// Expected figures differ from the standard only because of the grid, and only in these cases.
TEST(ComplianceCasesTest, OnlyCasesAboutTheGridExpectAnythingBesideTheStandard) {
  std::set<std::string> deviating;
  for (const ComplianceCase& known : ComplianceCases())
    for (const Expectation& expectation : ExpectationsOf(known.id))
      if (std::fabs(expectation.expected - expectation.standard) > 0.05)
        deviating.insert(known.id);
  EXPECT_THAT(deviating,
              testing::UnorderedElementsAre("3341-9", "3341-10", "3341-11", "3341-13", "3341-14"));
}

// Derived in BlockGridTest: 10 log10(1 - d / 4), and 27.5 readings of 28 or 29 of 30.
TEST(ComplianceCasesTest, DeviationsOfTheGridAreAddedToTheLevels) {
  const double momentary[] = {0.0, 0.95, 0.9, 0.9, 0.95};
  for (std::size_t i = 0; i < 20; ++i) {
    const double loss = i % 5 == 0 ? 0.0 : 10.0 * std::log10(momentary[i % 5]);
    for (const char* id : {"3341-13", "3341-14"}) {
      const Expectation e = ExpectationsOf(id)[i];
      EXPECT_NEAR(e.expected - e.standard, loss, 1e-9) << id << " i = " << i;
    }
    const double separate = i == 0 ? 1.0 : i == 1 ? 27.5 / 28.0 : 29.0 / 30.0;
    const double inStream = i == 0 ? 1.0 : 29.0 / 30.0;
    const Expectation tenth = ExpectationsOf("3341-10")[i];
    const Expectation eleventh = ExpectationsOf("3341-11")[i];
    EXPECT_NEAR(tenth.expected - tenth.standard, 10.0 * std::log10(separate), 1e-9) << i;
    EXPECT_NEAR(eleventh.expected - eleventh.standard, 10.0 * std::log10(inStream), 1e-9) << i;
  }
}

TEST(ComplianceCasesTest, EveryReadingThatCountsLiesWithinItsSignal) {
  for (const ComplianceCase& known : ComplianceCases())
    for (const ComplianceRun& run : known.runs) {
      const int rate = run.sampleRate > 0 ? run.sampleRate : 8000;
      const auto source = MakeSource(run.signal, rate);
      std::vector<double> second(static_cast<std::size_t>(rate) * source->Channels());
      std::size_t frames = 0;
      while (const std::size_t read = source->Read(second.data(), static_cast<std::size_t>(rate)))
        frames += read;
      const auto blocks = static_cast<int>(10 * frames / static_cast<std::size_t>(rate));
      for (const Expectation& e : run.expectations) {
        EXPECT_LE(1, e.firstBlock) << known.id;
        EXPECT_LE(e.firstBlock, e.lastBlock) << known.id;
        EXPECT_LE(e.lastBlock, blocks) << known.id;
      }
    }
}

TEST(ComplianceCasesTest, ACaseIsMeantByItsIdentifierOrItsDocument) {
  const ComplianceCase one = CaseOf("3341-1");
  EXPECT_TRUE(IsMeantBy(one, "3341-1"));
  EXPECT_TRUE(IsMeantBy(one, "3341"));
  for (const char* other : {"3341-2", "3341-", "334", "3342", "1", "", "3341-1-", "3341-10"})
    EXPECT_FALSE(IsMeantBy(one, other)) << other;
  EXPECT_FALSE(IsMeantBy(CaseOf("3341-10"), "3341-1"));
}

// A meter whose momentary reading after each block is given by a script.
class ScriptedMeter : public MeterUnderTest {
 public:
  void Start(const SpeakerLayout& speakers, Measurand measurand) override {
    mSpeakers = speakers;
    mMeasurand = measurand;
    mBlocks = 0;
    ++mStarts;
  }

  void Feed(const BlockReading& block) override {
    mLastBlock = block;
    ++mBlocks;
  }

  Figures Read() override {
    ++mReads;
    Figures readings;
    const auto reading = mScript.find(mBlocks);
    if (reading != mScript.end())
      readings.momentary = reading->second;
    readings.shortTerm = -1.0;
    readings.integrated = -2.0;
    readings.lra = 3.0;
    readings.maxMomentary = -4.0;
    readings.maxTruePeak = -5.0;
    return readings;
  }

  std::map<int, double> mScript;  // momentary readings by number of blocks
  SpeakerLayout mSpeakers;
  Measurand mMeasurand = Measurand::kLoudness;
  BlockReading mLastBlock;
  int mBlocks = 0;
  int mStarts = 0;
  int mReads = 0;
};

class RunCaseTest : public testing::Test {
 protected:
  // Runs one second of tone with one expectation.
  std::optional<double> Measured(Quantity quantity, Pick pick, int first, int last) {
    const Expectation expectation = {quantity, "", pick, first, last, 0.0, 0.0, {0.1, 0.1}};
    const ComplianceCase one = {
        "one", "", {{StepSignal{{"Left"}, {{1.0, {-20.0}}}}, {expectation}}}};
    return Rows(one, mMeter).at(0).measured;
  }

  ScriptedMeter mMeter;
};

TEST_F(RunCaseTest, ReadingsArePickedFromTheBlocksThatCount) {
  mMeter.mScript = {{3, -99.0}, {4, -10.0}, {5, -30.0}, {6, -5.0}, {7, -20.0}, {8, 99.0}};
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kLast, 7, 7), -20.0);
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kLowest, 4, 7), -30.0);
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kHighest, 4, 7), -5.0);
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kChange, 4, 7), -10.0);
}

TEST_F(RunCaseTest, BlocksWithoutAReadingArePassedOver) {
  mMeter.mScript = {{5, -30.0}};
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kLowest, 1, 10), -30.0);
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kHighest, 1, 10), -30.0);
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kLast, 10, 10), std::nullopt);
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kChange, 1, 10), std::nullopt);
}

TEST_F(RunCaseTest, AChangeNeedsBothOfItsReadings) {
  mMeter.mScript = {{4, -10.0}};
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kChange, 4, 7), std::nullopt);
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kChange, 3, 4), std::nullopt);
}

TEST_F(RunCaseTest, EachQuantityIsItsOwnReading) {
  mMeter.mScript = {{10, -9.0}};
  EXPECT_EQ(Measured(Quantity::kMomentary, Pick::kLast, 10, 10), -9.0);
  EXPECT_EQ(Measured(Quantity::kShortTerm, Pick::kLast, 10, 10), -1.0);
  EXPECT_EQ(Measured(Quantity::kMaxShortTerm, Pick::kHighest, 4, 10), -1.0);
  EXPECT_EQ(Measured(Quantity::kIntegrated, Pick::kLast, 10, 10), -2.0);
  EXPECT_EQ(Measured(Quantity::kLra, Pick::kLast, 10, 10), 3.0);
  EXPECT_EQ(Measured(Quantity::kMaxMomentary, Pick::kLast, 10, 10), -4.0);
  EXPECT_EQ(Measured(Quantity::kMaxTruePeak, Pick::kLast, 10, 10), -5.0);
}

TEST_F(RunCaseTest, ABlockThatNeverComesIsNoReading) {
  EXPECT_EQ(Measured(Quantity::kLra, Pick::kLast, 11, 11), std::nullopt);
}

TEST_F(RunCaseTest, TheMeterIsAskedOnlyForReadingsThatCount) {
  Measured(Quantity::kLra, Pick::kLast, 10, 10);
  EXPECT_EQ(mMeter.mReads, 1);
  mMeter.mReads = 0;
  Rows(CaseOf("3341-1"), mMeter);  // three figures at the same time
  EXPECT_EQ(mMeter.mReads, 1);
}

TEST_F(RunCaseTest, EachRunStartsFromEmptyWithItsSpeakersAndMeasurand) {
  Rows(CaseOf("3341-13"), mMeter);
  EXPECT_EQ(mMeter.mStarts, 20);
  EXPECT_EQ(mMeter.mMeasurand, Measurand::kLoudness);
  EXPECT_THAT(mMeter.mSpeakers, ElementsAre("Left", "Right"));
  Rows(CaseOf("3341-15"), mMeter);
  EXPECT_EQ(mMeter.mMeasurand, Measurand::kTruePeak);
  Rows(CaseOf("3341-6"), mMeter);
  EXPECT_THAT(mMeter.mSpeakers,
              ElementsAre("Left", "Right", "Center", "LeftSurround", "RightSurround"));
}

TEST_F(RunCaseTest, SignalsAreMeasuredToTheirLastWholeBlock) {
  Rows(CaseOf("3341-5"), mMeter);
  EXPECT_EQ(mMeter.mBlocks, 601);
  Rows(CaseOf("3341-5"), mMeter, 11025);
  EXPECT_EQ(mMeter.mBlocks, 601);
}

// A sine of amplitude 0.1 has a mean square of 1/200, to which the weighting adds 0.6977 dB at 1
// kHz and 48 kHz (by the formula of its two sections).
TEST_F(RunCaseTest, BlocksAreThoseOfTheFrontEnd) {
  Measured(Quantity::kLra, Pick::kLast, 10, 10);
  const double expected = static_cast<double>(BlockPower(0.005 * std::pow(10.0, 0.06977), 1));
  EXPECT_NEAR(static_cast<double>(mMeter.mLastBlock.powers[0]) / expected, 1.0, 1e-4);
  EXPECT_EQ(mMeter.mLastBlock.powers[1], 0U);
}

TEST_F(RunCaseTest, ACaseWithoutASignalIsNotRun) {
  const auto rows = Rows(CaseOf("3341-7"), mMeter);
  ASSERT_THAT(rows, SizeIs(1));
  EXPECT_EQ(rows[0].caseId, "3341-7");
  EXPECT_EQ(rows[0].signal, "recording, not redistributable");
  EXPECT_FALSE(rows[0].expectation.has_value());
  EXPECT_EQ(rows[0].verdict, ComplianceVerdict::kNotRun);
  EXPECT_EQ(mMeter.mStarts, 0);
}

TEST_F(RunCaseTest, GainsAreThoseOfTheFrontEndAlone) {
  const auto rows = Rows(CaseOf("1770-gain"), mMeter);
  ASSERT_THAT(rows, SizeIs(7));
  for (const ComplianceRow& row : rows)
    EXPECT_EQ(row.verdict, ComplianceVerdict::kPass) << row.expectation->detail;
  EXPECT_EQ(mMeter.mReads, 0);
}

ComplianceVerdict VerdictOn(double standard, double expected, const std::optional<double>& measured,
                            Tolerance tolerance = {0.1, 0.1}) {
  return ComplianceVerdictOn(
      {Quantity::kMomentary, "", Pick::kLast, 1, 1, standard, expected, tolerance}, measured);
}

TEST(JudgeTest, WithinTheToleranceOfTheStandardIsAPass) {
  for (const double measured : {-23.1, -23.0, -22.9})
    EXPECT_EQ(VerdictOn(-23.0, -23.0, measured), ComplianceVerdict::kPass) << measured;
}

TEST(JudgeTest, OutsideOfTheToleranceIsAFailure) {
  for (const double measured : {-23.11, -22.89, -99.0, 0.0, std::nan("")})
    EXPECT_EQ(VerdictOn(-23.0, -23.0, measured), ComplianceVerdict::kFail) << measured;
}

TEST(JudgeTest, ToleranceMayBeUneven) {
  EXPECT_EQ(VerdictOn(-6.0, -6.0, -5.8, {0.4, 0.2}), ComplianceVerdict::kPass);
  EXPECT_EQ(VerdictOn(-6.0, -6.0, -6.4, {0.4, 0.2}), ComplianceVerdict::kPass);
  EXPECT_EQ(VerdictOn(-6.0, -6.0, -5.79, {0.4, 0.2}), ComplianceVerdict::kFail);
  EXPECT_EQ(VerdictOn(-6.0, -6.0, -6.41, {0.4, 0.2}), ComplianceVerdict::kFail);
}

TEST(JudgeTest, NoReadingIsAFailure) {
  EXPECT_EQ(VerdictOn(-23.0, -23.0, std::nullopt), ComplianceVerdict::kFail);
}

TEST(JudgeTest, WhatTheGridExplainsIsNeitherPassNorFailure) {
  EXPECT_EQ(VerdictOn(-23.0, -23.46, -23.45), ComplianceVerdict::kGrid);
  EXPECT_EQ(VerdictOn(-23.0, -23.46, -23.0), ComplianceVerdict::kFail);
  EXPECT_EQ(VerdictOn(-23.0, -23.08, -23.07), ComplianceVerdict::kPass);
  EXPECT_EQ(VerdictOn(-23.0, -23.08, -23.12), ComplianceVerdict::kGrid);
}

}  // namespace
}  // namespace louddesk
