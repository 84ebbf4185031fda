// The Emset configuration, in the form in which the preset passes it to its reader: any JSON value.

#include <algorithm>

#include "FuzzTarget.h"
#include "JsonOracle.h"
#include "JsonParseEmsetInfo.h"

namespace {

bool HasFlow(const rapidjson::Value& emset) {
  const rapidjson::Value* emsetSignals = fuzz::Member(emset, "Signals");
  const rapidjson::Value* flows =
      emsetSignals != nullptr ? fuzz::Member(*emsetSignals, "Flows") : nullptr;
  const rapidjson::Value* primary = flows != nullptr ? fuzz::Member(*flows, "Primary") : nullptr;
  if (primary == nullptr || !primary->IsArray())
    return false;
  const auto count = std::min<rapidjson::SizeType>(primary->Size(), EmsetFlow_MAX);
  for (rapidjson::SizeType i = 0; i < count; ++i)
    if ((*primary)[i].IsObject())
      return true;
  return false;
}

void CheckFlows(const cEmsetInfo& emset) {
  for (const cEmsetPrimaryFlow& flow : emset.mFlows)
    FUZZ_PROPERTY(flow.mEmsetFlow == cEmsetPrimaryFlow::ConvertFlowStrToType(flow.msFlow.c_str()) &&
                      flow.mEmsetFlow >= EmsetFlow_VIDEO && flow.mEmsetFlow <= EmsetFlow_UNKNOWN &&
                      flow.mEmsetFlow != EmsetFlow_MAX,
                  "a flow is one of the six or unknown, as its text means");
  for (int kind = EmsetFlow_VIDEO; kind <= EmsetFlow_UNKNOWN; ++kind) {
    const cEmsetPrimaryFlow* flow = emset.GetPrimaryFlow(static_cast<EmsetFlow_e>(kind));
    const bool isThere =
        kind < EmsetFlow_MAX &&
        std::any_of(emset.mFlows.begin(), emset.mFlows.end(),
                    [kind](const cEmsetPrimaryFlow& each) { return each.mEmsetFlow == kind; });
    FUZZ_PROPERTY((flow != nullptr) == isThere && (flow == nullptr || flow->mEmsetFlow == kind),
                  "a flow is found by its kind when it is there and only then");
  }
}

bool IsCleared(const cEmsetInfo& emset) {
  return !emset.mbIsValidConf &&
         std::all_of(emset.mFlows.begin(), emset.mFlows.end(), [](const cEmsetPrimaryFlow& flow) {
           return flow.mEmsetFlow == EmsetFlow_UNKNOWN && flow.msFlow.empty() &&
                  !flow.mbEnableFlow && flow.msSourceIP.empty() && !flow.mbVLAN;
         });
}

void CheckEmset(const cEmsetConfParser& reader, const cEmsetInfo& emset,
                const rapidjson::Value& element) {
  FUZZ_PROPERTY(emset.mbIsValidConf == HasFlow(element), "an Emset is valid when it has a flow");
  FUZZ_PROPERTY(emset.mlSlot == fuzz::UnsignedOf(element, "Slot", emset.mlSlot) &&
                    emset.mlCage == fuzz::UnsignedOf(element, "Cage", emset.mlCage),
                "slot and cage are read even when the rest fails");
  const cEmsetInfo* found = reader.GetEmsetInfoForSFP(emset.mlSlot, emset.mlCage);
  FUZZ_PROPERTY(
      !emset.mbIsValidConf || (found != nullptr && found->mbIsValidConf && found <= &emset &&
                               found->mlSlot == emset.mlSlot && found->mlCage == emset.mlCage),
      "a valid Emset, or one before it in the same cage, is found");
}

void CheckAll(const cEmsetConfParser& reader, const rapidjson::Value& value) {
  const std::size_t count = value.IsArray() ? std::min<std::size_t>(value.Size(), kMaxEmsets) : 0;
  for (std::size_t i = 0; i < kMaxEmsets; ++i) {
    const cEmsetInfo& emset = reader.mEmsets[i];
    CheckFlows(emset);
    if (i < count)
      CheckEmset(reader, emset, value[static_cast<rapidjson::SizeType>(i)]);
    else
      FUZZ_PROPERTY(IsCleared(emset), "an Emset that the document does not bring is cleared");
  }
}

// An earlier document with an Emset in every place, which shows the fields that the next one does
// not change.
constexpr char kEarlier[] =
    R"({"Slot":1,"Cage":2,"DisplayName":"Earlier","Signals":{"Flows":{"Primary":[
        {"EnableFlow":true,"Flow":"Video","NetworkSettings":{"SourceIP":"10.0.0.1"},
         "Filter":{"VLAN":true}},{"Flow":"Audio 1"},{"Flow":"Audio 2"},{"Flow":"Audio 3"},
        {"Flow":"Audio 4"},{"Flow":"Ancillary"}]}}})";

cEmsetConfParser UsedReader() {
  const std::string emset = kEarlier;
  rapidjson::Document document;
  document.Parse(("[" + emset + "," + emset + "," + emset + "," + emset + "]").c_str());
  cEmsetConfParser reader;
  reader.ParseEmsetConf(document);
  return reader;
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  static const cEmsetConfParser kUsed = UsedReader();
  FUZZ_PROPERTY(kUsed.mEmsets[3].mbIsValidConf, "the used reader has been used");
  const Document document(input.TakeRest());
  if (!document.IsJson())
    return;
  cEmsetConfParser reader = kUsed;
  const int result = reader.ParseEmsetConf(document.Root());
  FUZZ_PROPERTY(result == (document.Root().IsArray() ? 1 : 0), "an array is read, nothing else");
  FUZZ_PROPERTY(reader.mbIsValidConf == (result == 1), "a configuration that is read is valid");
  FUZZ_PROPERTY(result == 1 || reader.GetEmsetInfoForSFP(1, 2) == nullptr,
                "nothing is found in a configuration that is not valid");
  CheckAll(reader, document.Root());
}
