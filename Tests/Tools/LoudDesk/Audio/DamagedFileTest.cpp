// Damaged files of real encoders: the intact parts are read, and the missing parts are reported.
// The files are ten seconds of noise, which no encoder compresses well, so that a position in the
// file corresponds to a time.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>

#include "AudioFile.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::AudioDirectory;
using test_audio::BytesOf;
using test_audio::Noise;
using test_audio::Samples;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr int kRate = 48000;
constexpr double kSeconds = 10.0;

struct Outcome {
  double there = 0.0;  // s
  Damage damage;
};

Outcome Read(const std::string& path) {
  AudioFile file(path);
  Samples samples(4800 * file.Channels());
  while (file.Read(samples.data(), 4800) > 0) {
  }
  return {static_cast<double>(file.FramesRead()) / file.SampleRate(), file.Missing()};
}

// Why a file is not read, without its name.
std::string RefusalOf(const std::string& path) {
  try {
    Read(path);
  } catch (const AudioFileError& error) {
    const std::string begin = path + ": ";
    EXPECT_THAT(error.what(), StartsWith(begin));
    return std::string(error.what()).substr(begin.size());
  }
  return "nothing was wrong";
}

class DamagedFileTest : public testing::Test {
 protected:
  DamagedFileTest() {
    mDirectory.Write("noise.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, kRate, 2,
                     Noise(0.25, static_cast<std::size_t>(2 * kSeconds * kRate), 1));
  }

  // The noise, encoded by a command that reads %d/noise.wav, with some bytes in the middle changed.
  std::string Damaged(const std::string& name, const std::string& command,
                      std::size_t bytes = 20) const {
    std::string content = BytesOf(mDirectory.Make(name, command));
    for (std::size_t i = 0; i < bytes; ++i)
      content[content.size() / 2 + i] = static_cast<char>(content[content.size() / 2 + i] ^ 0x55);
    return mDirectory.WriteBytes(name, content);
  }

  // The first half of the encoded noise.
  std::string CutInHalf(const std::string& name, const std::string& command) const {
    const std::string path = mDirectory.Make(name, command);
    test_audio::CutOff(path, BytesOf(path).size() / 2);
    return path;
  }

  Outcome ReadFromPipe(const std::string& bytes) const {
    const std::string path = mDirectory.Path("pipe");
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(path, std::ios::binary) << bytes; });
    const Outcome outcome = Read(path);
    writer.join();
    unlink(path.c_str());
    return outcome;
  }

  AudioDirectory mDirectory;
};

constexpr char kFfmpeg[] = "ffmpeg -v error -y -i %d/noise.wav ";
constexpr char kPicture[] = "ffmpeg -v error -y -f lavfi -i testsrc2=d=10:s=64x64 -i %d/noise.wav ";

// The parts read and missing add up to the whole. The reported place is that of the changed bytes:
// half-way, apart from headers and the encoder's delay.
TEST_F(DamagedFileTest, WhatIsDamagedInTheMiddleIsLeftOutAndNamed) {
  struct {
    const char* name;
    std::string command;
    double most;  // duration of the smallest piece that can be lost, s
  } const cases[] = {
      {"a.ogg", "oggenc -Q -o %o %d/noise.wav", 0.6},
      {"a.opus", "opusenc --quiet %d/noise.wav %o", 1.1},
      {"a.flac", "flac -s -o %o %d/noise.wav", 0.2},
      {"a.wv", "wavpack -q -y %d/noise.wav -o %o", 0.6},
      {"a.m4a", kFfmpeg + std::string("%o"), 0.1},
      {"a.aac", kFfmpeg + std::string("%o"), 0.1},
      {"a.ac3", kFfmpeg + std::string("%o"), 0.1},
      {"a.mkv", kFfmpeg + std::string("-c:a ac3 %o"), 0.1},
      {"a.oga", kFfmpeg + std::string("-c:a flac %o"), 1.0},
  };
  for (const auto& c : cases) {
    const Outcome outcome = Read(Damaged(c.name, c.command));
    ASSERT_EQ(outcome.damage.places.size(), 1U) << c.name;
    EXPECT_FALSE(outcome.damage.endsAt) << c.name;
    EXPECT_NEAR(outcome.damage.places[0], kSeconds / 2, 1.0) << c.name;
    EXPECT_GT(outcome.damage.missing, 0.01) << c.name;
    EXPECT_LE(outcome.damage.missing, c.most) << c.name;
    EXPECT_NEAR(outcome.there + outcome.damage.missing, kSeconds, 0.05) << c.name;
  }
}

