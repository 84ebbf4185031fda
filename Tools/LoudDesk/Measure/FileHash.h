// A hash of a file's contents. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// The SHA-256 (FIPS 180-4) of a file as 64 hexadecimal digits. Throws `AudioFileError` if the file
/// cannot be read.
std::string Sha256Of(const std::string& path);

}  // namespace louddesk
