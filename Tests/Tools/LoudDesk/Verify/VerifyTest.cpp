// Whole verifications: the engine at several sample rates, and meters that are wrong.

#include "Verification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "TestAudio.h"

namespace louddesk {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// The cases that take little time, of every kind.
const std::vector<std::string> kShortCases = {
    "3341-1",  "3341-6",  "3341-9",  "3341-12", "3341-13", "3341-14", "3341-15", "3341-16",
    "3341-17", "3341-18", "3341-19", "3341-20", "3341-21", "3341-22", "3341-23"};

// The engine, except that it errs.
class WrongMeter : public MeterUnderTest {
 public:
  explicit WrongMeter(double error) : mError(error) {}

  void Start(const SpeakerLayout& speakers, Subject subject) override {
    mEngine->Start(speakers, subject);
  }

  void Feed(const BlockReading& block) override { mEngine->Feed(block); }

  Figures Read() override {
    Figures readings = mEngine->Read();
    for (std::optional<double>* reading :
         {&readings.momentary, &readings.shortTerm, &readings.integrated, &readings.lra,
          &readings.maxMomentary, &readings.maxTruePeak})
      if (*reading)
        **reading += mError;
    return readings;
  }

 private:
  std::unique_ptr<MeterUnderTest> mEngine = std::make_unique<EngineUnderTest>();
  double mError;
};

class VerifyTest : public testing::Test {
 protected:
  int Run(const VerifyOptions& options, MeterUnderTest& meter) {
    mOut.str("");
    mErrors.str("");
    return Verify(options, meter, mOut, mErrors);
  }

  test_audio::AudioDirectory mDirectory;
  std::ostringstream mOut;
  std::ostringstream mErrors;
};

class VerifyAtRateTest : public VerifyTest, public testing::WithParamInterface<int> {};

TEST_P(VerifyAtRateTest, TheEngineFailsInNoFigure) {
  VerifyOptions options;
  options.cases = kShortCases;
  options.sampleRate = GetParam();
  EXPECT_EQ(Run(options, *std::make_unique<EngineUnderTest>()), 0) << mOut.str();
  EXPECT_EQ(mErrors.str(), "");
  EXPECT_THAT(mOut.str(), AllOf(HasSubstr(" 0 FAIL, 0 not run\n"), Not(HasSubstr(" FAIL\n"))));
}

INSTANTIATE_TEST_SUITE_P(Rates, VerifyAtRateTest,
                         testing::Values(8000, 11025, 22050, 32000, 44100, 88200, 96000, 192000));

// Half of a LU less is more than the tolerance of any figure of Tech 3341. The figures of these
// cases: 3 + 1 + 2 + 2 + 20 + 20 + 9.
TEST_F(VerifyTest, AMeterThatReadsTooLittleFailsEverywhere) {
  WrongMeter meter(-0.5);
  VerifyOptions options;
  options.cases = kShortCases;
  EXPECT_EQ(Run(options, meter), 1);
  EXPECT_THAT(mOut.str(), EndsWith("\n0 pass, 0 grid, 57 FAIL, 0 not run\n"));
}

TEST_F(VerifyTest, AMeterThatReadsTooMuchFailsEverywhere) {
  WrongMeter meter(0.6);
  VerifyOptions options;
  options.cases = kShortCases;
  EXPECT_EQ(Run(options, meter), 1);
  EXPECT_THAT(mOut.str(), EndsWith("\n0 pass, 0 grid, 57 FAIL, 0 not run\n"));
}

TEST_F(VerifyTest, AWrongLoudnessRangeFails) {
  WrongMeter meter(1.2);
  VerifyOptions options;
  options.cases = {"3342-2"};
  EXPECT_EQ(Run(options, meter), 1);
  EXPECT_THAT(mOut.str(), HasSubstr("6.20 LU   FAIL\n"));
}

TEST_F(VerifyTest, OnlyWhatIsAskedForIsRunInTheOrderOfTheStandards) {
  VerifyOptions options;
  options.cases = {"3341-15", "3341-2", "3341-7"};
  EXPECT_EQ(Run(options, *std::make_unique<EngineUnderTest>()), 0);
  const std::string text = mOut.str();
  EXPECT_LT(text.find("3341-2  "), text.find("3341-7  "));
  EXPECT_LT(text.find("3341-7  "), text.find("3341-15  "));
  EXPECT_THAT(text, EndsWith("\n4 pass, 0 grid, 0 FAIL, 1 not run\n"));
}

TEST_F(VerifyTest, RecordingsAreNamedAndNoFailure) {
  VerifyOptions options;
  options.cases = {"3341-8"};
  EXPECT_EQ(Run(options, *std::make_unique<EngineUnderTest>()), 0);
  EXPECT_THAT(mOut.str(), HasSubstr("\n3341-8  recording, not redistributable: not run\n"));
}

TEST_F(VerifyTest, StylesDifferInNothingButTheText) {
  VerifyOptions options;
  options.cases = {"3341-2"};
  options.style = ComplianceStyle::kJson;
  EXPECT_EQ(Run(options, *std::make_unique<EngineUnderTest>()), 0);
  const std::string json = mOut.str();
  EXPECT_THAT(json, StartsWith("{\"Case\":\"3341-2\",\"Signal\":\"-33 dBFS 20 s\","
                               "\"Figure\":\"Momentary\",\"Unit\":\"LKFS\",\"Standard\":-33.00,"));
  EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 3);
  options.style = ComplianceStyle::kMarkdown;
  EXPECT_EQ(Run(options, *std::make_unique<EngineUnderTest>()), 0);
  EXPECT_THAT(mOut.str(), StartsWith("| Case | Signal |"));
}

