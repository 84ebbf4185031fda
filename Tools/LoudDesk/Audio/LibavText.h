// What FFmpeg's libraries say, as texts for messages. Stateless but for the libraries' own switch.

#pragma once

#include <string>

struct AVChannelLayout;

namespace louddesk {

/// From now on the libraries write nothing to the terminal. What matters of it they return as well.
void SilenceLibav();

/// "End of file", of a negative value that one of the libraries' functions has returned.
std::string LibavText(int error);

/// "48000 Hz, stereo".
std::string FormatText(int sampleRate, const AVChannelLayout& layout);

}  // namespace louddesk
