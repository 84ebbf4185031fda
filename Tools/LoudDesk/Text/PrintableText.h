// Texts of unknown bytes, such as names of files, for lines on a terminal. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// `text` with every byte that is not UTF-8 or belongs to a control character written as a
/// backslash, an x and two hexadecimal digits: one line that moves no cursor and changes no colour.
/// Applying it again changes nothing.
std::string Printable(const std::string& text);

}  // namespace louddesk
