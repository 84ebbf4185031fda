// The desk tool's subcommand `record` beside the shipped service and the stand-in for its peers.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>

#include "Emulation.h"
#include "Endpoints.h"
#include "LoudReport.h"
#include "PubHandler.h"
#include "RecordingReader.h"
#include "RunningService.h"

namespace {

using louddesk::Frames;
using louddesk::Peer;
using louddesk::RecordedMessage;
using louddesk::Sender;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kConnected[] = "Connected to the service and all of its peers";

class RecordCommandTest : public RunningService {
 protected:
  void SetUp() override {
    char name[] = "/tmp/record-test-XXXXXX";
    mFolder = mkdtemp(name);
    mPath = mFolder / "recording";
  }
  void TearDown() override {
    RunningService::TearDown();
    std::filesystem::remove_all(mFolder);
  }

  void StartRecord(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"record", mPath.string()});
    mRecord = std::make_unique<ServiceProcess>(LOUDDESK_BINARY, arguments);
  }

  /// Starts a service and a recorder and waits until both are connected to everything.
  void StartBoth() {
    ASSERT_NO_FATAL_FAILURE(Start());
    StartRecord();
    ASSERT_TRUE(mRecord->WaitForLine(kConnected, kPatience)) << mRecord->StandardError();
    ASSERT_TRUE(mUnit.WaitFor([this] { return HasRecorderSubscribed(); }, kPatience));
  }

  /// Whether the recorder has subscribed. Its subscriptions are a character shorter than the
  /// topics.
  bool HasRecorderSubscribed() const {
    const auto has = [this](Peer peer, const std::string& topic) {
      return mUnit.SubscriptionsAt(peer).count(topic.substr(0, topic.size() - 1)) == 1;
    };
    return has(Peer::kSignalProcessor, mUnit.RawTopic()) &&
           std::all_of(std::begin(kTextPeers), std::end(kTextPeers), [&has](Peer peer) {
             return has(peer, kHwmStatusTopic) && has(peer, kEnableReportingTopic);
           });
  }

  /// The messages in the file now.
  std::vector<RecordedMessage> Recorded() {
    std::ifstream file(mPath, std::ios::binary);
    louddesk::RecordingReader reader(file);
    std::vector<RecordedMessage> messages;
    while (auto message = reader.Next())
      messages.push_back(std::move(*message));
    mFlaw = reader.Flaw();
    return messages;
  }

  std::vector<Frames> RecordedFrom(Sender sender) {
    std::vector<Frames> frames;
    if (!std::filesystem::exists(mPath) || std::filesystem::file_size(mPath) == 0)
      return frames;
    for (const RecordedMessage& message : Recorded())
      if (message.sender == sender)
        frames.push_back(message.frames);
    return frames;
  }

  /// Waits until the file has `count` messages from the sender.
  void ExpectInFile(Sender sender, std::size_t count) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (RecordedFrom(sender).size() < count && std::chrono::steady_clock::now() < end)
      Pass(kPeriod);
    ASSERT_GE(RecordedFrom(sender).size(), count);
  }

  void ExpectEnd(int status) {
    const auto report = mRecord->WaitForExit(kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(status, report->status) << mRecord->StandardError();
  }

  /// Ends the recording as Ctrl-C does.
  void EndRecord() {
    mRecord->Signal(SIGINT);
    ExpectEnd(0);
  }

  static constexpr Peer kTextPeers[] = {Peer::kProcessMonitor, Peer::kHardwareManager,
                                        Peer::kMainAppServer, Peer::kOpticalAppServer};

  std::filesystem::path mFolder;
  std::filesystem::path mPath;
  std::string mFlaw;
  std::unique_ptr<ServiceProcess> mRecord;
};

Frames RawFrames(std::uint64_t power) {
  louddesk::BlockReading block;
  block.powers[0] = power;
  block.peaks[31] = 5;
  return louddesk::RawMessage(1, block);
}

