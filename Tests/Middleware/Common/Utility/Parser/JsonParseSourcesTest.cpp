// Clock, Dolby-input and video sections of the preset.

#include "JsonParseSources.h"

#include <gtest/gtest.h>

#include "JsonText.h"

namespace {

constexpr char kSource[] =
    R"({"Type":"AES 3","ConnectorType":"DB25","Pair":4,"InputNo":3,"Cage":2,"Slot":1})";
constexpr char kMistypedSource[] =
    R"({"Type":1,"ConnectorType":[],"Pair":"4","InputNo":3.0,"Cage":null,"Slot":true,
        "StreamBitRate":-1,"StreamResolution":1080})";
constexpr const char* kNoObjects[] = {"[]", "null", "1", "\"AES\"", "true"};

std::string VideoWithBitRate(const char* bitRate) {
  return std::string(R"({"StreamBitRate":)") + bitRate + "}";
}

}  // namespace

TEST(SystemClockTypeTest, ValuesAreThoseOfTheInterface) {
  EXPECT_EQ(SCT_NONE, 0);
  EXPECT_EQ(SCT_MADI, 1);
  EXPECT_EQ(SCT_SDI, 2);
  EXPECT_EQ(SCT_AES, 3);
  EXPECT_EQ(SCT_AOIP, 4);
  EXPECT_EQ(SCT_INTERNAL, 5);
  EXPECT_EQ(SCT_TOSLINK, 6);
  EXPECT_EQ(SCT_NUM_CLOCKS, 7);
  EXPECT_EQ(SCT_UNKNOWN, 8);
}

TEST(SystemClockTypeTest, TextsAreFoundByTheNamesTheyContain) {
  struct Case {
    const char* text;
    SystemClockType_e clock;
  };
  const Case cases[] = {
      {"None", SCT_NONE},
      {"Internal", SCT_INTERNAL},
      {"Analog", SCT_INTERNAL},
      {"AES", SCT_AES},
      {"Dolby", SCT_INTERNAL},
      {"TOSLINK", SCT_TOSLINK},
      {"CAT1100", SCT_INTERNAL},
      {"VoIP.MPEG", SCT_INTERNAL},
      {"MADI", SCT_MADI},
      {"AoIP", SCT_AOIP},
      {"ASI", SCT_INTERNAL},
      {"SDI", SCT_SDI},
      {"ST-2022", SCT_SDI},
      {"ST-2110", SCT_SDI},
      {"", SCT_INTERNAL},
      {"unheard of", SCT_INTERNAL},
      {"sdi", SCT_INTERNAL},
      {"ST-2110-30 sender", SCT_SDI},
      // If two names occur, the order of the search decides.
      {"Internal None", SCT_NONE},
      {"AES Internal", SCT_INTERNAL},
      {"AES Analog", SCT_INTERNAL},
      {"Dolby AES", SCT_AES},
      {"TOSLINK Dolby", SCT_INTERNAL},
      {"CAT1100 TOSLINK", SCT_TOSLINK},
      {"MADI CAT1100", SCT_INTERNAL},
      {"MADI VoIP.MPEG", SCT_INTERNAL},
      {"AoIP MADI", SCT_MADI},
      {"MADI AES", SCT_AES},
      {"ASI AoIP", SCT_AOIP},
      {"SDI ASI", SCT_INTERNAL},
      {"SDI AoIP", SCT_AOIP},
  };
  for (const Case& row : cases)
    EXPECT_EQ(cSystemClockSource::ConvertToSysClockTypeFromString(row.text), row.clock) << row.text;
}

TEST(SystemClockTypeTest, MissingTextIsTheInternalClock) {
  EXPECT_EQ(cSystemClockSource::ConvertToSysClockTypeFromString(nullptr), SCT_INTERNAL);
}

