// The shipped LoudDesk with media of every kind from every kind of source: video with several
// streams, standard input, pipes, directories, many files at a time, and malicious files.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <signal.h>
#include <sndfile.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "Emulation.h"
#include "TestAudio.h"

namespace {

using test_audio::Amplitude;
using test_audio::AudioDirectory;
using test_audio::BytesOf;
using test_audio::Repeated;
using test_audio::Sine;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr int kRate = 48000;
constexpr int kWav = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

struct Outcome {
  int status = -1;
  std::string out;
  std::string errors;
};

struct Measured {
  std::string file;
  double integrated;
  double seconds;
};

class MediaCommandTest : public testing::Test {
 protected:
  // Runs a shell command in which %l stands for the shipped program and %d for the directory of the
  // files.
  Outcome Run(std::string command) const {
    for (const auto& [letter, text] :
         {std::pair<std::string, std::string>("%l", LOUDDESK_BINARY), {"%d", mDirectory.Path("")}})
      for (std::size_t at = 0; (at = command.find(letter, at)) != std::string::npos;)
        command.replace(at, 2, "'" + text + "'");
    const std::string out = mDirectory.Path("out.txt");
    const std::string errors = mDirectory.Path("errors.txt");
    const int status =
        std::system(("{ " + command + "; } >'" + out + "' 2>'" + errors + "'").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, BytesOf(out), BytesOf(errors)};
  }

  // A stereo tone at 1 kHz reads its level in LKFS (EBU Tech 3341, case 1).
  std::string WriteTone(const std::string& name, double level, double seconds = 4.0) const {
    return mDirectory.Write(
        name, kWav, kRate, 2,
        Repeated(Sine(Amplitude(level), 1000.0, kRate, static_cast<std::size_t>(seconds * kRate)),
                 2));
  }

  static std::vector<Measured> Lines(const std::string& out) {
    std::vector<Measured> lines;
    std::istringstream stream(out);
    for (std::string line; std::getline(stream, line);) {
      rapidjson::Document document;
      document.Parse(line.c_str());
      EXPECT_FALSE(document.HasParseError()) << line;
      lines.push_back({document["File"].GetString(), document["Integrated"].GetDouble(),
                       document["Seconds"].GetDouble()});
    }
    return lines;
  }

  AudioDirectory mDirectory;
};

// Each format that Docs/MEASURING.md names, written by ffmpeg. Block codecs may pad.
TEST_F(MediaCommandTest, EveryFormatInTheReadmeIsMeasured) {
  WriteTone("tone.wav", -23.0);
  const std::pair<const char*, const char*> cases[] = {
      {"a.wav", "-c:a pcm_s24le"},
      {"f.wav", "-c:a pcm_f32le"},
      {"a.rf64.wav", "-rf64 always"},
      {"a.w64", ""},
      {"a.aiff", ""},
      {"a.au", ""},
      {"a.caf", "-c:a pcm_s24le"},
      {"alac.caf", "-c:a alac"},
      {"a.flac", ""},
      {"a.oga", "-c:a flac"},
      {"a.ogg", "-c:a libvorbis"},
      {"a.opus", ""},
      {"a.mp3", ""},
      {"a.mp2", ""},
      {"a.aac", ""},
      {"a.ac3", ""},
      {"a.eac3", ""},
      {"a.m4a", "-c:a aac"},
      {"alac.m4a", "-c:a alac"},
      {"a.mp4", "-c:a aac"},
      {"a.mov", "-c:a pcm_s24le"},
      {"a.mkv", "-c:a ac3"},
      {"opus.mka", "-c:a libopus"},
      {"a.webm", "-c:a libopus"},
      {"a.ts", "-c:a mp2"},
      {"a.mpg", "-c:a mp2"},
      {"a.mxf", "-map 1:v -map 0:a"},
      {"a.avi", "-c:a pcm_s16le"},
      {"a.wma", ""},
      {"a.wv", ""},
      {"a.tta", ""},
  };
  // One ffmpeg process writes them all, because it takes longer to start than to encode.
  std::string encode = "ffmpeg -v error -y -i %d/tone.wav -f lavfi -i color=s=64x64:d=4:r=25";
  std::string files;
  for (const auto& [name, options] : cases) {
    const bool hasPicture = std::string(options).find(":v") != std::string::npos;
    const std::string file = " '" + mDirectory.Path(name) + "'";
    encode += std::string(hasPicture ? " " : " -map 0:a ") + options + file;
    files += file;
  }
  const Outcome encoded = Run(encode);
  ASSERT_EQ(encoded.status, 0) << encoded.errors;
  const Outcome outcome = Run("%l measure --format json" + files);
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.errors, "");
  const auto lines = Lines(outcome.out);
  ASSERT_EQ(lines.size(), std::size(cases)) << outcome.out;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string name = cases[i].first;
    EXPECT_EQ(lines[i].file, mDirectory.Path(name));
    EXPECT_NEAR(lines[i].integrated, -23.0, 0.6) << name;  // LAME attenuates by 0.45 dB
    EXPECT_NEAR(lines[i].seconds, 4.0, 0.1) << name;
  }
}

