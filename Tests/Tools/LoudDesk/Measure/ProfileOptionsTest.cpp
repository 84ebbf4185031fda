// Limits from options.

#include "ProfileOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

namespace louddesk {
namespace {

using testing::HasSubstr;

// The criteria of a command line. If its options are wrong, the title is the complaint.
Criteria CriteriaOfLine(const std::string& line) {
  CLI::App app;
  ProfileOptions options;
  AddProfileOptions(app, options);
  try {
    app.parse(line);
  } catch (const CLI::ParseError& error) {
    Criteria criteria;
    criteria.title = error.what();
    return criteria;
  }
  return CriteriaFor(options);
}

TEST(ProfileOptionsTest, WithoutOptionsTheUsualProfileJudges) {
  const Criteria criteria = CriteriaOfLine("");
  EXPECT_EQ(criteria.name, "ebu-r128");
  EXPECT_EQ(criteria.title, CriteriaOf("ebu-r128").title);
  EXPECT_EQ(criteria.target, -23.0);
  EXPECT_EQ(criteria.limits.tolerance, 0.2);
}

TEST(ProfileOptionsTest, AProfileIsNamed) {
  EXPECT_EQ(CriteriaOfLine("--profile atsc-a85").limits.maxTruePeak, -2.0);
  EXPECT_EQ(CriteriaOfLine("--profile ebu-r128 --live").limits.tolerance, 1.0);
  EXPECT_EQ(CriteriaOfLine("--profile ebu-r128 --live").name, "ebu-r128");
}

TEST(ProfileOptionsTest, OwnLimitsReplaceThoseOfTheProfileAndItsName) {
  const Criteria criteria = CriteriaOfLine(
      "--target -16 --tolerance 2 --max-true-peak -1.5 --max-short-term -10 "
      "--max-momentary -8 --max-range 12 --min-range 3");
  EXPECT_EQ(criteria.name, "own");
  EXPECT_EQ(criteria.title, "Own limits");
  EXPECT_EQ(criteria.source, "options, in addition to EBU R 128, version 4");
  EXPECT_EQ(criteria.target, -16.0);
  EXPECT_EQ(criteria.peakCeiling, -1.5);
  EXPECT_EQ(criteria.limits.tolerance, 2.0);
  EXPECT_EQ(criteria.limits.maxTruePeak, -1.5);
  EXPECT_EQ(criteria.limits.maxShortTerm, -10.0);
  EXPECT_EQ(criteria.limits.maxMomentary, -8.0);
  EXPECT_EQ(criteria.limits.maxRange, 12.0);
  EXPECT_EQ(criteria.limits.minRange, 3.0);
}

TEST(ProfileOptionsTest, EachOwnLimitAloneTakesTheNameAway) {
  for (const char* option :
       {"--target -22", "--tolerance 0.5", "--max-true-peak -2", "--max-short-term -18",
        "--max-momentary -15", "--max-range 20", "--min-range 1"}) {
    const Criteria criteria = CriteriaOfLine(option);
    EXPECT_EQ(criteria.name, "own") << option;
    EXPECT_TRUE(criteria.target && criteria.limits.tolerance && criteria.limits.maxTruePeak)
        << option << " has removed another limit";
  }
}

TEST(ProfileOptionsTest, WithoutAProfileThereAreTheOwnLimitsOnly) {
  const Criteria criteria = CriteriaOfLine("--profile none --max-range 10");
  EXPECT_FALSE(criteria.target || criteria.limits.tolerance || criteria.limits.maxTruePeak);
  EXPECT_EQ(criteria.limits.maxRange, 10.0);
  EXPECT_EQ(criteria.source, "options");
}

TEST(ProfileOptionsTest, WrongOptionsAreNamed) {
  struct {
    const char* line;
    const char* complaint;
  } const cases[] = {
      {"--profile ebu", "--profile: there is no profile \"ebu\"; see --list-profiles"},
      {"--live --tolerance 1", "excludes"},
      {"--live --profile atsc-a85", "the profile atsc-a85 has no tolerance for live programmes"},
      {"--live --profile spotify", "the profile spotify has no tolerance for live programmes"},
      {"--min-range 10 --max-range 5", "is above --max-range"},
      {"--target loud", "\"loud\" is not between -70 and 0"},
      {"--max-range -1", "\"-1\" is not between 0 and 80"},
      {"--max-short-term nan", "\"nan\" is not between"},
  };
  for (const auto& c : cases)
    EXPECT_THAT(CriteriaOfLine(c.line).title, HasSubstr(c.complaint)) << c.line;
}

}  // namespace
}  // namespace louddesk
