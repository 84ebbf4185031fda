// The shipped LoudDesk on its command line: exit statuses, output streams, and behaviour on a
// terminal.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <rapidjson/document.h>
#include <signal.h>
#include <sndfile.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Emulation.h"
#include "TestAudio.h"

namespace {

using test_audio::Amplitude;
using test_audio::AudioDirectory;
using test_audio::Repeated;
using test_audio::Samples;
using test_audio::Sine;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kLoudDesk[] = LOUDDESK_BINARY;
constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

// Size in bytes of a file that is just long enough for a progress bar: 250 s.
constexpr std::uint32_t kLong = 24'000'000;

// Size in bytes of a file that takes many seconds to measure.
constexpr std::uint32_t kVeryLong = 2'000'000'000;

struct Outcome {
  int status = -1;
  std::string out;
  std::string errors;
};

// The text as one word of a shell's command line.
std::string Quoted(const std::string& text) {
  return "'" + text + "'";  // no path or argument of these tests contains a quote
}

// A pseudo-terminal. The test has the other end.
class Terminal {
 public:
  explicit Terminal(unsigned short columns) : mOwnSide(posix_openpt(O_RDWR | O_NOCTTY)) {
    EXPECT_EQ(grantpt(mOwnSide), 0);
    EXPECT_EQ(unlockpt(mOwnSide), 0);
    mName = ptsname(mOwnSide);
    mOtherSide = open(mName.c_str(), O_RDWR | O_NOCTTY);
    winsize size{};
    size.ws_col = columns;
    size.ws_row = 24;
    EXPECT_EQ(ioctl(mOwnSide, TIOCSWINSZ, &size), 0);
  }
  ~Terminal() {
    close(mOtherSide);
    close(mOwnSide);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  const std::string& Name() const { return mName; }

  // Waits for output on the terminal. False if none comes in this time.
  bool WaitForText(int milliseconds) const {
    pollfd readable = {mOwnSide, POLLIN, 0};
    return poll(&readable, 1, milliseconds) > 0;
  }

  // The output on the terminal so far.
  std::string Read() const {
    std::string text;
    std::array<char, 4096> bytes;
    pollfd readable = {mOwnSide, POLLIN, 0};
    while (poll(&readable, 1, 0) > 0) {
      const ssize_t count = read(mOwnSide, bytes.data(), bytes.size());
      if (count <= 0)
        break;
      text.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  int mOwnSide;
  int mOtherSide = -1;
  std::string mName;
};

class MeasureCommandTest : public testing::Test {
 protected:
  // Runs LoudDesk from a shell. Standard output and error go to files unless `redirection` changes
  // that.
  Outcome Run(const std::string& arguments, const std::string& redirection = "") const {
    const std::string out = mDirectory.Path("out.txt");
    const std::string errors = mDirectory.Path("errors.txt");
    const std::string command = Quoted(kLoudDesk) + " " + arguments + " >" + Quoted(out) + " 2>" +
                                Quoted(errors) + " " + redirection;
    const int status = std::system(command.c_str());
    Outcome outcome;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.out = test_audio::BytesOf(out);
    outcome.errors = test_audio::BytesOf(errors);
    return outcome;
  }

  std::string WriteTone(const std::string& name) const {
    return mDirectory.Write(name, kFloatWav, 48000, 2,
                            Repeated(Sine(Amplitude(-23.0), 1000.0, 48000, 96000), 2));
  }

  // A sparse file, which takes no disk space: 48000 frames for every 96000 bytes.
  std::string WriteSilence(std::uint32_t sampleBytes) const {
    const std::string path =
        mDirectory.Write("long.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 48000, 2, {0.0, 0.0});
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    for (const auto& [position, size] : {std::pair<int, std::uint32_t>{4, sampleBytes + 36},
                                         std::pair<int, std::uint32_t>{40, sampleBytes}})
      for (int i = 0; i < 4; ++i)
        file.seekp(position + i).put(static_cast<char>(size >> (8 * i) & 0xFF));
    file.close();
    std::filesystem::resize_file(path, 44 + std::uintmax_t{sampleBytes});
    return path;
  }

  AudioDirectory mDirectory;
};

TEST_F(MeasureCommandTest, FilesAreMeasuredIntoATable) {
  const std::string path = WriteTone("tone.wav");
  const Outcome outcome = Run("measure " + Quoted(path));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.out, StartsWith("Integrated  Loudness "));
  EXPECT_THAT(outcome.out, testing::ContainsRegex(" 2\\.00 .* Pass  " + path + "\n"));
}

// A stereo tone of -23 dBFS at 1 kHz reads -23 LKFS (EBU Tech 3341, case 1).
TEST_F(MeasureCommandTest, JsonIsAllThereIsOnStandardOutput) {
  const std::string path = WriteTone("tone.wav");
  const Outcome outcome = Run("measure --format json " + Quoted(path));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  rapidjson::Document document;
  document.Parse(outcome.out.c_str());
  ASSERT_FALSE(document.HasParseError()) << outcome.out;
  EXPECT_EQ(document["File"].GetString(), path);
  EXPECT_NEAR(document["Integrated"].GetDouble(), -23.0, 0.1);
  EXPECT_NEAR(document["MaxMomentary"].GetDouble(), -23.0, 0.1);
  EXPECT_TRUE(document["MaxShortTerm"].IsNull());  // 2 s are too short
  EXPECT_NEAR(document["MaxTruePeak"].GetDouble(), -23.0, 0.2);
  EXPECT_EQ(document["Seconds"].GetDouble(), 2.0);
}

TEST_F(MeasureCommandTest, CsvIsARowAFileAndTheSeriesIsARowABlock) {
  const std::string path = WriteTone("tone.wav");
  const std::string series = mDirectory.Path("series.csv");
  const Outcome outcome =
      Run("measure --format csv --series " + Quoted(series) + " " + Quoted(path));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.out, AllOf(StartsWith("File,Files,"), HasSubstr("\n" + path + ",1,")));
  const std::string rows = test_audio::BytesOf(series);
  EXPECT_THAT(rows, StartsWith("File,Channels,Time (s),"));
  EXPECT_EQ(std::count(rows.begin(), rows.end(), '\n'), 21);
}

TEST_F(MeasureCommandTest, AReportIsWrittenBesideTheTable) {
  const std::string path = WriteTone("tone.wav");
  const std::string report = mDirectory.Path("report.html");
  const Outcome outcome = Run("measure " + Quoted(path) + " --report " + Quoted(report));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.out, HasSubstr(path + "\n"));
  const std::string page = test_audio::BytesOf(report);
  EXPECT_THAT(page, HasSubstr("EBU R 128, version 4: integrated loudness -23.00"));
  EXPECT_THAT(page, testing::ContainsRegex("Measured on 20[0-9][0-9]-[0-9][0-9]-[0-9][0-9] "
                                           "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] [+-][0-9]{4} by "
                                           "LoudDesk [0-9]"));
}

TEST_F(MeasureCommandTest, LimitsAreChosenByOptions) {
  const std::string path = Quoted(WriteTone("tone.wav"));
  const std::string report = mDirectory.Path("report.html");
  struct {
    const char* options;
    const char* named;
  } const cases[] = {
      {"--live",
       "EBU R 128, version 4, live: integrated loudness -23.00 LKFS \xC2\xB1"
       "1.00 LU"},
      {"--profile op-59",
       "Free TV OP-59: integrated loudness -24.00 LKFS \xC2\xB1"
       "1.00 LU, maximum true peak at most -2.00 dBTP"},
      {"--target -16 --tolerance 2",
       "Own limits: integrated loudness -16.00 LKFS \xC2\xB1"
       "2.00 LU, maximum true peak at most -1.00 dBTP"},
      {"--profile none --max-range 10", "Own limits: loudness range at most 10.00 LU"},
  };
  for (const auto& c : cases) {
    const Outcome outcome =
        Run("measure " + path + " --report " + Quoted(report) + " " + c.options);
    EXPECT_EQ(outcome.status, 0) << c.options;
    EXPECT_THAT(test_audio::BytesOf(report), HasSubstr(c.named)) << c.options;
  }
}

// A stereo tone of -23 dBFS reads -23 LKFS; its true peak is -23 dBTP.
TEST_F(MeasureCommandTest, ThePipelineOfAReaderSeesVerdictLimitsAndStatus) {
  const std::string path = Quoted(WriteTone("tone.wav"));
  Outcome outcome = Run("measure --profile ebu-r128 --fail --format json " + path);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out,
              HasSubstr("\"Verdict\":\"pass\",\"Limits\":[{\"Limit\":\"Integrated\","));
  outcome = Run("measure --profile atsc-a85 --max-true-peak -24 --fail --format json " + path);
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.out, HasSubstr("\"Verdict\":\"fail\",\"Limits\":["));
  outcome = Run("measure --profile none " + path);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("Not judged"));
}

