// The links that the bytes of a file are made of. Stateless.

#pragma once

#include <memory>

#include "LinkInput.h"

namespace louddesk {

/// The links of what `input` holds, which must outlive them.
std::unique_ptr<LinkInput> LinksOf(ByteInput& input);

}  // namespace louddesk
