// `LoudDesk verify`: the command line, and one line for each error.

#include "VerifyCommand.h"

#include <czmq.h>
#include <signal.h>
#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>

#include "BlockMeter.h"
#include "Complaints.h"
#include "Endpoints.h"
#include "NumberCheck.h"
#include "PageFile.h"
#include "ServiceClient.h"
#include "ServiceOptionBounds.h"
#include "ServiceUnderTest.h"
#include "Verification.h"

namespace louddesk {
namespace {

// The status that a shell reports for a program ended by Ctrl-C.
constexpr int kInterruptedStatus = 128 + SIGINT;

constexpr char kTableFormat[] = "table";
constexpr char kJsonFormat[] = "json";
constexpr char kMarkdownFormat[] = "markdown";

constexpr char kFooter[] =
    "\nExample:\n"
    "  LoudDesk verify\n"
    "  LoudDesk verify --case 3341-5 --case 3342 --rate 44100 --format json\n"
    "  LoudDesk verify --report verification.html\n"
    "  LoudDesk verify --case 3341-7 --file narrow.wav --case 3341-8 --file wide.wav\n"
    "  LoudDesk verify --service --case 3341-1\n"
    "\n"
    "Generates the test signals of EBU Tech 3341 and 3342 and of ITU-R BS.1770,\n"
    "measures each by front end, dispatcher and engine, and judges every figure:\n"
    "  pass     what the standard asks for, within its tolerance\n"
    "  grid     outside that tolerance, but within the same tolerance of what a meter\n"
    "           that works in blocks of 100 ms must read: \"Standard\" is what the\n"
    "           standard asks for, \"Expected\" follows from the position of the signal\n"
    "           in the blocks\n"
    "  FAIL     neither\n"
    "  not run  a recording that must not be passed on; measure your own copy with\n"
    "           --case and --file\n"
    "Signals are sines of 1 kHz on Left and Right unless noted otherwise; levels are\n"
    "peak levels of each channel, fs is the sample rate. Cases are selected by\n"
    "identifier (3341-5) or by document (1770, 3341, 3342); those of 1770 have their\n"
    "own sample rates. Docs/COMPLIANCE.md explains every row, and so does the report,\n"
    "one page with plots for any browser.\n"
    "With --service the signals go as raw blocks to a running service, LoudCalc -m 1\n"
    "-c 1, and the figures are those that it publishes. No other program may use the\n"
    "endpoints of its peers, as with LoudDesk unit. Figures that are needed at every\n"
    "block, as in the cases 3341-9 to 3341-12, take real time: all cases take about\n"
    "five minutes.\n"
    "The status is 1 when a figure failed or could not be measured, a file could not\n"
    "be measured or is damaged, or the report could not be written, and 130 after\n"
    "Ctrl-C.\n";

// The error in an identifier; empty if it selects a case.
std::string CheckCase(const std::string& id) {
  const auto& cases = ComplianceCases();
  const bool isKnown = std::any_of(cases.begin(), cases.end(), [&](const ComplianceCase& known) {
    return IsMeantBy(known, id);
  });
  if (isKnown)
    return "";
  std::string complaint = "\"" + id + "\" is not a case; the cases are";
  for (const ComplianceCase& known : cases)
    complaint += " " + known.id;
  return complaint;
}

void AddListOption(CLI::App& command) {
  command
      .add_flag_callback(
          "--list-cases",
          [] {
            for (const ComplianceCase& known : ComplianceCases())
              std::cout << fmt::format("{:<11}  {}\n", known.id, known.signal);
            throw CLI::Success();
          },
          "Show all cases with their signals")
      ->trigger_on_parse();
}

ComplianceStyle StyleOf(const std::string& format) {
  if (format == kJsonFormat)
    return ComplianceStyle::kJson;
  return format == kMarkdownFormat ? ComplianceStyle::kMarkdown : ComplianceStyle::kTable;
}

struct ServiceOptions {
  bool isWanted = false;
  unsigned cluster = 1;  // of the service, 1 to 8
  double wait = 10.0;    // s, for the service
};

int VerifyEngine(const VerifyOptions& options) {
  // Keeps the messaging library from handling signals: Ctrl-C ends a verification at once.
  zsys_handler_set(nullptr);
  return Verify(options, *std::make_unique<EngineUnderTest>(), std::cout, std::cerr);
}

int VerifyService(VerifyOptions options, const ServiceOptions& serviceOptions) {
  options.meter =
      "a running service, cluster " + std::to_string(serviceOptions.cluster) +
      ", which publishes loudness in steps of 0.1 LU and true peaks in steps of 0.01 dB";
  try {
    const Patience patience{std::llround(serviceOptions.wait * 1000.0)};
    return Verify(options, *ConnectToService(serviceOptions.cluster, patience), std::cout,
                  std::cerr);
  } catch (const std::runtime_error& error) {
    Complaints complaints(std::cerr);
    complaints.Add(error.what());
    return zsys_interrupted ? kInterruptedStatus : complaints.Status();
  }
}

void AddCaseOptions(CLI::App& command, VerifyOptions& options, std::string& format) {
  command.add_option("--case", options.cases, "Only these cases; see --list-cases")
      ->check(CheckCase);
  AddListOption(command);
  command.add_option("--file", options.recordings,
                     "Copy of the recording of a --case; one for each");
  command.add_option("--rate", options.sampleRate, "Sample rate of the signals in Hz")
      ->capture_default_str()
      ->check(CLI::Range(kLowestSampleRate, kHighestSampleRate));
  command.add_option("--format", format, "Format of the figures")
      ->capture_default_str()
      ->check(CLI::IsMember({kTableFormat, kJsonFormat, kMarkdownFormat}));
  command.add_option("--report", options.report, "Page to write; name ends in .html")
      ->check(CheckPageName);
}

void AddServiceOptions(CLI::App& command, ServiceOptions& options) {
  CLI::Option* service =
      command.add_flag("--service", options.isWanted, "Measure by a running service");
  command.add_option("--cluster", options.cluster, "Cluster of the service")
      ->needs(service)
      ->capture_default_str()
      ->check(CLI::Range(1, kMaxCluster));
  command.add_option("--wait", options.wait, "Seconds to wait for the service")
      ->needs(service)
      ->capture_default_str()
      ->check(Between(0.0, kLongestWait));
}

}  // namespace

void AddVerifyCommand(CLI::App& app, int& status) {
  CLI::App* command =
      app.add_subcommand("verify", "Verify the figures by the signals of the standards");
  auto options = std::make_shared<VerifyOptions>();
  auto serviceOptions = std::make_shared<ServiceOptions>();
  auto format = std::make_shared<std::string>(kTableFormat);
  AddCaseOptions(*command, *options, *format);
  AddServiceOptions(*command, *serviceOptions);
  command->footer(kFooter);
  command->callback([=, &status] {
    const std::string complaint = ComplaintOnRecordings(options->cases, options->recordings);
    if (!complaint.empty())
      throw CLI::ValidationError("--file", complaint);
    options->style = StyleOf(*format);
    status = serviceOptions->isWanted ? VerifyService(*options, *serviceOptions)
                                      : VerifyEngine(*options);
  });
}

}  // namespace louddesk
