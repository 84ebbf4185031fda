// System status of the process monitor.

#include "FuzzTarget.h"
#include "JsonOracle.h"
#include "JsonParseHbMonMessages.h"

namespace {

struct Flags {
  bool isInOrder;
  bool isDecoderDetected;
};

// The effect of a status message, computed independently of its reader.
struct Outcome {
  const char* assertion;  // null: none
  bool isUsable;
  Flags flags;
};

bool BeginsWith(const std::string& text, const char* beginning) {
  return text.rfind(beginning, 0) == 0;
}

// The outcome of a status that is in order. Only then does the decoder matter.
Outcome DecoderOutcome(const rapidjson::Value& message) {
  const rapidjson::Value* decoder = fuzz::Member(message, "DolbyDecoder");
  if (decoder == nullptr)
    return {nullptr, true, {true, false}};
  if (!decoder->IsObject())
    return {"vDolbyDec.IsObject()", false, {true, false}};
  const rapidjson::Value* state = fuzz::Member(*decoder, "State");
  if (state == nullptr)
    return {nullptr, true, {true, false}};
  if (!state->IsString())
    return {"vState.IsString()", false, {true, false}};
  return {nullptr, true, {true, BeginsWith(fuzz::TextOf(*decoder, "State", ""), "Processing")}};
}

Outcome Expected(const fuzz::Document& document, bool detect, bool fallback, const Flags& before) {
  const Outcome unusable{nullptr, false, {fallback, before.isDecoderDetected}};
  if (!document.IsJson())
    return unusable;
  if (!document.IsObject())
    return {"doc.IsObject()", false, before};
  const rapidjson::Value* status = fuzz::Member(document.Root(), "SystemStatus");
  if (status == nullptr)
    return unusable;
  if (!status->IsString())
    return {"vSysStatus.IsString()", false, before};
  const bool isInOrder = BeginsWith(fuzz::TextOf(document.Root(), "SystemStatus", ""), "Okay");
  if (!isInOrder || !detect || before.isDecoderDetected)
    return {nullptr, true, {isInOrder, before.isDecoderDetected}};
  return DecoderOutcome(document.Root());
}

void Check(const fuzz::Text& text, const fuzz::Document& document, bool detect, bool fallback,
           const Flags& before) {
  cJsonParseSysStatus::mbSysStatus = before.isInOrder;
  cJsonParseSysStatus::mbDolbyDecoderDetected = before.isDecoderDetected;
  bool isUsable = false;
  const char* assertion = fuzz::AssertionOf(
      [&] { isUsable = cJsonParseSysStatus().ParseSysStatus(text.c_str(), detect, fallback); });

  const Outcome expected = Expected(document, detect, fallback, before);
  FUZZ_PROPERTY((assertion == nullptr) == (expected.assertion == nullptr) &&
                    (assertion == nullptr || std::string(assertion) == expected.assertion),
                "an assertion is reached by a broken contract and only by that");
  FUZZ_PROPERTY(isUsable == expected.isUsable, "a status is usable when it has a status text");
  FUZZ_PROPERTY(cJsonParseSysStatus::mbSysStatus == expected.flags.isInOrder,
                "the status is in order when its text says so; unusable, it is the caller's");
  FUZZ_PROPERTY(cJsonParseSysStatus::mbDolbyDecoderDetected == expected.flags.isDecoderDetected,
                "a decoder is detected when it runs, and stays so");
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text text = input.TakeRest();
  const Document document(text);
  for (const bool fallback : {false, true})
    for (const bool isDetected : {false, true})
      for (const bool detect : {false, true})
        Check(text, document, detect, fallback, {!fallback, isDetected});
}
