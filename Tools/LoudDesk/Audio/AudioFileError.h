// The error for files that cannot be measured.

#pragma once

#include <stdexcept>
#include <string>

#include "PrintableText.h"

namespace louddesk {

/// The path for standard input.
constexpr char kStandardInput[] = "-";

/// The message is one line that starts with the file's name, as `Printable` shows it.
class AudioFileError : public std::runtime_error {
 public:
  AudioFileError(const std::string& path, const std::string& reason)
      : std::runtime_error((path == kStandardInput ? "standard input" : Printable(path)) + ": " +
                           reason) {}
};

}  // namespace louddesk
