// Text that XML may hold, as pages and drawings need it. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// `text` as XML may hold it in contents and quoted attributes: UTF-8, the five special characters
/// as entities, U+FFFD for what XML cannot hold at all.
std::string XmlEscaped(const std::string& text);

}  // namespace louddesk
