// The process-wide logger: coloured, time-stamped lines on the console and, when attached, one JSON
// document per message to the unit's log sink over ZeroMQ. Used from the reactor thread only.

#pragma once

#include <czmq.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

#include "MqPushLink.h"

/// Severity of a message. A message is written when its level is at least the threshold.
enum MsgLevel_e : std::int32_t {
  MsgLevel_Notset = 0,
  MsgLevel_Debug = 10,
  MsgLevel_Info = 20,
  MsgLevel_Warn = 30,
  MsgLevel_Error = 40,
  MsgLevel_Critical = 50,
  MsgLevel_Max = 51,
  MsgLevel_Default = MsgLevel_Warn,
  MsgLevel_None = 1050,  // as a threshold: nothing is written
};
using LogLevel_e = MsgLevel_e;

/// Endpoint of the log sink on this board: TCP port, IPC file name.
constexpr unsigned kLogSinkPort = 9000;
constexpr char kLogSinkIpcName[] = "loggerSinkMq.ipc";

/// Keys of a message at the log sink.
namespace log_key {
constexpr char kType[] = "MsgType";
constexpr char kLevel[] = "Level";
constexpr char kName[] = "Name";
constexpr char kMessage[] = "Message";
constexpr char kTitle[] = "Title";
}  // namespace log_key

/// Kind of a message at the log sink.
enum MsgType_e : std::int32_t {
  MsgType_Logging = 0,
  MsgType_Notify = 1,
};

class Logger {
 public:
  /// The logger, made on first use and freed by an exit handler. A new logger has no sink,
  /// threshold `MsgLevel_Default`, no console output and an empty name. Null only when memory is
  /// exhausted.
  static Logger* GetInstance();

  /// Detaches the sink and frees the logger. Does nothing if there is none.
  static void DeleteInstance();

  /// Levelled messages. Each is one line on the console, with time stamp (milliseconds since the
  /// epoch), process name and level name before it: Critical, Error and Warn on standard error,
  /// Info and Debug on standard output, all but Critical only with `mConsoleAttached`. Each also
  /// goes to the attached sink, cut at 2047 characters including the prefix. Messages below
  /// `mLogLevel` are suppressed, and all messages with `mDisableAll`. Returns the character count
  /// of the whole message, 0 when it went nowhere.
  int Critical(const char* format, ...) __attribute__((format(printf, 2, 3)));
  int Error(const char* format, ...) __attribute__((format(printf, 2, 3)));
  int Warn(const char* format, ...) __attribute__((format(printf, 2, 3)));
  int Info(const char* format, ...) __attribute__((format(printf, 2, 3)));
  int Debug(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// A notification for the unit's user. `mLogLevel` and `mDisableAll` do not suppress it. It goes
  /// to the attached sink, cut at 2047 characters; without a sink, a line without the title goes to
  /// standard error. `title` may be null. Returns the character count of the whole message.
  int Notify(MsgLevel_e level, const char* title, const char* format, ...)
      __attribute__((format(printf, 4, 5)));

  /// Writes the formatted text and a line feed to `stream`, nothing else, and flushes it.
  static void Fprintf(FILE* stream, const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Connects the sink socket (PUSH) over TCP or IPC; the sink need not exist yet. Sends never
  /// wait: up to the socket's limit (1000), messages are queued for a sink that is late or stalled;
  /// further messages are lost. Returns 1 when attached, 0 when that failed or a sink was already
  /// attached.
  int AttachMqOverTcp();
  int AttachMqOverIpc();

  /// Closes the sink socket if there is one; queued messages are lost. Returns 1, or 0 on an
  /// exception.
  int DetachMq();

  /// Renews the connection to the sink if the library has abandoned it, which happens when the peer
  /// breaks the protocol. Logs that at Warn, once until the connection works again. Call it several
  /// times a second.
  void TendLink();

  /// Whether a sink socket is attached (its peer need not be there).
  bool isMqAttached() const { return mpSock != nullptr; }

  /// Printed name of a level; the empty string for a value without a name.
  static const char* GetLevelName(MsgLevel_e level);

  /// Sends one message to the sink as one frame of compact JSON,
  /// {"MsgType":0,"Level":40,"Name":"LoudC","Message":"..."}, and with "Title" at the end for a
  /// notification that has one. False without a message or sink, or when the sink did not take the
  /// message, which is then lost.
  bool SendJson(MsgType_e type, MsgLevel_e level, const char* message, const char* title);

  zsock_t* mpSock = nullptr;  // PUSH socket to the log sink, owned; null: not attached
  MsgLevel_e mLogLevel = MsgLevel_Default;  // lowest level that is written
  bool mEnableTimeStamp = true;             // kept, not read
  bool mThreadSafe = false;                 // kept, not read
  bool mConsoleAttached = false;            // console output of Error, Warn, Info and Debug
  bool mFileAttached = false;               // kept, not read
  bool mDisableAll = false;                 // suppresses all levelled output
  char mName[8] = {};                       // short name of the process, zero-terminated
  char mMsg[2048] = {};                     // buffer in which a message for the sink is composed

 private:
  Logger() = default;
  ~Logger() = default;

  int Log(MsgLevel_e level, const char* format, va_list arguments);
  std::string Prefix(MsgLevel_e level) const;
  void Compose(const std::string& message);
  int Attach(const MqEndpoint& endpoint);

  MqPushLink mLink{mpSock};
};
