// The files of the page, which are part of the program.

#pragma once

namespace loudgate {

/// StationPage.html, with the places of the moment and of the rows still to be filled.
extern const char kStationPage[];

/// station.css.
extern const char kStationStyle[];

}  // namespace loudgate
