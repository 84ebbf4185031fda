// The whole dispatcher: a series of text and binary messages with ticks of the timers between them,
// all on the same state.
//
// Input: one byte each for the meter set and the cluster of the process ('0' is 0), then records. A
// record begins with a letter:
//
//     T  topic, zero, payload, zero: a text message
//     N  topic, zero: a text message without a payload
//     B  topic, zero, a message (Frames.h): a binary message
//     t  a tick of the 100 ms timer
//     s  a republication
//
// Any other letter is skipped.

#include <cstring>
#include <string>

#include "Frames.h"
#include "HeartBeater.h"
#include "JsonOracle.h"
#include "JsonParser.h"
#include "LoudReport.h"
#include "ReportingState.h"
#include "ServiceState.h"

namespace {

constexpr unsigned kMaxRecords = 64;
constexpr unsigned kNumbers = 9;  // meter sets and clusters are 0 (none) to 8

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// Whether `topic` is exactly the prefix and this meter set's number.
bool IsOwnTopic(const std::string& topic, const std::string& prefix, std::uint32_t number) {
  return topic == prefix + std::to_string(number);
}

bool IsConfigurationTaken(const std::string& topic) {
  const bool isFirst = IsOwnTopic(topic, "AppProbeSetLuConf-", 1);
  return cJsonParser::mlMeterSetNo == (isFirst ? 1u : 2u);
}

bool EndsLoop(const std::string& topic, const char* payload) {
  if (topic != "HbAppCmd" || payload == nullptr)
    return false;
  const fuzz::Document document(
      fuzz::Text(reinterpret_cast<const std::uint8_t*>(payload), std::strlen(payload)));
  const int command = document.IsObject() ? fuzz::SignedOf(document.Root(), "Command", -1) : -1;
  return command == 9 || command == 100;
}

// The groups of the state that a message of this topic may change, in the order in which topics are
// recognised.
fuzz::Changes AllowedChanges(const std::string& topic, const char* payload) {
  fuzz::Changes none{};
  if (Contains(topic, "AppIOQVLoudnessCmd-")) {
    const bool isOwn = IsOwnTopic(topic, "AppIOQVLoudnessCmd-", cJsonParser::mlMeterSetNo);
    return {isOwn, isOwn, isOwn, false, false, false, false, false};
  }
  if (topic == "HbAppCmd")
    return none;
  if (topic == "HbSysStatusEvent")
    return {false, false, false, false, false, false, true, false};
  if (Contains(topic, "AppProbeSetLuConf-")) {
    const bool isTaken = IsConfigurationTaken(topic);
    return {isTaken, isTaken, isTaken, false, false, false, false, false};
  }
  if (topic == "HwmStatusOrRequest")
    return none;
  if (topic == "QVProbeOptInputDataCmd")
    return {false, false, false, payload != nullptr, false, false, false, false};
  if (IsOwnTopic(topic, "AppProbeIOMatrixStream-", cJsonParser::mlMeterSetNo))
    return {false, false, true, false, true, true, false, false};
  return none;
}

// A preset that is not a republication, even a refused one, rebuilds the programme.
void CheckPreset() {
  FUZZ_PROPERTY((gluCalcActions & 0x11F) == 0x103 || (gluCalcActions & 0x11C) == 0x100,
                "a preset restarts the measurement");
  if (!cJsonParser::mProbeMatrixConf.mbRepub)
    FUZZ_PROPERTY(gbIsInvalidSrc == (cJsonParser::mlMetersInProgram == 0) && glInvalidSrcCount == 0,
                  "a source is invalid without a meter and only then");
}

void CheckEnable(const char* payload) {
  if (payload != nullptr)
    FUZZ_PROPERTY((glEnableProbeData == 1) == Contains(payload, "true"),
                  "reporting is switched on by a true anywhere, else off");
}

void CheckEffect(const std::string& topic, const char* payload) {
  if (IsOwnTopic(topic, "AppProbeIOMatrixStream-", cJsonParser::mlMeterSetNo))
    CheckPreset();
  else if (topic == "QVProbeOptInputDataCmd")
    CheckEnable(payload);
}

// Whether the assertion is about the monitor's contract. If the monitor breaks it, the service
// ends, and so does the series.
bool IsContractOfMonitor(const std::string& topic, const char* assertion) {
  return topic == "HbSysStatusEvent" && (std::strcmp(assertion, "doc.IsObject()") == 0 ||
                                         std::strcmp(assertion, "vSysStatus.IsString()") == 0 ||
                                         std::strcmp(assertion, "vDolbyDec.IsObject()") == 0 ||
                                         std::strcmp(assertion, "vState.IsString()") == 0);
}

// False when the service has ended.
bool SendText(const char* topic, const char* payload) {
  const fuzz::ServiceState before = fuzz::TakeState();
  const fuzz::Changes allowed = AllowedChanges(topic, payload);
  int result = 0;
  const char* assertion =
      fuzz::AssertionOf([&] { result = cJsonParser::ParseMessage(topic, payload); });
  if (assertion != nullptr) {
    FUZZ_PROPERTY(IsContractOfMonitor(topic, assertion),
                  "no assertion is reached but those of the monitor's contract");
    return false;
  }
  FUZZ_PROPERTY(result == (EndsLoop(topic, payload) ? -1 : 0),
                "the loop is ended by the application commands 9 and 100 and by nothing else");
  fuzz::CheckOnlyChanged(before, allowed);
  CheckEffect(topic, payload);
  return result == 0;
}

void SendBinary(const char* topic, zmsg_t* message) {
  const fuzz::ServiceState before = fuzz::TakeState();
  const bool isRawData = Contains(topic, "ProbeLuRawData-");
  FUZZ_PROPERTY(cJsonParser::ParseBinaryMessage(topic, message) == 0, "raw data ends no loop");
  fuzz::CheckOnlyChanged(before, {false, false, false, false, false, false, false, isRawData});
}

// One step of the action machine: at most one pending action is carried out, and none is added.
void Tick() {
  const fuzz::ServiceState before = fuzz::TakeState();
  SendLoudnessData();
  const std::uint32_t done = before.actions & ~gluCalcActions;
  FUZZ_PROPERTY((gluCalcActions & ~before.actions) == 0, "a tick raises no action");
  FUZZ_PROPERTY((done & (done - 1)) == 0, "a tick does one action at most");
  FUZZ_PROPERTY(done == 0 || (before.isReporting != 0 && !before.isSourceInvalid),
                "actions wait while nothing is reported");
  fuzz::CheckOnlyChanged(before,
                         {false, false, true, false, false, false, false, done == kActionReset});
}

void Republish() {
  const fuzz::ServiceState before = fuzz::TakeState();
  UpdateLoudnessStateAndConf();
  fuzz::CheckOnlyChanged(before, {});
}

// False when the service has ended.
bool DoRecord(fuzz::Input& input) {
  switch (input.TakeByte()) {
    case 'T': {
      const fuzz::Text topic = input.TakeTerminatedText();
      const fuzz::Text payload = input.TakeTerminatedText();
      return SendText(topic.c_str(), payload.c_str());
    }
    case 'N':
      return SendText(input.TakeTerminatedText().c_str(), nullptr);
    case 'B': {
      const fuzz::Text topic = input.TakeTerminatedText();
      SendBinary(topic.c_str(), fuzz::TakeMessage(input).get());
      return true;
    }
    case 't':
      Tick();
      return true;
    case 's':
      Republish();
      return true;
    default:
      return true;
  }
}

// A meter set or cluster number.
std::uint32_t TakeDigit(fuzz::Input& input) {
  return static_cast<std::uint8_t>(input.TakeByte() - '0') % kNumbers;
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const std::uint32_t meterSet = TakeDigit(input);
  const std::uint32_t cluster = TakeDigit(input);
  StartService(meterSet, cluster);
  for (unsigned i = 0; i < kMaxRecords && !input.IsEmpty(); ++i) {
    if (!DoRecord(input))
      return;
    CheckState();
  }
}
