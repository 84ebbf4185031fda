// Emsets: the configuration of the unit's IP media interfaces, one per SFP cage, each with its
// flows, its timing reference and its precision time settings. The loudness service does not pass
// an Emset parser to the preset. Reactor thread only.

#pragma once

#include <rapidjson/document.h>

#include <array>
#include <cstdint>
#include <string>

#include "EmsetFlow.h"
#include "EmsetSfpSettings.h"

/// Number of Emsets that a unit holds.
constexpr std::size_t kMaxEmsets = 4;

/// Timing reference of an interface.
class cEmsetReference {
 public:
  /// Reads a "Reference" object and prints the reference. Members that are missing or mistyped
  /// leave their fields. 0 when `value` is not an object, else 1.
  int ParseReference(const rapidjson::Value& value);

  /// Prints the reference on standard output as one block.
  void PrintReference() const;

  std::uint32_t mlVideoLines = 0;    // offset, lines
  std::uint32_t mlVideoPixels = 0;   // offset, pixels
  std::uint32_t mluSecondUnits = 0;  // offset, us
  std::string msOffsetMode;          // selects the offset that counts
};

using Flows_t = std::array<cEmsetPrimaryFlow, EmsetFlow_MAX>;

class cEmsetSignals : public cEmsetReference, public cEmsetSfpPTPSettings {
 public:
  /// Clears every flow.
  void ClearFlows();

  /// Reads a "Signals" object. Element i of the primary flows fills `mFlows[i]`; further elements
  /// are ignored. 1 when at least one flow parsed, else 0.
  int ParseSignals(const rapidjson::Value& value);

  /// The first flow of that kind, null if there is none or `flow` is not a flow.
  const cEmsetPrimaryFlow* GetPrimaryFlow(EmsetFlow_e flow) const;

  Flows_t mFlows;  // video, audio 1 to 4, ancillary

 private:
  int ParseFlows(const rapidjson::Value& value);
};

class cEmsetInfo : public cEmsetSignals {
 public:
  /// Reads an Emset object. 0 when `value` is not an object or its "Signals" is missing or fails;
  /// slot, cage and name are stored anyway.
  int ParseEmsetInfo(const rapidjson::Value& value);

  bool mbIsValidConf = false;  // the last parse found signals
  std::uint32_t mlSlot = 0;    // slot of the card
  std::uint32_t mlCage = 0;    // SFP cage on the card
  std::string msDisplayName;   // name for the user
};

using Emsets_t = std::array<cEmsetInfo, kMaxEmsets>;

class cEmsetConfParser {
 public:
  /// Makes the configuration and every Emset invalid, clears the flows of all Emsets and prints the
  /// filter of each.
  void ResetEmsetConfParser();

  /// Resets, then reads the "EmsetConfig" array: element i fills `mEmsets[i]`; further elements are
  /// ignored. 1 when `value` is an array, even if its Emsets fail, else 0.
  int ParseEmsetConf(const rapidjson::Value& value);

  /// Reads the document `json` that says whether the SFP modules are enabled. 0 when it is null,
  /// does not parse or is not an object.
  int ParseSfpModuleStatus(const char* json);

  /// The first valid Emset at that slot and cage; null if there is none or the configuration is not
  /// valid. It belongs to the parser.
  const cEmsetInfo* GetEmsetInfoForSFP(std::uint32_t slot, std::uint32_t cage) const;

  bool mbIsValidConf = false;         // an array of Emsets was read since the last reset
  bool mbIsSfpModuleEnabled = false;  // the SFP modules are enabled
  Emsets_t mEmsets;                   // the Emsets in document order
};
