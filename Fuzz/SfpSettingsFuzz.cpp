// Stand-alone documents of one SFP cage: addresses, firmware options, precision time, module
// status.

#include <cstring>
#include <tuple>

#include "EmsetSfpSettings.h"
#include "FuzzTarget.h"
#include "JsonOracle.h"
#include "JsonParseEmsetInfo.h"

namespace {

// Values of all fields before a document is read.
constexpr std::int32_t kOldNumber = 7;
constexpr std::uint64_t kOldTime = 8;
constexpr char kOldText[] = "10.0.0.1";

bool IsZero(const char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    if (bytes[i] != 0)
      return false;
  return true;
}

void CheckAddress(const char (&field)[16], const std::string& address) {
  const std::size_t kept = address.size() < sizeof field ? address.size() : 0;
  FUZZ_PROPERTY(
      std::memcmp(field, address.data(), kept) == 0 && IsZero(field + kept, sizeof field - kept),
      "an address field holds the whole address and zeros, or nothing");
}

void CheckIpSettings(const fuzz::Text& text, const fuzz::Document& document) {
  cEmsetSfpIpSettings reader;
  reader.miCount = reader.miSfpCageNo = kOldNumber;
  reader.mllRequestTS = kOldTime;
  reader.msIP = reader.msGateway = reader.msNetmask = kOldText;
  const int result = reader.ParseSfpIpSettings(text.c_str());
  FUZZ_PROPERTY(result == (document.IsObject() ? 1 : 0), "an object is read, nothing else");
  if (result == 0) {
    FUZZ_PROPERTY(reader.miCount == kOldNumber && reader.miSfpCageNo == kOldNumber &&
                      reader.mllRequestTS == kOldTime && reader.msIP == kOldText &&
                      reader.msGateway == kOldText && reader.msNetmask == kOldText &&
                      IsZero(reader.mIpConfig.IpAddress, sizeof reader.mIpConfig.IpAddress),
                  "refused addresses change nothing");
    return;
  }
  const rapidjson::Value& root = document.Root();
  FUZZ_PROPERTY(reader.msIP == fuzz::TextOf(root, "IP", kOldText) &&
                    reader.msGateway == fuzz::TextOf(root, "Gateway", kOldText) &&
                    reader.msNetmask == fuzz::TextOf(root, "Netmask", kOldText) &&
                    reader.miSfpCageNo == fuzz::SignedOf(root, "SfpCageNo", kOldNumber) &&
                    reader.mllRequestTS == fuzz::Unsigned64Of(root, "RequestTS", kOldTime) &&
                    reader.miCount == fuzz::SignedOf(root, "Count", -1),
                "addresses are read, what is missing stays");
  CheckAddress(reader.mIpConfig.IpAddress, reader.msIP);
  CheckAddress(reader.mIpConfig.Gateway, reader.msGateway);
  CheckAddress(reader.mIpConfig.Netmask, reader.msNetmask);
  FUZZ_PROPERTY(IsZero(reader.mIpConfig.Dns, sizeof reader.mIpConfig.Dns), "no document sets it");
}

void CheckFirmwareOptions(const fuzz::Text& text, const fuzz::Document& document) {
  cEmsetSfpFirmwareLoadOptions reader;
  reader.miCount = reader.miSfpCageNo = reader.miElementId = kOldNumber;
  reader.mbMakeDefault = true;
  reader.mllRequestTS = kOldTime;
  const int result = reader.ParseSfpFirmwareLoadOptions(text.c_str());
  FUZZ_PROPERTY(result == (document.IsObject() ? 1 : 0), "an object is read, nothing else");
  const rapidjson::Value& root = document.Root();
  const bool isRead = result == 1;
  FUZZ_PROPERTY(
      reader.miElementId == fuzz::SignedOf(root, "ElementId", kOldNumber) &&
          reader.mbMakeDefault == fuzz::BoolOf(root, "MakeDefault", true) &&
          reader.miSfpCageNo == fuzz::SignedOf(root, "SfpCageNo", isRead ? 0 : kOldNumber) &&
          reader.mllRequestTS == fuzz::Unsigned64Of(root, "RequestTS", kOldTime) &&
          reader.miCount == fuzz::SignedOf(root, "Count", isRead ? -1 : kOldNumber),
      "options are read, what is missing stays or becomes its default");
}

void CheckPtpSettings(const fuzz::Text& text, const fuzz::Document& document) {
  cEmsetSfpPTPSettings reader;
  reader.miCount = reader.miSfpCageNo = reader.miDomainNumber = kOldNumber;
  reader.miDSCP = reader.miVlanID = kOldNumber;
  reader.mllRequestTS = kOldTime;
  reader.msPTPMode = reader.msPTPMaster = reader.msGMID = kOldText;
  const int result = reader.ParseSfpPTPSettings(text.c_str());
  FUZZ_PROPERTY(result == (document.IsObject() ? 1 : 0), "an object is read, nothing else");
  const rapidjson::Value& root = document.Root();
  FUZZ_PROPERTY(reader.msPTPMode == fuzz::TextOf(root, "PTPMode", kOldText) &&
                    reader.msPTPMaster == fuzz::TextOf(root, "PTPMaster", kOldText) &&
                    reader.msGMID == fuzz::TextOf(root, "GMID", kOldText) &&
                    reader.miDomainNumber == fuzz::SignedOf(root, "DomainNumber", kOldNumber) &&
                    reader.miDSCP == fuzz::SignedOf(root, "DSCP", kOldNumber) &&
                    reader.miVlanID == fuzz::SignedOf(root, "VlanID", kOldNumber) &&
                    reader.miSfpCageNo == fuzz::SignedOf(root, "SfpCageNo", kOldNumber) &&
                    reader.mllRequestTS == fuzz::Unsigned64Of(root, "RequestTS", kOldTime) &&
                    reader.miCount == fuzz::SignedOf(root, "Count", result == 1 ? -1 : kOldNumber),
                "time settings are read, what is missing stays");
}

void CheckModuleStatus(const fuzz::Text& text, const fuzz::Document& document) {
  for (const bool before : {false, true}) {
    cEmsetConfParser reader;
    reader.mbIsSfpModuleEnabled = before;
    FUZZ_PROPERTY(reader.ParseSfpModuleStatus(text.c_str()) == (document.IsObject() ? 1 : 0),
                  "an object is read, nothing else");
    FUZZ_PROPERTY(reader.mbIsSfpModuleEnabled == fuzz::BoolOf(document.Root(), "Enable", before),
                  "the flag is read, missing it stays");
  }
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text text = input.TakeRest();
  const Document document(text);
  CheckIpSettings(text, document);
  CheckFirmwareOptions(text, document);
  CheckPtpSettings(text, document);
  CheckModuleStatus(text, document);
}
