// Formats the figures of a programme as a row of a table. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Assessment.h"

namespace louddesk {

/// A formatted figure: "Integrated loudness", "LKFS", "-23.00".
struct WrittenFigure {
  std::string name;
  const char* unit;
  const char* key;      // name in JSON: "Integrated"
  std::string text;     // "-" without a reading
  std::size_t width;    // of the column on a terminal
  bool isAtLeast;       // at the end of its scale: the true value is this or more
  bool isNotYetStable;  // a loudness range of less than 60 s
};

/// The figures of a table row in the order of the columns, with names and units.
std::vector<WrittenFigure> WrittenFigures(const Figures& figures, const TargetGain& gain);

/// The names in JSON of the figures at the end of their scales.
std::vector<std::string> KeysAtLeast(const Figures& figures);

/// The three heading lines: names and units of the figures, and `subjects` above the names of the
/// rows. Ends with a line feed.
std::string TableHeader(const char* subjects = "File");

/// One row. Figures are right-aligned below their names: "-" without a reading, ">=" before a
/// figure at the end of its scale, "~" before a loudness range that is not yet stable. Then come
/// the verdict and, last because it may be long, the name of the file as `Printable` shows it, with
/// the suffix of `MarkOf`. Ends with a line feed.
std::string TableRow(const Subject& subject, const Assessment& assessment);

/// The note on the figures of a damaged file, from the text of `DamageOf`.
std::string DamageNote(const std::string& damage);

/// Notes that readers of the figures need: one line, without a line feed, if the programme is too
/// loud for a scale.
std::vector<std::string> NotesOn(const Figures& figures);

}  // namespace louddesk
