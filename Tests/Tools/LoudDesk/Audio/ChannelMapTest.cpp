// The speakers of channels according to the file: masks, channel orders of formats, and files
// without that information.

#include "AudioFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "AudioFile.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::AudioDirectory;
using test_audio::BytesOf;
using test_audio::Samples;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kL = AV_CHAN_FRONT_LEFT;
constexpr auto kR = AV_CHAN_FRONT_RIGHT;
constexpr auto kC = AV_CHAN_FRONT_CENTER;
constexpr auto kLfe = AV_CHAN_LOW_FREQUENCY;
constexpr auto kSl = AV_CHAN_SIDE_LEFT;
constexpr auto kSr = AV_CHAN_SIDE_RIGHT;
constexpr auto kRl = AV_CHAN_BACK_LEFT;
constexpr auto kRr = AV_CHAN_BACK_RIGHT;
constexpr auto kRc = AV_CHAN_BACK_CENTER;

constexpr int kWavex = SF_FORMAT_WAVEX | SF_FORMAT_PCM_16;
constexpr int kFlac = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
constexpr int kVorbis = SF_FORMAT_OGG | SF_FORMAT_VORBIS;
constexpr int kOpus = SF_FORMAT_OGG | SF_FORMAT_OPUS;

class ChannelMapTest : public testing::Test {
 protected:
  std::string Write(int format, std::size_t channels) const {
    return mDirectory.Write("file", format, 48000, channels, Samples(channels * 4800, 0.1));
  }

  ChannelMap MapOf(int format, std::size_t channels) const {
    return AudioFile(Write(format, channels)).Positions();
  }

  // The map of a FLAC file of six channels, with a comment inserted after its first metadata block,
  // which has 4 + 34 bytes after the four of the magic number.
  ChannelMap FlacMapWith(const std::string& comment) const {
    std::string bytes = BytesOf(Write(kFlac, 6));
    std::string block;
    for (const std::string& text : {std::string("encoder"), std::string(), comment}) {
      // The empty text in the middle is the number of comments.
      const auto value = static_cast<char>(text.empty() ? 1 : text.size());
      block += std::string{value, '\0', '\0', '\0'} + text;
    }
    const auto length = static_cast<char>(block.size());
    bytes.insert(42, std::string{'\x04', '\0', '\0', length} + block);
    bytes[4] = static_cast<char>(bytes[4] & 0x7F);  // no longer the last block
    return AudioFile(mDirectory.WriteBytes("commented.flac", bytes)).Positions();
  }

  AudioDirectory mDirectory;
};

// The speakers of Vorbis I, 4.3.9, in WAV order.
TEST_F(ChannelMapTest, VorbisHasTheSpeakersOfItsStandard) {
  EXPECT_THAT(MapOf(kVorbis, 1), ElementsAre(kC));
  EXPECT_THAT(MapOf(kVorbis, 2), ElementsAre(kL, kR));
  EXPECT_THAT(MapOf(kVorbis, 3), ElementsAre(kL, kR, kC));
  EXPECT_THAT(MapOf(kVorbis, 4), ElementsAre(kL, kR, kRl, kRr));
  EXPECT_THAT(MapOf(kVorbis, 5), ElementsAre(kL, kR, kC, kRl, kRr));
  EXPECT_THAT(MapOf(kVorbis, 6), ElementsAre(kL, kR, kC, kLfe, kRl, kRr));
  EXPECT_THAT(MapOf(kVorbis, 7), ElementsAre(kL, kR, kC, kLfe, kRc, kSl, kSr));
  EXPECT_THAT(MapOf(kVorbis, 8), ElementsAre(kL, kR, kC, kLfe, kRl, kRr, kSl, kSr));
  EXPECT_THAT(MapOf(kVorbis, 9), IsEmpty());
}

// Vorbis I, 4.3.9: the order of the channels in a stream. Each has a different level.
TEST_F(ChannelMapTest, ChannelsOfVorbisAndOpusAreHandedOutInTheOrderOfTheirMap) {
  const std::vector<ChannelMap> orders = {
      {kL, kC, kR},
      {kL, kC, kR, kRl, kRr},
      {kL, kC, kR, kRl, kRr, kLfe},
      {kL, kC, kR, kSl, kSr, kRc, kLfe},
      {kL, kC, kR, kSl, kSr, kRl, kRr, kLfe},
  };
  for (const int format : {kVorbis, kOpus})
    for (const ChannelMap& order : orders) {
      // Low enough for a channel of low-frequency effects.
      std::vector<Samples> channels;
      for (std::size_t i = 0; i < order.size(); ++i)
        channels.push_back(test_audio::Sine(0.05 * static_cast<double>(i + 1), 60.0, 48000, 24000));
      AudioFile file(mDirectory.Write("order", format, 48000, order.size(),
                                      test_audio::Interleaved(channels)));
      Samples samples(24000 * order.size());
      file.Read(samples.data(), 24000);
      for (std::size_t i = 0; i < order.size(); ++i) {
        // Encoders process this channel in different ways.
        if (file.Positions().at(i) == kLfe)
          continue;
        double power = 0.0;
        for (std::size_t frame = 4800; frame < 19200; ++frame)
          power += samples[frame * order.size() + i] * samples[frame * order.size() + i];
        const double peak = std::sqrt(2.0 * power / 14400.0);
        const auto stored = std::find(order.begin(), order.end(), file.Positions().at(i));
        const auto level = 0.05 * static_cast<double>(stored - order.begin() + 1);
        EXPECT_NEAR(peak, level, 0.02) << order.size() << " channels, " << i;
      }
    }
}

