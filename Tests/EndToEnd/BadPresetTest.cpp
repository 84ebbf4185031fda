// After a refused preset, which is logged, no preset is in force; the next valid preset is
// measured. PresetRefusalTest lists the documents that are refused. Here is one document for each
// kind of refusal.

#include <optional>

#include "BadInputTest.h"

namespace {

constexpr char kRefused[] = "\"Preset parsing failed so preset is reset to initial state\"";

std::string GoodPreset() {
  return louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json();
}

/// The valid preset with its first `from` replaced by `to`.
std::string Altered(const std::string& from, const std::string& to) {
  std::string preset = GoodPreset();
  const std::size_t place = preset.find(from);
  EXPECT_NE(std::string::npos, place) << from;
  return preset.replace(place, from.size(), to);
}

/// The valid preset with one more member of "MeterSet".
std::string WithMeter(const std::string& name) {
  return Altered("\"MeterSet\":{", "\"MeterSet\":{\"" + name + "\":{\"Speaker\":\"Left\"},");
}

struct PresetRow {
  const char* name;
  std::optional<std::string> json;  // nothing: the message is the topic alone
};

class BadPresetTest : public BadInputTest {};

TEST_F(BadPresetTest, IsLoggedAndTheNextOneMeasuresOn) {
  const std::vector<PresetRow> rows = {
      {"TopicAlone", std::nullopt},
      {"Empty", ""},
      {"Words", "no preset at all"},
      {"Array", "[" + GoodPreset() + "]"},
      {"DeepArray", DeepArray()},
      {"DeepUnclosedArray", DeepUnclosedArray()},
      {"DeepObject", Repeat("{\"a\":", kDeep) + "0" + Repeat("}", kDeep)},
      {"DeepClusters", Altered("\"Clusters\":[", "\"Clusters\":[" + DeepArray() + ",")},
      {"MeterZero", WithMeter("0")},
      {"NamedMeter", WithMeter("left")},
      {"PresetWithoutGroup", Altered("{", R"({"Name":{"Preset":"News"},)")},
  };
  ForEachRow(rows, [this](const PresetRow& row) {
    mUnit.DropStates();
    mUnit.SendText(louddesk::Peer::kMainAppServer, "AppProbeIOMatrixStream-1", row.json);
    SendPreset(GoodPreset());
    ExpectLogLine(kRefused);
    ExpectAcknowledgement("Start");
    ExpectMeasuresOn();
  });
}

}  // namespace
