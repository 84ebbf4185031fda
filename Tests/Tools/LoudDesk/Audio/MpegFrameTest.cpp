// Headers of MPEG audio whose frames are known.

#include "MpegFrame.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

struct KnownFrame {
  const char* name;
  unsigned char header[kMpegHeader];
  std::size_t size;  // by ISO/IEC 11172-3, 2.4.3.1, and 13818-3, 2.4.3.1
};

// Size in bytes: 144 (72 if a frame has half the samples) x bit rate / sample rate, plus 1 for
// padding. In layer I: 12 x bit rate / sample rate, plus 1 for padding, times four.
constexpr KnownFrame kFrames[] = {
    {"MP3, 128 kbit/s, 44.1 kHz", {0xFF, 0xFB, 0x90, 0x00}, 417},
    {"the same with padding", {0xFF, 0xFB, 0x92, 0x00}, 418},
    {"MP3, 320 kbit/s, 48 kHz", {0xFF, 0xFB, 0xE4, 0x00}, 960},
    {"MP3, 64 kbit/s, 22.05 kHz", {0xFF, 0xF3, 0x80, 0x00}, 208},
    {"MP3, 8 kbit/s, 8 kHz", {0xFF, 0xE3, 0x18, 0x00}, 72},
    {"MP2, 384 kbit/s, 48 kHz", {0xFF, 0xFD, 0xE4, 0x00}, 1152},
    {"MP2, 64 kbit/s, 24 kHz", {0xFF, 0xF5, 0x84, 0x00}, 384},
    {"layer I, 384 kbit/s, 32 kHz with padding", {0xFF, 0xFF, 0xCA, 0x00}, 580},
    {"free format", {0xFF, 0xFB, 0x00, 0x00}, 0},
};

TEST(MpegFrameTest, TheHeaderSaysHowLongTheFrameIs) {
  for (const KnownFrame& frame : kFrames) {
    EXPECT_TRUE(IsMpegHeader(frame.header)) << frame.name;
    EXPECT_EQ(MpegFrameSize(frame.header), frame.size) << frame.name;
  }
}

TEST(MpegFrameTest, ReservedValuesAreNotAHeader) {
  constexpr unsigned char kOthers[][kMpegHeader] = {
      {0xFE, 0xFB, 0x90, 0x00}, {0xFF, 0xDB, 0x90, 0x00}, {0xFF, 0xEB, 0x90, 0x00},
      {0xFF, 0xF9, 0x90, 0x00}, {0xFF, 0xFB, 0xF0, 0x00}, {0xFF, 0xFB, 0x9C, 0x00}};
  for (const auto& other : kOthers)
    EXPECT_FALSE(IsMpegHeader(other)) << int{other[1]} << " " << int{other[2]};
}

}  // namespace
}  // namespace louddesk
