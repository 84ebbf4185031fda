// IPv4 settings, an interface's addresses, endpoint texts. Stateless.

#include "NetworkUtils.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Assertion.h"
#include "Utilities.h"

namespace {

constexpr char kErrorPrefix[] = "NET ERROR : ";
constexpr char kProcessMonitorPort[] = "9989";

// Sizes of the callers' buffers, terminators included.
constexpr std::size_t kIpTextSize = 16;
constexpr std::size_t kMacTextSize = 18;
constexpr std::size_t kTcpTextSize = 32;

constexpr std::size_t kIpBytes = 4;
constexpr std::size_t kMacBytes = 6;
constexpr unsigned kMaskBits = 32;

// Prints the rule that is broken if `print` is set. Returns false, the result of the validation.
__attribute__((format(printf, 2, 3))) bool Refuse(bool print, const char* format, ...) {
  if (!print)
    return false;
  va_list arguments;
  va_start(arguments, format);
  std::printf("%s", kErrorPrefix);
  std::vprintf(format, arguments);
  va_end(arguments);
  return false;
}

// Queries the kernel about an interface. The answer is in `request`.
bool QueryInterface(unsigned long question, const char* interfaceName, ifreq& request) {
  request = {};
  if (interfaceName == nullptr)
    return false;
  std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", interfaceName);
  const int socketFd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (socketFd == -1)
    return false;
  const bool isAnswered = ioctl(socketFd, question, &request) == 0;
  close(socketFd);
  return isAnswered;
}

// Text of the address in an answer, in the system library's buffer.
const char* AddressText(const ifreq& answer) {
  sockaddr_in address = {};
  static_assert(sizeof address <= sizeof answer.ifr_addr, "an IPv4 address fits the answer");
  std::memcpy(&address, &answer.ifr_addr, sizeof address);
  return inet_ntoa(address.sin_addr);
}

// A text for printing; callers may pass null.
const char* Printable(const char* text) {
  return text != nullptr ? text : "(null)";
}

}  // namespace

bool IpAddrIsValid(const char* ip) {
  in_addr address = {};
  return CountChars('.', ip) == 3 && inet_pton(AF_INET, ip, &address) == 1;
}

bool NetmaskIsValid(const char* mask) {
  if (!IpAddrIsValid(mask))
    return false;
  const std::uint32_t hostBits = ~ntohl(GetUint32FromIpString(mask));
  return (hostBits & (hostBits + 1)) == 0;
}

std::uint32_t GetUint32FromIpString(const char* ip) {
  in_addr address = {};
  return ip != nullptr && inet_aton(ip, &address) != 0 ? address.s_addr : 0;
}

bool IpAddrAndMaskAreValid(const char* ip, const char* mask, bool print) {
  if (!IpAddrIsValid(ip))
    return false;
  if (!NetmaskIsValid(mask))
    return Refuse(print, "The IP Mask (%s) is invalid.\n", Printable(mask));
  const std::uint32_t ones = GetUint32FromIpString(mask);
  const std::uint32_t network = GetUint32FromIpString(ip) & ones;
  const std::uint32_t host = GetUint32FromIpString(ip) & ~ones;
  if (host == 0)
    return Refuse(print,
                  "The Host ID cannot be zero.\n - IP Address %s and complement of IP Mask %s.\n",
                  ip, mask);
  if (network == 0)
    return Refuse(print, "The network prefix cannot be zero. (IP Address %s and IP Mask %s.)\n", ip,
                  mask);
  if (host == ~ones)
    return Refuse(print,
                  "The Host ID cannot be all ones. \n"
                  " - IP Address %s and IP Mask %s results in 0x%08x.\n",
                  ip, mask, ~ones);
  if (network == ones)
    return Refuse(print,
                  "The network prefix cannot be all ones.\n"
                  " - IP Address %s and IP Mask %s results in 0x%08x.\n",
                  ip, mask, ones);
  return true;
}

