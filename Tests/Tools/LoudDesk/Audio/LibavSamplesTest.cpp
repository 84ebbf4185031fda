// Every sample format, interleaved and planar, read in pieces.

#include "LibavSamples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace louddesk {
namespace {

using testing::ElementsAre;

constexpr int kFrames = 3;

// A frame of two channels. `samples` has all samples of the first channel, then those of the
// second.
template <typename Sample>
LibavHandle<AVFrame> FrameOf(AVSampleFormat form, const std::vector<Sample>& samples) {
  LibavHandle<AVFrame> frame(av_frame_alloc());
  frame->format = form;
  frame->nb_samples = kFrames;
  av_channel_layout_default(&frame->ch_layout, 2);
  EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
  const bool isPlanar = av_sample_fmt_is_planar(form) != 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::size_t channel = i / kFrames;
    const std::size_t at = i % kFrames;
    auto* plane = reinterpret_cast<Sample*>(frame->extended_data[isPlanar ? channel : 0]);
    plane[isPlanar ? at : at * 2 + channel] = samples[i];
  }
  return frame;
}

template <typename Sample>
void ExpectScale(AVSampleFormat interleaved, AVSampleFormat planar,
                 const std::vector<Sample>& samples, const std::vector<double>& expected) {
  for (const AVSampleFormat form : {interleaved, planar}) {
    const auto frame = FrameOf<Sample>(form, samples);
    std::vector<double> read(2 * kFrames);
    const SampleReader reader = SampleReaderFor(form);
    ASSERT_NE(reader, nullptr) << form;
    reader(*frame, 0, 1, read.data());
    reader(*frame, 1, 2, read.data() + 2);
    EXPECT_THAT(read, ElementsAre(expected[0], expected[3], expected[1], expected[4], expected[2],
                                  expected[5]))
        << av_get_sample_fmt_name(form);
  }
}

TEST(LibavSamplesTest, UnsignedBytesHaveTheirZeroInTheMiddle) {
  ExpectScale<std::uint8_t>(AV_SAMPLE_FMT_U8, AV_SAMPLE_FMT_U8P, {0, 128, 255, 64, 192, 129},
                            {-1.0, 0.0, 127.0 / 128.0, -0.5, 0.5, 1.0 / 128.0});
}

TEST(LibavSamplesTest, IntegersReachFromMinusOneToAStepBelowOne) {
  ExpectScale<std::int16_t>(AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16P,
                            {INT16_MIN, 0, INT16_MAX, 16384, -16384, 1},
                            {-1.0, 0.0, 32767.0 / 32768.0, 0.5, -0.5, 1.0 / 32768.0});
  ExpectScale<std::int32_t>(
      AV_SAMPLE_FMT_S32, AV_SAMPLE_FMT_S32P, {INT32_MIN, 0, INT32_MAX, 1 << 30, -(1 << 30), 1},
      {-1.0, 0.0, 2147483647.0 / 2147483648.0, 0.5, -0.5, 1.0 / 2147483648.0});
  ExpectScale<std::int64_t>(
      AV_SAMPLE_FMT_S64, AV_SAMPLE_FMT_S64P,
      {INT64_MIN, 0, std::int64_t{1} << 61, std::int64_t{1} << 62, -(std::int64_t{1} << 62), 1},
      {-1.0, 0.0, 0.25, 0.5, -0.5, 1.0 / 9223372036854775808.0});
}

TEST(LibavSamplesTest, FloatingPointIsLeftAsItIs) {
  const std::vector<double> values = {-1.5, 0.0, 1e-20, 0.5, 3.0, -0.25};
  const std::vector<float> singles = {-1.5F, 0.0F, 1e-20F, 0.5F, 3.0F, -0.25F};
  ExpectScale<double>(AV_SAMPLE_FMT_DBL, AV_SAMPLE_FMT_DBLP, values, values);
  ExpectScale<float>(AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_FLTP, singles,
                     {singles.begin(), singles.end()});
}

TEST(LibavSamplesTest, EveryFormOfTheLibraryIsKnown) {
  for (int form = 0; form < AV_SAMPLE_FMT_NB; ++form)
    EXPECT_NE(SampleReaderFor(form), nullptr) << form;
  EXPECT_EQ(SampleReaderFor(AV_SAMPLE_FMT_NONE), nullptr);
  EXPECT_EQ(SampleReaderFor(AV_SAMPLE_FMT_NB), nullptr);
}

}  // namespace
}  // namespace louddesk
