// The dispatcher of everything that the reactor receives: distinguishes messages by their topic,
// passes each payload to its reader and records the outcome in the engine's shared state. Reactor
// thread only.

#pragma once

#include <czmq.h>

#include <cstdint>

#include "JsonParseHbMonMessages.h"
#include "JsonParseLuMessages.h"
#include "LcReactor.h"
#include "Logger.h"
#include "ProbeMatrixConf.h"
#include "RawLoudnessData.h"

/// Weight of a loudspeaker position in the programme's power sum, after the channel weightings of
/// ITU-R BS.1770. Back surrounds weigh as much as surrounds, a mono surround as much as a front
/// speaker; all further positions do not count. Indexed by `AudioSpeakerType_e`.
extern const float LoudnessSpeakerWeight[AST_SPEAKER_MAX];

class cJsonParser : public cJsonParseSysStatus, public cLuSettingsParser {
 public:
  /// The dispatcher, made on first use and freed by an exit handler. It uses the reactor and the
  /// logger that exist at that time.
  static cJsonParser* GetInstance();

  /// Frees the dispatcher and clears every pointer to it. Does nothing if there is none.
  static void DeleteInstance();

  /// Acts on a text message. `payload` may be null. Returns 0, or -1 to end the event loop: on an
  /// application command to reboot or upgrade, or if `topic` is null or there is no dispatcher. A
  /// refused configuration changes no setting except the mode that applies to later commands; a
  /// refused command raises no action; a refused preset empties the programme.
  static int ParseMessage(const char* topic, const char* payload);

  /// Acts on a binary message that holds the frames after the topic; does not destroy it. Returns
  /// 0, or -1 if `topic` is null or there is no dispatcher.
  static int ParseBinaryMessage(const char* topic, zmsg_t* message);

  /// Handles the three frames of a raw block: true peaks, powers and an unused one. Returns 1 when
  /// a frame was empty or too short, else 0.
  static int LoudnessRawDataParser(zmsg_t* message);

  /// Sums one raw block over the programme and runs the engine with it. False when a frame is
  /// missing or the engine was updated; true when a frame is empty or too short for a meter of the
  /// programme, and the block was dropped.
  static bool ParseLoudnessRawData(zframe_t* peaks, zframe_t* powers, zframe_t* spare);

  /// Takes meter 1 to 32 into the programme with a weight from 0.0 to 1.5; other values stop the
  /// process. With a weight of 0.0 the meter's peak counts but its power does not.
  static void SetChannelWeight(std::uint32_t meterNo, float weight);

  /// Sets all 32 weights to 0.0.
  static void ResetChannelWeight();

  /// Empties the programme: no meters, all weights 0.0.
  static void ResetLu();

  static bool GetSysStatus() { return mbSysStatus; }
  static LuCmd_e GetLastExecutedCmd() { return mLastCmdExecuted; }
  /// The second argument is the cluster the command was carried out for; there is only one here.
  static void SetLastExecutedCmd(LuCmd_e cmd, unsigned) { mLastCmdExecuted = cmd; }
  static void SetMeterSetNo(std::uint32_t meterSet) { mlMeterSetNo = meterSet; }
  static std::uint32_t GetMeterSetNo() { return mlMeterSetNo; }
  static void SetClusterNo(std::uint32_t cluster) { mlClusterNo = cluster; }
  static std::uint32_t GetClusterNo() { return mlClusterNo; }
  static void SetLogLevel(LogLevel_e level) { mLogLevel = level; }

  static cJsonParser* mpJsonParser;          // the instance, mirrored by `gpJsonParser`; null: none
  static LogLevel_e mLogLevel;               // threshold of this class's lines
  static Logger* mpLogger;                   // null: no levelled lines
  static cLcReactor* mpReactor;              // the reactor; null when there is none
  static cProbeMatrixConf mProbeMatrixConf;  // the preset in force
  static std::uint32_t mlMeterSetNo;         // meter set of this process
  static std::uint32_t mlClusterNo;          // cluster of this process, 1 to 8
  static std::uint32_t mlMetersInProgram;    // bit i set: meter i + 1 is in the programme
  static LuCmd_e mLastCmdExecuted;           // last command carried out, written by the reporting
  static double mChannelWeights[kRawMeters];  // weight of meter i + 1 in the power sum; 0: none

 private:
  using TopicHandler_t = int (*)(const char* topic, const char* payload);

  cJsonParser() = default;
  ~cJsonParser() = default;

  // The handler of the first route that fits the topic.
  static TopicHandler_t FindHandler(const char* topic);

  // One handler per topic. Each returns the result for the event loop.
  static int HandleCommand(const char* topic, const char* payload);
  static int HandleApplicationCommand(const char* topic, const char* payload);
  static int HandleSystemStatus(const char* topic, const char* payload);
  static int HandleConfiguration(const char* topic, const char* payload);
  static int HandleHwmStatus(const char* topic, const char* payload);
  static int HandleEnableReporting(const char* topic, const char* payload);
  static int HandlePreset(const char* topic, const char* payload);
  static int HandleUnknown(const char* topic, const char* payload);

  // Reads a command for this cluster or for all. Sets `cluster` to the cluster that the command
  // names, 0 for all.
  bool ParseCommand(const char* payload, unsigned& cluster);
  void TakeCommandUser();
  void RaiseCommandActions(const char* topic);
  void ApplyConfiguration(const char* payload);
  static void RebuildProgramme();
  static void TakeMeter(int meter);
};

extern cJsonParser* gpJsonParser;  // mirrors `cJsonParser::mpJsonParser`
