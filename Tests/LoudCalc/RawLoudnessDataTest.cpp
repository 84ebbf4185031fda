// The sums of a raw block over the programme.

#include "RawLoudnessData.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace {

class RawLoudnessDataTest : public testing::Test {
 protected:
  RawLoudnessDataTest() : peaks_(kRawMeters, 0), powers_(kRawMeters, 0) {}

  void Meter(unsigned number, double weight, std::uint64_t power, std::uint32_t peak) {
    meters_ |= 1u << (number - 1);
    weights_[number - 1] = weight;
    powers_[number - 1] = power;
    peaks_[number - 1] = peak;
  }

  bool Sum() {
    return SumProgramme({peaks_.data(), peaks_.size() * sizeof peaks_[0]},
                        {powers_.data(), powers_.size() * sizeof powers_[0]}, meters_, weights_,
                        block_);
  }

  std::vector<std::uint32_t> peaks_;
  std::vector<std::uint64_t> powers_;
  std::uint32_t meters_ = 0;
  double weights_[kRawMeters] = {};
  ProgrammeBlock block_{77, 77};
};

TEST_F(RawLoudnessDataTest, PowersAreWeightedAndTruncatedOneByOne) {
  Meter(1, 1.0, 1000, 0);
  Meter(2, 1.41, 3, 0);   // 4.23 counts as 4
  Meter(32, 1.41, 5, 0);  // 7.05 counts as 7
  ASSERT_TRUE(Sum());
  EXPECT_EQ(1000u + 4u + 7u, block_.power);
}

TEST_F(RawLoudnessDataTest, LargestPeakOfTheSelectedMetersCounts) {
  Meter(3, 1.0, 0, 500);
  Meter(7, 1.0, 0, 70000);
  Meter(9, 1.0, 0, 600);
  peaks_[0] = 4000000000u;  // not in the programme
  ASSERT_TRUE(Sum());
  EXPECT_EQ(70000u, block_.peak);
}

TEST_F(RawLoudnessDataTest, WeightZeroCountsThePeakAndNotThePower) {
  Meter(4, 0.0, 123456, 321);
  ASSERT_TRUE(Sum());
  EXPECT_EQ(0u, block_.power);
  EXPECT_EQ(321u, block_.peak);
}

TEST_F(RawLoudnessDataTest, SumWrapsModulo64Bits) {
  // 2^63 is exact in double precision, so two of them make 2^64, which wraps to 0.
  Meter(1, 1.0, 1ull << 63, 0);
  Meter(2, 1.0, 1ull << 63, 0);
  Meter(3, 1.0, 5, 0);
  ASSERT_TRUE(Sum());
  EXPECT_EQ(5u, block_.power);
}

TEST_F(RawLoudnessDataTest, ProductBeyond64BitsCountsAsTheLargestValue) {
  Meter(1, 1.41, std::numeric_limits<std::uint64_t>::max(), 0);
  ASSERT_TRUE(Sum());
  EXPECT_EQ(std::numeric_limits<std::uint64_t>::max(), block_.power);
}

TEST_F(RawLoudnessDataTest, FramesThatHoldEveryEntryAskedForAreUsedWhateverTheirSize) {
  Meter(2, 1.0, 11, 22);
  peaks_.resize(2);
  powers_.resize(2);
  ASSERT_TRUE(Sum());
  EXPECT_EQ(11u, block_.power);
  peaks_.resize(1000);
  powers_.resize(1000);
  EXPECT_TRUE(Sum());
}

TEST_F(RawLoudnessDataTest, PeaksTooShortForAMeterDropTheBlock) {
  Meter(2, 1.0, 11, 22);
  peaks_.resize(1);
  EXPECT_FALSE(Sum());
  EXPECT_EQ(77u, block_.power);
  EXPECT_EQ(77u, block_.peak);
}

TEST_F(RawLoudnessDataTest, PowersTooShortForAMeterDropTheBlock) {
  Meter(1, 1.0, 11, 22);
  Meter(2, 1.0, 11, 22);
  powers_.resize(1);
  EXPECT_FALSE(Sum());
  EXPECT_EQ(77u, block_.power);
}

TEST_F(RawLoudnessDataTest, PowerOfAMeterWithoutWeightIsNotAskedFor) {
  Meter(1, 1.0, 11, 22);
  Meter(2, 0.0, 0, 33);
  powers_.resize(1);
  ASSERT_TRUE(Sum());
  EXPECT_EQ(11u, block_.power);
  EXPECT_EQ(33u, block_.peak);
}

TEST_F(RawLoudnessDataTest, PartOfAnEntryIsNotAnEntry) {
  Meter(1, 1.0, 11, 22);
  const FrameBytes peaks{peaks_.data(), 4};
  EXPECT_FALSE(SumProgramme(peaks, {powers_.data(), 7}, meters_, weights_, block_));
  EXPECT_TRUE(SumProgramme(peaks, {powers_.data(), 8}, meters_, weights_, block_));
}

TEST_F(RawLoudnessDataTest, FramesMayLieAtAnyAddress) {
  Meter(1, 1.0, 0x0123456789ABCDEFull >> 8, 22);
  std::vector<unsigned char> powers(9), peaks(5);
  std::memcpy(powers.data() + 1, powers_.data(), 8);
  std::memcpy(peaks.data() + 1, peaks_.data(), 4);
  ASSERT_TRUE(
      SumProgramme({peaks.data() + 1, 4}, {powers.data() + 1, 8}, meters_, weights_, block_));
  EXPECT_EQ(22u, block_.peak);
  // 49 significant bits: exact in double precision.
  EXPECT_EQ(0x0123456789ABCDEFull >> 8, block_.power);
}

TEST_F(RawLoudnessDataTest, EmptyProgrammeSumsToNothing) {
  EXPECT_TRUE(Sum());
  EXPECT_EQ(0u, block_.power);
  EXPECT_EQ(0u, block_.peak);
}

}  // namespace
