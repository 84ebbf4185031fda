// Emset configuration of the preset.

#include "JsonParseEmsetInfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "JsonText.h"

namespace {

using testing::HasSubstr;

constexpr char kClearFilter[] =
    "\n\t\tVLAN: 0\n\t\tDSTMac: 0\n\t\tDSTPort: 0\n\t\tDSTIP: 0\n\t\tSrcPort: 0\n\t\tSrcIP: 0\n";
constexpr char kVideoSignals[] = R"({"Flows":{"Primary":[{"Flow":"Video"}]}})";

std::string SignalsWith(const std::string& primary) {
  return R"({"Flows":{"Primary":)" + primary + "}}";
}

// An array that holds `element` `count` times.
std::string ArrayOf(const std::string& element, int count) {
  std::string array = "[" + element;
  for (int i = 1; i < count; ++i)
    array += "," + element;
  return array + "]";
}

std::string Emset(unsigned slot, unsigned cage, const char* name) {
  return "{\"Slot\":" + std::to_string(slot) + ",\"Cage\":" + std::to_string(cage) +
         ",\"DisplayName\":\"" + name + "\",\"Signals\":" + kVideoSignals + "}";
}

class EmsetTest : public testing::Test {
 protected:
  int Parse(const std::string& text) {
    const rapidjson::Document document = Json(text);
    testing::internal::CaptureStdout();
    const int result = mParser.ParseEmsetConf(document);
    mPrinted = testing::internal::GetCapturedStdout();
    return result;
  }

  // Parses a separate Emset, at slot 1 and cage 2, with these signals.
  int ParseSignals(const std::string& emsetSignals) {
    testing::internal::CaptureStdout();
    const int result = mEmset.ParseEmsetInfo(
        Json(R"({"Slot":1,"Cage":2,"DisplayName":"A","Signals":)" + emsetSignals + "}"));
    mPrinted = testing::internal::GetCapturedStdout();
    return result;
  }

  cEmsetConfParser mParser;
  cEmsetInfo mEmset;
  std::string mPrinted;
};

}  // namespace

TEST_F(EmsetTest, StartsWithoutAValidConfiguration) {
  EXPECT_FALSE(mParser.mbIsValidConf);
  EXPECT_FALSE(mParser.mbIsSfpModuleEnabled);
  EXPECT_EQ(mParser.mEmsets.size(), 4U);
  EXPECT_EQ(mEmset.mFlows.size(), 6U);
  EXPECT_FALSE(mEmset.mbIsValidConf);
  EXPECT_EQ(mEmset.mFlows[0].mEmsetFlow, EmsetFlow_UNKNOWN);
}

TEST_F(EmsetTest, ElementsFillTheEmsetsInOrder) {
  EXPECT_EQ(Parse("[" + Emset(1, 0, "A") + "," + Emset(2, 3, "B") + "]"), 1);
  EXPECT_TRUE(mParser.mbIsValidConf);
  EXPECT_EQ(mParser.mEmsets[0].mlSlot, 1U);
  EXPECT_EQ(mParser.mEmsets[0].msDisplayName, "A");
  EXPECT_EQ(mParser.mEmsets[1].mlSlot, 2U);
  EXPECT_EQ(mParser.mEmsets[1].mlCage, 3U);
  EXPECT_TRUE(mParser.mEmsets[1].mbIsValidConf);
  EXPECT_FALSE(mParser.mEmsets[2].mbIsValidConf);
}

TEST_F(EmsetTest, FifthEmsetIsIgnored) {
  std::string text = "[";
  for (unsigned slot = 1; slot <= 5; ++slot)
    text += (slot > 1 ? "," : "") + Emset(slot, slot, "x");
  EXPECT_EQ(Parse(text + "]"), 1);
  EXPECT_EQ(mParser.mEmsets[3].mlSlot, 4U);
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(5, 5), nullptr);
}

TEST_F(EmsetTest, EmptyArraySucceeds) {
  EXPECT_EQ(Parse("[]"), 1);
  EXPECT_TRUE(mParser.mbIsValidConf);
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(0, 0), nullptr);
}

