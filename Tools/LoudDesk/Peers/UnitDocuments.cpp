// Documents of the application server and the process monitor.

#include "UnitDocuments.h"

#include "DocumentWriter.h"

namespace louddesk {

std::string LoudnessConfiguration::Json() const {
  return DocumentWriter()
      .Flag("OriginFromFp", originFromFp)
      .Unsigned("ClusterId", clusterId)
      .Unsigned("LraWindow", lraWindow)
      .Text("LoudnessStandard", loudnessStandard)
      .Text("LoudnessWindow", loudnessWindow)
      .Signed("AlarmTolerance", alarmTolerance)
      .Text("Alarm", alarm)
      .Signed("ReferenceLevel", referenceLevel)
      .Text("Mode", mode)
      .Unsigned("LoudnessWindowTime", loudnessWindowTime)
      .Unsigned("UserID", userId)
      .Finish();
}

std::string LoudnessCommand::Json() const {
  return DocumentWriter()
      .Unsigned("ClusterId", clusterId)
      .Flag("OriginFromFp", originFromFp)
      .Text("Command", command)
      .Unsigned("MeterSet", meterSet)
      .Unsigned("CmdTS", timeStamp)
      .Unsigned("UserID", userId)
      .Finish();
}

std::string EnableReportingJson(bool enable) {
  return DocumentWriter().Flag("Enable", enable).Finish();
}

}  // namespace louddesk
