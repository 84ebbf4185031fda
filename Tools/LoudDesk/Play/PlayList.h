// What a unit plays: files, tones, noises and the standards' test signals, all of them sources of
// samples that can be opened again and again. Stateless.

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "SampleSource.h"
#include "SpeakerLayout.h"

namespace louddesk {

/// What the user asks to be played, in the order of the members.
struct PlayListOptions {
  std::vector<std::string> files;         // paths
  std::vector<std::string> tones;         // "FREQ,LEVEL": Hz and dBFS, see `CheckTone`
  std::vector<std::string> noises;        // "LEVEL": dBFS rms, see `CheckNoise`
  std::vector<std::string> cases;         // identifiers of test signals, see `CheckTestSignal`
  std::optional<SpeakerLayout> speakers;  // of every file; nothing: by the number of channels
  std::optional<double> seconds;          // length of each tone and noise; nothing: no end
  bool isLooped = false;                  // all of it again and again
};

struct Playable {
  std::string name;         // for people, and of a file its path
  bool isMeasuredFromZero;  // whether the measurement must start anew with it

  /// Opens the source at its beginning. Throws `AudioFileError`.
  std::function<std::unique_ptr<SampleSource>()> open;
};

/// What is asked for cannot be played. The text is one line for the user.
class PlayListError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Everything that is asked for, at least one. A test signal of several measurements is as many
/// sources. Tones and noises are stereo, in phase and independent. Throws `PlayListError` when
/// nothing is asked for, or something without an end would keep the rest from being played.
std::vector<Playable> MakePlayList(const PlayListOptions& options);

/// Why a text is not a frequency of 1 to 20000 Hz and a peak level of -120 to 0 dBFS, as one line;
/// empty when it is.
std::string CheckTone(const std::string& text);

/// The same for a noise level of -120 to -5 dBFS rms: evenly distributed noise then stays below
/// full scale.
std::string CheckNoise(const std::string& text);

/// The same for the identifier of a test signal of `LoudDesk verify` that is not a recording, or
/// that of a document, which means all of its own. The line names them all.
std::string CheckTestSignal(const std::string& id);

}  // namespace louddesk
