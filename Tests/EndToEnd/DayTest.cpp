// Days of audio, as fast as the service accepts them: nothing is lost, drifts or grows.

#include <cmath>
#include <iostream>
#include <random>

#include "LoudCalcBase.h"
#include "LoudConfigUser.h"
#include "RunningService.h"

namespace {

using louddesk::BlockReading;
using louddesk::LoudnessMessage;
using louddesk::Peer;
using louddesk::PublishedCodes;
using Clock = std::chrono::steady_clock;

constexpr unsigned kBlocksPerHour = 10 * 60 * 60;

/// Hours after which every queue has been full once and every window of the engine is filled.
constexpr unsigned kSettlingHours = 4;

/// How much the memory may grow after that. The queue of blocks accounts for about two mebibytes;
/// how full it is depends on the load of the machine.
constexpr long kFlatKib = 4096;

constexpr unsigned kIntegratedWindow = kMaxIntegWinSecs;
constexpr unsigned kLoudnessRangeWindow = kMaxLraWinSecs;

struct Stretch {
  const char* name;
  unsigned hours;
};

void PrintTo(const Stretch& stretch, std::ostream* stream) {
  *stream << stretch.name;
}

/// A programme that never repeats: passages of some seconds at levels from -55 to -10 LKFS per
/// channel around a slowly varying level, so that every gate and every window matters, and peaks
/// whose new maxima become rarer over time.
class EndlessProgramme {
 public:
  BlockReading Next() {
    if (mBlock++ % kBlocksPerPassage == 0)
      mPassage = SlowSwing() + Between(-16, 10);
    BlockReading block;
    for (std::size_t meter = 0; meter < SurroundSpeakers().size(); ++meter) {
      block.powers[meter] = PowerAt(mPassage + Between(-3, 3));
      block.peaks[meter] = static_cast<std::uint32_t>(mRandom() % 1000 + mBlock / 40);
    }
    return block;
  }

 private:
  static constexpr unsigned kBlocksPerPassage = 70;

  double SlowSwing() const {
    constexpr double kTurn = 6.283185307179586;
    return -30 + 9 * std::sin(kTurn * mBlock / (2.7 * kBlocksPerHour));
  }

  double Between(double low, double high) {
    return low + (high - low) * (static_cast<double>(mRandom()) / 4294967296.0);
  }

  /// The same as PowerOf, in steps of 0.01 LU. Each step is computed once.
  std::uint64_t PowerAt(double lkfs) {
    const auto step = static_cast<std::size_t>((lkfs + 80) * 100);
    if (step >= mPowers.size())
      mPowers.resize(step + 1);
    if (mPowers[step] == 0)
      mPowers[step] = PowerOf(static_cast<double>(step) / 100 - 80);
    return mPowers[step];
  }

  std::mt19937 mRandom{20240229};
  unsigned mBlock = 0;
  double mPassage = 0;
  std::vector<std::uint64_t> mPowers;
};

/// The engine on its own, fed with the same blocks.
class EngineAlone {
 public:
  EngineAlone() {
    LoudCalcInit();
    SetIntegWinTime(kIntegratedWindow);
    SetLraWinTime(kLoudnessRangeWindow);
    LoudCalcReset();
  }
  ~EngineAlone() { LoudCalcCleanup(); }
  EngineAlone(const EngineAlone&) = delete;
  EngineAlone& operator=(const EngineAlone&) = delete;

  void Update(const BlockReading& block) {
    // Surrounds have weight 1.41, low-frequency effects 0 (ITU-R BS.1770-3, table 3).
    constexpr float kWeights[] = {1.0f, 1.0f, 1.0f, 0.0f, 1.41f, 1.41f};
    std::uint64_t power = 0;
    std::uint32_t peak = 0;
    for (std::size_t meter = 0; meter < std::size(kWeights); ++meter) {
      power += static_cast<std::uint64_t>(static_cast<double>(block.powers[meter]) *
                                          static_cast<double>(kWeights[meter]));
      peak = std::max(peak, block.peaks[meter]);
    }
    LoudCalcUpdate(power, static_cast<std::uint16_t>(peak));
  }

  std::vector<int> Figures() const { return PublishedCodes(LuData); }
};

class DayTest : public RunningService, public testing::WithParamInterface<Stretch> {
 protected:
  void StartWithLongestWindows() {
    ASSERT_NO_FATAL_FAILURE(Start({Peer::kSignalProcessor}));
    OpenPatientPlace();
    StartMeasuring();
    louddesk::LoudnessConfiguration configuration;
    configuration.loudnessWindowTime = kIntegratedWindow;
    configuration.lraWindow = kLoudnessRangeWindow;
    SendConfiguration(configuration);
    ExpectAcknowledgement("Start");
  }

