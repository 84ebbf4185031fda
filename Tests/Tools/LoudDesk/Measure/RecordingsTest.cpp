// Compares the shipped LoudDesk with independent meters on recordings from Debian packages.
// Momentary and integrated loudness agree within 0.05 LU, and the maximum true peak within 0.2 dB,
// with libebur128 and, if it is installed, ffmpeg. The engine has its own definition of short-term
// loudness and loudness range: they agree with the figures computed by that definition from
// libebur128's momentary loudness, and are close to libebur128's own figures.

#include <ebur128.h>
#include <gmock/gmock.h>
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
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "TestAudio.h"

namespace {

constexpr char kLoudDesk[] = LOUDDESK_BINARY;

constexpr double kLoudnessTolerance = 0.05;  // LU
constexpr double kTruePeakTolerance = 0.2;   // dB

// EBU Tech 3342 allows 1 LU for its test signals; speech and music stay within half of that.
constexpr double kRangeDistance = 0.5;
constexpr double kAbsoluteGate = -70.0;  // LKFS

constexpr std::size_t kFieldsOfRow = 7;  // last fields of a row of the series, from the time on

// How far the range from one reading per second may be from the range from ten, in LU: for
// programmes of at least a minute, and for shorter ones. Docs/COMPLIANCE.md states both.
constexpr double kStableDeviation = 0.15;
constexpr double kShortDeviation = 0.5;
constexpr std::size_t kStableRange = 600;  // blocks

// The engine's short-term loudness is the mean of the last thirty momentary readings. Each of them
// is the mean of four blocks of 100 ms, so the short-term loudness depends on 33 blocks.
constexpr std::size_t kShortTermReadings = 30;
constexpr std::size_t kMomentaryBlocks = 4;
constexpr std::size_t kShortTermBlocks = kShortTermReadings + kMomentaryBlocks - 1;
constexpr std::size_t kReadingsPerSecond = 10;
constexpr std::size_t kFirstShortTerm = 30;  // number of blocks at the first reading

// The range has one reading per second from 1.3 s on. This block has the first one that covers 3 s.
constexpr std::size_t kFirstOfRange = 33;

// ffmpeg prints one decimal, so half of a tenth is added to the tolerance.
constexpr double kPrintedTolerance = 0.05;

struct Recording {
  const char* name;     // name of the test
  const char* package;  // Debian package that it comes with
  const char* path;     // a file, or a directory whose files are played in a row
};

void PrintTo(const Recording& recording, std::ostream* out) {
  *out << recording.path;
}

// Voices, tones and music; WAV and Ogg; mono and stereo; 8 to 96 kHz; from 1 s to three minutes.
constexpr Recording kRecordings[] = {
    {"FrontCenterVoice", "alsa-utils", "/usr/share/sounds/alsa/Front_Center.wav"},
    {"FrontLeftVoice", "alsa-utils", "/usr/share/sounds/alsa/Front_Left.wav"},
    {"RearRightVoice", "alsa-utils", "/usr/share/sounds/alsa/Rear_Right.wav"},
    {"Noise", "alsa-utils", "/usr/share/sounds/alsa/Noise.wav"},
    {"VoicesAndNoiseInARow", "alsa-utils", "/usr/share/sounds/alsa"},
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

constexpr Recording kLongestRecording = {"MusicOfFiveMinutes", "hex-a-hop-data",
                                         "/usr/share/games/hex-a-hop/hex-a-hop/music-game.ogg"};

struct Figures {
  double integrated = 0.0;   // LKFS
  double maxTruePeak = 0.0;  // dBTP
  double lra = 0.0;          // LU, 0 if there is none
};

// Loudness at the end of a block, LKFS; far below any gate if there is none.
struct Point {
  double momentary = -200.0;
  double shortTerm = -200.0;
};

// A meter's results for a file; one point per block.
struct Measured {
  Figures figures;
  std::vector<Point> points;
};

// Runs a command in a shell and returns its standard output.
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

// The figures of the shipped binary.
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
  return {document["Integrated"].GetDouble(), document["MaxTruePeak"].GetDouble(),
          document["Lra"].IsNumber() ? document["Lra"].GetDouble() : 0.0};
}

// The fields between the commas of a line.
std::vector<std::string> FieldsOf(const std::string& line) {
  std::istringstream text(line);
  std::vector<std::string> fields;
  for (std::string field; std::getline(text, field, ',');)
    fields.push_back(field);
  return fields;
}

// The series of the shipped binary: its rows end with time, momentary and short-term loudness,
// integrated loudness, range, true peak and the mark of damage. The rest behind the last block has
// neither momentary nor short-term loudness.
std::vector<Point> PointsOfLoudDesk(const std::string& path) {
  const test_audio::AudioDirectory directory;
  const std::string series = directory.Path("series.csv");
  OutputOf("'" + std::string(kLoudDesk) + "' measure --series '" + series + "' '" + path + "'");
  std::istringstream rows(test_audio::BytesOf(series));
  std::vector<Point> points;
  std::string row;
  for (std::getline(rows, row); std::getline(rows, row);) {
    const std::vector<std::string> fields = FieldsOf(row + ",");
    EXPECT_GE(fields.size(), kFieldsOfRow) << row;
    const auto figures = fields.end() - static_cast<std::ptrdiff_t>(kFieldsOfRow);
    points.emplace_back();
    if (!figures[1].empty())
      points.back().momentary = std::stod(figures[1]);
    if (!figures[2].empty())
      points.back().shortTerm = std::stod(figures[2]);
  }
  return points;
}

struct CloseSndfile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

struct DestroyEbur128 {
  void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
};

using Ebur128 = std::unique_ptr<ebur128_state, DestroyEbur128>;

double MaxTruePeakOf(const Ebur128& meter) {
  double largest = 0.0;
  for (unsigned channel = 0; channel < meter->channels; ++channel) {
    double peak = 0.0;
    EXPECT_EQ(ebur128_true_peak(meter.get(), channel, &peak), EBUR128_SUCCESS);
    largest = std::max(largest, peak);
  }
  return 20.0 * std::log10(largest);
}

Figures FiguresOf(const Ebur128& meter) {
  Figures figures;
  EXPECT_EQ(ebur128_loudness_global(meter.get(), &figures.integrated), EBUR128_SUCCESS);
  EXPECT_EQ(ebur128_loudness_range(meter.get(), &figures.lra), EBUR128_SUCCESS);
  figures.maxTruePeak = MaxTruePeakOf(meter);
  return figures;
}

Point PointOf(const Ebur128& meter) {
  Point point;
  EXPECT_EQ(ebur128_loudness_momentary(meter.get(), &point.momentary), EBUR128_SUCCESS);
  EXPECT_EQ(ebur128_loudness_shortterm(meter.get(), &point.shortTerm), EBUR128_SUCCESS);
  return point;
}

// The results of libebur128, fed with blocks of 100 ms and the rest.
Measured MeasuredByEbur128(const std::string& path) {
  SF_INFO info{};
  const std::unique_ptr<SNDFILE, CloseSndfile> file(sf_open(path.c_str(), SFM_READ, &info));
  if (file == nullptr) {
    ADD_FAILURE() << path << ": " << sf_strerror(nullptr);
    return {};
  }
  const auto channels = static_cast<unsigned>(info.channels);
  const Ebur128 meter(
      ebur128_init(channels, static_cast<unsigned long>(info.samplerate),
                   EBUR128_MODE_I | EBUR128_MODE_S | EBUR128_MODE_LRA | EBUR128_MODE_TRUE_PEAK));
  const sf_count_t block = info.samplerate / 10;  // a whole number at every rate of the recordings
  std::vector<double> samples(static_cast<std::size_t>(block) * channels);
  Measured measured;
  for (sf_count_t frames = block; frames == block;) {
    frames = sf_readf_double(file.get(), samples.data(), block);
    EXPECT_EQ(
        ebur128_add_frames_double(meter.get(), samples.data(), static_cast<std::size_t>(frames)),
        EBUR128_SUCCESS);
    if (frames == block)
      measured.points.push_back(PointOf(meter));
  }
  measured.figures = FiguresOf(meter);
  return measured;
}

double PowerOf(double loudness) {
  return std::pow(10.0, loudness / 10.0);
}

// The loudness of the mean power of the readings that reach the gate; far below any gate if none
// does.
double MeanAbove(double gate, const std::vector<double>& readings) {
  double sum = 0.0;
  int count = 0;
  for (const double reading : readings)
    if (reading >= gate) {
      sum += PowerOf(reading);
      ++count;
    }
  return count == 0 ? -200.0 : 10.0 * std::log10(sum / count);
}

// Short-term loudness as the engine defines it, from the momentary loudness of another meter. With
// fewer than thirty readings it is the mean of all; before 3 s there is none.
std::vector<double> ShortTermOf(const std::vector<Point>& points) {
  std::vector<double> shortTerm(points.size(), -200.0);
  std::vector<double> window;
  for (std::size_t i = kMomentaryBlocks - 1; i < points.size(); ++i) {
    window.push_back(points[i].momentary);
    if (window.size() > kShortTermReadings)
      window.erase(window.begin());
    if (i + 1 >= kFirstShortTerm)
      shortTerm[i] = MeanAbove(kAbsoluteGate, window);
  }
  return shortTerm;
}

// The loudness range of the short-term readings from block `first` on, `step` blocks apart: from
// the lowest reading that 10 % do not exceed to the highest that 5 % reach. Readings more than 20
// LU below their gated loudness do not count. Percentages are truncated to integers.
double RangeOf(const std::vector<double>& shortTerm, std::size_t first, std::size_t step) {
  std::vector<double> readings;
  for (std::size_t i = first - 1; i < shortTerm.size(); i += step)
    readings.push_back(shortTerm[i]);
  const double relativeGate = MeanAbove(kAbsoluteGate, readings) - 20.0;
  const double gate = MeanAbove(std::max(relativeGate, kAbsoluteGate), readings) - 20.0;
  readings.erase(std::remove_if(readings.begin(), readings.end(),
                                [gate](double reading) { return reading < gate; }),
                 readings.end());
  if (readings.empty() || gate < kAbsoluteGate)
    return 0.0;
  std::sort(readings.begin(), readings.end());
  const std::size_t count = readings.size();
  const auto rankOf = [count](std::size_t percent) {  // index of the first such reading
    std::size_t rank = 0;
    while ((rank + 1) * 100 / count < percent)
      ++rank;
    return rank;
  };
  return readings[count - 1 - rankOf(5)] - readings[rankOf(10)];
}

// The range by the engine's definition: one reading per second.
double RangeOf(const std::vector<double>& shortTerm) {
  return RangeOf(shortTerm, kFirstOfRange, kReadingsPerSecond);
}

// The range by EBU Tech 3342 of 2016: ten readings per second.
double RangeOfAll(const std::vector<double>& shortTerm) {
  return RangeOf(shortTerm, kFirstShortTerm, 1);
}

// The number after the last occurrence of a label such as "I:"; NaN if there is none.
double NumberBehind(const std::string& text, const std::string& label) {
  const std::size_t position = text.rfind(label);
  return position == std::string::npos ? std::nan("")
                                       : std::strtod(&text[position + label.size()], nullptr);
}

// The figures of ffmpeg, from the summary of its filter.
Figures FiguresOfFfmpeg(const std::string& path) {
  const std::string output = OutputOf("ffmpeg -nostdin -nostats -hide_banner -i '" + path +
                                      "' -af ebur128=peak=true:framelog=verbose -f null - 2>&1");
  const std::size_t summary = output.rfind("Summary:");
  if (summary == std::string::npos) {
    ADD_FAILURE() << "ffmpeg says of " << path << ": " << output;
    return {};
  }
  const std::string text = output.substr(summary);
  return {NumberBehind(text, "I:"), NumberBehind(text, "Peak:"), 0.0};
}

bool FfmpegIsInstalled() {
  return std::system("ffmpeg -version >/dev/null 2>&1") == 0;
}

void ExpectSameMomentary(const std::vector<Point>& ours, const std::vector<Point>& theirs) {
  for (std::size_t i = kMomentaryBlocks - 1; i < theirs.size(); ++i)
    if (theirs[i].momentary >= kAbsoluteGate) {
      ASSERT_NEAR(ours[i].momentary, theirs[i].momentary, kLoudnessTolerance) << "block " << i;
    }
}

void ExpectShortTermByDefinition(const std::vector<Point>& ours,
                                 const std::vector<double>& expected) {
  for (std::size_t i = kMomentaryBlocks - 1; i < expected.size(); ++i)
    if (expected[i] >= kAbsoluteGate) {
      ASSERT_NEAR(ours[i].shortTerm, expected[i], kLoudnessTolerance) << "block " << i;
    }
}

// The mean of thirty means of four blocks is also the mean of the last four means of thirty blocks.
// The latter are the standard's short-term readings, 100 ms apart.
void ExpectShortTermAmongLastFour(const std::vector<Point>& ours,
                                  const std::vector<Point>& theirs) {
  for (std::size_t i = kShortTermBlocks - 1; i < theirs.size(); ++i) {
    double lowest = theirs[i].shortTerm;
    double highest = theirs[i].shortTerm;
    for (std::size_t back = 1; back < kMomentaryBlocks; ++back) {
      lowest = std::min(lowest, theirs[i - back].shortTerm);
      highest = std::max(highest, theirs[i - back].shortTerm);
    }
    if (lowest < kAbsoluteGate)
      continue;
    ASSERT_GE(ours[i].shortTerm, lowest - kLoudnessTolerance) << "block " << i;
    ASSERT_LE(ours[i].shortTerm, highest + kLoudnessTolerance) << "block " << i;
  }
}

class RecordingsTest : public testing::TestWithParam<Recording> {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(GetParam().path))
      GTEST_SKIP() << "NOT COMPARED: " << GetParam().path << " is missing; install the package "
                   << GetParam().package;
    mPath = GetParam().path;
    if (std::filesystem::is_directory(mPath))
      mPath = WriteInARow(mPath);
  }

  const std::string& Path() const { return mPath; }

 private:
  // All recordings of a directory, by name, in one file.
  std::string WriteInARow(const std::string& directory) const {
    std::set<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
      if (entry.path().extension() == ".wav")
        paths.insert(entry.path());
    test_audio::Samples samples;
    for (const std::string& path : paths) {
      SF_INFO info{};
      const std::unique_ptr<SNDFILE, CloseSndfile> file(sf_open(path.c_str(), SFM_READ, &info));
      EXPECT_TRUE(info.channels == 1 && info.samplerate == 48000) << path;
      test_audio::Samples one(static_cast<std::size_t>(info.frames));
      EXPECT_EQ(sf_readf_double(file.get(), one.data(), info.frames), info.frames) << path;
      samples = test_audio::Joined(std::move(samples), one);
    }
    return mDirectory.Write("row.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 1, samples);
  }

  test_audio::AudioDirectory mDirectory;
  std::string mPath;
};

