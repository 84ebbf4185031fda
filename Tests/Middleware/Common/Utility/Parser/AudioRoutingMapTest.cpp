// Records of the audio routing: their texts and order, the map that keeps them, and their printing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "AudioRoutingRecord.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class AudioRoutingMapTest : public testing::Test {
 protected:
  void Insert(const cAudChannelOutputRouting& record) {
    testing::internal::CaptureStdout();
    mRouting.InsertAudChannelOutputRouting(record);
    mPrinted = testing::internal::GetCapturedStdout();
  }

  cAudOutputRouting mRouting;
  std::string mPrinted;
};

}  // namespace

TEST_F(AudioRoutingMapTest, OutputTypeValuesAreThoseOfTheInterface) {
  EXPECT_EQ(SOT_NONE, 0);
  EXPECT_EQ(SOT_MADI, 1);
  EXPECT_EQ(SOT_SDI, 2);
  EXPECT_EQ(SOT_AOIP, 3);
  EXPECT_EQ(SOT_AES, 5);
  EXPECT_EQ(SOT_ANALOG, 6);
  EXPECT_EQ(SOT_SPEAKERS, 10);
  EXPECT_EQ(SOT_HDMI, 11);
  EXPECT_EQ(SOT_HP, 12);
  EXPECT_EQ(SOT_UNKNOWN, 13);
}

TEST_F(AudioRoutingMapTest, OutputTypeTextsAreFoundByTheNamesTheyContain) {
  struct Case {
    const char* text;
    SysOutputType_e output;
  };
  const Case cases[] = {
      {"None", SOT_NONE},
      {"Analog", SOT_ANALOG},
      {"AES", SOT_AES},
      {"MADI", SOT_MADI},
      {"AoIP", SOT_AOIP},
      {"SDI", SOT_SDI},
      {"SpeakerHeadphone", SOT_SPEAKERS},
      {"HDMI", SOT_HDMI},
      {"HP", SOT_NONE},
      {"Headphone", SOT_NONE},
      {"hdmi", SOT_NONE},
      {"", SOT_NONE},
      {"Analog None", SOT_NONE},
      {"AES Analog", SOT_ANALOG},
      {"MADI AES", SOT_AES},
      {"AoIP MADI", SOT_MADI},
      {"SDI AoIP", SOT_AOIP},
      {"SpeakerHeadphone SDI", SOT_SDI},
      {"HDMI SpeakerHeadphone", SOT_SPEAKERS},
  };
  for (const Case& row : cases)
    EXPECT_EQ(cAudOutputRouting::ConvertToSysOutputTypeFromString(row.text), row.output)
        << row.text;
  EXPECT_EQ(cAudOutputRouting::ConvertToSysOutputTypeFromString(nullptr), SOT_NONE);
}

TEST_F(AudioRoutingMapTest, NewRecordIsNowhereAndCarriesNothing) {
  const cAudChannelOutputRouting record;
  EXPECT_EQ(record.miSlot, -1);
  EXPECT_EQ(record.mConnectorType, SIOCT_NONE);
  EXPECT_EQ(record.mOutputType, SOT_NONE);
  EXPECT_EQ(record.miChannel, -1);
  EXPECT_FALSE(record.mbSpeakerMix || record.mbSoloMute || record.mbHeadphoneMute ||
               record.mbVolumeControl);
  EXPECT_EQ(record.miOutputTrimDb, 0);
  EXPECT_EQ(record.mSpeakerType, AST_NONE);
  EXPECT_EQ(record.miPair, -1);
  EXPECT_THAT(record.mMeterSources, IsEmpty());
}

TEST_F(AudioRoutingMapTest, KeysAreOrderedBySlotConnectorOutputAndChannel) {
  const cAudChannelOutputRoutingKey ascending[] = {
      Record(-1, SIOCT_XLR, SOT_AES, 9),  Record(0, SIOCT_BNC, SOT_AES, 9),
      Record(0, SIOCT_XLR, SOT_MADI, 9),  Record(0, SIOCT_XLR, SOT_AES, -1),
      Record(0, SIOCT_XLR, SOT_AES, 0),   Record(0, SIOCT_XLR, SOT_HP, -9),
      Record(1, SIOCT_NONE, SOT_NONE, -9)};
  const std::size_t count = std::size(ascending);
  for (std::size_t left = 0; left < count; ++left)
    for (std::size_t right = 0; right < count; ++right)
      EXPECT_EQ(ascending[left] < ascending[right], left < right) << left << " " << right;
}

TEST_F(AudioRoutingMapTest, InsertedRecordIsACopyUnderItsKey) {
  cAudChannelOutputRouting record = Record(1, SIOCT_BNC, SOT_SDI, 5);
  record.miOutputTrimDb = 4;
  Insert(record);
  record.miOutputTrimDb = 0;
  ASSERT_EQ(mRouting.mAcorMap.count(record), 1U);
  EXPECT_EQ(mRouting.mAcorMap.at(record)->miOutputTrimDb, 4);
}

TEST_F(AudioRoutingMapTest, InsertingAgainOverwritesTheEntryInPlace) {
  cAudChannelOutputRouting record = Record(1, SIOCT_BNC, SOT_SDI, 5);
  record.mbSoloMute = true;
  record.mMeterSources = {1, 2};
  Insert(record);
  const std::shared_ptr<cAudChannelOutputRouting> entry = mRouting.mAcorMap.begin()->second;
  Insert(Record(1, SIOCT_BNC, SOT_SDI, 5));
  EXPECT_EQ(mRouting.mAcorMap.begin()->second, entry);
  EXPECT_FALSE(entry->mbSoloMute);
  EXPECT_THAT(entry->mMeterSources, IsEmpty());
}

TEST_F(AudioRoutingMapTest, InsertionPrintsTheRecord) {
  cAudChannelOutputRouting record = Record(1, SIOCT_XLR, SOT_AES, 3);
  record.miPair = 2;
  record.mbSpeakerMix = true;
  record.mbHeadphoneMute = true;
  record.miOutputTrimDb = -6;
  record.mSpeakerType = AST_SPEAKER_LS;
  record.mMeterSources = {12, 3};
  Insert(record);
  EXPECT_EQ(mPrinted,
            "\n\t\tSlot No:1\n\t\tConnector Type:4\n\t\tOutput Source Type:5\n\t\tChannel:3"
            "\n\t\tPair:2\n\t\tSpeakerMix:1\n\t\tSoloMute:0\n\t\tHeadphoneMute:1"
            "\n\t\tVolumeControl:0\n\t\tOutputTrim:-6\n\t\tSpeakerType:5"
            "Meter sources >> 3 12\n");
}

TEST_F(AudioRoutingMapTest, RecordWithoutMetersPrintsThat) {
  Insert(Record(1, SIOCT_XLR, SOT_AES, 3));
  EXPECT_THAT(mPrinted, HasSubstr("\n\t\tSpeakerType:0No Meter sources !!\n"));
  EXPECT_THAT(mPrinted, Not(HasSubstr(">>")));
}

TEST_F(AudioRoutingMapTest, PrintingTheMapNamesItAndEveryEntry) {
  Insert(Record(1, SIOCT_XLR, SOT_AES, 3));
  const std::string first = mPrinted;
  Insert(Record(0, SIOCT_XLR, SOT_AES, 3));
  testing::internal::CaptureStdout();
  mRouting.PrintAudOutputRouting();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Audio routing itr map\n" + mPrinted + first);
}