TEST_F(MeasureCommandTest, ProfilesAreListedWithoutAFile) {
  const Outcome outcome = Run("measure --list-profiles");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.out, AllOf(StartsWith("Profile "), HasSubstr("\nebu-r128-s1 ")));
}

TEST_F(MeasureCommandTest, ProgrammesAndSpeakersAreChosenByOptions) {
  const std::string path = Quoted(WriteTone("tone.wav"));
  struct {
    const char* options;
    double integrated;  // for a tone of -23 dBFS: on two speakers -23.00, on one 3.01 LU less
  } const cases[] = {
      {"--speakers l,r", -23.0},
      {"--speakers none,c", -26.01},
      {"--speakers none,c --dual-mono", -23.0},
      {"--programme 2=mono", -26.01},
      {"--programme 1=mono --dual-mono --programme 2=mono", -23.0},
  };
  for (const auto& c : cases) {
    const Outcome outcome = Run("measure --format json " + path + " " + c.options);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    const std::string::size_type end = outcome.out.find('\n');
    rapidjson::Document line;
    line.Parse(outcome.out.substr(0, end).c_str());
    ASSERT_TRUE(line.IsObject() && line.HasMember("Integrated")) << outcome.out;
    EXPECT_NEAR(line["Integrated"].GetDouble(), c.integrated, 0.02) << c.options;
  }
}

