// Routing section of the preset: the four levels of the document and the entries of the map.

#include "JsonParseAudioRouting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "AudioRoutingRecord.h"
#include "JsonText.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

constexpr char kChannel[] = R"({"OutputTrimDb":-3,"Speaker":"Left","MeterSources":[1,2]})";

std::string Pair(const std::string& number, const std::string& channels) {
  return R"({"Pair":)" + number + R"(,"OutputChannels":[)" + channels + "]}";
}

constexpr char kSecondChannel[] = R"({"OutputTrimDb":2,"MeterSources":[9]})";

// The routing section with these pairs at one output of one slot.
std::string Routing(const std::string& slot, const std::string& pairs) {
  return "{\"" + slot + R"(":{"BNC":{"SDI":{"Pairs":[)" + pairs + "]}}}}";
}

class AudioRoutingTest : public testing::Test {
 protected:
  int Parse(const std::string& text, bool allSlots = true, int slot = 0) {
    const rapidjson::Document document = Json(text);
    testing::internal::CaptureStdout();
    const int result = mRouting.ParseAudOutputRouting(document, allSlots, slot);
    mPrinted = testing::internal::GetCapturedStdout();
    return result;
  }

  // Parses `count` channels of slot 1, beginning with index `first`.
  int ParseChannels(std::size_t count, std::size_t first = 0) {
    std::string pairs;
    for (std::size_t i = first; i < first + count; ++i)
      pairs += (i > first ? "," : "") + Pair(std::to_string(i), kChannel);
    return Parse(Routing("1", pairs));
  }

  // Parses one pair of slot 1 with these channel objects.
  int ParsePair(const std::string& number, const std::string& channels) {
    return Parse(Routing("1", Pair(number, channels)));
  }

  // The entry of a channel at the BNC connector's SDI output. Fails the test if there is none.
  cAudChannelOutputRouting Entry(std::int32_t slot, std::int32_t channel) {
    const auto entry = mRouting.mAcorMap.find(Record(slot, SIOCT_BNC, SOT_SDI, channel));
    if (entry != mRouting.mAcorMap.end())
      return *entry->second;
    ADD_FAILURE() << "no entry for slot " << slot << " channel " << channel;
    return {};
  }

  // The channels of the map in its order, without the rest of their keys.
  std::vector<std::int32_t> Channels() {
    std::vector<std::int32_t> channels;
    for (const auto& entry : mRouting.mAcorMap)
      channels.push_back(entry.first.miChannel);
    return channels;
  }

  cAudOutputRouting mRouting;
  std::string mPrinted;
};

}  // namespace

TEST_F(AudioRoutingTest, ReadsEveryMemberOfPairAndChannel) {
  EXPECT_EQ(Parse(R"({"2":{"XLR":{"AES":{"Pairs":[{"Pair":1,"SpeakerMix":true,"SoloMute":true,
                "HeadphoneMute":true,"VolumeControl":true,"OutputChannels":[
                {"OutputTrimDb":-3,"Speaker":"RightSurround","MeterSources":[4,2,4]}]}]}}}})"),
            1);
  ASSERT_EQ(mRouting.mAcorMap.size(), 1U);
  const cAudChannelOutputRouting& record = *mRouting.mAcorMap.begin()->second;
  EXPECT_EQ(record.miSlot, 2);
  EXPECT_EQ(record.mConnectorType, SIOCT_XLR);
  EXPECT_EQ(record.mOutputType, SOT_AES);
  EXPECT_EQ(record.miChannel, 1);
  EXPECT_EQ(record.miPair, 1);
  EXPECT_TRUE(record.mbSpeakerMix);
  EXPECT_TRUE(record.mbSoloMute);
  EXPECT_TRUE(record.mbHeadphoneMute);
  EXPECT_TRUE(record.mbVolumeControl);
  EXPECT_EQ(record.miOutputTrimDb, -3);
  EXPECT_EQ(record.mSpeakerType, AST_SPEAKER_RS);
  EXPECT_THAT(record.mMeterSources, ElementsAre(2, 4));
}

