// Searches directories for media files.

#include "MediaFiles.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "AudioFileError.h"

namespace louddesk {
namespace {

namespace fs = std::filesystem;

constexpr const char* kEndings[] = {
    ".aac", ".ac3",  ".aif",  ".aifc", ".aiff", ".ape",  ".asf",  ".au",  ".avi", ".bwf",  ".caf",
    ".ec3", ".eac3", ".flac", ".m4a",  ".m4b",  ".m4v",  ".mka",  ".mkv", ".mov", ".mp2",  ".mp3",
    ".mp4", ".mpeg", ".mpg",  ".mts",  ".m2ts", ".mxf",  ".oga",  ".ogg", ".ogv", ".opus", ".rf64",
    ".snd", ".ts",   ".tta",  ".w64",  ".wav",  ".weba", ".webm", ".wma", ".wmv", ".wv"};

bool IsMedia(const fs::path& path) {
  std::string ending = path.extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
  });
  return std::find(std::begin(kEndings), std::end(kEndings), ending) != std::end(kEndings);
}

void AddDirectory(const std::string& directory, std::vector<std::string>& files,
                  std::vector<std::string>& failures) {
  std::vector<std::string> found;
  std::error_code error;
  auto entry = fs::recursive_directory_iterator(directory, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    std::error_code ignored;
    if (IsMedia(entry->path()) && !entry->is_directory(ignored))
      found.push_back(entry->path().string());
  }
  if (error)
    failures.emplace_back(
        AudioFileError(directory, "cannot be searched: " + error.message()).what());
  else if (found.empty())
    failures.emplace_back(AudioFileError(directory, "contains no audio or video files").what());
  std::sort(found.begin(), found.end());
  files.insert(files.end(), found.begin(), found.end());
}

}  // namespace

std::vector<std::string> FilesBelow(const std::vector<std::string>& paths,
                                    std::vector<std::string>& failures) {
  std::vector<std::string> files;
  for (const std::string& path : paths) {
    std::error_code error;
    if (fs::is_directory(path, error))
      AddDirectory(path, files, failures);
    else
      files.push_back(path);
  }
  return files;
}

}  // namespace louddesk