// Recordings that have a loudness range.
class LongRecordingsTest : public RecordingsTest {};

TEST_P(RecordingsTest, FiguresAgreeWithLibebur128) {
  const Figures ours = FiguresOfLoudDesk(Path());
  const Measured theirs = MeasuredByEbur128(Path());
  EXPECT_NEAR(ours.integrated, theirs.figures.integrated, kLoudnessTolerance);
  EXPECT_NEAR(ours.maxTruePeak, theirs.figures.maxTruePeak, kTruePeakTolerance);
  EXPECT_NEAR(ours.lra, RangeOf(ShortTermOf(theirs.points)), kLoudnessTolerance);
  if (theirs.points.size() >= kShortTermBlocks) {
    EXPECT_NEAR(ours.lra, theirs.figures.lra, kRangeDistance);
  }
}

TEST_P(RecordingsTest, SeriesFollowsFromLibebur128sAtEveryBlock) {
  const std::vector<Point> ours = PointsOfLoudDesk(Path());
  const std::vector<Point> theirs = MeasuredByEbur128(Path()).points;
  ASSERT_GE(theirs.size(), kMomentaryBlocks);
  ASSERT_GE(ours.size(), theirs.size());
  ExpectSameMomentary(ours, theirs);
  ExpectShortTermByDefinition(ours, ShortTermOf(theirs));
  ExpectShortTermAmongLastFour(ours, theirs);
}

