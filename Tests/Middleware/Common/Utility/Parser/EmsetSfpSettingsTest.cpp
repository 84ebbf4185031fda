// Settings of one SFP cage.

#include "EmsetSfpSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DeepNesting.h"
#include "JsonText.h"

namespace {

constexpr const char* kNoDocuments[] = {"", "{", "[]", "null", "1", "\"x\"", "{} {}", "{\"a\":}"};

// Parses the settings and stores the block printed on standard output in `printed`.
template <typename Input>
int ParsePtp(cEmsetSfpPTPSettings& ptp, const Input& input, std::string& printed) {
  testing::internal::CaptureStdout();
  const int result = ptp.ParseSfpPTPSettings(input);
  printed = testing::internal::GetCapturedStdout();
  return result;
}

}  // namespace

TEST(SfpIpSettingsTest, ReadsEveryMember) {
  cEmsetSfpIpSettings settings;
  EXPECT_EQ(settings.ParseSfpIpSettings(R"({"IP":"10.0.0.5","Gateway":"10.0.0.1",
      "Netmask":"255.255.255.0","RequestTS":18446744073709551615,"SfpCageNo":2,"Count":8})"),
            1);
  EXPECT_EQ(settings.msIP, "10.0.0.5");
  EXPECT_EQ(settings.msGateway, "10.0.0.1");
  EXPECT_EQ(settings.msNetmask, "255.255.255.0");
  EXPECT_EQ(settings.mllRequestTS, 18446744073709551615U);
  EXPECT_EQ(settings.miSfpCageNo, 2);
  EXPECT_EQ(settings.miCount, 8);
}

TEST(SfpIpSettingsTest, AddressesAreKeptInTheCardsForm) {
  cEmsetSfpIpSettings settings;
  settings.ParseSfpIpSettings(
      R"({"IP":"192.168.100.200","Gateway":"10.0.0.1","Netmask":"255.255.255.0"})");
  EXPECT_STREQ(settings.mIpConfig.IpAddress, "192.168.100.200");
  EXPECT_STREQ(settings.mIpConfig.Gateway, "10.0.0.1");
  EXPECT_STREQ(settings.mIpConfig.Netmask, "255.255.255.0");
  EXPECT_STREQ(settings.mIpConfig.Dns, "");
  EXPECT_FALSE(settings.mIpConfig.IsDHCP);
}

TEST(SfpIpSettingsTest, AddressThatIsTooLongForTheCardStaysEmpty) {
  cEmsetSfpIpSettings settings;
  settings.ParseSfpIpSettings(R"({"IP":"10.0.0.5"})");
  settings.ParseSfpIpSettings(R"({"IP":"1234567890123456"})");
  EXPECT_EQ(settings.msIP, "1234567890123456");
  EXPECT_STREQ(settings.mIpConfig.IpAddress, "");
}

TEST(SfpIpSettingsTest, WithoutCountItIsMinusOneAndTheRestStays) {
  cEmsetSfpIpSettings settings;
  settings.ParseSfpIpSettings(R"({"IP":"10.0.0.5","RequestTS":4,"SfpCageNo":2,"Count":8})");
  EXPECT_EQ(settings.ParseSfpIpSettings("{}"), 1);
  EXPECT_EQ(settings.miCount, -1);
  EXPECT_EQ(settings.msIP, "10.0.0.5");
  EXPECT_EQ(settings.mllRequestTS, 4U);
  EXPECT_EQ(settings.miSfpCageNo, 2);
}

TEST(SfpIpSettingsTest, TextThatIsNotAnObjectFailsAndChangesNothing) {
  cEmsetSfpIpSettings settings;
  settings.ParseSfpIpSettings(R"({"Count":8})");
  for (const char* text : kNoDocuments)
    EXPECT_EQ(settings.ParseSfpIpSettings(text), 0) << text;
  EXPECT_EQ(settings.ParseSfpIpSettings(nullptr), 0);
  EXPECT_EQ(settings.miCount, 8);
}

TEST(SfpFirmwareLoadOptionsTest, ReadsEveryMember) {
  cEmsetSfpFirmwareLoadOptions options;
  EXPECT_EQ(options.ParseSfpFirmwareLoadOptions(
                R"({"ElementId":3,"MakeDefault":true,"RequestTS":5,"SfpCageNo":2,"Count":8})"),
            1);
  EXPECT_EQ(options.miElementId, 3);
  EXPECT_TRUE(options.mbMakeDefault);
  EXPECT_EQ(options.mllRequestTS, 5U);
  EXPECT_EQ(options.miSfpCageNo, 2);
  EXPECT_EQ(options.miCount, 8);
}