TEST_F(MediaCommandTest, StreamsOfAVideoAreListedAndChosen) {
  WriteTone("a.wav", -20.0);
  WriteTone("b.wav", -26.0);
  const std::string film = mDirectory.Make(
      "film.mkv",
      "ffmpeg -v error -f lavfi -i testsrc2=d=4:s=64x64 -i %d/a.wav -i %d/b.wav -map 0 -map 1 -map "
      "2 -c:a flac -metadata:s:a:1 language=fra -metadata:s:a:1 title=Commentaire "
      "-disposition:a:0 default -disposition:a:1 0 %o");
  const Outcome listed = Run("%l measure --list-streams '" + film + "'");
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.errors, "");
  EXPECT_THAT(listed.out, StartsWith(film + "\n   1  flac, 48000 Hz, stereo"));
  EXPECT_THAT(listed.out, HasSubstr("  (measured)\n   2  flac, 48000 Hz, stereo"));
  EXPECT_THAT(listed.out, HasSubstr("fra, Commentaire\n"));
  const std::pair<const char*, double> cases[] = {
      {"", -20.0}, {"--stream 1", -20.0}, {"--stream 2", -26.0}};
  for (const auto& [option, level] : cases) {
    const Outcome outcome =
        Run(std::string("%l measure --format json ") + option + " '" + film + "'");
    ASSERT_EQ(outcome.status, 0) << option << outcome.errors;
    EXPECT_NEAR(Lines(outcome.out).at(0).integrated, level, 0.1) << option;
    const bool isAsked = *option != '\0';
    EXPECT_EQ(outcome.errors, isAsked ? ""
                                      : "LoudDesk: " + film +
                                            ": note: has 2 audio streams, of which stream 1 is "
                                            "measured; choose with --stream\n");
  }
  const Outcome gone = Run("%l measure --stream 3 '" + film + "'");
  EXPECT_EQ(gone.status, 1);
  EXPECT_EQ(gone.errors, "LoudDesk: " + film + ": has no audio stream 3; it has 2\n");
}

TEST_F(MediaCommandTest, StandardInputAndPipesAreMeasured) {
  WriteTone("a.wav", -23.0);
  const char* const commands[] = {
      "%l measure --format json - <%d/a.wav",
      "cat %d/a.wav | %l measure --format json -",
      "ffmpeg -v error -i %d/a.wav -f wav - | %l measure --format json -",
      "ffmpeg -v error -i %d/a.wav -f flac - | %l measure --format json -",
      "ffmpeg -v error -i %d/a.wav -f matroska - | %l measure --format json -",
      ("mkfifo %d/fifo.wav; cat %d/a.wav >%d/fifo.wav & %l measure --format json %d/fifo.wav; "
       "s=$?; rm %d/fifo.wav; exit $s"),
  };
  for (const char* command : commands) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 0) << command << outcome.errors;
    EXPECT_EQ(outcome.errors, "") << command;
    ASSERT_EQ(Lines(outcome.out).size(), 1U) << command;
    EXPECT_NEAR(Lines(outcome.out)[0].integrated, -23.0, 0.1) << command;
    EXPECT_NEAR(Lines(outcome.out)[0].seconds, 4.0, 0.001) << command;
  }
}

// An MP4 with its index at the end cannot be read in order.
TEST_F(MediaCommandTest, WhatCannotComeFromAPipeSaysSo) {
  WriteTone("a.wav", -23.0);
  mDirectory.Make("a.m4a", "ffmpeg -v error -i %d/a.wav %o");
  const Outcome outcome = Run("cat %d/a.m4a | %l measure -");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.errors, StartsWith("LoudDesk: standard input: "));
  EXPECT_THAT(outcome.errors, HasSubstr("pipe"));
}

// What fills the pipe has failed.
TEST_F(MediaCommandTest, APipeWithoutAByteIsEmpty) {
  for (const char* option : {"", "--list-streams"}) {
    const Outcome outcome = Run(std::string("false | %l measure - ") + option);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "LoudDesk: standard input: is empty\n");
  }
}

TEST_F(MediaCommandTest, DirectoriesAreMeasuredWithAllBelowThem) {
  const std::filesystem::path root = mDirectory.Path("media");
  std::filesystem::create_directories(root / "b" / "c");
  std::filesystem::create_directories(root / "empty");
  WriteTone("media/b/c/two.WAV", -22.0);
  WriteTone("media/a.wav", -21.0);
  mDirectory.WriteBytes("media/b/cover.jpg", "not sound");
  const Outcome outcome = Run("%l measure --format json --recursive %d/media");
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  const auto lines = Lines(outcome.out);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[0].file, testing::EndsWith("media/a.wav"));
  EXPECT_THAT(lines[1].file, testing::EndsWith("media/b/c/two.WAV"));
  const Outcome empty = Run("%l measure --recursive %d/media/empty");
  EXPECT_EQ(empty.status, 1);
  EXPECT_THAT(empty.errors, HasSubstr("media/empty: contains no audio or video files\n"));
}

