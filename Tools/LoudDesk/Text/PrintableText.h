// Makes untrusted texts, such as file names, safe to print on a terminal. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// Returns `text` with each byte of a control character or of invalid UTF-8 written as a backslash,
/// an x and two hexadecimal digits. The result is one line that cannot move the cursor or change
/// colours. Applying it again changes nothing.
std::string Printable(const std::string& text);

}  // namespace louddesk
