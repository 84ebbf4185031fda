// Raw blocks with missing, empty, short or huge frames.

#include "BadInputTest.h"

namespace {

using louddesk::LoudnessMessage;

constexpr std::size_t kPeakBytes = 32 * 4;
constexpr std::size_t kPowerBytes = 32 * 8;

const std::string kPeaks(kPeakBytes, '\1');
const std::string kPowers(kPowerBytes, '\1');

struct RawRow {
  const char* name;
  louddesk::Frames frames;
};

class BadRawMessageTest : public BadInputTest {};

TEST_F(BadRawMessageTest, UnusableOneIsLoggedAndDropped) {
  const std::vector<RawRow> rows = {
      {"NoFrames", {}},
      {"PeaksOnly", {kPeaks}},
      {"PeaksAndPowersOnly", {kPeaks, kPowers}},
      {"EmptyPeaks", {"", kPowers, "x"}},
      {"EmptyPowers", {kPeaks, "", "x"}},
      {"EmptySpare", {kPeaks, kPowers, ""}},
      {"AllEmpty", {"", "", ""}},
      {"PeaksShortOfMeterSix", {kPeaks.substr(0, 23), kPowers, "x"}},
      {"PowersShortOfMeterSix", {kPeaks, kPowers.substr(0, 47), "x"}},
      {"OneByteEach", {"a", "b", "c"}},
  };
  ForEachRow(rows, [this](const RawRow& row) {
    mUnit.DropLogLines();
    mUnit.SendRawFrames(row.frames);
    ExpectLogLine("\"Raw loudness data dropped: ");
    ExpectMeasuresOn();
  });
}

TEST_F(BadRawMessageTest, UsableOneIsMeasured) {
  const std::string hugeOnes(32u << 20, '\1');
  louddesk::Frames tenThousandMore = {kPeaks, kPowers};
  tenThousandMore.resize(10000, "x");
  const std::vector<RawRow> rows = {
      {"FramesThatEndWithMeterSix", {kPeaks.substr(0, 24), kPowers.substr(0, 48), "x"}},
      {"HugeFrames", {hugeOnes, hugeOnes, "x"}},
      {"HugeSpare", {kPeaks, kPowers, hugeOnes}},
      {"TenThousandFramesMore", tenThousandMore},
  };
  ForEachRow(rows, [this](const RawRow& row) {
    for (int i = 0; i < 8; ++i)
      mUnit.SendRawFrames(row.frames);
    // Powers of 0x0101010101010101 = 7.234e16: 10 log10 (5.82 x 7.234e16) - 153.388 = 22.9 LKFS.
    ExpectData([](const LoudnessMessage& message) { return message.data.Momentary > 200; },
               "the level of the message");
    ExpectMeasuresOn();
  });
}

}  // namespace
