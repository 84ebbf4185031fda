// The command line of the gate.

#pragma once

#include <chrono>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "ListenAddress.h"
#include "MqNames.h"
#include "StationRecorder.h"

namespace loudgate {

/// The default listening address, reachable from this machine only.
constexpr char kDefaultListen[] = "127.0.0.1:8128";

struct GateOptions {
  ListenAddress listen{};
  std::set<std::string> names;            // host names by which readers reach the gate
  std::string directory = kIpcDirectory;  // where the services bind their publishers
  std::string certificate;                // file; empty for no TLS
  std::string key;                        // file
  std::string token;                      // file with the token for commands; empty for no commands
  RecordSettings record;                  // an empty file name means no record
  std::chrono::seconds writeEvery = kWritePeriod;
};

/// Exit status for a wrong command line.
constexpr int kWrongCommandLine = 2;

/// Parses the arguments (without the program's name). Returns nothing when the program must exit at
/// once with `status`; help and version were then written to `out`, and complaints to `errors`.
std::optional<GateOptions> ReadGateOptions(std::vector<std::string> arguments, std::ostream& out,
                                           std::ostream& errors, int& status);

}  // namespace loudgate