TEST_F(AudioRoutingTest, PairOneHoldsChannelsOneAndTwo) {
  EXPECT_EQ(Parse(Routing("1", Pair("1", std::string(kChannel) + "," + kChannel) + "," +
                                   Pair("2", std::string(kChannel) + "," + kChannel))),
            1);
  EXPECT_THAT(Channels(), ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(Entry(1, 4).miPair, 2);
}

TEST_F(AudioRoutingTest, PairZeroHoldsTheChannelsBelowOne) {
  EXPECT_EQ(ParsePair("0", std::string(kChannel) + "," + kChannel), 1);
  EXPECT_THAT(Channels(), ElementsAre(-1, 0));
}

TEST_F(AudioRoutingTest, ValueThatIsNotAnObjectFails) {
  for (const char* text : {"[]", "null", "1", "\"x\"", "true"}) {
    EXPECT_EQ(Parse(text, true), 0) << text;
    EXPECT_EQ(Parse(text, false), 0) << text;
  }
}

TEST_F(AudioRoutingTest, WithoutSlotsNothingIsRouted) {
  EXPECT_EQ(Parse("{}"), 1);
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
  EXPECT_EQ(mPrinted, "");
}

TEST_F(AudioRoutingTest, EverySlotIsReadUnderItsNumber) {
  const std::string slot = R"({"BNC":{"SDI":{"Pairs":[)" + Pair("1", kChannel) + "]}}}";
  EXPECT_EQ(Parse("{\"3\":" + slot + ",\"1\":" + slot + ",\"12 upper\":" + slot + "}"), 1);
  ASSERT_EQ(mRouting.mAcorMap.size(), 3U);
  EXPECT_EQ(Entry(1, 1).miSlot, 1);
  EXPECT_EQ(Entry(3, 1).miSlot, 3);
  EXPECT_EQ(Entry(12, 1).miSlot, 12);
}

TEST_F(AudioRoutingTest, SlotWithoutANumberIsSkippedWithALogLine) {
  const std::string slot = R"({"BNC":{"SDI":{"Pairs":[)" + Pair("1", kChannel) + "]}}}";
  Logger* logger = Logger::GetInstance();
  logger->mConsoleAttached = true;
  cAudOutputRouting::mpLogger = logger;
  for (const char* name : {"", "rear", "99999999999", "-2147483649"}) {
    mRouting.mAcorMap.clear();
    testing::internal::CaptureStderr();
    EXPECT_EQ(Parse(std::string("{\"") + name + "\":" + slot + ",\"2\":" + slot + "}"), 0) << name;
    const std::string logged = testing::internal::GetCapturedStderr();
    EXPECT_THAT(logged, HasSubstr(std::string("slot ") + name + " skipped"));
    EXPECT_THAT(logged, HasSubstr("JsonParseAudioRouting|"));
    EXPECT_THAT(logged, HasSubstr("WARN"));
    ASSERT_EQ(mRouting.mAcorMap.size(), 1U) << name;
    EXPECT_EQ(Entry(2, 1).miSlot, 2);
  }
  cAudOutputRouting::mpLogger = nullptr;
}

TEST_F(AudioRoutingTest, WithoutALoggerASlotWithoutANumberIsSkippedSilently) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Parse(Routing("rear", Pair("1", kChannel))), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
}

TEST_F(AudioRoutingTest, OneSlotIsReadAlone) {
  const std::string slot = R"({"BNC":{"SDI":{"Pairs":[)" + Pair("1", kChannel) + "]}}}";
  EXPECT_EQ(Parse("{\"0\":" + slot + ",\"1\":" + slot + "}", false, 0), 1);
  EXPECT_EQ(mRouting.mAcorMap.size(), 1U);
  EXPECT_EQ(Entry(0, 1).miSlot, 0);
}

TEST_F(AudioRoutingTest, OfTwoSlotsOfOneNameTheFirstIsTheOneAskedFor) {
  const std::string first = R"({"BNC":{"SDI":{"Pairs":[)" + Pair("1", kChannel) + "]}}}";
  const std::string second = R"({"BNC":{"SDI":{"Pairs":[)" + Pair("2", kChannel) + "]}}}";
  const std::string slots = R"({"1":)" + first + R"(,"1":)" + second + "}";
  EXPECT_EQ(Parse(slots, false, 1), 1);
  EXPECT_THAT(Channels(), ElementsAre(1));
  EXPECT_EQ(Parse(slots, true), 1) << "asked for all";
  EXPECT_THAT(Channels(), ElementsAre(1, 3));
}

