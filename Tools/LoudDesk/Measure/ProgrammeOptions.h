// Command-line options for the channels and programmes to measure in each file.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "AudioFile.h"
#include "Programme.h"
#include "SpeakerLayout.h"

namespace CLI {
class App;
}

namespace louddesk {

/// The chosen programmes. At most one of `speakers` and `programmes` is set.
struct ProgrammeOptions {
  std::optional<SpeakerLayout> speakers = {};  // for every file; nothing: taken from the file
  std::vector<Programme> programmes = {};  // in every file; empty: one programme of all channels
  bool isDualMono = false;                 // play programmes of one channel on two speakers
};

/// Adds --speakers, --programme and --dual-mono, which set `options` during the parse. `options`
/// must outlive the parse.
void AddProgrammeOptions(CLI::App& command, ProgrammeOptions& options);

/// The programmes of a file. Throws `AudioFileError` if the file lacks channels that the options
/// need, or does not specify which speakers its channels feed.
std::vector<Programme> ProgrammesOf(const AudioFile& file, const ProgrammeOptions& options);

/// Checks "CHANNELS=SPEAKERS", as in "1-6=5.1" or "7,8=L,R". Returns the error, or an empty text.
std::string CheckProgramme(const std::string& text);

/// The programme of such a text. REQUIRES: `CheckProgramme` returns an empty text.
Programme ParseProgramme(const std::string& text);

}  // namespace louddesk