TEST(SystemClockSourceTest, StartsWithoutAClock) {
  const cSystemClockSource clock;
  EXPECT_EQ(clock.mSysClockType, SCT_NONE);
  EXPECT_EQ(clock.mSysClockConnectorType, SIOCT_NONE);
  EXPECT_EQ(clock.miSysClockSlot, 0);
  EXPECT_EQ(clock.miSysClockCage, 0);
  EXPECT_EQ(clock.miSysClockInputNo, 0);
  EXPECT_EQ(clock.miSysClockPair, 0);
  EXPECT_EQ(clock.miCount, -1);
  EXPECT_EQ(clock.msSysClockType, "");
  EXPECT_EQ(clock.msSysClockConnectorType, "");
}

TEST(SystemClockSourceTest, ReadsEveryMember) {
  cSystemClockSource clock;
  EXPECT_EQ(clock.ParseSystemClockSource(Json(kSource)), 1);
  EXPECT_EQ(clock.mSysClockType, SCT_AES);
  EXPECT_EQ(clock.msSysClockType, "AES 3");
  EXPECT_EQ(clock.mSysClockConnectorType, SIOCT_DB25);
  EXPECT_EQ(clock.msSysClockConnectorType, "DB25");
  EXPECT_EQ(clock.miSysClockPair, 4);
  EXPECT_EQ(clock.miSysClockInputNo, 3);
  EXPECT_EQ(clock.miSysClockCage, 2);
  EXPECT_EQ(clock.miSysClockSlot, 1);
}

TEST(SystemClockSourceTest, ResetKeepsTheConnectorTextAlone) {
  cSystemClockSource clock;
  clock.ParseSystemClockSource(Json(kSource));
  clock.miCount = 12;
  clock.ResetSystemClockSource();
  EXPECT_EQ(clock.mSysClockType, SCT_NONE);
  EXPECT_EQ(clock.mSysClockConnectorType, SIOCT_NONE);
  EXPECT_EQ(clock.miSysClockSlot, 0);
  EXPECT_EQ(clock.miSysClockCage, 0);
  EXPECT_EQ(clock.miSysClockInputNo, 0);
  EXPECT_EQ(clock.miSysClockPair, 0);
  EXPECT_EQ(clock.miCount, -1);
  EXPECT_EQ(clock.msSysClockType, "");
  EXPECT_EQ(clock.msSysClockConnectorType, "DB25");
}

TEST(SystemClockSourceTest, WithoutTypeItIsTheInternalClock) {
  cSystemClockSource clock;
  EXPECT_EQ(clock.ParseSystemClockSource(Json("{}")), 1);
  EXPECT_EQ(clock.mSysClockType, SCT_INTERNAL);
  EXPECT_EQ(clock.msSysClockType, "");
}

TEST(SystemClockSourceTest, WithoutTypeAnEarlierTextDoesNotCount) {
  for (const char* text : {"{}", kMistypedSource}) {
    cSystemClockSource clock;
    clock.ParseSystemClockSource(Json(kSource));
    ASSERT_EQ(clock.mSysClockType, SCT_AES);
    EXPECT_EQ(clock.ParseSystemClockSource(Json(text)), 1);
    EXPECT_EQ(clock.mSysClockType, SCT_INTERNAL) << text;
  }
}

TEST(SystemClockSourceTest, MistypedMembersCountAsMissing) {
  cSystemClockSource clock;
  EXPECT_EQ(clock.ParseSystemClockSource(Json(kMistypedSource)), 1);
  EXPECT_EQ(clock.mSysClockType, SCT_INTERNAL);
  EXPECT_EQ(clock.mSysClockConnectorType, SIOCT_NONE);
  EXPECT_EQ(clock.miSysClockPair, 0);
  EXPECT_EQ(clock.miSysClockInputNo, 0);
  EXPECT_EQ(clock.miSysClockCage, 0);
  EXPECT_EQ(clock.miSysClockSlot, 0);
}

