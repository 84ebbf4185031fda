// The files of a command line: output streams, and a file that fails without affecting the others.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sndfile.h>
#include <sys/resource.h>

#include <algorithm>
#include <limits>
#include <sstream>

#include "FileHash.h"
#include "MeasureCommand.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::Amplitude;
using test_audio::AudioDirectory;
using test_audio::CutOff;
using test_audio::Noise;
using test_audio::Repeated;
using test_audio::Samples;
using test_audio::Sine;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kRate = 48000;
constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

Samples Tone(double levelDb, double seconds) {
  return Sine(Amplitude(levelDb), 1000.0, kRate, static_cast<std::size_t>(seconds * kRate));
}

Samples StereoTone(double levelDb, double seconds) {
  return Repeated(Tone(levelDb, seconds), 2);
}

std::string LastLine(const std::string& text) {
  const std::size_t end = text.rfind('\n', text.size() - 2);
  return text.substr(end == std::string::npos ? 0 : end + 1);
}

// Options for these files in this style, with a report if its path is not empty.
MeasureOptions Options(std::vector<std::string> files, FigureStyle style = FigureStyle::kTable,
                       const std::string& report = "") {
  MeasureOptions options;
  options.files = std::move(files);
  options.style = style;
  options.report = report;
  return options;
}

// The options with a target, a tolerance and a limit of the true peak.
MeasureOptions WithLimits(MeasureOptions options, double target, double tolerance,
                          double maxTruePeak) {
  options.profile.target = target;
  options.profile.limits.tolerance = tolerance;
  options.profile.limits.maxTruePeak = maxTruePeak;
  return options;
}

class MeasureFilesTest : public testing::Test {
 protected:
  std::string WriteTone(const std::string& name, double seconds = 1.0) const {
    return mDirectory.Write(name, kFloatWav, kRate, 2, StereoTone(-20.0, seconds));
  }

  int Run(const MeasureOptions& options, const TerminalColumns& columns = nullptr) {
    mOut.str("");
    mErrors.str("");
    return MeasureFiles(options, mOut, mErrors, columns);
  }

  AudioDirectory mDirectory;
  std::ostringstream mOut;
  std::ostringstream mErrors;
};

TEST_F(MeasureFilesTest, TableHasOneHeadingForAllFiles) {
  const std::string a = WriteTone("a.wav");
  const std::string b = WriteTone("b.wav");
  EXPECT_EQ(Run(Options({a, b}, FigureStyle::kTable)), 0);
  EXPECT_EQ(mErrors.str(), "");
  const std::string text = mOut.str();
  EXPECT_THAT(text, StartsWith("Integrated  "));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 5);
  EXPECT_EQ(text.find("Integrated"), text.rfind("Integrated"));
  EXPECT_LT(text.find(a), text.find(b));
}

TEST_F(MeasureFilesTest, JsonHasNothingButOneObjectAFile) {
  const std::string a = WriteTone("a.wav");
  EXPECT_EQ(Run(Options({a, a}, FigureStyle::kJson)), 0);
  const std::string text = mOut.str();
  const std::string line = text.substr(0, text.find('\n') + 1);
  EXPECT_EQ(text, line + line);
  EXPECT_THAT(line, StartsWith("{\"Schema\":1,\"File\":\"" + a + "\","));
}

TEST_F(MeasureFilesTest, AFileThatFailsIsOneLineAndTheOthersAreMeasured) {
  const std::string good = WriteTone("good.wav");
  const std::string cut = WriteTone("cut.wav");
  CutOff(cut, 100000);
  const std::string gone = mDirectory.Path("gone.wav");
  EXPECT_EQ(Run(Options({gone, good, cut, good}, FigureStyle::kJson)), 1);
  const std::string out = mOut.str();
  const std::string errors = mErrors.str();
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 3);
  EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 2);
  EXPECT_THAT(errors, StartsWith("LoudDesk: " + gone + ": no such file\n"));
  EXPECT_THAT(errors, HasSubstr("LoudDesk: " + cut + ": note: "));
  EXPECT_THAT(errors, HasSubstr(" % of the file is missing: it ends early, at "));
}

