// Bounds of options that several subcommands have. They are limits of the tool, not of the service.

#pragma once

namespace louddesk {

constexpr unsigned kHighestMeterSet = 9999;
constexpr double kLongestWait = 3600;   // for a service to subscribe, s
constexpr double kFastestSpeed = 1000;  // of playback, times real time

}  // namespace louddesk
