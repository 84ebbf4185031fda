// Channels as programmes.

#include "Programme.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace louddesk {
namespace {

using testing::ElementsAre;

std::vector<std::string> Texts(const Programme& programme) {
  std::vector<std::string> texts;
  for (const ProgrammeChannel& member : programme)
    texts.push_back(std::to_string(member.channel) + " " + member.speaker);
  return texts;
}

TEST(ProgrammeTest, ChannelsOfALayoutKeepTheirPlaces) {
  EXPECT_THAT(Texts(ProgrammeOf({"Left", "Right"})), ElementsAre("0 Left", "1 Right"));
}

TEST(ProgrammeTest, AChannelThatFeedsNoSpeakerIsLeftOut) {
  EXPECT_THAT(Texts(ProgrammeOf({"None", "Left", "None", "Right"})),
              ElementsAre("1 Left", "3 Right"));
}

TEST(ProgrammeTest, OneChannelIsPlayedByTwoSpeakersAsDualMono) {
  EXPECT_THAT(Texts(AsDualMono({{4, "Center"}})), ElementsAre("4 Left", "4 Right"));
  EXPECT_THAT(Texts(AsDualMono(ProgrammeOf({"Left", "Right"}))), ElementsAre("0 Left", "1 Right"));
}

TEST(ProgrammeTest, ChannelsAreToldFromOneOnInRanges) {
  struct {
    std::vector<std::size_t> channels;
    const char* words;
  } const cases[] = {
      {{0}, "1"},           {{0, 1}, "1,2"},          {{0, 1, 2}, "1-3"}, {{6, 7}, "7,8"},
      {{0, 2, 3}, "1,3,4"}, {{0, 1, 2, 9}, "1-3,10"}, {{5, 5}, "6"},      {{3, 0, 1, 2}, "1-4"},
  };
  for (const auto& c : cases) {
    Programme programme;
    for (const std::size_t channel : c.channels)
      programme.push_back({channel, "Left"});
    EXPECT_EQ(ChannelsInWords(programme), c.words);
  }
}

}  // namespace
}  // namespace louddesk
