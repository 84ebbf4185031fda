// Valid UTF-8 from text that came from anywhere.

#pragma once

#include <string>

/// `text` as valid UTF-8 (RFC 3629): every byte that is not part of a whole character is replaced
/// by U+FFFD. The rest stays as it is.
std::string Utf8Of(const std::string& text);
