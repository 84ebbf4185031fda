// Verdicts on both sides of every limit.

#include "Verdict.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

Figures Programme(std::optional<double> integrated, std::optional<double> maxTruePeak) {
  Figures figures;
  figures.integrated = integrated;
  figures.maxTruePeak = maxTruePeak;
  return figures;
}

Verdict LoudnessVerdict(std::optional<double> integrated, const LoudnessLimits& limits = {}) {
  return VerdictsOn(Programme(integrated, -10.0), limits).at(0);
}

Verdict PeakVerdict(std::optional<double> maxTruePeak, const LoudnessLimits& limits = {}) {
  return VerdictsOn(Programme(-23.0, maxTruePeak), limits).at(1);
}

TEST(VerdictTest, DefaultsAreThoseOfEbuR128) {
  const LoudnessLimits limits;
  EXPECT_EQ(limits.target, -23.0);
  EXPECT_EQ(limits.tolerance, 0.5);
  EXPECT_EQ(limits.maxTruePeak, -1.0);
}

// A figure is judged as it is written: -22.5049 is written -22.50, -22.5051 is -22.51.
TEST(VerdictTest, LoudnessOnTheEdgeOfTheToleranceKeepsIt) {
  struct {
    double integrated;
    double tolerance;
    Judgement judgement;
  } const cases[] = {
      {-23.0, 0.5, Judgement::kPass},    {-22.5, 0.5, Judgement::kPass},
      {-23.5, 0.5, Judgement::kPass},    {-22.49, 0.5, Judgement::kFail},
      {-23.51, 0.5, Judgement::kFail},   {-22.4951, 0.5, Judgement::kPass},
      {-22.4949, 0.5, Judgement::kFail}, {-23.5049, 0.5, Judgement::kPass},
      {-23.5051, 0.5, Judgement::kFail}, {-22.0, 1.0, Judgement::kPass},
      {-21.99, 1.0, Judgement::kFail},   {-24.0, 1.0, Judgement::kPass},
      {-24.01, 1.0, Judgement::kFail},   {-23.0, 0.0, Judgement::kPass},
      {-22.99, 0.0, Judgement::kFail},   {3.0, 0.5, Judgement::kFail},
  };
  for (const auto& c : cases)
    EXPECT_EQ(LoudnessVerdict(c.integrated, {-23.0, c.tolerance, -1.0}).judgement, c.judgement)
        << c.integrated << " with a tolerance of " << c.tolerance;
}

TEST(VerdictTest, TruePeakOnTheLimitKeepsIt) {
  struct {
    double maxTruePeak;
    double limit;
    Judgement judgement;
  } const cases[] = {
      {-1.0, -1.0, Judgement::kPass},    {-0.99, -1.0, Judgement::kFail},
      {-0.9951, -1.0, Judgement::kPass}, {-0.9949, -1.0, Judgement::kFail},
      {-90.0, -1.0, Judgement::kPass},   {0.0, 0.0, Judgement::kPass},
      {-0.001, 0.0, Judgement::kPass},   {0.01, 0.0, Judgement::kFail},
      {-1.9, -2.0, Judgement::kFail},    {-2.1, -2.0, Judgement::kPass},
  };
  for (const auto& c : cases)
    EXPECT_EQ(PeakVerdict(c.maxTruePeak, {-23.0, 0.5, c.limit}).judgement, c.judgement)
        << c.maxTruePeak << " with a limit of " << c.limit;
}

TEST(VerdictTest, WithoutAReadingThereIsNoVerdict) {
  EXPECT_EQ(LoudnessVerdict(std::nullopt).judgement, Judgement::kNoReading);
  EXPECT_EQ(PeakVerdict(std::nullopt).judgement, Judgement::kNoReading);
  EXPECT_EQ(LoudnessVerdict(std::nullopt).finding, "There is no reading, so nothing is judged");
  EXPECT_EQ(PeakVerdict(std::nullopt).finding, "There is no reading, so nothing is judged");
}

// What reads the end of its scale is that or more: beyond a limit that lies lower, and nothing else
// can be said.
TEST(VerdictTest, ATruePeakAtTheEndOfItsScaleBreaksALimitOrLeavesItOpen) {
  Figures figures = Programme(-23.0, 6.02);
  figures.isPeakAtLeast = true;
  struct {
    double limit;
    Judgement judgement;
    const char* finding;
  } const cases[] = {
      {-1.0, Judgement::kFail, "at least 6.02 dBTP, 7.02 dB above the limit"},
      {6.01, Judgement::kFail, "at least 6.02 dBTP, 0.01 dB above the limit"},
      {6.02, Judgement::kOpen, "at least 6.02 dBTP; how much more is beyond the scale"},
      {10.0, Judgement::kOpen, "at least 6.02 dBTP; how much more is beyond the scale"},
  };
  for (const auto& c : cases) {
    const Verdict verdict = VerdictsOn(figures, {-23.0, 0.5, c.limit}).at(1);
    EXPECT_EQ(verdict.judgement, c.judgement) << c.limit;
    EXPECT_EQ(verdict.finding, c.finding) << c.limit;
  }
}

