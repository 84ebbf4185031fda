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

/// Where the gate listens unless it is told otherwise: this machine alone reaches it.
constexpr char kDefaultListen[] = "127.0.0.1:8128";

struct GateOptions {
  ListenAddress listen{};
  std::set<std::string> names;            // by which readers reach the gate
  std::string directory = kIpcDirectory;  // of the publishers
  std::string certificate;                // file; empty: no TLS
  std::string key;                        // file
  std::string token;                      // file with the token for commands; empty: none are taken
  RecordSettings record;                  // no file: no record
  std::chrono::seconds writeEvery = kWritePeriod;
};

/// Status of the program for a command line that it does not understand.
constexpr int kWrongCommandLine = 2;

/// What the arguments (without the program's name) ask for. Nothing when the program is to end at
/// once, with `status`: help and version are on `out`, a complaint is on `errors` then.
std::optional<GateOptions> ReadGateOptions(std::vector<std::string> arguments, std::ostream& out,
                                           std::ostream& errors, int& status);

}  // namespace loudgate
