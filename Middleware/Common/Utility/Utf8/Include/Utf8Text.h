// UTF-8 (RFC 3629) in text that came from anywhere.

#pragma once

#include <cstddef>
#include <string>

/// Bytes of the character that begins at `place` of the text; 0 when none does. REQUIRES: `place`
/// lies within the text.
std::size_t SizeOfUtf8At(const std::string& text, std::size_t place);

/// `text` as valid UTF-8: every byte that is not part of a whole character is replaced by U+FFFD.
/// The rest stays as it is.
std::string Utf8Of(const std::string& text);
