// What a run of `LoudDesk measure` is asked for.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "FigureStyle.h"
#include "ProfileOptions.h"
#include "ProgrammeOptions.h"

namespace louddesk {

struct MeasureOptions {
  std::vector<std::string> files = {};
  FigureStyle style = FigureStyle::kTable;
  ProgrammeOptions programmes = {};
  ProfileOptions profile = {};
  std::string report = {};                 // path of the page to write; empty: none
  std::string series = {};                 // path of the table of all blocks to write; empty: none
  bool hasAlbum = false;                   // one more row for all files as one programme
  bool hasHash = false;                    // the hash of every file is told
  std::optional<std::size_t> stream = {};  // of every file, from 1; nothing: what players choose
  bool isRecursive = false;                // directories stand for the media below them
  bool keepsGoing = false;                 // damaged files do not count as failures
  std::size_t jobs = 1;                    // files measured at the same time, from 1
};

}  // namespace louddesk
