// Escapes text for XML, as pages and drawings need it. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// Returns `text` escaped for XML contents and quoted attributes: valid UTF-8, the five special
/// characters as entities, and U+FFFD for every character that XML does not allow.
std::string XmlEscaped(const std::string& text);

}  // namespace louddesk
