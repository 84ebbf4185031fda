// The files of the pages, embedded in the program.

#pragma once

namespace loudgate {

extern const char kStationPage[];      // StationPage.html
extern const char kClusterPage[];      // ClusterPage.html
extern const char kStyle[];            // style.css
extern const char kIcon[];             // icon.svg
extern const char kStreamScript[];     // stream.js
extern const char kMeterScript[];      // meter.js
extern const char kPlotScript[];       // plot.js
extern const char kHistoryScript[];    // history.js
extern const char kHistogramScript[];  // histogram.js
extern const char kStationScript[];    // station.js
extern const char kControlScript[];    // control.js
extern const char kClusterScript[];    // cluster.js

}  // namespace loudgate
