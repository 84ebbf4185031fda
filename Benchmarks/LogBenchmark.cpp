// What the report of a day costs, beside the bare reading of the day's seconds from the same
// record: processor time and time by the clock, of one cluster of the eight that the record has.
//
// Usage: LogBenchmark [--quick]    quick: an hour instead of a day, to see that everything runs

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "CostRow.h"
#include "ServiceProcess.h"
#include "StationReader.h"
#include "StationRecord.h"

namespace {

constexpr unsigned kClusters = 8;
constexpr int kRounds = 5;
constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kFrom = 1731974400;  // 2024-11-19T00:00:00Z
constexpr std::chrono::seconds kPatience{120};

struct Times {
  double clock = 0;      // s
  double processor = 0;  // s
};

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Processor time of this process, or of its children that have ended.
double ProcessorSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

template <typename Work>
Times TimesOf(int who, const Work& work) {
  const double before = ProcessorSeconds(who);
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> clock = std::chrono::steady_clock::now() - start;
  return {clock.count(), ProcessorSeconds(who) - before};
}

// A programme that rises and falls.
louddesk::RecordedSecond SecondAt(std::int64_t time) {
  louddesk::RecordedSecond second;
  second.time = time;
  for (std::size_t i = 0; i < second.momentary.size(); ++i)
    second.momentary[i] = static_cast<std::int16_t>(
        -230 +
        std::lround(80 * std::sin(static_cast<double>(time % 997) + 0.7 * static_cast<double>(i))));
  second.shortTerm = second.momentary.front();
  second.truePeak = -600;
  second.state = louddesk::RecordedState::kRunning;
  second.isSourceValid = true;
  return second;
}

void Record(const std::string& file, std::int64_t hours) {
  louddesk::StationRecord record(file);
  for (std::int64_t begin = kFrom; begin < kFrom + hours * kHour; begin += kHour) {
    louddesk::StationBatch batch;
    for (unsigned cluster = 1; cluster <= kClusters; ++cluster)
      for (std::int64_t time = begin; time < begin + kHour; ++time)
        batch.seconds[{1, cluster}].push_back(SecondAt(time));
    record.Append(batch);
  }
}

void Report(const std::string& file, const std::string& page, std::int64_t hours) {
  ServiceProcess desk(
      LOUDDESK_BINARY,
      {"log", file, "--cluster", "1-3", "--from", "2024-11-19T00:00:00Z", "--to",
       hours == 1 ? "2024-11-19T01:00:00Z" : "2024-11-20T00:00:00Z", "--report", page});
  const auto ended = desk.WaitForExit(kPatience);
  if (!ended || ended->status != 0 || !std::filesystem::exists(page))
    throw std::runtime_error("no report: " + desk.StandardError());
}

void Read(const std::string& file, std::int64_t hours) {
  std::int64_t count = 0;
  louddesk::StationReader(file).ReadSeconds({1, 3}, {kFrom, kFrom + hours * kHour},
                                            [&count](const louddesk::RecordedSecond&) {
                                              ++count;
                                              return true;
                                            });
  if (count != hours * kHour)
    throw std::runtime_error("seconds are missing");
}

double MedianOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void Measure(const std::filesystem::path& folder, std::int64_t hours) {
  const std::string file = folder / "station.db";
  Record(file, hours);
  std::vector<double> clock[2];
  std::vector<double> processor[2];
  for (int round = 0; round < kRounds; ++round) {
    const Times report =
        TimesOf(RUSAGE_CHILDREN, [&] { Report(file, folder / "day.html", hours); });
    const Times bare = TimesOf(RUSAGE_SELF, [&] { Read(file, hours); });
    clock[0].push_back(report.clock);
    clock[1].push_back(bare.clock);
    processor[0].push_back(report.processor);
    processor[1].push_back(bare.processor);
  }
  PrintRow("report of a day: time", "s", MedianOf(clock[0]), MedianOf(clock[1]));
  PrintRow("report of a day: processor time", "s", MedianOf(processor[0]), MedianOf(processor[1]));
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  char name[] = "/tmp/log-benchmark-XXXXXX";
  int status = 1;
  if (mkdtemp(name) == nullptr)
    return status;
  try {
    Measure(name, words == std::vector<std::string>{"--quick"} ? 1 : 24);
    status = 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "LogBenchmark: %s\n", error.what());
  }
  std::filesystem::remove_all(name);
  return status;
}
