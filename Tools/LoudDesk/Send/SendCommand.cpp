// `LoudDesk send`: the command line, one message in place of the main board's application server,
// and the wait for its outcome.

#include "SendCommand.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

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
#include <utility>
#include <vector>

#include "Complaints.h"
#include "Endpoints.h"
#include "JsonAccess.h"
#include "LoudConfigUser.h"
#include "LuMessages.h"
#include "NumberCheck.h"
#include "ServiceClient.h"

namespace louddesk {
namespace {

constexpr double kShortestTimeout = 0.1;  // s
constexpr double kLongestTimeout = 3600;  // s

// Maps words of the command line to those in messages.
using Words = std::map<std::string, std::string>;

const Words kModes = {
    {"continuous", cLuConf::kDefaultModeText},
    {"manual", cLuConf::kManualModeText},
};
const Words kWindows = {
    {"momentary", cLuConf::kDefaultWindowText},
    {"short", cLuConf::ConvertToLoudnessWindowStrFromEnum(LOUD_WIN_TYPE_SHORT)},
    {"custom", cLuConf::kCustomWindowText},
};
const Words kAlarms = {
    {"over", cLuConf::ConvertToAlarmStrFromEnum(LU_ALARM_OVER)},
    {"under", cLuConf::ConvertToAlarmStrFromEnum(LU_ALARM_UNDER)},
    {"both", cLuConf::ConvertToAlarmStrFromEnum(LU_ALARM_BOTH)},
    {"off", cLuConf::ConvertToAlarmStrFromEnum(LU_ALARM_OFF)},
};
const Words kStandards = {
    {"bs1770", cLuConf::ConvertToLoudnessStandardStrFromEnum(BS1770_3)},
    {"ebu+9", cLuConf::ConvertToLoudnessStandardStrFromEnum(EBU_R128_9)},
    {"ebu+18", cLuConf::ConvertToLoudnessStandardStrFromEnum(EBU_R128_18)},
};
const Words kCommands = {
    {"start", cLuCmd::kStartText}, {"pause", cLuCmd::kPauseText}, {"play", cLuCmd::kPlayText},
    {"stop", cLuCmd::kStopText},   {"reset", cLuCmd::kResetText},
};

constexpr char kFooter[] =
    "\nExample, with a running service of meter set 1, cluster 1:\n"
    "  LoudDesk send preset Tests/Golden/preset-5.1.json\n"
    "  LoudDesk send enable\n"
    "  LoudDesk send config --mode manual --window custom --window-time 600\n"
    "  LoudDesk send command pause\n"
    "\n"
    "The service's answers are printed. The status is 1 when it does not subscribe or\n"
    "answer in time, and after Ctrl-C. While its reporting is off, as after its\n"
    "start, a service keeps the messages it is sent, but does not carry out or\n"
    "acknowledge anything: the first preset is not acknowledged until reporting is\n"
    "switched on.\n"
    "Sending needs the endpoint of the application server of the main board\n"
    "(LOUDCALC_MAIN_BOARD_ADDRESS, port {}), which no other program may use.\n";

constexpr char kEnableFooter[] =
    "\nExample:\n"
    "  LoudDesk send enable\n"
    "\n"
    "The acknowledgement is the loudness data itself, or that of an action that has\n"
    "waited for reporting. If nothing was started, there is none.\n";

constexpr char kDisableFooter[] =
    "\nExample:\n"
    "  LoudDesk send disable\n"
    "\n"
    "The acknowledgement is the end of the loudness data: none for half a second. If\n"
    "there was none before, the message is sent and a line says so.\n";

constexpr char kPresetFooter[] =
    "\nExample:\n"
    "  LoudDesk send preset Tests/Golden/preset-5.1.json\n"
    "\n"
    "The acknowledgement is that of a start.\n";

constexpr char kConfigFooter[] =
    "\nExample:\n"
    "  LoudDesk send config --mode manual --window custom --window-time 600 --user 17\n"
    "\n"
    "Settings that are not given stay as the service republishes them every five\n"
    "seconds; this waits until it does. With --fresh, or if it republishes none, they\n"
    "are the defaults of a service, shown above in brackets. The acknowledgement is\n"
    "the configuration as the service publishes it, and a start.\n";

constexpr char kCommandFooter[] =
    "\nExample:\n"
    "  LoudDesk send command pause\n"
    "\n"
    "The acknowledgement is that of the command, or of what it leads to: a start\n"
    "resets first, a play after a stop is a start, a pause while stopped is a stop. A\n"
    "service stops only in the mode Manual (LoudDesk send config).\n";

// The help of each kind of message lists only its own options.
constexpr char kOptionsFooter[] =
    "\nMore options, for all kinds: --meter-set, --cluster and --timeout, see\n"
    "LoudDesk send --help.\n";

struct SendOptions {
  unsigned meterSet = 1;
  unsigned cluster = 1;
  double timeout = 5;  // s
};

// Services of other meter sets do not subscribe to presets, configurations and commands.
std::string CheckMeterSet(const std::string& value) {
  return value == std::to_string(kLastMeterSetWithTopics)
             ? ""
             : "only a service of meter set 1 takes messages of all kinds";
}

// If data comes at all, it comes every 100 ms.
constexpr Patience kFirstData{500};

constexpr char kReportingHint[] =
    "; nothing is carried out while reporting is off (LoudDesk send enable)";
constexpr char kCommandHint[] =
    "; nothing is carried out while reporting is off (LoudDesk send enable) or the source is "
    "invalid (LoudDesk send preset)";
constexpr char kNoneInForce[] =
    "No configuration is republished: settings that are not given have their defaults";
constexpr char kStopHint[] = "; in the mode Continuous a stop is not carried out";

// The changes to a configuration that the command line requests.
struct ConfigurationChange {
  std::vector<std::function<void(LoudnessConfiguration& to)>> settings;  // each sets one member
  bool isFresh = false;  // change the initial configuration instead of the one in force
};

class Sender {
 public:
  explicit Sender(const SendOptions& options)
      : mUnit(options.meterSet, options.cluster),
        mClient(mUnit, [](const auto& answer) { std::cout << AnswerText(answer) << std::endl; }),
        mPatience(std::llround(options.timeout * 1000)) {}

