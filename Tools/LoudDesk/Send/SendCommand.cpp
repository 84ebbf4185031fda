// `LoudDesk send`: command line, and one line for everything that goes wrong.

#include "SendCommand.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <string>

#include "Complaints.h"
#include "JsonAccess.h"
#include "LoudConfigUser.h"
#include "NumberCheck.h"
#include "ServiceSender.h"

namespace louddesk {
namespace {

constexpr double kShortestTimeout = 0.1;  // s
constexpr double kLongestTimeout = 3600;  // s

// Words of the command line and what they are called in messages.
using Words = std::map<std::string, std::string>;

const Words kModes = {{"continuous", "Continuous"}, {"manual", "Manual"}};
const Words kWindows = {{"momentary", "Momentary"}, {"short", "Short Term"}, {"custom", "Custom"}};
const Words kAlarms = {{"over", "Over"}, {"under", "Under"}, {"both", "Both"}, {"off", "Off"}};
const Words kStandards = {
    {"bs1770", "ITU BS1770-3"}, {"ebu+9", "EBU R128 (+9)"}, {"ebu+18", "EBU R128 (+18)"}};
const Words kCommands = {
    {"start", "Start"}, {"pause", "Pause"}, {"play", "Play"}, {"stop", "Stop"}, {"reset", "Reset"}};

constexpr char kFooter[] =
    "\nExample, with a running service of meter set 1, cluster 1:\n"
    "  LoudDesk send preset Tests/Golden/preset-5.1.json\n"
    "  LoudDesk send enable\n"
    "  LoudDesk send config --mode manual --window custom --window-time 600\n"
    "  LoudDesk send command pause\n"
    "\n"
    "What the service answers is printed; the status is 1 when it does not answer in\n"
    "time, or Ctrl-C comes first: it subscribes first and acknowledges then. While\n"
    "its reporting is off, as when it starts, a service keeps what it is sent but\n"
    "carries out and acknowledges nothing: the first preset goes without an\n"
    "acknowledgement until the reporting is switched on.\n"
    "Sending needs the place of the application server of the main board\n"
    "(LOUDCALC_MAIN_BOARD_ADDRESS, port 7000), which no other program may hold.\n";

constexpr char kEnableFooter[] =
    "\nExample:\n"
    "  LoudDesk send enable\n"
    "\n"
    "The acknowledgement is the loudness data itself, or that of an action that has\n"
    "waited for the reporting. Where nothing was started there is none.\n";

constexpr char kDisableFooter[] =
    "\nExample:\n"
    "  LoudDesk send disable\n"
    "\n"
    "The acknowledgement is the end of the loudness data: none for half a second.\n"
    "Where none came before, the message is sent and that is said.\n";

constexpr char kPresetFooter[] =
    "\nExample:\n"
    "  LoudDesk send preset Tests/Golden/preset-5.1.json\n"
    "\n"
    "The acknowledgement is that of a start.\n";

constexpr char kConfigFooter[] =
    "\nExample:\n"
    "  LoudDesk send config --mode manual --window custom --window-time 600 --user 17\n"
    "\n"
    "Settings that are not given are those that a service starts with. The\n"
    "acknowledgement is the configuration as the service publishes it, and a start.\n";

constexpr char kCommandFooter[] =
    "\nExample:\n"
    "  LoudDesk send command pause\n"
    "\n"
    "The acknowledgement is that of the command, or of what it leads to: a start\n"
    "resets first, a play after a stop is a start, a pause while stopped stays a\n"
    "stop. A stop is obeyed in the mode Manual only (LoudDesk send config).\n";

// The help of a kind of message shows only its own options.
constexpr char kOptionsFooter[] =
    "\nMore options, for all kinds: --meter-set, --cluster and --timeout, see\n"
    "LoudDesk send --help.\n";

struct SendOptions {
  unsigned meterSet = 1;
  unsigned cluster = 1;
  double timeout = 5;  // s
};

// Services of the other meter sets hear of no presets, configurations or commands.
std::string CheckMeterSet(const std::string& value) {
  return value == "1" ? "" : "only a service of meter set 1 takes messages of all kinds";
}

int Send(const SendOptions& options, const std::function<void(ServiceSender&)>& message) {
  Complaints complaints(std::cerr);
  try {
    const Patience patience{std::llround(options.timeout * 1000)};
    ServiceSender sender(options.meterSet, options.cluster, patience, std::cout);
    message(sender);
  } catch (const std::runtime_error& error) {
    complaints.Add(error.what());
  }
  return complaints.Status();
}

// A service that is sent something else is left without a programme; that is no slip worth making.
std::string ReadPreset(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error))
    throw ServiceError(path + ": is a directory");
  std::ifstream file(path, std::ios::binary);
  if (!file)
    throw ServiceError(path + ": " + std::strerror(errno));
  std::string text{std::istreambuf_iterator<char>(file), {}};
  rapidjson::Document document;
  if (!json::ParseObject(text.c_str(), document))
    throw ServiceError(path + ": not a JSON object");
  return text;
}

CLI::App* AddKind(CLI::App* send, const char* name, const char* description, const char* footer) {
  CLI::App* kind = send->add_subcommand(name, description);
  kind->fallthrough();
  kind->footer(std::string(footer) + kOptionsFooter);
  return kind;
}

void AddWord(CLI::App* kind, const char* name, std::string& word, const Words& words,
             const char* description) {
  kind->add_option(name, word, description)
      ->capture_default_str()
      ->check(CLI::IsMember(words, CLI::ignore_case));
}

const std::string& Word(const Words& words, std::string word) {
  return words.at(CLI::detail::to_lower(std::move(word)));
}