// How far a range with one reading per second is from a range with ten. For programmes under a
// minute a meter must mark the range as not yet stable anyway (EBU Tech 3341).
TEST_P(LongRecordingsTest, OneReadingASecondIsEnoughForTheRange) {
  std::vector<double> shortTerm;
  for (const Point& point : PointsOfLoudDesk(Path()))
    shortTerm.push_back(point.shortTerm);
  ASSERT_GE(shortTerm.size(), kFirstOfRange);
  const double deviation = RangeOf(shortTerm) - RangeOfAll(shortTerm);
  const bool isStable = shortTerm.size() >= kStableRange;
  EXPECT_LE(std::abs(deviation), isStable ? kStableDeviation : kShortDeviation);
}

TEST_P(RecordingsTest, AgreesWithFfmpeg) {
  if (!FfmpegIsInstalled())
    GTEST_SKIP() << "NOT COMPARED: ffmpeg is missing; install the package ffmpeg";
  const Figures ours = FiguresOfLoudDesk(Path());
  const Figures theirs = FiguresOfFfmpeg(Path());
  EXPECT_NEAR(ours.integrated, theirs.integrated, kLoudnessTolerance + kPrintedTolerance);
  EXPECT_NEAR(ours.maxTruePeak, theirs.maxTruePeak, kTruePeakTolerance + kPrintedTolerance);
}

