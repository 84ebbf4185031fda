// Files of real encoders are read to their end: media of every kind, MP3 without a length, joined
// files and chains. A file that is not one programme is refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "AudioFile.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::Amplitude;
using test_audio::AudioDirectory;
using test_audio::BytesOf;
using test_audio::Repeated;
using test_audio::Samples;
using test_audio::Sine;

constexpr int kRate = 48000;
constexpr std::size_t kFrames = 4 * kRate;
constexpr double kLevel = -20.0;   // dBFS, peak of the tone in all files
constexpr double kAccuracy = 0.5;  // dB; LAME attenuates by nearly this much to leave headroom

// The properties of a file that these tests check.
struct Heard {
  std::size_t frames = 0;
  std::size_t channels = 0;
  double level = 0.0;  // dBFS, peak of a sine with the power of the first channel
  std::string damage;
};

Heard Hear(const std::string& path, std::optional<std::size_t> stream = std::nullopt) {
  AudioFile file(path, stream);
  Heard heard;
  heard.channels = file.Channels();
  Samples samples(1001 * heard.channels);
  double power = 0.0;
  for (std::size_t got = 1; got > 0;) {
    got = file.Read(samples.data(), 1001);
    heard.frames += got;
    for (std::size_t i = 0; i < got; ++i)
      power += samples[i * heard.channels] * samples[i * heard.channels];
  }
  heard.level = 10.0 * std::log10(2.0 * power / static_cast<double>(heard.frames));
  if (const Damage damage = file.Missing(); !damage.IsNone())
    heard.damage = DamageText(damage, static_cast<double>(heard.frames) / file.SampleRate());
  return heard;
}

std::string RefusalOf(const std::string& path, std::optional<std::size_t> stream = std::nullopt) {
  try {
    Hear(path, stream);
  } catch (const AudioFileError& error) {
    return error.what();
  }
  return "";
}

class WholeFileTest : public testing::Test {
 protected:
  // Four seconds of a tone in every channel.
  std::string WriteTone(const std::string& name, std::size_t channels, int rate = kRate,
                        double level = kLevel) const {
    const auto frames = static_cast<std::size_t>(4 * rate);
    return mDirectory.Write(name, SF_FORMAT_WAV | SF_FORMAT_PCM_16, rate, channels,
                            Repeated(Sine(Amplitude(level), 997.0, rate, frames), channels));
  }

  // The tone, encoded by a command that reads %d/tone.wav.
  std::string Encode(const std::string& name, const std::string& command) const {
    WriteTone("tone.wav", 2);
    return mDirectory.Make(name, command);
  }

  // The files one after the other, as `cat` joins them.
  std::string Join(const std::string& name, std::initializer_list<std::string> paths) const {
    std::string bytes;
    for (const std::string& path : paths)
      bytes += BytesOf(path);
    return mDirectory.WriteBytes(name, bytes);
  }

  AudioDirectory mDirectory;
};

// Block codecs pad the last block, unless the container states how much of it to play: at most two
// blocks of 2048 frames.
TEST_F(WholeFileTest, MediaOfEveryKindIsReadToItsEnd) {
  constexpr char kPlain[] = "ffmpeg -v error -i %d/tone.wav ";
  constexpr char kWithPicture[] =
      "ffmpeg -v error -f lavfi -i testsrc2=d=4:s=64x64 -i %d/tone.wav ";
  struct {
    const char* name;
    std::string command;
    std::size_t padding;  // frames that the encoder may have added or omitted
  } const cases[] = {
      {"a.flac", "flac -s -o %o %d/tone.wav", 0},
      {"a.ogg", "oggenc -Q -o %o %d/tone.wav", 0},
      {"a.opus", "opusenc --quiet %d/tone.wav %o", 0},
      {"a.mp3", "lame --quiet %d/tone.wav %o", 0},
      {"a.wv", "wavpack -q %d/tone.wav -o %o", 0},
      {"a.oga", kPlain + std::string("-c:a flac %o"), 0},
      {"a.mp2", kPlain + std::string("%o"), 2304},
      {"a.m4a", kPlain + std::string("-c:a aac %o"), 0},
      {"alac.m4a", kPlain + std::string("-c:a alac %o"), 0},
      {"a.aac", kPlain + std::string("%o"), 4096},
      {"a.ac3", kPlain + std::string("%o"), 3072},
      {"a.eac3", kPlain + std::string("%o"), 3072},
      {"a.mka", kPlain + std::string("-c:a flac %o"), 0},
      {"a.webm", kPlain + std::string("%o"), 4096},
      {"a.tta", kPlain + std::string("%o"), 0},
      {"a.wma", kPlain + std::string("%o"), 4096},
      {"a.mov", kPlain + std::string("-c:a pcm_s24le %o"), 0},
      {"a.mp4", kWithPicture + std::string("-c:a aac %o"), 0},
      {"a.mkv", kWithPicture + std::string("-c:a ac3 %o"), 3072},
      {"a.mxf", kWithPicture + std::string("%o"), 0},
      {"a.ts", kWithPicture + std::string("-c:a mp2 %o"), 2304},
      {"a.avi", kWithPicture + std::string("-c:a pcm_s16le %o"), 0},
  };
  for (const auto& c : cases) {
    const Heard heard = Hear(Encode(c.name, c.command));
    EXPECT_EQ(heard.damage, "") << c.name;
    EXPECT_EQ(heard.channels, 2U) << c.name;
    EXPECT_NEAR(heard.level, kLevel, kAccuracy) << c.name;
    EXPECT_NEAR(static_cast<double>(heard.frames), static_cast<double>(kFrames),
                static_cast<double>(c.padding))
        << c.name;
  }
}