// Sharp sounds make a Vorbis encoder switch to short blocks and back, here ten times a second.
TEST_F(DamagedFileTest, IntactVorbisOfSharpSoundsIsNotDamaged) {
  std::vector<double> clicks(2 * kRate * 5);
  for (std::size_t frame = 1000; frame < clicks.size() / 2; frame += kRate / 10)
    clicks[2 * frame] = clicks[2 * frame + 1] = 0.9;
  mDirectory.Write("clicks.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, kRate, 2, clicks);
  const Outcome outcome = Read(mDirectory.Make("clicks.ogg", "oggenc -Q -o %o %d/clicks.wav"));
  EXPECT_NEAR(outcome.there, 5.0, 1e-9);
  EXPECT_TRUE(outcome.damage.IsNone()) << outcome.damage.places.size() << " places";
}

// 2000 bytes of an MP3 at 128 kbit/s are 125 ms. A frame that needs bits of a lost frame is lost
// too.
TEST_F(DamagedFileTest, WhatIsNotAFrameOfAnMp3IsMissing) {
  for (const char* options : {"-b128", "-b128 -t"}) {
    const Outcome outcome =
        Read(Damaged("a.mp3", std::string("lame --quiet ") + options + " %d/noise.wav %o", 2000));
    ASSERT_EQ(outcome.damage.places.size(), 1U) << options;
    EXPECT_FALSE(outcome.damage.endsAt) << options;
    EXPECT_NEAR(outcome.damage.places[0], kSeconds / 2, 0.2) << options;
    EXPECT_NEAR(outcome.damage.missing, 0.125, 0.075) << options;
    EXPECT_NEAR(outcome.there + outcome.damage.missing, kSeconds, 0.1) << options;
  }
}

// A megabyte that no decoder understands, at 5 s of a stream that continues.
TEST_F(DamagedFileTest, BytesThatAreMissingInTheMiddleAreMissingInTime) {
  for (const char* name : {"a.flac", "a.ogg"}) {
    const std::string encoder = std::string(name) == "a.ogg" ? "oggenc -Q" : "flac -s";
    std::string content = BytesOf(mDirectory.Make(name, encoder + " -o %o %d/noise.wav"));
    const std::size_t half = content.size() / 2;
    content.erase(half, content.size() / 10);
    const Outcome outcome = Read(mDirectory.WriteBytes(name, content));
    ASSERT_EQ(outcome.damage.places.size(), 1U) << name;
    EXPECT_NEAR(outcome.damage.places[0], kSeconds / 2, 0.6) << name;
    EXPECT_NEAR(outcome.damage.missing, 1.0, 0.6) << name;
    EXPECT_NEAR(outcome.there + outcome.damage.missing, kSeconds, 0.01) << name;
  }
}

TEST_F(DamagedFileTest, PacketsThatATransportStreamLacksAreNamed) {
  const Outcome outcome = Read(Damaged("a.ts", kFfmpeg + std::string("-c:a ac3 %o"), 2000));
  ASSERT_EQ(outcome.damage.places.size(), 1U);
  EXPECT_NEAR(outcome.damage.places[0], kSeconds / 2, 0.5);
  EXPECT_NEAR(outcome.there + outcome.damage.missing, kSeconds, 0.1);
}

// Each of these containers declares its length, or that of the stream, at its beginning.
TEST_F(DamagedFileTest, AFileThatWasCutOffIsReadAsFarAsItGoes) {
  struct {
    const char* name;
    std::string command;
  } const cases[] = {
      {"a.mp3", "lame --quiet %d/noise.wav %o"},
      {"a.flac", "flac -s -o %o %d/noise.wav"},
      {"a.wv", "wavpack -q -y %d/noise.wav -o %o"},
      {"a.m4a", kFfmpeg + std::string("-movflags +faststart %o")},
      {"a.mka", kFfmpeg + std::string("-c:a flac %o")},
      {"av.mka", kPicture + std::string("-c:v mpeg4 -b:v 64k -c:a flac %o")},
      {"a.avi", kFfmpeg + std::string("-c:a pcm_s16le %o")},
      {"mp3.avi", kFfmpeg + std::string("-c:a libmp3lame %o")},
      {"ac3.avi", kFfmpeg + std::string("-c:a ac3 %o")},
      {"a.mxf", kPicture + std::string("-c:v mpeg2video -b:v 64k -c:a pcm_s24le %o")},
      {"a.wav", kFfmpeg + std::string("-rf64 always %o")},
      {"a.w64", kFfmpeg + std::string("%o")},
      {"a.aiff", kFfmpeg + std::string("%o")},
      {"a.au", kFfmpeg + std::string("%o")},
      {"a.caf", kFfmpeg + std::string("-c:a pcm_s16be %o")},
      {"a.tta", kFfmpeg + std::string("%o")},
      {"a.wma", kFfmpeg + std::string("%o")},
  };
  for (const auto& c : cases) {
    const Outcome outcome = Read(CutInHalf(c.name, c.command));
    ASSERT_TRUE(outcome.damage.endsAt) << c.name;
    EXPECT_NEAR(*outcome.damage.endsAt, outcome.there, 0.6) << c.name;
    EXPECT_NEAR(outcome.there, kSeconds / 2, 1.05) << c.name;  // a frame of TTA
    EXPECT_FALSE(outcome.damage.isEndUnknown) << c.name;
    EXPECT_NEAR(outcome.there + outcome.damage.missing, kSeconds, 0.5) << c.name;
  }
}

// The size of a pipe is known at its end only.
TEST_F(DamagedFileTest, WhatCameThroughAPipeAndWasCutOffEndsEarly) {
  const std::pair<const char*, std::string> cases[] = {
      {"a.wma", kFfmpeg + std::string("%o")},
      {"a.w64", kFfmpeg + std::string("%o")},
      {"a.avi", kFfmpeg + std::string("-c:a libmp3lame %o")},
      {"av.mka", kPicture + std::string("-c:v mpeg4 -b:v 64k -c:a flac %o")}};
  for (const auto& [name, command] : cases) {
    const std::string bytes = BytesOf(mDirectory.Make(name, command));
    EXPECT_TRUE(ReadFromPipe(bytes).damage.IsNone()) << name;
    const Outcome outcome = ReadFromPipe(bytes.substr(0, bytes.size() / 2));
    ASSERT_TRUE(outcome.damage.endsAt) << name;
    EXPECT_NEAR(outcome.there, kSeconds / 2, 0.6) << name;
    EXPECT_NEAR(outcome.there + outcome.damage.missing, kSeconds, 0.5) << name;
  }
}

// In a file, libavformat finds the tag before it reads the blocks.
TEST_F(DamagedFileTest, ATagAtTheEndOfAPipeIsNotDamage) {
  const std::string bytes =
      BytesOf(mDirectory.Make("a.wv", "wavpack -q -y -w Title=Noise %d/noise.wav -o %o"));
  ASSERT_NE(bytes.find("APETAGEX"), std::string::npos);
  const Outcome outcome = ReadFromPipe(bytes);
  EXPECT_TRUE(outcome.damage.IsNone());
  EXPECT_NEAR(outcome.there, kSeconds, 1e-9);
}

// Not all programs note the length of each stream. The header has that of the longest.
TEST_F(DamagedFileTest, AMatroskaWithoutTagsThatWasCutOffEndsEarly) {
  std::string content =
      BytesOf(mDirectory.Make("av.mka", kPicture + std::string("-c:v mpeg4 -c:a flac %o")));
  const std::string tag = "DURATION";
  for (std::size_t at = content.find(tag); at != std::string::npos; at = content.find(tag, at))
    content[at] = 'X';
  EXPECT_TRUE(Read(mDirectory.WriteBytes("av.mka", content)).damage.IsNone());
  const Outcome outcome =
      Read(mDirectory.WriteBytes("av.mka", content.substr(0, content.size() / 2)));
  ASSERT_TRUE(outcome.damage.endsAt);
  EXPECT_LT(outcome.there, kSeconds - 2.0);
  EXPECT_NEAR(outcome.there + outcome.damage.missing, kSeconds, 0.5);
}

// The length in a Matroska file counts from the beginning of its longest stream.
TEST_F(DamagedFileTest, AStreamThatBeginsLaterIsWhole) {
  const std::string path = mDirectory.Make(
      "late.mka",
      "ffmpeg -v error -y -f lavfi -i testsrc2=d=13:s=64x64 -itsoffset 3 -i %d/noise.wav "
      "-c:v mpeg4 -c:a flac %o");
  const Outcome outcome = Read(path);
  EXPECT_NEAR(outcome.there, kSeconds, 0.01);
  EXPECT_TRUE(outcome.damage.IsNone());
}

TEST_F(DamagedFileTest, DamageOverTheBeginningOfABlockEndsWithTheNextBlock) {
  const std::pair<const char*, std::string> cases[] = {{"a.wv", "wavpack -q -y %d/noise.wav -o %o"},
                                                       {"a.wma", kFfmpeg + std::string("%o")}};
  for (const auto& [name, command] : cases) {
    const std::string bytes = BytesOf(mDirectory.Make(name, command));
    const std::size_t block =
        std::string(name) == "a.wv" ? bytes.find("wvpk", bytes.size() / 2) : bytes.size() / 2;
    std::string content = bytes;
    content.replace(block - 2000, 4000, std::string(4000, '\x55'));
    const Outcome outcome = Read(mDirectory.WriteBytes(name, content));
    ASSERT_EQ(outcome.damage.places.size(), 1U) << name;
    EXPECT_FALSE(outcome.damage.endsAt) << name;
    EXPECT_NEAR(outcome.damage.places[0], kSeconds / 2, 1.0) << name;
    EXPECT_LE(outcome.damage.missing, 1.1) << name;
    EXPECT_NEAR(outcome.there + outcome.damage.missing, kSeconds, 0.1) << name;
  }
}

// Files in these formats do not contain their length, but an end within a frame can be detected.
TEST_F(DamagedFileTest, AStreamThatEndsWithinAFrameEndsEarly) {
  const std::string mp3 = "lame --quiet -t %d/noise.wav %o";  // without its facts
  const std::pair<const char*, std::string> cases[] = {
      {"a.aac", kFfmpeg + std::string("%o")},
      {"a.ac3", kFfmpeg + std::string("%o")},
      {"a.eac3", kFfmpeg + std::string("%o")},
      {"a.mpg", kFfmpeg + std::string("-c:a ac3 %o")},
      {"a.mp2", kFfmpeg + std::string("%o")},
      {"a.mp3", mp3},
      {"v.mp3", mp3 + " -V2"},
      {"low.mp3", mp3 + " --resample 22.05 -b 64"}};
  for (const auto& [name, command] : cases) {
    const std::string path = mDirectory.Make(name, command);
    EXPECT_TRUE(Read(path).damage.IsNone()) << name;
    const std::string bytes = BytesOf(path);
    // Four places, because one of them may be the end of a frame.
    int found = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      const Outcome outcome =
          Read(mDirectory.WriteBytes(name, bytes.substr(0, bytes.size() / 2 + 61 * i)));
      EXPECT_NEAR(outcome.there, kSeconds / 2, 0.3) << name;
      if (outcome.damage.endsAt) {
        ++found;
        EXPECT_TRUE(outcome.damage.isEndUnknown) << name;
        EXPECT_NEAR(*outcome.damage.endsAt, outcome.there, 0.05) << name;
      }
    }
    EXPECT_GE(found, 3) << name;
  }
}