void AddReporting(CLI::App* send, const std::shared_ptr<SendOptions>& options, int& status) {
  AddKind(send, "enable", "Switch reporting on", kEnableFooter)->callback([options, &status] {
    status = Send(*options, [](ServiceSender& sender) { sender.Enable(); });
  });
  AddKind(send, "disable", "Switch reporting off", kDisableFooter)->callback([options, &status] {
    status = Send(*options, [](ServiceSender& sender) { sender.Disable(); });
  });
}

int SendPresetFile(const SendOptions& options, const std::string& path) {
  std::string json;
  try {
    json = ReadPreset(path);
  } catch (const ServiceError& error) {
    Complaints complaints(std::cerr);
    complaints.Add(error.what());
    return complaints.Status();
  }
  return Send(options, [&json](ServiceSender& sender) { sender.SendPreset(json); });
}

void AddPreset(CLI::App* send, const std::shared_ptr<SendOptions>& options, int& status) {
  CLI::App* kind = AddKind(send, "preset", "Send a preset document", kPresetFooter);
  auto file = std::make_shared<std::string>();
  kind->add_option("FILE", *file, "The document, JSON")->required();
  kind->callback([options, file, &status] { status = SendPresetFile(*options, *file); });
}

struct ConfigurationWords {
  LoudnessConfiguration configuration;  // what is no word
  std::string mode = "continuous";
  std::string window = "momentary";
  std::string standard = "bs1770";
  std::string alarm = "both";
};

CLI::Range WindowBetween(std::uint32_t shortest, std::uint32_t longest) {
  return CLI::Range(static_cast<int>(shortest), static_cast<int>(longest));
}

void AddConfigurationOptions(CLI::App* kind, ConfigurationWords& words) {
  LoudnessConfiguration& configuration = words.configuration;
  AddWord(kind, "--mode", words.mode, kModes, "Whether a stop is obeyed: in manual only");
  AddWord(kind, "--window", words.window, kWindows, "Window that the user looks at");
  kind->add_option("--window-time", configuration.loudnessWindowTime,
                   "Window of the integrated loudness, s")
      ->capture_default_str()
      ->check(WindowBetween(kMinIntegWinSecs, kMaxIntegWinSecs));
  kind->add_option("--lra-window", configuration.lraWindow, "Window of the loudness range, s")
      ->capture_default_str()
      ->check(WindowBetween(kMinLraWinSecs, kMaxLraWinSecs));
  AddWord(kind, "--standard", words.standard, kStandards, "Standard and scale");
  kind->add_option("--reference", configuration.referenceLevel, "Reference level, LKFS")
      ->capture_default_str()
      ->check(CLI::Range(-99, 0));
  AddWord(kind, "--alarm", words.alarm, kAlarms, "Side of the reference level that alarms");
  kind->add_option("--tolerance", configuration.alarmTolerance, "Tolerance of the alarm, LU")
      ->capture_default_str()
      ->check(CLI::Range(0, 99));
  kind->add_option("--user", configuration.userId, "Number of the user")->capture_default_str();
}

LoudnessConfiguration ConfigurationOf(const ConfigurationWords& words, unsigned cluster) {
  LoudnessConfiguration configuration = words.configuration;
  configuration.clusterId = cluster;
  configuration.mode = Word(kModes, words.mode);
  configuration.loudnessWindow = Word(kWindows, words.window);
  configuration.loudnessStandard = Word(kStandards, words.standard);
  configuration.alarm = Word(kAlarms, words.alarm);
  return configuration;
}

void AddConfiguration(CLI::App* send, const std::shared_ptr<SendOptions>& options, int& status) {
  CLI::App* kind = AddKind(send, "config", "Send a loudness configuration", kConfigFooter);
  auto words = std::make_shared<ConfigurationWords>();
  AddConfigurationOptions(kind, *words);
  kind->callback([options, words, &status] {
    const LoudnessConfiguration configuration = ConfigurationOf(*words, options->cluster);
    status = Send(*options, [&configuration](ServiceSender& sender) {
      sender.SendConfiguration(configuration);
    });
  });
}

void AddLoudnessCommand(CLI::App* send, const std::shared_ptr<SendOptions>& options, int& status) {
  CLI::App* kind = AddKind(send, "command", "Send a loudness command", kCommandFooter);
  auto name = std::make_shared<std::string>();
  auto user = std::make_shared<unsigned>(0);
  kind->add_option("NAME", *name, "What to do")
      ->required()
      ->check(CLI::IsMember(kCommands, CLI::ignore_case));
  kind->add_option("--user", *user, "Number of the user; 0: that of the configuration")
      ->capture_default_str();
  kind->callback([=, &status] {
    const std::string& command = Word(kCommands, *name);
    status = Send(*options, [&](ServiceSender& sender) { sender.SendCommand(command, *user); });
  });
}

}  // namespace

void AddSendCommand(CLI::App& app, int& status) {
  CLI::App* send = app.add_subcommand("send", "Send one message to a running service");
  auto options = std::make_shared<SendOptions>();
  send->require_subcommand(1);
  send->add_option("--meter-set", options->meterSet, "Meter set of the service; no other is fit")
      ->capture_default_str()
      ->check(CheckMeterSet);
  send->add_option("--cluster", options->cluster, "Cluster of the service")
      ->capture_default_str()
      ->check(CLI::Range(1, 8));
  send->add_option("--timeout", options->timeout, "Seconds for each answer of the service")
      ->capture_default_str()
      ->check(Between(kShortestTimeout, kLongestTimeout));
  send->footer(kFooter);
  AddReporting(send, options, status);
  AddPreset(send, options, status);
  AddConfiguration(send, options, status);
  AddLoudnessCommand(send, options, status);
}

}  // namespace louddesk
