// Settings of one SFP cage of the unit: addresses, firmware load options and precision time. Each
// is a separate document; the time settings are also part of every Emset. Reactor thread only.

#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

/// Addresses of a cage as zero-terminated dotted quads, the form that the card requires. A text
/// that is too long for an IPv4 address is not stored; its field stays empty.
struct IpSet_s {
  char IpAddress[16] = {};  // address of the cage
  char Netmask[16] = {};    // netmask
  char Gateway[16] = {};    // gateway
  char Dns[16] = {};        // name server; no document sets it
  bool IsDHCP = false;      // addresses come from DHCP; no document sets it
};

class cEmsetSfpIpSettings {
 public:
  /// Reads the document `json`. Members that are missing or mistyped leave their fields, except
  /// that "Count" becomes -1. 0, with nothing changed, when it is null, does not parse or is not an
  /// object.
  int ParseSfpIpSettings(const char* json);

  std::int32_t miCount = -1;       // sequence counter of the publisher, -1: none
  std::int32_t miSfpCageNo = 0;    // cage the settings are for
  std::uint64_t mllRequestTS = 0;  // time stamp of the request
  std::string msIP;                // IPv4 address of the cage
  std::string msGateway;           // IPv4 address of its gateway
  std::string msNetmask;           // its netmask
  IpSet_s mIpConfig;               // the three addresses in the card's form
};

class cEmsetSfpFirmwareLoadOptions {
 public:
  /// Reads the document `json` as `ParseSfpIpSettings` does; a missing "SfpCageNo" becomes 0.
  int ParseSfpFirmwareLoadOptions(const char* json);

  std::int32_t miCount = -1;       // sequence counter of the publisher, -1: none
  std::int32_t miSfpCageNo = 0;    // cage the options are for
  std::int32_t miElementId = 0;    // firmware image to load
  bool mbMakeDefault = false;      // load it at every start
  std::uint64_t mllRequestTS = 0;  // time stamp of the request
};

/// Precision time protocol (IEEE 1588, SMPTE ST 2059) of a cage.
class cEmsetSfpPTPSettings {
 public:
  /// Reads the document `json` whose root is the settings object.
  int ParseSfpPTPSettings(const char* json);

  /// Reads the settings object and prints the settings. Members that are missing or mistyped leave
  /// their fields, except that "Count" becomes -1. 0, with nothing changed, when `value` is not an
  /// object.
  int ParseSfpPTPSettings(const rapidjson::Value& value);

  /// Prints the settings on standard output as one block.
  void PrintSfpPTPSettings() const;

  std::int32_t miCount = -1;        // sequence counter of the publisher, -1: none
  std::int32_t miSfpCageNo = 0;     // cage the settings are for
  std::int32_t miDomainNumber = 0;  // PTP domain
  std::int32_t miDSCP = 0;          // DiffServ code point of PTP packets
  std::int32_t miVlanID = 0;        // VLAN of PTP packets
  std::uint64_t mllRequestTS = 0;   // time stamp of the request
  std::string msPTPMode;            // PTP mode
  std::string msPTPMaster;          // PTP master
  std::string msGMID;               // identity of the grandmaster
};