// The header of an ASF file contains the end of its packets; a transport stream ends with a packet.
TEST_F(DamagedFileTest, AFileWhoseSizeDoesNotFitEndsEarly) {
  const std::pair<const char*, std::string> cases[] = {
      {"a.wma", kFfmpeg + std::string("%o")},
      {"av.wmv", kPicture + std::string("-c:v wmv2 -c:a wmav2 %o")},
      {"mp2.ts", kFfmpeg + std::string("-c:a mp2 %o")},
      {"av.ts", kPicture + std::string("-c:a aac %o")},
      {"av.m2ts", kPicture + std::string("-c:a ac3 %o")}};
  for (const auto& [name, command] : cases) {
    const std::string path = mDirectory.Make(name, command);
    EXPECT_TRUE(Read(path).damage.IsNone()) << name;
    const std::size_t half = BytesOf(path).size() / 2;
    test_audio::CutOff(path, half % 4 == 0 ? half + 1 : half);
    const Outcome outcome = Read(path);
    ASSERT_TRUE(outcome.damage.endsAt) << name;
    EXPECT_NEAR(*outcome.damage.endsAt, outcome.there, 0.05) << name;
    EXPECT_LT(outcome.there, kSeconds - 2.0) << name;
  }
}

// After its packets an ASF file has an index. Seeking needs it, measuring does not.
TEST_F(DamagedFileTest, AnAsfWithoutItsIndexIsWhole) {
  const std::string path =
      mDirectory.Make("av.wmv", kPicture + std::string("-c:v wmv2 -c:a wmav2 %o"));
  test_audio::CutOff(path, BytesOf(path).size() - 10);
  EXPECT_TRUE(Read(path).damage.IsNone());
}

