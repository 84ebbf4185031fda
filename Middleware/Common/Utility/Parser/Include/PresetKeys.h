// Keys of the preset that its readers and its sender share.

#pragma once

namespace preset_key {

// The document.
constexpr char kCount[] = "Count";
constexpr char kRepub[] = "Repub";
constexpr char kSpeakerDelayMs[] = "SpeakerDelayMs";
constexpr char kName[] = "Name";
constexpr char kPreset[] = "Preset";
constexpr char kProgram[] = "Program";
constexpr char kGroup[] = "Group";

// A cluster.
constexpr char kClusters[] = "Clusters";
constexpr char kFirstMeter[] = "FirstMeter";
constexpr char kNumberOfMeters[] = "NumberOfMeters";
constexpr char kMuteOnPresetRecall[] = "MuteOnPresetRecall";

// A meter.
constexpr char kMeterSet[] = "MeterSet";
constexpr char kVolumeDb[] = "VolumeDb";
constexpr char kDelayMs[] = "DelayMs";
constexpr char kSpeaker[] = "Speaker";
constexpr char kSource[] = "Source";
constexpr char kChannel[] = "Channel";

// A source, and where in the unit it is.
constexpr char kSystemClockSource[] = "SystemClockSource";
constexpr char kType[] = "Type";
constexpr char kConnectorType[] = "ConnectorType";
constexpr char kSlot[] = "Slot";
constexpr char kCage[] = "Cage";
constexpr char kInputNo[] = "InputNo";
constexpr char kPair[] = "Pair";

}  // namespace preset_key