TEST_F(RecordCommandTest, HasWhatEveryPeerSendsByteForByte) {
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  for (const Peer peer : kTextPeers) {
    mUnit.SendText(peer, kHwmStatusTopic, "of " + mUnit.EndpointOf(peer));
    mUnit.SendText(peer, kHwmStatusTopic);
    mUnit.SendText(peer, "HwmStatusOrReques");  // not a topic of the service
    mUnit.SendText(peer, "HbSysStatusEvenX");
  }
  mUnit.SendFrames(Peer::kMainAppServer,
                   {kHwmStatusTopic, std::string("\0\xFF", 2), "", std::string(300000, 'x')});
  for (std::uint64_t power : {1U, 2U, 3U})
    mUnit.SendFrames(Peer::kSignalProcessor, RawFrames(power));
  mUnit.SendFrames(Peer::kSignalProcessor, {"ProbeLuRawData-2", "of another set"});
  mUnit.SendFrames(Peer::kSignalProcessor, {"ProbeLuRawData-12", "whose topic begins the same"});
  ExpectInFile(Sender::kSignalProcessor, 4);
  ExpectInFile(Sender::kOpticalAppServer, 2);
  EndRecord();

  const Sender senders[] = {Sender::kProcessMonitor, Sender::kHardwareManager,
                            Sender::kMainAppServer, Sender::kOpticalAppServer};
  for (std::size_t i = 0; i < std::size(senders); ++i) {
    auto frames = RecordedFrom(senders[i]);
    if (senders[i] == Sender::kMainAppServer) {
      ASSERT_EQ(3U, frames.size());
      EXPECT_EQ((Frames{kHwmStatusTopic, std::string("\0\xFF", 2), "", std::string(300000, 'x')}),
                frames.back());
      frames.pop_back();
    }
    EXPECT_THAT(frames,
                ElementsAre(Frames{kHwmStatusTopic, "of " + mUnit.EndpointOf(kTextPeers[i])},
                            Frames{kHwmStatusTopic}));
  }
  EXPECT_THAT(RecordedFrom(Sender::kSignalProcessor),
              ElementsAre(RawFrames(1), RawFrames(2), RawFrames(3),
                          Frames{"ProbeLuRawData-12", "whose topic begins the same"}));
  EXPECT_EQ("", mFlaw);
}

TEST_F(RecordCommandTest, HasWhatTheServicePublishesAsAnotherClientSeesIt) {
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  // The recorder's subscription to the publishers works once a message has arrived over it.
  ExpectInFile(Sender::kStatePublisher, 1);
  mUnit.DropStates();
  StartMeasuring();
  Feed(12, -23);
  ExpectMeasures(-20);
  std::vector<Frames> published;
  for (int i = 0; i < 20; ++i) {
    const auto message = mUnit.NextLoudnessData(kPatience);
    ASSERT_TRUE(message);
    published.push_back(message->frames);
  }
  ExpectInFile(Sender::kDataPublisher, 1);
  Pass(std::chrono::milliseconds(1500));
  EndRecord();

  const auto recorded = RecordedFrom(Sender::kDataPublisher);
  EXPECT_NE(recorded.end(),
            std::search(recorded.begin(), recorded.end(), published.begin(), published.end()));
  EXPECT_THAT(RecordedFrom(Sender::kStatePublisher),
              Contains(testing::Contains(HasSubstr("\"Command\":\"Start\""))));
  // Each message comes before its effects.
  const auto messages = Recorded();
  const auto preset = std::find_if(messages.begin(), messages.end(), [](const auto& message) {
    return message.frames.front() == "AppProbeIOMatrixStream-1";
  });
  const auto data = std::find_if(messages.begin(), messages.end(), [](const auto& message) {
    return message.sender == Sender::kDataPublisher;
  });
  ASSERT_NE(messages.end(), preset);
  EXPECT_LT(preset, data);
  for (std::size_t i = 1; i < messages.size(); ++i)
    EXPECT_LE(messages[i - 1].time, messages[i].time);
}

TEST_F(RecordCommandTest, WhatWasFlushedSurvivesAKill) {
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  for (std::uint64_t power = 0; power < 500; ++power)
    mUnit.SendFrames(Peer::kSignalProcessor, RawFrames(power));
  ExpectInFile(Sender::kSignalProcessor, 500);
  mRecord->Signal(SIGKILL);
  ASSERT_TRUE(mRecord->WaitForExit(kPatience));

  const auto recorded = RecordedFrom(Sender::kSignalProcessor);
  ASSERT_EQ(500U, recorded.size());
  for (std::uint64_t power = 0; power < 500; ++power)
    EXPECT_EQ(RawFrames(power), recorded[power]);
  EXPECT_EQ("the recording is cut off", mFlaw);
}