// The first half of one link, followed by another one.
TEST_F(DamagedFileTest, ALinkThatEndsEarlyIsDamageInTheMiddle) {
  const std::string whole = mDirectory.Make("a.ogg", "oggenc -Q -o %o %d/noise.wav");
  const std::string bytes = BytesOf(whole);
  const std::string path =
      mDirectory.WriteBytes("chain.ogg", bytes.substr(0, bytes.size() / 2) + bytes);
  const Outcome outcome = Read(path);
  ASSERT_EQ(outcome.damage.places.size(), 1U);
  EXPECT_FALSE(outcome.damage.endsAt);
  EXPECT_NEAR(outcome.damage.places[0], kSeconds / 2, 0.6);
  EXPECT_NEAR(outcome.there, 1.5 * kSeconds, 0.6);
}

// The first page of a link names its stream. Without it the other pages belong to no stream.
TEST_F(DamagedFileTest, ALinkWhoseBeginningIsLostIsNotTakenForTheEnd) {
  const std::string bytes = BytesOf(mDirectory.Make("a.ogg", "oggenc -Q -o %o %d/noise.wav"));
  const std::string other =
      BytesOf(mDirectory.Make("b.ogg", "oggenc -Q -s 4711 -o %o %d/noise.wav"));
  std::string chain = bytes + other;
  chain[bytes.size() + 40] = static_cast<char>(chain[bytes.size() + 40] ^ 1);
  const Outcome outcome = Read(mDirectory.WriteBytes("chain.ogg", chain));
  EXPECT_TRUE(outcome.damage.endsAt);
  EXPECT_NEAR(outcome.there, kSeconds, 0.001);
}