// With a variable bit rate, the length can only be guessed from the first frames.
TEST_F(WholeFileTest, AnMp3WithoutFactsIsReadToItsEnd) {
  for (const char* options : {"-V2 -t", "-b128 -t"}) {
    const std::string path =
        Encode("a.mp3", std::string("lame --quiet ") + options + " %d/tone.wav %o");
    ASSERT_EQ(BytesOf(path).find("Xing"), std::string::npos);
    ASSERT_EQ(BytesOf(path).find("Info"), std::string::npos);
    const Heard heard = Hear(path);
    EXPECT_NEAR(static_cast<double>(heard.frames), static_cast<double>(kFrames), 2305.0) << options;
    EXPECT_NEAR(heard.level, kLevel, kAccuracy) << options;
    EXPECT_EQ(heard.damage, "") << options;
  }
}

// A file that was written to a pipe has no length, or a placeholder, in its header, and the demuxer
// guesses from the size of the file. For a minute of audio the guess is wrong by more than half a
// second, the tolerance for Matroska.
TEST_F(WholeFileTest, AFileThatWasWrittenIntoAPipeIsWhole) {
  struct {
    const char* name;
    const char* options;
  } const cases[] = {
      {"pcm.avi", "-c:a pcm_s16le -f avi"},
      {"ac3.avi", "-c:a ac3 -f avi"},
      {"mp3.avi", "-c:a mp3 -f avi"},
      {"ac3.mkv", "-c:a ac3 -f matroska"},
      {"mp3.mkv", "-c:a mp3 -f matroska"},
      {"flac.mkv", "-c:a flac -f matroska"},
      {"a.au", "-c:a pcm_s16be -f au"},
      {"a.flac", "-c:a flac -f flac"},
      {"a.caf", "-c:a pcm_s16be -f caf"},
      {"a.wav", "-c:a pcm_s16le -f wav"},
      {"a.mp4", "-c:a aac -movflags frag_keyframe+empty_moov -f mp4"},
  };
  constexpr double kLength = 60.0;  // s
  for (const auto& c : cases) {
    const Heard heard = Hear(mDirectory.Make(
        c.name, std::string("ffmpeg -v error -t 60 -f lavfi -i anullsrc=r=48000:cl=stereo ") +
                    c.options + " - > %o"));
    EXPECT_EQ(heard.damage, "") << c.name;
    EXPECT_NEAR(static_cast<double>(heard.frames) / kRate, kLength, 0.1) << c.name;
  }
}

// Each part begins and ends at the frames that its encoder recorded.
TEST_F(WholeFileTest, JoinedMp3sAreAsLongAsTheirParts) {
  const std::string picture = mDirectory.Make(
      "noise.png", "ffmpeg -v error -f lavfi -i nullsrc=s=300x300,noise=alls=100 -frames:v 1 %o");
  const std::string lame = "lame --quiet ";
  const std::string plain = Encode("plain.mp3", lame + "%d/tone.wav %o");
  const std::string varying = Encode("varying.mp3", lame + "-V4 %d/tone.wav %o");
  const std::string titled = Encode("titled.mp3", lame + "--tt Title --add-id3v2 %d/tone.wav %o");
  const std::string oldTag = Encode("old.mp3", lame + "--tt Title --id3v1-only %d/tone.wav %o");
  const std::string covered = Encode("covered.mp3", lame + "--ti '" + picture + "' %d/tone.wav %o");
  for (const std::string& first : {plain, varying, titled, oldTag, covered})
    for (const std::string& second : {plain, varying, titled, oldTag, covered}) {
      const Heard heard = Hear(Join("joined.mp3", {first, second}));
      EXPECT_EQ(heard.frames, 2 * kFrames) << first << " and " << second;
      EXPECT_NEAR(heard.level, kLevel, kAccuracy) << first << " and " << second;
      EXPECT_EQ(heard.damage, "") << first << " and " << second;
    }
}