TEST_F(AudioRoutingTest, OneSlotIsFoundByItsExactDecimalText) {
  EXPECT_EQ(Parse(Routing("01", Pair("1", kChannel)), false, 1), 0);
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
  EXPECT_EQ(Parse(Routing("-1", Pair("1", kChannel)), false, -1), 1);
  EXPECT_EQ(Entry(-1, 1).miSlot, -1);
}

TEST_F(AudioRoutingTest, MissingOrMistypedOneSlotLeavesAClearedRecord) {
  for (const char* text : {"{}", R"({"0":[]})", R"({"1":{}})"}) {
    mRouting.mAcor = Record(4, SIOCT_BNC, SOT_SDI, 4);
    mRouting.mAcor.mMeterSources = {1};
    mRouting.mAcor.miPair = 3;
    EXPECT_EQ(Parse(text, false, 0), 0) << text;
    EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
    EXPECT_EQ(mRouting.mAcor.miPair, -1) << text;
    EXPECT_EQ(mRouting.mAcor.miChannel, -1) << text;
    EXPECT_EQ(mRouting.mAcor.mConnectorType, SIOCT_NONE) << text;
    EXPECT_THAT(mRouting.mAcor.mMeterSources, IsEmpty()) << text;
  }
}

TEST_F(AudioRoutingTest, ConnectorsAndOutputsOfASlotAreKeptApart) {
  const std::string pairs = "{\"Pairs\":[" + Pair("1", kChannel) + "]}";
  EXPECT_EQ(Parse("{\"1\":{\"BNC\":{\"SDI\":" + pairs + ",\"AES\":" + pairs +
                  "},\"SFP\":{\"MADI\":" + pairs + ",\"odd\":" + pairs +
                  "},\"odd\":{\"SDI\":" + pairs + "}}}"),
            1);
  EXPECT_EQ(mRouting.mAcorMap.size(), 5U);
  for (const cAudChannelOutputRouting& key :
       {Record(1, SIOCT_BNC, SOT_SDI, 1), Record(1, SIOCT_BNC, SOT_AES, 1),
        Record(1, SIOCT_SFP, SOT_MADI, 1), Record(1, SIOCT_SFP, SOT_NONE, 1),
        Record(1, SIOCT_NONE, SOT_SDI, 1)})
    EXPECT_EQ(mRouting.mAcorMap.count(key), 1U) << key.mConnectorType << " " << key.mOutputType;
}

TEST_F(AudioRoutingTest, LevelThatIsMalformedFailsButTheRestIsRead) {
  const std::string pair = Pair("1", kChannel);
  const std::string output = R"({"Pairs":[)" + pair + "]}";
  const std::string connector = R"({"SDI":)" + output + "}";
  const std::string slot = R"({"BNC":)" + connector + "}";
  // Each case has a bad member at one level before the good one.
  const std::string cases[] = {
      R"({"1":[],"2":)" + slot + "}",
      R"({"2":{"XLR":1,"BNC":)" + connector + "}}",
      R"({"2":{"BNC":{"AES":null,"SDI":)" + output + "}}}",
      R"({"2":{"BNC":{"AES":{"Pairs":{}},"SDI":)" + output + "}}}",
      R"({"2":{"BNC":{"SDI":{"Pairs":[[],)" + pair + "]}}}}",
      R"({"2":{"BNC":{"SDI":{"Pairs":[{"Pair":3},)" + pair + "]}}}}",
  };
  for (const std::string& text : cases) {
    mRouting.mAcorMap.clear();
    EXPECT_EQ(Parse(text), 0) << text;
    ASSERT_EQ(mRouting.mAcorMap.size(), 1U) << text;
    EXPECT_EQ(Entry(2, 1).miOutputTrimDb, -3) << text;
  }
}

TEST_F(AudioRoutingTest, EachSlotBeginsWithAClearedRecord) {
  const std::string slot = R"({"BNC":{"SDI":{"Pairs":[)" + Pair("1", kChannel) + "]}}}";
  EXPECT_EQ(Parse("{\"1\":" + slot + ",\"2\":{}}"), 1);
  EXPECT_EQ(mRouting.mAcor.miSlot, 2);
  EXPECT_EQ(mRouting.mAcor.miPair, -1);
  EXPECT_EQ(mRouting.mAcor.miOutputTrimDb, 0);
  EXPECT_EQ(mRouting.mAcor.mSpeakerType, AST_NONE);
  EXPECT_THAT(mRouting.mAcor.mMeterSources, IsEmpty());
}

