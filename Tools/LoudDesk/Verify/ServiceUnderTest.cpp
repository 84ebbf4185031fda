// The messages between the test signals and a running service.

#include "ServiceUnderTest.h"

#include <algorithm>
#include <cmath>

#include "FiguresText.h"
#include "LoudCalcBase.h"

namespace louddesk {
namespace {

constexpr unsigned kMeterSet = 1;  // the only one whose service takes presets

constexpr Patience kStartPatience{5000};
constexpr Patience kSettlePatience{5000};

// How often a service is looked after that publishes nothing.
constexpr Patience kGlance{100};

// Half of the thousand messages that either side of a connection keeps before it drops any.
constexpr unsigned kMostUnsettled = 500;

constexpr char kInterrupted[] = "interrupted";

// Blocks of a measurement that the service publishes nothing of.
constexpr unsigned kWarmUpBlocks = kMomentaryBlocks - 1;

// Marks are peaks of 1 to 700, up to -33 dBTP, whose codes in hundredths of dBTP all differ. None
// comes again while a message may still be under way that carries it.
constexpr std::uint32_t kMarks = 700;
static_assert(kMarks > kMostUnsettled);

std::int16_t CodeOfPeak(std::uint32_t peak) {
  return static_cast<std::int16_t>(
      std::lround(GetTruePeak(static_cast<std::uint16_t>(peak)) * 100));
}

}  // namespace

ServiceUnderTest::ServiceUnderTest(unsigned cluster) : mUnit(kMeterSet, cluster), mClient(mUnit) {
  mUnit.OpenAll();
}

void ServiceUnderTest::Connect(Patience patience) {
  mClient.Connect(patience);
  mClient.SwitchReporting(true);
}

void ServiceUnderTest::Start(const SpeakerLayout& speakers, Subject subject) {
  mUnit.DropStates();
  mUnit.DropHeartbeats();
  mUnit.DropLogLines();
  mClient.Restart(speakers);
  if (mClient.Await(kStartPatience) != Outcome::kDone)
    Fail("it has not started to measure");
  mUnit.DropLoudnessData();
  mSubject = subject;
  mBlocks = 0;
  mUnsettled = 0;
}

void ServiceUnderTest::Feed(const BlockReading& block) {
  if (mSubject == Subject::kLoudness)
    SendMarked(block);
  else
    Send(block);
  ++mBlocks;
  if (mUnsettled >= kMostUnsettled)
    Settle();
}

MeterReadings ServiceUnderTest::Read() {
  if (mBlocks <= kWarmUpBlocks)
    return {};
  if (mUnsettled > 0)
    Settle();
  MeterReadings readings;
  if (mSubject == Subject::kTruePeak) {
    readings.maxTruePeak = TruePeakOf(mPublished.MaxTruePeak);
    return readings;
  }
  readings.momentary = LoudnessOf(mPublished.Momentary);
  readings.shortTerm = LoudnessOf(mPublished.ShortTerm);
  readings.integrated = LoudnessOf(mPublished.Integrated);
  readings.lra = mPublished.Lra / 10.0;
  readings.maxMomentary = LoudnessOf(mPublished.MaxMomentary);
  return readings;
}

// A service that ends takes its subscriptions with it.
void ServiceUnderTest::Fail(const std::string& reason) const {
  if (zsys_interrupted)
    throw ServiceError(kInterrupted);
  throw ServiceError(
      (mUnit.HasSubscribers() ? "the service does not answer: " : "the service has ended: ") +
      reason);
}

void ServiceUnderTest::Send(const BlockReading& block) {
  mUnit.SendRaw(block);
  ++mUnsettled;
}

void ServiceUnderTest::SendMarked(const BlockReading& block) {
  mMark = mMark % kMarks + 1;
  BlockReading marked = block;
  marked.peaks.fill(0);
  marked.peaks.front() = mMark;
  Send(marked);
}

void ServiceUnderTest::Settle() {
  if (mSubject == Subject::kTruePeak)
    SendMarked(BlockReading{});
  mPublished = AwaitMark().data;
  mUnsettled = 0;
}

LoudnessMessage ServiceUnderTest::AwaitMark() {
  const std::int16_t code = CodeOfPeak(mMark);
  const auto end = std::chrono::steady_clock::now() + kSettlePatience;
  for (;;) {
    const Patience patience = Remaining(end);
    const auto message = mUnit.NextLoudnessData(std::min(patience, kGlance));
    if (!message && (patience <= kGlance || zsys_interrupted || !mUnit.HasSubscribers()))
      Fail("it has not published the figures of the last block");
    if (message && message->data.TruePeak == code)
      return *message;
  }
}

}  // namespace louddesk
