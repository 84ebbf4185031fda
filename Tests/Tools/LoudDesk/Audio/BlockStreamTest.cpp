// The blocks that a unit publishes for a source of samples.

#include "BlockStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <limits>

#include "TestAudio.h"
#include "TestSignals.h"

namespace {

using louddesk::BlockReading;
using louddesk::BlockStream;
using louddesk::MakeSource;
using louddesk::Tone;

louddesk::StepSignal ToneOf(double seconds, double levelDb) {
  louddesk::StepSignal tone = Tone(997, levelDb);
  tone.steps.front().seconds = seconds;
  return tone;
}

unsigned BlocksIn(BlockStream& stream) {
  unsigned blocks = 0;
  BlockReading block;
  while (stream.Next(block))
    ++blocks;
  return blocks;
}

TEST(BlockStreamTest, WholeBlocksAreRead) {
  BlockStream half("tone", MakeSource(ToneOf(0.55, -20), 48000));
  EXPECT_EQ(5u, BlocksIn(half));
  BlockReading block;
  EXPECT_FALSE(half.Next(block)) << "a block follows the end";
  // 11025 Hz: 1102.5 frames per block. Ten seconds must still be a hundred blocks.
  BlockStream odd("tone", MakeSource(ToneOf(10, -20), 11025));
  EXPECT_EQ(100u, BlocksIn(odd));
}

TEST(BlockStreamTest, LessThanABlockIsNone) {
  BlockStream stream("tone", MakeSource(ToneOf(0.099, -20), 48000));
  EXPECT_EQ(0u, BlocksIn(stream));
}

// L = 10 log10(P) - 152.6905962 - 0.6974. A sine of 997 Hz on one channel reads 3.01 LU less than
// its peak level.
TEST(BlockStreamTest, BlockHasPowerAndPeakOfEachChannel) {
  louddesk::StepSignal signal = ToneOf(1, -20);
  signal.steps.front().levels = {-20, -40};
  BlockStream stream("tone", MakeSource(signal, 48000));
  BlockReading block;
  for (int i = 0; i < 10; ++i)
    ASSERT_TRUE(stream.Next(block));
  const auto loudness = [&block](std::size_t meter) {
    return 10 * std::log10(static_cast<double>(block.powers[meter])) - 152.6905962 - 0.6974;
  };
  EXPECT_NEAR(-23.01, loudness(0), 0.01);
  EXPECT_NEAR(-43.01, loudness(1), 0.01);
  EXPECT_NEAR(3276.8, block.peaks[0], 10);
  EXPECT_NEAR(327.7, block.peaks[1], 2);
  EXPECT_EQ(0u, block.powers[2]);
  EXPECT_EQ(0u, block.peaks[2]);
}

// A second of two channels is ten blocks. The rest is less than a block.
TEST(BlockStreamTest, SampleThatIsNotANumberIsNamedBehindTheLastWholeBlockToo) {
  const test_audio::AudioDirectory audio;
  test_audio::Samples samples(2 * (48000 + 100), 0.0);
  samples.back() = std::numeric_limits<double>::quiet_NaN();
  const std::string path =
      audio.Write("bad.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 48000, 2, samples);
  BlockStream stream(path, louddesk::OpenFileSource(path, std::nullopt));
  BlockReading block;
  for (int i = 0; i < 10; ++i)
    ASSERT_TRUE(stream.Next(block));
  try {
    stream.Next(block);
    FAIL() << "no error was thrown";
  } catch (const louddesk::AudioFileError& error) {
    EXPECT_EQ(path + ": contains a sample that is not a number in channel 2, frame 48099 (1.002 s)",
              error.what());
  }
}

TEST(BlockStreamTest, SampleThatIsNotANumberIsNamedWithItsPlace) {
  const test_audio::AudioDirectory audio;
  test_audio::Samples samples(2 * 48000, 0.0);
  samples[2 * 24000 + 1] = std::numeric_limits<double>::quiet_NaN();
  const std::string path =
      audio.Write("bad.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 48000, 2, samples);
  BlockStream stream(path, louddesk::OpenFileSource(path, std::nullopt));
  try {
    BlocksIn(stream);
    FAIL() << "no error was thrown";
  } catch (const louddesk::AudioFileError& error) {
    EXPECT_EQ(path + ": contains a sample that is not a number in channel 2, frame 24000 (0.500 s)",
              error.what());
  }
}

}  // namespace