// The first file is finished; the second never ends.
TEST_F(MediaCommandTest, CtrlCWritesWhatIsFinished) {
  const std::string good = WriteTone("a.wav", -23.0);
  const std::string fifo = mDirectory.Path("endless.wav");
  const std::string report = mDirectory.Path("report.html");
  ASSERT_EQ(std::system(("mkfifo '" + fifo + "'").c_str()), 0);
  const std::string out = mDirectory.Path("out.txt");
  const std::string errors = mDirectory.Path("errors.txt");
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
    dup2(open(errors.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
    execl(LOUDDESK_BINARY, LOUDDESK_BINARY, "measure", "--jobs", "2", "--format", "json",
          "--report", report.c_str(), fifo.c_str(), good.c_str(), nullptr);
    _exit(127);
  }
  const int feeder = open(fifo.c_str(), O_WRONLY);  // the measurement has begun
  // The worker of the second file has closed it and now waits for the first file.
  const std::string descriptors = "/proc/" + std::to_string(child) + "/fd";
  const auto holds = [&descriptors](const std::string& path) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(descriptors, error))
      if (std::filesystem::read_symlink(entry.path(), error) == path)
        return true;
    return false;
  };
  for (int i = 0; i < 200 && !holds(good); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  for (int i = 0; i < 20000 && holds(good); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  kill(child, SIGINT);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  close(feeder);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << "status " << status;
  EXPECT_EQ(Lines(BytesOf(out)).size(), 1U);
  EXPECT_EQ(BytesOf(errors), "LoudDesk: interrupted: 1 of 2 files are not measured\n");
  EXPECT_THAT(BytesOf(report), AllOf(HasSubstr("a.wav"), HasSubstr("interrupted")));
}

// No output of a decoder reaches the terminal, and no file ends the program.
TEST_F(MediaCommandTest, FilesThatMeanHarmAreNamedInOneLineAndTheOthersAreMeasured) {
  const std::string good = WriteTone("good.wav", -23.0);
  mDirectory.WriteBytes("list.m3u8",
                        "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\n" + good + "\n");
  mDirectory.WriteBytes("list.ffconcat", "ffconcat version 1.0\nfile '" + good + "'\n");
  mDirectory.WriteBytes("remote.m3u8", "#EXTM3U\n#EXTINF:4,\nhttp://127.0.0.1:9/a.ts\n");
  std::string flac = BytesOf(mDirectory.Make("a.flac", "flac -s -o %o %d/good.wav"));
  flac.replace(4, flac.size() - 4, flac.size() - 4, '\xFF');
  mDirectory.WriteBytes("ones.flac", flac);
  mDirectory.WriteBytes("huge.m4a", std::string("\0\0\0\1ftypM4A \x7F\xFF\xFF\xFF\xFF\xFF\xFF\xF0"
                                                "moov",
                                                24));
  mDirectory.WriteBytes("noise.bin", std::string(100000, '\x5A'));
  std::filesystem::copy(good, mDirectory.Path("zeros.wav"));
  std::filesystem::resize_file(mDirectory.Path("zeros.wav"), std::uintmax_t{3} << 30);
  const std::string names[] = {"list.m3u8", "list.ffconcat", "remote.m3u8",
                               "ones.flac", "huge.m4a",      "noise.bin"};
  std::string arguments;
  for (const std::string& name : names)
    arguments += " '" + mDirectory.Path(name) + "'";
  const Outcome outcome =
      Run("timeout 60 %l measure --format json" + arguments + " %d/zeros.wav %d/good.wav");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(Lines(outcome.out).size(), 2U);
  std::istringstream lines(outcome.errors);
  for (const std::string& name : names) {
    std::string line;
    std::getline(lines, line);
    EXPECT_THAT(line, StartsWith("LoudDesk: " + mDirectory.Path(name) + ": "));
  }
  EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 6) << outcome.errors;
}

TEST_F(MediaCommandTest, MemoryDoesNotGrowWithTheNumberOfFiles) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "AddressSanitizer keeps freed memory for a while";
#endif
  if (kIsEmulated)
    GTEST_SKIP() << "the memory of the emulator counts as the program's";
  WriteTone("a.wav", -23.0, 0.5);
  const auto peakOf = [this](int files) {  // KiB
    const Outcome outcome =
        Run("for i in $(seq " + std::to_string(files) +
            "); do echo %d/a.wav; done | xargs python3 -c 'import resource, subprocess, sys\n"
            "subprocess.run(sys.argv[1:], check=True)\n"
            "usage = resource.getrusage(resource.RUSAGE_CHILDREN)\n"
            "print(usage.ru_maxrss, file=sys.stderr)' %l measure --jobs 2 --format json");
    EXPECT_EQ(Lines(outcome.out).size(), static_cast<std::size_t>(files));
    return std::atol(outcome.errors.c_str());
  };
  const long few = peakOf(20);
  ASSERT_GT(few, 1000);
  EXPECT_LT(peakOf(500), few + 2000);  // 4 KiB a file
}

}  // namespace
