// This process's client of the unit's process monitor: heartbeats, requests for the system status
// and commands that the monitor forwards. A singleton on the reactor thread; nothing here is
// locked.

#pragma once

#include <czmq.h>

#include <cstddef>
#include <cstdint>

#include "Logger.h"
#include "MqPushLink.h"

/// Endpoint at which the process monitor receives heartbeats and requests: TCP port, IPC file name.
constexpr unsigned kMonitorInletPort = 10000;
constexpr char kMonitorInletIpcName[] = "hbMonPullMq.ipc";

/// Topics at that endpoint.
constexpr char kHeartBeatTopic[] = "HbProc";
constexpr char kRepublicationTopic[] = "HbReqRepubSysStatus";
constexpr char kForwardedCommandTopic[] = "HbFwdAppCmd";

/// State of a process in its heartbeats.
enum ProcessStatus_e : std::int32_t {
  PS_NO_SHOW = 0,
  PS_PROCESSING = 1,  // the state that this service reports
  PS_START_TIMEOUT = 2,
  PS_FAULTED = 3,
  PS_WAITING2 = 4,
  PS_ERROR = 5,
  PS_NUM_STATUS_STATES = 6,
};

/// Commands to an application of the unit.
constexpr int kAppCommandReboot = 9;
constexpr int kAppCommandSwUpgrade = 100;

/// Size of the heartbeat text's buffer in bytes.
constexpr std::size_t kProcessBeatSize = 512;

/// Sends never wait. While the monitor is absent, about a thousand messages are queued for it. Any
/// further message is refused as a whole.
class cHeartBeater {
 public:
  /// The client, made on first use, without socket and heartbeat text, and freed by an exit
  /// handler.
  static cHeartBeater* GetInstance();

  /// Closes the socket and frees the client. Does nothing if there is none.
  static void DeleteInstance();

  /// Makes the heartbeat text {"HbKey":KEY,"Version":VERSION,"State":STATUS}. A missing version is
  /// written as "Unknown", with a warning. A text of more than 510 characters is truncated to 510
  /// and sent anyway. False without a key; the previous text is then kept but not sent.
  bool SetHeartBeatJson(const char* cpHbKey, const char* cpVersion, ProcessStatus_e status);

  /// Connect to the monitor, which need not be there yet: over TCP at an IPv4 address text, or at
  /// this board when null, or over IPC. False when already connected, which changes nothing, or
  /// when the connection is refused at once, which leaves no socket.
  bool ConnectMqOverTcp(const char* ipStr_in);
  bool ConnectMqOverIpc();

  /// Sends the heartbeat in two frames: topic and text. False without a socket or a valid text,
  /// which logs nothing, or when the socket refuses the message.
  bool SendBeat();

  /// Asks the monitor to publish the system status again. Does nothing without a socket or a valid
  /// heartbeat text.
  void RequestRepub();

  /// Ask the monitor to have the unit rebooted, its software upgraded. Do nothing without a socket.
  void SendRebootCommand();
  void SendSwUpgradeCommand();

  /// The 32-bit integer "Command" of a JSON object, for example kAppCommandReboot; -1 for anything
  /// else.
  static int ParseAppCommand(const char* cpEncMessage_in);

  /// Renews the connection if the library has abandoned it, which happens when the peer breaks the
  /// protocol. Logs that at Warn, once until the connection works again. Call it several times a
  /// second.
  void TendLink();

  /// Destroys the socket, if there is one. The heartbeat text stays.
  void CloseMq();

  zsock_t* pPushSocket = nullptr;         // PUSH socket to the monitor, owned; null: not connected
  bool mbIsValidJson = false;             // `ProcessBeat` holds a text; nothing is sent while false
  bool mbSysStatusRepubRequired = false;  // kept for the owner, not used here
  char ProcessBeat[kProcessBeatSize] = {};  // heartbeat JSON, zero-terminated

  static cHeartBeater* mpHeartBeater;  // the instance; null: none
  static Logger* mpLogger;             // receives the log lines; null: silent
  static int mLogLevel;                // lowest level that is logged, MsgLevel_e

 private:
  cHeartBeater() = default;
  ~cHeartBeater() = default;

  bool Connect(const MqEndpoint& endpoint);
  void SendAppCommand(int command);

  MqPushLink mLink{pPushSocket};
};
