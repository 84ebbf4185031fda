// Whole verifications: the engine at several sample rates, and meters with errors.

#include "Verification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

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

// Short cases of every kind.
const std::vector<std::string> kShortCases = {
    "3341-1",  "3341-6",  "3341-9",  "3341-12", "3341-13", "3341-14", "3341-15", "3341-16",
    "3341-17", "3341-18", "3341-19", "3341-20", "3341-21", "3341-22", "3341-23"};

// The engine with an error added.
class WrongMeter : public MeterUnderTest {
 public:
  explicit WrongMeter(double error) : mError(error) {}

  void Start(const SpeakerLayout& speakers, Measurand measurand) override {
    mEngine->Start(speakers, measurand);
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

// An error of 0.5 LU exceeds the tolerance of every figure of Tech 3341. These cases have 3 + 1 + 2
// + 2 + 20 + 20 + 9 figures.
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

// Tones in the place of the recordings.
class RecordingTest : public VerifyTest {
 protected:
  // Writes a file with 20 s at each of these levels in dBFS.
  std::string Write(const std::string& name, const std::vector<double>& levels,
                    std::size_t channels = 2) const {
    test_audio::Samples tone;
    for (const double level : levels)
      tone = test_audio::Joined(
          std::move(tone), test_audio::Sine(test_audio::Amplitude(level), 1000.0, 48000, 960000));
    return mDirectory.Write(name, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 48000, channels,
                            test_audio::Repeated(tone, channels));
  }

  int RunWith(const std::vector<std::string>& cases, const std::vector<std::string>& recordings) {
    VerifyOptions options;
    options.cases = cases;
    options.recordings = recordings;
    options.report = mDirectory.Path("report.html");
    return Run(options, *std::make_unique<EngineUnderTest>());
  }

  std::string Report() const { return test_audio::BytesOf(mDirectory.Path("report.html")); }
};

// A tone of -23 dBFS on both channels reads -23 LKFS. The range of two steps is the difference of
// their levels.
TEST_F(RecordingTest, ACopyIsMeasuredToItsEndAndJudged) {
  const std::string narrow = Write("narrow.wav", {-23.0});
  const std::string five = Write("five.wav", {-20.0, -25.0});
  const std::string fifteen = Write("fifteen.wav", {-20.0, -35.0});
  EXPECT_EQ(RunWith({"3341-7", "3342-6", "3342-5"}, {narrow, fifteen, five}), 0) << mOut.str();
  EXPECT_EQ(mErrors.str(), "");
  EXPECT_THAT(mOut.str(), AllOf(HasSubstr("3341-7  recording, " + narrow + "\n"),
                                HasSubstr("3342-5  recording, " + five + "\n"),
                                HasSubstr("3342-6  recording, " + fifteen + "\n"),
                                HasSubstr("\n3 pass, 0 grid, 0 FAIL, 0 not run\n")));
  EXPECT_THAT(Report(), HasSubstr("recording, " + narrow));
}

TEST_F(RecordingTest, ACopyOfAnotherLoudnessFails) {
  const std::string louder = Write("louder.wav", {-22.85});
  const std::string ten = Write("ten.wav", {-20.0, -30.0});
  EXPECT_EQ(RunWith({"3341-8"}, {louder}), 1);
  EXPECT_THAT(mOut.str(), HasSubstr("\n0 pass, 0 grid, 1 FAIL, 0 not run\n"));
  EXPECT_EQ(RunWith({"3342-6", "3342-5"}, {ten, ten}), 1);
  EXPECT_THAT(mOut.str(), HasSubstr("\n0 pass, 0 grid, 2 FAIL, 0 not run\n"));
}

TEST_F(RecordingTest, ACopyThatCannotBeMeasuredIsNamedAndTheOthersAreRun) {
  const std::string narrow = Write("narrow.wav", {-23.0});
  const std::string gone = mDirectory.Path("gone.wav");
  EXPECT_EQ(RunWith({"3341-7", "3341-8"}, {gone, narrow}), 1);
  EXPECT_EQ(mErrors.str(), "LoudDesk: " + gone + ": no such file\n");
  EXPECT_THAT(mOut.str(), AllOf(HasSubstr("3341-7  recording, not redistributable: not run\n"),
                                HasSubstr("\n1 pass, 0 grid, 0 FAIL, 1 not run\n")));
}

TEST_F(RecordingTest, ACopyOfOtherChannelsIsRefused) {
  const std::string mono = Write("mono.wav", {-23.0}, 1);
  const std::string surround = Write("surround.wav", {-23.0}, 6);
  EXPECT_EQ(RunWith({"3341-7", "3342-5"}, {mono, surround}), 1);
  EXPECT_EQ(mErrors.str(),
            "LoudDesk: " + mono + ": its channels are C; the recording of case 3341-7 has L R\n" +
                "LoudDesk: " + surround +
                ": its channels are L R C LFE Ls Rs; the recording of case 3342-5 has L R\n");
  EXPECT_THAT(mOut.str(), HasSubstr("\n0 pass, 0 grid, 0 FAIL, 2 not run\n"));
}

TEST_F(RecordingTest, ADamagedCopyIsNotJudged) {
  const std::string cut = Write("cut.wav", {-23.0});
  test_audio::CutOff(cut, 2'000'000);
  EXPECT_EQ(RunWith({"3341-7"}, {cut}), 1);
  EXPECT_THAT(mErrors.str(), AllOf(StartsWith("LoudDesk: " + cut + ": "), HasSubstr("ends early")));
  EXPECT_THAT(mOut.str(), HasSubstr("\n0 pass, 0 grid, 0 FAIL, 1 not run\n"));
}

TEST(ComplaintOnRecordingsTest, EachGoesWithACaseOfItsOwnThatIsARecording) {
  EXPECT_EQ(ComplaintOnRecordings({}, {}), "");
  EXPECT_EQ(ComplaintOnRecordings({"3341-1"}, {}), "");
  EXPECT_EQ(ComplaintOnRecordings({"3341-7", "3342-5"}, {"a", "b"}), "");
  EXPECT_EQ(ComplaintOnRecordings({}, {"a"}), "each needs the --case that it is a recording of");
  EXPECT_EQ(ComplaintOnRecordings({"3341-7"}, {"a", "b"}),
            "each needs the --case that it is a recording of");
  EXPECT_EQ(ComplaintOnRecordings({"3341-7", "3341-7"}, {"a", "b"}), "3341-7 has two files");
  for (const char* id : {"3341-1", "3341", "1770-gain"})
    EXPECT_THAT(ComplaintOnRecordings({id}, {"a"}),
                StartsWith(std::string(id) + " is not a recording; these are: 3341-7 "));
}

}  // namespace
}  // namespace louddesk
