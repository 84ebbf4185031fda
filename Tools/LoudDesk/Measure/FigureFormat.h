// How the figures of a programme are written: as a row of a table and as a JSON object. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Figures.h"

namespace louddesk {

/// A figure ready to be shown: "Integrated loudness", "LKFS", "-23.00".
struct WrittenFigure {
  std::string name;
  const char* unit;
  std::string text;  // "-" where there is no reading
  bool isAtLeast;    // at the end of its scale: what was measured is that or more
};

/// The figures of a row of the table, in the order of its columns, with their names and units.
std::vector<WrittenFigure> WrittenFigures(const Figures& figures);

/// The three lines over the rows: names and units. Ends with a line feed.
std::string TableHeader();

/// One row: the figures right-aligned under their names, "-" where there is no reading and ">="
/// before one at the end of its scale, and the file at the end, where a long name disturbs nothing,
/// as `Printable` shows it. Ends with a line feed.
std::string TableRow(const std::string& file, const Figures& figures);

/// {"File":..,"Seconds":..,"Integrated":..,"Lra":..,"MaxMomentary":..,"MaxShortTerm":..,
/// "MaxTruePeak":..,"AtLeast":[..]} in LKFS, LU and dBTP with two decimals, null where there is no
/// reading; "AtLeast" holds the keys of the figures at the end of their scales. One line, which
/// ends with a line feed. Bytes of `file` that are no UTF-8 become U+FFFD.
std::string JsonLine(const std::string& file, const Figures& figures);

/// What a reader of the figures must know and cannot see in them, one line each without a line
/// feed: that a programme is too loud for a scale.
std::vector<std::string> NotesOn(const Figures& figures);

}  // namespace louddesk