TEST_F(EmsetTest, ValueThatIsNotAnArrayFailsAfterTheReset) {
  for (const char* text : {"{}", "null", "1", "\"x\"", "true"}) {
    Parse("[" + Emset(1, 1, "A") + "]");
    EXPECT_EQ(Parse(text), 0) << text;
    EXPECT_FALSE(mParser.mbIsValidConf) << text;
    EXPECT_EQ(mParser.mEmsets[0].mFlows[0].mEmsetFlow, EmsetFlow_UNKNOWN) << text;
  }
}

TEST_F(EmsetTest, FailingEmsetDoesNotFailTheConfiguration) {
  EXPECT_EQ(Parse("[{},null,[]," + Emset(1, 1, "D") + "]"), 1);
  EXPECT_TRUE(mParser.mbIsValidConf);
  EXPECT_FALSE(mParser.mEmsets[0].mbIsValidConf);
  EXPECT_FALSE(mParser.mEmsets[1].mbIsValidConf);
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(1, 1), &mParser.mEmsets[3]);
}

TEST_F(EmsetTest, WithoutSignalsSlotCageAndNameAreKeptButItIsNotValid) {
  for (const char* last : {"", R"(,"Signals":[])", R"(,"Signals":null)", R"(,"Signals":"x")"}) {
    cEmsetInfo emset;
    EXPECT_EQ(emset.ParseEmsetInfo(
                  Json(std::string(R"({"Slot":1,"Cage":2,"DisplayName":"A")") + last + "}")),
              0)
        << last;
    EXPECT_EQ(emset.mlSlot, 1U) << last;
    EXPECT_EQ(emset.mlCage, 2U) << last;
    EXPECT_EQ(emset.msDisplayName, "A") << last;
    EXPECT_FALSE(emset.mbIsValidConf) << last;
  }
}

TEST_F(EmsetTest, MistypedEmsetMembersLeaveTheirFields) {
  EXPECT_EQ(mEmset.ParseEmsetInfo(Json(std::string(R"({"Slot":-1,"Cage":1.0,"DisplayName":3,)") +
                                       "\"Signals\":" + kVideoSignals + "}")),
            1);
  EXPECT_EQ(mEmset.mlSlot, 0U);
  EXPECT_EQ(mEmset.mlCage, 0U);
  EXPECT_EQ(mEmset.msDisplayName, "");
  EXPECT_TRUE(mEmset.mbIsValidConf);
}

TEST_F(EmsetTest, EmsetThatFailsIsNoLongerValid) {
  EXPECT_EQ(ParseSignals(kVideoSignals), 1);
  EXPECT_EQ(mEmset.ParseEmsetInfo(Json("[]")), 0);
  EXPECT_FALSE(mEmset.mbIsValidConf);
}

TEST_F(EmsetTest, SignalsAreValidWithOneFlowThatParsed) {
  struct Case {
    const char* primary;
    int result;
  };
  const Case cases[] = {{"[]", 0},
                        {"[1]", 0},
                        {"[null,[]]", 0},
                        {"[{}]", 1},
                        {"[{},null]", 1},
                        {"[null,{}]", 1},
                        {"{}", 0},
                        {"null", 0},
                        // The only good flow is not among the first six.
                        {"[1,1,1,1,1,1,{}]", 0}};
  for (const Case& row : cases) {
    EXPECT_EQ(ParseSignals(SignalsWith(row.primary)), row.result) << row.primary;
    EXPECT_EQ(mEmset.mbIsValidConf, row.result == 1) << row.primary;
  }
}

TEST_F(EmsetTest, SignalsWithoutFlowsAreNotValid) {
  for (const char* text : {"{}", R"({"Flows":{}})", R"({"Flows":[]})", R"({"Flows":null})"})
    EXPECT_EQ(ParseSignals(text), 0) << text;
}

TEST_F(EmsetTest, ElementsFillTheFlowsInOrder) {
  EXPECT_EQ(ParseSignals(SignalsWith(
                R"([{"Flow":"Video"},{"Flow":"Audio 1"},{"Flow":"Audio 2"},{"Flow":"Audio 3"},
                    {"Flow":"Audio 4"},{"Flow":"Ancillary"}])")),
            1);
  for (std::size_t flow = 0; flow < mEmset.mFlows.size(); ++flow)
    EXPECT_EQ(mEmset.mFlows[flow].mEmsetFlow, static_cast<int>(flow));
}

