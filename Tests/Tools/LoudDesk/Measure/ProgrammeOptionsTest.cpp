// Channels and speakers on the command line.

#include "ProgrammeOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include "TestAudio.h"

namespace louddesk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> Texts(const Programme& programme) {
  std::vector<std::string> texts;
  for (const ProgrammeChannel& member : programme)
    texts.push_back(std::to_string(member.channel + 1) + " " + member.speaker);
  return texts;
}

TEST(ProgrammeOptionsTest, ProgrammesAreRangesOfChannelsAndALayoutOrSpeakers) {
  struct {
    const char* text;
    std::vector<std::string> members;
  } const cases[] = {
      {"1=mono", {"1 Center"}},
      {"7,8=stereo", {"7 Left", "8 Right"}},
      {"8,7=L,R", {"8 Left", "7 Right"}},
      {"1-6=5.1",
       {"1 Left", "2 Right", "3 Center", "4 LowFrequencyEffects", "5 LeftSurround",
        "6 RightSurround"}},
      {"1-3=3.0", {"1 Left", "2 Right", "3 Center"}},
      {"1-2,5,9-10=5.0", {"1 Left", "2 Right", "5 Center", "9 LeftSurround", "10 RightSurround"}},
      {"25-32=7.1",
       {"25 Left", "26 Right", "27 Center", "28 LowFrequencyEffects", "29 LeftSurround",
        "30 RightSurround", "31 BackSurroundLeft", "32 BackSurroundRight"}},
      {"1-3=l,none,r", {"1 Left", "3 Right"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CheckProgramme(c.text), "") << c.text;
    EXPECT_EQ(Texts(ParseProgramme(c.text)), c.members) << c.text;
  }
}

TEST(ProgrammeOptionsTest, WhatIsWrongWithAProgrammeIsNamed) {
  struct {
    const char* text;
    const char* complaint;
  } const cases[] = {
      {"", "is not CHANNELS=SPEAKERS"},
      {"stereo", "is not CHANNELS=SPEAKERS"},
      {"1,2=", "is not CHANNELS=SPEAKERS"},
      {"=stereo", "is not CHANNELS=SPEAKERS"},
      {"0,1=stereo", "is not CHANNELS=SPEAKERS"},
      {"2-1=stereo", "is not CHANNELS=SPEAKERS"},
      {"1-=stereo", "is not CHANNELS=SPEAKERS"},
      {"1,,2=stereo", "is not CHANNELS=SPEAKERS"},
      {"32-33=stereo", "is not CHANNELS=SPEAKERS"},
      {"a,b=stereo", "is not CHANNELS=SPEAKERS"},
      {"1,1=stereo", "names a channel twice"},
      {"1-3=stereo", "\"1-3=stereo\" names 3 channels for 2 speakers"},
      {"1,2=quadro", "\"quadro\" is not a speaker; the speakers are Left (L), "},
      {"1,2=quadro", "and the layouts mono, stereo, 3.0, 5.0, 5.1, 7.1"},
      {"1,2=none,none", "no channel feeds a speaker"},
  };
  for (const auto& c : cases)
    EXPECT_THAT(CheckProgramme(c.text), HasSubstr(c.complaint)) << c.text;
}

class ProgrammesOfTest : public testing::Test {
 protected:
  AudioFile FileOf(std::size_t channels) const {
    return AudioFile(mDirectory.Write("file.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, channels,
                                      test_audio::Samples(channels * 10, 0.1)));
  }

  test_audio::AudioDirectory mDirectory;
};

TEST_F(ProgrammesOfTest, WithoutOptionsAFileIsOneProgramme) {
  const auto programmes = ProgrammesOf(FileOf(2), {});
  ASSERT_EQ(programmes.size(), 1U);
  EXPECT_THAT(Texts(programmes[0]), ElementsAre("1 Left", "2 Right"));
}

TEST_F(ProgrammesOfTest, ChannelsThatFeedNoSpeakerAreLeftOut) {
  ProgrammeOptions options;
  options.speakers = SplitSpeakers("none,L,R");
  EXPECT_THAT(Texts(ProgrammesOf(FileOf(3), options)[0]), ElementsAre("2 Left", "3 Right"));
}

// Three channels have no usual layout, which does not matter if the programmes are given.
TEST_F(ProgrammesOfTest, NamedProgrammesAreThoseOfTheFile) {
  ProgrammeOptions options;
  options.programmes = {ParseProgramme("1,2=stereo"), ParseProgramme("3=mono")};
  const auto programmes = ProgrammesOf(FileOf(3), options);
  ASSERT_EQ(programmes.size(), 2U);
  EXPECT_THAT(Texts(programmes[1]), ElementsAre("3 Center"));
}

TEST_F(ProgrammesOfTest, AFileWithoutANamedChannelIsRefused) {
  ProgrammeOptions options;
  options.programmes = {ParseProgramme("1-6=5.1"), ParseProgramme("7,8=stereo")};
  const AudioFile file = FileOf(7);
  try {
    ProgrammesOf(file, options);
    FAIL() << "not refused";
  } catch (const AudioFileError& error) {
    EXPECT_EQ(error.what(), file.Path() + ": has no channel 8, which --programme names");
  }
}

TEST_F(ProgrammesOfTest, DualMonoIsForProgrammesOfOneChannel) {
  ProgrammeOptions options;
  options.isDualMono = true;
  EXPECT_THAT(Texts(ProgrammesOf(FileOf(1), options)[0]), ElementsAre("1 Left", "1 Right"));
  EXPECT_THAT(Texts(ProgrammesOf(FileOf(2), options)[0]), ElementsAre("1 Left", "2 Right"));
  options.programmes = {ParseProgramme("1,2=stereo"), ParseProgramme("3=mono")};
  EXPECT_THAT(Texts(ProgrammesOf(FileOf(3), options)[1]), ElementsAre("3 Left", "3 Right"));
}

}  // namespace
}  // namespace louddesk
