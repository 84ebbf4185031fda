// The example messages and the shipped service: the messages that it sends equal the examples byte
// for byte; the messages that it receives have the effects that Docs/PROTOCOL.md describes.

#include "GoldenMessage.h"

#include <czmq.h>

#include <optional>

#include "GoldenFile.h"
#include "RunningService.h"

namespace {

using golden::Frames;
using golden::IsMessage;
using golden::ReadMessage;
using louddesk::LoudnessMessage;
using louddesk::Peer;
using testing::ElementsAre;
using testing::Matches;

/// The senders of topics, by the beginning of the topic.
constexpr struct {
  const char* topic;
  Peer sender;
} kSenders[] = {
    {"HbSysStatusEvent", Peer::kProcessMonitor},
    {"HbAppCmd", Peer::kProcessMonitor},
    {"HwmStatusOrRequest", Peer::kHardwareManager},
    {"AppLoudnessCmd", Peer::kMainAppServer},
    {"AppProbeIOMatrixStream-", Peer::kMainAppServer},
    {"AppProbeSetLuConf-", Peer::kMainAppServer},
    {"AppIOQVLoudnessCmd-", Peer::kMainAppServer},
    {"QVProbeOptInputDataCmd", Peer::kOpticalAppServer},
    {"ProbeLuRawData-", Peer::kSignalProcessor},
    {"LoudnessDspData", Peer::kSignalProcessor},
};

class GoldenMessagesTest : public RunningService {
 protected:
  using RunningService::RunningService;

  void SetUp() override { ASSERT_NO_FATAL_FAILURE(Start()); }

  /// Sends an example message `count` times from its peer.
  void Send(const std::string& name, unsigned count = 1) {
    const Frames frames = ReadMessage(name);
    for (const auto& [topic, sender] : kSenders)
      if (frames.front().find(topic) == 0)
        return SendFrom(sender, frames, count);
    FAIL() << "nobody sends " << frames.front();
  }

  void SendFrom(Peer sender, const Frames& frames, unsigned count) {
    for (unsigned i = 0; i < count; ++i)
      mUnit.SendFrames(sender, frames);
  }

  /// The next state that is not a republication; those come at any time.
  void ExpectState(const std::string& name) {
    while (const auto state = mUnit.NextState(kPatience))
      if (state->topic.find("_Repub_") == std::string::npos) {
        EXPECT_THAT(state->frames, IsMessage(name));
        return;
      }
    ADD_FAILURE() << "no state instead of " << name;
  }

  /// The next state of the same topic.
  void ExpectRepublication(const std::string& name) {
    const std::string topic = ReadMessage(name).front();
    while (const auto state = mUnit.NextState(kPatience))
      if (state->topic == topic) {
        EXPECT_THAT(state->frames, IsMessage(name));
        return;
      }
    ADD_FAILURE() << "no " << topic;
  }

  /// Waits for a message that is sent repeatedly.
  void ExpectSteadyData(const std::string& name) {
    ExpectData(
        [&](const LoudnessMessage& message) { return Matches(IsMessage(name))(message.frames); },
        name);
    ExpectNextData(name, 2);
  }

  void ExpectNextData(const std::string& name, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      const auto message = mUnit.NextLoudnessData(kPatience);
      ASSERT_TRUE(message) << "instead of " << name;
      EXPECT_THAT(message->frames, IsMessage(name));
    }
  }

  /// Waits for the message at the log sink; earlier messages are dropped.
  void ExpectLog(const std::string& name) {
    while (const auto line = mUnit.NextLogLine(kPatience))
      if (Matches(IsMessage(name))(line->frames))
        return;
    ADD_FAILURE() << "no " << name << " at the log sink";
  }

  void ExpectLine(const std::string& text) {
    EXPECT_TRUE(mService->WaitForLine(text, kPatience)) << text;
  }

  void ExpectOrderlyEnd() {
    const auto report = mService->WaitForExit(kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(0, report->status);
  }

  /// Expects ten messages without readings, then silence.
  void ExpectInvalidSource() {
    ExpectNextData("loudness-data-invalid-source.frames", 5);
    ExpectNextData("loudness-data-invalid-source-last.frames", 5);
    ExpectNoData();
  }

  /// A stereo programme measured in continuous mode.
  void StartStereo() {
    Send("enable-reporting.frames");
    ExpectLine("enable true");
    Send("preset-stereo.frames");
    ExpectAcknowledgement("Start");
  }

  /// The same under the example configuration, in the mode in which a stop has an effect.
  void StartConfiguredStereo() {
    StartStereo();
    Send("configuration.frames");
    ExpectAcknowledgement("Start");
    mUnit.DropLoudnessData();
  }
};

/// Both publishers of this service bind the same name. An early client may have reached the first
/// one; a new client reaches the second, the state publisher.
class WithoutMeterSetTest : public GoldenMessagesTest {
 protected:
  WithoutMeterSetTest() : GoldenMessagesTest(0, 1) {}

  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(GoldenMessagesTest::SetUp());
    mStates.emplace("Lc1LoudnessDataPub.ipc");
  }

