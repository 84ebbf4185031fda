// Passes blocks through the dispatcher to the engine.

#include "EngineMeter.h"

#include <czmq.h>

#include <algorithm>
#include <string>

#include "Endpoints.h"
#include "JsonParser.h"
#include "LoudCalcBase.h"
#include "LoudConfigUser.h"

namespace louddesk {
namespace {

constexpr std::uint32_t kMeterSet = 1;

// The message needs a last frame; its content is ignored.
constexpr char kSpareFrame[] = "-";

// After a reset the engine fills its window of 400 ms and ignores the peaks until then.
constexpr std::uint64_t kWarmUpBlocks = kMomentaryBlocks - 1;

std::optional<double> Reading(float level) {
  if (level <= kNoLoudnessLkfs)
    return std::nullopt;
  return level;
}

std::optional<double> LraReading() {
  if (pLraLoud->GetLraGate() < kAbsoluteGateLkfs)
    return std::nullopt;
  return pLraLoud->GetLra();
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
  cJsonParser::ResetLu();
  std::uint32_t meter = 0;
  for (const std::string& speaker : speakers)
    cJsonParser::SetChannelWeight(++meter, LoudnessSpeakerWeight[SpeakerTypeOf(speaker)]);
  LoudCalcReset();
  mBlocks = 0;
  mUnseenPeak = 0;
  mMaxShortTerm = kNoLoudnessLkfs;
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
  if (mBlocks++ < kWarmUpBlocks)
    mUnseenPeak =
        std::max(mUnseenPeak, *std::max_element(reading.peaks.begin(), reading.peaks.end()));
  mMaxShortTerm = std::max(mMaxShortTerm, LoudCalcResultsAll.ShortTerm);
}

Figures EngineMeter::Read() const {
  Figures figures;
  figures.truePeak = Reading(LoudCalcResultsAll.TruePeak);
  figures.maxTruePeak = Reading(std::max(LoudCalcResultsAll.MaxTruePeak,
                                         GetTruePeak(static_cast<std::uint16_t>(mUnseenPeak))));
  if (mBlocks <= kWarmUpBlocks)
    return figures;
  figures.momentary = Reading(LoudCalcResultsAll.Momentary);
  figures.maxMomentary = Reading(LoudCalcResultsAll.MaxMomentary);
  figures.shortTerm = Reading(LoudCalcResultsAll.ShortTerm);
  figures.maxShortTerm = Reading(mMaxShortTerm);
  figures.integrated = Reading(pIntegLoud->GetGatedLkfsReading());
  figures.lra = LraReading();
  return figures;
}

}  // namespace louddesk
