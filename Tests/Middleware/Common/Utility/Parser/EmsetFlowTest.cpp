// Media flows of an Emset.

#include "EmsetFlow.h"

#include <gtest/gtest.h>

#include "JsonText.h"

namespace {

constexpr const char* kNoObjects[] = {"[]", "null", "1", "\"x\"", "true"};

}  // namespace

TEST(EmsetFlowTest, FlowTextsAreComparedWholeAndConvertBack) {
  struct Case {
    const char* text;
    EmsetFlow_e flow;
    int value;
  };
  const Case cases[] = {
      {"Video", EmsetFlow_VIDEO, 0},     {"Audio 1", EmsetFlow_AUDIO_1, 1},
      {"Audio 2", EmsetFlow_AUDIO_2, 2}, {"Audio 3", EmsetFlow_AUDIO_3, 3},
      {"Audio 4", EmsetFlow_AUDIO_4, 4}, {"Ancillary", EmsetFlow_ANCILLARY, 5},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(cEmsetPrimaryFlow::ConvertFlowStrToType(row.text), row.flow) << row.text;
    EXPECT_EQ(row.flow, row.value);
    EXPECT_STREQ(cEmsetPrimaryFlow::ConvertFlowTypeToStr(row.flow), row.text);
  }
}

TEST(EmsetFlowTest, OtherFlowTextsAreUnknown) {
  for (const char* text : {"audio 1", "AUDIO 1", "Audio1", "Audio 5", "Audio 1 ", "", "Unknown"})
    EXPECT_EQ(cEmsetPrimaryFlow::ConvertFlowStrToType(text), EmsetFlow_UNKNOWN) << text;
  EXPECT_EQ(cEmsetPrimaryFlow::ConvertFlowStrToType(nullptr), EmsetFlow_UNKNOWN);
}

TEST(EmsetFlowTest, OtherFlowsReadUnknown) {
  for (const std::int32_t flow : {-1, 6, 7, 8, 255})
    EXPECT_STREQ(cEmsetPrimaryFlow::ConvertFlowTypeToStr(static_cast<EmsetFlow_e>(flow)), "Unknown")
        << flow;
}

TEST(EmsetFlowTest, ReadsEveryMember) {
  cEmsetPrimaryFlow flow;
  EXPECT_EQ(flow.ParsePrimaryFlow(Json(R"({"EnableFlow":true,"Flow":"Audio 2",
      "SenderType":"Narrow","AudioPacketTime":125,"AudioFormat":"L24","VideoFormat":"1080i50",
      "NumberOfSDIChannels":16,
      "NetworkSettings":{"EnableIGMP":true,"SourceIP":"10.0.0.1","SourcePort":5000,
        "IGMPSrcIP":"10.0.0.2","DestinationIP":"239.1.1.1","DestinationPort":5004,"VLANTag":7},
      "Filter":{"VLAN":true,"DSTMac":true,"DSTPort":true,"DSTIP":true,"SrcPort":true,
        "SrcIP":true}})")),
            1);
  EXPECT_TRUE(flow.mbEnableFlow);
  EXPECT_EQ(flow.msFlow, "Audio 2");
  EXPECT_EQ(flow.mEmsetFlow, EmsetFlow_AUDIO_2);
  EXPECT_EQ(flow.msSenderType, "Narrow");
  EXPECT_EQ(flow.mlAudioPacketTime, 125U);
  EXPECT_EQ(flow.msAudioFormat, "L24");
  EXPECT_EQ(flow.msVideoFormat, "1080i50");
  EXPECT_EQ(flow.mlNumberOfSDIChannels, 16U);
  EXPECT_TRUE(flow.mbEnableIGMP);
  EXPECT_EQ(flow.msSourceIP, "10.0.0.1");
  EXPECT_EQ(flow.mlSourcePort, 5000U);
  EXPECT_EQ(flow.msIGMPSrcIP, "10.0.0.2");
  EXPECT_EQ(flow.msDestinationIP, "239.1.1.1");
  EXPECT_EQ(flow.mlDestinationPort, 5004U);
  EXPECT_EQ(flow.mlVLANTag, 7U);
  EXPECT_TRUE(flow.mbVLAN && flow.mbDSTMac && flow.mbDSTPort && flow.mbDSTIP && flow.mbSrcPort &&
              flow.mbSrcIP);
}

