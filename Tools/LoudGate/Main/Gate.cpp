// Sets up the signals, clusters, routes and server, and runs the event loop.

#include "Gate.h"

#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "CertificateDates.h"
#include "ClusterApi.h"
#include "ClusterBoard.h"
#include "ControlApi.h"
#include "EventLoop.h"
#include "GateMetrics.h"
#include "HttpServer.h"
#include "LogApi.h"
#include "PageRoutes.h"
#include "ServiceManager.h"
#include "StationRecorder.h"

namespace loudgate {
namespace {

// Period of the loudness data and of the stream events.
constexpr std::chrono::milliseconds kTick{100};

sigset_t EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP})
    sigaddset(&signals, signal);
  return signals;
}

// A descriptor that receives the end signals.
class EndSignalFile {
 public:
  EndSignalFile() {
    const sigset_t signals = EndSignals();
    mDescriptor = signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
    if (mDescriptor < 0)
      throw std::runtime_error(std::string("signals cannot be read: ") + std::strerror(errno));
  }
  ~EndSignalFile() { close(mDescriptor); }
  EndSignalFile(const EndSignalFile&) = delete;
  EndSignalFile& operator=(const EndSignalFile&) = delete;

  int Descriptor() const { return mDescriptor; }

 private:
  int mDescriptor;
};

std::string ContentsOf(const std::string& file) {
  if (file.empty())
    return "";
  std::ifstream stream(file, std::ios::binary);
  std::string contents((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  if (contents.empty())
    throw std::runtime_error(file + ": is empty or cannot be read");
  return contents;
}

// A client that refuses a certificate does not tell the gate why.
void NoteDates(const std::string& certificate, louddesk::Complaints& complaints) {
  const std::string warning = DateWarningOf(ContentsOf(certificate), std::time(nullptr));
  if (!warning.empty())
    complaints.Note(certificate + ": " + warning);
}

// Anyone who can read the key can impersonate this gate.
void NoteOpenKey(const std::string& key, louddesk::Complaints& complaints) {
  struct stat status {};
  if (stat(key.c_str(), &status) == 0 && (status.st_mode & S_IRWXO) != 0)
    complaints.Note(key + ": others can read this private key; chmod 600 keeps them out");
}

HttpSettings SettingsFor(const GateOptions& options) {
  HttpSettings settings;
  settings.address = options.listen;
  settings.names = options.names;
  settings.certificate = ContentsOf(options.certificate);
  settings.key = ContentsOf(options.key);
  return settings;
}

// The parts that commands need: the token, and the endpoint they are sent from.
struct Control {
  Control(EventLoop& loop, ClusterBoard& board, const std::string& tokenFile)
      : token(tokenFile), commands(loop) {
    board.AddListener(commands);
  }

  ControlToken token;
  ClusterControl commands;
};

// The members are destroyed in reverse order: the server before the parts that its routes use.
class Gate {
 public:
  Gate(const GateOptions& options, louddesk::Complaints& complaints)
      : mBoard(mLoop, options.directory,
               [&complaints](const std::string& text) { complaints.Note(text); }),
        mApi(mBoard, mRoutes),
        mServer(mLoop, SettingsFor(options), mRoutes) {
    NoteOpenKey(options.key, complaints);
    NoteDates(options.certificate, complaints);
    AddPages(mRoutes);
    AddMetrics(mRoutes, mBoard, [this] { return OwnCounts(); });
    if (options.token.empty())
      AddNoControl(mRoutes);
    else
      StartControl(options.token);
    if (!options.record.file.empty()) {
      mRecorder.emplace(options.record, options.writeEvery,
                        [&complaints](const std::string& text) { complaints.Note(text); });
      mBoard.AddListener(*mRecorder);
      mLog.emplace(mRoutes, options.record.file);
    } else {
      AddNoLog(mRoutes);
    }
    mLoop.Watch(mSignals.Descriptor(), [this] { mLoop.End(); });
    mLoop.Every(kTick, [this] { Tick(Moment::Now()); });
  }

  ~Gate() { mLoop.Unwatch(mSignals.Descriptor()); }

  void Run() {
    std::cout << "Listening at " << mServer.Url() << "\n";
    if (mControl)
      std::cout << "Controlling at " << mControl->commands.Place()
                << ", in the place of the application server\n";
    std::cout << std::flush;
    mManager.NotifyReady();
    mLoop.Run();
    mManager.NotifyStopping();
  }

 private:
  void StartControl(const std::string& tokenFile) {
    mControl.emplace(mLoop, mBoard, tokenFile);
    AddControl(mRoutes, mBoard, mControl->commands, mControl->token);
  }

  void Tick(Moment now) {
    mBoard.Tend(now);
    if (mControl)
      mControl->commands.Tend(now);
    mApi.Publish(mServer, now);
    if (mLog)
      mLog->Tend();
    mServer.Tend(now.steady);
    if (mRecorder)
      mRecorder->Tend(mBoard, now);
    mManager.NotifyAlive();
  }

  GateCounts OwnCounts() const {
    return {mServer.Counts(), mRecorder ? std::optional(mRecorder->Counts()) : std::nullopt};
  }

  ServiceManager mManager;
  EndSignalFile mSignals;
  EventLoop mLoop;
  Routes mRoutes;
  std::optional<StationRecorder> mRecorder;  // nothing with --no-record
  std::optional<LogApi> mLog;                // nothing with --no-record
  ClusterBoard mBoard;
  std::optional<Control> mControl;
  ClusterApi mApi;
  HttpServer mServer;
};

}  // namespace

void PrepareSignals() {
  const sigset_t signals = EndSignals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

int RunGate(const GateOptions& options, louddesk::Complaints& complaints) {
  try {
    zsys_handler_set(nullptr);
    Gate(options, complaints).Run();
  } catch (const std::runtime_error& error) {
    complaints.Add(error.what());
  }
  return complaints.Status();
}

}  // namespace loudgate