TEST_F(EmsetTest, FlowsBeyondTheSixthAreIgnored) {
  std::string primary = "[";
  for (int flow = 0; flow < 1000; ++flow)
    primary += std::string(flow > 0 ? "," : "") + (flow == 6 ? R"({"Flow":"Video"})" : "{}");
  EXPECT_EQ(ParseSignals(SignalsWith(primary + "]")), 1);
  EXPECT_EQ(mEmset.GetPrimaryFlow(EmsetFlow_VIDEO), nullptr);
}

TEST_F(EmsetTest, FlowTextThatDiffersInCaseIsUnknown) {
  EXPECT_EQ(ParseSignals(SignalsWith(R"([{"Flow":"audio 1"}])")), 1);
  EXPECT_EQ(mEmset.mFlows[0].mEmsetFlow, EmsetFlow_UNKNOWN);
  EXPECT_EQ(mEmset.mFlows[0].msFlow, "audio 1");
}

TEST_F(EmsetTest, FlowsAreFoundByKind) {
  ParseSignals(SignalsWith(R"([{"Flow":"Ancillary"},{"Flow":"Audio 1","SenderType":"first"},
                              {"Flow":"Audio 1","SenderType":"second"}])"));
  EXPECT_EQ(mEmset.GetPrimaryFlow(EmsetFlow_ANCILLARY), &mEmset.mFlows[0]);
  EXPECT_EQ(mEmset.GetPrimaryFlow(EmsetFlow_AUDIO_1), &mEmset.mFlows[1]);
  EXPECT_EQ(mEmset.GetPrimaryFlow(EmsetFlow_VIDEO), nullptr);
}

TEST_F(EmsetTest, UnknownFlowsAreNotFound) {
  EXPECT_EQ(mEmset.mFlows[0].mEmsetFlow, EmsetFlow_UNKNOWN);
  EXPECT_EQ(mEmset.GetPrimaryFlow(EmsetFlow_UNKNOWN), nullptr);
  mEmset.mFlows[1].mEmsetFlow = EmsetFlow_MAX;
  EXPECT_EQ(mEmset.GetPrimaryFlow(EmsetFlow_MAX), nullptr);
  EXPECT_EQ(mEmset.GetPrimaryFlow(static_cast<EmsetFlow_e>(-1)), nullptr);
}

TEST_F(EmsetTest, ReferenceIsReadAndPrinted) {
  ParseSignals(R"({"Reference":{"VideoLines":1,"VideoPixels":2,"uSecondUnits":3,
                                "OffsetMode":"Lines"}})");
  EXPECT_EQ(mEmset.mlVideoLines, 1U);
  EXPECT_EQ(mEmset.mlVideoPixels, 2U);
  EXPECT_EQ(mEmset.mluSecondUnits, 3U);
  EXPECT_EQ(mEmset.msOffsetMode, "Lines");
  EXPECT_EQ(mPrinted,
            "\n\t\tVideoLines: 1\n\t\tVideoPixels: 2\n\t\tuSecondUnits: 3"
            "\n\t\tOffsetMode: Lines\n");
}

TEST_F(EmsetTest, ReferenceThatIsNotAnObjectFails) {
  cEmsetReference reference;
  testing::internal::CaptureStdout();
  EXPECT_EQ(reference.ParseReference(Json("{}")), 1);
  testing::internal::GetCapturedStdout();
  for (const char* text : {"[]", "null", "1"})
    EXPECT_EQ(reference.ParseReference(Json(text)), 0) << text;
}

TEST_F(EmsetTest, MistypedReferenceMembersLeaveTheirFields) {
  ParseSignals(R"({"Reference":{"VideoLines":-1,"VideoPixels":"2","uSecondUnits":3.0,
                                "OffsetMode":null}})");
  EXPECT_EQ(mEmset.mlVideoLines, 0U);
  EXPECT_EQ(mEmset.mlVideoPixels, 0U);
  EXPECT_EQ(mEmset.mluSecondUnits, 0U);
  EXPECT_EQ(mEmset.msOffsetMode, "");
}

TEST_F(EmsetTest, TimeSettingsAreReadAndPrinted) {
  ParseSignals(R"({"PTP":{"PTPMode":"Multicast","DomainNumber":127}})");
  EXPECT_EQ(mEmset.msPTPMode, "Multicast");
  EXPECT_EQ(mEmset.miDomainNumber, 127);
  EXPECT_EQ(mEmset.miCount, -1);
  EXPECT_THAT(mPrinted, HasSubstr("\n\t PTPMode :Multicast"));
}

