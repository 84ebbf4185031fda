// Cost of the gate on a board of eight clusters with ten readers of its stream, beside that of the
// eight services that it watches: processor time of all threads and private memory, in the same
// seconds.
//
// Usage: GateBenchmark [--quick]    quick: a very short run, to check that everything works

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "CostRow.h"
#include "Isolation.h"
#include "Turn.h"

namespace {

using std::chrono::milliseconds;

constexpr unsigned kClusters = 8;
constexpr unsigned kReaders = 10;
constexpr milliseconds kTime{57000};  // in this time the record is written once
constexpr char kListening[] = "Listening at ";

// A folder for the record. The destructor removes both.
class RecordFolder {
 public:
  RecordFolder() {
    char name[] = "/tmp/gate-benchmark-XXXXXX";
    Expect(mkdtemp(name) != nullptr, "no folder for the record");
    mPath = name;
  }
  ~RecordFolder() { std::filesystem::remove_all(mPath); }
  RecordFolder(const RecordFolder&) = delete;
  RecordFolder& operator=(const RecordFolder&) = delete;

  std::string File() const { return mPath / "station.db"; }

 private:
  std::filesystem::path mPath;
};

// The gate with its default options, except for a free port and a separate record.
class Gate {
 public:
  explicit Gate(const std::string& record)
      : mProcess(LOUDGATE_BINARY, {"--listen", "127.0.0.1:0", "--record", record}) {
    Expect(mProcess.WaitForLine(kListening, kPatience), "the gate does not listen");
    const std::string output = mProcess.StandardOutput();
    const std::size_t begin = output.find(kListening) + sizeof kListening - 1;
    mUrl = output.substr(begin, output.find('\n', begin) - begin);
  }

  const ServiceProcess& Process() const { return mProcess; }

  // Waits until the gate has figures of all clusters.
  void AwaitClusters() const {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (RunningClusters() < kClusters) {
      Expect(std::chrono::steady_clock::now() < end, "the gate does not show every cluster");
      std::this_thread::sleep_for(milliseconds(50));
    }
  }

  // A reader that receives and discards every event.
  std::unique_ptr<ServiceProcess> Reader(int nowhere) const {
    ProcessOptions options;
    options.output = nowhere;
    return std::make_unique<ServiceProcess>(CURL_BINARY, Silently("api/stream"),
                                            std::map<std::string, std::string>{}, options);
  }

  void End() {
    mProcess.Signal(SIGTERM);
    const auto report = mProcess.WaitForExit(kPatience);
    Expect(report && report->status == 0, "the gate does not end");
  }

 private:
  std::vector<std::string> Silently(const std::string& path) const {
    return {"--silent", "--no-buffer", mUrl + path};
  }

  unsigned RunningClusters() const {
    ServiceProcess client(CURL_BINARY, Silently("api/clusters"));
    Expect(client.WaitForExit(kPatience).has_value(), "the gate does not answer");
    const std::string document = client.StandardOutput();
    constexpr std::string_view kRunning = "\"State\":\"RUNNING\"";
    unsigned count = 0;
    for (std::size_t place = document.find(kRunning); place != std::string::npos;
         place = document.find(kRunning, place + 1))
      ++count;
    return count;
  }

  ServiceProcess mProcess;
  std::string mUrl;
};

struct BothCosts {
  Cost gate;
  Cost services;
};

BothCosts operator-(const BothCosts& after, const BothCosts& before) {
  return {after.gate - before.gate, after.services - before.services};
}

void Measure(milliseconds time) {
  Turn services({LOUDCALC_BINARY}, kClusters);
  services.StartPublishing();
  const RecordFolder folder;
  Gate gate(folder.File());
  gate.AwaitClusters();
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  std::vector<std::unique_ptr<ServiceProcess>> readers;
  while (readers.size() < kReaders)
    readers.push_back(gate.Reader(nowhere));
  const BothCosts costs = services.Feed(time, [&] {
    return BothCosts{CostOf(gate.Process()), services.Total()};
  });
  for (const auto& reader : readers)
    Expect(reader->IsRunning(), "the gate has lost a reader");
  const double percent = 100 / std::chrono::duration<double>(time).count();
  PrintRow("gate: processor time", "% of a core", percent * costs.gate.cpuSeconds,
           percent * costs.services.cpuSeconds);
  PrintRow("gate: private memory", "KiB", PrivateKib(gate.Process()), services.TotalPrivateKib());
  gate.End();
  services.End();
  close(nowhere);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  IsolateTestProcess();
  try {
    Measure(words == std::vector<std::string>{"--quick"} ? milliseconds(300) : kTime);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "GateBenchmark: %s\n", error.what());
    return 1;
  }
}