TEST_F(DamagedFileTest, AFileOfWhichNothingIsLeftIsRefused) {
  std::string content = BytesOf(mDirectory.Make("a.flac", "flac -s -o %o %d/noise.wav"));
  content.resize(9000);
  EXPECT_EQ(RefusalOf(mDirectory.WriteBytes("a.flac", content)), "cannot be decoded");
}

// A recording that was interrupted, or a download.
TEST_F(DamagedFileTest, AFileWithoutItsIndexSaysSo) {
  const std::pair<const char*, std::string> cases[] = {
      {"a.m4a", kFfmpeg + std::string("%o")}, {"a.caf", kFfmpeg + std::string("-c:a alac %o")}};
  for (const auto& [name, command] : cases) {
    std::string content = BytesOf(mDirectory.Make(name, command));
    content.resize(content.size() / 2);
    EXPECT_EQ(RefusalOf(mDirectory.WriteBytes(name, content)),
              "has no readable index: it is damaged, cut off or unfinished");
  }
}

// The errors of demuxers for it speak of arguments and devices.
TEST_F(DamagedFileTest, WhatEndsWithinItsHeaderEndsBeforeItsAudioBegins) {
  const std::pair<const char*, const char*> cases[] = {{"a.flac", "flac -s -o %o %d/noise.wav"},
                                                       {"a.mp3", "lame --quiet %d/noise.wav %o"}};
  for (const auto& [name, command] : cases) {
    std::string content = BytesOf(mDirectory.Make(name, command));
    content.resize(20);
    EXPECT_EQ(RefusalOf(mDirectory.WriteBytes(name, content)), "ends before its audio begins");
  }
}

