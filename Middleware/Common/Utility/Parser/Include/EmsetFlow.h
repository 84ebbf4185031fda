// One media flow of an Emset: its content, its network settings and its receive filter. Reactor
// thread only.

#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

/// Place of a flow among the flows of an Emset.
enum EmsetFlow_e : std::int32_t {
  EmsetFlow_VIDEO = 0,
  EmsetFlow_AUDIO_1 = 1,
  EmsetFlow_AUDIO_2 = 2,
  EmsetFlow_AUDIO_3 = 3,
  EmsetFlow_AUDIO_4 = 4,
  EmsetFlow_ANCILLARY = 5,
  EmsetFlow_MAX = 6,
  EmsetFlow_UNKNOWN = 7,
};

class cEmsetNetworkSettings {
 public:
  /// Reads a "NetworkSettings" object. Members that are missing or mistyped leave their fields. 0
  /// when `value` is not an object, else 1.
  int ParseNetworkSettings(const rapidjson::Value& value);

  bool mbEnableIGMP = false;            // multicast group membership is announced
  std::uint32_t mlDestinationPort = 0;  // UDP port the flow goes to
  std::uint32_t mlSourcePort = 0;       // UDP port the flow comes from
  std::uint32_t mlVLANTag = 0;          // VLAN the flow travels in
  std::string msSourceIP;               // IPv4 address the flow comes from
  std::string msIGMPSrcIP;              // IPv4 source announced with the membership
  std::string msDestinationIP;          // IPv4 address the flow goes to
};

/// The header fields that a received packet must match.
class cEmsetFilter {
 public:
  /// Reads a "Filter" object in the same way as `ParseNetworkSettings`.
  int ParseFilter(const rapidjson::Value& value);

  /// Prints the filter on standard output as one block.
  void PrintFilter() const;

  bool mbVLAN = false;     // VLAN tag
  bool mbDSTMac = false;   // destination MAC address
  bool mbDSTPort = false;  // destination UDP port
  bool mbDSTIP = false;    // destination IPv4 address
  bool mbSrcPort = false;  // source UDP port
  bool mbSrcIP = false;    // source IPv4 address
};

class cEmsetPrimaryFlow : public cEmsetNetworkSettings, public cEmsetFilter {
 public:
  /// Returns every field to its initial value.
  void ClearPrimaryFlow() { *this = cEmsetPrimaryFlow(); }

  /// Reads a flow object, all of whose members are optional. 0 when `value` is not an object,
  /// else 1.
  int ParsePrimaryFlow(const rapidjson::Value& value);

  /// The flow that a "Flow" text stands for; `EmsetFlow_UNKNOWN` for a null or unknown text. The
  /// whole text must match.
  static EmsetFlow_e ConvertFlowStrToType(const char* text);

  /// The text of a flow, "Unknown" for any other value.
  static const char* ConvertFlowTypeToStr(EmsetFlow_e flow);

  bool mbEnableFlow = false;                   // the flow is sent or received
  std::uint32_t mlAudioPacketTime = 0;         // duration of an audio packet
  std::uint32_t mlNumberOfSDIChannels = 0;     // audio channels of the embedded signal
  std::string msSenderType;                    // traffic shape of the sender
  std::string msFlow;                          // flow text as received
  std::string msAudioFormat;                   // audio sample format
  std::string msVideoFormat;                   // picture format
  EmsetFlow_e mEmsetFlow = EmsetFlow_UNKNOWN;  // what the flow text stands for
};
