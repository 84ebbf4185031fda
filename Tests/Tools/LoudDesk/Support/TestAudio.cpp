// Signals and audio files for the tests of the desk tool.

#include "TestAudio.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sndfile.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <utility>

// Called by the leak sanitizer, if there is one: libvorbisenc leaks a part of its setup when it
// encodes more than two channels.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:vorbis_encode_setup_init\n";
}

namespace test_audio {
namespace {

constexpr double kPi = 3.14159265358979323846;

}  // namespace

double Amplitude(double levelDb) {
  return std::pow(10.0, levelDb / 20.0);
}

Samples Sine(double amplitude, double frequency, int sampleRate, std::size_t frames,
             double phaseDegrees) {
  Samples samples(frames);
  for (std::size_t n = 0; n < frames; ++n)
    samples[n] = amplitude * std::sin(2.0 * kPi * frequency * static_cast<double>(n) / sampleRate +
                                      phaseDegrees * kPi / 180.0);
  return samples;
}

Samples Noise(double amplitude, std::size_t samples, unsigned seed) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> distribution(-amplitude, amplitude);
  Samples noise(samples);
  for (double& sample : noise)
    sample = distribution(generator);
  return noise;
}

Samples Interleaved(const std::vector<Samples>& channels) {
  Samples samples;
  for (std::size_t n = 0; n < channels.front().size(); ++n)
    for (const Samples& channel : channels)
      samples.push_back(channel.at(n));
  return samples;
}

Samples Repeated(const Samples& channel, std::size_t channels) {
  return Interleaved(std::vector<Samples>(channels, channel));
}

Samples Joined(Samples first, const Samples& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

AudioDirectory::AudioDirectory() {
  std::string path = (std::filesystem::temp_directory_path() / "louddesk-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr)
    ADD_FAILURE() << "no directory like " << path;
  mPath = path;
}

AudioDirectory::~AudioDirectory() {
  std::error_code error;
  std::filesystem::remove_all(mPath, error);
}

std::string AudioDirectory::Path(const std::string& name) const {
  return mPath + "/" + name;
}

std::string AudioDirectory::Write(const std::string& name, int format, int sampleRate,
                                  std::size_t channels, const Samples& samples) const {
  SF_INFO info{};
  info.samplerate = sampleRate;
  info.channels = static_cast<int>(channels);
  info.format = format;
  const std::string path = Path(name);
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) {
    ADD_FAILURE() << path << ": " << sf_strerror(nullptr);
    return path;
  }
  // Writes in pieces, because the Vorbis encoder keeps a whole piece on its stack.
  constexpr std::size_t kPiece = 4096;
  const std::size_t frames = samples.size() / channels;
  for (std::size_t done = 0; done < frames; done += kPiece) {
    const auto piece = static_cast<sf_count_t>(std::min(kPiece, frames - done));
    EXPECT_EQ(sf_writef_double(file, samples.data() + done * channels, piece), piece) << path;
  }
  EXPECT_EQ(sf_close(file), 0) << path;
  return path;
}

std::string AudioDirectory::Make(const std::string& name, const std::string& command) const {
  const std::string path = Path(name);
  std::string line = command;
  for (const auto& [letter, text] : {std::pair("%o", path), std::pair("%d", mPath)})
    for (std::size_t at = 0; (at = line.find(letter, at)) != std::string::npos;)
      line.replace(at, 2, "'" + text + "'");
  EXPECT_EQ(std::system((line + " </dev/null").c_str()), 0) << line;
  return path;
}

std::string AudioDirectory::WriteBytes(const std::string& name, const std::string& bytes) const {
  const std::string path = Path(name);
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  EXPECT_TRUE(file.flush()) << path;
  return path;
}

FileSizeLimit::FileSizeLimit(std::uint64_t bytes) {
  signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {bytes, RLIM_INFINITY};
  EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

FileSizeLimit::~FileSizeLimit() {
  const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
  EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
}

std::string BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void CutOff(const std::string& path, std::uint64_t bytes) {
  ASSERT_LT(bytes, std::filesystem::file_size(path));
  std::filesystem::resize_file(path, bytes);
}

}  // namespace test_audio