TEST(VerdictTest, LoudnessAtTheEndOfItsScaleBreaksALimitOrLeavesItOpen) {
  struct {
    double integrated;
    Judgement judgement;
  } const cases[] = {
      {9.99, Judgement::kFail},
      {1.01, Judgement::kFail},
      {1.0, Judgement::kOpen},
      {-5.0, Judgement::kOpen},  // below the tolerance as it reads, but who knows
  };
  for (const auto& c : cases) {
    Figures figures = Programme(c.integrated, -10.0);
    figures.isLoudnessAtLeast = true;
    EXPECT_EQ(VerdictsOn(figures, {0.0, 1.0, -1.0}).at(0).judgement, c.judgement) << c.integrated;
  }
  Figures figures = Programme(9.99, -10.0);
  figures.isLoudnessAtLeast = true;
  EXPECT_EQ(VerdictsOn(figures, {0.0, 1.0, -1.0}).at(0).finding,
            "at least 9.99 LKFS, 9.99 LU above the target");
}

TEST(VerdictTest, FindingsSayWhichWayAndHowFar) {
  EXPECT_EQ(LoudnessVerdict(-20.0).finding, "-20.00 LKFS, 3.00 LU above the target");
  EXPECT_EQ(LoudnessVerdict(-23.1).finding, "-23.10 LKFS, 0.10 LU below the target");
  EXPECT_EQ(LoudnessVerdict(-23.0).finding, "-23.00 LKFS, on the target");
  EXPECT_EQ(PeakVerdict(0.25).finding, "0.25 dBTP, 1.25 dB above the limit");
  EXPECT_EQ(PeakVerdict(-6.0).finding, "-6.00 dBTP, 5.00 dB below the limit");
  EXPECT_EQ(PeakVerdict(-1.0).finding, "-1.00 dBTP, on the limit");
}

TEST(VerdictTest, VerdictsNameWhatIsAllowed) {
  const LoudnessLimits limits = {-16.0, 1.0, -2.0};
  EXPECT_EQ(LoudnessVerdict(-16.0, limits).limit, "Integrated loudness");
  EXPECT_EQ(LoudnessVerdict(-16.0, limits).allowed,
            "-16.00 LKFS \xC2\xB1"
            "1.00 LU");
  EXPECT_EQ(PeakVerdict(-3.0, limits).limit, "Maximum true peak");
  EXPECT_EQ(PeakVerdict(-3.0, limits).allowed, "at most -2.00 dBTP");
}

TEST(VerdictTest, EachJudgementIsAWord) {
  EXPECT_STREQ(WordFor(Judgement::kPass), "Pass");
  EXPECT_STREQ(WordFor(Judgement::kFail), "Fail");
  EXPECT_STREQ(WordFor(Judgement::kNoReading), "No reading");
  EXPECT_STREQ(WordFor(Judgement::kOpen), "Open");
}

TEST(VerdictTest, OneFailureFailsAllAndAMissingReadingLeavesItOpen) {
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(-23.0, -1.0), {})), Judgement::kPass);
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(-20.0, -1.0), {})), Judgement::kFail);
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(-23.0, 1.0), {})), Judgement::kFail);
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(std::nullopt, -1.0), {})), Judgement::kNoReading);
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(std::nullopt, 1.0), {})), Judgement::kFail);
  Figures figures = Programme(-23.0, 6.02);
  figures.isPeakAtLeast = true;
  EXPECT_EQ(OverallJudgement(VerdictsOn(figures, {-23.0, 0.5, 10.0})), Judgement::kOpen);
  EXPECT_EQ(OverallJudgement(VerdictsOn(figures, {-16.0, 0.5, 10.0})), Judgement::kFail);
  figures.integrated = std::nullopt;
  EXPECT_EQ(OverallJudgement(VerdictsOn(figures, {-23.0, 0.5, 10.0})), Judgement::kNoReading);
}

TEST(VerdictTest, OnlyTheLimitsOfEbuR128BearItsName) {
  EXPECT_EQ(LimitsText({}),
            "EBU R 128: integrated loudness -23.00 LKFS \xC2\xB1"
            "0.50 LU, true peak at most -1.00 dBTP");
  EXPECT_EQ(LimitsText({-23.0, 1.0, -1.0}).find("EBU R 128, live: "), 0U);
  for (const LoudnessLimits& limits :
       {LoudnessLimits{-23.0, 0.4, -1.0}, LoudnessLimits{-24.0, 0.5, -1.0},
        LoudnessLimits{-23.0, 0.5, -2.0}})
    EXPECT_EQ(LimitsText(limits).find("Chosen limits: "), 0U) << LimitsText(limits);
}

}  // namespace
}  // namespace louddesk
