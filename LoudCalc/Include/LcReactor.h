// The service's reactor: the messaging library's event loop with the numbers that distinguish this
// process from its siblings. Reactor thread only.

#pragma once

#include <cstdint>

#include "MqReactor.h"

class cLcReactor : public MqReactor {
 public:
  /// The reactor, made on first use and freed by an exit handler. It may be invalid
  /// (`IsValidReactor`) when sockets could not be made.
  static cLcReactor* GetInstance();

  /// Destroys the sockets and the loop and frees the reactor. Does nothing if there is none.
  static void DeleteInstance();

  static void SetMeterSetNo(std::uint32_t meterSet) { mlMeterSetNo = meterSet; }
  static std::uint32_t GetMeterSetNo() { return mlMeterSetNo; }
  static void SetClusterNo(std::uint32_t cluster) { mlClusterNo = cluster; }
  static std::uint32_t GetClusterNo() { return mlClusterNo; }
  static void SetCmdUserId(std::uint32_t user) { mlCmdUserId = user; }
  static std::uint32_t GetCmdUserId() { return mlCmdUserId; }
  static void SetConfUserId(std::uint32_t user) { mlConfUserId = user; }
  static std::uint32_t GetConfUserId() { return mlConfUserId; }

  static cLcReactor* mpReactor;       // the instance, mirrored by `gpReactor`; null: none
  static std::uint32_t mlMeterSetNo;  // meter set of this process; 0: none
  static std::uint32_t mlClusterNo;   // cluster of this process, 1 to 8
  static std::uint32_t mlCmdUserId;   // user of the last command, 0: unknown
  static std::uint32_t mlConfUserId;  // user of the last configuration, 0: unknown

 private:
  cLcReactor() = default;
  ~cLcReactor() = default;
};

extern cLcReactor* gpReactor;  // mirrors `cLcReactor::mpReactor`
