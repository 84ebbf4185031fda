// Signals and audio files for the tests of the desk tool.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace test_audio {

using Samples = std::vector<double>;

/// The linear amplitude of a level in dBFS.
double Amplitude(double levelDb);

/// A sine with this peak amplitude and the phase `phaseDegrees` at the first sample.
Samples Sine(double amplitude, double frequency, int sampleRate, std::size_t frames,
             double phaseDegrees = 0.0);

/// White noise between -amplitude and amplitude, the same for the same seed.
Samples Noise(double amplitude, std::size_t samples, unsigned seed);

/// Channels of equal length as interleaved samples.
Samples Interleaved(const std::vector<Samples>& channels);

/// The same channel several times, interleaved.
Samples Repeated(const Samples& channel, std::size_t channels);

/// `first` followed by `second`.
Samples Joined(Samples first, const Samples& second);

/// A new directory for the files of one test. The destructor removes it with all its files.
class AudioDirectory {
 public:
  AudioDirectory();
  ~AudioDirectory();
  AudioDirectory(const AudioDirectory&) = delete;
  AudioDirectory& operator=(const AudioDirectory&) = delete;

  /// Path of a file in the directory.
  std::string Path(const std::string& name) const;

  /// Writes an audio file in a libsndfile format (SF_FORMAT_WAV | SF_FORMAT_PCM_16, ...) and
  /// returns its path. The test fails if libsndfile cannot write it.
  std::string Write(const std::string& name, int format, int sampleRate, std::size_t channels,
                    const Samples& samples) const;

  /// Makes a file with a shell command, in which %o stands for the file and %d for this directory,
  /// and returns its path. The test fails if the command does.
  std::string Make(const std::string& name, const std::string& command) const;

  /// Writes bytes unchanged and returns the path.
  std::string WriteBytes(const std::string& name, const std::string& bytes) const;

 private:
  std::string mPath;
};

/// During its lifetime, writes of this process beyond a certain file size fail, as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::uint64_t bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
};

/// The bytes of a file.
std::string BytesOf(const std::string& path);

/// Truncates a file to its first `bytes` bytes, like a full disk or an interrupted copy.
void CutOff(const std::string& path, std::uint64_t bytes);

}  // namespace test_audio