// A publisher that waits for the service would otherwise send its first messages before the service
// is there.
TEST_F(RecordCommandTest, IsNotTakenForTheService) {
  mUnit.OpenAll();
  StartRecord();
  ASSERT_TRUE(mUnit.WaitFor([this] { return HasRecorderSubscribed(); }, kPatience));
  EXPECT_THAT(mUnit.MissingSubscriptions(), HasSubstr("no subscription to ProbeLuRawData-1"));
  for (const Peer peer : kTextPeers)
    for (const std::string& topic : louddesk::ServiceTopicsAt(peer, 1))
      EXPECT_EQ(0U, mUnit.SubscriptionsAt(peer).count(topic)) << topic;
  mUnit.SendText(Peer::kMainAppServer, kHwmStatusTopic);
  ExpectInFile(Sender::kMainAppServer, 1);
  EndRecord();
}

// The file consists of head, messages and end, and nothing else. The reader is the one in the
// document; it shares no code with the tool's reader.
TEST_F(RecordCommandTest, TheReaderOfTheDocumentReadsIt) {
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  mUnit.SendText(Peer::kHardwareManager, kHwmStatusTopic, std::string("a\0b", 3));
  for (std::uint64_t power = 0; power < 30; ++power)
    mUnit.SendFrames(Peer::kSignalProcessor, RawFrames(power));
  ExpectInFile(Sender::kSignalProcessor, 30);
  ExpectInFile(Sender::kStatePublisher, 1);
  EndRecord();

  std::ifstream document(RECORDING_DOCUMENT);
  const std::string text{std::istreambuf_iterator<char>(document), {}};
  const std::string open = "```python\n";
  const std::size_t begin = text.find(open) + open.size();
  std::ofstream(mFolder / "reader.py") << text.substr(begin, text.find("```", begin) - begin);
  ServiceProcess reader(PYTHON, {(mFolder / "reader.py").string(), mPath.string()});
  const auto report = reader.WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(0, report->status) << reader.StandardError();

  std::string expected;
  int number = 0;
  for (const RecordedMessage& message : Recorded()) {
    ++number;
    std::ostringstream line;
    line << number << "|" << static_cast<int>(message.sender);
    for (const std::string& frame : message.frames) {
      line << "|";
      for (const char character : frame) {
        char hex[3];
        std::snprintf(hex, sizeof hex, "%02x", static_cast<unsigned char>(character));
        line << hex;
      }
    }
    expected += line.str() + "\n";
  }
  std::string read;
  for (const OutputLine& line : reader.Lines()) {
    std::string columns = line.text;
    std::replace(columns.begin(), columns.end(), ' ', '|');
    const std::size_t time = columns.find('|');
    columns.erase(time, columns.find('|', time + 1) - time);
    read += columns + "\n";
  }
  EXPECT_EQ(expected, read);
}

TEST_F(RecordCommandTest, EndsAfterTheTimeGiven) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartRecord({"--seconds", "7"});  // a republication comes within five
  Pass(std::chrono::milliseconds(7000));
  ExpectEnd(0);
  EXPECT_THAT(RecordedFrom(Sender::kStatePublisher), testing::Not(testing::IsEmpty()));
  EXPECT_EQ("", mFlaw);
}

TEST_F(RecordCommandTest, SaysWhatIsNotThere) {
  StartRecord({"--seconds", "0.2"});
  ExpectEnd(1);
  EXPECT_THAT(mRecord->StandardError(),
              HasSubstr("no message came; not connected: process monitor, hardware manager, "
                        "main application server, optical application server, signal processor, "
                        "data publisher, state publisher"));
  EXPECT_THAT(mRecord->StandardOutput(),
              HasSubstr("Not seen: heartbeats and log, which go to one receiver each"));
}

// A pipe whose reader takes nothing stands for a disk that stalls. Random bytes do not compress.
class StalledOutputTest : public RecordCommandTest {
 protected:
  static constexpr int kMessages = 90;
  static constexpr std::size_t kSize = 500000;

