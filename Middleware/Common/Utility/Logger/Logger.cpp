// The process-wide logger: console lines and messages to the log sink. A singleton; reactor thread
// only.

#include "Logger.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <string>
#include <utility>

#include "MqNames.h"
#include "Utf8Text.h"

namespace {

constexpr char kUnitName[] = "Logger";

constexpr char kNotifyColour[] = "\033[0;33m";
constexpr char kLineEnd[] = "\n\033[0m";  // resets the colour after the line

// How the five levelled calls differ.
struct Severity {
  MsgLevel_e level;
  const char* colour;      // terminal sequence that begins the console line
  bool isFault;            // written to standard error, else to standard output
  bool isAlwaysOnConsole;  // written there without `mConsoleAttached` too
};

constexpr Severity kSeverities[] = {
    {MsgLevel_Critical, "\033[1;7m", true, true}, {MsgLevel_Error, "\033[1;31m", true, false},
    {MsgLevel_Warn, "\033[1;33m", true, false},   {MsgLevel_Info, "\033[1;32m", false, false},
    {MsgLevel_Debug, "\033[0;1m", false, false},
};

struct LevelName {
  MsgLevel_e level;
  const char* name;
};

constexpr LevelName kLevelNames[] = {
    {MsgLevel_Notset, "NOTSET"}, {MsgLevel_Debug, "DEBUG"}, {MsgLevel_Info, "INFO"},
    {MsgLevel_Warn, "WARN"},     {MsgLevel_Error, "ERROR"}, {MsgLevel_Critical, "CRITICAL"},
};

Logger* gpInstance = nullptr;  // the logger, written by GetInstance and DeleteInstance

// The row of a level. REQUIRES: `level` is one of the five above.
const Severity& SeverityOf(MsgLevel_e level) {
  const Severity* severity = kSeverities;
  while (severity->level != level)
    ++severity;
  return *severity;
}

// Milliseconds since the epoch.
unsigned long long TimeStamp() {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<unsigned long long>(static_cast<std::int64_t>(
      static_cast<double>(now.tv_nsec) * 1e-6 + static_cast<double>(now.tv_sec) * 1000.0));
}

// The formatted text in full; empty when the arguments cannot be converted.
std::string Format(const char* format, va_list arguments) {
  va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  if (length <= 0)
    return {};
  std::string text(static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

int CountOf(const std::string& message) {
  return static_cast<int>(message.size());
}

// Writes in one piece, so that the lines of processes on the same console do not mix, and flushes,
// because a service's output goes to a pipe.
bool Write(FILE* stream, const std::string& text) {
  return std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
         std::fflush(stream) == 0;
}

// Prints directly to the stream: the exception may mean that there is no memory for a line.
void ReportException(const char* title, const char* description) {
  std::fprintf(stderr, "%s|%u| \"%s %s\"\n", kUnitName, static_cast<unsigned>(__LINE__), title,
               description);
}

}  // namespace

Logger* Logger::GetInstance() {
  if (gpInstance == nullptr) {
    // CZMQ's own exit handler must be registered before ours, so that our socket goes first.
    zsys_init();
    gpInstance = new (std::nothrow) Logger;
    std::atexit(DeleteInstance);
  }
  return gpInstance;
}

void Logger::DeleteInstance() {
  if (gpInstance == nullptr)
    return;
  gpInstance->DetachMq();
  delete gpInstance;
  gpInstance = nullptr;
}

int Logger::Critical(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int count = Log(MsgLevel_Critical, format, arguments);
  va_end(arguments);
  return count;
}

int Logger::Error(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int count = Log(MsgLevel_Error, format, arguments);
  va_end(arguments);
  return count;
}

int Logger::Warn(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int count = Log(MsgLevel_Warn, format, arguments);
  va_end(arguments);
  return count;
}

int Logger::Info(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int count = Log(MsgLevel_Info, format, arguments);
  va_end(arguments);
  return count;
}

int Logger::Debug(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int count = Log(MsgLevel_Debug, format, arguments);
  va_end(arguments);
  return count;
}

int Logger::Notify(MsgLevel_e level, const char* title, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const auto notify = [&] {
    const std::string message = Format(format, arguments);
    if (isMqAttached()) {
      Compose(message);
      SendJson(MsgType_Notify, level, mMsg, title);
    } else {
      Write(stderr, kNotifyColour + Prefix(level) + message + kLineEnd);
    }
    return CountOf(message);
  };
  const int count = MqGuard(notify, ReportException);
  va_end(arguments);
  return count;
}

void Logger::Fprintf(FILE* stream, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const auto print = [&] { return Write(stream, Format(format, arguments) + "\n"); };
  MqGuard(print, ReportException);
  va_end(arguments);
}

int Logger::AttachMqOverTcp() {
  return Attach(MqEndpoint::Tcp(kLocalHostAddress, kLogSinkPort));
}

int Logger::AttachMqOverIpc() {
  return Attach(MqEndpoint::Ipc(kLogSinkIpcName));
}

int Logger::DetachMq() {
  const auto detach = [&] {
    if (isMqAttached())
      Fprintf(stdout, "%s|%u| \"Logger MQ cleanup!!!\"", kUnitName,
              static_cast<unsigned>(__LINE__));
    mLink.Close();
    return 1;
  };
  return MqGuard(detach, ReportException);
}

void Logger::TendLink() {
  mLink.Tend([this](const char* endpoint) {
    Warn("%s|%u|\"Connection to %s broke the protocol, connecting again\"", kUnitName,
         static_cast<unsigned>(__LINE__), endpoint);
  });
}

const char* Logger::GetLevelName(MsgLevel_e level) {
  for (const LevelName& row : kLevelNames) {
    if (row.level == level)
      return row.name;
  }
  return "";
}

bool Logger::SendJson(MsgType_e type, MsgLevel_e level, const char* message, const char* title) {
  if (message == nullptr || !isMqAttached())
    return false;
  const auto send = [&] {
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    writer.StartObject();
    writer.Key(log_key::kType);
    writer.Int(type);
    writer.Key(log_key::kLevel);
    writer.Int(level);
    writer.Key(log_key::kName);
    writer.String(Utf8Of(mName).c_str());
    writer.Key(log_key::kMessage);
    writer.String(Utf8Of(message).c_str());
    if (type == MsgType_Notify && title != nullptr) {
      writer.Key(log_key::kTitle);
      writer.String(Utf8Of(title).c_str());
    }
    writer.EndObject();
    mLink.TakeNote();
    return MqSendOnlyText(mpSock, text.GetString()) == 0;
  };
  return MqGuard(send, [](const char*, const char* description) {
    ReportException("Exception", description);
  });
}

int Logger::Log(MsgLevel_e level, const char* format, va_list arguments) {
  if (mLogLevel > level || mDisableAll)
    return 0;
  const Severity& severity = SeverityOf(level);
  const bool isOnConsole = severity.isAlwaysOnConsole || mConsoleAttached;
  if (!isOnConsole && !isMqAttached())
    return 0;
  const auto log = [&] {
    const std::string message = Format(format, arguments);
    if (isOnConsole)
      Write(severity.isFault ? stderr : stdout,
            severity.colour + Prefix(level) + message + kLineEnd);
    if (isMqAttached()) {
      Compose(Prefix(level) + message);
      SendJson(MsgType_Logging, level, mMsg, nullptr);
    }
    return CountOf(message);
  };
  return MqGuard(log, ReportException);
}

std::string Logger::Prefix(MsgLevel_e level) const {
  return std::to_string(TimeStamp()) + "|" + mName + "|" + GetLevelName(level) + "|";
}

void Logger::Compose(const std::string& message) {
  std::memset(mMsg, 0, sizeof mMsg);
  std::snprintf(mMsg, sizeof mMsg, "%s", message.c_str());
}

int Logger::Attach(const MqEndpoint& endpoint) {
  if (isMqAttached()) {
    Error("Seems this instance already connected to %s", endpoint.Text());
    return 0;
  }
  const auto attach = [&] {
    MqSockOwner socket = MqPushLink::NewSocket(endpoint);
    if (socket == nullptr)
      return 0;
    Debug("Tryig to connect %s", endpoint.Text());
    if (!mLink.Connect(std::move(socket), endpoint)) {
      Error("Failed to connect to %s", endpoint.Text());
      return 0;
    }
    Info("Connected to %s", endpoint.Text());
    return 1;
  };
  return MqGuard(attach, ReportException);
}
