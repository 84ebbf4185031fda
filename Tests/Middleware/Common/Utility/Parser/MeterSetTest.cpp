// The meters of the preset as a set: their numbers in documents, the Dolby flag and the access
// rules.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "JsonText.h"
#include "Meters.h"

namespace {

constexpr std::int32_t kMeters = 32;
constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

class MeterSetTest : public testing::Test {
 protected:
  int Parse(const std::string& text) { return mSet.ParseMeterSet(Json(text)); }

  cMeterSet mSet{kMeters};
};

}  // namespace

TEST_F(MeterSetTest, HoldsItsMetersFromTheStart) {
  EXPECT_EQ(mSet.miMaxAudioMeters, kMeters);
  EXPECT_FALSE(mSet.mbIsDolbySource);
  ASSERT_EQ(mSet.mMeters.size(), 32U);
  for (std::int32_t meter = 0; meter < kMeters; ++meter)
    EXPECT_EQ(mSet.mMeters.at(meter)->miMeterNo, meter);
}

TEST(MeterSetSizeTest, SetWithoutMetersIsEmpty) {
  EXPECT_TRUE(cMeterSet(0).mMeters.empty());
  EXPECT_TRUE(cMeterSet(-1).mMeters.empty());
}

TEST_F(MeterSetTest, ParsingOverwritesTheMetersInPlace) {
  const std::shared_ptr<cMeter> meter = mSet.GetMeter(0);
  EXPECT_EQ(Parse(R"({"1":{"VolumeDb":5}})"), 1);
  mSet.mbIsDolbySource = true;
  mSet.ResetMeters();
  EXPECT_FALSE(mSet.mbIsDolbySource);
  EXPECT_EQ(mSet.GetMeter(0), meter);
  EXPECT_EQ(meter->miVolumeDb, 0);
}

TEST_F(MeterSetTest, NamesAreMeterNumbersFromOne) {
  EXPECT_EQ(Parse(R"({"1":{"VolumeDb":1},"32":{"VolumeDb":32}})"), 1);
  EXPECT_EQ(mSet.GetVolumeDb(0, 99), 1);
  EXPECT_EQ(mSet.GetVolumeDb(1, 99), 0);
  EXPECT_EQ(mSet.GetVolumeDb(31, 99), 32);
}

TEST_F(MeterSetTest, LeadingDigitsOfANameCount) {
  struct Case {
    const char* name;
    std::int32_t index;
  };
  for (const Case& row :
       {Case{"12abc", 11}, Case{" 7", 6}, Case{"+3", 2}, Case{"08", 7}, Case{"2.9", 1}}) {
    mSet.ResetMeters();
    EXPECT_EQ(Parse(std::string("{\"") + row.name + R"(":{"VolumeDb":9}})"), 1) << row.name;
    EXPECT_EQ(mSet.GetVolumeDb(row.index, 0), 9) << row.name;
  }
}

TEST_F(MeterSetTest, MeterOutsideTheSetFailsButTheOthersAreRead) {
  for (const char* name : {"33", "0", "-1", "-2147483648", "2147483647", "0x10"}) {
    mSet.ResetMeters();
    const std::string text =
        R"({"1":{"VolumeDb":1},")" + std::string(name) + R"(":{"VolumeDb":2},"2":{"VolumeDb":3}})";
    EXPECT_EQ(Parse(text), 0) << name;
    EXPECT_EQ(mSet.GetVolumeDb(0, 0), 1) << name;
    EXPECT_EQ(mSet.GetVolumeDb(1, 0), 3) << name;
  }
}

TEST_F(MeterSetTest, MeterThatIsNotAnObjectFailsButTheOthersAreRead) {
  EXPECT_EQ(Parse(R"({"1":[],"2":{"VolumeDb":3}})"), 0);
  EXPECT_EQ(mSet.GetVolumeDb(1, 0), 3);
}

TEST_F(MeterSetTest, EmptyObjectSucceedsAndChangesNoMeter) {
  mSet.SetVolumeDb(4, 11);
  mSet.mbIsDolbySource = true;
  EXPECT_EQ(Parse("{}"), 1);
  EXPECT_FALSE(mSet.mbIsDolbySource);
  EXPECT_EQ(mSet.GetVolumeDb(4, 0), 11);
}

TEST_F(MeterSetTest, ValueThatIsNotAnObjectFails) {
  mSet.mbIsDolbySource = true;
  for (const char* text : {"[]", "null", "3", "\"1\""})
    EXPECT_EQ(Parse(text), 0) << text;
  EXPECT_TRUE(mSet.mbIsDolbySource);
}