  /// The next message that is a republication, or that is not one; no frames if none comes.
  Frames NextFrames(bool isRepublication) {
    for (Frames frames = NextFrames(); !frames.empty(); frames = NextFrames())
      if ((frames.front().find("_Repub_") != std::string::npos) == isRepublication)
        return frames;
    return {};
  }

  Frames NextFrames() {
    auto& messages = mStates->Messages();
    zmq_pollitem_t item{zsock_resolve(mStates->Socket()), 0, ZMQ_POLLIN, 0};
    while (messages.empty()) {
      if (zmq_poll(&item, 1, static_cast<long>(kPatience.count())) <= 0)
        return {};
      mStates->ReadPending();
    }
    const Frames frames = messages.front().frames;
    messages.pop_front();
    return frames;
  }

  std::optional<louddesk::DataClient> mStates;
};

// ---- Reporting, presets, configurations ----

TEST_F(GoldenMessagesTest, ReportingIsSwitchedOnAndOff) {
  Send("enable-reporting.frames");
  ExpectLine("\"QVProbeOptInputDataCmd: {\"Enable\":true}   enable true\"");
  Send("disable-reporting.frames");
  ExpectLine("\"QVProbeOptInputDataCmd: {\"Enable\":false}   enable false\"");
}

TEST_F(GoldenMessagesTest, StereoPresetBringsItsMetersIntoTheProgramme) {
  Send("enable-reporting.frames");
  ExpectLine("enable true");
  Send("preset-stereo.frames");
  ExpectLine("\"#0 cl 1/0  1.000000 -> 0x1 :: 1.000000\"");
  ExpectLine("\"#1 cl 1/0  1.000000 -> 0x3 :: 1.000000\"");
  ExpectAcknowledgement("Reset");
  ExpectState("acknowledgement-after-preset.frames");
}

TEST_F(GoldenMessagesTest, SurroundPresetBringsTheMetersOfItsOwnClusterIntoTheProgramme) {
  Send("preset-5.1.frames");
  ExpectLine("\"#3 cl 1/0  0.000000 -> 0xf :: 0.000000\"");   // low-frequency effects
  ExpectLine("\"#5 cl 1/0  1.410000 -> 0x3f :: 1.410000\"");  // right surround
  ExpectLine("\"#6 cl 1/1  1.000000 -> 0x3f :: 0.000000\"");  // a meter of cluster 2
  ExpectLine("\"#8 cl 1/2  1.000000 -> 0x3f :: 0.000000\"");  // a meter of cluster 3
}

TEST_F(GoldenMessagesTest, RepublishedPresetRestartsTheProgrammeInForce) {
  StartConfiguredStereo();
  Send("preset-republished.frames");
  ExpectLine("\"Preset republished!\\n\"");
  ExpectAcknowledgement("Reset");
  ExpectState("current-configuration.frames");
  ExpectAcknowledgement("Start");
  Send("raw-block.frames", 53);
  Send("raw-block-quiet.frames", 25);
  ExpectSteadyData("loudness-data.frames");
}

TEST_F(GoldenMessagesTest, PresetWithoutMetersIsAnInvalidSource) {
  Send("enable-reporting.frames");
  ExpectLine("enable true");
  Send("preset-without-meters.frames");
  ExpectInvalidSource();
}

TEST_F(GoldenMessagesTest, RefusedPresetIsAnInvalidSource) {
  Send("enable-reporting.frames");
  ExpectLine("enable true");
  Send("preset-refused.frames");
  ExpectLogLine("\"Preset parsing failed so preset is reset to initial state\"");
  ExpectInvalidSource();
}

TEST_F(GoldenMessagesTest, ConfigurationRestartsAndIsPublished) {
  StartStereo();
  Send("configuration.frames");
  ExpectAcknowledgement("Reset");
  ExpectState("current-configuration.frames");
  ExpectAcknowledgement("Start");
}

TEST_F(GoldenMessagesTest, RefusedConfigurationLeavesItsModeBehind) {
  StartStereo();
  Send("configuration-refused.frames");
  ExpectLine("\"AppProbeSetLuConf-1\\n\\ failed parsing\\n\"");
  Send("command-stop.frames");
  ExpectState("acknowledgement-stop.frames");
}

// ---- Commands and data ----

TEST_F(GoldenMessagesTest, StartIsAcknowledgedInTwoSteps) {
  StartConfiguredStereo();
  Send("command.frames");
  ExpectState("acknowledgement-start-reset.frames");
  ExpectState("current-configuration.frames");
  ExpectState("acknowledgement-start.frames");
  ExpectSteadyData("loudness-data-reset.frames");
  mUnit.DropStates();
  ExpectRepublication("command-republished.frames");
  ExpectRepublication("current-configuration-republished.frames");
}