TEST_F(WholeFileTest, AllLinksOfAChainAreRead) {
  const std::string vorbis = Encode("a.ogg", "oggenc -Q -o %o %d/tone.wav");
  const std::string opus = Encode("a.opus", "opusenc --quiet %d/tone.wav %o");
  const std::string flac = Encode("a.oga", "ffmpeg -v error -i %d/tone.wav -c:a flac %o");
  for (const std::string& link : {vorbis, opus, flac}) {
    const Heard heard = Hear(Join("chain.ogg", {link, link, link}));
    EXPECT_EQ(heard.frames, 3 * kFrames) << link;
    EXPECT_NEAR(heard.level, kLevel, kAccuracy) << link;
    EXPECT_EQ(heard.damage, "") << link;
  }
  EXPECT_EQ(Hear(Join("mixed.ogg", {vorbis, opus, flac})).frames, 3 * kFrames);
}

TEST_F(WholeFileTest, JoinedFilesOfFormatsWithoutAHeadAreReadToTheirEnd) {
  const std::string flac = Encode("a.flac", "flac -s -o %o %d/tone.wav");
  EXPECT_EQ(Hear(Join("joined.flac", {flac, flac})).frames, 2 * kFrames);
  for (const char* name : {"a.aac", "a.ac3", "a.ts"}) {
    const std::string path = Encode(name, "ffmpeg -v error -i %d/tone.wav %o");
    EXPECT_EQ(Hear(Join("joined", {path, path})).frames, 2 * Hear(path).frames) << name;
  }
}

// It does not matter which part is longer: the figures would not be those of one programme.
TEST_F(WholeFileTest, AFileWhoseChannelsChangeIsRefused) {
  WriteTone("stereo.wav", 2);
  WriteTone("mono.wav", 1);
  struct {
    const char* type;
    const char* before;  // the encoder's command before the source
    const char* behind;
  } const encoders[] = {
      {".ogg", "oggenc -Q -o %o %d/", ".wav"},       {".opus", "opusenc --quiet %d/", ".wav %o"},
      {".mp3", "lame --quiet %d/", ".wav %o"},       {".flac", "flac -s -o %o %d/", ".wav"},
      {".ac3", "ffmpeg -v error -i %d/", ".wav %o"}, {".aac", "ffmpeg -v error -i %d/", ".wav %o"},
  };
  for (const auto& e : encoders) {
    const std::string type = e.type;
    const auto encode = [&](const std::string& source) {
      return mDirectory.Make(source + type, e.before + source + e.behind);
    };
    const std::string path = Join("joined" + type, {encode("stereo"), encode("mono")});
    EXPECT_THAT(RefusalOf(path),
                testing::MatchesRegex(path + ": changes from 2 channels at 48000 Hz to 1 "
                                             "channel at 48000 Hz at 0:0[34]\\.[0-9]; measure "
                                             "its parts separately"));
  }
}

TEST_F(WholeFileTest, AFileWhoseRateChangesIsRefused) {
  const std::string first = Encode("a.ogg", "oggenc -Q -o %o %d/tone.wav");
  WriteTone("tone.wav", 2, 44100);
  const std::string second = mDirectory.Make("b.ogg", "oggenc -Q -o %o %d/tone.wav");
  const std::string path = Join("joined.ogg", {first, second});
  EXPECT_EQ(
      RefusalOf(path),
      path +
          ": changes from 2 channels at 48000 Hz to 2 channels at 44100 Hz at 0:04.0; measure "
          "its parts separately");
}

