// Which channels of the files are measured as what: options of the command line.

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

/// At most one of `speakers` and `programmes` is chosen.
struct ProgrammeOptions {
  std::optional<SpeakerLayout> speakers = {};  // for every file; nothing: by the file
  std::vector<Programme> programmes = {};      // in every file; empty: one of all channels
  bool isDualMono = false;  // programmes of one channel are played by two speakers
};

/// Adds --speakers, --programme and --dual-mono, which fill `options` by the end of the parse.
/// `options` must outlive the parse.
void AddProgrammeOptions(CLI::App& command, ProgrammeOptions& options);

/// The programmes of a file, each of channels that it has. Throws `AudioFileError` where the file
/// has other channels than the options ask for, or does not say which speakers they feed.
std::vector<Programme> ProgrammesOf(const AudioFile& file, const ProgrammeOptions& options);

/// What is wrong with "CHANNELS=SPEAKERS" as in "1-6=5.1" or "7,8=L,R"; empty when nothing is.
std::string CheckProgramme(const std::string& text);

/// The programme of such a text. REQUIRES: `CheckProgramme` finds nothing wrong.
Programme ParseProgramme(const std::string& text);

}  // namespace louddesk