INSTANTIATE_TEST_SUITE_P(OfDebian, RecordingsTest, testing::ValuesIn(kRecordings),
                         [](const auto& test) { return std::string(test.param.name); });

std::vector<Recording> LongRecordings() {
  const std::set<std::string> names = {"VoicesAndNoiseInARow", "AlarmClock", "MusicOfOneMinute",
                                       "MusicOfThreeMinutes"};
  std::vector<Recording> recordings = {kLongestRecording};
  std::copy_if(std::begin(kRecordings), std::end(kRecordings), std::back_inserter(recordings),
               [&](const Recording& recording) { return names.count(recording.name) > 0; });
  return recordings;
}

INSTANTIATE_TEST_SUITE_P(OfDebian, LongRecordingsTest, testing::ValuesIn(LongRecordings()),
                         [](const auto& test) { return std::string(test.param.name); });

#ifdef LOUDDESK_OF_THIS_MACHINE
class AllRecordingsTest : public RecordingsTest {};

// The figures of a file as JSON, and those of each of its blocks.
std::string AllFiguresOf(const std::string& louddesk, const std::string& path) {
  const test_audio::AudioDirectory directory;
  const std::string series = directory.Path("series.csv");
  const std::string figures =
      OutputOf("'" + louddesk + "' measure --format json --series '" + series + "' '" + path + "'");
  return figures + test_audio::BytesOf(series);
}

// Includes lossy formats: their decoders give the same results on both machines.
TEST_P(AllRecordingsTest, FiguresAreThoseOfTheBuildForThisMachine) {
  SCOPED_TRACE(GetParam().path);
  const std::string theirs = AllFiguresOf(LOUDDESK_OF_THIS_MACHINE, Path());
  ASSERT_THAT(theirs, testing::StartsWith("{")) << "nothing from " LOUDDESK_OF_THIS_MACHINE;
  EXPECT_EQ(theirs, AllFiguresOf(kLoudDesk, Path()));
}

std::vector<Recording> AllRecordings() {
  std::vector<Recording> recordings(std::begin(kRecordings), std::end(kRecordings));
  recordings.push_back(kLongestRecording);
  return recordings;
}

INSTANTIATE_TEST_SUITE_P(OfDebian, AllRecordingsTest, testing::ValuesIn(AllRecordings()),
                         [](const auto& test) { return std::string(test.param.name); });
#endif

}  // namespace
