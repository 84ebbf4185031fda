// How the figures of a programme are written for people: as a row of a table. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Assessment.h"

namespace louddesk {

/// A figure ready to be shown: "Integrated loudness", "LKFS", "-23.00".
struct WrittenFigure {
  std::string name;
  const char* unit;
  const char* key;      // in JSON: "Integrated"
  std::string text;     // "-" where there is no reading
  std::size_t width;    // of its column on a terminal
  bool isAtLeast;       // at the end of its scale: what was measured is that or more
  bool isNotYetStable;  // a loudness range of less than a minute
};

/// The figures of a row of the table, in the order of its columns, with their names and units.
std::vector<WrittenFigure> WrittenFigures(const Figures& figures, const TargetGain& gain);

/// The names of the figures at the end of their scales, as keys of JSON.
std::vector<std::string> KeysAtLeast(const Figures& figures);

/// The three lines over the rows: names and units, and `subjects` over what the rows are about.
/// Ends with a line feed.
std::string TableHeader(const char* subjects = "File");

/// One row: the figures right-aligned under their names, "-" where there is no reading, ">=" before
/// one at the end of its scale and "~" before a loudness range that is not yet stable; the verdict;
/// and the file at the end, where a long name disturbs nothing, as `Printable` shows it, with
/// `MarkOf` behind. Ends with a line feed.
std::string TableRow(const Subject& subject, const Assessment& assessment);

/// What a reader must know of the figures of what is damaged, from `DamageOf`.
std::string DamageNote(const std::string& damage);

/// What a reader of the figures must know and cannot see in them, one line each without a line
/// feed: that a programme is too loud for a scale.
std::vector<std::string> NotesOn(const Figures& figures);

}  // namespace louddesk