TEST_F(VerifyTest, AReportIsWrittenBesideTheRows) {
  VerifyOptions options;
  options.cases = {"3341-2", "3341-7"};
  options.style = ComplianceStyle::kJson;
  options.report = mDirectory.Path("report.html");
  EXPECT_EQ(Run(options, *std::make_unique<EngineUnderTest>()), 0);
  EXPECT_EQ(mErrors.str(), "");
  EXPECT_THAT(mOut.str(), StartsWith("{\"Case\":\"3341-2\","));
  EXPECT_THAT(test_audio::BytesOf(options.report),
              AllOf(StartsWith("<!DOCTYPE html>"), HasSubstr("id=\"case-3341-2\""),
                    HasSubstr("id=\"case-3341-7\""), Not(HasSubstr("id=\"case-3341-1\"")),
                    HasSubstr("front end, dispatcher and engine"), EndsWith("</html>\n")));
}

TEST_F(VerifyTest, AReportShowsWhatFailed) {
  WrongMeter meter(-0.5);
  VerifyOptions options;
  options.cases = {"3341-2"};
  options.report = mDirectory.Path("report.html");
  EXPECT_EQ(Run(options, meter), 1);
  EXPECT_THAT(test_audio::BytesOf(options.report), HasSubstr("FAIL</span>"));
}

TEST_F(VerifyTest, NothingIsMeasuredForAReportThatCannotBeWritten) {
  VerifyOptions options;
  options.cases = {"3341-2"};
  options.report = mDirectory.Path("missing/report.html");
  EXPECT_EQ(Run(options, *std::make_unique<EngineUnderTest>()), 1);
  EXPECT_EQ(mOut.str(), "");
  EXPECT_EQ(mErrors.str(), "LoudDesk: " + options.report +
                               ": the report cannot be written: No such file or directory\n");
}

TEST_F(VerifyTest, AStreamThatTakesNothingIsAFailure) {
  VerifyOptions options;
  options.cases = {"3341-7"};
  mOut.setstate(std::ios::badbit);
  EXPECT_EQ(Verify(options, *std::make_unique<EngineUnderTest>(), mOut, mErrors), 1);
  EXPECT_EQ(mErrors.str(), "LoudDesk: the figures could not be written\n");
}

}  // namespace
}  // namespace louddesk
