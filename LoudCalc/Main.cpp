// Entry of the process: logger, command line, address, then the three phases of the service.

#include <getopt.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "AdmittedClients.h"
#include "Assertion.h"
#include "BoardAddresses.h"
#include "Console.h"
#include "Endpoints.h"
#include "LogMacros.h"
#include "NetworkUtils.h"
#include "ProcessSetup.h"
#include "ReactorMain.h"

namespace {

constexpr char kUnitName[] = "Main";
constexpr char kLoggerName[] = "HwManagerMb";
constexpr int kLoggerNameSize = 7;  // bytes, terminator included; the name is cut there
constexpr char kDefaultInterface[] = "lo";
constexpr char kNoAddress[] = "0.0.0.0";
constexpr std::uint64_t kMaxSlot = 1;

using AddressText_t = char[16];

struct Options {
  std::uint64_t slot = 1;  // 0: main board, 1: optical board
  std::string interface = kDefaultInterface;
  std::uint32_t meterSet = 1;  // 0: none
  std::uint64_t cluster = 0;   // 1 to 8; 0: not given
};

void PrepareProcess() {
  EndOnTermination();
  IgnoreStraySignals();
  ForgetLibraryEnvironment();
  AllowManyClients();
  OpenMissingStandardStreams();
  MakeConsoleNonBlocking();
}

Logger* PrepareLogger() {
  Logger* logger = Logger::GetInstance();
  if (logger == nullptr)
    return nullptr;
  logger->mLogLevel = MsgLevel_Debug;
  logger->mConsoleAttached = true;
  std::snprintf(logger->mName, kLoggerNameSize, "%.*s", kLoggerNameSize - 1, kLoggerName);
  logger->AttachMqOverIpc();
  return logger;
}

[[noreturn]] void ExitWithUsage(const char* program) {
  std::fprintf(stderr,
               "Usage: %s -s <slot number>[0], 0-> Mainboard, 1->Slot-1, 2->Slot-2 ,3->Slot-3]\n\t "
               "-i <interface>[eth0], -m <meter set[1], 1, 2, 3, 4>,  -c <cluster no [1], 1, 2,.., "
               "or 8>\n",
               program);
  std::exit(1);
}

// The full number, not yet narrowed to the option's type, so that range checks see all of it. A
// negative number becomes a very large one.
std::uint64_t Number(const char* text) {
  return static_cast<std::uint64_t>(std::strtol(text, nullptr, 10));
}

void TakeOption(int option, const char* program, Options& options) {
  switch (option) {
    case 's':
      options.slot = Number(optarg);
      if (options.slot > kMaxSlot)
        ExitWithUsage(program);
      break;
    case 'i':
      options.interface = optarg;
      break;
    case 'm':
      options.meterSet = static_cast<std::uint32_t>(Number(optarg));
      break;
    case 'c':
      options.cluster = Number(optarg);
      break;
    default:
      ExitWithUsage(program);
  }
}

Options ReadOptions(int argc, char** argv) {
  Options options;
  for (int option = 0; (option = getopt(argc, argv, "m:c:s:i:h")) != -1;)
    TakeOption(option, argv[0], options);
  if (options.cluster < 1 || options.cluster > kMaxCluster) {
    std::fprintf(stderr, "Please provide valid cluster number, 1,2,...,or 8");
    std::exit(1);
  }
  return options;
}

// Loads a setting from the environment. The service does not start with an invalid one.
void LoadOrExit(bool (*load)(std::string& error)) {
  std::string error;
  if (load(error))
    return;
  std::fprintf(stderr, "%s\n", error.c_str());
  std::exit(1);
}

// The address of the interface, or the fixed address of the slot's board if the interface has none.
void FindAddress(const Options& options, AddressText_t& address) {
  if (GetInterfaceAddressFromIoctl(options.interface.c_str(), address) == 0 &&
      std::strcmp(address, kNoAddress) != 0)
    return;
  std::snprintf(address, sizeof address, "%s",
                options.slot == 0 ? MainBoardAddress() : OpticalBoardAddress());
  const bool is_valid_ip = IpAddrIsValid(address);
  LOUDCALC_ASSERT(is_valid_ip, "is_valid_ip");
}

void RunService(const Options& options, const char* address) {
  if (!initReactorLoop(static_cast<std::int32_t>(options.slot), address, options.meterSet,
                       static_cast<std::uint32_t>(options.cluster)))
    return;
  startReactorLoop();
  cleanReactorLoop();
}

}  // namespace

int main(int argc, char** argv) {
  PrepareProcess();
  Logger* const logger = PrepareLogger();
  const LogSource log = {kUnitName, logger, MsgLevel_Debug};
  const Options options = ReadOptions(argc, argv);
  LoadOrExit(LoadBoardAddresses);
  LoadOrExit(LoadAdmittedClients);
  AddressText_t address = {};
  FindAddress(options, address);
  LOUDCALC_LOG(log, Info, "\"Got IP for %s : %s @ slot %d\"", options.interface.c_str(), address,
               static_cast<int>(options.slot));
  RunService(options, address);
  LOUDCALC_PRINT(kUnitName, stdout, "\"LoudCalc exiting...\"");
  if (logger != nullptr)
    logger->DetachMq();
  return 0;
}