TEST_F(AudioRoutingTest, SlotClearsTheContentsOfTheRecordButNotItsKey) {
  mRouting.mAcor = Record(1, SIOCT_XLR, SOT_AES, 7);
  mRouting.mAcor.mbSpeakerMix = mRouting.mAcor.mbSoloMute = true;
  mRouting.mAcor.mbHeadphoneMute = mRouting.mAcor.mbVolumeControl = true;
  EXPECT_EQ(Parse(R"({"2":{}})"), 1);
  EXPECT_FALSE(mRouting.mAcor.mbSpeakerMix || mRouting.mAcor.mbSoloMute);
  EXPECT_FALSE(mRouting.mAcor.mbHeadphoneMute || mRouting.mAcor.mbVolumeControl);
  EXPECT_EQ(mRouting.mAcor.mConnectorType, SIOCT_XLR);
  EXPECT_EQ(mRouting.mAcor.mOutputType, SOT_AES);
  EXPECT_EQ(mRouting.mAcor.miChannel, 7);
}

TEST_F(AudioRoutingTest, EachChannelBeginsWithoutMeterSources) {
  EXPECT_EQ(ParsePair("1", std::string(kChannel) + ",[]"), 0);
  EXPECT_THAT(mRouting.mAcor.mMeterSources, IsEmpty());
}

TEST_F(AudioRoutingTest, OutputWithoutPairsOrWithNoneSucceeds) {
  EXPECT_EQ(Parse(R"({"1":{"BNC":{"SDI":{},"AES":{"Pairs":[]}}}})"), 1);
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
}

TEST_F(AudioRoutingTest, PairWithoutChannelListFails) {
  EXPECT_EQ(Parse(Routing("1", R"({"Pair":1})")), 0);
  EXPECT_EQ(Parse(Routing("1", R"({"Pair":1,"OutputChannels":{}})")), 0);
  EXPECT_EQ(Parse(Routing("1", R"({"Pair":1,"OutputChannels":[]})")), 1);
}

TEST_F(AudioRoutingTest, ChannelsOfAPairWithoutNumberAreNotInserted) {
  for (const char* number : {"-1", "\"1\"", "1.0", "null"}) {
    EXPECT_EQ(ParsePair(number, kChannel), 1) << number;
    EXPECT_THAT(mRouting.mAcorMap, IsEmpty()) << number;
  }
}

TEST_F(AudioRoutingTest, PairDoesNotInheritFromThePairBefore) {
  const std::string first = R"({"Pair":1,"SpeakerMix":true,"SoloMute":true,"HeadphoneMute":true,
                               "VolumeControl":true,"OutputChannels":[)" +
                            std::string(kChannel) + "]}";
  const std::string second =
      R"({"Pair":2,"OutputChannels":[{"OutputTrimDb":0,"MeterSources":[]}]})";
  const std::string unnumbered = R"({"OutputChannels":[{"OutputTrimDb":9,"MeterSources":[9]}]})";
  EXPECT_EQ(Parse(Routing("1", first + "," + second + "," + unnumbered)), 1);
  EXPECT_THAT(Channels(), ElementsAre(1, 3));
  EXPECT_EQ(Entry(1, 1).miOutputTrimDb, -3);
  const cAudChannelOutputRouting record = Entry(1, 3);
  EXPECT_FALSE(record.mbSpeakerMix || record.mbSoloMute || record.mbHeadphoneMute ||
               record.mbVolumeControl);
  EXPECT_EQ(record.mSpeakerType, AST_NONE);
  EXPECT_THAT(record.mMeterSources, IsEmpty());
}

TEST_F(AudioRoutingTest, EachFlagIsReadFromItsOwnKey) {
  using Record_t = cAudChannelOutputRouting;
  const struct {
    const char* key;
    bool Record_t::*flag;
  } kFlags[] = {
      {"SpeakerMix", &Record_t::mbSpeakerMix},
      {"SoloMute", &Record_t::mbSoloMute},
      {"HeadphoneMute", &Record_t::mbHeadphoneMute},
      {"VolumeControl", &Record_t::mbVolumeControl},
  };
  for (const auto& set : kFlags) {
    EXPECT_EQ(Parse(Routing("1", std::string(R"({"Pair":1,")") + set.key +
                                     R"(":true,"OutputChannels":[)" + kChannel + "]}")),
              1);
    const Record_t record = Entry(1, 1);
    for (const auto& read : kFlags)
      EXPECT_EQ(record.*read.flag, read.key == set.key) << read.key << " by " << set.key;
  }
}

