// Raw blocks with missing, empty, short or huge frames.

#include "BadInputTest.h"

namespace {

using louddesk::LoudnessMessage;

constexpr std::size_t kPeakBytes = 32 * 4;
constexpr std::size_t kPowerBytes = 32 * 8;

struct RawCase {
  const char* name;
  Texts frames;
};

void PrintTo(const RawCase& raw, std::ostream* stream) {
  *stream << raw.name;
}

class UnusableRawMessageTest : public BadInputTest, public testing::WithParamInterface<RawCase> {};

TEST_P(UnusableRawMessageTest, IsLoggedAndDropped) {
  mUnit.SendRawFrames(FramesOf(GetParam().frames));
  ExpectLogLine("\"Raw loudness data dropped: ");
  ExpectMeasuresOn();
}

const std::string kPeaks(kPeakBytes, '\1');
const std::string kPowers(kPowerBytes, '\1');

INSTANTIATE_TEST_SUITE_P(
    Frames, UnusableRawMessageTest,
    testing::Values(RawCase{"NoFrames", {}},                           //
                    RawCase{"PeaksOnly", {kPeaks}},                    //
                    RawCase{"PeaksAndPowersOnly", {kPeaks, kPowers}},  //
                    RawCase{"EmptyPeaks", {"", kPowers, "x"}},         //
                    RawCase{"EmptyPowers", {kPeaks, "", "x"}},         //
                    RawCase{"EmptySpare", {kPeaks, kPowers, ""}},      //
                    RawCase{"AllEmpty", {"", "", ""}},                 //
                    RawCase{"PeaksShortOfMeterSix", {kPeaks.substr(0, 23), kPowers, "x"}},
                    RawCase{"PowersShortOfMeterSix", {kPeaks, kPowers.substr(0, 47), "x"}},
                    RawCase{"OneByteEach", {"a", "b", "c"}}),
    NameOf<RawCase>);

class UsableRawMessageTest : public BadInputTest, public testing::WithParamInterface<RawCase> {};

TEST_P(UsableRawMessageTest, IsMeasured) {
  const louddesk::Frames frames = FramesOf(GetParam().frames);
  for (int i = 0; i < 8; ++i)
    mUnit.SendRawFrames(frames);
  ExpectCadenceKept();
  // Powers of 0x0101010101010101 = 7.234e16: 10 log10 (5.82 x 7.234e16) - 153.388 = 22.9 LKFS.
  ExpectData([](const LoudnessMessage& message) { return message.data.Momentary > 200; },
             "the level of the message");
  ExpectMeasures(-30);
}

std::string HugeOnes() {
  return std::string(32u << 20, '\1');
}

INSTANTIATE_TEST_SUITE_P(Frames, UsableRawMessageTest,
                         testing::Values(RawCase{"FramesThatEndWithMeterSix",
                                                 {kPeaks.substr(0, 24), kPowers.substr(0, 48),
                                                  "x"}},
                                         RawCase{"HugeFrames", {HugeOnes, HugeOnes, "x"}},
                                         RawCase{"HugeSpare", {kPeaks, kPowers, HugeOnes}},
                                         RawCase{"TenThousandFramesMore",
                                                 [] {
                                                   Texts frames = {kPeaks, kPowers};
                                                   frames.resize(10000, "x");
                                                   return frames;
                                                 }()}),
                         NameOf<RawCase>);

}  // namespace
