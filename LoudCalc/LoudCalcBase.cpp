// Loudness calculator, one per process. Its state is written here, on the reactor thread only.

#include "LoudCalcBase.h"

#include <cmath>

#include "Bin.h"
#include "DispatcherHook.h"
#include "LoudConfigUser.h"

namespace {

constexpr std::uint32_t kProgramBlocks = kMaxWindowReadings;
static_assert(kMaxIntegWinSecs * kBlocksPerSecond == kMaxWindowReadings);

// A ring holds one code more than the longest window fed from it: the newest is written before the
// oldest is removed.
constexpr std::uint32_t kMomentaryRingCodes = kMaxWindowReadings + 1;
constexpr std::uint32_t kLraRingCodes = kMaxLraWinSecs + 1;

// The last block of warm-up, and the blocks of each second on which a figure is refreshed. They are
// spread out so that no block must compute several figures.
constexpr std::uint8_t kLastWarmUpSubSample = 2;
constexpr std::uint8_t kLraSample = 2;
constexpr std::uint8_t kProgramSample = 4;
constexpr std::uint8_t kIntegratedSample = 7;
constexpr std::uint8_t kLastSample = 9;
constexpr std::uint8_t kMaxShortTermSubSample = 59;

constexpr float kNoTruePeakDbtp = -99.0F;
constexpr double kFullScalePeakDb = 90.3087;  // 20 log10(kFullScalePeak)

}  // namespace

ChanConfig_s ChanConfig;
SampleCounts_s SampleCounts;
bool LoudInitError = false;
cCircBuf* pCbBinMomLoud = nullptr;
cCircBuf* pCbBinLra = nullptr;
cLoudInteg* pProgramLoud = nullptr;
cLoudInteg* pShortTermLoud = nullptr;
cLoudInteg* pLraLoud = nullptr;
cLoudInteg* pIntegLoud = nullptr;
std::uint64_t DspPowerSum = 0;
std::array<std::uint64_t, kMomentaryBlocks> DspCircBuf{};
std::uint8_t DspCircBufIndex = 0;
LoudCalcResultsAll_s LoudCalcResultsAll;
LoudnessData_t LuData;
LoudnessData_t LuPausedData;

namespace {

void CreateRings() {
  pCbBinMomLoud = new cCircBuf(kMomentaryRingCodes);
  pCbBinLra = new cCircBuf(kLraRingCodes);
}

void CreateIntegrators() {
  pProgramLoud = new cLoudInteg(kLoudnessGateLu, pCbBinMomLoud);
  pShortTermLoud = new cLoudInteg(kNoGateLu, pCbBinMomLoud);
  pLraLoud = new cLoudInteg(kLraGateLu, pCbBinLra);
  pIntegLoud = new cLoudInteg(kLoudnessGateLu, pCbBinMomLoud);
}

void ResetHistory() {
  pCbBinMomLoud->Reset();
  pCbBinLra->Reset();
  DspCircBufIndex = 0;
  DspCircBuf.fill(0);
  DspPowerSum = 0;
  SampleCounts = SampleCounts_s{};
}

void ResetIntegrators() {
  pProgramLoud->Reset(kProgramBlocks);
  pShortTermLoud->Reset(kShortTermBlocks);
  pIntegLoud->Reset(GetIntegWinTime() * kBlocksPerSecond);
  pLraLoud->Reset(GetLraWinTime());
}

// A programme may span several measurements. Its loudness is kept until a new reading replaces it.
void ResetResults() {
  const float program = LoudCalcResultsAll.Program;
  LoudCalcResultsAll = LoudCalcResultsAll_s{};
  LoudCalcResultsAll.Program = program;
  LuData = LoudnessData_t{};
}

bool IsWarmingUp() {
  return SampleCounts.DspSubSample <= kLastWarmUpSubSample;
}

void AddMomentaryCode(std::uint16_t code) {
  pCbBinMomLoud->AddElement(code);
  pProgramLoud->AddNewSample(code);
  pShortTermLoud->AddNewSample(code);
  pIntegLoud->AddNewSample(code);
}

void AddLraCode(std::uint16_t code) {
  pCbBinLra->AddElement(code);
  pLraLoud->AddNewSample(code);
}

void FinishSecond() {
  SampleCounts.MomSample = 0;
  AddLraCode(Cbin::GetBinIndx(LoudCalcResultsAll.ShortTerm));
  if (SampleCounts.ShortTermSubSample < kMaxShortTermSubSample)
    ++SampleCounts.ShortTermSubSample;
}

// These figures are the costly ones, so each is refreshed on a different block of the second.
void UpdateSlowFigures() {
  if (SampleCounts.MomSample == kLraSample) {
    // Always true, because the counter stops at this value.
    if (SampleCounts.ShortTermSubSample <= kMaxShortTermSubSample)
      LoudCalcResultsAll.LRA = pLraLoud->GetLra();
  } else if (SampleCounts.MomSample == kProgramSample) {
    LoudCalcResultsAll.Program = pProgramLoud->GetGatedLkfsReading();
  } else if (SampleCounts.MomSample == kIntegratedSample) {
    LoudCalcResultsAll.Integrated = pIntegLoud->GetGatedLkfsReading();
  } else if (SampleCounts.MomSample > kLastSample) {
    FinishSecond();
  }
}

std::int16_t RoundedCode(float value) {
  return static_cast<std::int16_t>(std::lround(value));  // halves away from zero
}

std::int16_t LoudnessCode(float lkfs) {
  return lkfs > kNoLoudnessLkfs ? RoundedCode(lkfs * 10) : kNoLoudnessCode;
}

std::int16_t TruePeakCode(float dbtp) {
  return RoundedCode(dbtp * 100);
}

void UpdateTruePeak(std::uint16_t peak) {
  LoudCalcResultsAll.TruePeak = GetTruePeak(peak);
  if (peak == 0 || LoudCalcResultsAll.TruePeak < kNoTruePeakDbtp) {
    LoudCalcResultsAll.TruePeak = kNoTruePeakDbtp;
    LuData.TruePeak = kNoTruePeakCode;
  } else {
    LuData.TruePeak = TruePeakCode(LoudCalcResultsAll.TruePeak);
  }
}

void UpdateMaxTruePeak() {
  if (LoudCalcResultsAll.MaxTruePeak < LoudCalcResultsAll.TruePeak) {
    LoudCalcResultsAll.MaxTruePeak = LoudCalcResultsAll.TruePeak;
    LuData.MaxTruePeak = LuData.TruePeak;
  } else {
    LuData.MaxTruePeak = TruePeakCode(LoudCalcResultsAll.MaxTruePeak);
  }
}

void CodeLoudness() {
  LuData.MaxMomentary = LoudnessCode(LoudCalcResultsAll.MaxMomentary);
  LuData.Momentary = LoudnessCode(LoudCalcResultsAll.Momentary);
  LuData.ShortTerm = LoudnessCode(LoudCalcResultsAll.ShortTerm);
  LuData.Integrated = LoudnessCode(LoudCalcResultsAll.Integrated);
  LuData.Program = LoudnessCode(LoudCalcResultsAll.Program);
  LuData.Lra = static_cast<std::int16_t>(LoudCalcResultsAll.LRA * 10);  // toward zero, not rounded
}

// The sum is updated by adding the newest power and subtracting the oldest.
void SlidePowerSum(std::uint64_t power) {
  const std::uint64_t oldest = DspCircBuf[DspCircBufIndex];
  DspCircBuf[DspCircBufIndex] = power;
  DspCircBufIndex = static_cast<std::uint8_t>((DspCircBufIndex + 1U) % kMomentaryBlocks);
  if (DspPowerSum < oldest) {
    PrintEngineFault("DspCircBuf underflow.\n");
    DspPowerSum = power;
  } else {
    DspPowerSum = DspPowerSum + power - oldest;
  }
}

}  // namespace

