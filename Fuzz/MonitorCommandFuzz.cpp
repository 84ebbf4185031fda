// Commands of the process monitor, read by the heartbeat client and by the monitor's own reader.

#include "FuzzTarget.h"
#include "HeartBeater.h"
#include "JsonOracle.h"
#include "JsonParseHbMonMessages.h"

namespace {

constexpr char kCommandKey[] = "Command";

void CheckApplicationCommand(const fuzz::Text& text, const fuzz::Document& document) {
  const int expected = document.IsObject() ? fuzz::SignedOf(document.Root(), kCommandKey, -1) : -1;
  FUZZ_PROPERTY(cHeartBeater::ParseAppCommand(text.c_str()) == expected,
                "the command is the integer of that name in an object, else -1");
}

// The assertion that a message of the monitor breaks; null if it breaks none.
const char* BrokenContract(const fuzz::Document& document) {
  if (!document.IsJson())
    return nullptr;
  if (!document.IsObject())
    return "doc.IsObject()";
  const rapidjson::Value* command = fuzz::Member(document.Root(), kCommandKey);
  return command == nullptr || command->IsNull() || command->IsInt() ? nullptr : "vCommand.IsInt()";
}

void CheckMonitorCommand(const fuzz::Text& text, const fuzz::Document& document) {
  cJsonParseHbMonCommand reader;
  reader.miHBMonCommand = 5;
  bool isAccepted = false;
  const char* assertion =
      fuzz::AssertionOf([&] { isAccepted = reader.ParseSysStatus(text.c_str()); });
  const char* expected = BrokenContract(document);
  FUZZ_PROPERTY((assertion == nullptr) == (expected == nullptr) &&
                    (expected == nullptr || std::string(expected) == assertion),
                "an assertion is reached by a broken contract and only by that");
  if (assertion != nullptr)
    return;
  const bool hasCommand = document.IsJson() && fuzz::HasSigned(document.Root(), kCommandKey);
  FUZZ_PROPERTY(isAccepted == hasCommand, "a command is accepted when it is there and only then");
  FUZZ_PROPERTY(
      reader.miHBMonCommand == (hasCommand ? fuzz::SignedOf(document.Root(), kCommandKey, 0) : -1),
      "the command is stored, -1 for none");
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text text = input.TakeRest();
  const Document document(text);
  CheckApplicationCommand(text, document);
  CheckMonitorCommand(text, document);
}
