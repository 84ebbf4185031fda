// Checks and repairs UTF-8 (RFC 3629) in text from any source.

#pragma once

#include <cstddef>
#include <string>

/// Size in bytes of the character that begins at `place`; 0 if no valid character begins there.
/// REQUIRES: `place` lies within the text.
std::size_t SizeOfUtf8At(const std::string& text, std::size_t place);

/// `text` as valid UTF-8: every byte that is not part of a complete character is replaced by
/// U+FFFD. All other bytes are copied.
std::string Utf8Of(const std::string& text);
