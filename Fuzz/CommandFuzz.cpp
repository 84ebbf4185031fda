// Command messages, read without a filter and with the filters of several clusters.

#include "FuzzTarget.h"
#include "JsonCreateLuMessages.h"
#include "JsonOracle.h"
#include "LoudnessRecords.h"

namespace {

constexpr unsigned kAllClusters = 0;
constexpr unsigned kUnread = 77;  // value of the output arguments before the call

// The expected reader after a command message that passes its filter.
cLuSettingsParser Expected(const rapidjson::Value& message, const cLuSettingsParser& before) {
  cLuSettingsParser reader = before;
  reader.msLuCmd = fuzz::TextOf(message, "Command", "None");
  reader.mLuCmd = cLuCmd::ConvertToLuCmdFromString(reader.msLuCmd.c_str());
  reader.mlCmdTS = fuzz::UnsignedOf(message, "CmdTS", before.mlCmdTS);
  reader.cLuCmd::mlUserId = fuzz::UnsignedOf(message, "UserID", before.cLuCmd::mlUserId);
  reader.mbIsCmdOriginFromFp = fuzz::BoolOf(message, "OriginFromFp", false);
  return reader;
}

// The expected reader after a command message of another cluster.
cLuSettingsParser WithoutCommand(const cLuSettingsParser& before) {
  cLuSettingsParser reader = before;
  reader.cLuCmd::Reset();
  reader.mbIsCmdOriginFromFp = false;
  return reader;
}

void CheckUnfiltered(const fuzz::Text& text, const fuzz::Document& document) {
  const cLuSettingsParser before = fuzz::UsedReader();
  cLuSettingsParser reader = before;
  const bool isAccepted = reader.ParseLuCmdJsonStr(text.c_str());
  if (!document.IsObject()) {
    FUZZ_PROPERTY(!isAccepted, "a text that is not an object is refused");
    FUZZ_PROPERTY(fuzz::IsSame(reader, before), "a text that is not an object changes nothing");
    return;
  }
  FUZZ_PROPERTY(isAccepted == fuzz::HasText(document.Root(), "Command"),
                "a command message is accepted when it has a command text and only then");
  FUZZ_PROPERTY(fuzz::IsSame(reader, Expected(document.Root(), before)),
                "the good keys are stored");
  fuzz::CheckRecord(static_cast<cLuCmd&>(reader));
}

void CheckFiltered(const fuzz::Text& text, const fuzz::Document& document, unsigned filter) {
  const cLuSettingsParser before = fuzz::UsedReader();
  cLuSettingsParser reader = before;
  unsigned meterSet = kUnread;
  unsigned cluster = kUnread;
  const bool isAccepted = reader.ParseLuCmdJsonStr(text.c_str(), meterSet, cluster, filter);
  if (!document.IsObject()) {
    FUZZ_PROPERTY(!isAccepted && meterSet == 0 && cluster == 0, "no object: refused, outputs 0");
    FUZZ_PROPERTY(fuzz::IsSame(reader, before), "a text that is not an object changes nothing");
    return;
  }
  const rapidjson::Value& message = document.Root();
  const unsigned named = fuzz::UnsignedOf(message, "ClusterId", 0);
  FUZZ_PROPERTY(cluster == named, "the cluster is the one that is named, 0 for none");
  if (filter != kAllClusters && named != filter) {
    FUZZ_PROPERTY(!isAccepted && meterSet == 0, "a command of another cluster is refused");
    FUZZ_PROPERTY(fuzz::IsSame(reader, WithoutCommand(before)), "nothing more of it is read");
    return;
  }
  FUZZ_PROPERTY(isAccepted == fuzz::HasText(message, "Command"),
                "a command of the cluster is accepted when it has a command text and only then");
  FUZZ_PROPERTY(meterSet == fuzz::UnsignedOf(message, "MeterSet", 0), "the meter set is read");
  FUZZ_PROPERTY(fuzz::IsSame(reader, Expected(message, before)), "the good keys are stored");
  fuzz::CheckRecord(static_cast<cLuCmd&>(reader));
}

// Writer and reader use different keys for the user, so the user is set again.
std::string Written(const cLuCmd& command, unsigned cluster, unsigned meterSet) {
  cLuSettingsCreater writer;
  writer.mlClusterId = cluster;
  writer.mlCmdTS = command.mlCmdTS;
  writer.cLuCmd::mlUserId = 5;
  return writer.PrepareLuCmdJsonStr(command.mLuCmd, false, true, meterSet);
}

void CheckWriteReadWrite(const fuzz::Text& text) {
  cLuSettingsParser record;
  unsigned meterSet = 0;
  unsigned cluster = 0;
  record.ParseLuCmdJsonStr(text.c_str(), meterSet, cluster, kAllClusters);
  const std::string written = Written(record, cluster, meterSet);
  cLuSettingsParser reader;
  FUZZ_PROPERTY(reader.ParseLuCmdJsonStr(written.c_str(), meterSet, cluster, cluster),
                "a written command is accepted");
  FUZZ_PROPERTY(reader.mLuCmd == record.mLuCmd, "a written command is read as itself");
  FUZZ_PROPERTY(Written(reader, cluster, meterSet) == written,
                "a written command, read and written again, is the same text");
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text text = input.TakeRest();
  const Document document(text);
  CheckUnfiltered(text, document);
  for (const unsigned filter : {kAllClusters, 1u, 2u, 4294967295u})
    CheckFiltered(text, document, filter);
  CheckWriteReadWrite(text);
}
