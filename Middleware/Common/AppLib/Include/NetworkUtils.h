// IPv4 settings: validation, an interface's addresses and endpoint texts of the process monitor.
// Any thread, except the interface look-ups, which share the system library's text buffer.
//
// Addresses are dotted-quad texts; numeric forms are 32-bit values in network byte order.
// Diagnostics go to standard output. Output buffers must not be null and must have the size given.

#pragma once

#include <cstdint>

extern "C" {

/// Whether `ip` is a dotted quad of four decimal numbers from 0 to 255. False for null.
bool IpAddrIsValid(const char* ip);

/// Whether `mask` is a valid address that consists of ones followed by zeros, 0.0.0.0 and
/// 255.255.255.255 among them.
bool NetmaskIsValid(const char* mask);

/// Numeric form of an address, in the notations that inet_aton knows; 0 for anything else.
std::uint32_t GetUint32FromIpString(const char* ip);

/// Whether `ip` may be a host's address in a network with the mask `mask`: neither the network part
/// nor the host part is all zeros or all ones. With `print` the first rule that fails is printed on
/// standard output, except for an `ip` that is not an address.
bool IpAddrAndMaskAreValid(const char* ip, const char* mask, bool print);

/// Whether `gateway` is a valid address in the network of `ip` and `mask` and not `ip` itself. With
/// `print` the first rule that fails is named on standard output.
bool GatewayIsValid(const char* ip, const char* mask, const char* gateway, bool print);

/// Writes the mask with `bits` leading ones to `out`, 16 characters; 0.0.0.0 when `bits` is not 1
/// to 32.
void GetMaskFromNumBits(char* out, std::uint8_t bits);

/// Writes 4 bytes, the first one leftmost, as an address to `out`, 16 characters.
void CreateIpStringFromBytes(char* out, const std::uint8_t* bytes);

/// Looks up the IPv4 address of an interface; only the first 15 characters of the name count.
/// Returns 0 with the address in `out`, all of whose 16 characters are written; 1 with a line on
/// standard output and `out` untouched when there is no such interface or it has no address.
/// REQUIRES: `out`.
int GetInterfaceAddressFromIoctl(const char* interfaceName, char* out);

/// Looks up the hardware address of an interface. Returns 0 with it in `out`, 6 bytes; 1 with a
/// text on standard output, without a line end, and zeros in `out` when there is no such interface.
int GetMacBytesFromIoctl(std::uint8_t* out, const char* interfaceName);

/// Writes 6 bytes in the form 02:fc:00:00:00:01 to `out`, 18 characters. REQUIRES: `out`.
void GetMacStringFromBytes(char* out, const std::uint8_t* bytes);

/// Looks up the hardware address of an interface as a text. Returns 0 with it in `out`, 18
/// characters; 1 with the empty text when there is no such interface.
int GetMacStringFromIoctl(char* out, const char* interfaceName);

/// Writes "tcp://ADDRESS:PORT" to `out`, 32 characters. A longer text is cut and reported on
/// standard output. REQUIRES: none of the arguments is null.
void CreateTcpSocketStringFromIpAndPort(char* out, const char* ip, const char* port);

/// Writes the endpoint at which a process monitor on the given interface's address is reached, port
/// 9989, to `out`, 32 characters. Returns 0, or what GetInterfaceAddressFromIoctl returned with
/// `out` untouched. REQUIRES: `out`.
int GetProcessMonitorSocketStringFromIoctl(const char* interfaceName, char* out);

}  // extern "C"