TEST(DamageTest, ItIsNamedInOneLine) {
  EXPECT_EQ(DamageText({{62.3}, 0.06, std::nullopt}, 99.94),
            "0.06 % of the file is damaged, at 1:02.3");
  EXPECT_EQ(DamageText({{12.44, 3723.0}, 1.0, std::nullopt}, 3999.0),
            "0.03 % of the file is damaged, at 0:12.4 and 1:02:03.0");
  EXPECT_EQ(DamageText({{1, 2, 3, 4, 5, 6, 7}, 1.0, std::nullopt}, 99.0),
            "1.00 % of the file is damaged, at 0:01.0, 0:02.0, 0:03.0, 0:04.0, 0:05.0 and 2 more "
            "places");
  EXPECT_EQ(DamageText({{1, 2, 3, 4, 5, 6}, 1.0, std::nullopt}, 99.0),
            "1.00 % of the file is damaged, at 0:01.0, 0:02.0, 0:03.0, 0:04.0, 0:05.0 and 0:06.0");
  EXPECT_EQ(DamageText({{62.3}, 0.0, std::nullopt}, 99.94), "the file is damaged, at 1:02.3");
  EXPECT_EQ(DamageText({{62.3}, 0.001, std::nullopt}, 99.94),
            "less than 0.01 % of the file is damaged, at 1:02.3");
  EXPECT_EQ(DamageText({{}, 25.0, 75.0}, 75.0),
            "25.00 % of the file is missing: it ends early, at 1:15.0");
  EXPECT_EQ(DamageText({{}, 0.0, 75.0}, 75.0), "the file ends early, at 1:15.0");
  EXPECT_EQ(DamageText({{10.0}, 25.0, 75.0}, 75.0),
            "25.00 % of the file is missing: it is damaged at 0:10.0 and ends early, at 1:15.0");
  EXPECT_EQ(DamageText({{10.0}, 0.0, 75.0}, 75.0),
            "the file is damaged at 0:10.0 and ends early, at 1:15.0");
  EXPECT_EQ(DamageText({{10.0}, 0.5, 75.0, true}, 75.0),
            "the file is damaged at 0:10.0 and ends early, at 1:15.0");
}

TEST(DamageTest, APartIsAddedAtItsTimeAndNearPlacesAreOne) {
  Damage whole{{1.0}, 0.5, std::nullopt};
  AddDamage(whole, {{0.0, 0.05, 2.0}, 0.25, 3.0}, 10.0);
  EXPECT_THAT(whole.places, testing::ElementsAre(1.0, 10.0, 12.0));
  EXPECT_EQ(whole.missing, 0.75);
  EXPECT_EQ(whole.endsAt, 13.0);
}

}  // namespace
}  // namespace louddesk