  // Each of these functions connects, sends one message with ServiceClient and waits until it is
  // done. They throw ServiceError if the endpoint is in use, or if the service does not subscribe
  // or answer in time.

  void Enable() {
    Connect();
    mClient.SwitchReporting(true);
    if (mClient.Await(mPatience) != Outcome::kDone)
      throw ServiceError("no loudness data" + InTime() +
                         ": the measurement was not started (LoudDesk send preset FILE) or is "
                         "stopped (LoudDesk send command start)");
    std::cout << "Reporting is on: the service answers" << std::endl;
  }

  // If no loudness data came before either, nothing shows that the service has received the
  // message.
  void Disable() {
    Connect();
    const bool wasOn = mUnit.NextLoudnessData(kFirstData).has_value();
    mClient.SwitchReporting(false);
    if (mClient.Await(mPatience + kFirstData) != Outcome::kDone)
      throw ServiceError("the loudness data has not ended" + InTime());
    std::cout << (wasOn ? "Reporting is off: the loudness data has ended"
                        : "Sent; no loudness data came before or after")
              << std::endl;
  }

  void SendPreset(const std::string& json) {
    Connect();
    mClient.SendPreset(json);
    AwaitAcknowledgement(kReportingHint);
  }

  void SendConfiguration(const ConfigurationChange& change) {
    Connect();
    LoudnessConfiguration configuration;
    configuration.clusterId = mUnit.Cluster();
    if (!change.isFresh)
      configuration = InForce(configuration);
    for (const auto& set : change.settings)
      set(configuration);
    configuration.originFromFp = false;  // names the sender; not a setting
    mClient.SendConfiguration(configuration);
    AwaitAcknowledgement(kCommandHint);
  }

