// A fingerprint of a file's bytes. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// SHA-256 (FIPS 180-4) of a file in 64 hexadecimal digits. Throws `AudioFileError` when the file
/// cannot be read.
std::string Sha256Of(const std::string& path);

}  // namespace louddesk
