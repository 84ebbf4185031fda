// The shipped LoudDesk against independent meters, over recordings of Debian's packages: integrated
// loudness within 0.05 LU and maximum true peak within 0.2 dB of what libebur128, and ffmpeg where
// it is installed, say of the same file.

#include <ebur128.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace {

constexpr char kLoudDesk[] = LOUDDESK_BINARY;

constexpr double kLoudnessTolerance = 0.05;  // LU
constexpr double kTruePeakTolerance = 0.2;   // dB

// ffmpeg prints one decimal, so that half of it is to be added.
constexpr double kPrintedTolerance = 0.05;

struct Recording {
  const char* name;     // of the test
  const char* package;  // Debian package that it comes with
  const char* path;
};

void PrintTo(const Recording& recording, std::ostream* out) {
  *out << recording.path;
}

// Voices, tones and music; WAV and Ogg; mono and stereo; 8 to 96 kHz; from a second to three
// minutes.
constexpr Recording kRecordings[] = {
    {"FrontCenterVoice", "alsa-utils", "/usr/share/sounds/alsa/Front_Center.wav"},
    {"FrontLeftVoice", "alsa-utils", "/usr/share/sounds/alsa/Front_Left.wav"},
    {"RearRightVoice", "alsa-utils", "/usr/share/sounds/alsa/Rear_Right.wav"},
    {"Noise", "alsa-utils", "/usr/share/sounds/alsa/Noise.wav"},
    {"AlarmClock", "sound-theme-freedesktop",
     "/usr/share/sounds/freedesktop/stereo/alarm-clock-elapsed.oga"},
    {"CameraShutterAt96Kilohertz", "sound-theme-freedesktop",
     "/usr/share/sounds/freedesktop/stereo/camera-shutter.oga"},
    {"LoginAt22Kilohertz", "sound-theme-freedesktop",
     "/usr/share/sounds/freedesktop/stereo/service-login.oga"},
    {"BusyLineAt8Kilohertz", "sound-theme-freedesktop",
     "/usr/share/sounds/freedesktop/stereo/phone-outgoing-busy.oga"},
    {"IncomingCall", "sound-theme-freedesktop",
     "/usr/share/sounds/freedesktop/stereo/phone-incoming-call.oga"},
    {"MusicOfOneMinute", "hex-a-hop-data", "/usr/share/games/hex-a-hop/hex-a-hop/music-ending.ogg"},
    {"MusicOfThreeMinutes", "hex-a-hop-data",
     "/usr/share/games/hex-a-hop/hex-a-hop/music-game-1.ogg"},
};

struct Figures {
  double integrated = 0.0;   // LKFS
  double maxTruePeak = 0.0;  // dBTP
};

// Everything that a command writes to its standard output, by a shell.
std::string OutputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> bytes;
  while (pipe != nullptr) {
    const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), pipe.get());
    if (count == 0)
      break;
    output.append(bytes.data(), count);
  }
  return output;
}

// By the shipped binary.
Figures FiguresOfLoudDesk(const std::string& path) {
  const std::string output =
      OutputOf("'" + std::string(kLoudDesk) + "' measure --format json '" + path + "'");
  rapidjson::Document document;
  document.Parse(output.c_str());
  if (document.HasParseError() || !document.IsObject() || !document["Integrated"].IsNumber() ||
      !document["MaxTruePeak"].IsNumber()) {
    ADD_FAILURE() << "LoudDesk says of " << path << ": " << output;
    return {};
  }
  return {document["Integrated"].GetDouble(), document["MaxTruePeak"].GetDouble()};
}

struct CloseSndfile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

struct DestroyEbur128 {
  void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
};

// By libebur128.
Figures FiguresOfEbur128(const std::string& path) {
  SF_INFO info{};
  const std::unique_ptr<SNDFILE, CloseSndfile> file(sf_open(path.c_str(), SFM_READ, &info));
  if (file == nullptr) {
    ADD_FAILURE() << path << ": " << sf_strerror(nullptr);
    return {};
  }
  const auto channels = static_cast<unsigned>(info.channels);
  const std::unique_ptr<ebur128_state, DestroyEbur128> meter(
      ebur128_init(channels, static_cast<unsigned long>(info.samplerate),
                   EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK));
  std::vector<double> samples(static_cast<std::size_t>(info.samplerate) * channels);
  while (true) {
    const sf_count_t frames = sf_readf_double(file.get(), samples.data(), info.samplerate);
    if (frames <= 0)
      break;
    EXPECT_EQ(
        ebur128_add_frames_double(meter.get(), samples.data(), static_cast<std::size_t>(frames)),
        EBUR128_SUCCESS);
  }
  Figures figures;
  EXPECT_EQ(ebur128_loudness_global(meter.get(), &figures.integrated), EBUR128_SUCCESS);
  double largest = 0.0;
  for (unsigned channel = 0; channel < channels; ++channel) {
    double peak = 0.0;
    EXPECT_EQ(ebur128_true_peak(meter.get(), channel, &peak), EBUR128_SUCCESS);
    largest = std::max(largest, peak);
  }
  figures.maxTruePeak = 20.0 * std::log10(largest);
  return figures;
}

// The number behind the last occurrence of a label such as "I:"; NaN when there is none.
double NumberBehind(const std::string& text, const std::string& label) {
  const std::size_t position = text.rfind(label);
  return position == std::string::npos ? std::nan("")
                                       : std::strtod(&text[position + label.size()], nullptr);
}

// By ffmpeg, from the summary that its filter writes.
Figures FiguresOfFfmpeg(const std::string& path) {
  const std::string output = OutputOf("ffmpeg -nostdin -nostats -hide_banner -i '" + path +
                                      "' -af ebur128=peak=true:framelog=verbose -f null - 2>&1");
  const std::size_t summary = output.rfind("Summary:");
  if (summary == std::string::npos) {
    ADD_FAILURE() << "ffmpeg says of " << path << ": " << output;
    return {};
  }
  const std::string text = output.substr(summary);
  return {NumberBehind(text, "I:"), NumberBehind(text, "Peak:")};
}

bool FfmpegIsInstalled() {
  return std::system("ffmpeg -version >/dev/null 2>&1") == 0;
}

class RecordingsTest : public testing::TestWithParam<Recording> {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(GetParam().path))
      GTEST_SKIP() << "NOT COMPARED: " << GetParam().path << " is missing; install the package "
                   << GetParam().package;
  }
};

TEST_P(RecordingsTest, AgreesWithLibebur128) {
  const Figures ours = FiguresOfLoudDesk(GetParam().path);
  const Figures theirs = FiguresOfEbur128(GetParam().path);
  EXPECT_NEAR(ours.integrated, theirs.integrated, kLoudnessTolerance);
  EXPECT_NEAR(ours.maxTruePeak, theirs.maxTruePeak, kTruePeakTolerance);
}

TEST_P(RecordingsTest, AgreesWithFfmpeg) {
  if (!FfmpegIsInstalled())
    GTEST_SKIP() << "NOT COMPARED: ffmpeg is missing; install the package ffmpeg";
  const Figures ours = FiguresOfLoudDesk(GetParam().path);
  const Figures theirs = FiguresOfFfmpeg(GetParam().path);
  EXPECT_NEAR(ours.integrated, theirs.integrated, kLoudnessTolerance + kPrintedTolerance);
  EXPECT_NEAR(ours.maxTruePeak, theirs.maxTruePeak, kTruePeakTolerance + kPrintedTolerance);
}

INSTANTIATE_TEST_SUITE_P(OfDebian, RecordingsTest, testing::ValuesIn(kRecordings),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
