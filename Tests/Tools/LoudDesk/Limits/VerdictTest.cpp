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

// A target with its tolerance, and a limit for the true peak.
Criteria Limits(double target, double tolerance, double maxTruePeak) {
  Criteria criteria;
  criteria.title = "Limits";
  criteria.target = target;
  criteria.peakCeiling = maxTruePeak;
  criteria.limits.tolerance = tolerance;
  criteria.limits.maxTruePeak = maxTruePeak;
  return criteria;
}

const Criteria kUsual = Limits(-23.0, 0.5, -1.0);

Verdict LoudnessVerdict(std::optional<double> integrated, const Criteria& criteria = kUsual) {
  return VerdictsOn(Programme(integrated, -10.0), criteria).at(0);
}

Verdict PeakVerdict(std::optional<double> maxTruePeak, const Criteria& criteria = kUsual) {
  return VerdictsOn(Programme(-23.0, maxTruePeak), criteria).at(1);
}

// A figure is judged after rounding: -22.5049 is written as -22.50, -22.5051 as -22.51.
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
    EXPECT_EQ(LoudnessVerdict(c.integrated, Limits(-23.0, c.tolerance, -1.0)).judgement,
              c.judgement)
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
    EXPECT_EQ(PeakVerdict(c.maxTruePeak, Limits(-23.0, 0.5, c.limit)).judgement, c.judgement)
        << c.maxTruePeak << " with a limit of " << c.limit;
}

TEST(VerdictTest, WithoutAReadingThereIsNoVerdict) {
  EXPECT_EQ(LoudnessVerdict(std::nullopt).judgement, Judgement::kNoReading);
  EXPECT_EQ(PeakVerdict(std::nullopt).judgement, Judgement::kNoReading);
  EXPECT_EQ(LoudnessVerdict(std::nullopt).finding, "There is no reading, so nothing is judged");
  EXPECT_EQ(PeakVerdict(std::nullopt).finding, "There is no reading, so nothing is judged");
}

// A reading at the end of its scale means at least that value. It exceeds any lower limit; nothing
// else is certain.
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
    const Verdict verdict = VerdictsOn(figures, Limits(-23.0, 0.5, c.limit)).at(1);
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
      {-5.0, Judgement::kOpen},  // reads below the tolerance, but may be higher
  };
  for (const auto& c : cases) {
    Figures figures = Programme(c.integrated, -10.0);
    figures.isLoudnessAtLeast = true;
    EXPECT_EQ(VerdictsOn(figures, Limits(0.0, 1.0, -1.0)).at(0).judgement, c.judgement)
        << c.integrated;
  }
  Figures figures = Programme(9.99, -10.0);
  figures.isLoudnessAtLeast = true;
  EXPECT_EQ(VerdictsOn(figures, Limits(0.0, 1.0, -1.0)).at(0).finding,
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
  const Criteria limits = Limits(-16.0, 1.0, -2.0);
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
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(-23.0, -1.0), kUsual)), Judgement::kPass);
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(-20.0, -1.0), kUsual)), Judgement::kFail);
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(-23.0, 1.0), kUsual)), Judgement::kFail);
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(std::nullopt, -1.0), kUsual)),
            Judgement::kNoReading);
  EXPECT_EQ(OverallJudgement(VerdictsOn(Programme(std::nullopt, 1.0), kUsual)), Judgement::kFail);
  Figures figures = Programme(-23.0, 6.02);
  figures.isPeakAtLeast = true;
  EXPECT_EQ(OverallJudgement(VerdictsOn(figures, Limits(-23.0, 0.5, 10.0))), Judgement::kOpen);
  EXPECT_EQ(OverallJudgement(VerdictsOn(figures, Limits(-16.0, 0.5, 10.0))), Judgement::kFail);
  figures.integrated = std::nullopt;
  EXPECT_EQ(OverallJudgement(VerdictsOn(figures, Limits(-23.0, 0.5, 10.0))), Judgement::kNoReading);
}

TEST(VerdictTest, WithoutALimitNothingIsJudged) {
  Criteria target;
  target.title = "Playback";
  target.target = -14.0;
  target.peakCeiling = -1.0;
  EXPECT_TRUE(VerdictsOn(Programme(-20.0, 3.0), target).empty());
  EXPECT_EQ(OverallJudgement({}), Judgement::kNotJudged);
  EXPECT_STREQ(WordFor(Judgement::kNotJudged), "Not judged");
}