TEST_F(AudioRoutingTest, OnlyAJsonTrueSetsAFlag) {
  for (const char* value : {"false", "1", "\"true\"", "null"}) {
    const std::string flag = value;
    EXPECT_EQ(Parse(Routing("1", R"({"Pair":1,"SpeakerMix":)" + flag + R"(,"SoloMute":)" + flag +
                                     R"(,"HeadphoneMute":)" + flag + R"(,"VolumeControl":)" + flag +
                                     R"(,"OutputChannels":[)" + kChannel + "]}")),
              1)
        << value;
    const cAudChannelOutputRouting record = Entry(1, 1);
    EXPECT_FALSE(record.mbSpeakerMix || record.mbSoloMute || record.mbHeadphoneMute ||
                 record.mbVolumeControl)
        << value;
  }
}

TEST_F(AudioRoutingTest, ChannelWithoutMeterSourcesIsNotInsertedAndFailsItsPair) {
  EXPECT_EQ(ParsePair("1", R"({"OutputTrimDb":0,"Speaker":"Left"})"), 0);
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
}

TEST_F(AudioRoutingTest, BadChannelFailsItsPairButTheOthersAreInserted) {
  const char* const badChannels[] = {
      "[]",
      "null",
      R"({"MeterSources":[1]})",
      R"({"OutputTrimDb":"0","MeterSources":[1]})",
      R"({"OutputTrimDb":0.5,"MeterSources":[1]})",
      R"({"OutputTrimDb":0,"Speaker":1,"MeterSources":[1]})",
      R"({"OutputTrimDb":0,"Speaker":null,"MeterSources":[1]})",
  };
  for (const char* bad : badChannels) {
    mRouting.mAcorMap.clear();
    EXPECT_EQ(ParsePair("1", std::string(bad) + "," + kChannel), 0) << bad;
    EXPECT_THAT(Channels(), ElementsAre(2)) << bad;
  }
}

TEST_F(AudioRoutingTest, IntegersAmongTheMeterSourcesCount) {
  EXPECT_EQ(ParsePair("1", R"({"OutputTrimDb":0,"MeterSources":[7,"8",1.5,null,-2,4294967296,7]})"),
            1);
  EXPECT_THAT(Entry(1, 1).mMeterSources, ElementsAre(-2, 7));
}

TEST_F(AudioRoutingTest, MeterSourcesNeedOnlyBePresent) {
  EXPECT_EQ(ParsePair("1", R"({"OutputTrimDb":0,"MeterSources":null})"), 1);
  EXPECT_THAT(Entry(1, 1).mMeterSources, IsEmpty());
}

TEST_F(AudioRoutingTest, MeterSourcesOfAChannelDoNotReachTheNext) {
  EXPECT_EQ(ParsePair("1", std::string(kChannel) + R"(,{"OutputTrimDb":0,"MeterSources":[]})"), 1);
  EXPECT_THAT(Entry(1, 1).mMeterSources, ElementsAre(1, 2));
  EXPECT_THAT(Entry(1, 2).mMeterSources, IsEmpty());
}

TEST_F(AudioRoutingTest, LastOccurrenceOfAChannelWins) {
  EXPECT_EQ(Parse(Routing("1", Pair("1", kChannel) + "," +
                                   Pair("1", R"({"OutputTrimDb":6,"MeterSources":[9]})"))),
            1);
  ASSERT_EQ(mRouting.mAcorMap.size(), 1U);
  const cAudChannelOutputRouting record = Entry(1, 1);
  EXPECT_EQ(record.miOutputTrimDb, 6);
  EXPECT_EQ(record.mSpeakerType, AST_NONE);
  EXPECT_THAT(record.mMeterSources, ElementsAre(9));
}

