// The record agrees with the programme that was played: a desk plays a recording to a service, a
// gate records what the service publishes, and `LoudDesk log` must give the same figures for that
// time as `LoudDesk measure` gives for the file.

#include <sndfile.h>

#include <csignal>
#include <ctime>
#include <filesystem>

#include "GateProcess.h"
#include "TestAudio.h"

namespace {

// The tolerance that Docs/COMPLIANCE.md promises.
constexpr double kTolerance = 0.05 + 1e-9;  // LU, of the printed figures

constexpr char kRecording[] = "/usr/share/games/hex-a-hop/hex-a-hop/music-ending.ogg";

class GateEvidenceTest : public GateTest {
 protected:
  nlohmann::json DeskSays(const std::vector<std::string>& arguments) const {
    ServiceProcess desk(LOUDDESK_BINARY, arguments);
    const auto report = desk.WaitForExit(kPatience);
    EXPECT_TRUE(report && report->status == 0) << desk.StandardError();
    return nlohmann::json::parse(desk.StandardOutput());
  }

  // Plays a file in real time and returns the recorded figures of that time.
  nlohmann::json Recorded(const std::string& file) {
    const std::string record = mAudio.Path("station.db");
    StartProcess();
    StartGate({"--record", record});
    const std::int64_t begin = std::time(nullptr);
    ServiceProcess desk(LOUDDESK_BINARY, {"unit", file});
    const auto report = desk.WaitForExit(std::chrono::minutes(2));
    EXPECT_TRUE(report && report->status == 0) << desk.StandardError();
    const std::int64_t end = std::time(nullptr) + 1;
    ExpectGateEnds(SIGTERM);
    return DeskSays({"log", record, "--cluster", "1-1", "--from", UtcText(begin), "--to",
                     UtcText(end), "--format", "json"});
  }

  void ExpectAgreement(const nlohmann::json& recorded, const nlohmann::json& measured) {
    EXPECT_NEAR(recorded["Integrated"].get<double>(), measured["Integrated"].get<double>(),
                kTolerance);
    // The service publishes the maxima in tenths.
    EXPECT_NEAR(recorded["MaxMomentary"].get<double>(), measured["MaxMomentary"].get<double>(),
                0.1);
    EXPECT_NEAR(recorded["MaxTruePeak"].get<double>(), measured["MaxTruePeak"].get<double>(), 0.2);
  }

  // A second may be missing at either end, because the desk starts after the period begins.
  static void ExpectNoGapInside(const nlohmann::json& recorded) {
    for (const nlohmann::json& gap : recorded["Gaps"]["List"])
      EXPECT_TRUE(gap["From"] == recorded["From"] || gap["To"] == recorded["To"]) << gap;
  }

  test_audio::AudioDirectory mAudio;

 private:
  static std::string UtcText(std::time_t time) {
    std::tm fields{};
    gmtime_r(&time, &fields);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields);
    return text;
  }
};

// The levels lie between the published tenths, so that every reading is rounded. The file ends in
// silence, because the service repeats its last readings until the desk has disconnected.
TEST_F(GateEvidenceTest, LevelsBetweenTheTenthsAgree) {
  test_audio::Samples samples;
  for (const double level : {-20.37, -27.12, -23.84, -33.46, -21.93})
    for (const double sample :
         test_audio::Sine(test_audio::Amplitude(level), 997, 48000, 48000 * 3))
      samples.push_back(sample);
  samples.resize(samples.size() + 48000 * 2);
  const std::string file = mAudio.Write("levels.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 48000, 2,
                                        test_audio::Repeated(samples, 2));
  const nlohmann::json recorded = Recorded(file);
  ExpectAgreement(recorded, DeskSays({"measure", "--format", "json", file}));
  ExpectNoGapInside(recorded);
  EXPECT_GE(recorded["Seconds"].get<double>(), 17.0);
}

TEST_F(GateEvidenceTest, ARecordingAgrees) {
  if (!std::filesystem::exists(kRecording))
    GTEST_SKIP() << "NOT COMPARED: " << kRecording
                 << " is missing; install the package hex-a-hop-data";
  const nlohmann::json recorded = Recorded(kRecording);
  ExpectAgreement(recorded, DeskSays({"measure", "--format", "json", kRecording}));
}

}  // namespace
