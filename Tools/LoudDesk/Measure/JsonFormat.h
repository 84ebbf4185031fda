// How the figures of a programme are written for programs: one JSON object a line, as
// Docs/measure.schema.json describes it. Stateless.

#pragma once

#include <string>

#include "Assessment.h"
#include "DocumentWriter.h"

namespace louddesk {

/// Number of the schema; it changes when a reader of the one before could go wrong.
constexpr unsigned kJsonSchema = 1;

/// The object in one line, which ends with a line feed. Figures in LKFS, LU, dBTP and dBFS and
/// times in seconds with two decimals, null where there is none. Bytes of a file's name that are
/// not UTF-8 become U+FFFD.
std::string JsonLine(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria);

/// The members from "Seconds" to "AtLeast" of the object.
void WriteFigures(DocumentWriter& writer, const Figures& figures);

/// The members from "Profile" to "Limits" of the object.
void WriteJudgement(DocumentWriter& writer, const Assessment& assessment, const Criteria& criteria);

}  // namespace louddesk
