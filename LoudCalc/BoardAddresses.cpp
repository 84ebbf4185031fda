// Addresses of the unit's boards. Set once at start, read-only afterwards.

#include "BoardAddresses.h"

#include <cstdlib>

#include "NetworkUtils.h"

namespace {

std::string gMainBoardAddress = LOUDCALC_MAIN_BOARD_ADDRESS;
std::string gOpticalBoardAddress = LOUDCALC_OPTICAL_BOARD_ADDRESS;

bool ReadAddress(const char* variable, const std::string& fallback, std::string& address,
                 std::string& error) {
  const char* value = std::getenv(variable);
  address = value != nullptr ? value : fallback;
  if (IpAddrIsValid(address.c_str()))
    return true;
  error = std::string(variable) + " is not a valid IPv4 address: \"" + address + "\"";
  return false;
}

}  // namespace

bool LoadBoardAddresses(std::string& error) {
  std::string mainBoard;
  std::string opticalBoard;
  if (!ReadAddress(kMainBoardVariable, LOUDCALC_MAIN_BOARD_ADDRESS, mainBoard, error) ||
      !ReadAddress(kOpticalBoardVariable, LOUDCALC_OPTICAL_BOARD_ADDRESS, opticalBoard, error))
    return false;
  gMainBoardAddress = mainBoard;
  gOpticalBoardAddress = opticalBoard;
  return true;
}

const char* MainBoardAddress() {
  return gMainBoardAddress.c_str();
}

const char* OpticalBoardAddress() {
  return gOpticalBoardAddress.c_str();
}
