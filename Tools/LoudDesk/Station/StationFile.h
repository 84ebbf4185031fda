// The path of the record.

#pragma once

namespace louddesk {

/// LoudGate's default path of the record, in the state directory of its systemd unit.
constexpr char kStationFile[] = "/var/lib/loudgate/station.db";

}  // namespace louddesk
