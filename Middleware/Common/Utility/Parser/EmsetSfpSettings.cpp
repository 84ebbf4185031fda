// Settings of one SFP cage. Owned by the caller; reactor thread only.

#include "EmsetSfpSettings.h"

#include <cstring>

#include "JsonAccess.h"
#include "LabelledBlock.h"

namespace {

void ReadOr(const rapidjson::Value& object, const char* key, std::int32_t& out,
            std::int32_t fallback) {
  if (!json::Read(object, key, out))
    out = fallback;
}

// The members that identify the request.
void ReadRequest(const rapidjson::Value& object, std::uint64_t& requestTS, std::int32_t& count) {
  json::Read(object, "RequestTS", requestTS);
  ReadOr(object, "Count", count, -1);
}

template <std::size_t kSize>
void CopyAddress(char (&out)[kSize], const std::string& address) {
  std::memset(out, 0, kSize);
  if (address.size() < kSize)
    std::memcpy(out, address.data(), address.size());
}

}  // namespace

int cEmsetSfpIpSettings::ParseSfpIpSettings(const char* json) {
  rapidjson::Document document;
  if (!json::ParseObject(json, document))
    return 0;
  json::Read(document, "IP", msIP);
  json::Read(document, "Gateway", msGateway);
  json::Read(document, "Netmask", msNetmask);
  json::Read(document, "SfpCageNo", miSfpCageNo);
  ReadRequest(document, mllRequestTS, miCount);
  CopyAddress(mIpConfig.IpAddress, msIP);
  CopyAddress(mIpConfig.Netmask, msNetmask);
  CopyAddress(mIpConfig.Gateway, msGateway);
  return 1;
}

int cEmsetSfpFirmwareLoadOptions::ParseSfpFirmwareLoadOptions(const char* json) {
  rapidjson::Document document;
  if (!json::ParseObject(json, document))
    return 0;
  json::Read(document, "ElementId", miElementId);
  json::Read(document, "MakeDefault", mbMakeDefault);
  ReadOr(document, "SfpCageNo", miSfpCageNo, 0);
  ReadRequest(document, mllRequestTS, miCount);
  return 1;
}

int cEmsetSfpPTPSettings::ParseSfpPTPSettings(const char* json) {
  rapidjson::Document document;
  return json::Parse(json, document) ? ParseSfpPTPSettings(document) : 0;
}

int cEmsetSfpPTPSettings::ParseSfpPTPSettings(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  json::Read(value, "PTPMode", msPTPMode);
  json::Read(value, "PTPMaster", msPTPMaster);
  json::Read(value, "GMID", msGMID);
  json::Read(value, "DomainNumber", miDomainNumber);
  json::Read(value, "DSCP", miDSCP);
  json::Read(value, "VlanID", miVlanID);
  json::Read(value, "SfpCageNo", miSfpCageNo);
  ReadRequest(value, mllRequestTS, miCount);
  PrintSfpPTPSettings();
  return 1;
}

void cEmsetSfpPTPSettings::PrintSfpPTPSettings() const {
  LabelledBlock()
      .Add("\n\t PTPMode :", msPTPMode)
      .Add("\n\t PTPMaster :", msPTPMaster)
      .Add("\n\t GMID :", msGMID)
      .Add("\n\t DomainNumber:", miDomainNumber)
      .Add("\n\t DSCP:", miDSCP)
      .Add("\n\t VlanID:", miVlanID)
      .Add("\n\t RequestTS:", mllRequestTS)
      .Add("\n\t SfpCageNo:", miSfpCageNo)
      .Add("\n\t Count:", miCount)
      .Print();
}