// RFC 7845, 5.1.1: families 0 and 1 have the speakers of Vorbis.
TEST_F(ChannelMapTest, OpusHasTheSpeakersOfVorbis) {
  for (const std::size_t channels : {1U, 2U, 3U, 6U, 8U})
    EXPECT_EQ(MapOf(kOpus, channels), MapOf(kVorbis, channels)) << channels << " channels";
}

// The family is byte 18 of the first packet, which begins at byte 28. The Ogg checksum of the page,
// in bytes 22 to 25, is a CRC-32 with the polynomial 0x04C11DB7.
TEST_F(ChannelMapTest, OpusOfAnotherFamilyHasChannelsForNoSpeaker) {
  std::string bytes = BytesOf(Write(kOpus, 6));
  const std::size_t page = bytes.find("OggS", 1);
  ASSERT_EQ(bytes[46], 1);
  bytes[46] = '\xFF';
  bytes.replace(22, 4, 4, '\0');
  std::uint32_t checksum = 0;
  for (std::size_t i = 0; i < page; ++i) {
    checksum ^= std::uint32_t{static_cast<unsigned char>(bytes[i])} << 24;
    for (int bit = 0; bit < 8; ++bit)
      checksum = checksum << 1 ^ ((checksum & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
  }
  for (std::size_t i = 0; i < 4; ++i)
    bytes[22 + i] = static_cast<char>(checksum >> (8 * i) & 0xFF);
  const ChannelMap map = AudioFile(mDirectory.WriteBytes("discrete.opus", bytes)).Positions();
  EXPECT_EQ(map.size(), 6U);
  EXPECT_THAT(map, Each(AV_CHAN_NONE));
}

// RFC 9639, 9.1.3, where the surrounds of five and six channels are "back/surround".
TEST_F(ChannelMapTest, FlacHasTheOrderOfItsStandard) {
  EXPECT_THAT(MapOf(kFlac, 1), ElementsAre(kC));
  EXPECT_THAT(MapOf(kFlac, 2), ElementsAre(kL, kR));
  EXPECT_THAT(MapOf(kFlac, 3), ElementsAre(kL, kR, kC));
  EXPECT_THAT(MapOf(kFlac, 4), ElementsAre(kL, kR, kRl, kRr));
  EXPECT_THAT(MapOf(kFlac, 5), ElementsAre(kL, kR, kC, kSl, kSr));
  EXPECT_THAT(MapOf(kFlac, 6), ElementsAre(kL, kR, kC, kLfe, kSl, kSr));
  EXPECT_THAT(MapOf(kFlac, 7), ElementsAre(kL, kR, kC, kLfe, kRc, kSl, kSr));
  EXPECT_THAT(MapOf(kFlac, 8), ElementsAre(kL, kR, kC, kLfe, kRl, kRr, kSl, kSr));
}

// RFC 9639, 8.6.2. Bits from the lowest: front left, right, centre, LFE, back left, right, left and
// right of centre, back centre, side left, right. 0x707 is 6.0.
TEST_F(ChannelMapTest, AMaskAmongTheCommentsOfAFlacIsItsOrder) {
  EXPECT_THAT(FlacMapWith("WAVEFORMATEXTENSIBLE_CHANNEL_MASK=0x707"),
              ElementsAre(kL, kR, kC, kRc, kSl, kSr));
  EXPECT_THAT(FlacMapWith("WaveFormatExtensible_Channel_Mask=0x60F"),
              ElementsAre(kL, kR, kC, kLfe, kSl, kSr));
}

TEST_F(ChannelMapTest, AMaskThatDoesNotFitTheChannelsOfAFlacSaysNothing) {
  const ChannelMap usual = MapOf(kFlac, 6);
  for (const char* comment :
       {"WAVEFORMATEXTENSIBLE_CHANNEL_MASK=0x3", "WAVEFORMATEXTENSIBLE_CHANNEL_MASK=",
        "WAVEFORMATEXTENSIBLE_CHANNEL_MASK=left", "TITLE=0x707"})
    EXPECT_EQ(FlacMapWith(comment), usual) << comment;
}

// The mask is at byte 40 of a WAV whose first chunk is the format chunk: after 12 bytes of header,
// 8 of the chunk's header and 20 before the mask.
TEST_F(ChannelMapTest, AWavHasTheOrderOfItsMask) {
  struct {
    int mask;
    ChannelMap map;
  } const cases[] = {
      {0x3F, {kL, kR, kC, kLfe, kRl, kRr}},
      {0x60F, {kL, kR, kC, kLfe, kSl, kSr}},
      {0x707, {kL, kR, kC, kRc, kSl, kSr}},
      {0, {}},
  };
  for (const auto& c : cases) {
    std::string bytes = BytesOf(Write(kWavex, 6));
    bytes[40] = static_cast<char>(c.mask & 0xFF);
    bytes[41] = static_cast<char>(c.mask >> 8);
    EXPECT_EQ(AudioFile(mDirectory.WriteBytes("masked.wav", bytes)).Positions(), c.map)
        << std::hex << c.mask;
  }
}

TEST_F(ChannelMapTest, OtherFilesSayNothing) {
  for (const int format : {SF_FORMAT_WAV, SF_FORMAT_AIFF, SF_FORMAT_W64, SF_FORMAT_AU})
    EXPECT_THAT(MapOf(format | SF_FORMAT_PCM_16, 6), IsEmpty()) << std::hex << format;
}

}  // namespace
}  // namespace louddesk
