// What a file says of one of its audio streams.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

struct StreamInfo {
  std::string codec;              // "aac", "pcm_s24le"
  std::string format;             // "48000 Hz, stereo"
  std::optional<double> seconds;  // where the file says it
  std::string language;           // as the file says it; empty: it does not
  std::string title;              // likewise
  bool isChosen = false;          // measured unless another one is asked for
};

}  // namespace louddesk