// The streams are three tones, 6 dB apart.
TEST_F(WholeFileTest, AStreamIsChosenByItsNumber) {
  WriteTone("a.wav", 2);
  WriteTone("b.wav", 2, kRate, -26.0);
  WriteTone("c.wav", 1, kRate, -32.0);
  const std::string path = mDirectory.Make(
      "three.mkv",
      "ffmpeg -v error -f lavfi -i testsrc2=d=4:s=64x64 -i %d/a.wav -i %d/b.wav -i %d/c.wav "
      "-map 0 -map 1 -map 2 -map 3 -c:a flac %o");
  EXPECT_EQ(AudioFile(path).Streams().size(), 3U);
  EXPECT_NEAR(Hear(path, 1).level, -20.0, 0.1);
  EXPECT_NEAR(Hear(path, 2).level, -26.0, 0.1);
  EXPECT_NEAR(Hear(path, 3).level, -32.0, 0.1);
  EXPECT_EQ(Hear(path, 3).channels, 1U);
  EXPECT_NEAR(Hear(path).level, -20.0, 0.1);
  EXPECT_EQ(RefusalOf(path, 4), path + ": has no audio stream 4; it has 3");
  const std::string plain = WriteTone("plain.wav", 2);
  EXPECT_EQ(Hear(plain, 1).frames, kFrames);
  EXPECT_EQ(RefusalOf(plain, 2), plain + ": has no audio stream 2; it has 1");
}

TEST_F(WholeFileTest, AVideoWithoutSoundHoldsNoAudio) {
  const std::string path =
      mDirectory.Make("mute.mkv", "ffmpeg -v error -f lavfi -i testsrc2=d=1:s=64x64 %o");
  EXPECT_EQ(RefusalOf(path), path + ": contains no audio");
}

// A list of media is not media: nothing that it names is opened.
TEST_F(WholeFileTest, WhatAFileRefersToIsNotOpened) {
  const std::string tone = Encode("tone.aac", "ffmpeg -v error -i %d/tone.wav %o");
  const std::string list = mDirectory.WriteBytes(
      "list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\n" + tone + "\n#EXT-X-ENDLIST\n");
  EXPECT_NE(RefusalOf(list), "");
  EXPECT_NE(
      RefusalOf(mDirectory.WriteBytes("list.txt", "ffconcat version 1.0\nfile '" + tone + "'\n")),
      "");
}

// Noise of some length always contains something that looks like the header of a frame.
TEST_F(WholeFileTest, NoiseIsNotAudio) {
  std::string noise;
  for (const double sample : test_audio::Noise(128.0, 300000, 7))
    noise += static_cast<char>(static_cast<int>(sample));
  const std::string path = mDirectory.WriteBytes("noise.bin", noise);
  EXPECT_EQ(RefusalOf(path), path + ": is not audio that can be read: its format is unknown");
}

// 5.1 from containers and codecs with different orders of channels. The levels fall from channel to
// channel; encoders process low-frequency effects in different ways.
TEST_F(WholeFileTest, SurroundIsHandedOutInTheOrderOfWav) {
  std::vector<Samples> channels;
  for (int i = 0; i < 6; ++i)
    channels.push_back(Sine(Amplitude(-20.0 - 3.0 * i), 60.0, kRate, kFrames));
  mDirectory.Write("surround.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, kRate, 6,
                   test_audio::Interleaved(channels));
  const std::string source = "ffmpeg -v error -i %d/surround.wav ";
  for (const char* name : {"a.flac", "a.ac3", "a.m4a", "a.ogg", "a.opus", "a.wv", "a.mov"}) {
    const std::string codec = std::string(name) == "a.mov" ? "-c:a pcm_s24le " : "";
    const std::string path = mDirectory.Make(name, source + "-b:a 448k " + codec + "%o");
    AudioFile file(path);
    Samples samples(6 * kFrames);
    ASSERT_GE(file.Read(samples.data(), kFrames), kFrames / 2) << name;
    for (std::size_t i = 0; i < 6; ++i) {
      double peak = 0.0;
      for (std::size_t frame = kFrames / 4; frame < kFrames / 2; ++frame)
        peak = std::max(peak, std::abs(samples[6 * frame + i]));
      EXPECT_NEAR(20.0 * std::log10(peak), -20.0 - 3.0 * static_cast<double>(i), i == 3 ? 3.0 : 1.0)
          << name << ", channel " << i;
    }
    const ChannelMap front = {AV_CHAN_FRONT_LEFT, AV_CHAN_FRONT_RIGHT, AV_CHAN_FRONT_CENTER,
                              AV_CHAN_LOW_FREQUENCY};
    ChannelMap back = front;
    back.insert(back.end(), {AV_CHAN_BACK_LEFT, AV_CHAN_BACK_RIGHT});
    ChannelMap side = front;
    side.insert(side.end(), {AV_CHAN_SIDE_LEFT, AV_CHAN_SIDE_RIGHT});
    EXPECT_THAT(file.Positions(), testing::AnyOf(back, side)) << name;
  }
}

}  // namespace
}  // namespace louddesk
