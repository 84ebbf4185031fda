// Writer of the loudness messages: command, cluster and configuration. Each object belongs to one
// sender. Reactor thread only.

#pragma once

#include <rapidjson/stringbuffer.h>

#include "LuMessages.h"

/// Writes messages from the fields of its two base classes, which the owner sets first.
///
/// Every message is compact JSON on one line; the order of its members is part of the format. All
/// writers share one buffer: a returned text is never null and valid until the next call of any
/// writer or the end of the object. Writing cannot fail.
class cLuSettingsCreater : public cLuConf, public cLuCmd {
 public:
  /// Writes a command message. It begins with "Command": the text of `Cmd`, "None" for a command
  /// without a text. With `add_cluster_info`, "ClusterId", "CmdTS", "UID" and "MeterSet" follow,
  /// from `mlClusterId`, `mlCmdTS`, the command's `mlUserId` and `meter_set`. Without it, only
  /// "OriginFromFp" follows.
  const char* PrepareLuCmdJsonStr(LuCmd_e Cmd, bool OriginFromFp, bool add_cluster_info,
                                  unsigned meter_set);

  /// Writes a cluster message. It begins with "ClusterId" (`mlClusterId`). With `add_cmd_status`,
  /// "Command", "CmdTS", "UID" and "MeterSet" follow as in a command message. Without it, only
  /// "OriginFromFp" (`mbIsCmdOriginFromFp`) follows; `Cmd` and `meter_set` are ignored.
  const char* PrepareLuClusterJsonStr(LuCmd_e Cmd, bool add_cmd_status, unsigned meter_set);

  /// Writes a configuration message with all its ten members. "ClusterId" is `mlDefaultClusterId`.
  /// The texts are the stored ones. The message does not contain the user.
  const char* PrepareLuConfJsonStr();

  bool mbIsCmdOriginFromFp = false;       // a cluster message began at the front panel
  bool mbIsClustOriginFromFp = false;     // counterpart of the reader's flag; no writer reads it
  bool mbIsConfOriginFromFp = false;      // a configuration message began at the front panel
  rapidjson::StringBuffer msCmdBuffer;    // text of the last message written, of any kind
  rapidjson::StringBuffer msClustBuffer;  // reserved; no writer fills it
  rapidjson::StringBuffer msConfBuffer;   // reserved; no writer fills it
};