  void SetUp() override {
    RecordCommandTest::SetUp();
    ASSERT_EQ(0, mkfifo(mPath.c_str(), 0600));
    mReader = open(mPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_NE(-1, mReader);
  }
  void TearDown() override {
    close(mReader);
    RecordCommandTest::TearDown();
  }

  void StartAlone() {
    mUnit.OpenAll();
    StartRecord();
    ASSERT_TRUE(mUnit.WaitFor([this] { return HasRecorderSubscribed(); }, kPatience));
  }

  /// Sends more than the recorder keeps, slowly enough for its receiver.
  void Flood() {
    std::minstd_rand random;
    for (int i = 0; i < kMessages; ++i) {
      std::string noise(kSize, '\0');
      for (char& byte : noise)
        byte = static_cast<char>(random() >> 8);
      mUnit.SendFrames(Peer::kMainAppServer, {kHwmStatusTopic, noise});
      Pass(std::chrono::milliseconds(10));
    }
  }

  /// Reads what is in the pipe; false at its end.
  bool ReadPipe(std::string& bytes) const {
    std::string part(1 << 20, '\0');
    const ssize_t size = read(mReader, part.data(), part.size());
    if (size > 0)
      bytes.append(part, 0, static_cast<std::size_t>(size));
    return size != 0;
  }

  int mReader = -1;
};

#ifdef __SANITIZE_ADDRESS__
constexpr bool kShowsMemory = false;  // AddressSanitizer keeps freed memory for a while
#else
constexpr bool kShowsMemory = !kIsEmulated;  // the emulator's memory would count too
#endif

TEST_F(StalledOutputTest, BoundsWhatWaitsAndCountsTheRest) {
  ASSERT_NO_FATAL_FAILURE(StartAlone());
  Flood();
  if (kShowsMemory) {
    EXPECT_LT(mRecord->ResidentKib(), 75 * 1024) << "of the 45 MB, 16 MiB may wait";
  }

  std::string bytes;
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (mRecord->StandardOutput().find(" LOST") == std::string::npos &&
         std::chrono::steady_clock::now() < end && ReadPipe(bytes))
    Pass(std::chrono::milliseconds(10));
  mRecord->Signal(SIGINT);
  while (ReadPipe(bytes))
    Pass(std::chrono::milliseconds(1));
  ExpectEnd(0);

  std::istringstream in(bytes);
  louddesk::RecordingReader reader(in);
  unsigned long kept = 0;
  unsigned long lost = 0;
  while (const auto message = reader.Next()) {
    kept += message->sender == Sender::kMainAppServer ? 1 : 0;
    if (message->sender == Sender::kRecorder)
      lost += std::stoul(message->frames.at(1));
  }
  EXPECT_EQ("", reader.Flaw());
  EXPECT_GE(kept, 16U);
  EXPECT_EQ(kMessages, static_cast<int>(kept + lost));
  EXPECT_THAT(mRecord->StandardError(), HasSubstr(std::to_string(lost) + " messages lost"));
}

TEST_F(StalledOutputTest, AnInterruptEndsIt) {
  ASSERT_NO_FATAL_FAILURE(StartAlone());
  Flood();
  mRecord->Signal(SIGINT);
  ExpectEnd(1);
  EXPECT_THAT(mRecord->StandardError(), HasSubstr("recording: the pipe's reader takes nothing"));
}

TEST_F(RecordCommandTest, NeedsTheReaderOfAPipe) {
  ASSERT_EQ(0, mkfifo(mPath.c_str(), 0600));
  StartRecord();
  ExpectEnd(1);
  EXPECT_THAT(mRecord->StandardError(), HasSubstr("recording: the pipe has no reader"));
}

// As after Ctrl-S, or with a pager that waits.
TEST_F(RecordCommandTest, AStalledTerminalDoesNotStopIt) {
  int ends[2];
  ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
  const std::string filling(4096, '.');
  while (write(ends[1], filling.data(), filling.size()) > 0) {
  }
  fcntl(ends[1], F_SETFL, 0);  // blocks, as a terminal does
  mUnit.OpenAll();
  ProcessOptions options;
  options.output = ends[1];
  mRecord = std::make_unique<ServiceProcess>(LOUDDESK_BINARY,
                                             std::vector<std::string>{"record", mPath.string()},
                                             std::map<std::string, std::string>{}, options);
  ASSERT_TRUE(mUnit.WaitFor([this] { return HasRecorderSubscribed(); }, kPatience));
  mUnit.SendText(Peer::kMainAppServer, kHwmStatusTopic);
  ExpectInFile(Sender::kMainAppServer, 1);
  EndRecord();
  close(ends[0]);
  close(ends[1]);
}

TEST_F(RecordCommandTest, LeavesAnExistingFileAlone) {
  std::ofstream(mPath) << "mine";
  StartRecord();
  ExpectEnd(1);
  EXPECT_THAT(mRecord->StandardError(), HasSubstr("recording: File exists"));
  std::ifstream file(mPath);
  EXPECT_EQ("mine", (std::string{std::istreambuf_iterator<char>(file), {}}));
}

}  // namespace
