// Finds files that were cut off. libsndfile reads what is left of such a file without a word, which
// a measurement must not. Stateless.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

/// How a file betrays by its container that its end is missing, as a phrase for a message: a WAV,
/// RF64 or AIFF whose sample chunk reaches beyond the end of the file, or an Ogg stream without its
/// last page. Nothing for a whole file, for other containers and for files that cannot be read.
///
/// A WAV whose length was never filled in, as programs write it into a pipe, is whole. A FLAC shows
/// only in decoding that frames are missing.
std::optional<std::string> FindTruncation(const std::string& path);

}  // namespace louddesk
