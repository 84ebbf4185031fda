// Cost of a process, read from /proc.

#include "ProcessCost.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

// The number after `key` at the beginning of a line; 0 if there is no such line.
double Field(const std::filesystem::path& file, const std::string& key) {
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);)
    if (line.compare(0, key.size(), key) == 0)
      return std::strtod(line.c_str() + key.size(), nullptr);
  return 0;
}

Cost CostOfThread(const std::filesystem::path& thread) {
  double nanoseconds = 0;
  std::ifstream(thread / "schedstat") >> nanoseconds;
  const double waits = Field(thread / "status", "voluntary_ctxt_switches:");
  const double others = Field(thread / "status", "nonvoluntary_ctxt_switches:");
  return {nanoseconds / 1e9, waits, waits + others};
}

std::filesystem::path FilesOf(const ServiceProcess& process) {
  return "/proc/" + process.StatusOf("Pid");
}

}  // namespace

Cost& Cost::operator+=(const Cost& other) {
  cpuSeconds += other.cpuSeconds;
  wakeUps += other.wakeUps;
  switches += other.switches;
  return *this;
}

Cost operator-(const Cost& after, const Cost& before) {
  return {after.cpuSeconds - before.cpuSeconds, after.wakeUps - before.wakeUps,
          after.switches - before.switches};
}

Cost CostOf(const ServiceProcess& process) {
  Cost cost;
  for (const auto& thread : std::filesystem::directory_iterator(FilesOf(process) / "task"))
    cost += CostOfThread(thread.path());
  return cost;
}

double PrivateKib(const ServiceProcess& process) {
  const auto file = FilesOf(process) / "smaps_rollup";
  return Field(file, "Private_Clean:") + Field(file, "Private_Dirty:");
}

bool IsIdle(const ServiceProcess& process) {
  for (const auto& thread : std::filesystem::directory_iterator(FilesOf(process) / "task")) {
    std::ifstream stream(thread.path() / "status");
    for (std::string line; std::getline(stream, line);)
      if (line.compare(0, 6, "State:") == 0 && line.find("S (") == std::string::npos)
        return false;
  }
  return true;
}
