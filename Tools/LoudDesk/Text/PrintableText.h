// Texts of unknown bytes, such as names of files, for lines on a terminal and for documents.
// Stateless.

#pragma once

#include <string>

namespace louddesk {

/// `text` with every byte as \xNN that is no UTF-8 or belongs to a control character: what is left
/// is one line that moves no cursor and changes no colour. Applying it again changes nothing.
std::string Printable(const std::string& text);

/// `text` with U+FFFD for every byte beyond ASCII when it is not UTF-8 as a whole: a file name may
/// be any bytes, a JSON text or a page may not.
std::string ToUtf8(const std::string& text);

}  // namespace louddesk