TEST_F(GoldenMessagesTest, BlocksAreMeasuredAndEachCommandIsAcknowledged) {
  StartConfiguredStereo();
  mUnit.DropStates();
  Send("raw-block.frames", 53);
  Send("raw-block-quiet.frames", 25);
  ExpectSteadyData("loudness-data.frames");
  Send("command-pause.frames");
  ExpectState("acknowledgement-pause.frames");
  ExpectSteadyData("loudness-data-paused.frames");
  Send("command-play.frames");
  ExpectState("acknowledgement-play.frames");
  Send("command-reset.frames");
  ExpectState("acknowledgement-reset.frames");
  Send("command-stop.frames");
  ExpectState("acknowledgement-stop.frames");
}

TEST_F(GoldenMessagesTest, PrintIsPrintedAndNotAcknowledged) {
  StartConfiguredStereo();
  Send("command-print.frames");
  ExpectLine("\t\tLuCmd: Print : 6");
  Send("command.frames");
  ExpectState("acknowledgement-start-reset.frames");
}

TEST_F(GoldenMessagesTest, CommandToAnotherClusterIsRefused) {
  StartConfiguredStereo();
  Send("command-other-cluster.frames");
  ExpectLine("\"AppIOQVLoudnessCmd-1\\n\\ failed parsing 1 : 2\\n\"");
  Send("command.frames");
  ExpectState("acknowledgement-start-reset.frames");
}

TEST_F(GoldenMessagesTest, LastCommandIsRepublishedFromTheStartOn) {
  ExpectRepublication("command-republished-at-start.frames");
}

// ---- Messages without a further effect ----

TEST_F(GoldenMessagesTest, ApplicationLoudnessCommandIsWarnedOf) {
  Send("application-loudness-command.frames");
  ExpectLog("log-warning.frames");
}

TEST_F(GoldenMessagesTest, HardwareStatusIsTakenInSilence) {
  // One sender, so that the second message is read after the first.
  SendFrom(Peer::kHardwareManager, ReadMessage("hardware-status.frames"), 1);
  SendFrom(Peer::kHardwareManager, ReadMessage("application-loudness-command.frames"), 1);
  ExpectLine("\"Topic AppLoudnessCmd not handled\"");
  for (const OutputLine& line : mService->Lines())
    EXPECT_EQ(std::string::npos, line.text.find("HwmStatusOrRequest")) << line.text;
}

// ---- Process monitor, log sink ----

TEST_F(GoldenMessagesTest, SystemStatusIsLogged) {
  Send("system-status.frames");
  ExpectLogLine("\"Got System status Okay 1.\"");
  ExpectLogLine("\"Dolby decoder detected.\"");
  Send("system-status-fault.frames");
  ExpectLogLine("\"Got System status Fault 0.\"");
}

TEST_F(GoldenMessagesTest, BrokenSystemStatusStopsTheService) {
  Send("system-status-broken.frames");
  ExpectStopByAssertion("doc.IsObject()");
}

TEST_F(GoldenMessagesTest, UpgradeEndsTheService) {
  Send("application-command.frames");
  ExpectLogLine("\"Got app command 100. Exiting ...\"");
  ExpectOrderlyEnd();
}

TEST_F(GoldenMessagesTest, RebootEndsTheService) {
  Send("application-command-reboot.frames");
  ExpectLogLine("\"Got app command 9. Exiting ...\"");
  ExpectOrderlyEnd();
}

TEST_F(GoldenMessagesTest, RefusedApplicationCommandIsLogged) {
  Send("application-command-refused.frames");
  ExpectLog("log-error.frames");
}

TEST_F(GoldenMessagesTest, HeartbeatIsItsExample) {
  EXPECT_THAT(mUnit.NextHeartbeat(kPatience), testing::Optional(IsMessage("heartbeat.frames")));
}

TEST_F(GoldenMessagesTest, LogSinkFirstHearsOfItsConnection) {
  const auto line = mUnit.NextLogLine(kPatience);
  ASSERT_TRUE(line);
  EXPECT_THAT(line->frames, IsMessage("log-info.frames"));
}

// ---- A service without a meter set ----

TEST_F(WithoutMeterSetTest, HeartbeatHasNoNumber) {
  EXPECT_THAT(mUnit.NextHeartbeat(kPatience),
              testing::Optional(IsMessage("heartbeat-without-meter-set.frames")));
}

TEST_F(WithoutMeterSetTest, RawBlockIsWarnedOf) {
  Send("raw-block-without-meter-set.frames");
  ExpectLogLine("\"Topic LoudnessDspData not handled\"");
}

TEST_F(WithoutMeterSetTest, AcknowledgementNamesNoCluster) {
  EXPECT_THAT(NextFrames(true), IsMessage("command-republished-without-meter-set.frames"));
  EnableReporting();
  SendPreset(ReadGolden("preset-stereo.json"));
  EXPECT_THAT(NextFrames(false),
              ElementsAre("IOQVHwmLoudnessCmd_0", R"({"Command":"Reset","OriginFromFp":false})"));
  EXPECT_THAT(NextFrames(false), IsMessage("acknowledgement-without-meter-set.frames"));
}

}  // namespace
