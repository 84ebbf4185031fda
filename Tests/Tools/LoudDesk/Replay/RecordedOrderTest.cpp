// Places in which blocks are put by what the service published afterwards.

#include "RecordedOrder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "LuEnumerations.h"
#include "UnitStandIn.h"

namespace {

using louddesk::OrderedMessage;
using louddesk::RecordedMessage;
using louddesk::RecordedOrder;
using louddesk::Sender;
using testing::ElementsAre;

constexpr std::uint64_t kTick = 100000;  // us
constexpr std::uint64_t kMs = 1000;      // us

// The first message comes at this time.
constexpr std::uint64_t kStart = 1000000;

RecordedMessage Block(std::uint64_t time, std::uint32_t peak) {
  louddesk::BlockReading block;
  block.powers.fill(1);
  block.peaks[5] = peak;
  return {Sender::kSignalProcessor, time, louddesk::RawMessage(1, block)};
}

RecordedMessage Acknowledgement(std::uint64_t time, const std::string& command) {
  return {Sender::kStatePublisher,
          time,
          {"IOQVHwmLoudnessCmd_1", R"({"Command":")" + command + R"(","ClusterId":1})"}};
}

// ITU-R BS.1770-3, Annex 2: dBTP, here of a peak whose full scale is 32768, in hundredths.
std::int16_t PeakCode(std::uint32_t peak) {
  return static_cast<std::int16_t>(std::lround(2000 * std::log10(peak / 32768.0)));
}

RecordedMessage Data(std::uint64_t time, std::int16_t peakCode, std::int16_t command,
                     std::int16_t maxMomentary = -200) {
  const std::int16_t values[] = {maxMomentary, -200,     -200, -990,    0, -990,
                                 peakCode,     peakCode, 1,    command, 1};
  RecordedMessage message = {Sender::kDataPublisher, time, {"LoudnessData"}};
  for (const std::int16_t value : values) {
    std::string frame(sizeof value, '\0');
    std::memcpy(frame.data(), &value, sizeof value);
    message.frames.push_back(frame);
  }
  return message;
}

RecordedMessage NoReadings(std::uint64_t time) {
  return Data(time, -9900, LU_CMD_START);
}

struct Ordered {
  std::vector<unsigned long> numbers;
  std::vector<std::string> doubts;  // of the separators
  unsigned long moved = 0;
};

Ordered Restore(const std::vector<RecordedMessage>& messages) {
  Ordered ordered;
  RecordedOrder order([&ordered](const OrderedMessage& message) {
    ordered.numbers.push_back(message.number);
    if (message.doubt)
      ordered.doubts.push_back(*message.doubt);
  });
  for (const RecordedMessage& message : messages)
    order.Take(message);
  order.Finish();
  ordered.moved = order.Moved();
  return ordered;
}

constexpr std::uint64_t kAction = kStart + 5 * kTick;  // time of the acknowledgement

// Appends five blocks with peaks 3000, 4000, ... 7000 behind a restart. Readings are published from
// the one with the peak `first` on.
void AddBlocksBehind(std::vector<RecordedMessage>& messages, std::uint32_t first,
                     std::int16_t maxMomentary = -200) {
  for (std::uint32_t peak = 3000; peak <= 7000; peak += 1000) {
    const std::uint64_t time = kAction + (peak - 2000) / 1000 * kTick;
    messages.push_back(Block(time, peak));
    if (peak >= first)
      messages.push_back(Data(time + kTick / 2, PeakCode(peak), LU_CMD_START, maxMomentary));
  }
}

// A restart with a block recorded `distance` before it. The block's number is 2, those of the
// restart are 3 and 4.
std::vector<RecordedMessage> BlockThenRestart(std::uint64_t distance, std::uint32_t first) {
  std::vector<RecordedMessage> messages = {Block(kAction - 2 * kTick, 1000),
                                           Block(kAction - distance, 2000), NoReadings(kAction),
                                           Acknowledgement(kAction, "Reset")};
  AddBlocksBehind(messages, first);
  return messages;
}

// A restart, 2 and 3, with a block recorded `distance` behind it, 4.
std::vector<RecordedMessage> RestartThenBlock(std::uint64_t distance, std::uint32_t first) {
  std::vector<RecordedMessage> messages = {Block(kAction - 2 * kTick, 1000), NoReadings(kAction),
                                           Acknowledgement(kAction, "Reset"),
                                           Block(kAction + distance, 2000)};
  AddBlocksBehind(messages, first);
  return messages;
}

std::vector<unsigned long> FirstFive(const Ordered& ordered) {
  EXPECT_GE(ordered.numbers.size(), 5U);
  return {ordered.numbers.begin(), ordered.numbers.begin() + 5};
}

// The first readings are those of the fourth block after a restart. The third one behind the
// restart has the peak 5000.
TEST(RecordedOrderTest, ABlockCountedByTheNewMeasurementIsBehindTheRestart) {
  for (const std::uint64_t distance : {0 * kMs, 5 * kMs, 60 * kMs}) {
    const Ordered ordered = Restore(BlockThenRestart(distance, 5000));
    EXPECT_THAT(FirstFive(ordered), ElementsAre(1, 3, 4, 2, 5)) << distance;
    EXPECT_THAT(ordered.doubts, ElementsAre(""));
    EXPECT_EQ(1U, ordered.moved);
  }
}

TEST(RecordedOrderTest, ABlockNotCountedByTheNewMeasurementIsBeforeTheRestart) {
  for (const std::uint64_t distance : {0 * kMs, 5 * kMs, 60 * kMs}) {
    const Ordered ordered = Restore(RestartThenBlock(distance, 6000));
    EXPECT_THAT(FirstFive(ordered), ElementsAre(1, 4, 2, 3, 5)) << distance;
    EXPECT_THAT(ordered.doubts, ElementsAre(""));
    EXPECT_EQ(1U, ordered.moved);
  }
}

TEST(RecordedOrderTest, WhatIsRecordedInOrderStays) {
  EXPECT_THAT(FirstFive(Restore(BlockThenRestart(0, 6000))), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(FirstFive(Restore(RestartThenBlock(0, 5000))), ElementsAre(1, 2, 3, 4, 5));
}

// A tick lasts 100 ms: what was recorded earlier was measured earlier, whatever was published.
TEST(RecordedOrderTest, BlocksFarAwayStay) {
  EXPECT_THAT(FirstFive(Restore(BlockThenRestart(101 * kMs, 5000))), ElementsAre(1, 2, 3, 4, 5));
}

// A recorder that got no processor time finds several blocks and an acknowledgement together.
TEST(RecordedOrderTest, SeveralBlocksKeepTheirOrder) {
  std::vector<RecordedMessage> messages = {Block(kAction, 1000), Block(kAction, 1500),
                                           Block(kAction, 2000), NoReadings(kAction),
                                           Acknowledgement(kAction, "Reset")};
  AddBlocksBehind(messages, 4000);
  const Ordered ordered = Restore(messages);
  EXPECT_THAT(FirstFive(ordered), ElementsAre(1, 4, 5, 2, 3));
  EXPECT_EQ(2U, ordered.moved);
}

// The figures of a pause have the peak of the last block before it.
TEST(RecordedOrderTest, APauseHoldsTheLastBlockBeforeIt) {
  const auto paused = [](std::uint32_t peak) {
    return Data(kAction + kTick, PeakCode(peak), LU_CMD_PAUSE, -150);
  };
  const RecordedMessage earlier = Block(kAction - kTick, 1000);
  const RecordedMessage block = Block(kAction, 2000);
  const RecordedMessage pause = Acknowledgement(kAction, "Pause");
  EXPECT_THAT(Restore({earlier, block, pause, paused(1000)}).numbers, ElementsAre(1, 3, 2, 4));
  EXPECT_THAT(Restore({earlier, block, pause, paused(2000)}).numbers, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(Restore({earlier, pause, block, paused(1000)}).numbers, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(Restore({earlier, pause, block, paused(2000)}).numbers, ElementsAre(1, 3, 2, 4));
}

// A block 1 ms before the acknowledgement probably followed the tick.
TEST(RecordedOrderTest, WithoutDataTheTimesDecideAndADoubtStays) {
  const RecordedMessage pause = Acknowledgement(kAction, "Pause");
  const Ordered close = Restore({Block(kAction - 999, 1), pause});
  EXPECT_THAT(close.numbers, ElementsAre(2, 1));
  EXPECT_THAT(close.doubts, ElementsAre("block 1 at 1.499 s"));
  const Ordered apart = Restore({Block(kAction - kMs, 1), pause});
  EXPECT_THAT(apart.numbers, ElementsAre(1, 2));
  EXPECT_THAT(apart.doubts, ElementsAre("block 1 at 1.499 s"));
  EXPECT_THAT(Restore({Block(kAction - 20 * kMs, 1), pause}).doubts, ElementsAre(""));
}

TEST(RecordedOrderTest, EqualPeaksShowNothing) {
  const Ordered ordered = Restore({Block(kAction - kTick, 2000), Block(kAction - 5 * kMs, 2000),
                                   Acknowledgement(kAction, "Pause"),
                                   Data(kAction + kTick, PeakCode(2000), LU_CMD_PAUSE)});
  EXPECT_THAT(ordered.numbers, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(ordered.doubts, ElementsAre("block 2 at 1.495 s"));
}

// A tick that came late published the readings of the fifth block: a maximum from another block
// gives that away.
TEST(RecordedOrderTest, ReadingsThatAreNotTheFirstShowNothing) {
  std::vector<RecordedMessage> messages = {Block(kAction - kTick, 1000),
                                           Block(kAction - 5 * kMs, 2000), NoReadings(kAction),
                                           Acknowledgement(kAction, "Reset")};
  AddBlocksBehind(messages, 5000, -180);
  const Ordered ordered = Restore(messages);
  EXPECT_THAT(FirstFive(ordered), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(ordered.doubts, ElementsAre("block 2 at 1.495 s"));
}

// A late tick published the readings of the fifth block, quieter than the fourth: its maximum and
// its short-term loudness are those of -20.0 and -30.0 LKFS, which have a mean of -22.6 LKFS.
TEST(RecordedOrderTest, TheSecondReadingsShowTheOrderToo) {
  std::vector<RecordedMessage> messages = {Block(kAction - 2 * kTick, 1000),
                                           Block(kAction - 5 * kMs, 2000), NoReadings(kAction),
                                           Acknowledgement(kAction, "Reset")};
  AddBlocksBehind(messages, 6000);
  const auto second = std::find_if(messages.begin() + 4, messages.end(), [](const auto& message) {
    return message.sender == Sender::kDataPublisher;
  });
  const std::int16_t values[] = {-200, -300, -226};
  for (std::size_t i = 0; i < 3; ++i)
    std::memcpy(second->frames[i + 1].data(), &values[i], sizeof values[i]);
  EXPECT_THAT(FirstFive(Restore(messages)), ElementsAre(1, 3, 4, 2, 5));
}

// Blocks may be rare. The one before a pause is known even if it is older than a tick.
TEST(RecordedOrderTest, TheLastBlockBeforeAPauseMayBeOld) {
  std::vector<RecordedMessage> messages = {Block(kAction - 900 * kMs, 1000), Block(kAction, 2000),
                                           Acknowledgement(kAction, "Pause"),
                                           Data(kAction + kTick, PeakCode(1000), LU_CMD_PAUSE)};
  for (unsigned i = 1; i < 40; ++i)
    messages.push_back(Block(kAction + i * kTick, 5000));
  const Ordered ordered = Restore(messages);
  EXPECT_THAT(FirstFive(ordered), ElementsAre(1, 3, 2, 4, 5));
  EXPECT_THAT(ordered.doubts, ElementsAre(""));
}

RecordedMessage Text(std::uint64_t time, const std::string& topic, const std::string& payload) {
  return {Sender::kMainAppServer, time, {topic, payload}};
}

RecordedMessage Stamped(std::uint64_t time, unsigned stamp, unsigned user) {
  return {Sender::kStatePublisher,
          time,
          {"IOQVHwmLoudnessCmd_1", R"({"Command":"Start","CmdTS":)" + std::to_string(stamp) +
                                       R"(,"UID":)" + std::to_string(user) + "}"}};
}

TEST(RecordedOrderTest, WhatAnAcknowledgementDoesNotKnowCameAfterIt) {
  const auto command = [](unsigned stamp) {
    return Text(kAction, "AppIOQVLoudnessCmd-1", R"({"CmdTS":)" + std::to_string(stamp) + "}");
  };
  const RecordedMessage configuration = Text(kAction, "AppProbeSetLuConf-1", R"({"UserID":7})");
  const std::uint64_t time = kAction + 50 * kMs;
  EXPECT_THAT(Restore({command(1), command(2), Stamped(time, 1, 7)}).numbers, ElementsAre(1, 3, 2));
  EXPECT_THAT(Restore({command(1), command(2), Stamped(time, 2, 7)}).numbers, ElementsAre(1, 2, 3));
  EXPECT_THAT(Restore({command(1), command(2), Stamped(time, 0, 7)}).numbers, ElementsAre(3, 1, 2));
  EXPECT_THAT(Restore({configuration, Stamped(time, 1, 0)}).numbers, ElementsAre(2, 1));
  EXPECT_THAT(Restore({configuration, Stamped(time, 1, 7)}).numbers, ElementsAre(1, 2));
  // More than a tick ago, the service has taken it.
  EXPECT_THAT(Restore({command(1), Stamped(kAction + 101 * kMs, 0, 7)}).numbers, ElementsAre(1, 2));
}

// Other acknowledgements do not depend on blocks, and republications are not actions.
TEST(RecordedOrderTest, OtherStatesSeparateNothing) {
  RecordedMessage republished = Acknowledgement(kAction, "Reset");
  republished.frames[0] = "IOQVHwmLoudnessCmd_Repub_1";
  const Ordered ordered = Restore({Block(kAction, 1), Acknowledgement(kAction, "Start"),
                                   republished, Acknowledgement(kAction, "Play")});
  EXPECT_THAT(ordered.numbers, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(ordered.doubts, ElementsAre("", ""));
}

// In a file from anywhere, time may stand still.
TEST(RecordedOrderTest, WhatItKeepsIsBounded) {
  unsigned long passedOn = 0;
  RecordedOrder order([&passedOn](const OrderedMessage&) { ++passedOn; });
  for (unsigned i = 0; i < 5000; ++i)
    order.Take(Block(0, 1));
  EXPECT_GE(passedOn, 5000U - 4096U);
  const unsigned long before = passedOn;
  for (unsigned i = 0; i < 20; ++i)
    order.Take({Sender::kMainAppServer, 0, {"topic", std::string(1000000, 'x')}});
  EXPECT_GT(passedOn, before);
}

}  // namespace
