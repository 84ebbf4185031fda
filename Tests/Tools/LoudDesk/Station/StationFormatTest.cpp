// The bytes of a minute, as Docs/OPERATIONS.md describes them for readers with other tools.

#include "StationFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using louddesk::DecodeMinute;
using louddesk::EncodeMinute;
using louddesk::kBytesPerSecond;
using louddesk::kMissedReading;
using louddesk::MinuteOfSeconds;
using louddesk::RecordedSecond;
using louddesk::RecordedState;

namespace {

constexpr std::int64_t kMinute = 28633533;  // minutes since 1970

RecordedSecond SecondAt(std::int64_t time) {
  RecordedSecond second;
  second.time = time;
  second.momentary = {-230, -231, 1, kNoLoudnessCode, kMissedReading, -256, 0, -1, 255, 256};
  second.shortTerm = -235;
  second.truePeak = -102;
  second.state = RecordedState::kRunning;
  second.isSourceValid = true;
  return second;
}

}  // namespace

TEST(StationFormatTest, ASecondIsTwelveNumbersLowestByteFirstStateAndValidity) {
  MinuteOfSeconds minute;
  minute[0] = SecondAt(kMinute * 60);
  const std::string bytes = EncodeMinute(minute);
  ASSERT_EQ(60u * 26u, bytes.size());
  // -230 = 0xff1a, -231 = 0xff19, -990 = 0xfc22, -32768 = 0x8000, -235 = 0xff15, -102 = 0xff9a
  const std::string expected(
      "\x1a\xff\x19\xff\x01\x00\x22\xfc\x00\x80\x00\xff\x00\x00\xff\xff\xff\x00\x00\x01"
      "\x15\xff\x9a\xff\x03\x01",
      26);
  EXPECT_EQ(expected, bytes.substr(0, 26));
  EXPECT_EQ(std::string(59u * 26u, '\0'), bytes.substr(26));
}

TEST(StationFormatTest, WhatIsEncodedIsDecoded) {
  MinuteOfSeconds minute;
  minute[0] = SecondAt(kMinute * 60);
  minute[59] = SecondAt(kMinute * 60 + 59);
  minute[59]->isSourceValid = false;
  minute[59]->state = RecordedState::kSilent;
  const MinuteOfSeconds read = DecodeMinute(kMinute, EncodeMinute(minute));
  for (std::size_t i = 1; i < 59; ++i)
    EXPECT_FALSE(read[i]) << i;
  for (const std::size_t i : {0u, 59u}) {
    ASSERT_TRUE(read[i]) << i;
    EXPECT_EQ(minute[i]->time, read[i]->time);
    EXPECT_EQ(minute[i]->momentary, read[i]->momentary);
    EXPECT_EQ(minute[i]->shortTerm, read[i]->shortTerm);
    EXPECT_EQ(minute[i]->truePeak, read[i]->truePeak);
    EXPECT_EQ(minute[i]->state, read[i]->state);
    EXPECT_EQ(minute[i]->isSourceValid, read[i]->isSourceValid);
  }
}

TEST(StationFormatTest, ASecondThatIsCutOffIsMissing) {
  MinuteOfSeconds minute;
  minute[0] = SecondAt(kMinute * 60);
  minute[1] = SecondAt(kMinute * 60 + 1);
  const std::string bytes = EncodeMinute(minute).substr(0, 2 * kBytesPerSecond - 1);
  const MinuteOfSeconds read = DecodeMinute(kMinute, bytes);
  EXPECT_TRUE(read[0]);
  EXPECT_FALSE(read[1]);
  EXPECT_FALSE(DecodeMinute(kMinute, "")[0]);
}

TEST(StationFormatTest, BytesBehindAMinuteAreIgnored) {
  MinuteOfSeconds minute;
  minute[59] = SecondAt(kMinute * 60 + 59);
  EXPECT_TRUE(DecodeMinute(kMinute, EncodeMinute(minute) + std::string(100, '\x01'))[59]);
}

TEST(StationFormatTest, ASecondOfAnUnknownStateIsMissing) {
  std::string bytes(kBytesPerSecond, '\0');
  bytes[24] = '\x07';
  EXPECT_FALSE(DecodeMinute(kMinute, bytes)[0]);
  bytes[24] = '\x06';
  EXPECT_TRUE(DecodeMinute(kMinute, bytes)[0]);
}

TEST(StationFormatTest, AMomentaryReadingThatIsNoCodeIsMissed) {
  std::string bytes(kBytesPerSecond, '\0');
  bytes[24] = '\x03';
  bytes[0] = '\x21';  // -991
  bytes[1] = '\xfc';
  const auto second = DecodeMinute(kMinute, bytes)[0];
  ASSERT_TRUE(second);
  EXPECT_EQ(kMissedReading, second->momentary[0]);
  EXPECT_EQ(0, second->momentary[1]);
}
