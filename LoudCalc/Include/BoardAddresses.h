// Addresses of the unit's boards on its internal network: compiled defaults, overridable at start.

#pragma once

#include <string>

/// Environment variables that override the compiled addresses, for a desk, a test rig or another
/// network.
constexpr char kMainBoardVariable[] = "LOUDCALC_MAIN_BOARD_ADDRESS";
constexpr char kOpticalBoardVariable[] = "LOUDCALC_OPTICAL_BOARD_ADDRESS";

/// Sets each address from its environment variable, or to the compiled default if that is not set.
/// False when one of them is not an IPv4 address; `error` then names the variable and its value,
/// and neither address changes.
bool LoadBoardAddresses(std::string& error);

/// IPv4 address text of the main board: application server, hardware manager, process monitor. The
/// compiled default until `LoadBoardAddresses` succeeds.
const char* MainBoardAddress();

/// IPv4 address text of the optical board: its application server.
const char* OpticalBoardAddress();
