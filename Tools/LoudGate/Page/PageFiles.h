// The files of the page, which are part of the program.

#pragma once

namespace loudgate {

/// StationPage.html, with @NOW@ and @CLUSTERS@ where those belong.
extern const char kStationPage[];

/// station.css.
extern const char kStationStyle[];

}  // namespace loudgate