TEST_F(AudioRoutingTest, ChannelBeyondIntFailsWithoutOverflow) {
  for (const std::int32_t pair : {kLowest, -1073741824, 1073741825, kHighest}) {
    EXPECT_EQ(ParsePair(std::to_string(pair), kChannel), 0) << pair;
    EXPECT_THAT(mRouting.mAcorMap, IsEmpty()) << pair;
  }
  // 2 x 1073741824 - 1 is the highest int; the second channel of that pair is beyond it.
  EXPECT_EQ(ParsePair("1073741824", std::string(kChannel) + "," + kChannel), 0);
  EXPECT_THAT(Channels(), ElementsAre(kHighest));
  // 2 x -1073741824 - 1 is one below the lowest int; the second channel of that pair is the lowest.
  mRouting.mAcorMap.clear();
  EXPECT_EQ(ParsePair("-1073741824", std::string(kChannel) + "," + kChannel), 0);
  EXPECT_THAT(Channels(), ElementsAre(kLowest));
}

// ----- the inner levels by themselves

class AudioRoutingLevelsTest : public AudioRoutingTest {
 protected:
  AudioRoutingLevelsTest() { mRouting.mAcor = Record(3, SIOCT_BNC, SOT_SDI, -1); }

  using Level_t = int (cAudOutputRouting::*)(const rapidjson::Value&);

  int ParseLevel(Level_t level, const std::string& text) {
    const rapidjson::Document document = Json(text);
    testing::internal::CaptureStdout();
    const int result = (mRouting.*level)(document);
    mPrinted = testing::internal::GetCapturedStdout();
    return result;
  }
};

TEST_F(AudioRoutingLevelsTest, PairsAreAnArrayOfPairs) {
  const Level_t pairs = &cAudOutputRouting::ParseAORPairs;
  for (const char* text : {"{}", "null", "1"})
    EXPECT_EQ(ParseLevel(pairs, text), 0) << text;
  EXPECT_EQ(ParseLevel(pairs, "[]"), 1);
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
  EXPECT_EQ(ParseLevel(pairs, "[" + Pair("1", kChannel) + "," + Pair("4", kChannel) + "]"), 1);
  EXPECT_THAT(Channels(), ElementsAre(1, 7));
  EXPECT_EQ(ParseLevel(pairs, "[[]," + Pair("5", kChannel) + "]"), 0);
  EXPECT_EQ(Entry(3, 9).miPair, 5);
}

TEST_F(AudioRoutingLevelsTest, PairHasNumberFlagsAndChannels) {
  const Level_t pair = &cAudOutputRouting::ParseAORPair;
  for (const char* text : {"[]", "null", "1", R"({"Pair":1})"})
    EXPECT_EQ(ParseLevel(pair, text), 0) << text;
  EXPECT_EQ(ParseLevel(pair, R"({"Pair":2,"SoloMute":true,"OutputChannels":[]})"), 1);
  EXPECT_EQ(mRouting.mAcor.miPair, 2);
  EXPECT_TRUE(mRouting.mAcor.mbSoloMute);
  EXPECT_FALSE(mRouting.mAcor.mbSpeakerMix);
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
  EXPECT_EQ(ParseLevel(pair, Pair("2", kChannel)), 1);
  EXPECT_EQ(Entry(3, 3).miPair, 2);
}

TEST_F(AudioRoutingLevelsTest, ChannelsAreNumberedFromTheirPair) {
  const Level_t channels = &cAudOutputRouting::ParseAOROutputChannels;
  const std::string two = std::string("[") + kChannel + "," + kSecondChannel + "]";
  for (const char* text : {"{}", "null", "1"})
    EXPECT_EQ(ParseLevel(channels, text), 0) << text;
  EXPECT_EQ(ParseLevel(channels, "[]"), 1);
  EXPECT_EQ(ParseLevel(channels, two), 1);
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty()) << "there is no pair";
  mRouting.mAcor.miPair = 3;
  EXPECT_EQ(ParseLevel(channels, two), 1);
  EXPECT_THAT(Channels(), ElementsAre(5, 6));
  EXPECT_EQ(Entry(3, 5).miOutputTrimDb, -3);
  EXPECT_EQ(Entry(3, 6).miOutputTrimDb, 2);
}

