// Audio files: everything that can be wrong with one is found here and said in one line.

#include "AudioFile.h"

#include <sndfile.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "BlockMeter.h"
#include "Truncation.h"

namespace louddesk {
namespace {

namespace fs = std::filesystem;

// What libsndfile says of a stream whose length it does not know.
constexpr sf_count_t kUnknownFrames = SF_COUNT_MAX;

// libsndfile's own words for a file it cannot open say little; the obvious reasons come first.
void CheckReadable(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found)
    throw AudioFileError(path, "no such file");
  if (status.type() == fs::file_type::none)
    throw AudioFileError(path, "cannot be opened: " + error.message());
  if (status.type() == fs::file_type::directory)
    throw AudioFileError(path, "is a directory");
  if (status.type() != fs::file_type::regular)
    throw AudioFileError(path, "is no regular file");
  if (!std::ifstream(path, std::ios::binary))
    throw AudioFileError(path, std::string("cannot be opened: ") + std::strerror(errno));
  if (fs::file_size(path, error) == 0)
    throw AudioFileError(path, "is empty");
}

void CheckFormat(const std::string& path, const SF_INFO& info) {
  if (info.frames <= 0)
    throw AudioFileError(path, "holds no audio");
  if (info.channels > static_cast<int>(kMeters))
    throw AudioFileError(
        path, "has " + std::to_string(info.channels) + " channels; at most 32 can be measured");
  if (info.samplerate < kLowestSampleRate || info.samplerate > kHighestSampleRate)
    throw AudioFileError(path, "has a sample rate of " + std::to_string(info.samplerate) +
                                   " Hz; 8000 to 192000 Hz can be measured");
}

// What libsndfile calls a container or a coding.
std::string FormatName(int format) {
  SF_FORMAT_INFO info{};
  info.format = format;
  return sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0 && info.name != nullptr
             ? info.name
             : "unknown";
}

// Without the full stop that libsndfile's texts end with.
std::string Reason(SNDFILE* file) {
  std::string text = sf_strerror(file);
  while (!text.empty() && (text.back() == '.' || text.back() == '\n'))
    text.pop_back();
  return text;
}

}  // namespace

void AudioFile::Closer::operator()(SNDFILE* file) const {
  sf_close(file);
}

AudioFile::AudioFile(const std::string& path) : mPath(path) {
  CheckReadable(path);
  if (const auto truncation = FindTruncation(path))
    throw AudioFileError(path, *truncation);
  SF_INFO info{};
  mFile.reset(sf_open(path.c_str(), SFM_READ, &info));
  if (mFile == nullptr)
    throw AudioFileError(path, "is no audio file that can be read (" + Reason(nullptr) + ")");
  CheckFormat(path, info);
  mChannels = static_cast<std::size_t>(info.channels);
  mSampleRate = info.samplerate;
  mFormat = FormatName(info.format & SF_FORMAT_TYPEMASK) + ", " +
            FormatName(info.format & SF_FORMAT_SUBMASK);
  mChannelMap = ChannelMapOf(path, mFile.get(), info);
  if (info.frames != kUnknownFrames)
    mPromisedFrames = static_cast<std::uint64_t>(info.frames);
}

std::size_t AudioFile::Read(double* samples, std::size_t frames) {
  const sf_count_t count = sf_readf_double(mFile.get(), samples, static_cast<sf_count_t>(frames));
  const auto got = static_cast<std::size_t>(count > 0 ? count : 0);
  mFramesRead += got;
  if (got < frames)
    CheckEnd();
  return got;
}

void AudioFile::CheckEnd() const {
  if (mPromisedFrames && mFramesRead < *mPromisedFrames)
    throw AudioFileError(mPath, "is truncated or damaged: only " + std::to_string(mFramesRead) +
                                    " of " + std::to_string(*mPromisedFrames) +
                                    " frames can be read");
  if (sf_error(mFile.get()) != SF_ERR_NO_ERROR)
    throw AudioFileError(mPath, "cannot be decoded (" + Reason(mFile.get()) + ")");
}

}  // namespace louddesk
