// JSON, letter for letter.

#include "JsonFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "TestProgrammes.h"

namespace louddesk {
namespace {

using testing::HasSubstr;

std::string LineOf(const FileFacts& facts, const MeasuredProgramme& programme,
                   const std::string& profile = kUsualProfile) {
  return JsonLine(SubjectOf(facts, programme), Assessed(programme, profile), CriteriaOf(profile));
}

TEST(JsonFormatTest, AProgrammeIsOneObjectALine) {
  EXPECT_EQ(
      LineOf(FactsOf("a.wav"), Stereo()),
      "{\"Schema\":1,\"File\":\"a.wav\",\"Album\":null,\"Format\":\"WAV, 16 bit\","
      "\"SampleRate\":48000,\"Channels\":2,\"Bytes\":1234567,\"Sha256\":null,\"Damage\":null,"
      "\"Programme\":{\"Channels\":[1,2],\"Speakers\":[\"Left\",\"Right\"]},"
      "\"Seconds\":123.46,\"Integrated\":-23.00,\"Lra\":5.12,\"LraIsStable\":true,"
      "\"MaxMomentary\":-18.20,\"MaxMomentaryAt\":10.40,\"MaxShortTerm\":-20.00,"
      "\"MaxShortTermAt\":12.00,\"MaxTruePeak\":-1.00,\"MaxTruePeakAt\":99.90,\"AtLeast\":[],"
      "\"ChannelPeaks\":[{\"Channel\":1,\"Speaker\":\"Left\",\"TruePeak\":-1.00,"
      "\"SamplePeak\":-1.25,\"IsAtLeast\":false},{\"Channel\":2,\"Speaker\":\"Right\","
      "\"TruePeak\":-6.02,\"SamplePeak\":null,\"IsAtLeast\":false}],"
      "\"Profile\":\"ebu-r128\",\"Target\":-23.00,\"Gain\":0.00,\"GainWithinPeak\":0.00,"
      "\"Verdict\":\"pass\",\"Limits\":[{\"Limit\":\"Integrated\",\"Lowest\":-23.20,"
      "\"Highest\":-22.80,\"Measured\":-23.00,\"Verdict\":\"pass\"},{\"Limit\":\"MaxTruePeak\","
      "\"Lowest\":null,\"Highest\":-1.00,\"Measured\":-1.00,\"Verdict\":\"pass\"}]}\n");
}

TEST(JsonFormatTest, NullIsWrittenWhereThereIsNoReading) {
  const std::string line = LineOf(FactsOf("silence.wav"), Silence());
  for (const char* key :
       {"Integrated", "Lra", "MaxMomentary", "MaxMomentaryAt", "MaxShortTerm", "MaxShortTermAt",
        "MaxTruePeak", "MaxTruePeakAt", "Gain", "GainWithinPeak", "SamplePeak", "Measured"})
    EXPECT_THAT(line, HasSubstr("\"" + std::string(key) + "\":null")) << key;
  EXPECT_THAT(line, HasSubstr("\"LraIsStable\":false"));
  EXPECT_THAT(line, HasSubstr("\"Verdict\":\"open\",\"Limits\":["));
}

TEST(JsonFormatTest, VerdictsAreOneOfThreeWordsOrNull) {
  MeasuredProgramme loud = Stereo();
  loud.figures.integrated = -20.0;
  EXPECT_THAT(LineOf(FactsOf("a"), loud), HasSubstr("\"Verdict\":\"fail\",\"Limits\":["));
  loud.figures.isLoudnessAtLeast = true;
  loud.figures.integrated = -23.0;
  EXPECT_THAT(LineOf(FactsOf("a"), loud), HasSubstr("\"Verdict\":\"open\",\"Limits\":["));
  EXPECT_THAT(LineOf(FactsOf("a"), Stereo(), "youtube"),
              HasSubstr("\"Profile\":\"youtube\",\"Target\":-14.00,\"Gain\":9.00,"
                        "\"GainWithinPeak\":0.00,\"Verdict\":null,\"Limits\":[]}"));
}

TEST(JsonFormatTest, FiguresAtTheEndOfTheirScalesAreNamed) {
  MeasuredProgramme programme = Stereo();
  programme.figures.isPeakAtLeast = true;
  programme.channels[0].isPeakAtLeast = true;
  const std::string line = LineOf(FactsOf("a"), programme);
  EXPECT_THAT(line, HasSubstr(",\"AtLeast\":[\"MaxTruePeak\"],"));
  EXPECT_THAT(line, HasSubstr("\"SamplePeak\":-1.25,\"IsAtLeast\":true}"));
}

TEST(JsonFormatTest, AllFilesAsOneHaveANumberInsteadOfAFile) {
  MeasuredProgramme all = Stereo();
  all.figures.maxMomentaryAt = 0.0;
  all.channels.clear();
  const std::string line =
      JsonLine({nullptr, 3, false, &all}, Assessed(all), CriteriaOf(kUsualProfile));
  EXPECT_THAT(line, testing::StartsWith(
                        "{\"Schema\":1,\"File\":null,\"Album\":3,\"Damage\":null,\"Programme\":{"));
  EXPECT_THAT(line, HasSubstr("\"MaxMomentaryAt\":null"));
  EXPECT_THAT(line, HasSubstr("\"ChannelPeaks\":[]"));
  EXPECT_THAT(JsonLine({nullptr, 3, false, &all, 2}, Assessed(all), CriteriaOf(kUsualProfile)),
              HasSubstr(",\"Album\":3,\"Damage\":\"2 of 3 files are damaged\","));
}

TEST(JsonFormatTest, AnyFileNameIsWrittenExactly) {
  for (const char* name :
       {"with \"quotes\"", "back\\slash", "line\nfeed", "tab\t", "\x01", "äöü ♫"}) {
    rapidjson::Document document;
    document.Parse(LineOf(FactsOf(name), Silence()).c_str());
    ASSERT_FALSE(document.HasParseError()) << name;
    EXPECT_STREQ(document["File"].GetString(), name);
  }
}

TEST(JsonFormatTest, JsonIsValidForNamesThatAreNotUtf8) {
  const std::string line = LineOf(FactsOf("caf\xE9.wav"), Silence());
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(line.c_str());
  ASSERT_FALSE(document.HasParseError()) << line;
  EXPECT_STREQ(document["File"].GetString(), "caf\xEF\xBF\xBD.wav");
}

}  // namespace
}  // namespace louddesk
