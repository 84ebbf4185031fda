// Exchanges messages with a running service.

#include "ServiceUnderTest.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "Endpoints.h"
#include "FiguresText.h"
#include "LoudCalcBase.h"
#include "ServiceClient.h"
#include "UnitStandIn.h"

namespace louddesk {
namespace {

constexpr Patience kStartPatience{5000};
constexpr Patience kSettlePatience{5000};

// How long to wait for a message before checking that the service is still there.
constexpr Patience kGlance{100};

// Half of the thousand messages that each side of a connection queues before it drops any.
constexpr unsigned kMostUnsettled = 500;

// The first blocks of a measurement, for which the service publishes nothing.
constexpr unsigned kWarmUpBlocks = kMomentaryBlocks - 1;

// Marks are peaks of 1 to 700, at most -33 dBTP; their codes in hundredths of dBTP are all
// different. A mark is not reused while a message with it may still be in transit.
constexpr std::uint32_t kMarks = 700;
static_assert(kMarks > kMostUnsettled);

std::int16_t CodeOfPeak(std::uint32_t peak) {
  return static_cast<std::int16_t>(
      std::lround(GetTruePeak(static_cast<std::uint16_t>(peak)) * 100));
}

class ServiceUnderTest : public MeterUnderTest {
 public:
  ServiceUnderTest(unsigned cluster, Patience patience)
      : mUnit(kLastMeterSetWithTopics, cluster), mClient(mUnit) {
    mUnit.OpenAll();
    mClient.Connect(patience);
    mClient.SwitchReporting(true);
  }

  void Start(const SpeakerLayout& speakers, Measurand measurand) override {
    mUnit.DropStates();
    mUnit.DropHeartbeats();
    mUnit.DropLogLines();
    mClient.Restart(speakers);
    if (mClient.Await(kStartPatience) != Outcome::kDone)
      Fail("it has not started to measure");
    mUnit.DropLoudnessData();
    mMeasurand = measurand;
    mBlocks = 0;
    mUnsettled = 0;
  }

  void Feed(const BlockReading& block) override {
    if (mMeasurand == Measurand::kLoudness)
      SendMarked(block);
    else
      Send(block);
    ++mBlocks;
    if (mUnsettled >= kMostUnsettled)
      Settle();
  }

  Figures Read() override {
    if (mBlocks <= kWarmUpBlocks)
      return {};
    if (mUnsettled > 0)
      Settle();
    Figures figures;
    if (mMeasurand == Measurand::kTruePeak) {
      figures.maxTruePeak = TruePeakOf(mPublished.MaxTruePeak);
      return figures;
    }
    figures.momentary = LoudnessOf(mPublished.Momentary);
    figures.shortTerm = LoudnessOf(mPublished.ShortTerm);
    figures.integrated = LoudnessOf(mPublished.Integrated);
    figures.lra = mPublished.Lra / 10.0;
    figures.maxMomentary = LoudnessOf(mPublished.MaxMomentary);
    return figures;
  }

 private:
  void Send(const BlockReading& block) {
    mUnit.SendRaw(block);
    ++mUnsettled;
  }

  void SendMarked(const BlockReading& block) {
    mMark = mMark % kMarks + 1;
    BlockReading marked = block;
    marked.peaks.fill(0);
    marked.peaks.front() = mMark;
    Send(marked);
  }

  void Settle() {
    if (mMeasurand == Measurand::kTruePeak)
      SendMarked(BlockReading{});
    mPublished = AwaitMark().data;
    mUnsettled = 0;
  }

  LoudnessMessage AwaitMark() {
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

  // A service that ends cancels its subscriptions.
  [[noreturn]] void Fail(const std::string& reason) const {
    if (zsys_interrupted)
      throw ServiceError("interrupted");
    throw ServiceError(
        (mUnit.HasSubscribers() ? "the service does not answer: " : "the service has ended: ") +
        reason);
  }

  UnitStandIn mUnit;
  ServiceClient mClient;
  Measurand mMeasurand = Measurand::kLoudness;
  std::uint32_t mMark = 0;      // peak of the last block with a mark
  unsigned mBlocks = 0;         // since the start
  unsigned mUnsettled = 0;      // blocks sent whose figures have not arrived
  LoudnessData_t mPublished{};  // figures of the last block, once no block is unsettled
};

}  // namespace

std::unique_ptr<MeterUnderTest> ConnectToService(unsigned cluster, Patience patience) {
  return std::make_unique<ServiceUnderTest>(cluster, patience);
}

}  // namespace louddesk
