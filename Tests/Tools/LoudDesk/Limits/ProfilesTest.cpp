// Compares profiles with the figures that their documents state or are reported to state.

#include "Profiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace louddesk {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

using Figure = std::optional<double>;

constexpr auto kNone = std::nullopt;

TEST(ProfilesTest, DeliveryIsJudgedByTheFiguresOfItsDocument) {
  struct {
    const char* name;
    double target;
    double tolerance;
    Figure liveTolerance;
    double maxTruePeak;
    Figure maxShortTerm;
  } const cases[] = {
      {"ebu-r128", -23.0, 0.2, 1.0, -1.0, kNone},
      {"ebu-r128-v3", -23.0, 0.5, 1.0, -1.0, kNone},
      {"ebu-r128-s1", -23.0, 0.2, 1.0, -1.0, -18.0},
      {"atsc-a85", -24.0, 2.0, kNone, -2.0, kNone},
      {"arib-tr-b32", -24.0, 1.0, kNone, -1.0, kNone},
      {"op-59", -24.0, 1.0, kNone, -2.0, kNone},
  };
  for (const auto& c : cases) {
    const Criteria criteria = CriteriaOf(c.name);
    EXPECT_EQ(criteria.name, c.name);
    EXPECT_EQ(criteria.target, c.target) << c.name;
    EXPECT_EQ(criteria.limits.tolerance, c.tolerance) << c.name;
    EXPECT_EQ(criteria.limits.maxTruePeak, c.maxTruePeak) << c.name;
    EXPECT_EQ(criteria.peakCeiling, c.maxTruePeak) << c.name;
    EXPECT_EQ(criteria.limits.maxShortTerm, c.maxShortTerm) << c.name;
    EXPECT_FALSE(criteria.limits.maxMomentary || criteria.limits.maxRange ||
                 criteria.limits.minRange)
        << c.name;
    const auto live = LiveCriteriaOf(c.name);
    EXPECT_EQ(live.has_value(), c.liveTolerance.has_value()) << c.name;
    if (live) {
      EXPECT_EQ(live->limits.tolerance, c.liveTolerance) << c.name;
      EXPECT_EQ(live->target, c.target) << c.name;
      EXPECT_THAT(live->title, HasSubstr(", live"));
    }
  }
}

TEST(ProfilesTest, PlaybackHasATargetAndJudgesNothing) {
  struct {
    const char* name;
    double target;
    double ceiling;
  } const cases[] = {{"spotify", -14.0, -1.0}, {"youtube", -14.0, -1.0},
                     {"tidal", -14.0, -1.0},   {"amazon-music", -14.0, -2.0},
                     {"deezer", -15.0, -1.0},  {"apple-music", -16.0, -1.0}};
  for (const auto& c : cases) {
    const Criteria criteria = CriteriaOf(c.name);
    EXPECT_EQ(criteria.target, c.target) << c.name;
    EXPECT_EQ(criteria.peakCeiling, c.ceiling) << c.name;
    EXPECT_FALSE(criteria.limits.tolerance || criteria.limits.maxTruePeak) << c.name;
    EXPECT_FALSE(LiveCriteriaOf(c.name)) << c.name;
    EXPECT_THAT(criteria.source, HasSubstr("reported")) << c.name;
  }
}

TEST(ProfilesTest, TheProfileOfNothingHasNothing) {
  const Criteria criteria = CriteriaOf(kNoProfile);
  EXPECT_FALSE(criteria.target || criteria.peakCeiling || criteria.limits.tolerance);
  EXPECT_FALSE(LiveCriteriaOf(kNoProfile));
}

TEST(ProfilesTest, WhatRestsOnReportsSaysSo) {
  for (const char* name : {"ebu-r128", "ebu-r128-v3", "ebu-r128-s1"}) {
    EXPECT_THAT(CriteriaOf(name).source, testing::EndsWith("; published")) << name;
  }
  for (const char* name : {"arib-tr-b32", "op-59"})
    EXPECT_THAT(CriteriaOf(name).source,
                testing::EndsWith("; target published, the rest reported"));
  EXPECT_THAT(CriteriaOf("atsc-a85").source, testing::EndsWith("; reported"));
}

TEST(ProfilesTest, TheListShowsEveryProfileWithItsFiguresAndSource) {
  const std::string list = ProfileList();
  for (const std::string& name : ProfileNames()) {
    EXPECT_THAT(list, HasSubstr("\n" + name)) << name;
    // Long texts are wrapped, so only the first word is compared.
    const std::string source = CriteriaOf(name).source;
    EXPECT_THAT(list, HasSubstr(source.substr(0, source.find_first_of(" ,")))) << name;
  }
  EXPECT_THAT(ProfileNames(), Contains(kUsualProfile));
  EXPECT_THAT(list, HasSubstr("\nebu-r128            -23.0        0.2        1.0       -1.0"
                              "          -\n"));
  EXPECT_THAT(list, HasSubstr("\nebu-r128-s1         -23.0        0.2        1.0       -1.0"
                              "      -18.0\n"));
  EXPECT_THAT(list, HasSubstr("\namazon-music        -14.0          -          -       -2.0"));
  std::istringstream lines(list);
  for (std::string line; std::getline(lines, line);)
    EXPECT_LE(line.size(), 80U) << line;
}

}  // namespace
}  // namespace louddesk
