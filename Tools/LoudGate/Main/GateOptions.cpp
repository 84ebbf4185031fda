// Defines the options and reports wrong ones.

#include "GateOptions.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "Endpoints.h"
#include "PrintableText.h"
#include "StationFile.h"
#include "Version.h"

namespace loudgate {
namespace {

constexpr char kName[] = "LoudGate";

constexpr char kFooter[] =
    "\nExample, on a board, for this machine alone, and for a network over TLS:\n"
    "  LoudGate\n"
    "  LoudGate --listen 192.0.2.7:8128 --certificate gate.pem --key gate-key.pem\n"
    "To control the services of this board from this machine too:\n"
    "  (umask 077; openssl rand -hex 32 > token)\n"
    "  LoudGate --control --token-file token\n"
    "\n"
    "Example, with a record of a month that takes half a gigabyte at most:\n"
    "  LoudGate --record /srv/loudness/station.db --days 31 --max-size 500MB\n"
    "\n"
    "It serves the clusters that publish on this board to browsers, programs and\n"
    "monitoring systems: a page at /, JSON at /api/clusters and /api/stream, metrics\n"
    "at /metrics. Browsers reach it by an address, as localhost or by the names\n"
    "given; requests by other names are refused.\n"
    "\n"
    "It only reads, unless --control is given. It then takes the place of the\n"
    "application server of the main board (LOUDCALC_MAIN_BOARD_ADDRESS, port {}),\n"
    "which no other program may use: the unit's own application server must not run.\n"
    "Anyone who has the token in the file can start, pause, play, stop and reset\n"
    "measurements and switch reporting, from the page of a cluster or by POST. The\n"
    "file has one line of 32 to 256 printable characters without blanks, and others\n"
    "must not be able to read it. Without TLS, anyone on the network path can read\n"
    "the token.\n"
    "\n"
    "It records every second of every cluster in a file, about 2.5 MB a day for each\n"
    "cluster. Seconds that are older than --days or do not fit into --max-size are\n"
    "removed, the oldest first. A kill or a power failure loses the last minute; a\n"
    "smaller --write-every loses less, but wears flash storage more.\n"
    "\n"
    "SIGTERM and Ctrl-C end it with status 0. The status is 1 when it cannot listen.\n";

// Record options as given, before they are turned into settings.
struct RecordWords {
  bool isOff = false;
  int writeEvery = static_cast<int>(kWritePeriod.count());
};

void AddRecordOptions(CLI::App& app, RecordSettings& record, RecordWords& words) {
  constexpr int kMostDays = 36500;
  constexpr std::uint64_t kLeastBytes = std::uint64_t{1} << 20;
  constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 50;
  record.file = louddesk::kStationFile;
  auto* file = app.add_option("--record", record.file, "File in which every second is recorded")
                   ->type_name("FILE")
                   ->capture_default_str();
  app.add_flag("--no-record", words.isOff, "Record nothing")->excludes(file);
  app.add_option("--days", record.days, "Days to keep")
      ->check(CLI::Range(1, kMostDays))
      ->option_text("DAYS=" + std::to_string(record.days));
  app.add_option("--max-size", record.mostBytes, "Largest size of the record, such as 500MB")
      ->transform(CLI::AsSizeValue(true))
      ->check(CLI::Range(kLeastBytes, kMostBytes))
      ->option_text("SIZE=2GiB");
  app.add_option("--write-every", words.writeEvery, "Time from one write of the record to the next")
      ->check(CLI::Range(1, words.writeEvery))
      ->option_text("SECONDS=" + std::to_string(words.writeEvery));
}

void AddOptions(CLI::App& app, GateOptions& options, std::string& listen) {
  app.add_option("--listen", listen, "Where to listen; IPv6 addresses in brackets")
      ->type_name("ADDRESS:PORT")
      ->capture_default_str();
  app.add_option("--name", options.names, "Name by which browsers reach it; repeatable")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_option("--directory", options.directory, "Where the services publish")
      ->capture_default_str();
  auto* certificate = app.add_option("--certificate", options.certificate,
                                     "Certificate for TLS, with its chain, PEM")
                          ->type_name("FILE");
  auto* key = app.add_option("--key", options.key, "Private key of the certificate, PEM")
                  ->type_name("FILE");
  auto* control = app.add_flag("--control", "Send commands in the application server's place");
  auto* token =
      app.add_option("--token-file", options.token, "Token of those who may send commands")
          ->type_name("FILE");
  control->needs(token);
  token->needs(control);
  certificate->needs(key);
  key->needs(certificate);
}

void TakeListen(GateOptions& options, const std::string& listen) {
  const auto address = ReadListenAddress(listen);
  if (!address)
    throw CLI::ValidationError("--listen", listen + " is not an address and a port");
  options.listen = *address;
}

void TakeRecord(GateOptions& options, const RecordWords& words) {
  if (words.isOff)
    options.record.file.clear();
  else if (options.record.file.empty())
    throw CLI::ValidationError("--record", "the name of the file is empty");
  options.writeEvery = std::chrono::seconds(words.writeEvery);
}

}  // namespace

std::optional<GateOptions> ReadGateOptions(std::vector<std::string> arguments, std::ostream& out,
                                           std::ostream& errors, int& status) {
  CLI::App app("LoudGate: the loudness of this board's clusters over HTTP", kName);
  app.set_version_flag("--version", std::string(kName) + " " + louddesk::kVersion);
  app.footer(fmt::format(kFooter, kAppserverPort));
  GateOptions options;
  std::string listen = kDefaultListen;
  AddOptions(app, options, listen);
  RecordWords words;
  AddRecordOptions(app, options.record, words);
  std::reverse(arguments.begin(), arguments.end());  // the order that CLI11 expects
  try {
    app.parse(std::move(arguments));
    TakeListen(options, listen);
    TakeRecord(options, words);
    return options;
  } catch (const CLI::ParseError& error) {
    status = error.get_exit_code() == 0 ? app.exit(error, out, errors) : kWrongCommandLine;
    if (status != 0)
      errors << kName << ": " << louddesk::Printable(error.what()) << " (see LoudGate --help)\n";
    return std::nullopt;
  }
}

}  // namespace loudgate
