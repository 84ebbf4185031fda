// The process-wide publisher of the loudness service: the loudness-data socket and the
// loudness-state socket. Used from the reactor thread only; the engine reaches it through
// PublishLoudness.h.

#pragma once

#include <cstddef>
#include <cstdint>

#include "Logger.h"
#include "LoudnessData.h"
#include "MqListenerFile.h"
#include "MqNames.h"
#include "MqPubHandler.h"

/// Files of the two sockets in the unit's IPC directory. Meter set and cluster follow a prefix.
/// Without a meter set (0) both sockets use `kSharedPublisherFile`.
constexpr char kSharedPublisherFile[] = "Lc1LoudnessDataPub.ipc";
constexpr char kDataPublisherFilePrefix[] = "ProbeLc1LoudnessDataPub-";
constexpr char kStatePublisherFilePrefix[] = "ProbeLc1LoudnessStatePub-";

/// Writes the file name of the socket with this prefix into `file`.
void FormatPublisherFile(MqFileName_t& file, const char* prefix, std::uint32_t meterSet,
                         std::uint32_t cluster);

/// Topic of the loudness-data message, its first frame.
constexpr char kLoudnessDataTopic[] = "LoudnessData";

/// Content of a loudness-data message after its topic: the results, then source, command, cluster.
struct LuDataContent_t : LoudnessData_t {
  std::int16_t ValidSrc;  // 1: valid source, 0: none
  std::int16_t Cmd;       // last command executed, LuCmd_e
  std::int16_t ClId;      // cluster number of the process
};

/// One frame of the loudness-data message.
struct LuDataFrame_t {
  const char* name;                      // name of the frame
  std::int16_t LuDataContent_t::*value;  // field that it carries; null: the topic
  const char* missingText;               // assertion text when the frame cannot be made
};

/// The loudness-data message, frame by frame. The topic is sent without a terminator, every value
/// as 2 bytes in the host's byte order.
constexpr LuDataFrame_t kLuDataFrames[] = {
    {"topic", nullptr, "__null != pTopicFrame"},
    {"MaxMomentary", &LuDataContent_t::MaxMomentary, "__null != pMaxMomentaryFrame"},
    {"Momentary", &LuDataContent_t::Momentary, "__null != pMomentaryFrame"},
    {"ShortTerm", &LuDataContent_t::ShortTerm, "__null != pShortTermFrame"},
    {"Integrated", &LuDataContent_t::Integrated, "__null != pIntegratedFrame"},
    {"Lra", &LuDataContent_t::Lra, "__null != pLraFrame"},
    {"Program", &LuDataContent_t::Program, "__null != pProgramFrame"},
    {"MaxPeak", &LuDataContent_t::MaxTruePeak, "__null != pMaxPeakFrame"},
    {"Peak", &LuDataContent_t::TruePeak, "__null != pPeakFrame"},
    {"ValidSrc", &LuDataContent_t::ValidSrc, "__null != pValidSrcFrame"},
    {"Cmd", &LuDataContent_t::Cmd, "__null != pCmdFrame"},
    {"ClId", &LuDataContent_t::ClId, "__null != pClIdFrame"},
};

/// Number of frames of the loudness-data message.
constexpr std::size_t kLuDataFrameCount = sizeof kLuDataFrames / sizeof kLuDataFrames[0];
static_assert(kLuDataFrameCount == 12, "receivers count the frames");

class cPubHandler : public MqPubHandler {
 public:
  /// The publisher, made on first use and freed by an exit handler; nothing is bound yet. Null,
  /// with a line on standard error, when it cannot be made.
  static cPubHandler* GetInstance();

  /// Destroys the data socket and the state socket, frees the publisher and clears `mpPub` and
  /// `gpLcPubs`. Does nothing if there is none.
  static void DeleteInstance();

  /// Binds both sockets as BindMq does. The address is not used.
  bool Init(const char* cpIp_in);

  /// Binds the data socket, then the state socket; the second is tried even if the first fails.
  /// True when both are bound. The meter set and cluster numbers must be set before.
  bool BindMq();

  /// Bind one socket over IPC, under a name made of the meter set and the cluster. True if it is
  /// already bound; on false the handle is null. Without a meter set both names are the same, and
  /// the state socket, which is bound last, gets all later subscribers.
  bool BindLuDataPubMq();
  bool BindLuStatePubMq();

  /// Destroy one socket, if it exists, and clear its handle.
  void DestroyLuDataPubMq();
  void DestroyLuStatePubMq();

  /// Destroys both sockets, the data socket first.
  void Cleanup();

  /// Checks that the files by which clients find the sockets still exist, binds a socket again if
  /// its file is missing, and logs at Warn what happened. Call it several times a second.
  void TendFiles();

  /// Publishes a JSON text on the state socket, which must be bound. False if an argument is null
  /// or the socket refuses the message.
  bool SendJson(const char* topic, const char* json);

  /// Publishes the loudness-data message on the data socket, which must be bound: the results, the
  /// valid-source flag, the last command and the cluster number. Returns true; a message that
  /// cannot be made or sent whole stops the process.
  bool SendLoudnessData(const LoudnessData_t& data, std::int16_t isValidSrc, std::int16_t cmd,
                        std::int16_t clusterId);

  static void SetMeterSetNo(std::uint32_t meterSet) { mlMeterSetNo = meterSet; }
  static std::uint32_t GetMeterSetNo() { return mlMeterSetNo; }
  static void SetClusterNo(std::uint32_t cluster) { mlClusterNo = cluster; }
  static std::uint32_t GetClusterNo() { return mlClusterNo; }
  static void SetLogLevel(LogLevel_e level) { mLogLevel = level; }

  MqSock_t* mpLuDataPubSocket = nullptr;   // PUB socket of the loudness-data message, owned
  MqSock_t* mpLuStatePubSocket = nullptr;  // PUB socket of the JSON messages, owned

  static cPubHandler* mpPub;          // the instance, mirrored by `gpLcPubs`; null: none
  static Logger* mpLogger;            // the logger, taken when the instance is made; null before
  static LogLevel_e mLogLevel;        // lowest level that is logged
  static std::uint32_t mlMeterSetNo;  // meter set of this process; 0: none
  static std::uint32_t mlClusterNo;   // cluster of this process, 1 to 8

 private:
  cPubHandler() = default;
  ~cPubHandler();

  bool BindOnce(MqSock_t*& socket, const char* prefix, MqListenerFile& file);

  MqListenerFile mDataFile;   // file of the data socket
  MqListenerFile mStateFile;  // file of the state socket
};

/// The publisher that the free functions of PublishLoudness.h use, mirroring `cPubHandler::mpPub`;
/// null: none. Written by PublishLoudnessInit, by the wiring at start and by
/// `cPubHandler::DeleteInstance`.
extern cPubHandler* gpLcPubs;
