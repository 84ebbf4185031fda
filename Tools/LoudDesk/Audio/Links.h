// Splits the bytes of a file into links. Stateless.

#pragma once

#include <memory>

#include "LinkInput.h"

namespace louddesk {

/// The links of `input`, which must outlive them.
std::unique_ptr<LinkInput> LinksOf(ByteInput& input);

}  // namespace louddesk