TEST_F(MeasureCommandTest, AFailedFileIsStatus1AndTheOthersAreMeasured) {
  const std::string good = WriteTone("good.wav");
  const std::string gone = mDirectory.Path("gone.wav");
  const Outcome outcome =
      Run("measure --format json " + Quoted(gone) + " " + Quoted(good) + " --speakers Left,Right");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "LoudDesk: " + gone + ": no such file\n");
  EXPECT_THAT(outcome.out, StartsWith("{\"Schema\":1,\"File\":\"" + good));
}

TEST_F(MeasureCommandTest, AFileMayHaveTheNameOfASubcommandOrAnOption) {
  const std::string path = WriteTone("measure");
  std::filesystem::copy(path, mDirectory.Path("--help"));
  const std::string directory = Quoted(mDirectory.Path("."));
  const std::string command = "cd " + directory + " && " + Quoted(kLoudDesk) +
                              " measure --format json -- measure --help >out.txt 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_THAT(
      test_audio::BytesOf(mDirectory.Path("out.txt")),
      AllOf(StartsWith("{\"Schema\":1,\"File\":\"measure\","), HasSubstr("\"File\":\"--help\",")));
}

TEST_F(MeasureCommandTest, HelpShowsAnExampleAndEverySpeaker) {
  const Outcome outcome = Run("measure --help");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.out, HasSubstr("\nExample:\n  LoudDesk measure "));
  for (const char* word : {"FILE",
                           "--format",
                           "--speakers",
                           "--report",
                           "--target",
                           "--tolerance",
                           "--max-true-peak",
                           "--live",
                           "csv",
                           "Left",
                           "status 130",
                           "6.02 dBTP",
                           "AtLeast",
                           "Right",
                           "Center",
                           "LowFrequencyEffects",
                           "LeftSurround",
                           "RightSurround",
                           "BackSurroundLeft",
                           "BackSurroundRight",
                           "MonoSurround",
                           "--programme",
                           "--dual-mono",
                           "--profile",
                           "--list-profiles",
                           "--max-short-term",
                           "--max-momentary",
                           "--max-range",
                           "--min-range",
                           "--fail",
                           "--album",
                           "--hash",
                           "--series",
                           "None",
                           "measure.schema.json"})
    EXPECT_THAT(outcome.out, HasSubstr(word));
  std::istringstream lines(outcome.out);
  for (std::string line; std::getline(lines, line);)
    EXPECT_LE(line.size(), 80U) << line;
}