TEST(SystemClockSourceTest, ValueThatIsNotAnObjectFailsAndChangesNothing) {
  cSystemClockSource clock;
  clock.ParseSystemClockSource(Json(kSource));
  for (const char* text : kNoObjects)
    EXPECT_EQ(clock.ParseSystemClockSource(Json(text)), 0) << text;
  EXPECT_EQ(clock.mSysClockType, SCT_AES);
  EXPECT_EQ(clock.miSysClockSlot, 1);
}

TEST(DolbyInputSourceTest, StartsWithoutAnInput) {
  const cDolbyInputSource dolby;
  EXPECT_EQ(dolby.mDolbyInputType, SIT_NONE);
  EXPECT_EQ(dolby.mDolbyConnectorType, SIOCT_NONE);
  EXPECT_EQ(dolby.miDolbySlot, 0);
  EXPECT_EQ(dolby.miDolbyCage, 0);
  EXPECT_EQ(dolby.miDolbyInputNo, 0);
  EXPECT_EQ(dolby.miDolbyPair, 0);
  EXPECT_EQ(dolby.msInputDolbyType, "");
  EXPECT_EQ(dolby.msDolbyConnectorType, "");
}

TEST(DolbyInputSourceTest, ReadsEveryMember) {
  cDolbyInputSource dolby;
  EXPECT_EQ(dolby.ParseDolbyInputSource(Json(kSource)), 1);
  EXPECT_EQ(dolby.mDolbyInputType, SIT_AES);
  EXPECT_EQ(dolby.msInputDolbyType, "AES 3");
  EXPECT_EQ(dolby.mDolbyConnectorType, SIOCT_DB25);
  EXPECT_EQ(dolby.msDolbyConnectorType, "DB25");
  EXPECT_EQ(dolby.miDolbyPair, 4);
  EXPECT_EQ(dolby.miDolbyInputNo, 3);
  EXPECT_EQ(dolby.miDolbyCage, 2);
  EXPECT_EQ(dolby.miDolbySlot, 1);
}

TEST(DolbyInputSourceTest, MissingAndMistypedMembersLeaveTheirFields) {
  cDolbyInputSource dolby;
  dolby.ParseDolbyInputSource(Json(kSource));
  EXPECT_EQ(dolby.ParseDolbyInputSource(Json("{}")), 1);
  EXPECT_EQ(dolby.ParseDolbyInputSource(Json(kMistypedSource)), 1);
  EXPECT_EQ(dolby.mDolbyInputType, SIT_AES);
  EXPECT_EQ(dolby.msInputDolbyType, "AES 3");
  EXPECT_EQ(dolby.mDolbyConnectorType, SIOCT_DB25);
  EXPECT_EQ(dolby.miDolbyPair, 4);
  EXPECT_EQ(dolby.miDolbySlot, 1);
}

TEST(DolbyInputSourceTest, AudioOnlyInputsCountToo) {
  cDolbyInputSource dolby;
  EXPECT_EQ(dolby.ParseDolbyInputSource(Json(R"({"Type":"MADI"})")), 1);
  EXPECT_EQ(dolby.mDolbyInputType, SIT_MADI);
}

TEST(DolbyInputSourceTest, ValueThatIsNotAnObjectFails) {
  cDolbyInputSource dolby;
  for (const char* text : kNoObjects)
    EXPECT_EQ(dolby.ParseDolbyInputSource(Json(text)), 0) << text;
}