TEST_F(MeterSetTest, OneMeterFedFromDolbySetsTheFlag) {
  EXPECT_EQ(Parse(R"({"1":{"Source":{"Type":"Dolby Decoder"}},"2":{"Source":{"Type":"MADI"}}})"),
            1);
  EXPECT_TRUE(mSet.mbIsDolbySource);
}

TEST_F(MeterSetTest, WithoutMetersFedFromDolbyTheFlagIsClear) {
  mSet.mbIsDolbySource = true;
  EXPECT_EQ(Parse(R"({"1":{"Source":{"Type":"MADI"}}})"), 1);
  EXPECT_FALSE(mSet.mbIsDolbySource);
}

TEST_F(MeterSetTest, DolbyMeterOutsideTheSetDoesNotCount) {
  EXPECT_EQ(Parse(R"({"33":{"Source":{"Type":"Dolby"}}})"), 0);
  EXPECT_FALSE(mSet.mbIsDolbySource);
}

TEST_F(MeterSetTest, NameWithoutANumberRaisesTheConversionError) {
  for (const char* name : {"", "abc", "-", " ", "x1"}) {
    const std::string text = std::string("{\"") + name + "\":{}}";
    EXPECT_THROW(Parse(text), std::invalid_argument) << text;
  }
}

TEST_F(MeterSetTest, NameBeyondIntRaisesTheConversionError) {
  for (const char* name : {"2147483648", "-2147483649", "99999999999999999999"}) {
    const std::string text = std::string("{\"") + name + "\":{}}";
    EXPECT_THROW(Parse(text), std::out_of_range) << text;
  }
}

TEST_F(MeterSetTest, ConversionErrorNamesTheMeterInBoundedLength) {
  const std::string name(100000, 'x');
  try {
    Parse("{\"" + name + "\":{}}");
    FAIL() << "accepted";
  } catch (const std::invalid_argument& fault) {
    EXPECT_THAT(fault.what(), testing::HasSubstr("\"xxxx"));
    EXPECT_LT(std::string(fault.what()).size(), 100U);
  }
}

TEST_F(MeterSetTest, ParsingOneMeterOutsideTheSetLeavesTheDolbyFlag) {
  const rapidjson::Document meter = Json(R"({"Source":{"Type":"Dolby"}})");
  for (const std::int32_t index : {kLowest, -1, kMeters, kHighest}) {
    for (const bool before : {false, true}) {
      bool isDolby = before;
      EXPECT_EQ(mSet.ParseMeter(index, meter, isDolby), 0) << index;
      EXPECT_EQ(isDolby, before) << index;
    }
  }
}

TEST_F(MeterSetTest, ParsingOneMeterTellsWhetherDolbyFeedsIt) {
  bool isDolby = false;
  EXPECT_EQ(mSet.ParseMeter(31, Json(R"({"Source":{"Type":"Dolby"}})"), isDolby), 1);
  EXPECT_TRUE(isDolby);
  EXPECT_EQ(mSet.ParseMeter(31, Json(R"({"Source":{"Type":"AES"}})"), isDolby), 1);
  EXPECT_FALSE(isDolby);
}

TEST_F(MeterSetTest, GettersReadTheMeter) {
  EXPECT_EQ(Parse(R"({"2":{"VolumeDb":-6,"DelayMs":40,"Speaker":"RightSurround",
                      "Source":{"Channel":3,"ConnectorType":"BNC","Cage":2,"Slot":1,"InputNo":4,
                                "Type":"MADI"}}})"),
            1);
  mSet.SetClusterId(1, 5);
  EXPECT_EQ(mSet.GetClusterId(1), 5);
  EXPECT_EQ(mSet.GetInputType(1), SIT_MADI);
  EXPECT_EQ(mSet.GetConnectorType(1), SIOCT_BNC);
  EXPECT_EQ(mSet.GetSpeakerType(1), AST_SPEAKER_RS);
  EXPECT_EQ(mSet.GetOutputAssignments(1), OPA_RIGHT);
  EXPECT_EQ(mSet.GetInputTypeStr(1), "MADI");
  EXPECT_EQ(mSet.GetConnectorTypeStr(1), "BNC");
  EXPECT_EQ(mSet.GetSpeakerTypeStr(1), "RightSurround");
  EXPECT_EQ(mSet.GetVolumeDb(1, 99), -6);
  EXPECT_EQ(mSet.GetDelayMs(1, 99), 40);
  EXPECT_EQ(mSet.GetSlot(1, 99), 1);
  EXPECT_EQ(mSet.GetCage(1, 99), 2);
  EXPECT_EQ(mSet.GetInputNo(1, 99), 4);
  EXPECT_EQ(mSet.GetChannel(1, 99), 3);
  EXPECT_EQ(mSet.GetMeter(1)->miMeterNo, 1);
}

