// Raw blocks of the signal-processing stage: any number of frames of any size, for any programme.
//
// Input: four bytes with the meters of the programme, one byte that selects the weights, then
// messages (Frames.h).

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "Frames.h"
#include "JsonParser.h"
#include "LoudCalcBase.h"
#include "ServiceState.h"

namespace {

constexpr char kTopic[] = "ProbeLuRawData-1";
constexpr unsigned kMaxBlocks = 64;

void TakeProgramme(fuzz::Input& input) {
  const auto meters = static_cast<std::uint32_t>(input.TakeNumber(4));
  const unsigned seed = input.TakeByte();
  for (std::uint32_t meter = 1; meter <= kRawMeters; ++meter)
    if ((meters >> (meter - 1) & 1u) != 0)
      cJsonParser::SetChannelWeight(meter, LoudnessSpeakerWeight[(meter + seed) % AST_SPEAKER_MAX]);
}

// Entry `index` of a frame of T; false past its end.
template <typename T>
bool EntryOf(zframe_t* frame, unsigned index, T& entry) {
  if (zframe_size(frame) < (index + 1) * sizeof(T))
    return false;
  std::memcpy(&entry, zframe_data(frame) + index * sizeof(T), sizeof(T));
  return true;
}

std::uint64_t Weighted(std::uint64_t power, double weight) {
  const long double product = static_cast<long double>(static_cast<double>(power) * weight);
  return product >= 18446744073709551616.0L ? std::numeric_limits<std::uint64_t>::max()
                                            : static_cast<std::uint64_t>(product);
}

struct Block {
  std::uint64_t power = 0;
  std::uint32_t peak = 0;
};

// The block in a message, computed independently of its reader; false if there is none.
bool ExpectedBlock(zmsg_t* message, Block& block) {
  if (cJsonParser::mlMetersInProgram == 0 || zmsg_size(message) < 3)
    return false;
  zframe_t* peaks = zmsg_first(message);
  zframe_t* powers = zmsg_next(message);
  zframe_t* spare = zmsg_next(message);
  if (zframe_size(peaks) == 0 || zframe_size(powers) == 0 || zframe_size(spare) == 0)
    return false;
  for (unsigned i = 0; i < kRawMeters; ++i) {
    if ((cJsonParser::mlMetersInProgram >> i & 1u) == 0)
      continue;
    std::uint64_t power = 0;
    std::uint32_t peak = 0;
    const double weight = cJsonParser::mChannelWeights[i];
    if ((weight > 0 && !EntryOf(powers, i, power)) || !EntryOf(peaks, i, peak))
      return false;
    if (weight > 0)
      block.power += Weighted(power, weight);
    block.peak = std::max(block.peak, peak);
  }
  return true;
}

// Only the low 16 bits of a peak reach the engine, which has a true peak once it has warmed up. The
// engine computes in single precision, so the last digit may differ.
void CheckPeak(std::uint32_t peak) {
  const auto level = static_cast<std::uint16_t>(std::max(peak, 1u));
  const double dbtp = level == 0 ? -99.0 : 20 * std::log10(level / 32768.0);
  FUZZ_PROPERTY(std::abs(LuData.TruePeak - 100 * dbtp) <= 1.5,
                "the true peak is that of the loudest meter");
}

void CheckBlock(zmsg_t* message) {
  const fuzz::ServiceState before = fuzz::TakeState();
  const bool isWarm = SampleCounts.DspSubSample > 2;
  const std::size_t slot = DspCircBufIndex;
  Block block;
  const bool isExpected = ExpectedBlock(message, block);
  FUZZ_PROPERTY(cJsonParser::ParseBinaryMessage(kTopic, message) == 0, "raw data ends no loop");

  fuzz::CheckOnlyChanged(before, {false, false, false, false, false, false, false, isExpected});
  fuzz::CheckState();
  if (!isExpected)
    return;
  FUZZ_PROPERTY(DspCircBuf[slot] == std::max<std::uint64_t>(block.power, 1),
                "the engine is run with the weighted sum, 1 for none");
  FUZZ_PROPERTY(DspCircBufIndex == (slot + 1) % kMomentaryBlocks, "the engine is run once");
  if (isWarm)
    CheckPeak(block.peak);
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  StartService(1, 1);
  TakeProgramme(input);
  for (unsigned i = 0; i < kMaxBlocks && !input.IsEmpty(); ++i)
    CheckBlock(TakeMessage(input).get());
}
