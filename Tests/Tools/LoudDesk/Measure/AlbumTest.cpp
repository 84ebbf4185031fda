// Several programmes measured as one.

#include "Album.h"

#include <gtest/gtest.h>

#include <cmath>

#include "Bin.h"

namespace louddesk {
namespace {

constexpr double kBin = 0.02;

MeasuredProgramme ProgrammeAt(double lkfs, int blocks) {
  MeasuredProgramme programme;
  programme.programme = ProgrammeOf({"Left", "Right"});
  const std::uint16_t code = Cbin::GetBinIndx(static_cast<float>(lkfs));
  for (int i = 0; i < blocks; ++i)
    programme.readings.momentary.Count(code);
  for (int i = 0; i < blocks / 10; ++i)
    programme.readings.shortTerm.Count(code);
  programme.figures.seconds = blocks / 10.0;
  programme.figures.integrated = lkfs;
  programme.figures.maxMomentary = lkfs + 3.0;
  programme.figures.maxShortTerm = lkfs + 1.0;
  programme.figures.maxTruePeak = lkfs + 12.0;
  programme.figures.maxTruePeakAt = 7.0;
  return programme;
}

// The mean power of all readings, not the mean of the two figures and not the figure of the longer
// programme.
TEST(AlbumTest, LoudnessIsThatOfAllReadingsTogether) {
  Album album;
  album.Add(ProgrammeAt(-20.0, 1000));
  album.Add(ProgrammeAt(-26.0, 3000));
  EXPECT_EQ(album.Programmes(), 2U);
  const Figures figures = album.AsOne().figures;
  const double mean = 10.0 * std::log10((std::pow(10.0, -2.0) + 3.0 * std::pow(10.0, -2.6)) / 4.0);
  EXPECT_NEAR(figures.integrated.value(), mean, kBin);
  EXPECT_NEAR(figures.lra.value(), 6.0, kBin);
  EXPECT_DOUBLE_EQ(figures.seconds, 400.0);
}

// The quiet programme would pass a gate of its own.
TEST(AlbumTest, GatesAreThoseOfAllTogether) {
  Album album;
  album.Add(ProgrammeAt(-20.0, 1000));
  album.Add(ProgrammeAt(-40.0, 1000));
  EXPECT_NEAR(album.AsOne().figures.integrated.value(), -20.0, kBin);
}

TEST(AlbumTest, MaximaAreTheHighestOfAllAtNoParticularTime) {
  Album album;
  album.Add(ProgrammeAt(-20.0, 100));
  album.Add(ProgrammeAt(-26.0, 100));
  const Figures figures = album.AsOne().figures;
  EXPECT_DOUBLE_EQ(figures.maxMomentary.value(), -17.0);
  EXPECT_DOUBLE_EQ(figures.maxShortTerm.value(), -19.0);
  EXPECT_DOUBLE_EQ(figures.maxTruePeak.value(), -8.0);
  EXPECT_EQ(figures.maxTruePeakAt, 0.0);
}

TEST(AlbumTest, WhatIsBeyondAScaleInOneIsSoInAll) {
  Album album;
  MeasuredProgramme loud = ProgrammeAt(9.99, 100);
  loud.figures.isLoudnessAtLeast = true;
  album.Add(loud);
  album.Add(ProgrammeAt(-26.0, 100));
  EXPECT_TRUE(album.AsOne().figures.isLoudnessAtLeast);
  EXPECT_FALSE(album.AsOne().figures.isPeakAtLeast);
  EXPECT_FALSE(album.AsOne().figures.lra.has_value());
}

TEST(AlbumTest, SilenceAddsItsLengthOnly) {
  Album album;
  album.Add(ProgrammeAt(-23.0, 100));
  MeasuredProgramme silence;
  silence.figures.seconds = 5.0;
  album.Add(silence);
  EXPECT_NEAR(album.AsOne().figures.integrated.value(), -23.0, kBin);
  EXPECT_DOUBLE_EQ(album.AsOne().figures.maxTruePeak.value(), -11.0);
  EXPECT_DOUBLE_EQ(album.AsOne().figures.seconds, 15.0);
}

}  // namespace
}  // namespace louddesk
