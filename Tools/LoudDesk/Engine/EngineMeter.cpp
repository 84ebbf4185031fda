// Blocks through dispatcher and engine.

#include "EngineMeter.h"

#include <czmq.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "BlockMeter.h"
#include "Endpoints.h"
#include "JsonParser.h"
#include "LoudCalcBase.h"
#include "LoudConfigUser.h"

namespace louddesk {
namespace {

constexpr std::uint32_t kMeterSet = 1;

// Content of the last frame, which must be there but means nothing.
constexpr char kSpareFrame[] = "-";

// After a reset the engine only fills its 400 ms, without looking at the peaks.
constexpr std::uint64_t kWarmUpBlocks = kMomentaryBlocks - 1;

constexpr double kTwoTo64 = 18446744073709551616.0;

float WeightOf(const std::string& speaker) {
  return LoudnessSpeakerWeight[SpeakerTypeOf(speaker)];
}

std::optional<double> Reading(float loudness) {
  if (loudness <= kNoLoudnessLkfs)
    return std::nullopt;
  return loudness;
}

// True when the sum over the window, which the engine keeps modulo 2^64, has wrapped around. Gates
// leave out low powers only, which do not matter here.
bool HasWrapped(const cLoudInteg& integrator) {
  double sum = 0.0;
  for (std::size_t code = 0; code < std::size(integrator.Bins.Bins); ++code)
    sum += static_cast<double>(integrator.Bins.Bins[code]) *
           static_cast<double>(Cbin::BinCenters[code]);
  return sum >= kTwoTo64;
}

std::optional<double> LraReading() {
  if (pLraLoud->GetLraGate() < kAbsoluteGateLkfs)
    return std::nullopt;
  return pLraLoud->GetLra();
}

std::optional<double> PeakReading(std::uint32_t peak) {
  if (peak == 0)
    return std::nullopt;
  return GetTruePeak(static_cast<std::uint16_t>(peak));
}

// The relative gate has an effect only above the absolute one.
std::optional<double> RelativeGate(const cLoudInteg& integrator) {
  const float gate = integrator.Bins.GetLoudnessLkfs(kAbsoluteGateLkfs) + integrator.RelativeGate;
  if (gate < kAbsoluteGateLkfs)
    return std::nullopt;
  return gate;
}

void ReadLraEnds(const cLoudInteg& integrator, LoudnessDistribution& distribution) {
  const float gate = integrator.GetLraGate();
  if (gate < kAbsoluteGateLkfs)
    return;
  const LraEnds ends = integrator.Bins.GetLraEnds(Cbin::GetBinIndx(gate));
  if (ends.low == 0)
    return;
  distribution.lraLow = LoudnessOfCode(static_cast<std::size_t>(ends.low));
  distribution.lraHigh = LoudnessOfCode(static_cast<std::size_t>(ends.high));
}

}  // namespace

EngineMeter::EngineMeter() : mMaxShortTerm(kNoLoudnessLkfs) {
  cJsonParser::GetInstance();
  SetIntegWinTime(kMaxIntegWinSecs);
  SetLraWinTime(kMaxLraWinSecs);
  LoudCalcInit();
}

EngineMeter::~EngineMeter() {
  LoudCalcCleanup();
}

void EngineMeter::Start(const SpeakerLayout& speakers) {
  mSpeakers = speakers;
  cJsonParser::ResetLu();
  std::uint32_t meter = 0;
  for (const std::string& speaker : speakers)
    cJsonParser::SetChannelWeight(++meter, WeightOf(speaker));
  LoudCalcReset();
  mBlocks = 0;
  mHasEnded = false;
  mUnseenPeak = 0;
  mLargestPeak = 0;
  mLastPeak = 0;
  mMaxShortTerm = kNoLoudnessLkfs;
  mAreBlocksAtEnd = false;
  mAreCodesAtEnd = false;
}

void EngineMeter::Feed(const BlockReading& reading) {
  zmsg_t* message = zmsg_new();
  zmsg_addmem(message, reading.peaks.data(), sizeof reading.peaks);
  zmsg_addmem(message, reading.powers.data(), sizeof reading.powers);
  zmsg_addstr(message, kSpareFrame);
  NumberedTopic_t topic = {};
  FormatRawDataTopic(topic, kMeterSet);
  cJsonParser::ParseBinaryMessage(topic, message);
  zmsg_destroy(&message);

  CountPeak(reading);
  if (mBlocks < kWarmUpBlocks)
    mUnseenPeak = mLargestPeak;
  mMaxShortTerm = std::max(mMaxShortTerm, LoudCalcResultsAll.ShortTerm);
  mAreBlocksAtEnd = mAreBlocksAtEnd || ReachesTheEnd(reading);
  mAreCodesAtEnd = mAreCodesAtEnd || LoudCalcResultsAll.Momentary >= kEndOfCodesLkfs;
  ++mBlocks;
}

void EngineMeter::FeedRest(const BlockReading& reading) {
  CountPeak(reading);
  mUnseenPeak = std::max(mUnseenPeak, mLastPeak);
  mHasEnded = true;
}

void EngineMeter::CountPeak(const BlockReading& reading) {
  mLastPeak = *std::max_element(reading.peaks.begin(), reading.peaks.end());
  mLargestPeak = std::max(mLargestPeak, mLastPeak);
}

bool EngineMeter::ReachesTheEnd(const BlockReading& reading) const {
  const std::uint64_t end = LargestBlockPower(mSpeakers.size());
  for (std::size_t i = 0; i < mSpeakers.size(); ++i)
    if (reading.powers[i] >= end && WeightOf(mSpeakers[i]) > 0.0F)
      return true;
  return false;
}

Figures EngineMeter::Read() const {
  Figures figures;
  figures.truePeak = PeakReading(mLastPeak);
  if (mLargestPeak > 0)
    figures.maxTruePeak = std::max(LoudCalcResultsAll.MaxTruePeak,
                                   GetTruePeak(static_cast<std::uint16_t>(mUnseenPeak)));
  figures.isPeakAtLeast = mLargestPeak >= kLargestPeak;
  if (mBlocks > kWarmUpBlocks)
    ReadLoudness(figures);
  return figures;
}

void EngineMeter::ReadLoudness(Figures& figures) const {
  figures.isMomentaryAtLeast = mAreBlocksAtEnd;
  figures.isLoudnessAtLeast = mAreBlocksAtEnd || mAreCodesAtEnd;
  figures.maxMomentary = Reading(LoudCalcResultsAll.MaxMomentary);
  figures.maxShortTerm = Reading(mMaxShortTerm);
  if (!mHasEnded) {
    figures.momentary = Reading(LoudCalcResultsAll.Momentary);
    figures.shortTerm = Reading(LoudCalcResultsAll.ShortTerm);
  }
  const bool hasIntegratedWrapped = HasWrapped(*pIntegLoud);
  const bool hasRangeWrapped = HasWrapped(*pLraLoud);
  figures.overflowed = hasIntegratedWrapped || hasRangeWrapped;
  if (!hasIntegratedWrapped)
    figures.integrated = Reading(pIntegLoud->GetGatedLkfsReading());
  if (!hasRangeWrapped && !figures.isLoudnessAtLeast)
    figures.lra = LraReading();
}

LoudnessDistribution EngineMeter::ReadDistribution() const {
  LoudnessDistribution distribution;
  const auto& bins = pIntegLoud->Bins.Bins;
  distribution.readings.assign(bins.begin(), bins.end());
  if (!HasWrapped(*pIntegLoud))
    distribution.relativeGate = RelativeGate(*pIntegLoud);
  if (!HasWrapped(*pLraLoud) && !mAreBlocksAtEnd && !mAreCodesAtEnd)
    ReadLraEnds(*pLraLoud, distribution);
  return distribution;
}

}  // namespace louddesk