TEST(SfpFirmwareLoadOptionsTest, WithoutCageAndCountTheyAreZeroAndMinusOne) {
  cEmsetSfpFirmwareLoadOptions options;
  options.ParseSfpFirmwareLoadOptions(
      R"({"ElementId":3,"MakeDefault":true,"RequestTS":5,"SfpCageNo":2,"Count":8})");
  EXPECT_EQ(options.ParseSfpFirmwareLoadOptions(R"({"SfpCageNo":"2","Count":8.0})"), 1);
  EXPECT_EQ(options.miSfpCageNo, 0);
  EXPECT_EQ(options.miCount, -1);
  EXPECT_EQ(options.miElementId, 3);
  EXPECT_TRUE(options.mbMakeDefault);
}

TEST(SfpFirmwareLoadOptionsTest, TextThatIsNotAnObjectFails) {
  cEmsetSfpFirmwareLoadOptions options;
  for (const char* text : kNoDocuments)
    EXPECT_EQ(options.ParseSfpFirmwareLoadOptions(text), 0) << text;
  EXPECT_EQ(options.ParseSfpFirmwareLoadOptions(nullptr), 0);
}

TEST(SfpPTPSettingsTest, ReadsAndPrintsEveryMember) {
  cEmsetSfpPTPSettings ptp;
  std::string printed;
  EXPECT_EQ(ParsePtp(ptp,
                     R"({"PTPMode":"Multicast","PTPMaster":"Auto","GMID":"08-00-11-FF-FE-21-E1-B0",
      "DomainNumber":127,"DSCP":46,"VlanID":12,"SfpCageNo":2,"Count":8,"RequestTS":99})",
                     printed),
            1);
  EXPECT_EQ(ptp.msPTPMode, "Multicast");
  EXPECT_EQ(ptp.msPTPMaster, "Auto");
  EXPECT_EQ(ptp.msGMID, "08-00-11-FF-FE-21-E1-B0");
  EXPECT_EQ(ptp.miDomainNumber, 127);
  EXPECT_EQ(ptp.miDSCP, 46);
  EXPECT_EQ(ptp.miVlanID, 12);
  EXPECT_EQ(ptp.miSfpCageNo, 2);
  EXPECT_EQ(ptp.miCount, 8);
  EXPECT_EQ(ptp.mllRequestTS, 99U);
  EXPECT_EQ(printed,
            "\n\t PTPMode :Multicast\n\t PTPMaster :Auto\n\t GMID :08-00-11-FF-FE-21-E1-B0"
            "\n\t DomainNumber:127\n\t DSCP:46\n\t VlanID:12\n\t RequestTS:99\n\t SfpCageNo:2"
            "\n\t Count:8\n");
}

TEST(SfpPTPSettingsTest, WithoutCountItIsMinusOneAndTheRestStays) {
  cEmsetSfpPTPSettings ptp;
  std::string printed;
  ParsePtp(ptp, R"({"PTPMode":"Multicast","DSCP":46,"Count":8})", printed);
  EXPECT_EQ(ParsePtp(ptp, Json("{}"), printed), 1);
  EXPECT_EQ(ptp.miCount, -1);
  EXPECT_EQ(ptp.msPTPMode, "Multicast");
  EXPECT_EQ(ptp.miDSCP, 46);
}

TEST(SfpPTPSettingsTest, AbsentOrMistypedCageLeavesItsField) {
  cEmsetSfpPTPSettings ptp;
  std::string printed;
  ParsePtp(ptp, R"({"SfpCageNo":2})", printed);
  for (const char* text : {"{}", R"({"SfpCageNo":"3"})"}) {
    EXPECT_EQ(ParsePtp(ptp, text, printed), 1) << text;
    EXPECT_EQ(ptp.miSfpCageNo, 2) << text;
  }
}

TEST(SfpPTPSettingsTest, TextThatIsNotAnObjectFailsWithoutPrinting) {
  cEmsetSfpPTPSettings ptp;
  for (const char* text : kNoDocuments) {
    std::string printed;
    EXPECT_EQ(ParsePtp(ptp, text, printed), 0) << text;
    EXPECT_EQ(printed, "") << text;
  }
  EXPECT_EQ(ptp.ParseSfpPTPSettings(nullptr), 0);
}

TEST(SfpSettingsTest, DeepNestingIsRefused) {
  const std::string deep = UnclosedArrays();
  EXPECT_EQ(cEmsetSfpIpSettings().ParseSfpIpSettings(deep.c_str()), 0);
  EXPECT_EQ(cEmsetSfpFirmwareLoadOptions().ParseSfpFirmwareLoadOptions(deep.c_str()), 0);
  EXPECT_EQ(cEmsetSfpPTPSettings().ParseSfpPTPSettings(deep.c_str()), 0);
}
