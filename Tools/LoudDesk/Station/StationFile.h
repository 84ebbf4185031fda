// Where the record is.

#pragma once

namespace louddesk {

/// Where LoudGate keeps the record unless it is told otherwise: the state directory of its unit.
constexpr char kStationFile[] = "/var/lib/loudgate/station.db";

}  // namespace louddesk
