// Formats the figures of a programme as one JSON object per line, described by
// Docs/measure.schema.json. Stateless.

#pragma once

#include <string>

#include "Assessment.h"
#include "DocumentWriter.h"

namespace louddesk {

/// Version of the schema. It increases when a change could mislead readers of the previous one.
constexpr unsigned kJsonSchema = 1;

/// The object on one line, which ends with a line feed. Figures are in LKFS, LU, dBTP and dBFS,
/// times in seconds, all with two decimals and null if missing. Bytes of a file name that are not
/// UTF-8 become U+FFFD.
std::string JsonLine(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria);

/// Writes the members of the object from "Seconds" to "AtLeast".
void WriteFigures(DocumentWriter& writer, const Figures& figures);

/// Writes the members of the object from "Profile" to "Limits".
void WriteJudgement(DocumentWriter& writer, const Assessment& assessment, const Criteria& criteria);

}  // namespace louddesk
