// The options of `LoudDesk measure`.

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
  std::string series = {};                 // path of the table of all blocks; empty: none
  bool hasAlbum = false;                   // adds a row for all files as one programme
  bool hasHash = false;                    // adds the hash of every file
  std::optional<std::size_t> stream = {};  // of every file, from 1; nothing: as players choose
  bool isRecursive = false;                // measures the media files below directories
  bool keepsGoing = false;                 // damaged files do not count as failures
  std::size_t jobs = 1;                    // number of files measured at the same time, from 1
};

}  // namespace louddesk