  void SendCommand(const std::string& command, unsigned user) {
    Connect();
    mClient.SendCommand(command, user);
    const std::string hint =
        std::string(kCommandHint) + (command == cLuCmd::kStopText ? kStopHint : "");
    if (AwaitAcknowledgement(hint) == Outcome::kOtherStamp)
      std::cout << command << " " << kOtherStampText << std::endl;
  }

 private:
  void Connect() {
    try {
      mUnit.Open(Peer::kMainAppServer);
    } catch (const BindError& error) {
      throw ServiceError(std::string("sending needs the endpoint of the application server: ") +
                         error.what());
    }
    mClient.Connect(mPatience);
  }

  LoudnessConfiguration InForce(const LoudnessConfiguration& otherwise) {
    const auto inForce = mClient.ConfigurationInForce(mPatience);
    if (!inForce)
      std::cout << kNoneInForce << std::endl;
    return inForce.value_or(otherwise);
  }

  Outcome AwaitAcknowledgement(const std::string& hint) {
    const Outcome outcome = mClient.Await(mPatience);
    if (outcome == Outcome::kInvalidSource)
      throw ServiceError(
          "the source is invalid: the preset was refused, or has no meters for cluster " +
          std::to_string(mUnit.Cluster()));
    if (outcome == Outcome::kPending)
      throw ServiceError("no acknowledgement" + InTime() + hint);
    return outcome;
  }

  std::string InTime() const {
    return zsys_interrupted != 0 ? ": interrupted" : InTimeText(mPatience);
  }