TEST_F(AudioRoutingLevelsTest, ChannelIsReadAndNotInserted) {
  const Level_t channel = &cAudOutputRouting::ParseAOROutputChannel;
  mRouting.mAcor.miPair = 1;
  EXPECT_EQ(ParseLevel(channel, kChannel), 1);
  EXPECT_EQ(mRouting.mAcor.miOutputTrimDb, -3);
  EXPECT_EQ(mRouting.mAcor.mSpeakerType, AST_SPEAKER_LEFT);
  EXPECT_THAT(mRouting.mAcor.mMeterSources, ElementsAre(1, 2));
  EXPECT_EQ(ParseLevel(channel, kSecondChannel), 1);
  EXPECT_EQ(mRouting.mAcor.mSpeakerType, AST_NONE);
  EXPECT_THAT(mRouting.mAcor.mMeterSources, ElementsAre(9));
  for (const char* text : {"[]", "null", R"({"MeterSources":[1]})", R"({"OutputTrimDb":0})",
                           R"({"OutputTrimDb":0,"Speaker":1,"MeterSources":[1]})"})
    EXPECT_EQ(ParseLevel(channel, text), 0) << text;
  EXPECT_THAT(mRouting.mAcorMap, IsEmpty());
}

TEST_F(AudioRoutingTest, ClearingContentsKeepsTheKeys) {
  EXPECT_EQ(ParsePair("1", kChannel), 1);
  mRouting.ClearRoutingContents();
  const cAudChannelOutputRouting record = Entry(1, 1);
  EXPECT_EQ(record.miSlot, 1);
  EXPECT_EQ(record.mConnectorType, SIOCT_BNC);
  EXPECT_EQ(record.mOutputType, SOT_SDI);
  EXPECT_EQ(record.miChannel, 1);
  EXPECT_EQ(record.miOutputTrimDb, 0);
  EXPECT_EQ(record.mSpeakerType, AST_NONE);
  EXPECT_EQ(record.miPair, -1);
  EXPECT_THAT(record.mMeterSources, IsEmpty());
}

TEST_F(AudioRoutingTest, ChannelsAreReadUpToTheLimit) {
  EXPECT_EQ(ParseChannels(kMaxRoutedChannels), 1);
  EXPECT_EQ(mRouting.mAcorMap.size(), kMaxRoutedChannels);
  mRouting.mAcorMap.clear();
  EXPECT_EQ(ParseChannels(kMaxRoutedChannels + 100), 0);
  EXPECT_EQ(mRouting.mAcorMap.size(), kMaxRoutedChannels);
}

TEST_F(AudioRoutingTest, RepeatedChannelsCountToo) {
  std::string channels = kChannel;
  for (std::size_t i = 1; i <= kMaxRoutedChannels; ++i)
    channels += "," + std::string(kChannel);
  EXPECT_EQ(Parse(Routing("1", Pair("1", channels))), 0);
  EXPECT_EQ(Parse(Routing("1", Pair("1", kChannel))), 1);
}

TEST_F(AudioRoutingTest, ChannelsBeyondTheLimitAreLoggedInOneLine) {
  Logger* logger = Logger::GetInstance();
  logger->mConsoleAttached = true;
  cAudOutputRouting::mpLogger = logger;
  testing::internal::CaptureStderr();
  ParseChannels(kMaxRoutedChannels);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  testing::internal::CaptureStderr();
  ParseChannels(kMaxRoutedChannels + 100);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::ContainsRegex("^[^\n]*\"Audio routing: channels beyond the first 512 "
                                     "skipped\"\n[^\n]*$"));
  cAudOutputRouting::mpLogger = nullptr;
}

TEST_F(AudioRoutingTest, ChannelsOfEarlierDocumentsMakeRoomForNewOnes) {
  EXPECT_EQ(ParseChannels(kMaxRoutedChannels), 1);
  mRouting.ClearRoutingContents();
  EXPECT_EQ(ParseChannels(kMaxRoutedChannels, kMaxRoutedChannels), 1);
  EXPECT_EQ(mRouting.mAcorMap.size(), kMaxRoutedChannels);
  EXPECT_EQ(mRouting.mAcorMap.begin()->second->miPair, static_cast<int>(kMaxRoutedChannels));
}

TEST_F(AudioRoutingTest, ChannelsOfTheDocumentAtHandAreNotDrivenOut) {
  EXPECT_EQ(ParseChannels(kMaxRoutedChannels), 1);
  mRouting.ClearRoutingContents();
  EXPECT_EQ(ParseChannels(100), 1);
  EXPECT_EQ(ParseChannels(1, kMaxRoutedChannels), 1);
  EXPECT_EQ(mRouting.mAcorMap.size(), 101U);
}
