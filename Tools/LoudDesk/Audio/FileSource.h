// An audio file as a source of samples.

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "SampleSource.h"
#include "SpeakerLayout.h"

namespace louddesk {

/// Opens a file at its beginning, with the speakers of `LayoutFor`. Throws `AudioFileError`; at the
/// end also when a part of the file turned out to be missing.
std::unique_ptr<SampleSource> OpenFileSource(const std::string& path,
                                             const std::optional<SpeakerLayout>& chosen);

}  // namespace louddesk