TEST(EmsetFlowTest, EachFilterMemberSetsItsOwnFlag) {
  struct Case {
    const char* key;
    bool cEmsetFilter::*flag;
  };
  const Case cases[] = {
      {"VLAN", &cEmsetFilter::mbVLAN},       {"DSTMac", &cEmsetFilter::mbDSTMac},
      {"DSTPort", &cEmsetFilter::mbDSTPort}, {"DSTIP", &cEmsetFilter::mbDSTIP},
      {"SrcPort", &cEmsetFilter::mbSrcPort}, {"SrcIP", &cEmsetFilter::mbSrcIP},
  };
  for (const Case& row : cases) {
    cEmsetFilter filter;
    EXPECT_EQ(filter.ParseFilter(Json(std::string("{\"") + row.key + "\":true}")), 1);
    for (const Case& other : cases)
      EXPECT_EQ(filter.*other.flag, other.key == row.key) << row.key << " " << other.key;
  }
}

TEST(EmsetFlowTest, MembersAreOptional) {
  cEmsetPrimaryFlow flow;
  EXPECT_EQ(flow.ParsePrimaryFlow(Json("{}")), 1);
  EXPECT_EQ(flow.ParseNetworkSettings(Json("{}")), 1);
  EXPECT_EQ(flow.ParseFilter(Json("{}")), 1);
  EXPECT_EQ(flow.mEmsetFlow, EmsetFlow_UNKNOWN);
}

TEST(EmsetFlowTest, MistypedMembersLeaveTheirFields) {
  cEmsetPrimaryFlow flow;
  EXPECT_EQ(flow.ParsePrimaryFlow(Json(R"({"EnableFlow":1,"Flow":2,"SenderType":[],
      "AudioPacketTime":-125,"AudioFormat":null,"VideoFormat":{},"NumberOfSDIChannels":16.0,
      "NetworkSettings":[],"Filter":true})")),
            1);
  EXPECT_FALSE(flow.mbEnableFlow);
  EXPECT_EQ(flow.mEmsetFlow, EmsetFlow_UNKNOWN);
  EXPECT_EQ(flow.mlAudioPacketTime, 0U);
  EXPECT_EQ(flow.mlNumberOfSDIChannels, 0U);
  EXPECT_EQ(flow.msSenderType + flow.msAudioFormat + flow.msVideoFormat, "");
}

TEST(EmsetFlowTest, ValueThatIsNotAnObjectFails) {
  cEmsetPrimaryFlow flow;
  for (const char* text : kNoObjects) {
    EXPECT_EQ(flow.ParsePrimaryFlow(Json(text)), 0) << text;
    EXPECT_EQ(flow.ParseNetworkSettings(Json(text)), 0) << text;
    EXPECT_EQ(flow.ParseFilter(Json(text)), 0) << text;
  }
}

TEST(EmsetFlowTest, ClearingForgetsEverything) {
  cEmsetPrimaryFlow flow;
  flow.ParsePrimaryFlow(Json(R"({"EnableFlow":true,"Flow":"Video","AudioPacketTime":1,
      "NetworkSettings":{"SourcePort":1},"Filter":{"VLAN":true}})"));
  flow.ClearPrimaryFlow();
  EXPECT_FALSE(flow.mbEnableFlow);
  EXPECT_EQ(flow.mEmsetFlow, EmsetFlow_UNKNOWN);
  EXPECT_EQ(flow.msFlow, "");
  EXPECT_EQ(flow.mlAudioPacketTime, 0U);
  EXPECT_EQ(flow.mlSourcePort, 0U);
  EXPECT_FALSE(flow.mbVLAN);
}

TEST(EmsetFlowTest, FilterPrintsItsLabels) {
  cEmsetFilter filter;
  filter.mbDSTMac = true;
  filter.mbSrcIP = true;
  testing::internal::CaptureStdout();
  filter.PrintFilter();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n\t\tVLAN: 0\n\t\tDSTMac: 1\n\t\tDSTPort: 0\n\t\tDSTIP: 0\n\t\tSrcPort: 0"
            "\n\t\tSrcIP: 1\n");
}
