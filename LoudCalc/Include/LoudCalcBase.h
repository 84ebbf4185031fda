// Loudness calculator: from the DSP stage's power and peak of each 100 ms block to the figures of
// ITU-R BS.1770-3 and EBU R 128. One calculator per process, its state at namespace scope: fed by
// the dispatcher, read by the reporting functions, all on the reactor thread.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Circbuf.h"
#include "LoudInteg.h"
#include "LoudnessData.h"
#include "RawLoudnessData.h"

/// Channels that a channel configuration has weights for.
constexpr std::size_t kNumConfigChannels = 16;

/// Blocks of 100 ms in the 400 ms of the momentary loudness.
constexpr std::size_t kMomentaryBlocks = 4;

/// Momentary readings in the 3 s of the short-term loudness (EBU Tech 3341), one a block.
constexpr std::uint32_t kShortTermBlocks = 30;

/// Relative gates in LU: for integrated and programme loudness (ITU-R BS.1770-3, Annex 1), for the
/// loudness range (EBU Tech 3342), and for the short-term loudness, which is not gated (EBU Tech
/// 3341).
constexpr float kLoudnessGateLu = -10.0F;
constexpr float kLraGateLu = -20.0F;
constexpr float kNoGateLu = -99.0F;

struct ChanConfig_s {
  std::uint8_t FirstChan = 0;                               // first channel of the programme
  std::uint8_t LastChan = 0;                                // last channel of the programme
  std::array<float, kNumConfigChannels> ChanWeightCoeff{};  // weight per channel, linear
};

struct SampleCounts_s {
  std::uint8_t DspSubSample = 0;        // blocks of warm-up since the reset, 0 ... 3
  std::uint8_t ShortTermSubSample = 0;  // short-term readings given to the LRA, saturates at 59
  std::uint8_t MomSample = 0;           // block of the current second, 0 ... 9 between blocks
};

struct LoudCalcResultsAll_s {
  float MaxMomentary = kNoLoudnessLkfs;  // highest momentary loudness since the reset, LKFS
  float Momentary = kNoLoudnessLkfs;     // loudness of the last 400 ms, LKFS
  float ShortTerm = kNoLoudnessLkfs;     // loudness of the last 3 s, LKFS
  float Integrated = kNoLoudnessLkfs;    // gated loudness of the user's window, LKFS
  float Program = kNoLoudnessLkfs;       // gated loudness of the last two hours, LKFS
  float LRA = 0.0F;                      // loudness range, LU
  float TruePeak = kNoLoudnessLkfs;      // true peak of the last block, dBTP
  float MaxTruePeak = kNoLoudnessLkfs;   // highest true peak since the reset, dBTP
};

// Written by the calculator only, except where noted.
extern ChanConfig_s ChanConfig;      // stored by LoudSetChanConfig, read by no calculation
extern SampleCounts_s SampleCounts;  // position within warm-up, second and range
extern bool LoudInitError;           // true while LoudCalcInit builds
extern cCircBuf* pCbBinMomLoud;      // momentary codes, one per block; owned
extern cCircBuf* pCbBinLra;          // short-term codes, one per second; owned
extern cLoudInteg* pProgramLoud;     // programme loudness, window 2 h; owned
extern cLoudInteg* pShortTermLoud;   // short-term loudness, window 3 s; owned
extern cLoudInteg* pLraLoud;         // loudness range, window set by the user; owned
extern cLoudInteg* pIntegLoud;       // integrated loudness, window set by the user; owned
extern std::uint64_t DspPowerSum;    // sum of DspCircBuf, modulo 2^64
extern std::array<std::uint64_t, kMomentaryBlocks> DspCircBuf;  // the last four block powers
extern std::uint8_t DspCircBufIndex;             // slot that the next power overwrites, 0 ... 3
extern LoudCalcResultsAll_s LoudCalcResultsAll;  // the figures of the last block
extern LoudnessData_t LuData;                    // the same, coded as they are published
extern LoudnessData_t LuPausedData;  // the coded figures at the last pause or stop; written by the
                                     // reporting functions

/// Builds the table of bin powers, the rings and the integrators, resets them and fetches the
/// dispatcher for the reporting functions. Returns 0 when done. It does not free an earlier
/// calculator: call `LoudCalcCleanup` before building another.
std::uint32_t LoudCalcInit();

/// Restarts every measurement from empty, with the window lengths of the current user settings. All
/// coded figures become "no reading". `LoudCalcResultsAll.Program` keeps its last value until the
/// next programme reading, and `LuPausedData` does not change. REQUIRES: `LoudCalcInit`.
void LoudCalcReset();

/// Frees the rings and integrators. The pointers to them are not cleared, so only another
/// `LoudCalcInit` may follow. Call it once per `LoudCalcInit`, at shutdown. Before the first
/// `LoudCalcInit` it does nothing.
void LoudCalcCleanup();

/// Stores a copy of the channel configuration. REQUIRES: `chanConfig` is not null.
void LoudSetChanConfig(const ChanConfig_s* chanConfig);

/// Takes one 100 ms block and brings every figure up to date. `power` is the channel-weighted sum
/// of the channels' K-weighted powers in the DSP stage's scale (see `LoudnessOfPower`), `peak` the
/// largest true peak among them, `kFullScalePeak` for 0 dBTP. The first three blocks after a reset
/// only fill the 400 ms of the momentary loudness; the fourth gives the first readings. Integrated
/// and programme loudness and the loudness range are refreshed once a second, each on a different
/// block. Allocates nothing. REQUIRES: `LoudCalcInit`.
void LoudCalcUpdate(std::uint64_t power, std::uint16_t peak);

/// Momentary loudness in LKFS: that of the last 400 ms with the block of this power as the newest
/// (EBU Tech 3341). -99.0 when the four powers together are below 4. Also raises the maximum.
float MomLoudnessUpdate(std::uint64_t power);

/// Level in dBTP of a true peak: 20 log10(peak) - 90.3087, -99.0 for 0. 32768 is 0 dBTP.
float GetTruePeak(std::uint16_t peak);
