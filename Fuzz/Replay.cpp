// Replays corpora. Single thread; the process's standard output and error are written to directly,
// because their streams may have been silenced.

#include "Replay.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "FuzzTarget.h"

namespace fuzz {

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const std::string& folder) {
  std::vector<fs::path> files;
  std::error_code missing;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, missing))
    if (entry.is_regular_file())
      files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::uint8_t> BytesOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void EndLateRun(int) {
  constexpr char kLate[] = "The input takes too long.\n";
  const auto written = write(STDERR_FILENO, kLate, sizeof kLate - 1);
  _exit(written > 0 ? EXIT_FAILURE : EXIT_FAILURE + 1);
}

void ReplayFile(const fs::path& path, unsigned seconds) {
  dprintf(STDOUT_FILENO, "%s\n", path.c_str());
  // Without spare capacity, so that a sanitizer notices a target that reads beyond the end.
  std::vector<std::uint8_t> bytes = BytesOf(path);
  bytes.shrink_to_fit();
  alarm(seconds);
  Run(bytes.data(), bytes.size());
  alarm(0);
}

}  // namespace

bool Replay(const std::vector<std::string>& folders, unsigned secondsPerInput) {
  const auto isEmpty = [](const std::string& folder) { return FilesOf(folder).empty(); };
  const auto empty = std::find_if(folders.begin(), folders.end(), isEmpty);
  if (folders.empty() || empty != folders.end()) {
    dprintf(STDERR_FILENO, "No corpus: %s\n", folders.empty() ? "" : empty->c_str());
    return false;
  }
  std::signal(SIGALRM, EndLateRun);
  for (const std::string& folder : folders)
    for (const fs::path& path : FilesOf(folder))
      ReplayFile(path, secondsPerInput);
  return true;
}

}  // namespace fuzz
