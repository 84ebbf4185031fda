// Sources that read files.

#include "FileSource.h"

#include <utility>

#include "AudioFile.h"

namespace louddesk {
namespace {

class FileSource : public SampleSource {
 public:
  FileSource(std::unique_ptr<AudioFile> file, SpeakerLayout speakers)
      : SampleSource(std::move(speakers), file->SampleRate()), mFile(std::move(file)) {}

  std::size_t Read(double* samples, std::size_t frames) override {
    const std::size_t got = mFile->Read(samples, frames);
    if (got < frames)
      CheckDamage();
    return got;
  }

 private:
  // What is there has been handed out by now, but for less than a block.
  void CheckDamage() const {
    const Damage damage = mFile->Missing();
    const double there = static_cast<double>(mFile->FramesRead()) / mFile->SampleRate();
    if (!damage.IsNone())
      throw AudioFileError(mFile->Path(), DamageText(damage, there));
  }

  std::unique_ptr<AudioFile> mFile;
};

}  // namespace

std::unique_ptr<SampleSource> OpenFileSource(const std::string& path,
                                             const std::optional<SpeakerLayout>& chosen) {
  auto file = std::make_unique<AudioFile>(path);
  SpeakerLayout speakers = LayoutFor(*file, chosen);
  return std::make_unique<FileSource>(std::move(file), std::move(speakers));
}

}  // namespace louddesk