TEST_F(MeasureFilesTest, ATableWithoutARowHasNoHeading) {
  EXPECT_EQ(Run(Options({mDirectory.Path("gone.wav")}, FigureStyle::kTable)), 1);
  EXPECT_EQ(mOut.str(), "");
}

TEST_F(MeasureFilesTest, ASampleThatIsNotANumberIsNamedByItsPosition) {
  for (const double bad :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    Samples samples = StereoTone(-20.0, 1.0);
    samples[2 * 24000 + 1] = bad;
    const std::string path = mDirectory.Write("bad.wav", kFloatWav, kRate, 2, samples);
    EXPECT_EQ(Run(Options({path}, FigureStyle::kTable)), 1);
    EXPECT_EQ(mOut.str(), "");
    EXPECT_EQ(mErrors.str(),
              "LoudDesk: " + path +
                  ": contains a sample that is not a number in channel 2, frame 24000 "
                  "(0.500 s)\n");
  }
}

// 2016 frames are 42 ms: alone less than a block, after a block a rest.
TEST_F(MeasureFilesTest, ASampleThatIsNotANumberIsNamedInTheLastIncompleteBlockToo) {
  for (const std::size_t frames : {2016U, 4800U + 2016U}) {
    Samples samples(2 * frames, 0.1);
    samples.back() = std::numeric_limits<double>::quiet_NaN();
    const std::string path = mDirectory.Write("bad.wav", kFloatWav, kRate, 2, samples);
    EXPECT_EQ(Run(Options({path}, FigureStyle::kTable)), 1);
    EXPECT_EQ(mOut.str(), "");
    EXPECT_THAT(mErrors.str(),
                HasSubstr(": contains a sample that is not a number in channel 2, frame " +
                          std::to_string(frames - 1) + " ("));
  }
}

TEST_F(MeasureFilesTest, APeakInTheLastIncompleteBlockFailsTheReport) {
  Samples samples = StereoTone(-23.0, 5.0);
  for (const double sample : StereoTone(-0.5, 0.083))
    samples.push_back(sample);
  const std::string path = mDirectory.Write("burst.wav", kFloatWav, kRate, 2, samples);
  const std::string report = mDirectory.Path("report.html");
  MeasureOptions options = Options({path}, FigureStyle::kTable, report);
  options.series = mDirectory.Path("series.csv");
  EXPECT_EQ(Run(options), 0);
  EXPECT_THAT(LastLine(test_audio::BytesOf(options.series)),
              testing::MatchesRegex(".*burst.wav,\"1,2\",5.08,,,-2[23]...,0.00,-0.[45].,no\n"));
  const std::string page = test_audio::BytesOf(report);
  EXPECT_THAT(page, HasSubstr("dB above the limit"));
  EXPECT_THAT(page, HasSubstr(" dBTP at 0:00:05.1"));
}

// A tone of +18 dBFS: the scale of the true peak ends at 6.02 dBTP, that of loudness codes at +10.
TEST_F(MeasureFilesTest, FiguresAtTheEndOfTheirScalesAreMarkedEverywhere) {
  const std::string path = mDirectory.Write("loud.wav", kFloatWav, kRate, 2, StereoTone(18.0, 4.0));
  const std::string note =
      "LoudDesk: " + path +
      ": note: beyond the scale, so at least the value shown: Integrated loudness, Maximum "
      "short-term, Maximum true peak\nLoudDesk: " +
      path + ": note: above the scale of loudness; there is no loudness range\n";
  EXPECT_EQ(Run(Options({path}, FigureStyle::kTable)), 0);
  EXPECT_THAT(mOut.str(), HasSubstr("    >=9.99         -      18.0"));
  EXPECT_THAT(mOut.str(), HasSubstr("     >=6.02      4.00  "));
  EXPECT_EQ(mErrors.str(), note);
  EXPECT_EQ(Run(Options({path}, FigureStyle::kCsv)), 0);
  EXPECT_EQ(mErrors.str(), note);
  EXPECT_EQ(Run(Options({path}, FigureStyle::kJson)), 0);
  EXPECT_THAT(mOut.str(),
              HasSubstr("\"AtLeast\":[\"Integrated\",\"MaxShortTerm\",\"MaxTruePeak\"]"));
}

