// A real Prometheus, with the installed files, collects from the shipped gate beside a running
// service.

#include <filesystem>
#include <fstream>
#include <regex>

#include "GateProcess.h"

namespace {

namespace fs = std::filesystem;

constexpr char kListening[] = "msg=\"Listening on\" address=";

// The value of an alert's cluster label for the cluster of the test, and for a whole board.
constexpr char kCluster[] = "1";
constexpr char kBoard[] = "";

std::string TextOf(const fs::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class PrometheusTest : public GateTest {
 protected:
  PrometheusTest() { fs::remove_all(mPlace); }
  ~PrometheusTest() override {
    mPrometheus.reset();
    fs::remove_all(mPlace);
  }

  // Copies the installed files, changed for this gate, for short intervals and for alerts without
  // delay. The tests of the package check the delays.
  void MakeFiles() {
    fs::copy(PROMETHEUS_FILES, mPlace, fs::copy_options::recursive);
    Replace("boards/local.yml", "127\\.0\\.0\\.1:8128", "127.0.0.1:" + std::to_string(Port()));
    Replace("prometheus.yml", "scrape_interval: 5s", "scrape_interval: 200ms");
    Replace("prometheus.yml", "scrape_timeout: 4s", "scrape_timeout: 200ms");
    Replace("prometheus.yml", "evaluation_interval: 15s", "evaluation_interval: 200ms");
    Replace("rules/records.yml", "interval: 1m", "interval: 200ms");
    Replace("rules/alerts.yml", "unchanged_seconds > 30", "unchanged_seconds > 1");
    Replace("rules/alerts.yml", "( for| keep_firing_for): [0-9]+[sm]", "$1: 0s");
  }

  void StartPrometheus() {
    mPrometheus = std::make_unique<ServiceProcess>(
        PROMETHEUS_BINARY,
        std::vector<std::string>{"--config.file=" + (mPlace / "prometheus.yml").string(),
                                 "--storage.tsdb.path=" + (mPlace / "data").string(),
                                 "--web.listen-address=127.0.0.1:0"});
    ASSERT_TRUE(mPrometheus->WaitForLine(kListening, kPatience)) << mPrometheus->StandardError();
    const std::string log = mPrometheus->StandardError();
    const std::size_t begin = log.find(kListening) + sizeof kListening - 1;
    mPrometheusUrl = "http://" + log.substr(begin, log.find('\n', begin) - begin);
  }

  // Prometheus' answer to a path with one parameter.
  std::string Answer(const std::string& path, const std::string& parameter) {
    ServiceProcess client(CURL_BINARY, {"--silent", "--max-time", "20", "--get", "--data-urlencode",
                                        parameter, mPrometheusUrl + path});
    return client.WaitForExit(2 * kPatience) ? client.StandardOutput() : "";
  }

  // Repeats a query until its only result is `value`, in Prometheus' notation. Does nothing after
  // an earlier failure, because the value would not come.
  void ExpectValue(const std::string& expression, const std::string& value) {
    if (HasFailure())
      return;
    std::string body;
    const auto end = std::chrono::steady_clock::now() + kPatience;
    do {
      body = Answer("/api/v1/query", "query=" + expression);
      const auto document = nlohmann::json::parse(body, nullptr, false);
      if (!document.is_discarded() && document.value("status", "") == "success") {
        const auto& result = document.at("data").at("result");
        if (result.size() == 1 && result[0].at("value")[1] == value)
          return;
      }
      Pass(std::chrono::milliseconds(100));
    } while (std::chrono::steady_clock::now() < end);
    ADD_FAILURE() << expression << ": " << body << "\n" << mPrometheus->StandardError();
  }

  // Expects that an alert is firing.
  void ExpectAlert(const std::string& name, const std::string& cluster = kCluster) {
    ExpectValue(CountOf(name, cluster), "1");
  }

  // Expects that an alert is not firing, or no longer.
  void ExpectNoAlert(const std::string& name, const std::string& cluster = kCluster) {
    ExpectValue(CountOf(name, cluster) + " or vector(0)", "0");
  }

  void EndService() {
    mService->Signal(SIGKILL);
    EXPECT_TRUE(mService->WaitForExit(kPatience));
  }

  void EndGate() {
    mGate->Signal(SIGTERM);
    EXPECT_TRUE(mGate->WaitForExit(kPatience));
  }

  const fs::path mPlace =
      fs::temp_directory_path() / ("loudgate-test-prometheus-" + std::to_string(getpid()));

 private:
  static std::string CountOf(const std::string& alert, const std::string& cluster) {
    return "count(ALERTS{alertname=\"" + alert + "\",alertstate=\"firing\",cluster=\"" + cluster +
           "\"})";
  }

  void Replace(const std::string& file, const std::string& pattern, const std::string& text) {
    const std::string before = TextOf(mPlace / file);
    const std::string after = std::regex_replace(before, std::regex(pattern), text);
    ASSERT_NE(before, after) << file << " has no " << pattern;
    std::ofstream(mPlace / file) << after;
  }

  std::unique_ptr<ServiceProcess> mPrometheus;
  std::string mPrometheusUrl;
};

TEST_F(PrometheusTest, CollectsTheFiguresAndRaisesTheAlerts) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  ASSERT_NO_FATAL_FAILURE(MakeFiles());
  ASSERT_NO_FATAL_FAILURE(StartPrometheus());
  ExpectValue("up{job=\"loudgate\"}", "1");
  StartMeasuring();
  // The measurement runs without blocks.
  ExpectAlert("Silence");
  // Five channels count: -23 + 10 log10(5.82) = -15.35. A peak of 32768 is 0 dBTP.
  Feed(30, -23.0, 32768);
  ExpectValue("loudcalc_momentary_lufs{meter_set=\"1\",cluster=\"1\"}", "-15.4");
  ExpectValue("loudcalc_true_peak_dbtp", "0");
  ExpectValue("cluster:loudcalc_recent_true_peak_dbtp:max1h", "0");
  ExpectNoAlert("Silence");
  ExpectAlert("TruePeakAboveLimit");
  // 7.6 LU above the target.
  ExpectAlert("LoudnessOutOfTolerance");
  // The series that a central Prometheus for many sites federates.
  const std::string made = Answer("/federate", "match[]={__name__=~\"cluster:.*|ALERTS\"}");
  EXPECT_THAT(made, testing::HasSubstr("\ncluster:loudcalc_recent_true_peak_dbtp:max1h{"));
  EXPECT_THAT(made, testing::HasSubstr("\nALERTS{alertname=\"TruePeakAboveLimit\""));
  EXPECT_THAT(made, testing::Not(testing::HasSubstr("\nloudcalc_")));
  // The blocks stop, and then continue.
  ExpectAlert("FiguresFrozen");
  Feed(3, -20.0);
  ExpectNoAlert("FiguresFrozen");
  // A preset that the service refuses, and then one that it accepts.
  SendPreset("not a preset");
  ExpectAlert("SourceInvalid");
  StartMeasuring();
  ExpectNoAlert("SourceInvalid");
  // A service that is gone has no figures to judge.
  EndService();
  ExpectNoAlert("LoudnessOutOfTolerance");
  ExpectNoAlert("TruePeakAboveLimit");
}

TEST_F(PrometheusTest, WhatIsGoneRaisesAnAlertUntilItIsBack) {
  const fs::path folder = mPlace / "record";
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", folder / "station.db", "--write-every", "1"}));
  ASSERT_NO_FATAL_FAILURE(MakeFiles());
  ASSERT_NO_FATAL_FAILURE(StartPrometheus());
  StartMeasuring();
  ExpectAlert("RecordFailing", kBoard);
  fs::create_directory(folder);
  ExpectNoAlert("RecordFailing", kBoard);
  ExpectNoAlert("ServiceGone");
  EndService();
  ExpectAlert("ServiceGone");
  ASSERT_NO_FATAL_FAILURE(StartAgain());
  StartMeasuring();
  ExpectNoAlert("ServiceGone");
  EndGate();
  ExpectAlert("GateGone", kBoard);
  ASSERT_NO_FATAL_FAILURE(StartGateAgain());
  ExpectNoAlert("GateGone", kBoard);
  fs::rename(mPlace / "boards/local.yml", mPlace / "local.yml");
  ExpectAlert("NoBoards", kBoard);
  fs::rename(mPlace / "local.yml", mPlace / "boards/local.yml");
  ExpectNoAlert("NoBoards", kBoard);
}

}  // namespace