  /// One hour, for the service and for the engine alone.
  void PlayHour() {
    for (unsigned i = 0; i < kBlocksPerHour; ++i) {
      const BlockReading block = mProgramme.Next();
      Send(block);
      mEngine.Update(block);
    }
    mUnit.DropLoudnessData();
    mUnit.DropStates();
    mUnit.DropLogLines();
    mUnit.DropHeartbeats();
  }

  void ExpectFiguresOfTheEngine() {
    const std::vector<int> expected = mEngine.Figures();
    ExpectData(
        [&](const LoudnessMessage& message) { return PublishedCodes(message.data) == expected; },
        "the engine's figures " + testing::PrintToString(expected));
    // None of the figures may equal that of a service without blocks.
    for (std::size_t i = 0; i < expected.size(); ++i)
      EXPECT_TRUE(expected[i] != -990 && expected[i] != -9900 && expected[i] != 0) << i;
  }

  void TearDown() override {
    zsock_destroy(&mPlace);
    RunningService::TearDown();
  }

 private:
  /// A signal processor whose publisher waits instead of dropping messages.
  void OpenPatientPlace() {
    mPlace = zsock_new(ZMQ_XPUB);
    zsock_set_xpub_nodrop(mPlace, 1);
    ASSERT_NE(-1, zsock_bind(mPlace, "%s", mUnit.EndpointOf(Peer::kSignalProcessor).c_str()));
    zsock_set_rcvtimeo(mPlace, static_cast<int>(kPatience.count()));
    zmsg_t* subscription = zmsg_recv(mPlace);
    ASSERT_NE(nullptr, subscription) << "nobody subscribes";
    zmsg_destroy(&subscription);
  }

  void Send(const BlockReading& block) {
    const std::string topic = mUnit.RawTopic();
    void* place = zsock_resolve(mPlace);
    zmq_send(place, topic.data(), topic.size(), ZMQ_SNDMORE);
    zmq_send(place, block.peaks.data(), sizeof block.peaks, ZMQ_SNDMORE);
    zmq_send(place, block.powers.data(), sizeof block.powers, ZMQ_SNDMORE);
    ASSERT_EQ(1, zmq_send(place, "s", 1, 0));
  }

  zsock_t* mPlace = nullptr;
  EngineAlone mEngine;
  EndlessProgramme mProgramme;
};

TEST_P(DayTest, FiguresAreTheEnginesAndNothingGrows) {
  ASSERT_NO_FATAL_FAILURE(StartWithLongestWindows());
  const long filesAtFirst = mService->OpenFiles();
  long settledKib = 0;
  long mostKib = 0;
  const Clock::time_point begin = Clock::now();
  for (unsigned hour = 1; hour <= GetParam().hours; ++hour) {
    ASSERT_NO_FATAL_FAILURE(PlayHour());
    ASSERT_NO_FATAL_FAILURE(ExpectFiguresOfTheEngine()) << "after hour " << hour;
    EXPECT_EQ(filesAtFirst, mService->OpenFiles()) << "after hour " << hour;
    if (hour == kSettlingHours)
      settledKib = mService->ResidentKib();
    mostKib = std::max(mostKib, mService->ResidentKib());
  }

  const double took = std::chrono::duration<double>(Clock::now() - begin).count();
  std::cout << "  " << GetParam().hours << " hours in " << took << " s; memory " << settledKib
            << " KiB after " << kSettlingHours << " hours, at most " << mostKib
            << " KiB, at the end " << mService->ResidentKib() << " KiB; " << filesAtFirst
            << " files open" << std::endl;
  RecordProperty("seconds", std::to_string(took));
  RecordProperty("settledKib", std::to_string(settledKib));
  RecordProperty("mostKib", std::to_string(mostKib));
  EXPECT_LE(mostKib, settledKib + kFlatKib);
}

INSTANTIATE_TEST_SUITE_P(Day, DayTest, testing::Values(Stretch{"OneDay", 24}),
                         [](const auto& test) { return test.param.name; });
INSTANTIATE_TEST_SUITE_P(Soak, DayTest, testing::Values(Stretch{"TwoDays", 48}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
