// Presets that are refused: logged, reset, and the next one measures on.

#include "BadInputTest.h"

namespace {

constexpr char kRefused[] = "\"Preset parsing failed so preset is reset to initial state\"";

std::string GoodPreset() {
  return louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json();
}

/// The good preset with its first `from` replaced by `to`.
std::string Altered(const std::string& from, const std::string& to) {
  std::string preset = GoodPreset();
  const std::size_t place = preset.find(from);
  EXPECT_NE(std::string::npos, place) << from;
  return preset.replace(place, from.size(), to);
}

/// The good preset with one more member of "MeterSet".
std::string WithMeter(const std::string& name) {
  return Altered("\"MeterSet\":{", "\"MeterSet\":{\"" + name + "\":{\"Speaker\":\"Left\"},");
}

std::string DeepObject() {
  return Repeat("{\"a\":", kDeep) + "0" + Repeat("}", kDeep);
}

std::string DeepClusters() {
  return Altered("\"Clusters\":[", "\"Clusters\":[" + DeepArray() + ",");
}

struct PresetCase {
  const char* name;
  Text json;
};

void PrintTo(const PresetCase& preset, std::ostream* stream) {
  *stream << preset.name;
}

class BadPresetTest : public BadInputTest, public testing::WithParamInterface<PresetCase> {};

TEST_P(BadPresetTest, IsLoggedAndTheNextOneMeasuresOn) {
  mUnit.DropStates();
  SendPreset(GetParam().json.Make());
  SendPreset(GoodPreset());
  ExpectLogLine(kRefused);
  ExpectAcknowledgement("Start");
  ExpectMeasuresOn();
}

TEST_F(BadInputTest, PresetTopicAloneIsLoggedAndTheNextPresetMeasuresOn) {
  mUnit.DropStates();
  mUnit.SendText(louddesk::Peer::kMainAppServer, "AppProbeIOMatrixStream-1");
  SendPreset(GoodPreset());
  ExpectLogLine(kRefused);
  ExpectAcknowledgement("Start");
  ExpectMeasuresOn();
}

INSTANTIATE_TEST_SUITE_P(
    Presets, BadPresetTest,
    testing::Values(
        PresetCase{"Empty", ""},                  //
        PresetCase{"Words", "no preset at all"},  //
        PresetCase{"CutShort", GoodPreset().substr(0, GoodPreset().size() - 1)},
        PresetCase{"Array", "[" + GoodPreset() + "]"},       //
        PresetCase{"Number", "42"},                          //
        PresetCase{"Null", "null"},                          //
        PresetCase{"EmptyObject", "{}"},                     //
        PresetCase{"DeepArray", DeepArray},                  //
        PresetCase{"DeepUnclosedArray", DeepUnclosedArray},  //
        PresetCase{"DeepObject", DeepObject}, PresetCase{"DeepClusters", DeepClusters},
        PresetCase{"MeterZero", WithMeter("0")},          //
        PresetCase{"MeterThirtyThree", WithMeter("33")},  //
        PresetCase{"NegativeMeter", WithMeter("-1")},     //
        PresetCase{"MeterBeyondTheIntegers", WithMeter("99999999999")},
        PresetCase{"NamedMeter", WithMeter("left")},  //
        PresetCase{"NamelessMeter", WithMeter("")},   //
        PresetCase{"MeterIsNoObject", Altered("\"MeterSet\":{", "\"MeterSet\":{\"7\":7,")},
        PresetCase{"MetersAreAnArray", R"({"Clusters":[],"MeterSet":[],"SystemClockSource":{}})"},
        PresetCase{"ClustersAreAnObject",
                   R"({"Clusters":{},"MeterSet":{},"SystemClockSource":{}})"},
        PresetCase{"NoClock",
                   louddesk::PresetForSpeakers(SurroundSpeakers(), 1).WithoutSystemClock().Json()},
        PresetCase{"PresetWithoutGroup", Altered("{", R"({"Name":{"Preset":"News"},)")},
        PresetCase{"PresetWithGroupOfAnotherType",
                   Altered("{", R"({"Name":{"Preset":"News","Group":7},)")}),
    NameOf<PresetCase>);

}  // namespace
