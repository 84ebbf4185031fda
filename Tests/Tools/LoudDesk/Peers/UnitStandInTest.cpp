// The stand-in for the unit itself.

#include "UnitStandIn.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>

#include "Emulation.h"
#include "Isolation.h"
#include "MqNames.h"
#include "ProbeMatrixConf.h"
#include "UnitDocuments.h"

namespace {

using louddesk::BindError;
using louddesk::Frames;
using louddesk::kAllPeers;
using louddesk::Patience;
using louddesk::Peer;
using louddesk::UnitStandIn;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr Patience kPatience{20000 * kSlowness};

/// The text of the error with which `action` ends.
template <typename Action>
std::string ErrorOf(Action action) {
  try {
    action();
  } catch (const BindError& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing was refused";
  return "";
}

std::string OutputOf(const std::string& command) {
  std::string output;
  FILE* const pipe = popen(command.c_str(), "r");
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
    output += static_cast<char>(c);
  pclose(pipe);
  return output;
}

/// A subscriber that takes the place of the service at one of the unit's publishers.
class Subscriber {
 public:
  Subscriber(const std::string& endpoint, const std::string& topic)
      : mSocket(zsock_new_sub(endpoint.c_str(), topic.c_str())) {}
  ~Subscriber() { zsock_destroy(&mSocket); }
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  Frames Next() {
    Frames frames;
    zpoller_t* poller = zpoller_new(mSocket, nullptr);
    if (zpoller_wait(poller, static_cast<int>(kPatience.count())) != nullptr)
      frames = louddesk::ReceiveFrames(mSocket);
    zpoller_destroy(&poller);
    return frames;
  }

 private:
  zsock_t* mSocket;
};

/// Sets an environment variable during its lifetime.
class Variable {
 public:
  Variable(const char* name, const char* value) : mName(name) {
    if (const char* before = std::getenv(name))
      mBefore = before;
    setenv(name, value, 1);
  }
  ~Variable() {
    if (mBefore)
      setenv(mName, mBefore->c_str(), 1);
    else
      unsetenv(mName);
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* mName;
  std::optional<std::string> mBefore;
};

class UnitStandInTest : public testing::Test {
 protected:
  bool WaitForSubscription(Peer peer, const std::string& topic) {
    return mUnit.WaitFor([&] { return mUnit.SubscriptionsAt(peer).count(topic) != 0; }, kPatience);
  }

  UnitStandIn mUnit{1, 1};
};

TEST_F(UnitStandInTest, DeliversTextWithAndWithoutPayload) {
  mUnit.OpenAll();
  Subscriber subscriber(mUnit.EndpointOf(Peer::kMainAppServer), "Topic");
  ASSERT_TRUE(WaitForSubscription(Peer::kMainAppServer, "Topic"));
  mUnit.SendText(Peer::kMainAppServer, "Topic", "payload");
  mUnit.SendText(Peer::kMainAppServer, "Topic");
  EXPECT_EQ((Frames{"Topic", "payload"}), subscriber.Next());
  EXPECT_EQ(Frames{"Topic"}, subscriber.Next());
}

TEST_F(UnitStandInTest, DeliversPeaksBeforePowersAndASpareFrame) {
  mUnit.OpenAll();
  Subscriber subscriber(mUnit.EndpointOf(Peer::kSignalProcessor), "ProbeLuRawData-1");
  ASSERT_TRUE(WaitForSubscription(Peer::kSignalProcessor, "ProbeLuRawData-1"));
  louddesk::BlockReading block;
  block.peaks[0] = 0x01020304;
  block.powers[31] = 0x0102030405060708;
  mUnit.SendRaw(block);
  const Frames frames = subscriber.Next();
  ASSERT_EQ(4u, frames.size());
  EXPECT_EQ("ProbeLuRawData-1", frames[0]);
  EXPECT_EQ(std::string("\4\3\2\1") + std::string(31 * 4, '\0'), frames[1]);
  EXPECT_EQ(std::string(31 * 8, '\0') + "\10\7\6\5\4\3\2\1", frames[2]);
  EXPECT_FALSE(frames[3].empty());
}

TEST_F(UnitStandInTest, SeesSubscriptionsComeAndGo) {
  mUnit.Open(Peer::kMainAppServer);
  {
    Subscriber subscriber(mUnit.EndpointOf(Peer::kMainAppServer), "Topic");
    ASSERT_TRUE(WaitForSubscription(Peer::kMainAppServer, "Topic"));
    EXPECT_TRUE(mUnit.HasSubscribers());
  }
  EXPECT_TRUE(mUnit.WaitFor([this] { return !mUnit.HasSubscribers(); }, kPatience));
}

TEST_F(UnitStandInTest, NamesWhatIsMissing) {
  mUnit.Open(Peer::kOpticalAppServer);
  EXPECT_FALSE(mUnit.WaitUntilSubscribed(Patience{0}));
  EXPECT_THAT(
      mUnit.MissingSubscriptions(),
      AllOf(HasSubstr("no subscription to QVProbeOptInputDataCmd at the application server "
                      "of the optical board"),
            HasSubstr("no publisher of loudness data"), Not(HasSubstr("hardware manager"))));
}

TEST_F(UnitStandInTest, EveryPeerCanBeClosedAndOpenedAtOnce) {
  mUnit.OpenAll();
  for (int i = 0; i < 10; ++i)
    for (const Peer peer : kAllPeers) {
      mUnit.Close(peer);
      ASSERT_NO_THROW(mUnit.Open(peer)) << mUnit.EndpointOf(peer);
    }
}

TEST_F(UnitStandInTest, ClosedPeerLeavesItsPlaceToOthers) {
  mUnit.OpenAll();
  mUnit.Close(Peer::kHardwareManager);
  UnitStandIn other(1, 1);
  EXPECT_NO_THROW(other.Open(Peer::kHardwareManager));
}

// Runs the command that shows which process uses the port. It finds this process.
TEST_F(UnitStandInTest, EveryEndpointInUseIsRefusedWithTheCommandThatShowsByWhom) {
  mUnit.OpenAll();
  UnitStandIn other(1, 1);
  for (const Peer peer : kAllPeers) {
    const std::string error = ErrorOf([&] { other.Open(peer); });
    EXPECT_THAT(error, StartsWith("cannot bind " + mUnit.EndpointOf(peer) + ": "));
    EXPECT_THAT(error, HasSubstr("in use; ss -l"));
    EXPECT_THAT(error, EndsWith(" shows by whom"));
    const std::size_t begin = error.find("ss -l");
    const std::string command = error.substr(begin, error.rfind(" shows by whom") - begin);
    EXPECT_THAT(OutputOf(command), HasSubstr("pid=" + std::to_string(getpid()) + ","));
  }
}

TEST_F(UnitStandInTest, PortInUseOnAllAddressesIsRefused) {
  zsock_t* holder = zsock_new_pub("@tcp://*:7000");
  EXPECT_THAT(ErrorOf([this] { mUnit.Open(Peer::kMainAppServer); }),
              HasSubstr(": the port is in use; ss -lptn 'sport = :7000' shows by whom"));
  zsock_destroy(&holder);
}

// A killed service leaves such files behind.
TEST_F(UnitStandInTest, FileThatNobodyListensOnAnyMoreIsTaken) {
  mUnit.Open(Peer::kLogSink);
  const std::string file = mUnit.EndpointOf(Peer::kLogSink).substr(sizeof "ipc://" - 1);
  mUnit.Close(Peer::kLogSink);
  const int stale = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  file.copy(address.sun_path, sizeof address.sun_path - 1);
  unlink(file.c_str());
  ASSERT_EQ(bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(stale);
  EXPECT_NO_THROW(mUnit.Open(Peer::kLogSink));
}

TEST_F(UnitStandInTest, AddressOfAnotherMachineIsExplained) {
  // Reserved for documentation, RFC 5737.
  const Variable address("LOUDCALC_MAIN_BOARD_ADDRESS", "203.0.113.1");
  UnitStandIn elsewhere(1, 1);
  EXPECT_THAT(
      ErrorOf([&] { elsewhere.Open(Peer::kHardwareManager); }),
      AllOf(HasSubstr("cannot bind tcp://203.0.113.1:2000: this machine does not have that "
                      "address"),
            HasSubstr("LOUDCALC_MAIN_BOARD_ADDRESS"), HasSubstr("LOUDCALC_OPTICAL_BOARD_ADDRESS")));
}

TEST_F(UnitStandInTest, InvalidAddressIsNamed) {
  const Variable address("LOUDCALC_OPTICAL_BOARD_ADDRESS", "board");
  EXPECT_THAT(ErrorOf([] { UnitStandIn(1, 1); }),
              AllOf(HasSubstr("LOUDCALC_OPTICAL_BOARD_ADDRESS"), HasSubstr("\"board\"")));
}

TEST_F(UnitStandInTest, MissingSharedMemoryDirectoryIsExplained) {
  if (!HasOwnNamespaces())
    GTEST_SKIP() << "the machine's own /run must not be hidden";
  ASSERT_EQ(0, mount("tmpfs", "/run", "tmpfs", 0, nullptr));
  EXPECT_THAT(ErrorOf([this] { mUnit.Open(Peer::kLogSink); }),
              HasSubstr("loggerSinkMq.ipc: /run/shm is missing"));
  EXPECT_EQ(0, umount("/run"));
}

TEST_F(UnitStandInTest, WaitEndsWithItsPatience) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(mUnit.NextLoudnessData(Patience{50}));
  EXPECT_GE(std::chrono::steady_clock::now() - start, Patience{50});
}

TEST(ServiceMessagesTest, TwelveFramesAreDecodedInTheirOrder) {
  louddesk::Arrival arrival;
  arrival.frames = {"LoudnessData", {"\1\0", 2}, {"\2\0", 2}, {"\3\0", 2},
                    {"\4\0", 2},    {"\5\0", 2}, {"\6\0", 2}, {"\7\0", 2},
                    "\x22\xFC",     {"\1\0", 2}, {"\3\0", 2}, {"\10\0", 2}};
  const louddesk::LoudnessMessage message = louddesk::DecodeLoudnessMessage(arrival);
  EXPECT_TRUE(message.wellFormed);
  EXPECT_THAT(louddesk::PublishedCodes(message.data),
              testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, -990));
  EXPECT_EQ(1, message.validSource);
  EXPECT_EQ(3, message.command);
  EXPECT_EQ(8, message.cluster);
}

TEST(ServiceMessagesTest, OtherFramesAreNotWellFormed) {
  const Frames good = [] {
    Frames frames(12, "xx");
    frames[0] = "LoudnessData";
    return frames;
  }();
  const auto isWellFormed = [](const Frames& frames) {
    louddesk::Arrival arrival;
    arrival.frames = frames;
    return louddesk::DecodeLoudnessMessage(arrival).wellFormed;
  };
  EXPECT_TRUE(isWellFormed(good));
  EXPECT_FALSE(isWellFormed({}));
  EXPECT_FALSE(isWellFormed({"LoudnessData"}));
  Frames wrong = good;
  wrong[0] = "Loudness";
  EXPECT_FALSE(isWellFormed(wrong));
  wrong = good;
  wrong[11] = "x";
  EXPECT_FALSE(isWellFormed(wrong));
  wrong = good;
  wrong.push_back("xx");
  EXPECT_FALSE(isWellFormed(wrong));
}

TEST(ServiceMessagesTest, FramesThatAreNotLogDocumentsAreKeptAsText) {
  EXPECT_EQ("words", louddesk::DecodeLogLine({"words"}).message);
  const louddesk::LogLine line = louddesk::DecodeLogLine(
      {R"({"MsgType":0,"Level":40,"Name":"HwMana","Message":"1|HwMana|ERROR|text"})"});
  EXPECT_EQ(40, line.level);
  EXPECT_EQ("HwMana", line.name);
  EXPECT_EQ("1|HwMana|ERROR|text", line.message);
}

TEST(PresetDocumentTest, IsWhatTheServiceReads) {
  cProbeMatrixConf preset(32);
  louddesk::Preset document;
  document.clusters = {{1, 0}, {3, 2, "Stereo"}};
  document.meters = {{3, "Left", 5}, {4, "Right", 6, "MADI"}};
  document.name = {"News", "Evening", "Studio \"1\""};
  document.clock = "AES";
  document.isRepublished = true;
  const std::string json = document.Json();
  ASSERT_EQ(1, preset.ParsePreset(json.c_str(), true, false, 0, nullptr)) << json;
  EXPECT_EQ(5, preset.GetChannel(2, 0));
  EXPECT_EQ(SIT_AES, preset.GetInputType(2));
  EXPECT_EQ(AST_SPEAKER_LEFT, preset.GetSpeakerType(2));
  EXPECT_EQ(1, preset.GetClusterId(2));
  EXPECT_EQ(SIT_MADI, preset.GetInputType(3));
  EXPECT_EQ(-1, preset.GetClusterId(4));
  EXPECT_EQ("Studio \"1\"", preset.msGroupName);
  EXPECT_TRUE(preset.mbRepub);
}

TEST(PresetDocumentTest, SpeakersFillTheMetersOfOneCluster) {
  cProbeMatrixConf preset(32);
  const std::string json = louddesk::PresetForSpeakers({"Center", "LeftSurround"}, 3).Json();
  ASSERT_EQ(1, preset.ParsePreset(json.c_str(), true, false, 0, nullptr)) << json;
  EXPECT_EQ(2, preset.GetClusterId(0));
  EXPECT_EQ(2, preset.GetClusterId(1));
  EXPECT_EQ(-1, preset.GetClusterId(2));
  EXPECT_EQ(AST_SPEAKER_CENTER, preset.GetSpeakerType(0));
  EXPECT_EQ(AST_SPEAKER_LS, preset.GetSpeakerType(1));
}

TEST(PresetDocumentTest, NoChannelFeedsAMeterWithoutASpeaker) {
  cProbeMatrixConf preset(32);
  const std::string json = louddesk::PresetForSpeakers({"None", "Center"}, 1).Json();
  ASSERT_EQ(1, preset.ParsePreset(json.c_str(), true, false, 0, nullptr)) << json;
  EXPECT_EQ(0, preset.GetChannel(0, 0));
  EXPECT_EQ(2, preset.GetChannel(1, 0));
}

TEST(UnitDocumentsTest, WriteEveryMember) {
  EXPECT_EQ(
      "{\"OriginFromFp\":false,\"ClusterId\":1,\"LraWindow\":9,\"LoudnessStandard\":\"ITU "
      "BS1770-3\",\"LoudnessWindow\":\"Momentary\",\"AlarmTolerance\":2,\"Alarm\":\"Both\","
      "\"ReferenceLevel\":-24,\"Mode\":\"Continuous\",\"LoudnessWindowTime\":3,\"UserID\":0}",
      louddesk::LoudnessConfiguration().Json());
  louddesk::LoudnessCommand command;
  command.command = "Pause";
  command.clusterId = 2;
  command.timeStamp = 7;
  EXPECT_EQ(
      "{\"ClusterId\":2,\"OriginFromFp\":false,\"Command\":\"Pause\",\"MeterSet\":1,\"CmdTS\":7,"
      "\"UserID\":0}",
      command.Json());
  EXPECT_EQ("{\"Enable\":false}", louddesk::EnableReportingJson(false));
}

}  // namespace
