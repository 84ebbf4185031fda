// Cluster messages.

#include "FuzzTarget.h"
#include "JsonCreateLuMessages.h"
#include "JsonOracle.h"
#include "LoudnessRecords.h"

namespace {

// The expected reader after a cluster message. Only the origin is reset, which the message shares
// with the command.
cLuSettingsParser Expected(const rapidjson::Value& message, const cLuSettingsParser& before) {
  cLuSettingsParser reader = before;
  reader.mbIsCmdOriginFromFp = fuzz::BoolOf(message, "OriginFromFp", false);
  reader.mlClusterId = fuzz::UnsignedOf(message, "ClusterId", before.mlClusterId);
  reader.mlCmdTS = fuzz::UnsignedOf(message, "CmdTS", before.mlCmdTS);
  reader.cLuCmd::mlUserId = fuzz::UnsignedOf(message, "UserID", before.cLuCmd::mlUserId);
  return reader;
}

std::string Written(const cLuSettingsParser& record, bool withCommand, unsigned meterSet) {
  cLuSettingsCreater writer;
  writer.mlClusterId = record.mlClusterId;
  writer.mlCmdTS = record.mlCmdTS;
  writer.mbIsCmdOriginFromFp = record.mbIsCmdOriginFromFp;
  return writer.PrepareLuClusterJsonStr(record.mLuCmd, withCommand, meterSet);
}

void CheckWriteReadWrite(const cLuSettingsParser& record, bool withCommand, unsigned meterSet) {
  const std::string text = Written(record, withCommand, meterSet);
  cLuSettingsParser reader = record;
  FUZZ_PROPERTY(reader.ParseLuClusterJsonStr(text.c_str(), meterSet),
                "a written cluster message is accepted");
  FUZZ_PROPERTY(Written(reader, withCommand, meterSet) == text,
                "a written cluster message, read and written again, is the same text");
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text text = input.TakeRest();
  const cLuSettingsParser before = UsedReader();
  cLuSettingsParser reader = before;
  unsigned meterSet = 77;
  const bool isAccepted = reader.ParseLuClusterJsonStr(text.c_str(), meterSet);

  const Document document(text);
  if (!document.IsObject()) {
    FUZZ_PROPERTY(!isAccepted && meterSet == 0, "a text that is not an object is refused");
    FUZZ_PROPERTY(IsSame(reader, before), "a text that is not an object changes nothing");
    return;
  }
  FUZZ_PROPERTY(isAccepted == HasUnsigned(document.Root(), "ClusterId"),
                "a cluster message is accepted when it names a cluster and only then");
  FUZZ_PROPERTY(meterSet == UnsignedOf(document.Root(), "MeterSet", 0), "the meter set is read");
  FUZZ_PROPERTY(IsSame(reader, Expected(document.Root(), before)), "the good keys are stored");
  CheckWriteReadWrite(reader, false, meterSet);
  CheckWriteReadWrite(reader, true, meterSet);
}
