// The sources of samples that a unit plays at the user's request.

#include "PlayList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "ComplianceCases.h"
#include "TestAudio.h"

namespace {

using louddesk::CheckNoise;
using louddesk::CheckTestSignal;
using louddesk::CheckTone;
using louddesk::MakePlayList;
using louddesk::Playable;
using louddesk::PlayListOptions;
using louddesk::SampleSource;
using louddesk::SpeakerLayout;
using test_audio::Samples;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const SpeakerLayout kStereo = {"Left", "Right"};

/// The only source of a list.
Playable Only(const PlayListOptions& options) {
  const std::vector<Playable> list = MakePlayList(options);
  EXPECT_EQ(1u, list.size());
  return list.front();
}

Playable ToneOf(const std::string& text, std::optional<double> seconds = std::nullopt) {
  PlayListOptions options;
  options.tones = {text};
  options.seconds = seconds;
  return Only(options);
}

Playable NoiseOf(const std::string& text, std::optional<double> seconds = std::nullopt) {
  PlayListOptions options;
  options.noises = {text};
  options.seconds = seconds;
  return Only(options);
}

/// The first second of a source, or less if it is shorter.
Samples FirstSecond(SampleSource& source) {
  Samples samples(static_cast<std::size_t>(source.SampleRate()) * source.Channels());
  const std::size_t frames =
      source.Read(samples.data(), static_cast<std::size_t>(source.SampleRate()));
  samples.resize(frames * source.Channels());
  return samples;
}

Samples Channel(const Samples& interleaved, std::size_t channel) {
  Samples samples;
  for (std::size_t i = channel; i < interleaved.size(); i += 2)
    samples.push_back(interleaved[i]);
  return samples;
}

double PeakDb(const Samples& samples) {
  double peak = 0;
  for (const double sample : samples)
    peak = std::max(peak, std::fabs(sample));
  return 20 * std::log10(peak);
}

double RmsDb(const Samples& samples) {
  double sum = 0;
  for (const double sample : samples)
    sum += sample * sample;
  return 10 * std::log10(sum / static_cast<double>(samples.size()));
}

std::string ErrorOf(const PlayListOptions& options) {
  try {
    MakePlayList(options);
  } catch (const louddesk::PlayListError& error) {
    return error.what();
  }
  return "no error";
}

TEST(PlayListTest, TonesWithinTheirRangesAreTaken) {
  for (const char* text : {"997,-23", "1,-120", "20000,0", "440.5,-6.02", "1e3,-2e1"})
    EXPECT_EQ("", CheckTone(text)) << text;
}

TEST(PlayListTest, OtherTonesAreRefusedWithTheRanges) {
  for (const char* text : {"", "997", "997,", ",-23", "997;-23", "997,-23,1", "997, -23",
                           "997,-23dB", "0.9,-23", "20001,-23", "-997,-23", "997,0.1", "997,-121",
                           "nan,-23", "997,nan", "inf,-23", "997,-inf", "tone,-23", "0x3e5,-23"})
    EXPECT_EQ("\"" + std::string(text) +
                  "\" is not a tone; give FREQ,LEVEL of 1 to 20000 Hz and -120 to 0 dBFS",
              CheckTone(text));
}

TEST(PlayListTest, NoisesWithinTheirRangeAreTaken) {
  for (const char* text : {"-20", "-120", "-5", "-23.5"})
    EXPECT_EQ("", CheckNoise(text)) << text;
}

TEST(PlayListTest, OtherNoisesAreRefusedWithTheRange) {
  for (const char* text : {"", "-4.9", "-121", "0", "nan", "-inf", "loud", "-20,-20", " -20"})
    EXPECT_EQ("\"" + std::string(text) + "\" is not a noise level; give -120 to -5 dBFS rms",
              CheckNoise(text));
}

TEST(PlayListTest, EveryCaseButTheRecordingsCanBePlayed) {
  for (const louddesk::ComplianceCase& known : louddesk::ComplianceCases())
    EXPECT_EQ(known.runs.empty(), CheckTestSignal(known.id) != "") << known.id;
}

TEST(PlayListTest, UnknownCaseIsRefusedWithThoseThatThereAre) {
  // A part of a name is not accepted.
  for (const char* id : {"", "334", "3341-", "3341-99", "3341-7", "3342-6"}) {
    const std::string complaint = CheckTestSignal(id);
    EXPECT_THAT(complaint, testing::StartsWith("\"" + std::string(id) +
                                               "\" is not a case that can be played; those are "));
    for (const louddesk::ComplianceCase& known : louddesk::ComplianceCases())
      EXPECT_EQ(!known.runs.empty(),
                (complaint + " ").find(" " + known.id + " ") != std::string::npos)
          << known.id;
  }
}

TEST(PlayListTest, ToneHasItsFrequencyAndPeakLevelOnBothChannels) {
  const auto source = ToneOf("1000,-20").open();
  EXPECT_EQ(kStereo, source->Speakers());
  EXPECT_EQ(48000, source->SampleRate());
  const Samples samples = FirstSecond(*source);
  ASSERT_EQ(2u * 48000, samples.size());
  const Samples left = Channel(samples, 0);
  EXPECT_EQ(left, Channel(samples, 1));
  EXPECT_NEAR(-20, PeakDb(left), 0.001);
  EXPECT_NEAR(-23.01, RmsDb(left), 0.001);
  // A period is 48 frames.
  for (std::size_t i = 0; i + 48 < left.size(); ++i)
    ASSERT_NEAR(left[i], left[i + 48], 1e-9) << i;
  EXPECT_NEAR(left[12], 0.1, 1e-9);
}

TEST(PlayListTest, NoiseHasItsRmsLevelOnBothChannels) {
  const Samples samples = FirstSecond(*NoiseOf("-20").open());
  const Samples left = Channel(samples, 0);
  const Samples right = Channel(samples, 1);
  // 48000 values: the mean square is known to 0.4 % (one sigma), 0.02 dB.
  EXPECT_NEAR(-20, RmsDb(left), 0.1);
  EXPECT_NEAR(-20, RmsDb(right), 0.1);
  EXPECT_NE(left, right);
}

TEST(PlayListTest, LoudestNoiseStaysBelowFullScale) {
  EXPECT_LT(PeakDb(FirstSecond(*NoiseOf("-5").open())), 0);
}

TEST(PlayListTest, SourceIsTheSameWheneverItIsOpened) {
  const Playable noise = NoiseOf("-20");
  EXPECT_EQ(FirstSecond(*noise.open()), FirstSecond(*noise.open()));
}

TEST(PlayListTest, DurationIsThatOfTonesAndNoises) {
  for (const Playable& playable : {ToneOf("997,-20", 0.25), NoiseOf("-20", 0.25)})
    EXPECT_EQ(2u * 12000, FirstSecond(*playable.open()).size()) << playable.name;
}

TEST(PlayListTest, FileIsPlayedAsItIs) {
  const test_audio::AudioDirectory audio;
  const Samples samples = test_audio::Noise(0.5, 2 * 8000, 1);
  PlayListOptions options;
  options.files = {audio.Write("noise.wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 8000, 2, samples)};
  const Playable file = Only(options);
  EXPECT_EQ(options.files.front(), file.name);
  for (int times = 0; times < 2; ++times) {
    const auto source = file.open();
    EXPECT_EQ(8000, source->SampleRate());
    EXPECT_EQ(kStereo, source->Speakers());
    EXPECT_EQ(samples, FirstSecond(*source));
  }
}

TEST(PlayListTest, ChosenSpeakersAreThoseOfTheFiles) {
  const test_audio::AudioDirectory audio;
  PlayListOptions options;
  options.files = {
      audio.Write("two.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 8000, 2, Samples(2 * 8000))};
  options.cases = {"3341-1"};
  options.speakers = SpeakerLayout{"LeftSurround", "RightSurround"};
  const std::vector<Playable> list = MakePlayList(options);
  ASSERT_EQ(2u, list.size());
  EXPECT_EQ(*options.speakers, list[0].open()->Speakers());
  EXPECT_EQ(kStereo, list[1].open()->Speakers());
}

TEST(PlayListTest, FileThatCannotBePlayedIsFoundWhenItIsOpened) {
  PlayListOptions options;
  options.files = {"/nowhere/missing.wav"};
  EXPECT_THROW(Only(options).open(), louddesk::AudioFileError);
}

TEST(PlayListTest, OrderIsFilesTonesNoisesCases) {
  PlayListOptions options;
  options.cases = {"3341-2", "3341-1"};
  options.noises = {"-30", "-20"};
  options.tones = {"440,-20", "997,-20"};
  options.files = {"b.wav", "a.wav"};
  options.seconds = 1;
  std::vector<std::string> names;
  for (const Playable& playable : MakePlayList(options))
    names.push_back(playable.name);
  EXPECT_THAT(names, ElementsAre("b.wav", "a.wav", "tone 440,-20", "tone 997,-20", "noise -30",
                                 "noise -20", "case 3341-2", "case 3341-1"));
}

TEST(PlayListTest, EverySignalOfACaseIsMeasuredFromZero) {
  PlayListOptions options;
  options.cases = {"3341-10"};
  const std::vector<Playable> list = MakePlayList(options);
  ASSERT_EQ(20u, list.size());
  EXPECT_EQ("case 3341-10, 20 of 20", list.back().name);
  for (const Playable& playable : list)
    EXPECT_TRUE(playable.isMeasuredFromZero);
  EXPECT_FALSE(ToneOf("997,-20").isMeasuredFromZero);
  EXPECT_FALSE(NoiseOf("-20").isMeasuredFromZero);
}

TEST(PlayListTest, DocumentMeansAllItsCasesButTheRecordings) {
  PlayListOptions all;
  PlayListOptions document;
  document.cases = {"3342"};
  for (const louddesk::ComplianceCase& known : louddesk::ComplianceCases())
    if (known.id.rfind("3342-", 0) == 0 && !known.runs.empty())
      all.cases.push_back(known.id);
  ASSERT_LT(1u, all.cases.size());
  std::vector<std::string> expected;
  for (const Playable& playable : MakePlayList(all))
    expected.push_back(playable.name);
  std::vector<std::string> names;
  for (const Playable& playable : MakePlayList(document))
    names.push_back(playable.name);
  EXPECT_EQ(expected, names);
}

TEST(PlayListTest, CaseHasItsOwnSampleRate) {
  PlayListOptions options;
  options.cases = {"1770-level"};
  std::vector<int> rates;
  for (const Playable& playable : MakePlayList(options))
    rates.push_back(playable.open()->SampleRate());
  EXPECT_THAT(rates, ElementsAre(8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000,
                                 176400, 192000));
}

TEST(PlayListTest, NothingAskedForIsRefused) {
  EXPECT_EQ("nothing to play; give a FILE, --tone, --noise or --case", ErrorOf({}));
  PlayListOptions looped;
  looped.isLooped = true;
  EXPECT_EQ("nothing to play; give a FILE, --tone, --noise or --case", ErrorOf(looped));
}

TEST(PlayListTest, WhatHasNoEndMustBeTheLast) {
  constexpr char kRefusal[] =
      "a tone or noise without --duration never ends: nothing can follow or loop it";
  PlayListOptions options;
  options.tones = {"997,-20"};
  EXPECT_EQ("no error", ErrorOf(options));
  options.files = {"before.wav"};
  EXPECT_EQ("no error", ErrorOf(options));
  PlayListOptions followed = options;
  followed.noises = {"-20"};
  EXPECT_EQ(kRefusal, ErrorOf(followed));
  followed.seconds = 1;
  EXPECT_EQ("no error", ErrorOf(followed));
  followed = options;
  followed.cases = {"3341-1"};
  EXPECT_EQ(kRefusal, ErrorOf(followed));
  followed = options;
  followed.isLooped = true;
  EXPECT_EQ(kRefusal, ErrorOf(followed));
}

TEST(PlayListTest, DurationNeedsATone) {
  PlayListOptions options;
  options.files = {"a.wav"};
  options.seconds = 1;
  EXPECT_EQ("--duration is for --tone and --noise", ErrorOf(options));
}

TEST(PlayListTest, TextsThatWereNotCheckedAreRefused) {
  PlayListOptions options;
  options.tones = {"loud"};
  EXPECT_EQ(CheckTone("loud"), ErrorOf(options));
  options.tones.clear();
  options.noises = {"loud"};
  EXPECT_EQ(CheckNoise("loud"), ErrorOf(options));
  options.noises.clear();
  options.cases = {"loud"};
  EXPECT_EQ(CheckTestSignal("loud"), ErrorOf(options));
}

}  // namespace
