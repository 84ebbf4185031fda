// `LoudDesk unit` around the shipped service, as a process.

#pragma once

#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "RunningService.h"
#include "TestAudio.h"

class PlayedUnit : public RunningService {
 protected:
  using Arguments = std::vector<std::string>;

  static constexpr int kSampleRate = 48000;
  static constexpr char kQuick[] = "50";  // speed, a multiple of real time

  using RunningService::RunningService;

  ~PlayedUnit() override { CloseInput(); }

  /// Starts the desk. Its input is empty unless `start` provides one.
  void StartDesk(Arguments arguments, const ProcessOptions& start = {}) {
    arguments.insert(arguments.begin(), "unit");
    mDesk = std::make_unique<ServiceProcess>(LOUDDESK_BINARY, arguments,
                                             std::map<std::string, std::string>{}, start);
  }

  /// Starts the desk with a pipe for orders, see Write.
  void StartDeskWithPipe(const Arguments& arguments) {
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    mInput = ends[1];
    ProcessOptions start;
    start.input = ends[0];
    StartDesk(arguments, start);
    close(ends[0]);
  }

  /// Starts the service, then the desk with a pipe for orders. Waits until the desk plays and the
  /// test receives messages of the service.
  void StartBoth(const Arguments& arguments) {
    StartProcess();
    ASSERT_NO_FATAL_FAILURE(StartDeskWithPipe(arguments));
    ASSERT_TRUE(mDesk->WaitForLine("Playing ", kPatience)) << mDesk->StandardError();
    ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  }

  /// Writes to the desk's input, a pipe. The desk must not have ended.
  void Write(const std::string& text) {
    ASSERT_EQ(static_cast<ssize_t>(text.size()), write(mInput, text.data(), text.size()));
  }

  /// Ends the desk's input, a pipe.
  void CloseInput() {
    if (mInput >= 0)
      close(mInput);
    mInput = -1;
  }

  /// Writes a line to the desk and waits for one that contains `answer` after the echo of the
  /// order.
  void ExpectAnswer(const std::string& order, const std::string& answer) {
    const std::size_t before = mDesk->LineCount();
    Write(order + "\n");
    EXPECT_TRUE(mDesk->WaitForLine(answer, kPatience, before))
        << "no \"" << answer << "\" to \"" << order << "\" in\n"
        << mDesk->StandardOutput();
  }

  /// Waits for the desk to end by itself with this status.
  void ExpectEnd(int status) {
    const auto report = mDesk->WaitForExit(kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(status, report->status) << mDesk->StandardError();
  }

  /// Expects that the desk ends with status 1 and writes one line, which contains `text`.
  void ExpectRefusal(const std::string& text) {
    ExpectEnd(1);
    const std::string errors = mDesk->StandardError();
    EXPECT_THAT(errors,
                testing::AllOf(testing::StartsWith("LoudDesk: "), testing::HasSubstr(text)));
    EXPECT_EQ(1, std::count(errors.begin(), errors.end(), '\n')) << errors;
    EXPECT_EQ("", mDesk->StandardOutput());
  }

  /// The value of a final figure, as text: the first one if there are several.
  std::string Final(const std::string& name, const std::string& unit) {
    for (const OutputLine& line : mDesk->Lines()) {
      const std::string& text = line.text;
      if (line.isError || text.rfind(name + " ", 0) != 0)
        continue;
      const std::size_t begin = text.find_first_not_of(' ', name.size());
      const std::size_t end = text.find(' ', begin);
      EXPECT_EQ(unit, text.substr(end + 1));
      return text.substr(begin, end - begin);
    }
    ADD_FAILURE() << "no " << name << " in\n" << mDesk->StandardOutput();
    return "";
  }

  /// Number of lines of the desk that equal `text`, or that begin with it.
  std::size_t LinesEqualTo(const std::string& text) const {
    return CountLines([&text](const std::string& line) { return line == text; });
  }
  std::size_t LinesBeginningWith(const std::string& text) const {
    return CountLines([&text](const std::string& line) { return line.rfind(text, 0) == 0; });
  }

  /// A file with a sine of 997 Hz on all channels, with peaks at `levelDb`.
  std::string Tone(const std::string& name, double seconds, double levelDb, std::size_t channels) {
    const auto frames = static_cast<std::size_t>(seconds * kSampleRate);
    const test_audio::Samples tone =
        test_audio::Sine(test_audio::Amplitude(levelDb), 997, kSampleRate, frames);
    return mAudio.Write(name, SF_FORMAT_WAV | SF_FORMAT_FLOAT, kSampleRate, channels,
                        test_audio::Repeated(tone, channels));
  }

  test_audio::AudioDirectory mAudio;
  std::unique_ptr<ServiceProcess> mDesk;

 private:
  int mInput = -1;  // our end of the desk's input if that is a pipe; -1: none

  template <typename Condition>
  std::size_t CountLines(const Condition& condition) const {
    const std::vector<OutputLine> lines = mDesk->Lines();
    return static_cast<std::size_t>(std::count_if(
        lines.begin(), lines.end(),
        [&condition](const OutputLine& line) { return !line.isError && condition(line.text); }));
  }
};
