// Writes preset documents as the unit's control software publishes them.

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace louddesk {

class DocumentWriter;

/// Collects the parts of a preset in any order; every call returns the builder. A new builder
/// writes a complete document without meters and clusters and with the internal clock.
class PresetBuilder {
 public:
  /// Meter `number` (from 1) stands for the loudspeaker position `speaker`, for example
  /// "LeftSurround", and is fed from `channel` (0: from none) of an input of the type `inputType`.
  PresetBuilder& Meter(int number, const std::string& speaker, int channel,
                       const std::string& inputType = "AES");

  /// The next cluster, counted from 1: `numberOfMeters` meters from `firstMeter` (from 1) on.
  PresetBuilder& Cluster(int firstMeter, int numberOfMeters, const std::string& type = "Custom");

  /// Names of preset, programme and group.
  PresetBuilder& Name(const std::string& preset, const std::string& program,
                      const std::string& group);

  /// Marks the document as a republication of the preset in force.
  PresetBuilder& Repub(bool repub);

  /// Type of the clock source, for example "AES".
  PresetBuilder& SystemClock(const std::string& type);

  /// Leaves the clock source out, which the service refuses.
  PresetBuilder& WithoutSystemClock();

  /// The document, compact.
  std::string Json() const;

 private:
  struct MeterEntry {
    int number;
    std::string speaker;
    int channel;
    std::string inputType;
  };
  struct ClusterEntry {
    int firstMeter;
    int numberOfMeters;
    std::string type;
  };
  struct Names {
    std::string preset, program, group;
  };

  void WriteNames(DocumentWriter& writer) const;
  void WriteClock(DocumentWriter& writer) const;
  static void WriteCluster(DocumentWriter& writer, const ClusterEntry& cluster);
  static void WriteMeter(DocumentWriter& writer, const MeterEntry& meter);

  std::vector<MeterEntry> mMeters;
  std::vector<ClusterEntry> mClusters;
  std::optional<Names> mNames;
  std::optional<std::string> mClockType = "Internal";
  bool mRepub = false;
};

/// A preset whose meters 1, 2, ... stand for `speakers` and belong to `cluster` (from 1).
PresetBuilder PresetForSpeakers(const std::vector<std::string>& speakers, unsigned cluster);

}  // namespace louddesk