TEST_F(EmsetTest, ReferenceAndTimeSettingsThatAreNotObjectsAreIgnored) {
  EXPECT_EQ(ParseSignals(R"({"Flows":{"Primary":[{}]},"Reference":[],"PTP":null})"), 1);
  EXPECT_EQ(mPrinted, "");
}

TEST_F(EmsetTest, EmsetIsFoundBySlotAndCage) {
  Parse("[" + Emset(1, 1, "A") + "," + Emset(1, 2, "B") + "," + Emset(1, 2, "C") + "]");
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(1, 2), &mParser.mEmsets[1]);
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(1, 1), &mParser.mEmsets[0]);
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(2, 1), nullptr);
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(0, 0), nullptr) << "the fourth Emset is not valid";
}

TEST_F(EmsetTest, NothingIsFoundInAConfigurationThatIsNotValid) {
  Parse("[" + Emset(1, 1, "A") + "]");
  mParser.mbIsValidConf = false;
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(1, 1), nullptr);
}

TEST_F(EmsetTest, EmsetThatIsNotValidIsNotFound) {
  Parse(R"([{"Slot":1,"Cage":1}])");
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(1, 1), nullptr);
}

TEST_F(EmsetTest, EmsetOfAnEarlierDocumentIsNotFound) {
  Parse("[" + Emset(1, 1, "A") + "," + Emset(2, 2, "B") + "]");
  Parse("[" + Emset(1, 1, "A") + "]");
  EXPECT_EQ(mParser.GetEmsetInfoForSFP(2, 2), nullptr);
}

TEST_F(EmsetTest, ResetClearsTheFlowsOfAllEmsetsAndPrintsTheirFilters) {
  const std::string primary = ArrayOf(R"({"Flow":"Video","Filter":{"VLAN":true}})", 6);
  Parse(ArrayOf(R"({"Signals":)" + SignalsWith(primary) + "}", 4));
  ASSERT_TRUE(mParser.mEmsets[3].mFlows[5].mbVLAN);
  testing::internal::CaptureStdout();
  mParser.ResetEmsetConfParser();
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_FALSE(mParser.mbIsValidConf);
  for (const cEmsetInfo& cleared : mParser.mEmsets) {
    EXPECT_FALSE(cleared.mbIsValidConf);
    for (const cEmsetPrimaryFlow& each : cleared.mFlows) {
      EXPECT_EQ(each.mEmsetFlow, EmsetFlow_UNKNOWN);
      EXPECT_FALSE(each.mbVLAN);
    }
  }
  std::string expected;
  for (int flow = 0; flow < 4 * 6; ++flow)
    expected += kClearFilter;
  EXPECT_EQ(printed, expected);
}

TEST_F(EmsetTest, ResetKeepsPlaceAndModuleStatus) {
  Parse("[" + Emset(1, 2, "A") + "]");
  mParser.mbIsSfpModuleEnabled = true;
  testing::internal::CaptureStdout();
  mParser.ResetEmsetConfParser();
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(mParser.mEmsets[0].mlSlot, 1U);
  EXPECT_EQ(mParser.mEmsets[0].msDisplayName, "A");
  EXPECT_TRUE(mParser.mbIsSfpModuleEnabled);
}

TEST_F(EmsetTest, ModuleStatusIsRead) {
  EXPECT_EQ(mParser.ParseSfpModuleStatus(R"({"Enable":true})"), 1);
  EXPECT_TRUE(mParser.mbIsSfpModuleEnabled);
  EXPECT_EQ(mParser.ParseSfpModuleStatus(R"({"Enable":1})"), 1);
  EXPECT_TRUE(mParser.mbIsSfpModuleEnabled);
  EXPECT_EQ(mParser.ParseSfpModuleStatus(R"({"Enable":false})"), 1);
  EXPECT_FALSE(mParser.mbIsSfpModuleEnabled);
}

TEST_F(EmsetTest, ModuleStatusThatIsNotAnObjectFails) {
  for (const char* text : {"", "[]", "null", "{", "true"})
    EXPECT_EQ(mParser.ParseSfpModuleStatus(text), 0) << text;
  EXPECT_EQ(mParser.ParseSfpModuleStatus(nullptr), 0);
}
