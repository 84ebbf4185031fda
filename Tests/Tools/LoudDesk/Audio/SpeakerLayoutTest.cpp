// Speakers of the channels: from the number of channels, from a list, and the complaints about a
// wrong list.

#include "SpeakerLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::AudioDirectory;
using test_audio::BytesOf;
using test_audio::Samples;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kAllSpeakers[] =
    "Left,Right,Center,LowFrequencyEffects,LeftSurround,RightSurround,BackSurroundLeft,"
    "BackSurroundRight,MonoSurround";

class SpeakerLayoutTest : public testing::Test {
 protected:
  AudioFile FileOf(std::size_t channels) const {
    return AudioFile(mDirectory.Write("file.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, channels,
                                      Samples(channels * 10, 0.1)));
  }

  // A WAV with this channel mask, at byte 40: 0x3 Left and Right, 0x4 Center, 0x8 LFE, 0x30 back,
  // 0xC0 beside the centre, 0x100 back centre, 0x600 sides, 0x800 overhead.
  AudioFile FileWithMask(unsigned mask, std::size_t channels) const {
    std::string bytes = BytesOf(mDirectory.Write("mask.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16,
                                                 48000, channels, Samples(channels * 10, 0.1)));
    bytes[40] = static_cast<char>(mask & 0xFF);
    bytes[41] = static_cast<char>(mask >> 8);
    return AudioFile(mDirectory.WriteBytes("mask.wav", bytes));
  }

  static std::string RefusalOf(const AudioFile& file, const std::optional<SpeakerLayout>& chosen) {
    try {
      LayoutFor(file, chosen);
    } catch (const AudioFileError& error) {
      return error.what();
    }
    return "";
  }

  AudioDirectory mDirectory;
};

TEST_F(SpeakerLayoutTest, OneTwoAndSixChannelsHaveTheirUsualSpeakers) {
  EXPECT_THAT(*UsualLayout(1), ElementsAre("Center"));
  EXPECT_THAT(*UsualLayout(2), ElementsAre("Left", "Right"));
  EXPECT_THAT(*UsualLayout(6), ElementsAre("Left", "Right", "Center", "LowFrequencyEffects",
                                           "LeftSurround", "RightSurround"));
}

TEST_F(SpeakerLayoutTest, OtherNumbersOfChannelsHaveNoUsualSpeakers) {
  for (const std::size_t channels : {0U, 3U, 4U, 5U, 7U, 8U, 32U})
    EXPECT_FALSE(UsualLayout(channels).has_value()) << channels << " channels";
}

TEST_F(SpeakerLayoutTest, EverySpeakerOfTheUsualLayoutsIsKnown) {
  for (const std::size_t channels : {1U, 2U, 6U}) {
    const SpeakerLayout layout = UsualLayout(channels).value();
    for (const std::string& speaker : layout)
      EXPECT_NE(SpeakerTypeOf(speaker), AST_NONE) << speaker;
  }
}

TEST_F(SpeakerLayoutTest, ListIsSplitAtItsCommas) {
  EXPECT_THAT(SplitSpeakers("Left"), ElementsAre("Left"));
  EXPECT_THAT(SplitSpeakers("Left,Right,Center"), ElementsAre("Left", "Right", "Center"));
  EXPECT_THAT(SplitSpeakers("Left,,"), ElementsAre("Left", "", ""));
  EXPECT_THAT(SplitSpeakers(""), ElementsAre(""));
  EXPECT_THAT(SplitSpeakers("l,R,none,x"), ElementsAre("Left", "Right", "None", "x"));
}

TEST_F(SpeakerLayoutTest, AllSpeakersOfThePresetAreKnown) {
  EXPECT_EQ(CheckSpeakers(kAllSpeakers), "");
  const SpeakerLayout speakers = SplitSpeakers(kAllSpeakers);
  ASSERT_EQ(speakers.size(), 9U);
  for (std::size_t i = 0; i < speakers.size(); ++i)
    EXPECT_EQ(static_cast<std::size_t>(SpeakerTypeOf(speakers[i])), i + 1) << speakers[i];
}

TEST_F(SpeakerLayoutTest, UnknownSpeakersAreQuotedAndTheKnownOnesNamed) {
  for (const char* list : {"Left,Middle", "Left, Right", "", "Left,"}) {
    EXPECT_THAT(CheckSpeakers(list),
                HasSubstr("\" is not a speaker; the speakers are Left (L), Right (R), "))
        << "'" << list << "'";
    EXPECT_THAT(CheckSpeakers(list), HasSubstr("MonoSurround"));
  }
  EXPECT_THAT(CheckSpeakers("Left,Middle,Right"), StartsWith("\"Middle\" "));
}

