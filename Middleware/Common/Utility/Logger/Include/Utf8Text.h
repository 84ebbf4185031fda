// Text that came from anywhere as text that every reader takes.

#pragma once

#include <string>

/// `text` as UTF-8 (RFC 3629): every byte that belongs to no character of it, as of one that was
/// cut off, is replaced by U+FFFD. The rest stays as it is.
std::string Utf8Of(const std::string& text);