TEST_F(MeterSetTest, GettersFallBackOutsideTheSetAndWhereAMeterIsMissing) {
  mSet.mMeters.erase(9);
  for (const std::int32_t meter : {kLowest, -1, 9, kMeters, kHighest}) {
    SCOPED_TRACE(meter);
    EXPECT_EQ(mSet.GetClusterId(meter), -1);
    EXPECT_EQ(mSet.GetInputType(meter), SIT_NONE);
    EXPECT_EQ(mSet.GetConnectorType(meter), SIOCT_NONE);
    EXPECT_EQ(mSet.GetSpeakerType(meter), AST_NONE);
    EXPECT_EQ(mSet.GetOutputAssignments(meter), OPA_NONE);
    EXPECT_EQ(mSet.GetInputTypeStr(meter), "");
    EXPECT_EQ(mSet.GetConnectorTypeStr(meter), "");
    EXPECT_EQ(mSet.GetSpeakerTypeStr(meter), "");
    EXPECT_EQ(mSet.GetVolumeDb(meter, 101), 101);
    EXPECT_EQ(mSet.GetDelayMs(meter, 102), 102);
    EXPECT_EQ(mSet.GetSlot(meter, 103), 103);
    EXPECT_EQ(mSet.GetCage(meter, 104), 104);
    EXPECT_EQ(mSet.GetInputNo(meter, 105), 105);
    EXPECT_EQ(mSet.GetChannel(meter, 106), 106);
    EXPECT_EQ(mSet.GetMeter(meter), nullptr);
    EXPECT_EQ(mSet.SetClusterId(meter, 1), 0);
    EXPECT_EQ(mSet.SetVolumeDb(meter, 1), 0);
    EXPECT_EQ(mSet.SetSpeakerType(meter, AST_SPEAKER_LEFT), 0);
  }
}

TEST_F(MeterSetTest, SettersChangeTheirFieldAlone) {
  EXPECT_EQ(mSet.SetClusterId(31, 4), 1);
  EXPECT_EQ(mSet.SetVolumeDb(31, -20), 1);
  EXPECT_EQ(mSet.SetSpeakerType(31, AST_SPEAKER_LRS), 1);
  EXPECT_EQ(mSet.GetClusterId(31), 4);
  EXPECT_EQ(mSet.GetVolumeDb(31, 0), -20);
  EXPECT_EQ(mSet.GetSpeakerType(31), AST_SPEAKER_LRS);
  EXPECT_EQ(mSet.GetOutputAssignments(31), OPA_NONE);
}

TEST_F(MeterSetTest, RepeatedMeterIsReadEachTime) {
  EXPECT_EQ(Parse(R"({"1":{"VolumeDb":1,"DelayMs":5},"01":{"VolumeDb":2}})"), 1);
  EXPECT_EQ(mSet.GetVolumeDb(0, 0), 2);
  EXPECT_EQ(mSet.GetDelayMs(0, 0), 5);
}

TEST_F(MeterSetTest, MetersOfTheSameNameAreReadOneOverTheOtherMemberByMember) {
  EXPECT_EQ(Parse(R"({"1":{"VolumeDb":1,"DelayMs":5},"1":{"VolumeDb":2},"1":{}})"), 1);
  EXPECT_EQ(mSet.GetVolumeDb(0, 0), 2);
  EXPECT_EQ(mSet.GetDelayMs(0, 0), 5);
}

TEST_F(MeterSetTest, EntriesOutsideTheSetAreNotReached) {
  for (const std::int32_t meter : {-1, kMeters}) {
    mSet.mMeters.emplace(meter, std::make_shared<cMeter>(meter));
    EXPECT_EQ(mSet.GetMeter(meter), nullptr) << meter;
  }
}

TEST_F(MeterSetTest, InitMakesTheMetersAnew) {
  mSet.miMaxAudioMeters = 2;
  mSet.SetVolumeDb(0, 9);
  mSet.InitMeters();
  EXPECT_EQ(mSet.mMeters.size(), 2U);
  EXPECT_EQ(mSet.GetVolumeDb(0, 99), 0);
}