TEST_F(MeasureCommandTest, WrongArgumentsAreNamedAndAreAFailure) {
  struct {
    const char* arguments;
    const char* complaint;
  } const cases[] = {
      {"", "a subcommand is missing after LoudDesk: measure, unit, "},
      {"weigh a.wav", "weigh: no such subcommand; the subcommands are measure, unit, "},
      {"measure", "FILE is required"},
      {"measure --format xml a.wav", "--format: xml not in {table,json,csv}"},
      {"measure --loud a.wav", "--loud: no such option (see "},
      {"measure -loud.wav", "-loud.wav: no such option (see "},
      {"measure $(printf '%b' '-\\033[31m')", "-\\x1B[31m: no such option (see "},
      {"measure --speakers Left,Middle a.wav",
       "--speakers: \"Middle\" is not a speaker; the speakers are"},
      {"measure --speakers '' a.wav", "--speakers: \"\" is not a speaker"},
      {"measure --report a.wav b.wav", "--report: the name of a report ends in .html"},
      {"measure --report .html b.wav", "--report: the name of a report ends in .html"},
      {"measure --series a.wav b.wav", "--series: the name of a series ends in .csv"},
      {"measure --programme 1,2 a.wav", "--programme: \"1,2\" is not CHANNELS=SPEAKERS"},
      {"measure --programme 1=mono --speakers L a.wav", "excludes --"},
      {"measure --profile r128 a.wav",
       "--profile: there is no profile \"r128\"; see --list-profiles"},
      {"measure --live --profile deezer a.wav", "the profile deezer has no tolerance for live"},
      {"measure --fail --profile spotify a.wav",
       "--fail: spotify has no limits that could be broken"},
      {"measure --report r.html --live --tolerance 1 a.wav", "excludes --"},
      {"measure --report r.html --target loud a.wav",
       "--target: \"loud\" is not between -70 and 0"},
      {"measure --report r.html --target nan a.wav", "--target: \"nan\" is not between"},
      {"measure --report r.html --target 1 a.wav", "--target: \"1\" is not between"},
      {"measure --report r.html --tolerance -1 a.wav",
       "--tolerance: \"-1\" is not between 0 and 20"},
      {"measure --report r.html --max-true-peak inf a.wav",
       "--max-true-peak: \"inf\" is not between -40 and 20"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = Run(c.arguments);
    EXPECT_EQ(outcome.status, 2) << c.arguments;
    EXPECT_EQ(outcome.out, "") << c.arguments;
    EXPECT_THAT(outcome.errors, AllOf(StartsWith("LoudDesk: "), HasSubstr(c.complaint)))
        << c.arguments;
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << c.arguments;
  }
}

// Arguments that a new user may mistake for an audio file, and the one line about each.
TEST_F(MeasureCommandTest, WhatIsNotAnAudioFileIsNamedWithTheReason) {
  const std::string directory = mDirectory.Path(".");
  const std::string empty = mDirectory.WriteBytes("empty.wav", "");
  const std::string text = mDirectory.WriteBytes("text.wav", "Not a sound.\n");
  struct {
    std::string path;
    const char* reason;
  } const cases[] = {
      {directory, "is a directory"},
      {empty, "is empty"},
      {text, "is not audio that can be read: its format is unknown"},
      {"/dev/null", "is neither a file nor a pipe"},
      {mDirectory.Path("gone.wav"), "no such file"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = Run("measure " + Quoted(c.path));
    EXPECT_EQ(outcome.status, 1) << c.path;
    EXPECT_EQ(outcome.out, "") << c.path;
    EXPECT_EQ(outcome.errors, "LoudDesk: " + c.path + ": " + c.reason + "\n");
  }
}

TEST_F(MeasureCommandTest, AFullDiskIsAFailure) {
  const Outcome outcome = Run("measure " + Quoted(WriteTone("tone.wav")), ">/dev/full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "LoudDesk: the figures could not be written\n");
}

TEST_F(MeasureCommandTest, LongFilesShowProgressOnATerminalAndLeaveItsLineEmpty) {
  const Terminal terminal(60);
  const Outcome outcome =
      Run("measure --format json " + Quoted(WriteSilence(kLong)), "2>" + Quoted(terminal.Name()));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("\"Seconds\":250.00,"));
  const std::string shown = terminal.Read();
  EXPECT_THAT(shown, testing::ContainsRegex("\r\\[#*\\.*\\] +[0-9]+ %  "));
  EXPECT_THAT(shown, testing::EndsWith("\r" + std::string(59, ' ') + "\r"));
}

TEST_F(MeasureCommandTest, LongFilesShowNoProgressInAPipe) {
  const Outcome outcome = Run("measure --format json " + Quoted(WriteSilence(kLong)));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(MeasureCommandTest, CtrlCEndsAMeasurementAtOnce) {
  const std::string path = WriteSilence(kVeryLong);
  const Terminal terminal(80);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    dup2(open(terminal.Name().c_str(), O_RDWR | O_NOCTTY), STDERR_FILENO);
    execl(kLoudDesk, kLoudDesk, "measure", path.c_str(), nullptr);
    _exit(127);
  }
  EXPECT_TRUE(terminal.WaitForText(20000 * kSlowness));
  kill(child, SIGINT);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << "status " << status;
  EXPECT_THAT(terminal.Read(),
              testing::EndsWith("\rLoudDesk: interrupted: 1 of 1 files are not measured\r\n"));
}

TEST_F(MeasureCommandTest, AFileThatLooksLikeAnOptionGoesBehindTwoDashes) {
  WriteTone("-dash.wav");
  const std::string command = "cd " + Quoted(mDirectory.Path(".")) + " && " + Quoted(kLoudDesk);
  EXPECT_NE(std::system((command + " measure -dash.wav >out.txt 2>&1").c_str()), 0);
  EXPECT_EQ(test_audio::BytesOf(mDirectory.Path("out.txt")),
            "LoudDesk: -dash.wav: no such option; write a file of that name after -- (see LoudDesk "
            "measure --help)\n");
  EXPECT_EQ(std::system((command + " measure -- -dash.wav >out.txt 2>&1").c_str()), 0);
}

}  // namespace