// Every figure that has a limit, exactly on the limit and a hundredth beyond it.
TEST(VerdictTest, FurtherFiguresAreJudgedByLimitsOfTheirOwn) {
  Criteria criteria;
  criteria.limits.maxShortTerm = -18.0;
  criteria.limits.maxMomentary = -15.0;
  criteria.limits.minRange = 5.0;
  criteria.limits.maxRange = 10.0;
  Figures figures;
  struct {
    double shortTerm;
    double momentary;
    double range;
    Judgement judgements[3];
  } const cases[] = {
      {-18.0, -15.0, 5.0, {Judgement::kPass, Judgement::kPass, Judgement::kPass}},
      {-17.99, -14.99, 4.99, {Judgement::kFail, Judgement::kFail, Judgement::kFail}},
      {-30.0, -30.0, 10.0, {Judgement::kPass, Judgement::kPass, Judgement::kPass}},
      {-30.0, -30.0, 10.01, {Judgement::kPass, Judgement::kPass, Judgement::kFail}},
  };
  for (const auto& c : cases) {
    figures.maxShortTerm = c.shortTerm;
    figures.maxMomentary = c.momentary;
    figures.lra = c.range;
    const std::vector<Verdict> verdicts = VerdictsOn(figures, criteria);
    ASSERT_EQ(verdicts.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i)
      EXPECT_EQ(verdicts[i].judgement, c.judgements[i]) << verdicts[i].limit << " " << c.range;
  }
}

TEST(VerdictTest, FindingsOnFurtherFiguresNameTheNearerLimit) {
  Criteria criteria;
  criteria.limits.maxShortTerm = -18.0;
  criteria.limits.minRange = 5.0;
  criteria.limits.maxRange = 10.0;
  Figures figures;
  figures.maxShortTerm = -16.5;
  figures.lra = 6.0;
  std::vector<Verdict> verdicts = VerdictsOn(figures, criteria);
  EXPECT_EQ(verdicts[0].limit, "Maximum short-term loudness");
  EXPECT_EQ(verdicts[0].allowed, "at most -18.00 LKFS");
  EXPECT_EQ(verdicts[0].finding, "-16.50 LKFS, 1.50 LU above the limit");
  EXPECT_EQ(verdicts[1].limit, "Loudness range");
  EXPECT_EQ(verdicts[1].allowed, "5.00 to 10.00 LU");
  EXPECT_EQ(verdicts[1].finding, "6.00 LU, 1.00 LU above the lower limit");
  figures.lra = 12.0;
  EXPECT_EQ(VerdictsOn(figures, criteria)[1].finding, "12.00 LU, 2.00 LU above the upper limit");
  criteria.limits.maxRange.reset();
  figures.lra = 4.0;
  EXPECT_EQ(VerdictsOn(figures, criteria)[1].allowed, "at least 5.00 LU");
  EXPECT_EQ(VerdictsOn(figures, criteria)[1].finding, "4.00 LU, 1.00 LU below the limit");
}

TEST(VerdictTest, CriteriaAreOneLine) {
  EXPECT_EQ(CriteriaText(kUsual),
            "Limits: integrated loudness -23.00 LKFS \xC2\xB1"
            "0.50 LU, maximum true peak at most -1.00 dBTP");
  Criteria criteria;
  criteria.title = "Playback";
  EXPECT_EQ(CriteriaText(criteria), "Playback");
  criteria.target = -14.0;
  EXPECT_EQ(CriteriaText(criteria), "Playback: target -14.00 LKFS, nothing is judged");
}

// The target is 3 dB higher. The peak has headroom of 2, 3 or 4 dB, or exceeds its limit by 1 dB.
TEST(VerdictTest, GainLeadsToTheTargetAndNotBeyondThePeakCeiling) {
  struct {
    double maxTruePeak;
    double withinPeak;
  } const cases[] = {{-3.0, 2.0}, {-4.0, 3.0}, {-5.0, 3.0}, {0.0, -1.0}};
  for (const auto& c : cases) {
    const TargetGain gain = GainOf(Programme(-26.0, c.maxTruePeak), kUsual);
    EXPECT_DOUBLE_EQ(gain.toTarget.value(), 3.0);
    EXPECT_DOUBLE_EQ(gain.withinPeak.value(), c.withinPeak) << c.maxTruePeak;
  }
  const TargetGain down = GainOf(Programme(-20.004, -10.0), kUsual);
  EXPECT_DOUBLE_EQ(down.toTarget.value(), -3.0);
  EXPECT_DOUBLE_EQ(down.withinPeak.value(), -3.0);
}

TEST(VerdictTest, GainNeedsATargetALoudnessAndTheirScales) {
  EXPECT_FALSE(GainOf(Programme(std::nullopt, -1.0), kUsual).toTarget);
  EXPECT_FALSE(GainOf(Programme(-23.0, -1.0), Criteria()).toTarget);
  Figures figures = Programme(-23.0, 6.02);
  figures.isPeakAtLeast = true;
  EXPECT_TRUE(GainOf(figures, kUsual).toTarget);
  EXPECT_FALSE(GainOf(figures, kUsual).withinPeak);
  figures.isLoudnessAtLeast = true;
  EXPECT_FALSE(GainOf(figures, kUsual).toTarget);
  Criteria withoutCeiling = kUsual;
  withoutCeiling.peakCeiling.reset();
  EXPECT_DOUBLE_EQ(GainOf(Programme(-26.0, 3.0), withoutCeiling).withinPeak.value(), 3.0);
}

}  // namespace
}  // namespace louddesk
