// Splits the bytes of a file into links. Stateless.

#pragma once

#include <memory>

#include "LinkInput.h"

namespace louddesk {

/// The links of `input`, which must outlive them. Throws `AudioFileError` when it cannot be read or
/// is empty, like a pipe that nothing was written to.
std::unique_ptr<LinkInput> LinksOf(ByteInput& input);

}  // namespace louddesk