TEST_F(MeasureFilesTest, ALimitBeyondTheEndOfTheScaleIsNotKept) {
  const std::string path = mDirectory.Write("loud.wav", kFloatWav, kRate, 2, StereoTone(9.0, 1.0));
  const std::string report = mDirectory.Path("report.html");
  EXPECT_EQ(Run(WithLimits(Options({path}, FigureStyle::kTable, report), 0.0, 20.0, 10.0)), 0);
  const std::string page = test_audio::BytesOf(report);
  EXPECT_THAT(page, HasSubstr("Open</span> at least 6.02 dBTP; how much more is beyond the scale"));
  EXPECT_THAT(page, HasSubstr("highest: at least 6.02 dBTP at "));
  EXPECT_THAT(page, HasSubstr("\xE2\x89\xA5 6.02 "));
}

// 5.1 in the channel order of each format. A tone on the LFE channel alone has no loudness. A tone
// of -20 dBFS on both surrounds reads -20 + 10 log10(1.41) = -18.51 LKFS, except for coding errors.
TEST_F(MeasureFilesTest, ChannelsAreTakenInTheOrderOfTheFormat) {
  struct {
    const char* name;
    int format;
    std::size_t effects;
    std::size_t firstSurround;
  } const cases[] = {
      {"a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 3, 4},
      {"a.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 3, 4},
      {"a.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 3, 4},
      {"a.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 5, 3},
      {"a.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, 5, 3},
  };
  for (const auto& c : cases) {
    std::vector<Samples> channels(6, Samples(4 * kRate, 0.0));
    channels[c.effects] = Sine(Amplitude(-6.0), 60.0, kRate, 4 * kRate);
    const std::string effects =
        mDirectory.Write(c.name, c.format, kRate, 6, test_audio::Interleaved(channels));
    EXPECT_EQ(Run(Options({effects}, FigureStyle::kJson)), 0);
    EXPECT_THAT(mOut.str(), HasSubstr("\"Integrated\":null,")) << c.name;
    channels[c.effects].assign(4 * kRate, 0.0);
    channels[c.firstSurround] = Tone(-20.0, 4.0);
    channels[c.firstSurround + 1] = Tone(-20.0, 4.0);
    const std::string surrounds =
        mDirectory.Write(c.name, c.format, kRate, 6, test_audio::Interleaved(channels));
    EXPECT_EQ(Run(Options({surrounds}, FigureStyle::kJson)), 0);
    const std::string key = "\"Integrated\":";
    const std::size_t figure = mOut.str().find(key + "-");
    ASSERT_NE(figure, std::string::npos) << mOut.str();
    EXPECT_NEAR(std::stod(mOut.str().substr(figure + key.size())), -18.51, 0.15) << c.name;
  }
}

TEST_F(MeasureFilesTest, NamesOfFilesReachTheTerminalWithoutControlCharacters) {
  const std::string path =
      mDirectory.Write("red\x1B[31m\n.wav", kFloatWav, kRate, 2, StereoTone(12.0, 0.5));
  EXPECT_EQ(Run(Options({path, mDirectory.Path("gone\x1B[31m")}, FigureStyle::kTable)), 1);
  EXPECT_THAT(mOut.str(), HasSubstr("/red\\x1B[31m\\x0A.wav\n"));
  EXPECT_THAT(mErrors.str(), HasSubstr("/red\\x1B[31m\\x0A.wav: note: "));
  EXPECT_THAT(mErrors.str(), HasSubstr("/gone\\x1B[31m: no such file\n"));
  EXPECT_THAT(mOut.str() + mErrors.str(), testing::Not(HasSubstr("\x1B")));
}

TEST_F(MeasureFilesTest, SpeakersCountForEveryFile) {
  const std::string stereo = WriteTone("stereo.wav");
  const std::string mono = mDirectory.Write("mono.wav", kFloatWav, kRate, 1, Tone(-20.0, 1.0));
  MeasureOptions options = Options({stereo, mono});
  options.programmes.speakers = SpeakerLayout{"Left", "Right"};
  EXPECT_EQ(Run(options), 1);
  EXPECT_EQ(mErrors.str(), "LoudDesk: " + mono + ": has 1 channel, but --speakers names 2\n");
  EXPECT_THAT(mOut.str(), HasSubstr(stereo));
}

TEST_F(MeasureFilesTest, AStreamThatTakesNothingIsAFailure) {
  std::ostringstream full;
  full.setstate(std::ios::badbit);
  const MeasureOptions options = Options({WriteTone("a.wav")});
  EXPECT_EQ(MeasureFiles(options, full, mErrors, nullptr), 1);
  EXPECT_EQ(mErrors.str(), "LoudDesk: the figures could not be written\n");
}

// A second has ten blocks.
TEST_F(MeasureFilesTest, TheSeriesHasOneHeadingAndARowForEveryBlock) {
  const std::string a = WriteTone("a.wav");
  const std::string b = WriteTone("b.wav");
  MeasureOptions options = Options({a, b});
  options.series = mDirectory.Path("series.csv");
  EXPECT_EQ(Run(options), 0);
  EXPECT_EQ(mErrors.str(), "");
  const std::string text = test_audio::BytesOf(options.series);
  EXPECT_THAT(text, StartsWith("File,Channels,Time (s),"));
  EXPECT_THAT(text, HasSubstr("\n" + a + ",\"1,2\",0.10,,,,,-"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 21);
  EXPECT_EQ(text.find("File"), text.rfind("File"));
  EXPECT_THAT(LastLine(text), StartsWith(b + ",\"1,2\",1.00,-"));
}

TEST_F(MeasureFilesTest, NothingIsMeasuredForASeriesThatCannotBeWritten) {
  MeasureOptions options = Options({WriteTone("a.wav")});
  options.series = mDirectory.Path("missing/series.csv");
  EXPECT_EQ(Run(options), 1);
  EXPECT_EQ(mOut.str(), "");
  EXPECT_EQ(mErrors.str(), "LoudDesk: " + options.series +
                               ": the series cannot be written: No such file or directory\n");
}

TEST_F(MeasureFilesTest, ASeriesThatFindsTheDiskFullIsAFailureAndLeavesTheEarlierOne) {
  MeasureOptions options = Options({WriteTone("a.wav")});
  options.series = mDirectory.WriteBytes("series.csv", "earlier");
  const test_audio::FileSizeLimit limit(200);
  EXPECT_EQ(Run(options), 1);
  EXPECT_EQ(mErrors.str(),
            "LoudDesk: " + options.series + ": the series could not be written: File too large\n");
  EXPECT_EQ(test_audio::BytesOf(options.series), "earlier");
}

TEST_F(MeasureFilesTest, CsvHasOneHeadingAndARowForEveryFile) {
  const std::string a = WriteTone("a.wav");
  const std::string b = WriteTone("b.wav");
  EXPECT_EQ(Run(Options({a, b}, FigureStyle::kCsv)), 0);
  const std::string rows = mOut.str();
  EXPECT_THAT(rows, StartsWith("File,Files,Channels,"));
  EXPECT_EQ(std::count(rows.begin(), rows.end(), '\n'), 3);
  EXPECT_THAT(LastLine(rows), StartsWith(b + ",1,"));
}

TEST_F(MeasureFilesTest, AnAlbumIsOneMoreRowForAllFiles) {
  const std::string loud = mDirectory.Write("a.wav", kFloatWav, kRate, 2, StereoTone(-20.0, 10.0));
  const std::string quiet = mDirectory.Write("b.wav", kFloatWav, kRate, 2, StereoTone(-26.0, 10.0));
  MeasureOptions options = Options({loud, mDirectory.Path("gone"), quiet}, FigureStyle::kTable,
                                   mDirectory.Path("r.html"));
  options.hasAlbum = true;
  EXPECT_EQ(Run(options), 1);
  EXPECT_NEAR(std::stod(LastLine(mOut.str())), -22.04, 0.02);  // loudness codes are 0.02 LU wide
  EXPECT_THAT(LastLine(mOut.str()), testing::EndsWith("  all 2 files as one programme\n"));
  EXPECT_THAT(test_audio::BytesOf(options.report), HasSubstr("all 2 files as one programme</bdi>"));
}

TEST_F(MeasureFilesTest, SeveralProgrammesHaveARowAnAlbumAndASectionEach) {
  const std::string path = mDirectory.Write(
      "three.wav", kFloatWav, kRate, 3,
      test_audio::Interleaved({Tone(-20.0, 5.0), Tone(-20.0, 5.0), Tone(-30.0, 5.0)}));
  MeasureOptions options = Options({path, path}, FigureStyle::kTable, mDirectory.Path("r.html"));
  options.programmes.programmes = {ParseProgramme("1,2=stereo"), ParseProgramme("3=mono")};
  options.hasAlbum = true;
  EXPECT_EQ(Run(options), 0);
  for (const char* name : {"three.wav [channels 1,2]\n", "three.wav [channel 3]\n",
                           "all 2 files as one programme [channels 1,2]\n",
                           "all 2 files as one programme [channel 3]\n"})
    EXPECT_THAT(mOut.str(), HasSubstr(name));
  EXPECT_THAT(test_audio::BytesOf(options.report), HasSubstr("id=\"file-6\""));
}

// A tone of -23 dBFS on two channels reads -23 LKFS.
TEST_F(MeasureFilesTest, TheStatusTellsOfBrokenLimitsWhenItIsAskedTo) {
  const std::string kept =
      mDirectory.Write("kept.wav", kFloatWav, kRate, 2, StereoTone(-23.0, 4.0));
  const std::string broken = WriteTone("broken.wav");
  const std::string silent =
      mDirectory.Write("silent.wav", kFloatWav, kRate, 2, Samples(2 * kRate, 0.0));
  const std::string gone = mDirectory.Path("gone.wav");
  struct {
    std::vector<std::string> files;
    int status;
    int statusWithFail;
  } const cases[] = {
      {{kept}, 0, 0},   {{broken}, 0, 3}, {{kept, broken}, 0, 3}, {{broken, kept}, 0, 3},
      {{silent}, 0, 1}, {{gone}, 1, 1},   {{gone, broken}, 1, 1}, {{broken, gone}, 1, 1},
  };
  for (const auto& c : cases) {
    MeasureOptions options = Options(c.files, FigureStyle::kJson);
    EXPECT_EQ(Run(options), c.status) << c.files.front();
    options.profile.failsByVerdict = true;
    EXPECT_EQ(Run(options), c.statusWithFail) << c.files.front();
  }
}

TEST_F(MeasureFilesTest, ALimitThatCouldNotBeJudgedIsNamedWhereTheStatusTells) {
  const std::string silent =
      mDirectory.Write("silent.wav", kFloatWav, kRate, 2, Samples(kRate, 0.0));
  MeasureOptions options = Options({silent}, FigureStyle::kJson);
  options.profile.failsByVerdict = true;
  EXPECT_EQ(Run(options), 1);
  EXPECT_EQ(mErrors.str(), "LoudDesk: " + silent + ": not judged: Integrated loudness\nLoudDesk: " +
                               silent + ": not judged: Maximum true peak\n");
}

TEST_F(MeasureFilesTest, TheHashIsReportedWhenItIsWanted) {
  const std::string path = WriteTone("a.wav");
  MeasureOptions options = Options({path}, FigureStyle::kJson);
  EXPECT_EQ(Run(options), 0);
  EXPECT_THAT(mOut.str(), HasSubstr("\"Sha256\":null"));
  options.hasHash = true;
  EXPECT_EQ(Run(options), 0);
  EXPECT_THAT(mOut.str(), HasSubstr("\"Sha256\":\"" + Sha256Of(path) + "\""));
}

TEST_F(MeasureFilesTest, AReportStandsBesideTheTable) {
  const std::string a = WriteTone("a.wav");
  const std::string report = mDirectory.Path("report.html");
  EXPECT_EQ(Run(Options({a}, FigureStyle::kTable)), 0);
  const std::string table = mOut.str();
  EXPECT_EQ(Run(Options({a}, FigureStyle::kTable, report)), 0);
  EXPECT_EQ(mOut.str(), table);
  EXPECT_EQ(mErrors.str(), "");
  const std::string page = test_audio::BytesOf(report);
  EXPECT_THAT(page, StartsWith("<!DOCTYPE html>"));
  EXPECT_THAT(page, HasSubstr("<bdi>a.wav</bdi>"));
  EXPECT_THAT(page, testing::EndsWith("</html>\n"));
}

TEST_F(MeasureFilesTest, AReportReplacesAnEarlierOne) {
  const std::string report = mDirectory.WriteBytes("report.html", std::string(2'000'000, 'x'));
  EXPECT_EQ(Run(Options({WriteTone("a.wav")}, FigureStyle::kTable, report)), 0);
  EXPECT_THAT(test_audio::BytesOf(report), StartsWith("<!DOCTYPE html>"));
  EXPECT_THAT(test_audio::BytesOf(report), testing::EndsWith("</html>\n"));
}

TEST_F(MeasureFilesTest, AReportCoversEveryFileAlsoThoseThatFail) {
  const std::string gone = mDirectory.Path("gone.wav");
  const std::string report = mDirectory.Path("report.html");
  EXPECT_EQ(
      Run(Options({WriteTone("a.wav"), gone, WriteTone("b.wav")}, FigureStyle::kTable, report)), 1);
  const std::string page = test_audio::BytesOf(report);
  EXPECT_THAT(page, HasSubstr("id=\"file-2\""));
  EXPECT_THAT(page, HasSubstr("<bdi>no such file</bdi>"));
}

// A tone of -20 dBFS reads -20 LKFS: 3 LU above the target of EBU R 128, but on the chosen target.
TEST_F(MeasureFilesTest, AReportJudgesByTheLimitsGivenAndLeavesTheStatusAlone) {
  const std::string a = WriteTone("a.wav");
  const std::string report = mDirectory.Path("report.html");
  EXPECT_EQ(Run(Options({a}, FigureStyle::kTable, report)), 0);
  EXPECT_THAT(test_audio::BytesOf(report), HasSubstr(" Fail</span>"));
  EXPECT_EQ(Run(WithLimits(Options({a}, FigureStyle::kTable, report), -20.0, 0.5, -1.0)), 0);
  EXPECT_THAT(test_audio::BytesOf(report), testing::Not(HasSubstr(" Fail</span>")));
}

TEST_F(MeasureFilesTest, NothingIsMeasuredForAReportThatCannotBeWritten) {
  const std::string report = mDirectory.Path("missing/report.html");
  EXPECT_EQ(Run(Options({WriteTone("a.wav")}, FigureStyle::kTable, report)), 1);
  EXPECT_EQ(mOut.str(), "");
  EXPECT_EQ(mErrors.str(),
            "LoudDesk: " + report + ": the report cannot be written: No such file or directory\n");
}

TEST_F(MeasureFilesTest, NothingIsMeasuredForAReportInThePlaceOfADirectory) {
  const std::string report = mDirectory.Path(".");
  EXPECT_EQ(Run(Options({WriteTone("a.wav")}, FigureStyle::kTable, report)), 1);
  EXPECT_EQ(mOut.str(), "");
  EXPECT_EQ(mErrors.str(),
            "LoudDesk: " + report + ": the report cannot be written: is a directory\n");
}

TEST_F(MeasureFilesTest, AReportThatFindsTheDiskFullIsAFailureAndLeavesTheEarlierOne) {
  const std::string tone = WriteTone("a.wav");
  const std::string report = mDirectory.WriteBytes("report.html", "earlier");
  const test_audio::FileSizeLimit limit(100);
  EXPECT_EQ(Run(Options({tone}, FigureStyle::kJson, report)), 1);
  EXPECT_EQ(mErrors.str(),
            "LoudDesk: " + report + ": the report could not be written: File too large\n");
  EXPECT_THAT(mOut.str(), StartsWith("{\"Schema\":"));
  EXPECT_EQ(test_audio::BytesOf(report), "earlier");
}

// 32 channels at 192 kHz make a long file of little more than three seconds.
TEST_F(MeasureFilesTest, LongFilesShowProgressOnATerminalOnly) {
  const std::string path = mDirectory.Write("long.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 192000,
                                            32, Samples(20'000'000, 0.0));
  MeasureOptions options = Options({path}, FigureStyle::kJson);
  options.programmes.speakers = SpeakerLayout(32, "Left");
  EXPECT_EQ(Run(options), 0);
  EXPECT_EQ(mErrors.str(), "");
  EXPECT_EQ(Run(options, [] { return std::size_t{80}; }), 0);
  EXPECT_THAT(mErrors.str(), StartsWith("\r["));
  EXPECT_THAT(mErrors.str(), HasSubstr(" %  " + path.substr(0, 10)));
  EXPECT_THAT(mErrors.str(), testing::EndsWith(" \r"));
}

// No line may be wider than the terminal when the line is written.
TEST_F(MeasureFilesTest, ATerminalThatGetsNarrowerDoesNotScroll) {
  const std::string path = mDirectory.Write("long.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 192000,
                                            32, Samples(20'000'000, 0.0));
  MeasureOptions options = Options({path}, FigureStyle::kJson);
  options.programmes.speakers = SpeakerLayout(32, "Left");
  std::size_t columns = 80;
  std::vector<std::size_t> widths;  // width of the terminal at each query
  EXPECT_EQ(Run(options,
                [&] {
                  columns = columns > 20 ? columns - 10 : 20;
                  widths.push_back(columns);
                  mErrors << '|';  // marks the beginning of the output for this width
                  return columns;
                }),
            0);
  std::istringstream shown(mErrors.str());
  std::string part;
  std::getline(shown, part, '|');
  for (std::size_t i = 0; std::getline(shown, part, '|'); ++i) {
    std::istringstream lines(part);
    for (std::string line; std::getline(lines, line, '\r');)
      EXPECT_LT(line.size(), widths.at(i)) << "width " << i;
  }
  EXPECT_GT(widths.size(), 2U);
}

class DamagedFilesTest : public MeasureFilesTest {
 protected:
  std::string WriteDamaged() const {
    const std::string path = mDirectory.Write("cut.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, kRate,
                                              1, Noise(0.5, 96000, 1));
    CutOff(path, 100000);
    return path;
  }
};

TEST_F(DamagedFilesTest, TheFiguresAreMarkedInEveryFormat) {
  const std::string path = WriteDamaged();
  const std::string report = mDirectory.Path("report.html");
  const std::pair<FigureStyle, const char*> cases[] = {
      {FigureStyle::kTable, "cut.flac (damaged)\n"},
      {FigureStyle::kJson, ",\"Damage\":\"48."},
      {FigureStyle::kCsv, " % of the file is missing: it ends early"}};
  for (const auto& [style, mark] : cases) {
    MeasureOptions options = Options({path}, style);
    options.report = report;
    EXPECT_EQ(Run(options), 1);
    EXPECT_THAT(mOut.str(), HasSubstr(mark));
    EXPECT_THAT(mErrors.str(), testing::EndsWith(" the figures cover the rest\n"));
    options.keepsGoing = true;
    EXPECT_EQ(Run(options), 0);
    EXPECT_THAT(mOut.str(), HasSubstr(mark));
  }
  EXPECT_THAT(test_audio::BytesOf(report), AllOf(HasSubstr("cut.flac</bdi></a> (damaged)</th>"),
                                                 HasSubstr("figures cover the rest")));
}

TEST_F(DamagedFilesTest, SoAreTheFiguresOfAllFilesAsOne) {
  const std::string whole = WriteTone("whole.wav", 2.0);
  const std::pair<FigureStyle, const char*> cases[] = {
      {FigureStyle::kTable, "all 2 files as one programme (damaged)\n"},
      {FigureStyle::kJson, ",\"Album\":2,\"Damage\":\"1 of 2 files is damaged\","},
      {FigureStyle::kCsv, ",1 of 2 files is damaged\n"}};
  for (const auto& [style, mark] : cases) {
    MeasureOptions options = Options({whole, WriteDamaged()}, style, mDirectory.Path("r.html"));
    options.hasAlbum = true;
    EXPECT_EQ(Run(options), 1);
    EXPECT_THAT(LastLine(mOut.str()), HasSubstr(mark));
    EXPECT_THAT(test_audio::BytesOf(options.report),
                AllOf(HasSubstr("all 2 files as one programme</bdi></a> (damaged)</th>"),
                      HasSubstr("1 of 2 files is damaged; the figures cover the rest")));
  }
}

TEST_F(DamagedFilesTest, SoIsEveryRowOfTheSeries) {
  MeasureOptions options = Options({WriteTone("whole.wav", 2.0), WriteDamaged()});
  options.series = mDirectory.Path("series.csv");
  EXPECT_EQ(Run(options), 1);
  std::istringstream lines(test_audio::BytesOf(options.series));
  std::string line;
  std::getline(lines, line);
  EXPECT_THAT(line, testing::EndsWith(",Damaged"));
  int damaged = 0;
  while (std::getline(lines, line)) {
    const bool isDamaged = line.find("cut.flac,") != std::string::npos;
    damaged += isDamaged ? 1 : 0;
    EXPECT_THAT(line, testing::EndsWith(isDamaged ? ",yes" : ",no"));
  }
  EXPECT_GT(damaged, 5);
}

// More files than the threads handle at a time. Their lengths make them finish in another order.
TEST_F(MeasureFilesTest, ManyJobsWriteInTheOrderGiven) {
  std::vector<std::string> files;
  for (int i = 0; i < 40; ++i) {
    files.push_back(mDirectory.Write("tone" + std::to_string(i) + ".wav", kFloatWav, kRate, 2,
                                     StereoTone(-20.0 - i, i % 7 == 0 ? 5.0 : 0.5)));
    if (i % 10 == 9)
      files.push_back(mDirectory.Path("gone" + std::to_string(i)));
  }
  MeasureOptions options = Options(files, FigureStyle::kJson);
  EXPECT_EQ(Run(options), 1);
  const std::string out = mOut.str();
  const std::string errors = mErrors.str();
  EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 4);
  for (const std::size_t jobs : {2U, 7U, 100U}) {
    options.jobs = jobs;
    EXPECT_EQ(Run(options), 1) << jobs;
    EXPECT_EQ(mOut.str(), out) << jobs;
    EXPECT_EQ(mErrors.str(), errors) << jobs;
  }
}

TEST_F(MeasureFilesTest, ShortFilesShowNoProgress) {
  EXPECT_EQ(Run(Options({WriteTone("short.wav", 5.0)}, FigureStyle::kJson),
                [] { return std::size_t{80}; }),
            0);
  EXPECT_EQ(mErrors.str(), "");
}

}  // namespace
}  // namespace louddesk
