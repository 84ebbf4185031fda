// The sources that a unit plays: files, tones, noises and the standards' test signals. Each can be
// opened any number of times. Stateless.

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

/// The requested sources. They are played in the order of the members.
struct PlayListOptions {
  std::vector<std::string> files;         // paths
  std::vector<std::string> tones;         // "FREQ,LEVEL": Hz and dBFS, see `CheckTone`
  std::vector<std::string> noises;        // "LEVEL": dBFS rms, see `CheckNoise`
  std::vector<std::string> cases;         // identifiers of test signals, see `CheckTestSignal`
  std::optional<SpeakerLayout> speakers;  // of every file; nothing: from the number of channels
  std::optional<double> seconds;          // length of each tone and noise; nothing: no end
  bool isLooped = false;                  // play everything again and again
};

struct Playable {
  std::string name;         // for users; the path of a file
  bool isMeasuredFromZero;  // the measurement must restart with it

  /// Opens the source at its beginning. Throws `AudioFileError`.
  std::function<std::unique_ptr<SampleSource>()> open;
};

/// The request cannot be played. The message is one line for the user.
class PlayListError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Returns all requested sources, at least one. A test signal with several measurements becomes
/// several sources. Tones and noises are stereo; tones are in phase, noises independent. Throws
/// `PlayListError` if nothing is requested, or if an endless source would block the others.
std::vector<Playable> MakePlayList(const PlayListOptions& options);

/// Checks "FREQ,LEVEL": a frequency of 1 to 20000 Hz and a peak level of -120 to 0 dBFS. Returns
/// one line about the error, or an empty text.
std::string CheckTone(const std::string& text);

/// The same for a noise level of -120 to -5 dBFS rms. The limit keeps uniformly distributed noise
/// below full scale.
std::string CheckNoise(const std::string& text);

/// The same for the identifier of a test signal of `LoudDesk verify` that is not a recording, or of
/// a document, which selects all of its signals. The error lists the valid identifiers.
std::string CheckTestSignal(const std::string& id);

}  // namespace louddesk