  UnitStandIn mUnit;
  ServiceClient mClient;
  Patience mPatience;  // for the subscription, and again for the answer
};

int Send(const SendOptions& options, const std::function<void(Sender&)>& message) {
  Complaints complaints(std::cerr);
  try {
    Sender sender(options);
    message(sender);
  } catch (const std::runtime_error& error) {
    complaints.Add(error.what());
  }
  return complaints.Status();
}

// Rejects anything but a JSON object, which would leave the service without a programme.
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

// Accepts one of the words, in any case, and converts it to the word in messages.
CLI::Option* TakeWords(CLI::Option* option, const Words& words) {
  // The transformer added last runs first: it corrects the case, then the other one translates.
  return option->transform(CLI::Transformer(words).description(""))
      ->transform(CLI::IsMember(words, CLI::ignore_case));
}

void AddReporting(CLI::App* send, const std::shared_ptr<SendOptions>& options, int& status) {
  AddKind(send, "enable", "Switch reporting on", kEnableFooter)->callback([options, &status] {
    status = Send(*options, [](Sender& sender) { sender.Enable(); });
  });
  AddKind(send, "disable", "Switch reporting off", kDisableFooter)->callback([options, &status] {
    status = Send(*options, [](Sender& sender) { sender.Disable(); });
  });
}

void AddPreset(CLI::App* send, const std::shared_ptr<SendOptions>& options, int& status) {
  CLI::App* kind = AddKind(send, "preset", "Send a preset document", kPresetFooter);
  auto file = std::make_shared<std::string>();
  kind->add_option("FILE", *file, "The document, JSON")->required();
  kind->callback([options, file, &status] {
    status = Send(*options, [&](Sender& sender) { sender.SendPreset(ReadPreset(*file)); });
  });
}

CLI::Range WindowBetween(std::uint32_t shortest, std::uint32_t longest) {
  return CLI::Range(static_cast<int>(shortest), static_cast<int>(longest));
}

// Adds an option for one member of the configuration. Its displayed default is the value that a
// service starts with.
template <typename Value>
CLI::Option* AddSetting(CLI::App* kind, ConfigurationChange& change, const char* name,
                        Value LoudnessConfiguration::*member, const char* description) {
  const auto set = [&change, member](const Value& value) {
    change.settings.emplace_back([member, value](auto& to) { to.*member = value; });
  };
  return kind->add_option_function<Value>(name, set, description)
      ->default_str(fmt::format("{}", LoudnessConfiguration().*member));
}

// The same for a member with a fixed set of words.
void AddChoice(CLI::App* kind, ConfigurationChange& change, const char* name,
               std::string LoudnessConfiguration::*member, const Words& words,
               const char* description) {
  CLI::Option* option = TakeWords(AddSetting(kind, change, name, member, description), words);
  for (const auto& [word, called] : words)
    if (called == LoudnessConfiguration().*member)
      option->default_str(word);
}

void AddSettings(CLI::App* kind, ConfigurationChange& change) {
  using Configuration = LoudnessConfiguration;
  AddChoice(kind, change, "--mode", &Configuration::mode, kModes,
            "Only in manual are stop commands carried out");
  AddChoice(kind, change, "--window", &Configuration::loudnessWindow, kWindows,
            "Window that is shown to the user");
  AddSetting(kind, change, "--window-time", &Configuration::loudnessWindowTime,
             "Window of the integrated loudness, s")
      ->check(WindowBetween(kMinIntegWinSecs, kMaxIntegWinSecs));
  AddSetting(kind, change, "--lra-window", &Configuration::lraWindow,
             "Window of the loudness range, s")
      ->check(WindowBetween(kMinLraWinSecs, kMaxLraWinSecs));
  AddChoice(kind, change, "--standard", &Configuration::loudnessStandard, kStandards,
            "Standard and scale");
  AddSetting(kind, change, "--reference", &Configuration::referenceLevel, "Reference level, LKFS")
      ->check(CLI::Range(-99, 0));
  AddChoice(kind, change, "--alarm", &Configuration::alarm, kAlarms,
            "Side of the reference level that raises alarms");
  AddSetting(kind, change, "--tolerance", &Configuration::alarmTolerance,
             "Tolerance of the alarm, LU")
      ->check(CLI::Range(0, 99));
  AddSetting(kind, change, "--user", &Configuration::userId, "Number of the user");
}

void AddConfiguration(CLI::App* send, const std::shared_ptr<SendOptions>& options, int& status) {
  CLI::App* kind = AddKind(send, "config", "Send a loudness configuration", kConfigFooter);
  auto change = std::make_shared<ConfigurationChange>();
  AddSettings(kind, *change);
  kind->add_flag("--fresh", change->isFresh, "Change the defaults, not the settings in force");
  kind->callback([=, &status] {
    status = Send(*options, [&](Sender& sender) { sender.SendConfiguration(*change); });
  });
}

void AddLoudnessCommand(CLI::App* send, const std::shared_ptr<SendOptions>& options, int& status) {
  CLI::App* kind = AddKind(send, "command", "Send a loudness command", kCommandFooter);
  auto command = std::make_shared<std::string>();
  auto user = std::make_shared<unsigned>(0);
  TakeWords(kind->add_option("NAME", *command, "The command"), kCommands)->required();
  kind->add_option("--user", *user, "Number of the user; 0 is that of the configuration")
      ->capture_default_str();
  kind->callback([=, &status] {
    status = Send(*options, [&](Sender& sender) { sender.SendCommand(*command, *user); });
  });
}

}  // namespace

void AddSendCommand(CLI::App& app, int& status) {
  CLI::App* send = app.add_subcommand("send", "Send one message to a running service");
  auto options = std::make_shared<SendOptions>();
  send->require_subcommand(1);
  send->add_option("--meter-set", options->meterSet,
                   "Meter set of the service; only 1 takes messages")
      ->capture_default_str()
      ->check(CheckMeterSet);
  send->add_option("--cluster", options->cluster, "Cluster of the service")
      ->capture_default_str()
      ->check(CLI::Range(1, kMaxCluster));
  send->add_option("--timeout", options->timeout, "Seconds to wait for each answer of the service")
      ->capture_default_str()
      ->check(Between(kShortestTimeout, kLongestTimeout));
  send->footer(fmt::format(kFooter, kAppserverPort));
  AddReporting(send, options, status);
  AddPreset(send, options, status);
  AddConfiguration(send, options, status);
  AddLoudnessCommand(send, options, status);
}

}  // namespace louddesk
