// A source that reads a file.

#include "SampleSource.h"

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
  // Called at the end: only an incomplete last block has not been passed on.
  void CheckDamage() const {
    if (!mFile->Missing().IsNone())
      throw AudioFileError(mFile->Path(), DamageText(mFile->Missing(), mFile->SecondsRead()));
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
