// The user's loudness settings: one record. Its setters clamp or ignore bad values. Written by the
// dispatcher, read by the calculator. Reactor thread only.

#include "LoudConfigUser.h"

#include <algorithm>

LoudConfigUser_t LoudConfigUser;

namespace {

// The values come from messages and may be negative.
bool IsBelow(std::int32_t value, std::int32_t limit) {
  return value >= 0 && value < limit;
}

}  // namespace

LoudWinType_e GetLuWinType() {
  return LoudConfigUser.WinType;
}

void SetLuWinType(LoudWinType_e winType) {
  if (IsBelow(winType, NUM_LOUD_WIN_TYPES))
    LoudConfigUser.WinType = winType;
}

teLoudModes GetLuMode() {
  return LoudConfigUser.mode;
}

void SetLuMode(teLoudModes mode) {
  if (IsBelow(mode, NUM_LOUD_MODES))
    LoudConfigUser.mode = mode;
}

std::uint32_t GetIntegWinTime() {
  return LoudConfigUser.IntegWinSecs;
}

void SetIntegWinTime(unsigned int seconds) {
  LoudConfigUser.IntegWinSecs = std::clamp(seconds, kMinIntegWinSecs, kMaxIntegWinSecs);
}

std::uint32_t GetLraWinTime() {
  return LoudConfigUser.LraWinTime;
}

void SetLraWinTime(unsigned int seconds) {
  LoudConfigUser.LraWinTime = std::clamp(seconds, kMinLraWinSecs, kMaxLraWinSecs);
}

std::uint32_t GetClusterId() {
  return LoudConfigUser.ClusterId;
}

void SetClusterId(unsigned int clusterId) {
  LoudConfigUser.ClusterId = clusterId;
}

bool IsOriginFromFP4Cmd() {
  return LoudConfigUser.OriginFromFP4Cmd;
}

void SetOriginFromFP4Cmd(bool originFromFp4) {
  LoudConfigUser.OriginFromFP4Cmd = originFromFp4;
}

bool IsOriginFromFP4Conf() {
  return LoudConfigUser.OriginFromFP4Conf;
}

void SetOriginFromFP4Conf(bool originFromFp4) {
  LoudConfigUser.OriginFromFP4Conf = originFromFp4;
}

bool IsOriginFromFP4Prog() {
  return LoudConfigUser.OriginFromFP4Prog;
}

void SetOriginFromFP4Prog(bool originFromFp4) {
  LoudConfigUser.OriginFromFP4Prog = originFromFp4;
}
