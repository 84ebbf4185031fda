// Configuration messages: refusals, the reader's fields afterwards, and that the writer's output is
// read back unchanged.

#include "FuzzTarget.h"
#include "JsonCreateLuMessages.h"
#include "JsonOracle.h"
#include "LoudnessRecords.h"

namespace {

// The configuration in a message: the defaults, replaced by the valid members.
cLuConf Expected(const rapidjson::Value& message, const cLuConf& before) {
  cLuConf conf;
  conf.mlDefaultClusterId = fuzz::UnsignedOf(message, "ClusterId", 1);
  conf.mlLraWindow = fuzz::UnsignedOf(message, "LraWindow", 9);
  conf.msLoudnessStandard = fuzz::TextOf(message, "LoudnessStandard", "ITU BS1770-3");
  conf.mLoudnessStandard =
      cLuConf::ConvertToLoudnessStandardFromString(conf.msLoudnessStandard.c_str());
  conf.msLoudnessWindow = fuzz::TextOf(message, "LoudnessWindow", "Momentary");
  conf.mLoudnessWindow = cLuConf::ConvertToLoudnessWindowFromString(conf.msLoudnessWindow.c_str());
  conf.mlAlarmTolerance = fuzz::SignedOf(message, "AlarmTolerance", 2);
  conf.msAlarm = fuzz::TextOf(message, "Alarm", "Both");
  conf.mAlarm = cLuConf::ConvertToAlarmFromString(conf.msAlarm.c_str());
  conf.mlReferenceLevel = fuzz::SignedOf(message, "ReferenceLevel", -24);
  conf.msMode = fuzz::TextOf(message, "Mode", "Continuous");
  conf.mMode = cLuConf::ConvertToModeFromString(conf.msMode.c_str());
  conf.mlLoudnessWindowTime = fuzz::UnsignedOf(message, "LoudnessWindowTime", 3);
  conf.mlUserId = fuzz::UnsignedOf(message, "UserID", before.mlUserId);
  return conf;
}

bool IsComplete(const rapidjson::Value& message) {
  return fuzz::HasUnsigned(message, "ClusterId") && fuzz::HasUnsigned(message, "LraWindow") &&
         fuzz::HasText(message, "LoudnessStandard") && fuzz::HasText(message, "LoudnessWindow") &&
         fuzz::HasSigned(message, "AlarmTolerance") && fuzz::HasText(message, "Alarm") &&
         fuzz::HasSigned(message, "ReferenceLevel") && fuzz::HasText(message, "Mode") &&
         fuzz::HasUnsigned(message, "LoudnessWindowTime");
}

std::string Written(const cLuConf& conf, bool isFromFrontPanel) {
  cLuSettingsCreater writer;
  static_cast<cLuConf&>(writer) = conf;
  writer.mbIsConfOriginFromFp = isFromFrontPanel;
  return writer.PrepareLuConfJsonStr();
}

void CheckWriteReadWrite(const cLuSettingsParser& record) {
  const std::string text = Written(record, record.mbIsConfOriginFromFp);
  cLuSettingsParser reader;
  FUZZ_PROPERTY(reader.ParseLuConfJsonStr(text.c_str()), "a written configuration is accepted");
  FUZZ_PROPERTY(Written(reader, reader.mbIsConfOriginFromFp) == text,
                "a written configuration, read and written again, is the same text");
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text text = input.TakeRest();
  const cLuSettingsParser before = UsedReader();
  cLuSettingsParser reader = before;
  const bool isAccepted = reader.ParseLuConfJsonStr(text.c_str());

  const Document document(text);
  if (!document.IsObject()) {
    FUZZ_PROPERTY(!isAccepted, "a text that is not an object is refused");
    FUZZ_PROPERTY(IsSame(reader, before), "a text that is not an object changes nothing");
    return;
  }
  FUZZ_PROPERTY(isAccepted == IsComplete(document.Root()),
                "a configuration is accepted when it is complete and only then");
  CheckRecord(static_cast<cLuConf&>(reader));
  cLuSettingsParser expected = before;
  static_cast<cLuConf&>(expected) = Expected(document.Root(), before);
  expected.cLuCmd::Reset();
  expected.mbIsConfOriginFromFp = BoolOf(document.Root(), "OriginFromFp", false);
  FUZZ_PROPERTY(IsSame(reader, expected), "the good keys stand on top of the defaults");
  CheckWriteReadWrite(reader);
}