std::uint32_t LoudCalcInit() {
  Cbin::InitBinCenters();
  LoudInitError = true;
  CreateRings();
  CreateIntegrators();
  LoudCalcReset();
  LoudInitError = false;
  gpFetchedDispatcher = gpFetchDispatcher != nullptr ? gpFetchDispatcher() : nullptr;
  return static_cast<std::uint32_t>(LoudInitError);
}

void LoudCalcReset() {
  ResetHistory();
  ResetIntegrators();
  ResetResults();
}

void LoudCalcCleanup() {
  delete pCbBinMomLoud;
  delete pCbBinLra;
  delete pProgramLoud;
  delete pShortTermLoud;
  delete pLraLoud;
  delete pIntegLoud;
}

void LoudSetChanConfig(const ChanConfig_s* chanConfig) {
  ChanConfig = *chanConfig;
}

void LoudCalcUpdate(std::uint64_t power, std::uint16_t peak) {
  if (IsWarmingUp()) {
    ++SampleCounts.DspSubSample;
    MomLoudnessUpdate(power);
    return;
  }
  ++SampleCounts.MomSample;
  LoudCalcResultsAll.Momentary = MomLoudnessUpdate(power);
  AddMomentaryCode(Cbin::GetBinIndx(LoudCalcResultsAll.Momentary));
  LoudCalcResultsAll.ShortTerm = pShortTermLoud->GetGatedLkfsReading();
  UpdateSlowFigures();
  UpdateTruePeak(peak);
  UpdateMaxTruePeak();
  CodeLoudness();
}

float MomLoudnessUpdate(std::uint64_t power) {
  SlidePowerSum(power);
  const float momentary = DspPowerSum >= kMomentaryBlocks
                              ? LoudnessOfPower(DspPowerSum / kMomentaryBlocks)
                              : kNoLoudnessLkfs;
  if (LoudCalcResultsAll.MaxMomentary < momentary)
    LoudCalcResultsAll.MaxMomentary = momentary;
  return momentary;
}

float GetTruePeak(std::uint16_t peak) {
  if (peak == 0)
    return kNoTruePeakDbtp;
  const float level = 20.0F * std::log10(static_cast<float>(peak));
  return static_cast<float>(static_cast<double>(level) - kFullScalePeakDb);
}
