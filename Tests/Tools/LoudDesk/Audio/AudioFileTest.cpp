// Audio files: every format and bit depth, and every kind of fault.

#include "AudioFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::AudioDirectory;
using test_audio::BytesOf;
using test_audio::CutOff;
using test_audio::Noise;
using test_audio::Repeated;
using test_audio::Samples;
using test_audio::Sine;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int kFlac16 = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
constexpr int kVorbis = SF_FORMAT_OGG | SF_FORMAT_VORBIS;

// Makes the process an ordinary user during the object's lifetime, because root may read
// everything.
class NotRoot {
 public:
  NotRoot() : mUser(geteuid()), mIsOrdinary(mUser != 0 || seteuid(kNobody) == 0) {}
  ~NotRoot() { EXPECT_EQ(seteuid(mUser), 0); }

  // False in a namespace whose only user is root.
  bool IsOrdinary() const { return mIsOrdinary; }

 private:
  static constexpr uid_t kNobody = 65534;
  uid_t mUser;
  bool mIsOrdinary;
};

class AudioFileTest : public testing::Test {
 protected:
  // Reads a whole file in pieces of an odd length.
  static Samples ReadAll(const std::string& path) {
    AudioFile file(path);
    constexpr std::size_t kPiece = 1001;
    Samples all;
    Samples piece(kPiece * file.Channels());
    std::size_t got = kPiece;
    while (got == kPiece) {
      got = file.Read(piece.data(), kPiece);
      all.insert(all.end(), piece.begin(),
                 piece.begin() + static_cast<std::ptrdiff_t>(got * file.Channels()));
    }
    EXPECT_EQ(file.FramesRead() * file.Channels(), all.size());
    return all;
  }

  // The message with which a file is refused; empty if it is not refused.
  static std::string RefusalOf(const std::string& path) {
    try {
      ReadAll(path);
    } catch (const AudioFileError& error) {
      return error.what();
    }
    return "";
  }

  // The complaint about an incomplete file; empty for a complete one.
  static std::string DamageOf(const std::string& path) {
    AudioFile file(path);
    Samples samples(4800 * file.Channels());
    while (file.Read(samples.data(), 4800) > 0) {
    }
    const Damage damage = file.Missing();
    const double there = static_cast<double>(file.FramesRead()) / file.SampleRate();
    return damage.IsNone() ? "" : DamageText(damage, there);
  }

  // A second and a half of stereo noise, which no encoder can compress well.
  std::string WriteNoise(const std::string& name, int format) const {
    return mDirectory.Write(name, format, 48000, 2, Noise(0.5, 2 * 72000, 1));
  }

  AudioDirectory mDirectory;
};

TEST_F(AudioFileTest, ReadsChannelsRateLengthAndSamplesAtFullScaleOne) {
  const Samples samples = {0.0, 0.5, -0.5, 0.25, -1.0, 32767.0 / 32768.0};
  const std::string path = mDirectory.Write("a.wav", kWav16, 44100, 2, samples);
  AudioFile file(path);
  EXPECT_EQ(file.Path(), path);
  EXPECT_EQ(file.Channels(), 2U);
  EXPECT_EQ(file.SampleRate(), 44100);
  Samples read(8);
  EXPECT_EQ(file.Read(read.data(), 4), 3U);
  EXPECT_EQ(file.FramesRead(), 3U);
  for (std::size_t i = 0; i < samples.size(); ++i)
    EXPECT_NEAR(read[i], samples[i], 1.0 / 32768.0) << "sample " << i;
}

TEST_F(AudioFileTest, FloatingPointAboveFullScaleIsNotClipped) {
  for (const int format : {SF_FORMAT_WAV | SF_FORMAT_FLOAT, SF_FORMAT_WAV | SF_FORMAT_DOUBLE})
    EXPECT_EQ(ReadAll(mDirectory.Write("loud.wav", format, 48000, 1, {1.5, -2.5})),
              (Samples{1.5, -2.5}));
}

