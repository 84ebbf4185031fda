// One line for the user.

#include "AudioFileError.h"

#include "PrintableText.h"

namespace louddesk {
namespace {

std::string NameOf(const std::string& path) {
  return path == kStandardInput ? "standard input" : Printable(path);
}

}  // namespace

AudioFileError::AudioFileError(const std::string& path, const std::string& reason)
    : std::runtime_error(NameOf(path) + ": " + reason) {}

}  // namespace louddesk