bool GatewayIsValid(const char* ip, const char* mask, const char* gateway, bool print) {
  if (!IpAddrIsValid(gateway))
    return Refuse(print, "The gateway address %s is invalid.\n", Printable(gateway));
  const std::uint32_t own = GetUint32FromIpString(ip);
  const std::uint32_t other = GetUint32FromIpString(gateway);
  if (((own ^ other) & GetUint32FromIpString(mask)) != 0)
    return Refuse(print, "Network prefix does not match IP. (IP Address %s, Gateway %s.)\n", ip,
                  gateway);
  if (own == other)
    return Refuse(print, "Ip and Gateway cannot have same host ID. (IP Address %s, Gateway %s.)\n",
                  ip, gateway);
  return true;
}

void GetMaskFromNumBits(char* out, std::uint8_t bits) {
  std::uint32_t mask = 0;
  if (bits >= 1 && bits <= kMaskBits)
    mask = htonl(~std::uint32_t{0} << (kMaskBits - bits));
  std::uint8_t bytes[kIpBytes] = {};
  std::memcpy(bytes, &mask, sizeof bytes);
  CreateIpStringFromBytes(out, bytes);
}

void CreateIpStringFromBytes(char* out, const std::uint8_t* bytes) {
  std::snprintf(out, kIpTextSize, "%d.%d.%d.%d", bytes[0], bytes[1], bytes[2], bytes[3]);
}

int GetInterfaceAddressFromIoctl(const char* interfaceName, char* out) {
  LOUDCALC_ASSERT(nullptr != out, "nullptr != out");
  ifreq answer = {};
  if (QueryInterface(SIOCGIFADDR, interfaceName, answer)) {
    const char* text = AddressText(answer);
    if (IpAddrIsValid(text)) {
      std::memset(out, 0, kIpTextSize);
      std::snprintf(out, kIpTextSize, "%s", text);
      return 0;
    }
  }
  std::printf("%s - getting link local IP address.\n", kErrorPrefix);
  return 1;
}

int GetMacBytesFromIoctl(std::uint8_t* out, const char* interfaceName) {
  ifreq answer = {};
  if (QueryInterface(SIOCGIFHWADDR, interfaceName, answer)) {
    std::memcpy(out, answer.ifr_hwaddr.sa_data, kMacBytes);
    return 0;
  }
  std::memset(out, 0, kMacBytes);
  std::printf("%sUnable to get mac address from ioctl.", kErrorPrefix);
  return 1;
}

void GetMacStringFromBytes(char* out, const std::uint8_t* bytes) {
  LOUDCALC_ASSERT(nullptr != out, "nullptr != out");
  std::snprintf(out, kMacTextSize, "%02x:%02x:%02x:%02x:%02x:%02x", bytes[0], bytes[1], bytes[2],
                bytes[3], bytes[4], bytes[5]);
}

int GetMacStringFromIoctl(char* out, const char* interfaceName) {
  std::uint8_t bytes[kMacBytes] = {};
  if (GetMacBytesFromIoctl(bytes, interfaceName) != 0) {
    std::memset(out, 0, kMacTextSize);
    return 1;
  }
  GetMacStringFromBytes(out, bytes);
  return 0;
}

void CreateTcpSocketStringFromIpAndPort(char* out, const char* ip, const char* port) {
  LOUDCALC_ASSERT(nullptr != out, "nullptr != out");
  LOUDCALC_ASSERT(nullptr != ip, "nullptr != ip");
  LOUDCALC_ASSERT(nullptr != port, "nullptr != port");
  constexpr int kMaxLength = static_cast<int>(kTcpTextSize);
  std::memset(out, 0, kTcpTextSize);
  const int length = std::snprintf(out, kTcpTextSize, "tcp://%s:%s", ip, port);
  if (length > 0 && length < kMaxLength)
    return;
  std::printf("ERROR:  CreateTcpSocket IP <%s>, port <%s>, Result: %d Max Length: %d\n", ip, port,
              length, kMaxLength);
  std::printf("        Resultant string: <%s>\n\n", out);
}

int GetProcessMonitorSocketStringFromIoctl(const char* interfaceName, char* out) {
  LOUDCALC_ASSERT(nullptr != out, "nullptr != out");
  char ip[kIpTextSize] = {};
  const int result = GetInterfaceAddressFromIoctl(interfaceName, ip);
  if (result == 0)
    CreateTcpSocketStringFromIpAndPort(out, ip, kProcessMonitorPort);
  return result;
}