TEST_F(AudioFileTest, ThirtyTwoChannelsAndTheRatesAtBothEndsAreRead) {
  for (const int sampleRate : {8000, 192000}) {
    const std::string path =
        mDirectory.Write("wide.wav", kWav16, sampleRate, 32, Samples(320, 0.1));
    EXPECT_EQ(ReadAll(path).size(), 320U) << sampleRate << " Hz";
  }
}

// No complete file may be reported as cut off, in any container or encoding.
TEST_F(AudioFileTest, WholeFilesOfEveryFormatAreReadToTheirEnd) {
  struct {
    const char* name;
    int format;
  } const cases[] = {
      {"pcm16.wav", kWav16},
      {"pcm24.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},
      {"pcmu8.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8},
      {"float.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT},
      {"ulaw.wav", SF_FORMAT_WAV | SF_FORMAT_ULAW},
      {"adpcm.wav", SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM},
      {"extensible.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24},
      {"big-endian.wav", kWav16 | SF_ENDIAN_BIG},
      {"long.rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16},
      {"sony.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16},
      {"apple.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24},
      {"core.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16},
      {"sun.au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
      {"pcm16.flac", kFlac16},
      {"pcm24.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
      {"vorbis.ogg", kVorbis},
      {"opus.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
  };
  for (const auto& c : cases) {
    const std::string path = WriteNoise(c.name, c.format);
    EXPECT_EQ(DamageOf(path), "") << c.name;
    EXPECT_GE(ReadAll(path).size(), 2U * 72000U) << c.name;
  }
}

TEST_F(AudioFileTest, OddNumberOfBytesIsWhole) {
  const Samples three = {0.1, 0.2, 0.3};
  EXPECT_EQ(DamageOf(mDirectory.Write("odd.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 8000, 1, three)),
            "");
}

TEST_F(AudioFileTest, AMissingFileIsNamed) {
  const std::string path = mDirectory.Path("gone.wav");
  EXPECT_EQ(RefusalOf(path), path + ": no such file");
}

TEST_F(AudioFileTest, ARefusalIsOneLineWhateverTheName) {
  EXPECT_EQ(RefusalOf("/gone/a\n\x1B[31mb.wav"), "/gone/a\\x0A\\x1B[31mb.wav: no such file");
}

TEST_F(AudioFileTest, ADirectoryIsNotAFile) {
  const std::string path = mDirectory.Path(".");
  EXPECT_EQ(RefusalOf(path), path + ": is a directory");
}

TEST_F(AudioFileTest, ADeviceIsNotAFile) {
  EXPECT_EQ(RefusalOf("/dev/null"), "/dev/null: is neither a file nor a pipe");
}

TEST_F(AudioFileTest, AnUnreadableFileSaysWhy) {
  const std::string path = mDirectory.WriteBytes("secret.wav", "x");
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  ASSERT_EQ(chmod(mDirectory.Path(".").c_str(), 0711), 0);
  const NotRoot notRoot;
  if (!notRoot.IsOrdinary())
    GTEST_SKIP() << "NOT TESTED: only root exists here, and root may read everything";
  EXPECT_EQ(RefusalOf(path), path + ": cannot be opened: Permission denied");
}

TEST_F(AudioFileTest, AFileInAnUnreadableDirectorySaysWhy) {
  const std::string path = mDirectory.WriteBytes("secret.wav", "x");
  ASSERT_EQ(chmod(mDirectory.Path(".").c_str(), 0), 0);
  const NotRoot notRoot;
  if (!notRoot.IsOrdinary())
    GTEST_SKIP() << "NOT TESTED: only root exists here, and root may read everything";
  EXPECT_EQ(RefusalOf(path), path + ": cannot be opened: Permission denied");
}

TEST_F(AudioFileTest, AnEmptyFileIsNamed) {
  const std::string path = mDirectory.WriteBytes("empty.wav", "");
  EXPECT_EQ(RefusalOf(path), path + ": is empty");
}

TEST_F(AudioFileTest, AFileThatIsNotAudioIsNamed) {
  const std::string path = mDirectory.WriteBytes("letter.wav", "Dear reader, this is no sound.\n");
  EXPECT_THAT(RefusalOf(path), StartsWith(path + ": is not audio that can be read: "));
  EXPECT_THAT(RefusalOf(path), testing::Not(HasSubstr("\n")));
}

TEST_F(AudioFileTest, AFileWithoutFramesHoldsNoAudio) {
  const std::string path = mDirectory.Write("none.wav", kWav16, 48000, 2, {});
  EXPECT_EQ(RefusalOf(path), path + ": contains no audio");
}

TEST_F(AudioFileTest, MoreThan32ChannelsAreRefused) {
  const std::string path = mDirectory.Write("wide.wav", kWav16, 48000, 33, Samples(330, 0.1));
  EXPECT_EQ(RefusalOf(path), path + ": has 33 channels; at most 32 can be measured");
}

TEST_F(AudioFileTest, RatesOutside8To192KilohertzAreRefused) {
  for (const int sampleRate : {7999, 192001}) {
    const std::string path = mDirectory.Write("rate.wav", kWav16, sampleRate, 1, Samples(100, 0.1));
    EXPECT_EQ(RefusalOf(path), path + ": has a sample rate of " + std::to_string(sampleRate) +
                                   " Hz; 8000 to 192000 Hz can be measured");
  }
}

// 44 bytes of header, 72000 frames of 4 bytes. Of the 1.5 s, 25000 frames are left, 0.52 s.
TEST_F(AudioFileTest, ATruncatedWavReportsHowMuchIsMissing) {
  const std::string path = WriteNoise("cut.wav", kWav16);
  CutOff(path, 100044);
  EXPECT_EQ(ReadAll(path).size(), 50000U);
  EXPECT_EQ(DamageOf(path), "65.28 % of the file is missing: it ends early, at 0:00.5");
}

TEST_F(AudioFileTest, AWavThatLacksItsLastByteIsNotWhole) {
  const std::string path = WriteNoise("cut.wav", kWav16);
  CutOff(path, 288043);
  EXPECT_EQ(DamageOf(path), "less than 0.01 % of the file is missing: it ends early, at 0:01.5");
}

// A chunk of odd size is followed by a padding byte. Format chunk and header take 36 bytes.
TEST_F(AudioFileTest, ATruncatedWavWithAnOddChunkBeforeItsSamplesIsNotWhole) {
  std::string bytes = BytesOf(WriteNoise("whole.wav", kWav16));
  bytes.insert(36, std::string("note\x03\0\0\0abc\0", 12));
  const std::string path = mDirectory.WriteBytes("noted.wav", bytes);
  EXPECT_EQ(DamageOf(path), "");
  CutOff(path, 100056);
  EXPECT_EQ(DamageOf(path), "65.28 % of the file is missing: it ends early, at 0:00.5");
}

TEST_F(AudioFileTest, OtherTruncatedContainersAreNotWhole) {
  struct {
    const char* name;
    int format;
  } const cases[] = {
      {"cut.rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16},
      {"big-endian.wav", kWav16 | SF_ENDIAN_BIG},
      {"extensible.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16},
      {"cut.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
      {"cut.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16},
      {"cut.au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
      {"cut.flac", kFlac16},
  };
  for (const auto& c : cases) {
    const std::string path = WriteNoise(c.name, c.format);
    CutOff(path, BytesOf(path).size() / 2);
    EXPECT_THAT(DamageOf(path), HasSubstr(" % of the file is missing: it ends early, at 0:00."))
        << c.name;
  }
}

TEST_F(AudioFileTest, ATruncatedWave64EndsEarly) {
  const std::string path = WriteNoise("cut.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16);
  CutOff(path, BytesOf(path).size() / 2);
  EXPECT_EQ(DamageOf(path), "50.00 % of the file is missing: it ends early, at 0:00.7");
}

// The length of the file was only in the missing pages.
TEST_F(AudioFileTest, AnOggCutWithinAPageEndsEarly) {
  const std::string vorbis = WriteNoise("cut.ogg", kVorbis);
  CutOff(vorbis, BytesOf(vorbis).size() / 2);
  EXPECT_THAT(DamageOf(vorbis), StartsWith("the file ends early, at 0:0"));
  const std::string opus = WriteNoise("cut.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS);
  CutOff(opus, BytesOf(opus).size() - 10);
  EXPECT_THAT(DamageOf(opus), StartsWith("the file ends early, at 0:01."));
  CutOff(opus, BytesOf(opus).size() / 2);
  EXPECT_EQ(RefusalOf(opus), opus + ": ends before its audio begins");
}

TEST_F(AudioFileTest, AnOggCutBetweenTwoPagesEndsEarly) {
  const std::string path = WriteNoise("cut.ogg", kVorbis);
  CutOff(path, BytesOf(path).rfind("OggS"));
  EXPECT_THAT(DamageOf(path), StartsWith("the file ends early, at 0:01."));
}

TEST_F(AudioFileTest, AnOggCutWithinTheHeaderOfAPageEndsEarly) {
  const std::string path = WriteNoise("cut.ogg", kVorbis);
  const std::size_t lastPage = BytesOf(path).rfind("OggS");
  for (const std::size_t rest : {3U, 20U, 27U}) {
    CutOff(path, lastPage + rest);
    EXPECT_THAT(DamageOf(path), StartsWith("the file ends early, at 0:01.")) << rest << " bytes";
    WriteNoise("cut.ogg", kVorbis);
  }
}

TEST_F(AudioFileTest, AWavCutWithinItsHeaderIsNotAudio) {
  const std::string path = WriteNoise("cut.wav", kWav16);
  CutOff(path, 30);
  EXPECT_THAT(RefusalOf(path), StartsWith(path + ": "));
}

// The 32-bit size in the header is 1000 bytes; a hole of four GiB follows.
TEST_F(AudioFileTest, AWavThatIsLongerThanItsHeaderCanTellIsRefused) {
  const std::string path = mDirectory.Write("long.wav", kWav16, 48000, 1, Samples(500, 0.1));
  std::filesystem::resize_file(path, (std::uintmax_t{1} << 32) + 1044);
  EXPECT_EQ(RefusalOf(path), path + ": is longer than the 4 GiB that its header can describe");
}

// A program that writes to a pipe cannot go back and fill in the length.
TEST_F(AudioFileTest, AWavWhoseLengthWasNeverFilledInIsWhole) {
  const std::string source = WriteNoise("whole.wav", kWav16);
  std::string bytes = BytesOf(source);
  std::memset(&bytes[4], 0xFF, 4);
  std::memset(&bytes[40], 0xFF, 4);
  const std::string path = mDirectory.WriteBytes("piped.wav", bytes);
  EXPECT_EQ(ReadAll(path), ReadAll(source));
  EXPECT_EQ(DamageOf(path), "");
}

// A recorder that was killed leaves a length of zero.
TEST_F(AudioFileTest, AWavWhoseLengthIsStillZeroIsReadToItsEnd) {
  const std::string source = WriteNoise("whole.wav", kWav16);
  std::string bytes = BytesOf(source);
  std::memset(&bytes[4], 0, 4);
  std::memset(&bytes[40], 0, 4);
  EXPECT_EQ(ReadAll(mDirectory.WriteBytes("killed.wav", bytes)), ReadAll(source));
}

TEST_F(AudioFileTest, WhatFollowsTheSamplesDoesNotMatter) {
  const std::string source = WriteNoise("whole.wav", kWav16);
  const std::string path =
      mDirectory.WriteBytes("tagged.wav", BytesOf(source) + std::string("LIST\x04\0\0\0INFO", 12));
  EXPECT_EQ(ReadAll(path), ReadAll(source));
}

}  // namespace
}  // namespace louddesk