// There are up to 32 channels but only nine names: a name gives the weight of a channel and is not
// unique.
TEST_F(SpeakerLayoutTest, ASpeakerMayHaveSeveralChannels) {
  EXPECT_EQ(CheckSpeakers("Left,Right,Left,Right"), "");
  EXPECT_EQ(LayoutFor(FileOf(2), SpeakerLayout{"Left", "Left"}), SpeakerLayout(2, "Left"));
}

TEST_F(SpeakerLayoutTest, ChannelsMayFeedNoSpeakerButNotAllOfThem) {
  EXPECT_EQ(CheckSpeakers("None,L,none,R"), "");
  EXPECT_EQ(CheckSpeakers("None,none"), "no channel feeds a speaker");
}

TEST_F(SpeakerLayoutTest, EveryKnownSpeakerIsNamedInTheMessage) {
  for (const std::string& speaker : SplitSpeakers(kAllSpeakers))
    EXPECT_THAT(CheckSpeakers("x"), HasSubstr(" " + speaker)) << speaker;
}

TEST_F(SpeakerLayoutTest, ChosenSpeakersComeBeforeTheUsualOnes) {
  const SpeakerLayout chosen = {"LeftSurround", "RightSurround"};
  EXPECT_EQ(LayoutFor(FileOf(2), chosen), chosen);
  EXPECT_EQ(LayoutFor(FileOf(2), std::nullopt), *UsualLayout(2));
}

TEST_F(SpeakerLayoutTest, TheFilesOwnPositionsComeBeforeTheUsualSpeakers) {
  EXPECT_THAT(LayoutFor(FileWithMask(0x3F, 6), std::nullopt),
              ElementsAre("Left", "Right", "Center", "LowFrequencyEffects", "LeftSurround",
                          "RightSurround"));
  EXPECT_THAT(
      LayoutFor(FileWithMask(0x707, 6), std::nullopt),
      ElementsAre("Left", "Right", "Center", "MonoSurround", "LeftSurround", "RightSurround"));
  EXPECT_THAT(LayoutFor(FileWithMask(0x8, 1), std::nullopt), ElementsAre("LowFrequencyEffects"));
}

TEST_F(SpeakerLayoutTest, SpeakersAtTheBackAreBackSurroundsBehindThoseAtTheSides) {
  EXPECT_THAT(LayoutFor(FileWithMask(0x33, 4), std::nullopt),
              ElementsAre("Left", "Right", "LeftSurround", "RightSurround"));
  EXPECT_THAT(LayoutFor(FileWithMask(0x633, 6), std::nullopt),
              ElementsAre("Left", "Right", "BackSurroundLeft", "BackSurroundRight", "LeftSurround",
                          "RightSurround"));
}

TEST_F(SpeakerLayoutTest, SpeakersBesideTheCentreCountAsFrontOnes) {
  EXPECT_THAT(LayoutFor(FileWithMask(0xC3, 4), std::nullopt),
              ElementsAre("Left", "Right", "Left", "Right"));
}

TEST_F(SpeakerLayoutTest, EveryPlacedSpeakerIsKnown) {
  for (const std::string& speaker : LayoutFor(FileWithMask(0x7FF, 11), std::nullopt))
    EXPECT_NE(SpeakerTypeOf(speaker), AST_NONE) << speaker;
}

TEST_F(SpeakerLayoutTest, ChosenSpeakersComeBeforeTheFilesOwnPositions) {
  const SpeakerLayout chosen = {"Left", "Right", "LeftSurround", "RightSurround"};
  EXPECT_EQ(LayoutFor(FileWithMask(0x33, 4), chosen), chosen);
  EXPECT_EQ(LayoutFor(FileWithMask(0x803, 3), SpeakerLayout(3, "Left")), SpeakerLayout(3, "Left"));
}

TEST_F(SpeakerLayoutTest, APositionWithoutANameIsRefused) {
  const AudioFile file = FileWithMask(0x803, 3);
  EXPECT_EQ(
      RefusalOf(file, std::nullopt),
      file.Path() + ": feeds an unknown speaker with channel 3; name all speakers with --speakers");
}

TEST_F(SpeakerLayoutTest, AWrongNumberOfSpeakersIsRefused) {
  const AudioFile one = FileOf(1);
  EXPECT_EQ(RefusalOf(one, SpeakerLayout{"Left", "Right"}),
            one.Path() + ": has 1 channel, but --speakers names 2");
  const AudioFile three = FileOf(3);
  EXPECT_EQ(RefusalOf(three, SpeakerLayout{"Left"}),
            three.Path() + ": has 3 channels, but --speakers names 1");
}

TEST_F(SpeakerLayoutTest, ChannelsWithoutUsualSpeakersMustBeGivenThem) {
  const AudioFile file = FileOf(4);
  EXPECT_EQ(RefusalOf(file, std::nullopt),
            file.Path() + ": has 4 channels; name their speakers with --speakers");
}

}  // namespace
}  // namespace louddesk