TEST(VideoSourceTest, ReadsEveryMember) {
  cVideoSource video;
  EXPECT_EQ(video.ParseVideoSource(
                Json(R"({"Type":"SDI","ConnectorType":"BNC","Pair":4,"InputNo":3,"Cage":2,"Slot":1,
                         "StreamBitRate":"12 Mbit/s","StreamResolution":"1080i50"})")),
            1);
  EXPECT_EQ(video.mVideoInputType, SIT_SDI);
  EXPECT_EQ(video.msVideoInputType, "SDI");
  EXPECT_EQ(video.mVideoConnectorType, SIOCT_BNC);
  EXPECT_EQ(video.msVideoConnectorType, "BNC");
  EXPECT_EQ(video.miVideoPair, 4);
  EXPECT_EQ(video.miVideoInputNo, 3);
  EXPECT_EQ(video.miVideoCage, 2);
  EXPECT_EQ(video.miVideoSlot, 1);
  EXPECT_EQ(video.msStreamBitRate, "12 Mbit/s");
  EXPECT_EQ(video.msStreamResolution, "1080i50");
}

TEST(VideoSourceTest, AudioOnlyInputsCountToo) {
  cVideoSource video;
  EXPECT_EQ(video.ParseVideoSource(Json(R"({"Type":"MADI"})")), 1);
  EXPECT_EQ(video.mVideoInputType, SIT_MADI);
}

TEST(VideoSourceTest, BitRateAsUnsignedNumberIsKeptAsItsDecimalText) {
  struct Case {
    const char* bitRate;
    const char* text;
  };
  const Case cases[] = {
      {"48000", "48000"}, {"0", "0"}, {"4294967295", "4294967295"}, {"\"48000\"", "48000"}};
  for (const Case& row : cases) {
    cVideoSource video;
    EXPECT_EQ(video.ParseVideoSource(Json(VideoWithBitRate(row.bitRate))), 1) << row.bitRate;
    EXPECT_EQ(video.msStreamBitRate, row.text) << row.bitRate;
  }
}

TEST(VideoSourceTest, OtherBitRatesCountAsMissing) {
  for (const char* bitRate : {"-1", "4294967296", "48000.0", "true", "null", "[]"}) {
    cVideoSource video;
    video.msStreamBitRate = "before";
    EXPECT_EQ(video.ParseVideoSource(Json(VideoWithBitRate(bitRate))), 1) << bitRate;
    EXPECT_EQ(video.msStreamBitRate, "before") << bitRate;
  }
}

TEST(VideoSourceTest, MissingAndMistypedMembersLeaveTheirFields) {
  cVideoSource video;
  video.ParseVideoSource(Json(kSource));
  EXPECT_EQ(video.ParseVideoSource(Json("{}")), 1);
  EXPECT_EQ(video.ParseVideoSource(Json(kMistypedSource)), 1);
  EXPECT_EQ(video.mVideoInputType, SIT_AES);
  EXPECT_EQ(video.mVideoConnectorType, SIOCT_DB25);
  EXPECT_EQ(video.miVideoInputNo, 3);
  EXPECT_EQ(video.miVideoCage, 2);
  EXPECT_EQ(video.msStreamResolution, "");
}

TEST(VideoSourceTest, ResetKeepsTheTypeTextsAlone) {
  cVideoSource video;
  video.ParseVideoSource(Json(kSource));
  video.ParseVideoSource(Json(R"({"StreamBitRate":1,"StreamResolution":"1080i50"})"));
  video.ResetVideoSource();
  EXPECT_EQ(video.mVideoInputType, SIT_NONE);
  EXPECT_EQ(video.mVideoConnectorType, SIOCT_NONE);
  EXPECT_EQ(video.miVideoSlot, 0);
  EXPECT_EQ(video.miVideoCage, 0);
  EXPECT_EQ(video.miVideoInputNo, 0);
  EXPECT_EQ(video.miVideoPair, 0);
  EXPECT_EQ(video.msStreamBitRate, "");
  EXPECT_EQ(video.msStreamResolution, "");
  EXPECT_EQ(video.msVideoInputType, "AES 3");
  EXPECT_EQ(video.msVideoConnectorType, "DB25");
}

TEST(VideoSourceTest, ValueThatIsNotAnObjectFails) {
  cVideoSource video;
  for (const char* text : kNoObjects)
    EXPECT_EQ(video.ParseVideoSource(Json(text)), 0) << text;
}
