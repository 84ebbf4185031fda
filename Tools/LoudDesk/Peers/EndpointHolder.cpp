// Reads the kernel's socket tables under /proc. Everything in them is taken as a hint for people:
// what cannot be read is left out.

#include "EndpointHolder.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace louddesk {

namespace {

namespace fs = std::filesystem;

constexpr char kUnixSockets[] = "/proc/net/unix";
constexpr char kTcpSockets[] = "/proc/net/tcp";
constexpr std::size_t kUnixFields = 8;  // Num RefCount Protocol Flags Type St Inode Path
constexpr std::size_t kTcpFields =
    10;  // sl local remote st queues timer retrnsmt uid timeout inode
constexpr char kUnixListening[] = "00010000";  // the flag of a listening socket
constexpr char kTcpListening[] = "0A";         // the state of a listening socket

using Fields = std::vector<std::string>;

Fields Split(const std::string& line) {
  std::istringstream stream(line);
  Fields fields;
  for (std::string field; stream >> field;)
    fields.push_back(field);
  return fields;
}

std::string ProcessName(const fs::path& process) {
  std::string name = "unknown";
  std::ifstream file(process / "comm");
  std::getline(file, name);
  return name + " (process " + process.filename().string() + ")";
}

// Not so: files of the kernel, and the links by which every process finds itself.
bool IsProcess(const fs::path& entry) {
  const std::string name = entry.filename().string();
  return name.find_first_not_of("0123456789") == std::string::npos;
}

bool HoldsSocket(const fs::path& process, const std::string& link) {
  std::error_code error;
  for (const auto& file : fs::directory_iterator(process / "fd", error))
    if (fs::read_symlink(file.path(), error) == link)
      return true;
  return false;
}

std::string HolderOfInode(const std::string& inode) {
  const std::string link = "socket:[" + inode + "]";
  std::error_code error;
  for (const auto& process : fs::directory_iterator("/proc", error))
    if (IsProcess(process.path()) && HoldsSocket(process.path(), link))
      return ProcessName(process.path());
  return "another process";
}

// An address and port as the kernel's table shows them.
std::string TcpTableEntry(const std::string& address, unsigned port) {
  in_addr binary{};
  inet_pton(AF_INET, address.c_str(), &binary);
  char text[14];
  std::snprintf(text, sizeof(text), "%08X:%04X", binary.s_addr, port & 0xFFFFu);
  return text;
}

}  // namespace

std::string HolderOfFile(const std::string& path) {
  std::ifstream table(kUnixSockets);
  for (std::string line; std::getline(table, line);) {
    const Fields fields = Split(line);
    if (fields.size() >= kUnixFields && fields[3] == kUnixListening && fields[7] == path)
      return HolderOfInode(fields[6]);
  }
  return "";
}

std::string HolderOfTcpPort(const std::string& address, unsigned port) {
  const std::string exact = TcpTableEntry(address, port);
  const std::string everywhere = TcpTableEntry("0.0.0.0", port);
  std::ifstream table(kTcpSockets);
  for (std::string line; std::getline(table, line);) {
    const Fields fields = Split(line);
    if (fields.size() < kTcpFields || fields[3] != kTcpListening)
      continue;
    if (fields[1] == exact || fields[1] == everywhere)
      return HolderOfInode(fields[9]);
  }
  return "";
}

std::string ThisHolder() {
  return ProcessName(fs::path("/proc") / std::to_string(getpid()));
}

}  // namespace louddesk
