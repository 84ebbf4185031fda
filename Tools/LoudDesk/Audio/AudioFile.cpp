// Reads audio files. All links of a file form one programme, unless their formats differ.

#include "AudioFile.h"

#include <fmt/format.h>

#include <array>
#include <utility>

#include "BlockMeter.h"
#include "ByteInput.h"
#include "LibavContainer.h"
#include "LibavDecoder.h"
#include "Links.h"

namespace louddesk {
namespace {

void CheckFormat(const std::string& path, const AudioFormat& format) {
  if (format.channels > kMeters)
    throw AudioFileError(
        path, fmt::format("has {} channels; at most {} can be measured", format.channels, kMeters));
  if (format.sampleRate < kLowestSampleRate || format.sampleRate > kHighestSampleRate)
    throw AudioFileError(path,
                         fmt::format("has a sample rate of {} Hz; {} to {} Hz can be measured",
                                     format.sampleRate, kLowestSampleRate, kHighestSampleRate));
}

}  // namespace

AudioFile::AudioFile(const std::string& path, std::optional<std::size_t> stream)
    : mPath(path),
      mStream(stream),
      mInput(std::make_unique<ByteInput>(path)),
      mLinks(LinksOf(*mInput)),
      mLink(std::make_unique<LibavDecoder>(path, *mLinks, stream)),
      mFormat(mLink->Format()),
      mFormatText(mLink->FormatInWords()),
      mStreams(mLink->Streams()) {
  CheckFormat(path, mFormat);
}

AudioFile::~AudioFile() = default;

std::optional<double> AudioFile::Progress() const {
  const auto size = mInput->Size();
  if (!size || *size == 0)
    return std::nullopt;
  return static_cast<double>(mInput->Position()) / static_cast<double>(*size);
}

std::size_t AudioFile::Read(double* samples, std::size_t frames) {
  std::size_t got = 0;
  while (got < frames && mLink != nullptr) {
    const std::size_t piece = mLink->Read(samples + got * mFormat.channels, frames - got);
    got += piece;
    mFramesRead += piece;
    if (piece == 0)
      OpenLaterLink();
  }
  mInput->CheckErrors();
  return got;
}

// Moves on to the next link that can be opened. Links that cannot be opened count as damage.
void AudioFile::OpenLaterLink() {
  CloseLink();
  while (mLink == nullptr && mLinks->NextLink()) {
    if (mDamage.endsAt)
      mDamage.places.push_back(*std::exchange(mDamage.endsAt, std::nullopt));
    mLink = OpenNextLink();
    if (mLink != nullptr)
      continue;
    mDamage.places.push_back(Here());
    SkipLink();
  }
}

// Opens the current link; null if it cannot be opened.
std::unique_ptr<LibavDecoder> AudioFile::OpenNextLink() {
  std::unique_ptr<LibavDecoder> link;
  try {
    link = std::make_unique<LibavDecoder>(mPath, *mLinks, mStream);
  } catch (const AudioFileError&) {
    return nullptr;
  }
  if (!AreSame(mFormat, link->Format()))
    throw AudioFileError(mPath, ChangeText(mFormat, link->Format(), Here()));
  return link;
}

void AudioFile::CloseLink() {
  SkipLink();
  Damage damage = mLink->Missing();
  if (mLinks->EndsEarly())
    EndEarly(damage);
  AddDamage(mDamage, damage,
            static_cast<double>(mFramesBefore) / mFormat.sampleRate + mDamage.missing);
  mFramesBefore = mFramesRead;
  mLink.reset();
}

// Where the demuxer does not know the length, the missing bytes are an estimate of the missing
// time.
void AudioFile::EndEarly(Damage& damage) const {
  if (damage.endsAt && !damage.isEndUnknown)
    return;
  const double there =
      static_cast<double>(mFramesRead - mFramesBefore) / mFormat.sampleRate + damage.missing;
  const double share = mLinks->LackingShare();
  damage.endsAt = there;
  damage.isEndUnknown = share == 0.0;
  damage.missing += there * share / (1.0 - share);
}

// Skips what the demuxer left unread in a link, so that the next link can begin.
void AudioFile::SkipLink() {
  if (mLinks->Seekable() != nullptr)
    return;
  std::array<unsigned char, 65536> rest;
  while (mLinks->Read(rest.data(), rest.size()) > 0) {
  }
}

double AudioFile::Here() const {
  return SecondsRead() + mDamage.missing;
}

std::vector<StreamInfo> AudioStreamsOf(const std::string& path) {
  ByteInput input(path);
  const auto links = LinksOf(input);
  return LibavContainer(path, *links).Streams();
}

}  // namespace louddesk
